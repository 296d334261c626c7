// SPDX-License-Identifier: BSD-3-Clause
#include <icawave/platform/ScriptedFrontEnd.h>

#include <icawave/platform/Exception.h>
#include <icawave/platform/ListCtrl.h>

#include "platform/Alloc.h"

namespace icawave {

namespace {

// The next answer; nothing was chosen when none is left.
template <class T>
T takeFront(std::deque<T>& answers) {
    if (answers.empty()) return {};
    const T answer = answers.front();
    answers.pop_front();
    return answer;
}

std::string quoted(const CString& text) {
    return '"' + text.utf8() + '"';
}

void printMenu(const CMenu& menu, const std::string& indent, std::string& out) {
    for (std::int32_t k = 0; k < menu.GetMenuItemCount(); ++k) {
        const MenuItem item = menu.GetMenuItem(k);
        if (const CMenu* popup = menu.GetSubMenu(k)) {
            out += indent + "menu " + quoted(item.text) + "\n";
            printMenu(*popup, indent + "  ", out);
        } else if (item.id == 0) {
            out += indent + "---\n";
        } else {
            out += indent + "item " + std::to_string(item.id) + " " + quoted(item.text) +
                   (item.enabled ? "" : " greyed") + (item.checked ? " checked" : "") + "\n";
        }
    }
}

void printList(const CListCtrl& list, const std::string& indent, std::string& out) {
    for (std::int32_t c = 0; c < list.GetColumnCount(); ++c)
        out += indent + "column " + quoted(list.GetColumnText(c)) + " " +
               std::to_string(list.GetColumnWidth(c)) + "\n";
    for (std::int32_t r = 0; r < list.GetItemCount(); ++r) {
        out += indent + "row " + std::to_string(r) + " image " + std::to_string(list.GetItemImage(r));
        if (list.GetItemState(r, itemSelected)) out += " selected";
        if (list.GetItemState(r, itemFocused)) out += " focused";
        out += ":";
        for (std::int32_t c = 0; c < list.GetColumnCount(); ++c)
            out += (c ? " | " : " ") + list.GetItemText(r, c).utf8();
        out += "\n";
    }
}

void print(const CWnd& window, const std::string& indent, std::string& out) {
    const auto* button = dynamic_cast<const CButton*>(&window);
    const auto* dialog = dynamic_cast<const CDialogEx*>(&window);
    const auto* list = dynamic_cast<const CListCtrl*>(&window);
    out += indent + (button   ? button->isCheckBox() ? "check box" : "button"
                     : dialog ? "dialog"
                     : list   ? "list"
                              : "window");
    if (window.GetDlgCtrlID() != 0) out += " " + std::to_string(window.GetDlgCtrlID());
    if (!window.GetWindowText().IsEmpty()) out += " " + quoted(window.GetWindowText());
    if (button && button->isDefault()) out += " default";
    if (button && button->GetCheck()) out += " checked";
    if (!window.IsWindowVisible()) out += " hidden";
    out += "\n";
    const std::string inside = indent + "  ";
    if (dialog) printMenu(const_cast<CDialogEx*>(dialog)->menuBar(), inside, out);
    if (list) printList(*list, inside, out);
    for (const CWnd* child : window.children()) print(*child, inside, out);
}

} // namespace

void ScriptedFrontEnd::click(CDialogEx& dialog, std::int32_t id) {
    runUserAct([&] { dialog.userCommand(id); });
}

void ScriptedFrontEnd::resizeClient(CDialogEx& dialog, std::int32_t cx, std::int32_t cy) {
    runUserAct([&] { dialog.userResize(cx, cy); });
}

std::string ScriptedFrontEnd::print(CWnd& window) {
    return printWindow(window);
}

void ScriptedFrontEnd::messageBox(const CString& text) {
    withMemoryException([&] { messages.push_back(text); });
}

std::optional<CString> ScriptedFrontEnd::fileDialog(const FileDialogRequest& request) {
    withMemoryException([&] { fileDialogs.push_back(request); });
    return takeFront(fileAnswers);
}

std::int32_t ScriptedFrontEnd::popupMenu(const std::vector<MenuItem>& items, std::int32_t, std::int32_t) {
    withMemoryException([&] { menus.push_back(items); });
    return takeFront(menuAnswers);
}

void ScriptedFrontEnd::beginWaitCursor() {
    ++waitDepth;
    ++waitCount;
}

std::string printWindow(const CWnd& window) {
    std::string out;
    icawave::print(window, "", out);
    return out;
}

} // namespace icawave
