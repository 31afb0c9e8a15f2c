// Every change, hit at each of its calls that touch the server's folder, a process or a socket: the
// call fails, or the program is killed there. Afterwards the old or the new state stands whole,
// success was only said of the new one, a failure says what failed, and once the change was made
// again nothing is left of what was hit.
//
// A few calls of each change, others in every run. KELVARION_EVERY_CALL=1 takes all, which takes
// hours, 10 every tenth.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <random>
#include <set>

#include "host/schema.h"
#include "host/text.h"
#include "tests/faults/changes.h"
#include "tests/faults/failing_call.h"
#include "tests/faults/state.h"
#include "tests/support/real_server.h"
#include "tests/support/temporary_folder.h"

namespace kelvarion::testing {

void PrintTo(const Change& change, std::ostream* out) { *out << change.name; }

namespace {

namespace fs = std::filesystem;

constexpr int kStopped = 1, kRunning = 4;

// The file that the programs to be hit map.
class Control {
 public:
  explicit Control(const std::string& path) {
    const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    EXPECT_EQ(ftruncate(file, sizeof(FaultControl)), 0);
    mapped_ = static_cast<FaultControl*>(
        mmap(nullptr, sizeof(FaultControl), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0));
    close(file);
  }
  ~Control() { munmap(mapped_, sizeof(FaultControl)); }
  Control(const Control&) = delete;
  Control& operator=(const Control&) = delete;
  FaultControl* operator->() const { return mapped_; }

 private:
  FaultControl* mapped_;
};

// The server of all tests of this process: each finds it as the first changes left it.
class FailingCallsTest : public ::testing::TestWithParam<Change> {
 protected:
  static void SetUpTestSuite() {
    server_ = new RealServer;
    store_ = new TemporaryFolder;
    for (const Words& words : FirstChanges()) Run(words);
    Save("first");
  }
  static void TearDownTestSuite() {
    delete server_;
    delete store_;
  }
  void SetUp() override;
  void TearDown() override { EndWhatRuns(); }

  void HitEverywhere(const std::string& program, bool kill);

 private:
  // The words of a program; of kelvarionctl unless they name another.
  static Words Filled(Words words);
  static void Run(const Words& words);
  static void Save(const std::string& name);
  static void PutBack(const std::string& name);
  static std::string PathOf(Runs which) {
    return which == Runs::kWebServer ? "Kelvarion_Service.Name=\"KelvarionServer\""
                                     : "Kelvarion_OrmuService.Name=\"ormusvc\"";
  }
  static int StateOf(Runs which) {
    const Reply reply = server_->Ctl({"get", PathOf(which)});
    return reply.ok() ? reply.object()["ServiceState"].get<int>() : 0;
  }
  // What was hit may still be ending: a service can neither be started nor stopped meanwhile.
  static int SettledStateOf(Runs which) {
    int state = 0;
    EXPECT_TRUE(
        Eventually([&] { return (state = StateOf(which)) == kStopped || state == kRunning; }));
    return state;
  }
  void StartWhatRuns(const Words& environment = {}) const;
  static void EndWhatRuns();

  // Runs the change from its beginning; the program to be hit counts its calls.
  ProcessResult RunHit(const Words& words, const std::string& program, bool kill, long at);
  long CountCalls(const Words& words, const std::string& program, bool kill);
  std::vector<long> Places(long first, long last, long most);
  void Judge(const ProcessResult& result, bool kill);
  void MakeAgain(bool is_done);
  State Take() const;
  State TakeWhen(const std::function<bool(const State&)>& settled) const;
  bool IsWhole(const State& state) const;

