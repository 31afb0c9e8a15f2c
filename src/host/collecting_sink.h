// The sink of a request made by a person or a script: keeps everything until it is complete.
#pragma once

#include "host/request_sink.h"

namespace kelvarion::host {

class CollectingSink final : public RequestSink {
 public:
  // The observer may be null, else outlives the sink's completion.
  explicit CollectingSink(Observer* observer) : observer_(observer) {}

  // Everything, once there is the final status. `returned` is what the entry point answered.
  Reply Wait(HRESULT returned);

 private:
  bool TakeObject(IWbemClassObject& object) override;
  bool TakeWarning(const std::u16string& text) override;
  bool TakeProgress(const Progress& progress) override;

  Observer* const observer_;
  Reply reply_;
};

}  // namespace kelvarion::host
