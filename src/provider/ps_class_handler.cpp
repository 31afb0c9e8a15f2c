#include "provider/ps_class_handler.h"

#include "errors/exception.h"
#include "wmi/context.h"

namespace kelvarion {

PS_AbstractClassHandler::PS_AbstractClassHandler(std::u16string class_name,
                                                 const WMINamespace& name_space,
                                                 CallContext* context,
                                                 const ServerContext& server_context)
    : AbstractClassHandler(std::move(class_name), name_space, context, server_context),
      version_(util::ParseVersion(own_class().QualifierText(u"ClassVersion"))) {}

HRESULT PS_AbstractClassHandler::GetObject(ParsedObjectPath& path, CallContext* context,
                                           WMIObject& out) {
  CheckVersion(context);
  return PsGetObject(path, context, out);
}

HRESULT PS_AbstractClassHandler::EnumerateInstances(CallContext* context, ResponseSink& sink) {
  CheckVersion(context);
  return PsEnumerateInstances(context, sink);
}

HRESULT PS_AbstractClassHandler::ExecMethod(ParsedObjectPath& path, const std::u16string& method,
                                            CallContext* context, const WMIObject& in_params,
                                            ResponseSink& sink, const IcCancelCallback* cancel) {
  CheckVersion(context);
  return PsExecMethod(path, method, context, in_params, sink, cancel);
}

void PS_AbstractClassHandler::CheckVersion(CallContext* context) const {
  const auto text = ContextText(context, u"MI_OPERATIONOPTIONS_PROVIDERVERSION");
  if (!text) return;
  const ProviderVersion requested = util::ParseVersion(*text);
  if (requested.major > version_.major)
    throw SimpleException(
        u"Provider version mismatch. Client's requested version is %s. Provider version is %s.",
        util::FormatVersion(requested), util::FormatVersion(version_));
}

}  // namespace kelvarion
