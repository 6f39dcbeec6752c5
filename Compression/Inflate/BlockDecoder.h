// The content of deflate blocks: their code tables, their symbols, and stored bytes.
//
// Works in portions: a decoding call takes a budget of output bytes and returns when it is used up,
// also in the middle of a block.
#pragma once

#include <cstdint>

#include "Compression/Inflate/BitReader.h"
#include "Compression/Inflate/HuffmanDecodeTable.h"
#include "Compression/Inflate/InflateWindow.h"

class BlockDecoder {
 public:
  enum class Outcome { kFailed, kBudgetUsed, kBlockEnd };

  // Both are borrowed.
  BlockDecoder(BitReader& reader, InflateWindow& window) : reader_(reader), window_(window) {}

  // A damaged stream may produce bytes for ever without consuming a bit. After this call
  // DecodeSymbols fails as soon as it meets such a stream; without it the caller limits the output.
  void RefuseEndlessOutput() { refusesEndlessOutput_ = true; }

  // Sets up the codes of a fixed block.
  void UseFixedTables();

  // Reads the codes of a dynamic block. False: the header is malformed or cut short, or there is no
  // memory.
  [[nodiscard]] bool ReadDynamicTables();

  // Decodes symbols while `budget` is above 0, lowering it by the bytes put into the window: a
  // match may take it below 0. Requires: a table call came first.
  Outcome DecodeSymbols(int32_t& budget);

  // Reads the length of a stored block. False: it does not agree with its complement, or is cut
  // short. Requires: the reader stands on a byte boundary.
  [[nodiscard]] bool ReadStoredLength();

  // Copies stored bytes as DecodeSymbols decodes.
  Outcome CopyStored(int32_t& budget);

 private:
  enum class SymbolOutcome { kContinue, kFailed, kBlockEnd };
  struct CodeLengths;
  class DirectBits;
  class CarefulBits;

  [[nodiscard]] bool ReadCodeLengths(HuffmanDecodeTable& code, CodeLengths& lengths);
  SymbolOutcome DecodeBuffered(int32_t& budget);
  template <typename Bits>
  SymbolOutcome PutByte(Bits& bits, DecodeEntry entry);
  template <typename Bits>
  SymbolOutcome DecodeSymbol(Bits& bits, int32_t& budget);

  BitReader& reader_;
  InflateWindow& window_;
  int32_t storedLeft_ = 0;  // bytes
  bool refusesEndlessOutput_ = false;
  HuffmanDecodeTable literals_;  // and lengths
  HuffmanDecodeTable distances_;
};
