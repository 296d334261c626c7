// SPDX-License-Identifier: BSD-3-Clause
// Files that are written: under the very name that was given, and by one writer at a time.
#include "tests/Support.h"
#include "tests/SystemCalls.h"

#include <icawave/PackageFile.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <grp.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <thread>
#include <unistd.h>

using namespace icawave;

namespace {

namespace fs = std::filesystem;

std::vector<std::string> notices; // since the test began

class Writers : public ::testing::Test {
protected:
    Writers() {
        notices.clear();
        setSaveNotice([](const std::string& line) { notices.push_back(line); });
    }
    ~Writers() override { setSaveNotice(nullptr); }

    const test::Folder temporary;
    const fs::path folder = temporary.path;
    const fs::path file = folder / "sample.icpkg";
    CFaceIcazq package;
};

std::string errorOf(const std::function<void()>& act) {
    try {
        act();
    } catch (const FileError& e) {
        return e.what();
    }
    return "";
}

TEST_F(Writers, OpenTheFileWithExactlyTheseBytes) {
    const std::vector<std::string> names = {"\xE9", "\xEA", "\xEF\xBF\xBD", "J\xC3\xBCrgen\xE9", "a"};
    for (const std::string& name : names) {
        package.m_pkgName = CString(shownPath(name));
        PackageFile::save(folder / name, package);
    }
    for (const std::string& name : names) {
        PackageFile opened(folder / name);
        EXPECT_EQ(opened.info().name.utf8(), shownPath(name));
        opened.replace(package);
        EXPECT_TRUE(opened.salvage(folder / (name + "2")).faults.empty());
        EXPECT_TRUE(FileState::of(folder / (name + "2")).has_value());
        CFile plain;
        ASSERT_TRUE(plain.OpenPath(folder / name, CFile::modeRead));
        EXPECT_EQ(plain.GetLength(), opened.size());
    }
    EXPECT_FALSE(FileState::of(folder / "\xEB").has_value());
    EXPECT_EQ(shownPath("J\xC3\xBCrgen\xE9\xC3"), "J\xC3\xBCrgen\\xe9\\xc3");
    EXPECT_EQ(errorOf([] { PackageFile("no\xE9"); }), "no\\xe9: No such file or directory");
}

TEST_F(Writers, RefuseATextThatSaysNoPath) {
    EXPECT_EQ(pathOf(u"J\u00FCrgen \U0001F9E0").native(), "J\xC3\xBCrgen \xF0\x9F\xA7\xA0");
    const CString none[] = {std::u16string_view(u"a\0b", 3), std::u16string(1, u'\xD800')};
    for (const CString& text : none) {
        EXPECT_NE(errorOf([&] { pathOf(text); }).find("not a path"), std::string::npos);
        CFile plain;
        EXPECT_FALSE(
            plain.Open(CString((folder / "x").native()) + text, CFile::modeCreate | CFile::modeWrite));
    }
    EXPECT_THROW(PackageFile::save(std::string("a\0b", 3), package), FileError);
    EXPECT_TRUE(fs::is_empty(folder));
}

// What several processes count.
struct Counts {
    std::atomic<int> acknowledged = 0, refused = 0;
};

// Counts a package's type up, `times` times; what another writer did in between is read again.
void countUp(const fs::path& file, int times, Counts& counts) {
    while (times > 0) {
        try {
            PackageFile opened(file);
            CFaceIcazq package;
            opened.load(package);
            ++package.m_pkgType;
            opened.replace(package);
            ++counts.acknowledged;
            --times;
        } catch (const FileError&) {
            ++counts.refused;
        }
    }
}

pid_t inChild(const std::function<void()>& act) {
    const pid_t child = ::fork();
    if (child == 0) {
        act();
        ::_exit(0);
    }
    return child;
}

// Also when a third process is killed, again and again.
TEST_F(Writers, LoseNoUpdateOfEachOther) {
    const char* const wanted = std::getenv("ICAWAVE_UPDATES");
    const int each = (wanted ? std::atoi(wanted) : 400) / 2;
    PackageFile::save(file, package);
    void* const shared =
        ::mmap(nullptr, sizeof(Counts), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(shared, MAP_FAILED);
    auto& counts = *new (shared) Counts;
    const pid_t counting[] = {inChild([&] { countUp(file, each, counts); }),
                              inChild([&] { countUp(file, each, counts); })};
    int killed = 0;
    for (int running = 2; running > 0; ++killed) {
        const pid_t third = inChild([&] { countUp(file, 1 << 30, counts); });
        std::this_thread::sleep_for(std::chrono::milliseconds(5 + killed % 7));
        ::kill(third, SIGKILL);
        ::waitpid(third, nullptr, 0);
        running = 0;
        for (const pid_t child : counting) running += ::waitpid(child, nullptr, WNOHANG) == 0 ? 1 : 0;
    }
    const int acknowledged = counts.acknowledged;
    EXPECT_GE(acknowledged, 2 * each);
    EXPECT_GT(counts.refused, 0) << "they never met";
    EXPECT_GT(killed, 2);
    const int counted = PackageFile(file).info().type;
    EXPECT_GE(counted, acknowledged);
    EXPECT_LE(counted, acknowledged + killed) << "who was killed could not acknowledge its last one";
    EXPECT_TRUE(PackageFile(file).check().empty());
    EXPECT_EQ(notices.size(), 0u);
    ::munmap(shared, sizeof(Counts));
    PackageFile::save(file, package);
    EXPECT_TRUE(test::temporaryFiles(folder).empty());
}

TEST_F(Writers, OfOneThreadShareTheLockAndOthersWait) {
    PackageFile::save(file, package);
    fs::create_symlink("sample.icpkg", folder / "link");
    std::atomic<bool> isSaved = false;
    std::optional<WriterLock> lock(file), again(folder / "link");
    PackageFile(file).replace(package);
    std::thread other([&] {
        CFaceIcazq another;
        PackageFile::save(folder / "link", another);
        isSaved = true;
    });
    lock.reset();
    std::this_thread::sleep_for(std::chrono::milliseconds(1300));
    EXPECT_FALSE(isSaved);
    EXPECT_EQ(PackageFile(file).info().type, package.m_pkgType) << "readers do not wait";
    again.reset();
    other.join();
    ASSERT_EQ(notices.size(), 1u);
    const std::string who = "icawave_tests (process " + std::to_string(::getpid()) + " on ";
    EXPECT_NE(notices[0].find("waiting for " + who), std::string::npos) << notices[0];
}

TEST_F(Writers, SaveWhereNoLockCanBeMadeAndSaySo) {
    fs::create_directory(folder / ".sample.icpkg.lock");
    const WriterLock lock(file);
    PackageFile::save(file, package);
    ASSERT_EQ(notices.size(), 1u) << "once";
    EXPECT_NE(notices[0].find("cannot be locked (Is a directory)"), std::string::npos) << notices[0];
    EXPECT_TRUE(PackageFile(file).check().empty());
}

TEST_F(Writers, SeeThatAFileChangedThoughItsTimeAndSizeDidNot) {
    PackageFile::save(file, package);
    PackageFile opened(file);
    const fs::file_time_type modified = fs::last_write_time(file);
    const test::Bytes bytes = test::contents(file);
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), std::ssize(bytes));
    fs::last_write_time(file, modified);
    EXPECT_THROW(opened.replace(package), FileError);
}

