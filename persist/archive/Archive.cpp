// SPDX-License-Identifier: BSD-3-Clause
// text      = FF, FFFE, length, code units        (wide; always written)
//           | length, bytes                       (narrow, Latin-1; only read)
// length    = u8                                  below FF
//           | FF, u16                             below FFFE (narrow: below FFFF)
//           | FF, FFFF, u32                       below FFFFFFFF
//           | FF, FFFF, FFFFFFFF, u64
#include <icawave/platform/Archive.h>

#include "platform/Alloc.h"
#include "platform/Closing.h"

#include <algorithm>
#include <bit>
#include <cstring>

static_assert(std::endian::native == std::endian::little, "values are stored as they lie in memory");

namespace {

#ifdef FUZZING_BUILD_MODE_UNSAFE_FOR_PRODUCTION
constexpr std::int64_t allowance = std::int64_t{1}
                                   << 20; // so that many more inputs are tried in the same time
#else
constexpr std::int64_t allowance = std::int64_t{64} << 20;
#endif
constexpr std::uint32_t arithmeticOverflow = 0x80070216;
constexpr std::int64_t textPiece = 32768; // code units of a text read at once

} // namespace

CArchive::CArchive(CFile* file, std::uint32_t mode, std::int32_t bufferSize)
    : m_file(file), m_loading(mode == load), m_unwinding(std::uncaught_exceptions()),
      m_capacity(std::max(bufferSize, 16)), m_buffer(icawave::newArray<std::byte>(m_capacity)),
      m_allowance(allowance) {
    if (!m_buffer) AfxThrowMemoryException();
}

CArchive::~CArchive() {
    icawave::closeInDestructor(m_unwinding, [this] { Close(); });
}

CArchive& CArchive::operator<<(const CString& text) {
    const std::u16string_view units = text.view();
    AfxWriteStringLength(*this, text.GetLength(), true);
    Write(units.data(), 2 * text.GetLength());
    return *this;
}

CArchive& CArchive::operator>>(bool& value) {
    std::uint8_t byte = 0;
    *this >> byte;
    value = byte != 0;
    return *this;
}

CArchive& CArchive::operator>>(CString& text) {
    const std::int64_t start = m_offset;
    bool wide = false;
    const std::int64_t length = AfxReadStringLength(*this, wide);
    m_valueOffset = start;
    // Most texts are keywords and default names, which the target holds already: no memory for those.
    const std::u16string_view held = text.view();
    if (wide && length == std::ssize(held) && 2 * length <= m_filled - m_next &&
        std::memcmp(m_buffer.get() + m_next, held.data(), 2 * held.size()) == 0) {
        m_next += static_cast<std::int32_t>(2 * length);
        m_offset += 2 * length;
        return *this;
    }
    if (wide && 2 * length > 0xFFFFFFFF) {
        noteFault("a text's length is too large");
        AfxThrowOleException(arithmeticOverflow);
    }
    text = CString(icawave::withMemoryException([&] { return loadText(length, wide); }));
    return *this;
}

std::int64_t CArchive::Read(void* buffer, std::int64_t count) {
    requireMode(true);
    m_valueOffset = m_offset;
    return readBytes(buffer, count);
}

void CArchive::Write(const void* buffer, std::int64_t count) {
    requireMode(false);
    if (count <= 0) return;
    if (count <= m_capacity / 4) { // larger pieces are not copied twice
        storeBytes(buffer, static_cast<std::int32_t>(count));
        return;
    }
    handOver();
    m_file->Write(buffer, count);
    m_offset += count;
}

void CArchive::Flush() {
    if (m_loading || !m_file) return;
    handOver();
    if (m_depth <= 1) m_file->Flush();
}

void CArchive::FillBuffer(std::int64_t count) {
    requireMode(true);
    const std::int32_t kept = m_filled - m_next;
    std::memmove(m_buffer.get(), m_buffer.get() + m_next, kept);
    m_next = 0;
    m_filled = kept;
    while (m_filled - kept < count) {
        const std::int64_t got =
            m_filled < m_capacity ? m_file->Read(m_buffer.get() + m_filled, m_capacity - m_filled) : 0;
        if (got <= 0) raise(CArchiveException::endOfFile, m_file->GetFilePath());
        m_filled += static_cast<std::int32_t>(got);
    }
}

void CArchive::Close() {
    if (!m_file) return;
    Flush();
    m_file = nullptr;
}

void CArchive::Abort() noexcept {
    m_next = m_filled = 0;
    m_file = nullptr;
}

std::int32_t CArchive::reject(const char* message) {
    noteFault(message);
    AfxMessageBox(message);
    return 0;
}

bool CArchive::grants(std::int64_t count, std::int64_t elementBytes, std::int64_t storedBytes) {
    if (count < 0) return false;
    const std::int64_t beyond = std::max<std::int64_t>(count - remainingBytes() / storedBytes, 0);
    if (beyond > m_allowance / elementBytes) return false;
    m_allowance -= beyond * elementBytes;
    return true;
}

