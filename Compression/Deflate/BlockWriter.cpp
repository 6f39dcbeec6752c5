#include "Compression/Deflate/BlockWriter.h"

#include <algorithm>

#include "Compression/Deflate/DeflateSymbols.h"

namespace {

constexpr int32_t kStoredLengthBits = 16;
constexpr int32_t kStoredSegmentHeaderBits = 2 * kStoredLengthBits;

// The cost in bits of a literal without a code: more than any match.
constexpr int32_t kNotCodable = 65536;

struct FixedTables {
  HuffmanEncodeTable literals;
  HuffmanEncodeTable distances;
};

constexpr FixedTables kFixed = [] {
  FixedTables tables;
  BuildFixedTables(tables.literals, tables.distances);
  return tables;
}();

}  // namespace

BlockWriter::Codes BlockWriter::FixedCodes() { return {kFixed.literals, kFixed.distances}; }

bool BlockWriter::WriteBlock(TokenBuffer& tokens, FinalBlock final) {
  BuildCodes(tokens.Counts());
  header_.Build(literals_, distances_, tree_);
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
      return WriteFixedBlock(tokens);
    default:
      return WriteDynamicBlock(tokens);
  }
}

void BlockWriter::BuildCodes(const SymbolCounts& counts) {
  literals_.BuildFromFrequencies(counts.literals.data(), kLiteralLengthSymbols, kMaxCodeLength,
                                 tree_);
  distances_.BuildFromFrequencies(counts.distances.data(), kDistanceSymbols, kMaxCodeLength, tree_);
}

// Compares sizes in bits. None of them counts the block's three header bits and the end-of-block
// code.
// Deliberate: ties go to stored, then to fixed.
DeflateBlockType BlockWriter::ChooseBlockType(const TokenBuffer& tokens) {
  const int32_t raw = tokens.RawBytes();
  const int32_t segments = (raw + kMaxStoredLength - 1) / kMaxStoredLength;
  const int32_t stored = segments * kStoredSegmentHeaderBits + raw * 8 + 8;
  const int32_t fixed = FixedCodes().SizeInBits(tokens.Counts());
  const int32_t header = header_.SizeInBits();
  headerBits_ += static_cast<uint64_t>(header);
  const int32_t dynamic = DynamicCodes().SizeInBits(tokens.Counts()) + header;
  if (dynamic >= stored && fixed >= stored) return kStoredBlock;
  if (fixed > dynamic) return kDynamicBlock;
  return fixed <= stored ? kFixedBlock : kDynamicBlock;
}

int32_t BlockWriter::Codes::SizeInBits(const SymbolCounts& counts) const {
  int32_t size = 0;
  for (int32_t i = 0; i < kEndOfBlock; ++i) {
    size += static_cast<int32_t>(counts.literals[i]) * literals.LengthOf(i);
  }
  for (int32_t i = 0; i < kLengthRangeCount; ++i) {
    const int32_t symbol = kFirstLengthSymbol + i;
    size += static_cast<int32_t>(counts.literals[symbol]) *
            (literals.LengthOf(symbol) + kLengthRanges[i].extraBits);
  }
  for (int32_t i = 0; i < kDistanceRangeCount; ++i) {
    size += static_cast<int32_t>(counts.distances[i]) *
            (distances.LengthOf(i) + kDistanceRanges[i].extraBits);
  }
  return size;
}

// True when three literals take fewer bits than the match of three bytes that they would replace.
bool BlockWriter::Codes::IsTripleShorter(int32_t distanceSymbol, const ThreeBytes& bytes) const {
  const int32_t match = literals.LengthOf(kFirstLengthSymbol) + distances.LengthOf(distanceSymbol) +
                        kDistanceRanges[distanceSymbol].extraBits;
  int32_t triple = 0;
  for (const uint8_t byte : bytes) {
    const int32_t length = literals.LengthOf(byte);
    triple += length == 0 ? kNotCodable : length;
  }
  return match > triple;
}

