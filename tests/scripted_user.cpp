// SPDX-License-Identifier: BSD-3-Clause
#include "tests/ManagerUser.h"

#include <utility>

namespace {

class ScriptedUser : public test::User {
public:
    void click(CDialogEx& dialog, std::int32_t id) override { m_ui.click(dialog, id); }
    void clickRow(CListCtrl& list, std::int32_t row, bool ctrl, bool shift) override {
        list.userClick(row, ctrl, shift);
    }
    void clickHeader(CListCtrl& list, std::int32_t column) override { list.clickHeader(column); }
    std::vector<icawave::MenuItem> rightClickRow(CListCtrl& list, std::int32_t row,
                                                 std::int32_t command) override {
        m_ui.menus.clear();
        m_ui.menuAnswers = {command};
        list.rightClick(row, 0, 0);
        return m_ui.menus.empty() ? std::vector<icawave::MenuItem>() : m_ui.menus.back();
    }
    void answerNextFileDialog(std::optional<CString> path) override { m_ui.fileAnswers = {path}; }
    void close(CDialogEx& dialog) override { dialog.SendMessage(icawave::message::close, 0, 0); }
    void resize(CDialogEx& dialog, std::int32_t cx, std::int32_t cy) override {
        m_ui.resizeClient(dialog, cx, cy);
    }
    std::vector<CString> takeMessages() override { return std::exchange(m_ui.messages, {}); }
    std::string print(CDialogEx& dialog) override { return m_ui.print(dialog); }

private:
    icawave::ScriptedFrontEnd m_ui;
};

} // namespace

std::unique_ptr<test::User> test::newUser() {
    return std::make_unique<ScriptedUser>();
}
