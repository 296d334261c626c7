// SPDX-License-Identifier: BSD-3-Clause
// Finding bytes in a file.
#pragma once

#include "persist/packagefile/PackageFileTail.h"

#include <span>

namespace icawave {

// Finds bytes in a file. The places that are asked for should ascend.
class Search {
public:
    Search(const InputFile& file, std::string pattern) : m_file(file), m_pattern(std::move(pattern)) {}

    // Where the bytes begin, at `from` or behind it; the end of the file when nowhere.
    std::int64_t next(std::int64_t from);

private:
    const InputFile& m_file;
    std::string m_pattern;
    std::string m_piece; // what was read last
    std::int64_t m_begin = 0;
    std::int64_t m_found = -1;
};

// Where data sets seem to begin, outside of the chunks; ascending.
std::vector<std::int64_t> placesOfDataSets(const InputFile& file, std::span<const Tail::Extent> chunks);

} // namespace icawave
