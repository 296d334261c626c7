// SPDX-License-Identifier: BSD-3-Clause
// Files that are written: under the very name that was given, and by one writer at a time.
#include "tests/Support.h"

#include <icawave/PackageFile.h>

#include <filesystem>

using namespace icawave;

namespace {

namespace fs = std::filesystem;

class Writers : public ::testing::Test {
protected:
    const test::Folder temporary;
    const fs::path folder = temporary.path;
    const fs::path file = folder / "sample.icpkg";
    CFaceIcazq package;
};

std::string errorOf(const std::function<void()>& act) {
    try {
        act();
    } catch (const FileError& e) {
        return e.what();
    }
    return "";
}

TEST_F(Writers, OpenTheFileWithExactlyTheseBytes) {
    const std::vector<std::string> names = {"\xE9", "\xEA", "\xEF\xBF\xBD", "J\xC3\xBCrgen\xE9", "a"};
    for (const std::string& name : names) {
        package.m_pkgName = CString(shownPath(name));
        PackageFile::save(folder / name, package);
    }
    for (const std::string& name : names) {
        PackageFile opened(folder / name);
        EXPECT_EQ(opened.info().name.utf8(), shownPath(name));
        opened.replace(package);
        EXPECT_TRUE(opened.salvage(folder / (name + "2")).faults.empty());
        EXPECT_TRUE(FileState::of(folder / (name + "2")).has_value());
        CFile plain;
        ASSERT_TRUE(plain.OpenPath(folder / name, CFile::modeRead));
        EXPECT_EQ(plain.GetLength(), opened.size());
    }
    EXPECT_FALSE(FileState::of(folder / "\xEB").has_value());
    EXPECT_EQ(shownPath("J\xC3\xBCrgen\xE9\xC3"), "J\xC3\xBCrgen\\xe9\\xc3");
    EXPECT_EQ(errorOf([] { PackageFile("no\xE9"); }), "no\\xe9: No such file or directory");
}

TEST_F(Writers, RefuseATextThatSaysNoPath) {
    EXPECT_EQ(pathOf(u"J\u00FCrgen \U0001F9E0").native(), "J\xC3\xBCrgen \xF0\x9F\xA7\xA0");
    const CString none[] = {std::u16string_view(u"a\0b", 3), std::u16string(1, u'\xD800')};
    for (const CString& text : none) {
        EXPECT_NE(errorOf([&] { pathOf(text); }).find("not a path"), std::string::npos);
        CFile plain;
        EXPECT_FALSE(
            plain.Open(CString((folder / "x").native()) + text, CFile::modeCreate | CFile::modeWrite));
    }
    EXPECT_THROW(PackageFile::save(std::string("a\0b", 3), package), FileError);
    EXPECT_TRUE(fs::is_empty(folder));
}

} // namespace
