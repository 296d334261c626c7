// SPDX-License-Identifier: BSD-3-Clause
// How the library reaches a user: one narrow interface, replaced by whoever has a display, or a test.
//
// The base class is itself the front end that works where none is installed: a message is one line on stderr,
// a file dialog answers "cancelled", a menu nothing, windows have no peers. Nothing ever blocks.
#pragma once

#include <icawave/platform/String.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

class CWnd;

namespace icawave {

struct FileDialogRequest {
    static constexpr std::uint32_t overwritePrompt = 0x0002;
    static constexpr std::uint32_t pathMustExist = 0x0800;
    static constexpr std::uint32_t fileMustExist = 0x1000;

    bool save;           // false: open
    CString filter;      // "Name|*.ext|...||"; the first one is chosen
    CString name;        // the file name to begin with
    std::uint32_t flags; // of the above
    // The path that is written when one was chosen; null: that one. Whoever asks before overwriting asks
    // about that file, and answers with the path as it was chosen.
    CString (*writtenPath)(const CString& chosen) = nullptr;
};

struct MenuItem {
    std::int32_t id; // 0: a separator
    CString text;
    bool enabled;
    bool checked;
};

// Pixels of an average character, of which dialog units are a quarter (across) and an eighth (down).
struct DialogBaseUnits {
    std::int32_t width = 6;
    std::int32_t height = 13;
};

// What a front end keeps for one window. Destroyed with the window.
class ICAWAVE_EXPORT WindowPeer {
public:
    WindowPeer() = default;
    WindowPeer(const WindowPeer&) = delete;
    WindowPeer& operator=(const WindowPeer&) = delete;
    virtual ~WindowPeer();

    virtual void show(bool) {}                // the window was shown or hidden, or was told so again
    virtual void changed() {}                 // the window's state is another; called often, so be lazy
    virtual void invalidated(bool erase) = 0; // an area is to be repainted
    virtual bool isVisible() const = 0;       // whether the real window is; false when it is gone
};

class ICAWAVE_EXPORT UiFrontEnd {
public:
    UiFrontEnd() = default;
    UiFrontEnd(const UiFrontEnd&) = delete;
    UiFrontEnd& operator=(const UiFrontEnd&) = delete;
    virtual ~UiFrontEnd();

    virtual void messageBox(const CString& text); // with one button, OK; returns when it was pressed
    virtual std::optional<CString>
    fileDialog(const FileDialogRequest& request); // the path chosen; nothing: cancelled
    // The command, or 0.
    virtual std::int32_t popupMenu(const std::vector<MenuItem>& items, std::int32_t x, std::int32_t y);
    virtual void beginWaitCursor() {} // calls nest; each is matched by one endWaitCursor
    virtual void endWaitCursor() {}
    virtual DialogBaseUnits dialogBaseUnits() { return {}; }
    virtual std::unique_ptr<WindowPeer>
    createPeer(CWnd& dialog); // for a dialog that was just created; null: none
};

// Installs a front end (null: none) and returns the one before it (null: none). The library never owns it.
ICAWAVE_EXPORT UiFrontEnd* setUiFrontEnd(UiFrontEnd* frontEnd);

// The installed one, or the base class's behaviour.
ICAWAVE_EXPORT UiFrontEnd& uiFrontEnd();

// Keeps a front end installed while it lives, then installs the one before it again; destroyed in reverse
// order. A front end that has one as its last member is installed from its construction to its destruction.
class InstalledFrontEnd {
public:
    explicit InstalledFrontEnd(UiFrontEnd& frontEnd) : m_previous(setUiFrontEnd(&frontEnd)) {}
    ~InstalledFrontEnd() { setUiFrontEnd(m_previous); }
    InstalledFrontEnd(const InstalledFrontEnd&) = delete;
    InstalledFrontEnd& operator=(const InstalledFrontEnd&) = delete;

private:
    UiFrontEnd* m_previous; // not owned; null: none
};

} // namespace icawave
