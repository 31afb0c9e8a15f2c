#include "fuzz/request_maker.h"

#include <algorithm>

#include "fuzz/fuzz.h"
#include "host/text.h"
#include "host/value_output.h"

namespace kelvarion::fuzz {
namespace {

using host::Declaration;
using host::Method;
using host::Utf8;

constexpr std::int64_t kNumbers[] = {
    0,     1,     2,          3,          5,          8,           9,  80,        8080,
    65535, 65536, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0x100000000, -1, INT64_MIN, INT64_MAX};
constexpr const char* kContextNames[] = {"ActivityId", "MI_OPERATIONOPTIONS_PROVIDERVERSION",
                                         "QueryOption_RepositoryName", "QueryOption_ParentPath"};

std::string Quoted(const std::string& text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + '"';
}

void ReplaceAll(std::string& text, const std::string& what, const std::string& by) {
  for (std::size_t at = 0; (at = text.find(what, at)) != text.npos; at += by.size())
    text.replace(at, what.size(), by);
}

// The same in every home.
std::string Anywhere(std::string text, const Places& places) {
  ReplaceAll(text, places.home, "<home>");
  ReplaceAll(text, places.outside, "<outside>");
  return text;
}

// All values in a value, itself first.
void Collect(Json& value, std::vector<Json*>& out) {
  out.push_back(&value);
  if (value.is_structured())
    for (Json& below : value) Collect(below, out);
}

const std::string& Strange(Random& random) {
  static const auto& texts =
      *new auto(Json::parse(std::ifstream(KELVARION_SOURCE_DIR "/fuzz/strange_texts.json"))
                    .get<std::vector<std::string>>());
  return random.Pick(texts);
}

void ChangeText(std::string& text, Random& random) {
  const std::size_t at = random.Below(text.size() + 1);
  switch (random.Below(5)) {
    case 0:
      text.insert(at, Strange(random));
      break;
    case 1:
      text.erase(at, 1 + random.Below(4));
      break;
    case 2:
      text.insert(at, 1, static_cast<char>(random.Below(128)));
      break;
    case 3:
      text.insert(at, text.substr(0, 64));
      break;
    default:
      if (at < text.size()) text[at] = static_cast<char>(text[at] ^ (1 << random.Below(7)));
  }
}

}  // namespace

RequestMaker::RequestMaker(const testing::ProviderHost& host, const Places& places,
                           const std::u16string& only_class) {
  std::vector<ComPtr<IWbemClassObject>> all;
  host.schema()->CreateClassEnum(u"", 0, nullptr, &all);
  for (const auto& each : all) {
    const std::u16string name = host::ClassNameOf(*each);
    Class known{Utf8(name), host::PropertiesOf(*each), host::MethodsOf(*each), {}, {}};
    LearnInstances(host, places, known);
    classes_.push_back(std::move(known));
    if (only_class.empty() || only_class == name) asked_.push_back(Utf8(name));
  }
  Expect(!asked_.empty(), "the schema has the class that is asked for");
}

void RequestMaker::LearnInstances(const testing::ProviderHost& host, const Places& places,
                                  Class& out) {
  for (const WMIObject& object : host.Enumerate(host::Utf16(out.name)).objects) {
    const std::string text = host::ObjectToJson(*object.object()).dump();
    out.instances.push_back(Json::parse(Anywhere(text, places)));
    LearnTexts(out.instances.back());
    Variant path;
    object.object()->Get(u"__RELPATH", 0, &path, nullptr);
    if (path.type() != VT_BSTR) continue;
    out.paths.push_back(Anywhere(Utf8(path.AsString()), places));
    all_texts_.insert(out.paths.back());
  }
}

void RequestMaker::LearnTexts(const Json& instance) {
  for (const auto& [name, value] : instance.items()) {
    if (value.is_object()) LearnTexts(value);
    if (!value.is_string() || name == "__CLASS") continue;
    texts_[name].insert(value.get<std::string>());
    all_texts_.insert(value.get<std::string>());
  }
}

const RequestMaker::Class* RequestMaker::Find(const std::string& name) const {
  const auto found = std::ranges::find(classes_, name, &Class::name);
  return found == classes_.end() ? nullptr : &*found;
}

Json RequestMaker::Make(Random& random) const {
  const Class& of = *Find(random.Pick(asked_));
  const bool call = !of.methods.empty() && !random.OneIn(4);
  const std::size_t kind = call ? 4 : random.Below(4);
  Json request = kind == 0   ? Json{{"get", Path(of, random)}}
                 : kind == 1 ? Json{{"delete", Path(of, random)}}
                 : kind == 2 ? Json{{"put", Object(of.name, random, 0)}}
                 : kind == 3 ? Json{{"enumerate", of.name}}
                             : Call(of, random);
  if (random.OneIn(8)) request["context"] = Context(random);
  return request;
}

Json RequestMaker::Call(const Class& of, Random& random) const {
  const Method& method = random.Pick(of.methods);
  Json request{{"call", method.is_static && !random.OneIn(8) ? of.name : Path(of, random)},
               {"method", Utf8(method.name)}};
  if (!random.OneIn(16)) request["in"] = Parameters(method, random);
  return request;
}

Json RequestMaker::Parameters(const Method& method, Random& random) const {
  Json in = Json::object();
  // Sometimes parameters of types that the schema rules out, or an object of some class.
  if (random.OneIn(24)) in["__CLASS"] = nullptr;
  if (random.OneIn(24)) in["__CLASS"] = random.Pick(classes_).name;
  for (const Declaration& declared : method.in)
    if (!random.OneIn(declared.optional ? 3 : 12))
      in[Utf8(declared.name)] = Value(declared, random);
  return in;
}

std::string RequestMaker::Path(const Class& of, Random& random) const {
  const std::size_t kind = random.Below(8);
  if (kind == 0) return of.name;
  if (kind == 1) return of.name + "=@";
  if (kind == 2) return Strange(random);
  if (kind < 5 || of.paths.empty()) return PathOfKeys(of, random);
  return random.Pick(of.paths);
}

std::string RequestMaker::PathOfKeys(const Class& of, Random& random) const {
  std::string path = of.name;
  char sign = '.';
  for (const Declaration& property : of.properties) {
    if (!property.key || random.OneIn(16)) continue;
    const std::string name = Utf8(property.name);
    path += sign + name + '=' + Quoted(Text(name, random));
    sign = ',';
  }
  return path;
}

Json RequestMaker::Context(Random& random) const {
  Json context = Json::object();
  context[random.Pick(kContextNames)] = random.OneIn(2) ? Json(Strange(random)) : Wrong(random, 0);
  return context;
}

Json RequestMaker::Value(const Declaration& declared, Random& random, int depth) const {
  if (random.OneIn(8)) return Wrong(random, depth);
  if (!declared.IsArray()) return Element(declared, random, depth);
  Json list = Json::array();
  for (std::size_t count = random.Below(4); count > 0; --count)
    list.push_back(random.OneIn(12) ? Json(nullptr) : Element(declared, random, depth));
  if (list.size() == 1 && random.OneIn(8)) list.insert(list.begin(), "<many>");
  return list;
}

Json RequestMaker::Element(const Declaration& declared, Random& random, int depth) const {
  switch (declared.ElementType()) {
    case CIM_STRING:
      return Text(Utf8(declared.name), random);
    case CIM_BOOLEAN:
      return random.OneIn(2);
    case CIM_OBJECT:
      return Object(declared.embedded_class.empty() ? random.Pick(classes_).name
                                                    : Utf8(declared.embedded_class),
                    random, depth + 1);
    default:
      if (declared.value_map.empty() || random.OneIn(6)) return random.Pick(kNumbers);
      return std::stoll(Utf8(random.Pick(declared.value_map)));
  }
}

Json RequestMaker::Object(const std::string& class_name, Random& random, int depth) const {
  const Class& of = *Find(class_name);
  if (!of.instances.empty() && random.OneIn(2)) return random.Pick(of.instances);
  Json object{{"__CLASS", random.OneIn(16) ? random.Pick(classes_).name : of.name}};
  for (const Declaration& property : of.properties)
    if (depth < 4 && !random.OneIn(property.key ? 16 : 3))
      object[Utf8(property.name)] = Value(property, random, depth);
  return object;
}

Json RequestMaker::Wrong(Random& random, int depth) const {
  const std::size_t kind = random.Below(depth < 3 ? 8 : 5);
  if (kind == 0) return nullptr;
  if (kind == 1) return random.OneIn(2);
  if (kind == 2) return 1.5e300;
  if (kind == 3) return random.Pick(kNumbers);
  if (kind == 4) return Strange(random);
  if (kind == 5) return Json::array({Wrong(random, depth + 1), nullptr});
  if (kind == 6) return Json{{"__CLASS", nullptr}, {"Name", Wrong(random, depth + 1)}};
  return Object(random.Pick(classes_).name, random, depth + 1);
}

std::string RequestMaker::Text(const std::string& name, Random& random) const {
  const auto known = texts_.find(name);
  std::string text;
  if (known != texts_.end() && random.OneIn(2))
    text = random.Pick(known->second);
  else
    text = random.OneIn(2) ? random.Pick(all_texts_) : Strange(random);
  if (random.OneIn(8)) ChangeText(text, random);
  return text;
}

void RequestMaker::Change(Json& request, Random& random) const {
  const bool object = request.contains("put");
  if (!object && !request.contains("in")) {
    request = Make(random);
  } else if (random.OneIn(4)) {
    for (const char* kind : {"call", "get", "delete", "enumerate"})
      if (request.contains(kind)) ChangeValue(request[kind], random);
  } else if (random.OneIn(8)) {
    request["context"] = Context(random);
  } else {
    ChangeValue(request[object ? "put" : "in"], random);
  }
}

void RequestMaker::ChangeValue(Json& value, Random& random) const {
  std::vector<Json*> all;
  Collect(value, all);
  Json& one = *random.Pick(all);
  if (one.is_string() && random.OneIn(2)) {
    auto text = one.get<std::string>();
    ChangeText(text, random);
    one = text;
  } else if (one.is_object() && !one.empty() && random.OneIn(2)) {
    one.erase(std::next(one.begin(), static_cast<std::ptrdiff_t>(random.Below(one.size()))));
  } else {
    one = random.OneIn(2) ? Wrong(random, 0) : Json(random.Pick(all_texts_));
  }
}

}  // namespace kelvarion::fuzz
