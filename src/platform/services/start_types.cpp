#include "platform/services/start_types.h"

#include <map>
#include <sstream>

#include "platform/files/files.h"
#include "platform/services/service_record.h"

namespace kelvarion::platform {
namespace {

std::string FileOf(const std::string& home) { return home + "/services.conf"; }

// Lines of a service's name and its start type.
std::map<std::string, std::uint32_t> ReadAll(const std::string& home) {
  std::map<std::string, std::uint32_t> types;
  std::istringstream text(ReadSmallFile(FileOf(home)));
  std::string name;
  for (std::uint32_t type = 0; text >> name >> type;) types[name] = type;
  return types;
}

}  // namespace

std::uint32_t ReadStartType(const std::string& home, const Service& service) {
  const auto types = ReadAll(home);
  const auto found = types.find(service.name);
  return found == types.end() ? service.default_start_type : found->second;
}

Win32Error WriteStartType(const std::string& home, const Service& service,
                          std::uint32_t start_type) {
  const FileLock lock(PathFromNative(FileOf(home) + ".lock"));
  if (lock.Error() != ERROR_SUCCESS) return lock.Error();
  auto types = ReadAll(home);
  types[service.name] = start_type;
  std::ostringstream text;
  for (const auto& [name, type] : types) text << name << ' ' << type << '\n';
  return ReplaceSmallFile(FileOf(home), text.str());
}

}  // namespace kelvarion::platform
