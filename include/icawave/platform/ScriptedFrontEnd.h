// SPDX-License-Identifier: BSD-3-Clause
// A front end without a display, for tests of the library and of its hosts: it records what a user would have
// been shown and plays what a user would do.
//
//     icawave::ScriptedFrontEnd ui;                       // installed while it lives
//     package.showDlgIcaManager(nullptr);
//     package.m_dlgIcaManager->m_listIcaWave.userClick(2, false, false);
//     ui.fileAnswers.push_back("/tmp/third.icd");
//     ui.click(*package.m_dlgIcaManager, 32771);          // File, Save Independent Component Data
//     assert(ui.messages.empty());
#pragma once

#include <icawave/platform/Dialog.h>
#include <icawave/platform/Exception.h>
#include <icawave/platform/FrontEnd.h>

#include <cstdint>
#include <deque>
#include <new>
#include <optional>
#include <string>
#include <vector>

namespace icawave {

class ICAWAVE_EXPORT ScriptedFrontEnd : public UiFrontEnd {
public:
    ScriptedFrontEnd() {} // written out, so that a constant one may stand without an initializer

    // What the user was asked, oldest first.
    std::vector<CString> messages;
    std::vector<FileDialogRequest> fileDialogs;
    std::vector<std::vector<MenuItem>> menus; // the pop-ups shown
    // The user's answers, taken from the front: a path or nothing (cancel); a command or 0 (dismissed). None
    // left: cancel, 0.
    std::deque<std::optional<CString>> fileAnswers;
    std::deque<std::int32_t> menuAnswers;
    std::int32_t waitDepth = 0; // wait cursors alive now
    std::int32_t waitCount = 0; // wait cursors shown so far

    // The user's acts. As in a toolkit's event loop, an exception out of a handler becomes one message.
    void click(CDialogEx& dialog, std::int32_t id); // a control, or a command of the menu bar
    void resizeClient(CDialogEx& dialog, std::int32_t cx, std::int32_t cy); // pixels

    std::string print(CWnd& window); // UTF-8, see printWindow

    void messageBox(const CString& text) override;
    std::optional<CString> fileDialog(const FileDialogRequest& request) override;
    std::int32_t popupMenu(const std::vector<MenuItem>& items, std::int32_t x, std::int32_t y) override;
    void beginWaitCursor() override;
    void endWaitCursor() override { --waitDepth; }

private:
    InstalledFrontEnd m_installed{*this};
};

// A window as text: its title, controls, columns, rows and states, one line each, without places. The same
// for every front end.
ICAWAVE_EXPORT std::string printWindow(const CWnd& window);

// What a toolkit's event handlers run a user's act in: a CException or a lack of memory is shown as one
// message, since nothing may unwind through an event loop.
template <class Act>
void runUserAct(Act&& act) {
    try {
        act();
    } catch (const CException& failure) {
        uiFrontEnd().messageBox(failure.what());
    } catch (const std::bad_alloc&) {
        uiFrontEnd().messageBox(CMemoryException().what());
    }
}

} // namespace icawave
