// The methods of Kelvarion_Repository that concern replication.
#include "handlers/convert/trimmed.h"
#include "handlers/repository_class_handler.h"
#include "repos/replication.h"

namespace kelvarion {
namespace {

using Text = Property<std::u16string>;
using Flag = Property<bool>;
using Number = Property<std::uint32_t>;

constexpr Text kName{u"Name"};
constexpr Text kMasterServer{u"MasterServer"};
constexpr Text kMasterRepository{u"MasterRepository"};
constexpr Number kReturnValue{u"ReturnValue"};

std::u16string Repository(MethodCall& call, const ServerContext& context) {
  return repos::RequireRepository(context, Trimmed(call.key(kName)));
}

repos::MasterAddress Master(const MethodCall& call) {
  return {call.in(kMasterServer), call.in(kMasterRepository)};
}

}  // namespace

void RepositoryClassHandler::CreateOrmuMaster(MethodCall& call) {
  repos::CreateOrmuMaster(context(), call.in(kName), call.warn());
}

void RepositoryClassHandler::ImportOrmuMaster(MethodCall& call) {
  const repos::MasterImport import{
      call.in(Text{u"ImportPath"}), call.in(Flag{u"ImportPermissions"}),
      call.in(Flag{u"ImportDelegation"}), call.in(Flag{u"ImportHooks"})};
  repos::ImportOrmuMaster(context(), call.in(kName), import, &call.cancel(), call.warn());
}

void RepositoryClassHandler::CreateOrmuSlave(MethodCall& call) {
  repos::CreateOrmuSlave(context(), call.in(kName), Master(call));
}

void RepositoryClassHandler::TestOrmuConnection(MethodCall& call) {
  const repos::MasterAddress master{call.in(Text{u"ServerName"}), call.in(Text{u"RepositoryName"})};
  call.out().Set(Number{u"TotalRevisions"}, repos::TestOrmuConnection(context(), master));
}

void RepositoryClassHandler::ConvertToOrmu(MethodCall& call) {
  const auto result = repos::ConvertToOrmu(context(), Repository(call, context()), call.warn());
  call.out().Set(kReturnValue, static_cast<std::uint32_t>(result));
}

void RepositoryClassHandler::ConvertToFsfs(MethodCall& call) {
  const auto result = repos::ConvertToFsfs(context(), Repository(call, context()), call.warn());
  call.out().Set(kReturnValue, static_cast<std::uint32_t>(result));
}

void RepositoryClassHandler::PromoteToOrmuMaster(MethodCall& call) {
  repos::PromoteSlave(context(), Repository(call, context()), call.warn());
}

void RepositoryClassHandler::CheckReplicationConsistency(MethodCall& call) {
  repos::CheckConsistency(context(), Repository(call, context()));
}

void RepositoryClassHandler::ExportReplicationSeed(MethodCall& call) {
  repos::ExportReplicationSeed(context(), Repository(call, context()),
                               call.in(Text{u"DestinationPath"}), &call.cancel());
}

void RepositoryClassHandler::ChangeMasterTo(MethodCall& call) {
  repos::RelocateSlave(context(), Repository(call, context()), Master(call));
}

}  // namespace kelvarion
