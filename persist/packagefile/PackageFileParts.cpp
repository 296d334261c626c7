// SPDX-License-Identifier: BSD-3-Clause
#include "persist/packagefile/PackageFileParts.h"

#include <icawave/platform/FrontEnd.h>

#include "persist/packagefile/Crc32c.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace icawave {

namespace {

// One system call moves at most 2^31 - 4096 bytes.
constexpr std::int64_t largestTransfer = std::int64_t{1} << 30;

FileState stateOf(const struct stat& status) {
    return {status.st_dev, status.st_ino, status.st_size,
            status.st_mtim.tv_sec * std::int64_t{1'000'000'000} + status.st_mtim.tv_nsec};
}

// A pipe must not keep its reader waiting.
int openForReading(const CString& path, const std::string& name) {
    const int descriptor = ::open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) throw FileError(path, systemText(errno));
    return descriptor;
}

// Keeps what a record shows instead of showing it.
class FirstMessage : public UiFrontEnd {
public:
    FirstMessage() : m_previous(setUiFrontEnd(this)) {}
    ~FirstMessage() override { setUiFrontEnd(m_previous); }

    void messageBox(const CString& message) override {
        if (!text) text = message;
    }

    std::optional<CString> text;

private:
    UiFrontEnd* m_previous;
};

// What is allowed beyond the file's bytes serves records that are cut short. A complete one needs none of it,
// and many damaged ones must not each cost it.
void takeAllowance(CArchive& archive) {
    for (std::int64_t bytes = std::int64_t{1} << 40; bytes > 0; bytes /= 2)
        archive.grants(archive.remainingBytes() + bytes, 1, 1);
}

} // namespace

const char* FileError::what() const noexcept {
    return m_text.what();
}

Descriptor::~Descriptor() {
    if (m_value >= 0) ::close(m_value);
}

std::string systemPath(const CString& path) {
    std::string name = path.utf8();
    if (name.find('\0') != std::string::npos) throw FileError(path, "not a path");
    return name;
}

std::string systemText(int error) {
    return std::system_category().message(error);
}

std::optional<FileState> FileState::of(const CString& path) {
    struct stat status;
    if (::stat(systemPath(path).c_str(), &status) == 0) return stateOf(status);
    if (errno != ENOENT) throw FileError(path, systemText(errno));
    return std::nullopt;
}

InputFile::InputFile(const CString& path, const std::string& name, std::function<void(std::int64_t)> whenRead)
    : m_path(path), m_descriptor(openForReading(path, name)), m_whenRead(std::move(whenRead)) {
    struct stat status;
    if (::fstat(m_descriptor.get(), &status) != 0) throw FileError(path, systemText(errno));
    if (!S_ISREG(status.st_mode)) throw FileError(path, "not a regular file");
    m_state = stateOf(status);
}

std::int64_t InputFile::readAt(std::int64_t offset, void* bytes, std::int64_t count) const {
    auto* to = static_cast<std::byte*>(bytes);
    std::int64_t done = 0;
    while (done < count) {
        const auto piece = static_cast<std::size_t>(std::min(count - done, largestTransfer));
        const ssize_t got = ::pread(m_descriptor.get(), to + done, piece, offset + done);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) throw FileError(m_path, "cannot be read: " + systemText(errno));
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

std::string describe(const ArchiveFault& fault) {
    return fault.record + " at byte " + std::to_string(fault.offset) + ": " + fault.text;
}

PackageEntry listed(const CTrialIcaDatazq& dataSet) {
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
        } catch (const CException& e) {
            text = e.what();
        }
        if (message.text) text = message.text->utf8();
    }
    length = archive.offset();
    const std::optional<ArchiveFault>& fault = archive.firstFault();
    if (!fault && text.empty()) return std::nullopt;
    if (!fault) return ArchiveFault{part.from() + length, dataSetRecord(number), text};
    // The archive saw the data set alone: what it names behind that is kept.
    const std::size_t inner = std::min(fault->record.find(','), fault->record.size());
    return ArchiveFault{part.from() + fault->offset, dataSetRecord(number) + fault->record.substr(inner),
                        fault->text};
}

std::string storedText(const char* keyword) {
    CMemFile file;
    CArchive archive(&file, CArchive::store);
    archive << CString(keyword);
    archive.Close();
    return {reinterpret_cast<const char*>(file.bytes().data()), file.bytes().size()};
}

} // namespace icawave
