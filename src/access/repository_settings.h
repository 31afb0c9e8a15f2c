// The settings files of a repository: to whom its administration is delegated, and who may
// replicate from it.
//
// A file that is missing says no and names nobody. Writing replaces the whole file without asking
// what stood in it; it takes no lock, so of two writers the later one counts. Repositories are
// named as their folders are. Safe from any thread.
#pragma once

#include <string>
#include <vector>

#include "context/server_context.h"

namespace kelvarion::access {

struct SharedWith {
  bool enabled = false;
  // SIDs; as read, each once and in the order of their code units.
  std::vector<std::u16string> accounts;
  friend bool operator==(const SharedWith&, const SharedWith&) = default;
};

// Throws SvnException: 125009 for a switch that is neither yes nor no.
SharedWith ReadDelegation(const ServerContext& context, const std::u16string& repository);
SharedWith ReadReplication(const ServerContext& context, const std::u16string& repository);

// Throws Win32Exception for a text that is no SID; the file is then as it was.
void WriteDelegation(const ServerContext& context, const std::u16string& repository,
                     const SharedWith& settings);
void WriteReplication(const ServerContext& context, const std::u16string& repository,
                      const SharedWith& settings);

}  // namespace kelvarion::access
