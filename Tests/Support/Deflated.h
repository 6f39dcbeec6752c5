// Compresses and decompresses whole byte strings with our encoder and decoder.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "Compression/Deflate/DeflateEncoder.h"
#include "Compression/Inflate/Inflater.h"
#include "Core/MemoryStream.h"
#include "Tests/Support/Bytes.h"

// A stream that gives its bytes in pieces of a fixed size.
struct PieceStream : Core::Stream {
  explicit PieceStream(const Bytes& all, std::size_t size = SIZE_MAX) : bytes(all), piece(size) {}
  bool Read(void* buffer, int32_t count, uint32_t& done) override {
    done = uint32_t(std::min({bytes.size() - position, piece, std::size_t(count)}));
    std::copy_n(bytes.begin() + position, done, static_cast<uint8_t*>(buffer));
    position += done;
    return true;
  }

  const Bytes bytes;
  const std::size_t piece;
  std::size_t position = 0;
};

// A stream of a ring buffer's user: no write may pass a multiple of 32 KiB.
struct RingStream : Core::Stream {
  bool Write(const void* buffer, int32_t count, uint32_t& done) override {
    if (bytes.size() % kDeflateWindowSize + count > kDeflateWindowSize) std::abort();
    const auto data = static_cast<const uint8_t*>(buffer);
    bytes.insert(bytes.end(), data, data + count);
    done = static_cast<uint32_t>(count);
    return true;
  }

  Bytes bytes;
};

inline Bytes BytesOf(Core::MemoryStream& stream) {
  return Bytes(stream.GetData(), stream.GetData() + stream.GetSize());
}

// Ends the program if the encoder fails.
inline Bytes Deflated(const Bytes& data, int32_t level = 9) {
  Core::MemoryStream source(data.data(), static_cast<uint32_t>(data.size())), out;
  const auto encoder = std::make_unique<DeflateEncoder>(source, out, level);
  if (!encoder->Compress() || encoder->BytesRead() != data.size()) std::abort();
  return BytesOf(out);
}

struct Inflated {
  bool isGood;
  Bytes output;
  std::string gzip;  // name, comment and time of a gzip header that has a time
};

// Decompresses an input that comes in pieces of the given size.
inline Inflated Inflate(const Bytes& bytes, int32_t format, int64_t limit = Inflater::kUnlimited,
                        std::size_t piece = SIZE_MAX) {
  PieceStream input(bytes, piece);
  RingStream output;
  Inflater inflater(&input, &output);
  inflater.SetFormat(format);
  const bool isGood = inflater.Run(limit);
  const uint32_t time = inflater.GzipModificationTime();
  std::string gzip = inflater.GzipName().ToNarrow();
  gzip += inflater.GzipComment().ToNarrow() + std::to_string(time);
  return {isGood, output.bytes, time != 0 ? gzip : ""};
}
