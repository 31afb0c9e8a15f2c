#include "tests/support/test_home.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "platform/text/encoding.h"

namespace kelvarion::testing {
namespace {

[[noreturn]] void Fail(const std::string& text) { throw std::runtime_error(text); }

void Require(Win32Error error, const char* what) {
  if (error != ERROR_SUCCESS) Fail(what + std::string(" failed: ") + std::to_string(error));
}

std::u16string Wide(const std::string& native) { return platform::Utf16ForDisplay(native); }

}  // namespace

TestHome::TestHome()
    : own_folder_(std::make_unique<TemporaryFolder>()), folder_(own_folder_->native()) {
  Open();
}

TestHome::TestHome(const TemporaryFolder& folder) : folder_(folder.native()) { Open(); }

void TestHome::Open() {
  std::u16string error;
  machine_ = platform::OpenMachine(folder(), error);
  if (!machine_) Fail("no machine: " + platform::Utf8ForDisplay(error));
  std::filesystem::create_directories(root());
  std::filesystem::create_directories(install_folder());

  const platform::KeyPath key{platform::RootKey::kLocalMachine, kServerKeyPath};
  Require(machine_->registry->CreateKey(key), "creating the key");
  const std::pair<const char16_t*, std::u16string> settings[] = {
      {u"RepositoriesRoot", Wide(root())},
      {u"InstallDir", Wide(install_folder())},
      {u"ServerPort", u"8080"},
      {u"SSLServerPort", u"8443"},
  };
  for (const auto& [name, text] : settings) {
    Require(machine_->registry->Set(key, name, platform::RegistryValue::String(text)),
            "writing a setting");
  }
  for (const char16_t* group : {u"Kelvarion Server Admins", u"Kelvarion Repository Supervisors",
                                u"Kelvarion Replication Partners"}) {
    Require(machine_->security->CreateGroup(group), "creating a group");
  }
  configuration_ = std::make_unique<RegistryAccessor>(*machine_->registry);
  events_ = std::make_unique<CollectedEvents>();
  context_ = std::make_unique<ServerContext>(*configuration_, *events_, *machine_);
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) Fail("cannot read " + path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

void WriteFile(const std::string& path, std::string_view text) {
  std::ofstream file(path, std::ios::binary);
  file.write(text.data(), static_cast<std::streamsize>(text.size()));
  file.close();
  if (!file) Fail("cannot write " + path);
}

}  // namespace kelvarion::testing
