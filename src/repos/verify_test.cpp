#include "repos/verify.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <sstream>

#include "platform/text/encoding.h"
#include "repos/create.h"
#include "repos/repositories_for_test.h"
#include "repos/repository_store.h"
#include "repos/verify_workers.h"

namespace kelvarion::repos {
namespace {

using ::testing::HasSubstr;
using testing::ReadFile;
using testing::RunProcess;
using ::testing::StartsWith;
using testing::WriteFile;

// Everything that is told, one text each.
struct Notes final : IcVerifyRepositoryNotify {
  void MetadataStarted() override { texts.emplace_back("metadata"); }
  void MetadataVerified(std::int64_t revision) override {
    texts.push_back("structure " + std::to_string(revision));
  }
  void RevisionVerified(std::int64_t revision, std::int64_t first, std::int64_t last) override {
    texts.push_back(std::to_string(revision) + " of " + std::to_string(first) + ".." +
                    std::to_string(last));
  }
  void Warning(const std::u16string& text) override {
    texts.push_back("warning: " + platform::Utf8ForDisplay(text));
  }
  std::vector<std::string> texts;
};

class VerifyTest : public RepositoriesTest {
 protected:
  // `revisions` commits that each change one file.
  void Fill(const std::string& name, int revisions, const char* shard = "1000") {
    CreateRepository(context(), platform::Utf16ForDisplay(name));
    WriteFile(path(name + "/db/format"),
              std::string("8\nlayout sharded ") + shard + "\naddressing physical\n");
    std::string dump = "SVN-fs-dump-format-version: 2\n\n";
    for (int i = 1; i <= revisions; ++i) {
      const std::string text = "text of revision " + std::to_string(i) + "\n";
      const std::string length = std::to_string(text.size());
      dump += "Revision-number: " + std::to_string(i) +
              "\nProp-content-length: 10\nContent-length: 10\n\nPROPS-END\n\n" +
              "Node-path: file\nNode-kind: file\nNode-action: " + (i == 1 ? "add" : "change") +
              "\nText-content-length: " + length + "\nContent-length: " + length + "\n\n" + text +
              "\n\n";
    }
    WriteFile(home_.folder() + "/dump", dump);
    const auto loaded =
        RunProcess({"svnadmin", "load", "-q", path(name), "-F", home_.folder() + "/dump"});
    ASSERT_EQ(loaded.exit_code, 0) << loaded.all();
  }
  void Damage(const std::string& file) {
    const std::string native = path(file);
    std::filesystem::permissions(native, std::filesystem::perms::owner_write,
                                 std::filesystem::perm_options::add);
    std::string bytes = ReadFile(native);
    const auto at = bytes.find("text of revision");
    ASSERT_NE(at, std::string::npos);
    bytes[at] = 'T';
    WriteFile(native, bytes);
  }
  // Kills this process's verifiers.
  static void KillVerifiers() {
    std::istringstream children(
        ReadFile("/proc/self/task/" + std::to_string(getpid()) + "/children"));
    for (int pid; children >> pid;)
      if (ReadFile("/proc/" + std::to_string(pid) + "/comm").starts_with("kelvarion-verif"))
        kill(pid, SIGKILL);
  }
};

TEST_F(VerifyTest, ASoundRepositoryIsToldInTheOrderOfItsRevisions) {
  Fill("demo", 3);
  Notes notes;
  const VerifyResult result = VerifyRepository(context(), u"DEMO", &notes, nullptr);
  EXPECT_TRUE(result.success);
  EXPECT_EQ(result.message, u"");
  EXPECT_THAT(notes.texts, ::testing::ElementsAre("metadata", "0 of 0..3", "1 of 0..3", "2 of 0..3",
                                                  "3 of 0..3"));
  EXPECT_TRUE(VerifyRepository(context(), u"demo", nullptr, nullptr).success);
}

TEST_F(VerifyTest, TheFirstDamagedRevisionIsNamed) {
  Fill("demo", 6);
  Damage("demo/db/revs/0/5");
  Damage("demo/db/revs/0/3");
  Notes notes;
  const VerifyResult result = VerifyRepository(context(), u"demo", &notes, nullptr);
  EXPECT_FALSE(result.success);
  const std::string message = platform::Utf8ForDisplay(result.message);
  EXPECT_THAT(message, StartsWith("Error verifying revision 3.\n"));
  EXPECT_THAT(message, HasSubstr("Checksum mismatch"));
  EXPECT_EQ(notes.texts.back(), "2 of 0..6");
}

TEST_F(VerifyTest, WhatCannotBeOpenedIsAResultToo) {
  Fill("demo", 1);
  WriteFile(path("demo/db/format"), "99\n");
  std::filesystem::create_directories(path("folder"));
  const struct {
    const char16_t* name;
    const char* text;
  } rows[] = {{u"demo", "format '99'"}, {u"folder", "Can't open file"}, {u"none", "Can't open"}};
  for (const auto& row : rows) {
    const VerifyResult result = VerifyRepository(context(), row.name, nullptr, nullptr);
    EXPECT_FALSE(result.success);
    EXPECT_THAT(platform::Utf8ForDisplay(result.message), HasSubstr(row.text));
  }
}

TEST_F(VerifyTest, ACancellationIsAResultWithItsText) {
  Fill("demo", 3);
  int asked = 0;
  for (;; ++asked) {
    const CancelAt cancel(asked);
    const VerifyResult result = VerifyRepository(context(), u"demo", nullptr, &cancel);
    if (result.success) break;
    ASSERT_EQ(result.message, u"The repository verification has been cancelled.");
  }
  EXPECT_GT(asked, 3);
}

// One program each for two ranges at a time; what is told must not show it.
TEST_F(VerifyTest, WorkersTellWhatOneProgramTells) {
  Fill("demo", 6);
  const std::u16string folder = platform::Utf16ForDisplay(path("demo"));
  const std::vector<RevisionRange> ranges = {{0, 1}, {2, 3}, {4, 5}, {6, 6}};
  const svn::Pool& pool = context().root_pool();
  const auto alone = [&](Notes& notes) {
    LongOperation operation(nullptr, u"");
    try {
      RangeVerifier(folder, &notes, operation, pool).Verify({0, 6}, Checks::kAll);
      return VerifyResult{true, {}};
    } catch (const SvnException& fault) {
      return VerifyResult{false, fault.FullText()};
    }
  };
  for (const char* damaged : {"", "demo/db/revs/0/5", "demo/db/revs/0/3"}) {
    if (*damaged) Damage(damaged);
    Notes serial;
    Notes parallel;
    LongOperation operation(nullptr, u"");
    const VerifyResult expected = alone(serial);
    const auto result = VerifyByWorkers(folder, ranges, &parallel, operation);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->success, expected.success);
    EXPECT_EQ(result->message, expected.message);
    EXPECT_EQ(parallel.texts, serial.texts);
  }
  const CancelAt cancel(1);
  LongOperation operation(&cancel, kVerificationCancelled);
  EXPECT_THROW(VerifyByWorkers(folder, ranges, nullptr, operation), SvnException);
}

// Enough revisions for several ranges.
TEST_F(VerifyTest, PackedRevisionsAndDeadVerifiersAreToldAsOne) {
  Fill("demo", 34, "2");
  ASSERT_EQ(RunProcess({"svnadmin", "pack", "-q", path("demo")}).exit_code, 0);
  struct Killing final : IcCancelCallback {
    bool IsCancelled() const override {
      if (blocked) KillVerifiers();
      return false;
    }
    bool blocked = false;
  } killing;
  const struct {
    const char* what;
    const char* harm;     // Done in the folder of the revisions.
    const char* message;  // Empty for a sound one.
    std::ptrdiff_t told;  // Revisions; 0 for what depends on the moment.
  } rows[] = {
      {"sound", "true", "", 35},
      {"damaged", "chmod u+w 1.pack/pack && sed -i s/^text/Text/ 1.pack/pack",
       "Error verifying revision 2.\n", 2},
      // Whoever opens the pipe waits until it is killed.
      {"dead", "rm 0.pack/pack && mkfifo 0.pack/pack", "ended unexpectedly.", 0},
  };
  for (const auto& row : rows) {
    const auto harmed = RunProcess({"sh", "-c", "cd " + path("demo/db/revs") + " && " + row.harm});
    ASSERT_EQ(harmed.exit_code, 0) << harmed.all();
    killing.blocked = row.told == 0;
    Notes notes;
    const VerifyResult result = VerifyRepository(context(), u"demo", &notes, &killing);
    EXPECT_EQ(result.success, *row.message == '\0') << row.what;
    EXPECT_THAT(platform::Utf8ForDisplay(result.message), HasSubstr(row.message)) << row.what;
    if (row.told > 0) {
      const auto is_revision = [](const std::string& text) {
        return text.find(" of ") != std::string::npos;
      };
      EXPECT_EQ(std::ranges::count_if(notes.texts, is_revision), row.told) << row.what;
    }
  }
}

}  // namespace
}  // namespace kelvarion::repos
