#include "errors/exception.h"
#include "host/class_text.h"
#include "host/commands.h"
#include "host/table.h"
#include "host/text.h"

namespace kelvarion::host {
namespace {

std::u16string DescriptionOf(IWbemClassObject& class_object) {
  ComPtr<IWbemQualifierSet> qualifiers;
  class_object.GetQualifierSet(qualifiers.Put());
  return QualifierText(qualifiers.Get(), u"Description");
}

std::string FirstSentence(const std::string& text) {
  const std::size_t end = text.find(". ");
  return end == std::string::npos ? text : text.substr(0, end + 1);
}

Outcome Classes(Session& session) {
  Outcome outcome;
  for (const ObjectPtr& class_object : session.schema()->Classes()) {
    const std::string name = Utf8(ClassNameOf(*class_object));
    const std::string description = Utf8(DescriptionOf(*class_object));
    outcome.objects.push_back({{"Name", name}, {"Description", description}});
    outcome.text += name + "\n" + Wrapped(FirstSentence(description), 4);
  }
  return outcome;
}

struct DescribeWords {
  std::string class_name;
  bool markdown = false;
};

Outcome Describe(Session& session, const DescribeWords& words) {
  const std::u16string name = ParseWord(words.class_name);
  const ObjectPtr class_object = session.schema()->Find(name);
  if (!class_object) throw ComException(WBEM_E_INVALID_CLASS, u"Unexpected class '%s'", name);
  const ClassDescription description = DescribeClass(*class_object);
  Outcome outcome;
  outcome.objects.push_back(ToJson(description));
  outcome.text = words.markdown ? ToMarkdown(description) : ToText(description);
  return outcome;
}

}  // namespace

void AddSchemaCommands(CLI::App& app, Command& chosen) {
  AddCommand(app, "classes", "List the management classes", chosen, Classes);
  const auto [describe, words] = AddCommand(
      app, "describe", "Show a class: its properties, methods and parameters", chosen, Describe);
  describe->add_option("CLASS", words->class_name, "Name of the class")->required();
  describe->add_flag("--markdown", words->markdown, "As a page of the documentation");
  describe->footer("Example:\n  kelvarionctl describe Kelvarion_Repository");
}

}  // namespace kelvarion::host
