// SPDX-License-Identifier: BSD-3-Clause
// The binary stream that every record is stored into and loaded from.
//
// Values follow one another without header, padding or checksum, little-endian: 4 bytes for 32-bit integers,
// 8 for 64-bit integers and doubles (bit images), one byte for a byte or a truth value (any byte but 0 is
// true), and texts as FF FE FF, a length prefix and UTF-16 code units. docs/FORMAT.md has the whole encoding.
//
//     CArchive archive(&file, CArchive::store);
//     archive << std::int32_t{20161108} << package.m_pkgName;
//     archive.Close();
#pragma once

#include <icawave/platform/Exception.h>
#include <icawave/platform/File.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string>

namespace icawave {

// Where the first fault of an archive was found.
struct ArchiveFault {
    std::int64_t offset; // of the value at fault, in bytes from where the archive began
    std::string record;  // from the outermost record inwards, such as "FACEICA, TRIALICADATA 2, WAVEICADATA
                         // 0"; empty outside of any
    std::string text;    // what is wrong
};

} // namespace icawave

// Stream errors are raised: CArchiveException with endOfFile when the bytes of a value are missing, readOnly
// or writeOnly when a value goes against the mode, CMemoryException, and whatever the file raises. The file
// stays the caller's and must outlive the archive.
class ICAWAVE_EXPORT CArchive {
public:
    enum Mode : std::uint32_t { store = 0, load = 1 };

    CArchive(CFile* file, std::uint32_t mode, std::int32_t bufferSize = 4096); // bytes; small values mean 16
    ~CArchive(); // as Close, but reports a failure as a message, and discards while an exception unwinds
    CArchive(const CArchive&) = delete;
    CArchive& operator=(const CArchive&) = delete;

    bool IsStoring() const noexcept { return !m_loading; }
    bool IsLoading() const noexcept { return m_loading; }
    CFile* GetFile() const noexcept { return m_file; } // null once closed or aborted

    CArchive& operator<<(std::int32_t value) { return storeValue(value); }
    CArchive& operator<<(std::uint32_t value) { return storeValue(value); }
    CArchive& operator<<(std::int64_t value) { return storeValue(value); }
    CArchive& operator<<(double value) { return storeValue(value); }
    CArchive& operator<<(std::uint8_t value) { return storeValue(value); }
    CArchive& operator<<(bool value) { return storeValue(static_cast<std::uint8_t>(value)); }
    CArchive& operator<<(const CString& text);

    CArchive& operator>>(std::int32_t& value) { return loadValue(value); }
    CArchive& operator>>(std::uint32_t& value) { return loadValue(value); }
    CArchive& operator>>(std::int64_t& value) { return loadValue(value); }
    CArchive& operator>>(double& value) { return loadValue(value); }
    CArchive& operator>>(std::uint8_t& value) { return loadValue(value); }
    CArchive& operator>>(bool& value);
    CArchive& operator>>(CString& text); // the text keeps its value when an exception is raised

    // The bytes read: fewer than count only at the end of the file.
    std::int64_t Read(void* buffer, std::int64_t count);
    void Write(const void* buffer, std::int64_t count);

    // Storing: hands the buffered bytes to the file. Inside a nested record the file goes on gathering them;
    // elsewhere the file's own buffer is emptied too, so that a full disk shows here. Loading: nothing.
    void Flush();
    // Loading: makes `count` more bytes than are buffered now available in the buffer, or raises endOfFile.
    void FillBuffer(std::int64_t count);
    void Close();          // flushes and leaves the file
    void Abort() noexcept; // leaves the file without writing what is buffered

    // For the records. One Record lives on the stack of every record operation, so that the archive knows
    // where it is.
    class ICAWAVE_EXPORT Record {
    public:
        Record(CArchive& archive, const char* keyword) noexcept : m_archive(archive) {
            m_archive.enter(keyword);
        }
        ~Record() { --m_archive.m_depth; }
        Record(const Record&) = delete;
        Record& operator=(const Record&) = delete;

