#include "repos/hooks.h"

#include <svn_io.h>
#include <svn_repos.h>

#include <algorithm>
#include <array>

#include "errors/exception.h"
#include "platform/text/encoding.h"
#include "repos/repository_store.h"
#include "svn/atomic_file.h"
#include "svn/error.h"
#include "svn/hook_launcher.h"
#include "svn/repository.h"
#include "svn/text.h"

namespace kelvarion::repos {
namespace {

struct KindRow {
  const char16_t* name;
  int place;  // Where people are shown it.
  const char* (*path)(svn_repos_t*, apr_pool_t*);
};

// By number.
constexpr std::array<KindRow, kHookKinds> kKinds{{
    {u"PostCommit", 2, svn_repos_post_commit_hook},
    {u"PostLock", 4, svn_repos_post_lock_hook},
    {u"PostRevPropChange", 8, svn_repos_post_revprop_change_hook},
    {u"PostUnlock", 6, svn_repos_post_unlock_hook},
    {u"PreCommit", 1, svn_repos_pre_commit_hook},
    {u"PreLock", 3, svn_repos_pre_lock_hook},
    {u"PreRevPropChange", 7, svn_repos_pre_revprop_change_hook},
    {u"PreUnlock", 5, svn_repos_pre_unlock_hook},
    {u"StartCommit", 0, svn_repos_start_commit_hook},
}};

const KindRow& Row(HookKind kind) { return kKinds.at(static_cast<std::size_t>(kind)); }

// A repository's hooks as long as the pool lives.
class Hooks {
 public:
  Hooks(const ServerContext& context, std::u16string repository)
      : pool_(context.root_pool()),
        name_(std::move(repository)),
        repository_(svn::OpenRepository(GetRepositoryPath(context, name_), pool_)) {}

  std::string Path(HookKind kind) const { return Row(kind).path(repository_, pool_); }

  std::optional<HookRecord> Read(HookKind kind) const {
    const auto script = svn::FindHookScript(Path(kind), pool_);
    if (!script) return std::nullopt;
    const std::u16string path = svn::PathFromDirent(*script);
    const auto bytes = svn::ReadFileIfPresent(path, pool_);
    if (!bytes) return std::nullopt;  // Removed in between.
    return HookRecord{name_, kind, path, platform::FromThreadCodePage(*bytes)};
  }

  const svn::Pool& pool() const { return pool_; }

 private:
  svn::Pool pool_;
  std::u16string name_;
  svn_repos_t* repository_;
};

// The program that the script's first line names, read as the launcher reads it.
std::u16string InterpreterOf(const std::string& script) {
  std::string_view line = std::string_view(script).substr(0, script.find('\n'));
  if (!line.starts_with("#!")) return {};
  line.remove_prefix(std::min(line.find_first_not_of(" \t", 2), line.size()));
  return platform::Utf16ForDisplay(line.substr(0, line.find_first_of(" \t\r")));
}

// For listings, where a folder that is no repository simply has no hooks.
std::optional<Hooks> TryOpen(const ServerContext& context, const std::u16string& repository) {
  try {
    return std::make_optional<Hooks>(context, repository);
  } catch (const SvnException&) {
    return std::nullopt;
  }
}

}  // namespace

std::optional<HookKind> HookKindFromName(std::u16string_view name) {
  const auto row = std::ranges::find(kKinds, name, &KindRow::name);
  if (row == kKinds.end()) return std::nullopt;
  return static_cast<HookKind>(row - kKinds.begin());
}

std::u16string HookKindName(HookKind kind) { return Row(kind).name; }

int CompareHookKinds(HookKind a, HookKind b) {
  const int difference = Row(a).place - Row(b).place;
  return (difference > 0) - (difference < 0);
}

std::optional<HookRecord> ReadHook(const ServerContext& context, const std::u16string& repository,
                                   HookKind kind) {
  return Hooks(context, repository).Read(kind);
}

std::optional<HookRecord> TryReadHook(const ServerContext& context,
                                      const std::u16string& repository, HookKind kind) {
  const auto hooks = TryOpen(context, repository);
  return hooks ? hooks->Read(kind) : std::nullopt;
}

std::vector<HookRecord> ListHooks(const ServerContext& context, const std::u16string& repository) {
  std::vector<HookRecord> records;
  const auto hooks = TryOpen(context, repository);
  for (std::uint32_t kind = 0; hooks && kind < kHookKinds; ++kind)
    if (auto record = hooks->Read(static_cast<HookKind>(kind)))
      records.push_back(std::move(*record));
  return records;
}

std::optional<HookRecord> WriteHook(const ServerContext& context, const std::u16string& repository,
                                    HookKind kind, const std::u16string& content,
                                    OverwriteHook overwrite) {
  std::string bytes;
  if (!platform::ToThreadCodePage(content, bytes)) {
    throw SimpleException(
        u"The hook's text has characters that the server's character set cannot express.");
  }
  const Hooks hooks(context, repository);
  const std::string hook = hooks.Path(kind);
  const auto existing = svn::FindHookScript(hook, hooks.pool());
  if (existing && overwrite == OverwriteHook::kNo) return std::nullopt;
  // The launcher first: alone it does what no hook does, while a script alone would not run.
  if (!svn::InstallHookLauncher(hook, hooks.pool())) {
    throw SimpleException(
        u"'%s' is a hook program that this server did not make; it would no longer run. Move it "
        u"away "
        u"first.",
        svn::PathFromDirent(hook));
  }
  const std::u16string path = svn::PathFromDirent(existing.value_or(hook + ".cmd"));
  svn::ReplaceFile(path, bytes, platform::NewFile::kAsFolderSays, hooks.pool());
  return HookRecord{repository, kind, path, content};
}

void DeleteHook(const ServerContext& context, const std::u16string& repository, HookKind kind) {
  const Hooks hooks(context, repository);
  const std::string hook = hooks.Path(kind);
  if (const auto script = svn::FindHookScript(hook, hooks.pool()))
    svn::Check(svn_io_remove_file2(script->c_str(), TRUE, hooks.pool()));
  svn::RemoveUnusedHookLauncher(hook, hooks.pool());
}

std::vector<HookState> InspectHooks(const ServerContext& context,
                                    const std::u16string& repository) {
  const Hooks hooks(context, repository);
  std::vector<HookState> states;
  for (std::uint32_t kind = 0; kind < kHookKinds; ++kind) {
    HookState state;
    state.kind = static_cast<HookKind>(kind);
    const std::string hook = hooks.Path(state.kind);
    state.program_path = svn::PathFromDirent(hook);
    state.program = svn::InspectHookProgram(hook, hooks.pool());
    if (const auto script = svn::FindHookScript(hook, hooks.pool())) {
      state.script = svn::PathFromDirent(*script);
      state.interpreter =
          InterpreterOf(svn::ReadFileIfPresent(*state.script, hooks.pool()).value_or(""));
    }
    if (state.script || state.program != svn::HookProgram::kNothing)
      states.push_back(std::move(state));
  }
  return states;
}

void RepairHookLauncher(const ServerContext& context, const std::u16string& repository,
                        HookKind kind) {
  const Hooks hooks(context, repository);
  const std::string hook = hooks.Path(kind);
  if (svn::InstallHookLauncher(hook, hooks.pool()))
    svn::Check(svn_io_set_file_executable(hook.c_str(), TRUE, FALSE, hooks.pool()));
}

}  // namespace kelvarion::repos
