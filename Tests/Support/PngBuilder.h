// Builds PNG files chunk by chunk, with the right CRCs and stored image data.
#pragma once

#include <string>

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
    return BitAssembler("x7801").Stored(data).Big32(
        Adler32(data.data(), data.size(), kAdler32Initial));
  }
  PngBuilder& Chunk(const std::string& type, const Bytes& data) {
    const Bytes body = BitAssembler().Append(Bytes(type.begin(), type.end())).Append(data);
    file_.Big32(static_cast<uint32_t>(data.size())).Append(body);
    file_.Big32(Crc32(body.data(), body.size(), 0));
    return *this;
  }
  operator Bytes() const { return file_; }

 private:
  BitAssembler file_{"x89504E470D0A1A0A"};
};
