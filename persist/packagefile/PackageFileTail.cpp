// SPDX-License-Identifier: BSD-3-Clause
// docs/FORMAT.md, "Behind the record of a package file", has the bytes.
#include "persist/packagefile/PackageFileTail.h"

#include "persist/archive/Exchange.h"
#include "persist/packagefile/Crc32c.h"

#include <cstring>

namespace icawave {

namespace {

constexpr std::string_view mark = "ICAW\x1A\r\n";
constexpr std::int32_t headVersion = 20261124;
constexpr std::int64_t apart = 4096; // bytes between the two indexes

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

constexpr std::int64_t endChunkBytes = ChunkHead::bytes + 16;

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

void exchangeEntry(CArchive& archive, std::int32_t& number, PackageEntry& e) {
    exchange(archive, number, e.offset, e.length, e.checksum, e.name, e.samples, e.channels,
             e.selectedChannel, e.dataSetClass, e.selectBegin, e.selectEnd, e.shown);
}

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

bool decodeHead(std::span<const std::byte> bytes, std::int32_t& count, PackageIndex& index) {
    std::int32_t version = 0;
    return decode(bytes, [&](CArchive& archive) { exchangeIndexHead(archive, version, count, index); }) &&
           version == headVersion && count >= 0;
}

std::vector<std::byte> sectionName(const CString& name) {
    return encode([&](CArchive& archive) { archive << name; });
}

// Gathers chunks.
class ChunkWriter {
public:
    void add(Kind kind, std::span<const std::byte> bytes) {
        add(kind, std::ssize(bytes), crc32c(0, bytes.data(), bytes.size()));
        m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
    }
    // The head alone.
    void add(Kind kind, std::int64_t length, std::uint32_t checksum) {
        const HeadBytes head = encoded({kind, length, checksum});
        m_bytes.insert(m_bytes.end(), head.begin(), head.end());
    }
    const std::vector<std::byte>& bytes() const { return m_bytes; }

private:
    std::vector<std::byte> m_bytes;
};

ChunkWriter encodeIndex(PackageIndex& index) {
    ChunkWriter chunks;
    auto count = static_cast<std::int32_t>(index.entries.size());
    std::int32_t version = headVersion;
    chunks.add(Kind::head,
               encode([&](CArchive& archive) { exchangeIndexHead(archive, version, count, index); }));
    for (std::int32_t k = 0; k < count; ++k) {
        PackageEntry& entry = index.entries[static_cast<std::size_t>(k)];
        chunks.add(Kind::entry, encode([&](CArchive& archive) { exchangeEntry(archive, k, entry); }));
    }
    return chunks;
}

void write(CFile& file, std::span<const std::byte> bytes) {
    file.Write(bytes.data(), std::ssize(bytes));
}

// The slots that the places of records leave room for, each record behind its slot's flag; -1 where records do
// not follow one another inside the package record.
std::int64_t slotsUpToLast(const PackageIndex& index, std::int64_t first) {
    std::int64_t slots = 0;
    for (const PackageEntry& entry : index.entries) {
        const std::int64_t flags = entry.offset - first; // of empty slots, and of this one
        if (flags < slotFlagBytes || entry.length < 1 || entry.offset > index.recordLength ||
            entry.length > index.recordLength - entry.offset)
            return -1;
        slots += flags / slotFlagBytes;
        first = entry.offset + entry.length;
    }
    return slots;
}

// Whether the record's own fields, where the index leaves room for them, are those of the index.
bool hasFieldsOf(const InputFile& file, const PackageIndex& index) {
    CString keyword;
    PackageInfo info;
    std::int32_t version = 0, slots = 0;
    try {
        FilePart head(file, 0, index.recordLength);
        CArchive headArchive(&head, CArchive::load, 64);
        exchange(headArchive, keyword, version);
        exchangeHead(headArchive, ownFields(info), slots);
        const std::int64_t counted = std::max(slots, 0); // a negative count holds nothing
        const std::int64_t behind = counted - slotsUpToLast(index, headArchive.offset());
        if (behind < 0) return false;
        const std::int64_t last = index.entries.empty()
                                      ? headArchive.offset()
                                      : index.entries.back().offset + index.entries.back().length;
        const std::int64_t at = last + behind * slotFlagBytes;
        FilePart tail(file, at, index.recordLength);
        CArchive tailArchive(&tail, CArchive::load);
        exchangeTail(tailArchive, ownFields(info));
        return keyword == PackageRecord::keyword && version == PackageRecord::version20161108 &&
               at + tailArchive.offset() == index.recordLength && ownFields(info) == ownFields(index.info);
    } catch (const CArchiveException&) {
        return false;
    } catch (const COleException&) {
        return false;
    }
}

// An index that contradicts a record which is as it was stored lies. Where the record is damaged the index
// knows better.
bool isCredible(const InputFile& file, const PackageIndex& index) {
    return index.recordLength <= file.size() && slotsUpToLast(index, 0) >= 0 &&
           (hasFieldsOf(file, index) ||
            checksumOfRest(file, index.entries, index.recordLength) != index.rest);
}

// Where the tail and its second index begin, by the chunk that the file ends with.
struct TailPlace {
    std::int64_t begin = 0;
    std::int64_t index = 0;
    std::int64_t end = 0; // where the last chunk begins
};

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

// The second index.
std::optional<PackageIndex> loadLastIndex(const InputFile& file) {
    const std::optional<TailPlace> place = placeOfTail(file);
    if (!place) return std::nullopt;
    std::vector<std::byte> bytes(static_cast<std::size_t>(place->end - place->index));
    if (file.readAt(place->index, bytes.data(), std::ssize(bytes)) < std::ssize(bytes)) return std::nullopt;
    PackageIndex index;
    std::int32_t count = 0;
    std::span<const std::byte> left = bytes;
    for (std::int32_t k = -1; k < count; ++k) { // the head, then the entries
        const std::optional<ChunkHead> head =
            std::ssize(left) < ChunkHead::bytes ? std::nullopt : decoded(left.data());
        if (!head || head->length > std::ssize(left) - ChunkHead::bytes ||
            head->kind != (k < 0 ? Kind::head : Kind::entry))
            return std::nullopt;
        const auto length = static_cast<std::size_t>(head->length);
        const std::span<const std::byte> fields = left.subspan(ChunkHead::bytes, length);
        left = left.subspan(ChunkHead::bytes + length);
        if (crc32c(0, fields.data(), length) != head->checksum) return std::nullopt;
        if (k < 0) {
            if (!decodeHead(fields, count, index)) return std::nullopt;
            continue;
        }
        std::int32_t number = -1;
        PackageEntry& entry = index.entries.emplace_back();
        if (!decode(fields, [&](CArchive& archive) { exchangeEntry(archive, number, entry); }) || number != k)
            return std::nullopt;
    }
    if (!left.empty() || index.recordLength != place->begin) return std::nullopt;
    return index;
}

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

void storeTail(ChecksumFile& file, PackageIndex& index, const PackageSections& sections) {
    index.recordLength = file.GetPosition();
    index.sections.clear();
    for (const auto& [name, bytes] : sections) {
        const std::vector<std::byte> text = sectionName(name);
        const std::uint32_t checksum =
            crc32c(crc32c(0, text.data(), text.size()), bytes.data(), bytes.size());
        index.sections.push_back({CString(name), 0, std::ssize(text) + std::ssize(bytes), checksum});
    }
    std::int64_t place = index.recordLength + std::ssize(encodeIndex(index).bytes());
    std::int64_t between = 0;
    for (PackageSection& section : index.sections) {
        section.offset = place + between;
        between += ChunkHead::bytes + section.length;
    }
    const ChunkWriter indexChunks = encodeIndex(index);
    write(file, indexChunks.bytes());
    auto stored = index.sections.begin();
    for (const auto& [name, bytes] : sections) {
        ChunkWriter head;
        head.add(Kind::section, stored->length, stored->checksum);
        write(file, head.bytes());
        write(file, sectionName(name));
        write(file, bytes);
        ++stored;
    }
    ChunkWriter rest;
    if (between < apart) {
        const std::int64_t zeros = std::max<std::int64_t>(apart - between - ChunkHead::bytes, 0);
        rest.add(Kind::padding, std::vector<std::byte>(static_cast<std::size_t>(zeros)));
        between += std::ssize(rest.bytes());
    }
    write(file, rest.bytes());
    write(file, indexChunks.bytes());
    std::int64_t indexBytes = std::ssize(indexChunks.bytes()), tailBytes = 2 * indexBytes + between;
    ChunkWriter end;
    end.add(Kind::end, encode([&](CArchive& archive) { exchange(archive, tailBytes, indexBytes); }));
    write(file, end.bytes());
}

std::optional<PackageIndex> loadIndex(const InputFile& file) {
    std::optional<PackageIndex> index = loadLastIndex(file);
    if (!index) index = loadOldIndex(file);
    return index && isCredible(file, *index) ? std::move(index) : std::nullopt;
}

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

bool endsWithTail(const InputFile& file) {
    return placeOfTail(file) || loadOldIndex(file);
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

std::int64_t Search::next(std::int64_t from) {
    if (m_found >= from) return m_found;
    const std::int64_t length = std::ssize(m_pattern);
    for (;;) {
        if (from < m_begin || from + length > m_begin + std::ssize(m_piece)) {
            m_piece.resize(
                static_cast<std::size_t>(std::clamp(m_file.size() - from, std::int64_t{0}, pieceBytes)));
            m_piece.resize(
                static_cast<std::size_t>(m_file.readAt(from, m_piece.data(), std::ssize(m_piece))));
            m_begin = from;
            if (std::ssize(m_piece) < length) return m_found = m_file.size();
        }
        const std::size_t at = m_piece.find(m_pattern, static_cast<std::size_t>(from - m_begin));
        if (at != m_piece.npos) return m_found = m_begin + static_cast<std::int64_t>(at);
        from = m_begin + std::ssize(m_piece) - length + 1;
    }
}

} // namespace icawave
