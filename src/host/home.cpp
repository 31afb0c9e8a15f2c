#include "host/home.h"

#include <filesystem>

#include "errors/exception.h"
#include "host/argument.h"
#include "host/text.h"

namespace kelvarion::host {
namespace {

// Beside the settings rather than among them: it is no setting.
const platform::KeyPath kSetupKey{platform::RootKey::kLocalMachine,
                                  u"SOFTWARE\\Kelvarion\\Kelvarion Server Setup"};
constexpr const char16_t* kComplete = u"Complete";

std::string HowToInit(const std::string& home) {
  return "Make it with: kelvarionctl --home " + home + " init";
}

}  // namespace

bool IsComplete(const platform::Registry& registry) {
  platform::RegistryValue value;
  return registry.Query(kSetupKey, kComplete, value) == ERROR_SUCCESS;
}

void MarkComplete(platform::Registry& registry) {
  Win32Error error = registry.CreateKey(kSetupKey);
  if (error == ERROR_SUCCESS)
    error = registry.Set(kSetupKey, kComplete, platform::RegistryValue::Dword(1));
  if (error != ERROR_SUCCESS) throw Win32Exception(error, u"Cannot write the registry");
}

std::shared_ptr<platform::Machine> OpenCompleteHome(const std::string& home) {
  std::error_code ignored;
  // Opening would make the stores, so look first.
  if (!std::filesystem::exists(home + "/registry.db", ignored))
    throw UsageError("There is no home in " + home + ". " + HowToInit(home));
  std::u16string reason;
  auto machine = platform::OpenMachine(home, reason);
  if (!machine) throw UsageError("The home " + home + " cannot be opened: " + Utf8(reason));
  if (!IsComplete(*machine->registry))
    throw UsageError("The home " + home + " is not complete. " + HowToInit(home));
  return machine;
}

}  // namespace kelvarion::host
