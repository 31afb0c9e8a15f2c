/* Preloaded into one program, makes the Nth of its calls that touch a folder fail, or ends the
 * program there: whoever tries N = 1, 2, … until the program gets through has seen every place
 * where it can be hit.
 *
 *   FAULT_FOLDER   the folder; calls about files elsewhere are neither counted nor hindered
 *   FAULT_AT       N, from 1
 *   FAULT_KIND     "error": the call fails as on a full or broken disk; "kill": SIGKILL instead of
 *                  the call, and only calls that change something count
 *   FAULT_REPORT   a file that then says which call it was; it appears only if N was reached
 *
 * Programs that the program starts run undisturbed.
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <signal.h>
#include <spawn.h>
#include <stdarg.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <sys/xattr.h>
#include <unistd.h>

static struct {
  char folder[PATH_MAX];
  char report[PATH_MAX];
  long at;
  int kill;
} settings;
static atomic_long calls;

__attribute__((constructor)) static void ReadSettings(void) {
  const char *folder = getenv("FAULT_FOLDER"), *at = getenv("FAULT_AT");
  const char *kind = getenv("FAULT_KIND"), *report = getenv("FAULT_REPORT");
  unsetenv("LD_PRELOAD");
  if (!folder || !at || !kind || !report) return;
  snprintf(settings.folder, sizeof settings.folder, "%s/", folder);
  snprintf(settings.report, sizeof settings.report, "%s", report);
  settings.kill = strcmp(kind, "kill") == 0;
  settings.at = atol(at);
}

static int IsInFolder(const char* path) {
  return strncmp(path, settings.folder, strlen(settings.folder)) == 0;
}

/* The path of a descriptor; one that is no file has none. */
static int FindPath(int descriptor, char* path) {
  char link[64];
  ssize_t length;
  snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
  length = readlink(link, path, PATH_MAX - 1);
  if (length < 0) return 0;
  path[length] = '\0';
  return 1;
}

