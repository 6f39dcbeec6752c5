// The tree of a length-limited Huffman code (Huffman 1952), built with a binary heap.
//
// Ties are frequent and decide output bytes: of equal frequencies the lower symbol merges first,
// and every leaf before any inner node.
#pragma once

#include <array>
#include <cstdint>

#include "Compression/Format/DeflateFormat.h"

class HuffmanTree {
 public:
  static constexpr int32_t kMaxSymbols = kLiteralLengthSymbols;  // the largest alphabet of deflate
  static constexpr uint32_t kMaxFrequencySum = 0x3FFFFF;         // far more than a block has tokens
  static constexpr int16_t kNone = -1;

  using Index = int16_t;  // of a node

  struct Node {
    Index parent;
    Index left;
    Index right;
    int16_t symbol;  // kNone: an inner node
  };

  // Builds the tree of those of `symbolCount` symbols whose frequency is not 0. Stores the code
  // length of every symbol in `lengths`: at most `maxLength`, and 0 for a symbol without a code.
  // There are always two codes, or one when symbolCount is 1: a lone symbol is paired with its
  // upper neighbour, the last symbol with its lower one, and without any frequency the last symbol
  // counts as used. Requires: 1 <= symbolCount <= kMaxSymbols, symbolCount <= 2^maxLength, and
  // frequencies whose sum is at most kMaxFrequencySum.
  void Build(const uint32_t* frequencies, int32_t symbolCount, int32_t maxLength, uint8_t* lengths);

  int32_t Root() const { return root_; }
  const Node& operator[](int32_t index) const { return nodes_[index]; }

  // Prints the tree below `node` to standard output, a line a node, left to right and indented by
  // `depth` and more; a debugging aid. A negative node prints nothing.
  void DumpTree(int32_t node, int32_t depth) const;

 private:
  // Orders nodes by frequency, then leaves by symbol; inner nodes follow the leaves and tie.
  using Key = uint32_t;
  static constexpr int32_t kTieBits = 10;
  static constexpr int32_t kInnerNode = 1 << (kTieBits - 1);
  static_assert(kMaxSymbols <= kInnerNode && kMaxFrequencySum < uint32_t{1} << (32 - kTieBits));
  static Key MakeKey(uint32_t frequency, int32_t tie) {
    return frequency << kTieBits | static_cast<uint32_t>(tie);
  }
  static uint32_t FrequencyOf(Key key) { return key >> kTieBits; }
  static int32_t SymbolOf(Key leaf) { return static_cast<int32_t>(leaf) & (kInnerNode - 1); }

  struct HeapRecord {
    Key key;
    Index node;
    bool operator<(const HeapRecord& other) const { return key < other.key; }
  };

  // A leaf with its code length, ordered by the length alone.
  struct LeafLength {
    Index leaf;  // the index in leaves_, which is also that of its node
    uint8_t length;
    bool operator<(const LeafLength& other) const { return length < other.length; }
    bool operator==(const LeafLength& other) const { return length == other.length; }
  };

  void TakeLeaves(const uint32_t* frequencies, int32_t symbolCount);
  void MergeAll();
  void Push(HeapRecord record);
  HeapRecord Pop();
  void FillByLength();
  void LimitLengths(int32_t maxLength);
  Index Unhook(Index leaf);
  void Replace(Index old, Index replacement);
  void RestoreOrder();

  std::array<Node, std::size_t{2} * kMaxSymbols> nodes_;
  int32_t nodeCount_ = 0;
  int32_t root_ = kNone;
  std::array<Key, kMaxSymbols> leaves_;
  int32_t leafCount_ = 0;
  std::array<LeafLength, kMaxSymbols> byLength_;
  std::array<HeapRecord, kMaxSymbols + 1> heap_;  // from 1 on: the children of i are 2i and 2i + 1
  uint32_t heapSize_ = 0;
};
