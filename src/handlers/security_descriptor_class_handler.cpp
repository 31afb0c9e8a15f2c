// Key: AssociatedObject, the object path of the server, of a repository or of a path in one. Places
// that only inherit have no instance.

#include "handlers/security_descriptor_class_handler.h"

#include "repos/repository_store.h"
#include "settings/server_settings.h"

namespace kelvarion {
namespace {

using access::RuleScope;

constexpr const char16_t* kServiceClass = u"Kelvarion_Service";
constexpr const char16_t* kRepositoryClass = u"Kelvarion_Repository";
constexpr const char16_t* kEntryClass = u"Kelvarion_RepositoryEntry";

constexpr Property<std::u16string> kAssociatedObject{u"AssociatedObject"};
constexpr Property<std::vector<WMIObject>> kPermissions{u"Permissions"};
constexpr Property<std::u16string> kName{u"Name"};
constexpr Property<std::u16string> kRepositoryName{u"RepositoryName"};
constexpr Property<std::u16string> kPath{u"Path"};

}  // namespace

WMIObject SecurityDescriptorClassHandler::Describe(const std::u16string& place,
                                                   const access::PermissionList& rules) const {
  WMIObject descriptor = SpawnInstance();
  descriptor.Set(kAssociatedObject, place);
  descriptor.Set(kPermissions, accounts_.ToObjects(rules));
  return descriptor;
}

RuleScope SecurityDescriptorClassHandler::ScopeOf(const std::u16string& place) const {
  const ParsedObjectPath path = name_space().ParsePath(place);
  if (path.IsSameClass(kServiceClass)) return std::nullopt;
  if (path.IsSameClass(kRepositoryClass))
    return access::RepositoryPath{repos::RequireRepository(context(), path.Key(kName)), u"/"};
  if (path.IsSameClass(kEntryClass)) {
    const auto [repository, in_repository] = path.Keys(kRepositoryName, kPath);
    return access::RepositoryPath{repos::RequireRepository(context(), repository), in_repository};
  }
  throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS,
                     u"Security settings for class '%s' not supported", path.ClassName());
}

std::u16string SecurityDescriptorClassHandler::PlaceOf(const RuleScope& scope) const {
  ParsedObjectPath path = name_space().NewPath();
  if (!scope) {
    path.SetClassName(kServiceClass);
    path.SetKey(kName, settings::kServerInstanceName);
  } else if (scope->path == u"/") {
    path.SetClassName(kRepositoryClass);
    path.SetKey(kName, scope->repository);
  } else {
    path.SetClassName(kEntryClass);
    path.SetKey(kRepositoryName, scope->repository);
    path.SetKey(kPath, scope->path);
  }
  return path.Text();
}

HRESULT SecurityDescriptorClassHandler::GetObject(ParsedObjectPath& path, CallContext*,
                                                  WMIObject& out) {
  const std::u16string place = path.Key(kAssociatedObject);
  const RuleScope scope = ScopeOf(place);
  const access::PermissionList rules = scope ? access::GetPathPermissions(context(), *scope)
                                             : access::GetGlobalPermissions(context());
  if (rules.empty()) throw WMIException(WBEM_E_NOT_FOUND);
  out = Describe(place, rules);
  return S_OK;
}

HRESULT SecurityDescriptorClassHandler::EnumerateInstances(CallContext*, ResponseSink& sink) {
  const auto indicate = [&](const RuleScope& scope, const access::PermissionList& rules) {
    if (!rules.empty()) sink.IndicateNext(Describe(PlaceOf(scope), rules));
  };
  indicate(std::nullopt, access::GetGlobalPermissions(context()));
  for (const std::u16string& repository : repos::ListRepositoryNames(context())) {
    sink.ThrowIfCancelled();
    for (const auto& [path, rules] : access::GetAllPathPermissions(context(), repository))
      indicate(access::RepositoryPath{repository, path}, rules);
  }
  return S_OK;
}

}  // namespace kelvarion
