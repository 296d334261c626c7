// SPDX-License-Identifier: BSD-3-Clause
// Package files beside the system calls that move the same bytes, and loading beside copying the same arrays.
#include "bench/Pairs.h"

#include <icawave/PackageFile.h>

#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <malloc.h>
#include <memory>
#include <sys/prctl.h>
#include <unistd.h>

using bench::seconds;
namespace fs = std::filesystem;

namespace {

constexpr std::size_t piece = 1 << 20; // bytes that one system call moves

void writePieces(const fs::path& path, const std::vector<char>& bytes, bool toDisk) {
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
        const std::size_t count = std::min(piece, bytes.size() - at);
        bench::require(::write(file, &bytes[at], count) == static_cast<ssize_t>(count), "written");
    }
    if (toDisk) ::fsync(file);
    ::close(file);
}

void readPieces(const fs::path& path, std::int64_t offset, std::vector<char>& bytes) {
    const int file = ::open(path.c_str(), O_RDONLY);
    for (std::size_t at = 0; at < bytes.size();) {
        const ssize_t got = ::pread(file, &bytes[at], std::min(piece, bytes.size() - at), offset + at);
        bench::require(got > 0, "read");
        at += got;
    }
    ::close(file);
}

void store(const fs::path& path, CFaceIcazq& package) {
    CFile file;
    bench::require(file.Open(path.string(), CFile::modeCreate | CFile::modeWrite), "created");
    CArchive archive(&file, CArchive::store);
    package.serialize(archive);
    archive.Close();
    file.Close();
}

void load(const fs::path& path, CFaceIcazq& package) {
    CFile file;
    bench::require(file.Open(path.string(), CFile::modeRead), "opened");
    CArchive archive(&file, CArchive::load);
    bench::require(package.serialize(archive) == 1, "loaded");
}

// A package of a workload, as a file too.
struct Stored {
    explicit Stored(const bench::Workload& size) {
        bench::fill(package, size);
        store(file, package);
        bytes.resize(fs::file_size(file));
        readPieces(file, 0, bytes);
    }

    bench::Folder folder;
    fs::path file = folder / "package.icpkg";
    CFaceIcazq package;
    std::vector<char> bytes;
};

void serializeToNewFile(benchmark::State& state, const bench::Workload& size) {
    Stored stored(size);
    const fs::path target = stored.folder / "new.icpkg";
    const auto onNewFile = [&](auto write) {
        fs::remove(target);
        const double time = seconds(write);
        bench::require(fs::file_size(target) == stored.bytes.size(), "all bytes");
        return time;
    };
    bench::comparePairs(
        state, [&] { return onNewFile([&] { store(target, stored.package); }); },
        [&] { return onNewFile([&] { writePieces(target, stored.bytes, false); }); });
}

void saveOverExistingFile(benchmark::State& state, const bench::Workload& size) {
    Stored stored(size);
    const fs::path target = stored.folder / "existing.icpkg", temporary = stored.folder / "temporary";
    icawave::PackageFile::save(target.string(), stored.package);
    bench::comparePairs(
        state, [&] { return seconds([&] { icawave::PackageFile::save(target.string(), stored.package); }); },
        [&] {
            return seconds([&] {
                writePieces(temporary, stored.bytes, true);
                fs::rename(temporary, target);
                const int folder = ::open(stored.folder.path().c_str(), O_RDONLY | O_DIRECTORY);
                ::fsync(folder);
                ::close(folder);
            });
        });
    bench::require(icawave::PackageFile(stored.file.string()).check().empty(), "sound");
}

double timeOfLoad(Stored& stored) {
    CFaceIcazq loaded;
    const double time = seconds([&] { load(stored.file, loaded); });
    bench::require(loaded.getTotalIca() == stored.package.getTotalIca(), "all data sets");
    return time;
}

void loadAfterRelease(benchmark::State& state, const bench::Workload& size) {
    Stored stored(size);
    timeOfLoad(stored);
    bench::comparePairs(
        state, [&] { return timeOfLoad(stored); },
        [&] { return seconds([&] { readPieces(stored.file, 0, stored.bytes); }); });
}

