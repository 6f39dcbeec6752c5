// Writes a bitmap as a PNG file of one simple form: 8-bit truecolour with alpha, not interlaced,
// no row filters, all image data in one IDAT chunk.
#pragma once

#include "Core/MemoryStream.h"
#include "Core/Stream.h"
#include "Image/Bitmap.h"

// Writes the whole file to `file`. Requires: `file` is empty. False: there is no memory, or the
// picture is too large (RgbaLimit.h); the content of `file` is then undefined.
[[nodiscard]] bool EncodePng(const Bitmap& bitmap, Core::MemoryStream& file);

// Writes the file at the stream's position; the stream is neither flushed nor closed. False: as
// above, or a write failed, in which case the bytes written before it stay.
//
// Deliberate: the file is made in memory and then written at once, in pieces only if it is huge. So
// a stream that refuses is noticed last, and without memory nothing is written, not even signature
// and IHDR.
[[nodiscard]] bool SavePng(Core::Stream& out, const Bitmap& bitmap);
