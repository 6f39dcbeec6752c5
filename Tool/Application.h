// The run of the tool from the command line to the exit status, and every message it prints.
#pragma once

#include "Tool/CommandLine.h"

// Parses the arguments, prints banner and usage if asked to, and runs the tool. Returns the exit
// status of the process.
int RunApplication(int argc, char** argv);

// Reads, repairs and writes one image. Returns the exit status.
int RunTool(const CommandLine& line);

// Prints the line with the product's name and version if the run is verbose.
void PrintBanner(const CommandLine& line);

// Prints the banner, if the run is verbose, and the usage.
void PrintUsage(const CommandLine& line);
