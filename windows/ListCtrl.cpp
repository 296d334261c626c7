// SPDX-License-Identifier: BSD-3-Clause
#include <icawave/platform/ListCtrl.h>

#include <icawave/platform/Module.h>

#include "platform/Alloc.h"

#include <algorithm>

using icawave::itemFocused;
using icawave::itemSelected;

const CRuntimeClass CListCtrl::classCListCtrl = {"CListCtrl", &CWnd::classCWnd};

bool CImageList::Create(std::int32_t width, std::int32_t height) {
    m_size = std::min(width, height);
    m_icons.clear();
    return m_size > 0;
}

std::int32_t CImageList::AddIcon(std::int32_t number) {
    const auto* icon =
        static_cast<const icawave::IconResource*>(AfxFindResource(icawave::ResourceKind::icon, number));
    if (!icon) return -1;
    m_icons.push_back(icon);
    return GetImageCount() - 1;
}

const icawave::IconImage* CImageList::GetImage(std::int32_t index) const {
    if (index < 0 || index >= GetImageCount()) return nullptr;
    const icawave::IconResource* icon = m_icons[index];
    return m_size > icon->small.size ? &icon->large : &icon->small;
}

std::int32_t CListCtrl::InsertColumn(std::int32_t column, const CString& title, std::int32_t format,
                                     std::int32_t width, std::int32_t subItem) {
    if (column < 0) return -1;
    column = std::min(column, GetColumnCount());
    m_columns.insert(m_columns.begin() + column, {title, format, width, subItem});
    for (Row& row : m_rows) {
        if (column < std::ssize(row.cells)) row.cells.insert(row.cells.begin() + column, CString());
    }
    changed();
    return column;
}

bool CListCtrl::DeleteColumn(std::int32_t column) {
    if (!columnAt(column)) return false;
    m_columns.erase(m_columns.begin() + column);
    for (Row& row : m_rows) {
        if (column < std::ssize(row.cells)) row.cells.erase(row.cells.begin() + column);
    }
    changed();
    return true;
}

CString CListCtrl::GetColumnText(std::int32_t column) const {
    const Column* found = columnAt(column);
    return found ? found->title : CString();
}

std::int32_t CListCtrl::GetColumnFormat(std::int32_t column) const {
    const Column* found = columnAt(column);
    return found ? found->format : 0;
}

std::int32_t CListCtrl::GetColumnWidth(std::int32_t column) const {
    const Column* found = columnAt(column);
    return found ? found->width : 0;
}

std::int32_t CListCtrl::GetColumnSubItem(std::int32_t column) const {
    const Column* found = columnAt(column);
    return found ? found->subItem : 0;
}

std::int32_t CListCtrl::InsertItem(std::int32_t row, const CString& text, std::int32_t image) {
    if (row < 0) return -1;
    row = std::min(row, GetItemCount());
    Row& inserted = *m_rows.insert(m_rows.begin() + row, Row{{}, image, 0});
    inserted.cells.reserve(m_columns.size() + 1);
    inserted.cells.push_back(text);
    changed();
    return row;
}

bool CListCtrl::DeleteItem(std::int32_t row) {
    if (!rowAt(row)) return false;
    m_rows.erase(m_rows.begin() + row);
    changed();
    return true;
}

bool CListCtrl::DeleteAllItems() {
    m_rows.clear();
    m_anchor = 0;
    changed();
    return true;
}

CString CListCtrl::GetItemText(std::int32_t row, std::int32_t column) const {
    const Row* found = rowAt(row);
    const bool set = found && column >= 0 && column < std::ssize(found->cells);
    return set ? found->cells[column] : CString();
}

bool CListCtrl::SetItemText(std::int32_t row, std::int32_t column, const CString& text) {
    if (!rowAt(row) || !columnAt(column)) return false;
    std::vector<CString>& cells = m_rows[row].cells;
    const std::size_t index = column;
    if (index >= cells.size()) cells.resize(index + 1);
    cells[index] = text;
    changed();
    return true;
}

std::int32_t CListCtrl::GetItemImage(std::int32_t row) const {
    const Row* found = rowAt(row);
    return found ? found->image : -1;
}

std::uint32_t CListCtrl::GetItemState(std::int32_t row, std::uint32_t mask) const {
    const Row* found = rowAt(row);
    return found ? found->state & mask : 0;
}

bool CListCtrl::SetItemState(std::int32_t row, std::uint32_t state, std::uint32_t mask) {
    if (!rowAt(row)) return false;
    std::vector<std::uint32_t> states;
    for (const Row& each : m_rows) states.push_back(each.state);
    if (state & mask & itemFocused) {
        for (std::uint32_t& each : states) each &= ~itemFocused;
    }
    std::uint32_t& own = states[row];
    own = (own & ~mask) | (state & mask);
    applyStates(states, row);
    return true;
}

