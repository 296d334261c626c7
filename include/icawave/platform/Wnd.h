// SPDX-License-Identifier: BSD-3-Clause
// The window that all others derive from: placement, visibility, style, messages, and what is still to be
// painted.
//
// A window keeps its whole state itself, so it works and is tested without a display. A front end may give it
// a peer, which shows the state and reports what the user does.
//
//     CWnd viewer;
//     viewer.Create(true, 800, 600);       // visible, client area in pixels
//     package.viewerAdd(&viewer);
//     package.viewerInvalidate(true, nullptr, true);
//     viewer.invalidations;                // one: the whole area, to be erased
#pragma once

#include <icawave/Export.h>
#include <icawave/platform/FrontEnd.h>
#include <icawave/platform/String.h>

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

// Pixels; right and bottom lie just outside.
struct CRect {
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t right = 0;
    std::int32_t bottom = 0;

    std::int32_t Width() const { return right - left; }
    std::int32_t Height() const { return bottom - top; }
    friend bool operator==(const CRect&, const CRect&) = default;
};

// What GetRuntimeClass tells of an object: its class's name and the class it derives from.
struct CRuntimeClass {
    const char* m_className;
    const CRuntimeClass* m_baseClass; // null for CWnd
};

class CWnd;

namespace icawave {

// The messages that the library's windows know, by the platform's numbers.
namespace message {
inline constexpr std::uint32_t size = 0x0005;   // lParam: client width | height << 16
inline constexpr std::uint32_t close = 0x0010;  // the close box
inline constexpr std::uint32_t notify = 0x004E; // wParam: control's id; lParam: a Notification
// wParam: the CWnd under the request; lParam: x | y << 16 on the screen, pixels.
inline constexpr std::uint32_t contextMenu = 0x007B;
inline constexpr std::uint32_t setIcon = 0x0080;         // wParam: 1 the large icon; lParam: an IconResource
inline constexpr std::uint32_t command = 0x0111;         // wParam: the id of a control or menu item
inline constexpr std::uint32_t reflectedNotify = 0xBC4E; // a notification offered to the control itself first
} // namespace message

inline constexpr std::int32_t noCode = 0;

// What a control tells its parent, at the beginning of every notification.
struct Notification {
    CWnd* from;
    std::int32_t id;
    std::int32_t code;
};

// One line of a class's message map. Commands and notifications match by id (and a notification by its code),
// others by message alone.
struct MessageMapEntry {
    std::uint32_t message;
    std::int32_t id;
    std::int32_t code;
    std::intptr_t (*handler)(CWnd& window, std::uintptr_t wParam, std::intptr_t lParam);
};

struct MessageMap {
    const MessageMap* base;
    std::span<const MessageMapEntry> entries;
};

// One request to repaint.
struct Invalidation {
    bool whole; // the whole client area
    bool erase; // its background first
};

} // namespace icawave

// A window exists between Create and DestroyWindow. Where there is none, operations do nothing and give false
// or an empty area.
class ICAWAVE_EXPORT CWnd {
public:
    static const CRuntimeClass classCWnd;
    virtual const CRuntimeClass* GetRuntimeClass() const { return &classCWnd; }
    CWnd();
    virtual ~CWnd(); // destroys the window
    CWnd(const CWnd&) = delete;
    CWnd& operator=(const CWnd&) = delete;

protected:
    virtual const icawave::MessageMap* GetMessageMap() const { return nullptr; }

public:
    bool IsKindOf(const CRuntimeClass* runtimeClass) const;

    // False when there is a window already.
    bool Create(bool visible, std::int32_t width, std::int32_t height);
    bool DestroyWindow(); // with its children

    bool ShowWindow(std::int32_t command);          // 0 hides, others show; whether it was visible before
    bool IsWindowVisible() const;                   // and so are its parents
    CRect GetClientRect() const;                    // left and top are 0
    CRect GetWindowRect() const { return m_place; } // in the parent's client area
    void MoveWindow(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height);
    void InvalidateRect(const CRect* area, bool erase); // null: the whole client area

    CString GetWindowText() const { return m_text; }
    void SetWindowText(const CString& text);
    std::uint32_t GetStyle() const { return m_style; }
    bool ModifyStyle(std::uint32_t remove, std::uint32_t add); // whether a bit changed
    std::int32_t GetDlgCtrlID() const { return m_id; }
    CWnd* GetParent() const { return m_parent; }
    CWnd* GetDlgItem(std::int32_t id) const; // the child of that id, null when there is none
    std::span<CWnd* const> children() const { return m_children; }

    // Hands a message to the first matching handler, this class's before its base's. 0 when there is none.
    // What a handler throws comes out.
    std::intptr_t SendMessage(std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam);

    // The window's peer, null without one. Whoever has a real window of its own attaches a peer to show it
    // by.
    icawave::WindowPeer* peer() const { return m_peer.get(); }
    void attachPeer(std::unique_ptr<icawave::WindowPeer> peer);

    std::vector<icawave::Invalidation> invalidations; // what is still to be painted; whoever paints clears it

protected:
    // What a class does with a message that no handler took.
    virtual std::intptr_t DefWindowProc(std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam);

    void createChild(CWnd& parent, std::int32_t id, const CString& text, std::uint32_t style,
                     const CRect& place);
    void takePlaceOf(CWnd& other); // becomes the child that `other` was
    void changed() const;          // tells the peer that the state is another

private:
    bool m_created = false;
    bool m_visible = false;
    bool m_sized = false; // the first showing tells the size
    std::int32_t m_id = 0;
    std::uint32_t m_style = 0;
    CString m_text;
    CRect m_place;
    CWnd* m_parent = nullptr;
    std::vector<CWnd*> m_children;
    std::unique_ptr<icawave::WindowPeer> m_peer;

    friend class CDialogEx;
};

// A push button or an automatic check box, by its style.
class ICAWAVE_EXPORT CButton : public CWnd {
public:
    static const CRuntimeClass classCButton;
    const CRuntimeClass* GetRuntimeClass() const override { return &classCButton; }

    bool isCheckBox() const { return (GetStyle() & 0xF) == 3; }
    bool isDefault() const { return (GetStyle() & 0xF) == 1; }
    bool GetCheck() const { return m_checked; }
    void SetCheck(bool checked);

    // What a press does: a check box toggles itself, then the parent gets the command.
    void press();

private:
    bool m_checked = false;
};
