// Filling a slave against filling a mirror with svnsync, from the same master.
#include <filesystem>

#include "bench/history.h"
#include "bench/measures.h"
#include "ormu/slave_roles.h"
#include "ormu/synchronise.h"
#include "platform/text/encoding.h"
#include "repos/import.h"
#include "tests/support/dav_server.h"
#include "tests/support/test_home.h"

namespace kelvarion::bench {
namespace {

using testing::TestHome;
namespace fs = std::filesystem;

void FillSlave(const std::string& url, const std::string& slave) {
  fs::remove_all(slave);
  const svn::Pool pool = svn::Pool::Root();
  ormu::MasterSession master({"master.test", "history", {url, "", "", ""}},
                             {[] { return false; }, u""}, pool);
  ormu::MakeEmptySlave(master, slave);
  ormu::Synchronise(master, slave, master.Youngest(), nullptr);
}

void FillMirror(const std::string& url, const std::string& mirror) {
  fs::remove_all(mirror);
  Run({"svnadmin", "create", mirror});
  fs::create_symlink("/bin/true", mirror + "/hooks/pre-revprop-change");
  Run({"svnsync", "init", "-q", "file://" + mirror, url + "/history"});
  Run({"svnsync", "sync", "-q", "file://" + mirror});
}

void MeasureFrom(const std::string& url, const std::string& name, double aim, const TestHome& home,
                 std::vector<Row>& rows) {
  const std::string slave = home.folder() + "/slave";
  const std::string mirror = home.folder() + "/mirror";
  // Once: minutes of work do not need another round to be told apart.
  const Pair pair = MedianPair(
      0, [&] { FillSlave(url, slave); }, [&] { FillMirror(url, mirror); });
  rows.push_back(
      {.name = name, .against = "svnsync", .amounts = pair, .aim = aim, .judged = !Quick()});
}

}  // namespace

void MeasureReplication(std::vector<Row>& rows) {
  const TestHome home;
  const int revisions = Quick() ? 200 : 2000;
  const std::string dump = home.folder() + "/dump";
  WriteHistory(dump, revisions);
  repos::ImportDumpFile(home.context(), u"history", platform::Utf16ForDisplay(dump), nullptr,
                        nullptr);
  const std::string what = "synchronising " + std::to_string(revisions) + " revisions over ";
  MeasureFrom("file://" + home.root(), what + "file:", 0.3, home, rows);
  const testing::DavServer server(home.folder(), home.root());
  MeasureFrom(server.url(), what + "http:", 0.5, home, rows);
}

}  // namespace kelvarion::bench
