#include <chrono>
#include <condition_variable>
#include <mutex>

#include "host/commands.h"
#include "host/event_filter.h"
#include "host/event_text.h"
#include "host/text.h"
#include "platform/process/process.h"

namespace kelvarion::host {
namespace {

EventFilter ToFilter(const EventOptions& options) {
  using std::chrono::duration_cast, std::chrono::microseconds, std::chrono::system_clock;
  EventFilter filter;
  for (const std::string& source : options.sources) filter.sources.push_back(Utf16(source));
  for (const std::string& type : options.types) filter.types.push_back(ParseEventType(type));
  if (!options.since.empty()) {
    const auto now = duration_cast<microseconds>(system_clock::now().time_since_epoch());
    filter.since_us = ParseSince(options.since, now.count());
  }
  return filter;
}

}  // namespace

Outcome Events(Session& session, const EventOptions& options) {
  const EventFilter filter = ToFilter(options);
  const auto machine = session.machine();
  Outcome outcome;
  machine->event_log->Read({}, [&](const platform::EventRecord& record) {
    if (!filter.Accepts(record)) return;
    outcome.objects.push_back(EventToJson(record, *machine->security));
    outcome.text += EventLine(record, *machine->security);
  });
  return outcome;
}

void FollowEvents(Session& session, const EventOptions& options, bool json,
                  const std::function<void(const std::string&)>& print) {
  constexpr auto kInterval = std::chrono::milliseconds(250);
  const EventFilter filter = ToFilter(options);
  const auto machine = session.machine();
  std::mutex mutex;
  std::condition_variable changed;
  bool interrupted = false;
  const platform::InterruptWatch watch([&] {
    const std::lock_guard lock(mutex);
    interrupted = true;
    changed.notify_all();
  });
  platform::EventPosition position;
  std::unique_lock lock(mutex);
  while (!interrupted) {
    position = machine->event_log->Read(position, [&](const platform::EventRecord& record) {
      if (!filter.Accepts(record)) return;
      print(json ? EventToJson(record, *machine->security).dump() + "\n"
                 : EventLine(record, *machine->security));
    });
    changed.wait_for(lock, kInterval, [&] { return interrupted; });
  }
}

}  // namespace kelvarion::host
