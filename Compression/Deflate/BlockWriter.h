// Writes tokens as one deflate block (RFC 1951, section 3.2) of the type that takes the fewest
// bits.
#pragma once

#include <cstdint>

#include "Compression/Deflate/BitWriter.h"
#include "Compression/Deflate/BlockReplay.h"
#include "Compression/Deflate/DynamicHeader.h"
#include "Compression/Deflate/HuffmanEncodeTable.h"
#include "Compression/Deflate/TokenBuffer.h"
#include "Compression/Format/DeflateFormat.h"

enum class FinalBlock { kNo, kYes };

class BlockWriter {
 public:
  // Writes through `writer`, which must outlive this object.
  explicit BlockWriter(BitWriter& writer) : writer_(writer) {}

  // Begins the block whose first byte stands at `position` of `window`; copies the history before
  // it.
  void BeginBlock(const uint8_t* window, int32_t position) {
    replay_.TakeHistory(window, position);
  }

  // Writes the tokens, after turning short matches into literals where that is shorter. False: the
  // stream refused bytes, or there is no memory for a stored block.
  [[nodiscard]] bool WriteBlock(TokenBuffer& tokens, FinalBlock final);

  // For statistics: blocks written, and the estimated bits of the dynamic headers considered.
  uint64_t BlockCount() const { return blockCount_; }
  uint64_t HeaderBits() const { return headerBits_; }

 private:
  // The codes of a block.
  struct Codes {
    const HuffmanEncodeTable& literals;
    const HuffmanEncodeTable& distances;

    int32_t SizeInBits(const SymbolCounts& counts) const;
    bool IsTripleShorter(int32_t distanceSymbol, const ThreeBytes& bytes) const;
    void Put(BitWriter::Burst& burst, Token token) const;
  };

  void BuildCodes(const SymbolCounts& counts);
  DeflateBlockType ChooseBlockType(const TokenBuffer& tokens);
  [[nodiscard]] bool WriteFixedBlock(TokenBuffer& tokens);
  [[nodiscard]] bool WriteDynamicBlock(TokenBuffer& tokens);
  [[nodiscard]] bool WriteTokens(const TokenBuffer& tokens, const Codes& codes);
  [[nodiscard]] bool WriteStoredBlock(const TokenBuffer& tokens);

  static Codes FixedCodes();
  Codes DynamicCodes() const { return {literals_, distances_}; }

  BitWriter& writer_;
  uint64_t blockCount_ = 0;
  uint64_t headerBits_ = 0;
  HuffmanEncodeTable literals_;
  HuffmanEncodeTable distances_;
  DynamicHeader header_;
  HuffmanTree tree_;
  BlockReplay replay_;  // last: it is large, and a single block never touches it
};
