// SPDX-License-Identifier: BSD-3-Clause
// What files, disks and processes do to the library: damaged bytes, reads and writes that fail or stop short,
// a process that is killed; and what a file may cost, however hostile it is.
#include "tests/Support.h"
#include "tests/SystemCalls.h"

#include <icawave/PackageFile.h>

#include <array>
#include <chrono>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

using namespace icawave;
using test::Bytes;
using test::load;
using test::stored;
using test::systemCalls;

namespace {

namespace fs = std::filesystem;

class FileFaults : public ::testing::Test {
protected:
    ~FileFaults() override { systemCalls = {}; }

    const test::Folder folder;
    const CString path = folder / "sample.icpkg";
    const ScriptedFrontEnd ui; // takes what destructors cannot raise
};

// Blocks larger than the file's buffer among small pieces.
void fill(CFaceIcazq& package, int samples) {
    package.checkInitIcaPkg(2, samples, true);
    package.checkInitIca4ID(1, 3, 0, true);
    package.m_pkgName = CString::Format(u"%d samples", samples);
}

void storeTo(const CString& path, CFaceIcazq& package) {
    CFile file;
    if (!file.Open(path, CFile::modeCreate | CFile::modeWrite)) throw std::runtime_error("not created");
    CArchive archive(&file, CArchive::store);
    package.serialize(archive);
    archive.Close();
    file.Close();
}

Bytes loadedFrom(const CString& path) {
    CFile file;
    if (!file.Open(path, CFile::modeRead)) throw std::runtime_error("not opened");
    CArchive archive(&file, CArchive::load);
    CFaceIcazq package;
    package.serialize(archive);
    return stored(package);
}

Bytes loadedFromIndexed(const CString& path) {
    const PackageFile opened(pathOf(path));
    CFaceIcazq package;
    for (const std::vector<ArchiveFault>& faults : {opened.check(), opened.load(package)}) {
        if (!faults.empty()) throw std::runtime_error(faults[0].text);
    }
    return stored(package);
}

TEST_F(FileFaults, TransfersThatStopShortChangeNothing) {
    CFaceIcazq package;
    fill(package, 40'000);
    const Bytes whole = stored(package);
    for (const std::int64_t largest : {1'000, 4'096, 262'143}) {
        systemCalls.largest = largest;
        storeTo(path, package);
        EXPECT_EQ(loadedFrom(path), whole) << largest;
        PackageFile::save(pathOf(path), package);
        EXPECT_EQ(loadedFromIndexed(path), whole) << largest;
    }
}

// The system refuses the n-th operation, for every n: what could not be written or read is told.
TEST_F(FileFaults, AReadOrWriteThatFailsIsTold) {
    CFaceIcazq package;
    fill(package, 40'000);
    const Bytes whole = stored(package);
    PackageFile::save(pathOf(path), package);
    const CString plain = path + ".plain";
    const std::function<Bytes()> acts[] = {[&] {
                                               storeTo(plain, package);
                                               systemCalls.left = -1;
                                               return loadedFrom(plain);
                                           },
                                           [&] { return loadedFrom(plain); },
                                           [&] { return loadedFromIndexed(path); }};
    for (const auto& act : acts) {
        int told = 0;
        for (int n = 0; n < 100; ++n) {
            systemCalls.left = n;
            try {
                ASSERT_EQ(act(), whole) << n;
            } catch (const std::exception&) {
                ++told;
            }
            systemCalls.left = -1;
        }
        EXPECT_TRUE(told > 3 && told < 90) << told;
    }
}

// One bit or all bits of each byte of a record are changed. Whatever comes of it is told or can be stored and
// loaded again as the same bytes.
template <class T>
void expectFlipsSurvived(const char* name) {
    const Bytes sound = test::golden(name);
    int told = 0;
    for (std::size_t at = 0; at < sound.size(); ++at) {
        for (const std::byte mask : {std::byte{0xFF}, std::byte{1} << (at % 8)}) {
            Bytes damaged = sound;
            damaged[at] ^= mask;
            T object, again;
            const test::Outcome outcome = load(object, damaged);
            const bool failed = outcome.result != 1 || !outcome.messages.empty();
            ASSERT_TRUE(!failed || outcome.fault) << name << at;
            told += failed ? 1 : 0;
            const Bytes bytes = stored(object);
            const test::Outcome second = load(again, bytes);
            if (failed) continue;
            ASSERT_EQ(second.result, 1) << name << at;
            ASSERT_EQ(stored(again), bytes) << name << at;
        }
    }
    EXPECT_GT(told, 20) << name;
}

TEST(ByteFlips, AreToldOrLoadAsAnotherSoundRecord) {
    expectFlipsSurvived<CFaceIcazq>("package_several.bin");
    expectFlipsSurvived<CChnlIcaDatazq>("channel_full.bin");
    expectFlipsSurvived<CIcaParamzq>("param_list_many.bin");
    expectFlipsSurvived<CMMatrix2Dzq>("matrix_larger.bin");
}

// A process that saves again and again is killed at any moment: the file is one of the two versions, and
// whole.
TEST_F(FileFaults, AKilledSaveLeavesOneOfTheTwoVersions) {
    CFaceIcazq first, second;
    fill(first, 10'000);
    fill(second, 20'000);
    std::vector<Bytes> versions;
    const auto begin = std::chrono::steady_clock::now();
    for (CFaceIcazq* package : {&second, &first}) {
        PackageFile::save(pathOf(path), *package);
        versions.push_back(test::contents(path.utf8()));
    }
    // Half of the savers finish at least one save, on a slow disk too.
    const auto longest =
        std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin).count();
    std::uniform_real_distribution<double> delay(0, std::min(longest, 1e5));
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    std::mt19937 random(7);
    std::array<int, 2> seen{};
    int killedInside = 0;
    for (int k = 0; k < 300; ++k) {
        const pid_t saver = ::fork();
        ASSERT_GE(saver, 0);
        if (saver == 0) {
            [[maybe_unused]] const ssize_t told = ::write(ready[1], "", 1);
            for (bool other = k % 2 == 0;; other = !other)
                PackageFile::save(pathOf(path), other ? second : first);
        }
        char byte;
        ASSERT_EQ(::read(ready[0], &byte, 1), 1);
        ::usleep(static_cast<useconds_t>(delay(random)));
        ::kill(saver, SIGKILL);
        ASSERT_EQ(::waitpid(saver, nullptr, 0), saver);
        const auto found = std::find(versions.begin(), versions.end(), test::contents(path.utf8()));
        ASSERT_NE(found, versions.end()) << k;
        ASSERT_TRUE(PackageFile(pathOf(path)).check().empty());
        ++seen[static_cast<std::size_t>(found - versions.begin())];
        const std::vector<fs::path> left = test::temporaryFiles(folder.path);
        ASSERT_LE(left.size(), 1u) << "the next save removes what the dead cannot";
        killedInside += static_cast<int>(left.size());
    }
    PackageFile::save(pathOf(path), first);
    EXPECT_TRUE(test::temporaryFiles(folder.path).empty());
    EXPECT_GT(std::min(seen[0], seen[1]), 10);
    EXPECT_GT(killedInside, 10);
}

// What stands before the repeated bytes of a hostile package.
void packageHead(CArchive& archive, std::int32_t slots) {
    archive << CString("FACEICA") << std::int32_t{20161108} << std::int32_t{0} << slots;
}

void channelsHead(CArchive& archive, std::int32_t channels) {
    packageHead(archive, 1);
    archive << std::int32_t{1} << CString("TRIALICADATA") << std::int32_t{20160311} << std::int32_t{0};
    for (const std::int64_t field : {0, 0, 0, 0, channels}) archive << field;
    archive << std::int32_t{1};
}

void itemsHead(CArchive& archive, std::int32_t items) {
    channelsHead(archive, 1);
    archive << CString("WAVEICADATA") << std::int32_t{20180619} << std::int64_t{0} << std::int32_t{1}
            << CString();
    for (int k = 0; k < 2; ++k) archive << std::int64_t{0} << std::int64_t{0} << std::int32_t{0};
    archive << items << std::int32_t{0} << std::int32_t{1};
}

void nameHead(CArchive& archive, std::int32_t characters) {
    packageHead(archive, 0);
    archive << std::int32_t{0} << std::uint8_t{0xFF} << std::uint8_t{0xFF} << std::uint8_t{0xFF}
            << characters;
}

struct Hostile {
    const char* name;
    std::function<void(CArchive&, std::int32_t)> head;
    Bytes repeated;
    std::int32_t times;
};

Bytes bytesOf(const Hostile& hostile) {
    CMemFile file;
    CArchive archive(&file, CArchive::store);
    hostile.head(archive, hostile.times);
    for (std::int32_t k = 0; k < hostile.times; ++k)
        archive.Write(hostile.repeated.data(), std::ssize(hostile.repeated));
    archive.Close();
    return test::contents(file);
}

class CountMessages : public UiFrontEnd {
public:
    CountMessages() { setUiFrontEnd(this); }
    ~CountMessages() override { setUiFrontEnd(nullptr); }
    void messageBox(const CString&) override { ++count; }
    int count = 0;
};

struct Cost {
    bool sound;        // loaded without a message
    std::size_t bytes; // most memory at once
    double seconds;    // of processor time: others share the machine
};

Cost costOfLoading(const Bytes& bytes) {
    CountMessages messages;
    bool sound = false;
    const std::clock_t begin = std::clock();
    const test::PeakMemory peak;
    {
        CFaceIcazq package;
        CMemFile view(bytes.data(), bytes.size());
        CArchive archive(&view, CArchive::load);
        try {
            sound = package.serialize(archive) == 1 && messages.count == 0;
        } catch (const CArchiveException&) {
        }
    }
    return {sound, peak.bytes(), static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC};
}

// A file of n bytes that loads without a message needs at most 2 n + 128 MiB, any other at most 64 n + 128
// MiB and less than a second for each megabyte; eight times the file takes far less than 64 times as long.
TEST(FileCost, GrowsWithTheFileAndWithNothingElse) {
#if defined(ICAWAVE_SANITIZED) || !defined(__OPTIMIZE__)
    constexpr double slowness = 20;
#else
    constexpr double slowness = 1;
#endif
    constexpr std::size_t allowance = 128 << 20;
    CChnlIcaDatazq channel;
    CIcProjectData item;
    const auto wholePackage = [](CArchive& archive, std::int32_t samples) {
        CFaceIcazq package;
        fill(package, samples);
        package.serialize(archive);
    };
    const Bytes slot = {std::byte{1}, {}, {}, {}, {}}, noSlot(4), emptyChannel = stored(channel),
                noItem(stored(item).size());
    const Hostile files[] = {{"five-byte slots", packageHead, slot, 2'000'000},
                             {"empty slots", packageHead, noSlot, 1'000'000},
                             {"empty channels", channelsHead, emptyChannel, 40'000},
                             {"items that are none", itemsHead, noItem, 40'000},
                             {"a long narrow name", nameHead, Bytes(1), 4'000'000},
                             {"a whole package", wholePackage, {}, 1'000'000}};
    for (const Hostile& file : files) {
        Hostile eighth = file;
        eighth.times /= 8;
        const double shorter = costOfLoading(bytesOf(eighth)).seconds;
        const Bytes bytes = bytesOf(file);
        const Cost cost = costOfLoading(bytes);
        EXPECT_LT(cost.bytes, (cost.sound ? 2 : 64) * bytes.size() + allowance) << file.name;
        EXPECT_LT(cost.seconds, static_cast<double>(bytes.size()) * 1e-6 * slowness) << file.name;
        EXPECT_LT(cost.seconds, 32 * std::max(shorter, 1e-3)) << file.name;
    }
}

} // namespace
