// The byte string of the tests and the fuzz targets.
#pragma once

#include <cstdint>
#include <vector>

using Bytes = std::vector<uint8_t>;
