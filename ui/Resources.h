// SPDX-License-Identifier: BSD-3-Clause
// Numbers of the manager's dialog, menus, icons and commands.
#pragma once

#include <icawave/platform/Module.h>

#include <cstdint>
#include <span>

namespace icawave {

inline constexpr std::int32_t dialogManager = 4449;
inline constexpr std::int32_t menuBarManager = 3000;
inline constexpr std::int32_t menuList = 4453;
inline constexpr std::int32_t iconShown = 4451;
inline constexpr std::int32_t iconHidden = 4452;
inline constexpr std::int32_t iconDialog = 24001;

inline constexpr std::int32_t controlExit = 1;
inline constexpr std::int32_t controlRefresh = 4450;
inline constexpr std::int32_t controlList = 4454;
inline constexpr std::int32_t controlDynamic = 4455;
inline constexpr std::int32_t controlApply = 4456;
inline constexpr std::int32_t controlNorm = 4457;
inline constexpr std::int32_t controlDelete = 4458;

inline constexpr std::int32_t commandSourceEdit = 4459;
inline constexpr std::int32_t commandSourceDelete = 4460;
inline constexpr std::int32_t commandShow = 4461;
inline constexpr std::int32_t commandHide = 4462;
inline constexpr std::int32_t commandSave = 32771;
inline constexpr std::int32_t commandOpen = 32772;
inline constexpr std::int32_t commandMenuExit = 32773;

// What the library brings into the resource search.
std::span<const Resource> libraryResources();

} // namespace icawave
