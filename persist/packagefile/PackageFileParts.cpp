// SPDX-License-Identifier: BSD-3-Clause
#include "persist/packagefile/PackageFileParts.h"

#include <icawave/platform/FrontEnd.h>

#include "persist/archive/Exchange.h"
#include "persist/packagefile/Crc32c.h"
#include "system/System.h"

namespace icawave {

namespace {

// Keeps what a record shows instead of showing it.
class FirstMessage : public UiFrontEnd {
public:
    void messageBox(const CString& message) override {
        if (!text) text = message;
    }

    std::optional<CString> text;

private:
    InstalledFrontEnd m_installed{*this};
};

// What is allowed beyond the file's bytes serves records that are cut short. A complete one needs none of it,
// and many damaged ones must not each cost it.
void takeAllowance(CArchive& archive) {
    for (std::int64_t bytes = std::int64_t{1} << 40; bytes > 0; bytes /= 2)
        archive.grants(archive.remainingBytes() + bytes, 1, 1);
}

} // namespace

system::Handle openForReading(const std::filesystem::path& path) {
    int file = -1;
    if (const int error = system::open(systemPath(path).c_str(), system::Open::readAtOnce, file))
        throw FileError(path, system::errorText(error));
    return system::Handle(file);
}

InputFile::InputFile(const std::filesystem::path& path, system::Handle file,
                     std::function<void(std::int64_t)> whenRead)
    : m_path(path), m_file(std::move(file)), m_whenRead(std::move(whenRead)) {
    system::Status status;
    if (const int error = system::statusOf(m_file.get(), status))
        throw FileError(path, system::errorText(error));
    if (!status.isRegular) throw FileError(path, "not a regular file");
    m_state = stateOf(status);
}

void InputFile::refreshState() noexcept {
    system::Status status;
    if (system::statusOf(m_file.get(), status) == 0) m_state = stateOf(status);
}

std::int64_t InputFile::readAt(std::int64_t offset, void* bytes, std::int64_t count) const {
    auto* to = static_cast<std::byte*>(bytes);
    std::int64_t done = 0;
    while (done < count) {
        const auto [got, error] = system::readAt(m_file.get(), offset + done, to + done, count - done);
        if (error != 0) throw FileError(m_path, "cannot be read: " + system::errorText(error));
        if (got == 0) break;
        done += got;
    }
    m_bytesRead += done;
    if (m_whenRead) m_whenRead(m_bytesRead);
    return done;
}

std::uint32_t InputFile::checksum(std::int64_t begin, std::int64_t end, std::uint32_t before) const {
    forEachPiece(begin, end, [&](const std::byte* bytes, std::int64_t count) {
        before = crc32c(before, bytes, static_cast<std::size_t>(count));
    });
    return before;
}

std::int64_t FilePart::Read(void* buffer, std::int64_t count) {
    const std::int64_t got = m_file.readAt(m_next, buffer, std::min(count, m_to - m_next));
    m_checksum = crc32c(m_checksum, buffer, static_cast<std::size_t>(got));
    m_next += got;
    return got;
}

void FilePart::readRest() {
    m_checksum = m_file.checksum(std::exchange(m_next, m_to), m_to, m_checksum);
}

void ChecksumFile::Write(const void* buffer, std::int64_t count) {
    m_target.Write(buffer, count);
    m_checksum = crc32c(m_checksum, buffer, static_cast<std::size_t>(count));
    m_position += count;
}

DataSetOwner requireDataSet() {
    DataSetOwner dataSet = newDataSet();
    if (!dataSet) AfxThrowMemoryException();
    return dataSet;
}

std::string describe(const ArchiveFault& fault) {
    return fault.record + " at byte " + std::to_string(fault.offset) + ": " + fault.text;
}

std::optional<ArchiveFault> loadDataSet(FilePart& part, std::int64_t number, CTrialIcaDatazq& dataSet,
                                        std::int64_t& length) {
    const auto bufferBytes = static_cast<std::int32_t>(std::min(part.GetLength(), pieceBytes));
    CArchive archive(&part, CArchive::load, bufferBytes);
    takeAllowance(archive);
    std::string text;
    {
        const FirstMessage message;
        try {
            if (dataSet.serialize(archive) == 0) text = "the record cannot be loaded";
        } catch (const CMemoryException&) {
            if (!archive.firstFault()) throw; // else a count that the file does not justify
            text = archive.firstFault()->text;
        } catch (const CException& e) {
            text = e.what();
        }
        if (message.text) text = message.text->utf8();
    }
    length = archive.offset();
    const std::optional<ArchiveFault>& fault = archive.firstFault();
    if (!fault && text.empty()) return std::nullopt;
    if (fault && fault->text == notEnoughMemory) AfxThrowMemoryException();
    if (!fault) return ArchiveFault{part.from() + length, dataSetRecord(number), text};
    // The archive saw the data set alone: what it names behind that is kept.
    const std::size_t inner = std::min(fault->record.find(','), fault->record.size());
    return ArchiveFault{part.from() + fault->offset, dataSetRecord(number) + fault->record.substr(inner),
                        fault->text};
}

std::string encodedText(const char* keyword) {
    CMemFile file;
    CArchive archive(&file, CArchive::store);
    archive << CString(keyword);
    archive.Close();
    return {reinterpret_cast<const char*>(file.bytes().data()), file.bytes().size()};
}

} // namespace icawave
