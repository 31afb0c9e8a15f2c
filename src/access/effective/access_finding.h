// What is wrong, or probably not meant, in the files that say who may do what.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "context/server_context.h"
#include "svn/cancellation.h"

namespace kelvarion::access {

enum class Severity : std::uint32_t { kInformation = 0, kWarning = 1, kError = 2 };

struct AccessFinding {
  Severity severity = Severity::kError;
  std::u16string kind;        // One word, for programs.
  std::u16string repository;  // Empty: the server as a whole.
  std::u16string file;
  int line = 0;  // 0: the file as a whole.
  std::u16string section;
  std::u16string subject;  // The key, the group or the account concerned; may be empty.
  std::u16string text;     // What is found.
  std::u16string remedy;   // What to do about it.
};

// Looks through the users and groups, the rules of all repositories and the rules of the server, as
// the authentication mode has them, each file once, and hands over what it finds as it finds it.
// What cannot be read is a finding, too. Changes nothing and waits for nobody. Stops by throwing
// what `cancellation` throws.
void CheckAccess(const ServerContext& context, const svn::Cancellation& cancellation,
                 const std::function<void(const AccessFinding&)>& found);

}  // namespace kelvarion::access
