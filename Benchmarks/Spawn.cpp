// Runs programs alternately and measures each run from its start to its exit.
//
//   Spawn ROUNDS SECONDS PROGRAM ARGUMENT... [-- PROGRAM ARGUMENT...]...
//
// Each round runs each program once. Short programs get more rounds than ROUNDS, and no round
// begins after SECONDS. Then one line for each program is printed: its shortest run in seconds, the
// most memory that it held in KiB, and its last exit status.
//
// The system counts a child's memory from its parent's when it starts, so this parent is small: no
// iostream, and linked statically.
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace {

constexpr int kMaxPrograms = 8;
constexpr double kMinSeconds = 0.3;

struct Program {
  char** arguments;
  double seconds;  // of the shortest run; 0 before the first
  long kibibytes;
  int status;
};

double Now() {
  timespec time;
  clock_gettime(CLOCK_MONOTONIC, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// False: it could not be started.
bool Run(Program& program, const posix_spawn_file_actions_t& actions) {
  pid_t child;
  int status;
  rusage usage;
  const double start = Now();
  if (posix_spawn(&child, program.arguments[0], &actions, nullptr, program.arguments, environ) !=
          0 ||
      wait4(child, &status, 0, &usage) != child) {
    return false;
  }
  const double seconds = Now() - start;
  if (program.seconds == 0 || seconds < program.seconds) program.seconds = seconds;
  if (usage.ru_maxrss > program.kibibytes) program.kibibytes = usage.ru_maxrss;
  program.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) return 2;
  const int rounds = std::atoi(argv[1]);
  const double maxSeconds = std::atof(argv[2]);
  Program programs[kMaxPrograms] = {};
  int count = 0;
  programs[count++].arguments = argv + 3;
  for (int i = 4; i < argc && count < kMaxPrograms; ++i) {
    if (std::strcmp(argv[i], "--") != 0) continue;
    argv[i] = nullptr;
    programs[count++].arguments = argv + i + 1;
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  const double begin = Now();
  const auto spent = [begin] { return Now() - begin; };
  for (int round = 0;
       round == 0 || ((round < rounds || spent() < kMinSeconds) && spent() < maxSeconds); ++round) {
    for (int i = 0; i < count; ++i) {
      if (Run(programs[i], actions)) continue;
      std::fprintf(stderr, "cannot run %s\n", programs[i].arguments[0]);
      return 1;
    }
  }
  for (int i = 0; i < count; ++i) {
    std::printf("%.9f\t%ld\t%d\n", programs[i].seconds, programs[i].kibibytes, programs[i].status);
  }
}
