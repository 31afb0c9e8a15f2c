#include "apache/pending_changes.h"

#include <chrono>
#include <filesystem>

#include "platform/files/files.h"
#include "util/paths.h"

namespace kelvarion::apache {
namespace {

bool IsNewerThan(const std::u16string& file, std::int64_t nanoseconds) {
  std::error_code error;
  const auto changed = std::filesystem::last_write_time(platform::NativePath(file), error);
  if (error) return false;
  const auto since_1970 = std::chrono::file_clock::to_sys(changed).time_since_epoch();
  return std::chrono::duration_cast<std::chrono::nanoseconds>(since_1970).count() > nanoseconds;
}

}  // namespace

std::vector<std::u16string> FilesChangedSince(const IcRegistryAccessor& store,
                                              std::int64_t nanoseconds) {
  const std::u16string install_dir = store.GetInstallDir();
  std::vector<std::u16string> changed;
  for (const char16_t* file : {u"conf/httpd.conf", u"conf/httpd-custom.conf", kReplicationFile,
                               u"certs/server.pem", u"certs/certchain.pem"})
    if (IsNewerThan(util::JoinPath(install_dir, file), nanoseconds)) changed.emplace_back(file);
  return changed;
}

}  // namespace kelvarion::apache
