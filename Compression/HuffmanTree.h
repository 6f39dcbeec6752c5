// The tree behind a length-limited Huffman code (Huffman 1952, merged through a binary heap).
//
// Ties decide output bytes, and often: at one frequency the lower symbol merges first, and every
// leaf before any inner node.
#pragma once

#include <array>
#include <cstdint>

#include "Compression/DeflateFormat.h"

class HuffmanTree {
 public:
  static constexpr int32_t kMaxSymbols = kLiteralLengthSymbols;  // the largest alphabet of deflate
  static constexpr int16_t kNone = -1;

  struct Node {
    int16_t parent;
    int16_t left;
    int16_t right;
    int16_t symbol;  // kNone: an inner node
  };

  // Builds the tree for the symbols with a frequency, of `symbolCount` in all, and stores the code
  // length of every symbol, at most `maxLength`, in `lengths`; 0 for a symbol without a code. There
  // are always two codes, or one when symbolCount is 1: a lone symbol is paired with its upper
  // neighbour (the last one with its lower), and with no symbol at all the last one is taken.
  // Requires: 1 <= symbolCount <= kMaxSymbols, symbolCount <= 2^maxLength, and frequencies whose
  // sum fits in 32 bits.
  void Build(const uint32_t* frequencies, int32_t symbolCount, int32_t maxLength, uint8_t* lengths);

  int32_t Root() const { return root_; }
  const Node& operator[](int32_t index) const { return nodes_[index]; }

  // Prints the tree below `node` to standard output, a line a node, left to right and indented by
  // `depth` and more; a debugging aid. A negative node prints nothing.
  void DumpTree(int32_t node, int32_t depth) const;

 private:
  // The frequency above the symbol, so that leaves are ordered by frequency, then by symbol.
  using Leaf = uint64_t;
  static Leaf MakeLeaf(uint32_t frequency, int32_t symbol) {
    return uint64_t{frequency} << 32 | static_cast<uint32_t>(symbol);
  }
  static int32_t SymbolOf(Leaf leaf) { return static_cast<int32_t>(leaf); }

  // A leaf with its code length, ordered by the length alone.
  struct LeafLength {
    uint16_t leaf;
    uint8_t length;
    bool operator<(const LeafLength& other) const { return length < other.length; }
    bool operator==(const LeafLength& other) const { return length == other.length; }
  };

  // | frequency | tie key: the symbol of a leaf, or more than any | node |, of which the node takes
  // no part in the order.
  using HeapRecord = uint64_t;
  static constexpr int32_t kNodeBits = 10;
  static constexpr int32_t kTieBits = 10;
  static constexpr uint64_t kInnerTieKey = 1 << (kTieBits - 1);
  static_assert(kMaxSymbols < 1 << (kTieBits - 1) && 2 * kMaxSymbols <= 1 << kNodeBits);
  static bool IsLess(HeapRecord a, HeapRecord b) { return a >> kNodeBits < b >> kNodeBits; }
  static int16_t NodeOf(HeapRecord record) {
    return static_cast<int16_t>(record & ((1 << kNodeBits) - 1));
  }
  static uint64_t FrequencyOf(HeapRecord record) { return record >> (kNodeBits + kTieBits); }
  static HeapRecord MakeRecord(uint64_t frequency, uint64_t tieKey, int32_t node) {
    return (frequency << kTieBits | tieKey) << kNodeBits | static_cast<uint64_t>(node);
  }

  void TakeLeaves(const uint32_t* frequencies, int32_t symbolCount);
  void SortLeaves();
  void MergeAll();
  void Push(HeapRecord record);
  HeapRecord Pop();
  void FillByLength();
  void LimitLengths(int32_t maxLength);
  int32_t Unhook(int32_t leaf);
  void Replace(int32_t old, int32_t replacement);
  void SortedAgain();

  std::array<Node, std::size_t{2} * kMaxSymbols> nodes_;
  int32_t nodeCount_ = 0;
  int32_t root_ = kNone;
  std::array<Leaf, kMaxSymbols> leaves_;
  int32_t leafCount_ = 0;
  std::array<LeafLength, kMaxSymbols> byLength_;
  std::array<HeapRecord, kMaxSymbols + 1> heap_;  // from 1 on: the children of i are 2i and 2i + 1
  uint32_t heapSize_ = 0;
};
