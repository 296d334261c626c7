// SPDX-License-Identifier: BSD-3-Clause
// What a user does with the manager dialog and sees in it, on every front end.
#include "tests/ManagerUser.h"
#include "tests/Support.h"

#include <chrono>
#include <utility>

namespace {

namespace fs = std::filesystem;
using Messages = std::vector<CString>;

enum Control { Exit = 1, Refresh = 4450, Dynamic = 4455, Apply = 4456, Norm = 4457, Delete = 4458 };
enum Command {
    SourceEdit = 4459,
    SourceDelete = 4460,
    Show = 4461,
    Hide = 4462,
    Save = 32771,
    Open = 32772,
    MenuExit = 32773
};

// A package of four data sets A to D of 2 channels x 3 to 6 samples, B current and C shown, and its manager.
class ManagerStory : public ::testing::Test {
protected:
    ManagerStory() {
        for (int k = 0; k < 4; ++k) package->setIcaData(test::countingDataSet(2, 3 + k).release(), 0);
        for (int k = 0; k < 4; ++k)
            package->getIcaData(k)->m_icaName = CString(std::string(1, static_cast<char>('A' + k)));
        package->getIcaData(2)->m_icaShow = true;
        package->getIcaData(3)->m_icaClass = 7;
        package->getIcaData(3)->setSelect(1, 4);
        package->m_curntIcaDataSetID = 1;
    }
    ~ManagerStory() override { package.reset(); } // the dialog goes before its front end

    void show() { EXPECT_EQ(package->showDlgIcaManager(nullptr), 1); }
    CDlgIcaWaveManager& dialog() { return *package->m_dlgIcaManager; }
    CListIcaWaveDataset& list() { return dialog().m_listIcaWave; }
    std::string column(int position) {
        std::string texts;
        for (int row = 0; row < list().GetItemCount(); ++row)
            texts += (row ? " " : "") + list().GetItemText(row, position).utf8();
        return texts;
    }
    std::string names() {
        std::string all;
        for (int k = 0; k < package->getTotalIca(); ++k) all += package->getIcaData(k)->m_icaName.utf8();
        return all;
    }

    const test::Folder temporary;
    const fs::path& folder = temporary.path;
    std::unique_ptr<test::User> user = test::newUser();
    std::unique_ptr<CFaceIcazq> package = std::make_unique<CFaceIcazq>();
};

TEST_F(ManagerStory, TheDialogAsItIsShown) {
    show();
    user->clickRow(list(), 2);
    user->click(dialog(), Dynamic);
    const char* expected = R"(dialog "ICA Wave Manager"
  menu "File"
    item 32771 "Save Independent Component Data"
    item 32772 "Open Independent Component Data"
    ---
    item 32773 "Exit"
  button 1 "Exit" default
  list 4454
    column "Name" 90
    column "Sample" 90
    column "Num ICA" 90
    column "Act ICA" 90
    column "Class" 90
    column "Select B" 90
    column "Select E" 90
    column "Current" 90
    row 0 image 0: A | 3 | 2 | 0 | 0 | 0 | 0 | Back
    row 1 image 0: B | 4 | 2 | 0 | 0 | 0 | 0 | Front
    row 2 image 1 selected focused: C | 5 | 2 | 0 | 0 | 0 | 0 | Back
    row 3 image 0: D | 6 | 2 | 0 | 7 | 1 | 4 | Back
  check box 4455 "Dynamic..." checked
  button 4456 "Apply..."
  button 4458 "Delete..."
  button 4450 "Refresh" default
  button 4457 "Norm..."
)";
    EXPECT_EQ(user->print(dialog()), expected);
    EXPECT_EQ(icawave::printWindow(dialog()), expected);
    EXPECT_STREQ(dialog().GetRuntimeClass()->m_className, "CDlgIcaWaveManager");
    EXPECT_STREQ(list().GetRuntimeClass()->m_className, "CListIcaWaveDataset");
    EXPECT_TRUE(list().IsKindOf(&CWnd::classCWnd) && !list().IsKindOf(&CDialogEx::classCDialogEx));
    EXPECT_EQ(dialog().GetDlgItem(4454), &list());
    EXPECT_EQ(
        (test::Results{list().GetStyle(), list().GetExtendedStyle(), list().GetColumnSubItem(7),
                       list().GetImageList(0)->GetImageCount(), list().GetImageList(1)->GetImage(1)->size}),
        (test::Results{0x50830801, 0x48, 8, 2, 16}));
    EXPECT_NE(dialog().icon(), nullptr);
}

