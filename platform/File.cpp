// SPDX-License-Identifier: BSD-3-Clause
#include <icawave/platform/File.h>

#include "platform/Alloc.h"
#include "platform/Closing.h"
#include "platform/PathBytes.h"

#include "system/System.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

// Small pieces are gathered to blocks of this size; measured, larger ones gain nothing.
constexpr std::int64_t bufferSize = 256 * 1024;

// A new file's space is reserved ahead in steps of this size; closing the file releases what it did not use.
// A package is stored with 0.85 of the throughput of plain writes instead of 0.62 (64 channels x 2,000
// samples).
constexpr std::int64_t reservedStep = 8 << 20;

std::int32_t causeOf(int systemError) {
    switch (systemError) {
    case ENOENT:
        return CFileException::fileNotFound;
    case EACCES:
    case EPERM:
    case EROFS:
    case EBADF:
        return CFileException::accessDenied;
    case EIO:
        return CFileException::hardIO;
    case ENOSPC:
    case EDQUOT:
        return CFileException::diskFull;
    default:
        return CFileException::generic;
    }
}

} // namespace

CFile::CFile() noexcept : m_unwinding(std::uncaught_exceptions()) {}

CFile::~CFile() {
    if (m_descriptor < 0) return;
    icawave::closeInDestructor(m_unwinding, [this] { CFile::Close(); });
    if (m_descriptor >= 0) icawave::system::close(m_descriptor);
}

bool CFile::Open(CString path, std::uint32_t flags) {
    Close();
    return icawave::withMemoryException([&] {
        const std::optional<std::string> bytes = icawave::pathBytes(path);
        return bytes && OpenPath(*bytes, flags);
    });
}

bool CFile::OpenPath(const std::filesystem::path& path, std::uint32_t flags) {
    Close();
    using icawave::system::Open;
    m_writing = (flags & modeWrite) != 0;
    const Open how = !m_writing ? Open::readAtOnce : flags & modeCreate ? Open::replace : Open::write;
    if (path.native().find('\0') != std::string::npos) return false; // the system would see another name
    const CString shown = path.native();
    int descriptor = -1;
    if (icawave::system::open(path.c_str(), how, descriptor) != 0) return false;
    icawave::system::Status status;
    const bool known = icawave::system::statusOf(descriptor, status) == 0;
    if (!known || status.isFolder || (!m_writing && !status.isRegular)) {
        icawave::system::close(descriptor);
        return false;
    }
    start(descriptor, shown, (flags & modeCreate) != 0);
    return true;
}

int CFile::adopt(int descriptor, const std::filesystem::path& path) {
    Close();
    const CString shown = path.native();
    int copy = -1;
    if (const int error = icawave::system::duplicate(descriptor, copy)) return error;
    m_writing = true;
    start(copy, shown, true);
    return 0;
}

void CFile::start(int descriptor, const CString& path, bool isNew) noexcept {
    m_descriptor = descriptor;
    m_path = path;
    m_position = m_next = m_filled = 0;
    m_reserved = isNew ? 0 : -1;
}

std::int64_t CFile::Read(void* buffer, std::int64_t count) {
    if (m_writing) raise(EBADF);
    auto* to = static_cast<std::byte*>(buffer);
    std::int64_t done = 0;
    while (done < count) {
        if (m_next < m_filled) {
            const std::int64_t piece = std::min(count - done, m_filled - m_next);
            std::memcpy(to + done, m_buffer.get() + m_next, piece);
            m_next += piece;
            done += piece;
        } else if (count - done >= bufferSize) {
            const std::int64_t piece = readSome(to + done, count - done);
            if (piece == 0) break;
            done += piece;
        } else {
            allocateBuffer();
            m_next = m_filled = 0;
            m_filled = readSome(m_buffer.get(), bufferSize);
            if (m_filled == 0) break;
        }
    }
    return done;
}

void CFile::Write(const void* buffer, std::int64_t count) {
    if (!m_writing) raise(EBADF);
    if (count <= 0) return;
    const auto* from = static_cast<const std::byte*>(buffer);
    if (m_next + count > bufferSize) CFile::Flush();
    if (count >= bufferSize) {
        writeAll(from, count);
        return;
    }
    allocateBuffer();
    std::memcpy(m_buffer.get() + m_next, from, count);
    m_next += count;
}

