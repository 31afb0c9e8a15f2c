#include "ormu/status.h"

#include <algorithm>

#include "ormu/service_client.h"
#include "ormu/status_json.h"
#include "ormu/synchronise.h"
#include "platform/ormu/ormu.h"
#include "platform/text/encoding.h"
#include "svn/error.h"
#include "svn/replica_role.h"
#include "svn/repository.h"
#include "svn/text.h"

namespace kelvarion::ormu {
namespace {

template <class T>
void Put(WireJson& json, const char* name, const std::optional<T>& value) {
  if (value) json[name] = *value;
}

std::optional<std::int64_t> Number(const WireJson& json, const char* name) {
  if (!json.contains(name)) return std::nullopt;
  return json.at(name).get<std::int64_t>();
}

// Nothing for what is no slave or does not say what it is.
std::optional<SlaveStatus> StatusOfFiles(const std::string& root, const std::string& name,
                                         const svn::Pool& scratch) {
  const std::string folder = svn::JoinDirent(root, name);
  SlaveStatus status;
  try {
    const auto role = svn::ReadReplicaRole(folder, scratch);
    if (!role || role->master) return std::nullopt;
    status.name = name;
    status.master_server = role->master_server;
    status.master_repository = role->master_repository;
    status.suspended = role->suspended;
    status.revision = YoungestRevision(folder, scratch);
  } catch (const SvnException& exception) {
    if (status.name.empty()) return std::nullopt;
    status.last_error = platform::Utf8ForDisplay(exception.FullText());
  }
  return status;
}

}  // namespace

WireJson StatusToJson(const SlaveStatus& status) {
  WireJson json{{"name", status.name},
                {"master_server", status.master_server},
                {"master_repository", status.master_repository},
                {"suspended", status.suspended},
                {"revision", status.revision},
                {"last_error", status.last_error}};
  Put(json, "master_revision", status.master_revision);
  Put(json, "revisions_behind", status.revisions_behind);
  Put(json, "seconds_behind", status.seconds_behind);
  Put(json, "last_contact", status.last_contact);
  return json;
}

SlaveStatus StatusFromJson(const WireJson& json) {
  SlaveStatus status;
  status.name = json.at("name");
  status.master_server = json.at("master_server");
  status.master_repository = json.at("master_repository");
  status.suspended = json.at("suspended");
  status.revision = json.at("revision");
  status.last_error = json.at("last_error");
  status.master_revision = Number(json, "master_revision");
  status.revisions_behind = Number(json, "revisions_behind");
  status.seconds_behind = Number(json, "seconds_behind");
  status.last_contact = Number(json, "last_contact");
  return status;
}

std::vector<SlaveStatus> ReadSlaves(const std::u16string& root, const svn::Pool& scratch) {
  std::vector<SlaveStatus> slaves;
  const std::string folder = svn::DirentFromPath(root);
  svn::Pool iteration(scratch);
  for (const std::u16string& name : svn::ListFolders(root, scratch)) {
    iteration.Clear();
    if (auto status = StatusOfFiles(folder, svn::Utf8(name), iteration))
      slaves.push_back(*std::move(status));
  }
  std::ranges::sort(slaves, {}, &SlaveStatus::name);
  return slaves;
}

ReplicationStatus ReadReplicationStatus(const std::string& home,
                                        const std::u16string& repositories_root,
                                        const svn::Pool& scratch) {
  ReplicationStatus status;
  try {
    AskService(home, {{"request", "status"}}, [&](const WireJson& result) {
      for (const WireJson& slave : result.at("slaves"))
        status.slaves.push_back(StatusFromJson(slave));
    });
    status.service_runs = true;
  } catch (const SvnException& exception) {
    if (exception.code() != ORMU_ERR_SERVICE_FAILED) throw;
    status.slaves = ReadSlaves(repositories_root, scratch);
  }
  return status;
}

}  // namespace kelvarion::ormu
