// Times the stages that need no pictures, the checksums and the heap; product and peers alternate.
//
//   CompareLoops checksums|heap ROUNDS SECONDS
//
// Prints the lines of Measure.h.
#include <dlfcn.h>
#include <libdeflate.h>
#include <pthread.h>
#include <zlib.h>

#include <cstdlib>
#include <exception>
#include <random>

#include "Benchmarks/HeapTrace.h"
#include "Benchmarks/Measure.h"
#include "Benchmarks/Stages.h"
#include "Compression/Checksums/Adler32.h"
#include "Compression/Checksums/Crc32.h"
#include "Memory/GlobalHeap.h"

namespace {

using Checksum = uint32_t (*)(const uint8_t* data, std::size_t length);

uint32_t CrcByZlib(const uint8_t* data, std::size_t length) {
  return static_cast<uint32_t>(crc32(0, data, static_cast<uInt>(length)));
}
uint32_t AdlerByZlib(const uint8_t* data, std::size_t length) {
  return static_cast<uint32_t>(adler32(1, data, static_cast<uInt>(length)));
}

void CompareChecksum(const std::string& stage, std::size_t size, const Effort& effort,
                     Checksum ours, Checksum byZlib, Checksum byLibdeflate) {
  const std::size_t repeats = (std::size_t{16} << 20) / size;  // of the same bytes: from a cache
  Bytes data(size);
  std::mt19937 random(3);
  for (uint8_t& byte : data) byte = static_cast<uint8_t>(random());
  Demand(ours(data.begin(), size) == byZlib(data.begin(), size) &&
             ours(data.begin(), size) == byLibdeflate(data.begin(), size),
         "the checksums differ");
  const auto repeated = [&](Checksum checksum) {
    return [&data, size, repeats, checksum] {
      for (std::size_t i = 0; i < repeats; ++i) KeepResult(checksum(data.begin(), size));
    };
  };
  std::vector<Method> methods = {{"Halomend", {}, repeated(ours)},
                                 {"zlib", {}, repeated(byZlib)},
                                 {"libdeflate", {}, repeated(byLibdeflate)}};
  MeasureAlternately(methods, effort);
  const std::string item = std::to_string(size >> 10) + " KiB";
  for (const Method& method : methods) Report(stage, item, method, 0, size * repeats);
}

void CompareChecksums(const Effort& effort) {
  for (const std::size_t size : {16 << 10, 64 << 10, 256 << 10}) {
    CompareChecksum(
        "CRC-32", size, effort,
        [](const uint8_t* data, std::size_t length) { return Crc32(data, length, 0); }, CrcByZlib,
        [](const uint8_t* data, std::size_t length) { return libdeflate_crc32(0, data, length); });
    CompareChecksum(
        "Adler-32", size, effort,
        [](const uint8_t* data, std::size_t length) {
          return Adler32(data, length, kAdler32Initial);
        },
        AdlerByZlib,
        [](const uint8_t* data, std::size_t length) {
          return libdeflate_adler32(1, data, length);
        });
  }
}

// An allocator with a lock around each call, like the product's heap.
template <typename Allocator>
struct Locked {
  Allocator allocator;
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;

  void* Allocate(std::size_t size) {
    pthread_mutex_lock(&mutex);
    void* block = allocator.Allocate(size);
    pthread_mutex_unlock(&mutex);
    return block;
  }
  void Free(void* block) {
    pthread_mutex_lock(&mutex);
    allocator.Free(block);
    pthread_mutex_unlock(&mutex);
  }
};

struct Glibc {
  void* Allocate(std::size_t size) { return std::malloc(size); }
  void Free(void* block) { std::free(block); }
};

// Loaded by hand, where it is installed: if it were linked, it would replace malloc.
struct Mimalloc {
  void* library = dlopen("libmimalloc.so.2", RTLD_NOW | RTLD_LOCAL);
  void* (*allocate)(std::size_t) = nullptr;
  void (*release)(void*) = nullptr;

  Mimalloc() {
    if (library == nullptr) return;
    allocate = reinterpret_cast<void* (*)(std::size_t)>(dlsym(library, "mi_malloc"));
    release = reinterpret_cast<void (*)(void*)>(dlsym(library, "mi_free"));
  }
  void* Allocate(std::size_t size) { return allocate(size); }
  void Free(void* block) { release(block); }
};

void CompareHeap(const Effort& effort) {
  HeapTrace trace;
  ProductHeap ours;
  Glibc glibc;
  Locked<Glibc> lockedGlibc;
  Locked<Mimalloc> mimalloc;
  std::vector<Method> methods;
  const auto add = [&](const char* name, auto& allocator) {
    methods.push_back({name, [&] { trace.Fill(allocator); }, [&] { trace.Run(allocator); }});
  };
  add("Halomend", ours);
  add("glibc", glibc);
  add("glibc under a mutex", lockedGlibc);
  if (mimalloc.allocator.allocate != nullptr) add("mimalloc under a mutex", mimalloc);
  MeasureAlternately(methods, effort);
  for (const Method& method : methods) {
    Report("heap", "trace", method, 0, HeapTrace::kPairs);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  const Effort effort{std::atoi(argv[2]), std::atof(argv[3])};
  try {
    if (std::string(argv[1]) == "heap") {
      CompareHeap(effort);
    } else {
      CompareChecksums(effort);
    }
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
