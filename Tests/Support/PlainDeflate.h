// The encoder in its plainest form: every earlier place is measured, every symbol counted, every
// alternative written out and its size compared. The encoder has to write the same bytes.
#pragma once

#include <map>
#include <utility>

#include "Compression/Deflate/HuffmanTree.h"
#include "Tests/Support/BitAssembler.h"
#include "Tests/Support/PlainInflate.h"

namespace Plain {

struct Token {  // a literal has the length 1 and the distance 0
  int length, distance;
};

// Code lengths by a heap as it is taught: a node is put at the bottom and rises past those that are
// strictly greater; into the root's place comes the last one, which sinks past those that are
// strictly less, of two equal ones past the left. Only a code above the limit is that of the
// product, whose test has such codes worked out by hand.
inline Bytes CodeLengths(std::vector<uint32_t> counts, int limit) {
  const auto isUsed = [](uint32_t count) { return count > 0; };
  if (std::ranges::none_of(counts, isUsed)) counts.back() = 1;
  const auto lone = std::ranges::find_if(counts, isUsed);
  if (std::ranges::count_if(counts, isUsed) == 1) lone[lone + 1 == counts.end() ? -1 : 1] = 1;
  // The key is count and symbol; inner nodes follow all leaves of their count.
  std::vector<std::pair<uint32_t, std::size_t>> heap;
  std::vector<std::size_t> parents(counts.size());
  for (std::size_t i = 0; i < counts.size(); ++i) {
    if (counts[i] > 0) heap.emplace_back(counts[i] << 9 | i, i);
  }
  std::sort(heap.begin(), heap.end());
  const auto pop = [&heap] {
    const auto least = std::exchange(heap[0], heap.back());
    heap.pop_back();
    for (std::size_t i = 0, child; (child = 2 * i + 1) < heap.size(); i = child) {
      child += child + 1 < heap.size() && heap[child + 1].first < heap[child].first;
      if (heap[child].first >= heap[i].first) break;
      std::swap(heap[i], heap[child]);
    }
    return least;
  };
  for (; heap.size() > 1; parents.push_back(0)) {
    const auto [least, left] = pop();
    const auto [second, right] = pop();
    parents[left] = parents[right] = parents.size();
    heap.emplace_back(((least >> 9) + (second >> 9)) << 9 | 511, parents.size());
    for (std::size_t i = heap.size() - 1; i > 0 && heap[i].first < heap[(i - 1) / 2].first;) {
      std::swap(heap[i], heap[(i - 1) / 2]);
      i = (i - 1) / 2;
    }
  }
  Bytes depths(parents.size());
  for (std::size_t i = parents.size() - 1; i-- > 0;) {
    if (parents[i] > 0) depths[i] = depths[parents[i]] + 1;
  }
  depths.resize(counts.size());
  if (std::ranges::max(depths) > limit) {
    HuffmanTree().Build(counts.data(), int(counts.size()), limit, depths.data());
  }
  return depths;
}

// The tokens of a block and the bytes that they stand for.
struct Block {
  const uint8_t* bytes;
  std::vector<Token> tokens;
  Bytes literals{kFixedLiteralLengths.begin(), kFixedLiteralLengths.end()};  // code lengths
  Bytes distances{kFixedDistanceLengths.begin(), kFixedDistanceLengths.end()};

