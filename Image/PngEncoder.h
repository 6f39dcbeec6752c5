// Writes a bitmap as a PNG file of one simple form: 8-bit truecolour with alpha, not interlaced,
// no row filters, all image data in one IDAT chunk.
#pragma once

#include "Core/Stream.h"
#include "Image/Bitmap.h"

// Writes the file at the stream's position; the stream is neither flushed nor closed. False: a
// write failed (what was written before stays), there is no memory, or the picture is too large.
[[nodiscard]] bool SavePng(Core::Stream& out, const Bitmap& bitmap);
