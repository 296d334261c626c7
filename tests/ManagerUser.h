// SPDX-License-Identifier: BSD-3-Clause
// A user in front of the manager dialog, whatever the front end. The story of the dialog (manager_story.cpp)
// is told to one of them: scripted or with a toolkit's real events.
#pragma once

#include <icawave/icawave.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace test {

class User {
public:
    virtual ~User() = default;

    // A button, the check box, or a command of the menu bar.
    virtual void click(CDialogEx& dialog, std::int32_t id) = 0;
    // -1: below the last.
    virtual void clickRow(CListCtrl& list, std::int32_t row, bool ctrl = false, bool shift = false) = 0;
    virtual void clickHeader(CListCtrl& list, std::int32_t column) = 0;
    // Presses the right button over a row and chooses a command, 0 to dismiss the menu. Returns what the menu
    // showed, nothing without one.
    virtual std::vector<icawave::MenuItem> rightClickRow(CListCtrl& list, std::int32_t row,
                                                         std::int32_t command) = 0;
    virtual void answerNextFileDialog(std::optional<CString> path) = 0;           // nothing: cancel
    virtual void close(CDialogEx& dialog) = 0;                                    // the close box
    virtual void resize(CDialogEx& dialog, std::int32_t cx, std::int32_t cy) = 0; // the client area
    virtual std::vector<CString>
    takeMessages() = 0; // the message boxes since the last call, each answered with OK
    // What the front end shows, in the form of icawave::printWindow.
    virtual std::string print(CDialogEx& dialog) = 0;
};

// Made by the program that the story is linked into; its front end is installed while the user lives.
std::unique_ptr<User> newUser();

} // namespace test
