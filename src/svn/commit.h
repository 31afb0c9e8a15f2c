// Changing a repository by a commit of our own.
#pragma once

#include <functional>
#include <string>

#include "svn/pool.h"
#include "svn/repository.h"

struct svn_fs_root_t;

namespace kelvarion::svn {

using TreeChange = std::function<void(svn_fs_root_t* root, const Pool& pool)>;

// Makes one revision on top of the youngest one: all of the change or, when it throws, nothing, not
// even a transaction. The message's line ends become "\n". The repository's hooks do not run.
// A revision that was made counts, whatever the libraries could not finish after it; that goes to
// `warnings`. Throws SvnException, or what the change throws.
void CommitChange(svn_repos_t* repository, const std::string& author, const std::u16string& message,
                  const TreeChange& change, const WarningSink& warnings, const Pool& parent);

}  // namespace kelvarion::svn
