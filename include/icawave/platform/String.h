// SPDX-License-Identifier: BSD-3-Clause
// Texts as every operation of the library takes and returns them.
//
// A CString is a sequence of UTF-16 code units taken by count: zero units and lone surrogates are kept as
// they are. Copies share one immutable text, so that passing one by value costs a reference count and never
// fails.
//
//     CString name = CString::Format("ICA%d", 7);       // u"ICA7"
//     name += u".icd";
//     std::puts(name.utf8().c_str());
#pragma once

#include <icawave/Export.h>

#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

namespace icawave {
struct FormatArgument;
}

class ICAWAVE_EXPORT CString {
public:
    CString() noexcept = default;
    // The UTF-16 texts are taken unit by unit. In UTF-8 every malformed sequence becomes U+FFFD. A null
    // pointer is the empty text.
    CString(const char16_t* text);
    CString(std::u16string_view text);
    CString(std::u16string&& text);
    CString(const char* utf8);
    CString(std::string_view utf8);
    CString(const std::string& utf8) : CString(std::string_view(utf8)) {}

    std::int64_t GetLength() const noexcept {
        return static_cast<std::int64_t>(view().size());
    } // in code units
    bool IsEmpty() const noexcept { return view().empty(); }

    // Valid as long as any CString shares this text.
    std::u16string_view view() const noexcept { return m_text ? std::u16string_view(*m_text) : u""; }
    std::string utf8() const; // lone surrogates become U+FFFD

    // Code unit by code unit, case-sensitive: below 0, 0 or above 0.
    std::int32_t Compare(const CString& other) const noexcept;
    // The index of the first occurrence, -1 when there is none. An empty text is found at 0.
    std::int64_t Find(const CString& text) const noexcept;

    CString& operator+=(const CString& other);
    friend CString operator+(const CString& left, const CString& right) {
        CString joined = left;
        joined += right;
        return joined;
    }
    friend bool operator==(const CString& left, const CString& right) noexcept {
        return left.view() == right.view();
    }

    // Fills %s (texts), %d (the low 32 bits as a signed number), %I64d (64 bits) and %f (six decimals; nan,
    // inf, -inf) from the arguments in order; %% is a percent sign. Never depends on the process's locale. An
    // argument that is missing prints nothing.
    template <class... Arguments>
    static CString Format(const CString& format, const Arguments&... arguments);

private:
    static CString formatList(const CString& format,
                              std::initializer_list<icawave::FormatArgument> arguments);

    std::shared_ptr<const std::u16string> m_text; // null for the empty text
};

namespace icawave {

// One argument of CString::Format, whatever its type was.
struct FormatArgument {
    FormatArgument(const CString& value) : text(value) {}
    FormatArgument(const char16_t* value) : text(value) {}
    FormatArgument(const char* value) : text(value) {}
    FormatArgument(std::integral auto value) : integer(static_cast<std::int64_t>(value)) {}
    FormatArgument(std::floating_point auto value) : real(value) {}

    CString text;
    std::int64_t integer = 0;
    double real = 0.0;
};

} // namespace icawave

template <class... Arguments>
CString CString::Format(const CString& format, const Arguments&... arguments) {
    return formatList(format, {icawave::FormatArgument(arguments)...});
}
