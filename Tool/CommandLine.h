// The command line: four flags and two file names, kept as long as the process runs.
#pragma once

#include "Core/String.h"

struct CommandLine {
  bool force = false;    // -f: overwrite without asking
  bool inPlace = false;  // -i: the output is the input
  bool opaque = false;   // -o: alpha 255 everywhere before writing
  bool verbose = false;  // -v
  Core::String input;    // file names, empty while not given
  Core::String output;

  // There was no memory for a name. The failure has been reported, and the run must not begin.
  bool lacksMemory = false;
};

// Filled by ParseArguments. The names are empty when static objects are destroyed: an exit handler
// of main releases them while the heap still serves, so the order of destruction does not matter.
extern constinit CommandLine commandLine;

// Reads argv[1] to argv[argc - 1] into `commandLine`. False: the caller must show the usage; the
// error message, if there is one, has been printed.
[[nodiscard]] bool ParseArguments(int argc, char** argv);
