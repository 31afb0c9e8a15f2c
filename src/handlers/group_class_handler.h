// Kelvarion_Group: a group of Subversion users and of other groups.
#pragma once

#include <vector>

#include "access/account.h"
#include "handlers/user_class_handler.h"
#include "provider/method_table.h"

namespace kelvarion {

class GroupClassHandler final : public MethodsClassHandler<GroupClassHandler> {
 public:
  GroupClassHandler(const WMINamespace& name_space, CallContext* context,
                    const ServerContext& server_context, const UserClassHandler& users)
      : MethodsClassHandler(u"Kelvarion_Group", name_space, context, server_context),
        users_(users) {}

  HRESULT GetObject(ParsedObjectPath& path, CallContext* context, WMIObject& out) override;
  HRESULT EnumerateInstances(CallContext* context, ResponseSink& sink) override;
  static const MethodTable<GroupClassHandler>& Methods();

 private:
  WMIObject Describe(const std::u16string& name) const;
  WMIObject DescribeMember(const access::Account& member) const;
  access::Account ParseMember(const std::u16string& path_text) const;
  std::vector<access::Account> MembersIn(const MethodCall& call) const;

  void Create(MethodCall& call);
  void Delete(MethodCall& call);
  void SetMembers(MethodCall& call);
  void GetMembers(MethodCall& call);

  const UserClassHandler& users_;
};

}  // namespace kelvarion
