#include "fuzz/confinement.h"

#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/ucontext.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <optional>
#include <set>

#include "fuzz/fuzz.h"

extern "C" __attribute__((weak)) void __sanitizer_symbolize_pc(void* address, const char* format,
                                                               char* out, std::size_t size);

namespace kelvarion::fuzz {
namespace {

// What a call does where the last part of its path is a link. Where it makes something new it fails
// by itself at whatever is there, so nothing is changed.
enum class Links { kFollowed, kKept, kNew, kAsOpenFlagsSay, kAsAtFlagsSay };

// One path that a call changes. Where `folder` is none the path is relative to the current one;
// where `path` is none the descriptor itself is changed.
constexpr int kNone = -1;
struct Change {
  long call;
  const char* name;
  int folder;
  int path;
  Links links = Links::kKept;
  int flags = kNone;
};

constexpr Change kChanges[] = {
    {SYS_open, "open", kNone, 0, Links::kAsOpenFlagsSay, 1},
    {SYS_openat, "openat", 0, 1, Links::kAsOpenFlagsSay, 2},
    {SYS_creat, "creat", kNone, 0, Links::kFollowed},
    {SYS_truncate, "truncate", kNone, 0, Links::kFollowed},
    {SYS_mkdir, "mkdir", kNone, 0, Links::kNew},
    {SYS_mkdirat, "mkdirat", 0, 1, Links::kNew},
    {SYS_mknod, "mknod", kNone, 0, Links::kNew},
    {SYS_mknodat, "mknodat", 0, 1, Links::kNew},
    {SYS_rmdir, "rmdir", kNone, 0},
    {SYS_unlink, "unlink", kNone, 0},
    {SYS_unlinkat, "unlinkat", 0, 1},
    {SYS_rename, "rename from", kNone, 0},
    {SYS_rename, "rename to", kNone, 1},
    {SYS_renameat, "renameat from", 0, 1},
    {SYS_renameat, "renameat to", 2, 3},
    {SYS_renameat2, "renameat2 from", 0, 1},
    {SYS_renameat2, "renameat2 to", 2, 3},
    {SYS_link, "link", kNone, 1, Links::kNew},
    {SYS_linkat, "linkat", 2, 3, Links::kNew},
    {SYS_symlink, "symlink", kNone, 1, Links::kNew},
    {SYS_symlinkat, "symlinkat", 1, 2, Links::kNew},
    {SYS_chmod, "chmod", kNone, 0, Links::kFollowed},
    {SYS_fchmod, "fchmod", 0, kNone},
    {SYS_fchmodat, "fchmodat", 0, 1, Links::kFollowed},
    {SYS_chown, "chown", kNone, 0, Links::kFollowed},
    {SYS_lchown, "lchown", kNone, 0},
    {SYS_fchown, "fchown", 0, kNone},
    {SYS_fchownat, "fchownat", 0, 1, Links::kAsAtFlagsSay, 4},
    {SYS_utime, "utime", kNone, 0, Links::kFollowed},
    {SYS_utimes, "utimes", kNone, 0, Links::kFollowed},
    {SYS_futimesat, "futimesat", 0, 1, Links::kFollowed},
    {SYS_utimensat, "utimensat", 0, 1, Links::kAsAtFlagsSay, 3},
    {SYS_setxattr, "setxattr", kNone, 0, Links::kFollowed},
    {SYS_lsetxattr, "lsetxattr", kNone, 0},
    {SYS_fsetxattr, "fsetxattr", 0, kNone},
    {SYS_removexattr, "removexattr", kNone, 0, Links::kFollowed},
    {SYS_lremovexattr, "lremovexattr", kNone, 0},
    {SYS_fremovexattr, "fremovexattr", 0, kNone},
};

constexpr long kUnknownHere[] = {SYS_openat2, SYS_io_uring_setup, SYS_mount, SYS_chroot};
constexpr unsigned kWritingFlags =
    O_WRONLY | O_RDWR | O_CREAT | O_TRUNC | (O_TMPFILE & ~O_DIRECTORY);

// No call above has a sixth argument. With this one it is ours, which the filter lets pass.
constexpr std::uint64_t kOwn = 0x6B656C766172696F;

struct State {
  Confinement rules;
  std::atomic<int> watches{0};
};
State& TheState() {
  static State* const state = new State;
  return *state;
}

struct Call {
  long number;
  long arguments[6];
};

long Perform(const Call& call) {
  const long* const a = call.arguments;
  const long result = syscall(call.number, a[0], a[1], a[2], a[3], a[4], kOwn);
  return result < 0 ? -errno : result;
}

std::string PathOf(int descriptor) {
  const std::string link =
      descriptor == AT_FDCWD ? "/proc/self/cwd" : "/proc/self/fd/" + std::to_string(descriptor);
  char path[PATH_MAX];
  const ssize_t length = readlink(link.c_str(), path, sizeof path);
  return length < 0 ? std::string() : std::string(path, static_cast<std::size_t>(length));
}

// Where the path leads, also one of which only the last part is missing; nothing where the call
// fails by itself.
std::optional<std::string> Resolve(std::string path, Links links, int depth = 0) {
  const int keep = links == Links::kFollowed ? 0 : O_NOFOLLOW;
  if (const int found = open(path.c_str(), O_PATH | O_CLOEXEC | keep); found >= 0) {
    path = PathOf(found);
    close(found);
    if (links == Links::kNew) return std::nullopt;
    return path;
  }
  while (path.size() > 1 && path.ends_with('/')) path.pop_back();
  const std::size_t slash = path.rfind('/');
  const std::string folder = path.substr(0, slash + 1);
  const int parent = open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  if (parent < 0) return std::nullopt;
  std::string place = PathOf(parent);
  close(parent);
  if (!place.ends_with('/')) place += '/';
  place += path.substr(slash + 1);
  char target[PATH_MAX];
  const ssize_t length = readlink(place.c_str(), target, sizeof target);
  if (links != Links::kFollowed || length < 0) return place;
  const std::string aim(target, static_cast<std::size_t>(length));
  if (depth > 40) return std::nullopt;
  return Resolve(aim.starts_with('/') ? aim : folder + aim, links, depth + 1);
}

Links LinksOf(const Change& change, const Call& call) {
  if (change.flags == kNone) return change.links;
  const long flags = call.arguments[change.flags];
  if (change.links == Links::kAsAtFlagsSay)
    return flags & AT_SYMLINK_NOFOLLOW ? Links::kKept : Links::kFollowed;
  if ((flags & O_CREAT) && (flags & O_EXCL)) return Links::kNew;
  return flags & O_NOFOLLOW ? Links::kKept : Links::kFollowed;
}

std::optional<std::string> PathOf(const Change& change, const Call& call) {
  const int folder =
      change.folder == kNone ? AT_FDCWD : static_cast<int>(call.arguments[change.folder]);
  const char* const path =
      change.path == kNone ? nullptr : reinterpret_cast<const char*>(call.arguments[change.path]);
  if (!path || !*path) return PathOf(folder);
  return Resolve(*path == '/' ? path : PathOf(folder) + "/" + path, LinksOf(change, call));
}

bool IsBelow(const std::string& path, const std::string& folder) {
  return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

bool IsBeside(const std::string& path, const std::string& folder) {
  const std::size_t name = folder.rfind('/') + 1;
  return path.starts_with(folder.substr(0, name)) && path.find('/', name) == path.npos &&
         path.find(folder.substr(name), name) != path.npos;
}

// Unfinished revisions are kept in memory, in folders of these names.
bool IsInMemory(const std::string& path) {
  static const std::string pattern = "/dev/shm/kelvarion-01234567-0123-0123-0123-0123456789ab";
  return path.size() >= pattern.size() && path.starts_with("/dev/shm/kelvarion-") &&
         path[27] == '-' && path[32] == '-' && path[37] == '-' && path[42] == '-';
}

// False when the call is to fail.
bool MayChange(const Change& change, const std::string& path) {
  const Confinement& rules = TheState().rules;
  for (const std::string& folder : rules.free)
    if (IsBelow(path, folder)) return true;
  if (IsInMemory(path) || path == "/dev/null") return true;
  for (const std::string& folder : rules.read_only)
    if (IsBelow(path, folder) || IsBeside(path, folder)) return false;
  std::fprintf(stderr, "does not hold: nothing is changed outside the home: %s %s\n", change.name,
               path.c_str());
  TheState().watches = 0;
  std::abort();
}

bool IsAllowed(const Call& call) {
  if (TheState().watches == 0) return true;
  bool allowed = true;
  for (const Change& change : kChanges) {
    if (change.call != call.number) continue;
    if (const auto path = PathOf(change, call)) allowed = MayChange(change, *path) && allowed;
  }
  return allowed;
}

// Runs in place of a call that changes files, on its thread and nowhere near an allocation.
void OnCall(int, siginfo_t* info, void* interrupted) {
  const int error = errno;
  auto& registers = static_cast<ucontext_t*>(interrupted)->uc_mcontext.gregs;
  const Call call{info->si_syscall,
                  {registers[REG_RDI], registers[REG_RSI], registers[REG_RDX], registers[REG_R10],
                   registers[REG_R8], registers[REG_R9]}};
  registers[REG_RAX] = IsAllowed(call) ? Perform(call) : -EROFS;
  errno = error;
}

class Filter {
 public:
  Filter() {
    Load(offsetof(seccomp_data, arch));
    If(BPF_JEQ, AUDIT_ARCH_X86_64, 1);
    Return(SECCOMP_RET_KILL_PROCESS);
    // The low and the high half of the sixth argument.
    Load(Argument(5));
    If(BPF_JEQ, static_cast<std::uint32_t>(kOwn), 0, 3);
    Load(Argument(5) + 4);
    If(BPF_JEQ, static_cast<std::uint32_t>(kOwn >> 32), 0, 1);
    Return(SECCOMP_RET_ALLOW);
    Load(offsetof(seccomp_data, nr));
  }
  void Answer(long call, std::uint32_t answer) {
    If(BPF_JEQ, static_cast<std::uint32_t>(call), 0, 1);
    Return(answer);
  }
  // Only where the argument is, or has, the value.
  void Answer(long call, int argument, std::uint16_t test, std::uint32_t value,
              std::uint32_t answer) {
    If(BPF_JEQ, static_cast<std::uint32_t>(call), 0, 4);
    Load(Argument(argument));
    If(test, value, 0, 1);
    Return(answer);
    Load(offsetof(seccomp_data, nr));
  }
  bool Install() {
    Return(SECCOMP_RET_ALLOW);
    const sock_fprog program{static_cast<unsigned short>(code_.size()), code_.data()};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_TSYNC, &program) == 0;
  }

 private:
  static std::uint32_t Argument(int index) {
    return static_cast<std::uint32_t>(offsetof(seccomp_data, args) + sizeof(std::uint64_t) * index);
  }
  void Load(std::size_t offset) {
    code_.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset)));
  }
  // How many instructions to pass over.
  void If(std::uint16_t test, std::uint32_t value, std::uint8_t yes, std::uint8_t no = 0) {
    code_.push_back(BPF_JUMP(static_cast<std::uint16_t>(BPF_JMP | test | BPF_K), value, yes, no));
  }
  void Return(std::uint32_t answer) { code_.push_back(BPF_STMT(BPF_RET | BPF_K, answer)); }

  std::vector<sock_filter> code_;
};

