// Real masters and slaves in a temporary folder, changed with the stock tools.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ormu/master_session.h"
#include "ormu/slave_roles.h"
#include "ormu/synchronise.h"
#include "platform/text/encoding.h"
#include "svn/error.h"
#include "tests/support/process.h"
#include "tests/support/temporary_folder.h"

namespace kelvarion::ormu {

// The code that the call fails with and all it says; 0 when it succeeds.
struct Failure {
  int code = 0;
  std::string text;
};

template <class Call>
Failure FailureOf(Call&& call) {
  try {
    call();
    return {};
  } catch (const SvnException& exception) {
    return {exception.code(), platform::Utf8ForDisplay(exception.FullText())};
  }
}

class ReplicationTest : public ::testing::Test {
 protected:
  using Words = std::vector<std::string>;

  std::string Path(const std::string& name) const { return folder_.native() + "/" + name; }
  std::string Url(const std::string& name) const { return "file://" + Path(name); }

  // What the stock program prints; a failure fails the test.
  static std::string Run(const Words& words) {
    const testing::ProcessResult result = testing::RunProcess(words);
    EXPECT_EQ(result.exit_code, 0) << ::testing::PrintToString(words) << "\n" << result.all();
    return result.out;
  }
  void Create(const std::string& name) const {
    Run({"svnadmin", "create", Path(name)});
    testing::ChildProcess({"ln", "-s", "/bin/true", Path(name + "/hooks/pre-revprop-change")})
        .Wait();
  }
  void Change(const std::string& name, Words actions) const {
    actions.insert(actions.begin(), {"svnmucc", "-U", Url(name), "-m", "a change"});
    Run(actions);
  }
  // Everything of a repository in the libraries' own words.
  std::string Dump(const std::string& name) const {
    return Run({"svnadmin", "dump", "-q", Path(name)});
  }

  Master MasterNamed(const std::string& name, const std::string& url = {}) const {
    return {"master.test", name, {url.empty() ? "file://" + folder_.native() : url, "", "", ""}};
  }
  MasterSession Connect(const std::string& name) const {
    return MasterSession(MasterNamed(name), {[] { return false; }, u"cancelled"}, pool_);
  }
  void MakeSlave(const std::string& master, const std::string& slave) const {
    MasterSession session = Connect(master);
    MakeEmptySlave(session, Path(slave));
  }
  void Sync(const std::string& master, const std::string& slave) const {
    MasterSession session = Connect(master);
    const std::int64_t youngest = session.Youngest();
    Synchronise(session, Path(slave), youngest, nullptr);
    SynchroniseProperties(session, Path(slave), 0, youngest);
  }

  testing::TemporaryFolder folder_;
  svn::Pool pool_ = svn::Pool::Root();
};

}  // namespace kelvarion::ormu
