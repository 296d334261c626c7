// SPDX-License-Identifier: BSD-3-Clause
#include "apps/cli/Text.h"

#include <icawave/PackageFile.h>

#include <algorithm>

namespace icawave::cli {

namespace {

// C0, DEL and C1, the line separators, and what reverses the direction of the text after it.
bool isControl(char16_t unit) {
    return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || unit == 0x200E || unit == 0x200F ||
           (unit >= 0x2028 && unit <= 0x202E) || (unit >= 0x2066 && unit <= 0x2069);
}

} // namespace

std::string printable(const CString& text) {
    constexpr std::u16string_view digits = u"0123456789abcdef";
    std::u16string safe;
    for (const char16_t unit : text.view()) {
        if (!isControl(unit)) {
            safe += unit;
            continue;
        }
        safe += u"\\u";
        for (const int shift : {12, 8, 4, 0}) safe += digits[(unit >> shift) & 15];
    }
    return CString(std::move(safe)).utf8();
}

std::string printable(const std::string& text) {
    return printable(CString(shownPath(text)));
}

std::string padded(const std::string& utf8, std::size_t width) {
    return utf8 + std::string(width - std::min(width, codePoints(utf8)), ' ');
}

std::size_t codePoints(const std::string& utf8) {
    const auto begins = [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; };
    return std::count_if(utf8.begin(), utf8.end(), begins);
}

} // namespace icawave::cli
