// Makes the changes of one replayed revision in a transaction.
#pragma once

#include <svn_delta.h>
#include <svn_fs.h>

#include <functional>

#include "svn/cancellation.h"
#include "svn/error.h"

namespace kelvarion::ormu {

// What an edit needs; outlives it.
struct Replay {
  svn_fs_root_t* root = nullptr;  // Of a transaction on top of the revision before.
  svn::Callback* callback = nullptr;
  const svn::Cancellation* cancellation = nullptr;
  std::function<void()> on_node;  // Before each change of a file or folder.
};

// The editor's baton is a Replay. Exceptions go through its callback. A file that does not become
// what the master says it is fails with SVN_ERR_CHECKSUM_MISMATCH.
const svn_delta_editor_t* ReplayEditor();

}  // namespace kelvarion::ormu
