#include "Tool/CommandLine.h"

#include <cstdio>

#include "Core/CharacterSets.h"

constinit CommandLine commandLine;

namespace {

// Assigns `argument` to `name`, and makes its narrow form now: if that failed later, an output that
// exists could not be named and would count as absent. Without memory for it no image can be read
// either, so the message for `input` says that.
void TakeName(CommandLine& line, Core::String& name, const char* argument) {
  if (name.Assign(Core::kCodePageDefault, argument, nullptr) && name.PrepareNarrow()) return;
  const char* const input = &name == &line.input ? argument : line.input.ToNarrow();
  std::fprintf(stderr, "failed to read image %s!\n", input);
  line.lacksMemory = true;
}

// Reads a group of switch letters. False: parsing ends here; the letters before have taken effect.
bool ParseSwitches(CommandLine& line, const char* argument) {
  for (const char* letter = argument + 1; *letter != '\0'; ++letter) {
    switch (*letter) {
      case 'f':
        line.force = true;
        break;
      case 'i':
        line.inPlace = true;
        break;
      case 'o':
        line.opaque = true;
        break;
      case 'v':
        line.verbose = true;
        break;
      case '-':  // so that --v is -v
        break;
      case 'h':
      case '?':
        return false;
      default:
        std::fprintf(stderr, "invalid argument: %s\n", argument);
        return false;
    }
  }
  return true;
}

// Reads a file name. False: one name too many. A name that decodes to nothing counts as not given,
// so the next name takes its place.
bool ParseName(CommandLine& line, const char* argument) {
  if (line.input.IsEmpty()) {
    TakeName(line, line.input, argument);
    return true;
  }
  // Deliberate: an -i before the second name refuses that name; an -i after it replaces the name.
  if (line.inPlace || !line.output.IsEmpty()) {
    std::fprintf(stderr, "invalid extra filename: %s\n", argument);
    return false;
  }
  TakeName(line, line.output, argument);
  return true;
}

// Checks the command line as a whole, and makes the input the output under -i. Returns the error
// message, or null.
const char* Complete(CommandLine& line) {
  if (line.input.IsEmpty()) return "filename not specified\n";
  if (line.inPlace) line.output = line.input;
  if (line.inPlace && line.opaque) {
    return "error: cannot combine opaque and inplace flags\n";
  }
  return line.output.IsEmpty() ? "output filename not specified\n" : nullptr;
}

}  // namespace

bool ParseArguments(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    const char* const argument = argv[i];
    const bool goesOn = argument[0] == '-' ? ParseSwitches(commandLine, argument)
                                           : ParseName(commandLine, argument);
    if (!goesOn) return false;
    if (commandLine.lacksMemory) return true;
  }
  const char* const error = Complete(commandLine);
  if (error != nullptr) std::fputs(error, stderr);
  return error == nullptr;
}
