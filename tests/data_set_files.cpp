// SPDX-License-Identifier: BSD-3-Clause
// Single data set files as the file dialogs ask for them, and every way in which they fail.
#include "tests/Support.h"

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

} // namespace
