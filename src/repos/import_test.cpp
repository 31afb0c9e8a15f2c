// New repositories from existing ones and from dump files.
#include "repos/import.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <svn_error_codes.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "access/authz_files.h"
#include "platform/files/files.h"
#include "repos/create.h"
#include "repos/repositories_for_test.h"
#include "repos/repository_store.h"
#include "svn/error.h"

namespace kelvarion::repos {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::ReadFile;
using testing::RunProcess;
using testing::WriteFile;
namespace fs = std::filesystem;

constexpr const char* kUuid = "5f2b8a50-9d0a-4d3b-8f0e-2f6d1e0a7c11";
constexpr int kRevisions = 4;

struct DumpNotes final : IcImportDumpFileNotify {
  void BytesRead(std::uint64_t bytes, std::uint64_t file_size) override {
    EXPECT_GE(bytes, read);
    EXPECT_EQ(bytes == file_size, revisions.size() == kRevisions);
    read = bytes;
    size = file_size;
    if (throw_at == 0) throw SimpleException(u"enough");
  }
  void RevisionCommitted(std::int64_t revision) override {
    revisions.push_back(revision);
    if (revision == throw_at) throw SimpleException(u"enough");
  }
  void Warning(const std::u16string& text) override { warnings.push_back(text); }

  std::uint64_t read = 0;
  std::uint64_t size = 0;
  std::int64_t throw_at = -1;
  std::vector<std::int64_t> revisions;
  std::vector<std::u16string> warnings;
};

struct CopyNotes final : IcImportRepositoryNotify {
  void RevisionsCopied(std::int64_t revision, std::int64_t all) override {
    last = revision;
    total = all;
  }
  std::int64_t last = -1;
  std::int64_t total = -1;
};

struct DieAt final : CancelAt {
  using CancelAt::CancelAt;
  bool IsCancelled() const override {
    return CancelAt::IsCancelled() && kill(getpid(), SIGKILL) == 0;
  }
};

class ImportTest : public RepositoriesTest {
 protected:
  ImportTest() {
    fs::create_directories(outside(""));
    Shell("svnadmin create source && svnadmin setuuid source " + std::string(kUuid) +
          " && sed -i s/1000/2/ source/db/format && echo one > file && URL=file://$PWD/source &&"
          " svnmucc -m one mkdir $URL/trunk put file $URL/trunk/a &&"
          " svnmucc -m two cp 1 $URL/trunk $URL/branch propset color red $URL/trunk/a &&"
          " echo two > file && svnmucc -m three put file $URL/trunk/a &&"
          " svnmucc -m four rm $URL/branch &&"
          " svnadmin dump -q source > plain && gzip -k plain &&"
          " svnadmin dump -q --deltas source > deltas &&"
          " sed 's/^SVN-fs-dump-format-version: 2/SVN-fs-dump-format-version: 1/' plain > first");
  }

  std::string outside(const std::string& name) { return home_.folder() + "/outside/" + name; }
  void Shell(const std::string& commands) {
    Run({"sh", "-c", "cd " + outside("") + " && { " + commands + "; }"});
  }
  std::u16string Source(const std::string& name) { return Wide(outside(name)); }
  // The dump of the source, but for the checksums that its reader may skip.
  std::string DumpOf(const std::string& repository) {
    return Run({"svnadmin", "dump", "-q", repository});
  }
  // Code and text of what the call throws; code 0 for an exception that is not the libraries'.
  template <class Call>
  static std::pair<int, std::string> CodeAndText(Call&& call) {
    try {
      call();
    } catch (const SvnException& exception) {
      return {exception.code(), platform::Utf8ForDisplay(exception.FullText())};
    } catch (const Exception& exception) {
      return {0, platform::Utf8ForDisplay(exception.Message())};
    }
    return {0, ""};
  }