std::int32_t CListCtrl::focusedRow() const {
    const auto row =
        std::find_if(m_rows.begin(), m_rows.end(), [](const Row& r) { return r.state & itemFocused; });
    return row == m_rows.end() ? -1 : static_cast<std::int32_t>(row - m_rows.begin());
}

void CListCtrl::SetExtendedStyle(std::uint32_t style) {
    m_extendedStyle = style;
    changed();
}

void CListCtrl::SetImageList(CImageList* images, std::int32_t kind) {
    m_images[kind == 1 ? 1 : 0] = images;
    changed();
}

CImageList* CListCtrl::GetImageList(std::int32_t kind) const {
    return kind == 0 || kind == 1 ? m_images[kind] : nullptr;
}

// A plain click selects its row alone; with control it toggles the row; with shift it selects from where the
// last click without shift was, and with both it adds that range. Below the last row a click without either
// key clears the selection.
void CListCtrl::userClick(std::int32_t row, bool ctrl, bool shift) {
    const bool onRow = rowAt(row) != nullptr;
    if (!onRow && (ctrl || shift)) return;
    const std::int32_t anchor = rowAt(m_anchor) ? m_anchor : row;
    const auto [first, last] = std::minmax(shift ? anchor : row, row);
    std::vector<std::uint32_t> states;
    for (std::int32_t k = 0; k < GetItemCount(); ++k) {
        const std::uint32_t before = GetItemState(k, itemSelected);
        const bool inside = onRow && k >= first && k <= last;
        std::uint32_t selected = inside ? itemSelected : 0;
        if (ctrl) selected = shift ? before | selected : inside ? before ^ itemSelected : before;
        const bool focused = onRow ? k == row : GetItemState(k, itemFocused) != 0;
        states.push_back(selected | (focused ? itemFocused : 0));
    }
    if (onRow && !shift) m_anchor = row;
    applyStates(states, row);
}

void CListCtrl::selectAll() {
    std::vector<std::uint32_t> states;
    for (const Row& row : m_rows) states.push_back(row.state | itemSelected);
    applyStates(states, -1);
}

void CListCtrl::contextMenu(std::int32_t, std::int32_t screenX, std::int32_t screenY) {
    if (!GetParent()) return;
    GetParent()->SendMessage(icawave::message::contextMenu,
                             reinterpret_cast<std::uintptr_t>(static_cast<CWnd*>(this)),
                             (screenX & 0xFFFF) | (screenY & 0xFFFF) << 16);
}

void CListCtrl::rightClick(std::int32_t row, std::int32_t screenX, std::int32_t screenY) {
    if (!GetItemState(row, itemSelected)) userClick(row, false, false);
    contextMenu(row, screenX, screenY);
}

void CListCtrl::clickHeader(std::int32_t column) {
    if (columnAt(column)) tellParent({{this, GetDlgCtrlID(), icawave::columnClicked}, -1, column, 0, 0});
}

const CListCtrl::Row* CListCtrl::rowAt(std::int32_t row) const {
    return row < 0 || row >= GetItemCount() ? nullptr : &m_rows[row];
}

const CListCtrl::Column* CListCtrl::columnAt(std::int32_t column) const {
    return column < 0 || column >= GetColumnCount() ? nullptr : &m_columns[column];
}

// Each row takes its new state just before it is told of. A handler may change the list; rows that are gone
// then are passed over.
void CListCtrl::applyStates(const std::vector<std::uint32_t>& states, std::int32_t actedOn) {
    std::vector<std::int32_t> order;
    for (const bool losing : {true, false}) {
        for (std::int32_t k = 0; k < static_cast<std::int32_t>(states.size()); ++k) {
            const std::uint32_t before = m_rows[k].state, after = states[k];
            if (k != actedOn && before != after && losing == ((before & ~after) != 0)) order.push_back(k);
        }
    }
    if (rowAt(actedOn) && m_rows[actedOn].state != states[actedOn]) order.push_back(actedOn);
    const std::uint64_t act = ++m_acts;
    for (const std::int32_t k : order) {
        if (!rowAt(k)) continue;
        const std::uint32_t before = std::exchange(m_rows[k].state, states[k]);
        changed();
        tellParent({{this, GetDlgCtrlID(), icawave::itemChanged}, k, 0, states[k], before, act});
    }
}

// The control itself may take a notification before its parent sees it.
std::intptr_t CListCtrl::tellParent(icawave::ItemNotification notification) {
    const auto lParam = reinterpret_cast<std::intptr_t>(static_cast<icawave::Notification*>(&notification));
    for (const icawave::MessageMap* map = GetMessageMap(); map; map = map->base) {
        for (const icawave::MessageMapEntry& entry : map->entries) {
            if (entry.message == icawave::message::reflectedNotify && entry.code == notification.code)
                return entry.handler(*this, 0, lParam);
        }
    }
    if (!GetParent()) return 0;
    return GetParent()->SendMessage(icawave::message::notify, static_cast<std::uintptr_t>(GetDlgCtrlID()),
                                    lParam);
}
