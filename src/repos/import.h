// New repositories with the contents of existing ones.
//
// Either appears whole under its name or leaves no trace, however it ends; until then nobody sees
// it. Its files have the access that new files have there. Runs long, on the calling thread;
// `notify` and `cancel` may be null.
// Both throw as NewRepository does when the name is unfit or taken; SvnException, 200004 for a
// relative path, 200015 "Repository import has been cancelled." when `cancel` says so.
#pragma once

#include <string>

#include "context/cancel_callback.h"
#include "context/server_context.h"
#include "repos/notify.h"
#include "services/explained_request.h"

namespace kelvarion::repos {

// Copies the repository at any path with its hooks, rules, settings and UUID.
void ImportRepository(const ServerContext& context, const std::u16string& name,
                      const std::u16string& source, IcImportRepositoryNotify* notify,
                      const IcCancelCallback* cancel, const services::Warn& warn = nullptr);

// Loads a dump file, plain or compressed by gzip, reading it as a stream. The repository takes the
// dump's UUID. SVN_ERR_STREAM_UNEXPECTED_EOF for compressed data that end early.
void ImportDumpFile(const ServerContext& context, const std::u16string& name,
                    const std::u16string& dump, IcImportDumpFileNotify* notify,
                    const IcCancelCallback* cancel);

}  // namespace kelvarion::repos
