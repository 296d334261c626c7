// SPDX-License-Identifier: BSD-3-Clause
#include <icawave/MMatrix.h>

#include "platform/Alloc.h"

#include <algorithm>
#include <limits>

double* CMMatrix1Dzq::checkInitData(std::int64_t n, bool zero) {
    if (n != m_size || !m_data) {
        m_data.reset(); // before the new buffer is asked for, so that both never exist at once
        m_data.reset(icawave::newArray<double>(n));
        m_size = m_data ? n : 0;
    }
    if (m_data && zero) std::fill_n(m_data.get(), n, 0.0);
    return m_data.get();
}

std::int32_t CMMatrix2D::cleanMatrixData() {
    m_rows.reset();
    m_values.reset();
    m_rowCount = m_columnCount = 0;
    return 1;
}

std::int32_t CMMatrix2D::copyAmxn(const double* const* rows, std::int64_t rowCount,
                                  std::int64_t columnCount) {
    CMMatrix2D copy; // made aside: the rows may be this matrix's own
    if (rows && copy.allocate(rowCount, columnCount)) {
        if (std::find(rows, rows + rowCount, nullptr) == rows + rowCount)
            for (std::int64_t r = 0; r < rowCount; ++r) std::copy_n(rows[r], columnCount, copy.m_rows[r]);
        else
            copy.cleanMatrixData();
    }
    swap(copy);
    return m_rows ? 1 : 0;
}

void CMMatrix2D::swap(CMMatrix2D& other) noexcept {
    std::swap(m_values, other.m_values);
    std::swap(m_rows, other.m_rows);
    std::swap(m_rowCount, other.m_rowCount);
    std::swap(m_columnCount, other.m_columnCount);
}

bool CMMatrix2D::allocate(std::int64_t rowCount, std::int64_t columnCount) {
    cleanMatrixData();
    if (rowCount < 1 || columnCount < 1 || rowCount > std::numeric_limits<std::int64_t>::max() / columnCount)
        return false;
    m_values.reset(icawave::newArray<double>(rowCount * columnCount));
    if (m_values) m_rows.reset(icawave::newArray<double*>(rowCount));
    if (!m_rows) {
        cleanMatrixData();
        return false;
    }
    m_rowCount = rowCount;
    m_columnCount = columnCount;
    for (std::int64_t r = 0; r < rowCount; ++r) m_rows[r] = m_values.get() + r * columnCount;
    return true;
}
