// The transposition between rows that lie anywhere in memory.
#pragma once

#include "channel/Kernels.h"

#include <algorithm>

namespace icawave {

// to(c)[r] = from(r)[c] for all rows and columns. Squares are transposed in registers and gathered in tiles
// whose lines of memory stay in the cache until they are used up, where the plain loop writes one value to
// each line and then comes back. Each square asks for the lines of its counterpart in the next tile: no
// processor foresees so many places at once.
template <class From, class To>
void transposeRows(std::int64_t rows, std::int64_t columns, From from, To to) {
    constexpr std::int64_t side = kernelLanes, tileRows = 64, tileColumns = 32;
    const std::int64_t wholeRows = rows - rows % side, wholeColumns = columns - columns % side;
    const auto transpose = kernels().transpose;

    const auto prefetch = [&](std::int64_t r, std::int64_t c) {
        if (r >= wholeRows) {
            r %= tileRows;
            c += tileColumns;
        }
        if (c >= wholeColumns) return;
        for (int k = 0; k < side; ++k) {
            __builtin_prefetch(from(r + k) + c);
            __builtin_prefetch(to(c + k) + r, 1);
        }
    };
    const auto square = [&](std::int64_t r, std::int64_t c) {
        const double* in[side];
        double* out[side];
        for (int k = 0; k < side; ++k) {
            in[k] = from(r + k);
            out[k] = to(c + k);
        }
        prefetch(r + tileRows, c);
        transpose(in, c, out, r);
    };
    for (std::int64_t c0 = 0; c0 < wholeColumns; c0 += tileColumns) {
        for (std::int64_t r0 = 0; r0 < wholeRows; r0 += tileRows) {
            for (std::int64_t c = c0; c < std::min(c0 + tileColumns, wholeColumns); c += side) {
                for (std::int64_t r = r0; r < std::min(r0 + tileRows, wholeRows); r += side) square(r, c);
            }
        }
    }
    for (std::int64_t r = 0; r < rows; ++r) {
        for (std::int64_t c = r < wholeRows ? wholeColumns : 0; c < columns; ++c) to(c)[r] = from(r)[c];
    }
}

} // namespace icawave
