// Google Benchmark on each stage of the product. A name holds stage, data set and size, such as
// Deflate/Sprite/1MB. The size is that of the pixels, and the rate counts their bytes.
//
//   Micro --benchmark_filter='^Deflate/'      and all other switches of Google Benchmark
//
// The data sets are generated pictures, Samples/star.png, and some real pictures where ./bench has
// fetched them.
#include <benchmark/benchmark.h>

#include <filesystem>

#include "Benchmarks/DataSets.h"
#include "Benchmarks/HeapTrace.h"
#include "Benchmarks/Peers/Baseline.h"
#include "Benchmarks/Peers/BestKnown.h"
#include "Benchmarks/Stages.h"
#include "Compression/Checksums/Adler32.h"
#include "Compression/Checksums/Crc32.h"
#include "Image/PngEncoder.h"
#include "Tool/AlphaRepair.h"

namespace {

// One picture in every form that a stage takes.
struct Subject {
  explicit Subject(const Picture& original, Bytes pngFile)
      : picture(original.width, original.height), file(std::move(pngFile)) {
    std::copy(original.pixels.begin(), original.pixels.end(), picture.pixels.begin());
    zlib = best_known::ImageStream(file);
    imageData = Bytes(best_known::ImageDataSize(file));
    Picture repaired = best_known::Decode(file);
    best_known::Repair(repaired);
    rawImage = best_known::RawImage(repaired);
    CopyTo(bitmap, repaired);
  }

  Picture picture;
  Bytes file;       // as PNG, with row filters
  Bytes zlib;       // the stream in it
  Bytes imageData;  // room for the decompressed stream
  Bytes rawImage;   // repaired, without filters
  Bitmap bitmap;    // repaired
};

using Stage = void (*)(benchmark::State& state, Subject& subject);

void Inflate(benchmark::State& state, Subject& subject) {
  for (auto _ : state) InflateInto(subject.imageData, subject.zlib);
}

void Deflate(benchmark::State& state, Subject& subject) {
  for (auto _ : state) {
    Core::MemoryStream destination;
    DeflateInto(destination, subject.rawImage);
  }
}

void Decode(benchmark::State& state, Subject& subject) {
  for (auto _ : state) {
    Bitmap bitmap;
    DecodeInto(bitmap, subject.file);
  }
}

void Encode(benchmark::State& state, Subject& subject) {
  for (auto _ : state) {
    Core::MemoryStream destination;
    Demand(SavePng(destination, subject.bitmap), "encoding failed");
  }
}

void Repair(benchmark::State& state, Subject& subject) {
  Bitmap bitmap;
  for (auto _ : state) {
    state.PauseTiming();
    CopyTo(bitmap, subject.picture);
    state.ResumeTiming();
    benchmark::DoNotOptimize(RepairTransparentPixels(bitmap, 0));
  }
}

constexpr struct {
  const char* name;
  Stage run;
} kStages[] = {{"Inflate", Inflate},
               {"Deflate", Deflate},
               {"Decode", Decode},
               {"Encode", Encode},
               {"Repair", Repair}};

void Register(const std::string& dataSet, const std::shared_ptr<Subject>& subject) {
  const auto size = static_cast<int64_t>(subject->picture.pixels.size * sizeof(uint32_t));
  const std::string sizeName = size >= 1 << 20
                                   ? std::to_string(size >> 20) + "MB"
                                   : std::to_string(std::max(size >> 10, int64_t{1})) + "KB";
  for (const auto& [name, run] : kStages) {
    const std::string fullName = std::string(name) + "/" + dataSet + "/" + sizeName;
    benchmark::RegisterBenchmark(fullName.c_str(), [subject, size,
                                                    run = run](benchmark::State& state) {
      run(state, *subject);
      state.SetBytesProcessed(state.iterations() * size);
    })->Unit(benchmark::kMicrosecond);
  }
}

void RegisterPictures() {
  for (const DataSet& set : kDataSets) {
    for (const uint32_t side : {16, 128, 512, 2048}) {
      const Picture picture = set.make(side, side);
      Register(set.name, std::make_shared<Subject>(picture, baseline::Encode(picture, true)));
    }
  }
  const std::string hedgewars = "build/pictures/hedgewars-data/usr/share/games/hedgewars/Data/";
  const std::pair<const char*, std::string> files[] = {
      {"Star", "Samples/star.png"},
      {"Hat", hedgewars + "Graphics/Hats/zoo_Pig.png"},
      {"Castle", hedgewars + "Forts/CastleL.png"},
      {"Horizon", hedgewars + "Themes/Stage/horizont.png"},
      {"Cheese", hedgewars + "Maps/Cheese/map.png"}};
  for (const auto& [name, path] : files) {
    const std::string file = HALOMEND_SOURCE + path;
    if (!std::filesystem::exists(file)) continue;
    Bytes bytes = ReadFile(file);
    const Picture picture = baseline::Decode(bytes);
    Register(name, std::make_shared<Subject>(picture, std::move(bytes)));
  }
}

template <typename Sum>
void RegisterChecksum(const std::string& name, Sum sum) {
  for (const std::size_t size : {1 << 10, 16 << 10, 64 << 10, 256 << 10}) {
    const std::string fullName = name + "/Noise/" + std::to_string(size >> 10) + "KB";
    benchmark::RegisterBenchmark(fullName.c_str(), [size, sum](benchmark::State& state) {
      Bytes data(size);
      std::mt19937 random(3);
      for (uint8_t& byte : data) byte = static_cast<uint8_t>(random());
      for (auto _ : state) benchmark::DoNotOptimize(sum(data.begin(), size));
      state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(size));
    });
  }
}

void RunHeapTrace(benchmark::State& state) {
  HeapTrace trace;
  ProductHeap heap;
  for (auto _ : state) {
    state.PauseTiming();
    trace.Fill(heap);
    state.ResumeTiming();
    trace.Run(heap);
  }
  state.SetItemsProcessed(state.iterations() * HeapTrace::kPairs);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  RegisterChecksum("Crc32",
                   [](const uint8_t* data, std::size_t size) { return Crc32(data, size, 0); });
  RegisterChecksum("Adler32", [](const uint8_t* data, std::size_t size) {
    return Adler32(data, size, kAdler32Initial);
  });
  RegisterPictures();
  benchmark::RegisterBenchmark("HeapTrace/TenThousandLive/1MPairs", RunHeapTrace)
      ->Unit(benchmark::kMillisecond);
  benchmark::RunSpecifiedBenchmarks();
}
