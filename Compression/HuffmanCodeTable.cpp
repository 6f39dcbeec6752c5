#include "Compression/HuffmanCodeTable.h"

#include <cstdio>

#include "Compression/CanonicalCode.h"
#include "Compression/DeflateFormat.h"

void HuffmanCodeTable::BuildFromFrequencies(const uint32_t* frequencies, int32_t symbolCount,
                                            int32_t maxLength) {
  uint8_t lengths[HuffmanTree::kMaxSymbols];
  tree_.Build(frequencies, symbolCount, maxLength, lengths);
  // Cannot fail: the lengths come from a tree and are within the limit.
  static_cast<void>(AssignCanonicalCodes(lengths, symbolCount));
}

bool HuffmanCodeTable::AssignCanonicalCodes(const uint8_t* lengths, int32_t symbolCount) {
  uint16_t bits[HuffmanTree::kMaxSymbols];
  if (!::AssignCanonicalCodes(lengths, symbolCount, bits)) return false;
  for (int32_t symbol = 0; symbol < symbolCount; ++symbol) {
    codes_[symbol] = {bits[symbol], lengths[symbol]};
  }
  return true;
}

void HuffmanCodeTable::DumpTree(int32_t node, int32_t depth) const {
  if (node < 0) return;
  DumpTree(tree_[node].left, depth + 1);
  for (int32_t i = 0; i < depth; ++i) std::fputs("    ", stdout);
  if (tree_[node].symbol >= 0) {
    std::printf("Leaf %d\n", tree_[node].symbol);
  } else {
    std::printf("Node %d\n", node);
  }
  std::fflush(stdout);
  DumpTree(tree_[node].right, depth + 1);
}

void BuildFixedTables(HuffmanCodeTable& literals, HuffmanCodeTable& distances) {
  // Cannot fail: the published lengths fill the code space exactly.
  static_cast<void>(literals.AssignCanonicalCodes(
      kFixedLiteralLengths.data(), static_cast<int32_t>(kFixedLiteralLengths.size())));
  static_cast<void>(distances.AssignCanonicalCodes(
      kFixedDistanceLengths.data(), static_cast<int32_t>(kFixedDistanceLengths.size())));
}
