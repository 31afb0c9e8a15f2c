// Rules under many writers, and under writers that die.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <optional>
#include <thread>

#include "access/authz_files.h"
#include "access/permission_model.h"
#include "svn/repository.h"
#include "tests/support/test_home.h"

namespace kelvarion::access {
namespace {

// A list long enough that writing it takes more than one moment.
PermissionList ManyRules(AccessLevel access) {
  PermissionList rules;
  for (int i = 0; i < 2000; ++i) rules.push_back({Account::User(Format(u"u%d", i)), access});
  return rules;
}

class ConcurrencyTest : public ::testing::Test {
 protected:
  ConcurrencyTest() {
    home_.emplace(folder_);
    svn::Pool pool(home_->context().root_pool());
    svn::CreateRepository(RepositoryFolder(home_->context(), u"r"), pool);
  }

  // Runs the body in a process of its own, which opens the home anew.
  pid_t Fork(const std::function<void(const ServerContext&)>& body) {
    home_.reset();
    const pid_t child = fork();
    if (child != 0) return child;
    int status = 0;
    try {
      const testing::TestHome home(folder_);
      body(home.context());
    } catch (...) {
      status = 1;
    }
    _exit(status);
  }
  const ServerContext& Reopen() { return home_.emplace(folder_).context(); }

  testing::TemporaryFolder folder_;
  std::optional<testing::TestHome> home_;
};

constexpr int kWriterProcesses = 4;
constexpr int kWriters = 16;  // Threads in those processes, half of them on the server's rules.
constexpr int kAdds = 130;
constexpr int kKept = 10;  // What a writer added last and does not remove again.

Account OfWriter(int writer, int i) {
  return Account::Windows(Format(u"S-1-5-21-7-7-%d-%d", writer, i));
}

RuleScope ScopeOf(int writer) {
  if (writer % 2 == 1) return std::nullopt;
  return RepositoryPath{u"r", u"/"};
}

// Makes 250 changes, none of which may be undone by somebody else's; says how many were not there
// any more.
int AddAndRemove(const ServerContext& context, int writer) {
  const RuleScope scope = ScopeOf(writer);
  int lost = 0;
  for (int i = 0; i < kAdds; ++i) {
    lost +=
        !AddPermission(context, scope, OfWriter(writer, i), AccessLevel::ReadOnly, Overwrite::kNo);
    if (i >= kKept) lost += !RemovePermission(context, scope, OfWriter(writer, i - kKept));
  }
  return lost;
}

void RunWriters(const ServerContext& context, int process) {
  std::atomic<int> lost{0};
  std::vector<std::thread> threads;
  for (int writer = process; writer < kWriters; writer += kWriterProcesses)
    threads.emplace_back([&, writer] { lost += AddAndRemove(context, writer); });
  for (std::thread& thread : threads) thread.join();
  if (lost != 0) throw std::runtime_error("changes were lost");
}

bool HasEnded(pid_t child) {
  siginfo_t state{};
  return waitid(P_PID, static_cast<id_t>(child), &state, WEXITED | WNOHANG | WNOWAIT) == 0 &&
         state.si_pid == child;
}

// Another writer is killed again and again meanwhile; it takes nobody's change with it.
TEST_F(ConcurrencyTest, SixteenWritersKeepAllOfTheirFourThousandChanges) {
  home_->configuration().SetUseWindowsAuth(true);
  std::vector<pid_t> children;
  for (int process = 0; process < kWriterProcesses; ++process)
    children.push_back(Fork([=](const ServerContext& context) { RunWriters(context, process); }));
  const Account victim = Account::Windows(u"S-1-5-18");
  int deaths = 0;
  for (; !HasEnded(children.front()); ++deaths) {
    const pid_t child = Fork([&](const ServerContext& context) {
      for (int i = 0;; ++i)
        AddPermission(context, ScopeOf(i), victim, AccessLevel::ReadWrite, Overwrite::kYes);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50 + deaths * 7 % 40));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
  }
  for (const pid_t child : children) {
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
  }
  const ServerContext& context = Reopen();
  for (const int scope : {0, 1}) {
    PermissionList rules =
        scope == 0 ? GetPathPermissions(context, *ScopeOf(0)) : GetGlobalPermissions(context);
    std::erase_if(rules, [&](const PermissionEntry& entry) { return entry.account == victim; });
    EXPECT_EQ(rules.size(), kWriters / 2 * kKept + 0u);
    for (int writer = scope; writer < kWriters; writer += 2) {
      for (int i = kAdds - kKept; i < kAdds; ++i) {
        const PermissionEntry kept{OfWriter(writer, i), AccessLevel::ReadOnly};
        EXPECT_EQ(std::count(rules.begin(), rules.end(), kept), 1);
      }
    }
  }
  EXPECT_GT(deaths, 3);
}

TEST_F(ConcurrencyTest, ReadersSeeTheOldOrTheNewRulesWhileTheyAreRewritten) {
  const ServerContext& context = home_->context();
  const PermissionList lists[] = {ManyRules(AccessLevel::ReadOnly),
                                  ManyRules(AccessLevel::ReadWrite)};
  SetPathPermissions(context, {u"r", u"/"}, lists[1], ResetChildren::kNo);
  std::atomic<bool> stop{false};
  std::thread reader([&] {
    while (!stop) {
      const PermissionList rules = GetPathPermissions(context, {u"r", u"/"});
      ASSERT_EQ(rules.size(), lists[0].size());
      ASSERT_EQ(rules.front().access, rules.back().access);
    }
  });
  for (int i = 0; i < 30; ++i) {
    SetPathPermissions(context, {u"r", u"/"}, lists[i % 2], ResetChildren::kNo);
  }
  stop = true;
  reader.join();
}

}  // namespace
}  // namespace kelvarion::access
