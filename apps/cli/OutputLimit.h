// SPDX-License-Identifier: BSD-3-Clause
// Outputs follow what a file holds. What it states may be far more: a count of channels without records, or
// one long channel among thousands that hold no values.
#pragma once

#include "apps/cli/Text.h"

#include <cstdint>
#include <string>

namespace icawave::cli {

// 32 bytes for each byte of the file, twice what a whole file of the smallest records needs, and 64 KiB.
class OutputLimit {
public:
    OutputLimit(const std::string& file, std::int64_t fileBytes)
        : m_file(file), m_fileBytes(fileBytes), m_left(32 * fileBytes + 64 * 1024) {}

    // Takes what is going to be written. A Failure once that is beyond the limit, so before anything is.
    void add(std::int64_t bytes) {
        if (bytes > m_left)
            throw Failure(m_file, "states far more than its " + counted(m_fileBytes, "byte") + " hold");
        m_left -= bytes;
    }

private:
    std::string m_file;
    std::int64_t m_fileBytes, m_left;
};

} // namespace icawave::cli
