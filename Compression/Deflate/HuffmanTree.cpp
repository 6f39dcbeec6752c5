#include "Compression/Deflate/HuffmanTree.h"

#include <algorithm>
#include <cstdio>

#include "Compression/Deflate/BoundedSort.h"

void HuffmanTree::Build(const uint32_t* frequencies, int32_t symbolCount, int32_t maxLength,
                        uint8_t* lengths) {
  TakeLeaves(frequencies, symbolCount);
  BoundedSort(leaves_.data(), 0, leafCount_ - 1, 0);
  MergeAll();
  FillByLength();
  LimitLengths(maxLength);
  std::fill_n(lengths, symbolCount, uint8_t{0});
  for (int32_t i = 0; i < leafCount_; ++i) {
    lengths[SymbolOf(leaves_[byLength_[i].leaf])] = byLength_[i].length;
  }
}

void HuffmanTree::TakeLeaves(const uint32_t* frequencies, int32_t symbolCount) {
  leafCount_ = 0;
  for (int32_t symbol = 0; symbol < symbolCount; ++symbol) {
    leaves_[leafCount_] = MakeKey(frequencies[symbol], symbol);
    leafCount_ += frequencies[symbol] != 0;  // without a branch, which would be mispredicted
  }
  if (leafCount_ == 0) leaves_[leafCount_++] = MakeKey(1, symbolCount - 1);
  if (leafCount_ == 1) {
    const int32_t symbol = SymbolOf(leaves_[0]);
    const int32_t neighbour = symbol + 1 < symbolCount ? symbol + 1 : symbol - 1;
    if (neighbour >= 0) leaves_[leafCount_++] = MakeKey(1, neighbour);
  }
}

// Joins the two least frequent nodes until only the root is left.
void HuffmanTree::MergeAll() {
  // In ascending order the leaves are a heap already.
  for (int32_t i = 0; i < leafCount_; ++i) {
    nodes_[i] = {kNone, kNone, kNone, static_cast<int16_t>(SymbolOf(leaves_[i]))};
    heap_[i + 1] = {leaves_[i], static_cast<Index>(i)};
  }
  nodeCount_ = leafCount_;
  heapSize_ = static_cast<uint32_t>(leafCount_);
  while (heapSize_ > 1) {
    const HeapRecord least = Pop();
    const HeapRecord second = Pop();
    const Index joined = static_cast<Index>(nodeCount_++);
    nodes_[joined] = {kNone, least.node, second.node, kNone};
    nodes_[least.node].parent = joined;
    nodes_[second.node].parent = joined;
    Push({MakeKey(FrequencyOf(least.key) + FrequencyOf(second.key), kInnerNode), joined});
  }
  root_ = heap_[1].node;
}

// Deliberate: two inner nodes of one frequency compare equal. Here and in Pop a record moves only
// past one that is strictly greater, and of two equal children the left one is taken. Other choices
// give other trees.
void HuffmanTree::Push(HeapRecord record) {
  uint32_t hole = ++heapSize_;
  for (; hole > 1 && record < heap_[hole / 2]; hole /= 2) heap_[hole] = heap_[hole / 2];
  heap_[hole] = record;
}

HuffmanTree::HeapRecord HuffmanTree::Pop() {
  const HeapRecord least = heap_[1];
  const HeapRecord moved = heap_[heapSize_--];
  // The hole moves down to a leaf, and the moved record then rises from there: it came from the
  // bottom, so it rarely rises far. Keys never decrease on the way down, so the record ends where
  // sinking from the root would have put it: after the last record that is less.
  HeapRecord* const heap = heap_.data();
  const std::size_t size = heapSize_;
  std::size_t hole = 1;
  std::size_t child = 2;
  for (; child < size; child = 2 * hole) {
    child += heap[child + 1] < heap[child];  // without a branch, which would be mispredicted
    heap[hole] = heap[child];
    hole = child;
  }
  if (child == size) {
    heap[hole] = heap[child];
    hole = child;
  }
  for (; hole > 1 && !(heap[hole / 2] < moved); hole /= 2) heap[hole] = heap[hole / 2];
  heap[hole] = moved;
  return least;
}

