#include "provider/class_handler_table.h"

#include "errors/exception.h"
#include "handlers/convert/accounts.h"
#include "handlers/ext/access_finding_class_handler.h"
#include "handlers/ext/access_rule_class_handler.h"
#include "handlers/ext/effective_access_class_handler.h"
#include "handlers/ext/finding_class_handler.h"
#include "handlers/ext/group_member_class_handler.h"
#include "handlers/ext/replication_status_class_handler.h"
#include "handlers/ext/repository_backup_class_handler.h"
#include "handlers/ext/server_certificate_class_handler.h"
#include "handlers/ext/server_status_class_handler.h"
#include "handlers/ext/trusted_master_class_handler.h"
#include "handlers/group_class_handler.h"
#include "handlers/ormu_service_class_handler.h"
#include "handlers/ps/access_rule_class_handler.h"
#include "handlers/ps/repository_class_handler.h"
#include "handlers/ps/repository_hook_class_handler.h"
#include "handlers/ps/repository_item_class_handler.h"
#include "handlers/ps/server_configuration_class_handler.h"
#include "handlers/repository_class_handler.h"
#include "handlers/repository_entry_class_handler.h"
#include "handlers/security_descriptor_class_handler.h"
#include "handlers/service_class_handler.h"
#include "handlers/user_class_handler.h"
#include "platform/text/compare.h"
#include "provider/activity_class_handler.h"
#include "provider/version_info_class_handler.h"

namespace kelvarion {

template <class Handler, class... Arguments>
Handler& ClassHandlerTable::Add(Arguments&&... arguments) {
  auto handler = std::make_shared<Handler>(std::forward<Arguments>(arguments)...);
  handlers_.push_back(handler.get());
  owned_.push_back(handler);
  return *handler;
}

// The one place that knows every handler class.
ClassHandlerTable::ClassHandlerTable(const WMINamespace& name_space, IWbemContext* context,
                                     IcRegistryAccessor& configuration, IcEventLogger& events,
                                     platform::Machine& machine)
    : server_context_(configuration, events, machine),
      account_classes_(std::make_unique<AccountClassSet>(name_space, context)) {
  const ServerContext& server = server_context_;
  const AccountClassSet& accounts = *account_classes_;

  const auto& user = Add<UserClassHandler>(name_space, context, server);
  Add<GroupClassHandler>(name_space, context, server, user);
  const auto& entry = Add<RepositoryEntryClassHandler>(name_space, context, server);
  Add<RepositoryClassHandler>(name_space, context, server, accounts, entry);
  Add<RepositoryBackupClassHandler>(name_space, context, server);
  Add<ReplicationStatusClassHandler>(name_space, context, server);
  Add<TrustedMasterClassHandler>(name_space, context, server);
  Add<ServiceClassHandler>(name_space, context, server, accounts);
  Add<OrmuServiceClassHandler>(name_space, context, server, accounts);
  Add<ServerCertificateClassHandler>(name_space, context, server);
  Add<SecurityDescriptorClassHandler>(name_space, context, server, accounts);
  Add<AccessRuleClassHandler>(name_space, context, server);
  Add<GroupMemberClassHandler>(name_space, context, server);
  Add<EffectiveAccessClassHandler>(name_space, context, server);
  Add<AccessFindingClassHandler>(name_space, context, server);
  Add<ServerStatusClassHandler>(name_space, context, server);
  Add<FindingClassHandler>(name_space, context, server);
  Add<PS_AccessRuleClassHandler>(name_space, context, server);
  Add<PS_RepositoryClassHandler>(name_space, context, server);
  Add<PS_RepositoryHookClassHandler>(name_space, context, server);
  Add<PS_RepositoryItemClassHandler>(name_space, context, server);
  Add<PS_ServerConfigurationClassHandler>(name_space, context, server);
  Add<VersionInfoClassHandler>(name_space, context, server);
  Add<ActivityClassHandler>(ActivityRegistry::OfProcess());
}

ClassHandlerTable::~ClassHandlerTable() = default;

IAbstractClassHandler& ClassHandlerTable::FindByName(const std::u16string& class_name) const {
  for (IAbstractClassHandler* handler : handlers_)
    if (platform::EqualIgnoreCase(handler->GetClassName(), class_name)) return *handler;
  throw ComException(WBEM_E_INVALID_CLASS, u"Unexpected class '%s'", class_name);
}

IAbstractClassHandler& ClassHandlerTable::FindByPath(const ParsedObjectPath& path) const {
  for (IAbstractClassHandler* handler : handlers_)
    if (path.IsSameClass(handler->GetClassName())) return *handler;
  throw ComException(WBEM_E_INVALID_CLASS, u"Unexpected class '%s'", path.ClassName());
}

}  // namespace kelvarion
