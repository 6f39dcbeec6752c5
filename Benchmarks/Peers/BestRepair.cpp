#include <array>
#include <cstring>
#include <vector>

#include "Benchmarks/Peers/BestKnown.h"

namespace best_known {
namespace {

// A byte of state for each pixel and for a frame around the picture, so that no bounds are tested.
constexpr uint8_t kKnown = 1;
constexpr uint8_t kQueued = 2;

struct Place {
  uint32_t state;  // index in the states
  uint32_t pixel;  // index in the picture
};

class Repairer {
 public:
  explicit Repairer(Picture& picture)
      : picture_(picture),
        stride_(picture.width + 2),
        states_(std::size_t{stride_} * (picture.height + 2) + 8) {
    uint32_t i = 0;
    for (int dy = -1; dy <= 1; ++dy) {
      for (int dx = -1; dx <= 1; ++dx) {
        if (dx == 0 && dy == 0) continue;
        stateSteps_[i] = dy * static_cast<int>(stride_) + dx;
        pixelSteps_[i++] = dy * static_cast<int>(picture.width) + dx;
      }
    }
    // sum * factor >> 16 is sum / count for every sum of up to 8 bytes: the factor is too large by
    // at most 1, so the product by at most 2040, and 2040 / 65536 is below 1 / count.
    for (uint32_t count = 1; count <= 8; ++count) factors_[count] = 65536 / count + 1;
  }

  std::size_t Run() {
    if (!FillStates()) return 0;
    Seed();
    std::size_t repaired = 0;
    for (; !current_.empty(); current_.swap(next_), next_.clear()) {
      for (std::size_t i = 0; i < current_.size();) {
        const Place place = current_[i];
        if ((states_[place.state] & kKnown) != 0) {
          ++i;
          continue;
        }
        Recolour(place);
        ++repaired;
        current_[i] = current_.back();
        current_.pop_back();
      }
    }
    return repaired;
  }

 private:
  // False: every pixel is visible.
  bool FillStates() {
    std::memset(states_.data(), kQueued, states_.size());
    uint8_t all = kKnown;
    for (uint32_t y = 0; y < picture_.height; ++y) {
      const uint32_t* row = picture_.Row(y);
      uint8_t* states = &states_[std::size_t{y + 1} * stride_ + 1];
      for (uint32_t x = 0; x < picture_.width; ++x) {
        states[x] = row[x] > 0x00FFFFFF ? kKnown : 0;
        all &= states[x];
      }
    }
    return all == 0;
  }

  void Seed() {
    const auto three = [this](uint32_t state) {
      uint32_t bytes;  // the fourth is not used
      std::memcpy(&bytes, &states_[state], sizeof bytes);
      return bytes;
    };
    for (uint32_t y = 0; y < picture_.height; ++y) {
      const uint32_t start = (y + 1) * stride_ + 1;
      for (uint32_t x = 0; x < picture_.width; ++x) {
        const uint32_t state = start + x;
        if (states_[state] == kKnown) continue;
        const uint32_t around =
            three(state - stride_ - 1) | three(state - 1) | three(state + stride_ - 1);
        if ((around & 0x010101) != 0) current_.push_back({state, y * picture_.width + x});
      }
    }
  }

  void Recolour(Place place) {
    uint32_t* pixels = picture_.pixels.begin();
    uint32_t redAndBlue = 0;  // in 16 bits each
    uint32_t green = 0;
    uint32_t count = 0;
    for (std::size_t i = 0; i < stateSteps_.size(); ++i) {
      const uint32_t state = place.state + static_cast<uint32_t>(stateSteps_[i]);
      const uint32_t pixel = place.pixel + static_cast<uint32_t>(pixelSteps_[i]);
      if ((states_[state] & kKnown) != 0) {
        redAndBlue += pixels[pixel] & 0x00FF00FF;
        green += pixels[pixel] >> 8 & 0xFF;
        ++count;
      } else if (states_[state] == 0) {
        states_[state] = kQueued;
        next_.push_back({state, pixel});
      }
    }
    const uint32_t factor = factors_[count];
    pixels[place.pixel] = (pixels[place.pixel] & 0xFF000000) |
                          (redAndBlue & 0xFFFF) * factor >> 16 | (green * factor >> 16) << 8 |
                          (redAndBlue >> 16) * factor >> 16 << 16;
    states_[place.state] |= kKnown;
  }

  Picture& picture_;
  uint32_t stride_;
  std::vector<uint8_t> states_;
  std::array<int, 8> stateSteps_;
  std::array<int, 8> pixelSteps_;
  std::array<uint32_t, 9> factors_ = {};
  std::vector<Place> current_;
  std::vector<Place> next_;
};

}  // namespace

std::size_t Repair(Picture& picture) { return Repairer(picture).Run(); }

}  // namespace best_known
