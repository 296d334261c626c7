// Package files with and without an index: every damage is found and told, whatever is undamaged is saved,
// and a save that fails changes nothing.
#include "tests/Support.h"

#include <icawave/PackageFile.h>

#include "persist/Crc32c.h"

#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

using icawave::ArchiveFault;
using icawave::AtomicFile;
using icawave::FileError;
using icawave::PackageEntry;
using icawave::PackageFile;
using icawave::PackageWriter;
using test::Bytes;
using test::DataSet;
using test::stored;

namespace {

int operationsLeft = -1; // until the system refuses one; below 0: it refuses none
std::int64_t bytesRead = 0;
std::function<void()> whileSyncing = [] {};
std::string changes; // the operations that put a file in its place, in their order

bool refuses(const char* change = "") {
    changes += change;
    if (operationsLeft < 0 || operationsLeft-- != 0) return false;
    errno = EIO;
    return true;
}

} // namespace

// The system's operations as the library meets them.
extern "C" {
int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = flags & O_CREAT ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return refuses() ? -1 : ::openat(AT_FDCWD, path, flags, mode);
}
ssize_t pread(int file, void* to, size_t count, off_t offset) {
    const ssize_t got = refuses() ? -1 : ::syscall(SYS_pread64, file, to, count, offset);
    if (got > 0) bytesRead += got;
    return got;
}
ssize_t write(int file, const void* from, size_t count) {
    return refuses() ? -1 : ::syscall(SYS_write, file, from, count);
}
int fsync(int file) {
    whileSyncing();
    return refuses("sync ") || file < 0 ? -1 : 0; // a disk is too slow for thousands of tests
}
int close(int file) {
    ::syscall(SYS_close, file); // the system releases it in any case
    return refuses() ? -1 : 0;
}
int rename(const char* from, const char* to) noexcept {
    return refuses("rename ") ? -1 : ::renameat(AT_FDCWD, from, AT_FDCWD, to);
}
int fchmod(int file, mode_t mode) noexcept {
    return refuses() ? -1 : static_cast<int>(::syscall(SYS_fchmod, file, mode));
}
int stat(const char* path, struct stat* status) noexcept {
    return refuses() ? -1 : ::fstatat(AT_FDCWD, path, status, 0);
}
int fstat(int file, struct stat* status) noexcept {
    return refuses() ? -1 : ::fstatat(file, "", status, AT_EMPTY_PATH);
}
}

namespace {

namespace fs = std::filesystem;

Bytes contentsOf(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(in), {}};
    const auto* first = reinterpret_cast<const std::byte*>(text.data());
    return {first, first + text.size()};
}

void write(const fs::path& path, const Bytes& bytes) {
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

void poke(const fs::path& path, std::int64_t offset, const void* bytes, std::size_t count) {
    std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(offset);
    file.write(static_cast<const char*>(bytes), static_cast<std::streamsize>(count));
}

Bytes part(const Bytes& bytes, std::int64_t from, std::int64_t to) {
    return {bytes.begin() + from, bytes.begin() + to};
}

Bytes recordOf(const Bytes& file, const PackageEntry& entry) {
    return part(file, entry.offset, entry.offset + entry.length);
}

// Data sets of different sizes and names, an empty slot among them.
void fill(CFaceIcazq& package, int dataSets) {
    for (int k = 0; k < dataSets; ++k) {
        DataSet dataSet = test::countingDataSet(1 + k % 3, 2 + k % 5);
        dataSet->m_icaName = CString::Format(u"tri\u00E4l %d", k);
        dataSet->m_icaClass = 10 + k;
        dataSet->m_icaShow = k % 2 == 0;
        dataSet->setSelect(1, 1 + k % 2);
        if (k % 2 == 1) dataSet->getIcaParamzq(1)->m_nIca = k;
        package.setIcaData(dataSet.release(), 0);
        if (k == 0) package.m_icaDataArray.Add(nullptr);
    }
    package.m_pkgName = u"sample";
    package.m_pkgType = 3;
    package.m_pkgShow = true;
    package.m_curntIcaDataSetID = 1;
}

std::vector<std::string> records(const std::vector<ArchiveFault>& faults) {
    std::vector<std::string> names;
    for (const ArchiveFault& fault : faults) names.push_back(fault.record);
    return names;
}

class PackageFiles : public ::testing::Test {
protected:
    PackageFiles() {
        std::string name = (fs::temp_directory_path() / "icawave-package-XXXXXX").string();
        folder = ::mkdtemp(name.data());
        file = folder / "sample.icpkg";
        fill(package, 4);
        recordBytes = stored(package);
    }
    ~PackageFiles() override { fs::remove_all(folder); }

    void save() { PackageFile::save(file.string(), package); }
    std::size_t filesInFolder() const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
    }

    fs::path folder, file;
    CFaceIcazq package;
    Bytes recordBytes;
};

