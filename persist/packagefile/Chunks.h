// SPDX-License-Identifier: BSD-3-Clause
// The chunks that stand behind the record of a package file. docs/FORMAT.md, "Behind the record of a package
// file", has the bytes.
#pragma once

#include "persist/packagefile/PackageFileTail.h"

#include <array>
#include <span>
#include <string_view>

namespace icawave {

inline constexpr std::string_view mark = "ICAW\x1A\r\n";

enum class Kind : std::uint8_t { head = 'H', entry = 'E', section = 'S', padding = 'P', end = 'Z' };

// What a chunk begins with.
struct ChunkHead {
    static constexpr std::int64_t bytes = 24;
    static constexpr std::size_t guardAt = 20;

    bool operator==(const ChunkHead&) const = default;

    Kind kind{};
    std::int64_t length = 0; // of what follows
    std::uint32_t checksum = 0;
};

using HeadBytes = std::array<std::byte, ChunkHead::bytes>;

inline constexpr std::int64_t endChunkBytes = ChunkHead::bytes + 16;

HeadBytes encoded(const ChunkHead& head);
std::optional<ChunkHead> decoded(const std::byte* bytes); // nothing unless its guard is right

// A chunk's bytes behind its head, from or into fields.
template <class Exchange>
std::vector<std::byte> encode(Exchange&& exchangeFields) {
    CMemFile file;
    CArchive archive(&file, CArchive::store);
    exchangeFields(archive);
    archive.Close();
    return {file.bytes().begin(), file.bytes().end()};
}

// False unless the fields take all bytes.
template <class Exchange>
bool decode(std::span<const std::byte> bytes, Exchange&& exchangeFields) {
    CMemFile file(bytes.data(), bytes.size());
    CArchive archive(&file, CArchive::load,
                     static_cast<std::int32_t>(std::min<std::size_t>(bytes.size(), 4096)));
    try {
        exchangeFields(archive);
        return archive.offset() == std::ssize(bytes);
    } catch (const CArchiveException&) {
        return false;
    } catch (const COleException&) {
        return false;
    }
}

void exchangeEntry(CArchive& archive, std::int32_t& number, PackageEntry& entry);
std::vector<std::byte> encodedHead(PackageIndex& index);
bool decodeHead(std::span<const std::byte> bytes, std::int32_t& count, PackageIndex& index);
std::vector<std::byte> sectionName(const CString& name); // as a section begins with it

// Where the tail and its second index begin, by the chunk that the file ends with.
struct TailPlace {
    std::int64_t begin = 0;
    std::int64_t index = 0;
    std::int64_t end = 0; // where the last chunk begins
};

std::optional<TailPlace> placeOfTail(const InputFile& file); // nothing unless the file ends with one

} // namespace icawave
