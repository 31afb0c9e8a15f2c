// Rules files as the modules of the web server see them: parsed once, and again when they changed.
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "rules/rules.h"

namespace kelvarion::httpd {

// One state of a file, never changed once it is handed out.
struct RulesFile {
  rules::RuleSet rules;
  // Why the rules cannot be used; empty when they can.
  std::string problem;
  // What is probably not meant as it stands; empty when there is no such thing.
  std::string remark;
  // For whoever tells people about the two: once is enough.
  mutable std::atomic_flag told;
};

// The file at `path` as it is now; null when there is none. States are kept as long as the process
// lives and the file does not change, except of a file that cannot even be looked at. Safe from any
// thread; those that meet a changed file wait for one of them to read it. Throws when the memory
// does not suffice; the next call tries again.
std::shared_ptr<const RulesFile> ReadRulesFile(const std::string& path);

}  // namespace kelvarion::httpd