// New memory comes as any program gets it, although the library asked for huge pages there.
class OrdinaryPages {
public:
    OrdinaryPages() { ::prctl(PR_SET_THP_DISABLE, 1, 0, 0, 0); }
    ~OrdinaryPages() { ::prctl(PR_SET_THP_DISABLE, 0, 0, 0, 0); }
};

void loadIntoNewMemory(benchmark::State& state, const bench::Workload& size) {
    Stored stored(size);
    bench::comparePairs(
        state,
        [&] {
            ::malloc_trim(0);
            return timeOfLoad(stored);
        },
        [&] {
            ::malloc_trim(0);
            const OrdinaryPages ordinary;
            std::vector<std::unique_ptr<double[]>> copies;
            const std::vector<double*> from = bench::buffers(stored.package);
            copies.reserve(from.size());
            return seconds([&] {
                for (const double* values : from) {
                    copies.emplace_back(new double[size.samples]);
                    std::memcpy(copies.back().get(), values, size.samples * sizeof(double));
                }
            });
        });
}

void oneDataSet(benchmark::State& state, const bench::Workload& size) {
    Stored stored(size);
    icawave::PackageFile::save(stored.file.string(), stored.package);
    const icawave::PackageFile opened(stored.file.string());
    std::vector<char> bytes(opened.dataSets()[0].length);
    std::int64_t calls = 0;
    const auto next = [&] { return calls++ * 7 % std::ssize(opened.dataSets()); };
    bench::comparePairs(
        state,
        [&] {
            CFaceIcazq package;
            package.setIcaData(new CTrialIcaDatazq, 0);
            const std::int64_t number = next();
            return seconds([&] { opened.read(number, *package.getIcaData(0)); });
        },
        [&] {
            const std::int64_t offset = opened.dataSets()[next()].offset;
            return seconds([&] { readPieces(stored.file, offset, bytes); });
        });
}

// A file whose large blocks are holes: only what the list needs is on the disk.
class SparseFile : public CFile {
public:
    void Write(const void* buffer, std::int64_t count) override {
        if (count < 8000 || !hasHoles) return CFile::Write(buffer, count);
        Seek(count, current);
    }

    bool hasHoles = true;
};

// 10,000 data sets of a megabyte.
void listOfTenGigabytes(benchmark::State& state) {
    const bench::Folder folder;
    const std::string path = (folder / "large.icpkg").string();
    CFaceIcazq package;
    bench::fill(package, {"", 1, 64, 2000});
    SparseFile file;
    bench::require(file.Open(path, CFile::modeCreate | CFile::modeWrite), "created");
    icawave::PackageWriter writer(file, 10'000, {});
    for (int k = 0; k < 10'000; ++k) writer.add(package.getIcaData(0));
    file.hasHoles = false; // in the index
    writer.finish();
    file.Close();
    bench::require(fs::file_size(path) > 10'000'000'000, "10 GB");
    std::vector<double> times;
    for ([[maybe_unused]] auto _ : state) {
        for (int k = 0; k < 9; ++k) {
            times.push_back(seconds([&] {
                const icawave::PackageFile opened(path);
                bench::require(opened.hasIndex() && opened.dataSets().size() == 10'000, "the list");
            }));
        }
        state.SetIterationTime(bench::median(times));
    }
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    icawave::keepMemory(256 << 20); // as the project's own programs do
    for (const bench::Workload& size : bench::workloads) {
        const auto beside = [&size](const char* name,
                                    void (*operation)(benchmark::State&, const bench::Workload&)) {
            bench::add(std::string(name) + "/" + size.name,
                       [&size, operation](benchmark::State& state) { operation(state, size); });
        };
        beside("store/serialize", serializeToNewFile);
        beside("store/PackageFile", saveOverExistingFile);
        beside("load/after_release", loadAfterRelease);
        beside("load/new_memory", loadIntoNewMemory);
        beside("load/one_data_set", oneDataSet);
    }
    bench::add("list/10_GB", listOfTenGigabytes);
    benchmark::RunSpecifiedBenchmarks();
}
