// Replay CORPUS ROUNDS: runs a target without libFuzzer, as an ordinary test, over the files of its
// corpus and over seeded random changes of them.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

#include "Fuzz/Check.h"
#include "Tests/Support/TemporaryDirectory.h"

int main(int argc, char** argv) {
  std::vector<std::string> corpus;
  for (const auto& entry : std::filesystem::directory_iterator(argv[argc - 2])) {
    corpus.push_back(ReadFile(entry.path().string()));
  }
  std::sort(corpus.begin(), corpus.end());  // a directory has no order of its own
  const int count = static_cast<int>(corpus.size());
  std::mt19937 random(1);
  for (int round = -count; round < std::atoi(argv[argc - 1]); ++round) {
    std::string input = corpus.at(round < 0 ? round + count : random() % count);
    for (std::size_t changes = round < 0 ? 0 : random() % 8; changes > 0; --changes) {
      const std::string& other = corpus[random() % count];
      const std::string piece = random() % 4 > 0
                                    ? std::string(random() % 3, static_cast<char>(random()))
                                    : other.substr(random() % (other.size() + 1), random() % 40);
      input.replace(random() % (input.size() + 1), random() % 3 * piece.size(), piece);
    }
    const Bytes exact(input.begin(), input.end());
    LLVMFuzzerTestOneInput(exact.data(), exact.size());
  }
}
