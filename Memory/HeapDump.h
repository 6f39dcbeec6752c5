// A heap's state as text on standard output, for debugging. The tool never prints it.
#pragma once

#include "Memory/GlobalHeap.h"

// Prints the walked statistics, one line "label value" each. Then one line for each segment with
// its index, its base and its end, all in hexadecimal.
void DumpStats(const Heap& heap = GlobalHeap());

// Prints every block of every segment: whether it is in use, the address of its header and the size
// of its payload.
void DumpBlocks(const Heap& heap = GlobalHeap());
