// Times one stage on pictures, product and peers alternating, and compares their results.
//
//   ComparePictures decode|inflate|deflate|repair ROUNDS SECONDS PNG...
//
// SECONDS is the limit for each picture. Prints the lines of Measure.h.
#include <libdeflate.h>
#include <malloc.h>
#include <zlib.h>

#include <cstdlib>
#include <cstring>
#include <optional>

#include "Benchmarks/DataSets.h"
#include "Benchmarks/Measure.h"
#include "Benchmarks/Peers/Baseline.h"
#include "Benchmarks/Peers/BestKnown.h"
#include "Benchmarks/Stages.h"
#include "Tool/AlphaRepair.h"

namespace {

using Compressor = std::unique_ptr<libdeflate_compressor, decltype(&libdeflate_free_compressor)>;
using Decompressor =
    std::unique_ptr<libdeflate_decompressor, decltype(&libdeflate_free_decompressor)>;

void CompareDecode(const std::string& path, const Bytes& file, const Effort& effort) {
  std::optional<Bitmap> ours;
  Picture plain;
  Picture best;
  std::vector<Method> methods = {
      {"Halomend", {}, [&] { DecodeInto(ours.emplace(), file); }},
      {"libpng and zlib", {}, [&] { plain = baseline::Decode(file); }},
      {"libdeflate and SSE2", {}, [&] { best = best_known::Decode(file); }}};
  MeasureAlternately(methods, effort);
  Demand(PictureOf(*ours) == plain && best == plain, "the decoders differ");
  for (const Method& method : methods) Report("decode", path, method, 0, plain.pixels.size);
}

void InflateByZlib(Bytes& raw, const Bytes& zlib) {
  z_stream stream = {};
  stream.next_in = const_cast<uint8_t*>(zlib.begin());
  stream.avail_in = static_cast<uInt>(zlib.size);
  stream.next_out = raw.begin();
  stream.avail_out = static_cast<uInt>(raw.size);
  const bool isGood = inflateInit(&stream) == Z_OK && inflate(&stream, Z_FINISH) == Z_STREAM_END;
  inflateEnd(&stream);
  Demand(isGood && stream.avail_out == 0, "zlib failed to inflate");
}

void InflateByLibdeflate(Bytes& raw, const Bytes& zlib) {
  const Decompressor decompressor(libdeflate_alloc_decompressor(), libdeflate_free_decompressor);
  Demand(libdeflate_zlib_decompress(decompressor.get(), zlib.begin(), zlib.size, raw.begin(),
                                    raw.size, nullptr) == LIBDEFLATE_SUCCESS,
         "libdeflate failed to inflate");
}

void CompareInflate(const std::string& path, const Bytes& file, const Effort& effort) {
  const Bytes zlib = best_known::ImageStream(file);
  Bytes raw[3];
  for (Bytes& bytes : raw) bytes = Bytes(best_known::ImageDataSize(file));
  std::vector<Method> methods = {{"Halomend", {}, [&] { InflateInto(raw[0], zlib); }},
                                 {"zlib", {}, [&] { InflateByZlib(raw[1], zlib); }},
                                 {"libdeflate", {}, [&] { InflateByLibdeflate(raw[2], zlib); }}};
  MeasureAlternately(methods, effort);
  Demand(std::equal(raw[0].begin(), raw[0].end(), raw[1].begin()) &&
             std::equal(raw[2].begin(), raw[2].end(), raw[1].begin()),
         "the inflaters differ");
  for (const Method& method : methods) Report("inflate", path, method, raw[0].size, raw[0].size);
}

// Both write a raw deflate stream of level 9 to `out`, which has room for it, and return its size.
std::size_t DeflateByZlib(Bytes& out, const Bytes& raw) {
  z_stream stream = {};
  constexpr int kRawWindowBits = -15;
  constexpr int kDefaultMemoryLevel = 8;
  Demand(deflateInit2(&stream, 9, Z_DEFLATED, kRawWindowBits, kDefaultMemoryLevel,
                      Z_DEFAULT_STRATEGY) == Z_OK,
         "no memory for zlib");
  stream.next_in = const_cast<uint8_t*>(raw.begin());
  stream.avail_in = static_cast<uInt>(raw.size);
  stream.next_out = out.begin();
  stream.avail_out = static_cast<uInt>(out.size);
  Demand(deflate(&stream, Z_FINISH) == Z_STREAM_END, "zlib failed to deflate");
  deflateEnd(&stream);
  return stream.total_out;
}

std::size_t DeflateByLibdeflate(Bytes& out, const Bytes& raw) {
  const Compressor compressor(libdeflate_alloc_compressor(9), libdeflate_free_compressor);
  return libdeflate_deflate_compress(compressor.get(), raw.begin(), raw.size, out.begin(),
                                     out.size);
}

// Uses an inflater that is not ours, so that an encoder that is fast and wrong is found.
void DemandInflatesTo(const Bytes& raw, const uint8_t* stream, std::size_t size) {
  const Decompressor decompressor(libdeflate_alloc_decompressor(), libdeflate_free_decompressor);
  Bytes out(raw.size);
  Demand(libdeflate_deflate_decompress(decompressor.get(), stream, size, out.begin(), out.size,
                                       nullptr) == LIBDEFLATE_SUCCESS &&
             std::equal(raw.begin(), raw.end(), out.begin()),
         "a deflate stream is wrong");
}

// On the image data that a whole run compresses: repaired, without row filters.
void CompareDeflate(const std::string& path, const Bytes& file, const Effort& effort) {
  Picture picture = best_known::Decode(file);
  best_known::Repair(picture);
  const Bytes raw = best_known::RawImage(picture);
  std::optional<Core::MemoryStream> ours;
  Bytes out[2];
  for (Bytes& bytes : out) bytes = Bytes(compressBound(static_cast<uLong>(raw.size)) + 1024);
  std::size_t sizes[3] = {};
  std::vector<Method> methods = {
      {"Halomend", {}, [&] { DeflateInto(ours.emplace(), raw); }},
      {"zlib", {}, [&] { sizes[1] = DeflateByZlib(out[0], raw); }},
      {"libdeflate", {}, [&] { sizes[2] = DeflateByLibdeflate(out[1], raw); }}};
  MeasureAlternately(methods, effort);
  sizes[0] = static_cast<std::size_t>(ours->GetSize());
  DemandInflatesTo(raw, ours->GetData(), sizes[0]);
  DemandInflatesTo(raw, out[0].begin(), sizes[1]);
  DemandInflatesTo(raw, out[1].begin(), sizes[2]);
  for (int i = 0; i < 3; ++i) Report("deflate", path, methods[i], sizes[i], raw.size);
}

void CompareRepair(const std::string& stage, const std::string& path, const Picture& original,
                   const Effort& effort) {
  Bitmap ours;
  Picture pictures[2];
  const auto restore = [&](Picture& picture) {
    if (picture.pixels.size == 0) picture = Picture(original.width, original.height);
    std::copy(original.pixels.begin(), original.pixels.end(), picture.pixels.begin());
  };
  std::size_t repaired = 0;
  bool isChanged = false;
  std::vector<Method> methods = {{"Halomend", [&] { CopyTo(ours, original); },
                                  [&] { isChanged = RepairTransparentPixels(ours, 0); }},
                                 {"plain repair", [&] { restore(pictures[0]); },
                                  [&] { repaired = baseline::Repair(pictures[0]); }},
                                 {"sensible repair", [&] { restore(pictures[1]); },
                                  [&] { KeepResult(best_known::Repair(pictures[1])); }}};
  MeasureAlternately(methods, effort);
  Demand(
      isChanged == (repaired > 0) && PictureOf(ours) == pictures[0] && pictures[1] == pictures[0],
      "the repairs differ");
  const std::size_t units = stage == "seeding" ? original.pixels.size : repaired;
  for (const Method& method : methods) Report(stage, path, method, 0, units);
}

void CompareOne(const std::string& stage, const std::string& path, const Effort& effort) {
  const Bytes file = ReadFile(path);
  if (stage == "decode") return CompareDecode(path, file, effort);
  if (stage == "inflate") return CompareInflate(path, file, effort);
  if (stage == "deflate") return CompareDeflate(path, file, effort);
  Demand(stage == "repair", "no such stage");
  CompareRepair(stage, path, best_known::Decode(file), effort);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) return 2;
  // The product's heap keeps its memory. The peers' allocator must keep it too, or they would pay
  // for new pages in each round.
  mallopt(M_MMAP_MAX, 0);
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  mallopt(M_TOP_PAD, 1 << 26);
  const std::string stage = argv[1];
  const Effort effort{std::atoi(argv[2]), std::atof(argv[3])};
  const char* now = "";
  try {
    for (int i = 4; i < argc; ++i) CompareOne(stage, now = argv[i], effort);
    now = "an opaque picture";
    if (stage == "repair") CompareRepair("seeding", "Photo/16MB", MakePhoto(2048, 2048), effort);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", now, error.what());
    return 1;
  }
}
