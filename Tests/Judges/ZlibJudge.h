// zlib as the judge of our deflate streams: its output, its reading of a stream, and damaged
// streams whose checksums are made right again, so that the damage reaches the decoders.
#pragma once

#include <gtest/gtest.h>
#include <zlib.h>

#include <random>
#include <string>

#include "Tests/Support/BitAssembler.h"
#include "Tests/Support/Deflated.h"

// Another seed: --gtest_random_seed=N.
struct Random : std::mt19937 {
  Random() : std::mt19937(GTEST_FLAG_GET(random_seed) + 1) {}
  int Below(int end) { return static_cast<int>((*this)() % end); }
  bool OneIn(int count) { return Below(count) == 0; }
  // Below 2^bits, evenly spread over the orders of magnitude.
  int Size(int bits) { return Below(2 << Below(bits)); }
};

// zlib's name for a window of 32 KiB, by our number of the container, 0 to 2.
constexpr int kWindows[] = {-15, 15, 15 + 16};

struct Verdict {
  bool isAccepted;
  Bytes output;         // up to the fault
  std::string message;  // zlib's
};

inline Verdict ReadByZlib(const Bytes& bytes, int container) {
  Bytes output;
  z_stream stream{};
  inflateInit2(&stream, kWindows[container]);
  stream.next_in = const_cast<uint8_t*>(bytes.data());
  stream.avail_in = static_cast<uInt>(bytes.size());
  int result = Z_OK;
  while (result == Z_OK) {
    stream.avail_out = 1 << 16;
    output.resize(stream.total_out + stream.avail_out);
    stream.next_out = &output[stream.total_out];
    result = inflate(&stream, Z_NO_FLUSH);
  }
  output.resize(stream.total_out);
  const std::string message = stream.msg != nullptr ? stream.msg : zError(result);
  inflateEnd(&stream);
  return {result == Z_STREAM_END, output, message};
}

// Compresses with any level, window, memory and strategy.
inline Bytes WrittenByZlib(const Bytes& data, int container, Random& random) {
  const int level = random.Below(10), smaller = random.Below(7), memory = 1 + random.Below(9);
  z_stream stream{};
  deflateInit2(&stream, level, Z_DEFLATED,
               kWindows[container] + (container == 0 ? smaller : -smaller), memory,
               random.Below(5));
  Bytes out(data.size() * 2 + 100);
  stream.next_in = const_cast<uint8_t*>(data.data());
  stream.avail_in = static_cast<uInt>(data.size());
  stream.next_out = out.data();
  stream.avail_out = static_cast<uInt>(out.size());
  deflate(&stream, Z_FINISH);
  out.resize(stream.total_out);
  deflateEnd(&stream);
  return out;
}

// Damages zlib's output anywhere; in half of the streams only the deflate data, to which the
// checksums of our decompressed bytes are then added.
inline Bytes WrittenAndDamaged(const Bytes& data, int container, Random& random) {
  const bool isRewrapped = random.OneIn(2);
  Bytes bytes = WrittenByZlib(data, isRewrapped ? 0 : container, random);
  if (random.OneIn(10)) bytes.resize(1 + random.Below(bytes.size()));
  for (int flips = random.Below(4); flips >= 0; --flips) {
    uint8_t& flipped = bytes[random.Below(bytes.size())];
    flipped ^= 1 << random.Below(8);
  }
  if (!isRewrapped) return bytes;
  const Bytes content = Inflate(bytes, kRawDeflate).output;
  const uInt size = static_cast<uInt>(content.size());
  BitAssembler stream;
  if (container == 1) stream.Append({0x78, 0x9C});
  if (container == 2) stream.Append({31, 139, 8, 0, 0, 0, 0, 0, 0, 3});
  stream.Append(bytes);
  if (container == 1) stream.Big32(adler32(1, content.data(), size));
  if (container == 2) stream.Number(crc32(0, content.data(), size), 32).Number(size, 32);
  return stream;
}

// Whether zlib refuses a stream for a reason that we accept on purpose.
inline bool IsOurTolerance(const std::string& message) {
  const auto has = [&](const char* part) { return message.find(part) != std::string::npos; };
  return has("distance too far back") ||                           // zeros before the start
         has("code lengths set") || has("literal/lengths set") ||  // incomplete: a pattern
         has("distances set") || has("distance code");             // without a symbol is symbol 0
}
