#include "host/value_output.h"

#include <algorithm>

#include "errors/exception.h"
#include "host/table.h"
#include "host/text.h"

namespace kelvarion::host {
namespace {

Json ValueToJson(CIMTYPE type, const Variant& value) {
  if (!value.IsArray()) return ScalarToJson(type, value);
  Json list = Json::array();
  for (const Variant& item : value.AsArray().items)
    list.push_back(ScalarToJson(type & ~CIM_FLAG_ARRAY, item));
  return list;
}

Variant PropertyValue(IWbemClassObject& object, const std::u16string& name) {
  Variant value;
  ThrowIfFailed(object.Get(name, 0, &value, nullptr));
  return value;
}

std::string ShownElement(const Declaration& declaration, const Variant& value) {
  if (value.type() == VT_UNKNOWN) {
    const auto object = value.AsObject().As<IWbemClassObject>();
    return object ? Utf8(ClassNameOf(*object)) : std::string();
  }
  const Json json = ScalarToJson(declaration.ElementType(), value);
  if (json.is_null()) return {};
  if (!json.is_string()) {
    const std::u16string name = declaration.ValueName(Utf16(json.dump()));
    return name.empty() ? json.dump() : json.dump() + " (" + Utf8(name) + ")";
  }
  const std::string text = json.get<std::string>();
  return declaration.ElementType() == CIM_DATETIME ? ShownDateTime(text) : text;
}

// The objects that a value holds, empty for all other types.
std::vector<ObjectPtr> EmbeddedObjects(const Variant& value) {
  std::vector<Variant> items;
  if (value.type() == VT_UNKNOWN) items.push_back(value);
  if (value.IsArray() && value.AsArray().element == VT_UNKNOWN) items = value.AsArray().items;
  std::vector<ObjectPtr> objects;
  for (const Variant& item : items) {
    if (item.type() != VT_UNKNOWN) continue;
    if (auto object = item.AsObject().As<IWbemClassObject>()) objects.push_back(std::move(object));
  }
  return objects;
}

std::string Indented(const std::string& text, const std::string& indent) {
  std::string result = indent;
  for (std::size_t i = 0; i < text.size(); ++i) {
    result += text[i];
    if (text[i] == '\n' && i + 1 < text.size()) result += indent;
  }
  return result;
}

// A value of several lines starts below its name, every line of it indented.
std::string ListLine(const std::string& name, std::size_t name_width, const std::string& shown) {
  if (shown.find('\n') != std::string::npos)
    return name + "\n" + Indented(shown, "  ") + (shown.ends_with('\n') ? "" : "\n");
  if (shown.empty()) return name + "\n";
  return name + std::string(name_width - name.size() + 2, ' ') + shown + "\n";
}

}  // namespace

std::string ShownDateTime(const std::string& text) {
  if (text.size() < 25 || text[14] != '.' || text.find('*') != std::string::npos) return text;
  const auto part = [&](std::size_t from, std::size_t count) { return text.substr(from, count); };
  std::string shown = part(0, 4) + "-" + part(4, 2) + "-" + part(6, 2) + " " + part(8, 2) + ":" +
                      part(10, 2) + ":" + part(12, 2);
  return text.substr(21) == "+000" ? shown + " UTC" : shown + " " + text.substr(21) + " min";
}

Json ScalarToJson(CIMTYPE type, const Variant& value) {
  switch (value.type()) {
    case VT_BOOL:
      return value.AsBool();
    case VT_I2:
    case VT_I4:
      // The variant form of an unsigned 32-bit number is a signed one.
      if (type == CIM_UINT32) return static_cast<std::uint32_t>(value.AsI4());
      return value.AsI4();
    case VT_UINT:
      return value.AsUint();
    case VT_R8:
      return value.AsR8();
    case VT_BSTR:
      return Utf8(value.AsString());
    case VT_UNKNOWN: {
      const auto object = value.AsObject().As<IWbemClassObject>();
      return object ? ObjectToJson(*object) : Json(nullptr);
    }
    default:
      return nullptr;
  }
}

Json ObjectToJson(IWbemClassObject& object) {
  Json json = Json::object();
  json["__CLASS"] = Utf8(ClassNameOf(object));
  std::vector<std::u16string> names;
  ThrowIfFailed(object.GetNames(&names));
  for (const std::u16string& name : names) {
    Variant value;
    CIMTYPE type = CIM_EMPTY;
    ThrowIfFailed(object.Get(name, 0, &value, &type));
    json[Utf8(name)] = ValueToJson(type, value);
  }
  return json;
}

std::string ShownValue(const Declaration& declaration, const Variant& value) {
  if (!value.IsArray()) return ShownElement(declaration, value);
  std::string shown;
  for (const Variant& item : value.AsArray().items) {
    if (!shown.empty()) shown += ", ";
    shown += ShownElement(declaration, item);
  }
  return shown;
}

std::string PropertyList(IWbemClassObject& object) {
  const std::vector<Declaration> properties = PropertiesOf(object);
  std::size_t width = 0;
  for (const Declaration& property : properties) width = std::max(width, property.name.size());
  std::string text;
  for (const Declaration& property : properties) {
    const Variant value = PropertyValue(object, property.name);
    const std::vector<ObjectPtr> embedded = EmbeddedObjects(value);
    if (embedded.empty()) {
      text += ListLine(Utf8(property.name), width, ShownValue(property, value));
      continue;
    }
    text += Utf8(property.name) + "\n";
    for (const ObjectPtr& item : embedded) {
      text += "  " + Utf8(ClassNameOf(*item)) + "\n";
      text += Indented(PropertyList(*item), "    ");
    }
  }
  return text;
}

std::string ObjectTable(const std::vector<ObjectPtr>& objects, int width,
                        std::vector<std::u16string>& left_out) {
  if (objects.empty()) return {};
  Table table;
  table.rows.resize(objects.size());
  for (const Declaration& property : PropertiesOf(*objects.front())) {
    std::vector<std::string> column;
    for (const ObjectPtr& object : objects) {
      Variant value;
      if (Failed(object->Get(property.name, 0, &value, nullptr))) value = Variant::MakeNull();
      column.push_back(ShownValue(property, value));
    }
    const bool empty = std::all_of(column.begin(), column.end(),
                                   [](const std::string& cell) { return cell.empty(); });
    if (empty && !property.key) continue;
    table.headings.push_back(Utf8(property.name));
    for (std::size_t i = 0; i < column.size(); ++i) table.rows[i].push_back(std::move(column[i]));
  }
  std::size_t count = table.headings.size();
  while (width > 0 && count > 1 && table.Width(count) > width) --count;
  for (std::size_t i = count; i < table.headings.size(); ++i)
    left_out.push_back(Utf16(table.headings[i]));
  return table.Render(count);
}

}  // namespace kelvarion::host
