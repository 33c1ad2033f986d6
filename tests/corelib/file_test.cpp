// CFile and CFileFind on a temporary directory.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <map>
#include <string>
#include <tuple>

#include "corelib/framework/File.h"
#include "corelib/framework/FileFind.h"
#include "temp_dir.h"

namespace {

CString U(const std::string& utf8) { return CString::FromUtf8(utf8); }

using Found = std::map<std::string, std::string>;

// Each entry a search gives: its path, and its attributes in hex with "dir" and "dots" as the finder says.
Found FindAll(const char16_t* pattern) {
    Found found;
    CFileFind finder;
    for (int more = finder.FindFile(pattern); more;) {
        more = finder.FindNextFile();
        char attributes[16];
        std::snprintf(attributes, sizeof attributes, "%x", finder.GetAttributes());
        found[finder.GetFilePath().ToUtf8()] =
            attributes + std::string(finder.IsDirectory() ? " dir" : "") + (finder.IsDots() ? " dots" : "");
    }
    return found;
}

}  // namespace

TEST(File, WriteTruncateAndReadBack) {
    TempDir dir;
    const CString path = U(dir.File("r\xC3\xA9sum\xC3\xA9 \xE2\x82\xAC.bin"));
    WriteBytes(path.ToUtf8(), "0123456789");
    {
        CFile keep;
        ASSERT_NE(keep.Open(path, CFile::modeCreate | CFile::modeNoTruncate | CFile::modeReadWrite), 0);
        EXPECT_EQ(keep.GetLength(), 10u);
    }

    CFile out;
    ASSERT_NE(out.Open(path, CFile::modeCreate | CFile::modeWrite), 0);
    out.Write("abc", 3u);
    out.Write("\0def", 4u);
    EXPECT_EQ(out.GetLength(), 7u);
    out.Close();

    CFile in;
    ASSERT_NE(in.Open(path, 0x40u), 0);
    char buffer[16] = {};
    EXPECT_EQ(std::string(buffer, in.Read(buffer, sizeof buffer)), std::string("abc\0def", 7));
    EXPECT_EQ(in.Read(buffer, sizeof buffer), 0u);
    in.SeekToBegin();
    EXPECT_EQ(std::string(buffer, in.Read(buffer, 2u)), "ab");
    EXPECT_THROW(in.Write("x", 1u), CFileException);  // open for reading only
    in.Close();
    EXPECT_THROW(in.Read(buffer, 1u), CFileException);
    EXPECT_THROW(in.Write("x", 1u), CFileException);
}

TEST(File, OpenFailuresFillTheException) {
    TempDir dir;
    const std::tuple<std::string, unsigned int, int, int> rows[] = {  // path, flags, cause, OS error
        {dir.File("missing.txt"), 0x40u, CFileException::fileNotFound, ENOENT},
        {dir.File("no/such/dir/x.txt"), 0x1001u, CFileException::fileNotFound, ENOENT},
        {dir.Path(), 0x1001u, CFileException::generic, EISDIR},
    };
    for (const auto& [path, flags, cause, osError] : rows) {
        SCOPED_TRACE(path);
        CFile f;
        CFileException error;
        EXPECT_EQ(f.Open(U(path), flags, &error), 0);
        EXPECT_EQ(f.IsOpen(), 0);
        EXPECT_EQ(error.m_cause, cause);
        EXPECT_EQ(error.m_lOsError, osError);
        EXPECT_EQ(error.m_strFileName, path);
        EXPECT_EQ(f.Open(U(path), flags), 0);  // without an exception object
    }
}

