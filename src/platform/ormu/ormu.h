// The replication engine, as the repository store calls it: the storage library's own operations
// (`ormu_*`) and its requests to the replication service of a home (`ormusvc_client_*`).
//
// A replicated repository is an FSFS repository with a role: a master takes commits, a slave takes
// only what it follows from its master. Paths are the libraries' (UTF-8, canonical, absolute);
// names are UTF-8. Every function returns an error chain that the caller owns, null for success,
// and draws its memory from the pool; all are safe from any thread, one repository object from one
// at a time.
#pragma once

#include <cstdint>

struct apr_pool_t;
struct svn_error_t;
struct svn_repos_t;

// First codes of a chain. Under them stands what went wrong, trouble with connections and accounts
// as system errors (ORMU_ERR_SYSTEM plus a code of the operating system the engine was made for).
constexpr int ORMU_ERR_SERVICE_FAILED = 570003;  // The service of this home could not be asked.
constexpr int ORMU_ERR_MASTER_FAILED = 570004;   // The master's server could not be asked.
constexpr int ORMU_ERR_NO_SUCH_MASTER = 570005;  // The server has no such replicated repository.
constexpr int ORMU_ERR_NOT_A_REPLICATOR =
    570006;  // It may not be replicated, or not by this account.
constexpr int ORMU_ERR_SLAVE_READ_ONLY = 570007;   // A slave takes no changes.
constexpr int ORMU_ERR_DIVERGED = 570008;          // Master and slave have different histories.
constexpr int ORMU_ERR_INCONSISTENT = 570009;      // The consistency check found a difference.
constexpr int ORMU_ERR_WRONG_ROLE = 570010;        // The repository has another role.
constexpr int ORMU_ERR_UNTRUSTED_MASTER = 570011;  // Nobody said how to reach the master, or its
                                                   // certificate is another than was trusted.
constexpr int ORMU_ERR_SYSTEM = 720000;

struct ormu_fs_info_t {
  bool is_ormu;
  bool is_master;
  bool is_suspended;
  const char* master_server;      // Of slaves: host[:port].
  const char* master_repository;  // Of slaves.
};

// The operation is given up, with the error returned, as soon as it can be.
using ormu_cancel_func_t = svn_error_t* (*)(void* baton);

svn_error_t* ormu_fs_info(ormu_fs_info_t* info, svn_repos_t* repository, apr_pool_t* pool);

// Makes an empty master. What a failure leaves is the caller's.
svn_error_t* ormu_create_master(const char* path, apr_pool_t* pool);

// A suspended repository does not replicate until it is resumed.
svn_error_t* ormu_set_suspended(svn_repos_t* repository, bool suspended, apr_pool_t* pool);

// Writes a repository at `destination`, which must not exist, that is a slave of the master at
// `path` and has all it has. `master_uri` is scheme://host[:port]/repository. A failure leaves
// nothing.
svn_error_t* ormu_spawn_slave(const char* destination, const char* master_uri, const char* path,
                              ormu_cancel_func_t cancel, void* cancel_baton, apr_pool_t* pool);

// Makes a master at `path`, which must not exist, from the repository at `source`; its settings
// files and hook scripts come along as far as the flags say. A failure leaves nothing.
svn_error_t* ormu_import_master(const char* path, const char* source, bool permissions,
                                bool delegation, bool hooks, ormu_cancel_func_t cancel,
                                void* cancel_baton, apr_pool_t* pool);

// In place; nobody may work on the repository meanwhile. A failure leaves it as it was.
svn_error_t* ormu_convert_to_ormu(const char* path, apr_pool_t* pool);
svn_error_t* ormu_convert_to_fsfs(const char* path, apr_pool_t* pool);

// Requests to the service of the home. They wait for the answer; ORMU_ERR_SERVICE_FAILED over
// ORMU_ERR_SYSTEM + 1722 when the service does not run. Repositories are named as their folders
// are.

// `revisions` becomes the master's youngest revision.
svn_error_t* ormusvc_client_test_connection(const char* home, std::int64_t* revisions,
                                            const char* server, const char* repository,
                                            apr_pool_t* pool);
// Makes an empty slave, which the service then fills.
svn_error_t* ormusvc_client_create_slave(const char* home, const char* name, const char* server,
                                         const char* repository, apr_pool_t* pool);
// Takes up a slave that came to the repositories root by other ways.
svn_error_t* ormusvc_client_attach_slave(const char* home, const char* name, apr_pool_t* pool);
svn_error_t* ormusvc_client_delete_slave(const char* home, const char* name, apr_pool_t* pool);
svn_error_t* ormusvc_client_rename_slave(const char* home, const char* old_name,
                                         const char* new_name, apr_pool_t* pool);
svn_error_t* ormusvc_client_promote_slave(const char* home, const char* name, apr_pool_t* pool);
svn_error_t* ormusvc_client_downgrade_master(const char* home, const char* name, const char* server,
                                             const char* repository, apr_pool_t* pool);
svn_error_t* ormusvc_client_relocate_slave(const char* home, const char* name, const char* server,
                                           const char* repository, apr_pool_t* pool);
// Returns when the slave has every revision that the master had when it was asked.
svn_error_t* ormusvc_client_sync_slave(const char* home, const char* name, apr_pool_t* pool);
// Compares with the master, revision by revision, and with what the revisions say of themselves.
svn_error_t* ormusvc_client_check_consistency(const char* home, const char* name, apr_pool_t* pool);
