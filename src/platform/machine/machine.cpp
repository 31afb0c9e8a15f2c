#include "platform/machine/machine.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>

#include "platform/com/class_object.h"
#include "platform/text/encoding.h"
#include "platform/text/format.h"
#include "platform/wmi/interfaces.h"

namespace kelvarion::platform {
namespace {

struct Current {
  std::mutex mutex;
  std::shared_ptr<Machine> machine;
};

// Never destroyed: class objects may ask for it until the process ends.
Current& TheCurrent() {
  static Current* const current = new Current;
  return *current;
}

std::u16string TextOf(const RegistryValue& value) {
  std::u16string text;
  for (std::size_t i = 0; i + 1 < value.data.size(); i += 2)
    text.push_back(static_cast<char16_t>(value.data[i] | value.data[i + 1] << 8));
  return text.substr(0, text.find(u'\0'));
}

std::string LocateClass(const Guid& class_id) {
  const std::shared_ptr<Machine> machine = CurrentMachine();
  if (!machine) return "";
  const KeyPath key{RootKey::kClassesRoot, u"CLSID\\" + ToText(class_id) + u"\\InprocServer32"};
  RegistryValue value;
  std::string library;
  if (machine->registry->Query(key, u"", value) == ERROR_SUCCESS &&
      value.type == RegistryType::kString)
    Utf16ToUtf8(TextOf(value), library);
  return library;
}

std::u16string AccountName(uid_t uid) {
  char buffer[4096];
  passwd entry{};
  passwd* found = nullptr;
  getpwuid_r(uid, &entry, buffer, sizeof buffer, &found);
  return found ? Utf16ForDisplay(found->pw_name) : Format(u"%lu", uid);
}

// A home names libraries and programs, which run as whoever works with it.
bool RequireOwnHome(const std::string& home, std::u16string& error) {
  struct stat status {};
  if (stat(home.c_str(), &status) != 0) return true;  // Opening its stores says what is wrong.
  if (status.st_uid == geteuid() || status.st_uid == 0) return true;
  error = Format(
      u"The home '%s' belongs to the account %s, and what its settings name would run as %s. Work "
      u"with it as that account, or make it yours first if you trust all that lies in it.",
      Utf16ForDisplay(home), AccountName(status.st_uid), AccountName(geteuid()));
  return false;
}

// Passes through everybody, since the server's workers and clients reach some things inside;
// whatever is secret is protected by itself.
bool MakeHome(const std::string& home, std::u16string& error) {
  std::error_code reason;
  const std::filesystem::path parent = std::filesystem::path(home).parent_path();
  if (!parent.empty()) std::filesystem::create_directories(parent, reason);
  if (mkdir(home.c_str(), 0711) == 0 || errno == EEXIST) return true;
  error = Format(u"Cannot create the home '%s': %s", Utf16ForDisplay(home),
                 Utf16ForDisplay(std::strerror(errno)));
  return false;
}

std::string Variable(const char* name) {
  const char* const value = std::getenv(name);
  return value ? value : "";
}

std::string UsersFolder() {
  if (const std::string home = Variable("HOME"); !home.empty()) return home;
  char buffer[4096];
  passwd entry{};
  passwd* found = nullptr;
  getpwuid_r(geteuid(), &entry, buffer, sizeof buffer, &found);
  return found ? found->pw_dir : "";
}

}  // namespace

std::shared_ptr<Machine> OpenMachine(const std::string& home, std::u16string& error) {
  if (!MakeHome(home, error) || !RequireOwnHome(home, error)) return nullptr;
  auto machine = std::make_shared<Machine>();
  machine->home = home;
  const auto fail = [&](const char16_t* what, Win32Error code) {
    error = Format(u"Cannot open the %s of the home '%s' (error %lu)", what, Utf16ForDisplay(home),
                   code);
    return nullptr;
  };
  if (const Win32Error code =
          OpenRegistryFile(home + "/registry.db", CurrentUserSid(), machine->registry))
    return fail(u"registry", code);
  if (const Win32Error code = OpenSecurityAuthority(home, machine->security))
    return fail(u"local groups", code);
  machine->services = OpenServiceManager(home);
  machine->event_log = OpenEventLogFolder(home + "/events");
  return machine;
}

void SetCurrentMachine(std::shared_ptr<Machine> machine) {
  {
    Current& current = TheCurrent();
    const std::lock_guard lock(current.mutex);
    current.machine = std::move(machine);
  }
  RegisterWbemClasses();
  SetClassLocator(LocateClass);
}

std::shared_ptr<Machine> CurrentMachine() {
  Current& current = TheCurrent();
  const std::lock_guard lock(current.mutex);
  return current.machine;
}

std::string DefaultHome() {
  if (const std::string home = Variable("KELVARION_HOME"); !home.empty()) return home;
  if (geteuid() == 0) return "/var/lib/kelvarion";
  std::string state = Variable("XDG_STATE_HOME");
  // A relative folder in this variable counts as none.
  if (state.empty() || state[0] != '/') state = UsersFolder() + "/.local/state";
  return state + "/kelvarion";
}

}  // namespace kelvarion::platform
