#include "Tool/AlphaRepair.h"

#include <algorithm>
#include <array>
#include <bit>
#include <limits>

#include "Core/Array.h"
#include "Tool/Surroundings.h"
#include "Tool/VisibleMask.h"

namespace {

constexpr uint64_t kAllOfWord = std::numeric_limits<uint64_t>::max();

// One call's work. A pixel is named by its index, y * width + x. From MakeCells to RestoreAlphas
// the bitmap's words are cells (Tool/Surroundings.h): nothing but the mask, a bit a pixel, and the
// lists of a wave is needed beside it.
//
// Deliberate: a pixel recoloured earlier in a wave is already a source for the pixels handled after
// it in the same wave, so the order of handling decides the colours: within a wave first, last, and
// then backwards (RunWave). A scheme in which only the previous wave's colours count gives other
// pictures.
class Repair {
 public:
  // Requires: the bitmap has pixels, 0 <= threshold <= 255.
  Repair(Bitmap& bitmap, int32_t threshold)
      : bitmap_(bitmap),
        cells_(bitmap.Row(0)),
        width_(bitmap.Width()),
        height_(bitmap.Height()),
        threshold_(threshold) {}

  RepairResult Run() {
    if (!mask_.Create(bitmap_, threshold_)) return RepairResult::kOutOfMemory;
    if (!mask_.HasVisible() || !mask_.HasHidden()) return RepairResult::kNothingToFix;
    if (!MakeCells() || !Seed()) return RepairResult::kOutOfMemory;
    while (!current_.IsEmpty()) {
      if (!RunWave()) return RepairResult::kOutOfMemory;
      current_.Swap(next_);
      next_.Clear();
    }
    RestoreAlphas();
    return RepairResult::kRepaired;
  }

 private:
  // Makes every hidden pixel a fresh cell. False: no memory.
  bool MakeCells() {
    const bool made = mask_.VisitHidden([this](int64_t first, uint64_t hidden) {
      Pixel* const cells = cells_ + first;
      if (threshold_ == 0 && hidden == kAllOfWord) {
        std::fill_n(cells, 64, kFreshCell);
        return true;
      }
      for (; hidden != 0; hidden &= hidden - 1) {
        Pixel& cell = cells[std::countr_zero(hidden)];
        if (threshold_ > 0 && !alphas_.Append(AlphaOf(cell))) return false;
        cell = kFreshCell;
      }
      return true;
    });
    if (made) MarkBorder();
    return made;
  }

  void MarkBorder() {
    const auto mark = [](Pixel& cell) {
      if (!IsKnown(cell)) cell |= kBorderBit;
    };
    std::for_each_n(cells_, width_, mark);
    std::for_each_n(cells_ + int64_t{width_} * (height_ - 1), width_, mark);
    for (int64_t y = 0; y < height_; ++y) {
      mark(cells_[y * width_]);
      mark(cells_[y * width_ + width_ - 1]);
    }
  }

  // The hidden pixels, all of them known by now, get their own alpha back.
  void RestoreAlphas() {
    const uint8_t* alpha = alphas_.Data();
    static_cast<void>(mask_.VisitHidden([this, &alpha](int64_t first, uint64_t hidden) {
      Pixel* const cells = cells_ + first;
      if (threshold_ == 0 && hidden == kAllOfWord) {
        for (int k = 0; k < 64; ++k) cells[k] &= kColorMask;
        return true;
      }
      for (; hidden != 0; hidden &= hidden - 1) {
        Pixel& cell = cells[std::countr_zero(hidden)];
        cell = (cell & kColorMask) | (threshold_ > 0 ? Pixel{*alpha++} << 24 : 0);
      }
      return true;
    }));
  }

  // Lists, in scan order, the hidden pixels that touch a visible one. False: no memory.
  // Deliberate: they are not marked as queued, so those that the first wave reaches before they
  // have their colour are listed again, which decides the order of the second.
  bool Seed() {
    int64_t most = 0;
    static_cast<void>(mask_.VisitHidden([this, &most](int64_t first, uint64_t hidden) {
      most += std::popcount(hidden & mask_.NearVisible(first));
      return true;
    }));
    // The next wave's list is seldom longer: neither is copied to grow.
    const int32_t capacity = static_cast<int32_t>(most);
    if (!current_.SetCapacity(capacity) || !next_.SetCapacity(capacity)) return false;
    return mask_.VisitHidden([this](int64_t first, uint64_t hidden) {
      for (uint64_t near = hidden & mask_.NearVisible(first); near != 0; near &= near - 1) {
        const int32_t index = static_cast<int32_t>(first) + std::countr_zero(near);
        const bool isOnBorder = (cells_[index] & kBorderBit) != 0;
        if (isOnBorder && !TouchesKnown(index)) continue;  // the mask is not exact there
        if (!current_.Append(index)) return false;
      }
      return true;
    });
  }

