#include "repos/verify.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "platform/text/encoding.h"
#include "repos/create.h"
#include "repos/repository_store.h"
#include "repos/verify_workers.h"
#include "tests/support/process.h"
#include "tests/support/test_home.h"

namespace kelvarion::repos {
namespace {

using ::testing::HasSubstr;
using testing::ReadFile;
using testing::RunProcess;
using ::testing::StartsWith;
using testing::WriteFile;

// Everything that is told, one text each.
struct Notes final : IcVerifyRepositoryNotify {
  void MetadataStarted() override { texts.push_back("metadata"); }
  void MetadataVerified(std::int64_t revision) override {
    EXPECT_GE(revision, structure);
    structure = revision;
  }
  void RevisionVerified(std::int64_t revision, std::int64_t first, std::int64_t last) override {
    texts.push_back(std::to_string(revision) + " of " + std::to_string(first) + ".." +
                    std::to_string(last));
  }
  void Warning(const std::u16string& text) override {
    texts.push_back("warning: " + platform::Utf8ForDisplay(text));
  }
  std::int64_t structure = -1;
  std::vector<std::string> texts;
};

struct CancelAt final : IcCancelCallback {
  explicit CancelAt(int nth) : left(nth) {}
  bool IsCancelled() const override { return left-- <= 0; }
  mutable int left;
};

class VerifyTest : public ::testing::Test {
 protected:
  // `revisions` commits that each change one file.
  void Fill(const std::string& name, int revisions) {
    CreateRepository(context(), platform::Utf16ForDisplay(name));
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
  const ServerContext& context() { return home_.context(); }
  std::string path(const std::string& name) { return home_.root() + "/" + name; }

  testing::TestHome home_;
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
      VerifyRange(folder, {0, 6}, {0, 6}, &notes, operation, pool);
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
    const auto result = VerifyByWorkers(folder, ranges, 2, &parallel, operation);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->success, expected.success);
    EXPECT_EQ(result->message, expected.message);
    EXPECT_EQ(parallel.texts, serial.texts);
  }
  const CancelAt cancel(1);
  LongOperation operation(&cancel, kVerificationCancelled);
  EXPECT_THROW(VerifyByWorkers(folder, ranges, 2, nullptr, operation), SvnException);
}

}  // namespace
}  // namespace kelvarion::repos
