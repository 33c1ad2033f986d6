// CUtility: directories, UTF-16 to UTF-8, IsNumber; CTWMQMessageRegistry names.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "corelib/TWMQMessageRegistry.h"
#include "corelib/Utility.h"

namespace {

std::string Hex(const std::string& bytes) {
    static const char digits[] = "0123456789ABCDEF";
    std::string out;
    for (const unsigned char c : bytes) {
        if (!out.empty()) {
            out += ' ';
        }
        out += digits[c >> 4];
        out += digits[c & 0xF];
    }
    return out;
}

// The directory of the mapped tw_corelib file, as the kernel names it (links
// resolved), with a trailing "/"; empty if it is not mapped.
std::string CorelibDirFromMaps() {
    std::ifstream maps("/proc/self/maps");
    std::string line;
    while (std::getline(maps, line)) {
        const std::size_t path = line.find('/');
        if (path != std::string::npos && line.find("/libtw_corelib.so", path) != std::string::npos) {
            const std::string file = line.substr(path);
            return std::filesystem::canonical(file).parent_path().string() + "/";
        }
    }
    return std::string();
}

// Restores both directories to their defaults at the end of a test.
struct DirectoryGuard {
    ~DirectoryGuard() {
        CUtility::SetPluginDir(CString());
        CUtility::SetWebDir(CString());
    }
};

}  // namespace

TEST(Utility, IsNumberTable) {
    const struct {
        const char16_t* text;
        int number;
    } rows[] = {
        {u"0", 1}, {u"12", 1}, {u"-7", 1}, {u"+7", 1}, {u"007", 1}, {u"2.5", 1}, {u"-0.25", 1},
        {u"+0.5", 1}, {u"123456789012345678901234567890", 1},
        {u"", 0}, {u"-", 0}, {u"+", 0}, {u".", 0}, {u"1.", 0}, {u".5", 0}, {u"1.2.3", 0}, {u" 1", 0},
        {u"1 ", 0}, {u"1e3", 0}, {u"0x10", 0}, {u"1,000", 0}, {u"--1", 0}, {u"abc", 0}, {u"12a", 0},
        {u"\u0661", 0},  // ARABIC-INDIC DIGIT ONE: only ASCII digits count
    };
    for (const auto& row : rows) {
        EXPECT_EQ(CUtility::IsNumber(row.text), row.number) << CString(row.text);
    }
}

TEST(Utility, Utf16ToUtf8Table) {
    const struct {
        std::u16string text;
        std::string utf8;
    } rows[] = {
        {u"", ""},
        {u"abc", "abc"},
        {u"\u00e9", "\xC3\xA9"},
        {u"\u20ac", "\xE2\x82\xAC"},
        {u"\uffff", "\xEF\xBF\xBF"},
        {u"\U0001F600", "\xF0\x9F\x98\x80"},
        {u"\U0010FFFF", "\xF4\x8F\xBF\xBF"},
        // Unpaired surrogates become U+FFFD.
        {std::u16string(1, char16_t(0xD800)), "\xEF\xBF\xBD"},
        {std::u16string(1, char16_t(0xDC00)), "\xEF\xBF\xBD"},
        {std::u16string{char16_t(0xD83D), u'x'}, "\xEF\xBF\xBDx"},
        {std::u16string{u'x', char16_t(0xDE00)}, "x\xEF\xBF\xBD"},
        {std::u16string{char16_t(0xDE00), char16_t(0xD83D)}, "\xEF\xBF\xBD\xEF\xBF\xBD"},  // reversed pair
        {std::u16string{char16_t(0xD83D), char16_t(0xD83D), char16_t(0xDE00)}, "\xEF\xBF\xBD\xF0\x9F\x98\x80"},
    };
    for (const auto& row : rows) {
        const std::string utf8 = CUtility::UTF16toUTF8(CString(row.text));
        EXPECT_EQ(Hex(utf8), Hex(row.utf8));
        EXPECT_EQ(utf8.size(), row.utf8.size());  // the length counts bytes
    }
}

TEST(Utility, Utf8ToUtf16) {
    EXPECT_EQ(CUtility::UTF8toUTF16("\xC3\xA9\xF0\x9F\x98\x80"), CString(u"\u00e9\U0001F600"));
    EXPECT_EQ(CUtility::UTF8toUTF16("a\xFFz"), CString(u"a\uFFFDz"));
}

TEST(Utility, DefaultDirectoriesAreBesideTheLibrary) {
    DirectoryGuard guard;
    const CString exe = CUtility::GetExecutableDir();
    ASSERT_FALSE(exe.IsEmpty());
    EXPECT_EQ(exe[exe.GetLength() - 1], u'/');
    const std::string library = CorelibDirFromMaps();
    ASSERT_FALSE(library.empty()) << "libtw_corelib is not in /proc/self/maps";
    EXPECT_EQ(CUtility::UTF16toUTF8(CUtility::GetPluginDir()), library + "tw_varlib/plugins/");
    EXPECT_EQ(CUtility::UTF16toUTF8(CUtility::GetWebDir()), library + "tw_varlib/web/");
}

TEST(Utility, SetDirectoriesAddsTheTrailingSlash) {
    DirectoryGuard guard;
    const struct {
        const char16_t* given;
        const char16_t* handedOut;
    } rows[] = {
        {u"/opt/tw/plugins", u"/opt/tw/plugins/"},
        {u"/opt/tw/plugins/", u"/opt/tw/plugins/"},
        {u"relative", u"relative/"},
        {u"/", u"/"},
        {u"/srv/w\u00e9b", u"/srv/w\u00e9b/"},
    };
    for (const auto& row : rows) {
        CUtility::SetPluginDir(row.given);
        CUtility::SetWebDir(row.given);
        EXPECT_EQ(CUtility::GetPluginDir(), CString(row.handedOut));
        EXPECT_EQ(CUtility::GetWebDir(), CString(row.handedOut));
    }
    // The two are separate settings, and an empty text restores the default.
    CUtility::SetPluginDir(u"/p");
    CUtility::SetWebDir(u"/w");
    EXPECT_EQ(CUtility::GetPluginDir(), CString(u"/p/"));
    EXPECT_EQ(CUtility::GetWebDir(), CString(u"/w/"));
    CUtility::SetPluginDir(CString());
    EXPECT_EQ(CUtility::UTF16toUTF8(CUtility::GetPluginDir()), CorelibDirFromMaps() + "tw_varlib/plugins/");
    EXPECT_EQ(CUtility::GetWebDir(), CString(u"/w/"));
}

TEST(MessageRegistry, AttributeNames) {
    EXPECT_EQ(CTWMQMessageRegistry::ATTR_NAME, CString(u"Name"));
    EXPECT_EQ(CTWMQMessageRegistry::ATTR_URL, CString(u"URL"));
    EXPECT_EQ(CTWMQMessageRegistry::ATTR_STATUS, CString(u"Status"));
}