std::string errorOf(const std::function<void()>& act) {
    try {
        act();
        return "";
    } catch (const FileError& e) {
        return e.what();
    }
}

TEST(Crc32c, IsTheKnownOneByInstructionAndByTable) {
    EXPECT_EQ(icawave::crc32c(0, "123456789", 9), 0xE3069283);
    EXPECT_EQ(icawave::crc32cByTable(0, "123456789", 9), 0xE3069283);
    if (!icawave::hasCrc32cInstruction()) GTEST_SKIP() << "this processor has no instruction for it";
    std::vector<unsigned char> bytes(100);
    for (std::size_t k = 0; k < bytes.size(); ++k) bytes[k] = static_cast<unsigned char>(k * k + 17);
    for (std::size_t begin = 0; begin < 9; ++begin) {
        for (std::size_t count = 0; begin + count <= bytes.size(); ++count) {
            const std::uint32_t whole = icawave::crc32cByTable(7, &bytes[begin], count);
            EXPECT_EQ(icawave::crc32cByInstruction(7, &bytes[begin], count), whole);
            const std::uint32_t half = icawave::crc32cByTable(7, &bytes[begin], count / 2);
            EXPECT_EQ(icawave::crc32c(half, &bytes[begin] + count / 2, count - count / 2), whole);
        }
    }
}

TEST_F(PackageFiles, AreTheRecordWithAnIndexThatListsItsDataSets) {
    save();
    const Bytes bytes = contentsOf(file);
    ASSERT_GT(bytes.size(), recordBytes.size());
    EXPECT_EQ(part(bytes, 0, static_cast<std::int64_t>(recordBytes.size())), recordBytes);
    const PackageFile opened(file.string());
    EXPECT_TRUE(opened.hasIndex());
    EXPECT_EQ(opened.bytesBehind(), 0);
    EXPECT_EQ(records(opened.check()), std::vector<std::string>{});
    EXPECT_EQ(opened.info().name, package.m_pkgName);
    EXPECT_EQ(opened.info().current, 1);
    ASSERT_EQ(opened.dataSets().size(), 4u);
    const PackageEntry& row = opened.dataSets()[3];
    const CTrialIcaDatazq& last = *package.getIcaData(4);
    EXPECT_EQ(row.name, last.m_icaName);
    EXPECT_EQ(std::tuple(row.samples, row.channels, row.selectedChannel, row.dataSetClass),
              std::tuple(5, 1, 0, 13));
    EXPECT_EQ(std::tuple(row.selectBegin, row.selectEnd, row.shown), std::tuple(1, 2, false));
    EXPECT_THROW(opened.copyRecord(4, *std::make_unique<CMemFile>()), CInvalidArgException);

    CFaceIcazq loaded, plain;
    EXPECT_TRUE(opened.load(loaded).empty());
    EXPECT_EQ(test::load(plain, bytes).result, 1);
    EXPECT_EQ(stored(loaded), stored(plain)) << "a reader that knows only the record stops before the index";
    CMemFile copy;
    opened.copyRecord(3, copy);
    EXPECT_EQ(test::contents(copy), stored(*package.getIcaData(4)));
}

