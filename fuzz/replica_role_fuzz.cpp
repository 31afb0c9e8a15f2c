// What a repository says it is in replication: a role that was read can be written and is the same.
#include <filesystem>

#include "errors/exception.h"
#include "fuzz/fuzz.h"
#include "svn/replica_role.h"

using namespace kelvarion;

void kelvarion::fuzz::Target(std::string_view bytes) {
  static const testing::TemporaryFolder& folder = *new testing::TemporaryFolder;
  static const svn::Pool& root = *new svn::Pool(svn::Pool::Root());
  const svn::Pool pool(root);
  std::filesystem::create_directories(folder.native() + "/locks");
  fuzz::WriteFile(folder.native() + "/ormu.conf", bytes);
  try {
    const auto role = svn::ReadReplicaRole(folder.native(), pool);
    fuzz::Expect(role && (role->master || !role->master_server.empty()), "a slave has a master");
    svn::WriteReplicaRole(folder.native(), *role, pool);
    auto written = svn::ReadReplicaRole(folder.native(), pool);
    if (role->master)  // Whom it once followed is not kept.
      written->master_server = role->master_server,
      written->master_repository = role->master_repository;
    fuzz::Expect(written == role, "a role survives being written");
  } catch (const Exception&) {
  }
}
