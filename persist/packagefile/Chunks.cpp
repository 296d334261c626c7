// SPDX-License-Identifier: BSD-3-Clause
#include "persist/packagefile/Chunks.h"

#include "persist/archive/Exchange.h"
#include "persist/packagefile/Crc32c.h"

#include <cstring>

namespace icawave {

namespace {

constexpr std::int32_t headVersion = 20261124;

// `version` is that which was loaded.
void exchangeIndexHead(CArchive& archive, std::int32_t& version, std::int32_t& count, PackageIndex& index) {
    exchange(archive, version, index.recordLength, index.rest, count);
    std::apply([&](auto&... fields) { exchange(archive, fields...); }, ownFields(index.info));
    auto sections = static_cast<std::int32_t>(index.sections.size());
    exchange(archive, sections);
    for (std::int32_t k = 0; k < sections; ++k) {
        if (archive.IsLoading()) index.sections.emplace_back(); // one by one: the bytes may end before
        PackageSection& section = index.sections[static_cast<std::size_t>(k)];
        exchange(archive, section.name, section.offset, section.length, section.checksum);
    }
}

} // namespace

HeadBytes encoded(const ChunkHead& head) {
    HeadBytes bytes;
    std::memcpy(&bytes[0], mark.data(), mark.size());
    std::memcpy(&bytes[7], &head.kind, 1);
    std::memcpy(&bytes[8], &head.length, 8);
    std::memcpy(&bytes[16], &head.checksum, 4);
    const std::uint32_t guard = crc32c(0, bytes.data(), ChunkHead::guardAt);
    std::memcpy(&bytes[ChunkHead::guardAt], &guard, 4);
    return bytes;
}

std::optional<ChunkHead> decoded(const std::byte* bytes) {
    ChunkHead head;
    std::uint32_t guard;
    std::memcpy(&head.kind, bytes + 7, 1);
    std::memcpy(&head.length, bytes + 8, 8);
    std::memcpy(&head.checksum, bytes + 16, 4);
    std::memcpy(&guard, bytes + ChunkHead::guardAt, 4);
    if (std::memcmp(bytes, mark.data(), mark.size()) != 0 || head.length < 0 ||
        guard != crc32c(0, bytes, ChunkHead::guardAt))
        return std::nullopt;
    return head;
}

void exchangeEntry(CArchive& archive, std::int32_t& number, PackageEntry& e) {
    exchange(archive, number, e.offset, e.length, e.checksum, e.name, e.samples, e.channels,
             e.selectedChannel, e.dataSetClass, e.selectBegin, e.selectEnd, e.shown);
}

std::vector<std::byte> encodedHead(PackageIndex& index) {
    auto count = static_cast<std::int32_t>(index.entries.size());
    std::int32_t version = headVersion;
    return encode([&](CArchive& archive) { exchangeIndexHead(archive, version, count, index); });
}

bool decodeHead(std::span<const std::byte> bytes, std::int32_t& count, PackageIndex& index) {
    std::int32_t version = 0;
    return decode(bytes, [&](CArchive& archive) { exchangeIndexHead(archive, version, count, index); }) &&
           version == headVersion && count >= 0;
}

std::vector<std::byte> sectionName(const CString& name) {
    return encode([&](CArchive& archive) { archive << name; });
}

std::optional<TailPlace> placeOfTail(const InputFile& file) {
    std::array<std::byte, endChunkBytes> bytes;
    const std::int64_t at = file.size() - endChunkBytes;
    if (at < 0 || file.readAt(at, bytes.data(), endChunkBytes) < endChunkBytes) return std::nullopt;
    const std::optional<ChunkHead> head = decoded(bytes.data());
    constexpr std::int64_t length = endChunkBytes - ChunkHead::bytes;
    if (!head || head->kind != Kind::end || head->length != length ||
        head->checksum != crc32c(0, &bytes[ChunkHead::bytes], length))
        return std::nullopt;
    std::int64_t tail, index;
    std::memcpy(&tail, &bytes[ChunkHead::bytes], 8);
    std::memcpy(&index, &bytes[ChunkHead::bytes + 8], 8);
    if (index < 0 || index > tail || tail > at) return std::nullopt;
    return TailPlace{at - tail, at - index, at};
}

} // namespace icawave
