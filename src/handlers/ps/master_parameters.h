// The parameters by which methods of PS_SvnRepository name the master of a slave.
#pragma once

#include "provider/method_table.h"
#include "repos/replication.h"

namespace kelvarion::cmdlet {

inline constexpr Property<std::u16string> kMasterServer{u"MasterServer"};
inline constexpr Property<std::u16string> kMasterRepository{u"MasterRepository"};

// The server must be given; the repository is named `own_name` unless given.
repos::MasterAddress Master(const MethodCall& call, const std::u16string& own_name);

// WMIException WBEM_E_INVALID_METHOD_PARAMETERS with the text of the first one that is given.
void RefuseMaster(const MethodCall& call, const char16_t* server_text,
                  const char16_t* repository_text);

}  // namespace kelvarion::cmdlet
