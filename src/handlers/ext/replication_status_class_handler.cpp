// Key: Name, compared ignoring case.

#include "handlers/ext/replication_status_class_handler.h"

#include "access/authz_files.h"
#include "errors/exception.h"
#include "platform/text/compare.h"
#include "svn/text.h"

namespace kelvarion {
namespace {

using Text = Property<std::u16string>;
using Number = Property<std::uint32_t>;
using Flag = Property<bool>;

constexpr Text kName{u"Name"};
constexpr Text kMasterServer{u"MasterServer"};
constexpr Text kMasterRepository{u"MasterRepository"};
constexpr Flag kSuspended{u"Suspended"};
constexpr Flag kServiceRuns{u"ServiceRuns"};
constexpr Number kRevision{u"Revision"};
constexpr Number kMasterRevision{u"MasterRevision"};
constexpr Number kRevisionsBehind{u"RevisionsBehind"};
constexpr Number kSecondsBehind{u"SecondsBehind"};
constexpr Property<DateTime> kLastContact{u"LastContact"};
constexpr Text kLastError{u"LastError"};

std::optional<std::uint32_t> Narrow(std::optional<std::int64_t> number) {
  if (!number) return std::nullopt;
  return static_cast<std::uint32_t>(*number);
}

}  // namespace

ormu::ReplicationStatus ReplicationStatusClassHandler::Read() const {
  return ormu::ReadReplicationStatus(context().machine().home, access::RepositoriesRoot(context()),
                                     context().root_pool());
}

WMIObject ReplicationStatusClassHandler::Describe(const ormu::SlaveStatus& slave,
                                                  bool service_runs) const {
  WMIObject object = SpawnInstance();
  object.Set(kName, svn::Utf16(slave.name));
  object.Set(kMasterServer, svn::Utf16(slave.master_server));
  object.Set(kMasterRepository, svn::Utf16(slave.master_repository));
  object.Set(kSuspended, slave.suspended);
  object.Set(kServiceRuns, service_runs);
  object.Set(kRevision, static_cast<std::uint32_t>(slave.revision));
  object.SetOptional(kMasterRevision, Narrow(slave.master_revision));
  object.SetOptional(kRevisionsBehind, Narrow(slave.revisions_behind));
  object.SetOptional(kSecondsBehind, Narrow(slave.seconds_behind));
  if (slave.last_contact)
    object.SetDateTime(kLastContact,
                       std::chrono::sys_seconds(std::chrono::seconds(*slave.last_contact)));
  if (!slave.last_error.empty()) object.Set(kLastError, svn::Utf16(slave.last_error));
  return object;
}

HRESULT ReplicationStatusClassHandler::GetObject(ParsedObjectPath& path, CallContext*,
                                                 WMIObject& out) {
  const std::u16string name = path.Key(kName);
  const ormu::ReplicationStatus status = Read();
  for (const ormu::SlaveStatus& slave : status.slaves)
    if (!out && platform::EqualIgnoreCase(svn::Utf16(slave.name), name))
      out = Describe(slave, status.service_runs);
  if (!out) throw WMIException(WBEM_E_NOT_FOUND);
  return S_OK;
}

HRESULT ReplicationStatusClassHandler::EnumerateInstances(CallContext*, ResponseSink& sink) {
  const ormu::ReplicationStatus status = Read();
  for (const ormu::SlaveStatus& slave : status.slaves)
    sink.IndicateNext(Describe(slave, status.service_runs));
  return S_OK;
}

}  // namespace kelvarion
