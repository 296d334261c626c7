// SPDX-License-Identifier: BSD-3-Clause
// Reads a whole package file, whatever its state: the data sets that load, and what is known of each.
//
// A package is followed slot by slot as long as everything loads and, where there is an index, is what was
// stored. From the first fault on its counts and places say nothing any more: data sets are found by what
// they begin with. Each is first tried up to where the next one may begin, so that a damaged one cannot
// swallow those behind it, then further, since a text may hold the same bytes. What is found is compared with
// what is left of the index: length and checksum say which record it is, wherever it came to lie.
#include "persist/packagefile/PackageFileRecovery.h"

#include "persist/archive/Exchange.h"
#include "persist/packagefile/Search.h"

#include <cstring>

namespace icawave {

namespace {

constexpr const char* wrongBytes = "the bytes are not those that were stored";

// What is tried further than to the next place may read the file this often in vain, all together.
constexpr std::int64_t vainReadings = 8;

class RecoveryScan {
public:
    RecoveryScan(const InputFile& file, Tail tail);

    bool followSlots();
    void searchRecords();
    VerifiedPackage result();

private:
    struct Found {
        PackageEntry entry;
        std::int64_t number; // in the index; -1: it does not have these bytes
    };
    struct Loaded {
        PackageEntry entry;
        std::optional<ArchiveFault> fault;
        std::int64_t bytesRead = 0;
    };

    bool isIndexed() const { return !m_tail.entries.empty(); }
    std::int64_t endOfFound() const {
        return m_found.empty() ? 0 : m_found.back().entry.offset + m_found.back().entry.length;
    }

    bool loadHead(std::int64_t& position, std::int32_t& slots);
    bool loadOwnFields(std::int64_t from);
    void take(std::span<const std::int64_t> places);
    bool isCredible(const PackageEntry& entry, std::span<const std::int64_t> inside);
    void dropSwallowing(std::span<const std::int64_t> places);
    std::int64_t limitFrom(std::int64_t begin) const;
    Loaded load(std::int64_t begin, std::int64_t end) const;
    std::int64_t numberOf(const PackageEntry& entry) const;
    void add(PackageEntry entry);
    std::optional<std::int32_t> flagAt(std::int64_t offset);
    void addFault(std::int64_t offset, const std::string& text,
                  const std::string& record = PackageRecord::keyword) {
        m_faults.push_back({offset, record, text});
    }
    void dropChanged();
    void compareWithIndex();
    bool isShifted() const;
    bool isRestWhole() const;
    std::string reasonOfLoss(const PackageEntry& entry);
    void judgeTail();
    VerifiedPackage report();

