// SPDX-License-Identifier: BSD-3-Clause
#include "tests/Support.h"

#include <clocale>
#include <cmath>
#include <limits>

namespace {

TEST(Text, Utf8IsReadAndWrittenWithMalformedSequencesReplaced) {
    struct Case {
        std::string_view utf8;
        std::u16string_view units;
    };
    const Case cases[] = {
        {"\x41\xC3\xA9\xE2\x82\xAC\xF0\x9F\xA7\xA0", u"A\u00E9\u20AC\U0001F9E0"},
        {"\x80\xBF", u"\uFFFD\uFFFD"},                     // stray continuation bytes
        {"\xC0\xAF", u"\uFFFD\uFFFD"},                     // overlong
        {"\xE0\x80\x80", u"\uFFFD\uFFFD\uFFFD"},           // overlong
        {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},           // a surrogate
        {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"}, // past U+10FFFF
        {"\xE2\x82", u"\uFFFD"},                           // cut short
        {"\xE2\x41", u"\uFFFD\u0041"},                     // the next character is not swallowed
        {"\xFF", u"\uFFFD"},
    };
    for (const auto& [utf8, units] : cases) EXPECT_EQ(CString(utf8), CString(units)) << utf8;
    EXPECT_EQ(CString(cases[0].units).utf8(), cases[0].utf8);
    EXPECT_EQ(CString(std::u16string(1, char16_t{0xD83E}) + u"x").utf8(), "\xEF\xBF\xBDx");
}

// Both bounds of the surrogates and of either half, alone, in pairs and in the wrong order.
TEST(Text, SurrogatesArePairsOrReplaced) {
    struct Case {
        std::u16string units;
        std::string utf8;
    };
    const std::string lost = "\xEF\xBF\xBD", last = "\xED\x9F\xBF", next = "\xEE\x80\x80"; // round them
    const Case cases[] = {
        {{0xD7FF}, last},
        {{0xD800}, lost},
        {{0xDBFF}, lost},
        {{0xDC00}, lost},
        {{0xDFFF}, lost},
        {{0xE000}, next},
        {{0xFFFF}, "\xEF\xBF\xBF"},
        {{0xD800, 0xDC00}, "\xF0\x90\x80\x80"},
        {{0xD800, 0xDFFF}, "\xF0\x90\x8F\xBF"},
        {{0xDBFF, 0xDC00}, "\xF4\x8F\xB0\x80"},
        {{0xDBFF, 0xDFFF}, "\xF4\x8F\xBF\xBF"},
        {{0xD7FF, 0xDC00}, last + lost},
        {{0xD800, 0xDBFF}, lost + lost},
        {{0xDBFF, 0xE000}, lost + next},
        {{0xDC00, 0xD800}, lost + lost},
        {{0xDC00, 0xDFFF}, lost + lost},
        {{0xE000, 0xDFFF}, next + lost},
        {{0xD800, 0xD800, 0xDC00}, lost + "\xF0\x90\x80\x80"},
    };
    for (const auto& [units, utf8] : cases) {
        EXPECT_EQ(CString(units).utf8(), utf8);
        if (utf8.find(lost) == utf8.npos) {
            EXPECT_EQ(CString(utf8).view(), units);
        }
    }
}

TEST(Text, FormatsLikeTheDisplayNeedsIt) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(CString::Format(u"ICA%d", 7), u"ICA7");
    EXPECT_EQ(CString::Format("%d %I64d", std::int64_t{1} << 32 | 5, std::int64_t{1} << 40),
              "5 1099511627776");
    EXPECT_EQ(CString::Format("%s\t%f %f %f|%f", CString(u"\u00E9"), nan, -nan, infinity, -infinity),
              u"\u00E9\tnan nan inf|-inf");
    EXPECT_EQ(CString::Format("%f %f", -1.0000005, 1e300).GetLength(), 9 + 1 + 308);
    EXPECT_EQ(CString::Format("100%% %x 5%"), "100% %x 5%");
    EXPECT_EQ(CString::Format("%s%s", u"a%d"), "a%d") << "an argument's own percent signs are text";
    if (std::setlocale(LC_ALL, "de_DE.UTF-8") || std::setlocale(LC_ALL, "fr_FR.UTF-8")) {
        EXPECT_EQ(CString::Format("%f", 0.5), "0.500000");
    }
    std::setlocale(LC_ALL, "C");
}

TEST(Arrays, RefuseIndicesOutside) {
    CUIntArray list;
    for (std::uint32_t k = 0; k < 3; ++k) EXPECT_EQ(list.Add(10 * k), k);
    list.InsertAt(3, 30);
    list.InsertAt(0, 5);
    list.RemoveAt(1); // 5 10 20 30
    list[3] = 31;
    list.SetSize(5);
    EXPECT_TRUE(list[3] == 31 && list[4] == 0);
    for (const std::int64_t outside : {std::int64_t{-1}, std::int64_t{5}, std::int64_t{1} << 32}) {
        EXPECT_THROW(list.GetAt(outside), CInvalidArgException);
        EXPECT_THROW(list.SetAt(outside, 1), CInvalidArgException);
        EXPECT_THROW(list[outside] = 1, CInvalidArgException);
        EXPECT_THROW(list.RemoveAt(outside), CInvalidArgException);
    }
    EXPECT_THROW(list.InsertAt(6, 1), CInvalidArgException);
    EXPECT_THROW(list.SetSize(-1), CInvalidArgException);
    EXPECT_EQ(list.GetSize(), 5);
}

} // namespace
