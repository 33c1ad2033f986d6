// CFile and CFileFind on a temporary directory.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "corelib/framework/File.h"
#include "corelib/framework/FileFind.h"
#include "temp_dir.h"

namespace {

void Touch(const std::string& path, const std::string& content = std::string()) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << content;
}

bool Exists(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0;
}

CString U(const std::string& utf8) {
    return CString::FromUtf8(utf8);
}

// Every entry that a search of pattern gives, by name, with whether it is a directory and a dots entry.
struct Found {
    bool directory;
    bool dots;
    std::string path;
};
std::map<std::string, Found> FindAll(const char16_t* pattern) {
    std::map<std::string, Found> found;
    CFileFind finder;
    if (!finder.FindFile(pattern)) {
        return found;
    }
    int more = 1;
    while (more) {
        more = finder.FindNextFile();
        found[finder.GetFileName().ToUtf8()] = {finder.IsDirectory() != 0, finder.IsDots() != 0,
                                                finder.GetFilePath().ToUtf8()};
    }
    return found;
}

}  // namespace

TEST(File, WriteThenReadBack) {
    TempDir dir;
    const CString path = U(dir.File("data.bin"));
    CFile out;
    ASSERT_NE(out.Open(path, CFile::modeCreate | CFile::modeWrite), 0);
    EXPECT_NE(out.IsOpen(), 0);
    EXPECT_EQ(out.GetFilePath(), path);
    out.Write("abc", 3u);
    out.Write("\0def", 4u);
    EXPECT_EQ(out.GetLength(), 7u);
    out.Close();
    EXPECT_EQ(out.IsOpen(), 0);
    out.Close();  // harmless

    CFile in;
    ASSERT_NE(in.Open(path, 0x40u), 0);
    char buffer[16] = {};
    EXPECT_EQ(in.Read(buffer, sizeof buffer), 7u);
    EXPECT_EQ(std::string(buffer, 7), std::string("abc\0def", 7));
    EXPECT_EQ(in.Read(buffer, sizeof buffer), 0u);
    in.SeekToBegin();
    EXPECT_EQ(in.Read(buffer, 2u), 2u);
    EXPECT_EQ(std::string(buffer, 2), "ab");
}

TEST(File, CreateTruncatesAnExistingFile) {
    TempDir dir;
    const std::string path = dir.File("t.txt");
    Touch(path, "0123456789");
    CFile out;
    ASSERT_NE(out.Open(U(path), 0x1001u), 0);
    out.Write("x", 1u);
    out.Close();
    CFile in;
    ASSERT_NE(in.Open(U(path), 0x40u), 0);
    EXPECT_EQ(in.GetLength(), 1u);
}

TEST(File, NoTruncateKeepsTheContents) {
    TempDir dir;
    const std::string path = dir.File("t.txt");
    Touch(path, "0123456789");
    CFile f;
    ASSERT_NE(f.Open(U(path), CFile::modeCreate | CFile::modeNoTruncate | CFile::modeReadWrite), 0);
    EXPECT_EQ(f.GetLength(), 10u);
}

TEST(File, OpenFailuresFillTheException) {
    TempDir dir;
    const struct {
        std::string path;
        unsigned int flags;
        int cause;
        int osError;
    } rows[] = {
        {dir.File("missing.txt"), 0x40u, CFileException::fileNotFound, ENOENT},
        {dir.File("no/such/dir/x.txt"), 0x1001u, CFileException::fileNotFound, ENOENT},
        {dir.Path(), 0x1001u, CFileException::generic, EISDIR},
    };
    for (const auto& row : rows) {
        CFile f;
        CFileException error;
        EXPECT_EQ(f.Open(U(row.path), row.flags, &error), 0) << row.path;
        EXPECT_EQ(f.IsOpen(), 0);
        EXPECT_EQ(error.m_cause, row.cause) << row.path;
        EXPECT_EQ(error.m_lOsError, row.osError) << row.path;
        EXPECT_EQ(error.m_strFileName, row.path);
        EXPECT_EQ(f.Open(U(row.path), row.flags), 0);  // without an exception object
    }
}

TEST(File, NonAsciiPath) {
    TempDir dir;
    const std::string name = "r\xC3\xA9sum\xC3\xA9 \xE2\x82\xAC.txt";
    CFile out;
    ASSERT_NE(out.Open(U(dir.File(name)), 0x1001u), 0);
    out.Close();
    EXPECT_TRUE(Exists(dir.File(name)));
}

TEST(File, ReadAndWriteOnAClosedFileThrow) {
    CFile f;
    char c = 0;
    EXPECT_THROW(f.Write("x", 1u), CFileException);
    EXPECT_THROW(f.Read(&c, 1u), CFileException);
    EXPECT_EQ(f.GetLength(), 0u);
}

TEST(File, WriteOnAReadOnlyHandleThrows) {
    TempDir dir;
    const std::string path = dir.File("r.txt");
    Touch(path);
    CFile f;
    ASSERT_NE(f.Open(U(path), 0x40u), 0);
    EXPECT_THROW(f.Write("x", 1u), CFileException);
}

