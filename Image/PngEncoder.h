// Writes a bitmap as a PNG file of one simple form: 8-bit truecolour with alpha, not interlaced,
// no row filters, all image data in one IDAT chunk.
#pragma once

#include "Core/MemoryStream.h"
#include "Core/Stream.h"
#include "Image/Bitmap.h"

// Makes `file`, which is empty, the whole file. False: there is no memory, or the picture is too
// large; `file` is then undefined.
[[nodiscard]] bool EncodePng(const Bitmap& bitmap, Core::MemoryStream& file);

// Writes the file at the stream's position; the stream is neither flushed nor closed. False: as
// above, and nothing is written, or a write failed, and what was written before stays.
[[nodiscard]] bool SavePng(Core::Stream& out, const Bitmap& bitmap);