        bool isOutermost() const noexcept { return m_archive.m_depth == 1; }

    private:
        CArchive& m_archive;
    };

    // Shows the message of a value just loaded that cannot be right, notes the fault, and returns the
    // record's result, 0.
    std::int32_t reject(const char* message);

    // Whether memory for `count` elements of `elementBytes` each may be allocated when the file holds each in
    // at least `storedBytes`. What the bytes that remain can fill is granted; what is asked beyond that is
    // drawn from one allowance of 64 MiB an archive. So a truncated file keeps what was read, and no count in
    // a file costs memory that the file's size does not justify.
    bool grants(std::int64_t count, std::int64_t elementBytes, std::int64_t storedBytes);
    std::int64_t remainingBytes(); // from here to the end of the file

    std::int64_t offset() const noexcept { return m_offset; } // bytes loaded or stored so far
    const std::optional<icawave::ArchiveFault>& firstFault() const noexcept { return m_fault; }
    void noteFault(const char* text) noexcept; // the first call is kept

private:
    friend void AfxWriteStringLength(CArchive&, std::int64_t, bool);
    friend std::int64_t AfxReadStringLength(CArchive&, bool&);

    template <class T>
    CArchive& storeValue(T value) {
        requireMode(false);
        storeBytes(&value, sizeof value);
        return *this;
    }
    template <class T>
    CArchive& loadValue(T& value) {
        requireMode(true);
        m_valueOffset = m_offset;
        loadBytes(&value, sizeof value);
        return *this;
    }

    void requireMode(bool loading) {
        if (m_loading != loading || !m_file) refuse(loading);
    }
    void storeBytes(const void* bytes, std::int32_t count) {
        if (m_capacity - m_next < count) handOver();
        std::memcpy(m_buffer.get() + m_next, bytes, static_cast<std::size_t>(count));
        m_next += count;
        m_offset += count;
    }
    void loadBytes(void* bytes, std::int32_t count) {
        if (m_filled - m_next < count) FillBuffer(count - (m_filled - m_next));
        std::memcpy(bytes, m_buffer.get() + m_next, static_cast<std::size_t>(count));
        m_next += count;
        m_offset += count;
    }
    [[noreturn]] void refuse(bool loading);
    std::int64_t readBytes(void* buffer, std::int64_t count);
    std::u16string loadText(std::int64_t length, bool wide);
    void handOver(); // the buffered bytes to the file
    void enter(const char* keyword) noexcept;
    [[noreturn]] void raise(std::int32_t cause, const CString& fileName);

    struct Level {
        const char* keyword;
        std::int64_t ordinal;    // among the records of this keyword that follow one another in the parent
        const char* lastKeyword; // of the children entered so far
        std::int64_t nextOrdinal;
    };

    CFile* m_file;
    bool m_loading;
    int m_unwinding;
    std::int32_t m_capacity;
    std::unique_ptr<std::byte[]> m_buffer;
    std::int32_t m_next = 0;   // storing: bytes gathered; loading: the first byte not yet taken
    std::int32_t m_filled = 0; // loading: the end of the bytes in the buffer
    std::int64_t m_offset = 0;
    std::int64_t m_valueOffset = 0; // where the value loaded last began
    std::int64_t m_fileLength = -1; // -1: not asked yet
    std::int64_t m_allowance;
    std::array<Level, 8> m_levels{}; // [0] is the stream itself; records nest five deep
    std::int32_t m_depth = 0;
    std::optional<icawave::ArchiveFault> m_fault;
};

// The length prefix of a text: `length` code units when wide, bytes when narrow. Loading takes the low 32
// bits of the length.
ICAWAVE_EXPORT void AfxWriteStringLength(CArchive& archive, std::int64_t length, bool wide);
ICAWAVE_EXPORT std::int64_t AfxReadStringLength(CArchive& archive, bool& wide);
