#include "handlers/convert/undefined_groups.h"

#include "access/groups.h"

namespace kelvarion {

void WarnOfUndefinedGroups(const ServerContext& context, NamedIn place,
                           const std::vector<access::Account>& accounts, ResponseSink& sink) {
  for (const access::Account& account : accounts) {
    if (account.kind != access::AccountKind::SubversionGroup ||
        access::GroupExists(context, account.name))
      continue;
    sink.WriteWarning(
        Format(u"There is no group '%s'. Until it is created, nobody has access to %s.",
               account.name, place == NamedIn::kRules ? u"this repository" : u"any repository"));
  }
}

}  // namespace kelvarion
