// SPDX-License-Identifier: BSD-3-Clause
// Single data set files as the file dialogs ask for them, and every way in which they fail.
#include "tests/Support.h"
#include "tests/SystemCalls.h"

#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

class DataSetFiles : public ::testing::Test {
protected:
    std::int32_t save(const CString& answer) {
        ui.fileAnswers = {answer};
        return dataSet->saveIcaDataStd();
    }
    std::int32_t open(const CString& answer) {
        ui.fileAnswers = {answer};
        return dataSet->openicaDataStd();
    }

    const test::Folder temporary;
    const fs::path& folder = temporary.path;
    icawave::ScriptedFrontEnd ui;
    test::DataSet dataSet = test::countingDataSet(2, 3);
};

TEST_F(DataSetFiles, AskAsTheDialogsOfThePlatformDo) {
    EXPECT_EQ(dataSet->openicaDataStd() + dataSet->saveIcaDataStd(), 0) << "both cancelled";
    ASSERT_EQ(ui.fileDialogs.size(), 2u);
    for (const auto& request : ui.fileDialogs)
        EXPECT_EQ(request.filter, "ICA Data(*.icd)|*.icd|All Files(*.*)|*.*||");
    EXPECT_FALSE(ui.fileDialogs[0].save);
    EXPECT_EQ(ui.fileDialogs[0].name, "");
    EXPECT_EQ(ui.fileDialogs[0].flags, 0x1800u) << "path and file must exist";
    EXPECT_TRUE(ui.fileDialogs[1].save);
    EXPECT_EQ(ui.fileDialogs[1].name, "ICA DAta.icd");
    EXPECT_EQ(ui.fileDialogs[1].flags, 0x2u) << "asks before it overwrites";
    EXPECT_EQ(ui.waitCount, 1) << "opening waits, its dialog included; saving does not";
    EXPECT_EQ(ui.waitDepth, 0);
}

TEST_F(DataSetFiles, GetTheirExtensionUnlessThePathHasItAnywhere) {
    for (const auto& [answer, written] : {std::pair{"results", "results.icd"},
                                          {"results.ICD", "results.ICD.icd"},
                                          {"old.icd.bak", "old.icd.bak"}}) {
        EXPECT_EQ(save(temporary / answer), 1);
        EXPECT_EQ(fs::file_size(folder / written), test::stored(*dataSet).size());
    }
    const auto bytes = test::stored(*dataSet);
    dataSet->cleanSnsIcaData();
    EXPECT_EQ(open(temporary / "results.icd"), 1);
    EXPECT_EQ(test::stored(*dataSet), bytes);
    std::ofstream(folder / "longer.icd", std::ios::app) << std::string(5000, 'x');
    EXPECT_EQ(save(temporary / "longer.icd"), 1);
    EXPECT_EQ(fs::file_size(folder / "longer.icd"), bytes.size()) << "an old file is emptied first";
}

TEST_F(DataSetFiles, ThatCannotBeOpenedOrCreatedGiveZeroSilently) {
    fs::create_directory(folder / "folder.icd");
    ASSERT_EQ(::mkfifo((folder / "pipe.icd").c_str(), 0600), 0);
    for (const char* name : {"missing.icd", "folder.icd", "pipe.icd"})
        EXPECT_EQ(open(temporary / name), 0) << name;
    EXPECT_EQ(save(temporary / "folder.icd") + save(temporary / "no/such/folder.icd"), 0);
    EXPECT_TRUE(ui.messages.empty());
    EXPECT_EQ(ui.waitDepth, 0);
}

TEST_F(DataSetFiles, ThatEndEarlyOrFindTheDiskFullRaise) {
    const auto bytes = test::stored(*dataSet);
    std::ofstream(folder / "cut.icd", std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), 60);
    EXPECT_THROW(open(temporary / "cut.icd"), CArchiveException);
    EXPECT_EQ(ui.waitDepth, 0) << "the cursor is restored on the way out";
    if (!fs::exists("/dev/full")) GTEST_SKIP() << "this system has no /dev/full";
    fs::create_symlink("/dev/full", folder / "full.icd");
    EXPECT_THROW(save(temporary / "full.icd"), CFileException);
    EXPECT_TRUE(ui.messages.empty()) << "the caller tells it, once";
}

// The n-th system call fails, for every n.
TEST_F(DataSetFiles, KeepTheOldFileUntilTheNewOneIsWhole) {
    const auto contents = [&] { return test::contents(folder / "a.icd"); };
    ASSERT_EQ(save(temporary / "a.icd"), 1);
    const test::Bytes old = contents();
    dataSet = test::countingDataSet(3, 40'000);
    const test::Bytes whole = test::stored(*dataSet);
    int failures = 0, kept = 0;
    for (bool done = false; !done;) {
        std::ofstream(folder / "a.icd", std::ios::binary)
            .write(reinterpret_cast<const char*>(old.data()), std::ssize(old));
        test::systemCalls.left = failures;
        std::int32_t result = 0;
        try {
            result = save(temporary / "a.icd");
        } catch (const CFileException&) {
        }
        done = test::systemCalls.left >= 0;
        test::systemCalls.left = -1;
        ASSERT_TRUE(contents() == whole || (result == 0 && contents() == old)) << failures;
        kept += contents() == old ? 1 : 0;
        failures += done ? 0 : 1;
    }
    EXPECT_GT(failures, 10);
    EXPECT_GT(kept, 3);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1) << "neither a temporary file nor a lock";
}

TEST_F(DataSetFiles, AreWrittenThemselvesWhereAnotherFileWouldBeNoticed) {
    ASSERT_EQ(save(temporary / "a.icd"), 1);
    fs::create_hard_link(folder / "a.icd", folder / "second.icd");
    fs::create_symlink("a.icd", folder / "link.icd");
    dataSet = test::countingDataSet(3, 5);
    const test::Bytes whole = test::stored(*dataSet);
    ASSERT_EQ(save(temporary / "link.icd"), 1);
    EXPECT_EQ(test::contents(folder / "second.icd"), whole);
    EXPECT_TRUE(fs::is_symlink(folder / "link.icd"));
    fs::remove(folder / "second.icd");
    fs::permissions(folder / "a.icd", fs::perms(0600));
    ASSERT_EQ(save(temporary / "link.icd"), 1);
    EXPECT_EQ(test::contents(folder / "a.icd"), whole);
    EXPECT_EQ(fs::status(folder / "a.icd").permissions(), fs::perms(0600));
    EXPECT_TRUE(fs::is_symlink(folder / "link.icd"));
}

} // namespace
