// SPDX-License-Identifier: BSD-3-Clause
// INDEX   = text "ICAWAVEINDEX", i32 20261122, i32 current, i32 type, text name, text info, byte shown,
//           u32 rest, i32 n, n x entry, trailer
// entry   = i64 offset, i64 length, u32 checksum, text name, i64 samples, i64 channels, i64 selected channel,
//           i32 class, i64 select begin, i64 select end, byte shown
// trailer = i64 bytes before it, u32 checksum of all bytes before the checksum, 8 bytes "ICAW\r\n\x1A\xFF"
#include "persist/packagefile/PackageFileParts.h"

#include "persist/archive/Exchange.h"

#include <cstring>

namespace icawave {

namespace {

constexpr const char* indexKeyword = "ICAWAVEINDEX";
constexpr std::int32_t indexVersion = 20261122;
constexpr std::array<unsigned char, 8> endMark = {'I', 'C', 'A', 'W', '\r', '\n', 0x1A, 0xFF};
constexpr std::int64_t checksummedTrailerBytes = 8;
constexpr std::int64_t trailerBytes = checksummedTrailerBytes + 4 + static_cast<std::int64_t>(endMark.size());

// The least that an entry takes: an empty narrow name.
constexpr std::int64_t smallestEntry = 8 + 8 + 4 + 1 + 3 * 8 + 4 + 2 * 8 + 1;

void exchangeEntry(CArchive& archive, PackageEntry& e) {
    exchange(archive, e.offset, e.length, e.checksum, e.name, e.samples, e.channels, e.selectedChannel,
             e.dataSetClass, e.selectBegin, e.selectEnd, e.shown);
}

// False when what is loaded is no index of this version.
bool exchangeIndex(CArchive& archive, PackageIndex& index) {
    CString keyword = indexKeyword;
    std::int32_t version = indexVersion;
    exchange(archive, keyword, version);
    if (keyword != indexKeyword || version != indexVersion) return false;
    std::apply([&](auto&... fields) { exchange(archive, fields...); }, ownFields(index.info));
    auto count = static_cast<std::int32_t>(index.entries.size());
    exchange(archive, index.rest, count);
    if (archive.IsLoading()) {
        if (count < 0 || count > archive.remainingBytes() / smallestEntry) return false;
        index.entries.resize(static_cast<std::size_t>(count));
    }
    for (PackageEntry& entry : index.entries) exchangeEntry(archive, entry);
    return true;
}

// Records follow one another, each behind its slot's flag, inside the package record.
bool isConsistent(const PackageIndex& index, std::int64_t recordEnd) {
    std::int64_t end = 0;
    for (const PackageEntry& entry : index.entries) {
        if (entry.offset < end + slotFlagBytes || entry.offset > recordEnd) return false;
        if (entry.length < 1 || entry.length > recordEnd - entry.offset) return false;
        end = entry.offset + entry.length;
    }
    return true;
}

} // namespace

void storeIndex(ChecksumFile& file, PackageIndex& index) {
    file.takeChecksum(0);
    const std::int64_t begin = file.GetPosition();
    CArchive archive(&file, CArchive::store);
    exchangeIndex(archive, index);
    archive.Flush();
    archive << file.GetPosition() - begin;
    archive.Flush();
    archive << file.takeChecksum(0);
    archive.Write(endMark.data(), endMark.size());
    archive.Close();
}

IndexState loadIndex(const InputFile& file, PackageIndex& index, std::int64_t& recordEnd) {
    std::array<std::byte, trailerBytes> trailer;
    const std::int64_t end = file.size() - trailerBytes;
    if (end < 0 || file.readAt(end, trailer.data(), trailerBytes) < trailerBytes) return IndexState::absent;
    if (std::memcmp(&trailer[trailerBytes - endMark.size()], endMark.data(), endMark.size()) != 0)
        return IndexState::absent;
    std::int64_t length;
    std::uint32_t checksum;
    std::memcpy(&length, trailer.data(), sizeof length);
    std::memcpy(&checksum, &trailer[checksummedTrailerBytes], sizeof checksum);
    if (length < 0 || length > end) return IndexState::damaged;
    const std::int64_t begin = end - length;
    if (file.checksum(begin, end + checksummedTrailerBytes) != checksum) return IndexState::damaged;

    PackageIndex loaded;
    FilePart part(file, begin, end);
    CArchive archive(&part, CArchive::load);
    try {
        if (!exchangeIndex(archive, loaded) || archive.offset() != length || !isConsistent(loaded, begin))
            return IndexState::damaged;
    } catch (const CArchiveException&) {
        return IndexState::damaged;
    } catch (const COleException&) {
        return IndexState::damaged;
    }
    index = std::move(loaded);
    recordEnd = begin;
    return IndexState::sound;
}

bool isIndexAt(const InputFile& file, std::int64_t offset) {
    const std::string keyword = encodedText(indexKeyword);
    std::string found(keyword.size(), '\0');
    const std::int64_t got = file.readAt(offset, found.data(), static_cast<std::int64_t>(found.size()));
    return got > 0 &&
           keyword.compare(0, static_cast<std::size_t>(got), found, 0, static_cast<std::size_t>(got)) == 0;
}

} // namespace icawave
