#include "Core/File.h"

#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

namespace Core {

namespace {

constexpr mode_t kNewFilePermissions = 0600;

// The flags of open() for making and emptying a file.
int CreationFlags(uint32_t mode) {
  const bool create = (mode & kModeCreate) != 0;
  if ((mode & kModeTruncate) != 0) return create ? O_TRUNC | O_CREAT : O_TRUNC;
  return create ? O_CREAT | O_EXCL : 0;
}

// Turns the result of read() or write() into that of a stream.
bool Report(ssize_t result, uint32_t& done) {
  if (result < 0) return false;
  done = static_cast<uint32_t>(result);
  return true;
}

}  // namespace

File::File(const String& path, uint32_t mode, uint32_t /*share*/) { OpenDescriptor(path, mode); }

File::File(const String& path, const char* modeString) {
  uint32_t mode = 0;
  uint32_t share = 0;
  if (ParseMode(modeString, mode, share)) OpenDescriptor(path, mode);
}

File::~File() {
  if ((caps_ & kOpen) != 0) close(Descriptor());
}

bool File::Open(const String& path, uint32_t mode, uint32_t /*share*/) {
  if ((GetCaps() & kOpen) != 0 && !Close()) return false;
  return OpenDescriptor(path, mode);
}

bool File::Open(const String& path, const char* modeString) {
  uint32_t mode = 0;
  uint32_t share = 0;
  return ParseMode(modeString, mode, share) && Open(path, mode, share);
}

bool File::ParseMode(const char* modeString, uint32_t& mode, uint32_t& share) {
  if (modeString == nullptr) return false;
  mode = 0;
  share = kShareAll;
  for (; *modeString != '\0'; ++modeString) {
    const char letter = *modeString;
    if (letter == 'r') mode |= kModeRead;
    if (letter == 'w') mode |= kModeWrite | kModeCreate | kModeTruncate;
    // Deliberate: unlike fopen's "a" this reads too and fails if the file exists, since it creates
    // without truncating.
    if (letter == 'a') mode |= kModeRead | kModeWrite | kModeCreate | kModeAppend;
    const bool isAppending = (mode & kModeAppend) != 0;
    if (letter == 'x' || (letter == '+' && isAppending)) mode &= ~uint32_t{kModeTruncate};
    if (letter == '+') mode |= kModeRead | kModeWrite;
  }
  return true;
}

bool File::Read(void* buffer, int32_t count, uint32_t& done) {
  if (count < 0) return false;
  return Report(read(Descriptor(), buffer, static_cast<std::size_t>(count)), done);
}

bool File::Write(const void* buffer, int32_t count, uint32_t& done) {
  if ((caps_ & kAppend) == 0) return WriteHere(buffer, count, done);
  const int64_t position = Tell();
  const bool written = Seek(0, kFromEnd) && WriteHere(buffer, count, done);
  // Deliberate: a failure here is not reported. The bytes are in the file, and a caller that is
  // told otherwise may write them twice. The next append does not depend on the position.
  static_cast<void>(Seek(position, kFromStart));
  return written;
}

bool File::Close() { return (caps_ & kOpen) == 0 || close(Descriptor()) == 0; }

bool File::Seek(int64_t offset, int32_t origin) {
  int whence = SEEK_SET;
  if (origin == kFromCurrent) whence = SEEK_CUR;
  if (origin == kFromEnd) whence = SEEK_END;
  return lseek64(Descriptor(), offset, whence) >= 0;
}

int64_t File::Tell() { return lseek64(Descriptor(), 0, SEEK_CUR); }

bool File::Flush() { return (caps_ & kWritable) == 0 || fsync(Descriptor()) == 0; }

bool File::Truncate() { return (caps_ & kWritable) == 0 || ftruncate64(Descriptor(), Tell()) == 0; }

bool File::OpenDescriptor(const String& path, uint32_t mode) {
  const bool reads = (mode & kModeRead) != 0;
  const bool writes = (mode & kModeWrite) != 0;
  if (!reads && !writes) return false;
  // Deliberate: the bits are added to the old ones, so a file that is opened again with other
  // access still shows the access that it had before.
  if (reads) caps_ |= kReadable;
  if (writes) caps_ |= kWritable;
  const int access = !writes ? O_RDONLY : reads ? O_RDWR : O_WRONLY;
  const int descriptor = open64(path.ToNarrow(), access | CreationFlags(mode), kNewFilePermissions);
  if (descriptor < 0) {
    caps_ = 0;
    return false;
  }
  caps_ |= kOpen | kSeekable;
  if ((mode & kModeAppend) != 0) caps_ |= kAppend;
  handle_ = int64_t{descriptor} + 1;
  return true;
}

bool File::WriteHere(const void* buffer, int32_t count, uint32_t& done) {
  if (count < 0) return false;
  return Report(write(Descriptor(), buffer, static_cast<std::size_t>(count)), done);
}

}  // namespace Core
