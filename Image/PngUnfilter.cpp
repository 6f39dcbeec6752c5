#include "Image/PngUnfilter.h"

#include <cstdlib>

#include "Image/PngFormat.h"

namespace {

// Whichever of left, above and upper left is nearest to left + above - upper left; ties go to the
// left, then to the one above.
uint8_t PaethPredictor(int32_t left, int32_t above, int32_t upperLeft) {
  const int32_t fromLeft = std::abs(above - upperLeft);
  const int32_t fromAbove = std::abs(left - upperLeft);
  const int32_t fromUpperLeft = std::abs(left + above - 2 * upperLeft);
  if (fromLeft <= fromAbove && fromLeft <= fromUpperLeft) return static_cast<uint8_t>(left);
  return static_cast<uint8_t>(fromAbove <= fromUpperLeft ? above : upperLeft);
}

void Add(uint8_t& byte, int32_t prediction) { byte = static_cast<uint8_t>(byte + prediction); }

// Left of the first unit everything is 0: its bytes have loops of their own, and the main loops
// need no test. The predictor of left 0 and upper left 0 is the byte above.
template <int32_t kUnit>
bool Unfilter(uint8_t filter, uint8_t* row, const uint8_t* previous, int32_t length) {
  switch (filter) {
    case kPngFilterNone:
      return true;
    case kPngFilterSub:
      for (int32_t i = kUnit; i < length; ++i) Add(row[i], row[i - kUnit]);
      return true;
    case kPngFilterUp:
      for (int32_t i = 0; i < length; ++i) Add(row[i], previous[i]);
      return true;
    case kPngFilterAverage:
      for (int32_t i = 0; i < kUnit; ++i) Add(row[i], previous[i] / 2);
      for (int32_t i = kUnit; i < length; ++i) Add(row[i], (row[i - kUnit] + previous[i]) / 2);
      return true;
    case kPngFilterPaeth:
      for (int32_t i = 0; i < kUnit; ++i) Add(row[i], previous[i]);
      for (int32_t i = kUnit; i < length; ++i) {
        Add(row[i], PaethPredictor(row[i - kUnit], previous[i], previous[i - kUnit]));
      }
      return true;
    default:
      return false;
  }
}

}  // namespace

bool UnfilterPngRow(uint8_t filter, uint8_t* row, const uint8_t* previous, int32_t length,
                    int32_t unit) {
  switch (unit) {
    case 1:
      return Unfilter<1>(filter, row, previous, length);
    case 2:
      return Unfilter<2>(filter, row, previous, length);
    case 3:
      return Unfilter<3>(filter, row, previous, length);
    case 4:
      return Unfilter<4>(filter, row, previous, length);
    case 6:
      return Unfilter<6>(filter, row, previous, length);
    case 8:
      return Unfilter<8>(filter, row, previous, length);
    default:
      return false;
  }
}