// One byte is changed at a time: the check says in which record, and that one alone.
TEST_F(PackageFiles, EveryChangedByteIsFoundInItsRecord) {
    save();
    const Bytes bytes = contentsOf(file);
    const std::vector<PackageEntry> rows = PackageFile(file.string()).dataSets();
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        const auto offset = static_cast<std::int64_t>(at);
        std::string expected = at < recordBytes.size() ? "FACEICA" : "index";
        for (std::size_t k = 0; k < rows.size(); ++k) {
            if (offset >= rows[k].offset && offset < rows[k].offset + rows[k].length)
                expected = "FACEICA, TRIALICADATA " + std::to_string(k);
        }
        for (const std::byte mask : {std::byte{0xFF}, std::byte{1} << (at % 8)}) {
            const std::byte changed = bytes[at] ^ mask;
            poke(file, offset, &changed, 1);
            const PackageFile damaged(file.string());
            ASSERT_EQ(records(damaged.check()), std::vector{expected}) << at;
            ASSERT_EQ(damaged.dataSets().size(), rows.size()) << at;
        }
        poke(file, offset, &bytes[at], 1);
    }
}

// Cut at every byte, the file still gives each data set that is there.
TEST_F(PackageFiles, EveryTruncationKeepsTheCompleteDataSets) {
    save();
    const Bytes bytes = contentsOf(file);
    const std::vector<PackageEntry> rows = PackageFile(file.string()).dataSets();
    const fs::path saved = folder / "saved.icpkg";
    for (std::size_t length = bytes.size(); length-- > 0;) {
        const auto end = static_cast<std::int64_t>(length);
        fs::resize_file(file, length);
        fs::remove(saved);
        std::vector<Bytes> expected;
        for (const PackageEntry& row : rows) {
            if (row.offset + row.length <= end) expected.push_back(recordOf(bytes, row));
        }
        std::vector<Bytes> found;
        std::vector<ArchiveFault> lost;
        const std::string error = errorOf([&] {
            lost = PackageFile(file.string()).salvage(saved.string());
            const Bytes savedBytes = contentsOf(saved);
            const PackageFile opened(saved.string());
            ASSERT_TRUE(opened.hasIndex());
            for (const PackageEntry& row : opened.dataSets()) found.push_back(recordOf(savedBytes, row));
        });
        ASSERT_EQ(found, expected) << length << error;
        ASSERT_EQ(lost.empty() && error.empty(), length == recordBytes.size()) << "it is a whole file there";
    }
}

// Whatever an index with a right checksum says, nothing is believed that cannot be.
TEST_F(PackageFiles, AnIndexIsNotTrusted) {
    save();
    const Bytes bytes = contentsOf(file);
    const std::size_t indexEnd = bytes.size() - 20;
    int refused = 0;
    for (std::size_t at = recordBytes.size(); at + 8 <= indexEnd; ++at) {
        for (const std::int64_t value : {std::int64_t{-1}, std::int64_t{1}, std::int64_t{1} << 40,
                                         std::numeric_limits<std::int64_t>::max() - 2}) {
            Bytes hostile = bytes;
            std::memcpy(&hostile[at], &value, 8);
            const std::uint32_t checksum =
                icawave::crc32c(0, &hostile[recordBytes.size()], indexEnd + 8 - recordBytes.size());
            std::memcpy(&hostile[indexEnd + 8], &checksum, 4);
            const std::size_t changed = recordBytes.size();
            poke(file, static_cast<std::int64_t>(changed), &hostile[changed], hostile.size() - changed);
            const PackageFile opened(file.string());
            refused += opened.hasIndex() ? 0 : 1;
            std::int64_t end = 0;
            for (const PackageEntry& row : opened.dataSets()) {
                ASSERT_TRUE(row.offset > end && row.length > 0) << at;
                end = row.offset + row.length;
                ASSERT_LT(end, static_cast<std::int64_t>(recordBytes.size())) << at;
            }
            for (std::size_t k = 0; k < opened.dataSets().size(); ++k) {
                const DataSet dataSet = test::newDataSet();
                const std::string error =
                    errorOf([&] { opened.read(static_cast<std::int64_t>(k), *dataSet); });
                if (!error.empty()) continue;
                ASSERT_EQ(stored(*dataSet), recordOf(bytes, opened.dataSets()[k])) << at;
            }
        }
    }
    EXPECT_GT(refused, 100);
}

