// SPDX-License-Identifier: BSD-3-Clause
#include "ui/Resources.h"

#include "ui/Icons.h"

namespace icawave {

namespace {

// Styles: child and visible (0x50000000), tab stop (0x10000), border, group; 1 default push button, 3
// automatic check box; report view.
constexpr ControlTemplate managerControls[] = {
    {controlExit, ControlKind::button, u"Exit", 244, 2, 40, 14, 0x50010001},
    {controlList, ControlKind::listView, u"", 7, 22, 449, 147, 0x50830801},
    {controlDynamic, ControlKind::button, u"Dynamic...", 4, 6, 43, 10, 0x50010003},
    {controlApply, ControlKind::button, u"Apply...", 103, 2, 40, 14, 0x50010000},
    {controlDelete, ControlKind::button, u"Delete...", 59, 2, 40, 14, 0x50010000},
    {controlRefresh, ControlKind::button, u"Refresh", 194, 2, 40, 14, 0x50010001},
    {controlNorm, ControlKind::button, u"Norm...", 147, 2, 40, 14, 0x50010000},
};

// Pop-up, caption, system menu, sizing border, set-font, fixed-system.
constexpr DialogTemplate manager = {
    u"ICA Wave Manager", 463, 176, 0x80CC0048, menuBarManager, u"MS Shell Dlg", 8, managerControls};

constexpr MenuItemTemplate fileItems[] = {
    {commandSave, u"Save Independent Component Data", {}},
    {commandOpen, u"Open Independent Component Data", {}},
    {0, u"", {}},
    {commandMenuExit, u"Exit", {}},
};
constexpr MenuItemTemplate menuBarItems[] = {{0, u"File", fileItems}};
constexpr MenuTemplate menuBar = {menuBarItems};

constexpr MenuItemTemplate listItems[] = {
    {commandSourceEdit, u"Source Edit", {}},
    {commandSourceDelete, u"Source Delete", {}},
    {0, u"", {}},
    {commandShow, u"Show", {}},
    {commandHide, u"Hide", {}},
    {0, u"", {}},
};
constexpr MenuItemTemplate listMenuItems[] = {{0, u"VIRTSNSMENU", listItems}};
constexpr MenuTemplate listMenu = {listMenuItems};

constinit const Resource resources[] = {
    {ResourceKind::dialog, dialogManager, &manager}, {ResourceKind::menu, menuBarManager, &menuBar},
    {ResourceKind::menu, menuList, &listMenu},       {ResourceKind::icon, iconShown, &shownIcon},
    {ResourceKind::icon, iconHidden, &hiddenIcon},   {ResourceKind::icon, iconDialog, &wavesIcon},
};

} // namespace

std::span<const Resource> libraryResources() {
    return resources;
}

} // namespace icawave
