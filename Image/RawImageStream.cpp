#include "Image/RawImageStream.h"

#include <algorithm>
#include <cstring>

#include "Core/Endian.h"
#include "Image/PngFormat.h"
#include "Image/RgbaLimit.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

// Stores red, green, blue and alpha of each pixel, of four pixels at a time where that is possible.
void StoreRgba(const Pixel* pixels, int32_t count, uint8_t* out) {
  int32_t x = 0;
#if defined(__SSE2__)
  const __m128i greenAlpha = _mm_set1_epi32(static_cast<int>(0xFF00FF00));
  for (; x + 4 <= count; x += 4) {
    const __m128i four = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels + x));
    const __m128i redBlue = _mm_andnot_si128(greenAlpha, four);
    const __m128i swapped = _mm_or_si128(_mm_slli_epi32(redBlue, 16), _mm_srli_epi32(redBlue, 16));
    const __m128i rgba = _mm_or_si128(_mm_and_si128(four, greenAlpha), swapped);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + int64_t{4} * x), rgba);
  }
#endif
  for (; x < count; ++x) Core::StoreLittle32(out + int64_t{4} * x, SwapRedAndBlue(pixels[x]));
}

}  // namespace

bool RawImageStream::Create() {
  if (bitmap_.Height() == 0) return true;  // no row, of whatever size
  const int32_t rowSize = static_cast<int32_t>(RgbaRowSize(bitmap_.Width()));
  taken_ = rowSize;
  return row_.SetSize(rowSize);
}

bool RawImageStream::Read(void* buffer, int32_t count, uint32_t& done) {
  uint8_t* out = static_cast<uint8_t*>(buffer);
  int32_t left = count;
  while (left > 0 && (taken_ < row_.Size() || nextRow_ < bitmap_.Height())) {
    if (taken_ == row_.Size()) MakeRow();
    const int32_t size = std::min(left, row_.Size() - taken_);
    std::memcpy(out, row_.Data() + taken_, static_cast<std::size_t>(size));
    taken_ += size;
    out += size;
    left -= size;
  }
  done = static_cast<uint32_t>(count - left);
  return true;
}

void RawImageStream::MakeRow() {
  row_[0] = kPngFilterNone;
  StoreRgba(bitmap_.Row(nextRow_++), bitmap_.Width(), row_.Data() + 1);
  checksum_ = Adler32(row_.Data(), static_cast<std::size_t>(row_.Size()), checksum_);
  taken_ = 0;
}
