// Which instructions beyond its baseline this processor has, for loops that come in several forms.
#pragma once

#include <cstddef>

struct alignas(4) CpuFeatures {  // as one word, which can be atomic
  bool hasAvx2 = false;
  bool hasBmi2 = false;
  bool hasCarrylessMultiply = false;      // PCLMULQDQ
  bool hasWideCarrylessMultiply = false;  // VPCLMULQDQ on the registers of AVX2

  // What may be used in work on `size` bytes. To ask the processor takes microseconds in a virtual
  // machine, so that is done once, and not before there has been work enough to repay it: up to
  // then there are no features.
  static CpuFeatures For(std::size_t size);

  // For tests of the other forms: asks at once, and from then on leaves out what `most` has not.
  static void Limit(const CpuFeatures& most);
};
