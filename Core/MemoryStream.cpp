#include "Core/MemoryStream.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace Core {

MemoryStream::MemoryStream(const void* data, uint32_t length)
    : borrowed_(static_cast<const uint8_t*>(data)), borrowedLength_(static_cast<int32_t>(length)) {}

const uint8_t* MemoryStream::GetData() const {
  return borrowed_ != nullptr ? borrowed_ : buffer_.Data();
}

int64_t MemoryStream::GetSize() { return borrowed_ != nullptr ? borrowedLength_ : buffer_.Size(); }

bool MemoryStream::Read(void* buffer, int32_t count, uint32_t& done) {
  // A seek that failed may have made the position negative: nothing can be read there.
  const int64_t available = position_ < 0 ? 0 : GetSize() - position_;
  const int64_t size = std::max<int64_t>(0, std::min<int64_t>(count, available));
  if (size > 0) std::memcpy(buffer, GetData() + position_, static_cast<std::size_t>(size));
  position_ += static_cast<int32_t>(size);
  done = static_cast<uint32_t>(size);
  return true;
}

bool MemoryStream::Write(const void* buffer, int32_t count, uint32_t& done) {
  const int64_t end = int64_t{position_} + count;
  if (borrowed_ != nullptr || count < 0 || position_ < 0 ||
      end > std::numeric_limits<int32_t>::max()) {
    return false;
  }
  if (end > buffer_.Size() && (!buffer_.Reserve(static_cast<int32_t>(end)) ||
                               !buffer_.SetSize(static_cast<int32_t>(end)))) {
    return false;
  }
  if (count > 0) {
    std::memcpy(buffer_.Data() + position_, buffer, static_cast<std::size_t>(count));
  }
  position_ = static_cast<int32_t>(end);
  done = static_cast<uint32_t>(count);
  return true;
}

uint32_t MemoryStream::GetCaps() {
  return borrowed_ != nullptr ? kOpen | kReadable | kSeekable
                              : kOpen | kReadable | kWritable | kSeekable;
}

bool MemoryStream::Seek(int64_t offset, int32_t origin) {
  int64_t base = 0;
  if (origin == kFromCurrent) base = position_;
  if (origin == kFromEnd) base = GetSize();
  const int64_t target =
      static_cast<int64_t>(static_cast<uint64_t>(base) + static_cast<uint64_t>(offset));
  if (target != static_cast<int32_t>(target)) {
    position_ = static_cast<int32_t>(target);
    return false;
  }
  position_ = std::max(static_cast<int32_t>(target), 0);
  return true;
}

bool MemoryStream::Truncate() {
  if (borrowed_ != nullptr || position_ < 0) return false;
  return buffer_.SetSize(position_);
}

}  // namespace Core