  static int Symbol(Token token, const uint8_t* at) {
    const int near = BitAssembler::Range(kLengthRanges, token.length);
    return token.distance > 0 ? kFirstLengthSymbol + near : *at;
  }
  void ForEach(const auto& act) const {
    for (const uint8_t* at = bytes; const Token& token : tokens) {
      act(token, at);
      at += token.length;
    }
  }
  void BuildCodes() {
    std::vector<uint32_t> literal(kLiteralLengthSymbols), distance(kDistanceSymbols);
    literal[kEndOfBlock] = 1;
    ForEach([&](Token token, const uint8_t* at) {
      ++literal[Symbol(token, at)];
      if (token.distance > 0) ++distance[BitAssembler::Range(kDistanceRanges, token.distance)];
    });
    literals = CodeLengths(literal, kMaxCodeLength);
    distances = CodeLengths(distance, kMaxCodeLength);
  }
  // Turns matches of three bytes into literals where those are shorter. True: there was one.
  bool Convert() {
    std::vector<Token> converted;
    ForEach([&](Token token, const uint8_t* at) {
      const int far = BitAssembler::Range(kDistanceRanges, token.distance);
      int gain = token.distance > 0 && token.length == 3 ? literals[kFirstLengthSymbol] : -65536;
      if (gain > 0) gain += distances[far] + kDistanceRanges[far].extraBits;
      for (int i = 0; gain > 0 && i < 3; ++i) gain -= literals[at[i]] > 0 ? literals[at[i]] : 65536;
      converted.insert(converted.end(), gain > 0 ? 3 : 1, gain > 0 ? Token{1, 0} : token);
    });
    std::swap(tokens, converted);
    return tokens.size() > converted.size();
  }
  void PutTokens(BitAssembler& out) const {
    const std::vector<int> literal = CanonicalCodes(literals), distance = CanonicalCodes(distances);
    ForEach([&](Token token, const uint8_t* at) {
      const int symbol = Symbol(token, at);
      out.Code(literal[symbol], literals[symbol]);
      if (token.distance == 0) return;
      const int far = BitAssembler::Range(kDistanceRanges, token.distance);
      out.Extra(kLengthRanges[symbol - kFirstLengthSymbol], token.length);
      out.Code(distance[far], distances[far]).Extra(kDistanceRanges[far], token.distance);
    });
  }
  void PutEnd(BitAssembler& out) const {
    out.Code(CanonicalCodes(literals)[kEndOfBlock], literals[kEndOfBlock]);
  }

  void PutHeader(BitAssembler& out) const {
    Bytes near = literals, far = distances;
    while (near.size() > kMinLiteralLengthCount && near.back() == 0) near.pop_back();
    while (far.size() > kMinDistanceCount && far.back() == 0) far.pop_back();
    Bytes lengths = near;
    lengths.insert(lengths.end(), far.begin(), far.end());
    std::vector<std::pair<int, int>> records;  // symbol, and how many lengths it stands for
    for (std::size_t i = 0; i < lengths.size();) {
      const auto differs = [&](uint8_t length) { return length != lengths[i]; };
      const auto begin = lengths.begin() + i;
      int run = int(std::find_if(begin, lengths.end(), differs) - begin);
      if (lengths[i] > 0 && (i == 0 || lengths[i - 1] != lengths[i])) run = 1;
      run = std::min(run, lengths[i] > 0 ? 6 : 138);
      if (run < 3) run = 1;
      const int repeat = lengths[i] > 0 ? 16 : run < 11 ? 17 : 18;
      records.emplace_back(run < 3 ? lengths[i] : repeat, run);
      i += run;
    }
    std::vector<uint32_t> counts(kCodeLengthSymbols);
    for (const auto& [symbol, run] : records) ++counts[symbol];
    int ordered = kCodeLengthSymbols;
    while (ordered > kMinCodeLengthCount && counts[kCodeLengthOrder[ordered - 1]] == 0) --ordered;
    out.Number(near.size() - kMinLiteralLengthCount, 5).Number(far.size() - kMinDistanceCount, 5);
    out.Number(ordered - kMinCodeLengthCount, 4);
    const Bytes own = CodeLengths(counts, 7);
    const std::vector<int> codes = CanonicalCodes(own);
    for (int i = 0; i < ordered; ++i) out.Number(own[kCodeLengthOrder[i]], 3);
    for (const auto& [symbol, run] : records) {
      out.Code(codes[symbol], own[symbol]);
      if (symbol >= 16) out.Extra(kRepeatRanges[symbol - 16], run);
    }
  }

