// The repair in its plainest form: whole-picture arrays, every neighbour tested for itself.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "Image/Bitmap.h"

class SlowRepair {
 public:
  SlowRepair(Bitmap& bitmap, int threshold) : bitmap_(bitmap) {
    for (int y = 0; y < bitmap.Height(); ++y) {
      for (int x = 0; x < bitmap.Width(); ++x) known_.push_back(AlphaOf(At({x, y})) > threshold);
    }
    queued_.resize(known_.size());
  }

  // Whether anything changed.
  bool Run() {
    std::vector<Place> current;
    for (int y = 0; y < bitmap_.Height(); ++y) {
      for (int x = 0; x < bitmap_.Width(); ++x) {
        bool isBeside = false;
        ForEachAround({x, y}, [&](Place other) { isBeside = isBeside || known_[Cell(other)]; });
        if (isBeside && !known_[Cell({x, y})]) current.push_back({x, y});
      }
    }
    const bool isChanging = !current.empty();
    while (!current.empty()) current = Wave(current);
    return isChanging;
  }

 private:
  struct Place {
    int x, y;
  };

  std::vector<Place> Wave(std::vector<Place> current) {
    std::vector<Place> next;
    for (std::size_t i = 0; i < current.size();) {
      const Place place = current[i];
      if (known_[Cell(place)]) {
        ++i;
        continue;
      }
      Recolour(place);
      ForEachAround(place, [&](Place other) {
        if (known_[Cell(other)] || queued_[Cell(other)]) return;
        queued_[Cell(other)] = true;
        next.push_back(other);
      });
      current[i] = current.back();
      current.pop_back();
    }
    return next;
  }

  void Recolour(Place place) {
    for (int shift : {16, 8, 0}) {
      unsigned sum = 0;
      unsigned count = 0;
      ForEachAround(place, [&](Place other) {
        if (!known_[Cell(other)]) return;
        sum += At(other) >> shift & 255;
        ++count;
      });
      At(place) = (At(place) & ~(255u << shift)) | sum / count << shift;
    }
    known_[Cell(place)] = true;
  }

  void ForEachAround(Place centre, auto visit) {
    for (int y = std::max(centre.y - 1, 0); y <= std::min(centre.y + 1, bitmap_.Height() - 1);
         ++y) {
      for (int x = std::max(centre.x - 1, 0); x <= std::min(centre.x + 1, bitmap_.Width() - 1);
           ++x) {
        if (x != centre.x || y != centre.y) visit(Place{x, y});
      }
    }
  }

  Pixel& At(Place place) { return bitmap_.Row(place.y)[place.x]; }
  std::size_t Cell(Place place) const {
    return static_cast<std::size_t>(place.y * bitmap_.Width() + place.x);
  }

  Bitmap& bitmap_;
  std::vector<bool> known_;
  std::vector<bool> queued_;
};
