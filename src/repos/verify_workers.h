// Checking a repository by several programs at the same time, one a processor.
//
// The libraries' threads share one cache and stand in each other's way; programs do not, and what a
// damaged repository does to one of them does not end this process.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "repos/long_operation.h"
#include "repos/notify.h"
#include "repos/verify.h"
#include "repos/verify_range.h"

namespace kelvarion::repos {

// Checks the ranges, which follow one another, and tells about them in their order as if one
// program had gone through all. The result is that of the first fault. There are as many programs
// as processors at the most, for all calls together, but one for each call. Throws what
// notifications throw and SvnException when cancelled; nothing when the program that does the work
// cannot be started. `notify` may be null.
std::optional<VerifyResult> VerifyByWorkers(const std::u16string& folder,
                                            const std::vector<RevisionRange>& ranges,
                                            IcVerifyRepositoryNotify* notify,
                                            LongOperation& operation);

// The program: takes lines "metadata FIRST LAST" and "contents FIRST LAST" from its standard input
// until that ends and answers each by lines "metadata", "structure REVISION", "revision REVISION"
// and "warning TEXT", and in the end "sound" or "fault TEXT", where the text's line ends are "\n"
// and its backslashes "\\". A check of contents says nothing about metadata.
int VerifierMain(const std::string& folder);

}  // namespace kelvarion::repos