std::int64_t CArchive::remainingBytes() {
    if (!m_file) return 0;
    if (m_fileLength < 0) m_fileLength = m_file->GetLength();
    return std::max<std::int64_t>(m_fileLength - m_file->GetPosition(), 0) + (m_filled - m_next);
}

void CArchive::noteFault(const char* text) noexcept {
    if (m_fault) return;
    try {
        std::string record;
        for (std::int32_t depth = 1; depth < std::ssize(m_levels) && depth <= m_depth; ++depth) {
            const Level& level = m_levels[depth];
            if (depth > 1) record += ", ";
            record += level.keyword;
            if (depth > 1) record.append(1, ' ').append(std::to_string(level.ordinal));
        }
        m_fault = {m_loading ? m_valueOffset : m_offset, std::move(record), text};
    } catch (const std::bad_alloc&) { // the fault itself is reported all the same
    }
}

void CArchive::refuse(bool loading) {
    if (!m_file) raise(CArchiveException::generic, {});
    raise(loading ? CArchiveException::writeOnly : CArchiveException::readOnly, m_file->GetFilePath());
}

std::int64_t CArchive::readBytes(void* buffer, std::int64_t count) {
    if (count <= 0) return 0;
    auto* to = static_cast<std::byte*>(buffer);
    const std::int64_t buffered = std::min<std::int64_t>(count, m_filled - m_next);
    std::memcpy(to, m_buffer.get() + m_next, buffered);
    m_next += static_cast<std::int32_t>(buffered);
    std::int64_t done = buffered;
    while (done < count) {
        const std::int64_t got = m_file->Read(to + done, count - done);
        if (got <= 0) break;
        done += got;
    }
    m_offset += done;
    return done;
}

// Piece by piece, so that a length costs no memory before its bytes have arrived.
std::u16string CArchive::loadText(std::int64_t length, bool wide) {
    const std::int64_t unitBytes = wide ? 2 : 1;
    std::u16string text;
    text.reserve(std::min(length, remainingBytes() / unitBytes));
    std::unique_ptr<unsigned char[]> narrow;
    if (!wide) narrow.reset(new unsigned char[std::min(length, textPiece)]);
    for (std::int64_t done = 0; done < length;) {
        const std::int64_t piece = std::min(length - done, textPiece);
        text.resize(done + piece);
        char16_t* units = text.data() + done;
        void* to = wide ? static_cast<void*>(units) : narrow.get();
        if (readBytes(to, piece * unitBytes) < piece * unitBytes) raise(CArchiveException::endOfFile, {});
        if (!wide) std::copy_n(narrow.get(), piece, units);
        done += piece;
    }
    return text;
}

void CArchive::handOver() {
    const std::int32_t gathered = std::exchange(m_next, 0); // what the file refused once is not tried again
    if (gathered > 0) m_file->Write(m_buffer.get(), gathered);
}

void CArchive::enter(const char* keyword) noexcept {
    const std::size_t depth = ++m_depth;
    if (depth >= m_levels.size()) return; // a host's own records around ours; counted, not named
    Level& parent = m_levels[depth - 1];
    if (parent.lastKeyword != keyword) parent.nextOrdinal = 0;
    parent.lastKeyword = keyword;
    m_levels[depth] = {keyword, parent.nextOrdinal++, nullptr, 0};
}

void CArchive::raise(std::int32_t cause, const CString& fileName) {
    const CArchiveException failure(cause, fileName);
    noteFault(failure.what());
    throw failure;
}

void AfxWriteStringLength(CArchive& archive, std::int64_t length, bool wide) {
    const auto put = [&](auto value) { archive.storeValue(value); };
    const auto n = static_cast<std::uint64_t>(length);
    if (wide) {
        put(std::uint8_t{0xFF});
        put(std::uint16_t{0xFFFE});
    }
    if (n < 0xFF) return put(static_cast<std::uint8_t>(n));
    put(std::uint8_t{0xFF});
    if (n < 0xFFFE) return put(static_cast<std::uint16_t>(n));
    put(std::uint16_t{0xFFFF});
    if (n < 0xFFFFFFFF) return put(static_cast<std::uint32_t>(n));
    put(std::uint32_t{0xFFFFFFFF});
    put(n);
}

std::int64_t AfxReadStringLength(CArchive& archive, bool& wide) {
    const auto take = [&]<class T>(T value) {
        archive.loadValue(value);
        return value;
    };
    wide = false;
    const auto byte = take(std::uint8_t{});
    if (byte < 0xFF) return byte;
    auto word = take(std::uint16_t{});
    if (word == 0xFFFE) {
        wide = true;
        const auto wideByte = take(std::uint8_t{});
        if (wideByte < 0xFF) return wideByte;
        word = take(std::uint16_t{});
    }
    if (word < 0xFFFF) return word;
    const auto doubleWord = take(std::uint32_t{});
    if (doubleWord < 0xFFFFFFFF) return doubleWord;
    return static_cast<std::uint32_t>(take(std::uint64_t{}));
}
