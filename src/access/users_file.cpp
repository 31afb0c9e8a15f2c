#include "access/users_file.h"

#include <apr_errno.h>
#include <apr_md5.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <string_view>

#include "errors/exception.h"
#include "platform/text/encoding.h"
#include "svn/atomic_file.h"
#include "svn/error.h"
#include "svn/text.h"

namespace kelvarion::access {
namespace {

// Readers take no more than this at a time; the rest of a longer line counts as a line of its own.
constexpr std::size_t kLongestLine = 255;
constexpr apr_size_t kHashBytes = 128;

std::string_view NextField(std::string_view& line) {
  line.remove_prefix(std::min(line.find_first_not_of(":\r\n"), line.size()));
  const std::string_view field =
      line.substr(0, std::min({line.find(':'), line.find('\r'), line.find('\n')}));
  line.remove_prefix(field.size());
  return field;
}

UserLine ParseLine(std::string_view line) {
  line = line.substr(0, line.find('\0'));
  UserLine user;
  user.name = NextField(line);
  user.hash = NextField(line);
  if (user.hash.empty()) svn::ThrowError(APR_EGENERAL, u"Syntax error in users file.");
  return user;
}

std::string Base32(unsigned number) {
  constexpr char kDigits[] = "0123456789abcdefghijklmnopqrstuv";
  std::string text;
  do {
    text.insert(text.begin(), kDigits[number % 32]);
    number /= 32;
  } while (number != 0);
  return text;
}

std::string NewSalt() {
  // rand_r, since other threads would disturb a generator that all share.
  unsigned seed = static_cast<unsigned>(std::time(nullptr));
  return Base32(static_cast<unsigned>(rand_r(&seed)) % 32768);
}

}  // namespace

std::vector<UserLine> ParseUsersFile(std::string_view text) {
  std::vector<UserLine> users;
  while (!text.empty()) {
    std::string_view line = text.substr(0, kLongestLine);
    line = line.substr(0, std::min(line.find('\n'), line.size() - 1) + 1);
    text.remove_prefix(line.size());
    users.push_back(ParseLine(line));
  }
  return users;
}

UserRecords ReadUsersFile(const std::u16string& path, const svn::Pool& parent) {
  const std::string text = svn::ReadFileIfPresent(path, parent).value_or("");
  UserRecords users;
  for (const UserLine& user : ParseUsersFile(text))
    users.push_back({std::string(user.name), std::string(user.hash)});
  return users;
}

void WriteUsersFile(const std::u16string& path, const UserRecords& users, const svn::Pool& parent) {
  std::string text;
  for (const UserRecord& user : users) {
    const std::string line = user.name + ":" + user.hash + "\r\n";
    if (line.size() > kLongestLine) {
      throw SimpleException(u"The line of the user '%s' is too long for the users file.",
                            platform::Utf16ForDisplay(user.name));
    }
    text += line;
  }
  svn::ReplaceFile(path, text, platform::NewFile::kOwnerAndFolder, parent);
}

std::string HashPassword(const std::u16string& password) {
  char hash[kHashBytes];
  const apr_status_t status =
      apr_md5_encode(svn::Utf8(password).c_str(), NewSalt().c_str(), hash, sizeof hash);
  if (status != APR_SUCCESS) svn::ThrowAprError(status, u"Cannot hash the password");
  return hash;
}

}  // namespace kelvarion::access
