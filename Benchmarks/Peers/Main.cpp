// A peer as a program: PEER IN.png OUT.png does the tool's job. HALOMEND_PEER is the namespace with
// its parts.
#include <exception>

#include "Benchmarks/Peers/Baseline.h"
#include "Benchmarks/Peers/BestKnown.h"

int main(int argc, char** argv) {
  namespace peer = HALOMEND_PEER;
  if (argc != 3) return 2;
  try {
    Picture picture = peer::Decode(ReadFile(argv[1]));
    if (peer::Repair(picture) > 0) WriteFile(argv[2], peer::Encode(picture));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", argv[1], error.what());
    return 1;
  }
}
