// SPDX-License-Identifier: BSD-3-Clause
#include <icawave/platform/String.h>

#include "platform/Alloc.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace {

constexpr char32_t replacement = 0xFFFD;

void append(std::u16string& text, char32_t c) {
    if (c >= 0x10000) {
        text += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
        text += static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
    } else {
        text += static_cast<char16_t>(c);
    }
}

void append(std::string& text, char32_t c) {
    if (c < 0x80) {
        text += static_cast<char>(c);
        return;
    }
    const int trailing = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
    constexpr std::array<unsigned, 4> lead = {0, 0xC0, 0xE0, 0xF0};
    text += static_cast<char>(lead[trailing] | (c >> (6 * trailing)));
    for (int k = trailing - 1; k >= 0; --k) text += static_cast<char>(0x80 | ((c >> (6 * k)) & 0x3F));
}

// Takes one character off the front of `rest`. A malformed sequence is taken up to the first byte that cannot
// belong to it, so that a reader never skips what may be the next character.
char32_t takeCharacter(std::string_view& rest) {
    const auto byteAt = [&](std::size_t k) { return static_cast<unsigned char>(rest[k]); };
    const unsigned lead = byteAt(0);
    const std::size_t length = lead < 0x80                    ? 1
                               : lead >= 0xC2 && lead <= 0xDF ? 2
                               : lead >= 0xE0 && lead <= 0xEF ? 3
                               : lead >= 0xF0 && lead <= 0xF4 ? 4
                                                              : 0;
    if (length < 2) {
        rest.remove_prefix(1);
        return length == 1 ? lead : replacement;
    }
    char32_t c = lead & (0x7Fu >> length);
    std::size_t used = 1;
    for (; used < length && used < rest.size(); ++used) {
        const unsigned next = byteAt(used);
        unsigned low = 0x80,
                 high = 0xBF; // the second byte excludes overlong forms, surrogates and values past U+10FFFF
        if (used == 1) {
            if (lead == 0xE0) low = 0xA0;
            if (lead == 0xED) high = 0x9F;
            if (lead == 0xF0) low = 0x90;
            if (lead == 0xF4) high = 0x8F;
        }
        if (next < low || next > high) break;
        c = (c << 6) | (next & 0x3F);
    }
    rest.remove_prefix(used);
    return used == length ? c : replacement;
}

std::shared_ptr<const std::u16string> share(std::u16string&& text) {
    if (text.empty()) return nullptr;
    return icawave::withMemoryException(
        [&] { return std::make_shared<const std::u16string>(std::move(text)); });
}

std::u16string fromUtf8(std::string_view utf8) {
    return icawave::withMemoryException([&] {
        std::u16string text;
        text.reserve(utf8.size());
        while (!utf8.empty()) append(text, takeCharacter(utf8));
        return text;
    });
}

} // namespace

CString::CString(const char16_t* text) : CString(text ? std::u16string_view(text) : std::u16string_view()) {}

CString::CString(std::u16string_view text)
    : m_text(share(icawave::withMemoryException([&] { return std::u16string(text); }))) {}

CString::CString(std::u16string&& text) : m_text(share(std::move(text))) {}

CString::CString(const char* utf8) : CString(utf8 ? std::string_view(utf8) : std::string_view()) {}

CString::CString(std::string_view utf8) : m_text(share(fromUtf8(utf8))) {}

std::string CString::utf8() const {
    return icawave::withMemoryException([&] {
        std::string bytes;
        const std::u16string_view units = view();
        for (std::size_t k = 0; k < units.size(); ++k) {
            char32_t c = units[k];
            if (c >= 0xD800 && c < 0xE000) {
                const char32_t next = k + 1 < units.size() ? units[k + 1] : 0;
                const bool pair = c < 0xDC00 && next >= 0xDC00 && next < 0xE000;
                c = pair ? 0x10000 + ((c - 0xD800) << 10) + (next - 0xDC00) : replacement;
                if (pair) ++k;
            }
            append(bytes, c);
        }
        return bytes;
    });
}

std::int32_t CString::Compare(const CString& other) const noexcept {
    return view().compare(other.view());
}

std::int64_t CString::Find(const CString& text) const noexcept {
    const std::size_t at = view().find(text.view());
    return at == std::u16string_view::npos ? -1 : static_cast<std::int64_t>(at);
}

CString& CString::operator+=(const CString& other) {
    m_text = share(icawave::withMemoryException([&] { return std::u16string(view()).append(other.view()); }));
    return *this;
}

namespace {

// The longest double in fixed notation has 309 digits before the point.
void appendNumber(std::u16string& text, auto number, auto... format) {
    std::array<char, 320> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, format...);
    text.append(digits.data(), end.ptr);
}

struct Conversion {
    std::u16string_view form;
    void (*print)(std::u16string&, const icawave::FormatArgument&);
};

constexpr Conversion conversions[] = {
    {u"%s", [](std::u16string& text, const icawave::FormatArgument& a) { text += a.text.view(); }},
    {u"%d",
     [](std::u16string& text, const icawave::FormatArgument& a) {
         appendNumber(text, static_cast<std::int32_t>(a.integer));
     }},
    {u"%I64d", [](std::u16string& text, const icawave::FormatArgument& a) { appendNumber(text, a.integer); }},
    {u"%f",
     [](std::u16string& text, const icawave::FormatArgument& a) {
         if (std::isnan(a.real))
             text += u"nan"; // whatever its sign bit
         else
             appendNumber(text, a.real, std::chars_format::fixed, 6);
     }},
};

std::u16string formatUnits(std::u16string_view rest,
                           std::initializer_list<icawave::FormatArgument> arguments) {
    std::u16string text;
    auto next = arguments.begin();
    while (!rest.empty()) {
        const auto* conversion = std::find_if(std::begin(conversions), std::end(conversions),
                                              [&](const Conversion& c) { return rest.starts_with(c.form); });
        if (conversion != std::end(conversions)) {
            if (next != arguments.end()) conversion->print(text, *next++);
            rest.remove_prefix(conversion->form.size());
            continue;
        }
        // Up to the next percent sign; one that starts no conversion stands for itself, two for one.
        const std::size_t literal = std::min(rest.find(u'%', 1), rest.size());
        text += rest.substr(0, literal);
        rest.remove_prefix(rest.starts_with(u"%%") ? 2 : literal);
    }
    return text;
}

} // namespace

CString CString::formatList(const CString& format, std::initializer_list<icawave::FormatArgument> arguments) {
    return CString(icawave::withMemoryException([&] { return formatUnits(format.view(), arguments); }));
}
