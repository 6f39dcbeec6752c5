// A heap's state as text on standard output, for a person who debugs. The tool never prints it.
#pragma once

#include "Memory/GlobalHeap.h"

// The detailed statistics, one "label value" line each, then a line per segment with its index and
// its first and end address in hexadecimal.
void DumpStats(const Heap& heap = GlobalHeap());

// Every block of every segment: whether it is in use, its header's address and its payload's size.
void DumpBlocks(const Heap& heap = GlobalHeap());