  // Of equal sizes stored wins, then fixed. No size counts the end of the block, and the one of a
  // dynamic block is taken as 12 bits more than it is.
  void Write(BitAssembler& out, bool isFinal) {
    BitAssembler stored, fixed, dynamic;
    ForEach([&](Token token, const uint8_t* at) { stored.Append(Bytes(at, at + token.length)); });
    PutTokens(fixed);
    Block own = *this;
    own.BuildCodes();
    own.PutHeader(dynamic);
    own.PutTokens(dynamic);
    const int storedSize = stored.Size() + 8 + (stored.Size() > 0 ? 32 : 0);
    if (storedSize <= std::min(fixed.Size(), dynamic.Size() + 12)) {
      out.Stored(stored, isFinal);
      return;
    }
    const bool isFixed = fixed.Size() <= dynamic.Size() + 12;
    Block& chosen = isFixed ? *this : own;
    out.Block(isFixed ? kFixedBlock : kDynamicBlock, isFinal);
    while (chosen.Convert() && !isFixed) own.BuildCodes();
    if (!isFixed) own.PutHeader(out);
    chosen.PutTokens(out);
    chosen.PutEnd(out);
  }
};

// The parser and its window, in which the bytes after the data are those that stood there before.
class Encoder {
 public:
  // Requires, below level 9: at most 32 KiB, so that the window never moves.
  Encoder(const Bytes& data, int level) : data_(data) {
    const bool isLazy = level > 8;
    Token pending{0, 0};
    std::size_t read = 0;
    for (int end = 0, reserve = kMaxMatchLength; reserve > 0;) {
      const auto wanted = std::size_t(position_ + kDeflateWindowSize - end);
      const auto got = std::min(data.size() - read, wanted);
      std::copy_n(data.begin() + read, got, window_.begin() + end);
      read += got;
      end += int(got);
      if (end - position_ <= reserve) reserve = 0;
      while (position_ + reserve < end) {
        const int left = end - position_;
        Token found = left < kMinMatchLength ? Token{} : Find(std::min(left, kMaxMatchLength));
        if (found.length <= std::max(pending.length, 2)) found = {0, 0};
        if (pending.length > 0 && found.length == 0) {
          Advance(pending.length - 1, true);
          Append(std::exchange(pending, {0, 0}));
          continue;
        }
        Advance(1, isLazy || left >= kMinMatchLength);
        if (pending.length > 0 || found.length == 0) Append({1, 0});
        pending = found;
        if (isLazy || found.length == 0) continue;
        Advance(1, false);  // the second byte of a match, to which no search leads
        Advance(found.length - 2, true);
        Append(std::exchange(pending, {0, 0}));
      }
      const int shift = std::max(position_ - kDeflateWindowSize, 0);
      std::copy(window_.begin() + shift, window_.begin() + end, window_.begin());
      position_ -= shift;
      base_ += shift;
      end -= shift;
    }
    if (pending.length > 0) tokens_.push_back(pending);
    Flush(true);
  }

  BitAssembler out;

 private:
  static int Key(const uint8_t* at) { return at[0] << 16 | at[1] << 8 | at[2]; }

  void Advance(int count, bool isInserted) {
    for (; count > 0; --count, ++position_) {
      if (isInserted) places_[Key(&window_[position_])].push_back(base_ + position_);
    }
  }

  Token Find(int maxLength) {
    const uint8_t* const here = &window_[position_];
    const int maxDistance = std::min(position_, kDeflateWindowSize), key = Key(here);
    int run = 0;  // in how many bytes the first three are repeated
    while (run + 3 <= maxLength && Key(here + run + 3) == key) run += 3;
    const std::vector<int>& places = places_[key];
    Token best{0, 0};
    for (auto place = places.rbegin(); place != places.rend() && best.length < maxLength; ++place) {
      int distance = base_ + position_ - *place;
      if (distance > maxDistance) break;
      const auto measure = [&] {
        if (here[best.length - distance] != here[best.length]) return 0;
        return int(std::mismatch(here, here + maxLength, here - distance).first - here);
      };
      int length = measure();
      if (length == 3 && run > 0) {  // goes on from the start of the run, within an odd bound
        const int bound = maxDistance - distance - 3;
        for (int left = run; left > 0 && distance + 3 <= bound; left -= 3, distance += 3) {
          if (Key(here - distance - 3) != key) break;
        }
        length = measure();
      }
      if (length > best.length) best = {length, distance};
      const int start = base_ + position_ - distance;
      while (*place > start && place + 1 != places.rend()) ++place;
      if (*place != start) break;  // a place without a chain
    }
    return best;
  }

  void Append(Token token) {
    tokens_.push_back(token);
    size_ += token.length;
    matches_ += token.distance > 0;
    if (tokens_.size() + 2 * matches_ + (tokens_.size() + 7) / 8 >= 65532) Flush(false);
  }

  void Flush(bool isFinal) {
    Block{data_.data() + start_, std::exchange(tokens_, {})}.Write(out, isFinal);
    start_ += std::exchange(size_, 0);
    matches_ = 0;
  }

  const Bytes& data_;
  Bytes window_ = Bytes(2 * kDeflateWindowSize + kMaxMatchLength);
  int position_ = 0, base_ = 0;             // base_: where the window begins in the data
  std::map<int, std::vector<int>> places_;  // by their three bytes
  std::vector<Token> tokens_;               // of the block that begins at start_
  std::size_t start_ = 0, size_ = 0, matches_ = 0;
};

}  // namespace Plain
