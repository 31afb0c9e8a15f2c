// Work on whole repositories against Subversion's own programs.
#include <stdexcept>

#include "bench/history.h"
#include "bench/measures.h"
#include "platform/text/encoding.h"
#include "repos/backup.h"
#include "repos/import.h"
#include "repos/maintenance.h"
#include "repos/repository_store.h"
#include "repos/verify.h"
#include "tests/support/test_home.h"

namespace kelvarion::bench {
namespace {

using testing::TestHome;

std::u16string Wide(const std::string& path) { return platform::Utf16ForDisplay(path); }

// The dump becomes the repository "history".
Pair MeasureLoad(const TestHome& home, const std::string& dump) {
  const std::string theirs = home.folder() + "/theirs";
  return MedianPair(
      0, [&] { repos::ImportDumpFile(home.context(), u"history", Wide(dump), nullptr, nullptr); },
      [&] {
        Run({"svnadmin", "create", theirs});
        Run({"svnadmin", "load", "-q", "-F", dump, theirs});
      });
}

// Each call makes a copy of its own: for some seconds ext4 makes files slowly where others have
// been removed.
Pair MeasureCopy(const TestHome& home) {
  const std::string source = home.root() + "/history";
  int ours = 0;
  int theirs = 0;
  return MedianPair(
      5,
      [&] {
        repos::ImportRepository(home.context(), Wide("copy" + std::to_string(ours++)), Wide(source),
                                nullptr, nullptr);
      },
      [&] {
        Run({"svnadmin", "hotcopy", "-q", source,
             home.folder() + "/copy" + std::to_string(theirs++)});
      });
}

// What was copied is read back by both.
Pair MeasureBackup(const TestHome& home) {
  const std::string ours = home.folder() + "/backup";
  const std::string theirs = home.folder() + "/their-backup";
  int ours_next = 0;
  int theirs_next = 0;
  return MedianPair(
      3,
      [&] {
        repos::BackupRepository(home.context(), u"history",
                                Wide(ours + std::to_string(ours_next++)), {}, nullptr);
      },
      [&] {
        const std::string copy = theirs + std::to_string(theirs_next++);
        Run({"svnadmin", "hotcopy", "-q", home.root() + "/history", copy});
        Run({"svnadmin", "verify", "-q", copy});
      });
}

}  // namespace

void MeasureMaintenance(std::vector<Row>& rows) {
  const TestHome home;
  // As a server has it, which lets the web server's account in.
  Run({"setfacl", "-m", "u:33:rwx,d:u:33:rwx,d:o::-", home.root()});
  const int revisions = Quick() ? 200 : 2001;
  const std::string dump = home.folder() + "/dump";
  WriteHistory(dump, revisions);
  const std::string of = " of " + std::to_string(revisions) + " revisions";
  rows.push_back({.name = "import of a dump" + of,
                  .against = "svnadmin load",
                  .amounts = MeasureLoad(home, dump),
                  .aim = 0.35,
                  .judged = !Quick()});
  rows.push_back({.name = "import of a repository" + of,
                  .against = "svnadmin hotcopy",
                  .amounts = MeasureCopy(home),
                  .aim = 1,
                  .judged = !Quick()});
  rows.push_back({.name = "backup" + of,
                  .against = "svnadmin hotcopy, then verify",
                  .amounts = MeasureBackup(home),
                  .aim = 0.7,
                  .judged = !Quick()});
  const std::string path = home.root() + "/history";
  const Pair verify = MedianPair(
      3,
      [&] {
        if (!repos::VerifyRepository(home.context(), u"history", nullptr, nullptr).success)
          throw std::runtime_error("the loaded repository is damaged");
      },
      [&] {
        Run({"svnadmin", "verify", "-q", path});
      });
  rows.push_back({.name = "verification" + of,
                  .against = "svnadmin verify",
                  .amounts = verify,
                  .aim = 0.55,
                  .judged = !Quick()});
  const Pair measure = MedianPair(
      9, [&] { repos::MeasureRepository(home.context(), u"history"); },
      [&] {
        Run({"du", "-s", path});
      });
  rows.push_back({"measuring a repository" + of, "du -s", measure, 1});
}

}  // namespace kelvarion::bench
