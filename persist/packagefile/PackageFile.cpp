// SPDX-License-Identifier: BSD-3-Clause
#include "persist/packagefile/PackageFileParts.h"

#include <icawave/DataSetOwner.h>

#include "persist/packagefile/Crc32c.h"
#include "platform/Alloc.h"
#include "platform/MemoryAhead.h"

#include <algorithm>

namespace icawave {

namespace {

constexpr const char* wrongChecksum = "the bytes are not those that were stored";

// The checksum of the package record's bytes outside of its data sets.
std::uint32_t checksumOfRest(const InputFile& file, const std::vector<PackageEntry>& entries,
                             std::int64_t recordEnd) {
    std::uint32_t checksum = 0;
    std::int64_t begin = 0;
    for (const PackageEntry& entry : entries) {
        checksum = file.checksum(begin, entry.offset, checksum);
        begin = entry.offset + entry.length;
    }
    return file.checksum(begin, recordEnd, checksum);
}

// What is wrong with bytes whose checksum was stored.
template <class Checksum>
std::optional<ArchiveFault> compare(std::int64_t offset, const std::string& record, std::uint32_t stored,
                                    Checksum&& checksum) {
    try {
        if (checksum() == stored) return std::nullopt;
        return ArchiveFault{offset, record, wrongChecksum};
    } catch (const FileError& e) {
        return ArchiveFault{offset, record, e.what()};
    }
}

} // namespace

PackageEntry entryOf(const CTrialIcaData& dataSet) {
    PackageEntry entry;
    entry.name = dataSet.m_icaName;
    entry.samples = dataSet.m_totalSample;
    entry.channels = dataSet.m_chnlTotal;
    entry.selectedChannel = dataSet.m_selectIca;
    entry.dataSetClass = dataSet.m_icaClass;
    entry.selectBegin = dataSet.m_selectBegin;
    entry.selectEnd = dataSet.m_selectEnd;
    entry.shown = dataSet.m_icaShow;
    return entry;
}

PackageInfo infoOf(const CFaceIca& package) {
    PackageInfo info;
    ownFields(info) = ownFields(package);
    return info;
}

void setInfo(CFaceIca& package, const PackageInfo& info) {
    ownFields(package) = ownFields(info);
}

PackageFile::Contents::Contents(const std::filesystem::path& path, const std::filesystem::path& name,
                                std::function<void(std::int64_t)> whenRead)
    : file(path, name, std::move(whenRead)) {
    const IndexState state = loadIndex(file, index, recordEnd);
    hasIndex = state == IndexState::sound;
    if (hasIndex) return;
    RecoveredRecords found = scanRecords(file);
    index = std::move(found.index);
    recordEnd = found.recordEnd;
    faults = std::move(found.faults);
    index.rest = checksumOfRest(file, index.entries, recordEnd);
    if (state == IndexState::damaged && (faults.empty() || faults.back().record != "index"))
        faults.push_back({recordEnd, "index", "the index is damaged"});
}

std::optional<ArchiveFault> PackageFile::Contents::read(std::int64_t number, CTrialIcaDatazq& dataSet) const {
    const PackageEntry& row = entry(number);
    prepareMemory(row.length);
    FilePart part(file, row.offset, row.offset + row.length);
    std::int64_t length = 0;
    std::optional<ArchiveFault> fault = loadDataSet(part, number, dataSet, length);
    const auto wrongBytes = compare(row.offset, dataSetRecord(number), row.checksum, [&] {
        part.readRest();
        return part.checksum();
    });
    if (wrongBytes) fault = wrongBytes; // whatever loading them came to
    if (!fault && length != row.length)
        fault = ArchiveFault{row.offset + length, dataSetRecord(number), "the record ends early"};
    if (!fault) return std::nullopt;
    dataSet.cleanSnsIcaData();
    dataSet.cleanIcaParam();
    return fault;
}

std::optional<ArchiveFault> PackageFile::Contents::checkRest() const {
    return compare(0, PackageRecord::keyword, index.rest,
                   [&] { return checksumOfRest(file, index.entries, recordEnd); });
}

std::vector<ArchiveFault> PackageFile::Contents::check(std::vector<std::int64_t>& sound) const {
    std::vector<ArchiveFault> found = faults;
    if (auto fault = checkRest()) found.push_back(*fault);
    for (std::int64_t k = 0; k < count(); ++k) {
        const PackageEntry& row = entry(k);
        const auto fault = compare(row.offset, dataSetRecord(k), row.checksum,
                                   [&] { return file.checksum(row.offset, row.offset + row.length); });
        if (fault)
            found.push_back(*fault);
        else
            sound.push_back(k);
    }
    return found;
}

const PackageEntry& PackageFile::Contents::entry(std::int64_t number) const {
    if (number < 0 || number >= count()) AfxThrowInvalidArgException();
    return index.entries[static_cast<std::size_t>(number)];
}

PackageFile::PackageFile(const std::filesystem::path& path, std::function<void(std::int64_t)> whenRead)
    : m_contents(
          withMemoryException([&] { return std::make_unique<Contents>(path, path, std::move(whenRead)); })) {}

PackageFile::~PackageFile() = default;

const std::filesystem::path& PackageFile::path() const {
    return m_contents->file.path();
}

std::int64_t PackageFile::size() const {
    return m_contents->file.size();
}

bool PackageFile::hasIndex() const {
    return m_contents->hasIndex;
}

std::int64_t PackageFile::bytesBehind() const {
    return hasIndex() ? 0 : size() - m_contents->recordEnd;
}

const PackageInfo& PackageFile::info() const {
    return m_contents->index.info;
}

const std::vector<PackageEntry>& PackageFile::dataSets() const {
    return m_contents->index.entries;
}

const std::vector<ArchiveFault>& PackageFile::faults() const {
    return m_contents->faults;
}

void PackageFile::read(std::int64_t number, CTrialIcaDatazq& dataSet) const {
    withMemoryException([&] {
        if (const auto fault = m_contents->read(number, dataSet)) throw FileError(path(), describe(*fault));
    });
}

void PackageFile::copyRecord(std::int64_t number, CFile& file) const {
    withMemoryException([&] {
        const PackageEntry& row = m_contents->entry(number);
        std::uint32_t checksum = 0;
        m_contents->file.forEachPiece(row.offset, row.offset + row.length,
                                      [&](const std::byte* bytes, std::int64_t count) {
                                          checksum = crc32c(checksum, bytes, static_cast<std::size_t>(count));
                                          file.Write(bytes, count);
                                      });
        if (checksum != row.checksum)
            throw FileError(path(), describe({row.offset, dataSetRecord(number), wrongChecksum}));
    });
}

std::vector<ArchiveFault> PackageFile::check() const {
    return withMemoryException([&] {
        std::vector<std::int64_t> sound;
        return m_contents->check(sound);
    });
}

std::vector<ArchiveFault> PackageFile::load(CFaceIcazq& package) const {
    return withMemoryException([&] {
        std::vector<ArchiveFault> found = faults();
        if (auto fault = m_contents->checkRest()) found.push_back(*fault);
        package.cleanIcaFace();
        setInfo(package, info());
        for (std::int64_t k = 0; k < m_contents->count(); ++k) {
            DataSetOwner dataSet = newDataSet();
            if (!dataSet) AfxThrowMemoryException();
            if (auto fault = m_contents->read(k, *dataSet)) {
                found.push_back(*fault);
                leaveOut(k, info().current, package.m_curntIcaDataSetID);
                continue;
            }
            package.m_icaDataArray.Add(dataSet.get());
            dataSet.release();
        }
        return found;
    });
}

} // namespace icawave
