// SPDX-License-Identifier: BSD-3-Clause
#include "persist/packagefile/PackageFileContents.h"

#include "persist/packagefile/Crc32c.h"
#include "platform/Alloc.h"
#include "platform/MemoryAhead.h"

namespace icawave {

namespace {

constexpr const char* wrongChecksum = "the bytes are not those that were stored";

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

PackageFile::Contents::Contents(const std::filesystem::path& path, system::Handle opened,
                                std::function<void(std::int64_t)> whenRead)
    : file(path, std::move(opened), std::move(whenRead)) {
    if (std::optional<PackageIndex> stored = loadIndex(file)) {
        hasIndex = true;
        index = std::move(*stored);
        return;
    }
    const VerifiedPackage& found = verified();
    index = found.index;
    faults = found.report.faults;
}

const VerifiedPackage& PackageFile::Contents::verified() const {
    if (!m_verified) m_verified.emplace(verifyPackage(file));
    return *m_verified;
}

std::optional<ArchiveFault> PackageFile::Contents::read(const PackageEntry& row, std::int64_t number,
                                                        CTrialIcaDatazq& dataSet) const {
    prepareMemory(row.length);
    FilePart part(file, row.offset, row.offset + row.length);
    std::int64_t length = 0;
    std::optional<ArchiveFault> fault = loadDataSet(part, number, dataSet, length);
    try {
        part.readRest();
        if (part.checksum() != row.checksum) // whatever loading the bytes came to
            fault = ArchiveFault{row.offset, dataSetRecord(number), wrongChecksum};
        else if (!fault && length != row.length)
            fault = ArchiveFault{row.offset + length, dataSetRecord(number), "the record ends early"};
    } catch (const FileError& e) {
        fault = ArchiveFault{row.offset, dataSetRecord(number), e.what()};
    }
    if (!fault) return std::nullopt;
    dataSet.cleanSnsIcaData();
    dataSet.cleanIcaParam();
    return fault;
}

PackageEntry PackageFile::Contents::readFound(std::int64_t number, CTrialIcaDatazq& dataSet) const {
    const PackageEntry& row = entry(number);
    const std::optional<ArchiveFault> fault = read(row, number, dataSet);
    if (!fault) return row;
    if (hasIndex) {
        const std::vector<std::int64_t>& numbers = verified().numbers;
        const auto found = std::ranges::find(numbers, number);
        if (found != numbers.end()) {
            const PackageEntry& there =
                verified().index.entries[static_cast<std::size_t>(found - numbers.begin())];
            if (there.checksum == row.checksum && !read(there, number, dataSet)) return there;
        }
    }
    throw FileError(file.path(), describe(*fault));
}

void PackageFile::Contents::write(const PackageEntry& row, std::int64_t number, CFile& target) const {
    std::uint32_t checksum = 0;
    file.forEachPiece(row.offset, row.offset + row.length, [&](const std::byte* bytes, std::int64_t count) {
        checksum = crc32c(checksum, bytes, static_cast<std::size_t>(count));
        target.Write(bytes, count);
    });
    if (checksum != row.checksum)
        throw FileError(file.path(), describe({row.offset, dataSetRecord(number), wrongChecksum}));
}

const PackageEntry& PackageFile::Contents::entry(std::int64_t number) const {
    if (number < 0 || number >= count()) AfxThrowInvalidArgException();
    return index.entries[static_cast<std::size_t>(number)];
}

PackageFile::PackageFile(const std::filesystem::path& path, std::function<void(std::int64_t)> whenRead)
    : m_contents(withMemoryException(
          [&] { return std::make_unique<Contents>(path, openForReading(path), std::move(whenRead)); })) {}

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

const PackageInfo& PackageFile::info() const {
    return m_contents->index.info;
}

const std::vector<PackageEntry>& PackageFile::dataSets() const {
    return m_contents->index.entries;
}

const std::vector<ArchiveFault>& PackageFile::faults() const {
    return m_contents->faults;
}

const std::vector<PackageSection>& PackageFile::sections() const {
    return m_contents->index.sections;
}

void PackageFile::read(std::int64_t number, CTrialIcaDatazq& dataSet) const {
    withMemoryException([&] { m_contents->readFound(number, dataSet); });
}

void PackageFile::copyRecord(std::int64_t number, CFile& file) const {
    withMemoryException(
        [&] { m_contents->write(m_contents->readFound(number, *requireDataSet()), number, file); });
}

std::optional<std::vector<std::byte>> PackageFile::section(const CString& name) const {
    return withMemoryException([&]() -> std::optional<std::vector<std::byte>> {
        const auto found = std::ranges::find(sections(), name, &PackageSection::name);
        if (found == sections().end()) return std::nullopt;
        std::optional<std::vector<std::byte>> bytes = readSection(m_contents->file, *found);
        if (!bytes)
            throw FileError(path(), describe({found->offset, "section " + name.utf8(), wrongChecksum}));
        return bytes;
    });
}

PackageSections PackageFile::readSections() const {
    return withMemoryException([&] {
        PackageSections all;
        for (const PackageSection& each : sections()) all.emplace(each.name.utf8(), *section(each.name));
        return all;
    });
}

// Without an index the file is compared with what opening found.
PackageReport PackageFile::inspect() const {
    return withMemoryException([&] {
        const VerifiedPackage now = verifyPackage(m_contents->file);
        PackageReport report = now.report;
        if (hasIndex()) return report;
        const std::vector<PackageEntry>&before = dataSets(), &after = now.index.entries;
        for (std::size_t k = 0; k < before.size(); ++k) {
            if (k < after.size() && after[k] == before[k]) continue;
            report.faults.push_back(
                {before[k].offset, dataSetRecord(static_cast<std::int64_t>(k)), wrongChecksum});
        }
        if (report.faults.empty() && now.index.rest != m_contents->index.rest)
            report.faults.push_back({0, PackageRecord::keyword, wrongChecksum});
        return report;
    });
}

std::vector<ArchiveFault> PackageFile::load(CFaceIcazq& package) const {
    return withMemoryException([&] {
        std::vector<ArchiveFault> found = m_contents->loadAll(m_contents->index, package);
        if (!hasIndex()) {
            found.insert(found.begin(), faults().begin(), faults().end());
        } else if (!found.empty() || !m_contents->isRestWhole()) { // reading all of it may find more
            const VerifiedPackage& verified = m_contents->verified();
            found = m_contents->loadAll(verified.index, package);
            found.insert(found.begin(), verified.report.faults.begin(), verified.report.faults.end());
        }
        return found;
    });
}

// Returns the faults of records that do not load.
std::vector<ArchiveFault> PackageFile::Contents::loadAll(const PackageIndex& from,
                                                         CFaceIcazq& package) const {
    std::vector<ArchiveFault> found;
    package.cleanIcaFace();
    setInfo(package, from.info);
    std::int64_t number = 0;
    for (const PackageEntry& row : from.entries) {
        DataSetOwner dataSet = requireDataSet();
        if (auto fault = read(row, number, *dataSet)) {
            found.push_back(std::move(*fault));
        } else {
            package.m_icaDataArray.Add(dataSet.get());
            dataSet.release();
        }
        ++number;
    }
    return found;
}

bool PackageFile::Contents::isRestWhole() const {
    return checksumOfRest(file, index.entries, index.recordLength) == index.rest;
}

} // namespace icawave
