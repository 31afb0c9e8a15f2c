// The methods of Kelvarion_Repository that work on whole repositories.
#include "handlers/ps/progress_adapters.h"
#include "handlers/repository_class_handler.h"
#include "repos/import.h"
#include "repos/maintenance.h"

namespace kelvarion {
namespace {

using Number = Property<std::uint32_t>;
using Size = Property<std::uint64_t>;

constexpr Property<std::u16string> kName{u"Name"};
constexpr Property<std::u16string> kPath{u"Path"};
constexpr Property<std::u16string> kImportPath{u"ImportPath"};
constexpr Property<std::u16string> kCapability{u"Capability"};
constexpr Number kImportMode{u"ImportMode"};
constexpr Size kSize{u"Size"};
constexpr Size kSizeOnDisk{u"SizeOnDisk"};
constexpr Size kTotalFiles{u"TotalFiles"};
constexpr Size kTotalFolders{u"TotalFolders"};

// Values of ImportMode.
constexpr std::uint32_t kCopy = 0;
constexpr std::uint32_t kLoad = 1;

}  // namespace

void RepositoryClassHandler::ImportRepository(MethodCall& call) {
  const std::u16string name = call.in(kName);
  const std::u16string path = call.in(kImportPath);
  const std::uint32_t mode = call.in(kImportMode);
  if (mode == kCopy) {
    CImportRepositoryNotifyAdapter notify(call.sink(), path, name);
    repos::ImportRepository(context(), name, path, &notify, &call.cancel(), call.warn());
  } else if (mode == kLoad) {
    CImportDumpFileNotifyAdapter notify(call.sink(), path, name);
    repos::ImportDumpFile(context(), name, path, &notify, &call.cancel());
  } else {
    throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS, u"There is no ImportMode %u", mode);
  }
}

void RepositoryClassHandler::GetImportSourceType(MethodCall& call) {
  const RepositoryType type = repos::GetRepositoryType(context(), call.in(kPath));
  call.out().Set(Number{u"ReturnValue"}, static_cast<std::uint32_t>(type));
}

void RepositoryClassHandler::Upgrade(MethodCall& call) {
  if (repos::UpgradeRepository(context(), call.key(kName)) == repos::UpgradeResult::kNotFound)
    throw WMIException(WBEM_E_NOT_FOUND);
}

void RepositoryClassHandler::HasCapability(MethodCall& call) {
  const bool has = repos::HasCapability(context(), call.key(kName), call.in(kCapability));
  call.out().Set(Property<bool>{u"ReturnValue"}, has);
}

void RepositoryClassHandler::GetSize(MethodCall& call) {
  const repos::RepositorySize size = repos::MeasureRepository(context(), call.key(kName));
  call.out().Set(kSize, size.size);
  call.out().Set(kSizeOnDisk, size.size_on_disk);
  call.out().Set(kTotalFiles, size.total_files);
  call.out().Set(kTotalFolders, size.total_folders);
}

}  // namespace kelvarion
