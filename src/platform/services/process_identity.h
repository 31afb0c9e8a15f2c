// Processes of this machine, named so that a recycled process id is not mistaken for one.
//
// Everything is read from /proc at the moment of the call. A zombie counts as ended.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kelvarion::platform {

struct ProcessIdentity {
  int pid = 0;  // 0 names no process.
  std::uint64_t start_ticks = 0;
  friend bool operator==(const ProcessIdentity&, const ProcessIdentity&) = default;
};

// The process that has the id now; pid 0 when there is none.
ProcessIdentity IdentityOf(int pid);
bool IsRunning(const ProcessIdentity& process);

// Whether one of the arguments that the process was started with is this one.
bool HasArgument(const ProcessIdentity& process, const std::string& argument);

// Sends the signal to exactly this process; false when it has ended or may not be signalled.
bool SignalProcess(const ProcessIdentity& process, int signal);

// Whether the process has a handler of its own for the signal now.
bool Catches(const ProcessIdentity& process, int signal);

// Sends the signal once the process catches it; false when it does not within some seconds.
bool SignalWhenCaught(const ProcessIdentity& process, int signal);

// Ends the processes of the session that were started with the argument, all but the session's
// leader, and waits for that: some seconds at most.
void EndSession(int session, const std::string& argument);

// The inodes of the sockets that the process holds; empty when they may not be looked at.
std::vector<std::uint64_t> SocketsOf(const ProcessIdentity& process);

}  // namespace kelvarion::platform
