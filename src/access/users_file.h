// The password file that Apache checks users against.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "svn/pool.h"

namespace kelvarion::access {

// Both in UTF-8, as the file has them.
struct UserRecord {
  std::string name;
  std::string hash;
  friend bool operator==(const UserRecord&, const UserRecord&) = default;
};
using UserRecords = std::vector<UserRecord>;

// The same as parts of the file's text.
struct UserLine {
  std::string_view name;
  std::string_view hash;
};

// In the order of the file. A line without name or hash throws SvnException "Syntax error in users
// file.".
std::vector<UserLine> ParseUsersFile(std::string_view text);

// The same; empty when there is no file.
UserRecords ReadUsersFile(const std::u16string& path, const svn::Pool& parent);

// Replaces the file as a whole. A record whose line could not be read again throws SimpleException.
void WriteUsersFile(const std::u16string& path, const UserRecords& users, const svn::Pool& parent);

// What the file holds for a password: APR's MD5-crypt, with a salt that is new each second.
std::string HashPassword(const std::u16string& password);

}  // namespace kelvarion::access
