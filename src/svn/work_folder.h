// A place in the repositories root for repositories that are not whole: whoever makes one or takes
// one apart does it there, the store as well as the replication service.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "errors/exception.h"
#include "svn/held_lock.h"
#include "svn/pool.h"

namespace kelvarion::svn {

// While it is held nobody else gives names to repositories of the root or takes them; changes of
// users and groups wait for it as well.
HeldLock LockNames(const std::string& root);

// A private folder two levels below the root, where nobody lists or serves what lies in it, on the
// same file system as the repositories. Whatever it holds in the end is removed with it; what
// killed processes left in theirs is removed when the next one is made. Paths are the libraries'.
//
// Making and ending it takes the lock of the names for a moment.
class WorkFolder {
 public:
  // Told what could not be removed; never throws.
  using Trouble = std::function<void(const Exception&)>;

  // SimpleException when somebody else's folder has its place.
  WorkFolder(const std::string& root, Trouble trouble, const Pool& parent);
  ~WorkFolder();
  WorkFolder(const WorkFolder&) = delete;
  WorkFolder& operator=(const WorkFolder&) = delete;

  // Where the one repository lies that the folder is for. Nothing is there at first.
  const std::string& repository() const { return repository_; }
  // Removes the repository now. Throws SvnException.
  void RemoveRepository();

  // A private folder in the machine's memory that goes with this one. Empty when there is none.
  std::string MakeMemoryFolder();

 private:
  const Pool pool_;
  const Trouble trouble_;
  const std::string root_;
  const std::string base_;
  const std::string folder_;
  const std::string repository_;
  std::optional<HeldLock> in_use_;
};

// The folders that killed processes left behind, in local style. Making the next WorkFolder removes
// them.
std::vector<std::u16string> ListAbandonedWork(const std::string& root, const Pool& scratch);

}  // namespace kelvarion::svn
