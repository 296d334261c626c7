// SPDX-License-Identifier: BSD-3-Clause
#include "tests/qt/QtUser.h"

#include "qt/MenuText.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QFileDialog>
#include <QHeaderView>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QTest>
#include <QTimer>

namespace test {

namespace {

CString text(const QString& from) {
    return CString(std::u16string_view(reinterpret_cast<const char16_t*>(from.utf16()), from.size()));
}

void click(QWidget& widget, QPoint at, Qt::KeyboardModifiers modifiers = {}) {
    QTest::mouseClick(&widget, Qt::LeftButton, modifiers, at);
}

// The menu's path to a command, from the outside in; empty when it has none.
std::vector<std::pair<QWidget*, QAction*>> path(QWidget& menu, std::int32_t id) {
    for (QAction* action : menu.actions()) {
        if (action->menu()) {
            auto inside = path(*action->menu(), id);
            if (inside.empty()) continue;
            inside.insert(inside.begin(), {&menu, action});
            return inside;
        }
        if (action->data().toInt() == id) return {{&menu, action}};
    }
    return {};
}

QRect area(QWidget* menu, QAction* action) {
    if (auto* bar = qobject_cast<QMenuBar*>(menu)) return bar->actionGeometry(action);
    return static_cast<QMenu*>(menu)->actionGeometry(action);
}

QPoint rowPoint(QTreeView& view, std::int32_t row) {
    QApplication::processEvents(); // what the control holds by now
    if (row < 0) return {5, view.viewport()->height() - 2};
    const QModelIndex index = view.model()->index(row, 0);
    view.scrollTo(index);
    return view.visualRect(index).center();
}

} // namespace

QtUser::QtUser() {
    watch();
}

void QtUser::click(CDialogEx& dialog, std::int32_t id) {
    QApplication::processEvents();
    if (auto* button = widget(dialog).findChild<QAbstractButton*>(QString::number(id)))
        // A box is pressed at its mark.
        return test::click(*button, {button->height() / 2, button->height() / 2});
    for (const auto& [menu, action] : path(*widget(dialog).findChild<QMenuBar*>(), id))
        test::click(*menu, area(menu, action).center());
    QApplication::processEvents(); // a command of a menu comes after the click
}

void QtUser::clickRow(CListCtrl& list, std::int32_t row, bool ctrl, bool shift) {
    Qt::KeyboardModifiers modifiers;
    modifiers.setFlag(Qt::ControlModifier, ctrl).setFlag(Qt::ShiftModifier, shift);
    const QPoint at = rowPoint(view(list), row);
    test::click(*view(list).viewport(), at, modifiers);
}

void QtUser::clickHeader(CListCtrl& list, std::int32_t column) {
    QHeaderView& header = *view(list).header();
    test::click(*header.viewport(), {header.sectionViewportPosition(column) + 20, header.height() / 2});
}

// Through the window, since the request for a menu is made of the press there.
std::vector<icawave::MenuItem> QtUser::rightClickRow(CListCtrl& list, std::int32_t row,
                                                     std::int32_t command) {
    QTreeView& view = QtUser::view(list);
    const QPoint at = rowPoint(view, row);
    m_command = command;
    m_menu.clear();
    QTest::mouseClick(view.window()->windowHandle(), Qt::RightButton, {},
                      view.viewport()->mapTo(view.window(), at));
    m_command.reset();
    return takeMenu();
}

void QtUser::menuKey(CListCtrl& list) {
    QContextMenuEvent event(QContextMenuEvent::Keyboard, {}, {}); // as the window system makes one of the key
    QApplication::sendEvent(&view(list), &event);
}

void QtUser::close(CDialogEx& dialog) {
    widget(dialog).close();
}

void QtUser::resize(CDialogEx& dialog, std::int32_t cx, std::int32_t cy) {
    QWidget& window = widget(dialog);
    const CRect client = dialog.GetClientRect();
    window.resize(window.width() + cx - client.right, window.height() + cy - client.bottom);
    QApplication::processEvents();
}

std::vector<CString> QtUser::takeMessages() {
    QApplication::processEvents();
    return std::exchange(m_messages, {});
}

std::string QtUser::print(CDialogEx& dialog) {
    return icawave::qt::printWindow(dialog);
}

QWidget& QtUser::widget(const CWnd& dialog) {
    return *icawave::qt::widgetOf(dialog);
}

void QtUser::watch() {
    QTimer::singleShot(1, &m_watcher, [this] {
        watch();
        if (auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget())) {
            if (m_command) answer(*menu);
        } else if (QApplication::activeModalWidget()) {
            answer(*QApplication::activeModalWidget());
        }
    });
}

void QtUser::answer(QWidget& modal) {
    if (auto* files = qobject_cast<QFileDialog*>(&modal)) return answer(*files);
    auto* box = qobject_cast<QMessageBox*>(&modal);
    if (!box || !box->isVisible()) return;
    m_messages.push_back(text(box->text()));
    m_owner = box->parentWidget();
    QAbstractButton* button = box->defaultButton() ? box->defaultButton() : box->buttons().front();
    if (!m_answers.empty()) button = box->button(m_answers.front());
    m_answers.clear();
    test::click(*button, {5, 5});
}

void QtUser::answer(QFileDialog& dialog) {
    if (!dialog.isVisible()) return;
    const std::optional<CString> path = m_files.empty() ? std::nullopt : m_files.front();
    m_files.clear();
    if (!path) return QTest::keyClick(&dialog, Qt::Key_Escape);
    auto* name = dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    dialog.findChild<QListView*>(QStringLiteral("listView"))->clearSelection(); // as typing does
    name->setText(QString::fromUtf8(path->utf8().c_str()));
    QTest::keyClick(name, Qt::Key_Return);
}

void QtUser::answer(QMenu& menu) {
    for (const QAction* action : menu.actions())
        m_menu.push_back({action->data().toInt(), text(icawave::qt::menuText(*action)), action->isEnabled(),
                          action->isChecked()});
    const auto chosen = path(menu, *std::exchange(m_command, std::nullopt));
    if (m_key) {
        const QPointer<QMenu> there = &menu;
        QTest::keyClick(&menu, *std::exchange(m_key, std::nullopt));
        return there && there->isVisible() ? QTest::keyClick(&menu, Qt::Key_Escape) : void();
    }
    if (chosen.empty() || chosen.back().second->isSeparator())
        QTest::keyClick(&menu, Qt::Key_Escape);
    else
        test::click(menu, menu.actionGeometry(chosen.back().second).center());
}

std::unique_ptr<User> newUser() {
    return std::make_unique<QtUser>();
}

} // namespace test
