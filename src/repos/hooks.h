// The hook scripts of repositories: what the server runs around commits, locks and changes of
// revision properties.
//
// A hook is a script file named as Subversion names the hook, with the extension .cmd, .bat or
// .wsf, the first that exists counting. Subversion itself runs a program without an extension;
// beside each script stands one of ours under that name, which runs the script by its "#!" line
// (svn/hook_launcher.h). Scripts hold text in the code page of the thread; nothing is added or
// removed. Repositories are named as their folders are. Failures of Subversion and of the file
// system are SvnException.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "context/server_context.h"
#include "svn/hook_launcher.h"

namespace kelvarion::repos {

enum class HookKind : std::uint32_t {
  PostCommit = 0,
  PostLock = 1,
  PostRevPropChange = 2,
  PostUnlock = 3,
  PreCommit = 4,
  PreLock = 5,
  PreRevPropChange = 6,
  PreUnlock = 7,
  StartCommit = 8,
};
inline constexpr std::uint32_t kHookKinds = 9;

// Exact names only: "PostCommit", not "postcommit".
std::optional<HookKind> HookKindFromName(std::u16string_view name);
std::u16string HookKindName(HookKind kind);
// -1, 0 or 1, by the order in which people are shown hooks: as they run, commits first.
int CompareHookKinds(HookKind a, HookKind b);

struct HookRecord {
  std::u16string repository;
  HookKind kind = HookKind::PostCommit;
  std::u16string path;  // Of the script, local style.
  std::u16string content;
};

// Nothing when the hook has no script.
std::optional<HookRecord> ReadHook(const ServerContext& context, const std::u16string& repository,
                                   HookKind kind);
// The same; nothing also when the repository does not open.
std::optional<HookRecord> TryReadHook(const ServerContext& context,
                                      const std::u16string& repository, HookKind kind);
// The hooks that have a script, by number; none when the repository does not open.
std::vector<HookRecord> ListHooks(const ServerContext& context, const std::u16string& repository);

enum class OverwriteHook : bool { kNo, kYes };

// Replaces the script, or makes a new one with the extension .cmd. Nothing, and nothing is changed,
// when there is one that may not be overwritten. SimpleException when a program that is not ours
// stands under the hook's name, or for text that the code page cannot express.
std::optional<HookRecord> WriteHook(const ServerContext& context, const std::u16string& repository,
                                    HookKind kind, const std::u16string& content,
                                    OverwriteHook overwrite);
// Removes the script that counts; success when there is none.
void DeleteHook(const ServerContext& context, const std::u16string& repository, HookKind kind);

// A hook as it would run.
struct HookState {
  HookKind kind = HookKind::PostCommit;
  std::u16string program_path;
  svn::HookProgram program = svn::HookProgram::kNothing;
  std::optional<std::u16string> script;  // The path of the script, if there is one.
  std::u16string interpreter;  // That the script's first line names; empty when it names none.
};
// The hooks that have a script or a program. Throws SvnException.
std::vector<HookState> InspectHooks(const ServerContext& context, const std::u16string& repository);
// Makes the launcher of the hook, or brings it up to date and makes it executable; a program that
// is not ours stays.
void RepairHookLauncher(const ServerContext& context, const std::u16string& repository,
                        HookKind kind);

}  // namespace kelvarion::repos
