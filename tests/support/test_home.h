// A home of its own for a test: settings, accounts, repositories root and event log, all real, in a
// temporary folder that goes with the object.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "config/registry_accessor.h"
#include "context/server_context.h"
#include "errors/exception.h"
#include "platform/machine/machine.h"
#include "tests/support/temporary_folder.h"

namespace kelvarion::testing {

// Keeps what the domain reports, one text a report. Any thread may report; the texts are for one
// thread when nobody reports any more.
class CollectedEvents final : public IcEventLogger {
 public:
  void LogException(const Exception& exception) override { Keep(u"error: " + exception.Message()); }
  void LogUnknownException() override { Keep(u"error: unknown"); }
  void LogWarning(const std::u16string& text) override { Keep(u"warning: " + text); }
  Win32Error LogRepositoryPermissionsChanged(const std::u16string& repository,
                                             const std::u16string& path,
                                             const std::u16string& old_description,
                                             const std::u16string& new_description,
                                             bool reset_children) override {
    Keep(u"repository: " + repository + u"|" + path + u"|" + old_description + u"|" +
         new_description + u"|" + (reset_children ? u"reset" : u"keep"));
    return report_result;
  }
  Win32Error LogGlobalPermissionsChanged(const std::u16string& old_description,
                                         const std::u16string& new_description) override {
    Keep(u"global: " + old_description + u"|" + new_description);
    return report_result;
  }
  void LogReportFailure(const std::u16string& text) override { Keep(u"report failure: " + text); }

  // "warning: …", "error: …", "repository: name|path|old|new|reset", "global: old|new",
  // "report failure: …".
  std::vector<std::u16string> texts;
  // What reports of changed permissions return.
  Win32Error report_result = ERROR_SUCCESS;

 private:
  void Keep(std::u16string text) {
    const std::lock_guard lock(mutex_);
    texts.push_back(std::move(text));
  }
  std::mutex mutex_;
};

// Settings: an existing, empty repositories root, an installation folder and ports; Subversion
// authentication over HTTP. The three local groups exist and are empty.
class TestHome {
 public:
  TestHome();
  // In a folder that stays: made there, or opened again, also by several processes at once.
  explicit TestHome(const TemporaryFolder& folder);

  const ServerContext& context() const { return *context_; }
  IcRegistryAccessor& configuration() const { return *configuration_; }
  const std::shared_ptr<platform::Machine>& machine() const { return machine_; }
  CollectedEvents& events() const { return *events_; }
  // UTF-8 paths.
  const std::string& folder() const { return folder_; }
  std::string root() const { return folder() + "/repositories"; }
  std::string install_folder() const { return folder() + "/server"; }

 private:
  void Open();

  std::unique_ptr<TemporaryFolder> own_folder_;
  std::string folder_;
  std::shared_ptr<platform::Machine> machine_;
  std::unique_ptr<RegistryAccessor> configuration_;
  std::unique_ptr<CollectedEvents> events_;
  std::unique_ptr<ServerContext> context_;
};

// Whole files by UTF-8 path; a file that cannot be read or written fails the test.
std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, std::string_view text);

}  // namespace kelvarion::testing
