// Runs a program to its end and collects what it said.
#pragma once

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "Tests/Support/TemporaryDirectory.h"

struct Outcome {
  int status = -1;  // of the exit; -1: the program was killed or could not be run
  std::string output;
  std::string error;
};

// Runs `program` in `directory` with `input` as its standard input.
inline Outcome RunProgram(const std::string& program, const std::string& directory,
                          std::vector<std::string> arguments, const std::string& input) {
  const TemporaryDirectory streams;
  const std::string paths[] = {streams.Path("in"), streams.Path("out"), streams.Path("error")};
  for (const std::string& path : paths) WriteFile(path, path == paths[0] ? input : "");
  std::vector<char*> argv = {const_cast<char*>(program.c_str())};
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    for (int i = 0; i < 3; ++i) dup2(open(paths[i].c_str(), O_RDWR), i);
    if (chdir(directory.c_str()) == 0) execv(argv[0], argv.data());
    abort();
  }
  int status = 0;
  const bool exited = waitpid(child, &status, 0) == child && WIFEXITED(status);
  return {exited ? WEXITSTATUS(status) : -1, ReadFile(paths[1]), ReadFile(paths[2])};
}
