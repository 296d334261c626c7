#include "apps/cli/MatFile.h"

#include "apps/cli/Text.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>
#include <unistd.h>

namespace icawave::cli {

namespace {

std::string firstComplaint; // of the MAT reader since the last variable; it has no other way to tell

// A template, since the message is a char* for older versions of the reader and a const char* for newer ones.
constexpr auto takeComplaint = [](int level, auto* message) {
    const bool serious = level & (MATIO_LOG_LEVEL_ERROR | MATIO_LOG_LEVEL_CRITICAL);
    if (serious && firstComplaint.empty()) firstComplaint = message;
};

// Calls `use` with the values as they are stored; false for a class that is not numeric.
bool withNumbers(const matvar_t& variable, const auto& use) {
    const auto as = [&]<class T>(T) {
        use(static_cast<const T*>(variable.data));
        return true;
    };
    switch (variable.class_type) {
    case MAT_C_DOUBLE:
        return as(double{});
    case MAT_C_SINGLE:
        return as(float{});
    case MAT_C_INT8:
        return as(std::int8_t{});
    case MAT_C_UINT8:
        return as(std::uint8_t{});
    case MAT_C_INT16:
        return as(std::int16_t{});
    case MAT_C_UINT16:
        return as(std::uint16_t{});
    case MAT_C_INT32:
        return as(std::int32_t{});
    case MAT_C_UINT32:
        return as(std::uint32_t{});
    case MAT_C_INT64:
        return as(std::int64_t{});
    case MAT_C_UINT64:
        return as(std::uint64_t{});
    default:
        return false;
    }
}

} // namespace

MatValue MatValue::field(const char* name) const {
    if (!isStruct() || size() != 1) fail("is not a single structure");
    // Of a damaged structure the reader may leave any of these null, and looks up names without asking.
    char* const* names = m_variable->data ? Mat_VarGetStructFieldnames(m_variable) : nullptr;
    if (!names) fail("is damaged");
    for (unsigned k = 0; k < Mat_VarGetNumberOfFields(m_variable); ++k) {
        if (!names[k]) fail("is damaged");
        if (std::strcmp(names[k], name) == 0)
            return {m_file, m_name + "." + name, Mat_VarGetStructFieldByIndex(m_variable, k, 0)};
    }
    return {m_file, m_name + "." + name, nullptr};
}

std::int64_t MatValue::size() const {
    if (!m_variable || !m_variable->dims) return 0;
    std::int64_t product = 1;
    for (int k = 0; k < m_variable->rank; ++k) {
        if (m_variable->dims[k] == 0) return 0;
    }
    for (int k = 0; k < m_variable->rank; ++k) {
        if (__builtin_mul_overflow(product, m_variable->dims[k], &product)) fail("has impossible sizes");
    }
    return product;
}

CString MatValue::text() const {
    if (isEmpty()) return {};
    if (!isText() || m_variable->rank != 2 || m_variable->dims[0] != 1) fail("is not a line of text");
    const std::size_t bytes = m_variable->data ? m_variable->nbytes : 0;
    switch (m_variable->data_type) {
    case MAT_T_UTF8:
    case MAT_T_INT8:
    case MAT_T_UINT8:
        return std::string_view(static_cast<const char*>(m_variable->data), bytes);
    case MAT_T_UTF16:
    case MAT_T_INT16:
    case MAT_T_UINT16:
        return std::u16string_view(static_cast<const char16_t*>(m_variable->data), bytes / 2);
    default:
        fail("is text of an unknown encoding");
    }
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
    if (isEmpty()) fail("is missing or empty");
    requireReal();
    if (m_variable->rank != 2) fail("is not a matrix");
    Eigen::MatrixXd values(m_variable->dims[0], m_variable->dims[1]);
    copyValues(0, values.size(), values.data());
    if (!values.allFinite()) fail("holds a value that is not finite");
    return values;
}

void MatValue::copyValues(std::int64_t first, std::int64_t count, double* to) const {
    requireReal();
    if (first < 0 || count < 0 || count > size() - first) fail("has too few values");
    withNumbers(*m_variable, [&](const auto* values) {
        for (std::int64_t k = 0; k < count; ++k) to[k] = static_cast<double>(values[first + k]);
    });
}

void MatValue::requireSizes(const std::vector<std::int64_t>& sizes) const {
    requireReal();
    const std::size_t rank = m_variable->rank;
    bool same = true;
    std::string wanted, found;
    for (std::size_t k = 0; k < std::max(rank, sizes.size()); ++k) {
        const std::size_t has = k < rank ? m_variable->dims[k] : 1;
        const std::size_t needs = k < sizes.size() ? sizes[k] : 1;
        same = same && has == needs;
        found += (k ? " x " : "") + std::to_string(has);
        wanted += (k ? " x " : "") + std::to_string(needs);
    }
    if (!same) fail("is " + found + " instead of " + wanted);
}

void MatValue::fail(const std::string& what) const {
    throw Failure(m_file, m_name + " " + what);
}

// The reader's own account of the memory must agree before it is trusted.
void MatValue::requireReal() const {
    if (isEmpty()) fail("is missing or empty");
    if (m_variable->isComplex) fail("is complex");
    bool whole = false;
    const bool numeric = withNumbers(*m_variable, [&]<class T>(const T* values) {
        const auto bytes = static_cast<std::uint64_t>(size()) * sizeof(T);
        whole = values && m_variable->nbytes / sizeof(T) == static_cast<std::uint64_t>(size()) &&
                m_variable->nbytes == bytes;
    });
    if (!numeric) fail("is not numeric");
    if (!whole) fail("is damaged");
}

MatFile::MatFile(const std::string& path) : m_path(path) {
    Mat_LogInitFunc("icawave", takeComplaint);
    if (::access(path.c_str(), R_OK) != 0) throw Failure(path, systemError(errno));
    if (std::filesystem::is_directory(path)) throw Failure(path, "is a directory");
    m_file.reset(Mat_Open(path.c_str(), MAT_ACC_RDONLY));
    if (!m_file) throw Failure(path, "not a MAT-file");
}

MatValue MatFile::variable(const char* name) {
    firstComplaint.clear();
    m_variables.emplace_back(Mat_VarRead(m_file.get(), name));
    if (!firstComplaint.empty()) throw Failure(m_path, "damaged MAT-file: " + firstComplaint);
    return {m_path, name, m_variables.back().get()};
}

} // namespace icawave::cli
