// Reads PNG files of every colour type, bit depth and interlace method.
//
// The order of chunks and their CRCs are checked strictly. Only IHDR, PLTE, tRNS, IDAT and IEND
// have an effect.
#pragma once

#include "Core/Stream.h"
#include "Image/Bitmap.h"

// Decodes one file, from the position of `in` through its IEND chunk and no further. A file with a
// width or height of 0 gives a bitmap of 0 x 0, whatever its other side. False: the file is
// malformed, cut short or too large, or there is no memory; `bitmap` is then undefined.
[[nodiscard]] bool DecodePng(Core::Stream& in, Bitmap& bitmap);

// As DecodePng; a failure leaves `bitmap` 0 x 0.
[[nodiscard]] bool LoadPng(Core::Stream& in, Bitmap& bitmap);
