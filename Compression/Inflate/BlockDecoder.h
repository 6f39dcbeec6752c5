// The content of deflate blocks: their code tables, their symbols, and stored bytes.
//
// Works in portions: the decoding calls take a budget of output bytes and come back when it is used
// up, in the middle of a block if need be.
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

  // Some damaged streams produce bytes for ever without consuming a bit. Left alone they are ended
  // by whoever limits the output; after this call DecodeSymbols fails as soon as it meets one.
  void RefuseEndlessOutput() { refusesEndlessOutput_ = true; }

  // Sets up the codes of a fixed block.
  void UseFixedTables();

  // Reads the codes of a dynamic block. False: the header is malformed or cut short, or no memory.
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
