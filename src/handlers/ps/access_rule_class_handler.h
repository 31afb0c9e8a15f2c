// PS_SvnAccessRule: one access rule of a machine account.
#pragma once

#include <optional>

#include "access/access_rules.h"
#include "access/account_names.h"
#include "provider/method_table.h"

namespace kelvarion {

// Refuses everything unless the server uses Windows authentication.
class PS_AccessRuleClassHandler final : public PsMethodsClassHandler<PS_AccessRuleClassHandler> {
 public:
  PS_AccessRuleClassHandler(const WMINamespace& name_space, CallContext* context,
                            const ServerContext& server_context)
      : PsMethodsClassHandler(u"PS_SvnAccessRule", name_space, context, server_context) {}

  static const MethodTable<PS_AccessRuleClassHandler>& Methods();

 private:
  // A rule to be added, as the client gave it.
  struct NewRule {
    std::u16string repository;
    std::u16string path;
    std::u16string sid;
    access::AccessLevel access;
  };

  HRESULT PsGetObject(ParsedObjectPath& path, CallContext* context, WMIObject& out) override;
  HRESULT PsEnumerateInstances(CallContext* context, ResponseSink& sink) override;
  HRESULT PsExecMethod(ParsedObjectPath& path, const std::u16string& method, CallContext* context,
                       const WMIObject& in_params, ResponseSink& sink,
                       const IcCancelCallback* cancel) override;

  void AddByRepositoryName(MethodCall& call);
  void AddByRepositoryObject(MethodCall& call);
  void AddByGlobal(MethodCall& call);
  void AddByRule(MethodCall& call);
  void Remove(MethodCall& call);
  void Set(MethodCall& call);
  void SelectByRepositoryName(MethodCall& call);
  void SelectByRepositoryObject(MethodCall& call);

  void RequireWindowsAuthentication() const;
  WMIObject Describe(const access::AccessRule& rule, access::AccountNames& names) const;
  // Exactly one of the two texts must be there.
  std::u16string ResolveAccount(const std::optional<std::u16string>& id,
                                const std::optional<std::u16string>& name) const;
  void AddAt(MethodCall& call, const std::u16string& repository, const std::u16string& path);
  // Returns the rule as an object.
  WMIObject Add(const NewRule& rule, access::Overwrite overwrite) const;
  void Select(MethodCall& call, const std::u16string& repository);
};

}  // namespace kelvarion
