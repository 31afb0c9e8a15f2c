// What the sanitizers are told. It is linked into every program of a build with sanitizers, since
// hooks and services start without the environment that would tell it otherwise; ASAN_OPTIONS and
// its like still have the last word.
//
// Reports go to files, since nobody reads what a service or a hook prints; tools/sanitize collects
// them. A suppression names what is at fault and says why it is not ours to mend.

#define LOG "log_path=" KELVARION_SANITIZER_LOG ":log_exe_name=1:print_suppressions=0:"

extern "C" {

const char* __asan_default_options() {
  return LOG "detect_stack_use_after_return=1:strict_string_checks=1:check_initialization_order=1";
}

const char* __ubsan_default_options() { return LOG "print_stacktrace=1"; }

const char* __tsan_default_options() {
  return LOG
      // What libraries without instrumentation do among themselves is not seen, nor are the atomics
      // by which they order it; reports of the one without the other would mean nothing.
      "ignore_noninstrumented_modules=1:"
      // Programs are started from processes with many threads, and exec follows at once.
      "die_after_fork=0";
}

const char* __lsan_default_suppressions() {
  return
      // APR keeps its allocators in pages of its own, where no pointers are looked for.
      "leak:apr_allocator_create\n";
}

const char* __tsan_default_suppressions() {
  return
      // fuzz/confinement.cpp handles stopped calls in signals, which come at known places.
      "signal:kelvarion::fuzz\n";
}

}  // extern "C"
