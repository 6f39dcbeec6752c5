#include "Compression/Matching/DeflateWindow.h"

#include <cstring>

int32_t DeflateWindow::Fill(Core::Stream* source, int32_t available) {
  // The position is at most kHistoryBytes here, so the data never passes the window's end.
  const int32_t wanted = kHistoryBytes - available;
  const int32_t start = position_ + available;
  uint32_t done = 0;
  if (source == nullptr || wanted < 0 || !source->Read(Data() + start, wanted, done)) {
    return -1;
  }
  const int32_t end = start + static_cast<int32_t>(done);
  if (end > furthestEnd_) {
    furthestEnd_ = end;
    std::memset(Data() + end, 0, kMargin);
  }
  return static_cast<int32_t>(done);
}

int32_t DeflateWindow::Slide(int32_t end) {
  if (position_ < kHistoryBytes) return 0;
  const int32_t shift = position_ - kHistoryBytes;
  std::memmove(Data(), Data() + shift, static_cast<std::size_t>(end - shift));
  position_ = kHistoryBytes;
  return shift;
}
