#include "provider/class_handler_table.h"

#include "errors/exception.h"
#include "handlers/convert/accounts.h"
#include "handlers/group_class_handler.h"
#include "handlers/repository_class_handler.h"
#include "handlers/service_class_handler.h"
#include "handlers/user_class_handler.h"
#include "platform/text/compare.h"
#include "provider/activity_class_handler.h"
#include "provider/version_info_class_handler.h"

namespace kelvarion {

// Members are made in this order; a handler that needs another one stands after it.
struct ClassHandlerTable::Handlers {
  Handlers(const WMINamespace& name_space, IWbemContext* context, const ServerContext& server)
      : account_classes(name_space, context),
        user(name_space, context, server),
        group(name_space, context, server, user),
        repository(name_space, context, server, account_classes),
        service(name_space, context, server),
        version_info(name_space, context, server),
        activity(ActivityRegistry::OfProcess()) {}

  AccountClassSet account_classes;
  UserClassHandler user;
  GroupClassHandler group;
  RepositoryClassHandler repository;
  ServiceClassHandler service;
  VersionInfoClassHandler version_info;
  ActivityClassHandler activity;
};

ClassHandlerTable::ClassHandlerTable(const WMINamespace& name_space, IWbemContext* context,
                                     IcRegistryAccessor& configuration, IcEventLogger& events,
                                     platform::Machine& machine)
    : server_context_(configuration, events, machine),
      members_(std::make_unique<Handlers>(name_space, context, server_context_)),
      handlers_{&members_->user,    &members_->group,        &members_->repository,
                &members_->service, &members_->version_info, &members_->activity} {}

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
