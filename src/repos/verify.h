// Checking whether a repository is whole.
#pragma once

#include <string>

#include "context/cancel_callback.h"
#include "context/server_context.h"
#include "repos/notify.h"

namespace kelvarion::repos {

struct VerifyResult {
  bool success = false;
  std::u16string message;  // What is wrong, one text a line; empty on success.
};

// Reads every revision and checks it against itself: first what is kept about all of them, then
// their contents, and tells in this order whatever is checked at the same time. Ends at the first
// fault. What is wrong with the repository, one that is not there included, and a cancellation are
// results; throws what notifications throw, and WMIException for what can name no repository.
// `notify` and `cancel` may be null.
VerifyResult VerifyRepository(const ServerContext& context, const std::u16string& name,
                              IcVerifyRepositoryNotify* notify, const IcCancelCallback* cancel);
// The same for the repository of a folder.
VerifyResult VerifyFolder(const ServerContext& context, const std::u16string& folder,
                          IcVerifyRepositoryNotify* notify, const IcCancelCallback* cancel);

}  // namespace kelvarion::repos
