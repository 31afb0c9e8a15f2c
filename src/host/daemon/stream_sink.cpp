#include "host/daemon/stream_sink.h"

#include "host/outcome.h"
#include "host/text.h"
#include "host/value_output.h"
#include "host/wire.h"

namespace kelvarion::host {

void StreamSink::Finish(HRESULT returned) {
  const FinalStatus final = WaitForStatus(returned);
  lines_.Write(StatusLine(final.status, final.error ? ObjectToJson(*final.error) : Json(nullptr)),
               true);
}

bool StreamSink::TakeObject(IWbemClassObject& object) {
  return lines_.Write({{"object", ObjectToJson(object)}}, false);
}

bool StreamSink::TakeWarning(const std::u16string& text) {
  return lines_.Write({{"warning", Utf8(text)}}, true);
}

bool StreamSink::TakeProgress(const Progress& progress) {
  return lines_.Write({{"progress", ToJson(progress)}}, true);
}

}  // namespace kelvarion::host
