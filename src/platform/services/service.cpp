#include "platform/services/service.h"

#include <dlfcn.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "platform/services/service_manager.h"
#include "platform/text/compare.h"
#include "platform/text/encoding.h"

namespace kelvarion::platform {
namespace {

namespace fs = std::filesystem;

constexpr const char* kApache = "/usr/sbin/apache2";
constexpr const char* kWebAccount = "www-data";

Service WebServer(const std::string& home) {
  const std::string folder = home + "/server";
  Service service;
  service.name = "KelvarionServer";
  service.display_name = u"Kelvarion Server";
  service.default_start_type = SERVICE_AUTO_START;
  service.program = kApache;
  service.configuration = folder + "/conf/kelvarion.conf";
  // Root's workers must give up their rights, whoever laid the home out.
  if (geteuid() == 0)
    service.arguments = {"-C", std::string("User ") + kWebAccount, "-C",
                         std::string("Group ") + kWebAccount};
  service.arguments.insert(service.arguments.end(), {"-f", service.configuration});
  service.run_arguments = {"-DFOREGROUND"};
  service.check_arguments = {"-t"};
  service.log = folder + "/logs/error.log";
  service.mark = service.configuration;
  service.graceful = true;
  service.run_folder = folder + "/run";
  return service;
}

Service Replication(const std::string& home) {
  Service service;
  service.name = "ormusvc";
  service.display_name = u"Kelvarion Ormu Replication Service";
  service.default_start_type = SERVICE_DEMAND_START;
  service.program = FindProgram("ormusvc");
  service.arguments = {"--home", home};
  service.mark = home;
  service.run_folder = home + "/server/run";
  return service;
}

std::vector<fs::path> ProgramFolders() {
  std::vector<fs::path> folders;
  if (const char* folder = std::getenv("KELVARION_LIBEXEC"); folder && *folder)
    folders.emplace_back(folder);
  std::error_code error;
  folders.push_back(fs::read_symlink("/proc/self/exe", error).parent_path());
  Dl_info library{};
  if (dladdr(reinterpret_cast<void*>(&FindProgram), &library) != 0 && library.dli_fname)
    folders.push_back(fs::absolute(library.dli_fname, error).parent_path().parent_path() / "bin");
  return folders;
}

}  // namespace

std::optional<Service> FindService(const std::string& home, std::u16string_view name) {
  for (Service (*make)(const std::string&) : {WebServer, Replication}) {
    Service service = make(home);
    if (EqualIgnoreCase(Utf16ForDisplay(service.name), name)) return service;
  }
  return std::nullopt;
}

std::u16string ServiceAccount() {
  const uid_t user = geteuid();
  if (user == 0) return Utf16ForDisplay(kWebAccount);
  std::vector<char> buffer(16384);
  passwd entry{};
  passwd* found = nullptr;
  if (getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found) == 0 && found)
    return Utf16ForDisplay(found->pw_name);
  return Utf16ForDisplay("S-1-22-1-" + std::to_string(user));  // An account without a name.
}

std::string FindProgram(const std::string& name) {
  const std::vector<fs::path> folders = ProgramFolders();
  for (const fs::path& folder : folders)
    if (access((folder / name).c_str(), X_OK) == 0) return folder / name;
  return folders.front() / name;
}

}  // namespace kelvarion::platform
