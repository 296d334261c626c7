// SPDX-License-Identifier: BSD-3-Clause
#include "tests/Support.h"

using test::Bytes;
using test::Reader;

namespace {

Bytes bytes(std::initializer_list<int> values) {
    Bytes result;
    for (const int value : values) result.push_back(static_cast<std::byte>(value));
    return result;
}

template <class... Values>
Bytes encoded(const Values&... values) {
    CMemFile file;
    CArchive archive(&file, CArchive::store);
    (archive << ... << values);
    archive.Close();
    return test::contents(file);
}

CString decodedText(const Bytes& encoded, std::int32_t bufferSize = 4096) {
    Reader reader(encoded, bufferSize);
    CString text = u"before";
    reader.archive >> text;
    return text;
}

std::int32_t causeOf(const std::function<void()>& act) {
    try {
        act();
    } catch (const CArchiveException& e) {
        return e.m_cause;
    }
    return CArchiveException::none;
}

TEST(ArchiveEncoding, StoresPrimitivesLittleEndianWithoutPadding) {
    Reader reader(bytes({2, 0}));
    bool any = false, none = true;
    reader.archive >> any >> none;
    EXPECT_TRUE(any && !none) << "any byte but zero is true";
    EXPECT_EQ(encoded(std::int32_t{20161108}, std::uint8_t{7}, true, std::int64_t{-2},
                      std::uint32_t{0xFFFFFFFF}, 1.0),
              bytes({0x54, 0xA2, 0x33, 0x01, 7,    1, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                     0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0,    0,    0,    0,    0,    0xF0, 0x3F}));
}

// Lengths on both sides of every form's limit, through buffers smaller and larger than the text.
TEST(ArchiveEncoding, TextLengthsTakeTheShortestForm) {
    struct Case {
        std::size_t length;
        Bytes prefix;
    };
    const Case cases[] = {
        {0, bytes({0xFF, 0xFE, 0xFF, 0})},
        {254, bytes({0xFF, 0xFE, 0xFF, 0xFE})},
        {255, bytes({0xFF, 0xFE, 0xFF, 0xFF, 0xFF, 0x00})},
        {0xFFFD, bytes({0xFF, 0xFE, 0xFF, 0xFF, 0xFD, 0xFF})},
        {0xFFFE, bytes({0xFF, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE, 0xFF, 0, 0})},
        {70000, bytes({0xFF, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0x70, 0x11, 1, 0})},
    };
    for (const auto& [length, prefix] : cases) {
        std::u16string units(length, u'\xE9');
        if (length > 2)
            units[1] = 0, units[2] = 0xD800; // a zero unit and a lone surrogate are units like others
        const Bytes text = encoded(CString(units));
        ASSERT_EQ(text.size(), prefix.size() + 2 * length);
        EXPECT_EQ(Bytes(text.begin(), text.begin() + prefix.size()), prefix);
        for (const std::int32_t bufferSize : {16, 4096})
            EXPECT_EQ(decodedText(text, bufferSize), CString(units));
    }
}

TEST(ArchiveEncoding, NarrowTextsAreLatin1) {
    EXPECT_EQ(decodedText(bytes({3, 'a', 0xE9, 0})), CString(std::u16string_view(u"a\u00E9\0", 3)));
    EXPECT_EQ(decodedText(bytes({0xFF, 2, 0, 'o', 'k'})), CString(u"ok"));
    EXPECT_EQ(decodedText(bytes({0xFF, 0xFF, 0xFF, 2, 0, 0, 0, 'o', 'k'})), CString(u"ok"));
    // The 64-bit form keeps the low 32 bits of the length.
    EXPECT_EQ(
        decodedText(bytes({0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 2, 0, 0, 0, 1, 0, 0, 0, 'o', 'k'})),
        CString(u"ok"));
}

TEST(ArchiveEncoding, TextsThatCannotBeReadLeaveTheTarget) {
    const Bytes shortBodies[] = {bytes({4, 'a', 'b', 'c'}), bytes({0xFF, 0xFE, 0xFF, 2, 'a', 0, 'b'}),
                                 bytes({0xFF, 0xFF, 0xFF, 0, 0, 0, 0x40, 'a'}), bytes({0xFF, 0xFE})};
    for (const Bytes& encoded : shortBodies) {
        Reader reader(encoded);
        CString text = u"kept";
        EXPECT_EQ(causeOf([&] { reader.archive >> text; }), CArchiveException::endOfFile);
        EXPECT_EQ(text, u"kept");
    }
    Reader reader(bytes({0xFF, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0x80}));
    CString text = u"kept";
    EXPECT_THROW(reader.archive >> text, COleException) << "a length whose bytes do not fit 32 bits";
    EXPECT_EQ(text, u"kept");
}

TEST(ArchiveStream, WrongModesAndTheEndOfTheFileHaveTheirCauses) {
    std::int64_t value = 5;
    Reader reader(bytes({1, 2, 3}));
    EXPECT_EQ(causeOf([&] { reader.archive << value; }), CArchiveException::readOnly);
    EXPECT_EQ(causeOf([&] { reader.archive >> value; }), CArchiveException::endOfFile);
    EXPECT_EQ(value, 5);
    CMemFile file;
    CArchive writer(&file, CArchive::store);
    EXPECT_EQ(causeOf([&] { writer >> value; }), CArchiveException::writeOnly);
    EXPECT_EQ(causeOf([&] { writer.Read(&value, 8); }), CArchiveException::writeOnly);
    writer.Close();
    EXPECT_EQ(causeOf([&] { writer << value; }), CArchiveException::generic);
}

// Through buffers that end anywhere in a value, a text or a block.
TEST(ArchiveStream, ReadsAcrossTheEndsOfBuffersOfAnySize) {
    const CString keyword = u"TRIALICADATA", name = u"tri\u00E4l", longName(std::u16string(3000, u'\u20AC'));
    const Bytes body = encoded(keyword, std::int64_t{-2}, name, 0.1, longName, keyword, std::uint8_t{7});
    const std::array<double, 700> block = {1.5, -0.0, 3e300};
    for (std::size_t lead = 0; lead < 4200; lead += lead == 40 ? 4000 : 1) {
        Bytes stream(lead);
        stream.insert(stream.end(), body.begin(), body.end());
        const auto* values = reinterpret_cast<const std::byte*>(block.data());
        stream.insert(stream.end(), values, values + sizeof block);
        for (const std::int32_t bufferSize : {1, 16, 17, 4096, 4097}) {
            Reader reader(stream, bufferSize);
            std::uint8_t byte = 0;
            for (std::size_t k = 0; k < lead; ++k) reader.archive >> byte;
            CString texts[] = {keyword, u"another", u"", longName}; // the first and last are there already
            std::int64_t integer = 0;
            double real = 0;
            std::array<double, 700> loaded{};
            reader.archive >> texts[0] >> integer >> texts[1] >> real >> texts[2] >> texts[3] >> byte;
            EXPECT_EQ(reader.archive.Read(loaded.data(), sizeof loaded), std::int64_t{sizeof loaded});
            EXPECT_TRUE(texts[0] == keyword && texts[1] == name && texts[2] == longName &&
                        texts[3] == keyword);
            EXPECT_TRUE(integer == -2 && real == 0.1 && byte == 7);
            ASSERT_EQ(std::memcmp(loaded.data(), block.data(), sizeof block), 0)
                << lead << ", " << bufferSize;
        }
    }
}

// A flush inside a nested record stops at the file object; the outermost record's and a host's go on to the
// system.
TEST(ArchiveStream, OnlyTheOutermostFlushReachesThroughTheFile) {
    struct CountingFile : CMemFile {
        int flushes = 0;
        void Flush() override { ++flushes; }
    } file;
    CArchive archive(&file, CArchive::store);
    {
        const CArchive::Record outer(archive, "OUTER");
        EXPECT_TRUE(outer.isOutermost());
        {
            const CArchive::Record inner(archive, "INNER");
            EXPECT_FALSE(inner.isOutermost());
            archive << std::int32_t{1};
            archive.Flush();
            EXPECT_EQ(file.flushes, 0);
            EXPECT_EQ(file.GetLength(), 4);
        }
        archive.Flush();
        EXPECT_EQ(file.flushes, 1);
    }
    archive.Flush();
    EXPECT_EQ(file.flushes, 2);
}

TEST(ArchiveStream, DestructorsReportWhatTheyCannotRaiseAndDiscardWhileUnwinding) {
    icawave::ScriptedFrontEnd ui;
    struct FullFile : CMemFile {
        void Write(const void*, std::int64_t) override { AfxThrowFileException(CFileException::diskFull); }
    };
    {
        FullFile full;
        CArchive archive(&full, CArchive::store);
        archive << 1.0;
    }
    EXPECT_EQ(ui.messages, std::vector<CString>{"no space left on the disk"});
    CMemFile file;
    try {
        CArchive archive(&file, CArchive::store);
        archive << 1.0;
        throw 1;
    } catch (int) {
    }
    EXPECT_EQ(file.GetLength(), 0);
    CArchive aborted(&file, CArchive::store);
    aborted << 1.0;
    aborted.Abort();
    EXPECT_EQ(file.GetLength(), 0);
    EXPECT_EQ(ui.messages.size(), 1u);
}

// The bytes that remain justify an allocation; beyond them there are 64 MiB an archive, spent once.
TEST(ArchiveStream, CountsInAFileCannotClaimMoreThanTheFileJustifies) {
    constexpr std::int64_t mebibyte = 1 << 20;
    Reader reader(Bytes(8000));
    CArchive& archive = reader.archive;
    EXPECT_TRUE(archive.grants(1000, 8, 8) && archive.grants(1000 + 60 * mebibyte / 8, 8, 8));
    EXPECT_FALSE(archive.grants(1000 + 5 * mebibyte / 8, 8, 8));
    EXPECT_TRUE(archive.grants(1000 + 4 * mebibyte / 8, 8, 8));
    EXPECT_FALSE(archive.grants(1001, 8, 8));
    EXPECT_TRUE(archive.grants(100, 1000, 80)) << "records of 80 bytes that become objects of 1000";
    EXPECT_FALSE(archive.grants(101, 1000, 80) || archive.grants(-1, 8, 8) ||
                 archive.grants(std::numeric_limits<std::int64_t>::max(), 8, 8));
}

} // namespace
