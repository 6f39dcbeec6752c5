#include "Core/FatalExit.h"

#include <cstdlib>

#include "Core/String.h"

namespace Core {

namespace {

constexpr int kAssertionStatus = 1;

// The two reporting hooks. They do nothing on this platform.
void ShowMessage(const char* /*message*/) {}
void BreakIntoDebugger(const char* /*message*/) {}

}  // namespace

void FatalExit(const char* message, int status) {
  ShowMessage(message);
  BreakIntoDebugger(message);
  std::exit(status);
}

void AssertionFailed(const char* expression, int line, const char* unit) {
  String message;
  const bool formatted =
      message.Format("Assertion failed: %s at line %d in file %s", expression, line, unit);
  FatalExit(formatted ? message.ToNarrow() : expression, kAssertionStatus);
}

}  // namespace Core