/* The system's calls, since the library's are those that are being replaced. */
static void Report(const char* call, const char* path) {
  char text[PATH_MAX + 64];
  const int length = snprintf(text, sizeof text, "%s %s\n", call, path);
  const int file = (int)syscall(SYS_openat, AT_FDCWD, settings.report,
                                O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  syscall(SYS_write, file, text, (size_t)length);
  syscall(SYS_close, file);
}

/* Whether this call has to fail. */
static int Hits(const char* call, const char* path, int changes) {
  if (settings.at == 0 || !IsInFolder(path) || (settings.kill && !changes)) return 0;
  if (atomic_fetch_add(&calls, 1) + 1 != settings.at) return 0;
  Report(call, path);
  if (settings.kill) syscall(SYS_kill, getpid(), SIGKILL);
  return 1;
}

static int HitsAt(const char* call, int folder, const char* path, int changes) {
  char whole[2 * PATH_MAX] = "";
  if (settings.at == 0) return 0;
  if (path[0] == '/') return Hits(call, path, changes);
  if (folder == AT_FDCWD || !FindPath(folder, whole)) return 0;
  strcat(whole, "/");
  strncat(whole, path, PATH_MAX - 1);
  return Hits(call, whole, changes);
}

static int HitsFile(const char* call, int file) {
  char path[PATH_MAX];
  return settings.at != 0 && FindPath(file, path) && Hits(call, path, 1);
}

#define REAL(name) ((__typeof__(&name))dlsym(RTLD_NEXT, #name))
#define FAIL(code) return errno = (code), -1

#define REPLACE_PATH(name, code, parameters, path, arguments) \
  int name parameters {                                       \
    if (HitsAt(#name, AT_FDCWD, path, 1)) FAIL(code);         \
    return REAL(name) arguments;                              \
  }
#define REPLACE_AT(name, code, parameters, folder, path, arguments) \
  int name parameters {                                             \
    if (HitsAt(#name, folder, path, 1)) FAIL(code);                 \
    return REAL(name) arguments;                                    \
  }
#define REPLACE_FILE(type, name, code, parameters, file, arguments) \
  type name parameters {                                            \
    if (HitsFile(#name, file)) FAIL(code);                          \
    return REAL(name) arguments;                                    \
  }

REPLACE_PATH(creat, ENOSPC, (const char* path, mode_t mode), path, (path, mode))
REPLACE_PATH(creat64, ENOSPC, (const char* path, mode_t mode), path, (path, mode))
REPLACE_PATH(mkdir, ENOSPC, (const char* path, mode_t mode), path, (path, mode))
REPLACE_PATH(rmdir, EIO, (const char* path), path, (path))
REPLACE_PATH(unlink, EIO, (const char* path), path, (path))
REPLACE_PATH(rename, EIO, (const char* from, const char* to), from, (from, to))
REPLACE_PATH(link, EIO, (const char* from, const char* to), to, (from, to))
REPLACE_PATH(symlink, ENOSPC, (const char* target, const char* path), path, (target, path))
REPLACE_PATH(chmod, EPERM, (const char* path, mode_t mode), path, (path, mode))
REPLACE_PATH(chown, EPERM, (const char* path, uid_t user, gid_t group), path, (path, user, group))
REPLACE_PATH(setxattr, ENOSPC,
             (const char* path, const char* name, const void* value, size_t size, int flags), path,
             (path, name, value, size, flags))
REPLACE_AT(mkdirat, ENOSPC, (int folder, const char* path, mode_t mode), folder, path,
           (folder, path, mode))
REPLACE_AT(unlinkat, EIO, (int folder, const char* path, int flags), folder, path,
           (folder, path, flags))
REPLACE_AT(renameat, EIO, (int from, const char* old, int to, const char* path), to, path,
           (from, old, to, path))
REPLACE_AT(renameat2, EIO, (int from, const char* old, int to, const char* path, unsigned flags),
           to, path, (from, old, to, path, flags))
REPLACE_AT(fchmodat, EPERM, (int folder, const char* path, mode_t mode, int flags), folder, path,
           (folder, path, mode, flags))
REPLACE_FILE(ssize_t, write, ENOSPC, (int file, const void* bytes, size_t size), file,
             (file, bytes, size))
REPLACE_FILE(ssize_t, writev, ENOSPC, (int file, const struct iovec* parts, int count), file,
             (file, parts, count))
REPLACE_FILE(ssize_t, pwrite, ENOSPC, (int file, const void* bytes, size_t size, off_t at), file,
             (file, bytes, size, at))
REPLACE_FILE(ssize_t, pwrite64, ENOSPC, (int file, const void* bytes, size_t size, off64_t at),
             file, (file, bytes, size, at))
REPLACE_FILE(int, fsync, EIO, (int file), file, (file))
REPLACE_FILE(int, fdatasync, EIO, (int file), file, (file))
REPLACE_FILE(int, ftruncate, EIO, (int file, off_t size), file, (file, size))
REPLACE_FILE(int, ftruncate64, EIO, (int file, off64_t size), file, (file, size))
REPLACE_FILE(int, fchmod, EPERM, (int file, mode_t mode), file, (file, mode))
REPLACE_FILE(int, fchown, EPERM, (int file, uid_t user, gid_t group), file, (file, user, group))

/* Opening changes something when it may make or empty the file. */
#define REPLACE_OPEN(name, parameters, folder, arguments)                                \
  int name parameters {                                                                  \
    const int changes = (flags & (O_CREAT | O_TRUNC)) != 0;                              \
    mode_t mode = 0;                                                                     \
    if ((flags & O_CREAT) || (flags & O_TMPFILE) == O_TMPFILE) {                         \
      va_list more;                                                                      \
      va_start(more, flags);                                                             \
      mode = (mode_t)va_arg(more, int);                                                  \
      va_end(more);                                                                      \
    }                                                                                    \
    if (HitsAt(#name, folder, path, changes)) FAIL(changes ? ENOSPC : EMFILE);           \
    return REAL(name) arguments;                                                         \
  }
REPLACE_OPEN(open, (const char* path, int flags, ...), AT_FDCWD, (path, flags, mode))
REPLACE_OPEN(open64, (const char* path, int flags, ...), AT_FDCWD, (path, flags, mode))
REPLACE_OPEN(openat, (int folder, const char* path, int flags, ...), folder,
             (folder, path, flags, mode))
REPLACE_OPEN(openat64, (int folder, const char* path, int flags, ...), folder,
             (folder, path, flags, mode))

/* Programs lie elsewhere; starting any of them counts. */
int posix_spawn(pid_t* pid, const char* path, const posix_spawn_file_actions_t* actions,
                const posix_spawnattr_t* attributes, char* const arguments[],
                char* const environment[]) {
  if (settings.at != 0 && Hits("posix_spawn", settings.folder, 1)) return EAGAIN;
  return REAL(posix_spawn)(pid, path, actions, attributes, arguments, environment);
}
