#include "authn_helper.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "apr_thread_proc.h"

APLOG_USE_MODULE(authn_kelvarion);

/* Stays when the configuration is read anew, since workers of before go on asking. */
typedef struct {
  int open;
  int ask;    /* The workers' end. */
  int answer; /* The helper's end, kept for the next helper. */
} Channel;

static Channel* channel;

static struct {
  apr_pool_t* pool;
  server_rec* server;
  const char* program; /* NULL while none is wanted. */
  const char* home;
  apr_proc_t process; /* pid 0 when it does not run. */
  apr_time_t started;
} helper;

static const int kHelperChannel = 3; /* Where the helper expects it. */
static const apr_interval_time_t kTooShort = APR_TIME_C(5000000);
static const int kPatienceMs = 30000;

static void CloseChannel(void) {
  if (channel->open) close(channel->ask), close(channel->answer);
  channel->open = 0;
}

static int OpenChannel(server_rec* s) {
  int ends[2];
  struct timeval patience = {5, 0};
  if (channel->open) return 1;
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
    ap_log_error(APLOG_MARK, APLOG_ERR, errno, s, "no socket for the checking of passwords");
    return 0;
  }
  setsockopt(ends[0], SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
  channel->ask = ends[0];
  channel->answer = ends[1];
  return channel->open = 1;
}

/* The child's part: nothing but the channel and the error log reaches the helper. */
static void Execute(pid_t parent) {
  int nothing;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(0);
  setpgid(0, 0); /* Signals to Apache's processes are not for it. */
  if (channel->answer == kHelperChannel)
    fcntl(kHelperChannel, F_SETFD, 0);
  else
    dup2(channel->answer, kHelperChannel);
  close_range(kHelperChannel + 1, ~0U, 0);
  nothing = open("/dev/null", O_RDWR);
  dup2(nothing, STDIN_FILENO);
  dup2(STDERR_FILENO, STDOUT_FILENO);
  close(nothing);
  execl(helper.program, helper.program, helper.home, (char*)NULL);
  _exit(127);
}

static void NoteHelperEnd(int reason, void* data, int status);

static void Spawn(void) {
  const pid_t parent = getpid();
  const pid_t pid = fork();
  if (pid == 0) Execute(parent);
  if (pid < 0) {
    ap_log_error(APLOG_MARK, APLOG_ERR, errno, helper.server, "cannot start %s", helper.program);
    return;
  }
  helper.process.pid = pid;
  helper.started = apr_time_now();
  apr_proc_other_child_register(&helper.process, NoteHelperEnd, &helper, NULL, helper.pool);
}

/* One that dies at once is given time before the next attempt. */
static void NoteHelperEnd(int reason, void* data, int status) {
  if (reason != APR_OC_REASON_DEATH && reason != APR_OC_REASON_LOST) return;
  apr_proc_other_child_unregister(data);
  helper.process.pid = 0;
  ap_log_error(APLOG_MARK, APLOG_ERR, 0, helper.server, "%s ended unexpectedly (wait status %d)",
               helper.program, status);
  if (apr_time_now() - helper.started > kTooShort) Spawn();
}

static apr_status_t StopHelper(void* data) {
  const pid_t pid = helper.process.pid;
  if (pid == 0) return APR_SUCCESS;
  apr_proc_other_child_unregister(data);
  helper.process.pid = 0;
  kill(pid, SIGKILL);
  while (waitpid(pid, NULL, 0) < 0 && errno == EINTR) continue;
  return APR_SUCCESS;
}

void StartHelper(apr_pool_t* pool, server_rec* s, const char* program, const char* home) {
  static const char kKey[] = "kelvarion authn channel";
  channel = ap_retained_data_get(kKey);
  if (!channel) channel = ap_retained_data_create(kKey, sizeof *channel);
  helper.pool = pool;
  helper.server = s;
  helper.program = program;
  helper.home = home;
  if (!program) {
    CloseChannel();
    return;
  }
  if (!OpenChannel(s)) return;
  Spawn();
  apr_pool_cleanup_register(pool, &helper, StopHelper, apr_pool_cleanup_null);
}

void KeepHelperRunning(void) {
  if (helper.program && channel->open && helper.process.pid == 0) Spawn();
}

void ProtectWorker(server_rec* s) {
  if (!channel || !channel->open) return;
  close(channel->answer);
  if (prctl(PR_SET_DUMPABLE, 0) != 0)
    ap_log_error(APLOG_MARK, APLOG_ERR, errno, s, "cannot close a worker to its own account");
}

/* Sends the text along with the end to answer on; 0 or an error. */
static int Send(const char* text, apr_size_t size, int answer_end) {
  union {
    struct cmsghdr header;
    char space[CMSG_SPACE(sizeof(int))];
  } control = {.header = {.cmsg_len = CMSG_LEN(sizeof(int)),
                          .cmsg_level = SOL_SOCKET,
                          .cmsg_type = SCM_RIGHTS}};
  struct iovec part = {(void*)text, size};
  struct msghdr message = {.msg_iov = &part,
                           .msg_iovlen = 1,
                           .msg_control = &control,
                           .msg_controllen = sizeof control.space};
  memcpy(CMSG_DATA(&control.header), &answer_end, sizeof answer_end);
  for (;;) {
    if (sendmsg(channel->ask, &message, MSG_NOSIGNAL) >= 0) return 0;
    if (errno != EINTR) return errno;
  }
}

/* Waits until something is there to be read; 0, or ETIMEDOUT. */
static int WaitFor(int end, apr_time_t until) {
  for (;;) {
    struct pollfd wait = {end, POLLIN, 0};
    const apr_interval_time_t left = until - apr_time_now();
    const int ready = left > 0 ? poll(&wait, 1, (int)apr_time_as_msec(left) + 1) : 0;
    if (ready > 0) return 0;
    if (ready == 0) return ETIMEDOUT;
  }
}

/* 0 with the answer, ECONNRESET when the helper ended before it gave one, or another error. */
static int Receive(request_rec* r, int end, apr_time_t until, const char** answer,
                   apr_size_t* answer_size) {
  ssize_t size;
  char* text;
  const int error = WaitFor(end, until);
  if (error) return error;
  size = recv(end, NULL, 0, MSG_PEEK | MSG_TRUNC);
  if (size <= 0) return ECONNRESET;
  text = apr_pcalloc(r->pool, (apr_size_t)size + 1);
  if (recv(end, text, (size_t)size, 0) != size) return ECONNRESET;
  *answer = text;
  *answer_size = (apr_size_t)size;
  return 0;
}

static int AskOnce(request_rec* r, const char* text, apr_size_t size, apr_time_t until,
                   const char** answer, apr_size_t* answer_size) {
  int ends[2];
  int error;
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) return errno;
  error = Send(text, size, ends[1]);
  close(ends[1]);
  if (!error) error = Receive(r, ends[0], until, answer, answer_size);
  close(ends[0]);
  return error;
}

const char* AskHelper(request_rec* r, const char* text, apr_size_t size, apr_size_t* answer_size) {
  const apr_time_t until = apr_time_now() + apr_time_from_msec(kPatienceMs);
  const char* answer = NULL;
  int error = ENOTCONN;
  /* A helper that was replaced in the middle of it has left the question to the next one. */
  for (int i = 0; i < 3 && !answer && channel && channel->open; ++i) {
    error = AskOnce(r, text, size, until, &answer, answer_size);
    if (error != ECONNRESET) break;
  }
  if (!answer)
    ap_log_rerror(APLOG_MARK, APLOG_ERR, error, r,
                  "passwords of this machine's accounts cannot be checked");
  return answer;
}
