// SPDX-License-Identifier: BSD-3-Clause
#include "tests/Support.h"

#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

// Pieces below, at and above the size of the file's own buffer, read back in other pieces; more than is kept
// in caches. Space that was reserved ahead is given back.
TEST(Files, BufferedPiecesArriveInOrder) {
    const test::Folder folder;
    std::vector<char> bytes(19'900'001);
    for (std::size_t k = 0; k < bytes.size(); ++k) bytes[k] = static_cast<char>(k * 7 + k / 256);
    CFile out;
    ASSERT_TRUE(out.Open(folder / "a", CFile::modeCreate | CFile::modeWrite));
    std::int64_t written = 0;
    for (const std::int64_t piece : {1, 262'143, 1, 300'000, 5, 262'144, 75'707, 17'000'000, 2'000'000}) {
        out.Write(bytes.data() + written, piece);
        written += piece;
        EXPECT_EQ(out.GetPosition(), written);
        EXPECT_EQ(out.GetLength(), written);
    }
    ASSERT_EQ(written, std::ssize(bytes));
    out.Close();
    struct stat status;
    ASSERT_EQ(::stat((folder / "a").utf8().c_str(), &status), 0);
    EXPECT_EQ(status.st_size, written);
    EXPECT_LT(status.st_blocks * 512, written + (1 << 20));

    CFile in;
    ASSERT_TRUE(in.Open(folder / "a", CFile::modeRead));
    std::vector<char> loaded(bytes.size() + 1);
    std::int64_t got = 0;
    for (const std::int64_t piece : {3, 262'144, 400'000, 12'000'000, 8'193, 40'000, 17, 100'001, 9'000'000})
        got += in.Read(loaded.data() + got, piece);
    EXPECT_EQ(got, written);
    loaded.pop_back();
    EXPECT_TRUE(loaded == bytes);
    EXPECT_EQ(in.Seek(-2, CFile::end), written - 2);
    EXPECT_EQ(in.Read(loaded.data(), 10), 2);
    EXPECT_EQ(in.Seek(10, CFile::begin), 10);
    in.Read(loaded.data(), 5);
    EXPECT_EQ(in.Seek(1, CFile::current), 16) << "from the reader's place, not from the bytes read ahead";
    in.Read(loaded.data(), 1);
    EXPECT_EQ(loaded[0], bytes[16]);
    EXPECT_THROW(in.Write("x", 1), CFileException);
}

TEST(Files, AFileInMemoryTakesItsOwnBytes) {
    CMemFile file;
    file.Write("abcd", 4);
    for (int doubled = 0; doubled < 10; ++doubled) file.Write(file.bytes().data(), file.GetLength());
    ASSERT_EQ(file.GetLength(), 4096);
    for (std::size_t k = 0; k < 4096; ++k) ASSERT_EQ(file.bytes()[k], std::byte('a' + k % 4)) << k;
}

TEST(Files, WhatCannotBeOpenedIsRefused) {
    const test::Folder folder;
    CFile file;
    EXPECT_FALSE(file.Open(folder / "missing", CFile::modeRead));
    EXPECT_FALSE(file.Open(CString(folder.path.string()), CFile::modeRead)) << "a directory";
    EXPECT_FALSE(file.Open(folder / "no/such/folder", CFile::modeCreate | CFile::modeWrite));
    EXPECT_FALSE(file.Open(folder / "a" + CString(std::u16string_view(u"\0b", 2)),
                           CFile::modeCreate | CFile::modeWrite));
    EXPECT_FALSE(fs::exists(folder.path / "a"));
}

TEST(FullDisk, IsAnExceptionFromTheOutermostFlushOrCloseOnce) {
    if (!fs::exists("/dev/full")) GTEST_SKIP() << "this system has no /dev/full";
    icawave::ScriptedFrontEnd ui;
    CFile file;
    ASSERT_TRUE(file.Open("/dev/full", CFile::modeWrite));
    file.Write("abc", 3);
    try {
        file.Close();
        FAIL() << "the three bytes are lost";
    } catch (const CFileException& e) {
        EXPECT_EQ(e.m_cause, CFileException::diskFull);
        EXPECT_EQ(e.m_strFileName, "/dev/full");
    }
    file.Close(); // nothing is left to fail
    ASSERT_TRUE(file.Open("/dev/full", CFile::modeWrite));
    CFaceIcazq package;
    CArchive archive(&file, CArchive::store);
    EXPECT_THROW(package.serialize(archive), CFileException);
    EXPECT_TRUE(ui.messages.empty());
    {
        CFile forgotten;
        ASSERT_TRUE(forgotten.Open("/dev/full", CFile::modeWrite));
        forgotten.Write("abc", 3);
    }
    EXPECT_EQ(ui.messages.size(), 1u) << "a destructor cannot raise it";
}

// Bytes of this process that are in memory.
std::int64_t residentBytes() {
    std::int64_t all = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> all >> resident;
    return resident * ::sysconf(_SC_PAGESIZE);
}

// What is not kept may lie in the C library's own lists for a while, which is not ours to test.
TEST(Memory, IsKeptForTheNextLoadUntilItIsGivenBack) {
#ifdef ICAWAVE_SANITIZED
    GTEST_SKIP() << "the sanitizer's allocator keeps what it likes";
#endif
    constexpr std::int64_t much = 48 << 20, little = 12 << 20;
    test::Bytes bytes;
    {
        CFaceIcazq package;
        for (int k = 0; k < 50; ++k) package.checkInitIca4ID(64, 2'000, 0, true);
        bytes = test::stored(package);
    }
    ASSERT_GT(std::ssize(bytes), much);
    icawave::giveMemoryBack();
    const std::int64_t before = residentBytes();
    for (const bool atOnce : {false, true}) {
        icawave::keepMemory(256 << 20);
        EXPECT_EQ(test::load(*std::make_unique<CFaceIcazq>(), bytes).result, 1);
        EXPECT_GT(residentBytes() - before, much - little);
        atOnce ? icawave::keepMemory(0) : icawave::giveMemoryBack();
        EXPECT_LT(residentBytes() - before, little);
    }
}

TEST(Modules, AreSearchedFromTheNewestToTheOldestWhileTheyAreLinked) {
    const int first = 1, second = 2;
    const icawave::Resource oldResources[] = {{icawave::ResourceKind::menu, 7, &first},
                                              {icawave::ResourceKind::icon, 7, &first}};
    const icawave::Resource newResources[] = {{icawave::ResourceKind::menu, 7, &second}};
    AFX_EXTENSION_MODULE older{"older", oldResources}, newer{"newer", newResources},
        nameless{nullptr, newResources};
    EXPECT_FALSE(AfxInitExtensionModule(nameless));
    ASSERT_TRUE(AfxInitExtensionModule(older));
    EXPECT_FALSE(AfxInitExtensionModule(older)) << "twice";
    const CDynLinkLibrary olderLink(older);
    {
        const CDynLinkLibrary newerLink(newer);
        EXPECT_EQ(AfxFindResource(icawave::ResourceKind::menu, 7), &first) << "linked but not initialised";
        ASSERT_TRUE(AfxInitExtensionModule(newer));
        EXPECT_EQ(AfxFindResource(icawave::ResourceKind::menu, 7), &second);
        EXPECT_EQ(AfxFindResource(icawave::ResourceKind::icon, 7), &first);
    }
    EXPECT_EQ(AfxFindResource(icawave::ResourceKind::menu, 7), &first);
    AfxTermExtensionModule(older);
    EXPECT_EQ(AfxFindResource(icawave::ResourceKind::menu, 7), nullptr);
    EXPECT_TRUE(AfxFindModule("icawave"));
}

} // namespace
