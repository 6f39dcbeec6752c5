// The hot loop of decompression.
#pragma once

#include <cstdint>

#include "Compression/Inflate/BitReader.h"
#include "Compression/Inflate/HuffmanDecodeTable.h"
#include "Compression/Inflate/InflateWindow.h"

// The loop does nothing with fewer bytes of buffered input.
constexpr int32_t kFastInput = 24;

// Decodes symbols while plenty of input and budget is left, up to the first that is not a plain
// literal or match. It leaves the state that decoding each symbol by itself would have left, except
// that `cursor` may already hold the bits that the next symbol would fetch first.
// Requires: cursor.bitCount <= 31, InflateWindow::MakeRoom came first, and `budget` plus the
// pending bytes is at most InflateWindow::kMaxPending.
void DecodeFast(const HuffmanDecodeTable& lengthTable, const HuffmanDecodeTable& distanceTable,
                BitCursor& cursor, InflateWindow& window, int32_t& budget);
