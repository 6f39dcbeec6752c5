#include "Core/FatalExit.h"

#include <cstdlib>

void FatalExit(const char*, int status) { std::exit(status); }
