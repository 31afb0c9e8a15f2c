#include <chrono>
#include <condition_variable>
#include <mutex>

#include "host/commands.h"
#include "host/event_text.h"
#include "platform/process/process.h"

namespace kelvarion::host {

Outcome Events(Session& session) {
  const auto machine = session.machine();
  Outcome outcome;
  machine->event_log->Read(0, [&](const platform::EventRecord& record) {
    outcome.objects.push_back(EventToJson(record, *machine->security));
    outcome.text += EventLine(record, *machine->security);
  });
  return outcome;
}

void FollowEvents(Session& session, const std::function<void(const std::string&)>& print) {
  constexpr auto kInterval = std::chrono::milliseconds(250);
  const auto machine = session.machine();
  std::mutex mutex;
  std::condition_variable changed;
  bool interrupted = false;
  const platform::InterruptWatch watch([&] {
    const std::lock_guard lock(mutex);
    interrupted = true;
    changed.notify_all();
  });
  std::uint64_t offset = 0;
  std::unique_lock lock(mutex);
  while (!interrupted) {
    offset = machine->event_log->Read(offset, [&](const platform::EventRecord& record) {
      print(EventLine(record, *machine->security));
    });
    changed.wait_for(lock, kInterval, [&] { return interrupted; });
  }
}

}  // namespace kelvarion::host
