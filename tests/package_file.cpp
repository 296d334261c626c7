// SPDX-License-Identifier: BSD-3-Clause
// Package files with and without an index: every damage is found and told, whatever is undamaged is saved,
// and a save that fails changes nothing.
#include "tests/Support.h"
#include "tests/SystemCalls.h"

#include <icawave/PackageFile.h>

#include "persist/packagefile/Crc32c.h"

#include <filesystem>
#include <fstream>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>

using namespace icawave;
using test::Bytes;
using test::DataSet;
using test::stored;
using test::systemCalls;

namespace {

namespace fs = std::filesystem;

void write(const fs::path& path, const Bytes& bytes) {
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

Bytes part(const Bytes& bytes, std::int64_t from, std::int64_t to) {
    return {bytes.begin() + from, bytes.begin() + to};
}

bool holds(const PackageEntry& row, std::size_t offset) {
    const auto at = static_cast<std::int64_t>(offset);
    return at >= row.offset && at < row.offset + row.length;
}

// The bytes of the data sets that a file's index lists.
std::vector<Bytes> recordsOf(const fs::path& path) {
    const Bytes bytes = test::contents(path);
    const PackageFile opened(path.string());
    EXPECT_TRUE(opened.hasIndex());
    std::vector<Bytes> found;
    for (const PackageEntry& row : opened.dataSets())
        found.push_back(part(bytes, row.offset, row.offset + row.length));
    return found;
}

// What a file without faults loads.
Bytes loadedFrom(const PackageFile& opened) {
    CFaceIcazq loaded;
    EXPECT_TRUE(opened.load(loaded).empty());
    return stored(loaded);
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
        fill(package, 4);
        recordBytes = stored(package);
    }

    void save() { PackageFile::save(file.string(), package); }
    PackageFile open() const { return PackageFile(file.string()); }
    auto filesInFolder() const { // beside the lock
        return std::distance(fs::directory_iterator(folder), {}) -
               (fs::exists(folder / ".sample.icpkg.lock") ? 1 : 0);
    }

    const test::Folder temporary;
    const fs::path& folder = temporary.path;
    const fs::path file = folder / "sample.icpkg";
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
    EXPECT_EQ(crc32c(0, "123456789", 9), 0xE3069283);
    EXPECT_EQ(crc32cByTable(0, "123456789", 9), 0xE3069283);
    if (!hasCrc32cInstruction()) GTEST_SKIP() << "this processor has no instruction for it";
    std::string bytes(9'999, ' ');
    for (std::size_t k = 0; k < bytes.size(); ++k) bytes[k] = static_cast<char>(k * 7 + k / 256);
    for (std::size_t begin = 0; begin < 9; ++begin) {
        for (std::size_t count = 0; begin + count <= bytes.size(); count += count < 100 ? 1 : 331) {
            const std::uint32_t whole = crc32cByTable(7, &bytes[begin], count);
            const std::uint32_t half = crc32cByTable(7, &bytes[begin], count / 2);
            EXPECT_EQ(crc32cByInstruction(7, &bytes[begin], count), whole);
            EXPECT_EQ(crc32c(half, &bytes[begin + count / 2], count - count / 2), whole);
        }
    }
}

TEST_F(PackageFiles, AreTheRecordWithAnIndexThatListsItsDataSets) {
    save();
    const Bytes bytes = test::contents(file);
    ASSERT_GT(bytes.size(), recordBytes.size());
    EXPECT_EQ(part(bytes, 0, std::ssize(recordBytes)), recordBytes);
    const PackageFile opened = open();
    EXPECT_TRUE(opened.check().empty());
    EXPECT_EQ(opened.info().name, package.m_pkgName);
    EXPECT_EQ(opened.info().current, 1);
    ASSERT_EQ(opened.dataSets().size(), 4u);
    const PackageEntry& row = opened.dataSets()[3];
    EXPECT_EQ(row.name, package.getIcaData(4)->m_icaName);
    EXPECT_EQ(std::tuple(row.samples, row.channels, row.selectedChannel, row.dataSetClass, row.selectBegin,
                         row.selectEnd, row.shown),
              std::tuple(5, 1, 0, 13, 1, 2, false));
    EXPECT_EQ(recordsOf(file)[3], stored(*package.getIcaData(4)));
    EXPECT_THROW(opened.copyRecord(4, *std::make_unique<CMemFile>()), CInvalidArgException);

    CFaceIcazq plain;
    EXPECT_EQ(test::load(plain, bytes).result, 1);
    EXPECT_EQ(loadedFrom(opened), stored(plain)) << "a reader that knows only the record stops at the index";
}

// One bit or all bits of a byte are changed: the check says in which record, and that one alone.
TEST_F(PackageFiles, EveryChangedByteIsFoundInItsRecord) {
    save();
    const Bytes sound = test::contents(file);
    const std::vector<PackageEntry> rows = open().dataSets();
    for (std::size_t at = 0; at < sound.size(); ++at) {
        std::string expected = at < recordBytes.size() ? "FACEICA" : "index";
        for (std::size_t k = 0; k < rows.size(); ++k) {
            if (holds(rows[k], at)) expected = "FACEICA, TRIALICADATA " + std::to_string(k);
        }
        for (const std::byte mask : {std::byte{0xFF}, std::byte{1} << (at % 8)}) {
            Bytes bytes = sound;
            bytes[at] ^= mask;
            write(file, bytes);
            const PackageFile damaged = open();
            ASSERT_EQ(records(damaged.check()), std::vector{expected}) << at;
            ASSERT_EQ(damaged.dataSets().size(), rows.size()) << at;
        }
    }
}

// Cut at every byte, the file still gives each data set that is there.
TEST_F(PackageFiles, EveryTruncationKeepsTheCompleteDataSets) {
    save();
    const std::vector<PackageEntry> rows = open().dataSets();
    std::vector<Bytes> expected = recordsOf(file);
    const fs::path saved = folder / "saved.icpkg";
    for (std::size_t length = fs::file_size(file); length-- > 0;) {
        fs::resize_file(file, length);
        fs::remove(saved);
        if (!expected.empty() && holds(rows[expected.size() - 1], length)) expected.pop_back();
        std::vector<Bytes> found;
        std::vector<ArchiveFault> lost;
        const std::string error = errorOf([&] {
            lost = open().salvage(saved.string()).faults;
            found = recordsOf(saved);
        });
        ASSERT_EQ(found, expected) << length << error;
        ASSERT_EQ(lost.empty() && error.empty(), length == recordBytes.size()) << "it is a whole file there";
        ASSERT_TRUE(lost.empty() || lost[0].text.find(" end") != std::string::npos) << length << lost[0].text;
    }
    EXPECT_TRUE(expected.empty());
}

TEST_F(PackageFiles, AListAndOneDataSetNeedNothingElse) {
    package.cleanIcaFace();
    for (int k = 0; k < 3; ++k) package.checkInitIca4ID(2, 100'000, 0, true);
    save();
    Bytes bytes = test::contents(file);
    systemCalls.bytesRead = 0;
    const PackageEntry row = open().dataSets()[1];
    EXPECT_LT(systemCalls.bytesRead, 4096);
    for (std::size_t at = 0, end = stored(package).size(); at < end; at += 1000) {
        if (!holds(row, at)) bytes[at] ^= std::byte{0xEE};
    }
    write(file, bytes);
    const PackageFile damaged = open();
    EXPECT_EQ(damaged.dataSets().size(), 3u);
    systemCalls.bytesRead = 0;
    const DataSet dataSet = test::newDataSet();
    damaged.read(1, *dataSet);
    EXPECT_EQ(systemCalls.bytesRead, row.length);
    EXPECT_EQ(stored(*dataSet), stored(*package.getIcaData(1)));
    EXPECT_NE(errorOf([&] { damaged.read(2, *dataSet); }).find("FACEICA, TRIALICADATA 2"), std::string::npos);
    EXPECT_EQ(dataSet->m_chnlIcaData, nullptr);
}

// One of 80 records is damaged: by a value, which only the index tells, by a count, which stops its loading,
// or by a size that reaches over all records behind it.
TEST_F(PackageFiles, OneDamagedRecordOfEightyLosesOneDataSet) {
    package.cleanIcaFace();
    package.m_icaDataArray.RemoveAll();
    fill(package, 80);
    save();
    std::vector<Bytes> expected = recordsOf(file);
    expected.erase(expected.begin() + 41);
    const std::int64_t channelsAt = open().dataSets()[41].offset + 32 + 4 + 4 * 8;
    const std::int64_t valueAt = channelsAt + 8 + 4 + 100, sizeAt = channelsAt + 65;
    const fs::path saved = folder / "saved.icpkg";
    const ScriptedFrontEnd ui;
    struct Case {
        std::int64_t at;
        bool indexed;
        int current, left; // the current data set, and its number without the damaged one
    };
    for (const auto& [at, indexed, current, left] : {Case{valueAt, true, 42, 41},
                                                     {channelsAt, true, 3, 3},
                                                     {channelsAt, true, 41, 0},
                                                     {valueAt, true, -1, -1},
                                                     {channelsAt, false, 42, 41},
                                                     {sizeAt, false, 41, 0}}) {
        package.m_curntIcaDataSetID = current;
        save();
        Bytes bytes = indexed ? test::contents(file) : stored(package);
        bytes[static_cast<std::size_t>(at)] ^= std::byte{0x04};
        write(file, bytes);
        const PackageFile damaged = open();
        EXPECT_EQ(damaged.hasIndex(), indexed);
        const std::vector<ArchiveFault> lost = damaged.salvage(saved.string()).faults;
        ASSERT_EQ(lost.size(), 1u);
        EXPECT_EQ(lost[0].record.rfind("FACEICA, TRIALICADATA 41", 0), 0u) << lost[0].record;
        ASSERT_EQ(recordsOf(saved), expected);
        const PackageFile opened(saved.string());
        EXPECT_TRUE(opened.check().empty());
        EXPECT_EQ(opened.info().current, left) << "the data set that was current";
        EXPECT_EQ(opened.info().name, "sample");
        CFaceIcazq loaded;
        EXPECT_EQ(records(damaged.load(loaded)), records(lost));
        EXPECT_EQ(loaded.getTotalIca(), 79);
        EXPECT_EQ(loaded.m_curntIcaDataSetID, left);
    }
    EXPECT_TRUE(ui.messages.empty());
}

// The search goes by pieces of 256 KiB: a data set is found wherever one ends in its keyword or version.
TEST_F(PackageFiles, ADataSetAcrossTwoPiecesOfTheSearchIsFound) {
    const Bytes record = stored(*test::countingDataSet(1, 2));
    for (std::int64_t before = 0; before < 40; ++before) {
        // No package's beginning.
        Bytes bytes(static_cast<std::size_t>(4 + 256 * 1024 - before), std::byte{1});
        bytes.insert(bytes.end(), record.begin(), record.end());
        write(file, bytes);
        const PackageFile damaged(file.string());
        ASSERT_EQ(damaged.dataSets().size(), 1u) << before;
        EXPECT_EQ(damaged.dataSets()[0].offset, std::ssize(bytes) - std::ssize(record));
    }
}

TEST_F(PackageFiles, DamagedHeadsLoseNoDataSet) {
    for (const std::size_t at : {5, 18, 26}) { // keyword, version, slots
        Bytes bytes = recordBytes;
        bytes[at] = std::byte{1};
        write(file, bytes);
        CFaceIcazq loaded;
        EXPECT_EQ(records(open().load(loaded)), std::vector<std::string>{"FACEICA"}) << at;
        EXPECT_EQ(loaded.getTotalIca(), 4) << at;
        EXPECT_EQ(loaded.m_pkgName, "sample") << at;
    }
}

// Files that know of no index, old versions and narrow texts among them, open to what the record's own reader
// finds, and get an index without any other change.
TEST_F(PackageFiles, AFileWithoutIndexOpensAndGetsOne) {
    int loadable = 0;
    for (const fs::directory_entry& golden : fs::directory_iterator(ICAWAVE_GOLDEN)) {
        SCOPED_TRACE(golden.path());
        const Bytes bytes = test::contents(golden.path());
        CFaceIcazq expected;
        const test::Outcome outcome = test::load(expected, bytes);
        if (outcome.result != 1 || outcome.fault || !outcome.messages.empty()) continue;
        ++loadable;
        write(file, bytes);
        PackageFile plain = open();
        EXPECT_FALSE(plain.hasIndex());
        if (outcome.bytesLeft > 0) { // others follow
            EXPECT_EQ(records(plain.check()), std::vector<std::string>{"FACEICA"});
            EXPECT_THROW(plain.addIndex(), FileError);
            EXPECT_EQ(test::contents(file), bytes);
            continue;
        }
        EXPECT_EQ(loadedFrom(plain), stored(expected));
        plain.addIndex();
        EXPECT_TRUE(plain.hasIndex());
        EXPECT_TRUE(plain.check().empty());
        EXPECT_EQ(part(test::contents(file), 0, std::ssize(bytes)), bytes);
        EXPECT_EQ(loadedFrom(open()), stored(expected));
    }
    EXPECT_GT(loadable, 10);
    write(file, stored(*package.getIcaData(0)));
    EXPECT_NE(errorOf([&] { open(); }).find("not a package file"), std::string::npos);
}

// tests/written has a file as the version of that date wrote it.
TEST_F(PackageFiles, TheOlderLayoutOfAnIndexIsRead) {
    const Bytes old = test::contents(fs::path(ICAWAVE_GOLDEN) / "../written/package_20261122.icpkg");
    const Bytes record = test::contents(fs::path(ICAWAVE_GOLDEN) / "package_several.bin");
    write(file, old);
    PackageFile opened = open();
    EXPECT_TRUE(opened.hasIndex() && opened.check().empty());
    CFaceIcazq expected;
    test::load(expected, record);
    EXPECT_EQ(loadedFrom(opened), stored(expected));
    for (std::size_t at = 0; at < old.size(); at += 13) {
        Bytes changed = old;
        changed[at] ^= std::byte{1};
        write(file, changed);
        ASSERT_FALSE(open().check().empty()) << at;
    }
    Bytes shifted = old;
    shifted.insert(shifted.begin(), std::byte{});
    write(file, shifted);
    for (const DataSetFinding& found : open().inspect().dataSets) EXPECT_EQ(found.state, DataSetState::whole);
    write(file, old);
    opened.addIndex(true);
    EXPECT_TRUE(open().check().empty());
    EXPECT_EQ(part(test::contents(file), 0, std::ssize(record)), record);
    EXPECT_GT(fs::file_size(file), old.size()) << "in the present layout";
}

// The system refuses the n-th operation, for every n.
TEST_F(PackageFiles, ASaveThatFailsLeavesTheOldFileAndNothingElse) {
    save();
    const fs::perms permissions = fs::perms::owner_read | fs::perms::owner_write;
    fs::permissions(file, permissions);
    const Bytes old = test::contents(file);
    package.m_pkgName = u"another";
    package.checkInitIcaPkg(2, 100'000, true);
    const ScriptedFrontEnd ui;
    for (const bool replacing : {false, true}) {
        int failures = 0, failuresAfterSaving = 0;
        bool refused = true;
        for (int n = 0; refused; ++n) {
            write(file, old);
            PackageFile opened = open();
            systemCalls.left = n;
            const std::string error = errorOf([&] { replacing ? opened.replace(package, true) : save(); });
            refused = systemCalls.left < 0;
            systemCalls.left = -1;
            const bool saved = error.empty() || error.find("is saved, but") != std::string::npos;
            failures += saved ? 0 : 1;
            failuresAfterSaving += saved && !error.empty() ? 1 : 0;
            ASSERT_EQ(test::contents(file) != old, saved) << n << error;
            ASSERT_TRUE(open().check().empty()) << n;
            ASSERT_EQ(filesInFolder(), 1) << n;
            ASSERT_EQ(fs::status(file).permissions(), permissions) << n;
        }
        EXPECT_GT(failures, 10);
        EXPECT_EQ(failuresAfterSaving, 1) << "the folder could not be synchronised";
    }
    EXPECT_TRUE(ui.messages.empty());
}

TEST_F(PackageFiles, AFileThatChangedSinceIsReplacedOnlyByForce) {
    save();
    PackageFile mine = open(), other = open();
    package.m_pkgName = u"other's";
    other.replace(package);
    other.replace(package); // its own change is none
    const Bytes theirs = test::contents(file);
    package.m_pkgName = u"mine";
    systemCalls.changes.clear();
    EXPECT_NE(errorOf([&] { mine.replace(package); }).find("changed by another program"), std::string::npos);
    EXPECT_EQ(test::contents(file), theirs);
    EXPECT_EQ(systemCalls.changes, "") << "before anything is written";
    mine.replace(package, true);
    EXPECT_EQ(open().info().name, u"mine");
    EXPECT_EQ(mine.info().name, u"mine");

    fs::last_write_time(file, {}); // the same file, size and bytes: the time tells
    EXPECT_THROW(mine.replace(package), FileError);
    PackageFile late = open();
    systemCalls.whileSyncing = [&] { write(file, theirs); };
    EXPECT_THROW(late.replace(package), FileError);
    fs::remove(file);
    EXPECT_THROW(other.salvage(file.string(), FileState{}), FileError) << "theirs came where none was";
    EXPECT_THROW(AtomicFile(file.string(), FileState{}), FileError);
    systemCalls.whileSyncing = [] {};
    EXPECT_EQ(test::contents(file), theirs);
    EXPECT_EQ(filesInFolder(), 1);
    fs::remove(file);
    mine.replace(package);
    EXPECT_EQ(open().info().name, u"mine");
}

TEST_F(PackageFiles, LinksAreFollowedAndPermissionsKept) {
    fs::create_directory(folder / "inner");
    const fs::path link = folder / "link", target = folder / "inner" / "target";
    fs::create_symlink("inner/target", link);
    PackageFile::save(link.string(), package);
    const mode_t mask = ::umask(0);
    ::umask(mask);
    EXPECT_EQ(static_cast<mode_t>(fs::status(target).permissions()), 0666 & ~mask);
    fs::permissions(target, fs::perms::owner_all);
    systemCalls.changes.clear();
    PackageFile(link.string()).replace(package);
    EXPECT_EQ(systemCalls.changes, "sync rename sync ");
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(fs::status(target).permissions(), fs::perms::owner_all);
    for (const fs::path& path : {folder, folder / "no" / "such"})
        EXPECT_THROW(PackageFile::save(path.string(), package), FileError);
    for (const char* path : {"/dev/null", "missing", "."}) EXPECT_THROW(PackageFile{path}, FileError) << path;
}

TEST_F(PackageFiles, AreNotFinishedBeforeTheirLastSlot) {
    CMemFile merged;
    PackageWriter writer(merged, 2, {});
    writer.add(package.getIcaData(0));
    EXPECT_THROW(writer.finish(), CInvalidArgException) << "a slot is empty";
    writer.add(nullptr);
    writer.finish();
    write(file, test::contents(merged));
    EXPECT_EQ(recordsOf(file), std::vector<Bytes>{stored(*package.getIcaData(0))});
}

} // namespace