TEST(FileFind, WildcardTable) {
    const struct {
        const char16_t* pattern;
        const char16_t* name;
        bool match;
    } rows[] = {
        {u"*", u"", true},
        {u"*", u"anything.txt", true},
        {u"*", u".", true},
        {u"*.twp", u"netinfo.twp", true},
        {u"*.twp", u"netinfo.twpx", false},
        {u"*.twp", u"twp", false},
        {u"*.twp", u".twp", true},
        {u"Report_*.html", u"Report_1-1-2024_0-0-0.html", true},
        {u"Report_*.html", u"Report_.html", true},
        {u"Report_*.html", u"Report_1.htm", false},
        {u"Report_*.html", u"report_1.html", false},  // exact case, as the file system
        {u"?", u"a", true},
        {u"?", u"", false},
        {u"?", u"ab", false},
        {u"a?c", u"abc", true},
        {u"a*b*c", u"aXbYbZc", true},
        {u"a*b*c", u"aXbYbZ", false},
        {u"**", u"x", true},
        {u"*a", u"aaa", true},
        {u"", u"", true},
        {u"", u"x", false},
        {u"\u00e9*", u"\u00e9t\u00e9", true},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(CFileFind::MatchWildcard(row.pattern, row.name), row.match)
            << CString(row.pattern) << " vs " << CString(row.name);
    }
}

TEST(FileFind, FindsReportsAndKeepsOtherFiles) {
    TempDir dir;
    for (const char* name : {"Report_1-1-2024_0-0-0.html", "Report_x.html", "Notes.html", "Report_1.htm"}) {
        Touch(dir.File(name), "x");
    }
    ::mkdir(dir.File("Report_dir.html").c_str(), 0755);

    const auto found = FindAll(U(dir.Path() + "/Report_*.html"));
    ASSERT_EQ(found.size(), 3u);
    EXPECT_FALSE(found.at("Report_1-1-2024_0-0-0.html").directory);
    EXPECT_FALSE(found.at("Report_x.html").directory);
    EXPECT_TRUE(found.at("Report_dir.html").directory);
    EXPECT_EQ(found.at("Report_x.html").path, dir.File("Report_x.html"));
}

TEST(FileFind, DotsAndDirectoriesAreFlagged) {
    TempDir dir;
    Touch(dir.File("file.txt"), "12345");
    Touch(dir.File(".hidden"));
    ::mkdir(dir.File("sub").c_str(), 0755);

    const auto found = FindAll(U(dir.Path() + "/*"));
    ASSERT_EQ(found.size(), 5u);
    EXPECT_TRUE(found.at(".").dots);
    EXPECT_TRUE(found.at(".").directory);
    EXPECT_TRUE(found.at("..").dots);
    EXPECT_TRUE(found.at("sub").directory);
    EXPECT_FALSE(found.at("sub").dots);
    EXPECT_FALSE(found.at("file.txt").directory);
    EXPECT_FALSE(found.at(".hidden").dots);

    CFileFind finder;
    ASSERT_NE(finder.FindFile(U(dir.Path() + "/file.*")), 0);
    EXPECT_EQ(finder.FindNextFile(), 0);  // the only match: no more follow
    EXPECT_EQ(finder.GetFileName().ToUtf8(), "file.txt");
    EXPECT_EQ(finder.GetFileTitle().ToUtf8(), "file");
    EXPECT_EQ(finder.GetLength(), 5u);
    EXPECT_NE(finder.MatchesMask(CFileFind::FILE_ATTRIBUTE_NORMAL), 0);
    EXPECT_EQ(finder.MatchesMask(CFileFind::FILE_ATTRIBUTE_DIRECTORY), 0);
    EXPECT_EQ(finder.FindNextFile(), 0);  // past the end: nothing is current
    EXPECT_TRUE(finder.GetFileName().IsEmpty());

    ASSERT_NE(finder.FindFile(U(dir.Path() + "/.hidden")), 0);
    finder.FindNextFile();
    EXPECT_NE(finder.MatchesMask(CFileFind::FILE_ATTRIBUTE_HIDDEN), 0);
    EXPECT_EQ(finder.GetFileTitle().ToUtf8(), ".hidden");
    finder.Close();
    EXPECT_TRUE(finder.GetFileName().IsEmpty());
}

TEST(FileFind, NothingFound) {
    TempDir dir;
    Touch(dir.File("a.txt"));
    CFileFind finder;
    EXPECT_EQ(finder.FindFile(U(dir.Path() + "/*.twp")), 0);
    EXPECT_EQ(finder.FindFile(U(dir.Path() + "/missing/*")), 0);
    EXPECT_EQ(finder.FindNextFile(), 0);
    EXPECT_TRUE(finder.GetFilePath().IsEmpty());
    EXPECT_EQ(finder.IsDots(), 0);
}

TEST(FileFind, DeletingWhileWalkingRemovesEveryMatch) {
    // The walk of a report clean-up: delete the current file, go on while more follow.
    for (const int count : {1, 2, 5}) {
        TempDir dir;
        for (int i = 0; i < count; ++i) {
            Touch(dir.File("Report_" + std::to_string(i) + ".html"));
        }
        Touch(dir.File("Keep.html"));
        CFileFind finder;
        ASSERT_NE(finder.FindFile(U(dir.Path() + "/Report_*.html")), 0);
        int deleted = 0;
        int more = 1;
        while (more) {
            more = finder.FindNextFile();
            if (::unlink(finder.GetFilePath().ToUtf8().c_str()) == 0) {
                ++deleted;
            }
        }
        EXPECT_EQ(deleted, count);
        EXPECT_TRUE(Exists(dir.File("Keep.html")));
        EXPECT_EQ(FindAll(U(dir.Path() + "/Report_*.html")).size(), 0u);
    }
}

TEST(FileFind, RelativePatternGivesRelativePaths) {
    TempDir dir;
    Touch(dir.File("one.twp"));
    char cwd[4096];
    ASSERT_NE(::getcwd(cwd, sizeof cwd), nullptr);
    ASSERT_EQ(::chdir(dir.Path().c_str()), 0);
    const auto found = FindAll(u"*.twp");
    const auto all = FindAll(nullptr);  // null pattern: "*"
    ASSERT_EQ(::chdir(cwd), 0);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found.at("one.twp").path, "one.twp");
    EXPECT_EQ(all.count("one.twp"), 1u);
}
