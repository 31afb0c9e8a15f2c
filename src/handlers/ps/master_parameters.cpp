#include "handlers/ps/master_parameters.h"

namespace kelvarion::cmdlet {

repos::MasterAddress Master(const MethodCall& call, const std::u16string& own_name) {
  const auto server = call.optional_in(kMasterServer);
  if (!server) {
    throw WMIException(
        WBEM_E_INVALID_METHOD_PARAMETERS,
        u"Parameter 'MasterServer' must be defined when creating a repository of this type");
  }
  return {*server, call.optional_in(kMasterRepository).value_or(own_name)};
}

void RefuseMaster(const MethodCall& call, const char16_t* server_text,
                  const char16_t* repository_text) {
  if (call.optional_in(kMasterServer))
    throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS, u"%s", server_text);
  if (call.optional_in(kMasterRepository))
    throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS, u"%s", repository_text);
}

}  // namespace kelvarion::cmdlet
