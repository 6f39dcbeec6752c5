// The command line: four flags and two file names, kept for the length of the process.
#pragma once

#include "Core/String.h"

struct CommandLine {
  bool force = false;    // -f: overwrite without asking
  bool inPlace = false;  // -i: the output is the input
  bool opaque = false;   // -o: alpha 255 everywhere before writing
  bool verbose = false;  // -v
  Core::String input;    // file names, empty while not given
  Core::String output;

  // There was no memory for a name. The failure has been reported, the run is not to begin.
  bool lacksMemory = false;
};

// What ParseArguments filled. Empty before main; main drops the names while the heap still serves.
extern constinit CommandLine commandLine;

// Reads argv[1] to argv[argc - 1] into `commandLine`. False: the usage is to be shown; an error
// message, if there is one, has been printed.
[[nodiscard]] bool ParseArguments(int argc, char** argv);
