// SPDX-License-Identifier: BSD-3-Clause
// The pieces that every record is made of. One list of fields serves both directions: the archive's mode
// decides.
#pragma once

#include <icawave/platform/Archive.h>

#include "platform/Alloc.h"

#include <algorithm>
#include <cstdint>

namespace icawave {

// Stores the fields, or loads them in the same order, each assigned as soon as it is read.
template <class... Fields>
void exchange(CArchive& archive, Fields&... fields) {
    if (archive.IsStoring())
        (archive << ... << fields);
    else
        (archive >> ... >> fields);
}

// The frame of a record: a keyword and a version before the body. Storing writes `version` and returns it.
// Loading returns the version found, or nothing after `unknownKeyword` was shown; the caller knows which
// versions there are.
inline std::optional<std::int32_t> exchangeFrame(CArchive& archive, const CString& keyword,
                                                 std::int32_t version, const char* unknownKeyword) {
    CString found = keyword;
    exchange(archive, found);
    if (found != keyword) {
        archive.reject(unknownKeyword);
        return std::nullopt;
    }
    exchange(archive, version);
    return version;
}

// The end of a record that stored its body: the result, with the archive flushed when that is success.
inline std::int32_t finishRecord(CArchive& archive, std::int32_t result) {
    if (archive.IsStoring() && result != 0) archive.Flush();
    return result;
}

// As archive.grants. What is refused is told for what it is, since the messages speak of memory.
inline bool isGranted(CArchive& archive, std::int64_t count, std::int64_t elementBytes,
                      std::int64_t storedBytes) {
    const bool granted = archive.grants(count, elementBytes, storedBytes);
    if (!granted) archive.noteFault("the file ends early, or a count in it is wrong");
    return granted;
}

// The fault of a count that is granted while the system has no memory for it: nothing is wrong with the file.
inline constexpr const char* notEnoughMemory = "Not enough memory!";

// A buffer of values and its presence flag. Its count stands elsewhere in the record.
//
// Loading expects `values` to be released already; a flag other than 0 and a count of at least 1 say that the
// block follows. Values that a short block did not bring are 0.0. Returns false when there was no memory
// (shown; `size` is then 0) or the block was too short to accept: any missing byte, or with `partIsEnough`
// the lack of all; `shortBlock` is shown.
inline bool loadBlock(CArchive& archive, std::int64_t& size, double*& values, bool partIsEnough,
                      const char* shortBlock) {
    std::int32_t flag = 0;
    archive >> flag;
    if (flag == 0 || size < 1) return true;
    values = isGranted(archive, size, sizeof(double), sizeof(double)) ? newArray<double>(size) : nullptr;
    if (!values) {
        size = 0;
        return archive.reject(notEnoughMemory) != 0;
    }
    const std::int64_t wanted = size * sizeof(double);
    const std::int64_t got = archive.Read(values, wanted);
    if (got == wanted) return true;
    std::fill(values + got / static_cast<std::int64_t>(sizeof(double)), values + size, 0.0);
    archive.noteFault("the file ends early"); // for whoever asks: a part may be no failure
    return (partIsEnough && got > 0) || archive.reject(shortBlock) != 0;
}

inline void storeBlock(CArchive& archive, std::int64_t size, const double* values, bool present) {
    archive << std::int32_t{present};
    if (!present) return;
    archive.Write(values, size * sizeof(double));
}

// A block's length in bytes must fit 32 bits for every reader of the format.
inline constexpr std::int64_t storableValues = (std::int64_t{1} << 29) - 1;

// Raised before the first byte of the outermost record, so that a record which cannot be finished is not
// begun.
inline void requireStorable(CArchive& archive, bool storable) {
    if (storable) return;
    archive.noteFault("a buffer holds 2^29 values or more");
    AfxThrowArchiveException(CArchiveException::generic,
                             archive.GetFile() ? archive.GetFile()->GetFilePath() : CString());
}

} // namespace icawave
