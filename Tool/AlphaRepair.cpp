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

// One repair. A pixel is named by its index, y * width + x. From MakeCells to RestoreAlphas the
// bitmap's words are cells (Tool/Surroundings.h). The only other memory is the mask, with one bit a
// pixel, the lists of two waves and, above threshold 0, the alphas.
//
// Deliberate: a pixel that gets its colour is at once a source for later pixels of the same wave.
// So the order within a wave decides the colours: first, last, then backwards (RunWave). A scheme
// in which only the colours of earlier waves count gives other pictures.
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
  // Calls change(cell) for every hidden pixel, in scan order.
  template <typename Change>
  void ChangeHidden(Change change) {
    mask_.VisitHidden([=, this](int64_t first, uint64_t hidden) {
      Pixel* const cells = cells_ + first;
      if (hidden == kAllOfWord) {  // frequent, and a loop for the compiler's vectors
        for (int k = 0; k < 64; ++k) change(cells[k]);
        return;
      }
      for (; hidden != 0; hidden &= hidden - 1) change(cells[std::countr_zero(hidden)]);
    });
  }

  // Makes every hidden pixel a fresh cell. False: no memory.
  bool MakeCells() {
    if (threshold_ > 0) {
      if (!alphas_.SetSize(width_ * height_)) return false;
      std::transform(cells_, cells_ + alphas_.Size(), alphas_.begin(), AlphaOf);
    }
    ChangeHidden([](Pixel& cell) { cell = kFreshCell; });
    MarkBorder();
    return true;
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

  // Gives the hidden pixels, all of them known by now, their own alpha back.
  void RestoreAlphas() {
    if (threshold_ == 0) return ChangeHidden([](Pixel& cell) { cell &= kColorMask; });
    for (int32_t i = 0; i < alphas_.Size(); ++i) {
      cells_[i] = (cells_[i] & kColorMask) | Pixel{alphas_[i]} << 24;
    }
  }

  // Lists, in scan order, the hidden pixels that touch a visible one. False: no memory.
  // Deliberate: they are not marked as queued. So those that the first wave reaches before they
  // have their colour are listed again, which decides the order of the second wave.
  bool Seed() {
    int64_t maxSeeds = 0;
    mask_.VisitHidden([&](int64_t first, uint64_t hidden) {
      maxSeeds += std::popcount(hidden & mask_.NearVisible(first));
    });
    // The list of the next wave is seldom longer, so neither list has to grow.
    const int32_t capacity = static_cast<int32_t>(maxSeeds);
    if (!current_.SetSize(capacity) || !next_.SetCapacity(capacity)) return false;
    int32_t* end = current_.begin();
    mask_.VisitHidden([&](int64_t first, uint64_t hidden) {
      for (uint64_t near = hidden & mask_.NearVisible(first); near != 0; near &= near - 1) {
        const int32_t index = static_cast<int32_t>(first) + std::countr_zero(near);
        const bool isOnBorder = (cells_[index] & kBorderBit) != 0;
        if (!isOnBorder || TouchesKnown(index)) *end++ = index;  // the mask is not exact there
      }
    });
    return SetEnd(current_, end);
  }

  bool TouchesKnown(int32_t index) const {
    const Window window(*this, index);
    return std::any_of(window.cells, window.cells + Window::kCells, IsKnown);
  }

  // Gives every pixel of the current list that is not known yet the average of its known
  // neighbours, truncated, and lists its fresh neighbours for the next wave. False: no memory.
  //
  // Entries are taken from both ends of the list: from the back after a pixel has got its colour,
  // from the front after a known pixel was skipped. This is the order of walking a list from the
  // front while the last entry replaces each one that has got its colour.
  // Deliberate: known entries decide from which end the next entry is taken, so they stay in the
  // list.
  bool RunWave() {
    constexpr Distances kWindowDistances = NeighbourDistances(Window::kWidth);
    constexpr std::ptrdiff_t kAhead = 16;  // entries: the time in which a cell arrives from memory
    constexpr int32_t kNone = -1;          // no neighbour of a pixel that has eight
    const Distances distances = NeighbourDistances(width_);
    Pixel* const cells = cells_;  // a copy, which no store to a cell can change
    const int32_t* front = current_.begin();
    const int32_t* back = current_.end();
    int32_t* out = next_.begin();
    const int32_t* outEnd = out + next_.Capacity();
    bool fromBack = false;
    int32_t latest = kNone;  // the last pixel that got its colour, which is not stored yet
    Average color = {};
    const auto storeLatest = [&] {
      if (latest != kNone) cells[latest] = CellOf(color);
    };
    // No list names a pixel twice, so the cell of an entry is never the one that is not stored yet.
    while (front != back) {
      const int32_t index = fromBack ? *--back : *front++;
      if (back - front > kAhead) __builtin_prefetch(cells + back[-kAhead]);
      const Pixel cell = cells[index];
      fromBack = !IsKnown(cell);
      if (!fromBack) continue;
      Surroundings found;
      if ((cell & kBorderBit) == 0) {
        found = LookAround(cells + index, distances, latest - index, color);
        storeLatest();
      } else {
        storeLatest();
        found = LookAround(Window(*this, index).Centre(), kWindowDistances, 0, color);
      }
      latest = index;
      color = found.average;
      if (found.fresh == 0) continue;
      if (outEnd - out < kNeighbours) {
        if (!SetEnd(next_, out) || !next_.Reserve(next_.Size() + kNeighbours)) return false;
        out = next_.end();
        outEnd = next_.begin() + next_.Capacity();
      }
      // The compiler unrolls this: eight separate branches are predicted better than the trip count
      // of one loop over the set bits.
      for (int k = 0; k < kNeighbours; ++k) {
        if ((found.fresh >> k & 1) == 0) continue;
        *out = index + distances[k];
        cells[*out++] |= kQueuedBit;
      }
    }
    storeLatest();
    return SetEnd(next_, out);
  }

  // Makes `list` end at `end`. False: it has no memory. Requires: `end` is within its capacity.
  static bool SetEnd(Core::Array<int32_t>& list, const int32_t* end) {
    return list.SetSize(static_cast<int32_t>(end - list.begin()));
  }

  // A copy of a border cell and the cells around it, with queued cells outside the image.
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
  Pixel* const cells_;  // the pixels of bitmap_
  const int32_t width_;
  const int32_t height_;
  const int32_t threshold_;
  VisibleMask mask_;
  Core::ByteArray alphas_;  // of all pixels; empty for threshold 0, where all hidden ones are 0
  Core::Array<int32_t> current_;  // the pixels of this wave, by index
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
