#include "platform/authn/account_check.h"

#include <memory>

#include "platform/authn/login_name.h"
#include "platform/authn/pam.h"
#include "platform/security/security.h"
#include "platform/text/encoding.h"

namespace kelvarion::platform {
namespace {

LoginAnswer Refused(std::string reason) { return {LoginVerdict::kRefused, std::move(reason), {}}; }
LoginAnswer Failed(std::string reason) { return {LoginVerdict::kFailed, std::move(reason), {}}; }

// Only users log in: names of groups and of SIDs, which are accounts elsewhere, are none here.
bool FindUser(const SecurityAuthority& accounts, const std::string& name, std::u16string& sid) {
  return accounts.LookupAccountName(u"Unix User\\" + Utf16ForDisplay(name), sid) == ERROR_SUCCESS;
}

// The name that the system knows, or one that it may be asked for all the same: whoever guesses
// names must not learn from the time it takes which there are.
std::string NameForPam(const SecurityAuthority& accounts, const LoginRequest& request) {
  const std::vector<std::string> names = SystemNames(request.name, request.upn);
  std::u16string sid;
  for (const std::string& name : names)
    if (FindUser(accounts, name, sid)) return name;
  return names.front();
}

}  // namespace

LoginAnswer CheckAccount(const std::string& home, const LoginRequest& request) {
  std::unique_ptr<SecurityAuthority> accounts;
  if (OpenSecurityAuthority(home, accounts) != ERROR_SUCCESS)
    return Failed("The local groups of the home " + home + " cannot be read.");
  const PamAnswer answer = AskPam(FindPamService(home + "/server/conf/pam.d"),
                                  NameForPam(*accounts, request), request.password, request.client);
  if (answer.kind == PamAnswer::kFailed) return Failed(answer.text);
  if (answer.kind == PamAnswer::kRefused) return Refused(answer.text);
  std::u16string sid;
  AccountName account;
  if (!FindUser(*accounts, answer.text, sid) ||
      accounts->LookupAccountSid(sid, account) != ERROR_SUCCESS)
    return Refused("PAM accepts it, but there is no such account.");
  std::vector<std::u16string> sids;
  if (accounts->GetAccountSids(sid, sids) != ERROR_SUCCESS)
    return Failed("The groups of the account cannot be read.");
  LoginAnswer accepted{
      LoginVerdict::kAccepted, ShownName(Utf8ForDisplay(account.name), request.upn), {}};
  for (const std::u16string& each : sids) accepted.sids.push_back(Utf8ForDisplay(each));
  return accepted;
}

}  // namespace kelvarion::platform
