// What is wrong with an installation, or probably not meant.
#pragma once

#include <string>

#include "access/effective/access_finding.h"

namespace kelvarion::doctor {

// What is wrong with access rules is found here as well, just as grave.
using access::Severity;

struct Finding {
  Severity severity = Severity::kError;
  std::u16string check;   // The name of the check, for programs.
  std::u16string where;   // A file, a setting, a repository, a service.
  std::u16string text;    // What is found.
  std::u16string remedy;  // What to do about it.
  bool repairable = false;
  bool repaired = false;
  std::u16string outcome;  // What the repair did, or why it failed; empty without one.
};

}  // namespace kelvarion::doctor
