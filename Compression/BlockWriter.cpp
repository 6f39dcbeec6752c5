#include "Compression/BlockWriter.h"

#include "Compression/DeflateSymbols.h"

namespace {

constexpr int32_t kStoredLengthBits = 16;
constexpr int32_t kStoredSegmentHeaderBits = 2 * kStoredLengthBits;

// The cost in bits of a literal that has no code: more than any match.
constexpr int32_t kNotCodable = 65536;

int32_t CostOfMatch(const Token& token, const HuffmanCodeTable& literals,
                    const HuffmanCodeTable& distances) {
  const MatchSymbols match = SymbolsOf(token.length, token.distance);
  return literals.LengthOf(match.length) + match.lengthBits + distances.LengthOf(match.distance) +
         match.distanceBits;
}

int32_t CostOf(const Token& token, const HuffmanCodeTable& literals,
               const HuffmanCodeTable& distances) {
  if (token.IsMatch()) return CostOfMatch(token, literals, distances);
  int32_t cost = 0;
  for (int32_t i = 0; i < token.length; ++i) cost += literals.LengthOf(token.record[i]);
  return cost;
}

}  // namespace

BlockWriter::BlockWriter(BitWriter& writer) : writer_(writer) {
  BuildFixedTables(fixedLiterals_, fixedDistances_);
}

bool BlockWriter::WriteBlock(TokenBuffer& tokens, FinalBlock final) {
  CountAndBuild(tokens);
  const DeflateBlockType type = ChooseBlockType(tokens);
  ++blockCount_;
  if (!writer_.WriteBits(final == FinalBlock::kYes ? 1 : 0, kFinalBlockBits) ||
      !writer_.WriteBits(static_cast<uint32_t>(type), kBlockTypeBits)) {
    return false;
  }
  switch (type) {
    case kStoredBlock:
      return writer_.AlignToByte() && WriteStoredBlock(tokens);
    case kFixedBlock:
      return WriteHuffmanBlock(tokens, {fixedLiterals_, fixedDistances_, nullptr});
    default:
      return WriteHuffmanBlock(tokens, {literals_, distances_, &header_});
  }
}

// Makes the dynamic codes and their header from the tokens as they stand.
void BlockWriter::CountAndBuild(TokenBuffer& tokens) {
  std::array<uint32_t, kLiteralLengthSymbols> literals{};
  std::array<uint32_t, kDistanceSymbols> distances{};
  literals[kEndOfBlock] = 1;
  TokenCursor cursor(tokens);
  for (Token token; cursor.Next(token);) {
    if (token.IsMatch()) {
      ++literals[kFirstLengthSymbol + kLengthIndex[token.length]];
      ++distances[DistanceSymbol(token.distance)];
    } else {
      for (int32_t i = 0; i < token.length; ++i) ++literals[token.record[i]];
    }
  }
  literals_.BuildFromFrequencies(literals.data(), kLiteralLengthSymbols, kMaxCodeLength);
  distances_.BuildFromFrequencies(distances.data(), kDistanceSymbols, kMaxCodeLength);
  header_.Build(literals_, distances_);
}

// Compares sizes in bits. The block's three header bits and the end-of-block code are counted in
// none of them.
// Deliberate: ties go to stored, then to fixed.
DeflateBlockType BlockWriter::ChooseBlockType(TokenBuffer& tokens) {
  int32_t raw = 0;
  int32_t fixed = 0;
  int32_t dynamic = 0;
  TokenCursor cursor(tokens);
  for (Token token; cursor.Next(token);) {
    raw += token.length;
    fixed += CostOf(token, fixedLiterals_, fixedDistances_);
    dynamic += CostOf(token, literals_, distances_);
  }
  const int32_t segments = (raw + kMaxStoredLength - 1) / kMaxStoredLength;
  const int32_t stored = segments * kStoredSegmentHeaderBits + raw * 8 + 8;
  const int32_t header = header_.SizeInBits();
  headerBits_ += static_cast<uint64_t>(header);
  dynamic += header;
  if (dynamic >= stored && fixed >= stored) return kStoredBlock;
  if (fixed > dynamic) return kDynamicBlock;
  return fixed <= stored ? kFixedBlock : kDynamicBlock;
}

