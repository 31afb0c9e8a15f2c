// The examination of a whole installation, and the repair of what can be repaired safely.
//
// Each check is one function in the table of doctor.cpp. Checks read what is there at their moment,
// change nothing and wait for nobody; only a repair writes, the moment its fault was found. What a
// check cannot look at is a finding, too. Memory does not grow with the number of repositories but
// for their names.
#pragma once

#include <functional>

#include "context/server_context.h"
#include "doctor/finding.h"
#include "svn/cancellation.h"

namespace kelvarion::doctor {

enum class Extent {
  kGlance,  // What takes milliseconds and concerns the server as a whole.
  kAll,
};
enum class Repairs : bool { kNo, kYes };

// The check that finds changes which wait for a restart of the web server.
inline constexpr const char16_t* kRestartPendingCheck = u"RestartPending";

struct Visitor {
  std::function<void(const Finding&)> found;
  // What is looked at, and how many of how many steps are done; may be null.
  std::function<void(const std::u16string& what, std::size_t done, std::size_t total)> progress;
  svn::Cancellation cancellation;
};

// Stops by throwing what the cancellation throws.
void Examine(const ServerContext& context, Extent extent, Repairs repairs, const Visitor& visitor);

}  // namespace kelvarion::doctor