  bool TouchesKnown(int32_t index) const {
    const Window window(*this, index);
    return std::any_of(window.cells, window.cells + Window::kCells, IsKnown);
  }

  // Gives every pixel of the current list that has no colour yet the average of its known
  // neighbours, truncated, and lists those that it reached in the next one. False: no memory.
  //
  // The list stands still and is taken from both ends: from the back after a pixel was given its
  // colour, from the front after one was passed over. That is the order of a list that is walked
  // from the front, in which the last entry takes the place of each one done.
  // Deliberate: entries that are known by now decide where the next one is taken from, so they are
  // not kept out of the list.
  bool RunWave() {
    const std::array<int32_t, kNeighbours> distances = NeighbourDistances(width_);
    const int32_t width = width_;  // here and below: what the stores into cells cannot change
    Pixel* const cells = cells_;
    const int32_t* front = current_.begin();
    const int32_t* back = current_.end();
    int32_t* out = next_.begin();
    const int32_t* outEnd = out + next_.Capacity();
    bool fromBack = false;
    while (front != back) {
      const int32_t index = fromBack ? *--back : *front++;
      const Pixel cell = cells[index];
      fromBack = !IsKnown(cell);
      if (!fromBack) continue;
      const Surroundings found = (cell & kBorderBit) == 0
                                     ? LookAround(cells + index, width)
                                     : LookAround(Window(*this, index).Centre(), Window::kWidth);
      cells[index] = found.average;
      if (found.fresh == 0) continue;
      if (outEnd - out < kNeighbours) {
        if (!EndNext(out) || !next_.Reserve(next_.Size() + kNeighbours)) return false;
        out = next_.end();
        outEnd = next_.begin() + next_.Capacity();
      }
      // Eight branches of their own: the processor foretells them better than a loop's length.
      for (int k = 0; k < kNeighbours; ++k) {
        if ((found.fresh >> k & 1) == 0) continue;
        *out = index + distances[k];
        cells[*out++] |= kQueuedBit;
      }
    }
    return EndNext(out);
  }

  // Makes `end`, which lies within the capacity, the end of the next list.
  bool EndNext(const int32_t* end) {
    return next_.SetSize(static_cast<int32_t>(end - next_.begin()));
  }

  // A copy of the cells around one on the border, with queued ones where the image ends.
  struct Window {
    static constexpr int32_t kWidth = 3;
    static constexpr int32_t kCells = kWidth * kWidth;

    Window(const Repair& repair, int32_t index) {
      std::fill_n(cells, kCells, kQueuedBit);
      const int32_t x = index % repair.width_;
      const int32_t y = index / repair.width_;
      for (int32_t dy = y > 0 ? -1 : 0; dy <= (y + 1 < repair.height_ ? 1 : 0); ++dy) {
        for (int32_t dx = x > 0 ? -1 : 0; dx <= (x + 1 < repair.width_ ? 1 : 0); ++dx) {
          cells[(dy + 1) * kWidth + dx + 1] = repair.cells_[index + dy * repair.width_ + dx];
        }
      }
    }
    const Pixel* Centre() const { return cells + kCells / 2; }

    Pixel cells[kCells];
  };

  const Bitmap& bitmap_;
  Pixel* const cells_;  // its pixels
  const int32_t width_;
  const int32_t height_;
  const int32_t threshold_;
  VisibleMask mask_;
  Core::ByteArray
      alphas_;  // of the hidden pixels in scan order; none where the threshold makes all 0
  Core::Array<int32_t> current_;
  Core::Array<int32_t> next_;
};

}  // namespace

RepairResult RepairPixels(Bitmap& bitmap, int32_t threshold) {
  const bool isEmpty = bitmap.Width() == 0 || bitmap.Height() == 0;
  if (isEmpty || threshold < 0 || threshold > 255) return RepairResult::kNothingToFix;
  return Repair(bitmap, threshold).Run();
}

bool RepairTransparentPixels(Bitmap& bitmap, int32_t threshold) {
  return RepairPixels(bitmap, threshold) == RepairResult::kRepaired;
}
