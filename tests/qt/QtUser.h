// SPDX-License-Identifier: BSD-3-Clause
// A user in front of real widgets: clicks and keys are events, and whatever opens is answered as a user
// would.
#pragma once

#include "tests/ManagerUser.h"

#include <icawave/qt/QtFrontEnd.h>

#include <QMessageBox>
#include <QObject>
#include <QPointer>
#include <QTreeView>

#include <deque>

class QFileDialog;
class QMenu;

namespace test {

class QtUser : public User {
public:
    QtUser();

    void click(CDialogEx& dialog, std::int32_t id) override;
    void clickRow(CListCtrl& list, std::int32_t row, bool ctrl = false, bool shift = false) override;
    void clickHeader(CListCtrl& list, std::int32_t column) override;
    std::vector<icawave::MenuItem> rightClickRow(CListCtrl& list, std::int32_t row,
                                                 std::int32_t command) override;
    void answerNextFileDialog(std::optional<CString> path) override { m_files = {path}; }
    void close(CDialogEx& dialog) override;
    void resize(CDialogEx& dialog, std::int32_t cx, std::int32_t cy) override;
    std::vector<CString> takeMessages() override;
    std::string print(CDialogEx& dialog) override;

    void menuKey(CListCtrl& list); // then as with the right button
    void chooseNext(std::int32_t command) { m_command = command; }
    void pressNext(Qt::Key key) { m_key = key, m_command = 0; } // in the next pop-up, instead of a click
    void answerNextMessage(QMessageBox::StandardButton button) { m_answers = {button}; }
    QWidget* ownerOfMessage() const { return m_owner; } // of the last one
    std::vector<icawave::MenuItem> takeMenu() { return std::exchange(m_menu, {}); }

    static QWidget& widget(const CWnd& dialog); // the real one, which must be there
    template <class Widget>
    static Widget& control(const CWnd& dialog, std::int32_t id) {
        return *widget(dialog).findChild<Widget*>(QString::number(id));
    }
    static QTreeView& view(const CListCtrl& list) {
        return control<QTreeView>(*list.GetParent(), list.GetDlgCtrlID());
    }

private:
    // Looks again and again at what is open, also in the event loops of what opens.
    void watch();
    void answer(QWidget& modal);
    void answer(QFileDialog& dialog);
    void answer(QMenu& menu);

    icawave::qt::QtFrontEnd m_frontEnd;
    QObject m_watcher;
    std::vector<CString> m_messages;
    std::deque<std::optional<CString>> m_files;
    std::deque<QMessageBox::StandardButton> m_answers; // none: the default button
    QPointer<QWidget> m_owner;
    std::optional<Qt::Key> m_key;
    std::optional<std::int32_t> m_command; // to be chosen from the next pop-up; nothing: leave menus alone
    std::vector<icawave::MenuItem> m_menu; // that the last pop-up showed
};

} // namespace test
