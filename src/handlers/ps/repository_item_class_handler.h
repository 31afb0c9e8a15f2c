// PS_SvnRepositoryItem: a file or folder in a repository, as the command-line module shows it.
#pragma once

#include "provider/method_table.h"
#include "repos/content.h"

namespace kelvarion {

class PS_RepositoryItemClassHandler final
    : public PsMethodsClassHandler<PS_RepositoryItemClassHandler> {
 public:
  PS_RepositoryItemClassHandler(const WMINamespace& name_space, CallContext* context,
                                const ServerContext& server_context)
      : PsMethodsClassHandler(u"PS_SvnRepositoryItem", name_space, context, server_context) {}

  HRESULT PsGetObject(ParsedObjectPath& path, CallContext* context, WMIObject& out) override;
  // All repositories' root folders, unless the context asks for one repository or for other paths.
  HRESULT PsEnumerateInstances(CallContext* context, ResponseSink& sink) override;
  static const MethodTable<PS_RepositoryItemClassHandler>& Methods();

 private:
  WMIObject Describe(const repos::RepositoryEntry& entry) const;
  void List(const repos::EntryKey& key, ResponseSink& sink) const;
  void Create(MethodCall& call, const std::u16string& repository) const;
  void Remove(MethodCall& call, const std::u16string& repository) const;

  void CreateByRepositoryName(MethodCall& call);
  void CreateByRepositoryObject(MethodCall& call);
  void RemoveByRepositoryName(MethodCall& call);
  void RemoveByRepositoryObject(MethodCall& call);
};

}  // namespace kelvarion
