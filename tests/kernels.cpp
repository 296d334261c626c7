// SPDX-License-Identifier: BSD-3-Clause
// Every level of the kernels against plain arithmetic, bit for bit, whatever the values are.
#include "tests/Support.h"

#include "kernels/Kernels.h"

#include <array>
#include <bit>
#include <cmath>
#include <limits>

using namespace icawave;

namespace {

constexpr int lanes = kernelLanes;
constexpr double nan = std::numeric_limits<double>::quiet_NaN(),
                 infinity = std::numeric_limits<double>::infinity();
constexpr double special[] = {nan, -0.0, 0.0, infinity, -infinity, 5e-324, 1e308, -1e308, 1.0, -1.0};

using Arrays = std::array<std::vector<double>, lanes>;

// Each array in a block of its own size, so that a read past its end is seen; more and more of them special.
Arrays nastyArrays(std::size_t size, unsigned share) {
    Arrays arrays;
    std::uint32_t next = 7 + share;
    for (std::vector<double>& array : arrays) {
        array.resize(size);
        for (double& value : array) {
            next = next * 1664525 + 1013904223;
            const std::uint32_t chosen = next >> 16;
            value = chosen % 100 < share
                        ? special[chosen % std::size(special)]
                        : std::ldexp(static_cast<double>(next) - 2e9, static_cast<int>(chosen % 60) - 30);
        }
    }
    return arrays;
}

// NaNs are alike.
template <class Pass>
std::vector<std::uint64_t> bitsOf(const Pass& pass) {
    std::array<double, sizeof pass / sizeof(double)> fields;
    std::memcpy(fields.data(), &pass, sizeof pass);
    std::vector<std::uint64_t> bits;
    for (const double field : fields)
        bits.push_back(std::isnan(field) ? 1 : std::bit_cast<std::uint64_t>(field));
    return bits;
}

template <class Pass>
Pass plain(Pass pass, const std::vector<double>& values, std::int64_t begin, std::int64_t stop) {
    for (std::int64_t i = begin; i < stop; ++i) pass.take(values[i]);
    return pass;
}

template <class Pass>
Pass startingAt(double first) {
    if constexpr (requires { Pass(first); })
        return Pass(first);
    else
        return Pass();
}

template <class Pass>
void expectPassSame(const Kernels& level, const Arrays& arrays, std::int64_t begin) {
    const double* values[lanes];
    Pass passes[lanes];
    for (int k = 0; k < lanes; ++k) {
        values[k] = arrays[k].data();
        passes[k] = startingAt<Pass>(special[k]);
    }
    const auto size = std::ssize(arrays[0]);
    const std::int64_t reached = level.take<Pass>()(values, begin, size, passes);
    ASSERT_TRUE(reached >= begin && reached <= size && size - reached < lanes);
    for (int k = 0; k < lanes; ++k)
        ASSERT_EQ(bitsOf(passes[k]), bitsOf(plain(startingAt<Pass>(special[k]), arrays[k], begin, reached)))
            << k;
}

class KernelLevels : public ::testing::Test {
protected:
    // For every level, size and share of special values.
    void forEach(const std::function<void(const Kernels&, const Arrays&)>& f) {
        ASSERT_GT(kernelLevels().size(), 0u);
        for (const Kernels* level : kernelLevels()) {
            for (const std::size_t size : {1, 7, 8, 9, 31, 64, 200, 301}) {
                for (const unsigned share : {0, 3, 50, 100}) {
                    SCOPED_TRACE(
                        level->level +
                        CString::Format(u" %d values, %d%% special", static_cast<int>(size), share).utf8());
                    f(*level, nastyArrays(size, share));
                    if (HasFatalFailure()) return;
                }
            }
        }
    }
};

TEST_F(KernelLevels, PassesAreThoseOfOneValueAfterTheOther) {
    forEach([](const Kernels& level, const Arrays& arrays) {
        for (const std::int64_t begin : {0, 1}) {
            AllPasses::forEach([&]<class Pass>() { expectPassSame<Pass>(level, arrays, begin); });
        }
    });
}

TEST_F(KernelLevels, ChainsAndQuotientsAreThoseOfOneValueAfterTheOther) {
    forEach([](const Kernels& level, Arrays arrays) {
        for (std::size_t k = 0; k < arrays[0].size();
             ++k) { // zeros of both signs are the least and the greatest
            const double zero = std::copysign(0.0, arrays[0][k]), value = std::fabs(arrays[1][k]);
            arrays[2][k] = value < 1e9 ? zero : value;
            arrays[3][k] = -arrays[2][k];
        }
        for (const double start : special) {
            for (const int k : {0, 2, 3}) {
                const RangeAndSumPassOf<double> before(start);
                RangeAndSumPassOf<double> pass = before;
                const std::int64_t reached =
                    level.orderedSum(arrays[k].data(), 0, std::ssize(arrays[k]), pass);
                ASSERT_EQ(bitsOf(pass), bitsOf(plain(before, arrays[k], 0, reached))) << start;
            }

            std::vector<double> quotients = arrays[1];
            const std::int64_t divided = level.divide(quotients.data(), std::ssize(quotients), start);
            for (std::int64_t k = 0; k < std::ssize(quotients); ++k) {
                const double value = arrays[1][k];
                ASSERT_EQ(bitsOf(quotients[k]), bitsOf(k < divided ? value / start : value));
            }
        }
    });
}

TEST_F(KernelLevels, TransposedSquaresStayInTheirPlace) {
    for (const Kernels* level : kernelLevels()) {
        double from[lanes][lanes + 3], to[lanes][lanes + 3] = {};
        const double* rows[lanes];
        double* columns[lanes];
        for (int r = 0; r < lanes; ++r) {
            rows[r] = from[r];
            columns[r] = to[r];
            for (int c = 0; c < lanes + 3; ++c) from[r][c] = 100 * r + c;
        }
        level->transpose(rows, 2, columns, 1);
        for (int c = 0; c < lanes; ++c) {
            for (int r = -1; r < lanes + 2; ++r)
                EXPECT_EQ(to[c][r + 1], r < 0 || r >= lanes ? 0.0 : 100.0 * r + c + 2) << level->level;
        }
    }
}

} // namespace
