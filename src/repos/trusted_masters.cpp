#include "repos/trusted_masters.h"

#include <algorithm>

#include "errors/exception.h"
#include "repos/engine_errors.h"
#include "svn/error.h"
#include "svn/text.h"

namespace kelvarion::repos {
namespace {

constexpr std::size_t kSha256Digits = 64;

template <class... Args>
[[noreturn]] void Refuse(FormatString<std::type_identity_t<Args>...> format, const Args&... args) {
  throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS, format, args...);
}

bool HasControls(const std::u16string& text) {
  return std::ranges::any_of(text, [](char16_t c) { return c < u' ' || c == 0x7F; });
}

std::string Fingerprint(const std::u16string& text) {
  std::string digits;
  for (const char16_t c : text) {
    if (c == u':' || c == u' ') continue;
    const char lower = c >= u'A' && c <= u'F' ? static_cast<char>(c + 32) : static_cast<char>(c);
    if (c > 0x7F || std::string_view("0123456789abcdef").find(lower) == std::string_view::npos)
      Refuse(u"'%s' is not the SHA-256 of a certificate", text);
    digits += lower;
  }
  if (!digits.empty() && digits.size() != kSha256Digits)
    Refuse(u"'%s' is not the SHA-256 of a certificate", text);
  return digits;
}

std::string Address(const TrustRequest& request) {
  if (!request.url)
    return ormu::ReplicationUrl(svn::Utf8(request.scheme.value_or(u"https")),
                                svn::Utf8(request.server));
  if (request.scheme) Refuse(u"Give the scheme or the address, not both");
  std::string url = svn::Utf8(*request.url);
  const bool known = std::ranges::any_of(
      std::initializer_list<std::string_view>{"https://", "http://", "svn://", "file:///"},
      [&](std::string_view start) { return url.starts_with(start) && url.size() > start.size(); });
  if (!known || HasControls(*request.url) || url.find('@') != std::string::npos)
    Refuse(
        u"'%s' is not an address of masters: it begins with https://, http://, svn:// or "
        u"file:/// and names no account",
        *request.url);
  while (url.ends_with('/')) url.pop_back();
  return url;
}

}  // namespace

void TrustMaster(const ServerContext& context, const TrustRequest& request,
                 const std::function<void(const std::u16string& text)>& warn) {
  if (request.account.empty() && !request.password.empty())
    Refuse(u"A password is of no use without an account");
  if (HasControls(request.account) || HasControls(request.password))
    Refuse(u"An account and its password contain no control characters");
  const std::string url = Address(request);
  ormu::TrustMaster(context.machine().home, svn::Utf8(request.server),
                    {url, svn::Utf8(request.account), svn::Utf8(request.password),
                     Fingerprint(request.certificate_sha256)});
  if (url.starts_with("http://") && !request.password.empty()) {
    warn(
        Format(u"The password of '%s' will go to '%s' unencrypted: anybody on the way can read "
               u"it. Where the master can be reached over https, trust it so.",
               request.account, svn::Utf16(url)));
  }
}

ormu::ServerCertificate FetchCertificate(const std::u16string& server) {
  try {
    return ormu::FetchCertificate(svn::Utf8(server));
  } catch (const SvnException& failure) {
    ThrowExplained(failure);
    throw;
  }
}

}  // namespace kelvarion::repos
