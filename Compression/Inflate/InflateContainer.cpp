#include "Compression/Inflate/InflateContainer.h"

#include "Compression/Checksums/Adler32.h"
#include "Compression/Checksums/Crc32.h"
#include "Core/Array.h"
#include "Core/CharacterSets.h"
#include "Core/Endian.h"

namespace {

constexpr uint8_t kDeflateMethod = 8;

constexpr uint8_t kMaxZlibWindowField = 7;  // 32 KiB
constexpr uint32_t kZlibCheckModulus = 31;
constexpr uint8_t kZlibDictionaryFlag = 0x20;

constexpr uint8_t kGzipMagic[2] = {0x1F, 0x8B};
enum GzipFlag : uint8_t {
  kGzipHeaderCrc = 2,
  kGzipExtraField = 4,
  kGzipName = 8,
  kGzipComment = 16,
  kGzipLastKnown = 31,
};

// Reads header fields and computes the CRC of their bytes.
class GzipFieldReader {
 public:
  explicit GzipFieldReader(BitReader& reader) : reader_(reader) {}

  uint32_t Crc() const { return crc_; }

  bool ReadByte(uint8_t& byte) {
    if (!reader_.ReadByte(byte)) return false;
    crc_ = Crc32(&byte, 1, crc_);
    return true;
  }

  bool ReadBytes(uint8_t* bytes, int32_t count) {
    while (count > 0 && ReadByte(*bytes++)) --count;
    return count == 0;
  }

  bool Skip(int32_t count) {
    uint8_t byte = 0;
    while (count > 0 && ReadByte(byte)) --count;
    return count == 0;
  }

  // Reads up to and including a zero byte. RFC 1952 has names and comments in ISO 8859-1.
  bool ReadText(Core::String& text) {
    Core::ByteArray bytes;
    uint8_t byte = 0;
    do {
      if (!ReadByte(byte) || (byte != 0 && !bytes.Append(byte))) return false;
    } while (byte != 0);
    const char* begin = reinterpret_cast<const char*>(bytes.Data());
    return text.Assign(Core::kCodePageLatin1, begin, begin + bytes.Size());
  }

 private:
  BitReader& reader_;
  uint32_t crc_ = 0;
};

}  // namespace

void InflateContainer::SetFormat(int32_t format) {
  format_ = format == kZlib || format == kGzip ? format : kRawDeflate;
  checksumOf_ = format_ == kZlib ? Adler32 : format_ == kGzip ? Crc32 : nullptr;
}

void InflateContainer::Begin() {
  name_.Release();
  comment_.Release();
  modificationTime_ = 0;
  size_ = 0;
  checksum_ = format_ == kZlib ? kAdler32Initial : 0;
}

bool InflateContainer::ReadZlibHeader(BitReader& reader) {
  uint8_t method = 0;
  uint8_t flags = 0;
  if (!reader.ReadByte(method) || !reader.ReadByte(flags)) return false;
  if ((method & 0x0F) != kDeflateMethod || method >> 4 > kMaxZlibWindowField ||
      (method << 8 | flags) % kZlibCheckModulus != 0) {
    return false;
  }
  if ((flags & kZlibDictionaryFlag) == 0) return true;
  // Deliberate: no dictionary is ever supplied. Distances into it read zeros, and a stream that
  // needs its bytes fails by the checksum.
  uint32_t dictionaryIdentifier = 0;
  return reader.Read32(dictionaryIdentifier);
}

bool InflateContainer::ReadGzipHeader(BitReader& reader) {
  GzipFieldReader fields(reader);
  uint8_t start[4];  // magic, method, flags
  uint8_t time[4];
  constexpr int32_t kExtraFlagsAndSystem = 2;  // bytes of no use here
  if (!fields.ReadBytes(start, sizeof start)) return false;
  const uint8_t flags = start[3];
  if (start[0] != kGzipMagic[0] || start[1] != kGzipMagic[1] || start[2] != kDeflateMethod ||
      flags > kGzipLastKnown) {
    return false;
  }
  if (!fields.ReadBytes(time, sizeof time) || !fields.Skip(kExtraFlagsAndSystem)) return false;
  modificationTime_ = Core::LoadLittle32(time);

  if ((flags & kGzipExtraField) != 0) {
    uint8_t length[2];
    if (!fields.ReadBytes(length, sizeof length) || !fields.Skip(length[1] << 8 | length[0])) {
      return false;
    }
  }
  if ((flags & kGzipName) != 0 && !fields.ReadText(name_)) return false;
  if ((flags & kGzipComment) != 0 && !fields.ReadText(comment_)) return false;
  if ((flags & kGzipHeaderCrc) == 0) return true;
  uint32_t crc = 0;
  return reader.ReadBits(16, crc) && crc == (fields.Crc() & 0xFFFF);
}

void InflateContainer::Account(const uint8_t* data, int32_t size) {
  size_ += static_cast<uint32_t>(size);
  if (checksumOf_ != nullptr) checksum_ = checksumOf_(data, static_cast<uint32_t>(size), checksum_);
}

bool InflateContainer::ReadTrailer(BitReader& reader) {
  if (format_ == kRawDeflate) return true;
  reader.AlignToByte();
  uint32_t checksum = 0;
  if (!reader.Read32(checksum)) return false;
  if (format_ == kZlib) return Core::SwapBytes32(checksum) == checksum_;
  uint32_t size = 0;
  return checksum == checksum_ && reader.Read32(size) && size == size_;
}
