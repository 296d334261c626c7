// SPDX-License-Identifier: BSD-3-Clause
#include <icawave/platform/Exception.h>

const char* CException::what() const noexcept {
    return "unknown error";
}

const char* CArchiveException::what() const noexcept {
    switch (m_cause) {
    case readOnly:
        return "a value was stored into an archive that is loading";
    case endOfFile:
        return "unexpected end of file";
    case writeOnly:
        return "a value was loaded from an archive that is storing";
    default:
        return "archive error";
    }
}

const char* CFileException::what() const noexcept {
    switch (m_cause) {
    case fileNotFound:
        return "no such file";
    case accessDenied:
        return "access denied";
    case hardIO:
        return "input/output error";
    case diskFull:
        return "no space left on the disk";
    default:
        return "file error";
    }
}

const char* CMemoryException::what() const noexcept {
    return "out of memory";
}

const char* COleException::what() const noexcept {
    return "a text's length is too large";
}

const char* CInvalidArgException::what() const noexcept {
    return "an index lies outside its array";
}

void AfxThrowArchiveException(std::int32_t cause, CString fileName) {
    throw CArchiveException(cause, fileName);
}

void AfxThrowFileException(std::int32_t cause, CString fileName) {
    throw CFileException(cause, fileName);
}

void AfxThrowMemoryException() {
    throw CMemoryException();
}

void AfxThrowOleException(std::uint32_t sc) {
    throw COleException(sc);
}

void AfxThrowInvalidArgException() {
    throw CInvalidArgException();
}
