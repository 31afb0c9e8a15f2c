// Who may really do what at a path, and which rule says so.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "access/account.h"
#include "access/permission_model.h"
#include "context/server_context.h"

namespace kelvarion::access {

struct DecidingRule {
  std::u16string file;
  int line = 0;
  std::u16string section;
  std::u16string key;
};

// Why an account has its access. Many accounts have the same reason.
struct AccessReason {
  // Nothing where no rule names the account, and where it cannot be said which one decides.
  std::optional<DecidingRule> rule;
  // How the rule concerns the account: the groups from the one that the rule names to the one that
  // names the account. Empty when the rule names the account itself, or everybody.
  std::vector<std::u16string> through;
  // The same in a sentence; also why everything is refused, or what is not certain.
  std::u16string explanation;
};

// What the web server grants one account at one path.
struct EffectiveAccess {
  Account account;
  // For people; empty where the name of the account itself is shown.
  std::u16string display_name;
  // False for an account that does not exist, and for a group of the machine.
  bool can_log_on = false;
  AccessLevel access = AccessLevel::NoAccess;
  std::shared_ptr<const AccessReason> reason;  // Never null.

  const std::u16string& name() const { return display_name.empty() ? account.name : display_name; }
};

// With Subversion authentication: for every user, in the order of the users file, or for the one
// named, who need not exist. With Windows authentication: for every account that a rule which
// matters for the path names, or for the one named by name or SID; Win32Exception when there is no
// such account. Each file is read once. The path is made canonical first; it need not exist.
// Subversion authentication throws SvnException "Syntax error in users file.".
std::vector<EffectiveAccess> ExplainAccess(const ServerContext& context,
                                           const RepositoryPath& where,
                                           const std::optional<std::u16string>& account);

}  // namespace kelvarion::access
