#include "platform/services/supervisor.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <sstream>
#include <utility>

#include "platform/files/files.h"
#include "platform/services/failure_text.h"
#include "platform/services/program.h"
#include "platform/services/service_state.h"

namespace kelvarion::platform {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kReadinessPoll{20};
// What running requests get to finish in when the server stops gently, then when it is told to.
constexpr milliseconds kGentle{10'000};
constexpr milliseconds kFirm{5'000};

sigset_t Requests() {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : {SIGTERM, SIGHUP, SIGCHLD}) sigaddset(&set, signal);
  return set;
}

// 0 when nothing came in time.
int WaitForSignal(std::chrono::steady_clock::duration patience) {
  const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(patience).count();
  const timespec time{static_cast<time_t>(ns / 1'000'000'000),
                      static_cast<long>(ns % 1'000'000'000)};
  const sigset_t set = Requests();
  const int signal = sigtimedwait(&set, nullptr, &time);
  return signal > 0 ? signal : 0;
}

}  // namespace

Win32Error ParseSupervisorAnswer(const std::string& text) {
  std::istringstream words(text);
  Win32Error error = ERROR_SUCCESS;
  words >> error;
  return words.fail() ? ERROR_SERVICE_REQUEST_TIMEOUT : error;
}

Supervisor::Supervisor(Service service) : service_(std::move(service)) {
  record_.supervisor = IdentityOf(getpid());
}

Win32Error Supervisor::Start() {
  const sigset_t requests = Requests();
  sigprocmask(SIG_BLOCK, &requests, nullptr);
  // Workers whose parent was killed come to the supervisor instead of to init, and are reaped here.
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  if (const Win32Error error = Spawn(); error != ERROR_SUCCESS) return error;
  const Win32Error error = WriteRecord(service_, record_);
  if (error != ERROR_SUCCESS) SignalProcess(record_.process, SIGKILL);
  return error;
}

Win32Error Supervisor::Spawn() {
  log_start_ = LogLength(service_);
  const int output = open(service_.File(".err").c_str(),
                          O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC | O_NOFOLLOW, 0600);
  if (output < 0) return FromErrno(errno);
  std::vector<std::string> arguments = service_.run_arguments;
  arguments.insert(arguments.end(), service_.arguments.begin(), service_.arguments.end());
  int pid = 0;
  const int error = SpawnProgram(service_.program, arguments, output, pid);
  close(output);
  if (error != 0) return FromErrno(error);
  record_.process = IdentityOf(pid);
  if (record_.process.pid == 0) record_.process.pid = pid;  // Ended already, to be reaped.
  record_.phase = Phase::kStarting;
  ready_ = false;
  insistence_ = 0;
  return ERROR_SUCCESS;
}

void Supervisor::Run() {
  while (!ended_) {
    Handle(WaitForSignal(Patience()));
    Reap();
    if (ended_) break;
    NoteReadiness();
    if (insistence_ > 0 && Clock::now() >= insist_at_) Insist();
  }
}

void Supervisor::Handle(int signal) {
  if (signal == SIGTERM) {
    Record(Phase::kStopping);
    BeginStop();
  } else if (signal == SIGHUP && record_.phase != Phase::kStopping) {
    Record(Phase::kRestarting);
    BeginStop();
  }
}

void Supervisor::BeginStop() {
  if (insistence_ == 0) Insist();
}

// First gently, then firmly, then by force.
void Supervisor::Insist() {
  // A server that has not started yet knows no gentle way and would miss the request.
  if (insistence_ == 0 && !(service_.graceful && ready_)) insistence_ = 1;
  constexpr int kSignals[] = {SIGWINCH, SIGTERM, SIGKILL};
  SignalProcess(record_.process, kSignals[std::min(insistence_, 2)]);
  insist_at_ = Clock::now() + (insistence_ == 0 ? kGentle : kFirm);
  ++insistence_;
}

void Supervisor::NoteReadiness() {
  if (ready_ || !HasReported(service_, record_.process)) return;
  ready_ = true;
  if (record_.phase == Phase::kStarting) Record(Phase::kRunning);
}

Supervisor::Clock::duration Supervisor::Patience() const {
  if (!ready_) return kReadinessPoll;
  if (insistence_ > 0) return std::max(insist_at_ - Clock::now(), Clock::duration::zero());
  return std::chrono::hours(24);
}

void Supervisor::Reap() {
  int exit_status = 0;
  for (int pid = 0; (pid = waitpid(-1, &exit_status, WNOHANG)) > 0;)
    if (pid == record_.process.pid) return OnEnd(exit_status);
}

void Supervisor::OnEnd(int exit_status) {
  // Workers of a killed server would go on serving and hold its addresses.
  EndSession(record_.supervisor.pid, service_.mark);
  NoteReadiness();
  // A stop may have been recorded whose signal is still on its way.
  ServiceRecord stored;
  ReadRecord(service_, stored);  // One that cannot be read holds no request.
  if (stored.supervisor == record_.supervisor && stored.phase == Phase::kStopping)
    record_.phase = Phase::kStopping;
  if (record_.phase == Phase::kRestarting) {
    RemoveStalePidFile(service_);
    const Win32Error error = Spawn();
    if (error == ERROR_SUCCESS) return Record(Phase::kStarting);
    WriteFailure(service_, "The program " + service_.program + " cannot be started again.");
    ended_ = true;
    return Record(Phase::kStopped, error);
  }
  const Win32Error exit_code = ExitCode(exit_status);
  // The words stand before the code does: whoever sees the one finds the other.
  if (exit_code != ERROR_SUCCESS)
    WriteFailure(service_, FailureText(service_, record_.process.pid, exit_status, log_start_));
  ended_ = true;
  Record(Phase::kStopped, exit_code);
}

// A stop that was asked for is a success however it had to be brought about, and so is an orderly
// end that somebody else asked the program for. A program that gives up while it starts has failed
// in its own way; anything else is a process that died.
Win32Error Supervisor::ExitCode(int exit_status) const {
  if (record_.phase == Phase::kStopping) return ERROR_SUCCESS;
  if (WIFEXITED(exit_status) && !ready_) return ERROR_SERVICE_SPECIFIC_ERROR;
  return exit_status == 0 ? ERROR_SUCCESS : ERROR_PROCESS_ABORTED;
}

void Supervisor::Record(Phase phase, Win32Error exit_code) {
  const FileLock lock(PathFromNative(service_.File(".lock")));
  // What was asked for while the program came up stays asked for; its signal is on its way.
  ServiceRecord stored;
  ReadRecord(service_, stored);  // One that cannot be read holds no request.
  const bool stop = stored.phase == Phase::kStopping && phase != Phase::kStopped;
  const bool restart = stored.phase == Phase::kRestarting && phase == Phase::kRunning;
  if ((stop || restart) && stored.supervisor == record_.supervisor) phase = stored.phase;
  record_.phase = phase;
  record_.exit_code = exit_code;
  WriteRecord(service_, record_);
}

int SupervisorMain(const std::string& home, const std::string& service_name) {
  const pid_t child = fork();
  if (child != 0) return child > 0 ? 0 : 1;
  setsid();
  constexpr int answer_to = STDERR_FILENO + 1;
  dup3(STDOUT_FILENO, answer_to, O_CLOEXEC);
  close_range(answer_to + 1, ~0U, 0);
  const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(nothing, stream);
  umask(027);
  signal(SIGPIPE, SIG_IGN);  // A caller that is gone already misses the answer, no more.
  if (chdir("/") != 0) return 1;

  Win32Error error = ERROR_SERVICE_DOES_NOT_EXIST;
  std::optional<Service> service = FindService(home, PathFromNative(service_name));
  std::optional<Supervisor> supervisor;
  if (service) error = supervisor.emplace(std::move(*service)).Start();
  const std::string text = std::to_string(error) + "\n";
  const ssize_t ignored = write(answer_to, text.data(), text.size());
  static_cast<void>(ignored);
  close(answer_to);
  if (error != ERROR_SUCCESS) return 1;
  supervisor->Run();
  return 0;
}

}  // namespace kelvarion::platform
