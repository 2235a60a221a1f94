// What a fuzzer ends with when a promise is broken.
#pragma once

#include <cstdlib>

inline void Require(bool condition) {
    if (!condition) std::abort();
}
