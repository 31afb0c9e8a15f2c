#include "ormu/slave_guard.h"

#include <svn_io.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <thread>

#include "ormu/bulk_load.h"
#include "svn/error.h"
#include "svn/hook_launcher.h"
#include "svn/replica_role.h"
#include "svn/repository.h"
#include "svn/text.h"

namespace kelvarion::ormu {
namespace {

namespace fs = std::filesystem;

// Every change that a client can make passes one of them.
constexpr const char* kGuardHooks[] = {"start-commit", "pre-lock", "pre-unlock",
                                       "pre-revprop-change"};
constexpr const char* kAside = ".kept";

std::string HookOf(const std::string& folder, const char* name) {
  return svn::JoinDirent(svn::JoinDirent(folder, "hooks"), name);
}

// Taken by the storage for every change.
std::string WriteLockOf(const std::string& folder) {
  return svn::JoinDirent(svn::JoinDirent(folder, "db"), "write-lock");
}

void Require(const std::error_code& error, const std::string& path) {
  if (error)
    svn::ThrowAprError(error.value(), Format(u"Can't replace '%s'", svn::PathFromDirent(path)));
}

void Rename(const std::string& from, const std::string& to) {
  std::error_code error;
  fs::rename(from, to, error);
  Require(error, to);
}

bool IsSlave(const std::string& folder, const svn::Pool& scratch) {
  const auto role = svn::ReadReplicaRole(folder, scratch);
  return role && !role->master;
}

// Who writes to a slave holds it; it says nothing to the storage.
std::u16string ReplicatorLockOf(const std::string& folder) {
  return svn::PathFromDirent(svn::JoinDirent(svn::JoinDirent(folder, "locks"), "replicator.lock"));
}

void RequireLock(const platform::FileLock& lock, const std::string& folder) {
  if (lock.Error() != ERROR_SUCCESS)
    svn::ThrowSystemError(
        lock.Error(), Format(u"Can't get the right to write to '%s'", svn::PathFromDirent(folder)));
}

std::unique_ptr<platform::FileLock> TryLock(const std::string& folder) {
  auto lock =
      std::make_unique<platform::FileLock>(ReplicatorLockOf(folder), platform::IfLocked::kGiveUp);
  if (lock->Error() == ERROR_SHARING_VIOLATION) return nullptr;
  RequireLock(*lock, folder);
  return lock;
}

std::unique_ptr<platform::FileLock> WaitForLock(const std::string& folder,
                                                const svn::Cancellation& cancellation) {
  constexpr std::chrono::milliseconds kBetweenTries{20};
  for (;;) {
    auto lock = TryLock(folder);
    cancellation.Check();
    if (lock) return lock;
    std::this_thread::sleep_for(kBetweenTries);
  }
}

// The first program that was put aside comes back; what administrators put in its place while the
// repository was a slave stays beside it, for them to look through.
std::string FreeNameAside(const std::string& hook) {
  std::string name = hook + kAside;
  std::error_code error;
  for (int i = 2; fs::exists(fs::symlink_status(name, error)); ++i)
    name = hook + kAside + std::to_string(i);
  return name;
}

bool IsPutAside(const std::string& hook, const svn::Pool& scratch) {
  return fs::exists(hook + kAside) &&
         svn::InspectHookProgram(hook, scratch) != svn::HookProgram::kForeign;
}

// A kill between the steps of a change of roles leaves that, and no slave.
bool HasGuardLeft(const std::string& folder, const svn::Pool& scratch) {
  return fs::is_directory(WriteLockOf(folder)) ||
         std::ranges::any_of(kGuardHooks, [&](const char* name) {
           return IsPutAside(HookOf(folder, name), scratch);
         });
}

// For whoever has the lock.
void MendLocked(const std::string& folder, const svn::Pool& scratch) {
  if (IsSlave(folder, scratch)) {
    InstallGuardHooks(folder, scratch);
    EndBulkLoad(folder, scratch);
    CloseStore(folder);
  } else if (HasGuardLeft(folder, scratch)) {
    OpenStore(folder);
    RemoveGuardHooks(folder, scratch);
  }
}

}  // namespace

void InstallGuardHooks(const std::string& folder, const svn::Pool& scratch) {
  std::error_code error;
  fs::create_directory(svn::JoinDirent(folder, "hooks"), error);
  Require(error, folder);
  for (const char* name : kGuardHooks) {
    const std::string hook = HookOf(folder, name);
    if (svn::InstallHookLauncher(hook, scratch)) continue;
    Rename(hook, FreeNameAside(hook));
    svn::InstallHookLauncher(hook, scratch);
  }
}

void RemoveGuardHooks(const std::string& folder, const svn::Pool& scratch) {
  for (const char* name : kGuardHooks) {
    const std::string hook = HookOf(folder, name);
    if (IsPutAside(hook, scratch))
      Rename(hook + kAside, hook);
    else
      svn::RemoveUnusedHookLauncher(hook, scratch);
  }
}

// The lock file itself is kept for its owner and access list.
void CloseStore(const std::string& folder) {
  const std::string lock = WriteLockOf(folder);
  std::error_code error;
  const fs::file_type type = fs::symlink_status(lock, error).type();
  if (type == fs::file_type::directory) return;
  if (type != fs::file_type::not_found) Rename(lock, lock + kAside);
  error.clear();
  fs::create_directory(lock, error);
  Require(error, lock);
}

void OpenStore(const std::string& folder) {
  const std::string lock = WriteLockOf(folder);
  std::error_code error;
  if (fs::is_directory(fs::symlink_status(lock, error))) fs::remove(lock, error);
  Require(error, lock);
  if (fs::exists(lock)) return;
  if (fs::exists(lock + kAside)) return Rename(lock + kAside, lock);
  const svn::Pool pool = svn::Pool::Root();
  svn::Check(svn_io_file_create_empty(lock.c_str(), pool));
}

// What is asked before the lock is held only spares it.
void MendGuard(const std::string& folder, const svn::Pool& scratch) {
  const svn::Pool pool(scratch);
  if (!IsSlave(folder, pool) && !HasGuardLeft(folder, pool)) return;
  if (const auto lock = TryLock(folder)) MendLocked(folder, pool);
}

void MendGuards(const std::u16string& root, const svn::Pool& scratch) {
  svn::Pool pool(scratch);
  for (const std::u16string& name : svn::ListFolders(root, scratch)) {
    pool.Clear();
    try {
      MendGuard(svn::JoinDirent(svn::DirentFromPath(root), svn::Utf8(name)), pool);
    } catch (const Exception&) {  // Whoever uses that one hears of it.
    }
  }
}

bool HasWriter(const std::string& folder) {
  try {
    return !TryLock(folder);
  } catch (const Exception&) {  // What is gone or locked away is written to by nobody.
    return false;
  }
}

SlaveWriteAccess::SlaveWriteAccess(const std::string& folder, const svn::Cancellation& cancellation,
                                   const svn::Pool& parent)
    : folder_(folder), pool_(parent), lock_(WaitForLock(folder, cancellation)) {
  Mend();
  if (IsSlave(folder, pool_)) OpenStore(folder);
}

void SlaveWriteAccess::Mend() { MendLocked(folder_, pool_); }

SlaveWriteAccess::~SlaveWriteAccess() {
  try {
    if (IsSlave(folder_, pool_)) CloseStore(folder_);
  } catch (const Exception&) {  // The next one who mends or writes does it.
  }
}

}  // namespace kelvarion::ormu
