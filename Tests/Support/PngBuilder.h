// Builds PNG files chunk by chunk, with the right CRCs and stored image data.
#pragma once

#include <string_view>

#include "Compression/Adler32.h"
#include "Compression/Crc32.h"
#include "Tests/Support/BitAssembler.h"

class PngBuilder {
 public:
  // The data of an IHDR chunk.
  static Bytes Header(uint32_t width, uint32_t height, int depth, int colorType, int interlace) {
    return BitAssembler().Big32(width).Big32(height).Append(
        {uint8_t(depth), uint8_t(colorType), 0, 0, uint8_t(interlace)});
  }

  // A zlib stream of one stored block. Requires: at most 65,535 bytes.
  static Bytes Zlib(const Bytes& data) {
    BitAssembler bits = BitAssembler().Append({0x78, 0x01}).Block(kStoredBlock).Stored(data);
    return bits.Big32(Adler32(data.data(), data.size(), kAdler32Initial));
  }

  PngBuilder& Chunk(std::string_view type, const Bytes& data) {
    Bytes body(type.begin(), type.end());
    body.insert(body.end(), data.begin(), data.end());
    const uint32_t crc = Crc32(body.data(), body.size(), 0);
    file_.Big32(static_cast<uint32_t>(data.size())).Append(body).Big32(crc);
    return *this;
  }

  operator Bytes() const { return file_; }

 private:
  BitAssembler file_ = BitAssembler().Append({0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'});
};
