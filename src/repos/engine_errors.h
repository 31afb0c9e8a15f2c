// Failures of the replication engine as an administrator gets to see them.
#pragma once

#include <string>

#include "svn/error.h"

namespace kelvarion::repos {

// Throws LocalServerAdminException where the chain tells what most likely caused the failure.
void ThrowExplained(const SvnException& failure);
// For the result of a request to the replication service; takes over the error. Throws
// LocalServerAdminException where the chain tells what most likely caused the failure, else
// SvnException.
void CheckRequest(svn_error_t* error);
// The same for a consistency check, whose unexplained failures name the repository.
void CheckConsistencyRequest(svn_error_t* error, const std::u16string& repository);

}  // namespace kelvarion::repos
