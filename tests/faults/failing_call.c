/* Preloaded into a program, makes the Nth of its calls that touch a folder fail, or ends the
 * program there: whoever tries N = 1, 2, … until the program gets through has seen every place
 * where it can be hit. Calls for processes, threads and sockets count wherever they lead.
 *
 * Memory is left alone: an allocation that fails ends the program, which is what killing it tries.
 */
#define _GNU_SOURCE
#include "failing_call.h"

#include <dirent.h>
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <pthread.h>
#include <signal.h>
#include <spawn.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/sendfile.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <sys/xattr.h>
#include <unistd.h>

static struct FaultControl* control; /* NULL in programs that are not to be hit. */
static char folder_prefix[PATH_MAX];

__attribute__((constructor)) static void FindControl(void) {
  const char *folder = getenv("FAULT_FOLDER"), *program = getenv("FAULT_PROGRAM"),
             *file = getenv("FAULT_CONTROL");
  void* mapped;
  int descriptor;
  if (!folder || !program || !file || strcmp(program, program_invocation_short_name) != 0) return;
  descriptor = (int)syscall(SYS_openat, AT_FDCWD, file, O_RDWR | O_CLOEXEC);
  mapped = mmap(NULL, sizeof *control, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
  syscall(SYS_close, descriptor);
  if (mapped == MAP_FAILED) return;
  snprintf(folder_prefix, sizeof folder_prefix, "%s/", folder);
  control = mapped;
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

enum Effect { kReads, kChanges };
static _Thread_local enum Effect hit; /* The one that was. */

/* Whether this call has to fail. */
static int Hits(const char* call, const char* path, enum Effect effect) {
  if (!control || control->at == 0 || (control->kill && effect == kReads)) return 0;
  if (__atomic_add_fetch(&control->calls, 1, __ATOMIC_SEQ_CST) != control->at) return 0;
  snprintf(control->report, sizeof control->report, "%s %s", call, path);
  if (control->kill) syscall(SYS_kill, getpid(), SIGKILL);
  hit = effect;
  return 1;
}

static int HitsPath(const char* call, const char* path, enum Effect effect) {
  return control && strncmp(path, folder_prefix, strlen(folder_prefix)) == 0 &&
         Hits(call, path, effect);
}

static int HitsAt(const char* call, int folder, const char* path, enum Effect effect) {
  char whole[2 * PATH_MAX] = "";
  if (!control) return 0;
  if (path[0] == '/') return HitsPath(call, path, effect);
  if (folder == AT_FDCWD || !FindPath(folder, whole)) return 0;
  strcat(whole, "/");
  strncat(whole, path, PATH_MAX - 1);
  return HitsPath(call, whole, effect);
}

static int HitsFile(const char* call, int file, enum Effect effect) {
  char path[PATH_MAX];
  return control && FindPath(file, path) && HitsPath(call, path, effect);
}

/* Reading fails for a device or for want of descriptors; other errors are answers. */
static int ErrorOr(int usual) {
  return control->error && (hit == kChanges || control->error == EIO) ? control->error : usual;
}

#define REAL(name) ((__typeof__(&name))dlsym(RTLD_NEXT, #name))

/* A call that says in `errno` why it returns `failed`. */
#define REPLACE(type, name, parameters, arguments, is_hit, usual, failed) \
  type name parameters {                                                  \
    if (is_hit) return errno = ErrorOr(usual), failed;                    \
    return REAL(name) arguments;                                          \
  }
#define REPLACE_PATH(name, usual, effect, parameters, path, arguments) \
  REPLACE(int, name, parameters, arguments, HitsAt(#name, AT_FDCWD, path, effect), usual, -1)
#define REPLACE_AT(name, usual, effect, parameters, folder, path, arguments) \
  REPLACE(int, name, parameters, arguments, HitsAt(#name, folder, path, effect), usual, -1)
#define REPLACE_FILE(type, name, usual, effect, parameters, file, arguments) \
  REPLACE(type, name, parameters, arguments, HitsFile(#name, file, effect), usual, -1)

#define REPLACE_STAT(name, type) \
  REPLACE_PATH(name, EIO, kReads, (const char* path, struct type* status), path, (path, status))
REPLACE_STAT(stat, stat)
REPLACE_STAT(stat64, stat64)
REPLACE_STAT(lstat, stat)
REPLACE_STAT(lstat64, stat64)
REPLACE_AT(fstatat, EIO, kReads, (int folder, const char* path, struct stat* status, int flags),
           folder, path, (folder, path, status, flags))
REPLACE_AT(fstatat64, EIO, kReads, (int folder, const char* path, struct stat64* status, int flags),
           folder, path, (folder, path, status, flags))
REPLACE_PATH(access, EIO, kReads, (const char* path, int mode), path, (path, mode))
REPLACE(ssize_t, getxattr, (const char* path, const char* name, void* value, size_t size),
        (path, name, value, size), HitsAt("getxattr", AT_FDCWD, path, kReads), EIO, -1)
REPLACE_FILE(ssize_t, read, EIO, kReads, (int file, void* bytes, size_t size), file,
             (file, bytes, size))
REPLACE_FILE(ssize_t, pread64, EIO, kReads, (int file, void* bytes, size_t size, off64_t at), file,
             (file, bytes, size, at))
REPLACE(DIR*, opendir, (const char* path), (path), HitsAt("opendir", AT_FDCWD, path, kReads),
        EMFILE, NULL)
REPLACE(DIR*, fdopendir, (int folder), (folder), HitsFile("fdopendir", folder, kReads), EMFILE,
        NULL)
REPLACE(struct dirent*, readdir, (DIR * folder), (folder),
        HitsFile("readdir", dirfd(folder), kReads), EIO, NULL)
REPLACE(struct dirent64*, readdir64, (DIR * folder), (folder),
        HitsFile("readdir64", dirfd(folder), kReads), EIO, NULL)

REPLACE_PATH(creat, ENOSPC, kChanges, (const char* path, mode_t mode), path, (path, mode))
REPLACE_PATH(creat64, ENOSPC, kChanges, (const char* path, mode_t mode), path, (path, mode))
REPLACE_PATH(mkdir, ENOSPC, kChanges, (const char* path, mode_t mode), path, (path, mode))
REPLACE_PATH(mkfifo, ENOSPC, kChanges, (const char* path, mode_t mode), path, (path, mode))
REPLACE_PATH(rmdir, EIO, kChanges, (const char* path), path, (path))
REPLACE_PATH(unlink, EIO, kChanges, (const char* path), path, (path))
REPLACE_PATH(remove, EIO, kChanges, (const char* path), path, (path))
REPLACE_PATH(rename, EIO, kChanges, (const char* from, const char* to), from, (from, to))
REPLACE_PATH(link, EIO, kChanges, (const char* from, const char* to), to, (from, to))
REPLACE_PATH(symlink, ENOSPC, kChanges, (const char* target, const char* path), path,
             (target, path))
REPLACE_PATH(chmod, EPERM, kChanges, (const char* path, mode_t mode), path, (path, mode))
REPLACE_PATH(chown, EPERM, kChanges, (const char* path, uid_t user, gid_t group), path,
             (path, user, group))
REPLACE_PATH(lchown, EPERM, kChanges, (const char* path, uid_t user, gid_t group), path,
             (path, user, group))
REPLACE_PATH(setxattr, ENOSPC, kChanges,
             (const char* path, const char* name, const void* value, size_t size, int flags), path,
             (path, name, value, size, flags))
REPLACE_PATH(removexattr, EIO, kChanges, (const char* path, const char* name), path, (path, name))
REPLACE_PATH(truncate, EIO, kChanges, (const char* path, off_t size), path, (path, size))
REPLACE_AT(mkdirat, ENOSPC, kChanges, (int folder, const char* path, mode_t mode), folder, path,
           (folder, path, mode))
REPLACE_AT(unlinkat, EIO, kChanges, (int folder, const char* path, int flags), folder, path,
           (folder, path, flags))
REPLACE_AT(renameat, EIO, kChanges, (int from, const char* old, int to, const char* path), to, path,
           (from, old, to, path))
REPLACE_AT(renameat2, EIO, kChanges,
           (int from, const char* old, int to, const char* path, unsigned flags), to, path,
           (from, old, to, path, flags))
REPLACE_AT(fchmodat, EPERM, kChanges, (int folder, const char* path, mode_t mode, int flags),
           folder, path, (folder, path, mode, flags))
REPLACE_AT(fchownat, EPERM, kChanges,
           (int folder, const char* path, uid_t user, gid_t group, int flags), folder, path,
           (folder, path, user, group, flags))
REPLACE_AT(utimensat, EPERM, kChanges,
           (int folder, const char* path, const struct timespec times[2], int flags), folder, path,
           (folder, path, times, flags))
REPLACE_FILE(ssize_t, write, ENOSPC, kChanges, (int file, const void* bytes, size_t size), file,
             (file, bytes, size))
REPLACE_FILE(ssize_t, writev, ENOSPC, kChanges, (int file, const struct iovec* parts, int count),
             file, (file, parts, count))
REPLACE_FILE(ssize_t, pwrite, ENOSPC, kChanges,
             (int file, const void* bytes, size_t size, off_t at), file, (file, bytes, size, at))
REPLACE_FILE(ssize_t, pwrite64, ENOSPC, kChanges,
             (int file, const void* bytes, size_t size, off64_t at), file, (file, bytes, size, at))
REPLACE_FILE(ssize_t, sendfile, ENOSPC, kChanges, (int to, int from, off_t* at, size_t size), to,
             (to, from, at, size))
REPLACE_FILE(int, fsync, EIO, kChanges, (int file), file, (file))
REPLACE_FILE(int, fdatasync, EIO, kChanges, (int file), file, (file))
REPLACE_FILE(int, syncfs, EIO, kChanges, (int file), file, (file))
REPLACE_FILE(int, ftruncate, EIO, kChanges, (int file, off_t size), file, (file, size))
REPLACE_FILE(int, ftruncate64, EIO, kChanges, (int file, off64_t size), file, (file, size))
REPLACE_FILE(int, fchmod, EPERM, kChanges, (int file, mode_t mode), file, (file, mode))
REPLACE_FILE(int, fchown, EPERM, kChanges, (int file, uid_t user, gid_t group), file,
             (file, user, group))
REPLACE_FILE(int, futimens, EPERM, kChanges, (int file, const struct timespec times[2]), file,
             (file, times))
REPLACE_FILE(int, fsetxattr, ENOSPC, kChanges,
             (int file, const char* name, const void* value, size_t size, int flags), file,
             (file, name, value, size, flags))
REPLACE_FILE(int, flock, ENOLCK, kReads, (int file, int operation), file, (file, operation))

/* Opening changes something when it may make or empty the file. */
#define REPLACE_OPEN(name, parameters, folder, arguments)                              \
  int name parameters {                                                                \
    const enum Effect effect = (flags & (O_CREAT | O_TRUNC)) != 0 ? kChanges : kReads; \
    mode_t mode = 0;                                                                   \
    if ((flags & O_CREAT) || (flags & O_TMPFILE) == O_TMPFILE) {                       \
      va_list more;                                                                    \
      va_start(more, flags);                                                           \
      mode = (mode_t)va_arg(more, int);                                                \
      va_end(more);                                                                    \
    }                                                                                  \
    if (HitsAt(#name, folder, path, effect))                                           \
      return errno = ErrorOr(effect == kChanges ? ENOSPC : EMFILE), -1;                \
    return REAL(name) arguments;                                                       \
  }
REPLACE_OPEN(open, (const char* path, int flags, ...), AT_FDCWD, (path, flags, mode))
REPLACE_OPEN(open64, (const char* path, int flags, ...), AT_FDCWD, (path, flags, mode))
REPLACE_OPEN(openat, (int folder, const char* path, int flags, ...), folder,
             (folder, path, flags, mode))
REPLACE_OPEN(openat64, (int folder, const char* path, int flags, ...), folder,
             (folder, path, flags, mode))

static enum Effect EffectOfMode(const char* mode) { return mode[0] == 'r' ? kReads : kChanges; }
REPLACE(FILE*, fopen, (const char* path, const char* mode), (path, mode),
        HitsAt("fopen", AT_FDCWD, path, EffectOfMode(mode)), EMFILE, NULL)
REPLACE(FILE*, fopen64, (const char* path, const char* mode), (path, mode),
        HitsAt("fopen64", AT_FDCWD, path, EffectOfMode(mode)), EMFILE, NULL)

/* Of what it can do, taking locks. */
static int TakesLock(int command, const void* argument) {
  return (command == F_SETLK || command == F_SETLKW) &&
         ((const struct flock*)argument)->l_type != F_UNLCK;
}
#define REPLACE_FCNTL(name)                                                       \
  int name(int file, int command, ...) {                                          \
    void* argument;                                                               \
    va_list more;                                                                 \
    va_start(more, command);                                                      \
    argument = va_arg(more, void*);                                               \
    va_end(more);                                                                 \
    if (control && TakesLock(command, argument) && HitsFile(#name, file, kReads)) \
      return errno = ErrorOr(ENOLCK), -1;                                         \
    return REAL(name)(file, command, argument);                                   \
  }
REPLACE_FCNTL(fcntl)
REPLACE_FCNTL(fcntl64)

REPLACE(pid_t, fork, (void), (), Hits("fork", "", kChanges), EAGAIN, -1)
REPLACE(int, pipe2, (int ends[2], int flags), (ends, flags), Hits("pipe2", "", kReads), EMFILE, -1)
REPLACE(int, socket, (int domain, int type, int protocol), (domain, type, protocol),
        Hits("socket", "", kReads), EMFILE, -1)
REPLACE(int, socketpair, (int domain, int type, int protocol, int ends[2]),
        (domain, type, protocol, ends), Hits("socketpair", "", kReads), EMFILE, -1)
REPLACE(int, bind, (int file, const struct sockaddr* address, socklen_t size),
        (file, address, size), Hits("bind", "", kChanges), EADDRINUSE, -1)
REPLACE(int, connect, (int file, const struct sockaddr* address, socklen_t size),
        (file, address, size), Hits("connect", "", kChanges), ECONNREFUSED, -1)
REPLACE(ssize_t, send, (int file, const void* bytes, size_t size, int flags),
        (file, bytes, size, flags), Hits("send", "", kChanges), ECONNRESET, -1)
REPLACE(ssize_t, recv, (int file, void* bytes, size_t size, int flags), (file, bytes, size, flags),
        Hits("recv", "", kReads), ECONNRESET, -1)

/* These return the error itself. */
int posix_spawn(pid_t* pid, const char* path, const posix_spawn_file_actions_t* actions,
                const posix_spawnattr_t* attributes, char* const arguments[],
                char* const environment[]) {
  if (Hits("posix_spawn", path, kChanges)) return EAGAIN;
  return REAL(posix_spawn)(pid, path, actions, attributes, arguments, environment);
}
int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*),
                   void* argument) {
  if (Hits("pthread_create", "", kReads)) return EAGAIN;
  return REAL(pthread_create)(thread, attributes, run, argument);
}
