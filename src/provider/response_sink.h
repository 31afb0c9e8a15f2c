// The answer to one request: objects, warnings and progress on their way to the client.
#pragma once

#include <atomic>
#include <optional>
#include <string>

#include "platform/wmi/cancellable_sink.h"
#include "platform/wmi/interfaces.h"
#include "wmi/object.h"

namespace kelvarion {

// What a progress record says; a missing text is left out, -1 stands for unknown.
struct ProgressRecord {
  std::optional<std::u16string> activity;
  std::optional<std::u16string> current_operation;
  std::optional<std::u16string> status_description;
  std::int32_t percent_complete = -1;
  std::int32_t seconds_remaining = -1;
};

// Built by the frame for each request; used by the thread that serves it.
class ResponseSink {
 public:
  explicit ResponseSink(ComPtr<IWbemObjectSink> sink);

  // Throws ComException with the client's HRESULT when it does not take the object.
  void Indicate(const WMIObject& object);
  // The same for one of many objects, as long as the client wants more.
  void IndicateNext(const WMIObject& object) {
    ThrowIfCancelled();
    Indicate(object);
  }
  // Does nothing for a client that shows no messages.
  void WriteWarning(const std::u16string& text);
  // A client that answers "call cancelled" cancels the request; other failures change nothing.
  void WriteProgress(const ProgressRecord& record);
  // Whether the client has answered so, or its host knows that it wants no more.
  bool cancelled() const;
  // Throws WMIException WBEM_E_CALL_CANCELLED, for listings: they change nothing and may end
  // anywhere.
  void ThrowIfCancelled() const;

 private:
  ComPtr<IWbemObjectSink> sink_;
  ComPtr<IWbemObjectSinkEx> extended_;
  ComPtr<IcCancellableSink> cancellable_;
  std::atomic<bool> cancelled_{false};
};

}  // namespace kelvarion
