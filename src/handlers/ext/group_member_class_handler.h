// Kelvarion_GroupMember: one member of a group of Subversion users.
#pragma once

#include "provider/method_table.h"

namespace kelvarion {

class GroupMemberClassHandler final : public MethodsClassHandler<GroupMemberClassHandler> {
 public:
  GroupMemberClassHandler(const WMINamespace& name_space, CallContext* context,
                          const ServerContext& server_context)
      : MethodsClassHandler(u"Kelvarion_GroupMember", name_space, context, server_context) {}

  HRESULT GetObject(ParsedObjectPath& path, CallContext* context, WMIObject& out) override;
  HRESULT EnumerateInstances(CallContext* context, ResponseSink& sink) override;
  static const MethodTable<GroupMemberClassHandler>& Methods();

 private:
  WMIObject Describe(const std::u16string& group, const std::u16string& member) const;

  void Add(MethodCall& call);
  void Remove(MethodCall& call);
};

}  // namespace kelvarion
