// SPDX-License-Identifier: BSD-3-Clause
// The index of the older layout, which is no longer written: one copy under one checksum, at the end.
#include "persist/packagefile/PackageFileTail.h"

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

// False when what is loaded is no index of this version.
bool loadFields(CArchive& archive, PackageIndex& index) {
    CString keyword;
    std::int32_t version = 0, count = 0;
    exchange(archive, keyword, version);
    if (keyword != indexKeyword || version != indexVersion) return false;
    std::apply([&](auto&... fields) { exchange(archive, fields...); }, ownFields(index.info));
    exchange(archive, index.rest, count);
    if (count < 0 || count > archive.remainingBytes() / smallestEntry) return false;
    index.entries.resize(static_cast<std::size_t>(count));
    for (PackageEntry& e : index.entries)
        exchange(archive, e.offset, e.length, e.checksum, e.name, e.samples, e.channels, e.selectedChannel,
                 e.dataSetClass, e.selectBegin, e.selectEnd, e.shown);
    return true;
}

} // namespace

std::optional<PackageIndex> loadOldIndex(const InputFile& file) {
    std::array<std::byte, trailerBytes> trailer;
    const std::int64_t end = file.size() - trailerBytes;
    if (end < 0 || file.readAt(end, trailer.data(), trailerBytes) < trailerBytes) return std::nullopt;
    if (std::memcmp(&trailer[trailerBytes - endMark.size()], endMark.data(), endMark.size()) != 0)
        return std::nullopt;
    std::int64_t length;
    std::uint32_t checksum;
    std::memcpy(&length, trailer.data(), sizeof length);
    std::memcpy(&checksum, &trailer[checksummedTrailerBytes], sizeof checksum);
    if (length < 0 || length > end) return std::nullopt;
    PackageIndex index;
    index.isOld = true;
    index.recordLength = end - length;
    if (file.checksum(index.recordLength, end + checksummedTrailerBytes) != checksum) return std::nullopt;
    FilePart part(file, index.recordLength, end);
    CArchive archive(&part, CArchive::load);
    try {
        const bool isLoaded = loadFields(archive, index) && archive.offset() == length;
        return isLoaded ? std::optional(std::move(index)) : std::nullopt;
    } catch (const CArchiveException&) {
        return std::nullopt;
    } catch (const COleException&) {
        return std::nullopt;
    }
}

bool isOldIndexAt(const InputFile& file, std::int64_t offset) {
    const std::string keyword = encodedText(indexKeyword);
    std::string found(keyword.size(), '\0');
    const std::int64_t got = file.readAt(offset, found.data(), static_cast<std::int64_t>(found.size()));
    return got > 0 &&
           keyword.compare(0, static_cast<std::size_t>(got), found, 0, static_cast<std::size_t>(got)) == 0;
}

} // namespace icawave
