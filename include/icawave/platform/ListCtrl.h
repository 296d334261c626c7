// SPDX-License-Identifier: BSD-3-Clause
// The list control in report view: columns, rows of texts with an icon, selection and focus, and what it
// tells its parent.
#pragma once

#include <icawave/platform/Resource.h>
#include <icawave/platform/Wnd.h>

#include <cstdint>
#include <vector>

// Pictures of one size, taken from icons of the resources.
class ICAWAVE_EXPORT CImageList {
public:
    bool Create(std::int32_t width, std::int32_t height); // pixels; empty
    std::int32_t AddIcon(std::int32_t number); // the new image's index; -1 when no module has that icon
    std::int32_t GetImageCount() const { return static_cast<std::int32_t>(m_icons.size()); }
    std::int32_t GetImageSize() const { return m_size; }
    const icawave::IconImage* GetImage(std::int32_t index) const; // null outside

private:
    std::int32_t m_size = 0;
    std::vector<const icawave::IconResource*> m_icons;
};

namespace icawave {

inline constexpr std::uint32_t itemFocused = 1;
inline constexpr std::uint32_t itemSelected = 2;
inline constexpr std::int32_t itemChanged = -101; // code of ItemNotification
inline constexpr std::int32_t columnClicked = -108;

// A row's state changed, or a column's header was clicked.
struct ItemNotification : Notification {
    std::int32_t row; // -1 for a column
    std::int32_t column;
    std::uint32_t newState;
    std::uint32_t oldState;
    std::uint64_t act = 0; // the same for all rows that one act changed, another for the next act; 0: unknown
};

} // namespace icawave

// Rows and columns are counted from 0; a cell is addressed by its column's position. State and mask are bits:
// 1 focused, 2 selected.
//
// Every row whose state changes brings one item-changed notification: rows that lose a bit first, ascending,
// then those that gain one, the row acted on last. Inserting, deleting and texts bring none. Track-select
// highlights what is under the pointer and never selects.
class ICAWAVE_EXPORT CListCtrl : public CWnd {
public:
    static const CRuntimeClass classCListCtrl;
    const CRuntimeClass* GetRuntimeClass() const override { return &classCListCtrl; }

    // The position given, or -1; format 0: left-aligned; width in pixels.
    std::int32_t InsertColumn(std::int32_t column, const CString& title, std::int32_t format,
                              std::int32_t width, std::int32_t subItem);
    bool DeleteColumn(std::int32_t column); // with its cells
    std::int32_t GetColumnCount() const { return static_cast<std::int32_t>(m_columns.size()); }
    CString GetColumnText(std::int32_t column) const;
    std::int32_t GetColumnFormat(std::int32_t column) const;
    std::int32_t GetColumnWidth(std::int32_t column) const;
    std::int32_t GetColumnSubItem(std::int32_t column) const; // only kept

    // The row given: past the end appends; -1 below 0.
    std::int32_t InsertItem(std::int32_t row, const CString& text, std::int32_t image);
    bool DeleteItem(std::int32_t row);
    bool DeleteAllItems();
    std::int32_t GetItemCount() const { return static_cast<std::int32_t>(m_rows.size()); }
    CString GetItemText(std::int32_t row, std::int32_t column) const;
    bool SetItemText(std::int32_t row, std::int32_t column, const CString& text);
    std::int32_t GetItemImage(std::int32_t row) const;                      // -1 for a missing row
    std::uint32_t GetItemState(std::int32_t row, std::uint32_t mask) const; // 0 for a missing row
    // One row at the most has the focus.
    bool SetItemState(std::int32_t row, std::uint32_t state, std::uint32_t mask);
    std::int32_t focusedRow() const; // -1: none

    std::uint32_t GetExtendedStyle() const { return m_extendedStyle; }
    void SetExtendedStyle(std::uint32_t style);               // replaces all bits
    void SetImageList(CImageList* images, std::int32_t kind); // 0: normal, 1: small; stays the caller's
    CImageList* GetImageList(std::int32_t kind) const;

    // What a user does: a click (row -1: below the last), "select all", a request for the context menu over a
    // row (the menu key; the selection stays), the right button over a row (which selects what is not
    // selected yet, then requests the menu), a click on a header. Points are on the screen, in pixels.
    void userClick(std::int32_t row, bool ctrl, bool shift);
    void selectAll();
    void contextMenu(std::int32_t row, std::int32_t screenX = 0, std::int32_t screenY = 0);
    void rightClick(std::int32_t row, std::int32_t screenX, std::int32_t screenY);
    void clickHeader(std::int32_t column);

private:
    struct Column {
        CString title;
        std::int32_t format, width, subItem;
    };
    struct Row {
        std::vector<CString> cells; // fewer than columns: the rest is empty
        std::int32_t image = -1;
        std::uint32_t state = 0;
    };
    const Row* rowAt(std::int32_t row) const;
    const Column* columnAt(std::int32_t column) const;
    void applyStates(const std::vector<std::uint32_t>& states, std::int32_t actedOn);
    std::intptr_t tellParent(icawave::ItemNotification notification);

    std::vector<Column> m_columns;
    std::vector<Row> m_rows;
    std::uint32_t m_extendedStyle = 0;
    CImageList* m_images[2] = {};
    std::int32_t m_anchor = 0; // where a range of rows begins
    std::uint64_t m_acts = 0;  // that changed states
};
