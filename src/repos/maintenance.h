// Questions about and short work on whole repositories.
//
// Names are resolved ignoring letter case, as everywhere. Failures are SvnException unless said.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "context/server_context.h"

namespace kelvarion::repos {

enum class UpgradeResult { kDone, kNotFound };
// Brings the storage to the newest format. Waits until nobody else uses the repository.
UpgradeResult UpgradeRepository(const ServerContext& context, const std::u16string& name);

struct RepositorySize {
  std::uint64_t size = 0;          // Sum of the lengths of all files, links among them.
  std::uint64_t size_on_disk = 0;  // What the disk gives them.
  std::uint64_t total_files = 0;
  std::uint64_t total_folders = 0;  // Without that of the repository.
};
// All zero when there is no such repository. What vanishes meanwhile counts as empty.
// Win32Exception "Can't list directory '%s'" for a folder that cannot be read.
RepositorySize MeasureRepository(const ServerContext& context, const std::u16string& name);

// Throws as well for a capability that the libraries do not know.
bool HasCapability(const ServerContext& context, const std::u16string& name,
                   const std::u16string& capability);

// Nothing when the repository does not exist or cannot be read.
std::optional<std::int64_t> GetYoungestRevision(const ServerContext& context,
                                                const std::u16string& name);

}  // namespace kelvarion::repos
