#include "platform/event_log/event_log.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>

namespace kelvarion::platform {
namespace {

class EventLogTest : public testing::Test {
 protected:
  EventLogTest() {
    char pattern[] = "/tmp/kv-events-XXXXXX";
    folder_ = mkdtemp(pattern);
    log_ = OpenEventLogFolder(folder_ + "/events");
  }
  ~EventLogTest() override { std::filesystem::remove_all(folder_); }

  std::string File() const { return folder_ + "/events/events.jsonl"; }
  std::vector<EventRecord> Read(std::uint64_t offset = 0) const {
    std::vector<EventRecord> records;
    log_->Read(offset, [&](const EventRecord& record) { records.push_back(record); });
    return records;
  }

  std::string folder_;
  std::unique_ptr<EventLog> log_;
};

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
  EXPECT_EQ(log_->Report(Information(u"next")), ERROR_SUCCESS);

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
  struct stat status {};
  ASSERT_EQ(stat(File().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600u);
}

TEST_F(EventLogTest, DamagedTextDoesNotLoseTheRecord) {
  EXPECT_EQ(log_->Report(Information(u"a\xD800z")), ERROR_SUCCESS);
  ASSERT_EQ(Read().size(), 1u);
  EXPECT_EQ(Read()[0].strings[0], u"a\uFFFDz");
}

TEST_F(EventLogTest, AReaderFollowsTheLogAndWaitsForWholeRecords) {
  std::vector<std::u16string> seen;
  const auto visit = [&seen](const EventRecord& record) { seen.push_back(record.strings[0]); };
  std::uint64_t offset = log_->Read(0, visit);
  EXPECT_EQ(offset, 0u);
  log_->Report(Information(u"one"));
  offset = log_->Read(offset, visit);
  EXPECT_EQ(seen, (std::vector<std::u16string>{u"one"}));
  std::ofstream(File(), std::ios::app) << "{\"time_us\":1,";
  EXPECT_EQ(log_->Read(offset, visit), offset);
  // The record that was cut off is lost, the one after it is not, nor are lines of something else.
  log_->Report(Information(u"two"));
  std::ofstream(File(), std::ios::app) << "something else\n{\"time_us\":\"x\"}\n\n";
  log_->Report(Information(u"three"));
  offset = log_->Read(offset, visit);
  EXPECT_EQ(seen, (std::vector<std::u16string>{u"one", u"two", u"three"}));
  std::filesystem::rename(File(), File() + ".old");
  log_->Report(Information(u"four"));
  log_->Read(offset, visit);
  EXPECT_EQ(seen.back(), u"four");
}

TEST_F(EventLogTest, ALogThatCannotBeWrittenSaysSo) {
  const auto log = OpenEventLogFolder(folder_ + "/events");
  log->Report(Information(u"one"));
  std::filesystem::remove_all(folder_ + "/events");
  EXPECT_EQ(log->Report(Information(u"two")), ERROR_SUCCESS);
  EXPECT_EQ(Read().size(), 1u);
  std::ofstream(folder_ + "/file");
  EXPECT_EQ(OpenEventLogFolder(folder_ + "/file/events")->Report(Information(u"")),
            ERROR_PATH_NOT_FOUND);
}

// Each record is larger than a page, so that a write in two steps would show.
TEST_F(EventLogTest, RecordsOfSeveralProcessesNeverMix) {
  constexpr int kProcesses = 4;
  constexpr int kRecords = 500;
  // All wait for the end of a pipe, so that they write at the same time.
  int gate[2];
  ASSERT_EQ(pipe(gate), 0);
  std::vector<pid_t> children;
  for (int process = 0; process < kProcesses; ++process) {
    const pid_t child = fork();
    if (child == 0) {
      const std::u16string text(9000, static_cast<char16_t>(u'a' + process));
      char ignored = 0;
      close(gate[1]);
      if (read(gate[0], &ignored, 1) != 0) _exit(1);
      for (int i = 0; i < kRecords; ++i)
        if (log_->Report(Information(text)) != ERROR_SUCCESS) _exit(1);
      _exit(0);
    }
    children.push_back(child);
  }
  close(gate[1]);
  for (const pid_t child : children) {
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
  }
  close(gate[0]);
  std::map<std::u16string, int> counts;
  for (const EventRecord& record : Read()) ++counts[record.strings[0]];
  EXPECT_EQ(counts.size(), static_cast<std::size_t>(kProcesses));
  for (const auto& [text, count] : counts) EXPECT_EQ(count, kRecords) << text.size();
}

}  // namespace
}  // namespace kelvarion::platform
