// Repositories that replicate: a master takes commits, slaves on other servers follow it.
//
// Each operation checks what the repository is and then asks the replication engine. This server
// has no engine: what needs one throws SimpleException and changes nothing. Repositories are named
// as their folders are; one that does not open is a SvnException before any check.
#pragma once

#include <cstdint>
#include <string>

#include "context/cancel_callback.h"
#include "context/server_context.h"

namespace kelvarion::repos {

// The repository that a slave follows.
struct MasterAddress {
  std::u16string server;  // host[:port]
  std::u16string repository;
};

void CreateOrmuMaster(const ServerContext& context, const std::u16string& name);
void CreateOrmuSlave(const ServerContext& context, const std::u16string& name,
                     const MasterAddress& master);

struct MasterImport {
  std::u16string source;  // Absolute path of a repository.
  bool permissions = false;
  bool delegation = false;
  bool hooks = false;
};
void ImportOrmuMaster(const ServerContext& context, const std::u16string& name,
                      const MasterImport& import, const IcCancelCallback* cancel);

// The number of revisions that the master has.
std::uint32_t TestOrmuConnection(const ServerContext& context, const MasterAddress& master);

// SimpleException when the repository is of another type than the operation needs.
void PromoteSlave(const ServerContext& context, const std::u16string& name);
// Tests the connection to the new master first.
void DowngradeMaster(const ServerContext& context, const std::u16string& name,
                     const MasterAddress& master);
void RelocateSlave(const ServerContext& context, const std::u16string& name,
                   const MasterAddress& master);
void SyncSlave(const ServerContext& context, const std::u16string& name);
void SetSuspended(const ServerContext& context, const std::u16string& name, bool suspended);
void CheckConsistency(const ServerContext& context, const std::u16string& name);
void ExportReplicationSeed(const ServerContext& context, const std::u16string& name,
                           const std::u16string& destination, const IcCancelCallback* cancel);

// The values are those that clients see.
enum class ConversionResult : std::uint32_t {
  kConverted = 0,
  kServicesNotStopped = 1,
  kVolumeWithoutTransactions = 2,
};
// In place: both services must be stopped, and the volume must support transactions.
ConversionResult ConvertToOrmu(const ServerContext& context, const std::u16string& name);
ConversionResult ConvertToFsfs(const ServerContext& context, const std::u16string& name);

}  // namespace kelvarion::repos
