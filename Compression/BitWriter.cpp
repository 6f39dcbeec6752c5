#include "Compression/BitWriter.h"

#include "Core/Endian.h"
#include "Core/StreamIo.h"

BitWriter::~BitWriter() {
  // A destructor has nobody to tell; who wants to know calls Flush before.
  if (destination_ != nullptr && !refused_) static_cast<void>(Flush());
}

bool BitWriter::Attach(Core::Stream* destination) {
  if (destination == nullptr) return false;
  const uint32_t caps = destination->GetCaps();
  if ((caps & Core::kWritable) == 0 || (caps & Core::kReadable) != 0) return false;
  destination_ = destination;
  return true;
}

bool BitWriter::WriteGroup() { return WriteBytes(kGroupBits / 8); }

// Hands the low `count` (at most 4) bytes of the accumulator to the stream.
bool BitWriter::WriteBytes(int32_t count) {
  uint8_t bytes[kGroupBits / 8];
  StoreLittle32(bytes, static_cast<uint32_t>(bits_));
  bits_ >>= 8 * count;
  held_ -= 8 * count;
  if (!refused_) {
    refused_ = destination_ == nullptr || !WriteExactly(*destination_, bytes, count);
  }
  return !refused_;
}

bool BitWriter::AlignToByte() {
  held_ = (held_ + 7) / 8 * 8;
  return held_ == 0 ? !refused_ : WriteBytes(held_ / 8);
}

bool BitWriter::Flush() {
  return AlignToByte() && destination_ != nullptr && destination_->Flush();
}
