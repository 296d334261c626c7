// SPDX-License-Identifier: BSD-3-Clause
// One- and two-dimensional arrays of doubles, as parameter sets keep them and coherence data travel in them.
#pragma once

#include <icawave/Export.h>
#include <icawave/platform/Archive.h>

#include <cstdint>
#include <memory>

// A vector of doubles: one time point's sensor x sensor coherence, flattened. May stand in arrays (new
// CMMatrix1Dzq[n]).
class ICAWAVE_EXPORT CMMatrix1Dzq {
public:
    CMMatrix1Dzq() = default;
    CMMatrix1Dzq(const CMMatrix1Dzq&) = delete;
    CMMatrix1Dzq& operator=(const CMMatrix1Dzq&) = delete;

    // Makes the vector hold n doubles and returns its storage, null when n is negative or memory runs out
    // (the vector is then empty). A buffer of the right size is kept with its values. With `zero` all values
    // become 0.0; else those of a new buffer are not defined.
    double* checkInitData(std::int64_t n, bool zero);
    double* getData() { return m_data.get(); } // null when empty
    std::int64_t getSize() const { return m_size; }

private:
    std::unique_ptr<double[]> m_data;
    std::int64_t m_size = 0;
};

// A rows x columns matrix of doubles, row-major in one block. An empty matrix has 0 rows and 0 columns.
class ICAWAVE_EXPORT CMMatrix2D {
public:
    CMMatrix2D() = default;
    CMMatrix2D(const CMMatrix2D&) = delete;
    CMMatrix2D& operator=(const CMMatrix2D&) = delete;

    std::int32_t cleanMatrixData(); // empties the matrix; always 1
    // Replaces the matrix by a copy of `rowCount` rows of `columnCount` values each, which may be its own. A
    // null row, a count below 1 or missing memory leaves it empty with result 0.
    std::int32_t copyAmxn(const double* const* rows, std::int64_t rowCount, std::int64_t columnCount);
    void swap(CMMatrix2D& other) noexcept;        // exchanges the contents
    double** getDataPP() { return m_rows.get(); } // the row pointers; null when empty
    std::int64_t getRow() const { return m_rowCount; }
    std::int64_t getCol() const { return m_columnCount; }

protected:
    // Values not set; empty and false when memory runs out.
    bool allocate(std::int64_t rowCount, std::int64_t columnCount);

private:
    std::unique_ptr<double[]> m_values;
    std::unique_ptr<double*[]> m_rows;
    std::int64_t m_rowCount = 0;
    std::int64_t m_columnCount = 0;
};

class ICAWAVE_EXPORT CMMatrix2D09File : public CMMatrix2D {
public:
    // The record "MMATRIX2D", stored or loaded as the archive's mode says: 1, or 0 when the keyword ("Unknown
    // MMatrix2D file!") or the version ("MMatrix2D format error!") is not its own. Loading replaces the
    // matrix, which is left empty by every failure; a block that the file cannot fill raises endOfFile.
    std::int32_t serialize(CArchive& archive);

private:
    std::int32_t serialize20261122(CArchive& archive);
};

class ICAWAVE_EXPORT CMMatrix2Dzq : public CMMatrix2D09File {};