bool BlockWriter::WriteFixedBlock(TokenBuffer& tokens) {
  const Codes codes = FixedCodes();
  tokens.ConvertShortMatches([&](int32_t distanceSymbol, const ThreeBytes& bytes) {
    return codes.IsTripleShorter(distanceSymbol, bytes);
  });
  return WriteTokens(tokens, codes);
}

bool BlockWriter::WriteDynamicBlock(TokenBuffer& tokens) {
  const Codes codes = DynamicCodes();
  const auto isBetter = [&](int32_t distanceSymbol, const ThreeBytes& bytes) {
    return codes.IsTripleShorter(distanceSymbol, bytes);
  };
  // Each pass decides by the codes that follow from the pass before.
  bool isChanged = false;
  while (tokens.ConvertShortMatches(isBetter)) {
    BuildCodes(tokens.Counts());
    isChanged = true;
  }
  if (isChanged) header_.Build(literals_, distances_, tree_);
  return header_.Write(writer_) && WriteTokens(tokens, codes);
}

// At most 48 bits: two codes of 15 bits, and the extra bits of a length and a distance.
inline void BlockWriter::Codes::Put(BitWriter::Burst& burst, Token token) const {
  if (token.IsLiteral()) {
    const HuffmanCode code = literals[token.Byte(0)];
    burst.Put(code.bits, code.length);
  } else if (token.IsMatch()) {
    const int32_t index = kLengthIndex[token.Length()];
    const HuffmanCode length = literals[kFirstLengthSymbol + index];
    burst.Put(length.bits, length.length);
    burst.Put(static_cast<uint32_t>(token.Length() - kLengthRanges[index].base),
              kLengthRanges[index].extraBits);
    const DeflateRange range = kDistanceRanges[token.DistanceSymbol()];
    const HuffmanCode distance = distances[token.DistanceSymbol()];
    burst.Put(distance.bits, distance.length);
    burst.Put(static_cast<uint32_t>(token.Distance() - range.base), range.extraBits);
  } else {
    for (int32_t i = 0; i < kMinMatchLength; ++i) {
      const HuffmanCode code = literals[token.Byte(i)];
      burst.Put(code.bits, code.length);
    }
  }
}

bool BlockWriter::WriteTokens(const TokenBuffer& tokens, const Codes& codes) {
  for (std::span<const Token> left = tokens.Tokens(); !left.empty();) {
    const auto some = left.first(std::min<std::size_t>(left.size(), BitWriter::kMaxStores));
    if (!writer_.HasRoom(static_cast<int32_t>(some.size()))) return false;
    BitWriter::Burst burst = writer_.Begin();
    for (const Token token : some) {
      codes.Put(burst, token);
      burst.Store();
    }
    writer_.End(burst);
    left = left.subspan(some.size());
  }
  const HuffmanCode end = codes.literals[kEndOfBlock];
  return writer_.WriteBits(end.bits, end.length);
}

// Deliberate: more than 65,535 bytes are written as several LEN/NLEN segments after one block
// header, which other programs do not read. A block of literals that fills the token buffer is
// smaller, so in practice no stored block is this long.
bool BlockWriter::WriteStoredBlock(const TokenBuffer& tokens) {
  Core::ByteArray bytes;
  if (!replay_.Replay(tokens, bytes)) return false;
  std::span<const uint8_t> left(bytes.end() - tokens.RawBytes(), bytes.end());
  while (!left.empty()) {
    const std::size_t size = std::min<std::size_t>(left.size(), kMaxStoredLength);
    const uint32_t length = static_cast<uint32_t>(size);
    if (!writer_.WriteBits(length, kStoredLengthBits) ||
        !writer_.WriteBits(length ^ kMaxStoredLength, kStoredLengthBits) ||
        !writer_.WriteBytes(left.first(size))) {
      return false;
    }
    left = left.subspan(size);
  }
  return true;
}
