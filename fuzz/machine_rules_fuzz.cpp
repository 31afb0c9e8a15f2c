// Rules files of Windows authentication: explanations decide as the web server's module does.
#include <cstdio>

#include "access/effective/machine_rules.h"
#include "fuzz/fuzz.h"
#include "server/modules/rules_file.h"
#include "svn/pool.h"

using namespace kelvarion;

void kelvarion::fuzz::Target(std::string_view text) {
  svn::Initialize();
  const std::string path = platform::Utf8ForDisplay(fuzz::FileHolding(text));
  const auto enforced = httpd::ReadRulesFile(path);
  // It goes by the file's times, which two inputs in a row may share.
  std::remove(path.c_str());
  fuzz::Expect(enforced && !httpd::ReadRulesFile(path), "a file is there or not");
  const access::MachineRules explained{std::string(text)};
  if (!explained.puzzles().empty()) return;
  fuzz::Expect(explained.problems().empty() == enforced->problem.empty(),
               "what is refused is agreed on");
  if (!enforced->problem.empty()) return;
  for (const access::MachineSection& section : explained.sections()) {
    const rules::RuleSet::Section* const shown = explained.rules().Find(section.name);
    const rules::RuleSet::Section* const held = enforced->rules.Find(section.name);
    fuzz::Expect(!shown == !held && (!shown || *shown == *held), "the rules are the same");
    for (const access::MachineRule& rule : section.rules)
      fuzz::Expect(explained.Find(section.name, rules::CanonicalSid(rule.key)) != nullptr,
                   "a rule is found by its SID");
  }
}
