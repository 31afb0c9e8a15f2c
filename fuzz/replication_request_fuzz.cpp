// Requests of the replication service: none leads out of the repositories root, and the error that
// a refused one gets is the one that its client reads.
#include <filesystem>
#include <set>

#include "fuzz/fuzz.h"
#include "ormu/boundary.h"
#include "ormu/service/requests.h"
#include "platform/files/files.h"
#include "svn/replica_role.h"
#include "tests/support/test_home.h"

using namespace kelvarion;
using namespace kelvarion::ormu;

namespace {

namespace fs = std::filesystem;

struct Home {
  testing::TestHome home;
  std::atomic<bool> stopping = false;
  ServiceLog log{home.folder() + "/service.log", *home.machine()->event_log};
  ServiceParts parts{home.folder(), log, stopping};
  Followers followers{parts, [this] { return platform::PathFromNative(home.root()); }};
  Requests requests{parts, followers, [this] { return platform::PathFromNative(home.root()); }};
  // A folder that says it is a slave, beside one that says it is a master: no more is looked at
  // before the master's server is asked for, which nobody trusts.
  Home(const Home&) = delete;
  Home() { Restore(); }

  void Restore() const {
    const svn::Pool pool = svn::Pool::Root();
    for (const char* name : {"slave", "master"}) {
      const std::string folder = home.root() + "/" + name;
      if (fs::exists(folder + "/ormu.conf")) continue;
      fs::create_directories(folder + "/locks");
      svn::WriteReplicaRole(folder, {name == std::string("master"), false, "m", "r"}, pool);
    }
  }
  // What lies outside of the root and the event log.
  std::set<std::string> Outside() const {
    std::set<std::string> names;
    for (fs::recursive_directory_iterator each(home.folder()), end; each != end; ++each) {
      const std::string path = each->path();
      if (path == home.root() || path.ends_with("/events")) each.disable_recursion_pending();
      names.insert(path);
    }
    return names;
  }
};

}  // namespace

void kelvarion::fuzz::Target(std::string_view bytes) {
  static const Home& home = *new Home;
  static const std::set<std::string> outside = home.Outside();
  const svn::Cancellation cancellation{[] { return false; }, u"never"};
  svn_error_t* const error = AtBoundary([&] {
    const WireJson request = WireJson::parse(bytes);
    home.requests.Answer(request, cancellation)
        .dump(-1, ' ', false, WireJson::error_handler_t::replace);
  });
  if (error) {
    const SvnException failure(error);
    const std::string sent =
        ChainToJson(failure.chain()).dump(-1, ' ', false, WireJson::error_handler_t::replace);
    const SvnException read(ChainFromJson(WireJson::parse(sent)));
    fuzz::Expect(read.code() == failure.code(), "an error survives being sent");
  }
  fuzz::Expect(home.Outside() == outside, "nothing changes outside of the root");
  home.Restore();
}
