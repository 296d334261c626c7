// SPDX-License-Identifier: BSD-3-Clause
// Writes the tail of a package file, and reads the index of a sound one.
#include "persist/archive/Exchange.h"
#include "persist/packagefile/Chunks.h"
#include "persist/packagefile/Crc32c.h"

namespace icawave {

namespace {

constexpr std::int64_t apart = 4096; // bytes between the two indexes

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
    chunks.add(Kind::head, encodedHead(index));
    for (std::int32_t number = 0; PackageEntry & entry : index.entries) {
        chunks.add(Kind::entry, encode([&](CArchive& archive) { exchangeEntry(archive, number, entry); }));
        ++number;
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

bool endsWithTail(const InputFile& file) {
    return placeOfTail(file) || loadOldIndex(file);
}

} // namespace icawave
