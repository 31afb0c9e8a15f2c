#include "host/value_input.h"

#include <charconv>
#include <limits>
#include <optional>

#include "errors/exception.h"
#include "host/text.h"
#include "platform/text/compare.h"

namespace kelvarion::host {
namespace {

// Limits of a whole-number type; `wide` ones travel as decimal texts.
struct IntegerType {
  CIMTYPE type;
  std::int64_t lowest;
  std::uint64_t highest;
  bool wide;
};
constexpr IntegerType kIntegerTypes[] = {
    {CIM_UINT8, 0, 0xFF, false},
    {CIM_UINT16, 0, 0xFFFF, false},
    {CIM_UINT32, 0, 0xFFFFFFFF, false},
    {CIM_UINT64, 0, std::numeric_limits<std::uint64_t>::max(), true},
    {CIM_SINT16, -0x8000, 0x7FFF, false},
    {CIM_SINT32, std::numeric_limits<std::int32_t>::min(), 0x7FFFFFFF, false},
    {CIM_SINT64, std::numeric_limits<std::int64_t>::min(), 0x7FFFFFFFFFFFFFFF, true},
};

const IntegerType* FindIntegerType(CIMTYPE type) {
  for (const IntegerType& row : kIntegerTypes)
    if (row.type == type) return &row;
  return nullptr;
}

[[noreturn]] void Refuse(const Target& target, const std::u16string& takes,
                         const std::u16string& given) {
  throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS, u"The %s takes %s, not %s", target.what,
                     takes, given);
}

std::u16string Quoted(std::u16string_view text) { return u"'" + std::u16string(text) + u"'"; }

std::u16string Decimal(std::int64_t number) { return Utf16(std::to_string(number)); }
std::u16string Decimal(std::uint64_t number) { return Utf16(std::to_string(number)); }

// The whole text as a number of the type, nothing else around it.
std::optional<std::string> CheckedDecimal(const IntegerType& type, const std::string& text) {
  const char* const end = text.data() + text.size();
  if (text.starts_with('-')) {
    std::int64_t number = 0;
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || number < type.lowest) return std::nullopt;
    return std::to_string(number);
  }
  std::uint64_t number = 0;
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end || number > type.highest) return std::nullopt;
  return std::to_string(number);
}

Variant IntegerFromText(const Target& target, const IntegerType& type, const std::u16string& text) {
  const std::optional<std::string> decimal = CheckedDecimal(type, Utf8(text));
  if (!decimal) {
    Refuse(target,
           Format(u"a whole number from %s to %s", Decimal(type.lowest), Decimal(type.highest)),
           Quoted(text));
  }
  if (type.wide) return Variant::FromString(Utf16(*decimal));
  return Variant::FromI4(static_cast<std::int32_t>(std::stoll(*decimal)));
}

Variant RealFromText(const Target& target, const std::u16string& text) {
  const std::string bytes = Utf8(text);
  double number = 0;
  const auto [stop, error] = std::from_chars(bytes.data(), bytes.data() + bytes.size(), number);
  if (error != std::errc() || stop != bytes.data() + bytes.size())
    Refuse(target, u"a number", Quoted(text));
  return Variant::FromR8(number);
}

Variant ElementFromText(const Target& target, const std::u16string& text) {
  const CIMTYPE type = target.declaration.ElementType();
  if (const IntegerType* integer = FindIntegerType(type))
    return IntegerFromText(target, *integer, text);
  switch (type) {
    case CIM_BOOLEAN:
      if (platform::EqualIgnoreCase(text, u"true")) return Variant::FromBool(true);
      if (platform::EqualIgnoreCase(text, u"false")) return Variant::FromBool(false);
      Refuse(target, u"true or false", Quoted(text));
    case CIM_REAL64:
      return RealFromText(target, text);
    case CIM_OBJECT:
      Refuse(target, u"an object, given as NAME:={\"__CLASS\":…}", u"a text");
    default:
      return Variant::FromString(text);
  }
}

VARTYPE ElementVariantType(CIMTYPE type) {
  const IntegerType* const integer = FindIntegerType(type);
  if (integer) return integer->wide ? VT_BSTR : VT_I4;
  switch (type) {
    case CIM_BOOLEAN:
      return VT_BOOL;
    case CIM_REAL64:
      return VT_R8;
    case CIM_OBJECT:
      return VT_UNKNOWN;
    default:
      return VT_BSTR;
  }
}

// The class of an embedded object: the one it names, else the one the declaration names.
ObjectPtr ClassOfEmbedded(const Target& target, const Json& json, const Schema& schema) {
  const std::u16string& declared = target.declaration.embedded_class;
  std::u16string name = declared;
  if (const auto named = json.find("__CLASS"); named != json.end() && named->is_string())
    name = Utf16(named->get<std::string>());
  if (name.empty()) Refuse(target, u"an object with its class in \"__CLASS\"", u"one without");
  ObjectPtr found = schema.Find(name);
  if (!found) Refuse(target, u"an object of a known class", Quoted(name));
  if (!declared.empty() && found->InheritsFrom(declared) != S_OK)
    Refuse(target, u"an object of class " + declared, u"one of class " + name);
  return found;
}

