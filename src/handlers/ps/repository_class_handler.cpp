// Key: Name, found ignoring case.

#include "handlers/ps/repository_class_handler.h"

#include <algorithm>

#include "handlers/convert/gone_repository.h"
#include "handlers/ps/cmdlet.h"
#include "handlers/ps/master_parameters.h"
#include "handlers/ps/progress_adapters.h"
#include "platform/text/compare.h"
#include "repos/create.h"
#include "repos/delete.h"
#include "repos/import.h"
#include "repos/maintenance.h"
#include "repos/rename.h"
#include "repos/verify.h"
#include "util/paths.h"

namespace kelvarion {
namespace {

using Text = Property<std::u16string>;
using Number = Property<std::uint32_t>;
using Size = Property<std::uint64_t>;

constexpr Text kName{u"Name"};
constexpr Text kNewName{u"NewName"};
constexpr Number kType{u"Type"};
constexpr Text kPath{u"Path"};
constexpr Text kDestinationName{u"DestinationName"};

// Only a slave has a master.
void RefuseMaster(const MethodCall& call) {
  cmdlet::RefuseMaster(
      call, u"Parameter 'MasterServer' cannot be specified when creating a repository of this type",
      u"Parameter 'MasterRepository' cannot be specified when creating a repository of this type");
}

std::optional<bool> AsFlag(const std::optional<std::uint32_t>& number) {
  return number ? std::optional(*number != 0) : std::nullopt;
}

}  // namespace

PS_RepositoryClassHandler::PS_RepositoryClassHandler(const WMINamespace& name_space,
                                                     CallContext* context,
                                                     const ServerContext& server_context)
    : PsMethodsClassHandler(u"PS_SvnRepository", name_space, context, server_context),
      replication_class_(name_space.LoadClass(u"PS_SvnRepositoryReplication", context)),
      test_result_class_(name_space.LoadClass(u"PS_SvnRepositoryTestResult", context)),
      stats_class_(name_space.LoadClass(u"PS_SvnRepositoryStats", context)) {}

WMIObject PS_RepositoryClassHandler::Describe(const repos::RepositoryRecord& record) const {
  WMIObject repository = SpawnInstance();
  repository.Set(kName, record.name);
  repository.Set(kPath, record.path);
  repository.SetOptional(Text{u"UUID"}, record.uuid);
  repository.Set(Text{u"URL"}, record.url);
  if (record.type) repository.Set(kType, static_cast<std::uint32_t>(*record.type));
  repository.SetOptional(Number{u"Revisions"}, record.total_revisions);
  repository.SetOptional(cmdlet::kMasterServer, record.master_server);
  repository.SetOptional(cmdlet::kMasterRepository, record.master_repository);
  repository.SetOptional(Number{u"FormatNumber"}, record.format_number);
  repository.SetOptional(Number{u"ShardSize"}, record.shard_size);
  repository.SetOptional(Number{u"TotalShards"}, record.total_shards);
  repository.SetOptional(Number{u"PackedShards"}, record.packed_shards);
  repository.SetOptional(Property<bool>{u"LogAddressing"}, AsFlag(record.log_addressing));
  repository.SetOptional(Property<bool>{u"Suspended"}, AsFlag(record.suspended));
  return repository;
}

HRESULT PS_RepositoryClassHandler::PsGetObject(ParsedObjectPath& path, CallContext*,
                                               WMIObject& out) {
  const auto name = repos::FindRepository(context(), path.Key(kName));
  if (!name) throw WMIException(WBEM_E_NOT_FOUND);
  out = Describe(repos::ReadRepository(context(), *name));
  return S_OK;
}

HRESULT PS_RepositoryClassHandler::PsEnumerateInstances(CallContext*, ResponseSink& sink) {
  std::vector<repos::RepositoryRecord> records;
  repos::VisitRepositories(context(), [&](const repos::RepositoryRecord& record) {
    sink.ThrowIfCancelled();
    records.push_back(record);
  });
  std::ranges::sort(records, platform::LogicalLess{}, &repos::RepositoryRecord::name);
  for (const repos::RepositoryRecord& record : records) sink.Indicate(Describe(record));
  return S_OK;
}

HRESULT PS_RepositoryClassHandler::PsExecMethod(ParsedObjectPath& path,
                                                const std::u16string& method, CallContext* context,
                                                const WMIObject& in_params, ResponseSink& sink,
                                                const IcCancelCallback* cancel) {
  return NotFoundWhenGone(this->context(), path, [&] {
    return PsMethodsClassHandler::PsExecMethod(path, method, context, in_params, sink, cancel);
  });
}

std::u16string PS_RepositoryClassHandler::Named(MethodCall& call) const {
  return repos::RequireRepository(context(), call.key(kName));
}

repos::RepositoryRecord PS_RepositoryClassHandler::NamedOfType(MethodCall& call,
                                                               RepositoryType type,
                                                               const char16_t* refusal) const {
  repos::RepositoryRecord record = repos::ReadRepository(context(), Named(call));
  if (record.type != type) throw WMIException(WBEM_E_NOT_SUPPORTED, u"%s", refusal);
  return record;
}

void PS_RepositoryClassHandler::OutputRepository(MethodCall& call,
                                                 const std::u16string& name) const {
  const std::u16string disk_name = repos::GetRepositoryDiskName(context(), name);
  cmdlet::Output(call, Describe(repos::ReadRepository(context(), disk_name)));
}

void PS_RepositoryClassHandler::OutputIfPassThru(MethodCall& call,
                                                 const std::u16string& name) const {
  if (cmdlet::PassThru(call)) OutputRepository(call, name);
}

void PS_RepositoryClassHandler::Create(MethodCall& call) {
  const std::u16string name = call.in(kName);
  const std::uint32_t type = call.in(kType);
  if (type > static_cast<std::uint32_t>(RepositoryType::OrmuSlave))
    throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS);
  switch (static_cast<RepositoryType>(type)) {
    case RepositoryType::Fsfs:
      RefuseMaster(call);
      repos::CreateRepository(context(), name);
      break;
    case RepositoryType::OrmuMaster:
      RefuseMaster(call);
      repos::CreateOrmuMaster(context(), name, call.warn());
      break;
    case RepositoryType::OrmuSlave:
      repos::CreateOrmuSlave(context(), name, cmdlet::Master(call, name));
      break;
  }
  OutputRepository(call, name);
}

