// SPDX-License-Identifier: BSD-3-Clause
#include "exchange/MatFile.h"

#include "exchange/Text.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <unistd.h>

namespace icawave::formats {

namespace {

// Calls `use` with a value of the type that is stored; nothing for what is no number.
void withType(MatStorage storage, const auto& use) {
    switch (storage) {
    case MatStorage::int8:
        return use(std::int8_t{});
    case MatStorage::uint8:
        return use(std::uint8_t{});
    case MatStorage::int16:
        return use(std::int16_t{});
    case MatStorage::uint16:
        return use(std::uint16_t{});
    case MatStorage::int32:
        return use(std::int32_t{});
    case MatStorage::uint32:
        return use(std::uint32_t{});
    case MatStorage::float32:
        return use(float{});
    case MatStorage::float64:
        return use(double{});
    case MatStorage::int64:
        return use(std::int64_t{});
    case MatStorage::uint64:
        return use(std::uint64_t{});
    case MatStorage::utf8:
    case MatStorage::utf16:
        break;
    }
}

template <class T>
T valueAt(const MatData& data, std::size_t index) {
    std::array<std::byte, sizeof(T)> bytes;
    std::memcpy(bytes.data(), data.bytes.data() + index * sizeof(T), sizeof(T));
    if (data.swapped) std::ranges::reverse(bytes);
    return std::bit_cast<T>(bytes);
}

constexpr std::string_view hdf5Signature = "\x89HDF\r\n\x1a\n";

} // namespace

std::uint64_t bytesPerValue(MatStorage storage) {
    if (storage == MatStorage::utf8) return 1;
    if (storage == MatStorage::utf16) return 2;
    std::uint64_t bytes = 0;
    withType(storage, [&](auto value) { bytes = sizeof value; });
    return bytes;
}

bool multiply(const std::vector<std::int64_t>& sizes, std::int64_t& product) {
    product = std::ranges::count(sizes, 0) > 0 ? 0 : 1;
    return product == 0 || std::ranges::none_of(sizes, [&](std::int64_t size) {
               return __builtin_mul_overflow(product, size, &product);
           });
}

MatValue MatValue::field(const char* name) const {
    if (!m_array || m_array->type != MatClass::structure || size() != 1) fail("is not a single structure");
    return {m_file, m_name + "." + name, m_array->field(name)};
}

std::string MatValue::sizes() const {
    if (!m_array) return "missing";
    std::string text;
    for (const std::int64_t size : m_array->sizes) text += (text.empty() ? "" : " x ") + std::to_string(size);
    return text;
}

CString MatValue::text() const {
    if (isEmpty()) return {};
    if (!isText() || m_array->sizes.size() != 2 || m_array->sizes[0] != 1) fail("is not a line of text");
    requireAffordable(size(), sizeof(char16_t));
    const MatData data = m_array->data();
    if (bytesPerValue(data.storage) == 1)
        return std::string_view(reinterpret_cast<const char*>(data.bytes.data()), data.bytes.size());
    std::u16string units(data.bytes.size() / 2, u'\0');
    for (std::size_t k = 0; k < units.size(); ++k) units[k] = valueAt<char16_t>(data, k);
    return units;
}

bool MatValue::isReal() const {
    return m_array && isNumeric(m_array->type) && !m_array->isComplex;
}

double MatValue::scalar() const {
    if (isEmpty()) fail("is missing or empty");
    if (size() != 1) fail("is not a single number");
    double value = 0.0;
    copyValues(0, 1, &value);
    if (!std::isfinite(value)) fail("is not finite");
    return value;
}

std::int64_t MatValue::wholeNumber() const {
    const double value = scalar();
    if (!(value >= 1.0 && value <= std::numeric_limits<std::int32_t>::max()) || value != std::floor(value))
        fail("is " + number(value) + " instead of a whole number from 1 to 2147483647");
    return static_cast<std::int64_t>(value);
}

Eigen::MatrixXd MatValue::matrix() const {
    requireReal();
    if (m_array->sizes.size() != 2) fail("is not a matrix");
    requireAffordable(size(), sizeof(double));
    Eigen::MatrixXd values(m_array->sizes[0], m_array->sizes[1]);
    copyValues(0, values.size(), values.data());
    if (!values.allFinite()) fail("holds a value that is not finite");
    return values;
}

void MatValue::copyValues(std::int64_t first, std::int64_t count, double* to) const {
    requireReal();
    if (first < 0 || count < 0 || first > size() || count > size() - first) fail("has too few values");
    const MatData data = m_array->data();
    withType(data.storage, [&]<class T>(T) {
        for (std::int64_t k = 0; k < count; ++k) to[k] = static_cast<double>(valueAt<T>(data, first + k));
    });
}

bool MatValue::hasSizes(const std::vector<std::int64_t>& wanted) const {
    if (!m_array) return false;
    const auto sizeAt = [](const std::vector<std::int64_t>& sizes, std::size_t k) {
        return k < sizes.size() ? sizes[k] : 1;
    };
    for (std::size_t k = 0; k < std::max(m_array->sizes.size(), wanted.size()); ++k) {
        if (sizeAt(m_array->sizes, k) != sizeAt(wanted, k)) return false;
    }
    return true;
}

void MatValue::requireSizes(const std::vector<std::int64_t>& wanted) const {
    requireReal();
    if (hasSizes(wanted)) return;
    std::string text;
    for (const std::int64_t size : wanted) text += (text.empty() ? "" : " x ") + std::to_string(size);
    fail("is " + sizes() + " instead of " + text);
}

void MatValue::fail(const std::string& what) const {
    throw Failure(m_file->path(), m_name + " " + what);
}

void MatValue::requireReal() const {
    if (isEmpty()) fail("is missing or empty");
    if (m_array->type == MatClass::sparse) fail("is sparse, which is not supported");
    if (!isNumeric(m_array->type)) fail("is not numeric");
    if (m_array->isComplex) fail("is complex");
}

// By compression and small storage types a small file can claim many values.
void MatValue::requireAffordable(std::int64_t count, std::size_t bytesEach) const {
    const std::uint64_t most = (std::uint64_t{8} << 20) + 2 * m_file->bytes();
    if (static_cast<std::uint64_t>(count) > most / bytesEach)
        fail("has " + std::to_string(count) + " values, too many for a file of this size");
}

MatFile::MatFile(const std::string& path) : m_path(path) {
    const std::filesystem::file_status status = std::filesystem::status(path);
    if (std::filesystem::is_directory(status)) throw Failure(path, "is a directory");
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
        throw Failure(path, "is not a regular file");
    if (::access(path.c_str(), R_OK) != 0) throw Failure(path, systemError(errno));
    m_bytes = std::filesystem::file_size(path);
    std::ifstream file(path, std::ios::binary);
    const auto holds = [&](std::uint64_t at, std::string_view wanted) {
        std::array<char, 8> found{};
        file.seekg(at).read(found.data(), std::ssize(wanted));
        return file && std::string_view(found.data(), wanted.size()) == wanted;
    };
    // HDF5 begins at byte 0, 512 or a doubling of it; MATLAB puts a header of 512 bytes before it.
    const bool isLevel5 = holds(124, std::string_view("\0\1IM", 4));
    for (std::uint64_t begin = 0; begin < m_bytes && !isLevel5;
         begin = std::max<std::uint64_t>(512, 2 * begin)) {
        if (!holds(begin, hdf5Signature)) continue;
        m_source = openHdf5(path, begin);
        return;
    }
    m_source = openLevel5(path);
}

MatValue MatFile::variable(const char* name) const {
    return {this, name, m_source->variable(name)};
}

} // namespace icawave::formats
