#include "platform/authn/login_name.h"

#include "platform/security/accounts.h"
#include "platform/text/compare.h"
#include "platform/text/encoding.h"

namespace kelvarion::platform {
namespace {

bool IsOwnDomain(const std::string& domain) {
  const std::u16string wide = Utf16ForDisplay(domain);
  return IsLocalDomain(wide) || EqualIgnoreCase(wide, u"Unix User");
}

}  // namespace

std::vector<std::string> SystemNames(const std::string& name, bool upn) {
  if (const std::size_t backslash = name.find('\\'); backslash != std::string::npos) {
    const bool own = IsOwnDomain(name.substr(0, backslash));
    return {own ? name.substr(backslash + 1) : name};
  }
  const std::size_t at = upn ? name.rfind('@') : std::string::npos;
  if (at == std::string::npos) return {name};
  const std::string user = name.substr(0, at);
  const std::string domain = name.substr(at + 1);
  if (IsOwnDomain(domain)) return {user};
  return {name, domain + "\\" + user};
}

std::string ShownName(const std::string& name, bool upn) {
  if (!upn) return name;
  if (const std::size_t backslash = name.find('\\'); backslash != std::string::npos)
    return name.substr(backslash + 1) + "@" + name.substr(0, backslash);
  if (name.find('@') != std::string::npos) return name;
  return name + "@" + Utf8ForDisplay(HostName());
}

}  // namespace kelvarion::platform
