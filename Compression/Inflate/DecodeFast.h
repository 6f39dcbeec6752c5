// The hot loop of decompression.
#pragma once

#include <cstdint>

#include "Compression/Inflate/BitReader.h"
#include "Compression/Inflate/HuffmanDecodeTable.h"
#include "Compression/Inflate/InflateWindow.h"

// With less buffered input, in bytes, the loop does nothing.
constexpr int32_t kFastInput = 24;

// Decodes symbols while plenty of input and budget is left, up to the first one that is not a plain
// literal or match. What it leaves is what decoding each symbol by itself would have left, except
// that `cursor` may already hold the bits that the next symbol would begin with fetching.
// Requires: cursor.bitCount <= 31, InflateWindow::MakeRoom came first, and `budget` is at most
// InflateWindow::kMaxPending less what is pending.
void DecodeFast(const HuffmanDecodeTable& literals, const HuffmanDecodeTable& distances,
                BitCursor& cursor, InflateWindow& window, int32_t& budget);
