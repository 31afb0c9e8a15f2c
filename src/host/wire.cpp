#include "host/wire.h"

#include "errors/exception.h"
#include "host/text.h"
#include "host/value_input.h"
#include "host/value_output.h"
#include "platform/text/compare.h"

namespace kelvarion::host {
namespace {

// Contexts carry values without a declared type.
Json ContextValueToJson(const Variant& value) {
  if (!value.IsArray()) return ScalarToJson(CIM_EMPTY, value);
  Json list = Json::array();
  for (const Variant& item : value.AsArray().items) list.push_back(ScalarToJson(CIM_EMPTY, item));
  return list;
}

std::u16string TextOf(const Json& object, const char* name) {
  const auto found = object.find(name);
  return found != object.end() && found->is_string() ? Utf16(found->get<std::string>())
                                                     : std::u16string();
}

int NumberOf(const Json& object, const char* name) {
  const auto found = object.find(name);
  return found != object.end() && found->is_number_integer() ? found->get<int>() : -1;
}

}  // namespace

std::string SocketPath(const std::string& home) { return home + "/kelvariond.sock"; }

Json StatusLine(HRESULT status, const Json& error) {
  return {{"status", static_cast<std::uint32_t>(status)},
          {"statusText", StatusText(status)},
          {"error", error}};
}

Json ContextToJson(IWbemContext* context) {
  if (!context) return nullptr;
  Json json = Json::object();
  std::vector<std::u16string> names;
  ThrowIfFailed(context->GetNames(&names));
  for (const std::u16string& name : names) {
    Variant value;
    ThrowIfFailed(context->GetValue(name, 0, &value));
    json[Utf8(name)] = ContextValueToJson(value);
  }
  return json;
}

ComPtr<IWbemContext> ContextFromJson(const Json& json) {
  if (json.is_null()) return nullptr;
  ComPtr<IWbemContext> context = MakeContext();
  for (const Argument& value : ArgumentsFromJson(json))
    context->SetValue(value.name, 0, ContextValue(value));
  return context;
}

Progress ProgressFromJson(const Json& json) {
  return {TextOf(json, "activity"), TextOf(json, "currentOperation"),
          TextOf(json, "statusDescription"), NumberOf(json, "percentComplete"),
          NumberOf(json, "secondsRemaining")};
}

std::vector<Argument> ArgumentsFromJson(const Json& object) {
  std::vector<Argument> arguments;
  for (const auto& [key, value] : object.items()) {
    const std::u16string name = Utf16(key);
    for (const Argument& earlier : arguments) {
      if (platform::EqualIgnoreCase(earlier.name, name))
        throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS, u"'%s' is given twice", name);
    }
    arguments.push_back({name, value});
  }
  return arguments;
}

}  // namespace kelvarion::host
