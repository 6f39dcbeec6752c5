#include "Compression/Inflate/HuffmanLevels.h"

#include <algorithm>
#include <array>
#include <limits>

#include "Compression/Format/CanonicalCode.h"
#include "Compression/Format/DeflateFormat.h"

struct HuffmanLevels::Code {
  uint16_t bits;      // reversed, the first bit lowest
  uint8_t length;     // 0: the symbol has no code
  uint8_t runLength;  // at the first symbol of a run of equal lengths: the size of the run
};

namespace {

using LevelBits = std::array<uint8_t, kMaxCodeLength>;

// The bits of each level: those between a code length in use and the next one in use.
LevelBits MakeLevelBits(const uint8_t* lengths, int32_t symbolCount) {
  std::array<bool, kMaxCodeLength + 1> isInUse{};
  for (int32_t symbol = 0; symbol < symbolCount; ++symbol) isInUse[lengths[symbol]] = true;
  LevelBits bits{};
  int32_t level = 0;
  int32_t previous = 0;
  for (int32_t length = 1; length <= kMaxCodeLength; ++length) {
    if (!isInUse[length]) continue;
    bits[level++] = static_cast<uint8_t>(length - previous);
    previous = length;
  }
  return bits;
}

}  // namespace

bool HuffmanLevels::Build(const uint8_t* lengths, int32_t symbolCount) {
  std::array<uint16_t, kLiteralLengthSymbols> bits;
  if (!AssignCanonicalCodes(lengths, symbolCount, bits.data())) return false;

  std::array<Code, kLiteralLengthSymbols> codes;
  int32_t runStart = -1;
  for (int32_t symbol = 0; symbol < symbolCount; ++symbol) {
    codes[symbol] = {bits[symbol], lengths[symbol], 0};
    if (lengths[symbol] == 0) continue;  // a symbol without a code does not end a run
    if (runStart < 0 || lengths[runStart] != lengths[symbol]) runStart = symbol;
    uint8_t& runLength = codes[runStart].runLength;
    if (runLength < std::numeric_limits<uint8_t>::max()) ++runLength;
  }
  if (runStart < 0) return false;

  const LevelBits levelBits = MakeLevelBits(lengths, symbolCount);
  subtables_.Clear();
  slots_.Clear();
  if (!AddSubtable(levelBits[0])) return false;
  for (int32_t symbol = 0; symbol < symbolCount; ++symbol) {
    if (codes[symbol].length > 0 && !InsertCode(codes[symbol], symbol, levelBits.data())) {
      return false;
    }
  }
  return true;
}

// Walks down from the root and adds the tables that are missing. AssignCanonicalCodes ensures that
// no code is the beginning of another. So a slot on the way without a link is empty, and so is the
// last slot.
bool HuffmanLevels::InsertCode(const Code& code, int32_t symbol, const uint8_t* levelBits) {
  int32_t bits = code.bits;
  int32_t bitsLeft = code.length;
  int32_t subtable = 0;
  for (int32_t level = 1;; ++level) {
    const auto [offset, indexBits] = subtables_[subtable];
    const int32_t slot = offset + (bits & ((1 << indexBits) - 1));
    bits >>= indexBits;
    bitsLeft -= indexBits;
    if (bitsLeft == 0) {
      slots_[slot] = static_cast<int16_t>(symbol);
      return true;
    }
    if (slots_[slot] >= 0) {
      // If the run that starts here fills the rest of this branch, one table holds all its
      // remaining levels.
      const bool runFillsTable = bits == 0 && code.runLength >= 1 << bitsLeft;
      const int32_t width =
          runFillsTable ? std::max<int32_t>(levelBits[level], bitsLeft) : int32_t{levelBits[level]};
      slots_[slot] = LinkTo(subtables_.Size());
      if (!AddSubtable(width)) return false;
    }
    subtable = LinkedSubtable(slots_[slot]);
  }
}

bool HuffmanLevels::AddSubtable(int32_t indexBits) {
  const int32_t offset = slots_.Size();
  const int32_t end = offset + (1 << indexBits);
  if (!subtables_.Append({offset, indexBits}) || !slots_.Reserve(end) || !slots_.SetSize(end)) {
    return false;
  }
  std::fill(slots_.begin() + offset, slots_.end(), kUnassigned);
  return true;
}

int32_t HuffmanLevels::ReadSymbol(BitReader& reader) const {
  int16_t slot = LinkTo(0);
  do {
    const auto [offset, indexBits] = subtables_[LinkedSubtable(slot)];
    uint32_t index = 0;
    if (!reader.ReadBits(indexBits, index)) return kNoSymbol;
    slot = slots_[offset + static_cast<int32_t>(index)];
  } while (slot < 0);
  return slot;
}
