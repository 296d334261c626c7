// SPDX-License-Identifier: BSD-3-Clause
// The system's file operations as the library in the test program meets them: they can be counted, cut short
// and refused.
#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <string>

namespace test {

struct SystemCalls {
    int left = -1;                                                   // until one is refused; below 0: none is
    std::int64_t largest = std::numeric_limits<std::int64_t>::max(); // bytes that one call moves
    std::int64_t bytesRead = 0;                                      // of pread
    std::function<void()> whileSyncing = [] {};
    std::string changes; // the operations that put a file in its place, in their order
};
extern SystemCalls systemCalls;

} // namespace test
