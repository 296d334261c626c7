// SPDX-License-Identifier: BSD-3-Clause
#include <icawave/platform/Menu.h>

#include <icawave/platform/Module.h>
#include <icawave/platform/Wnd.h>

CMenu::CMenu() = default;
CMenu::~CMenu() = default;
CMenu::CMenu(CMenu&&) noexcept = default;
CMenu& CMenu::operator=(CMenu&&) noexcept = default;

bool CMenu::LoadMenu(std::int32_t number) {
    DestroyMenu();
    const auto* menu =
        static_cast<const icawave::MenuTemplate*>(AfxFindResource(icawave::ResourceKind::menu, number));
    if (!menu) return false;
    load(menu->items);
    return true;
}

void CMenu::DestroyMenu() {
    m_items.clear();
}

std::int32_t CMenu::GetMenuItemCount() const {
    return static_cast<std::int32_t>(m_items.size());
}

CMenu* CMenu::GetSubMenu(std::int32_t position) const {
    return position < 0 || position >= GetMenuItemCount() ? nullptr : m_items[position].popup.get();
}

icawave::MenuItem CMenu::GetMenuItem(std::int32_t position) const {
    return m_items.at(position).item;
}

const CMenu* CMenu::find(std::int32_t id, std::int32_t& position) const {
    for (position = 0; position < GetMenuItemCount(); ++position) {
        const Item& item = m_items[position];
        if (item.popup) {
            std::int32_t inside = 0;
            if (const CMenu* menu = item.popup->find(id, inside)) {
                position = inside;
                return menu;
            }
        } else if (id != 0 && item.item.id == id) {
            return this;
        }
    }
    return nullptr;
}

bool CMenu::EnableMenuItem(std::int32_t id, bool enabled) {
    Item* item = findItem(id);
    if (item) item->item.enabled = enabled;
    return item != nullptr;
}

bool CMenu::CheckMenuItem(std::int32_t id, bool checked) {
    Item* item = findItem(id);
    if (item) item->item.checked = checked;
    return item != nullptr;
}

bool CMenu::TrackPopupMenu(std::int32_t x, std::int32_t y, CWnd& owner) const {
    std::vector<icawave::MenuItem> items;
    for (const Item& item : m_items) items.push_back(item.item);
    const std::int32_t command = icawave::uiFrontEnd().popupMenu(items, x, y);
    if (command == 0) return false;
    owner.SendMessage(icawave::message::command, static_cast<std::uintptr_t>(command), 0);
    return true;
}

void CMenu::load(std::span<const icawave::MenuItemTemplate> items) {
    for (const icawave::MenuItemTemplate& item : items) {
        Item loaded{{item.id, item.text, true, false}, nullptr};
        if (!item.items.empty()) {
            loaded.popup = std::make_unique<CMenu>();
            loaded.popup->load(item.items);
        }
        m_items.push_back(std::move(loaded));
    }
}

CMenu::Item* CMenu::findItem(std::int32_t id) {
    std::int32_t position = 0;
    auto* menu = const_cast<CMenu*>(find(id, position));
    return menu ? &menu->m_items[position] : nullptr;
}
