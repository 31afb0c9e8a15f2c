// The daemon's requests: a kind and a blank, then the body. What is read reaches the provider with
// objects that, sent once more, arrive the same.
#include "errors/exception.h"
#include "fuzz/fuzz.h"
#include "host/daemon/request_body.h"
#include "host/value_output.h"
#include "host/wire.h"
#include "platform/wmi/services_base.h"

using namespace kelvarion;
using namespace kelvarion::host;

namespace {

// Keeps what a request brings to the provider.
class Arrivals final : public ComObject<platform::ServicesBase> {
 public:
  HRESULT ExecMethodAsync(Text path, Text method, std::int32_t, IWbemContext* context,
                          IWbemClassObject* in, IWbemObjectSink*) override {
    body = {{"path", Utf8(path)}, {"method", Utf8(method)}};
    body["parameters"] = in ? ObjectToJson(*in) : Json::object();
    body["parameters"].erase("__CLASS");
    AddContext(context);
    return S_OK;
  }
  HRESULT PutInstanceAsync(IWbemClassObject* instance, std::int32_t, IWbemContext* context,
                           IWbemObjectSink*) override {
    body = {{"object", ObjectToJson(*instance)}};
    AddContext(context);
    return S_OK;
  }

  Json body;

 private:
  static std::string Utf8(Text text) { return platform::Utf8ForDisplay(text); }
  void AddContext(IWbemContext* context) {
    if (context) body["context"] = ContextToJson(context);
  }
};

Json Arriving(std::string_view kind, std::string_view body) {
  static const Schema& schema = *new Schema(KELVARION_SOURCE_DIR "/schema");
  const auto arrivals = MakeCom<Arrivals>();
  ReadRequest(kind, body, schema)(*arrivals, nullptr);
  return arrivals->body;
}

}  // namespace

void kelvarion::fuzz::Target(std::string_view input) {
  const std::size_t blank = std::min(input.find(' '), input.size());
  const std::string_view kind = input.substr(0, blank);
  Json first;
  try {
    first = Arriving(kind, input.substr(blank));
  } catch (const Exception& refusal) {
    fuzz::Expect(!refusal.Message().empty(), "a refusal says why");
    return;
  }
  if (first.is_null()) return;
  fuzz::Expect(Arriving(kind, first.dump()) == first, "what arrived can be sent again");
}
