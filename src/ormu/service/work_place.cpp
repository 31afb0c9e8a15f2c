#include "ormu/service/work_place.h"

#include <svn_types.h>

#include <filesystem>

#include "svn/error.h"
#include "svn/remove_tree.h"
#include "svn/text.h"

namespace kelvarion::ormu {
namespace {

namespace fs = std::filesystem;

void Require(const std::error_code& error, const char16_t* what, const std::string& path) {
  if (error)
    svn::ThrowAprError(error.value(), Format(u"Can't %s '%s'", what, svn::PathFromDirent(path)));
}

std::unique_ptr<platform::FileLock> Lock(const std::string& file) {
  auto lock = std::make_unique<platform::FileLock>(svn::PathFromDirent(file));
  if (lock->Error() != ERROR_SUCCESS)
    svn::ThrowSystemError(lock->Error(),
                          Format(u"Cannot open file '%s'", svn::PathFromDirent(file)));
  return lock;
}

}  // namespace

std::unique_ptr<platform::FileLock> LockNames(const std::string& root) {
  return Lock(svn::JoinDirent(root, "Kelvarion-Global.lck"));
}

WorkPlace::WorkPlace(const std::string& root, const svn::Pool& parent)
    : pool_(parent),
      base_(svn::JoinDirent(root, ".kelvarion")),
      folder_(svn::JoinDirent(base_, svn_uuid_generate(pool_))) {
  // Under it the store looks for folders that nobody has locked.
  const auto names = LockNames(root);
  std::error_code error;
  if (fs::create_directory(base_, error)) fs::permissions(base_, fs::perms::owner_all, error);
  Require(error, u"create directory", base_);
  fs::create_directory(folder_, error);
  Require(error, u"create directory", folder_);
  lock_ = Lock(svn::JoinDirent(folder_, "lock"));
}

WorkPlace::~WorkPlace() {
  try {
    svn::RemoveTree(repository(), pool_);
    svn::RemoveTree(folder_, pool_);
  } catch (const Exception&) {  // The store removes it.
  }
  std::error_code in_use;
  fs::remove(base_, in_use);
}

std::string WorkPlace::repository() const { return svn::JoinDirent(folder_, "repository"); }

void RequireNothingAt(const std::string& path) {
  std::error_code error;
  if (fs::exists(fs::symlink_status(path, error)))
    svn::ThrowAprError(EEXIST, Format(u"Can't create directory '%s'", svn::PathFromDirent(path)));
}

void MoveRepository(const std::string& from, const std::string& to) {
  RequireNothingAt(to);
  std::error_code error;
  fs::rename(from, to, error);
  Require(error, u"move to", to);
}

}  // namespace kelvarion::ormu
