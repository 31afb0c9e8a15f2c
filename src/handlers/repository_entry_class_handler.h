// Kelvarion_RepositoryEntry: a file or folder in the head revision of a repository.
#pragma once

#include "provider/class_handler.h"
#include "repos/content.h"

namespace kelvarion {

class RepositoryEntryClassHandler final : public AbstractClassHandler {
 public:
  RepositoryEntryClassHandler(const WMINamespace& name_space, CallContext* context,
                              const ServerContext& server_context)
      : AbstractClassHandler(u"Kelvarion_RepositoryEntry", name_space, context, server_context) {}

  HRESULT GetObject(ParsedObjectPath& path, CallContext* context, WMIObject& out) override;
  // Not supported: lists of entries come from the repository.
  HRESULT EnumerateInstances(CallContext* context, ResponseSink& sink) override;

  // Also for the children that a repository lists.
  WMIObject Describe(const repos::RepositoryEntry& entry) const;
};

}  // namespace kelvarion