TEST_F(ManagerStory, AClickedRowBecomesCurrentAndShowsItAfterARefresh) {
    show();
    user->clickRow(list(), 2);
    EXPECT_EQ(package->m_curntIcaDataSetID, 2);
    EXPECT_EQ(column(7), "Back Front Back Back");
    user->click(dialog(), Refresh);
    EXPECT_EQ(column(7), "Back Back Front Back");
    EXPECT_EQ(list().GetItemState(2, 3), 0u) << "new rows are not selected";
    user->clickRow(list(), 3);
    user->clickRow(list(), 0, true);
    EXPECT_EQ(package->m_curntIcaDataSetID, 0) << "the row acted on is told last";
    user->clickRow(list(), 2, false, true);
    EXPECT_EQ(package->m_curntIcaDataSetID, 2);
    for (const int selected : {3, 0}) {
        for (int row = 0; row < 4; ++row) EXPECT_EQ(list().GetItemState(row, 2), row < selected ? 2u : 0u);
        user->clickRow(list(), -1);
    }
    user->clickHeader(list(), 0);
    EXPECT_EQ(column(0), "A B C D") << "nothing is sorted";
    EXPECT_TRUE(user->takeMessages().empty());
}

TEST_F(ManagerStory, ThePopUpShowsAndHidesTheSelectedRows) {
    show();
    user->clickRow(list(), 0);
    user->clickRow(list(), 3, true);
    const auto shown = [&](const std::vector<icawave::MenuItem>& items) { return items.at(3); };
    std::vector<icawave::MenuItem> items = user->rightClickRow(list(), 3, Show);
    ASSERT_EQ(items.size(), 6u);
    EXPECT_EQ(items[0].text, "Source Edit");
    EXPECT_EQ(items[2].id, 0);
    EXPECT_TRUE(shown(items).enabled && !shown(items).checked);
    for (int k = 0; k < 4; ++k) EXPECT_EQ(package->getIcaData(k)->m_icaShow, k != 1) << k;
    EXPECT_EQ(list().GetItemImage(0), 1);
    items = user->rightClickRow(list(), 2, Hide);
    EXPECT_TRUE(shown(items).checked) << "the right button made C current";
    EXPECT_FALSE(package->getIcaData(2)->m_icaShow);
    package->m_curntIcaDataSetID = -1;
    items = user->rightClickRow(list(), -1, SourceEdit);
    EXPECT_FALSE(shown(items).enabled || shown(items).checked);
    EXPECT_TRUE(items.at(4).enabled);
    EXPECT_EQ(names(), "ABCD");
    list().m_facePkg = nullptr;
    EXPECT_TRUE(user->rightClickRow(list(), 0, Hide).empty()) << "no menu without a package";
}

TEST_F(ManagerStory, SourceDeleteTakesOutAndKeepsUndamaged) {
    show();
    user->clickRow(list(), 1);
    user->clickRow(list(), 2, true);
    CTrialIcaDatazq* taken = package->getIcaData(1);
    user->rightClickRow(list(), 2, SourceDelete);
    EXPECT_EQ(names(), "AD");
    EXPECT_EQ(column(0), "A D");
    EXPECT_EQ(package->m_curntIcaDataSetID, 2) << "the current index stays";
    EXPECT_EQ(taken->getValue(3, 1), 103.0);
    package->setIcaData(taken, 0); // the host lists it again: destroyed once, with the package
    EXPECT_EQ(package->getTotalIca(), 3);
}

