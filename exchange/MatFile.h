// SPDX-License-Identifier: BSD-3-Clause
// MAT-files, read with suspicion: whatever is not of the kind that is asked for is a Failure that names it.
#pragma once

#include "exchange/MatArray.h"

#include <icawave/platform/String.h>

#include <Eigen/Core>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace icawave::formats {

// A variable or a field, perhaps missing. Valid as long as its MatFile.
class MatValue {
public:
    MatValue() = default;
    MatValue(const class MatFile* file, std::string name, std::shared_ptr<const MatArray> array)
        : m_file(file), m_name(std::move(name)), m_array(std::move(array)) {}

    bool isMissing() const { return !m_array; }
    bool isEmpty() const { return size() == 0; } // missing too
    bool isText() const { return m_array && m_array->type == MatClass::text; }
    MatValue field(const char* name) const; // of a single structure

    std::int64_t size() const { return m_array ? m_array->count : 0; } // elements
    std::string sizes() const;                                         // "2 x 3"
    CString text() const; // a row of characters; the empty text when there is none

    bool isReal() const; // numbers, and not complex ones

    // Real numbers only.
    double scalar() const;            // finite
    std::int64_t wholeNumber() const; // 1 ... 2^31 - 1
    Eigen::MatrixXd matrix() const;   // all finite, not empty
    // Element `first` and those behind it, the first index running fastest, into `to`, `count` of them.
    void copyValues(std::int64_t first, std::int64_t count, double* to) const;
    bool hasSizes(const std::vector<std::int64_t>& sizes) const; // ones at the end may be left out
    void requireSizes(const std::vector<std::int64_t>& sizes) const;

    [[noreturn]] void fail(const std::string& what) const;

private:
    void requireReal() const;
    void requireAffordable(std::int64_t count, std::size_t bytesEach) const;

    const MatFile* m_file = nullptr;
    std::string m_name;
    std::shared_ptr<const MatArray> m_array;
};

class MatFile {
public:
    explicit MatFile(const std::string& path);
    MatFile(const MatFile&) = delete; // its values know it
    MatFile& operator=(const MatFile&) = delete;

    MatValue variable(const char* name) const; // missing when the file has none of that name

    const std::string& path() const { return m_path; }
    std::uint64_t bytes() const { return m_bytes; }

private:
    std::string m_path;
    std::uint64_t m_bytes = 0;
    std::unique_ptr<MatSource> m_source;
};

} // namespace icawave::formats
