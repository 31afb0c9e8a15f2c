#include "host/event_filter.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "host/argument.h"

namespace kelvarion::host {
namespace {

using platform::EventType;

constexpr std::int64_t kNow = 1'700'000'000'000'000;  // 2023-11-14T22:13:20Z

TEST(ParseSinceTest, TakesSpansAndDates) {
  setenv("TZ", "XXX-2", 1);  // Two hours east.
  tzset();
  constexpr std::int64_t kMidnight = 1'699'920'000'000'000;  // 2023-11-14T00:00:00Z
  constexpr std::int64_t kHour = 3'600'000'000;
  const std::pair<const char*, std::int64_t> rows[] = {
      {"90s", kNow - 90'000'000},
      {"2h", kNow - 2 * kHour},
      {"3d", kNow - 72 * kHour},
      {"1w", kNow - 168 * kHour},
      {"2023-11-14", kMidnight - 2 * kHour},
      {"2023-11-14T01:30", kMidnight - kHour / 2},
      {"2023-11-14 02:00:05", kMidnight + 5'000'000},
      {"2023-11-14T00:00Z", kMidnight},
      {"2023-11-14T00:00:00+01:00", kMidnight - kHour},
      {"2023-11-13T19:30-04:30", kMidnight}};
  for (const auto& [text, time] : rows) EXPECT_EQ(ParseSince(text, kNow), time) << text;
  unsetenv("TZ");
  tzset();
}

TEST(ParseSinceTest, RefusesWhatIsNeither) {
  for (const char* text :
       {"", "m", "10", "10x", "10 m", "-5m", "99999999999d", "2023", "2023-11", "2023-13-01",
        "2023-02-30", "2023-11-14T", "2023-11-14T25:00", "2023-11-14T10", "2023-11-14T10:00x",
        "2023-11-14T10:00+1", "2023-11-14Z ", "yesterday"})
    EXPECT_THROW(ParseSince(text, kNow), UsageError) << text;
}

TEST(EventFilterTest, EveryKindOfConditionMustHold) {
  platform::EventRecord record;
  record.source = u"Kelvarion Server Management";
  record.type = EventType::kWarning;
  record.time_us = kNow;
  const std::pair<EventFilter, bool> rows[] = {
      {{}, true},
      {{{u"management"}, {}, {}}, true},
      {{{u"server 3.5"}, {}, {}}, false},
      {{{u"server 3.5", u"SERVER M"}, {}, {}}, true},
      {{{}, {EventType::kError}, {}}, false},
      {{{}, {EventType::kError, EventType::kWarning}, {}}, true},
      {{{}, {}, kNow}, true},
      {{{}, {}, kNow + 1}, false},
      {{{u"management"}, {EventType::kError}, kNow}, false},
  };
  for (const auto& [filter, accepted] : rows) EXPECT_EQ(filter.Accepts(record), accepted);
}

TEST(ParseEventTypeTest, TakesTheThreeNames) {
  EXPECT_EQ(ParseEventType("Error"), EventType::kError);
  EXPECT_EQ(ParseEventType("warning"), EventType::kWarning);
  EXPECT_EQ(ParseEventType("INFORMATION"), EventType::kInformation);
  EXPECT_THROW(ParseEventType("info"), UsageError);
}

}  // namespace
}  // namespace kelvarion::host
