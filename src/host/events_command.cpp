#include <chrono>
#include <condition_variable>
#include <iostream>
#include <mutex>

#include "errors/exception.h"
#include "host/commands.h"
#include "host/event_filter.h"
#include "host/event_text.h"
#include "host/text.h"
#include "platform/process/process.h"

namespace kelvarion::host {
namespace {

struct EventOptions {
  std::vector<std::string> sources;  // Parts of names.
  std::vector<std::string> types;
  std::string since;  // A span or a date; empty: all there are.
  bool follow = false;
};

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

Outcome List(Session& session, const EventOptions& options) {
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

void Print(const std::string& text) {
  std::cout << text << std::flush;
  if (!std::cout) throw SimpleException(u"The events cannot be printed.");
}

// Prints each event as it comes, as a line for people or of JSON, until the user interrupts.
Outcome Follow(Session& session, const EventOptions& options) {
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
      Print(session.json() ? EventToJson(record, *machine->security).dump() + "\n"
                           : ForTerminal(EventLine(record, *machine->security)));
    });
    changed.wait_for(lock, kInterval, [&] { return interrupted; });
  }
  Outcome ended;
  ended.printed = true;
  return ended;
}

Outcome Events(Session& session, const EventOptions& options) {
  return options.follow ? Follow(session, options) : List(session, options);
}

}  // namespace

void AddEventsCommand(CLI::App& app, Command& chosen) {
  const auto [events, options] =
      AddCommand(app, "events", "Show the event log: failed requests and changes of permissions",
                 chosen, Events);
  events
      ->add_option("--source", options->sources, "Only of this source; a part of its name will do")
      ->allow_extra_args(false);
  events->add_option("--type", options->types, "Only of this type: error, warning or information")
      ->allow_extra_args(false);
  events->add_option("--since", options->since,
                     "Only from then on: 10m, 2h, 3d, 2026-01-31 or 2026-01-31T12:00");
  events->add_flag("--follow", options->follow,
                   "Go on showing new events until Ctrl-C; with --json one object a line");
  events->footer(
      "Options can be given several times.\nExamples:\n"
      "  kelvarionctl events --type error --since 2h\n"
      "  kelvarionctl events --source management --follow");
}

}  // namespace kelvarion::host
