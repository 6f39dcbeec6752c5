// The product's stages as calls on whole buffers, for both programs that time them.
#pragma once

#include <memory>
#include <new>

#include "Benchmarks/Peers/Picture.h"
#include "Compression/Deflate/DeflateEncoder.h"
#include "Compression/Inflate/InflateContainer.h"
#include "Compression/Inflate/Inflater.h"
#include "Core/MemoryStream.h"
#include "Image/Bitmap.h"
#include "Image/PngDecoder.h"

// A failure of a stage ends the whole run.
inline void Demand(bool isGood, const char* what) {
  if (!isGood) throw std::runtime_error(what);
}

inline Core::MemoryStream StreamOf(const Bytes& bytes) {
  return {bytes.begin(), static_cast<uint32_t>(bytes.size)};
}

// Decompresses a zlib stream and tests its Adler-32. `raw` already has the right size.
inline void InflateInto(Bytes& raw, const Bytes& zlib) {
  Core::MemoryStream source = StreamOf(zlib);
  Inflater inflater(&source);
  const int32_t size = static_cast<int32_t>(raw.size);
  int32_t obtained = 0;
  inflater.SetFormat(kZlib);
  Demand(inflater.RunInto(raw.begin(), size, obtained) && obtained == size, "inflate failed");
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