// What was taken out and is listed again has one owner, whatever happens to it then.
TEST_F(ManagerStory, ADataSetThatIsListedAgainIsDestroyedOnce) {
    const auto takeOut = [&] {
        CTrialIcaDatazq* first = package->getIcaData(0);
        user->clickRow(list(), 0);
        user->rightClickRow(list(), 0, SourceDelete);
        return first;
    };
    const auto listInside = [&](CTrialIcaDatazq* d) { package->m_icaDataArray.InsertAt(0, d); };
    CFaceIcazq other;
    const std::function<void()> ends[] = {
        takeOut,
        [&] { package->m_curntIcaDataSetID = 0, user->click(dialog(), Delete); },
        [&] { test::DataSet(package->getIcaData(0)), package->m_icaDataArray.RemoveAt(0); }, // by the host
        [&] { package->cleanIcaFace(); },
        [&] { test::load(*package, test::golden("package_several.bin")); },
    };
    for (const bool handedOver : {false, true}) {
        for (const auto& end : ends) {
            package = std::make_unique<CFaceIcazq>();
            for (int k = 0; k < 2; ++k) package->setIcaData(test::countingDataSet(2, 3).release(), 0);
            show();
            other.setIcaData(takeOut(), 0); // outlives its dialog
            CTrialIcaDatazq* taken = takeOut();
            if (handedOver)
                package->setIcaData(taken, 0);
            else
                listInside(taken);
            user->click(dialog(), Refresh);
            end();
        }
    }
    package.reset();
    ASSERT_EQ(other.getTotalIca(), 10);
    for (int k = 0; k < 10; ++k) EXPECT_EQ(other.getIcaData(k)->getValue(2, 1), 102.0);
}

