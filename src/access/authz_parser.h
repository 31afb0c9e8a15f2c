// The rules in an authorization file.
#pragma once

#include <map>
#include <string>

#include "access/account.h"
#include "access/ini_document.h"

namespace kelvarion::access {

// Turns sections of keys and values into rules and back. Subclasses know whom a key stands for.
class AuthzFileParser {
 public:
  virtual ~AuthzFileParser() = default;
  AuthzFileParser(const AuthzFileParser&) = delete;
  AuthzFileParser& operator=(const AuthzFileParser&) = delete;

  // The account that a key stands for.
  virtual Account GetObject(const std::u16string& key) const = 0;

  IniDocument& document() { return document_; }
  const IniDocument& document() const { return document_; }

  // In the order of the keys; empty when there is no such section.
  PermissionList Entries(const std::u16string& section) const;
  // Every section that is a path of the repository.
  std::map<std::u16string, PermissionList> AllPaths() const;
  // The section then holds exactly these rules. A rule with an access level that does not exist is
  // left out.
  void SetEntries(const std::u16string& section, const PermissionList& entries);
  // Drops the sections of all paths below this one.
  void RemoveChildren(const std::u16string& path);

 protected:
  AuthzFileParser() = default;

 private:
  IniDocument document_;
};

// Reads an access level as files have it: what contains "w" may write, what contains "r" may read.
AccessLevel AccessFromValue(std::u16string_view value);

// Accounts as rules files have them: "*" for everyone, "@" in front of groups, users and SIDs as
// they are. The second is for Subversion's own accounts.
std::u16string KeyOf(const Account& account);
Account SubversionAccountFromKey(const std::u16string& key);

class AuthzSubversionFileParser final : public AuthzFileParser {
 public:
  Account GetObject(const std::u16string& key) const override;
};

// Every key is taken for a SID, also "*".
class AuthzWindowsFileParser : public AuthzFileParser {
 public:
  Account GetObject(const std::u16string& key) const override;
};

class AuthzGlobalFileParser final : public AuthzWindowsFileParser {};

}  // namespace kelvarion::access
