// SPDX-License-Identifier: BSD-3-Clause
// Dialog templates, menus and icons as a module's resources hold them. Texts are literals; everything lives
// as long as its module.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace icawave {

enum class ControlKind : std::int32_t { button, listView };

// Places are in dialog units.
struct ControlTemplate {
    std::int32_t id;
    ControlKind kind;
    std::u16string_view text;
    std::int32_t x, y, width, height;
    std::uint32_t style;
};

struct DialogTemplate {
    std::u16string_view caption;
    std::int32_t width, height;
    std::uint32_t style;
    std::int32_t menu; // number of its menu bar; 0: none
    std::u16string_view font;
    std::int32_t pointSize;
    std::span<const ControlTemplate> controls; // in tab order
};

struct MenuItemTemplate {
    std::int32_t id; // 0: a separator, or a pop-up when it has items
    std::u16string_view text;
    std::span<const MenuItemTemplate> items;
};

struct MenuTemplate {
    std::span<const MenuItemTemplate> items;
};

// Pictures of one icon: `size` rows of `size` characters each. A hexadecimal digit is one of the sixteen
// colours, a point is transparent.
struct IconImage {
    std::int32_t size;
    std::span<const std::string_view> rows;
};

struct IconResource {
    IconImage large; // 32 x 32
    IconImage small; // 16 x 16
};

// The sixteen colours as 0xRRGGBB.
inline constexpr std::uint32_t iconColours[16] = {0x000000, 0x800000, 0x008000, 0x808000, 0x000080, 0x800080,
                                                  0x008080, 0xC0C0C0, 0x808080, 0xFF0000, 0x00FF00, 0xFFFF00,
                                                  0x0000FF, 0xFF00FF, 0x00FFFF, 0xFFFFFF};

} // namespace icawave
