// Shows AddressSanitizer which bytes of the heap the program may use. In ordinary builds a HeapWord
// is its plain type and the functions do nothing.
//
// The sanitizer knows only whole mappings. So the heap poisons a segment when it is mapped. From
// allocation until release a block's bytes are open to the program: those asked for, not those that
// rounding adds. Headers, links, free blocks and sentinels stay poisoned, so that the sanitizer
// reports an access one byte beyond a block at once.
//
// The heap's own words are in poisoned memory and have the type HeapWord. Its accesses are not
// checked; all other code of the heap is checked like any code.
#pragma once

#include <cstdint>

#if defined(__SANITIZE_ADDRESS__)  // g++
#define HALOMEND_POISONS_HEAP 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)  // clang
#define HALOMEND_POISONS_HEAP 1
#endif
#endif

#ifdef HALOMEND_POISONS_HEAP

#include <sanitizer/asan_interface.h>

template <typename T>
class HeapWord {
 public:
  [[gnu::no_sanitize_address]] constexpr HeapWord(T value) : value_(value) {}
  [[gnu::no_sanitize_address]] HeapWord(const HeapWord& other) : value_(other.value_) {}
  [[gnu::no_sanitize_address]] HeapWord& operator=(const HeapWord& other) {
    value_ = other.value_;
    return *this;
  }
  [[gnu::no_sanitize_address]] operator T() const { return value_; }

 private:
  T value_;
};

inline void PoisonBytes(const void* bytes, uint64_t count) {
  __asan_poison_memory_region(bytes, count);
}

inline void UnpoisonBytes(const void* bytes, uint64_t count) {
  __asan_unpoison_memory_region(bytes, count);
}

// Opens the first `asked` of the block's `size` bytes and poisons the others. For `asked` 0 it
// opens one byte, so that ExpectOpen can tell a block in use from a free one.
inline void OpenBlock(const void* payload, uint64_t asked, uint64_t size) {
  PoisonBytes(payload, size);
  UnpoisonBytes(payload, asked == 0 ? 1 : asked);
}

// Reads the first byte, so that the sanitizer reports the release or resize of a free block.
inline void ExpectOpen(const void* payload) { *static_cast<const volatile char*>(payload); }

#else

template <typename T>
using HeapWord = T;

inline void PoisonBytes(const void*, uint64_t) {}
inline void UnpoisonBytes(const void*, uint64_t) {}
inline void OpenBlock(const void*, uint64_t, uint64_t) {}
inline void ExpectOpen(const void*) {}

#endif
