// SPDX-License-Identifier: BSD-3-Clause
// What only real widgets can show: keys, focus, places, pictures, pauses.
#include "tests/Support.h"
#include "tests/qt/QtUser.h"

#include <QApplication>
#include <QCheckBox>
#include <QHeaderView>
#include <QHelpEvent>
#include <QMenuBar>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QTextDocument>
#include <QToolTip>
#include <QWindow>

#include <cmath>
#include <ctime>

namespace {

// A manager of data sets A, B, C ... of two channels, A current.
class RealWindows : public ::testing::Test {
protected:
    void show(int dataSets) {
        for (int k = 0; k < dataSets; ++k) {
            package->setIcaData(test::countingDataSet(2, 3).release(), 0);
            package->getIcaData(k)->m_icaName = CString(std::string(1, static_cast<char>('A' + k % 26)));
        }
        package->showDlgIcaManager(nullptr);
        widget().activateWindow();
        QApplication::processEvents();
    }
    CDlgIcaWaveManager& dialog() { return *package->m_dlgIcaManager; }
    CListIcaWaveDataset& list() { return dialog().m_listIcaWave; }
    QWidget& widget() { return test::QtUser::widget(dialog()); }
    QTreeView& view() { return test::QtUser::view(list()); }
    // Presses keys in the list; the selected rows as letters, the focused one in brackets.
    std::string keys(std::initializer_list<std::pair<Qt::Key, Qt::KeyboardModifiers>> pressed) {
        for (const auto& [key, modifiers] : pressed) QTest::keyClick(&view(), key, modifiers);
        EXPECT_EQ(user.print(dialog()), icawave::printWindow(dialog()));
        std::string rows;
        for (int row = 0; row < list().GetItemCount(); ++row) {
            const std::string letter(list().GetItemState(row, 2) ? 1 : 0, static_cast<char>('A' + row));
            rows += list().GetItemState(row, 1) ? "[" + letter + "]" : letter;
        }
        return rows;
    }

