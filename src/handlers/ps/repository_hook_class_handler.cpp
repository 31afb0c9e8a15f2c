// Keys: Repository, found ignoring case, and TypeName, which must be exact.

#include "handlers/ps/repository_hook_class_handler.h"

#include <algorithm>

#include "handlers/ps/cmdlet.h"
#include "platform/text/compare.h"
#include "repos/repository_store.h"

namespace kelvarion {
namespace {

constexpr Property<std::u16string> kRepository{u"Repository"};
constexpr Property<std::u16string> kTypeName{u"TypeName"};
constexpr Property<std::uint32_t> kType{u"Type"};
constexpr Property<std::u16string> kContent{u"Content"};
constexpr Property<std::u16string> kPath{u"Path"};
constexpr Property<WMIObject> kHook{u"Hook"};

// The hook that the path of an instance names.
struct Key {
  repos::HookKind kind;
  std::u16string repository;  // As the disk spells it.
};

Key KeyOf(MethodCall& call, const ServerContext& context) {
  const auto [repository, type_name] = call.path().Keys(kRepository, kTypeName);
  const auto kind = repos::HookKindFromName(type_name);
  if (!kind) {
    throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS, u"There is no hook named '%s'.",
                       type_name);
  }
  return {*kind, repos::RequireRepository(context, repository)};
}

}  // namespace

WMIObject PS_RepositoryHookClassHandler::Describe(const repos::HookRecord& hook) const {
  WMIObject object = SpawnInstance();
  object.Set(kRepository, hook.repository);
  object.Set(kTypeName, repos::HookKindName(hook.kind));
  object.Set(kType, static_cast<std::uint32_t>(hook.kind));
  object.Set(kContent, hook.content);
  object.Set(kPath, hook.path);
  return object;
}

HRESULT PS_RepositoryHookClassHandler::PsGetObject(ParsedObjectPath& path, CallContext*,
                                                   WMIObject& out) {
  const auto [name, type_name] = path.Keys(kRepository, kTypeName);
  const auto kind = repos::HookKindFromName(type_name);
  if (!kind) throw WMIException(WBEM_E_INVALID_OBJECT_PATH);
  const auto repository = repos::FindRepository(context(), name);
  const auto hook = repository ? repos::TryReadHook(context(), *repository, *kind) : std::nullopt;
  if (!hook) throw WMIException(WBEM_E_NOT_FOUND);
  out = Describe(*hook);
  return S_OK;
}

HRESULT PS_RepositoryHookClassHandler::PsEnumerateInstances(CallContext*, ResponseSink& sink) {
  std::vector<std::u16string> names = repos::ListRepositoryNames(context());
  std::ranges::sort(names, platform::LogicalLess{});
  for (const std::u16string& name : names) {
    sink.ThrowIfCancelled();
    std::vector<repos::HookRecord> hooks = repos::ListHooks(context(), name);
    std::ranges::sort(hooks, [](const auto& a, const auto& b) {
      return repos::CompareHookKinds(a.kind, b.kind) < 0;
    });
    for (const repos::HookRecord& hook : hooks) sink.Indicate(Describe(hook));
  }
  return S_OK;
}

void PS_RepositoryHookClassHandler::Add(MethodCall& call, const std::u16string& repository,
                                        std::uint32_t type, const std::u16string& content) const {
  if (type >= repos::kHookKinds) throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS);
  const auto kind = static_cast<repos::HookKind>(type);
  const std::u16string name = repos::RequireRepository(context(), repository);
  const auto overwrite =
      cmdlet::Force(call) ? repos::OverwriteHook::kYes : repos::OverwriteHook::kNo;
  std::optional<repos::HookRecord> hook;
  try {
    hook = repos::WriteHook(context(), name, kind, content, overwrite);
  } catch (const Exception& failure) {
    throw SimpleException(u"Cannot add \"%s\" hook to repository \"%s\": %s",
                          repos::HookKindName(kind), name, failure.Message());
  }
  if (!hook) {
    throw WMIException(WBEM_E_ALREADY_EXISTS,
                       u"Cannot add \"%s\" hook to repository \"%s\" because it already exists "
                       u"(use -Force to overwrite)",
                       repos::HookKindName(kind), name);
  }
  cmdlet::Output(call, Describe(*hook));
}

void PS_RepositoryHookClassHandler::AddByRepositoryName(MethodCall& call) {
  Add(call, cmdlet::RepositoryName(call), call.in(kType), call.in(kContent));
}

void PS_RepositoryHookClassHandler::AddByRepositoryObject(MethodCall& call) {
  Add(call, cmdlet::RepositoryObjectName(call), call.in(kType), call.in(kContent));
}

void PS_RepositoryHookClassHandler::AddByHook(MethodCall& call) {
  const WMIObject hook = call.in(kHook);
  Add(call, hook.Get(kRepository), hook.Get(kType), hook.Get(kContent));
}

void PS_RepositoryHookClassHandler::Set(MethodCall& call) {
  const Key key = KeyOf(call, context());
  std::optional<repos::HookRecord> hook;
  try {
    hook = repos::WriteHook(context(), key.repository, key.kind, call.in(kContent),
                            repos::OverwriteHook::kYes);
  } catch (const Exception& failure) {
    throw SimpleException(u"Cannot update \"%s\" hook in repository \"%s\": %s",
                          repos::HookKindName(key.kind), key.repository, failure.Message());
  }
  if (cmdlet::PassThru(call)) cmdlet::Output(call, Describe(*hook));
}

void PS_RepositoryHookClassHandler::Remove(MethodCall& call) {
  const Key key = KeyOf(call, context());
  try {
    repos::DeleteHook(context(), key.repository, key.kind);
  } catch (const Exception& failure) {
    throw SimpleException(u"Cannot remove \"%s\" hook from repository \"%s\": %s",
                          repos::HookKindName(key.kind), key.repository, failure.Message());
  }
}

const MethodTable<PS_RepositoryHookClassHandler>& PS_RepositoryHookClassHandler::Methods() {
  using Self = PS_RepositoryHookClassHandler;
  static const MethodTable<Self> table{
      {u"AddByRepositoryName", &Self::AddByRepositoryName},
      {u"AddByRepositoryObject", &Self::AddByRepositoryObject},
      {u"AddByHook", &Self::AddByHook},
      {u"Set", &Self::Set},
      {u"Remove", &Self::Remove},
  };
  return table;
}

}  // namespace kelvarion
