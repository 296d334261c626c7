// SPDX-License-Identifier: BSD-3-Clause
#include "apps/cli/Json.h"

#include <array>
#include <bit>
#include <charconv>
#include <cmath>

namespace icawave::cli {

namespace {

constexpr std::string_view digits = "0123456789abcdef";

} // namespace

void JsonWriter::key(std::string_view name) {
    separate();
    m_out << '"' << name << "\":";
    m_afterKey = true;
}

void JsonWriter::integer(std::int64_t value) {
    raw(std::to_string(value));
}

void JsonWriter::value(double value) {
    if (!std::isfinite(value)) return null();
    std::array<char, 32> buffer;
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value).ptr;
    raw({buffer.data(), end});
}

void JsonWriter::value(const CString& text) {
    separate();
    m_out << '"';
    for (const char16_t unit : text.view()) {
        if (unit >= 0x20 && unit <= 0x7E && unit != u'"' && unit != u'\\')
            m_out << static_cast<char>(unit);
        else
            m_out << "\\u" << digits[unit >> 12] << digits[(unit >> 8) & 15] << digits[(unit >> 4) & 15]
                  << digits[unit & 15];
    }
    m_out << '"';
}

void JsonWriter::bits(double value) {
    const auto pattern = std::bit_cast<std::uint64_t>(value);
    std::array<char, 18> text;
    text.front() = text.back() = '"';
    for (std::size_t k = 0; k < 16; ++k) text[k + 1] = digits[(pattern >> (60 - 4 * k)) & 15];
    raw({text.data(), text.size()});
}

void JsonWriter::open(char bracket) {
    separate();
    m_out << bracket;
    m_first.push_back(true);
}

void JsonWriter::close(char bracket) {
    m_out << bracket;
    m_first.pop_back();
}

void JsonWriter::separate() {
    if (m_afterKey) {
        m_afterKey = false;
        return;
    }
    if (m_first.size() > 1 && !m_first.back()) m_out << m_separator;
    m_first.back() = false;
}

void JsonWriter::raw(std::string_view text) {
    separate();
    m_out << text;
}

} // namespace icawave::cli