TEST(FileFind, WildcardTable) {
    const std::tuple<const char16_t*, const char16_t*, bool> rows[] = {
        {u"*", u"", true}, {u"*.twp", u"netinfo.twp", true}, {u"*.twp", u"netinfo.twpx", false},
        {u"*.twp", u"twp", false}, {u"*.twp", u".twp", true}, {u"Report_*.html", u"Report_.html", true},
        {u"Report_*.html", u"report_1.html", false}, {u"?", u"", false}, {u"?", u"ab", false},
        {u"a?c", u"abc", true}, {u"a*b*c", u"aXbYbZc", true}, {u"a*b*c", u"aXbYbZ", false},
        {u"*a", u"aaa", true}, {u"", u"x", false}, {u"\u00e9*", u"\u00e9t\u00e9", true},
    };
    for (const auto& [pattern, name, match] : rows)
        EXPECT_EQ(CFileFind::MatchWildcard(pattern, name), match) << CString(pattern) << " vs " << CString(name);
}

TEST(FileFind, ListsMatchesWithAttributesAndDots) {
    TempDir dir;
    const std::string p = dir.Path() + "/";
    for (const char* name : {"Report_1-1-2024_0-0-0.html", "Report_1.htm", ".hidden", "ro"})
        WriteBytes(p + name, "12345");
    ::chmod((p + "ro").c_str(), 0444);
    ::mkdir((p + "Report_dir.html").c_str(), 0755);
    EXPECT_EQ(FindAll(U(p + "Report_*.html")), (Found{{p + "Report_1-1-2024_0-0-0.html", "80"},
                                                       {p + "Report_dir.html", "10 dir"}}));
    EXPECT_EQ(FindAll(U(p + "*")), (Found{{p + ".", "10 dir dots"}, {p + "..", "10 dir dots"},
                                          {p + ".hidden", "2"}, {p + "ro", "1"}, {p + "Report_1.htm", "80"},
                                          {p + "Report_1-1-2024_0-0-0.html", "80"}, {p + "Report_dir.html", "10 dir"}}));
    EXPECT_TRUE(FindAll(U(p + "*.twp")).empty());
    EXPECT_TRUE(FindAll(U(p + "missing/*")).empty());

    CFileFind finder;
    ASSERT_NE(finder.FindFile(U(p + "Report_1.*")), 0);
    EXPECT_EQ(finder.FindNextFile(), 0);  // the only match: no more follow
    EXPECT_EQ(finder.GetFileName().ToUtf8() + "|" + finder.GetFileTitle().ToUtf8(), "Report_1.htm|Report_1");
    EXPECT_EQ(finder.GetLength(), 5u);
    EXPECT_EQ(finder.FindNextFile(), 0);  // past the end: nothing is current
    EXPECT_TRUE(finder.GetFileName().IsEmpty());
    ASSERT_NE(finder.FindFile(U(p + ".hidden")), 0);
    finder.FindNextFile();
    EXPECT_EQ(finder.GetFileTitle().ToUtf8(), ".hidden");
    finder.Close();
    EXPECT_TRUE(finder.GetFilePath().IsEmpty());
}

TEST(FileFind, DeletingWhileWalkingRemovesEveryMatch) {
    for (const int count : {1, 3}) {
        TempDir dir;
        for (int i = 0; i < count; ++i)
            WriteBytes(dir.File("Report_" + std::to_string(i) + ".html"), "");
        WriteBytes(dir.File("Keep.html"), "");
        CFileFind finder;
        int deleted = 0;
        for (int more = finder.FindFile(U(dir.Path() + "/Report_*.html")); more;) {
            more = finder.FindNextFile();
            deleted += ::unlink(finder.GetFilePath().ToUtf8().c_str()) == 0;
        }
        EXPECT_EQ(deleted, count);
        EXPECT_EQ(FindAll(U(dir.Path() + "/*.html")).size(), 1u);
    }
}

TEST(FileFind, RelativePatternGivesRelativePaths) {
    TempDir dir;
    WriteBytes(dir.File("one.twp"), "");
    const std::filesystem::path cwd = std::filesystem::current_path();
    std::filesystem::current_path(dir.Path());
    const auto found = FindAll(u"*.twp");
    const auto all = FindAll(nullptr);  // null pattern: "*"
    std::filesystem::current_path(cwd);
    EXPECT_EQ(found, (Found{{"one.twp", "80"}}));
    EXPECT_EQ(all.count("one.twp"), 1u);
}
