#include "host/CacheCommands.h"

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include <CLI/CLI.hpp>

#include "corelib/Utility.h"
#include "corelib/framework/Exception.h"
#include "corelib/framework/SingleLock.h"
#include "host/ExitCode.h"
#include "host/ResultPrinter.h"
#include "varlib/cache/MemoryCache.h"
#include "varlib/formats/JSON.h"

namespace fs = std::filesystem;

namespace {

std::string Utf8(const CString& text) { return CUtility::UTF16toUTF8(text); }
CString Wide(const std::string& text) { return CUtility::UTF8toUTF16(text); }

// A key as people read it: in double quotes, JSON-escaped, so that an empty
// key or one with blanks or line breaks stands out.
std::string Quoted(const CString& key) {
    CString text(key);
    CVariable::NormalizeJsonString(text);
    return "\"" + Utf8(text) + "\"";
}

// The cache of one file. A cache object of the command's own rather than the
// process-wide instance, which also lets the command list the keys.
class CCacheFile : public CMemoryCache {
public:
    CCacheFile() = default;

    // The keys, sorted.
    std::vector<CString> GetKeys() {
        CSingleLock lock(&m_lock, 1);
        std::vector<CString> keys;
        for (const auto* pair = m_entries.PGetFirstAssoc(); pair != nullptr; pair = m_entries.PGetNextAssoc(pair))
            keys.push_back(pair->key);
        std::sort(keys.begin(), keys.end());
        return keys;
    }
};

struct CacheOptions {
    std::string strFile;
    std::string strKey;
    std::string strValue;   // find: the text to look for; put: the JSON
    std::string strIndex;   // put --index
};

// Reads the file into cache. A missing file is an empty cache when
// bMayBeMissing, and an error otherwise.
bool ReadCacheFile(CCacheFile& cache, const std::string& file, bool bMayBeMissing) {
    std::error_code error;
    const fs::file_status status = fs::status(file, error);
    if (!fs::exists(status)) {
        if (bMayBeMissing)
            return true;
        std::cerr << "twhost: no cache file " << file << '\n';
        return false;
    }
    if (!fs::is_regular_file(status)) {
        std::cerr << "twhost: " << file << " is not a file\n";
        return false;
    }
    if (!cache.Load(Wide(file))) {
        std::cerr << "twhost: cannot read " << file << ": not a cache file (an XML document with the root "
                  << Utf8(CMemoryCache::TAG_NAME) << ") or not readable\n";
        return false;
    }
    return true;
}

// The file a path names through its symbolic links, the last one dangling
// or not: writing there keeps every link a link. Stops after 40 links (the
// kernel's own limit), at the path reached.
fs::path FollowLinks(fs::path path) {
    std::error_code error;
    for (int hops = 0; hops < 40 && fs::is_symlink(fs::symlink_status(path, error)); ++hops) {
        const fs::path next = fs::read_symlink(path, error);
        if (error)
            break;
        path = next.is_absolute() ? next : path.parent_path() / next;
    }
    return path;
}

// The temporary file being written, removed if SIGINT or SIGTERM ends the
// program before it is renamed: a cache file may run to gigabytes. Set and
// cleared around the write; the handler then ends the program as the signal
// would have.
char g_temporaryFile[4096];

extern "C" void RemoveTemporaryAndDie(int signal) {
    if (g_temporaryFile[0] != '\0')
        unlink(g_temporaryFile);
    ::signal(signal, SIG_DFL);
    raise(signal);
}

class TemporaryFileGuard {
public:
    explicit TemporaryFileGuard(const std::string& path) {
        if (path.size() < sizeof g_temporaryFile)
            std::memcpy(g_temporaryFile, path.c_str(), path.size() + 1);
        struct sigaction action {};
        action.sa_handler = RemoveTemporaryAndDie;
        sigemptyset(&action.sa_mask);
        sigaction(SIGINT, &action, &m_oldInt);
        sigaction(SIGTERM, &action, &m_oldTerm);
    }
    ~TemporaryFileGuard() {
        sigaction(SIGINT, &m_oldInt, nullptr);
        sigaction(SIGTERM, &m_oldTerm, nullptr);
        g_temporaryFile[0] = '\0';
    }
    TemporaryFileGuard(const TemporaryFileGuard&) = delete;
    TemporaryFileGuard& operator=(const TemporaryFileGuard&) = delete;

private:
    struct sigaction m_oldInt {}, m_oldTerm {};
};

// Saves cache into a new file beside the target, flushes it to the disk and
// renames it over the target: the target is the old file or the new one at
// every moment. Symbolic links are followed to the file they name, even one
// that does not exist yet, so a link stays a link. The new file takes the old
// one's permissions, or those of a new file under the umask.
bool WriteCacheFile(CCacheFile& cache, const std::string& file) {
    const fs::path target = FollowLinks(fs::path(file));
    const fs::path directory = target.has_parent_path() ? target.parent_path() : fs::path(".");
    std::string temp = (directory / ("." + target.filename().string() + ".XXXXXX")).string();
    // Blocked until the guard stands, so that no signal finds the file unguarded.
    sigset_t stopping, before;
    sigemptyset(&stopping);
    sigaddset(&stopping, SIGINT);
    sigaddset(&stopping, SIGTERM);
    sigprocmask(SIG_BLOCK, &stopping, &before);
    const int fd = mkstemp(temp.data());
    std::unique_ptr<TemporaryFileGuard> guard;
    if (fd >= 0)
        guard = std::make_unique<TemporaryFileGuard>(temp);
    sigprocmask(SIG_SETMASK, &before, nullptr);
    if (fd < 0) {
        std::cerr << "twhost: cannot write beside " << file << ": " << std::strerror(errno) << '\n';
        return false;
    }
    struct stat old {};
    mode_t mode = 0;
    if (stat(target.c_str(), &old) == 0) {
        mode = old.st_mode & 07777;
    } else {
        const mode_t mask = umask(0);
        umask(mask);
        mode = 0666 & ~mask;
    }
    const bool prepared = fchmod(fd, mode) == 0;
    close(fd);
    bool written = prepared && cache.Save(Wide(temp)) != 0;
    if (written) {
        const int sync = open(temp.c_str(), O_RDONLY | O_CLOEXEC);
        written = sync >= 0 && fsync(sync) == 0;
        if (sync >= 0)
            close(sync);
    }
    if (!written || std::rename(temp.c_str(), target.c_str()) != 0) {
        std::cerr << "twhost: cannot write " << file << ": " << std::strerror(errno) << '\n';
        unlink(temp.c_str());
        return false;
    }
    return true;
}

// The value's text, lines after the first indented under the key.
std::string ValueText(const CVariable& value) {
    std::string text;
    try {
        text = Utf8(value.ToString(0));
    } catch (const CException& e) {
        return std::string("(no text: ") + e.what() + ")";
    }
    std::string out;
    for (char c : text) {
        if (c == '\r')
            continue;
        out += c;
        if (c == '\n')
            out += "    ";
    }
    while (!out.empty() && (out.back() == ' ' || out.back() == '\n'))
        out.pop_back();
    return out;
}

int Show(const CacheOptions& options) {
    CCacheFile cache;
    if (!ReadCacheFile(cache, options.strFile, false))
        return EXIT_FAILED;
    const std::vector<CString> keys = cache.GetKeys();
    if (keys.empty())
        std::cout << "The cache file holds no entries.\n";
    for (const CString& key : keys) {
        const CVariable* value = cache.Lookup(key);
        std::cout << Quoted(key) << ": ";
        if (value == nullptr) {
            std::cout << "(no value)\n";
            continue;
        }
        std::cout << Utf8(CVariable::GetTypeInfo(value->GetType()));
        if (value->IsArray()) {
            std::cout << " of " << value->m_arrayValue.GetCount() << " elements\n    ";
        } else {
            std::cout << ' ';
        }
        std::cout << ValueText(*value) << '\n';
    }
    return EXIT_OK;
}

// True when the file holds the key; otherwise false with a message.
bool HasKey(CCacheFile& cache, const CString& key, const std::string& strFile) {
    const std::vector<CString> keys = cache.GetKeys();
    if (std::ranges::find(keys, key) != keys.end())
        return true;
    std::cerr << "twhost: no key " << Quoted(key) << " in " << strFile << '\n';
    return false;
}

// The entry's value, or null with a message: for a key that is not there,
// or an entry without value (the file may hold one).
const CVariable* FindValue(CCacheFile& cache, const CacheOptions& options) {
    const CString key = Wide(options.strKey);
    const CVariable* value = cache.Lookup(key);
    if (value != nullptr)
        return value;
    if (HasKey(cache, key, options.strFile))
        std::cerr << "twhost: the entry " << Quoted(key) << " has no value\n";
    return nullptr;
}

int Get(const CacheOptions& options) {
    CCacheFile cache;
    if (!ReadCacheFile(cache, options.strFile, false))
        return EXIT_FAILED;
    const CVariable* value = FindValue(cache, options);
    if (value == nullptr)
        return EXIT_FAILED;
    std::cout << CResultPrinter::Format(*value, false);
    return EXIT_OK;
}

int Find(const CacheOptions& options) {
    CCacheFile cache;
    if (!ReadCacheFile(cache, options.strFile, false))
        return EXIT_FAILED;
    const CString key = Wide(options.strKey);
    if (!HasKey(cache, key, options.strFile))
        return EXIT_FAILED;
    CString index;
    if (!cache.FindEntryByValue(key, Wide(options.strValue), index)) {
        std::cerr << "twhost: the index of " << Quoted(key) << " has no text " << Quoted(Wide(options.strValue))
                  << " (the text must match exactly; a value stored without --index has no index)\n";
        return EXIT_FAILED;
    }
    std::cout << Utf8(index) << '\n';
    return EXIT_OK;
}

// One JSON value, with nothing but blanks after it. Read as a CString: only
// the entry points that take a position tell where the value ended.
bool ReadJson(const std::string& strJson, CVariable& value) {
    const CString json = Wide(strJson);
    int index = 0;
    CJSON::SkipWhitespace(json, index);
    if (index == json.GetLength()) {
        std::cerr << "twhost: no JSON value given\n";
        return false;
    }
    int bSuccess = 1;
    value = CJSON::ParseValue(json, index, bSuccess);
    if (!bSuccess) {
        std::cerr << "twhost: the value is not readable JSON: " << strJson << '\n';
        return false;
    }
    CJSON::SkipWhitespace(json, index);
    if (index != json.GetLength()) {
        std::cerr << "twhost: unexpected text after the JSON value: " << Utf8(json.Mid(index)) << '\n';
        return false;
    }
    return true;
}

int Put(const CacheOptions& options) {
    CVariable value;
    if (!ReadJson(options.strValue, value))
        return EXIT_USAGE;
    CCacheFile cache;
    if (!ReadCacheFile(cache, options.strFile, true))
        return EXIT_FAILED;
    cache.AddEntry(Wide(options.strKey), value, Wide(options.strIndex));
    return WriteCacheFile(cache, options.strFile) ? EXIT_OK : EXIT_FAILED;
}

int Remove(const CacheOptions& options) {
    CCacheFile cache;
    if (!ReadCacheFile(cache, options.strFile, false))
        return EXIT_FAILED;
    const CString key = Wide(options.strKey);
    if (!HasKey(cache, key, options.strFile))
        return EXIT_FAILED;
    cache.RemoveEntry(key);
    return WriteCacheFile(cache, options.strFile) ? EXIT_OK : EXIT_FAILED;
}

}  // namespace