// A node is made after its children, so a walk from the end meets each parent first.
void HuffmanTree::FillByLength() {
  std::array<uint8_t, std::size_t{2} * kMaxSymbols> depths;
  depths[root_] = 0;
  for (int32_t node = root_ - 1; node >= 0; --node) {
    depths[node] = static_cast<uint8_t>(depths[nodes_[node].parent] + 1);
  }
  for (int32_t i = 0; i < leafCount_; ++i) byLength_[i] = {static_cast<Index>(i), depths[i]};
}

// While the deepest leaf X is too deep, moves it next to a leaf Y above the limit. The tree stays
// complete: X's sibling takes their parent's place, one level up, and a new parent of X and Y takes
// Y's place.
void HuffmanTree::LimitLengths(int32_t maxLength) {
  const bool isWithin = std::none_of(byLength_.begin(), byLength_.begin() + leafCount_,
                                     [=](const LeafLength& r) { return r.length > maxLength; });
  if (isWithin) return;
  BoundedSort(byLength_.data(), 0, leafCount_ - 1, 0);
  const int32_t last = leafCount_ - 1;
  while (byLength_[last].length > maxLength) {
    LeafLength& x = byLength_[last];
    int32_t shorter = last - 1;
    while (byLength_[shorter].length >= maxLength) --shorter;
    LeafLength& y = byLength_[shorter];
    ++y.length;
    x.length = y.length;

    const Index xNode = x.leaf;
    const Index parent = nodes_[xNode].parent;
    const Index sibling = Unhook(xNode);
    for (int32_t i = last - 1; i >= 0; --i) {
      if (byLength_[i].leaf == sibling) {
        --byLength_[i].length;
        break;
      }
    }
    const Index yNode = y.leaf;
    Replace(yNode, parent);
    nodes_[parent].left = yNode;
    nodes_[parent].right = xNode;
    nodes_[yNode].parent = parent;
    nodes_[xNode].parent = parent;
    RestoreOrder();
  }
}

// Removes a leaf and its parent from the tree. The sibling, which is returned, takes the parent's
// place.
HuffmanTree::Index HuffmanTree::Unhook(Index leaf) {
  const Node& parent = nodes_[nodes_[leaf].parent];
  const Index sibling = parent.left == leaf ? parent.right : parent.left;
  Replace(nodes_[leaf].parent, sibling);
  return sibling;
}

// Puts `replacement` in the place of `old`.
void HuffmanTree::Replace(Index old, Index replacement) {
  const Index above = nodes_[old].parent;
  nodes_[replacement].parent = above;
  if (above == kNone) {
    root_ = replacement;
  } else {
    (nodes_[above].left == old ? nodes_[above].left : nodes_[above].right) = replacement;
  }
}

// Insertion sort: only a few lengths have changed, and equal lengths must keep their order.
void HuffmanTree::RestoreOrder() {
  for (int32_t i = 1; i < leafCount_; ++i) {
    const LeafLength record = byLength_[i];
    int32_t slot = i;
    for (; slot > 0 && record < byLength_[slot - 1]; --slot) byLength_[slot] = byLength_[slot - 1];
    byLength_[slot] = record;
  }
}

void HuffmanTree::DumpTree(int32_t node, int32_t depth) const {
  if (node < 0) return;
  DumpTree(nodes_[node].left, depth + 1);
  for (int32_t i = 0; i < depth; ++i) std::fputs("    ", stdout);
  if (nodes_[node].symbol >= 0) {
    std::printf("Leaf %d\n", nodes_[node].symbol);
  } else {
    std::printf("Node %d\n", node);
  }
  std::fflush(stdout);
  DumpTree(nodes_[node].right, depth + 1);
}
