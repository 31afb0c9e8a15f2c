#include "host/event_text.h"

#include <gtest/gtest.h>

#include "host/console.h"
#include "tests/support/test_home.h"

namespace kelvarion::host {
namespace {

TEST(EventTextTest, KnownEventsHaveAMessageAndOthersTheirStrings) {
  const struct {
    std::uint32_t id;
    std::vector<std::u16string> strings;
    const char* message;
  } rows[] = {
      {0xC00007D0, {u"disk full"}, "A request failed: disk full"},
      {2006,
       {u"demo", u"/trunk", u"old", u"new"},
       "Permissions of /trunk in repository demo changed from [old] to [new]"},
      {2006, {u"demo"}, "Permissions of  in repository demo changed from [] to []"},
      {7, {u"a", u"b"}, "a; b"},
  };
  for (const auto& row : rows) {
    platform::EventRecord record;
    record.id = row.id;
    record.strings = row.strings;
    EXPECT_EQ(EventMessage(record), row.message);
  }
}

TEST(EventTextTest, ARecordIsOneLineWhateverItsTextHolds) {
  const kelvarion::testing::TestHome home;
  platform::EventRecord record;
  record.source = u"Kelvarion Server 3.5";
  record.type = platform::EventType::kWarning;
  record.id = 0x800007D4;
  record.strings = {u"first\r\nsecond\x1B[2J"};
  record.user_sid = u"S-1-22-1-4294900000";
  record.time_us = 1'700'000'000'000'042;
  const std::string line = EventLine(record, *home.machine()->security);
  EXPECT_EQ(line.find_first_of("\r\n\x1B"), line.size() - 1);
  EXPECT_NE(line.find("warning  0x800007D4  S-1-22-1-4294900000  first"), std::string::npos)
      << line;
  const Json json = EventToJson(record, *home.machine()->security);
  EXPECT_EQ(json["Time"], "2023-11-14T22:13:20.000042Z");
  EXPECT_EQ(json["Strings"], Json({"first\r\nsecond\x1B[2J"}));
}

TEST(RemainingTimeTest, IsGuessedFromWhatHasBeenDone) {
  RemainingTime remaining;
  const struct {
    int percent;
    int at;  // Seconds.
    int left;
  } rows[] = {
      {10, 0, -1},  {11, 1, -1},  {20, 10, 80}, {60, 20, 16},
      {60, 30, 24}, {100, 50, 0}, {-1, 51, -1},                // Another phase, which knows no end.
      {5, 52, -1},  {55, 57, 5},  {0, 60, -1},  {50, 61, -1},  // Too early to tell.
  };
  for (const auto& row : rows) {
    const RemainingTime::Clock::time_point now{std::chrono::seconds(row.at)};
    EXPECT_EQ(remaining.Seconds(row.percent, now), row.left) << row.at;
  }
}

TEST(ProgressLineTest, FitsTheTerminalAndShowsWhatIsKnown) {
  EXPECT_EQ(ProgressLine({u"Importing", u"", u"", 50, 75}, 80),
            "Importing  [############            ]  50 %  1:15 left");
  EXPECT_EQ(ProgressLine({u"Verifying", u"r7", u"demo", -1, -1}, 80), "Verifying: demo: r7");
  EXPECT_EQ(ProgressLine({u"A long activity", u"", u"", -1, -1}, 8), "A long ");
  EXPECT_EQ(ProgressLine({u"Odd", u"", u"", 400, 5}, 80),
            "Odd  [########################] 100 %  0:05 left");
}

}  // namespace
}  // namespace kelvarion::host
