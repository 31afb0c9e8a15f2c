#include "host/class_text.h"

#include <sstream>

#include "host/text.h"

namespace kelvarion::host {
namespace {

constexpr std::size_t kColumns = 100;

std::string Values(const Declaration& declaration) {
  std::string text;
  for (std::size_t i = 0; i < declaration.value_map.size() && i < declaration.values.size(); ++i) {
    text += text.empty() ? "" : ", ";
    text += Utf8(declaration.value_map[i]) + " " + Utf8(declaration.values[i]);
  }
  return text;
}

std::string TextOf(const Declaration& declaration, const std::string& mark, std::size_t indent) {
  std::string head =
      std::string(indent, ' ') + Utf8(declaration.name) + " : " + Utf8(declaration.TypeName());
  if (!mark.empty()) head += "  (" + mark + ")";
  std::string text = head + "\n" + Wrapped(Utf8(declaration.description), indent + 4);
  const std::string values = Values(declaration);
  if (!values.empty()) text += Wrapped("Values: " + values, indent + 4);
  return text;
}

std::string TextOf(const Method& method) {
  std::string text = "  " + Signature(method) + "\n";
  text += Wrapped((method.is_static ? "Called on the class. " : "") + Utf8(method.description), 6);
  for (const Declaration& in : method.in)
    text += TextOf(in, in.optional ? "in, optional" : "in", 6);
  for (const Declaration& out : method.out) text += TextOf(out, "out", 6);
  if (method.returns && !Values(*method.returns).empty())
    text += Wrapped("Returns: " + Values(*method.returns), 6);
  return text;
}

// A table cell: one line, with the column separator escaped.
std::string Cell(const std::string& text) {
  std::string cell;
  for (const char c : text) {
    if (c == '|') cell += '\\';
    cell += c == '\n' ? ' ' : c;
  }
  return cell;
}

std::string Row(const Declaration& declaration, const std::string& mark) {
  std::string meaning = Utf8(declaration.description);
  const std::string values = Values(declaration);
  if (!values.empty()) meaning += " Values: " + values + ".";
  return "| `" + Utf8(declaration.name) + "` | " + Utf8(declaration.TypeName()) +
         (mark.empty() ? "" : ", " + mark) + " | " + Cell(meaning) + " |\n";
}

std::string Markdown(const Method& method) {
  std::string text = "### " + Utf8(method.name) + "\n\n    " + Signature(method) + "\n\n";
  text += (method.is_static ? "Called on the class. " : "") + Utf8(method.description) + "\n";
  if (method.returns && !Values(*method.returns).empty())
    text += "\nReturns: " + Values(*method.returns) + ".\n";
  if (method.in.empty() && method.out.empty()) return text;
  text += "\n| parameter | type | meaning |\n|---|---|---|\n";
  for (const Declaration& in : method.in) text += Row(in, in.optional ? "in, optional" : "in");
  for (const Declaration& out : method.out) text += Row(out, "out");
  return text;
}

Json JsonOf(const Declaration& declaration) {
  Json json = {{"Name", Utf8(declaration.name)},
               {"Type", Utf8(declaration.TypeName())},
               {"Description", Utf8(declaration.description)}};
  if (declaration.key) json["Key"] = true;
  if (declaration.optional) json["Optional"] = true;
  Json values = Json::object();
  for (std::size_t i = 0; i < declaration.value_map.size() && i < declaration.values.size(); ++i)
    values[Utf8(declaration.value_map[i])] = Utf8(declaration.values[i]);
  if (!values.empty()) json["Values"] = values;
  return json;
}

Json JsonOf(const std::vector<Declaration>& list) {
  Json json = Json::array();
  for (const Declaration& declaration : list) json.push_back(JsonOf(declaration));
  return json;
}

Json JsonOf(const Method& method) {
  return {{"Name", Utf8(method.name)},
          {"Static", method.is_static},
          {"Description", Utf8(method.description)},
          {"In", JsonOf(method.in)},
          {"Out", JsonOf(method.out)},
          {"ReturnValue", method.returns ? JsonOf(*method.returns) : Json(nullptr)}};
}

}  // namespace

ClassDescription DescribeClass(IWbemClassObject& class_object) {
  ClassDescription description;
  description.name = ClassNameOf(class_object);
  Variant superclass;
  if (Succeeded(class_object.Get(u"__SUPERCLASS", 0, &superclass, nullptr)) &&
      superclass.type() == VT_BSTR)
    description.superclass = superclass.AsString();
  ComPtr<IWbemQualifierSet> qualifiers;
  class_object.GetQualifierSet(qualifiers.Put());
  description.description = QualifierText(qualifiers.Get(), u"Description");
  description.version = QualifierText(qualifiers.Get(), u"ClassVersion");
  Variant singleton;
  description.singleton = qualifiers && Succeeded(qualifiers->Get(u"singleton", &singleton));
  description.properties = PropertiesOf(class_object);
  description.methods = MethodsOf(class_object);
  return description;
}

std::string Signature(const Method& method) {
  std::string text = method.returns ? Utf8(method.returns->TypeName()) : "void";
  text += " " + Utf8(method.name) + "(";
  std::string separator;
  const auto add = [&](const char* direction, const Declaration& parameter) {
    text += separator + direction + " " + Utf8(parameter.TypeName()) + " " + Utf8(parameter.name);
    separator = ", ";
  };
  for (const Declaration& in : method.in) add("In", in);
  for (const Declaration& out : method.out) add("Out", out);
  return text + ")";
}

std::string Wrapped(const std::string& text, std::size_t indent) {
  std::istringstream words(text);
  std::string result;
  std::string line;
  for (std::string word; words >> word;) {
    if (!line.empty() && indent + line.size() + 1 + word.size() > kColumns) {
      result += std::string(indent, ' ') + line + "\n";
      line.clear();
    }
    line += (line.empty() ? "" : " ") + word;
  }
  return line.empty() ? result : result + std::string(indent, ' ') + line + "\n";
}

std::string ToText(const ClassDescription& description) {
  std::string text = Utf8(description.name);
  if (!description.superclass.empty()) text += " : " + Utf8(description.superclass);
  if (!description.version.empty()) text += "  (version " + Utf8(description.version) + ")";
  text += "\n" + Wrapped(Utf8(description.description), 2);
  if (description.singleton) text += "  Path: " + Utf8(description.name) + "=@\n";
  if (!description.properties.empty()) text += "\nProperties\n";
  for (const Declaration& property : description.properties)
    text += TextOf(property, property.key ? "key" : "", 2);
  if (!description.methods.empty()) text += "\nMethods\n";
  std::string separator;
  for (const Method& method : description.methods) {
    text += separator + TextOf(method);
    separator = "\n";
  }
  return text;
}

std::string ToMarkdown(const ClassDescription& description) {
  std::string text = "# " + Utf8(description.name) + "\n\n" + Utf8(description.description) + "\n";
  if (!description.superclass.empty())
    text += "\nDerived from " + Utf8(description.superclass) + ".\n";
  if (!description.version.empty()) text += "\nVersion " + Utf8(description.version) + ".\n";
  if (description.singleton) text += "\nPath of the instance: `" + Utf8(description.name) + "=@`\n";
  if (!description.properties.empty())
    text += "\n## Properties\n\n| property | type | meaning |\n|---|---|---|\n";
  for (const Declaration& property : description.properties)
    text += Row(property, property.key ? "key" : "");
  if (!description.methods.empty()) text += "\n## Methods\n";
  for (const Method& method : description.methods) text += "\n" + Markdown(method);
  return text;
}

Json ToJson(const ClassDescription& description) {
  Json methods = Json::array();
  for (const Method& method : description.methods) methods.push_back(JsonOf(method));
  return {{"Name", Utf8(description.name)},
          {"Superclass",
           description.superclass.empty() ? Json(nullptr) : Json(Utf8(description.superclass))},
          {"ClassVersion",
           description.version.empty() ? Json(nullptr) : Json(Utf8(description.version))},
          {"Singleton", description.singleton},
          {"Description", Utf8(description.description)},
          {"Properties", JsonOf(description.properties)},
          {"Methods", methods}};
}

}  // namespace kelvarion::host