TEST_F(PackageFiles, AListAndOneDataSetNeedNothingElse) {
    package.cleanIcaFace();
    for (int k = 0; k < 3; ++k) package.checkInitIca4ID(2, 100'000, 0, true);
    save();
    Bytes bytes = contentsOf(file);
    const Bytes expected = stored(*package.getIcaData(1));
    bytesRead = 0;
    const PackageFile opened(file.string());
    EXPECT_LT(bytesRead, 4096);
    const PackageEntry row = opened.dataSets()[1];
    std::fill(bytes.begin(), bytes.begin() + row.offset, std::byte{0xEE});
    std::fill(bytes.begin() + row.offset + row.length,
              bytes.begin() + static_cast<std::ptrdiff_t>(stored(package).size()), std::byte{0xEE});
    write(file, bytes);
    const PackageFile damaged(file.string());
    EXPECT_EQ(damaged.dataSets().size(), 3u);
    bytesRead = 0;
    const DataSet dataSet = test::newDataSet();
    damaged.read(1, *dataSet);
    EXPECT_EQ(bytesRead, row.length);
    EXPECT_EQ(stored(*dataSet), expected);
    EXPECT_NE(errorOf([&] { damaged.read(2, *dataSet); }).find("FACEICA, TRIALICADATA 2"), std::string::npos);
    EXPECT_EQ(dataSet->m_chnlIcaData, nullptr);
}

// One of 80 records is damaged: by a value, which only the index tells, by a count, which stops its loading,
// or by a size that reaches over all records behind it.
TEST_F(PackageFiles, OneDamagedRecordOfEightyLosesOneDataSet) {
    package.cleanIcaFace();
    package.m_icaDataArray.RemoveAll();
    fill(package, 80);
    package.m_curntIcaDataSetID = 42;
    save();
    const Bytes sound = contentsOf(file);
    const std::vector<PackageEntry> rows = PackageFile(file.string()).dataSets();
    const auto recordEnd = static_cast<std::int64_t>(stored(package).size());
    const std::int64_t channelsAt = rows[41].offset + 32 + 4 + 4 * 8;
    const std::int64_t valueAt = channelsAt + 8 + 4 + 100;
    const std::int64_t sizeAt = channelsAt + 64;
    const icawave::ScriptedFrontEnd ui;
    for (const auto& [at, indexed] :
         {std::pair(valueAt, true), {channelsAt, true}, {channelsAt, false}, {sizeAt + 1, false}}) {
        Bytes bytes = part(sound, 0, indexed ? static_cast<std::int64_t>(sound.size()) : recordEnd);
        bytes[static_cast<std::size_t>(at)] ^= std::byte{0x04};
        write(file, bytes);
        const PackageFile damaged(file.string());
        EXPECT_EQ(damaged.hasIndex(), indexed);
        const fs::path saved = folder / "saved.icpkg";
        const std::vector<ArchiveFault> lost = damaged.salvage(saved.string());
        ASSERT_EQ(lost.size(), 1u);
        EXPECT_EQ(lost[0].record.rfind("FACEICA, TRIALICADATA 41", 0), 0u) << lost[0].record;
        const PackageFile opened(saved.string());
        EXPECT_TRUE(opened.check().empty());
        EXPECT_EQ(opened.info().current, 41) << "the data set that was current";
        EXPECT_EQ(opened.info().name, "sample");
        const Bytes savedBytes = contentsOf(saved);
        ASSERT_EQ(opened.dataSets().size(), 79u);
        for (std::size_t k = 0; k < 79; ++k)
            ASSERT_EQ(recordOf(savedBytes, opened.dataSets()[k]),
                      recordOf(sound, rows[k + (k >= 41 ? 1 : 0)]))
                << k;
        CFaceIcazq loaded;
        EXPECT_EQ(records(damaged.load(loaded)), records(lost));
        EXPECT_EQ(loaded.getTotalIca(), 79);
    }
    EXPECT_TRUE(ui.messages.empty());
}

TEST_F(PackageFiles, DamagedHeadsLoseNoDataSet) {
    for (const std::int64_t at : {5, 18, 26}) { // keyword, version, slots
        write(file, recordBytes);
        poke(file, at, "\1", 1);
        CFaceIcazq loaded;
        EXPECT_EQ(records(PackageFile(file.string()).load(loaded)), std::vector<std::string>{"FACEICA"})
            << at;
        EXPECT_EQ(loaded.getTotalIca(), 4) << at;
        EXPECT_EQ(loaded.m_pkgName, "sample") << at;
    }
}

// Files that know of no index, old versions and narrow texts among them, open to what the record's own reader
// finds, and get an index without any other change.
TEST_F(PackageFiles, AFileWithoutIndexOpensAndGetsOne) {
    int opened = 0;
    for (const fs::directory_entry& golden : fs::directory_iterator(ICAWAVE_GOLDEN)) {
        const Bytes bytes = contentsOf(golden.path());
        CFaceIcazq expected, loaded, again;
        if (golden.path().extension() != ".bin" || test::load(expected, bytes).result != 1) continue;
        const test::Outcome outcome = test::load(expected, bytes);
        if (outcome.fault || !outcome.messages.empty()) continue;
        ++opened;
        write(file, bytes);
        PackageFile plain(file.string());
        EXPECT_FALSE(plain.hasIndex());
        EXPECT_TRUE(plain.load(loaded).empty()) << golden.path();
        EXPECT_EQ(stored(loaded), stored(expected)) << golden.path();
        if (plain.bytesBehind() > 0) {
            EXPECT_THROW(plain.addIndex(), FileError);
            EXPECT_EQ(contentsOf(file), bytes);
            continue;
        }
        plain.addIndex();
        EXPECT_TRUE(plain.hasIndex());
        EXPECT_TRUE(plain.check().empty());
        EXPECT_EQ(part(contentsOf(file), 0, static_cast<std::int64_t>(bytes.size())), bytes) << golden.path();
        EXPECT_TRUE(PackageFile(file.string()).load(again).empty());
        EXPECT_EQ(stored(again), stored(expected)) << golden.path();
    }
    EXPECT_GT(opened, 10);
    write(file, recordBytes);
    PackageFile(file.string()).addIndex();
    const Bytes indexed = contentsOf(file);
    save();
    EXPECT_EQ(contentsOf(file), indexed);
    write(file, stored(*package.getIcaData(0)));
    EXPECT_NE(errorOf([&] { const PackageFile none(file.string()); }).find("not a package file"),
              std::string::npos);
}

// The system refuses the n-th operation, for every n.
TEST_F(PackageFiles, ASaveThatFailsLeavesTheOldFileAndNothingElse) {
    save();
    fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write);
    const Bytes old = contentsOf(file);
    package.m_pkgName = u"another";
    package.checkInitIcaPkg(2, 100'000, true);
    const icawave::ScriptedFrontEnd ui;
    int failures = 0, saved = 0;
    for (const bool replacing : {false, true}) {
        bool failed = true;
        for (int n = 0; failed; ++n) {
            PackageFile opened(file.string());
            operationsLeft = n;
            const std::string error = errorOf([&] { replacing ? opened.replace(package, true) : save(); });
            failed = operationsLeft < 0;
            operationsLeft = -1;
            failures += error.empty() ? 0 : 1;
            ASSERT_EQ(filesInFolder(), 1u) << n;
            if (error.find("is saved, but") != std::string::npos) {
                ++saved;
                EXPECT_NE(contentsOf(file), old);
                EXPECT_TRUE(PackageFile(file.string()).check().empty());
            } else if (!error.empty()) {
                ASSERT_EQ(contentsOf(file), old) << n << error;
            }
            EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read | fs::perms::owner_write);
            if (contentsOf(file) != old) write(file, old);
        }
    }
    EXPECT_GT(failures, 20);
    EXPECT_EQ(saved, 2) << "the folder could not be synchronised";
    EXPECT_TRUE(ui.messages.empty());
}

