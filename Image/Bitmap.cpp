#include "Image/Bitmap.h"

#include <algorithm>
#include <limits>

#include "Core/FatalExit.h"

namespace {

constexpr Pixel kOpaqueBlack = 0xFF000000;

// The line that a failed sized construction reports; fixed, so that the report does not move with
// every edit of this file.
constexpr int kResizeAssertionLine = 17;

}  // namespace

Bitmap::Bitmap(int32_t width, int32_t height) {
  if (!Resize(width, height)) {
    Core::AssertionFailed("Resize( nw, nh )", kResizeAssertionLine, "Image/Bitmap");
  }
}

Bitmap::Bitmap(const Bitmap& other) {
  if (!CopyFrom(other)) Clear();
}

Bitmap& Bitmap::operator=(const Bitmap& other) {
  if (this != &other && !CopyFrom(other)) Clear();
  return *this;
}

bool Bitmap::Resize(int32_t width, int32_t height) {
  int32_t count = 0;
  if (!CountPixels(width, height, count)) return false;
  if (count == 0) {
    rows_.Free();
    pixels_.Free();
  }
  Core::Array<Pixel> resized;
  if (!resized.SetSize(count)) {
    Clear();
    return false;
  }
  std::fill(resized.begin(), resized.end(), kOpaqueBlack);
  if (count > 0 && !pixels_.IsEmpty()) {
    const int32_t keptWidth = std::min(width_, width);
    for (int32_t y = 0; y < std::min(height_, height); ++y) {
      std::copy_n(Row(y), keptWidth, resized.Data() + int64_t{y} * width);
    }
  }
  width_ = width;
  height_ = height;
  pixels_.Swap(resized);
  return RebuildRows();
}

bool Bitmap::ResizeForOverwrite(int32_t width, int32_t height, int64_t room) {
  int32_t count = 0;
  if (!CountPixels(width, height, count)) return false;
  const int64_t capacity = std::max<int64_t>(count, (room + 3) / int64_t{sizeof(Pixel)});
  if (!pixels_.SetCapacity(static_cast<int32_t>(capacity)) || !pixels_.SetSize(count)) {
    Clear();
    return false;
  }
  width_ = width;
  height_ = height;
  return RebuildRows();
}

void Bitmap::Fill(Color color) { std::fill(pixels_.begin(), pixels_.end(), color.Packed()); }

void Bitmap::SetAlpha(int32_t alpha) {
  const Pixel bits = Pixel{ClampToByte(alpha)} << 24;
  for (const RowEntry& row : rows_) {
    for (int32_t x = 0; x < row.count; ++x) row.pixels[x] = (row.pixels[x] & kColorMask) | bits;
  }
}

bool Bitmap::HasTransparency() const {
  return std::any_of(pixels_.begin(), pixels_.end(),
                     [](Pixel pixel) { return AlphaOf(pixel) != 255; });
}

// Reports how many pixels there are in a bitmap of that size. False: a size that is refused; too
// large a one leaves 0 x 0.
bool Bitmap::CountPixels(int32_t width, int32_t height, int32_t& count) {
  if (width < 0 || height < 0) return false;
  const int64_t pixels = int64_t{width} * height;
  if (pixels > std::numeric_limits<int32_t>::max()) {
    Clear();
    return false;
  }
  count = static_cast<int32_t>(pixels);
  return true;
}

// Builds the table anew for the pixels that stand now. False: no memory; the bitmap is 0 x 0.
bool Bitmap::RebuildRows() {
  rows_.Free();
  if (!rows_.SetSize(height_)) {
    Clear();
    return false;
  }
  for (int32_t y = 0; y < height_; ++y) {
    rows_[y] = {pixels_.Data() + int64_t{y} * width_, width_};
  }
  return true;
}

// The pixel block never shrinks here: a bitmap that is assigned to again and again settles.
bool Bitmap::CopyFrom(const Bitmap& other) {
  width_ = other.width_;
  height_ = other.height_;
  return pixels_.Assign(other.pixels_) && RebuildRows();
}

void Bitmap::Clear() {
  width_ = 0;
  height_ = 0;
  rows_.Free();
  pixels_.Free();
}
