#include "Core/Stream.h"

namespace Core {

bool Stream::Read(void*, int32_t, uint32_t&) { return false; }
bool Stream::Write(const void*, int32_t, uint32_t&) { return false; }
bool Stream::Close() { return true; }
uint32_t Stream::GetCaps() { return 0; }
bool Stream::Seek(int64_t, int32_t) { return false; }
int64_t Stream::Tell() { return -1; }
bool Stream::Flush() { return true; }
bool Stream::Truncate() { return false; }

int64_t Stream::GetSize() {
  const int64_t position = Tell();
  if (position < 0 || !Seek(0, kFromEnd)) return -1;
  const int64_t size = Tell();
  return Seek(position, kFromStart) ? size : -1;
}

bool Stream::IsEof() {
  const int64_t position = Tell();
  return position >= 0 && position == GetSize();
}

}  // namespace Core