TEST_F(PackageFiles, AFileThatChangedSinceIsReplacedOnlyByForce) {
    save();
    PackageFile mine(file.string()), other(file.string());
    package.m_pkgName = u"other's";
    other.replace(package);
    other.replace(package); // its own change is none
    const Bytes theirs = contentsOf(file);
    package.m_pkgName = u"mine";
    changes.clear();
    EXPECT_NE(errorOf([&] { mine.replace(package); }).find("changed by another program"), std::string::npos);
    EXPECT_EQ(contentsOf(file), theirs);
    EXPECT_EQ(changes, "") << "before anything is written";
    EXPECT_EQ(filesInFolder(), 1u);
    mine.replace(package, true);
    EXPECT_EQ(PackageFile(file.string()).info().name, u"mine");
    EXPECT_EQ(mine.info().name, u"mine");

    std::this_thread::sleep_for(std::chrono::milliseconds(20)); // beyond the clock of the file system
    poke(file, 0, "\xFF", 1); // the same file, size and bytes: the time tells
    EXPECT_THROW(mine.replace(package), FileError);
    PackageFile late(file.string());
    whileSyncing = [this] { poke(file, 0, "\xFE\xFE", 2); };
    EXPECT_THROW(late.replace(package), FileError);
    whileSyncing = [] {};
    EXPECT_EQ(contentsOf(file)[0], std::byte{0xFE});
    fs::remove(file);
    mine.replace(package);
    EXPECT_EQ(PackageFile(file.string()).info().name, u"mine");
}