  void Import(const ServerContext& with, const std::u16string& name, bool dump,
              const IcCancelCallback* cancel) {
    if (dump)
      ImportDumpFile(with, name, Source("plain.gz"), nullptr, cancel);
    else
      ImportRepository(with, name, Source("source"), nullptr, cancel);
  }
  // The status of a process that does it and dies at the nth question, if it comes so far.
  int ImportAndDie(bool dump, int nth) {
    const pid_t child = fork();
    if (child == 0) {
      std::u16string error;
      const auto machine = platform::OpenMachine(home_.folder(), error);
      RegistryAccessor configuration(*machine->registry);
      testing::CollectedEvents events;
      const DieAt cancel(nth);
      Import(ServerContext(configuration, events, *machine), u"killed", dump, &cancel);
      _exit(0);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return status;
  }
};

TEST_F(ImportTest, DumpsOfEveryFormBecomeTheRepositoryTheyCameFrom) {
  // Joined compressed files are one file to gzip.
  Shell("head -c 500 plain | gzip > joined && tail -c +501 plain | gzip >> joined");
  const std::string original = DumpOf(outside("source"));
  for (const char* dump : {"plain", "plain.gz", "deltas", "first", "joined"}) {
    DumpNotes notes;
    ImportDumpFile(context(), u"demo", Source(dump), &notes, nullptr);
    EXPECT_EQ(DumpOf(path("demo")), original) << dump;
    EXPECT_EQ(notes.read, notes.size) << dump;
    EXPECT_EQ(notes.size, fs::file_size(outside(dump)));
    EXPECT_THAT(notes.revisions, ElementsAre(1, 2, 3, 4)) << dump;
    EXPECT_THAT(notes.warnings, IsEmpty());
    EXPECT_EQ(RunProcess({"svnadmin", "verify", "-q", path("demo")}).exit_code, 0);
    EXPECT_EQ(ReadRepository(context(), u"demo").log_addressing, 0u);
    for (const char* rules : {"/conf/Kelvarion-WinAuthz.ini", "/conf/Kelvarion-SvnAuthz.ini"})
      EXPECT_EQ(ReadFile(path("demo") + rules), access::kAuthorizationHeader);
    EXPECT_THAT(Root(), ElementsAre("demo"));
    EXPECT_TRUE(fs::is_directory(fs::symlink_status(path("demo/db/transactions"))));
    fs::remove_all(path("demo"));
  }
}

TEST_F(ImportTest, PropertiesThatCommitsWouldRefuseAreLoaded) {
  Shell(
      "printf 'K 7\\nsvn:log\\nV 7\\na\\r\\nb\\rcd\\nPROPS-END\\n' > props &&"
      "printf 'SVN-fs-dump-format-version: 2\\n\\nRevision-number: 1\\n"
      "Prop-content-length: 34\\nContent-length: 34\\n\\n' > odd && cat props >> odd &&"
      "printf '\\n' >> odd");
  ImportDumpFile(context(), u"odd", Source("odd"), nullptr, nullptr);
  const auto log = RunProcess({"svnlook", "propget", "--revprop", path("odd"), "svn:log"});
  EXPECT_EQ(log.out, "a\r\nb\rcd");
  // A dump that has no UUID makes repositories of their own.
  ImportDumpFile(context(), u"twin", Source("odd"), nullptr, nullptr);
  EXPECT_NE(ReadRepository(context(), u"odd").uuid, ReadRepository(context(), u"twin").uuid);
}

TEST_F(ImportTest, WhatIsNoWholeDumpEndsWithItsErrorAndNoTrace) {
  Shell(
      "head -c 400 plain.gz > short.gz &&"
      "printf '\\037\\213' > two.gz && : > empty && mkfifo pipe && mkdir folder &&"
      "{ head -c 300 plain.gz; printf 'garbagegarbage'; tail -c +315 plain.gz; } > bad.gz &&"
      "head -c 100000 /dev/zero | gzip > zeros.gz &&"
      "{ printf 'SVN-fs-dump-format-version: 2\\n\\n'; head -c 5000000 /dev/zero; } > line &&"
      "printf 'SVN-fs-dump-format-version: 2\\n\\nRevision-number: 1\\n"
      "Prop-content-length: 4000000100\\nContent-length: 4000000100\\n\\n"
      "K 1\\na\\nV 4000000000\\n' > property &&"
      "printf 'SVN-fs-dump-format-version: 2\\n\\nNode-path: a\\nNode-kind: dir\\n"
      "Node-action: add\\n\\n\\n' > early &&"
      "printf 'SVN-fs-dump-format-version: 2\\n\\nRevision-number: 1\\nText-content-length: 4\\n"
      "Content-length: 4\\n\\nabcd\\n' > stray &&"
      "cp plain sparse && truncate -s 10T sparse");
  const struct {
    const char* dump;
    int code;
    const char* text;
  } rows[] = {
      {"short.gz", SVN_ERR_STREAM_UNEXPECTED_EOF, ""},
      {"two.gz", SVN_ERR_STREAM_UNEXPECTED_EOF, ""},
      {"bad.gz", SVN_ERR_STREAM_MALFORMED_DATA, "zlib (inflate): corrupt data"},
      {"empty", SVN_ERR_INCOMPLETE_DATA, ""},
      {"zeros.gz", SVN_ERR_STREAM_MALFORMED_DATA, "Malformed dumpfile header"},
      {"line", SVN_ERR_STREAM_MALFORMED_DATA, "a line of more than 1048576 bytes"},
      {"sparse", SVN_ERR_STREAM_MALFORMED_DATA, "a line of more than 1048576 bytes"},
      {"property", SVN_ERR_STREAM_MALFORMED_DATA, "property of more than 67108864 bytes"},
      {"early", SVN_ERR_STREAM_MALFORMED_DATA, "a node before its first revision"},
      {"stray", SVN_ERR_STREAM_MALFORMED_DATA, "a text that belongs to no node"},
      {"folder", SVN_ERR_BAD_FILENAME, "is not a file"},
      {"pipe", SVN_ERR_BAD_FILENAME, "is not a file"},
      {"vanished", ENOENT, "Can't open file"},
  };
  for (const auto& row : rows) {
    DumpNotes notes;
    const auto [code, text] =
        CodeAndText([&] { ImportDumpFile(context(), u"demo", Source(row.dump), &notes, nullptr); });
    EXPECT_EQ(code, row.code) << row.dump << ": " << text;
    EXPECT_THAT(text, HasSubstr(row.text)) << row.dump;
    EXPECT_THAT(Root(), IsEmpty()) << row.dump;
    // More than there is room for.
    EXPECT_EQ(notes.warnings.size(), row.dump == std::string("sparse") ? 1u : 0u) << row.dump;
  }
}

TEST_F(ImportTest, TakenAndUnfitNamesAndRelativePathsAreRefusedBeforeAnythingIsRead) {
  fs::create_directories(path("empty"));
  CreateRepository(context(), u"Full");
  const struct {
    std::u16string name;
    int code;
    const char* text;
  } rows[] = {
      {u"empty", EEXIST, "Can't create directory '"},
      {u"Full", EEXIST, "Can't create directory '"},
      {u"FULL", 0, "Repository with the name 'Full' already exists."},
      {u"a/b", 0, "separator"},
  };
  for (const auto& row : rows) {
    for (const bool dump : {true, false}) {
      const auto [code, text] = CodeAndText([&] { Import(context(), row.name, dump, nullptr); });
      EXPECT_EQ(code, row.code);
      EXPECT_THAT(text, HasSubstr(row.text));
    }
  }
  EXPECT_TRUE(fs::is_empty(path("empty")));
  const std::string relative = "'plain' is not an absolute or a network path.";
  EXPECT_EQ(Failure([&] { ImportDumpFile(context(), u"new", u"plain", nullptr, nullptr); }),
            relative);
  EXPECT_EQ(Failure([&] { ImportRepository(context(), u"new", u"plain", nullptr, nullptr); }),
            relative);
}

TEST_F(ImportTest, ACopyIsWholeAndKeepsWhatItHas) {
  Shell(
      "echo '# rules' > source/conf/Kelvarion-SvnAuthz.ini && echo hook > source/hooks/mine.sh &&"
      "svnadmin pack -q source");
  CopyNotes notes;
  ImportRepository(context(), u"copy", Source("source"), &notes, nullptr);
  EXPECT_EQ(DumpOf(path("copy")), DumpOf(outside("source")));
  EXPECT_EQ(notes.last, kRevisions);
  EXPECT_EQ(notes.total, kRevisions + 1);
  EXPECT_EQ(ReadFile(path("copy/conf/Kelvarion-SvnAuthz.ini")), "# rules\n");
  EXPECT_EQ(ReadFile(path("copy/conf/Kelvarion-WinAuthz.ini")), access::kAuthorizationHeader);
  EXPECT_EQ(ReadFile(path("copy/hooks/mine.sh")), "hook\n");
  for (const char* folder : {"", "/revs/2", "/revprops/2"}) {
    const auto mode = [&](const std::string& repository) {
      return fs::status(repository + "/db" + folder).permissions();
    };
    EXPECT_EQ(mode(path("copy")), mode(outside("source"))) << folder;
  }
  Shell("echo broken > source/db/fs-type");
  EXPECT_EQ(CodeAndText([&] { Import(context(), u"no", false, nullptr); }).first,
            SVN_ERR_FS_UNKNOWN_FS_TYPE);
  EXPECT_THAT(Root(), ElementsAre("copy"));
}

// The mode of a copied file would shut out those whom the folder of the repositories lets in.
TEST_F(ImportTest, CopiedFilesAreOpenToWhomNewFilesAreOpenTo) {
  ASSERT_EQ(RunProcess({"setfacl", "-m", "u:4711:rwx,d:u:4711:rwx,d:o::-", home_.root()}).exit_code,
            0);
  Shell("chmod 0755 source/hooks/*.tmpl && chmod 0600 source/conf/passwd");
  ImportRepository(context(), u"copy", Source("source"), nullptr, nullptr);
  const struct {
    const char* file;
    const char* effective;
  } rows[] = {{"db", "rwx"},
              {"db/revs/0", "rwx"},
              {"db/current", "rw-"},
              {"db/write-lock", "rw-"},
              {"conf/passwd", "rw-"},
              {"db/revs/0/1", "r--"},
              {"hooks/post-commit.tmpl", "rwx"}};
  for (const auto& row : rows) {
    const auto acl = RunProcess({"getfacl", "-acpnE", path("copy/" + std::string(row.file))}).out;
    const auto all = RunProcess({"getfacl", "-acpne", path("copy/" + std::string(row.file))}).out;
    EXPECT_THAT(all, HasSubstr("#effective:" + std::string(row.effective))) << row.file << all;
    EXPECT_THAT(acl, HasSubstr("other::---")) << row.file;
  }
}

// Any question may be the one that is answered with yes.
TEST_F(ImportTest, ACancelledImportLeavesNothing) {
  for (const bool dump : {true, false}) {
    int asked = 0;
    for (;; asked += 2) {
      const CancelAt cancel(asked);
      const std::string failure = Failure([&] { Import(context(), u"demo", dump, &cancel); });
      if (failure.empty()) break;
      EXPECT_EQ(failure, "Repository import has been cancelled.");
      ASSERT_THAT(Root(), IsEmpty());
    }
    EXPECT_GT(asked, 3);
    EXPECT_THAT(Root(), ElementsAre("demo"));
    fs::remove_all(path("demo"));
  }
}

// What is left is out of sight, and of several killed ones never more than of the last.
TEST_F(ImportTest, WhatAKilledImportLeavesGoesWithTheNext) {
  const fs::path memory = platform::NativePath(platform::MemoryFolder());
  for (const bool dump : {true, false}) {
    std::string left;
    int nth = 0;
    for (;; nth += 3) {
      const int status = ImportAndDie(dump, nth);
      if (WIFEXITED(status) && WEXITSTATUS(status) == 0) break;
      ASSERT_TRUE(WIFSIGNALED(status)) << nth;
      ASSERT_THAT(Root(), ElementsAre(".kelvarion")) << nth;
      EXPECT_FALSE(fs::exists(memory / ("kelvarion-" + left))) << nth;
      const fs::directory_iterator folders(path(".kelvarion"));
      ASSERT_EQ(std::distance(begin(folders), end(folders)), 1) << nth;
      left = fs::directory_iterator(path(".kelvarion"))->path().filename();
    }
    EXPECT_GT(nth, 6);
    EXPECT_FALSE(fs::exists(memory / ("kelvarion-" + left)));
    EXPECT_THAT(Root(), ElementsAre("killed"));
    EXPECT_EQ(DumpOf(path("killed")), DumpOf(outside("source")));
    fs::remove_all(path("killed"));
  }
}

TEST_F(ImportTest, WhatANotificationThrowsEndsTheImport) {
  for (const int at : {0, 2}) {
    DumpNotes notes;
    notes.throw_at = at;
    EXPECT_EQ(
        Failure([&] { ImportDumpFile(context(), u"demo", Source("plain"), &notes, nullptr); }),
        "enough");
    EXPECT_EQ(notes.revisions.size(), static_cast<std::size_t>(at));
    EXPECT_THAT(Root(), IsEmpty());
  }
}

}  // namespace
}  // namespace kelvarion::repos
