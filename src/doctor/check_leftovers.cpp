// What killed processes left behind.
#include <chrono>
#include <filesystem>

#include "doctor/checks.h"
#include "errors/exception.h"
#include "platform/files/files.h"
#include "repos/root_entries.h"
#include "svn/text.h"

namespace kelvarion::doctor {
namespace {

namespace fs = std::filesystem;

// Nobody writes a file of the server for as long as this.
constexpr std::chrono::hours kStale{1};

bool IsStale(const fs::path& path) {
  std::error_code error;
  const auto changed = fs::last_write_time(path, error);
  return !error && fs::file_time_type::clock::now() - changed > kStale;
}

bool IsNumber(const std::string& extension) {
  return extension.size() > 1 && extension.find_first_not_of("0123456789", 1) == std::string::npos;
}

// The server writes the successor of a file beside it, as FILE.tmp, FILE.2.tmp or FILE.new. What
// else is called so is somebody else's.
bool IsSuccessor(const fs::path& path) {
  fs::path original = path;
  bool stripped = false;
  for (; original.extension() == ".tmp" || original.extension() == ".new"; stripped = true)
    original.replace_extension();
  if (stripped && IsNumber(original.extension().string())) original.replace_extension();
  std::error_code error;
  return stripped && fs::is_regular_file(original, error);
}

std::u16string Remove(const fs::path& path) {
  const std::u16string name = platform::PathFromNative(path.string());
  // Whoever writes the file after all holds it locked.
  const platform::FileLock lock(name, platform::IfLocked::kGiveUp);
  if (lock.Error() != ERROR_SUCCESS) throw Win32Exception(lock.Error(), u"The file is in use");
  if (!IsStale(path)) throw SimpleException(u"The file has just been written.");
  if (const Win32Error error = platform::DeleteFile(name))
    throw Win32Exception(error, u"Cannot delete the file");
  return u"It was removed.";
}

void CheckFolder(Examination& run, const std::string& folder) {
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
    std::error_code ignored;
    if (!IsSuccessor(entry.path()) || entry.is_symlink(ignored) ||
        !entry.is_regular_file(ignored) || !IsStale(entry.path()))
      continue;
    run.Report(Severity::kInformation, Shown(entry.path().string()),
               u"A file that was being written when its writer was killed; nobody needs it.",
               u"Remove it; --fix does it.", [path = entry.path()] { return Remove(path); });
  }
}

}  // namespace

void CheckLeftovers(Examination& run) {
  for (const char* folder :
       {"", "/server/conf", "/server/certs", "/server/run", "/server/htdocs", "/server/WebUI"})
    CheckFolder(run, run.home() + folder);
  const ServerContext& context = run.context();
  const std::u16string root = context.configuration().GetRepositoriesRoot(std::nullopt);
  CheckFolder(run, platform::NativePath(root));
  const auto abandoned = svn::ListAbandonedWork(svn::DirentFromPath(root), context.root_pool());
  if (abandoned.empty()) return;
  run.Report(Severity::kWarning, abandoned.front(),
             Format(u"%u unfinished copies of repositories were left by processes that were "
                    u"killed; they take space.",
                    static_cast<unsigned>(abandoned.size())),
             u"Remove them; --fix does it, and so does the next import or backup.", [&context] {
               const svn::WorkFolder sweeper = repos::MakeWorkFolder(context);
               return std::u16string(u"They were removed.");
             });
}

void CheckRepositoryLeftovers(Examination& run, const RepositoryPlace& repository) {
  for (const char* folder : {"/conf", "/hooks"}) CheckFolder(run, repository.native + folder);
}

}  // namespace kelvarion::doctor
