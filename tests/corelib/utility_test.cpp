// CUtility: directories, IsNumber, UTF-16 <-> UTF-8.
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

// IsNumber; the UTF-16 <-> UTF-8 pair is CString's (its own tests hold the table).
TEST(Utility, IsNumberTableAndTextConversions) {
    const std::pair<const char16_t*, int> rows[] = {
        {u"0", 1}, {u"-7", 1}, {u"+7", 1}, {u"007", 1}, {u"-0.25", 1}, {u"123456789012345678901234567890", 1},
        {u"", 0}, {u"-", 0}, {u".", 0}, {u"1.", 0}, {u".5", 0}, {u"1.2.3", 0}, {u" 1", 0}, {u"1 ", 0},
        {u"1e3", 0}, {u"--1", 0}, {u"12a", 0}, {u"\u0661", 0},  // only ASCII digits count
    };
    for (const auto& [text, number] : rows)
        EXPECT_EQ(CUtility::IsNumber(text), number) << CString(text);
    EXPECT_EQ(CUtility::UTF16toUTF8(CString(std::u16string{u'\u00e9', char16_t(0xD800)})), "\xC3\xA9\xEF\xBF\xBD");
    EXPECT_EQ(CUtility::UTF8toUTF16("a\xFFz\xC3\xA9"), CString(u"a\uFFFDz\u00e9"));
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
