// SPDX-License-Identifier: BSD-3-Clause
// What reading and writing package files have in common.
#pragma once

#include <icawave/DataSetOwner.h>
#include <icawave/PackageFile.h>

#include "persist/archive/RecordFacts.h"
#include "persist/records/PackageFields.h"
#include "platform/FileTarget.h"
#include "system/System.h"

#include <algorithm>
#include <array>
#include <utility>

namespace icawave {

// Of a copy or a checksum, and the buffer of an archive on a file.
inline constexpr std::int64_t pieceBytes = 256 * 1024;
// What stands before a data set record in a package: 0 in an empty slot.
inline constexpr std::int64_t slotFlagBytes = 4;

system::Handle openForReading(const std::filesystem::path& path);

// A file that is read at any place. What the system refuses is FileError.
class InputFile {
public:
    // `path` is for texts; `whenRead` is told the bytes read so far after each piece.
    InputFile(const std::filesystem::path& path, system::Handle file,
              std::function<void(std::int64_t)> whenRead);

    const std::filesystem::path& path() const { return m_path; }
    std::int64_t size() const { return m_state.size; }
    const FileState& state() const { return m_state; }
    void refreshState() noexcept; // once the file stands in its place

    // The bytes read: fewer than count only at the end of the file.
    std::int64_t readAt(std::int64_t offset, void* bytes, std::int64_t count) const;
    // Passes the bytes from begin to end, which must be there, on in pieces.
    template <class Take>
    void forEachPiece(std::int64_t begin, std::int64_t end, Take&& take) const;
    std::uint32_t checksum(std::int64_t begin, std::int64_t end, std::uint32_t before = 0) const;

private:
    std::filesystem::path m_path;
    system::Handle m_file;
    FileState m_state;
    std::function<void(std::int64_t)> m_whenRead;
    mutable std::int64_t m_bytesRead = 0;
};

// The bytes from one offset of a file to another, as a file for a loading archive.
class FilePart : public CFile {
public:
    FilePart(const InputFile& file, std::int64_t from, std::int64_t to)
        : m_file(file), m_from(from), m_to(std::max(from, to)), m_next(from) {}

    std::int64_t from() const { return m_from; }
    std::uint32_t checksum() const { return m_checksum; } // of the bytes read
    void readRest();

    std::int64_t Read(void* buffer, std::int64_t count) override;
    std::int64_t GetPosition() const override { return m_next - m_from; }
    std::int64_t GetLength() const override { return m_to - m_from; }

private:
    const InputFile& m_file;
    std::int64_t m_from;
    std::int64_t m_to;
    std::int64_t m_next;
    std::uint32_t m_checksum = 0;
};

// Passes what is written to another file on, counting and checking it.
class ChecksumFile : public CFile {
public:
    explicit ChecksumFile(CFile& target) : m_target(target) {}

    // The checksum since the last call; what follows goes on from `next`.
    std::uint32_t takeChecksum(std::uint32_t next) { return std::exchange(m_checksum, next); }

    void Write(const void* buffer, std::int64_t count) override;
    void Flush() override {}
    std::int64_t GetPosition() const override { return m_position; }

private:
    CFile& m_target;
    std::int64_t m_position = 0;
    std::uint32_t m_checksum = 0;
};

template <std::derived_from<PackageInfo> Info>
auto ownFields(Info& info) {
    return std::tie(info.current, info.type, info.name, info.info, info.shown);
}

inline std::string dataSetRecord(std::int64_t number) {
    return std::string(PackageRecord::keyword) + ", " + DataSetRecord::keyword + " " + std::to_string(number);
}
DataSetOwner requireDataSet();                   // CMemoryException instead of null
std::string describe(const ArchiveFault& fault); // "RECORD at byte N: text"

// Loads a data set from the beginning of a part of a file, as number `number` of its package. `length`
// becomes the bytes that it took; returns what is wrong. Memory that runs out is CMemoryException.
std::optional<ArchiveFault> loadDataSet(FilePart& part, std::int64_t number, CTrialIcaDatazq& dataSet,
                                        std::int64_t& length);

std::string encodedText(const char* keyword); // the bytes of a text, as an archive stores it

template <class Take>
void InputFile::forEachPiece(std::int64_t begin, std::int64_t end, Take&& take) const {
    const std::unique_ptr<std::byte[]> buffer(
        new std::byte[static_cast<std::size_t>(std::min(pieceBytes, end - begin))]);
    while (begin < end) {
        const std::int64_t count = readAt(begin, buffer.get(), std::min(pieceBytes, end - begin));
        if (count == 0) throw FileError(m_path, "ends early");
        take(buffer.get(), count);
        begin += count;
    }
}

} // namespace icawave
