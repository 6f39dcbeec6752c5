// The container of a deflate stream: the header before it and the checksum after it.
//
//   raw    deflate data
//   zlib   CMF FLG [dictionary identifier]  deflate data  Adler-32, big-endian       (RFC 1950)
//   gzip   header with optional fields      deflate data  CRC-32, size, little-endian (RFC 1952)
#pragma once

#include <cstddef>
#include <cstdint>

#include "Compression/Inflate/BitReader.h"
#include "Core/String.h"

enum InflateFormat : int32_t { kRawDeflate = 0, kZlib = 1, kGzip = 2 };

class InflateContainer {
 public:
  // Any value that is no InflateFormat counts as kRawDeflate.
  void SetFormat(int32_t format);
  int32_t Format() const { return format_; }

  // Starts a new stream: texts empty, counts 0.
  void Begin();

  // False: the header is malformed, of an unknown method, or cut short, or there is no memory for a
  // text.
  [[nodiscard]] bool ReadZlibHeader(BitReader& reader);
  [[nodiscard]] bool ReadGzipHeader(BitReader& reader);

  // Adds decompressed bytes to the checksum and the size.
  void Account(const uint8_t* data, int32_t size);

  // Reads the trailer at the next byte boundary. False: it does not agree with the accounted bytes,
  // or it is cut short.
  [[nodiscard]] bool ReadTrailer(BitReader& reader);

  // Of a gzip header; empty and 0 without one. The time is in seconds since 1970.
  const Core::String& GzipName() const { return name_; }
  const Core::String& GzipComment() const { return comment_; }
  uint32_t GzipModificationTime() const { return modificationTime_; }

 private:
  using ChecksumFunction = uint32_t (*)(const uint8_t* data, std::size_t length, uint32_t previous);

  int32_t format_ = kRawDeflate;
  ChecksumFunction checksumOf_ = nullptr;  // null: the format has none
  uint32_t checksum_ = 0;
  uint32_t size_ = 0;  // modulo 2^32, as gzip stores it
  Core::String name_;
  Core::String comment_;
  uint32_t modificationTime_ = 0;
};