    test::QtUser user;
    std::unique_ptr<CFaceIcazq> package = std::make_unique<CFaceIcazq>();
};

constexpr Qt::KeyboardModifiers none = Qt::NoModifier, ctrl = Qt::ControlModifier, shift = Qt::ShiftModifier;

TEST_F(RealWindows, ControlsStandWhereTheTemplateHasThemAndInItsOrder) {
    show(2);
    const icawave::DialogBaseUnits units = icawave::uiFrontEnd().dialogBaseUnits();
    const QPushButton& norm = test::QtUser::control<QPushButton>(dialog(), 4457);
    EXPECT_EQ(norm.geometry(), QRect((147 * units.width + 2) / 4, (2 * units.height + 4) / 8,
                                     (40 * units.width + 2) / 4, (14 * units.height + 4) / 8));
    EXPECT_EQ(norm.fontMetrics().height(), units.height);
    for (const int id : {1, 4450, 4455, 4456, 4457, 4458}) {
        auto& button = test::QtUser::control<QAbstractButton>(dialog(), id);
        EXPECT_GE(button.width(), button.fontMetrics().horizontalAdvance(button.text()) + 5) << id;
        EXPECT_GE(button.width(), id == 4455 ? button.sizeHint().width() : 0) << "with its mark";
        EXPECT_GE(button.height(), button.fontMetrics().height()) << id;
        EXPECT_FALSE(button.geometry().intersects(view().geometry())) << id;
    }
    std::vector<int> order;
    for (int k = 0; k < 8; ++k) {
        QWidget* focused = QApplication::focusWidget();
        ASSERT_NE(focused, nullptr);
        EXPECT_FALSE(focused->accessibleName().isEmpty()) << k;
        order.push_back(focused->objectName().toInt());
        QTest::keyClick(focused, Qt::Key_Tab);
    }
    EXPECT_EQ(order, (std::vector<int>{1, 4454, 4455, 4456, 4458, 4450, 4457, 1}));
    EXPECT_FALSE(widget().windowIcon().isNull());
}

TEST_F(RealWindows, ReturnEscapeAndTheMenuBarByKeyboard) {
    show(3);
    package->getIcaData(2)->m_icaName = u"new";
    for (const int id : {4456, 4450}) // Apply does nothing, Refresh rebuilds
        QTest::keyClick(&test::QtUser::control<QPushButton>(dialog(), id), Qt::Key_Return);
    EXPECT_EQ(list().GetItemText(2, 0), u"new");
    EXPECT_TRUE(dialog().IsWindowVisible());
    auto& box = test::QtUser::control<QCheckBox>(dialog(), 4455);
    QTest::keyClick(&box, Qt::Key_Space);
    EXPECT_TRUE(box.isChecked() && static_cast<CButton*>(dialog().GetDlgItem(4455))->GetCheck());
    static_cast<CButton*>(dialog().GetDlgItem(4455))->SetCheck(false);
    QApplication::processEvents();
    EXPECT_FALSE(box.isChecked());
    for (QWidget* from : {static_cast<QWidget*>(&view()), static_cast<QWidget*>(&box)}) {
        from->setFocus();
        QTest::keyClick(from, Qt::Key_Return);
        EXPECT_FALSE(dialog().IsWindowVisible()) << "the first default button is Exit";
        package->showDlgIcaManager(nullptr);
    }
    QTest::keyClick(&view(), Qt::Key_F10);
    EXPECT_NE(QApplication::activePopupWidget(), nullptr);
    QTest::keyClick(QApplication::activePopupWidget(), Qt::Key_Escape);
    EXPECT_TRUE(dialog().IsWindowVisible()) << "Escape closed the menu alone";
    QTest::keyClick(&view(), Qt::Key_Escape);
    EXPECT_FALSE(dialog().IsWindowVisible() || widget().isVisible());
    EXPECT_EQ(user.print(dialog()), icawave::printWindow(dialog())) << "all of it hidden";
}

TEST_F(RealWindows, ItComesBackWhereItWasAndNotMinimised) {
    show(1);
    widget().windowHandle()->setFramePosition({140, 90}); // as a window system does for its user
    QApplication::processEvents();
    for (const bool minimised : {false, true}) {
        if (minimised) widget().showMinimized();
        user.close(dialog());
        package->showDlgIcaManager(nullptr);
        EXPECT_EQ(widget().pos(), QPoint(140, 90)) << minimised;
    }
    widget().showMinimized();
    package->showDlgIcaManager(nullptr);
    EXPECT_FALSE(widget().isMinimized());
}

TEST_F(RealWindows, LettersChooseMenuItems) {
    show(2);
    user.pressNext(Qt::Key_O);
    QTest::keyClick(&view(), Qt::Key_F, Qt::AltModifier);
    QTest::qWait(100); // the file dialog is cancelled
    EXPECT_EQ(user.takeMessages(), std::vector<CString>{"No ICA data or not selected?"});
    EXPECT_EQ(user.ownerOfMessage(), &widget()) << "though no window was active just then";
    package->getIcaData(1)->m_icaShow = true;
    user.clickRow(list(), 1);
    user.pressNext(Qt::Key_H);
    user.menuKey(list());
    EXPECT_FALSE(package->getIcaData(1)->m_icaShow);
}

TEST_F(RealWindows, SavingAsksAboutTheFileThatIsWritten) {
    const struct {
        const char *typed, *there;
        bool asks;
    } cases[] = {{"results", "results.icd", true},
                 {"aa.ICD", "aa.ICD.icd", true},
                 {"aa.ICD", "aa.ICD", false},
                 {"old.icd.bak", "old.icd.bak", true}};
    show(1);
    for (const auto& [typed, there, asks] : cases) {
        for (const bool replace : {false, true}) {
            const test::Folder folder;
            std::ofstream(folder.path / there) << "old";
            if (asks && replace) user.answerNextMessage(QMessageBox::Yes);
            user.answerNextFileDialog(folder / typed);
            user.click(dialog(), 32771);
            std::vector<CString> expected;
            if (asks) expected.push_back(there + CString(u" already exists.\nDo you want to replace it?"));
            if (asks && !replace)
                expected.push_back("No ICA data or not selected?"); // of the cancelled dialog
            EXPECT_EQ(user.takeMessages(), expected) << typed;
            EXPECT_EQ(std::filesystem::file_size(folder.path / there) == 3, !asks || !replace) << typed;
        }
    }
}

double contrast(const QColor& a, const QColor& b) {
    const auto luminance = [](const QColor& c) {
        return 0.2126 * std::pow(c.redF(), 2.2) + 0.7152 * std::pow(c.greenF(), 2.2) +
               0.0722 * std::pow(c.blueF(), 2.2);
    };
    const double ratio = (luminance(a) + 0.05) / (luminance(b) + 0.05);
    return std::max(ratio, 1 / ratio);
}

TEST_F(RealWindows, MarksAndFocusStandOutInEveryRowAtEveryScale) {
    const QPalette before = QApplication::palette();
    QPalette dark(QColor(53, 53, 53));
    dark.setColor(QPalette::Base, QColor(25, 25, 25));
    dark.setColor(QPalette::Highlight, QColor(42, 130, 218));
    for (const QPalette& palette : {before, dark}) {
        QApplication::setPalette(palette);
        package = std::make_unique<CFaceIcazq>();
        show(2);
        view().setFocus();
        for (const double scale : {1.0, 1.25, 2.0}) {
            for (const int selected : {-1, 0, 1}) {
                list().userClick(selected, false, false);
                QApplication::processEvents();
                QImage image(view().viewport()->size() * scale, QImage::Format_RGB32);
                image.setDevicePixelRatio(scale);
                view().viewport()->render(&image);
                const auto colour = [&](QPointF at) { return image.pixelColor((at * scale).toPoint()); };
                for (const int row : {0, 1}) {
                    const QRect place = view().visualRect(view().model()->index(row, 0));
                    const QColor back = colour(place.topLeft() + QPoint(2, 2));
                    int points = 0;
                    for (double y = place.top() + 2; y < place.bottom() - 1; y += 1 / scale) {
                        for (double x = 2; x < 19; x += 1 / scale)
                            points += contrast(colour({x, y}), back) >= 3;
                    }
                    EXPECT_GE(points, 20 * scale * scale) << scale << " " << selected << row;
                    const bool focused = row == std::max(list().focusedRow(), 0); // without one: the list is
                    EXPECT_TRUE(!focused || contrast(colour(place.topLeft()), back) >= 3.0) << scale << row;
                }
            }
        }
    }
    QApplication::setPalette(before);
}

TEST_F(RealWindows, HeadersAndNamesAreReadableWhateverTheyHold) {
    const QFont before = QApplication::font();
    QFont large = before;
    large.setPointSize(16);
    QApplication::setFont(large);
    show(1);
    for (int c = 0; c < 8; ++c) EXPECT_GE(view().columnWidth(c), view().header()->sectionSizeHint(c)) << c;
    user.resize(dialog(), 2000, 400);
    EXPECT_EQ(view().header()->length(), view().viewport()->width());
    EXPECT_EQ(view().columnWidth(1), std::max(90, view().header()->sectionSizeHint(1)));
    EXPECT_EQ(user.print(dialog()), icawave::printWindow(dialog())) << "the library's widths";
    const int height = view().visualRect(view().model()->index(0, 0)).height();
    package->getIcaData(0)->m_icaName = u"<b>a</b> &lt;\nsecond\u2028third";
    list().refreshRows();
    QApplication::processEvents();
    const QRect row = view().visualRect(view().model()->index(0, 0));
    EXPECT_EQ(row.height(), height);
    QHelpEvent help(QEvent::ToolTip, row.center(), view().viewport()->mapToGlobal(row.center()));
    QApplication::sendEvent(view().viewport(), &help);
    EXPECT_FALSE(Qt::mightBeRichText(QToolTip::text()));
    EXPECT_EQ(QToolTip::text().remove(QChar(0x200B)), QStringLiteral("<b>a</b> &lt; second third"));
    QToolTip::hideText();
    QApplication::setFont(before);
}

TEST_F(RealWindows, RowsAreSelectedByKeyboard) {
    show(5);
    view().setFocus();
    EXPECT_FALSE(view().currentIndex().isValid()) << "the focus alone chooses no row";
    EXPECT_EQ(keys({{Qt::Key_Down, none}}), "[A]");
    EXPECT_EQ(keys({{Qt::Key_Down, none}, {Qt::Key_Down, shift}}), "B[C]");
    EXPECT_EQ(package->m_curntIcaDataSetID, 2);
    EXPECT_EQ(keys({{Qt::Key_Down, ctrl}, {Qt::Key_Down, ctrl}}), "BC[]");
    EXPECT_EQ(keys({{Qt::Key_Down, ctrl}}), "BC[]") << "at the end a move is none, and toggles nothing";
    EXPECT_EQ(keys({{Qt::Key_Space, ctrl}}), "BC[E]");
    EXPECT_EQ(keys({{Qt::Key_Home, none}}), "[A]");
    EXPECT_EQ(keys({{Qt::Key_End, shift}}), "ABCD[E]");
    EXPECT_EQ(keys({{Qt::Key_PageUp, none}, {Qt::Key_Up, none}}), "[A]");
    EXPECT_EQ(keys({{Qt::Key_A, ctrl}}), "[A]BCDE");
    EXPECT_EQ(keys({{Qt::Key_Space, none}}), "[A]");
    user.chooseNext(4462);
    package->getIcaData(0)->m_icaShow = true;
    user.menuKey(list());
    EXPECT_EQ(user.takeMenu().size(), 6u);
    EXPECT_FALSE(package->getIcaData(0)->m_icaShow);
    EXPECT_EQ(keys({}), "");
}

// An exception of the host's that is none of the library's, out of a handler.
TEST_F(RealWindows, NoExceptionUnwindsThroughTheEventLoop) {
    struct Failing : icawave::qt::QtFrontEnd {
        void messageBox(const CString& text) override {
            texts.push_back(text);
            if (texts.size() == 1) throw std::runtime_error("out of paper");
        }
        std::vector<CString> texts;
    } frontEnd;
    show(1);
    user.click(dialog(), 4457);
    EXPECT_EQ(frontEnd.texts.size(), 2u);
    EXPECT_EQ(frontEnd.texts.back(), "out of paper");
    EXPECT_TRUE(widget().isVisible());
    package.reset();
}

TEST_F(RealWindows, TenThousandDataSetsAreRefreshedWithoutAPause) {
    show(10000);
    QTreeView& view = RealWindows::view();
    view.verticalScrollBar()->setValue(5000);
    std::clock_t best = 1000 * CLOCKS_PER_SEC; // of this process: others may be busy
    for (int round = 0; round < 5; ++round) {
        const std::clock_t start = std::clock();
        list().refreshRows();
        QApplication::processEvents();
        view.viewport()->grab();
        best = std::min(best, std::clock() - start);
    }
    EXPECT_EQ(view.model()->rowCount(), 10000);
    EXPECT_EQ(view.verticalScrollBar()->value(), 5000) << "the user's place in the list";
#if defined(NDEBUG) && !defined(ICAWAVE_SANITIZED)
    EXPECT_LT(best * 1000 / CLOCKS_PER_SEC, 50);
#endif
    package->cleanIcaFace();
    list().refreshRows();
    EXPECT_EQ(user.print(dialog()), icawave::printWindow(dialog())) << "all rows gone";
}

} // namespace
