// SPDX-License-Identifier: BSD-3-Clause
// The exceptions that leave the library. They are thrown by value and caught by reference; what() is a line
// of English.
#pragma once

#include <icawave/platform/String.h>

#include <cstdint>
#include <exception>

class ICAWAVE_EXPORT CException : public std::exception {
public:
    const char* what() const noexcept override;
};

// An archive could not go on: a value is missing at the end of the file, or was stored or loaded in the wrong
// mode.
class ICAWAVE_EXPORT CArchiveException : public CException {
public:
    enum Cause : std::int32_t { none = 0, generic = 1, readOnly = 2, endOfFile = 3, writeOnly = 4 };

    CArchiveException(std::int32_t cause, CString fileName) : m_cause(cause), m_strFileName(fileName) {}
    const char* what() const noexcept override;

    std::int32_t m_cause;
    CString m_strFileName; // empty when the archive's file has no name
};

// The system refused an operation on a file.
class ICAWAVE_EXPORT CFileException : public CException {
public:
    enum Cause : std::int32_t {
        none = 0,
        generic = 1,
        fileNotFound = 2,
        accessDenied = 5,
        hardIO = 11,
        diskFull = 13
    };

    CFileException(std::int32_t cause, CString fileName) : m_cause(cause), m_strFileName(fileName) {}
    const char* what() const noexcept override;

    std::int32_t m_cause;
    CString m_strFileName;
};

// Memory ran out where no result code can say so. std::bad_alloc never leaves the library.
class ICAWAVE_EXPORT CMemoryException : public CException {
public:
    const char* what() const noexcept override;
};

// A platform error with its result code; 0x80070216 (arithmetic overflow) for texts of impossible length.
class ICAWAVE_EXPORT COleException : public CException {
public:
    explicit COleException(std::uint32_t sc) : m_sc(sc) {}
    const char* what() const noexcept override;

    std::uint32_t m_sc;
};

// An index lies outside an array.
class ICAWAVE_EXPORT CInvalidArgException : public CException {
public:
    const char* what() const noexcept override;
};

[[noreturn]] ICAWAVE_EXPORT void AfxThrowArchiveException(std::int32_t cause, CString fileName = {});
[[noreturn]] ICAWAVE_EXPORT void AfxThrowFileException(std::int32_t cause, CString fileName = {});
[[noreturn]] ICAWAVE_EXPORT void AfxThrowMemoryException();
[[noreturn]] ICAWAVE_EXPORT void AfxThrowOleException(std::uint32_t sc);
[[noreturn]] ICAWAVE_EXPORT void AfxThrowInvalidArgException();
