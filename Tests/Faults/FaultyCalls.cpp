// Preloaded before the C library: the system functions that the program uses. Any call of them can
// be made to fail. Calls within the C library are not affected.

#include <sys/mman.h>

#include "Tests/Faults/FaultPlan.h"

namespace {

ssize_t Transfer(long number, const char* function, int file, const void* bytes, size_t count) {
  const Fault fault = NextFault(function);
  if (fault == Fault::kFail) return -1;
  return syscall(number, file, bytes, fault == Fault::kShort ? count / 2 : count);
}

}  // namespace

extern "C" {

void* __libc_malloc(size_t size);

void* malloc(size_t size) noexcept {
  return NextFault("malloc") == Fault::kNone ? __libc_malloc(size) : nullptr;
}

void* mmap(void* address, size_t length, int access, int flags, int file, off_t offset) noexcept {
  if (NextFault("mmap") != Fault::kNone) return MAP_FAILED;
  return reinterpret_cast<void*>(syscall(SYS_mmap, address, length, access, flags, file, offset));
}

// For a standard stream that is closed.
int open(const char* path, int flags, ...) {
  if (NextFault("open") != Fault::kNone) return -1;
  return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags));
}

int open64(const char* path, int flags, ...) {
  constexpr int kPermissions = 0600;  // the program passes nothing else
  if (NextFault("open64") != Fault::kNone) return -1;
  return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, kPermissions));
}

off64_t lseek64(int file, off64_t offset, int origin) noexcept {
  return NextFault("lseek64") == Fault::kNone ? syscall(SYS_lseek, file, offset, origin) : -1;
}

ssize_t read(int file, void* bytes, size_t count) {
  return Transfer(SYS_read, "read", file, bytes, count);
}

ssize_t write(int file, const void* bytes, size_t count) {
  return Transfer(SYS_write, "write", file, bytes, count);
}

// The descriptor is closed even if the last bytes could not be stored.
int close(int file) {
  const int result = static_cast<int>(syscall(SYS_close, file));
  return NextFault("close") == Fault::kNone ? result : -1;
}
}
