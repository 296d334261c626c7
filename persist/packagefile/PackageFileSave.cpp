// SPDX-License-Identifier: BSD-3-Clause
#include "persist/packagefile/PackageFileParts.h"

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

void write(CFile& file, CFaceIcazq& package) {
    PackageWriter writer(file, static_cast<std::int32_t>(package.getTotalIca()), infoOf(package));
    for (std::int64_t k = 0; k < package.getTotalIca(); ++k)
        writer.add(static_cast<CTrialIcaDatazq*>(package.m_icaDataArray[k]));
    writer.finish();
}

} // namespace

struct PackageWriter::Parts {
    explicit Parts(CFile& target) : file(target), archive(&file, CArchive::store) {}
    ~Parts() { archive.Abort(); }

    template <class Write>
    void addRecord(PackageEntry entry, Write&& write);

    ChecksumFile file;
    CArchive archive;
    PackageIndex index;
    std::int32_t slotsLeft = 0;
};

// A record is left out of the checksum of the rest, which goes on behind it.
template <class Write>
void PackageWriter::Parts::addRecord(PackageEntry entry, Write&& write) {
    archive.Flush();
    index.rest = file.takeChecksum(0);
    entry.offset = file.GetPosition();
    write();
    entry.checksum = file.takeChecksum(index.rest);
    entry.length = file.GetPosition() - entry.offset;
    index.entries.push_back(std::move(entry));
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
        if (dataSet) m_parts->addRecord(entryOf(*dataSet), [&] { dataSet->serialize(m_parts->archive); });
    });
}

void PackageWriter::copy(const PackageFile& source, std::int64_t number) {
    withMemoryException([&] {
        const PackageEntry& row = source.m_contents->entry(number);
        --m_parts->slotsLeft;
        m_parts->archive << std::int32_t{1};
        m_parts->addRecord(row, [&] { source.copyRecord(number, m_parts->file); });
    });
}

void PackageWriter::finish() {
    withMemoryException([&] {
        Parts& p = *m_parts;
        if (p.slotsLeft != 0) AfxThrowInvalidArgException();
        exchangeTail(p.archive, ownFields(p.index.info));
        p.archive.Close();
        p.index.rest = p.file.takeChecksum(0);
        storeIndex(p.file, p.index);
    });
}

void PackageFile::save(const std::filesystem::path& path, CFaceIcazq& package) {
    withPath(path, [&] {
        AtomicFile file(path);
        write(file, package);
        file.commit();
    });
}

void PackageFile::replace(CFaceIcazq& package, bool force) {
    withPath(path(), [&] {
        AtomicFile file(path(), force ? std::nullopt : std::optional(m_contents->file.state()));
        write(file, package);
        putInPlace(file);
    });
}

void PackageFile::addIndex(bool force) {
    if (hasIndex()) return;
    withPath(path(), [&] {
        if (!faults().empty()) throw FileError(path(), describe(faults().front()));
        if (bytesBehind() > 0) throw FileError(path(), "other bytes follow the package");
        AtomicFile file(path(), force ? std::nullopt : std::optional(m_contents->file.state()));
        ChecksumFile counted(file);
        m_contents->file.forEachPiece(
            0, size(), [&](const std::byte* bytes, std::int64_t count) { counted.Write(bytes, count); });
        storeIndex(counted, m_contents->index);
        putInPlace(file);
    });
}

// The new file is opened before it takes its place: one that does not open never does, and once it stands
// there nothing can fail but the folder.
void PackageFile::putInPlace(AtomicFile& file) {
    file.Flush();
    auto written = std::make_unique<Contents>(path(), file.writtenPath());
    if (!written->hasIndex) throw FileError(path(), "cannot be written: it does not read back");
    file.commit();
    m_contents = std::move(written);
}

std::vector<ArchiveFault> PackageFile::salvage(const std::filesystem::path& path,
                                               std::optional<FileState> expected) const {
    std::vector<ArchiveFault> found;
    withPath(path, [&] {
        std::vector<std::int64_t> sound;
        found = m_contents->check(sound);
        PackageInfo salvaged = info();
        for (std::int64_t k = 0; k < m_contents->count(); ++k)
            if (!std::binary_search(sound.begin(), sound.end(), k))
                leaveOut(k, info().current, salvaged.current);
        AtomicFile file(path, expected);
        PackageWriter writer(file, static_cast<std::int32_t>(sound.size()), salvaged);
        for (const std::int64_t k : sound) writer.copy(*this, k);
        writer.finish();
        file.commit();
    });
    return found;
}

} // namespace icawave
