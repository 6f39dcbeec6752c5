// The run of the tool from the command line to the exit status, and every message it prints.
#pragma once

// Parses the arguments, prints banner and usage as they ask for, and runs the tool. Returns the
// exit status of the process.
int RunApplication(int argc, char** argv);

// Reads, repairs and writes one image as `commandLine` says. Returns the exit status.
int RunTool();

// Prints the line with the product's name and version when the run is verbose.
void PrintBanner();

// Prints the banner, when the run is verbose, and the usage.
void PrintUsage();
