#include "svn/hook_launcher.h"

#include <svn_dirent_uri.h>
#include <svn_io.h>

#include "svn/atomic_file.h"
#include "svn/error.h"
#include "svn/replica_role.h"
#include "svn/text.h"
#include "util/resources.h"

namespace kelvarion::svn {
namespace {

constexpr const char* kExtensions[] = {".cmd", ".bat", ".wsf"};
// What tells a launcher, also one of another version, from a program of the administrator's.
constexpr std::string_view kMark = "# Hook launcher of Kelvarion Server";

bool IsLauncher(const std::string& text) { return text.find(kMark) < 64; }

// Nothing for a path where there is nothing.
std::optional<std::string> TextOf(const std::string& hook, const Pool& scratch) {
  return ReadFileIfPresent(PathFromDirent(hook), scratch);
}

bool IsOfSlave(const std::string& hook, const Pool& scratch) {
  const std::string hooks = svn_dirent_dirname(hook.c_str(), scratch);
  const auto role = ReadReplicaRole(svn_dirent_dirname(hooks.c_str(), scratch), scratch);
  return role && !role->master;
}

}  // namespace

std::optional<std::string> FindHookScript(const std::string& hook, const Pool& scratch) {
  Pool iteration(scratch);
  for (const char* extension : kExtensions) {
    iteration.Clear();
    const std::string path = hook + extension;
    svn_node_kind_t kind = svn_node_none;
    Check(svn_io_check_resolved_path(path.c_str(), &kind, iteration));
    if (kind == svn_node_file) return path;
  }
  return std::nullopt;
}

HookProgram InspectHookProgram(const std::string& hook, const Pool& scratch) {
  const auto text = TextOf(hook, scratch);
  if (!text) return HookProgram::kNothing;
  if (!IsLauncher(*text)) return HookProgram::kForeign;
  return text == util::LoadTextResource(u"hook-launcher") ? HookProgram::kLauncher
                                                          : HookProgram::kOutdatedLauncher;
}

bool InstallHookLauncher(const std::string& hook, const Pool& scratch) {
  const auto text = TextOf(hook, scratch);
  if (text && !IsLauncher(*text)) return false;
  const std::string launcher = util::LoadTextResource(u"hook-launcher");
  if (text == launcher) return true;
  // Executable from the first moment on: Subversion refuses to go on with a hook it cannot run.
  const std::string made = hook + ".new";
  ReplaceFile(PathFromDirent(made), launcher, platform::NewFile::kAsFolderSays, scratch);
  Check(svn_io_set_file_executable(made.c_str(), TRUE, FALSE, scratch));
  Check(svn_io_file_rename2(made.c_str(), hook.c_str(), FALSE, scratch));
  return true;
}

void RemoveUnusedHookLauncher(const std::string& hook, const Pool& scratch) {
  if (FindHookScript(hook, scratch) || IsOfSlave(hook, scratch)) return;
  const auto text = TextOf(hook, scratch);
  if (text && IsLauncher(*text)) Check(svn_io_remove_file2(hook.c_str(), TRUE, scratch));
}

}  // namespace kelvarion::svn
