// The words in which a service's program explains its failure.
#pragma once

#include <cstdint>
#include <string>

#include "platform/services/service.h"

namespace kelvarion::platform {

// The present length of the service's log, which marks where its next words begin.
std::uint64_t LogLength(const Service& service);

// The lines of what a program wrote without the times and process ids that lead them, and without
// the last line's end.
std::string PlainWords(const std::string& output);

// How the process ended (as waitpid reports it), what it wrote to its standard streams and what it
// itself, not its workers, wrote to its log from `log_start` on: the errors, or the last lines
// where there is no error.
std::string FailureText(const Service& service, int pid, int exit_status, std::uint64_t log_start);

}  // namespace kelvarion::platform
