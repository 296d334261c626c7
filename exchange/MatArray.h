// SPDX-License-Identifier: BSD-3-Clause
// What the readers of the two kinds of MAT-file give: level 5 (MatLevel5.cpp) and 7.3, which is HDF5
// (MatHdf5.cpp). No reader believes a length, a count or a size that the file states.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace icawave::formats {

// The numbers are those of level 5.
enum class MatClass : std::uint8_t {
    cell = 1,
    structure = 2,
    object = 3,
    text = 4,
    sparse = 5,
    float64 = 6,
    float32 = 7,
    int8 = 8,
    uint8 = 9,
    int16 = 10,
    uint16 = 11,
    int32 = 12,
    uint32 = 13,
    int64 = 14,
    uint64 = 15,
    function = 16,
    opaque = 17
};
inline bool isNumeric(MatClass type) {
    return type >= MatClass::float64 && type <= MatClass::uint64;
}

// How values lie in the file: a float64 array of small whole numbers may be stored as uint8.
enum class MatStorage : std::uint8_t {
    int8 = 1,
    uint8 = 2,
    int16 = 3,
    uint16 = 4,
    int32 = 5,
    uint32 = 6,
    float32 = 7,
    float64 = 9,
    int64 = 12,
    uint64 = 13,
    utf8 = 16,
    utf16 = 17
};
std::uint64_t bytesPerValue(MatStorage storage); // 0 for what is none of them

// The sizes multiplied; false when that is beyond 2^63 - 1.
bool multiply(const std::vector<std::int64_t>& sizes, std::int64_t& product);

// The memory that a file of this many bytes may claim beyond them, by compression or by small storage.
inline std::uint64_t inflatedAllowance(std::uint64_t fileBytes) {
    return (std::uint64_t{32} << 20) + 16 * fileBytes;
}

struct MatData {
    MatStorage storage = MatStorage::float64;
    bool swapped = false; // the bytes of each value are in the other order
    std::span<const std::byte> bytes;
};

// One array. Valid as long as the file that it is from.
class MatArray {
public:
    virtual ~MatArray() = default;
    MatArray(const MatArray&) = delete;
    MatArray& operator=(const MatArray&) = delete;

    virtual std::shared_ptr<const MatArray>
    field(const std::string& name) const = 0; // of one structure; or null
    virtual MatData data() const = 0; // of numbers and text, the first index running fastest; the real part

    MatClass type = MatClass::float64;
    bool isComplex = false;
    std::vector<std::int64_t> sizes; // two at least
    std::int64_t count = 0;          // of elements

protected:
    MatArray() = default;
};

class MatSource {
public:
    virtual ~MatSource() = default;
    MatSource() = default;
    MatSource(const MatSource&) = delete;
    MatSource& operator=(const MatSource&) = delete;

    virtual std::shared_ptr<const MatArray> variable(const std::string& name) = 0; // null when there is none
};

std::unique_ptr<MatSource> openLevel5(const std::string& path);
// `begin`: where HDF5's own bytes begin.
std::unique_ptr<MatSource> openHdf5(const std::string& path, std::uint64_t begin);

} // namespace icawave::formats
