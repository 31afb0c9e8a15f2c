// Changes that a running web server sees only when it restarts.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "config/configuration.h"

namespace kelvarion::apache {

inline constexpr const char16_t* kReplicationFile = u"conf/replication.conf";

// Of the files that the server reads when it starts those that were written since then, below the
// installation folder; one that is missing now is not among them. The time as
// platform::ServiceManager::ConfigurationTime has it.
std::vector<std::u16string> FilesChangedSince(const IcRegistryAccessor& store,
                                              std::int64_t nanoseconds);

}  // namespace kelvarion::apache
