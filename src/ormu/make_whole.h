// Repositories that are there as a whole or not at all.
#pragma once

#include "ormu/boundary.h"
#include "svn/remove_tree.h"

namespace kelvarion::ormu {

// Makes a repository at `folder` by the steps; what a failure leaves there is removed.
template <class Steps>
void MakeWhole(const std::string& folder, const svn::Pool& scratch, Steps&& steps) {
  if (svn_error_t* const failure = AtBoundary(steps)) {
    svn_error_t* const undone = AtBoundary([&] { svn::RemoveTree(folder, scratch); });
    svn::Check(svn_error_compose_create(failure, undone));
  }
}

}  // namespace kelvarion::ormu
