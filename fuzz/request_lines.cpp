#include "fuzz/request_lines.h"

#include <filesystem>

#include "fuzz/fuzz.h"
#include "host/schema.h"
#include "platform/files/files.h"

namespace kelvarion::fuzz {
namespace {

using Object = ComPtr<IWbemClassObject>;
using testing::Answer;

constexpr std::size_t kMany = 1000;
constexpr std::size_t kLong = 65536;

void Replace(std::string& text, std::string_view mark, const std::string& by) {
  for (std::size_t at = 0; (at = text.find(mark, at)) != text.npos; at += by.size())
    text.replace(at, mark.size(), by);
}

CIMTYPE TypeOf(VARTYPE type) {
  const CIMTYPE flag = (type & VT_ARRAY) != 0 ? CIM_FLAG_ARRAY : 0;
  for (const auto& [variant, cim] : {std::pair(VT_BOOL, CIM_BOOLEAN),
                                     {VT_I4, CIM_SINT32},
                                     {VT_UINT, CIM_UINT32},
                                     {VT_R8, CIM_REAL64},
                                     {VT_UNKNOWN, CIM_OBJECT}})
    if ((type & ~VT_ARRAY) == variant) return cim | flag;
  return CIM_STRING | flag;
}

Variant NumberOf(const Json& json) {
  if (json.is_number_float()) return Variant::FromR8(json.get<double>());
  const auto number = json.get<std::int64_t>();
  if (number == static_cast<std::int32_t>(number))
    return Variant::FromI4(static_cast<std::int32_t>(number));
  if (number == static_cast<std::uint32_t>(number))
    return Variant::FromUint(static_cast<std::uint32_t>(number));
  return Variant::FromString(Text(json.dump()));
}

bool IsMember(const Json& object, const char* name) {
  return object.is_object() && object.contains(name);
}

}  // namespace

std::optional<std::vector<Json>> ReadLines(std::string_view bytes) {
  std::vector<Json> requests;
  while (!bytes.empty()) {
    Json request = Json::parse(TakeLine(bytes), nullptr, false);
    if (!request.is_object()) return std::nullopt;
    requests.push_back(std::move(request));
  }
  return requests;
}

std::string WriteLines(const std::vector<Json>& requests) {
  std::string bytes;
  for (const Json& request : requests)
    bytes += request.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
  return bytes;
}

Object FindClass(const testing::ProviderHost& host, const std::u16string& name) {
  Object found;
  if (Failed(host.schema()->GetObject(name, 0, nullptr, found.Put()))) return nullptr;
  return found;
}

std::optional<Answer> Requester::Make(const Json& request) const {
  IWbemServices& provider = host_.services();
  const ComPtr<IWbemContext> context = ContextOf(request);
  const auto serve = [&](const testing::ProviderHost::Request& body) {
    return host_.Serve({}, body);
  };
  if (request.contains("call")) return Call(request);
  if (request.contains("put")) {
    const Object instance = ObjectOf(request["put"]);
    return serve([&](IWbemObjectSink* sink) {
      return provider.PutInstanceAsync(instance.Get(), 0, context.Get(), sink);
    });
  }
  if (request.contains("get"))
    return serve([&](IWbemObjectSink* sink) {
      return provider.GetObjectAsync(TextOf(request, "get"), 0, context.Get(), sink);
    });
  if (request.contains("delete"))
    return serve([&](IWbemObjectSink* sink) {
      return provider.DeleteInstanceAsync(TextOf(request, "delete"), 0, context.Get(), sink);
    });
  if (request.contains("enumerate"))
    return serve([&](IWbemObjectSink* sink) {
      return provider.CreateInstanceEnumAsync(TextOf(request, "enumerate"), 0, context.Get(), sink);
    });
  return std::nullopt;
}

Answer Requester::Call(const Json& request) const {
  const ComPtr<IWbemContext> context = ContextOf(request);
  Object in;
  if (IsMember(request, "in")) in = ObjectOf(request["in"], SignatureOf(request));
  return host_.Serve({}, [&](IWbemObjectSink* sink) {
    return host_.services().ExecMethodAsync(TextOf(request, "call"), TextOf(request, "method"), 0,
                                            context.Get(), in.Get(), sink);
  });
}

std::vector<std::string> Requester::NamedFolders(const Json& request) const {
  std::vector<std::string> folders;
  const Object signature = request.contains("call") ? SignatureOf(request) : nullptr;
  if (!signature || !IsMember(request, "in") || !request["in"].is_object()) return folders;
  for (const host::Declaration& declared : host::PropertiesOf(*signature)) {
    if (declared.description.find(u"bsolute") == declared.description.npos) continue;
    const std::u16string text =
        TextOf(request["in"], platform::Utf8ForDisplay(declared.name).c_str());
    const std::string path = platform::NativePath(text);
    std::error_code error;
    if (path.starts_with('/'))
      folders.push_back(std::filesystem::weakly_canonical(path, error).lexically_normal());
    if (!folders.empty() && folders.back().ends_with('/')) folders.back().pop_back();
  }
  return folders;
}

std::u16string Requester::Text(const std::string& utf8) const {
  std::string replaced = utf8;
  Replace(replaced, "<home>", places_.home);
  Replace(replaced, "<outside>", places_.outside);
  Replace(replaced, "<long>", std::string(kLong, 'x'));
  std::u16string text = fuzz::Text(replaced);
  for (char16_t& c : text)
    if (c >= 0xE000 && c < 0xE800) c = static_cast<char16_t>(c - 0x800);
  return text;
}

std::u16string Requester::TextOf(const Json& object, const char* member) const {
  const auto found = object.find(member);
  return found != object.end() && found->is_string() ? Text(found->get<std::string>())
                                                     : std::u16string();
}

Variant Requester::ValueOf(const Json& json) const {
  if (json.is_boolean()) return Variant::FromBool(json.get<bool>());
  if (json.is_number()) return NumberOf(json);
  if (json.is_string()) return Variant::FromString(Text(json.get<std::string>()));
  if (json.is_array()) return ListOf(json);
  if (json.is_object()) return Variant::FromObject(ComPtr<IUnknown>(ObjectOf(json).Get()));
  return Variant::MakeNull();
}

// Of the type of the first element that has one; elements of other types are null.
Variant Requester::ListOf(const Json& json) const {
  std::vector<Variant> items;
  if (json.size() == 2 && json[0] == "<many>")
    items.assign(kMany, ValueOf(json[1]));
  else
    for (const Json& item : json) items.push_back(ValueOf(item));
  VARTYPE type = VT_NULL;
  for (const Variant& item : items)
    if (type == VT_NULL && !item.IsArray()) type = item.type();
  for (Variant& item : items)
    if (item.type() != type) item = Variant::MakeNull();
  return Variant::FromArray(type == VT_NULL ? VT_BSTR : type, std::move(items));
}

Object Requester::ObjectOf(const Json& json, Object class_object) const {
  if (!json.is_object()) return nullptr;
  if (json.contains("__CLASS")) class_object = FindClass(host_, TextOf(json, "__CLASS"));
  if (!class_object) class_object = ClassOfItsOwn(json);
  Object instance;
  if (Failed(class_object->SpawnInstance(0, instance.Put()))) return nullptr;
  for (const auto& [name, value] : json.items())
    if (name != "__CLASS") instance->Put(Text(name), 0, ValueOf(value), CIM_EMPTY);
  return instance;
}

Object Requester::ClassOfItsOwn(const Json& json) const {
  Object derived;
  FindClass(host_, u"MSFT_WmiError")->SpawnDerivedClass(0, derived.Put());
  for (const auto& [name, value] : json.items())
    if (name != "__CLASS")
      derived->Put(Text(name), 0, Variant::MakeNull(), TypeOf(ValueOf(value).type()));
  derived->Put(u"__CLASS", 0, Variant::FromString(TextOf(json, "__CLASS")), CIM_STRING);
  return derived;
}

// Null when there is no such method, or one without parameters.
Object Requester::SignatureOf(const Json& call) const {
  const Object owner = FindClass(host_, host::ClassOfPath(TextOf(call, "call")));
  Object signature;
  if (owner) owner->GetMethod(TextOf(call, "method"), 0, signature.Put(), nullptr);
  return signature;
}

ComPtr<IWbemContext> Requester::ContextOf(const Json& request) const {
  if (!IsMember(request, "context") || !request["context"].is_object()) return nullptr;
  ComPtr<IWbemContext> context = MakeContext();
  for (const auto& [name, value] : request["context"].items())
    context->SetValue(Text(name), 0, ValueOf(value));
  return context;
}

}  // namespace kelvarion::fuzz
