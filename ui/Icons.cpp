// SPDX-License-Identifier: BSD-3-Clause
// The pictures of the icons, sixteen colours. A shown data set is an open eye, filled and round; a hidden one
// a closed lid with lashes: the shapes differ, not only the colours.
#include "ui/Icons.h"

namespace icawave {

namespace {

constexpr std::string_view shown32[] = {
    "................................", "................................",
    "................................", "................................",
    "................................", "................................",
    "................................", "................................",
    "...........0000000000...........", ".........00ffffffffff00.........",
    ".......00ffffccccccffff00.......", "......0fffffccccccccfffff0......",
    ".....0fffffccccccccccfffff0.....", "....0fffffcccff00cccccfffff0....",
    "...0ffffffcccff000ccccffffff0...", "..0fffffffccc000000cccfffffff0..",
    "..0fffffffccc000000cccfffffff0..", "...0ffffffcccc0000ccccffffff0...",
    "....0fffffccccc00cccccfffff0....", ".....0fffffccccccccccfffff0.....",
    "......0fffffccccccccfffff0......", ".......00ffffccccccffff00.......",
    ".........00ffffffffff00.........", "...........0000000000...........",
    "................................", "................................",
    "................................", "................................",
    "................................", "................................",
    "................................", "................................",
};

constexpr std::string_view shown16[] = {
    "................", "................", "................", "................",
    ".....000000.....", "...00fccccf00...", "..0ffcfccccff0..", ".0fffcc00ccfff0.",
    ".0fffcc00ccfff0.", "..0ffccccccff0..", "...00fccccf00...", ".....000000.....",
    "................", "................", "................", "................",
};

constexpr std::string_view hidden32[] = {
    "................................", "................................",
    "................................", "................................",
    "................................", "................................",
    "................................", "................................",
    "................................", "................................",
    "................................", "................................",
    "................................", "................................",
    ".8............................8.", ".88..........................88.",
    "..88........................88..", "...888....................888...",
    "...8888..................8888...", "...8.8888..............8888.8...",
    "..8...88888..........88888...8..", ".8......8888888888888888......8.",
    ".8.......88888888888888.......8.", "8........8...888888...8........8",
    ".........8......8.....8.........", "........8.......8......8........",
    "........8.......8......8........", "........8.......8......8........",
    "................8...............", "................................",
    "................................", "................................",
};

constexpr std::string_view hidden16[] = {
    "................", "................", "................", "................",
    "................", "................", "................", "................",
    ".88..........88.", ".888........888.", "8...88....88...8", "8...8.8888.8...8",
    "....8...8..8....", "....8...8..8....", "........8.......", "................",
};

constexpr std::string_view waves32[] = {
    "44444444444444444444444444444444", "4ffffffffffffffffffffffffffffff4",
    "4ffffffffffffffffffffffffffffff4", "4ffffffffffffffffffffffffffffff4",
    "4fffffffff999ffffffffffff999fff4", "4ffffffff99f99ffffffffff99f99ff4",
    "4ffffffff9fff99ffffffff99fff99f4", "4fffffff99ffff99fffffff9fffff9f4",
    "4ffffff99ffffff9ffffff99fffff9f4", "4ffffff9fffffff99ffff99ffffffff4",
    "4fffff99ffffffff99fff9fffffffff4", "4f99f99ffffffffff99f99fffffffff4",
    "4ff999ffffffffffff999ffffffffff4", "4ffffffffffffffffffffffffffffff4",
    "4ffffffff22ffff22ffff22ffffffff4", "4ff222fff222fff222ff222fff222ff4",
    "4ff2f2ff22f2ff22f2ff2f22ff2f22f4", "4f22f22f2ff22f2ff2ff2ff2f22ff2f4",
    "4fffff222fff222ff2222ff222fff2f4", "4fffff22ffff22ffff22ffff22fffff4",
    "4ffffffffffffffffffffffffffffff4", "4ffffffffffffffffffffffffffffff4",
    "4fffffffcccccccffffffffffffffff4", "4ffffffccfffffccfffffffffffffff4",
    "4fffffccfffffffcccfffffffffffff4", "4fffcccffffffffffccffffffffffcf4",
    "4ffccfffffffffffffccffffffffccf4", "4fccfffffffffffffffcccffffcccff4",
    "4ffffffffffffffffffffccccccffff4", "4ffffffffffffffffffffffffffffff4",
    "4ffffffffffffffffffffffffffffff4", "44444444444444444444444444444444",
};

constexpr std::string_view waves16[] = {
    "4444444444444444", "4ffffffffffffff4", "4ffff999ffff99f4", "4fff99f9ffff9ff4",
    "4fff9ff99ff99ff4", "4ff99fff9999fff4", "4f99fffff99ffff4", "4f22fffffffffff4",
    "4ff22222222222f4", "4ff22f22f22f22f4", "4ffffffffffffff4", "4fffcccccffffff4",
    "4ffccfffccfffff4", "4fccfffffccffff4", "4fffffffffccccf4", "4444444444444444",
};

} // namespace

const IconResource shownIcon = {{32, shown32}, {16, shown16}};
const IconResource hiddenIcon = {{32, hidden32}, {16, hidden16}};
const IconResource wavesIcon = {{32, waves32}, {16, waves16}};

} // namespace icawave
