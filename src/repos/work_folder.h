// A place in the repositories root for repositories that are not whole.
#pragma once

#include <string>
#include <vector>

#include "context/server_context.h"
#include "svn/pool.h"

namespace kelvarion::repos {

// A folder of the root that is no repository. It exists only while it is needed.
inline constexpr const char16_t* kWorkFolderName = u".kelvarion";

// A private folder two levels below the root, where nobody lists or serves what lies in it, on the
// same file system as the repositories. Whatever it holds in the end is removed with it; what
// killed processes left in theirs is removed when the next one is made. Paths are the libraries'.
class WorkFolder {
 public:
  explicit WorkFolder(const ServerContext& context);
  ~WorkFolder();
  WorkFolder(const WorkFolder&) = delete;
  WorkFolder& operator=(const WorkFolder&) = delete;

  // Where the one repository lies that the folder is for. Nothing is there at first.
  const std::string& repository() const { return repository_; }
  // Removes the repository now. Throws SvnException.
  void RemoveRepository();

  // A private folder in the machine's memory that goes with this one. False when there is none.
  bool MakeMemoryFolder();
  const std::string& memory_folder() const { return memory_folder_; }

 private:
  const ServerContext& context_;
  svn::Pool pool_;  // Holds the lock that tells others that the folder is in use.
  std::string base_;
  std::string folder_;
  std::string repository_;
  std::string memory_folder_;
};

// The folders that killed processes left behind, in local style. Making the next WorkFolder removes
// them.
std::vector<std::u16string> ListAbandonedWork(const ServerContext& context);

}  // namespace kelvarion::repos
