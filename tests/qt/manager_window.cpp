// SPDX-License-Identifier: BSD-3-Clause
// The program that shows the manager of a package file: nothing is lost, and nobody is waited for.
#include "apps/manager/ManagerWindow.h"

#include "tests/Support.h"
#include "tests/qt/QtUser.h"

#include <QApplication>
#include <QProcess>
#include <QTest>

namespace {

using icawave::PackageFile;
using icawave::pathOf;
using icawave::qt::ManagerWindow;

// A file of three data sets, the second one current and all hidden.
class ManagerWindows : public ::testing::Test {
protected:
    ManagerWindows() {
        CFaceIcazq package;
        for (int k = 0; k < 3; ++k) package.setIcaData(test::countingDataSet(2, 3).release(), 0);
        package.m_curntIcaDataSetID = 1;
        PackageFile::save(pathOf(path), package);
    }
    ~ManagerWindows() override { window.reset(); }
    void open() {
        window = std::make_unique<ManagerWindow>(pathOf(path));
        window->show();
        QApplication::processEvents();
    }
    CDlgIcaWaveManager& dialog() { return *window->package().m_dlgIcaManager; }
    void choose(std::uint32_t command) { dialog().SendMessage(icawave::message::command, command, 0); }
    void trigger(const QString& text) {
        for (QAction* action : window->findChildren<QAction*>()) {
            if (action->text() == text) action->trigger();
        }
    }
    bool storedShown() { return PackageFile(pathOf(path)).dataSets()[1].shown; }

    const test::Folder folder;
    const CString path = folder / "trials.icpkg";
    test::QtUser user;
    std::unique_ptr<ManagerWindow> window;
};

TEST_F(ManagerWindows, AskBeforeChangesAreLost) {
    const std::vector<CString> question = {"The package has changed. Save it?"};
    open();
    EXPECT_EQ(dialog().m_listIcaWave.focusedRow(), 1);
    EXPECT_EQ(window->package().m_curntIcaDataSetID, 1) << "as it was stored";
    EXPECT_TRUE(window->close());
    EXPECT_TRUE(user.takeMessages().empty()) << "nothing has changed";
    for (const auto answer : {QMessageBox::Cancel, QMessageBox::Discard, QMessageBox::Save}) {
        open();
        choose(4461);
        user.answerNextMessage(answer);
        user.click(dialog(), 1);
        QTest::qWait(50);
        EXPECT_EQ(user.takeMessages(), question);
        EXPECT_EQ(window->isVisible() && dialog().IsWindowVisible(), answer == QMessageBox::Cancel);
        EXPECT_EQ(storedShown(), answer == QMessageBox::Save);
    }
    EXPECT_EQ(PackageFile(pathOf(path)).info().current, 1);
}

TEST_F(ManagerWindows, SaveFromTheirMenuAndNeverOverOthersChanges) {
    open();
    choose(4461);
    trigger(QStringLiteral("&Save package"));
    EXPECT_TRUE(storedShown());
    EXPECT_TRUE(window->close()) << "saved, so that there is no question";
    EXPECT_TRUE(user.takeMessages().empty());
    open();
    const auto other = test::golden("package_several.bin");
    std::ofstream(folder.path / "trials.icpkg", std::ios::binary)
        .write(reinterpret_cast<const char*>(other.data()), other.size());
    choose(4462);
    user.answerNextMessage(QMessageBox::Save);
    EXPECT_FALSE(window->close());
    EXPECT_EQ(user.takeMessages().size(), 2u) << "the question, and why it was not saved";
    EXPECT_EQ(test::contents(folder.path / "trials.icpkg"), other);
    user.answerNextFileDialog(folder / "mine.icpkg");
    trigger(QStringLiteral("Save package &as..."));
    EXPECT_EQ(PackageFile(folder.path / "mine.icpkg").dataSets().size(), 3u);
    EXPECT_TRUE(window->close());
    std::filesystem::resize_file(folder.path / "mine.icpkg", 300);
    EXPECT_THROW(ManagerWindow(folder.path / "mine.icpkg"), icawave::FileError)
        << "a save would drop data sets";
}

TEST_F(ManagerWindows, DrawTheirPictureWithoutWaiting) {
    CFaceIcazq package;
    package.setIcaData(test::countingDataSet(2, 3).release(), 0);
    package.getIcaData(0)->m_totalSample = 5; // brings a message
    PackageFile::save(pathOf(path), package);
    QProcess manager;
    manager.start(QStringLiteral(ICAWAVE_MANAGER),
                  {QString::fromStdString(path.utf8()), QString::fromStdString((folder / "a.png").utf8())});
    EXPECT_TRUE(manager.waitForFinished(20000));
    EXPECT_TRUE(manager.readAllStandardError().contains("Ic data points error!"));
    EXPECT_TRUE(std::filesystem::exists(folder.path / "a.png"));
}

} // namespace
