// SPDX-License-Identifier: BSD-3-Clause
// Reads what stands behind the record of a package file, whatever its state.
#include "persist/packagefile/PackageFileTail.h"

#include "persist/packagefile/Chunks.h"
#include "persist/packagefile/Crc32c.h"
#include "persist/packagefile/Search.h"

#include <cstring>

namespace icawave {

namespace {

// Takes one chunk after another from a file.
class TailReader {
public:
    explicit TailReader(const InputFile& file) : m_file(file), m_search(file, std::string(mark)) {}

    Tail read();

private:
    struct Found {
        ChunkHead head;
        std::int64_t begin;
    };

    bool take(std::int64_t begin, const ChunkHead& head);
    bool isRow(const TailPlace& place) const;
    std::int64_t endOf(const Found& chunk) const {
        return chunk.begin + ChunkHead::bytes + chunk.head.length;
    }

    const InputFile& m_file;
    Search m_search;
    Tail m_tail;
    std::vector<Found> m_found;
};

Tail TailReader::read() {
    const std::optional<TailPlace> place = placeOfTail(m_file);
    const std::int64_t begin = place ? place->begin : 0;
    for (std::int64_t at = m_search.next(begin); at < m_file.size();) {
        HeadBytes bytes;
        const bool isThere = m_file.readAt(at, bytes.data(), ChunkHead::bytes) == ChunkHead::bytes;
        const std::optional<ChunkHead> head = isThere ? decoded(bytes.data()) : std::nullopt;
        const bool isSound = head && take(at, *head);
        at = m_search.next(isSound ? endOf(m_found.back()) : at + 1);
    }
    if (place && m_tail.head) m_tail.isWhole = isRow(*place);
    m_tail.begin = place ? place->begin : m_found.empty() ? m_file.size() : m_found.front().begin;
    for (const Found& chunk : m_found) {
        m_tail.chunks.push_back({chunk.begin, endOf(chunk)});
        if (chunk.head.kind != Kind::section || !m_tail.head) continue;
        for (PackageSection& section : m_tail.head->sections) { // wherever it came to lie
            if (section.length == chunk.head.length && section.checksum == chunk.head.checksum)
                section.offset = chunk.begin;
        }
    }
    return std::move(m_tail);
}

// False when the chunk is not what was stored.
bool TailReader::take(std::int64_t begin, const ChunkHead& head) {
    const std::int64_t from = begin + ChunkHead::bytes;
    if (head.length > m_file.size() - from || m_file.checksum(from, from + head.length) != head.checksum)
        return false;
    m_found.push_back({head, begin});
    if (head.kind != Kind::head && head.kind != Kind::entry) return true;
    std::vector<std::byte> bytes(static_cast<std::size_t>(head.length));
    m_file.readAt(from, bytes.data(), head.length);
    std::int32_t number = -1;
    if (PackageIndex index; head.kind == Kind::head && decodeHead(bytes, number, index)) {
        m_tail.head = std::move(index);
        m_tail.count = number;
    } else if (PackageEntry entry;
               head.kind == Kind::entry &&
               decode(bytes, [&](CArchive& archive) { exchangeEntry(archive, number, entry); }) &&
               number >= 0) {
        m_tail.entries.insert_or_assign(number, std::move(entry));
    }
    return true;
}

// Whether the chunks are a tail where the last one says, with no gap but the chunks of sections.
bool TailReader::isRow(const TailPlace& place) const {
    std::vector<ChunkHead> index[2];
    std::size_t copies = 0;
    std::int64_t at = place.begin;
    const auto& sections = m_tail.head->sections;
    auto section = sections.begin();
    for (const Found& chunk : m_found) {
        while (at < chunk.begin && section != sections.end() && section->offset == at) {
            at += ChunkHead::bytes + section->length; // a damaged one
            ++section;
        }
        if (chunk.begin != at) return false;
        at = endOf(chunk);
        switch (chunk.head.kind) {
        case Kind::head:
            if (++copies > 2 || (copies == 2 && chunk.begin != place.index)) return false;
            [[fallthrough]];
        case Kind::entry:
            if (copies == 0) return false;
            index[copies - 1].push_back(chunk.head);
            break;
        case Kind::section:
            if (section == sections.end() || section->offset != chunk.begin ||
                section->length != chunk.head.length || section->checksum != chunk.head.checksum)
                return false;
            ++section;
            break;
        case Kind::padding:
            break;
        case Kind::end:
            return at == m_file.size() && copies == 2 && section == sections.end() && index[0] == index[1] &&
                   std::ssize(index[0]) == 1 + std::int64_t{m_tail.count};
        default:
            return false;
        }
    }
    return false;
}

} // namespace

Tail readTail(const InputFile& file) {
    if (std::optional<PackageIndex> old = loadOldIndex(file)) {
        Tail tail;
        tail.isWhole = true;
        tail.begin = old->recordLength;
        tail.chunks.push_back({old->recordLength, file.size()});
        for (PackageEntry& entry : old->entries) tail.entries.emplace(tail.count++, std::move(entry));
        old->entries.clear();
        tail.head = std::move(old);
        return tail;
    }
    return TailReader(file).read();
}

bool beginsLikeTail(const InputFile& file, std::int64_t offset) {
    std::array<char, mark.size()> bytes;
    const std::int64_t got = offset < file.size() ? file.readAt(offset, bytes.data(), std::ssize(bytes)) : 0;
    return got > 0 && (mark.starts_with(std::string_view(bytes.data(), static_cast<std::size_t>(got))) ||
                       isOldIndexAt(file, offset));
}

std::uint32_t checksumOfRest(const InputFile& file, const std::vector<PackageEntry>& entries,
                             std::int64_t recordLength) {
    std::uint32_t checksum = 0;
    std::int64_t begin = 0;
    for (const PackageEntry& entry : entries) {
        checksum = file.checksum(begin, entry.offset, checksum);
        begin = entry.offset + entry.length;
    }
    return file.checksum(begin, recordLength, checksum);
}

std::optional<std::vector<std::byte>> readSection(const InputFile& file, const PackageSection& section) {
    const std::int64_t from = section.offset + ChunkHead::bytes;
    if (section.offset < 0 || from > file.size() || section.length < 0 || section.length > file.size() - from)
        return std::nullopt;
    std::vector<std::byte> bytes(static_cast<std::size_t>(section.length));
    file.readAt(from, bytes.data(), section.length);
    if (crc32c(0, bytes.data(), bytes.size()) != section.checksum) return std::nullopt;
    const std::vector<std::byte> name = sectionName(section.name);
    if (bytes.size() < name.size() || !std::equal(name.begin(), name.end(), bytes.begin()))
        return std::nullopt;
    bytes.erase(bytes.begin(), bytes.begin() + std::ssize(name));
    return bytes;
}

} // namespace icawave
