#include "Image/Bitmap.h"

#include <algorithm>
#include <limits>

#include "Core/FatalExit.h"

namespace {

// The line that a failed construction reports. It is fixed, so that edits of this file do not
// change the report.
constexpr int kResizeAssertionLine = 17;

}  // namespace

Bitmap::Bitmap(int32_t width, int32_t height) {
  if (!Resize(width, height)) {
    Core::AssertionFailed("Resize( nw, nh )", kResizeAssertionLine, "Image/Bitmap");
  }
}

Bitmap::Bitmap(const Bitmap& other) { *this = other; }

// The pixel block never shrinks here: a bitmap that is assigned to repeatedly stops allocating.
Bitmap& Bitmap::operator=(const Bitmap& other) {
  if (this == &other) return *this;
  width_ = other.width_;
  height_ = other.height_;
  if (!pixels_.Assign(other.pixels_) || !RebuildRows()) Clear();
  return *this;
}

bool Bitmap::Resize(int32_t width, int32_t height) {
  if (width < 0 || height < 0) return false;
  Bitmap resized;
  if (!resized.ResizeForOverwrite(width, height)) {
    Clear();
    return false;
  }
  resized.Fill(Color(0, 0, 0, 255));
  const int32_t keptWidth = std::min(width_, width);
  for (int32_t y = 0; y < std::min(height_, height); ++y) {
    std::copy_n(Row(y), keptWidth, resized.Row(y));
  }
  width_ = width;
  height_ = height;
  rows_.Swap(resized.rows_);
  pixels_.Swap(resized.pixels_);
  return true;
}

bool Bitmap::ResizeForOverwrite(int32_t width, int32_t height, int64_t room) {
  const int64_t count = int64_t{width} * height;
  if (width < 0 || height < 0 || count > std::numeric_limits<int32_t>::max()) return false;
  const int64_t capacity = std::max<int64_t>(count, (room + 3) / int64_t{sizeof(Pixel)});
  width_ = width;
  height_ = height;
  if (pixels_.SetCapacity(static_cast<int32_t>(capacity)) &&
      pixels_.SetSize(static_cast<int32_t>(count)) && RebuildRows()) {
    return true;
  }
  Clear();
  return false;
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

bool Bitmap::RebuildRows() {
  rows_.Free();
  if (!rows_.SetSize(height_)) return false;
  for (int32_t y = 0; y < height_; ++y) {
    rows_[y] = {pixels_.Data() + int64_t{y} * width_, width_};
  }
  return true;
}

void Bitmap::Clear() {
  width_ = 0;
  height_ = 0;
  rows_.Free();
  pixels_.Free();
}
