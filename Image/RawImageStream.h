// The image data of the written form, made from a bitmap: for each row filter type None, then red,
// green, blue and alpha of every pixel. Each row is made when it is read, so the image data is
// never in memory as a whole.
#pragma once

#include <cstdint>

#include "Compression/Checksums/Adler32.h"
#include "Core/Array.h"
#include "Core/Stream.h"
#include "Image/Bitmap.h"

class RawImageStream final : public Core::Stream {
 public:
  // `bitmap` is borrowed and must not change.
  explicit RawImageStream(const Bitmap& bitmap) : bitmap_(bitmap) {}

  // Call it once, before the first read. False: no memory for a row.
  // Requires: FitsRgbaLimit(width, height).
  [[nodiscard]] bool Create();

  // Never short before the end, where it reads 0 bytes.
  bool Read(void* buffer, int32_t count, uint32_t& done) override;

  uint32_t GetCaps() override { return Core::kOpen | Core::kReadable; }

  // The Adler-32 of all rows of which at least one byte has been read.
  uint32_t Checksum() const { return checksum_; }

 private:
  void MakeRow();

  const Bitmap& bitmap_;
  Core::ByteArray row_;
  int32_t taken_ = 0;    // bytes of the row that have been read
  int32_t nextRow_ = 0;  // of the bitmap
  uint32_t checksum_ = kAdler32Initial;
};
