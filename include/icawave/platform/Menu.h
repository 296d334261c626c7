// SPDX-License-Identifier: BSD-3-Clause
// Menus: loaded from the resources, changed, and shown as a pop-up or in a dialog's menu bar.
#pragma once

#include <icawave/platform/FrontEnd.h>
#include <icawave/platform/Resource.h>

#include <cstdint>
#include <memory>
#include <vector>

class CWnd;

class ICAWAVE_EXPORT CMenu {
public:
    CMenu();
    ~CMenu();
    CMenu(CMenu&&) noexcept;
    CMenu& operator=(CMenu&&) noexcept;

    bool LoadMenu(std::int32_t number); // false when no module has that menu
    void DestroyMenu();

    std::int32_t GetMenuItemCount() const;
    CMenu* GetSubMenu(std::int32_t position) const; // stays the menu's; null when that item has none
    icawave::MenuItem GetMenuItem(std::int32_t position) const;
    // The menu that has a command, at any depth; null when none has.
    const CMenu* find(std::int32_t id, std::int32_t& position) const;

    bool EnableMenuItem(std::int32_t id, bool enabled); // false when there is no such command
    bool CheckMenuItem(std::int32_t id, bool checked);

    // Shows the menu at a point of the screen and sends the command that was chosen to `owner`. False when
    // none was.
    bool TrackPopupMenu(std::int32_t x, std::int32_t y, CWnd& owner) const;

private:
    struct Item {
        icawave::MenuItem item;
        std::unique_ptr<CMenu> popup;
    };
    void load(std::span<const icawave::MenuItemTemplate> items);
    Item* findItem(std::int32_t id);

    std::vector<Item> m_items;
};
