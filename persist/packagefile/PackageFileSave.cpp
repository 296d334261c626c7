// SPDX-License-Identifier: BSD-3-Clause
#include "persist/packagefile/PackageFileContents.h"

#include "persist/archive/Exchange.h"
#include "platform/Alloc.h"

namespace icawave {

namespace {

// What the system refuses while a file is written names the path that the user gave.
template <class Write>
void withPath(const std::filesystem::path& path, Write&& write) {
    withMemoryException([&] {
        try {
            write();
        } catch (const CFileException& e) {
            throw FileError(path, std::string("cannot be written: ") + e.what());
        } catch (const CArchiveException& e) {
            throw FileError(path, std::string("cannot be written: ") + e.what());
        }
    });
}

void write(CFile& file, CFaceIcazq& package, const PackageSections& sections) {
    PackageWriter writer(file, static_cast<std::int32_t>(package.getTotalIca()), infoOf(package));
    for (std::int64_t k = 0; k < package.getTotalIca(); ++k)
        writer.add(static_cast<CTrialIcaDatazq*>(package.m_icaDataArray[k]));
    writer.finish(sections);
}

PackageSections wholeSections(const InputFile& file, const std::vector<PackageSection>& sections) {
    PackageSections whole;
    for (const PackageSection& section : sections) {
        if (auto bytes = readSection(file, section)) whole.emplace(section.name.utf8(), std::move(*bytes));
    }
    return whole;
}

// Of a package file that stands at a path, if there is one; those that are whole.
PackageSections sectionsAt(const std::filesystem::path& path) {
    try {
        const InputFile file(path, openForReading(path), {});
        const Tail tail = readTail(file);
        return tail.head ? wholeSections(file, tail.head->sections) : PackageSections();
    } catch (const FileError&) {
        return {};
    }
}

} // namespace

PackageSections mergeSections(
    const std::vector<PackageSections>& packages,
    const std::function<std::vector<std::byte>(const std::string& name,
                                               const std::vector<std::vector<std::byte>>& blocks)>& unite) {
    std::map<std::string, std::vector<std::vector<std::byte>>> blocks;
    for (const PackageSections& sections : packages) {
        for (const auto& [name, bytes] : sections) blocks[name].push_back(bytes);
    }
    PackageSections merged;
    for (const auto& [name, all] : blocks)
        merged.emplace(name, all.size() == 1 ? all.front() : unite(name, all));
    return merged;
}

struct PackageWriter::Parts {
    explicit Parts(CFile& target) : file(target), archive(&file, CArchive::store) {}
    ~Parts() { archive.Abort(); }

    template <class Write>
    void addRecord(Write&& write);
    template <class Read>
    void copy(const PackageFile::Contents& source, std::int64_t number, Read&& read);

