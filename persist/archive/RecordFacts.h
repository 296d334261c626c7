// SPDX-License-Identifier: BSD-3-Clause
// What a record is known by: its keyword, its versions (dates as YYYYMMDD; the first one is written, all are
// read) and, where a file counts such records, the least bytes that one takes. docs/FORMAT.md has the fields.
#pragma once

#include <cstdint>
#include <string_view>

namespace icawave {

// The least that a keyword and a version take: those of a narrow text.
constexpr std::int64_t smallestFrame(std::string_view keyword) {
    return 1 + static_cast<std::int64_t>(keyword.size()) + 4;
}

struct PackageRecord {
    static constexpr const char* keyword = "FACEICA";
    static constexpr std::int32_t version20161108 = 20161108;
};

struct DataSetRecord {
    static constexpr const char* keyword = "TRIALICADATA";
    static constexpr std::int32_t version20180629 = 20180629;
    static constexpr std::int32_t version20160311 = 20160311;
    static constexpr std::int32_t versions[] = {version20180629, version20160311};
};

struct ChannelRecord {
    static constexpr const char* keyword = "WAVEICADATA";
    static constexpr std::int32_t version20180619 = 20180619;
    static constexpr std::int32_t version20161108 = 20161108;
    // The older version without values.
    static constexpr std::int64_t smallest = smallestFrame(keyword) + 8 + 8 + 8 + 4 + 8 + 4;
};

struct ItemRecord {
    static constexpr const char* keyword = "ICPROJECTDATA";
    static constexpr std::int32_t version20180620 = 20180620;
    // An empty narrow name and no values.
    static constexpr std::int64_t smallest = smallestFrame(keyword) + 12 + 1 + 40 + 8 + 8 + 4 + 8 + 4;
};

struct ParametersRecord {
    static constexpr const char* keyword = "ICAPARAMETERS";
    static constexpr std::int32_t version20180629 = 20180629;
};

struct MatrixRecord {
    static constexpr const char* keyword = "MMATRIX2D";
    static constexpr std::int32_t version20261122 = 20261122;
};

} // namespace icawave
