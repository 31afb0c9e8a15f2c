// Work on whole repositories against Subversion's own programs.
#include <filesystem>
#include <stdexcept>

#include "bench/history.h"
#include "bench/measures.h"
#include "platform/text/encoding.h"
#include "repos/import.h"
#include "repos/maintenance.h"
#include "repos/repository_store.h"
#include "repos/verify.h"
#include "tests/support/test_home.h"

namespace kelvarion::bench {
namespace {

using testing::TestHome;
namespace fs = std::filesystem;

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

}  // namespace

void MeasureMaintenance(std::vector<Row>& rows) {
  const TestHome home;
  // As a server has it, which lets the web server's account in.
  Run({"setfacl", "-m", "u:33:rwx,d:u:33:rwx,d:o::-", home.root()});
  const int revisions = Quick() ? 200 : 2001;
  const std::string dump = home.folder() + "/dump";
  WriteHistory(dump, revisions);
  const std::string of = " of " + std::to_string(revisions) + " revisions";
  const Pair load = MeasureLoad(home, dump);
  rows.push_back(
      {"import of a dump" + of + " / svnadmin load", load.ours, load.theirs, 0.35, !Quick()});
  const Pair copy = MeasureCopy(home);
  rows.push_back(
      {"import of a repository" + of + " / svnadmin hotcopy", copy.ours, copy.theirs, 1, !Quick()});
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
  rows.push_back(
      {"verification" + of + " / svnadmin verify", verify.ours, verify.theirs, 0.55, !Quick()});
  const Pair measure = MedianPair(
      9, [&] { repos::MeasureRepository(home.context(), u"history"); },
      [&] {
        Run({"du", "-s", path});
      });
  rows.push_back({"measuring a repository" + of + " / du -s", measure.ours, measure.theirs, 1});
}

}  // namespace kelvarion::bench
