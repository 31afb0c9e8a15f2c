#include "repos/names.h"

#include <algorithm>
#include <string_view>

#include "errors/exception.h"
#include "platform/text/compare.h"
#include "platform/text/encoding.h"

namespace kelvarion::repos {
namespace {

// What the file systems take for one name.
constexpr std::size_t kMaximumBytes = 255;

bool IsControl(char16_t c) { return c < 0x20 || (c >= 0x7F && c < 0xA0); }

// XML, in which the web server describes repositories, has no way to write these two.
bool IsNoCharacter(char16_t c) { return c == 0xFFFE || c == 0xFFFF; }

// The last two take no room either where a name is shown.
bool IsBlank(char16_t c) { return platform::IsWhiteSpace(c) || c == 0x200B || c == 0xFEFF; }

std::u16string AsciiLower(std::u16string_view text) {
  std::u16string lower(text);
  for (char16_t& c : lower) {
    if (c >= u'A' && c <= u'Z') c = static_cast<char16_t>(c + (u'a' - u'A'));
  }
  return lower;
}

// Whether the name is one of `names`, all in lower case, alone or with an extension.
template <std::size_t N>
bool IsOneOf(const std::u16string& name, const std::u16string_view (&names)[N]) {
  const std::u16string lower = AsciiLower(name);
  return std::any_of(std::begin(names), std::end(names), [&](std::u16string_view reserved) {
    return lower.starts_with(reserved) &&
           (lower.size() == reserved.size() || lower[reserved.size()] == u'.');
  });
}

bool IsDevice(const std::u16string& name) {
  static constexpr std::u16string_view kDevices[] = {
      u"con",  u"prn",  u"aux",  u"nul",  u"conin$", u"conout$", u"com1", u"com2",
      u"com3", u"com4", u"com5", u"com6", u"com7",   u"com8",    u"com9", u"lpt1",
      u"lpt2", u"lpt3", u"lpt4", u"lpt5", u"lpt6",   u"lpt7",    u"lpt8", u"lpt9"};
  return IsOneOf(name, kDevices);
}

// The server's own files in the root with their temporary ones, the folder for half-made
// repositories, and the path of the web interface, which hides a repository when the prefix is
// empty.
bool IsTakenByServer(const std::u16string& name) {
  static constexpr std::u16string_view kOwn[] = {u"htpasswd",
                                                 u"groups.conf",
                                                 u"kelvarion-globalwinauthz.ini",
                                                 u"kelvarion-global.lck",
                                                 u"ssl_scache",
                                                 u".kelvarion",
                                                 u"!"};
  return IsOneOf(name, kOwn);
}

// What is wrong with the name; null when nothing is.
const char16_t* FindFault(const std::u16string& name) {
  std::string utf8;
  if (!platform::Utf16ToUtf8(name, utf8)) return u"it is not valid Unicode text";
  if (std::any_of(name.begin(), name.end(), IsControl)) return u"it contains a control character";
  if (name.find_first_of(u"/\\") != name.npos) return u"it contains a path separator";
  if (name == u"." || name == u"..") return u"it stands for a folder";
  if (name.find_first_of(u"<>:\"|?*") != name.npos)
    return u"it contains one of the characters < > : \" | ? *";
  // The web server's module writes it into its answers as it is, which are then no XML any more.
  if (name.find(u'&') != name.npos) return u"it contains '&', which clients cannot be served";
  if (std::any_of(name.begin(), name.end(), IsNoCharacter))
    return u"it contains a code that is no character";
  if (IsBlank(name.front()) || IsBlank(name.back())) return u"it begins or ends with a blank";
  if (name.back() == u'.') return u"it ends with a dot";
  if (IsDevice(name)) return u"it is the name of a device";
  if (IsTakenByServer(name)) return u"it is reserved for the server itself";
  if (utf8.size() > kMaximumBytes) return u"it is longer than 255 bytes";
  return nullptr;
}

// The message must not carry what made the name unfit.
std::u16string Printable(std::u16string name) {
  std::replace_if(
      name.begin(), name.end(), [](char16_t c) { return IsControl(c) || IsNoCharacter(c); }, u'?');
  return platform::Utf16ForDisplay(platform::Utf8ForDisplay(name));
}

}  // namespace

void ValidateRepositoryName(const std::u16string& name) {
  if (name.empty()) {
    throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS, u"Repository name cannot be empty");
  }
  if (const char16_t* fault = FindFault(name)) {
    throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS,
                       u"'%s' cannot be the name of a repository: %s", Printable(name), fault);
  }
}

}  // namespace kelvarion::repos
