// Decides which call of a run fails. The calls of all watched functions are numbered together from
// 1, so a log of a whole run gives the number of each call.
//
//   HALOMEND_CALLS=path     appends the function of each call to this file, a line each
//   HALOMEND_FAULT=7:28     call 7 fails with error number 28
//   HALOMEND_FAULT=7+:28    call 7 and every later call of the same function fail
//   HALOMEND_FAULT=7:short  call 7 transfers half of the bytes
//   HALOMEND_FAULT=7:kill   the process is killed before call 7
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

enum class Fault { kNone, kFail, kShort };

// Makes system calls directly, since the functions of these names are watched.
inline void LogCall(const char* path, const char* function) {
  const long file = syscall(SYS_openat, AT_FDCWD, path, O_WRONLY | O_APPEND | O_CREAT, 0600);
  syscall(SYS_write, file, function, std::strlen(function));
  syscall(SYS_write, file, "\n", 1);
  syscall(SYS_close, file);
}

// Counts one call. After kFail, errno is set.
inline Fault NextFault(const char* function) {
  static long call = 0;
  static const char* failing = "";
  if (environ == nullptr) return Fault::kNone;  // the program is still being loaded
  ++call;
  if (const char* path = std::getenv("HALOMEND_CALLS")) LogCall(path, function);
  const char* plan = std::getenv("HALOMEND_FAULT");
  if (plan == nullptr) return Fault::kNone;
  char* kind = nullptr;
  if (std::strtol(plan, &kind, 10) == call) {
    failing = function;
  } else if (*kind != '+' || std::strcmp(failing, function) != 0) {
    return Fault::kNone;
  }
  kind += *kind == '+' ? 2 : 1;
  if (std::strcmp(kind, "kill") == 0) raise(SIGKILL);
  if (std::strcmp(kind, "short") == 0) return Fault::kShort;
  errno = std::atoi(kind);
  return Fault::kFail;
}
