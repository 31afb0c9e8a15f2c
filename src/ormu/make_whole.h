// Repositories that are there as a whole or not at all.
#pragma once

#include <svn_io.h>

#include <string>

#include "ormu/boundary.h"
#include "svn/error.h"
#include "svn/remove_tree.h"
#include "svn/text.h"

namespace kelvarion::ormu {

// Makes a repository at `folder` by the steps; what a failure leaves there is removed.
template <class Steps>
void MakeWhole(const std::string& folder, const svn::Pool& scratch, Steps&& steps) {
  if (svn_error_t* const failure = AtBoundary(steps)) {
    svn_error_t* const undone = AtBoundary([&] { svn::RemoveTree(folder, scratch); });
    svn::Check(svn_error_compose_create(failure, undone));
  }
}

// Throws SvnException when something is there.
inline void RequireNothingAt(const std::string& path, const svn::Pool& scratch) {
  svn_node_kind_t kind = svn_node_none;
  svn::Check(svn_io_check_path(path.c_str(), &kind, scratch));
  if (kind != svn_node_none)
    svn::ThrowAprError(APR_EEXIST,
                       Format(u"Can't create directory '%s'", svn::PathFromDirent(path)));
}

// Gives a whole repository another place of the same file system, where nothing is. Throws
// SvnException.
inline void MoveRepository(const std::string& from, const std::string& to,
                           const svn::Pool& scratch) {
  RequireNothingAt(to, scratch);
  svn::Check(svn_io_file_rename2(from.c_str(), to.c_str(), TRUE, scratch));
}

}  // namespace kelvarion::ormu
