#include <algorithm>
#include <cerrno>

#include "apache/sections.h"
#include "errors/exception.h"
#include "svn/error.h"
#include "svn/replica_role.h"
#include "svn/repository.h"
#include "svn/text.h"

namespace kelvarion::apache {
namespace {

// A device that fails is nothing to go by: who asks hears of it, and the masters stay served.
bool IsFailureOfDevice(const SvnException& exception) {
  return exception.code() == EIO || exception.code() == EMFILE || exception.code() == ENFILE;
}

bool IsMaster(const std::string& folder, const svn::Pool& scratch) {
  try {
    const auto role = svn::ReadReplicaRole(folder, scratch);
    return role && role->master;
  } catch (const SvnException& exception) {
    if (IsFailureOfDevice(exception)) throw;
    return false;  // Nobody can replicate from a repository that does not say what it is.
  }
}

bool HasMaster(const std::string& root) {
  svn::Initialize();
  svn::Pool pool(nullptr);
  const std::u16string path = svn::Utf16(root);
  // A root that is still to be made has no masters.
  if (!svn::IsFolder(path, pool)) return false;
  const std::string folder = svn::DirentFromPath(path);
  return std::ranges::any_of(svn::ListFolders(path, pool), [&](const std::u16string& name) {
    return IsMaster(svn::JoinDirent(folder, svn::Utf8(name)), pool);
  });
}

}  // namespace

// A slave sends the name and password of an account of this machine, whoever else logs in by what.
std::string ReplicationText(const ServerValues& values) {
  if (!HasMaster(values.root)) return {};
  ConfigText out;
  out.Block(R"(LoadModule replication_kelvarion_module bin/mod_replication_kelvarion.so

<Location "/.kelvarion/replication">
  DAV svn

  SVNListParentPath off
)");
  out.Line("  SVNParentPath ", Quoted(values.root));
  out.Block(R"(
  SVNPathAuthz off
  SVNAllowBulkUpdates on

  AuthName "Kelvarion Replication"
  AuthType Kelvarion
  AuthnKelvarionBasic on
  AuthnKelvarionIntegrated off
)");
  out.Line("  AuthnKelvarionUPN ", values.upn_format ? "On" : "Off");
  out.Line();
  out.Line("  ReplicationKelvarion on");
  if (!values.partners.empty())
    out.Line("  ReplicationKelvarionPartners ", Quoted(values.partners));
  out.Line("  Require valid-user");
  out.Line("</Location>");
  return out.text();
}

}  // namespace kelvarion::apache
