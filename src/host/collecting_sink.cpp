#include "host/collecting_sink.h"

namespace kelvarion::host {

Reply CollectingSink::Wait(HRESULT returned) {
  FinalStatus final = WaitForStatus(returned);
  reply_.status = final.status;
  reply_.error = std::move(final.error);
  return std::move(reply_);
}

bool CollectingSink::TakeObject(IWbemClassObject& object) {
  reply_.objects.emplace_back(&object);
  return true;
}

bool CollectingSink::TakeWarning(const std::u16string& text) {
  reply_.warnings.push_back(text);
  if (observer_) observer_->OnWarning(text);
  return true;
}

bool CollectingSink::TakeProgress(const Progress& progress) {
  reply_.progress.push_back(progress);
  if (observer_) observer_->OnProgress(progress);
  return true;
}

}  // namespace kelvarion::host
