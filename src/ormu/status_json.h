// The status of slaves on its way from the service to those who ask.
#pragma once

#include "ormu/service_wire.h"
#include "ormu/status.h"

namespace kelvarion::ormu {

WireJson StatusToJson(const SlaveStatus& status);
// Throws WireJson::exception for what is no status.
SlaveStatus StatusFromJson(const WireJson& json);

// What the repositories in the root say of themselves, in the order of their names.
std::vector<SlaveStatus> ReadSlaves(const std::u16string& root, const svn::Pool& scratch);

}  // namespace kelvarion::ormu
