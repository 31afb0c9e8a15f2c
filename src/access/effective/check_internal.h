// The parts of the check, one for each kind of file.
#pragma once

#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "access/effective/authz_groups.h"
#include "access/effective/check_report.h"
#include "platform/security/security.h"

namespace kelvarion::access {

// The names of the users file.
class KnownUsers {
 public:
  // Reads the file's text and reports what is wrong with it.
  KnownUsers(const std::string& text, const CheckReport& report);
  bool Has(const std::string& name) const { return lines_.contains(name); }
  // " There is 'Alice'.", or nothing.
  std::u16string Hint(std::string_view name) const;

 private:
  void AddLine(std::string_view line, int number, const CheckReport& report);

  std::unordered_map<std::string, int> lines_;
  CaseVariants variants_;
};

// The accounts of the machine, each looked up once.
class KnownAccounts {
 public:
  explicit KnownAccounts(const platform::SecurityAuthority& authority) : authority_(authority) {}
  bool IsSid(const std::string& text) const;
  bool Exists(const std::string& sid);
  // Everything that stands for it in rules, "*" included.
  const std::vector<std::string>& Sids(const std::string& sid);

 private:
  const platform::SecurityAuthority& authority_;
  std::unordered_map<std::string, bool> exists_;
  std::unordered_map<std::string, std::vector<std::string>> sids_;
};

void CheckGroups(const AuthzGroups& groups, const KnownUsers& users, const CheckReport& report);

// The rules of one repository with Subversion authentication. `text` is the file's.
void CheckUserRules(const std::string& repository, std::string text, const AuthzGroups& groups,
                    const KnownUsers& users, YoungestRevision& youngest, const CheckReport& report);

class MachineRules;

// The rules of one repository with Windows authentication. Those of the server may be null.
void CheckMachineRules(const MachineRules& rules, const MachineRules* global,
                       KnownAccounts& accounts, YoungestRevision& youngest,
                       const CheckReport& report);
void CheckGlobalRules(const MachineRules& rules, KnownAccounts& accounts,
                      const CheckReport& report);

}  // namespace kelvarion::access
