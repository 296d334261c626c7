// SPDX-License-Identifier: BSD-3-Clause
// Package files: any bytes opened, listed, read, checked and salvaged; and a sound record with an index, in
// which every change is found.
#include "fuzz/Fuzz.h"

#include <icawave/PackageFile.h>

#include "persist/packagefile/Crc32c.h"

#include <algorithm>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

using namespace icawave;
using fuzz::require;

namespace {

// A file without a disk.
class MemoryFile {
public:
    MemoryFile() : m_descriptor(::memfd_create("package", 0)) {}
    ~MemoryFile() { ::close(m_descriptor); }
    std::string path() const { return "/proc/self/fd/" + std::to_string(m_descriptor); }
    void write(const std::vector<std::uint8_t>& bytes) {
        require(::ftruncate(m_descriptor, 0) == 0, "a file in memory");
        require(::pwrite(m_descriptor, bytes.data(), bytes.size(), 0) == std::ssize(bytes),
                "a file in memory");
    }

private:
    int m_descriptor;
};

// No fuzzer finds a checksum: those of the chunks are made right, where they seem to begin.
void repairChunks(std::vector<std::uint8_t>& bytes) {
    constexpr std::string_view mark = "ICAW\x1A\r\n";
    constexpr std::size_t headBytes = 24, guardAt = 20;
    auto at = bytes.begin();
    while ((at = std::search(at, bytes.end(), mark.begin(), mark.end())) != bytes.end()) {
        std::uint8_t* const head = &*at++;
        const auto left = static_cast<std::size_t>(bytes.data() + bytes.size() - head);
        if (left < headBytes) return;
        std::uint64_t length = 0;
        std::memcpy(&length, head + 8, sizeof length);
        if (length > left - headBytes) length = left - headBytes;
        std::memcpy(head + 8, &length, sizeof length);
        const std::uint32_t checksum = crc32c(0, head + headBytes, length);
        std::memcpy(head + 16, &checksum, sizeof checksum);
        const std::uint32_t guard = crc32c(0, head, guardAt);
        std::memcpy(head + guardAt, &guard, sizeof guard);
    }
}

// The faults of a file, which is used in every way; nothing when it is not even a damaged package.
std::optional<std::size_t> faultsOf(MemoryFile& file) {
    try {
        const PackageFile opened(file.path());
        std::int64_t sound = 0;
        for (std::int64_t k = 0; k < std::ssize(opened.dataSets()); ++k) {
            const icawave::DataSetOwner dataSet = icawave::newDataSet();
            try {
                opened.read(k, *dataSet);
                ++sound;
            } catch (const FileError&) {
                require(!dataSet->m_chnlIcaData, "a damaged data set is not shown");
            }
        }
        CFaceIcazq loaded;
        opened.load(loaded);
        require(loaded.getTotalIca() >= sound, "what can be read is loaded");
        for (const PackageSection& section : opened.sections()) {
            try {
                opened.section(section.name);
            } catch (const FileError&) { // damaged
            }
        }
        CMemFile salvaged;
        const std::size_t faults = opened.check().size();
        if (faults > 0) return faults;
        PackageWriter writer(salvaged, static_cast<std::int32_t>(opened.dataSets().size()), opened.info());
        for (std::int64_t k = 0; k < std::ssize(opened.dataSets()); ++k) writer.copy(opened, k);
        writer.finish();
        return faults;
    } catch (const FileError&) {
        return std::nullopt;
    } catch (const CMemoryException&) {
        return std::nullopt;
    }
}

// The package that is loaded, as a file; each of the given bytes changed alone is found.
void requireChangesFound(CFaceIcazq& package, fuzz::Input& changes) {
    const fuzz::Messages messages;
    CMemFile written;
    PackageInfo info;
    info.name = package.m_pkgName;
    PackageWriter writer(written, static_cast<std::int32_t>(package.getTotalIca()), info);
    for (std::int64_t k = 0; k < package.getTotalIca(); ++k)
        writer.add(static_cast<CTrialIcaDatazq*>(package.m_icaDataArray[k]));
    const std::vector<std::byte> section(written.bytes().size() % 5000, std::byte{'s'});
    writer.finish({{"section", section}});
    const auto* first = reinterpret_cast<const std::uint8_t*>(written.bytes().data());
    std::vector<std::uint8_t> bytes(first, first + written.bytes().size());
    MemoryFile file;
    while (!changes.isEmpty()) {
        const std::size_t at = changes.take<std::uint16_t>() % bytes.size();
        const auto mask = static_cast<std::uint8_t>(1 + changes.below(255));
        bytes[at] ^= mask;
        file.write(bytes);
        const auto faults = faultsOf(file);
        require(!faults || *faults > 0, "a changed byte is found");
        bytes[at] ^= mask;
    }
}

} // namespace

// The last byte tells what is done with the bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    enum { asTheyAre, repaired, changed, ways };
    const std::size_t way = fuzz::Input::tail(data, size, 1).below(ways);
    if (way == changed) {
        fuzz::Input changes = fuzz::Input::tail(data, size, 12);
        CFaceIcazq package;
        if (fuzz::load(package, fuzz::Bytes(data, size))) requireChangesFound(package, changes);
        return 0;
    }
    std::vector<std::uint8_t> bytes(data, data + size);
    if (way == repaired) repairChunks(bytes);
    MemoryFile file;
    file.write(bytes);
    faultsOf(file);
    return 0;
}