  static RealServer* server_;
  static TemporaryFolder* store_;
  const std::string control_path_ = store_->native() + "/control";
  Control control_{control_path_};
  State before_, after_;
  std::mt19937 random_{std::random_device{}()};
};

RealServer* FailingCallsTest::server_;
TemporaryFolder* FailingCallsTest::store_;

Words FailingCallsTest::Filled(Words words) {
  constexpr std::string_view kFolder = "{folder}";
  for (std::string& word : words)
    for (std::size_t at; (at = word.find(kFolder)) != word.npos;)
      word.replace(at, kFolder.size(), server_->folder);
  if (words.front() != "run") return server_->Command(words);
  words.erase(words.begin());
  return words;
}

void FailingCallsTest::Run(const Words& words) {
  const ProcessResult result = RunProcess(Filled(words));
  EXPECT_EQ(result.exit_code, 0) << ::testing::PrintToString(words) << result.all();
}

void FailingCallsTest::Save(const std::string& name) {
  Run({"run", "rm", "-rf", store_->native() + "/" + name});
  Run({"run", "cp", "-aT", server_->folder, store_->native() + "/" + name});
}

void FailingCallsTest::PutBack(const std::string& name) {
  EndWhatRuns();
  Run({"run", "rm", "-rf", server_->folder});
  Run({"run", "cp", "-aT", store_->native() + "/" + name, server_->folder});
}

void FailingCallsTest::StartWhatRuns(const Words& environment) const {
  if (GetParam().runs == Runs::kNothing || SettledStateOf(GetParam().runs) == kRunning) return;
  Words words = environment;
  for (const std::string& word :
       server_->Command({"call", PathOf(GetParam().runs), "StartService"}))
    words.push_back(word);
  const ProcessResult result = RunProcess(words);
  EXPECT_EQ(result.exit_code, 0) << result.all();
  EXPECT_TRUE(Eventually([] { return StateOf(GetParam().runs) == kRunning; }));
}

void FailingCallsTest::EndWhatRuns() {
  if (GetParam().programs.empty()) return;
  for (const Runs which : {Runs::kReplicationService, Runs::kWebServer})
    if (SettledStateOf(which) == kRunning) {
      server_->Call(PathOf(which), "StopService");
      EXPECT_TRUE(Eventually([&] { return StateOf(which) == kStopped; }));
    }
}

void FailingCallsTest::SetUp() {
  PutBack("first");
  StartWhatRuns();
  for (const Words& words : GetParam().before) Run(words);
  EndWhatRuns();
  Save("before");
  StartWhatRuns();
  before_ = Take();
  Run(GetParam().command);
  if (GetParam().runs == Runs::kReplicationService) EndWhatRuns();
  after_ = Take();
  ASSERT_NE(Differences(before_, after_), "");
}

State FailingCallsTest::Take() const {
  State state = TakeState(server_->folder);
  if (!GetParam().programs.empty())
    state["web server"] = StateOf(Runs::kWebServer) == kStopped ? "stopped" : "started";
  if (!GetParam().contents) return state;
  const State files = state;
  for (const auto& [path, text] : files) {
    if (!path.ends_with("/db/fs-type")) continue;
    const std::string repository = server_->folder + path.substr(0, path.rfind("/db/"));
    state[path + " contents"] = RunProcess({"svnadmin", "verify", "-q", repository}).all() +
                                RunProcess({"svnlook", "tree", repository}).all();
  }
  return state;
}

// The service goes on by itself with what was begun.
State FailingCallsTest::TakeWhen(const std::function<bool(const State&)>& settled) const {
  State state;
  const auto is_settled = [&] { return settled(state = Take()); };
  GetParam().programs.empty() ? is_settled() : Eventually(is_settled);
  return state;
}

bool FailingCallsTest::IsWhole(const State& state) const {
  const State before = WithoutLeftovers(before_), now = WithoutLeftovers(state),
              after = WithoutLeftovers(after_);
  return now == before || now == after || (GetParam().in_steps && LiesBetween(before, now, after));
}

ProcessResult FailingCallsTest::RunHit(const Words& change, const std::string& program, bool kill,
                                       long at) {
  constexpr int kErrors[] = {0, EIO, EACCES, ENOSPC};
  const Words environment{"env", "LD_PRELOAD=" KELVARION_BUILD_DIR "/lib/tests/failing_call.so",
                          "FAULT_FOLDER=" + server_->folder, "FAULT_PROGRAM=" + program,
                          "FAULT_CONTROL=" + control_path_};
  PutBack("before");
  *control_.operator->() = {};
  StartWhatRuns(environment);
  control_->kill = kill;
  control_->error = kErrors[at % std::ssize(kErrors)];
  control_->calls = 0;
  control_->at = at;
  Words words = environment;
  for (const std::string& word : Filled(change)) words.push_back(word);
  const ProcessResult result = RunProcess(words);
  control_->at = 0;
  if (GetParam().runs == Runs::kReplicationService) StartWhatRuns();
  return result;
}

long FailingCallsTest::CountCalls(const Words& words, const std::string& program, bool kill) {
  RunHit(words, program, kill, std::numeric_limits<long>::max());
  return control_->calls;
}

// Every so many of them, but others each time.
std::vector<long> FailingCallsTest::Places(long first, long last, long most) {
  const char* const every = std::getenv("KELVARION_EVERY_CALL");
  const long all = last - first + 1;
  const long count = every ? all / std::max(1L, std::atol(every)) : std::min(most, all);
  std::vector<long> places;
  for (long i = 0; i < count; ++i) {
    const auto border = [&](long part) { return first + part * all / count; };
    places.push_back(std::uniform_int_distribution<long>(border(i), border(i + 1) - 1)(random_));
  }
  return places;
}

// More than a status: what it was that failed, and mostly why.
bool SaysWhatFailed(const Reply& reply) {
  const bool in_reply = reply.document.is_object() && reply.document["error"].is_object();
  const std::string words = in_reply ? reply.message() : reply.process.all();
  return std::ranges::count(words, ' ') >= 2 && words.find("nknown") == words.npos;
}

void FailingCallsTest::HitEverywhere(const std::string& program, bool kill) {
  const Words& command = GetParam().command;
  // How every request begins is seen by the first of the changes.
  const bool skips = program == "kelvarionctl" && command.front() == "call";
  const long beginning = skips ? CountCalls({"get", "Kelvarion_VersionInfo=@"}, program, kill) : 0;
  const long calls = CountCalls(command, program, kill);
  const long most = kill || !GetParam().programs.empty() ? 1 : 2;  // Services take their time.
  int hits = 0;
  for (const long at : Places(beginning + 1, calls, most)) {
    const ProcessResult result = RunHit(command, program, kill, at);
    if (!*control_->report) continue;
    SCOPED_TRACE(program + " at call " + std::to_string(at) + ": " + control_->report + ", error " +
                 std::to_string(control_->error) + "\n" + result.all());
    Judge(result, kill);
    ++hits;
  }
  if (std::getenv("KELVARION_EVERY_CALL"))
    std::cout << GetParam().name << ": " << program << (kill ? " was killed at " : " failed at ")
              << hits << " of " << calls << " calls\n";
}

void FailingCallsTest::Judge(const ProcessResult& result, bool kill) {
  const Reply reply{result, Json::parse(result.out, nullptr, false)};
  const bool is_done = result.exit_code == 0 && reply.warnings().empty();
  const auto is_new = [this](const State& state) {
    return WithoutLeftovers(state) == WithoutLeftovers(after_);
  };
  const State seen =
      TakeWhen([&](const State& state) { return is_done ? is_new(state) : IsWhole(state); });
  EXPECT_TRUE(IsWhole(seen)) << "between old and now:\n"
                             << Differences(before_, seen) << "between now and new:\n"
                             << Differences(seen, after_);
  if (is_done) {
    EXPECT_TRUE(is_new(seen)) << "success was said:\n" << Differences(seen, after_);
  } else if (result.exit_code != 0 && !kill) {
    EXPECT_TRUE(SaysWhatFailed(reply)) << "no words";
  }
  MakeAgain(seen == after_);
}

void FailingCallsTest::MakeAgain(bool is_done) {
  const Change& change = GetParam();
  if (is_done) return;
  ProcessResult again = RunProcess(Filled(change.command));
  if (again.exit_code != 0 && !change.undo.empty()) {
    for (const Words& words : change.undo) Run(words);
    again = RunProcess(Filled(change.command));
  }
  EXPECT_EQ(again.exit_code, 0) << again.all();
  const State seen = TakeWhen([this](const State& state) { return state == after_; });
  EXPECT_EQ(Differences(after_, seen), "") << "made again";
}

TEST_P(FailingCallsTest, LeavesTheOldOrTheNewState) {
  for (const bool kill : {false, true}) {
    HitEverywhere("kelvarionctl", kill);
    for (const std::string& program : GetParam().programs) HitEverywhere(program, kill);
  }
}

INSTANTIATE_TEST_SUITE_P(All, FailingCallsTest, ::testing::ValuesIn(Changes()),
                         [](const auto& row) { return row.param.name; });

// Whoever adds a method adds a row, or says why it needs none.
TEST(ChangesTest, EveryMethodHasARowOrNeedsNone) {
  std::set<std::string> told;
  for (const Change& change : Changes())
    if (change.command.front() == "call")
      told.insert(change.command[1].substr(0, change.command[1].find('.')) + "." +
                  change.command[2]);
  for (const Exemption& exemption : Exemptions())
    for (const std::string& method : exemption.methods)
      EXPECT_TRUE(told.insert(method).second) << method << " stands in two places";
  const host::Schema schema(KELVARION_SOURCE_DIR "/schema");
  for (const host::ObjectPtr& each : schema.Classes())
    for (const host::Method& method : host::MethodsOf(*each))
      EXPECT_EQ(told.erase(host::Utf8(host::ClassNameOf(*each) + u"." + method.name)), 1u)
          << host::Utf8(host::ClassNameOf(*each) + u"." + method.name);
  EXPECT_EQ(told, std::set<std::string>()) << "are no methods";
}

}  // namespace
}  // namespace kelvarion::testing