Variant ObjectFromJson(const Target& target, const Json& json, const Schema& schema) {
  if (!json.is_object()) Refuse(target, u"an object", Utf16(json.dump()));
  const ObjectPtr class_object = ClassOfEmbedded(target, json, schema);
  const std::u16string class_name = ClassNameOf(*class_object);
  const std::vector<Declaration> properties = PropertiesOf(*class_object);
  ObjectPtr instance;
  ThrowIfFailed(class_object->SpawnInstance(0, instance.Put()));
  for (const auto& [key, value] : json.items()) {
    if (key == "__CLASS") continue;
    const std::u16string name = Utf16(key);
    const Declaration* found = nullptr;
    std::vector<std::u16string> known;
    for (const Declaration& property : properties) {
      known.push_back(property.name);
      if (platform::EqualIgnoreCase(property.name, name)) found = &property;
    }
    if (!found) {
      throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS, u"%s has no property '%s'; it has: %s",
                         class_name, name, Join(known));
    }
    const Target nested{*found, Format(u"property '%s' of %s", found->name, class_name)};
    ThrowIfFailed(instance->Put(found->name, 0, ValueFromJson(nested, value, schema), found->type));
  }
  return Variant::FromObject(ComPtr<IUnknown>(instance.Get()));
}

Variant ElementFromJson(const Target& target, const Json& json, const Schema& schema) {
  const CIMTYPE type = target.declaration.ElementType();
  if (type == CIM_OBJECT) return ObjectFromJson(target, json, schema);
  const std::u16string shown = Utf16(json.dump(-1, ' ', false, Json::error_handler_t::replace));
  const IntegerType* const integer = FindIntegerType(type);
  if (integer && json.is_number_integer()) return IntegerFromText(target, *integer, shown);
  if (integer && integer->wide && json.is_string())
    return IntegerFromText(target, *integer, Utf16(json.get<std::string>()));
  if (integer) Refuse(target, u"a whole number", shown);
  if (type == CIM_BOOLEAN) {
    if (!json.is_boolean()) Refuse(target, u"true or false", shown);
    return Variant::FromBool(json.get<bool>());
  }
  if (type == CIM_REAL64) {
    if (!json.is_number()) Refuse(target, u"a number", shown);
    return Variant::FromR8(json.get<double>());
  }
  if (!json.is_string()) Refuse(target, u"a text in quotation marks", shown);
  return Variant::FromString(Utf16(json.get<std::string>()));
}

}  // namespace

Variant ValueFromText(const Target& target, const std::u16string& text) {
  Variant element = ElementFromText(target, text);
  if (!target.declaration.IsArray()) return element;
  return Variant::FromArray(ElementVariantType(target.declaration.ElementType()),
                            {std::move(element)});
}

Variant ValueFromJson(const Target& target, const Json& json, const Schema& schema) {
  if (json.is_null()) return Variant::MakeNull();
  if (!target.declaration.IsArray()) return ElementFromJson(target, json, schema);
  if (!json.is_array()) Refuse(target, u"a list in brackets", Utf16(json.dump()));
  std::vector<Variant> items;
  for (const Json& item : json) items.push_back(ElementFromJson(target, item, schema));
  return Variant::FromArray(ElementVariantType(target.declaration.ElementType()), std::move(items));
}

Variant ValueOf(const Target& target, const Argument& argument, const Schema& schema) {
  if (const Json* json = std::get_if<Json>(&argument.value))
    return ValueFromJson(target, *json, schema);
  return ValueFromText(target, std::get<std::u16string>(argument.value));
}

Variant ContextValue(const Argument& argument) {
  if (const auto* text = std::get_if<std::u16string>(&argument.value))
    return Variant::FromString(*text);
  const Json& json = std::get<Json>(argument.value);
  Declaration declaration;
  const Target target{declaration, Format(u"context value '%s'", argument.name)};
  if (json.is_null()) return Variant::MakeNull();
  if (json.is_boolean()) return Variant::FromBool(json.get<bool>());
  if (json.is_string()) return Variant::FromString(Utf16(json.get<std::string>()));
  if (json.is_number()) {
    declaration.type = CIM_SINT32;
    return ValueFromText(target, Utf16(json.dump()));
  }
  if (!json.is_array())
    Refuse(target, u"a text, a boolean, a number, null or a list of texts", u"an object");
  std::vector<std::u16string> texts;
  for (const Json& item : json) {
    if (!item.is_string()) Refuse(target, u"a list of texts", Utf16(json.dump()));
    texts.push_back(Utf16(item.get<std::string>()));
  }
  return Variant::FromStrings(texts);
}

}  // namespace kelvarion::host
