// The product's stages as calls on whole buffers, for both programs that time them.
#pragma once

#include <memory>
#include <new>

#include "Benchmarks/Peers/Picture.h"
#include "Compression/DeflateEncoder.h"
#include "Compression/InflateContainer.h"
#include "Compression/Inflater.h"
#include "Core/MemoryStream.h"
#include "Image/Bitmap.h"
#include "Image/PngDecoder.h"
#include "Image/PngEncoder.h"

// A failure of a stage ends the whole run.
inline void Demand(bool isGood, const char* what) {
  if (!isGood) throw std::runtime_error(what);
}

// Writes into a buffer that is large enough from the start, as a decoder knows the size.
class BufferStream final : public Core::Stream {
 public:
  explicit BufferStream(Bytes& buffer) : buffer_(buffer) {}

  bool Write(const void* bytes, int32_t count, uint32_t& done) override {
    const auto size = static_cast<std::size_t>(count);
    if (size > buffer_.size - position_) return false;
    std::copy_n(static_cast<const uint8_t*>(bytes), size, buffer_.begin() + position_);
    position_ += size;
    done = static_cast<uint32_t>(count);
    return true;
  }

  uint32_t GetCaps() override { return Core::kOpen | Core::kWritable; }

  bool IsFull() const { return position_ == buffer_.size; }

 private:
  Bytes& buffer_;
  std::size_t position_ = 0;
};

inline Core::MemoryStream StreamOf(const Bytes& bytes) {
  return {bytes.begin(), static_cast<uint32_t>(bytes.size)};
}

// Decompresses a zlib stream, Adler-32 included, into `raw`, which has its size already.
inline void InflateInto(Bytes& raw, const Bytes& zlib) {
  Core::MemoryStream source = StreamOf(zlib);
  BufferStream destination(raw);
  Inflater inflater(&source, &destination);
  Demand(inflater.SetFormat(kZlib) && inflater.Run(Inflater::kUnlimited) && destination.IsFull(),
         "inflate failed");
}

// Compresses to a raw deflate stream.
inline void DeflateInto(Core::MemoryStream& destination, const Bytes& raw) {
  Core::MemoryStream source = StreamOf(raw);
  const std::unique_ptr<DeflateEncoder> encoder(
      new (std::nothrow) DeflateEncoder(source, destination, DeflateEncoder::kBestLevel));
  Demand(encoder != nullptr && encoder->Compress() && encoder->Writer().Flush(), "deflate failed");
}

inline void DecodeInto(Bitmap& bitmap, const Bytes& file) {
  Core::MemoryStream source = StreamOf(file);
  Demand(LoadPng(source, bitmap), "decoding failed");
}
