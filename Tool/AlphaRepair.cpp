#include "Tool/AlphaRepair.h"

#include <algorithm>

#include "Core/Array.h"
#include "Tool/BitMask.h"

namespace {

// One call's work. A pixel is named by its index, y * width + x.
//
// Deliberate: a pixel recoloured earlier in a wave is already a source for the pixels handled after
// it in the same wave, so the order of handling decides the colours: within a wave first, last, and
// then backwards, as the last entry of the list takes the place of each one done. A scheme in which
// only the previous wave's colours count gives other pictures.
class Repair {
 public:
  Repair(Bitmap& bitmap, int32_t threshold) : bitmap_(bitmap), threshold_(threshold) {}

  RepairResult Run() {
    if (!Seed()) return RepairResult::kOutOfMemory;
    if (current_.IsEmpty()) return RepairResult::kNothingToFix;
    while (!current_.IsEmpty()) {
      const int32_t before = repaired_;
      if (!RunWave()) return RepairResult::kOutOfMemory;
      if (repaired_ == before) break;
      current_.Swap(next_);
      next_.Clear();
    }
    return RepairResult::kRepaired;
  }

 private:
  bool IsTransparent(Pixel pixel) const { return AlphaOf(pixel) <= threshold_; }

  // Calls visit(x, y) for the up to eight neighbours inside the bitmap, row by row from the top
  // left, until a call returns false; false when one did.
  template <typename Visit>
  bool VisitNeighbours(int32_t x, int32_t y, Visit visit) const {
    const int32_t left = std::max(x - 1, 0);
    const int32_t right = std::min(x + 1, bitmap_.Width() - 1);
    const int32_t bottom = std::min(y + 1, bitmap_.Height() - 1);
    for (int32_t ny = std::max(y - 1, 0); ny <= bottom; ++ny) {
      for (int32_t nx = left; nx <= right; ++nx) {
        if ((nx != x || ny != y) && !visit(nx, ny)) return false;
      }
    }
    return true;
  }

  bool TouchesVisible(int32_t x, int32_t y) const {
    return !VisitNeighbours(
        x, y, [this](int32_t nx, int32_t ny) { return IsTransparent(bitmap_.Row(ny)[nx]); });
  }

  // Marks the visible pixels as known and lists, in scan order, the transparent ones that touch
  // them. False: no memory.
  bool Seed() {
    const int32_t width = bitmap_.Width();
    const int32_t count = width * bitmap_.Height();
    if (!known_.Create(count) || !queued_.Create(count)) return false;
    for (int32_t y = 0; y < bitmap_.Height(); ++y) {
      for (int32_t x = 0; x < width; ++x) {
        const int32_t index = y * width + x;
        if (!IsTransparent(bitmap_.Row(y)[x])) {
          known_.Set(index);
        } else if (TouchesVisible(x, y) && !current_.Append(index)) {
          return false;
        }
      }
    }
    return true;
  }

  // Handles the current list and gathers the pixels reached by it in the next one. False: no
  // memory.
  bool RunWave() {
    int32_t i = 0;
    while (i < current_.Size()) {
      const int32_t index = current_[i];
      if (known_.Test(index) || !Recolour(index)) {
        ++i;
        continue;
      }
      if (!QueueNeighbours(index)) return false;
      current_[i] = current_[current_.Size() - 1];
      current_.RemoveLast();
      ++repaired_;
    }
    return true;
  }

  // Gives one pixel the average, truncated, of its known neighbours and makes it known. False, and
  // nothing done: it has none.
  bool Recolour(int32_t index) {
    const int32_t width = bitmap_.Width();
    const int32_t x = index % width;
    const int32_t y = index / width;
    uint32_t count = 0;
    uint32_t red = 0;
    uint32_t green = 0;
    uint32_t blue = 0;
    VisitNeighbours(x, y, [&](int32_t nx, int32_t ny) {
      if (known_.Test(ny * width + nx)) {
        const Pixel pixel = bitmap_.Row(ny)[nx];
        red += RedOf(pixel);
        green += GreenOf(pixel);
        blue += BlueOf(pixel);
        ++count;
      }
      return true;
    });
    if (count == 0) return false;
    Pixel& pixel = bitmap_.Row(y)[x];
    pixel = (pixel & ~kColorMask) | red / count << 16 | green / count << 8 | blue / count;
    known_.Set(index);
    return true;
  }

  // Puts the neighbours that are neither known nor queued yet on the next list. False: no memory.
  bool QueueNeighbours(int32_t index) {
    const int32_t width = bitmap_.Width();
    return VisitNeighbours(index % width, index / width, [&](int32_t nx, int32_t ny) {
      const int32_t neighbour = ny * width + nx;
      if (known_.Test(neighbour) || queued_.Test(neighbour)) return true;
      queued_.Set(neighbour);
      return next_.Append(neighbour);
    });
  }

  Bitmap& bitmap_;
  const int32_t threshold_;
  BitMask known_;   // the colour may be used: visible, or recoloured already
  BitMask queued_;  // has been on the next list once
  Array<int32_t> current_;
  Array<int32_t> next_;
  int32_t repaired_ = 0;
};

}  // namespace

RepairResult RepairPixels(Bitmap& bitmap, int32_t threshold) {
  return Repair(bitmap, threshold).Run();
}

bool RepairTransparentPixels(Bitmap& bitmap, int32_t threshold) {
  return RepairPixels(bitmap, threshold) == RepairResult::kRepaired;
}
