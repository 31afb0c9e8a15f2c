#include "access/names.h"

#include <algorithm>

#include "errors/exception.h"
#include "platform/text/encoding.h"
#include "svn/text.h"
#include "util/repository_path.h"

namespace kelvarion::access {
namespace {

// The server reads the users file in lines of at most 255 bytes; a longer one locks everybody out.
constexpr std::size_t kLongestUserName = 180;
// More than a browser or Apache would carry in a header anyway; hashing takes time by the byte.
constexpr std::size_t kLongestPassword = 1024;

bool IsControl(char16_t c) { return c < 0x20 || c == 0x7F; }

// UTF-8, or nothing for text that is not valid Unicode.
bool Encode(const std::u16string& text, std::string& utf8) {
  return platform::Utf16ToUtf8(text, utf8);
}

std::u16string ForDisplay(const std::u16string& text) {
  std::u16string shown = platform::Utf16ForDisplay(platform::Utf8ForDisplay(text));
  std::replace_if(shown.begin(), shown.end(), IsControl, u'\uFFFD');
  return shown;
}

// `what` is "user" or "group".
std::u16string NameProblem(std::u16string_view what, const std::u16string& name) {
  // Each of these makes a rule mean another account or everybody but the named one.
  constexpr std::u16string_view kMarks = u"*~$@&#";
  constexpr std::u16string_view kSeparators = u":,=[]% ";
  if (name.empty()) return Format(u"The name of a %s must not be empty", what);
  const std::u16string shown = ForDisplay(name);
  std::string utf8;
  if (!Encode(name, utf8)) {
    return Format(u"The name of the %s '%s' is not valid Unicode text", what, shown);
  }
  if (kMarks.find(name.front()) != kMarks.npos) {
    return Format(u"The name of the %s '%s' must not begin with '%c'", what, shown, name.front());
  }
  for (const char16_t c : name) {
    if (IsControl(c)) {
      return Format(u"The name of the %s '%s' contains a control character", what, shown);
    }
    if (kSeparators.find(c) != kSeparators.npos) {
      return Format(u"The name of the %s '%s' must not contain '%c'", what, shown, c);
    }
  }
  return {};
}

}  // namespace

std::u16string UserNameProblem(const std::u16string& name) {
  std::u16string problem = NameProblem(u"user", name);
  if (!problem.empty()) return problem;
  std::string utf8;
  if (Encode(name, utf8) && utf8.size() > kLongestUserName) {
    return Format(u"The name of the user '%s' is longer than %lu bytes", name, kLongestUserName);
  }
  return {};
}

std::u16string GroupNameProblem(const std::u16string& name) { return NameProblem(u"group", name); }

std::u16string AccountProblem(const Account& account) {
  switch (account.kind) {
    case AccountKind::Everyone:
      return {};
    case AccountKind::SubversionUser:
      return UserNameProblem(account.name);
    case AccountKind::SubversionGroup:
      return GroupNameProblem(account.name);
    case AccountKind::WindowsAccount:
      break;
  }
  if (account.name == u"*") return {};
  const bool is_sid = account.name.starts_with(u"S-") &&
                      account.name.find_first_not_of(u"0123456789-", 2) == std::u16string::npos;
  if (is_sid && account.name.size() > 2) return {};
  return Format(u"'%s' is not the SID of an account", ForDisplay(account.name));
}

std::u16string PasswordProblem(const std::u16string& password) {
  std::string utf8;
  if (password.empty()) return u"The password must not be empty";
  if (!Encode(password, utf8)) return u"The password is not valid Unicode text";
  if (std::any_of(password.begin(), password.end(), IsControl)) {
    return u"The password contains a control character";
  }
  if (utf8.size() > kLongestPassword) {
    return Format(u"The password is longer than %lu bytes", kLongestPassword);
  }
  return {};
}

std::u16string RulePathProblem(const std::u16string& path) {
  const std::u16string shown = ForDisplay(path);
  std::string utf8;
  if (!Encode(path, utf8)) return Format(u"The path '%s' is not valid Unicode text", shown);
  if (std::any_of(path.begin(), path.end(), IsControl)) {
    return Format(u"The path '%s' contains a control character", shown);
  }
  if (path.find(u']') != path.npos) {
    return Format(u"The path '%s' contains ']', which the name of a section cannot", shown);
  }
  if (!path.starts_with(u'/')) return Format(u"The path '%s' does not begin with '/'", shown);
  // Subversion refuses every rule of a file with such a section.
  if (!util::IsCanonicalRepositoryPath(path) || util::HasPart(path, u"..")) {
    return Format(u"The path '%s' is not canonical", shown);
  }
  return {};
}

void RefuseIf(const std::u16string& problem) {
  if (!problem.empty()) throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS, u"%s", problem);
}

}  // namespace kelvarion::access
