// SPDX-License-Identifier: BSD-3-Clause
// MMATRIX2D = text "MMATRIX2D", i32 20261122, i64 rows, i64 columns,
//             rows x columns doubles (row-major; only when both are at least 1)
#include <icawave/MMatrix.h>

#include "persist/archive/Exchange.h"
#include "persist/archive/RecordFacts.h"

using Facts = icawave::MatrixRecord;

std::int32_t CMMatrix2D09File::serialize(CArchive& archive) {
    const CArchive::Record record(archive, Facts::keyword);
    if (archive.IsLoading()) cleanMatrixData();
    const auto version =
        icawave::exchangeFrame(archive, Facts::keyword, Facts::version20261122, "Unknown MMatrix2D file!");
    if (!version) return 0;
    if (*version != Facts::version20261122) return archive.reject("MMatrix2D format error!");
    return icawave::finishRecord(archive, serialize20261122(archive));
}

std::int32_t CMMatrix2D09File::serialize20261122(CArchive& archive) {
    std::int64_t rows = getRow();
    std::int64_t columns = getCol();
    icawave::exchange(archive, rows, columns);
    if (rows < 1 || columns < 1) return 1;
    const std::int64_t valueBytes = sizeof(double);
    if (archive.IsStoring()) {
        archive.Write(getDataPP()[0], rows * columns * valueBytes);
        return 1;
    }
    const std::int64_t values = archive.remainingBytes() / valueBytes;
    if (rows > values / columns) { // rows x columns > values, without the product
        archive.noteFault("unexpected end of file");
        AfxThrowArchiveException(CArchiveException::endOfFile, archive.GetFile()->GetFilePath());
    }
    if (!allocate(rows, columns)) AfxThrowMemoryException();
    if (archive.Read(getDataPP()[0], rows * columns * valueBytes) < rows * columns * valueBytes) {
        cleanMatrixData(); // the file became shorter meanwhile
        AfxThrowArchiveException(CArchiveException::endOfFile, archive.GetFile()->GetFilePath());
    }
    return 1;
}
