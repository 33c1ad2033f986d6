// CUtility: directories, UTF-16 <-> UTF-8, IsNumber.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <utility>

#include "corelib/Utility.h"

namespace {

// The directory of the mapped libtw_corelib.so, links resolved, with a trailing "/".
std::string CorelibDirFromMaps() {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        const std::size_t path = line.find('/');
        if (path != std::string::npos && line.find("/libtw_corelib.so", path) != std::string::npos) {
            return std::filesystem::canonical(line.substr(path)).parent_path().string() + "/";
        }
    }
    return std::string();
}

}  // namespace

TEST(Utility, IsNumberTable) {
    const std::pair<const char16_t*, int> rows[] = {
        {u"0", 1}, {u"-7", 1}, {u"+7", 1}, {u"007", 1}, {u"-0.25", 1}, {u"123456789012345678901234567890", 1},
        {u"", 0}, {u"-", 0}, {u".", 0}, {u"1.", 0}, {u".5", 0}, {u"1.2.3", 0}, {u" 1", 0}, {u"1 ", 0},
        {u"1e3", 0}, {u"--1", 0}, {u"12a", 0}, {u"\u0661", 0},  // only ASCII digits count
    };
    for (const auto& [text, number] : rows) {
        EXPECT_EQ(CUtility::IsNumber(text), number) << CString(text);
    }
}

TEST(Utility, Utf16ToUtf8ReplacesUnpairedSurrogates) {
    const std::pair<std::u16string, std::string> rows[] = {
        {u"a\u00e9\u20ac\uffff", "a\xC3\xA9\xE2\x82\xAC\xEF\xBF\xBF"},
        {u"\U0001F600\U0010FFFF", "\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF"},
        {std::u16string(1, char16_t(0xD800)), "\xEF\xBF\xBD"},
        {std::u16string{char16_t(0xD83D), u'x'}, "\xEF\xBF\xBDx"},
        {std::u16string{u'x', char16_t(0xDE00)}, "x\xEF\xBF\xBD"},
        {std::u16string{char16_t(0xDE00), char16_t(0xD83D)}, "\xEF\xBF\xBD\xEF\xBF\xBD"},  // reversed pair
        {std::u16string{char16_t(0xD83D), char16_t(0xD83D), char16_t(0xDE00)}, "\xEF\xBF\xBD\xF0\x9F\x98\x80"},
    };
    for (const auto& [text, utf8] : rows) {
        SCOPED_TRACE(::testing::PrintToString(utf8));
        EXPECT_EQ(CUtility::UTF16toUTF8(CString(text)), utf8);
        if (utf8.find("\xEF\xBF\xBD") == std::string::npos) {
            EXPECT_EQ(CUtility::UTF8toUTF16(utf8), CString(text));
        }
    }
    EXPECT_EQ(CUtility::UTF8toUTF16("a\xFFz"), CString(u"a\uFFFDz"));
}

TEST(Utility, DirectoriesDefaultBesideTheLibraryAndEndInASlash) {
    const std::string library = CorelibDirFromMaps();
    ASSERT_FALSE(library.empty()) << "libtw_corelib is not in /proc/self/maps";
    const CString exe = CUtility::GetExecutableDir();
    ASSERT_FALSE(exe.IsEmpty());
    EXPECT_EQ(exe[exe.GetLength() - 1], u'/');
    EXPECT_EQ(CUtility::UTF16toUTF8(CUtility::GetPluginDir()), library + "tw_varlib/plugins/");
    EXPECT_EQ(CUtility::UTF16toUTF8(CUtility::GetWebDir()), library + "tw_varlib/web/");

    const std::pair<const char16_t*, const char16_t*> rows[] = {
        {u"/opt/tw/p", u"/opt/tw/p/"}, {u"/opt/tw/p/", u"/opt/tw/p/"}, {u"/", u"/"}, {u"w\u00e9b", u"w\u00e9b/"}};
    for (const auto& [given, handedOut] : rows) {
        CUtility::SetPluginDir(given);
        EXPECT_EQ(CUtility::GetPluginDir(), CString(handedOut));
    }
    CUtility::SetWebDir(u"/w");
    CUtility::SetPluginDir(CString());  // back to the default; the web directory is a setting of its own
    EXPECT_EQ(CUtility::UTF16toUTF8(CUtility::GetPluginDir()), library + "tw_varlib/plugins/");
    EXPECT_EQ(CUtility::GetWebDir(), CString(u"/w/"));
    CUtility::SetWebDir(CString());
}
