// A server's name in the first line, then what is known of how to reach it.
#include <filesystem>

#include "errors/exception.h"
#include "fuzz/fuzz.h"
#include "ormu/trust.h"
#include "svn/pool.h"

using namespace kelvarion;
using namespace kelvarion::ormu;

void kelvarion::fuzz::Target(std::string_view input) {
  static const testing::TemporaryFolder& home = *new testing::TemporaryFolder;
  svn::Initialize();
  const std::string_view server = fuzz::TakeLine(input);
  const std::string masters = home.native() + "/replication/masters";
  std::filesystem::create_directories(masters);
  try {
    const std::string name = CanonicalServer(server);
    fuzz::Expect(CanonicalServer(name) == name, "a server has one name");
    fuzz::Expect(name.find('/') == name.npos, "the name stays in its folder");
    fuzz::WriteFile(masters + "/" + name + ".json", input);
    const auto access = FindMaster(home.native(), server);
    TrustMaster(home.native(), server, access.value());
    fuzz::Expect(FindMaster(home.native(), name) == access, "what is known survives being written");
  } catch (const Exception&) {
  }
  for (const std::string& name : ListTrustedMasters(home.native()))
    fuzz::Expect(ForgetMaster(home.native(), name), "a listed server can be forgotten");
}
