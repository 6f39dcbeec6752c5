// The header of a dynamic block: the lengths of its two codes, run-length coded and then coded
// themselves (RFC 1951, section 3.2.7).
#pragma once

#include <array>
#include <cstdint>

#include "Compression/Deflate/BitWriter.h"
#include "Compression/Deflate/HuffmanEncodeTable.h"
#include "Compression/Format/DeflateFormat.h"

class DynamicHeader {
 public:
  // Makes the header that declares these two codes. `tree` is work space.
  void Build(const HuffmanEncodeTable& literals, const HuffmanEncodeTable& distances,
             HuffmanTree& tree);

  // The estimated size in bits, without the block's own three header bits.
  int32_t SizeInBits() const;

  // False: the writer's stream refused bytes.
  [[nodiscard]] bool Write(BitWriter& writer) const;

 private:
  // One symbol of the code-length code with the value of its extra bits.
  struct Record {
    uint8_t symbol;
    uint8_t extra;
  };

  static constexpr int32_t kMaxLengths = kLiteralLengthSymbols + kDistanceSymbols;

  void GatherLengths(const HuffmanEncodeTable& literals, const HuffmanEncodeTable& distances);
  void EncodeRuns();
  void RepeatLength(uint8_t length, int32_t count);
  void RepeatZero(int32_t count);
  void AddRecord(int32_t symbol, int32_t extra);
  void BuildCode(HuffmanTree& tree);

  int32_t literalCount_ = 0;                  // HLIT: literal/length lengths declared
  int32_t distanceCount_ = 0;                 // HDIST: distance lengths declared
  int32_t orderedCount_ = 0;                  // HCLEN: code-length lengths written
  std::array<uint8_t, kMaxLengths> lengths_;  // literal/length lengths, then distance lengths
  std::array<Record, kMaxLengths> records_;
  int32_t recordCount_ = 0;
  HuffmanEncodeTable code_;
};