    ChecksumFile file;
    CArchive archive;
    PackageIndex index;
    std::int32_t slotsLeft = 0;
};

// A record is left out of the checksum of the rest, which goes on behind it.
template <class Write>
void PackageWriter::Parts::addRecord(Write&& write) {
    archive.Flush();
    index.rest = file.takeChecksum(0);
    const std::int64_t begin = file.GetPosition();
    PackageEntry entry = write();
    entry.offset = begin;
    entry.checksum = file.takeChecksum(index.rest);
    entry.length = file.GetPosition() - begin;
    index.entries.push_back(std::move(entry));
}

// `read` loads the data set and returns its row with its place.
template <class Read>
void PackageWriter::Parts::copy(const PackageFile::Contents& source, std::int64_t number, Read&& read) {
    --slotsLeft;
    archive << std::int32_t{1};
    addRecord([&] {
        const DataSetOwner dataSet = requireDataSet();
        source.write(read(*dataSet), number, file);
        return entryOf(*dataSet);
    });
}

PackageWriter::PackageWriter(CFile& file, std::int32_t slots, const PackageInfo& info)
    : m_parts(withMemoryException([&] { return std::make_unique<Parts>(file); })) {
    m_parts->index.info = info;
    m_parts->slotsLeft = slots;
    m_parts->archive << CString(PackageRecord::keyword) << PackageRecord::version20161108;
    exchangeHead(m_parts->archive, ownFields(m_parts->index.info), slots);
}

PackageWriter::~PackageWriter() = default;

void PackageWriter::add(CTrialIcaDatazq* dataSet) {
    withMemoryException([&] {
        --m_parts->slotsLeft;
        m_parts->archive << std::int32_t{dataSet != nullptr};
        if (!dataSet) return;
        m_parts->addRecord([&] {
            dataSet->serialize(m_parts->archive);
            return entryOf(*dataSet);
        });
    });
}

void PackageWriter::copy(const PackageFile& source, std::int64_t number) {
    withMemoryException([&] {
        const PackageFile::Contents& from = *source.m_contents;
        m_parts->copy(from, number,
                      [&](CTrialIcaDatazq& dataSet) { return from.readFound(number, dataSet); });
    });
}

void PackageWriter::finish(const PackageSections& sections) {
    withMemoryException([&] {
        Parts& p = *m_parts;
        if (p.slotsLeft != 0) AfxThrowInvalidArgException();
        for (const auto& [name, bytes] : sections) {
            if (CString(name).utf8() != name) AfxThrowInvalidArgException();
        }
        exchangeTail(p.archive, ownFields(p.index.info));
        p.archive.Close();
        p.index.rest = p.file.takeChecksum(0);
        storeTail(p.file, p.index, sections);
    });
}

void PackageFile::save(const std::filesystem::path& path, CFaceIcazq& package,
                       const std::optional<PackageSections>& sections) {
    withPath(path, [&] {
        AtomicFile file(path);
        write(file, package, sections ? *sections : sectionsAt(path));
        file.commit();
    });
}

void PackageFile::replace(CFaceIcazq& package, bool force) {
    withPath(path(), [&] {
        AtomicFile file(path(), force ? std::nullopt : std::optional(m_contents->file.state()));
        write(file, package, force ? wholeSections(m_contents->file, sections()) : readSections());
        putInPlace(file);
    });
}

void PackageFile::replaceSections(const PackageSections& sections, bool force) {
    withPath(path(), [&] {
        if (!faults().empty()) throw FileError(path(), describe(faults().front()));
        AtomicFile file(path(), force ? std::nullopt : std::optional(m_contents->file.state()));
        ChecksumFile counted(file);
        PackageIndex index = m_contents->index;
        m_contents->file.forEachPiece(0, index.recordLength, [&](const std::byte* bytes, std::int64_t count) {
            counted.Write(bytes, count);
        });
        storeTail(counted, index, sections);
        putInPlace(file);
    });
}

void PackageFile::addIndex(bool force) {
    if (!hasIndex() || m_contents->index.isOld) replaceSections(readSections(), force);
}

// The new file is opened before it takes its place: one that does not open never does, and once it stands
// there nothing can fail but the folder.
void PackageFile::putInPlace(AtomicFile& file) {
    file.Flush();
    auto written = std::make_unique<Contents>(path(), system::Handle(file.openWritten()));
    if (!written->hasIndex) throw FileError(path(), "cannot be written: it does not read back");
    file.commit();
    written->file.refreshState();
    m_contents = std::move(written);
}

PackageReport PackageFile::salvage(const std::filesystem::path& path,
                                   std::optional<FileState> expected) const {
    PackageReport report;
    withPath(path, [&] {
        const VerifiedPackage found = verifyPackage(m_contents->file);
        const std::vector<PackageEntry>& entries = found.index.entries;
        AtomicFile file(path, expected);
        PackageWriter writer(file, static_cast<std::int32_t>(entries.size()), found.index.info);
        std::int64_t number = 0;
        for (const PackageEntry& row : entries) {
            writer.m_parts->copy(*m_contents, number, [&](CTrialIcaDatazq& dataSet) {
                if (auto fault = m_contents->read(row, number, dataSet))
                    throw FileError(this->path(), describe(*fault));
                return row;
            });
            ++number;
        }
        writer.finish(wholeSections(m_contents->file, found.index.sections));
        file.commit();
        report = found.report;
    });
    return report;
}

} // namespace icawave
