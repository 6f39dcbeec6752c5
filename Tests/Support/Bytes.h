// A string of bytes, as the tests, the fuzz targets and their helpers pass it around.
#pragma once

#include <cstdint>
#include <vector>

using Bytes = std::vector<uint8_t>;