bool BlockWriter::WriteHuffmanBlock(TokenBuffer& tokens, const Codes& codes) {
  // Each pass judges by the codes that the pass before has changed; the fixed ones stay.
  while (ConvertShortMatches(tokens, codes)) CountAndBuild(tokens);
  if (codes.header != nullptr && !codes.header->Write(writer_)) return false;
  TokenCursor cursor(tokens);
  for (Token token; cursor.Next(token);) {
    if (!WriteToken(token, codes)) return false;
  }
  return WriteSymbol(codes.literals[kEndOfBlock]);
}

bool BlockWriter::WriteToken(const Token& token, const Codes& codes) {
  if (token.IsMatch()) {
    const MatchSymbols match = SymbolsOf(token.length, token.distance);
    return WriteSymbol(codes.literals[match.length]) &&
           writer_.WriteBits(match.lengthExtra, match.lengthBits) &&
           WriteSymbol(codes.distances[match.distance]) &&
           writer_.WriteBits(match.distanceExtra, match.distanceBits);
  }
  for (int32_t i = 0; i < token.length; ++i) {
    if (!WriteSymbol(codes.literals[token.record[i]])) return false;
  }
  return true;
}

// Rewrites every match of three bytes that costs more than its bytes as literals; true when one
// was.
bool BlockWriter::ConvertShortMatches(TokenBuffer& tokens, const Codes& codes) {
  bool isChanged = false;
  replay_.Restart();
  TokenCursor cursor(tokens);
  for (Token token; cursor.Next(token);) {
    for (int32_t i = 0; i < token.length; ++i) replay_.AppendByteOf(token, i);
    if (!token.IsMatch() || token.length != kMinMatchLength) continue;

    uint8_t bytes[kMinMatchLength];
    int32_t literalCost = 0;
    for (int32_t i = 0; i < kMinMatchLength; ++i) {
      bytes[i] = replay_.Recent(kMinMatchLength - i);
      const int32_t length = codes.literals.LengthOf(bytes[i]);
      literalCost += length == 0 ? kNotCodable : length;
    }
    if (CostOfMatch(token, codes.literals, codes.distances) > literalCost) {
      cursor.ReplaceByTriple(bytes);
      isChanged = true;
    }
  }
  return isChanged;
}

// Deliberate: more than 65,535 bytes go out as several LEN/NLEN segments behind the one block
// header, which other programs do not read. The blocks that the token buffer can hold as literals
// are smaller, so a stored block this long does not come about in practice.
bool BlockWriter::WriteStoredBlock(TokenBuffer& tokens) {
  replay_.Restart();
  int32_t pending = 0;
  TokenCursor cursor(tokens);
  for (Token token; cursor.Next(token);) {
    for (int32_t i = 0; i < token.length; ++i) {
      replay_.AppendByteOf(token, i);
      if (++pending == kMaxStoredLength) {
        if (!WriteStoredSegment(pending)) return false;
        pending = 0;
      }
    }
  }
  return pending == 0 || WriteStoredSegment(pending);
}

// Writes the last `size` bytes of the replay behind their length.
bool BlockWriter::WriteStoredSegment(int32_t size) {
  const uint32_t length = static_cast<uint32_t>(size);
  if (!writer_.WriteBits(length, kStoredLengthBits) ||
      !writer_.WriteBits(length ^ kMaxStoredLength, kStoredLengthBits)) {
    return false;
  }
  for (int32_t distance = size; distance > 0; --distance) {
    if (!writer_.WriteByte(replay_.Recent(distance))) return false;
  }
  return true;
}