void CFile::Flush() {
    if (!m_writing || m_next == 0) return;
    const std::int64_t gathered = std::exchange(m_next, 0); // what the system refused once is not tried again
    writeAll(m_buffer.get(), gathered);
}

std::int64_t CFile::Seek(std::int64_t offset, std::uint32_t from) {
    CFile::Flush();
    if (from == current) offset += CFile::GetPosition(); // of the reader, not of the bytes read ahead
    releaseReserved();
    using icawave::system::From;
    const auto base = from == end ? From::end : From::begin;
    if (const int error = icawave::system::seek(m_descriptor, offset, base, m_position)) raise(error);
    m_next = m_filled = 0;
    return m_position;
}

std::int64_t CFile::GetPosition() const {
    return m_writing ? m_position + m_next : m_position - (m_filled - m_next);
}

std::int64_t CFile::GetLength() const {
    icawave::system::Status status;
    if (const int error = icawave::system::statusOf(m_descriptor, status)) raise(error);
    return std::max<std::int64_t>(status.size, m_writing ? m_position + m_next : 0);
}

void CFile::Close() {
    if (m_descriptor < 0) return;
    const auto release = [this] {
        releaseReserved();
        return icawave::system::close(std::exchange(m_descriptor, -1));
    };
    try {
        CFile::Flush();
    } catch (...) {
        release();
        throw;
    }
    if (const int error = release()) raise(error);
}

void CFile::raise(int systemError) const {
    AfxThrowFileException(causeOf(systemError), m_path);
}

std::int64_t CFile::readSome(void* buffer, std::int64_t count) {
    const auto [got, error] = icawave::system::read(m_descriptor, buffer, count);
    if (error != 0) raise(error);
    m_position += got;
    return got;
}

void CFile::writeAll(const std::byte* bytes, std::int64_t count) {
    if (m_reserved >= 0 && m_position >= bufferSize && m_position + count > m_reserved) {
        const std::int64_t step = std::max(count, reservedStep);
        m_reserved = icawave::system::reserve(m_descriptor, m_position, step) == 0 ? m_position + step : -1;
    }
    while (count > 0) {
        const auto [put, error] = icawave::system::write(m_descriptor, bytes, count);
        if (error != 0) raise(error);
        m_position += put;
        bytes += put;
        count -= put;
    }
}

// Gives back what is reserved, for good: after a seek nothing says where the file will end.
void CFile::releaseReserved() noexcept {
    if (std::exchange(m_reserved, -1) > 0) icawave::system::releaseReserved(m_descriptor);
}

void CFile::allocateBuffer() {
    if (m_buffer) return;
    m_buffer.reset(icawave::newArray<std::byte>(bufferSize));
    if (!m_buffer) AfxThrowMemoryException();
}

std::int64_t CMemFile::Read(void* buffer, std::int64_t count) {
    const std::int64_t piece =
        std::clamp<std::int64_t>(GetLength() - m_offset, 0, std::max<std::int64_t>(count, 0));
    if (piece > 0) std::memcpy(buffer, bytes().data() + m_offset, piece);
    m_offset += piece;
    return piece;
}

void CMemFile::Write(const void* buffer, std::int64_t count) {
    if (m_readOnly) AfxThrowFileException(CFileException::accessDenied);
    if (count <= 0) return;
    const auto* first = static_cast<const std::byte*>(buffer);
    const bool own = icawave::pointsInto<std::byte>(first, m_bytes.data(), std::ssize(m_bytes));
    const std::ptrdiff_t place = own ? first - m_bytes.data() : 0; // the bytes move when the file grows
    icawave::withMemoryException([&] {
        const std::size_t size = m_offset + count;
        if (size > m_bytes.size()) m_bytes.resize(size);
    });
    if (own) first = m_bytes.data() + place;
    std::memmove(m_bytes.data() + m_offset, first, count);
    m_offset += count;
}

std::int64_t CMemFile::Seek(std::int64_t offset, std::uint32_t from) {
    const std::int64_t base = from == current ? m_offset : from == end ? GetLength() : 0;
    if (base + offset < 0) AfxThrowFileException(CFileException::generic);
    return m_offset = base + offset;
}
