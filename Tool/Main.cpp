// Start-up and shutdown of the process.
//
// The order matters. The heap under operator new is activated during start-up, so the process lock
// before it comes from the C library. The heap is destroyed at exit, so all its blocks must be
// released earlier.

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <new>

#include "Core/FatalExit.h"
#include "Memory/GlobalHeap.h"
#include "Memory/Mutex.h"
#include "Tool/Application.h"
#include "Tool/CommandLine.h"

namespace {

constexpr int kFatalStatus = 1;

// Takes the descriptors of standard streams that the caller has closed. Otherwise a picture's file
// would get them: its first byte would count as the user's answer, or a message would be written
// into it. A descriptor opened here can be neither read nor written, so the stream fails like a
// closed one.
void ReserveStandardStreams() {
  for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
    const bool isClosed = fcntl(stream, F_GETFD) < 0;
    if (!isClosed || open("/", O_PATH) == stream) continue;
    // No descriptor is to be had. One that another process frees later would go to a picture, so
    // this process may have none at all: every later open fails, and the run reports that. Lowering
    // a limit is always allowed.
    const rlimit none = {0, 0};
    static_cast<void>(setrlimit(RLIMIT_NOFILE, &none));
    return;
  }
}

// Deliberate: nobody takes this lock. It represents the one instance of the tool in this process;
// if it exists or is missing at the wrong time, the process ends.
constinit Mutex* processLock = nullptr;

void CreateProcessLock() {
  if (processLock != nullptr) Core::FatalExit("The process lock exists already", kFatalStatus);
  processLock = new (std::nothrow) Mutex;
  if (processLock == nullptr) Core::FatalExit("No memory for the process lock", kFatalStatus);
}

void DestroyProcessLock() {
  if (processLock == nullptr) Core::FatalExit("The process lock is gone", kFatalStatus);
  delete processLock;
  processLock = nullptr;
}

void ReleaseFileNames() {
  commandLine.input.Release();
  commandLine.output.Release();
}

// Deliberate: does nothing. It mirrors ActivateHeap, but the heap deactivates itself at exit.
void ShutDown() {}

}  // namespace

int main(int argc, char** argv) {
  ReserveStandardStreams();
  // A message that nobody reads changes neither the picture nor the status.
  std::signal(SIGPIPE, SIG_IGN);
  // A write above the limit of file sizes fails and is reported, like one on a full disk.
  std::signal(SIGXFSZ, SIG_IGN);
  CreateProcessLock();
  ActivateHeap();
  // The heap is destroyed at exit, and perhaps before the names, whose destructors must then find
  // them empty. Handlers registered in main run before all destructors, after a fatal exit too.
  if (std::atexit(ReleaseFileNames) != 0)
    Core::FatalExit("No room for an exit handler", kFatalStatus);
  const int status = RunApplication(argc, argv);
  ShutDown();
  DestroyProcessLock();
  return status;
}