TEST_F(Writers, RemoveWhatKilledOnesLeftAndNothingElse) {
    const AtomicFile going(folder / "other.icpkg");
    for (const bool isTold : {true, false}) {
        const pid_t child = inChild([&] {
            const AtomicFile interrupted(file);
            if (isTold) removeTemporaryFiles();
            ::raise(SIGKILL);
        });
        ::waitpid(child, nullptr, 0);
        EXPECT_EQ(test::temporaryFiles(folder).size(), isTold ? 1u : 2u);
    }
    const std::string elsewhere = ".icawave-another-host-1-1";
    std::ofstream(folder / elsewhere) << "x";
    PackageFile::save(file, package);
    EXPECT_EQ(test::temporaryFiles(folder).size(), 2u);
    EXPECT_TRUE(fs::exists(folder / elsewhere));
}

TEST_F(Writers, ReachEveryNameThatThePathAllows) {
    const std::string longest(255, 'n');
    fs::path deep = folder;
    while (deep.native().size() + 201 < 4000) deep /= std::string(200, 'd');
    deep /= std::string(4092 - deep.native().size(), 'e'); // and a slash, a letter and the zero
    fs::create_directories(deep);
    for (const fs::path& path : {folder / longest, deep / "f"}) {
        PackageFile::save(path, package);
        PackageFile(path).replace(package);
        PackageFile::save(path, package);
        EXPECT_TRUE(PackageFile(path).check().empty());
        EXPECT_EQ(std::distance(fs::directory_iterator(path.parent_path()), {}), path == deep / "f" ? 2 : 3);
    }
    EXPECT_EQ(notices.size(), 0u);
}

