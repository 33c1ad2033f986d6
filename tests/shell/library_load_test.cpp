// tw_varlib loaded and unloaded by a program that doesn't link it, with no
// call in between: loading opens no file, starts no thread and loads no
// plug-in, and unloading leaves none of them behind, nor the libraries.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

namespace fs = std::filesystem;

namespace {

// Each open descriptor and what it refers to (the listing's own included, the same each time).
std::map<std::string, std::string> OpenFiles() {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code ignored;
        files[entry.path().filename().string()] = fs::read_symlink(entry.path(), ignored).string();
    }
    return files;
}

long Threads() { return std::distance(fs::directory_iterator("/proc/self/task"), fs::directory_iterator()); }

// The lines of /proc/self/maps that hold part.
std::string Mapped(const std::string& part) {
    std::ifstream maps("/proc/self/maps");
    std::string found;
    for (std::string line; std::getline(maps, line);)
        if (line.find(part) != std::string::npos)
            found += line + "\n";
    return found;
}

TEST(LibraryShell, LoadAndUnloadLeaveNoFileThreadOrPlugin) {
    ASSERT_EQ(Mapped("libtw_varlib"), "") << "this program must not link the library";
    const auto files = OpenFiles();
    const long threads = Threads();
    void* library = dlopen(TW_VARLIB_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    EXPECT_NE(Mapped("libtw_varlib"), "");
    EXPECT_EQ(Threads(), threads) << "loading started a thread";
    EXPECT_EQ(OpenFiles(), files) << "loading left a file open";
    ASSERT_EQ(dlclose(library), 0) << dlerror();
    EXPECT_EQ(Mapped(".twp"), "");
    EXPECT_EQ(Mapped("libtw_"), "") << "a library stayed in memory: its statics were not destroyed";
    EXPECT_EQ(Threads(), threads);
    EXPECT_EQ(OpenFiles(), files);
}

}  // namespace
