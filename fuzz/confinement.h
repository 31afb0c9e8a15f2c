// Keeps this process from changing anything but what a target may change.
//
// The kernel stops every system call that changes files, of whatever library, before it happens;
// its path is followed through all links and judged. There is no way back, also for threads made
// later. Programs that the process starts are refused, and so is the network: it looks like a
// machine that has none, so that nothing a target is told to visit is ever visited. For Linux on
// x86-64, in whose registers the calls are found.
#pragma once

#include <string>
#include <vector>

namespace kelvarion::fuzz {

// Paths are absolute and free of links.
struct Confinement {
  // With all below them.
  std::vector<std::string> free;
  // Changes of these, below and right beside them (a partial file, a lock) fail as on a disk that
  // can only be read. Everything else ends the process.
  std::vector<std::string> read_only;
};

// From now on all of this holds, while changes are watched. Aborts when the kernel cannot do it.
void Confine(Confinement rules);

// For the thread that runs the target, while no other one works.
void MakeReadOnly(std::vector<std::string> paths);

// Changes are judged while one of these lives; around it are those of the target itself and of the
// fuzzer.
class Watch {
 public:
  Watch();
  ~Watch();
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;
};

}  // namespace kelvarion::fuzz
