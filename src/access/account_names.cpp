#include "access/account_names.h"

#include "access/sid.h"

namespace kelvarion::access {

const std::u16string& AccountNames::Of(const std::u16string& sid) {
  const auto [known, is_new] = names_.try_emplace(sid);
  std::u16string& name = known->second;
  if (!is_new) return name;
  if (sid == u"*") return name = u"Everyone";
  const auto account = LookupAccountSid(authority_, sid);
  if (!account) return name = u"*" + sid;
  return name = account->domain.empty() ? account->name : account->domain + u"\\" + account->name;
}

}  // namespace kelvarion::access