TEST_F(ManagerStory, SelectingAllOfALongListAsksForEachDataSetOnce) {
    package = std::make_unique<CFaceIcazq>();
    for (int k = 0; k < 10'000; ++k) package->checkInitIcaPkg(2, 1, true);
    show();
    package->getIcaData(7)->m_listID = package->getIcaData(9'999)->m_listID; // the first is found
    const auto start = std::chrono::steady_clock::now();
    for (int act = 0; act < 20; ++act) {
        list().selectAll();
        EXPECT_EQ(package->m_curntIcaDataSetID, 7);
        list().userClick(-1, false, false);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5)) << "quadratic: 20";
}

TEST_F(ManagerStory, DeleteDestroysTheCurrentDataSetAsTheRowsNumberIt) {
    show();
    user->click(dialog(), Delete);
    EXPECT_EQ(names(), "ACD");
    EXPECT_EQ(column(7), "Back Front Back");
    package->m_curntIcaDataSetID = 9;
    user->click(dialog(), Delete);
    EXPECT_EQ(names(), "ACD");
    while (package->getTotalIca() > 0) package->m_curntIcaDataSetID = 0, user->click(dialog(), Delete);
    EXPECT_EQ(list().GetItemCount(), 0);
    EXPECT_EQ(package->m_curntIcaDataSetID, -1);
    user->click(dialog(), Delete);
    EXPECT_TRUE(user->takeMessages().empty());
}

TEST_F(ManagerStory, NormTellsTheDivisor) {
    show();
    package->getIcaData(1)->checkInitSnsIcaData(2, 2, true);
    package->getIcaData(1)->m_chnlIcaData[0].m_data[0] = 2.0;
    user->click(dialog(), Norm);
    EXPECT_EQ(user->takeMessages(), Messages{"Ica Normal:1.414214"});
    EXPECT_EQ(package->getIcaData(1)->m_normalized, 1);
    package->getIcaData(1)->checkInitSnsIcaData(2, 2, true);
    user->click(dialog(), Norm);
    EXPECT_EQ(user->takeMessages(),
              (Messages{"RMS value in leadfields is smaller than zero!?", "Ica Normal:1.414214"}));
    package->m_curntIcaDataSetID = 4;
    user->click(dialog(), Norm);
    EXPECT_EQ(user->takeMessages(), Messages{"No ICA data or not selected?"});
}

TEST_F(ManagerStory, SavesAndOpensOneDataSet) {
    show();
    user->clickRow(list(), 3);
    user->answerNextFileDialog(temporary / "results");
    user->click(dialog(), Save);
    ASSERT_TRUE(fs::exists(folder / "results.icd"));
    const auto bytes = test::stored(*package->getIcaData(3));
    EXPECT_EQ(fs::file_size(folder / "results.icd"), bytes.size());
    user->clickRow(list(), 0);
    user->answerNextFileDialog(temporary / "results.icd");
    user->click(dialog(), Open);
    CTrialIcaDatazq& opened = *package->getIcaData(0);
    EXPECT_EQ(std::exchange(opened.m_listID, 3), 0) << "it keeps its row";
    EXPECT_EQ(test::stored(opened), bytes);
    opened.m_listID = 0;
    EXPECT_EQ(column(0), "A B C D") << "the rows wait for the next refresh";
    package->m_curntIcaDataSetID = 50;
    user->answerNextFileDialog(temporary / "other.ICD");
    user->click(dialog(), Save);
    EXPECT_EQ(package->m_curntIcaDataSetID, 3);
    EXPECT_TRUE(fs::exists(folder / "other.ICD.icd"));
    EXPECT_TRUE(user->takeMessages().empty());
}

// A cancelled dialog, files that cannot be opened or created, something else than a data set, a truncated
// one.
TEST_F(ManagerStory, FilesThatFailSaySo) {
    const Messages none = {"No ICA data or not selected?"};
    show();
    for (const int command : {Save, Open}) {
        user->answerNextFileDialog(std::nullopt);
        user->click(dialog(), command);
        EXPECT_EQ(user->takeMessages(), none) << command;
    }
    const auto before = test::stored(*package->getIcaData(1));
    std::ofstream(folder / "text.icd") << "\x04text, and not a data set";
    user->answerNextFileDialog(temporary / "text.icd");
    user->click(dialog(), Open);
    EXPECT_EQ(user->takeMessages(), Messages{"The opened file is not CIcaData09File or corrupted!"});
    EXPECT_EQ(test::stored(*package->getIcaData(1)), before);
    package->getIcaData(1)->m_listID = 3;
    const auto other = test::stored(*package->getIcaData(1));
    package->getIcaData(1)->m_listID = 1;
    std::ofstream(folder / "cut.icd", std::ios::binary)
        .write(reinterpret_cast<const char*>(other.data()), std::ssize(other) - 60);
    user->answerNextFileDialog(temporary / "cut.icd");
    user->click(dialog(), Open);
    EXPECT_EQ(user->takeMessages(), Messages{"unexpected end of file"})
        << "an exception out of a handler is one message";
    EXPECT_EQ(package->getIcaData(1)->m_listID, 1) << "it keeps its row";
    package->cleanIcaFace();
    user->click(dialog(), Save);
    EXPECT_EQ(user->takeMessages(), none);
}

TEST_F(ManagerStory, ClosingHidesAndShowingAgainRebuilds) {
    show();
    CDlgIcaWaveManager* made = package->m_dlgIcaManager;
    EXPECT_TRUE(made->IsWindowVisible());
    user->click(*made, Exit);
    EXPECT_FALSE(made->IsWindowVisible());
    package->setIcaData(test::countingDataSet(2, 9).release(), 0);
    package->setIcaData(nullptr, 0);
    package->setIcaData(test::newDataSet().release(), 0);
    show();
    EXPECT_EQ(package->m_dlgIcaManager, made);
    EXPECT_TRUE(made->IsWindowVisible());
    EXPECT_EQ(column(1), "3 4 5 6 9 -1") << "a null entry has no row";
    EXPECT_EQ(package->getIcaData(6)->m_listID, 5) << "the row really given";
    user->close(*made);
    EXPECT_FALSE(made->IsWindowVisible());
    show();
    for (const int idle : {static_cast<int>(Apply), static_cast<int>(Dynamic), static_cast<int>(MenuExit)})
        user->click(*made, idle);
    EXPECT_TRUE(made->IsWindowVisible());
    EXPECT_TRUE(user->takeMessages().empty());
}

TEST_F(ManagerStory, RowsCorrectSampleCountsOnceAndClampTheActiveChannel) {
    package->getIcaData(0)->m_chnlIcaData[0].resize(120);
    package->getIcaData(1)->m_selectIca = 7;
    package->getIcaData(2)->m_selectBegin = (std::int64_t{1} << 32) + 5;
    show();
    EXPECT_EQ(user->takeMessages(), Messages{"Ic data points error!"});
    EXPECT_EQ(column(1) + "|" + column(3) + "|" + column(5), "120 4 5 6|0 1 0 0|0 0 5 1")
        << "the low 32 bits";
    user->click(dialog(), Refresh);
    EXPECT_TRUE(user->takeMessages().empty());
}

TEST_F(ManagerStory, TheListFollowsTheSizeOfTheDialog) {
    show();
    const CRect before = list().GetWindowRect(), client = dialog().GetClientRect();
    EXPECT_EQ(before.right, client.right - 10);
    EXPECT_EQ(before.bottom, client.bottom - 10);
    user->resize(dialog(), client.right + 100, client.bottom + 50);
    EXPECT_EQ(list().GetWindowRect(),
              (CRect{before.left, before.top, before.right + 100, before.bottom + 50}));
}

} // namespace
