// The end of the process for broken invariants: nothing is printed on this platform.
#pragma once

namespace Core {

// Hands `message` to the two reporting hooks (show a message, break into a debugger), which do
// nothing on Linux, and ends the process with `status`.
[[noreturn]] void FatalExit(const char* message, int status);

// The fatal exit, with status 1, of a failed assertion: `expression` at `line` of source `unit`
// (such as "Image/Bitmap").
[[noreturn]] void AssertionFailed(const char* expression, int line, const char* unit);

}  // namespace Core
