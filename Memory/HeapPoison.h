// Tells AddressSanitizer which of the heap's bytes the program may touch. Ordinary builds have
// nothing of it: a HeapWord is then its plain type, and the functions do nothing.
//
// To the sanitizer a segment is one mapping, all of it good to use. So all of it is poisoned when
// it is mapped, and a block's bytes are open to the program from its allocation until it is freed:
// the bytes asked for, not those that rounding adds. What lies between them (headers, links, free
// blocks, the sentinel) stays poisoned, and an access one byte past a block is reported on the
// spot.
//
// The heap's own words lie in poisoned memory and are of type HeapWord, whose accesses alone are
// not checked; the rest of the heap's code is under watch like any other.
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

// Opens the first `asked` of the block's `size` bytes and no more; of none asked for, one, so that
// every block in use can be told from a freed one.
inline void OpenBlock(const void* payload, uint64_t asked, uint64_t size) {
  PoisonBytes(payload, size);
  UnpoisonBytes(payload, asked == 0 ? 1 : asked);
}

// Reports a block that is freed or resized after it was freed.
inline void ExpectOpen(const void* payload) { *static_cast<const volatile char*>(payload); }

#else

template <typename T>
using HeapWord = T;

inline void PoisonBytes(const void*, uint64_t) {}
inline void UnpoisonBytes(const void*, uint64_t) {}
inline void OpenBlock(const void*, uint64_t, uint64_t) {}
inline void ExpectOpen(const void*) {}

#endif