void RegisterCacheCommands(CLI::App& app, CCommandContext& context) {
    CLI::App* cache = app.add_subcommand("cache", "Inspect and edit a saved memory-cache file");
    // At most one command; none is reported by the callback below, so that
    // the message names the commands there are.
    cache->require_subcommand(0, 1);
    cache->callback([&context, cache] {
        if (cache->get_subcommands().empty())
            context.m_action = [] {
                std::cerr << "twhost: cache needs a command: show, get, find, put or remove (twhost cache --help "
                             "tells more)\n";
                return static_cast<int>(EXIT_USAGE);
            };
    });
    cache->footer("put and remove write a new file beside FILE and rename it over FILE. Exit status: 1 for an\n"
                  "unreadable or missing file, an unknown key or a text that the index lacks; 2 for unreadable JSON.");
    auto options = std::make_shared<CacheOptions>();
    const auto set = [&context, options](int (*command)(const CacheOptions&)) {
        return [&context, options, command] { context.m_action = [options, command] { return command(*options); }; };
    };
    const auto file = [&options](CLI::App* command) {
        command->add_option("FILE", options->strFile, "The cache file")->required();
    };
    const auto key = [&options](CLI::App* command) {
        command->add_option("KEY", options->strKey, "The key of the entry (exact, case-sensitive)")->required();
    };

    CLI::App* show = cache->add_subcommand("show", "List the keys with the type and text of each value");
    file(show);
    show->callback(set(Show));

    CLI::App* get = cache->add_subcommand("get", "Print a value as JSON, or as text where JSON has no form for it");
    file(get);
    key(get);
    get->callback(set(Get));

    CLI::App* find = cache->add_subcommand("find", "Print the array key that an entry's index gives for a text");
    file(find);
    key(find);
    find->add_option("VALUE", options->strValue, "The text of the indexed field, exactly as the value prints it")
        ->required();
    find->callback(set(Find));

    CLI::App* put = cache->add_subcommand("put", "Store a JSON value under a key (making the file if missing)");
    file(put);
    key(put);
    put->add_option("JSON", options->strValue, "The value, e.g. '{\"r1\": {\"Name\": \"alpha\"}}'")->required();
    put->add_option("--index", options->strIndex, "Index the rows of the value by this field");
    put->callback(set(Put));

    CLI::App* remove = cache->add_subcommand("remove", "Delete a key");
    file(remove);
    key(remove);
    remove->callback(set(Remove));
}
