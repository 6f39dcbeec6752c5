// Ends the process when an invariant is broken. Nothing is printed on this platform.
#pragma once

namespace Core {

// Hands `message` to the two reporting hooks (show a message, break into a debugger), which do
// nothing on Linux, and ends the process with `status`.
[[noreturn]] void FatalExit(const char* message, int status);

// Calls FatalExit with status 1 and a message about a failed assertion: `expression`, at `line` of
// the source `unit`, such as "Image/Bitmap".
[[noreturn]] void AssertionFailed(const char* expression, int line, const char* unit);

}  // namespace Core