std::uint32_t Error(int number) { return SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(number); }

// The sanitizers find names by a program that they start when they first need one.
void StartSymbolizer() {
  char name[256];
  if (__sanitizer_symbolize_pc)
    __sanitizer_symbolize_pc(__builtin_return_address(0), "%f", name, sizeof name);
}

}  // namespace

void Confine(Confinement rules) {
  StartSymbolizer();
  TheState().rules = std::move(rules);
  struct sigaction action {};
  action.sa_sigaction = OnCall;
  action.sa_flags = SA_SIGINFO | SA_NODEFER;
  Expect(sigaction(SIGSYS, &action, nullptr) == 0, "stopped calls can be handled");
  Filter filter;
  std::set<long> calls;
  for (const Change& change : kChanges) {
    if (!calls.insert(change.call).second) continue;
    if (change.links == Links::kAsOpenFlagsSay)
      filter.Answer(change.call, change.flags, BPF_JSET, kWritingFlags, SECCOMP_RET_TRAP);
    else
      filter.Answer(change.call, SECCOMP_RET_TRAP);
  }
  for (const int family : {AF_INET, AF_INET6})
    filter.Answer(SYS_socket, 0, BPF_JEQ, static_cast<std::uint32_t>(family), Error(EAFNOSUPPORT));
  for (const long call : {SYS_execve, SYS_execveat}) filter.Answer(call, Error(EACCES));
  for (const long call : kUnknownHere) filter.Answer(call, Error(ENOSYS));
  Expect(filter.Install(), "the kernel confines the process");
}

void MakeReadOnly(std::vector<std::string> paths) { TheState().rules.read_only = std::move(paths); }

Watch::Watch() { ++TheState().watches; }
Watch::~Watch() { --TheState().watches; }

}  // namespace kelvarion::fuzz
