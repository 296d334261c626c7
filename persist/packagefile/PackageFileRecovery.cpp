// SPDX-License-Identifier: BSD-3-Clause
// Finds the data sets of a package by loading one after another.
//
// A sound package is followed slot by slot. Behind the first fault its counts and lengths say nothing any
// more: from there on data sets are found by their keyword and version. No data set is looked for beyond the
// next keyword, so that a damaged one cannot swallow those behind it, and the time grows with the file alone.
#include "persist/packagefile/PackageFileParts.h"

#include <icawave/DataSetOwner.h>

#include "persist/archive/Exchange.h"

#include <cstring>

namespace icawave {

namespace {

class RecoveryScan {
public:
    explicit RecoveryScan(const InputFile& file)
        : m_file(file), m_keyword(encodedText(DataSetRecord::keyword)) {}

    RecoveredRecords run();

private:
    void loadHead();
    bool moveToSlot();
    void scanSlot();
    void loadOwnFields();
    void addFault(std::int64_t offset, const char* text);

    std::optional<std::int32_t> flagAt(std::int64_t offset);
    bool isDataSetAt(std::int64_t offset);
    std::int64_t nextDataSet(std::int64_t from);
    std::int64_t search(std::int64_t from) const;
    std::int64_t signatureBytes() const { return static_cast<std::int64_t>(m_keyword.size()) + 4; }
    bool isSignature(const char* bytes) const;

