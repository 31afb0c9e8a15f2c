#include "platform/event_log/event_log.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>

#include "platform/text/encoding.h"
#include "tests/support/temporary_folder.h"

namespace kelvarion::platform {
namespace {

class EventLogTest : public ::testing::Test {
 protected:
  std::string File() const { return folder_ + "/events/events.jsonl"; }
  std::vector<EventRecord> Read() const {
    std::vector<EventRecord> records;
    log_->Read({}, [&](const EventRecord& record) { records.push_back(record); });
    return records;
  }

  std::uint64_t SizeOfLog() const {
    std::uint64_t size = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder_ + "/events"))
      size += entry.file_size();
    return size;
  }

  testing::TemporaryFolder temporary_;
  const std::string& folder_ = temporary_.native();
  std::unique_ptr<EventLog> log_ = OpenEventLogFolder(folder_ + "/events");
};

std::u16string Utf16(const std::string& text) { return Utf16ForDisplay(text); }

// What stands before the blank in the record's string.
std::u16string Number(const EventRecord& record) {
  return record.strings[0].substr(0, record.strings[0].find(u' '));
}

EventRecord Information(std::u16string text) {
  EventRecord record;
  record.source = u"Test";
  record.strings = {std::move(text)};
  return record;
}

TEST_F(EventLogTest, RecordsComeBackWhole) {
  EventRecord record;
  record.source = u"Kelvarion Server 3.5";
  record.type = EventType::kError;
  record.category = 1;
  record.id = 0xC00007D0;
  record.user_sid = u"S-1-22-1-1000";
  record.strings = {u"two\nlines \"quoted\" {\"time_us\":1", u"", u"caf\u00E9 \U0001F600"};
  EXPECT_EQ(log_->Report(record), ERROR_SUCCESS);
  EXPECT_EQ(log_->Report(Information(u"damaged \xD800")), ERROR_SUCCESS);

  const std::vector<EventRecord> found = Read();
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].source, record.source);
  EXPECT_EQ(found[0].type, record.type);
  EXPECT_EQ(found[0].category, record.category);
  EXPECT_EQ(found[0].id, record.id);
  EXPECT_EQ(found[0].user_sid, record.user_sid);
  EXPECT_EQ(found[0].strings, record.strings);
  EXPECT_GT(found[0].time_us, 1'600'000'000'000'000);
  EXPECT_LE(found[0].time_us, found[1].time_us);
  EXPECT_EQ(found[1].user_sid, std::nullopt);
  EXPECT_EQ(found[1].strings[0], u"damaged \uFFFD");
  EXPECT_EQ(std::filesystem::status(File()).permissions(), std::filesystem::perms(0600));
}

TEST_F(EventLogTest, AReaderFollowsTheLogAndWaitsForWholeRecords) {
  std::vector<std::u16string> seen;
  const auto visit = [&seen](const EventRecord& record) { seen.push_back(record.strings[0]); };
  EventPosition position = log_->Read({}, visit);
  EXPECT_EQ(position, EventPosition());
  log_->Report(Information(u"one"));
  position = log_->Read(position, visit);
  EXPECT_EQ(seen, (std::vector<std::u16string>{u"one"}));
  std::ofstream(File(), std::ios::app) << "{\"time_us\":1,";
  EXPECT_EQ(log_->Read(position, visit), position);
  // The record that was cut off is lost, the one after it is not, nor are lines of something else.
  log_->Report(Information(u"two"));
  std::ofstream(File(), std::ios::app) << "something else\n{\"time_us\":\"x\"}\n\n";
  log_->Report(Information(u"three"));
  log_->Read(position, visit);
  EXPECT_EQ(seen, (std::vector<std::u16string>{u"one", u"two", u"three"}));
}

TEST_F(EventLogTest, ALogThatCannotBeWrittenSaysSo) {
  const auto log = OpenEventLogFolder(folder_ + "/events");
  log->Report(Information(u"one"));
  std::filesystem::remove_all(folder_ + "/events");
  EXPECT_EQ(log->Report(Information(u"two")), ERROR_SUCCESS);
  EXPECT_EQ(Read().size(), 1u);
  std::ofstream(folder_ + "/file");  // NOLINT: makes it
  EXPECT_EQ(OpenEventLogFolder(folder_ + "/file/events")->Report(Information(u"")),
            ERROR_PATH_NOT_FOUND);
}

// Small enough for the log to begin many new files within a test.
constexpr std::uint64_t kSmallLog = 20'000;

TEST_F(EventLogTest, TheLogStaysBelowItsSizeAndKeepsTheNewestRecords) {
  const auto log = OpenEventLogFolder(folder_ + "/events", kSmallLog);
  constexpr int kRecords = 1000;
  std::vector<std::u16string> followed;
  EventPosition position;
  for (int i = 0; i < kRecords; ++i) {
    // Some longer than all that the log may hold.
    const std::u16string text(i % 100 == 99 ? kSmallLog : 10 + i % 7, u'\u00E9');
    ASSERT_EQ(log->Report(Information(Utf16(std::to_string(i)) + u" " + text)), ERROR_SUCCESS);
    EXPECT_LE(SizeOfLog(), kSmallLog);
    if (i % 3 != 0) continue;
    position = log->Read(position, [&](const EventRecord& e) { followed.push_back(Number(e)); });
  }
  EXPECT_TRUE(std::filesystem::exists(folder_ + "/events/events.1.jsonl"));
  ASSERT_EQ(followed.size(), static_cast<std::size_t>(kRecords)) << "each record once";
  for (int i = 0; i < kRecords; ++i) EXPECT_EQ(followed[i], Utf16(std::to_string(i)));
  std::vector<std::u16string> kept;
  for (const EventRecord& record : Read()) kept.push_back(Number(record));
  EXPECT_GT(kept.size(), 20u);
  const auto expected =
      std::vector(followed.end() - static_cast<long>(kept.size()), followed.end());
  EXPECT_EQ(kept, expected);
}

