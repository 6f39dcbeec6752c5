// Any list of arguments gives the flags, the names, the result and the message that follow from the
// rules of the command line, which are stated here a second time, in their plainest form.
//
//   input: arguments, each ended by a zero byte
#include <cstdio>
#include <cstdlib>
#include <string>

#include "Fuzz/Check.h"
#include "Tool/CommandLine.h"

namespace {

struct Expected {
  std::string letters;  // of all switches
  Core::String input, output;
  std::string message;
  bool isUsage = false;

  bool Has(char letter) const { return letters.find(letter) != std::string::npos; }
  void Refuse(const std::string& text) {
    message = text;
    isUsage = true;
  }

  void Take(const std::string& argument) {
    if (argument[0] == '-') {
      const std::size_t stop = argument.find_first_not_of("fiov-");
      letters += argument.substr(0, stop);
      if (stop == std::string::npos) return;
      const bool isHelp = argument[stop] == 'h' || argument[stop] == '?';
      Refuse(isHelp ? "" : "invalid argument: " + argument + "\n");
    } else if (!input.IsEmpty() && (Has('i') || !output.IsEmpty())) {
      Refuse("invalid extra filename: " + argument + "\n");
    } else {
      Check((input.IsEmpty() ? input : output).Assign(0, argument.c_str(), nullptr));
    }
  }

  void End() {
    if (input.IsEmpty()) return Refuse("filename not specified\n");
    if (Has('i')) output = input;
    if (Has('i') && Has('o')) Refuse("error: cannot combine opaque and inplace flags\n");
    if (output.IsEmpty()) Refuse("output filename not specified\n");
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  std::string text(data, data + size);
  text += '\0';
  std::vector<char*> argv = {text.data()};
  Expected expected;
  for (std::size_t at = 0; at < size; at = text.find('\0', at) + 1) {
    argv.push_back(text.data() + at);
    if (!expected.isUsage) expected.Take(text.data() + at);
  }
  if (!expected.isUsage) expected.End();

  char* message = nullptr;
  std::size_t length = 0;
  FILE* const realError = stderr;
  stderr = open_memstream(&message, &length);
  commandLine = CommandLine();
  const bool runs = ParseArguments(static_cast<int>(argv.size()), argv.data());
  std::fclose(stderr);
  stderr = realError;

  Check(runs != expected.isUsage && message == expected.message && !commandLine.lacksMemory);
  Check(commandLine.force == expected.Has('f') && commandLine.inPlace == expected.Has('i'));
  Check(commandLine.opaque == expected.Has('o') && commandLine.verbose == expected.Has('v'));
  Check(commandLine.input.Hash() == expected.input.Hash());
  Check(commandLine.output.Hash() == expected.output.Hash());
  std::free(message);
  return 0;
}
