// SPDX-License-Identifier: BSD-3-Clause
// Files on disk and in memory, as an archive reads and writes them. A host may derive its own from either.
//
//     CFile file;
//     if (!file.Open("trials.icpkg", CFile::modeRead)) return;    // missing, not permitted, a directory
//     CArchive archive(&file, CArchive::load);
#pragma once

#include <icawave/platform/String.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <vector>

// A file on disk, opened for reading or for writing, with a buffer of its own so that small pieces cost no
// system call each.
//
// Positions and counts are bytes. Whatever the system refuses raises CFileException with the file's name. The
// destructor closes; bytes that are still in the buffer then are written once and a failure is reported as a
// message, but discarded while an exception unwinds.
class ICAWAVE_EXPORT CFile {
public:
    enum OpenFlags : std::uint32_t {
        modeRead = 0x0000,
        modeWrite = 0x0001,
        modeCreate = 0x1000, // with modeWrite: creates the file, or empties the one that is there
    };
    enum SeekPosition : std::uint32_t { begin = 0, current = 1, end = 2 };

    CFile() noexcept;
    virtual ~CFile();
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;

    // False when the file cannot be opened, for a directory, and for reading what is no regular file: a pipe
    // has neither length nor positions, and would hold its reader. The object is then closed. A file that was
    // open is closed first.
    bool Open(CString path, std::uint32_t flags);
    // The same for a path whose bytes need not be UTF-8.
    bool OpenPath(const std::filesystem::path& path, std::uint32_t flags);
    // As given to Open; empty for a file without one. Bytes that are not UTF-8 are U+FFFD in it.
    CString GetFilePath() const { return m_path; }

    // The bytes read: fewer than count only at the end.
    virtual std::int64_t Read(void* buffer, std::int64_t count);
    virtual void Write(const void* buffer, std::int64_t count);
    virtual void Flush(); // hands the buffered bytes to the system; does not wait for the disk
    virtual std::int64_t Seek(std::int64_t offset, std::uint32_t from); // the new position
    virtual std::int64_t GetPosition() const;
    virtual std::int64_t GetLength() const; // what is still buffered for writing included
    virtual void Close();                   // flushes; the object is closed also when that fails

protected:
    // Writes a new file that the system has open, as if Open had made it at the path. The descriptor stays
    // the caller's. Returns 0 or the system's error.
    int adopt(int descriptor, const std::filesystem::path& path);

private:
    [[noreturn]] void raise(int systemError) const;
    void start(int descriptor, const CString& path, bool isNew) noexcept;
    std::int64_t readSome(void* buffer, std::int64_t count);
    void writeAll(const std::byte* bytes, std::int64_t count);
    void allocateBuffer();
    void releaseReserved() noexcept;

    int m_descriptor = -1;
    bool m_writing = false;
    int m_unwinding; // exceptions in flight when the object was made
    CString m_path;
    // Of the descriptor: behind the bytes read ahead, before those yet to be written.
    std::int64_t m_position = 0;
    std::unique_ptr<std::byte[]> m_buffer;
    std::int64_t m_next = 0;      // reading: the first byte not yet handed out; writing: the bytes gathered
    std::int64_t m_filled = 0;    // reading: the end of the bytes read ahead
    std::int64_t m_reserved = -1; // writing a new file: the end of the space reserved on the disk; -1: none
};

// A file in memory: growable when default-constructed, else a view for reading of bytes that stay the
// caller's.
class ICAWAVE_EXPORT CMemFile : public CFile {
public:
    CMemFile() noexcept = default;
    CMemFile(const void* bytes, std::size_t size) noexcept
        : m_view(static_cast<const std::byte*>(bytes), size), m_readOnly(true) {}

    // The whole contents; invalid after the next write.
    std::span<const std::byte> bytes() const noexcept { return m_readOnly ? m_view : std::span(m_bytes); }

    std::int64_t Read(void* buffer, std::int64_t count) override;
    // The view refuses: CFileException, accessDenied.
    void Write(const void* buffer, std::int64_t count) override;
    void Flush() override {}
    std::int64_t Seek(std::int64_t offset, std::uint32_t from) override;
    std::int64_t GetPosition() const override { return m_offset; }
    std::int64_t GetLength() const override { return static_cast<std::int64_t>(bytes().size()); }
    void Close() override {}

private:
    std::vector<std::byte> m_bytes;
    std::span<const std::byte> m_view;
    bool m_readOnly = false;
    std::int64_t m_offset = 0;
};
