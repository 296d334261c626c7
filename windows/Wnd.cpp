// SPDX-License-Identifier: BSD-3-Clause
#include <icawave/platform/Wnd.h>

#include "platform/Alloc.h"

#include <algorithm>

const CRuntimeClass CWnd::classCWnd = {"CWnd", nullptr};
const CRuntimeClass CButton::classCButton = {"CButton", &CWnd::classCWnd};

CWnd::CWnd() = default;

CWnd::~CWnd() {
    DestroyWindow();
}

bool CWnd::IsKindOf(const CRuntimeClass* runtimeClass) const {
    const CRuntimeClass* own = GetRuntimeClass();
    while (own && own != runtimeClass) own = own->m_baseClass;
    return own != nullptr;
}

bool CWnd::Create(bool visible, std::int32_t width, std::int32_t height) {
    if (m_created) return false;
    m_created = true;
    m_visible = visible;
    m_place = {0, 0, std::max(width, 0), std::max(height, 0)};
    return true;
}

bool CWnd::DestroyWindow() {
    if (!m_created) return false;
    m_peer.reset();
    while (!m_children.empty()) m_children.back()->DestroyWindow();
    if (m_parent && m_id != 0) std::erase(m_parent->m_children, this); // a dialog's may be gone by now
    m_parent = nullptr;
    m_created = m_visible = m_sized = false;
    m_place = {};
    invalidations.clear();
    return true;
}

bool CWnd::ShowWindow(std::int32_t command) {
    const bool before = IsWindowVisible();
    if (!m_created) return before;
    m_visible = command != 0;
    if (m_visible && !m_sized) {
        m_sized = true;
        SendMessage(icawave::message::size, 0, m_place.Width() | m_place.Height() << 16);
    }
    if (m_peer) m_peer->show(m_visible);
    changed();
    return before;
}

bool CWnd::IsWindowVisible() const {
    if (!m_created || !m_visible) return false;
    if (m_peer && !m_peer->isVisible()) return false;
    return !m_parent || m_id == 0 || m_parent->IsWindowVisible(); // a dialog's parent only owns it
}

CRect CWnd::GetClientRect() const {
    return {0, 0, m_place.Width(), m_place.Height()};
}

void CWnd::MoveWindow(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height) {
    if (!m_created) return;
    const CRect place{x, y, x + std::max(width, 0), y + std::max(height, 0)};
    const bool resized = place.Width() != m_place.Width() || place.Height() != m_place.Height();
    m_place = place;
    if (resized) SendMessage(icawave::message::size, 0, m_place.Width() | m_place.Height() << 16);
    changed();
}

void CWnd::InvalidateRect(const CRect* area, bool erase) {
    if (!m_created) return;
    icawave::withMemoryException([&] { invalidations.push_back({area == nullptr, erase}); });
    if (m_peer) m_peer->invalidated(erase);
}

void CWnd::SetWindowText(const CString& text) {
    m_text = text;
    changed();
}

bool CWnd::ModifyStyle(std::uint32_t remove, std::uint32_t add) {
    const std::uint32_t style = (m_style & ~remove) | add;
    if (style == m_style) return false;
    m_style = style;
    changed();
    return true;
}

CWnd* CWnd::GetDlgItem(std::int32_t id) const {
    const auto child =
        std::find_if(m_children.begin(), m_children.end(), [&](const CWnd* c) { return c->m_id == id; });
    return child == m_children.end() ? nullptr : *child;
}

std::intptr_t CWnd::SendMessage(std::uint32_t message, std::uintptr_t wParam, std::intptr_t lParam) {
    const bool command = message == icawave::message::command;
    const bool notify = message == icawave::message::notify || message == icawave::message::reflectedNotify;
    const auto* notification = notify ? reinterpret_cast<const icawave::Notification*>(lParam) : nullptr;
    for (const icawave::MessageMap* map = GetMessageMap(); map; map = map->base) {
        for (const icawave::MessageMapEntry& entry : map->entries) {
            if (entry.message != message) continue;
            if (command && entry.id != static_cast<std::int32_t>(wParam & 0xFFFF)) continue;
            if (notify && (!notification || entry.code != notification->code)) continue;
            if (message == icawave::message::notify && entry.id != notification->id) continue;
            return icawave::withMemoryException([&] { return entry.handler(*this, wParam, lParam); });
        }
    }
    return DefWindowProc(message, wParam, lParam);
}

void CWnd::attachPeer(std::unique_ptr<icawave::WindowPeer> peer) {
    m_peer = std::move(peer);
    changed();
}

std::intptr_t CWnd::DefWindowProc(std::uint32_t, std::uintptr_t, std::intptr_t) {
    return 0;
}

void CWnd::createChild(CWnd& parent, std::int32_t id, const CString& text, std::uint32_t style,
                       const CRect& place) {
    constexpr std::uint32_t visibleStyle = 0x10000000;
    Create((style & visibleStyle) != 0, place.Width(), place.Height());
    m_place = place;
    m_id = id;
    m_text = text;
    m_style = style;
    m_parent = &parent;
    m_sized = true; // a control gets no message of its first size
    parent.m_children.push_back(this);
}

void CWnd::takePlaceOf(CWnd& other) {
    CWnd* parent = other.m_parent;
    const auto position =
        std::find(parent->m_children.begin(), parent->m_children.end(), &other) - parent->m_children.begin();
    createChild(*parent, other.m_id, other.m_text, other.m_style, other.m_place);
    parent->m_children.pop_back();
    parent->m_children[position] = this;
    other.m_parent = nullptr;
}

// A control's state is shown by the peer of the dialog that it belongs to.
void CWnd::changed() const {
    const CWnd* window = this;
    while (!window->m_peer && window->m_parent && window->m_id != 0) window = window->m_parent;
    if (window->m_peer) window->m_peer->changed();
}

void CButton::SetCheck(bool checked) {
    m_checked = checked;
    changed();
}

void CButton::press() {
    if (isCheckBox()) SetCheck(!m_checked);
    if (GetParent())
        GetParent()->SendMessage(icawave::message::command, static_cast<std::uintptr_t>(GetDlgCtrlID()), 0);
}
