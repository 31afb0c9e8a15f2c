// Where slaves are made and taken apart: in the folder of the repositories root in which the store
// works as well, by its rules, so that nobody sees half a repository.
#pragma once

#include <memory>
#include <string>

#include "platform/files/files.h"
#include "svn/pool.h"

namespace kelvarion::ormu {

// While it is held nobody else gives names to repositories of the root. Throws SvnException.
std::unique_ptr<platform::FileLock> LockNames(const std::string& root);

// A folder of its own in the work folder of the root, with a lock by which the store knows that it
// is in use; what a killed service leaves, the store's next operation removes. Paths are the
// libraries'.
class WorkPlace {
 public:
  WorkPlace(const std::string& root, const svn::Pool& parent);
  ~WorkPlace();
  WorkPlace(const WorkPlace&) = delete;
  WorkPlace& operator=(const WorkPlace&) = delete;

  // Where the one repository lies; nothing is there at first.
  std::string repository() const;

 private:
  svn::Pool pool_;
  const std::string base_;
  const std::string folder_;
  std::unique_ptr<platform::FileLock> lock_;
};

// Throws SvnException when something is there.
void RequireNothingAt(const std::string& path);

// Gives a repository another place of the same file system, where nothing is. Throws SvnException.
void MoveRepository(const std::string& from, const std::string& to);

}  // namespace kelvarion::ormu
