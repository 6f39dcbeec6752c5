#include "Tool/CommandLine.h"

#include <cstdio>

#include "Core/CharacterSets.h"

constinit CommandLine commandLine;

namespace {

// Takes `argument` as a file name, with its narrow form: made now, it cannot be missing later, when
// an existing output that cannot be named would pass for one that does not exist. Without memory
// for it no image can be read either, and that is what is said.
void TakeName(Core::String& name, const char* argument) {
  if (name.Assign(Core::kCodePageDefault, argument, nullptr) && name.PrepareNarrow()) return;
  const bool isInput = &name == &commandLine.input;
  std::fprintf(stderr, "failed to read image %s!\n",
               isInput ? argument : commandLine.input.ToNarrow());
  commandLine.lacksMemory = true;
}

// Takes a group of switch letters. False: parsing ends here. The letters before have taken effect.
bool ParseSwitches(const char* argument) {
  for (const char* letter = argument + 1; *letter != '\0'; ++letter) {
    switch (*letter) {
      case 'f':
        commandLine.force = true;
        break;
      case 'i':
        commandLine.inPlace = true;
        break;
      case 'o':
        commandLine.opaque = true;
        break;
      case 'v':
        commandLine.verbose = true;
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

// False: there is no place for another name. Emptiness is that of the decoded text, so a name that
// decodes to nothing leaves its place to the next one.
bool ParseName(const char* argument) {
  if (commandLine.input.IsEmpty()) {
    TakeName(commandLine.input, argument);
    return true;
  }
  // Deliberate: only an -i before the second name refuses that name; an -i after it replaces it.
  if (commandLine.inPlace || !commandLine.output.IsEmpty()) {
    std::fprintf(stderr, "invalid extra filename: %s\n", argument);
    return false;
  }
  TakeName(commandLine.output, argument);
  return true;
}

// Tests what only the whole command line can tell, and makes the input the output under -i. Returns
// the error message, or null.
const char* Complete() {
  if (commandLine.input.IsEmpty()) return "filename not specified\n";
  if (commandLine.inPlace) commandLine.output = commandLine.input;
  if (commandLine.inPlace && commandLine.opaque) {
    return "error: cannot combine opaque and inplace flags\n";
  }
  return commandLine.output.IsEmpty() ? "output filename not specified\n" : nullptr;
}

}  // namespace

bool ParseArguments(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    const char* const argument = argv[i];
    if (!(argument[0] == '-' ? ParseSwitches(argument) : ParseName(argument))) return false;
    if (commandLine.lacksMemory) return true;
  }
  const char* const error = Complete();
  if (error != nullptr) std::fputs(error, stderr);
  return error == nullptr;
}
