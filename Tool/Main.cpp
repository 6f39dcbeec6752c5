// Start-up and shutdown of the process.
//
// The order matters because the heap behind operator new is switched on in the middle of it and is
// destroyed by an exit handler: what was allocated before stays with the C library's allocator, and
// what was allocated from the heap is released before main returns.

#include <fcntl.h>
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

// Takes the numbers of standard streams that the caller has closed. A picture's file would get them
// otherwise: its first byte would pass for the user's answer, or a message end up in it. What holds
// a number now can be neither read nor written, so the stream fails as a closed one does.
void ReserveStandardStreams() {
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    const bool isClosed = fcntl(descriptor, F_GETFD) < 0;
    if (isClosed && open("/", O_PATH) != descriptor)
      Core::FatalExit("No standard stream", kFatalStatus);
  }
}

// Deliberate: nobody takes this lock. It stands for the one running instance of the tool, and its
// absence or presence at the wrong time ends the process.
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

// Deliberate: nothing to do. The counterpart of ActivateHeap; the heap deactivates itself at exit.
void ShutDown() {}

}  // namespace

int main(int argc, char** argv) {
  ReserveStandardStreams();
  // Whether anybody still reads the messages decides neither about the picture nor the status.
  std::signal(SIGPIPE, SIG_IGN);
  CreateProcessLock();  // before the heap serves: this block is the C library's
  ActivateHeap();
  // The heap is destroyed before the names' own destructors run, and these must find them empty. A
  // fatal exit does not come back here, so it has a handler, which runs before the heap's.
  if (std::atexit(ReleaseFileNames) != 0)
    Core::FatalExit("No room for an exit handler", kFatalStatus);
  const int status = RunApplication(argc, argv);
  ReleaseFileNames();
  ShutDown();
  DestroyProcessLock();
  return status;
}
