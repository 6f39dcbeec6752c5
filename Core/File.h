// The stream over a POSIX file descriptor. Every operation is one system call or a short sequence
// of them; nothing is buffered, and errno is neither kept nor reported.
#pragma once

#include <cstdint>

#include "Core/Stream.h"
#include "Core/String.h"

namespace Core {

// How a file is opened, as bits. Create without truncate makes a new file and fails if there is
// one.
enum FileMode : uint32_t {
  kModeRead = 1,
  kModeWrite = 2,
  kModeCreate = 4,
  kModeTruncate = 8,
  kModeAppend = 16,
};

// What other openings of the file are allowed meanwhile. It has no meaning on this platform.
constexpr uint32_t kShareAll = 7;

class File final : public Stream {
 public:
  // No file.
  File() = default;

  // Opens `path` as Open does. A failure shows as a clear kOpen bit in GetCaps.
  File(const String& path, uint32_t mode, uint32_t share);

  // The same with the mode as ParseMode reads it.
  File(const String& path, const char* modeString);

  // Closes the file if there is one.
  ~File() override;

  // Opens `path` with FileMode bits, of which kModeRead or kModeWrite must be there; an open file
  // is closed first. A file that is made here may be read and written by its owner only (0600, less
  // the umask). False: the old file could not be closed, no access is asked for, or the file cannot
  // be opened; in the last case GetCaps is 0.
  [[nodiscard]] virtual bool Open(const String& path, uint32_t mode, uint32_t share);

  // The same with the mode as ParseMode reads it. False also for null.
  [[nodiscard]] bool Open(const String& path, const char* modeString);

  // Reads a mode in the manner of fopen: r, w, a, each with + and x; other characters are ignored.
  // False, with nothing set: `modeString` is null.
  [[nodiscard]] static bool ParseMode(const char* modeString, uint32_t& mode, uint32_t& share);

  // One read or write each; a short count is not retried.
  bool Read(void* buffer, int32_t count, uint32_t& done) override;

  // In append mode the bytes go to the end of the file and the position stays.
  bool Write(const void* buffer, int32_t count, uint32_t& done) override;

  // True when there was nothing to close.
  // Deliberate: the file still counts as open and keeps its descriptor number, so that the
  // destructor closes that number once more. Close by hand only a file that lives no longer than
  // the next statement; the tool leaves closing to the destructor.
  bool Close() override;

  uint32_t GetCaps() override { return caps_; }
  bool Seek(int64_t offset, int32_t origin) override;
  int64_t Tell() override;

  // Waits until the bytes are on the device. Nothing to do when the file is not writable.
  bool Flush() override;

  // Nothing to do when the file is not writable.
  bool Truncate() override;

 private:
  bool OpenDescriptor(const String& path, uint32_t mode);
  bool WriteHere(const void* buffer, int32_t count, uint32_t& done);
  int Descriptor() const { return static_cast<int>(handle_ - 1); }

  uint32_t caps_ = 0;   // StreamCaps bits
  int64_t handle_ = 0;  // the descriptor plus 1; 0: no file
};

}  // namespace Core
