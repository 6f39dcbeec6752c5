#include "Compression/Deflate/HuffmanEncodeTable.h"

void HuffmanEncodeTable::BuildFromFrequencies(const uint32_t* frequencies, int32_t symbolCount,
                                              int32_t maxLength, HuffmanTree& tree) {
  uint8_t lengths[HuffmanTree::kMaxSymbols];
  tree.Build(frequencies, symbolCount, maxLength, lengths);
  // Cannot fail: the lengths come from a tree and are within the limit.
  static_cast<void>(AssignCanonicalCodes(lengths, symbolCount));
}
