// SPDX-License-Identifier: BSD-3-Clause
// Windows of the toolkit that go at any time, and viewers of a host.
#include "tests/Support.h"
#include "tests/qt/QtUser.h"

#include <QApplication>
#include <QDialog>
#include <QPointer>
#include <QTest>
#include <QTimer>

namespace {

class Painted : public QWidget {
public:
    int paints = 0;

protected:
    void paintEvent(QPaintEvent*) override { ++paints; }
};

class Survival : public ::testing::Test {
protected:
    Survival() {
        for (int k = 0; k < 3; ++k) package->setIcaData(test::countingDataSet(2, 3).release(), 0);
    }
    void show(CWnd* parent = nullptr) {
        package->showDlgIcaManager(parent);
        widget = icawave::qt::widgetOf(dialog());
        ASSERT_TRUE(widget && widget->isVisible() && dialog().IsWindowVisible());
    }
    CDlgIcaWaveManager& dialog() { return *package->m_dlgIcaManager; }

    std::unique_ptr<test::QtUser> user = std::make_unique<test::QtUser>();
    std::unique_ptr<CFaceIcazq> package = std::make_unique<CFaceIcazq>();
    QPointer<QWidget> widget;
};

TEST_F(Survival, OfAWidgetThatIsDestroyedHiddenOrClosedFromOutside) {
    show();
    delete widget;
    EXPECT_FALSE(dialog().IsWindowVisible());
    dialog().m_listIcaWave.refreshRows();
    EXPECT_EQ(dialog().m_listIcaWave.GetItemCount(), 3);
    QApplication::processEvents();
    EXPECT_EQ(icawave::qt::widgetOf(dialog()), nullptr) << "nobody asked for another one";
    EXPECT_EQ(user->print(dialog()), "");
    show();
    EXPECT_EQ(user->print(dialog()), icawave::printWindow(dialog()));
    QApplication::closeAllWindows();
    EXPECT_FALSE(dialog().IsWindowVisible());
    show();
    widget->hide();
    EXPECT_FALSE(dialog().IsWindowVisible());
    show();
    dialog().MoveWindow(0, 0, 900, 500);
    dialog().m_listIcaWave.DestroyWindow();
    QApplication::processEvents();
    EXPECT_EQ(dialog().GetClientRect(), (CRect{0, 0, 900, 500}));
    EXPECT_EQ(widget->width(), 900);
    EXPECT_FALSE(test::QtUser::control<QTreeView>(dialog(), 4454).isVisible());
    package.reset();
    EXPECT_TRUE(widget.isNull());
}

TEST_F(Survival, OfTheFrontEndAndOfTheWindowAbove) {
    auto above = std::make_unique<QWidget>();
    auto viewer = std::make_unique<icawave::qt::Viewer>(above.get());
    above->show();
    show(viewer.get());
    EXPECT_EQ(widget->parentWidget(), above.get());
    above.reset();
    EXPECT_TRUE(widget.isNull());
    viewer.reset();
    show();
    user.reset();
    EXPECT_TRUE(widget.isNull()) << "a front end takes its widgets with it";
    EXPECT_FALSE(dialog().IsWindowVisible());
    EXPECT_EQ(package->showDlgIcaManager(nullptr), 1);
    dialog().userCommand(4450);
    dialog().m_listIcaWave.userClick(2, false, false);
    EXPECT_EQ(package->m_curntIcaDataSetID, 2);
}

// As a host does that ends its windows while the manager asks for a file.
TEST_F(Survival, OfADialogDestroyedWhileItAsks) {
    show();
    const std::function<void()> destroy = [&] {
        if (QApplication::activeModalWidget())
            delete widget;
        else
            QTimer::singleShot(0, destroy);
    };
    for (const int command : {32772, 4457}) { // from the menu bar; from a button
        destroy();
        user->click(dialog(), command);
        EXPECT_TRUE(widget.isNull());
        EXPECT_FALSE(dialog().IsWindowVisible());
        show();
    }
    EXPECT_EQ(user->takeMessages(), std::vector<CString>{"No ICA data or not selected?"});
}

TEST_F(Survival, ViewersAreUpdatedAsLongAsTheyAreThere) {
    auto painted = std::make_unique<Painted>();
    painted->resize(200, 100);
    icawave::qt::Viewer viewer(painted.get());
    package->viewerAdd(&viewer);
    EXPECT_FALSE(viewer.IsWindowVisible());
    painted->show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(painted.get()));
    EXPECT_TRUE(viewer.IsWindowVisible());
    QApplication::processEvents();
    const int before = painted->paints;
    for (int k = 0; k < 100; ++k) package->viewerInvalidate(true, nullptr, true);
    QApplication::processEvents();
    EXPECT_EQ(painted->paints, before + 1);
    EXPECT_TRUE(viewer.invalidations.empty());
    painted->resize(300, 150);
    EXPECT_EQ(viewer.GetClientRect(), (CRect{0, 0, 300, 150}));
    painted.reset();
    EXPECT_FALSE(viewer.IsWindowVisible());
    EXPECT_EQ(package->viewerInvalidate(true, nullptr, true), 1);
    EXPECT_EQ(package->viewerInvalidate(true, &viewer, false), 1);
    EXPECT_TRUE(viewer.invalidations.empty());
}

} // namespace
