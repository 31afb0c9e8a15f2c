#include "access/authz_parser.h"

#include <optional>

namespace kelvarion::access {
namespace {

bool IsPath(const std::u16string& section) { return section.starts_with(u'/'); }

std::optional<std::u16string> ValueOf(AccessLevel access) {
  switch (access) {
    case AccessLevel::NoAccess:
      return u"";
    case AccessLevel::ReadOnly:
      return u"r";
    case AccessLevel::ReadWrite:
      return u"rw";
  }
  return std::nullopt;
}

}  // namespace

std::u16string KeyOf(const Account& account) {
  switch (account.kind) {
    case AccountKind::Everyone:
      return u"*";
    case AccountKind::SubversionGroup:
      return u"@" + account.name;
    case AccountKind::SubversionUser:
    case AccountKind::WindowsAccount:
      break;
  }
  return account.name;
}

AccessLevel AccessFromValue(std::u16string_view value) {
  if (value.find(u'w') != value.npos) return AccessLevel::ReadWrite;
  if (value.find(u'r') != value.npos) return AccessLevel::ReadOnly;
  return AccessLevel::NoAccess;
}

PermissionList AuthzFileParser::Entries(const std::u16string& section) const {
  PermissionList entries;
  const auto found = document_.find(section);
  if (found == document_.end()) return entries;
  for (const auto& [key, value] : found->second) {
    entries.push_back({GetObject(key), AccessFromValue(value)});
  }
  return entries;
}

std::map<std::u16string, PermissionList> AuthzFileParser::AllPaths() const {
  std::map<std::u16string, PermissionList> paths;
  for (const auto& [name, section] : document_) {
    if (IsPath(name)) paths.emplace_hint(paths.end(), name, Entries(name));
  }
  return paths;
}

void AuthzFileParser::SetEntries(const std::u16string& section, const PermissionList& entries) {
  IniSection keys;
  for (const PermissionEntry& entry : entries) {
    if (const auto value = ValueOf(entry.access)) keys[KeyOf(entry.account)] = *value;
  }
  document_[section] = std::move(keys);
}

void AuthzFileParser::RemoveChildren(const std::u16string& path) {
  const std::u16string prefix = path == u"/" ? path : path + u"/";
  auto section = document_.lower_bound(prefix);
  if (section != document_.end() && section->first == path) ++section;
  while (section != document_.end() && section->first.starts_with(prefix)) {
    section = document_.erase(section);
  }
}

Account SubversionAccountFromKey(const std::u16string& key) {
  if (key == u"*") return Account::Everyone();
  if (key.starts_with(u'@')) return Account::Group(key.substr(1));
  return Account::User(key);
}

Account AuthzSubversionFileParser::GetObject(const std::u16string& key) const {
  return SubversionAccountFromKey(key);
}

Account AuthzWindowsFileParser::GetObject(const std::u16string& key) const {
  return Account::Windows(key);
}

}  // namespace kelvarion::access
