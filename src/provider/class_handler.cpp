#include "provider/class_handler.h"

#include "errors/exception.h"

namespace kelvarion {

AbstractClassHandler::AbstractClassHandler(std::u16string class_name,
                                           const WMINamespace& name_space, CallContext* context,
                                           const ServerContext& server_context)
    : class_name_(std::move(class_name)),
      namespace_(name_space),
      server_context_(server_context),
      own_class_(name_space.LoadClass(class_name_, context)) {}

HRESULT AbstractClassHandler::PutInstance(const WMIObject&) {
  throw WMIException(WBEM_E_NOT_SUPPORTED);
}

HRESULT AbstractClassHandler::DeleteInstance(ParsedObjectPath&) {
  throw WMIException(WBEM_E_NOT_SUPPORTED);
}

HRESULT AbstractClassHandler::ExecMethod(ParsedObjectPath&, const std::u16string&, CallContext*,
                                         const WMIObject&, ResponseSink&, const IcCancelCallback*) {
  throw WMIException(WBEM_E_INVALID_METHOD);
}

WMIObject AbstractClassHandler::SpawnOutParameters(const std::u16string& method) const {
  return own_class_.SpawnMethodOutput(method);
}

void AbstractClassHandler::RequireInstancePath(ParsedObjectPath& path) const {
  if (!own_class_.InheritsFrom(class_name_)) throw WMIException(WBEM_E_INVALID_CLASS);
  if (!path.IsInstance()) throw WMIException(WBEM_E_INVALID_OBJECT_PATH);
}

}  // namespace kelvarion
