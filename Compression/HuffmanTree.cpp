#include "Compression/HuffmanTree.h"

#include <algorithm>

#include "Compression/BoundedSort.h"

namespace {

// Above every symbol, so that an inner node comes out of the heap after the leaves of its
// frequency.
constexpr uint32_t kInnerTieKey = 0x10000;

}  // namespace

void HuffmanTree::Build(const uint32_t* frequencies, int32_t symbolCount, int32_t maxLength,
                        uint8_t* lengths) {
  TakeLeaves(frequencies, symbolCount);
  BoundedSort(leaves_.data(), 0, leafCount_ - 1, 0);
  MergeAll();
  FillByLength();
  LimitLengths(maxLength);
  std::fill_n(lengths, symbolCount, uint8_t{0});
  for (int32_t i = 0; i < leafCount_; ++i) {
    lengths[leaves_[byLength_[i].leaf].symbol] = byLength_[i].length;
  }
}

void HuffmanTree::TakeLeaves(const uint32_t* frequencies, int32_t symbolCount) {
  leafCount_ = 0;
  for (int32_t symbol = 0; symbol < symbolCount; ++symbol) {
    uint32_t frequency = frequencies[symbol];
    const bool isLastResort = leafCount_ == 0 && symbol == symbolCount - 1;
    if (frequency == 0 && isLastResort) frequency = 1;
    if (frequency != 0) leaves_[leafCount_++] = {frequency, symbol, kNone};
  }
  if (leafCount_ == 1) {
    const int32_t symbol = leaves_[0].symbol;
    const int32_t neighbour = symbol + 1 < symbolCount ? symbol + 1 : symbol - 1;
    if (neighbour >= 0) leaves_[leafCount_++] = {1, neighbour, kNone};
  }
}

// Joins the two least frequent nodes until one is left, the root.
void HuffmanTree::MergeAll() {
  nodeCount_ = 0;
  heapSize_ = 0;
  for (int32_t i = 0; i < leafCount_; ++i) {
    Leaf& leaf = leaves_[i];
    leaf.node = nodeCount_++;
    nodes_[leaf.node] = {kNone, kNone, kNone, leaf.symbol};
    Push({leaf.frequency, static_cast<uint32_t>(leaf.symbol), leaf.node});
  }
  while (heapSize_ > 1) {
    const HeapRecord least = Pop();
    const HeapRecord second = Pop();
    const int32_t joined = nodeCount_++;
    nodes_[joined] = {kNone, least.node, second.node, kNone};
    nodes_[least.node].parent = joined;
    nodes_[second.node].parent = joined;
    Push({least.frequency + second.frequency, kInnerTieKey, joined});
  }
  root_ = heap_[0].node;
}

// Deliberate, here and in Pop: two inner nodes of one frequency compare equal, so a record moves
// only past one that is strictly greater, and of two equal children the left one is taken. Other
// choices give other trees.
void HuffmanTree::Push(const HeapRecord& record) {
  int32_t place = heapSize_++;
  while (place > 0 && record < heap_[(place - 1) / 2]) {
    heap_[place] = heap_[(place - 1) / 2];
    place = (place - 1) / 2;
  }
  heap_[place] = record;
}

HuffmanTree::HeapRecord HuffmanTree::Pop() {
  const HeapRecord least = heap_[0];
  const HeapRecord moved = heap_[--heapSize_];
  int32_t place = 0;
  for (int32_t child = 1; child < heapSize_; child = 2 * place + 1) {
    if (child + 1 < heapSize_ && heap_[child + 1] < heap_[child]) ++child;
    if (!(heap_[child] < moved)) break;
    heap_[place] = heap_[child];
    place = child;
  }
  heap_[place] = moved;
  return least;
}

int32_t HuffmanTree::Depth(int32_t node) const {
  int32_t depth = 0;
  while (nodes_[node].parent != kNone) {
    node = nodes_[node].parent;
    ++depth;
  }
  return depth;
}

void HuffmanTree::FillByLength() {
  for (int32_t i = 0; i < leafCount_; ++i) {
    byLength_[i] = {static_cast<uint16_t>(i), static_cast<uint8_t>(Depth(leaves_[i].node))};
  }
}

// Moves the deepest leaf X beside a leaf Y that still has room below the limit, again and again.
// The tree stays complete: X's sibling takes their parent's place one level up, and X and Y become
// children of a node in Y's place.
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

    const int32_t xNode = NodeOf(x);
    const int32_t parent = nodes_[xNode].parent;
    const int32_t sibling = Unhook(xNode);
    for (int32_t i = last - 1; i >= 0; --i) {
      if (NodeOf(byLength_[i]) == sibling) {
        --byLength_[i].length;
        break;
      }
    }
    const int32_t yNode = NodeOf(y);
    Replace(yNode, parent);
    nodes_[parent].left = yNode;
    nodes_[parent].right = xNode;
    nodes_[yNode].parent = parent;
    nodes_[xNode].parent = parent;
    SortedAgain();
  }
}

// Takes a leaf and its parent out of the tree; the sibling, which is returned, takes the parent's
// place.
int32_t HuffmanTree::Unhook(int32_t leaf) {
  const Node& parent = nodes_[nodes_[leaf].parent];
  const int32_t sibling = parent.left == leaf ? parent.right : parent.left;
  Replace(nodes_[leaf].parent, sibling);
  return sibling;
}

// Puts `replacement` where `old` hangs.
void HuffmanTree::Replace(int32_t old, int32_t replacement) {
  const int32_t above = nodes_[old].parent;
  nodes_[replacement].parent = above;
  if (above == kNone) {
    root_ = replacement;
  } else {
    (nodes_[above].left == old ? nodes_[above].left : nodes_[above].right) = replacement;
  }
}

// An insertion sort: only a few lengths have changed, and equal ones keep their order.
void HuffmanTree::SortedAgain() {
  for (int32_t i = 1; i < leafCount_; ++i) {
    const LeafLength record = byLength_[i];
    int32_t place = i;
    while (place > 0 && record < byLength_[place - 1]) {
      byLength_[place] = byLength_[place - 1];
      --place;
    }
    byLength_[place] = record;
  }
}