void PS_RepositoryClassHandler::Remove(MethodCall& call) {
  repos::DeleteRepository(context(), call.key(kName), call.warn());
}

void PS_RepositoryClassHandler::Rename(MethodCall& call) {
  const std::u16string name = call.in(kNewName);
  repos::RenameRepository(context(), call.key(kName), name);
  OutputIfPassThru(call, name);
}

void PS_RepositoryClassHandler::Test(MethodCall& call) {
  const std::u16string name = Named(call);
  CVerifyRepositoryNotifyAdapter notify(call.sink(), name);
  const repos::VerifyResult found =
      repos::VerifyRepository(context(), name, &notify, &call.cancel());
  WMIObject result = test_result_class_.SpawnInstance();
  result.Set(kName, name);
  result.Set(Number{u"Summary"}, found.success ? 0u : 1u);
  result.Set(Text{u"Details"}, found.success ? u"No errors found" : found.message);
  cmdlet::Output(call, result);
}

void PS_RepositoryClassHandler::Import(MethodCall& call) {
  const std::u16string path = call.in(kPath);
  if (!util::IsAbsoluteOrNetworkPath(path)) {
    throw WMIException(
        WBEM_E_INVALID_METHOD_PARAMETERS,
        u"Parameter 'Path' should be absolute or a network path to the repository or dump file you "
        u"would like to import");
  }
  const std::uint32_t attributes = util::GetFileAttributesOrMissing(path);
  if (attributes == util::kMissingFile)
    throw SimpleException(u"The path '%s' does not exist.", path);
  const bool folder = (attributes & platform::FILE_ATTRIBUTE_DIRECTORY) != 0;
  const std::u16string last = util::LastPart(path);
  const std::u16string name =
      call.optional_in(kDestinationName).value_or(folder ? last : util::WithoutExtension(last));
  if (folder) {
    CImportRepositoryNotifyAdapter notify(call.sink(), path, name);
    repos::ImportRepository(context(), name, path, &notify, &call.cancel(), call.warn());
  } else {
    CImportDumpFileNotifyAdapter notify(call.sink(), path, name);
    repos::ImportDumpFile(context(), name, path, &notify, &call.cancel());
  }
  OutputRepository(call, name);
}

void PS_RepositoryClassHandler::Measure(MethodCall& call) {
  const std::u16string name = Named(call);
  const repos::RepositorySize size = repos::MeasureRepository(context(), name);
  WMIObject stats = stats_class_.SpawnInstance();
  stats.Set(kName, name);
  if (const auto youngest = repos::GetYoungestRevision(context(), name))
    stats.Set(Number{u"Revisions"}, static_cast<std::uint32_t>(*youngest));
  stats.Set(Size{u"Size"}, size.size);
  stats.Set(Size{u"SizeOnDisk"}, size.size_on_disk);
  stats.Set(Size{u"FilesOnDisk"}, size.total_files);
  stats.Set(Size{u"FoldersOnDisk"}, size.total_folders);
  cmdlet::Output(call, stats);
}

const MethodTable<PS_RepositoryClassHandler>& PS_RepositoryClassHandler::Methods() {
  using Self = PS_RepositoryClassHandler;
  static const MethodTable<Self> table{
      {u"Create", &Self::Create},
      {u"Remove", &Self::Remove},
      {u"Rename", &Self::Rename},
      {u"GetReplication", &Self::GetReplication},
      {u"SetReplication", &Self::SetReplication},
      {u"Test", &Self::Test},
      {u"Convert", &Self::Convert},
      {u"Sync", &Self::Sync},
      {u"Set", &Self::Set},
      {u"Suspend", &Self::Suspend},
      {u"Resume", &Self::Resume},
      {u"Switch", &Self::Switch},
      {u"Import", &Self::Import},
      {u"Measure", &Self::Measure},
  };
  return table;
}

}  // namespace kelvarion
