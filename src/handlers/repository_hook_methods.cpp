// The methods of Kelvarion_Repository that concern its hook scripts.
#include "handlers/repository_class_handler.h"
#include "repos/hooks.h"

namespace kelvarion {
namespace {

constexpr Property<std::u16string> kName{u"Name"};
constexpr Property<std::uint32_t> kKind{u"Kind"};
constexpr Property<std::u16string> kHook{u"Hook"};
constexpr Property<bool> kReturnValue{u"ReturnValue"};

repos::HookKind Kind(const MethodCall& call) {
  const std::uint32_t kind = call.in(kKind);
  if (kind >= repos::kHookKinds) {
    throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS,
                       u"There is no hook of kind %u, only 0 to %u.", kind, repos::kHookKinds - 1);
  }
  return static_cast<repos::HookKind>(kind);
}

}  // namespace

void RepositoryClassHandler::GetHook(MethodCall& call) {
  const repos::HookKind kind = Kind(call);
  const auto hook =
      repos::ReadHook(context(), repos::RequireRepository(context(), call.key(kName)), kind);
  call.out().Set(kHook, hook ? hook->content : u"");
  call.out().Set(kReturnValue, hook.has_value());
}

void RepositoryClassHandler::SetHook(MethodCall& call) {
  const repos::HookKind kind = Kind(call);
  repos::WriteHook(context(), repos::RequireRepository(context(), call.key(kName)), kind,
                   call.in(kHook), repos::OverwriteHook::kYes);
}

void RepositoryClassHandler::DeleteHook(MethodCall& call) {
  const repos::HookKind kind = Kind(call);
  repos::DeleteHook(context(), repos::RequireRepository(context(), call.key(kName)), kind);
}

}  // namespace kelvarion