    const InputFile& m_file;
    const Tail m_tail;
    std::multimap<std::pair<std::int64_t, std::uint32_t>, std::int32_t> m_unmatched; // by length and checksum
    std::vector<Found> m_found;
    std::vector<PackageSection> m_sections; // those that are whole
    std::vector<ArchiveFault> m_faults;
    PackageInfo m_info; // of the record, as far as it was read
    bool m_hasHead = false;
    bool m_hasAllSlots = false; // all that the package counts were followed
    bool m_isFollowed = false;
    bool m_hasOwnFields = false;
    bool m_endsEarly = false; // the own fields
    std::int64_t m_recordEnd;
    std::int64_t m_failedAt = -1; // where a record did not load while slots were followed
    std::int64_t m_number = 0;    // of the next data set without an index
    std::int64_t m_budget;        // bytes to be read in vain
    std::array<std::byte, 4096> m_flags;
    std::int64_t m_flagsBegin = 0;
    std::int64_t m_flagsEnd = 0;
};

RecoveryScan::RecoveryScan(const InputFile& file, Tail tail)
    : m_file(file), m_tail(std::move(tail)), m_recordEnd(m_tail.begin), m_budget(vainReadings * file.size()) {
    for (const auto& [number, entry] : m_tail.entries)
        m_unmatched.emplace(std::pair(entry.length, entry.checksum), number);
}

// True when everything up to the record's end is what it should be, and the record ends where it should.
bool RecoveryScan::followSlots() {
    std::int64_t position = 0;
    std::int32_t slots = 0;
    m_hasHead = loadHead(position, slots);
    if (!m_hasHead) {
        addFault(0, "the package record's beginning is damaged");
        return false;
    }
    for (; slots > 0; --slots) {
        const std::optional<std::int32_t> flag = flagAt(position);
        if (!flag) {
            addFault(m_tail.begin, "the file ends early, before the last data set");
            return false;
        }
        position += slotFlagBytes;
        if (*flag == 0) continue;
        Loaded loaded = load(position, m_tail.begin);
        if (loaded.fault) {
            m_faults.push_back(*loaded.fault);
            m_failedAt = position;
            ++m_number;
            return false;
        }
        if (isIndexed() && numberOf(loaded.entry) < 0) return false;
        position += loaded.entry.length;
        add(std::move(loaded.entry));
    }
    m_hasAllSlots = true;
    return m_isFollowed = loadOwnFields(position);
}

bool RecoveryScan::loadHead(std::int64_t& position, std::int32_t& slots) {
    FilePart part(m_file, 0, m_tail.begin);
    CArchive archive(&part, CArchive::load);
    CString keyword;
    std::int32_t version = 0;
    try {
        exchange(archive, keyword, version);
        exchangeHead(archive, ownFields(m_info), slots);
    } catch (const CArchiveException&) {
    } catch (const COleException&) {
    }
    position = archive.offset();
    return keyword == PackageRecord::keyword && version == PackageRecord::version20161108 &&
           !archive.firstFault();
}

// True when the package's own fields are there and the record ends with them.
bool RecoveryScan::loadOwnFields(std::int64_t from) {
    FilePart part(m_file, from, m_tail.begin);
    CArchive archive(&part, CArchive::load);
    PackageInfo info = m_info;
    try {
        exchangeTail(archive, ownFields(info));
    } catch (const CArchiveException&) {
        m_endsEarly = true;
        return false;
    } catch (const COleException&) {
        return false;
    }
    m_info = std::move(info);
    m_hasOwnFields = true;
    m_recordEnd = from + archive.offset();
    return m_recordEnd == m_tail.begin;
}

// Behind what was followed.
void RecoveryScan::searchRecords() {
    const std::vector<std::int64_t> all = placesOfDataSets(m_file, m_tail.chunks);
    const bool isDataSetFile = !all.empty() && all.front() == 0;
    if (!m_hasHead && !m_tail.head && (all.empty() || isDataSetFile))
        throw FileError(m_file.path(), "not a package file");
    if (!isIndexed()) dropSwallowing(all);
    const std::int64_t followed = m_number;
    for (std::size_t k = 0; k < all.size(); ++k) {
        if (all[k] >= endOfFound() && all[k] != m_failedAt) take(std::span(all).subspan(k));
    }
    const bool isMore = m_number > followed;
    if (m_hasAllSlots && isMore) addFault(m_recordEnd, "more data sets follow than the package counts");
    if (m_hasOwnFields && !isMore) {
        if (!beginsLikeTail(m_file, m_recordEnd)) addFault(m_recordEnd, "other bytes follow the package");
        return;
    }
    // Behind a fault the fields are believed only where the record ends with them.
    const PackageInfo before = m_info;
    if (loadOwnFields(endOfFound())) return;
    m_info = before;
    m_hasOwnFields = false;
    m_recordEnd = m_tail.begin;
    addFault(endOfFound(), m_endsEarly ? "the file ends early: the package's own fields are lost"
                                       : "the package's own fields are lost");
}

// Of what was followed, from the first on that holds another data set: one that was damaged may load by
// reaching into the next.
void RecoveryScan::dropSwallowing(std::span<const std::int64_t> places) {
    for (std::size_t k = 0; k < m_found.size(); ++k) {
        const PackageEntry& entry = m_found[k].entry;
        while (!places.empty() && places[0] <= entry.offset) places = places.subspan(1);
        if (isCredible(entry, places)) continue;
        m_found.resize(k);
        m_number = static_cast<std::int64_t>(k);
        m_failedAt = -1;
        m_faults.clear();
        return;
    }
}

// The first of the places.
void RecoveryScan::take(std::span<const std::int64_t> places) {
    const std::int64_t limit = limitFrom(places[0]);
    const std::int64_t next = places.size() > 1 ? std::min(places[1], limit) : limit;
    Loaded loaded = load(places[0], next);
    if (loaded.fault && next < limit && m_budget > 0) {
        Loaded further = load(places[0], limit);
        const bool isProven = !further.fault && numberOf(further.entry) >= 0;
        if (isProven || (!further.fault && isCredible(further.entry, places.subspan(1))))
            loaded = std::move(further);
        else
            m_budget -= further.bytesRead;
    }
    if (!loaded.fault) return add(std::move(loaded.entry));
    m_faults.push_back(*loaded.fault);
    ++m_number;
}

// Unless a data set that loads by itself lies inside. `inside` are the places behind its beginning.
bool RecoveryScan::isCredible(const PackageEntry& entry, std::span<const std::int64_t> inside) {
    const std::int64_t end = entry.offset + entry.length;
    for (; !inside.empty() && inside[0] < end; inside = inside.subspan(1)) {
        const std::int64_t limit = limitFrom(inside[0]);
        if (!load(inside[0], inside.size() > 1 ? std::min(inside[1], limit) : limit).fault) return false;
    }
    return true;
}

// Up to where a record may reach.
std::int64_t RecoveryScan::limitFrom(std::int64_t begin) const {
    const auto chunk = std::ranges::upper_bound(m_tail.chunks, begin, {}, &Tail::Extent::begin);
    return chunk == m_tail.chunks.end() ? m_file.size() : chunk->begin;
}

RecoveryScan::Loaded RecoveryScan::load(std::int64_t begin, std::int64_t end) const {
    FilePart part(m_file, begin, end);
    const DataSetOwner dataSet = requireDataSet();
    Loaded loaded;
    std::int64_t length = 0;
    loaded.fault = loadDataSet(part, m_number, *dataSet, length);
    loaded.bytesRead = part.GetPosition();
    if (loaded.fault) return loaded;
    loaded.entry = entryOf(*dataSet);
    loaded.entry.offset = begin;
    loaded.entry.length = length;
    loaded.entry.checksum = m_file.checksum(begin, begin + length);
    return loaded;
}

// Of the first data set in the index with these bytes that was not found yet; -1: there is none.
std::int64_t RecoveryScan::numberOf(const PackageEntry& entry) const {
    const auto found = m_unmatched.find(std::pair(entry.length, entry.checksum));
    return found == m_unmatched.end() ? -1 : found->second;
}

void RecoveryScan::add(PackageEntry entry) {
    const auto match = m_unmatched.find(std::pair(entry.length, entry.checksum));
    std::int64_t number = isIndexed() ? -1 : m_number;
    if (match != m_unmatched.end()) {
        number = match->second;
        m_unmatched.erase(match);
    }
    m_found.push_back({std::move(entry), number});
    ++m_number;
}

// Read ahead, since there may be millions of empty slots. Nothing where the record ends.
std::optional<std::int32_t> RecoveryScan::flagAt(std::int64_t offset) {
    if (offset + slotFlagBytes > m_tail.begin) return std::nullopt;
    if (offset < m_flagsBegin || offset + slotFlagBytes > m_flagsEnd) {
        m_flagsBegin = offset;
        m_flagsEnd = offset + m_file.readAt(offset, m_flags.data(), std::ssize(m_flags));
        if (m_flagsEnd < offset + slotFlagBytes) return std::nullopt;
    }
    std::int32_t flag;
    std::memcpy(&flag, &m_flags[static_cast<std::size_t>(offset - m_flagsBegin)], sizeof flag);
    return flag;
}

// A record that lies, seen from its neighbours, where the index has another one: it was changed and loads by
// chance.
void RecoveryScan::dropChanged() {
    std::map<std::int64_t, std::int32_t> unmatched; // by offset
    for (const auto& [key, number] : m_unmatched) unmatched.emplace(m_tail.entries.at(number).offset, number);
    const auto shiftOf = [&](const Found& found) {
        return found.entry.offset - m_tail.entries.at(static_cast<std::int32_t>(found.number)).offset;
    };
    const auto isKnown = [](const Found& found) { return found.number >= 0; };
    std::int64_t before = 0;
    for (auto found = m_found.begin(); found != m_found.end();) {
        if (isKnown(*found)) {
            before = shiftOf(*found++);
            continue;
        }
        const auto next = std::find_if(found, m_found.end(), isKnown);
        const std::int64_t behind = next == m_found.end() ? before : shiftOf(*next);
        const bool isChanged = unmatched.contains(found->entry.offset - before) ||
                               unmatched.contains(found->entry.offset - behind);
        found = isChanged ? m_found.erase(found) : found + 1;
    }
}

void RecoveryScan::compareWithIndex() {
    dropChanged();
    std::int64_t next = 0;
    for (Found& found : m_found) {
        if (found.number < 0) {
            const bool isFree = !m_tail.entries.contains(static_cast<std::int32_t>(next));
            if (m_tail.isWhole)
                addFault(found.entry.offset, "data set " + found.entry.name.utf8() + " is not listed",
                         "index");
            if (isFree) found.number = next;
        } else {
            PackageEntry listed = m_tail.entries.at(static_cast<std::int32_t>(found.number));
            listed.offset = found.entry.offset;
            if (listed != found.entry)
                addFault(m_recordEnd,
                         "what it says of data set " + std::to_string(found.number) + " is wrong", "index");
        }
        if (found.number >= 0) next = found.number + 1;
    }
    std::map<std::int32_t, const PackageEntry*> lost;
    for (const auto& [key, number] : m_unmatched) lost.emplace(number, &m_tail.entries.at(number));
    for (const auto& [number, entry] : lost)
        m_faults.push_back({entry->offset, dataSetRecord(number), reasonOfLoss(*entry)});
}

std::string RecoveryScan::reasonOfLoss(const PackageEntry& entry) {
    const bool isInside = entry.offset >= 0 && entry.length > 0 && entry.offset <= m_file.size() &&
                          entry.length <= m_file.size() - entry.offset;
    if (!isInside || m_budget < 0) return wrongBytes;
    m_budget -= entry.length;
    if (m_file.checksum(entry.offset, entry.offset + entry.length) != entry.checksum) return wrongBytes;
    const Loaded loaded = load(entry.offset, entry.offset + entry.length);
    return loaded.fault ? loaded.fault->text : "the record ends early";
}

// Whether bytes were lost or added.
bool RecoveryScan::isShifted() const {
    return m_tail.head->recordLength != m_tail.begin || std::ranges::any_of(m_found, [&](const Found& found) {
               const auto entry = m_tail.entries.find(static_cast<std::int32_t>(found.number));
               return entry != m_tail.entries.end() && entry->second.offset != found.entry.offset;
           });
}

// Whether the bytes outside of the data sets are those that were stored.
bool RecoveryScan::isRestWhole() const {
    std::map<std::int32_t, PackageEntry> stored = m_tail.entries;
    for (const Found& found : m_found) {
        if (found.number >= 0) stored.insert_or_assign(static_cast<std::int32_t>(found.number), found.entry);
    }
    std::vector<PackageEntry> entries;
    std::int64_t end = 0;
    for (const auto& [number, entry] : stored) {
        if (entry.offset < end || entry.length < 0 || entry.offset > m_tail.begin ||
            entry.length > m_tail.begin - entry.offset)
            return false;
        end = entry.offset + entry.length;
        entries.push_back(entry);
    }
    return std::ssize(entries) != m_tail.count || // that the index is damaged is told
           checksumOfRest(m_file, entries, m_tail.begin) == m_tail.head->rest;
}

void RecoveryScan::judgeTail() {
    const bool isThere = !m_tail.chunks.empty() || beginsLikeTail(m_file, m_recordEnd);
    if (isThere && !m_tail.isWhole)
        addFault(std::min(m_recordEnd, m_tail.begin), "the index is damaged, or the file ends early",
                 "index");
    if (!m_tail.head) return;
    for (const PackageSection& section : m_tail.head->sections) {
        if (readSection(m_file, section))
            m_sections.push_back(section);
        else
            addFault(section.offset, wrongBytes, "section " + section.name.utf8());
    }
}

VerifiedPackage RecoveryScan::result() {
    if (isIndexed()) {
        if (m_tail.head) m_faults.clear(); // it knows better
        compareWithIndex();
    }
    if (m_tail.head) {
        const bool isRight = isRestWhole();
        if (isShifted())
            addFault(0, "bytes are missing, or too many: records are not where the index says");
        else if (!isRight)
            addFault(0, wrongBytes);
        else if (m_hasOwnFields && ownFields(m_info) != ownFields(m_tail.head->info))
            addFault(m_recordEnd, "what it says of the package is wrong", "index");
        if (!m_hasOwnFields || !isRight) m_info = m_tail.head->info;
        const std::int64_t missing = m_tail.count - std::ssize(m_found) - std::ssize(m_unmatched);
        if (missing > 0) addFault(m_recordEnd, std::to_string(missing) + " of the data sets are lost");
    }
    judgeTail();
    if (m_faults.empty() && !m_isFollowed) addFault(0, "the package record is damaged");
    return report();
}

VerifiedPackage RecoveryScan::report() {
    VerifiedPackage verified;
    PackageIndex& index = verified.index;
    index.info = m_info;
    index.recordLength = std::max(m_recordEnd, endOfFound());
    const std::int64_t all = std::max(m_number, std::int64_t{m_tail.count});
    const bool isLeftOut = !m_isFollowed && m_info.current >= 0 && m_info.current < all;
    if (isLeftOut) index.info.current = 0; // unless it is found
    std::vector<DataSetFinding>& findings = verified.report.dataSets;
    for (Found& found : m_found) {
        if (isLeftOut && found.number == m_info.current)
            index.info.current = static_cast<std::int32_t>(index.entries.size());
        const auto listed = m_tail.entries.find(static_cast<std::int32_t>(found.number));
        const bool isWhole =
            listed != m_tail.entries.end() && listed->second.checksum == found.entry.checksum;
        findings.push_back(
            {found.number, found.entry.name, isWhole ? DataSetState::whole : DataSetState::unproven});
        verified.numbers.push_back(found.number);
        index.entries.push_back(std::move(found.entry));
    }
    for (const auto& [key, number] : m_unmatched)
        findings.push_back({number, m_tail.entries.at(number).name, DataSetState::lost});
    std::ranges::sort(findings, {}, &DataSetFinding::number);
    index.rest = checksumOfRest(m_file, index.entries, index.recordLength);
    index.sections = std::move(m_sections);
    verified.report.faults = std::move(m_faults);
    return verified;
}

} // namespace

// Without an end of a tail the record is followed alone first: what parses to the end of the file is no tail.
VerifiedPackage verifyPackage(const InputFile& file) {
    Tail none;
    none.begin = file.size();
    RecoveryScan plain(file, std::move(none));
    if (!endsWithTail(file) && plain.followSlots()) return plain.result();
    RecoveryScan scan(file, readTail(file));
    if (!scan.followSlots()) scan.searchRecords();
    return scan.result();
}

} // namespace icawave
