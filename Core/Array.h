// The growable array of the program, with its one growth rule.
//
// Its elements are in one block of the program's heap. Each operation that may need memory returns
// false when there is none; the array then has no block and no elements.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

#include "Memory/GlobalHeap.h"

namespace Core {

// Grows `capacity` in steps (by 1 below 2, then by half) until it is at least `needed`: 1, 2, 3, 4,
// 6, 9, 13, 19, 28, 42, ... At most 2^31 - 1. A 32-bit product could wrap and never reach `needed`.
constexpr int32_t GrownCapacity(int32_t capacity, int32_t needed) {
  int64_t grown = capacity;
  while (grown < needed) grown = grown < 2 ? grown + 1 : 3 * grown / 2;
  return static_cast<int32_t>(std::min<int64_t>(grown, std::numeric_limits<int32_t>::max()));
}

template <typename T>
class Array {
  static_assert(std::is_trivially_copyable_v<T>, "elements are moved as bytes");

 public:
  Array() = default;
  Array(const Array&) = delete;
  Array& operator=(const Array&) = delete;
  ~Array() { Free(); }

  T* Data() { return data_; }
  const T* Data() const { return data_; }
  int32_t Size() const { return size_; }
  int32_t Capacity() const { return capacity_; }
  bool IsEmpty() const { return size_ == 0; }
  T& operator[](int32_t index) { return data_[index]; }
  const T& operator[](int32_t index) const { return data_[index]; }
  T* begin() { return data_; }
  T* end() { return data_ + size_; }
  const T* begin() const { return data_; }
  const T* end() const { return data_ + size_; }

  // Makes the capacity exactly `capacity` elements and drops those that no longer fit. 0 frees the
  // block. False: no memory; the old block is freed, the size is 0.
  // Deliberate: after a failure Capacity() is still the one asked for. A second request for it
  // fails at once, without asking the heap. Requires: capacity >= 0.
  [[nodiscard]] bool SetCapacity(int32_t capacity) {
    if (capacity == capacity_) return HasBlock();
    if (capacity == 0) {
      Free();
      return true;
    }
    const std::size_t bytes = static_cast<std::size_t>(capacity) * sizeof(T);
    T* block = static_cast<T*>(ResizeOrAllocate(data_, bytes, alignof(T)));
    const int32_t kept = block == nullptr ? 0 : std::min(size_, capacity);
    if (block != data_) {
      if (kept > 0) std::memcpy(block, data_, static_cast<std::size_t>(kept) * sizeof(T));
      HeapFree(data_);
    }
    data_ = block;
    size_ = kept;
    capacity_ = capacity;
    return HasBlock();
  }

  // Grows the capacity to at least `count` elements by the growth rule. False: as for SetCapacity.
  [[nodiscard]] bool Reserve(int32_t count) {
    return capacity_ >= count ? HasBlock() : SetCapacity(GrownCapacity(capacity_, count));
  }

  // Makes the size exactly `size`, and the capacity too if it is smaller. New elements are
  // uninitialised. False: as for SetCapacity.
  [[nodiscard]] bool SetSize(int32_t size) {
    if (capacity_ < size ? !SetCapacity(size) : !HasBlock()) return false;
    size_ = size;
    return true;
  }

  // Appends one element. False: no memory, or the array has 2^31 - 1 elements already.
  [[nodiscard]] bool Append(const T& element) {
    const T copy = element;  // `element` may be in this array's old block
    if (size_ >= capacity_) {
      if (size_ == std::numeric_limits<int32_t>::max() || !Reserve(size_ + 1)) return false;
    } else if (!HasBlock()) {
      return false;
    }
    data_[size_++] = copy;
    return true;
  }

  // Appends the `count` elements at `elements`. False: as for Append. Requires: they are not in
  // this array.
  [[nodiscard]] bool AppendAll(const T* elements, int32_t count) {
    if (count > std::numeric_limits<int32_t>::max() - size_ || !Reserve(size_ + count)) {
      return false;
    }
    if (count > 0) {
      std::memcpy(data_ + size_, elements, static_cast<std::size_t>(count) * sizeof(T));
    }
    size_ += count;
    return true;
  }

  // Copies the size and the elements of `other`. False: as for SetSize.
  [[nodiscard]] bool Assign(const Array& other) {
    if (&other == this) return true;
    if (!SetSize(other.size_)) return false;
    if (size_ > 0) std::memcpy(data_, other.data_, static_cast<std::size_t>(size_) * sizeof(T));
    return true;
  }

  // Drops the elements and keeps the block.
  void Clear() { size_ = 0; }

  // Frees the block; the array is as after construction.
  void Free() {
    if (data_ != nullptr && capacity_ != 0) HeapFree(data_);
    data_ = nullptr;
    size_ = 0;
    capacity_ = 0;
  }

  void Swap(Array& other) {
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
    std::swap(capacity_, other.capacity_);
  }

 private:
  bool HasBlock() const { return capacity_ == 0 || data_ != nullptr; }

  T* data_ = nullptr;
  int32_t size_ = 0;      // elements in use
  int32_t capacity_ = 0;  // elements that the block has room for
};

using ByteArray = Array<uint8_t>;
static_assert(sizeof(ByteArray) == 16, "data, size, capacity");

}  // namespace Core
