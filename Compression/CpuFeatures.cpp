#include "Compression/CpuFeatures.h"

#include <atomic>
#include <cstdint>

#if defined(__SSE2__)
#include <cpuid.h>
#endif

namespace {

// A CRC-32 of so much by its table takes some ten times as long as the question.
constexpr std::size_t kWorkThatRepays = 65536;

#if defined(__SSE2__)

// What the operating system saves: bits 1 and 2 are the registers of AVX.
bool SavesAvxRegisters() {
  constexpr uint32_t kRegisters = 6;
  uint32_t low = 0;
  uint32_t high = 0;
  __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  return (low & kRegisters) == kRegisters;
}

CpuFeatures AskProcessor() {
  CpuFeatures features;
  uint32_t a = 0;
  uint32_t b = 0;
  uint32_t c = 0;
  uint32_t d = 0;
  __cpuid(1, a, b, c, d);
  features.hasCarrylessMultiply = (c & bit_PCLMUL) != 0;
  // Where there is XSAVE there is its leaf 13, and so leaf 7.
  if ((c & bit_OSXSAVE) == 0 || !SavesAvxRegisters()) return features;
  __cpuid_count(7, 0, a, b, c, d);
  features.hasBmi2 = (b & bit_BMI2) != 0 && (b & bit_BMI) != 0;
  features.hasAvx2 = (b & bit_AVX2) != 0;
  features.hasWideCarrylessMultiply =
      features.hasCarrylessMultiply && features.hasAvx2 && (c & bit_VPCLMULQDQ) != 0;
  return features;
}

#else

CpuFeatures AskProcessor() { return {}; }

#endif

// Of workSoFar: the processor has been asked.
constexpr std::size_t kAsked = SIZE_MAX;

// Constant at first: a guarded static would bring the C++ library's exceptions into the program,
// whose start-up takes 72 KiB of memory.
constinit std::atomic<CpuFeatures> usable = CpuFeatures{};
constinit std::atomic<std::size_t> workSoFar = 0;

}  // namespace

CpuFeatures CpuFeatures::For(std::size_t size) {
  const std::size_t before = workSoFar.load(std::memory_order_acquire);
  if (before == kAsked) return usable.load(std::memory_order_relaxed);
  if (before < kWorkThatRepays) {
    workSoFar.store(before + size, std::memory_order_relaxed);
    return {};
  }
  const CpuFeatures present = AskProcessor();
  usable.store(present, std::memory_order_relaxed);
  workSoFar.store(kAsked, std::memory_order_release);
  return present;
}

void CpuFeatures::Limit(const CpuFeatures& most) {
  const CpuFeatures present = AskProcessor();
  usable = {present.hasAvx2 && most.hasAvx2, present.hasBmi2 && most.hasBmi2,
            present.hasCarrylessMultiply && most.hasCarrylessMultiply,
            present.hasWideCarrylessMultiply && most.hasWideCarrylessMultiply};
  workSoFar = kAsked;
}
