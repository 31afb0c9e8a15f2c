// Repositories that replicate: a master takes commits, slaves on other servers follow it.
//
// Each operation checks what the repository is and then asks the replication engine or the
// replication service of this home. A request to the service that fails is a
// LocalServerAdminException where its probable reason is known, else SvnException. Repositories are
// named as their folders are; one that does not open is a SvnException before any check.
#pragma once

#include <cstdint>
#include <string>

#include "context/cancel_callback.h"
#include "context/server_context.h"
#include "services/explained_request.h"

namespace kelvarion::repos {

// The repository that a slave follows. Where a slave is given one, WMIException
// WBEM_E_INVALID_METHOD_PARAMETERS or SvnException for a text that names none.
struct MasterAddress {
  std::u16string server;  // host[:port]
  std::u16string repository;
};

// What changes the masters of this server warns where the web server does not know of it yet.
void CreateOrmuMaster(const ServerContext& context, const std::u16string& name,
                      const services::Warn& warn = nullptr);
void CreateOrmuSlave(const ServerContext& context, const std::u16string& name,
                     const MasterAddress& master);

struct MasterImport {
  std::u16string source;  // Absolute path of a repository.
  bool permissions = false;
  bool delegation = false;
  bool hooks = false;
};
// SvnException 200004 for a relative path, 200015 "The repository creation has been cancelled.".
void ImportOrmuMaster(const ServerContext& context, const std::u16string& name,
                      const MasterImport& import, const IcCancelCallback* cancel,
                      const services::Warn& warn = nullptr);

// The number of revisions that the master has.
std::uint32_t TestOrmuConnection(const ServerContext& context, const MasterAddress& master);

// SimpleException when the repository is of another type than the operation needs.
void PromoteSlave(const ServerContext& context, const std::u16string& name,
                  const services::Warn& warn = nullptr);
// Tests the connection to the new master first.
void DowngradeMaster(const ServerContext& context, const std::u16string& name,
                     const MasterAddress& master, const services::Warn& warn = nullptr);
void RelocateSlave(const ServerContext& context, const std::u16string& name,
                   const MasterAddress& master);
// Takes up a slave that was copied to the repositories root.
void AttachSlave(const ServerContext& context, const std::u16string& name);
void DeleteSlave(const ServerContext& context, const std::u16string& name);
void RenameSlave(const ServerContext& context, const std::u16string& old_name,
                 const std::u16string& new_name);
void SyncSlave(const ServerContext& context, const std::u16string& name);
void SetSuspended(const ServerContext& context, const std::u16string& name, bool suspended);
// Unexplained failures begin with "Consistency check for repository '%s' failed:".
void CheckConsistency(const ServerContext& context, const std::u16string& name);
// Makes a slave of this repository at any absolute path, for a server that is to follow this one.
// SvnException 200004 for a relative path, 200015 "Export of replication seed has been cancelled.".
void ExportReplicationSeed(const ServerContext& context, const std::u16string& name,
                           const std::u16string& destination, const IcCancelCallback* cancel);

// The values are those that clients see.
enum class ConversionResult : std::uint32_t {
  kConverted = 0,
  kServicesNotStopped = 1,
  kVolumeWithoutTransactions = 2,
};
// In place: the volume must support transactions, and both services must be stopped.
ConversionResult ConvertToOrmu(const ServerContext& context, const std::u16string& name,
                               const services::Warn& warn = nullptr);
ConversionResult ConvertToFsfs(const ServerContext& context, const std::u16string& name,
                               const services::Warn& warn = nullptr);

enum class ReplicationRole { kNone, kMaster, kSlave };
// None for a repository that does not open or does not say what it is.
ReplicationRole RoleOf(const ServerContext& context, const std::u16string& name);

}  // namespace kelvarion::repos