TEST_F(Writers, KeepGroupAndPermissionsAndTellWhatChanges) {
    PackageFile::save(file, package);
    fs::permissions(file, fs::perms(0640));
    fs::create_hard_link(file, folder / "second");
    PackageFile::save(file, package);
    ASSERT_EQ(notices.size(), 1u);
    EXPECT_NE(notices[0].find("had 2 names (hard links)"), std::string::npos);
    EXPECT_EQ(fs::status(file).permissions(), fs::perms(0640));
    const bool isNoted = ::setxattr(file.c_str(), "user.note", "kept", 4, 0) == 0;
    PackageFile::save(file, package);
    EXPECT_EQ(::getxattr(file.c_str(), "user.note", nullptr, 0), isNoted ? 4 : -1);
    if (::geteuid() != 0) GTEST_SKIP() << "only the superuser gives files away";
    ASSERT_EQ(::chown(file.c_str(), 1234, 1235), 0);
    PackageFile::save(file, package);
    struct stat status;
    ASSERT_EQ(::stat(file.c_str(), &status), 0);
    EXPECT_EQ(std::pair(status.st_uid, status.st_gid), std::pair(1234u, 1235u));
    EXPECT_EQ(notices.size(), 1u) << "the owner stayed";

    fs::permissions(folder, fs::perms::all);
    fs::permissions(file, fs::perms(0664));
    int result = 0;
    ::waitpid(inChild([&] {
                  notices.clear();
                  const gid_t groups[] = {1235};
                  if (::setgroups(1, groups) != 0 || ::setgid(77) != 0 || ::setuid(88) != 0) ::_exit(1);
                  PackageFile::save(file, package);
                  ::_exit(notices.size() == 1 && notices[0].ends_with("its owner is 88 now, no longer 1234")
                              ? 0
                              : 2);
              }),
              &result, 0);
    EXPECT_EQ(result, 0);
    ASSERT_EQ(::stat(file.c_str(), &status), 0);
    EXPECT_EQ(std::pair(status.st_uid, status.st_gid), std::pair(88u, 1235u));
    EXPECT_EQ(status.st_mode & 07777u, 0664u);
    ::waitpid(inChild([&] {
                  if (::setgroups(0, nullptr) != 0 || ::setgid(78) != 0 || ::setuid(88) != 0) ::_exit(1);
                  PackageFile::save(file, package);
              }),
              &result, 0);
    EXPECT_EQ(result, 0);
    ASSERT_EQ(::stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777u, 0644u) << "another group has the rights of all";
}

} // namespace
