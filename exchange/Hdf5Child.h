// SPDX-License-Identifier: BSD-3-Clause
// What MatHdf5.cpp and its child process say to each other: a request and its path, an answer, its sizes and
// its bytes.
#pragma once

#include "exchange/ChildProcess.h"
#include "exchange/MatArray.h"

#include <cstdint>
#include <string>

namespace icawave::formats::hdf5 {

enum class Outcome : std::uint32_t { found, missing, refused };

struct Answer { // `rank` sizes of eight bytes and `bytes` bytes follow: values, or why it is refused
    Outcome outcome = Outcome::missing;
    MatClass type = MatClass::opaque;
    MatStorage storage = MatStorage::uint8;
    std::uint8_t isComplex = 0;
    std::uint8_t unused = 0;
    std::uint32_t rank = 0;
    std::uint32_t unused2 = 0;
    std::uint64_t bytes = 0;
};

struct Request { // the path of the array follows, "EEG/reject/gcompreject"
    std::uint32_t withValues = 0;
    std::uint32_t pathBytes = 0;
};

constexpr std::uint32_t maxDimensions = 32; // HDF5 has no more

// Answers requests until the other end is gone. `begin`: where HDF5's own bytes begin.
void serve(const std::string& path, std::uint64_t begin, std::uint64_t fileBytes, Channel& channel);

} // namespace icawave::formats::hdf5