    const InputFile& m_file;
    const std::string m_keyword;
    RecoveredRecords m_found;
    std::int64_t m_position = 0; // of the next slot's flag
    std::int64_t m_slotsLeft = 0;
    std::int64_t m_number = 0; // of the next data set
    std::int32_t m_storedCurrent = 0;
    std::array<std::byte, 4096> m_flags;
    std::int64_t m_flagsBegin = 0;
    std::int64_t m_flagsEnd = 0;
    std::int64_t m_next = -1; // the keyword that was found last; the file's size when none is left
};

RecoveredRecords RecoveryScan::run() {
    loadHead();
    while (moveToSlot()) scanSlot();
    loadOwnFields();
    if (m_found.recordEnd < m_file.size() && isIndexAt(m_file, m_found.recordEnd))
        m_found.faults.push_back(
            {m_found.recordEnd, "index", "the index is damaged, or the file ends early"});
    return std::move(m_found);
}

void RecoveryScan::loadHead() {
    FilePart part(m_file, 0, m_file.size());
    CArchive archive(&part, CArchive::load);
    CString keyword;
    std::int32_t version = 0, slots = 0;
    try {
        exchange(archive, keyword, version);
        exchangeHead(archive, ownFields(m_found.index.info), slots);
    } catch (const CArchiveException&) {
    } catch (const COleException&) {
    }
    if (keyword == PackageRecord::keyword && version == PackageRecord::version20161108 &&
        !archive.firstFault()) {
        m_slotsLeft = slots;
        m_storedCurrent = m_found.index.info.current;
        m_position = archive.offset();
        return;
    }
    if (nextDataSet(slotFlagBytes) >= m_file.size()) throw FileError(m_file.path(), "not a package file");
    addFault(0, "the package record's beginning is damaged");
}

bool RecoveryScan::moveToSlot() {
    if (m_found.faults.empty()) {
        if (m_slotsLeft-- > 0) return true;
        std::int64_t slot = m_position;
        while (flagAt(slot) == 0) slot += slotFlagBytes;
        if (!isDataSetAt(slot + slotFlagBytes)) return false;
        addFault(m_position, "more data sets follow than the package counts");
    }
    const std::int64_t next = nextDataSet(m_position + slotFlagBytes);
    if (next >= m_file.size()) return false;
    m_position = next - slotFlagBytes;
    return true;
}

void RecoveryScan::scanSlot() {
    const std::optional<std::int32_t> flag = flagAt(m_position);
    if (!flag) {
        addFault(m_file.size(), "the file ends early, before the last data set");
        return;
    }
    const std::int64_t begin = m_position + slotFlagBytes;
    m_position = begin;
    if (*flag == 0 && !isDataSetAt(begin)) return;
    const std::int64_t next = nextDataSet(begin + 1);
    FilePart part(m_file, begin, next < m_file.size() ? next - slotFlagBytes : next);
    const DataSetOwner dataSet = newDataSet();
    if (!dataSet) AfxThrowMemoryException();
    std::int64_t length = 0;
    const std::optional<ArchiveFault> fault = loadDataSet(part, m_number, *dataSet, length);
    m_position = begin + length;
    const std::int64_t number = m_number++;
    if (fault) {
        m_found.faults.push_back(*fault);
        leaveOut(number, m_storedCurrent, m_found.index.info.current);
        return;
    }
    PackageEntry entry = entryOf(*dataSet);
    entry.offset = begin;
    entry.length = length;
    entry.checksum = m_file.checksum(begin, m_position);
    m_found.index.entries.push_back(std::move(entry));
}

// Behind a fault the fields are believed only when the file ends with them.
void RecoveryScan::loadOwnFields() {
    FilePart part(m_file, m_position, m_file.size());
    CArchive archive(&part, CArchive::load);
    PackageInfo info = m_found.index.info;
    m_found.recordEnd = m_file.size();
    try {
        exchangeTail(archive, ownFields(info));
        const std::int64_t end = m_position + archive.offset();
        if (!m_found.faults.empty() && end < m_file.size() && !isIndexAt(m_file, end))
            return addFault(m_position, "the package's own fields are lost");
        m_found.index.info = std::move(info);
        m_found.recordEnd = end;
    } catch (const CArchiveException&) {
        addFault(m_position, "the file ends early: the package's own fields are lost");
    } catch (const COleException&) {
        addFault(m_position, "the package's own fields are lost");
    }
}

void RecoveryScan::addFault(std::int64_t offset, const char* text) {
    m_found.faults.push_back({offset, PackageRecord::keyword, text});
}

// Read ahead, since there may be millions of empty slots. Nothing where the file ends.
std::optional<std::int32_t> RecoveryScan::flagAt(std::int64_t offset) {
    if (offset < m_flagsBegin || offset + slotFlagBytes > m_flagsEnd) {
        m_flagsBegin = offset;
        m_flagsEnd =
            offset + m_file.readAt(offset, m_flags.data(), static_cast<std::int64_t>(m_flags.size()));
        if (m_flagsEnd < offset + slotFlagBytes) return std::nullopt;
    }
    std::int32_t flag;
    std::memcpy(&flag, &m_flags[static_cast<std::size_t>(offset - m_flagsBegin)], sizeof flag);
    return flag;
}

bool RecoveryScan::isDataSetAt(std::int64_t offset) {
    return nextDataSet(offset) == offset && offset < m_file.size();
}

// The places that are asked for ascend.
std::int64_t RecoveryScan::nextDataSet(std::int64_t from) {
    if (m_next < from) m_next = search(from);
    return m_next;
}

std::int64_t RecoveryScan::search(std::int64_t from) const {
    std::string piece(static_cast<std::size_t>(pieceBytes), '\0');
    for (; m_file.size() - from >= signatureBytes(); from += pieceBytes - signatureBytes() + 1) {
        const auto count = static_cast<std::size_t>(m_file.readAt(from, piece.data(), pieceBytes));
        const std::string_view bytes = std::string_view(piece).substr(0, count);
        for (std::size_t at = 0; (at = bytes.find(m_keyword, at)) != bytes.npos; ++at) {
            if (at + static_cast<std::size_t>(signatureBytes()) > count) break; // whole in the next piece
            if (isSignature(&bytes[at])) return from + static_cast<std::int64_t>(at);
        }
    }
    return m_file.size();
}

bool RecoveryScan::isSignature(const char* bytes) const {
    std::int32_t version;
    std::memcpy(&version, bytes + m_keyword.size(), sizeof version);
    return std::memcmp(bytes, m_keyword.data(), m_keyword.size()) == 0 &&
           std::ranges::count(DataSetRecord::versions, version) > 0;
}

} // namespace

RecoveredRecords scanRecords(const InputFile& file) {
    RecoveryScan scan(file);
    return scan.run();
}

} // namespace icawave
