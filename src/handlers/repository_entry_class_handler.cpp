// Keys: RepositoryName, found ignoring case, and Path.

#include "handlers/repository_entry_class_handler.h"

namespace kelvarion {
namespace {

constexpr Property<std::u16string> kRepositoryName{u"RepositoryName"};
constexpr Property<std::u16string> kPath{u"Path"};
constexpr Property<std::u16string> kName{u"Name"};
constexpr Property<std::u16string> kParentPath{u"ParentPath"};
constexpr Property<std::u16string> kUrl{u"URL"};
constexpr Property<std::uint32_t> kKind{u"Kind"};
constexpr Property<bool> kInheritedOnlyPermissions{u"InheritedOnlyPermissions"};

}  // namespace

WMIObject RepositoryEntryClassHandler::Describe(const repos::RepositoryEntry& entry) const {
  WMIObject object = SpawnInstance();
  object.Set(kRepositoryName, entry.repository);
  object.Set(kPath, entry.path);
  object.Set(kName, entry.name);
  if (!entry.parent_path.empty()) object.Set(kParentPath, entry.parent_path);
  object.Set(kUrl, entry.url);
  object.SetOptional(kKind, repos::ClientKind(entry.kind));
  object.Set(kInheritedOnlyPermissions, entry.inherited_only_permissions);
  return object;
}

HRESULT RepositoryEntryClassHandler::GetObject(ParsedObjectPath& path, CallContext*,
                                               WMIObject& out) {
  const auto [name, place] = path.Keys(kRepositoryName, kPath);
  out = Describe(repos::RequireEntry(context(), {name, place}));
  return S_OK;
}

HRESULT RepositoryEntryClassHandler::EnumerateInstances(CallContext*, ResponseSink&) {
  throw WMIException(WBEM_E_NOT_SUPPORTED);
}

}  // namespace kelvarion