TEST_F(PackageFiles, LinksAreFollowedAndPermissionsKept) {
    fs::create_directory(folder / "inner");
    const fs::path link = folder / "link", target = folder / "inner" / "target";
    fs::create_symlink("inner/target", link);
    PackageFile::save(link.string(), package);
    EXPECT_TRUE(fs::is_symlink(link));
    const mode_t mask = ::umask(0);
    ::umask(mask);
    EXPECT_EQ(static_cast<mode_t>(fs::status(target).permissions()), 0666 & ~mask);
    fs::permissions(target, fs::perms::owner_all);
    changes.clear();
    PackageFile(link.string()).replace(package);
    EXPECT_EQ(changes, "sync rename sync ");
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(fs::status(target).permissions(), fs::perms::owner_all);
    PackageFile::save("/dev/null", package);
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
    EXPECT_THROW(PackageFile::save(folder.string(), package), FileError);
    EXPECT_THROW(PackageFile::save((folder / "no" / "such").string(), package), FileError);
    for (const char* path : {"/dev/null", "missing", "."}) EXPECT_THROW(PackageFile{path}, FileError) << path;
}

TEST_F(PackageFiles, MergeByCopyingRecordsAndRefuseDamagedOnes) {
    save();
    const PackageFile source(file.string());
    CMemFile merged;
    PackageWriter writer(merged, 3, source.info());
    writer.copy(source, 3);
    writer.add(package.getIcaData(0));
    EXPECT_THROW(writer.finish(), CInvalidArgException) << "a slot is empty";
    writer.add(nullptr);
    writer.finish();
    write(folder / "merged", test::contents(merged));
    CFaceIcazq loaded;
    const PackageFile opened((folder / "merged").string());
    EXPECT_TRUE(opened.hasIndex());
    EXPECT_TRUE(opened.load(loaded).empty());
    ASSERT_EQ(loaded.getTotalIca(), 2);
    EXPECT_EQ(stored(*loaded.getIcaData(0)), stored(*package.getIcaData(4)));
    EXPECT_EQ(stored(*loaded.getIcaData(1)), stored(*package.getIcaData(0)));
    poke(file, source.dataSets()[2].offset + 200, "damage", 6);
    CMemFile refused;
    PackageWriter another(refused, 1, source.info());
    EXPECT_THROW(another.copy(source, 2), FileError);
}

// The n-th allocation fails, for every n: the library's own exceptions, and a save changes nothing.
TEST_F(PackageFiles, MemoryThatRunsOutIsTold) {
    save();
    const Bytes old = contentsOf(file);
    const CString path = file.string();
    bool reached = true;
    for (long n = 0; reached; ++n) {
        CFaceIcazq loaded;
        bool raised = false;
        std::size_t faults = 0;
        {
            const test::FailAllocation failure(n);
            try {
                PackageFile opened(path);
                faults = opened.load(loaded).size() + opened.check().size();
                opened.replace(package);
            } catch (const CException&) {
                raised = true;
            }
            reached = failure.failed();
        }
        if (raised) {
            ASSERT_EQ(contentsOf(file), old) << n;
        }
        EXPECT_TRUE(raised || faults > 0 || !reached || loaded.getTotalIca() == 4) << n;
        ASSERT_EQ(filesInFolder(), 1u) << n;
    }
}

} // namespace
