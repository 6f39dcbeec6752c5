// The stream over a POSIX file descriptor. Every operation is one system call or a short sequence
// of them. Nothing is buffered, and errno is neither kept nor reported.
//
// The tool uses the constructor with mode bits, GetCaps, Read and Write, and leaves closing to the
// destructor. The rest completes the interface.
#pragma once

#include <cstdint>

#include "Core/Stream.h"
#include "Core/String.h"

namespace Core {

// How a file is opened, as bits.
enum FileMode : uint32_t {
  kModeRead = 1,
  kModeWrite = 2,
  kModeCreate = 4,    // makes the file; without kModeTruncate it must not exist yet
  kModeTruncate = 8,  // empties the file; without kModeCreate it must exist
  kModeAppend = 16,   // every write goes to the end
};

// How others may open the file while it is open. It has no effect on this platform.
constexpr uint32_t kShareAll = 7;

class File final : public Stream {
 public:
  // No file.
  File() = default;

  // Opens `path` as Open does. After a failure the kOpen bit of GetCaps is clear.
  File(const String& path, uint32_t mode, uint32_t share);

  // The same, with a mode for ParseMode.
  File(const String& path, const char* modeString);

  // Closes the file if there is one. A failure to close is not reported.
  ~File() override;

  // Opens `path` with FileMode bits, at least kModeRead or kModeWrite; an open file is closed
  // first. Only the owner may read and write a file that is made here (0600, less the umask).
  // False: the old file could not be closed, neither kModeRead nor kModeWrite is set, or the file
  // cannot be opened; in the last case GetCaps is 0.
  [[nodiscard]] virtual bool Open(const String& path, uint32_t mode, uint32_t share);

  // The same, with a mode for ParseMode. False also for null.
  [[nodiscard]] bool Open(const String& path, const char* modeString);

  // Reads a mode like those of fopen: r, w or a, with + and x; other characters are ignored. False,
  // with nothing set: `modeString` is null.
  [[nodiscard]] static bool ParseMode(const char* modeString, uint32_t& mode, uint32_t& share);

  // One read; a short count is not retried. False also for a negative count.
  [[nodiscard]] bool Read(void* buffer, int32_t count, uint32_t& done) override;

  // One write; a short count is not retried. False also for a negative count. In append mode the
  // bytes go to the end of the file, and the position is restored; the result is that of the write
  // even if the position could not be restored.
  [[nodiscard]] bool Write(const void* buffer, int32_t count, uint32_t& done) override;

  // True also when no file is open.
  // Deliberate: the open bit and the descriptor number stay, so the destructor closes that number
  // once more. If another file has got the number meanwhile, it is closed: destroy a file at once
  // after its Close.
  [[nodiscard]] bool Close() override;

  uint32_t GetCaps() override { return caps_; }
  [[nodiscard]] bool Seek(int64_t offset, int32_t origin) override;
  int64_t Tell() override;

  // Waits until the bytes are on the device. Does nothing, and succeeds, if the file is not
  // writable.
  [[nodiscard]] bool Flush() override;

  // Does nothing, and succeeds, if the file is not writable.
  [[nodiscard]] bool Truncate() override;

 private:
  bool OpenDescriptor(const String& path, uint32_t mode);
  bool WriteHere(const void* buffer, int32_t count, uint32_t& done);
  int Descriptor() const { return static_cast<int>(handle_ - 1); }

  uint32_t caps_ = 0;   // StreamCaps bits
  int64_t handle_ = 0;  // the descriptor plus 1; 0: no file
};

}  // namespace Core
