#include "platform/authn/login_service.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <thread>

#include "tests/support/temporary_folder.h"

namespace kelvarion::platform {
namespace {

// The texts of all records.
std::vector<std::u16string> Events(const testing::TemporaryFolder& log) {
  std::vector<std::u16string> texts;
  OpenEventLogFolder(log.native())->Read({}, [&](const EventRecord& record) {
    texts.push_back(record.strings.front());
  });
  return texts;
}

// A service whose checks leave a line in a file and do what the password says.
class LoginServiceTest : public ::testing::Test {
 protected:
  LoginServiceTest() {
    int ends[2];
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
    ask_ = Descriptor(ends[0]);
    service_ = std::make_unique<LoginService>(
        Descriptor(ends[1]), [this](const LoginRequest& request) { return Check(request); },
        OpenEventLogFolder(log_.native()));
    thread_ = std::thread([this] { service_->Run(); });
  }
  ~LoginServiceTest() override { End(); }

  void End() {
    ask_ = Descriptor();
    if (thread_.joinable()) thread_.join();
  }

  // Where the answer to the question arrives.
  Descriptor Ask(const std::string& name, const std::string& password, const char* remember = "60",
                 const char* client = "192.0.2.1") const {
    std::string text;
    for (const std::string& field : {name, password, std::string(client), std::string()})
      text += field + '\0';
    return AskText(text + remember);
  }
  Descriptor AskText(const std::string& text) const {
    int ends[2];
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
    const Descriptor other(ends[1]);
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    iovec part{const_cast<char*>(text.data()), text.size()};
    msghdr message{nullptr, 0, &part, 1, control, sizeof control, 0};
    cmsghdr* const header = CMSG_FIRSTHDR(&message);
    *header = {CMSG_LEN(sizeof(int)), SOL_SOCKET, SCM_RIGHTS};
    *reinterpret_cast<int*>(CMSG_DATA(header)) = ends[1];
    EXPECT_GE(sendmsg(ask_.get(), &message, MSG_NOSIGNAL), 0);
    return Descriptor(ends[0]);
  }
  static LoginAnswer Receive(const Descriptor& from) {
    char buffer[4096];
    pollfd wait{from.get(), POLLIN, 0};
    if (poll(&wait, 1, 10'000) != 1) return {LoginVerdict::kFailed, "no answer", {}};
    const ssize_t size = recv(from.get(), buffer, sizeof buffer, 0);
    return ParseLoginAnswer({buffer, static_cast<std::size_t>(std::max<ssize_t>(size, 0))});
  }
  LoginVerdict Verdict(const std::string& name, const std::string& password,
                       const char* remember = "60") const {
    return Receive(Ask(name, password, remember)).verdict;
  }
  int Checks() const {
    std::ifstream file(folder_.native() + "/checks");
    int count = 0;
    for (std::string line; std::getline(file, line);) ++count;
    return count;
  }

  testing::TemporaryFolder log_;

 private:
  LoginAnswer Check(const LoginRequest& request) const {
    std::ofstream(folder_.native() + "/checks", std::ios::app) << request.name << std::endl;
    if (request.password == "hang") pause();
    if (request.password == "crash") kill(getpid(), SIGKILL);
    if (request.password != "right") return {LoginVerdict::kRefused, "wrong", {}};
    return {LoginVerdict::kAccepted, request.name, {"S-1-22-1-1000"}};
  }

  testing::TemporaryFolder folder_;
  Descriptor ask_;
  std::unique_ptr<LoginService> service_;
  std::thread thread_;
};

TEST_F(LoginServiceTest, ARightPasswordIsAskedForOnceWhileItIsRemembered) {
  for (int i = 0; i < 20; ++i) {
    const LoginAnswer answer = Receive(Ask("alice", "right", "2"));
    EXPECT_EQ(answer, (LoginAnswer{LoginVerdict::kAccepted, "alice", {"S-1-22-1-1000"}}));
  }
  EXPECT_EQ(Checks(), 1);
  const auto start = Clock::now();
  EXPECT_EQ(Verdict("alice", "wrong"), LoginVerdict::kRefused);
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(490)) << "the time tells why";
  EXPECT_EQ(Verdict("bob", "right"), LoginVerdict::kAccepted) << "asked for by itself";
  EXPECT_EQ(Checks(), 3);
  std::this_thread::sleep_for(std::chrono::milliseconds(2100));
  EXPECT_EQ(Verdict("alice", "right"), LoginVerdict::kAccepted);
  EXPECT_EQ(Checks(), 4) << "remembered for longer than it may be";
  EXPECT_EQ(Verdict("alice", "right", "0"), LoginVerdict::kAccepted);
  EXPECT_EQ(Checks(), 5) << "remembered for somebody who wants it asked for";
}

TEST_F(LoginServiceTest, AQuestionThatHangsOrCrashesHoldsUpNobodyElse) {
  const Descriptor hanging = Ask("alice", "hang");
  EXPECT_EQ(Verdict("bob", "crash"), LoginVerdict::kFailed);
  EXPECT_EQ(Verdict("bob", "right"), LoginVerdict::kAccepted);
  pollfd wait{hanging.get(), POLLIN, 0};
  EXPECT_EQ(poll(&wait, 1, 0), 0);
  End();  // Nor the end of the service.
}

TEST_F(LoginServiceTest, NobodyIsAskedAboutWhatNoAccountCanHave) {
  EXPECT_EQ(Verdict("al\nice", "right"), LoginVerdict::kRefused);
  EXPECT_EQ(Verdict("alice", ""), LoginVerdict::kRefused);
  EXPECT_EQ(Verdict("alice", "\xff"), LoginVerdict::kRefused);
  EXPECT_EQ(Receive(AskText("nonsense")).verdict, LoginVerdict::kRefused);
  EXPECT_EQ(Receive(AskText(std::string(100'000, 'a'))).verdict, LoginVerdict::kRefused);
  EXPECT_EQ(Checks(), 0);
  EXPECT_EQ(Verdict("alice", "right"), LoginVerdict::kAccepted) << "the service goes on";
}

TEST_F(LoginServiceTest, FailuresAreReportedWithWhoAndWhere) {
  EXPECT_EQ(Verdict("alice", "one"), LoginVerdict::kRefused);
  EXPECT_EQ(Verdict("alice", "two"), LoginVerdict::kRefused);
  End();
  ASSERT_EQ(Events(log_).size(), 2U);
  EXPECT_EQ(Events(log_)[1],
            u"The login of 'alice' from 192.0.2.1 failed: wrong (failure 2 in a row)");
}

TEST(FailureReportsTest, AFloodIsCountedInsteadOfReported) {
  const testing::TemporaryFolder log;
  FailureReports reports(OpenEventLogFolder(log.native()));
  const Clock::time_point now = Clock::now();
  for (int i = 0; i < 1000; ++i) reports.Report("alice", "192.0.2.1", "wrong", now);
  EXPECT_EQ(Events(log).size(), static_cast<std::size_t>(FailureReports::kPerMinute));
  reports.Report("bob", "192.0.2.1", "wrong", now + std::chrono::minutes(1));
  EXPECT_EQ(Events(log).back(),
            u"The login of 'bob' from 192.0.2.1 failed: wrong; 970 failures before it were not "
            u"recorded");
}

TEST(ClientNetworkTest, AClientCannotChooseAmongAddressesOfItsOwn) {
  EXPECT_EQ(ClientNetwork("2001:db8::1"), ClientNetwork("2001:db8:0:0:ffff::2"));
  EXPECT_NE(ClientNetwork("2001:db8::1"), ClientNetwork("2001:db8:0:1::1"));
  EXPECT_NE(ClientNetwork("192.0.2.1"), ClientNetwork("192.0.2.2"));
}

TEST(KeyedHashTest, DependsOnTheKeyAndOnWherePartsEnd) {
  const KeyedHash one;
  const KeyedHash other;
  EXPECT_EQ(one.Of({"a", "bc"}), one.Of({"a", "bc"}));
  EXPECT_NE(one.Of({"a", "bc"}), one.Of({"ab", "c"}));
  EXPECT_NE(one.Of({"a", "bc"}), other.Of({"a", "bc"}));
  EXPECT_EQ(one.Of({}).size(), 32U);
}

}  // namespace
}  // namespace kelvarion::platform
