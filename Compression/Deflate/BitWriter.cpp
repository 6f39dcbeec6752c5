#include "Compression/Deflate/BitWriter.h"

#include "Core/StreamIo.h"

BitWriter::~BitWriter() {
  // A destructor cannot report a failure; a caller who wants to know calls Flush before.
  if (destination_ != nullptr && !refused_) static_cast<void>(Flush());
}

bool BitWriter::Attach(Core::Stream* destination) {
  if (destination == nullptr || refused_) return false;
  const uint32_t caps = destination->GetCaps();
  if ((caps & Core::kWritable) == 0 || (caps & Core::kReadable) != 0) return false;
  destination_ = destination;
  limit_ = kBufferBytes;
  return true;
}

bool BitWriter::WriteBytes(std::span<const uint8_t> bytes) {
  return WriteBuffer() && WriteThrough(bytes.data(), static_cast<int32_t>(bytes.size()));
}

bool BitWriter::WriteBuffer() {
  const int32_t count = used_;
  used_ = 0;
  return WriteThrough(buffer_.data(), count);
}

bool BitWriter::WriteThrough(const uint8_t* bytes, int32_t count) {
  if (destination_ == nullptr) return false;
  if (!refused_) refused_ = !Core::WriteExactly(*destination_, bytes, count);
  if (refused_) limit_ = 0;
  return !refused_;
}

bool BitWriter::AlignToByte() {
  if (held_ > 0) buffer_[used_++] = static_cast<uint8_t>(bits_);
  bits_ = 0;
  held_ = 0;
  return used_ == 0 ? !refused_ : WriteBuffer();
}

bool BitWriter::Flush() {
  return AlignToByte() && destination_ != nullptr && destination_->Flush();
}