TEST_F(EventLogTest, FollowersCopeWithFilesThatCameAndWent) {
  std::vector<std::u16string> seen;
  const auto visit = [&seen](const EventRecord& record) { seen.push_back(record.strings[0]); };
  const std::string older = folder_ + "/events/events.1.jsonl";
  log_->Report(Information(u"one"));
  EventPosition position = log_->Read({}, visit);
  log_->Report(Information(u"two"));
  // A writer that was killed between the two steps of beginning a new file.
  std::filesystem::rename(File(), older);
  position = log_->Read(position, visit);
  EXPECT_EQ(log_->Read(position, visit), position);
  log_->Report(Information(u"three"));
  position = log_->Read(position, visit);
  // An administrator takes the file away; the one before it stays and has been seen.
  std::filesystem::remove(File());
  log_->Report(Information(u"four"));
  position = log_->Read(position, visit);
  EXPECT_EQ(log_->Read(position, visit), position);
  EXPECT_EQ(seen, (std::vector<std::u16string>{u"one", u"two", u"three", u"four"}));
}

class SeveralProcessesTest : public EventLogTest {
 protected:
  // Starts a process that writes `records` records, or without end for 0. Processes wait for the
  // gate, so that they write at the same time.
  pid_t StartWriter(EventLog& log, char16_t letter, std::size_t length, int records) {
    const pid_t child = fork();
    if (child != 0) return child;
    char ignored = 0;
    close(gate_[1]);
    if (read(gate_[0], &ignored, 1) != 0) _exit(1);
    const std::u16string text(length, letter);
    for (int i = 0; records == 0 || i < records; ++i)
      if (log.Report(Information(Utf16(std::to_string(i)) + u" " + text)) != 0) _exit(1);
    _exit(0);
  }
  void CloseGate() { ASSERT_EQ(pipe(gate_), 0); }
  void OpenGate() {
    close(gate_[0]);
    close(gate_[1]);
  }
  static void ExpectSuccess(const std::vector<pid_t>& children) {
    for (const pid_t child : children) {
      int status = -1;
      waitpid(child, &status, 0);
      EXPECT_EQ(status, 0);
    }
  }
  // The numbers of the records that each writer left; all of its text must be there.
  std::map<char16_t, std::vector<int>> NumbersByWriter(std::size_t length) const {
    std::map<char16_t, std::vector<int>> numbers;
    for (const EventRecord& record : Read()) {
      const std::u16string number = Number(record);
      const std::u16string text = record.strings[0].substr(number.size() + 1);
      EXPECT_EQ(text, std::u16string(length, text[0]));
      numbers[text[0]].push_back(std::stoi(Utf8ForDisplay(number)));
    }
    return numbers;
  }

  int gate_[2]{};
};

// Each record is larger than a page, so that a write in two steps would show.
TEST_F(SeveralProcessesTest, RecordsNeverMixAndAreAllThereInOrder) {
  constexpr int kRecords = 300;
  const struct {
    std::uint64_t size;
    bool all;  // Whether the log holds all of them: it goes on in a new file once, or often.
  } rows[] = {{16'000'000, true}, {200'000, false}};
  for (const auto& row : rows) {
    std::filesystem::remove_all(folder_ + "/events");
    CloseGate();
    const auto log = OpenEventLogFolder(folder_ + "/events", row.size);
    std::vector<pid_t> children;
    for (const char16_t letter : {u'a', u'b', u'c', u'd'})
      children.push_back(StartWriter(*log, letter, 9000, kRecords));
    OpenGate();
    ExpectSuccess(children);
    EXPECT_LE(SizeOfLog(), row.size);
    EXPECT_TRUE(std::filesystem::exists(folder_ + "/events/events.1.jsonl"));
    for (const auto& [letter, numbers] : NumbersByWriter(9000)) {
      EXPECT_TRUE(!row.all || numbers.size() == static_cast<std::size_t>(kRecords));
      EXPECT_EQ(numbers.back(), kRecords - 1);
      for (std::size_t i = 1; i < numbers.size(); ++i) EXPECT_EQ(numbers[i], numbers[i - 1] + 1);
    }
  }
}

TEST_F(SeveralProcessesTest, AKilledWriterTakesNoRecordOfOthersAlong) {
  constexpr int kRecords = 200;
  constexpr std::size_t kLength = 50'000;
  CloseGate();
  const auto log = OpenEventLogFolder(folder_ + "/events", 200'000'000);
  std::vector<pid_t> children;
  for (const char16_t letter : {u'a', u'b'})
    children.push_back(StartWriter(*log, letter, kLength, kRecords));
  const pid_t victim = StartWriter(*log, u'v', kLength, 0);
  OpenGate();
  // Some records of the victim are there, so that it is killed while it writes.
  EventPosition position;
  for (int seen = 0; seen < 5;)
    position =
        log->Read(position, [&](const EventRecord& e) { seen += e.strings[0].back() == u'v'; });
  EXPECT_EQ(kill(victim, SIGKILL), 0);
  waitpid(victim, nullptr, 0);
  ExpectSuccess(children);
  const auto numbers = NumbersByWriter(kLength);
  for (const auto& [letter, written] : numbers) {
    for (std::size_t i = 0; i < written.size(); ++i) EXPECT_EQ(written[i], static_cast<int>(i));
    EXPECT_TRUE(letter == u'v' || written.size() == static_cast<std::size_t>(kRecords));
  }
  EXPECT_EQ(numbers.size(), 3u);
}

}  // namespace
}  // namespace kelvarion::platform
