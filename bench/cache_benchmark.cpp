// The memory cache:
//
//  - AddEntry of a 100,000-row table indexed by one field (copy and index);
//  - FindEntryByValue and Lookup per call, from one thread and from two at
//    once on the shared instance (the two contend for its one lock);
//  - Save and Load of 100,000 entries, in MB/s of the file, beside pugixml
//    writing and parsing the same file in the same run (file input and output
//    included on both sides).
#include <benchmark/benchmark.h>

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <mutex>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

#include "varlib/cache/MemoryCache.h"
#include "varlib/values/Variable.h"
#include "varlib/values/VariableArray.h"

namespace {

constexpr int kRows = 100000;
constexpr int kEntries = 100000;

CString Text(const std::string& utf8) { return CString::FromUtf8(utf8); }

// The parts one after another. (Not "text" + std::string: g++ 12 at -O3
// warns falsely of overlapping copies in that operator.)
std::string Join(std::initializer_list<std::string_view> parts) {
    std::string text;
    for (std::string_view part : parts)
        text += part;
    return text;
}

CVariable Row(int i) {
    CVariable row{CVariableArray()};
    row.m_arrayValue.InsertElement(u"Name", new CVariable(Text(Join({"host-", std::to_string(i)}))));
    row.m_arrayValue.InsertElement(
        u"Address", new CVariable(Text(Join({"10.", std::to_string(i / 65536), ".", std::to_string(i / 256 % 256), ".",
                                             std::to_string(i % 256)}))));
    row.m_arrayValue.InsertElement(u"Port", new CVariable(161 + i % 7));
    return row;
}

// The table of kRows rows, under "r0", "r1", ...
const CVariable& Table() {
    static const CVariable table = [] {
        CVariable t{CVariableArray()};
        t.m_arrayValue.PreallocateHashTable(kRows);
        for (int i = 0; i < kRows; ++i)
            t.m_arrayValue.InsertElement(Text(Join({"r", std::to_string(i)})), new CVariable(Row(i)));
        return t;
    }();
    return table;
}

// A cache of the benchmark's own (the instance is the look-up benchmarks').
class BenchCache : public CMemoryCache {
public:
    BenchCache() = default;
};

// kEntries entries of mixed values: integers, texts, doubles, and every tenth a
// three-row table indexed by Name.
void FillMixed(CMemoryCache& cache) {
    for (int i = 0; i < kEntries; ++i) {
        const CString key = Text(Join({"key-", std::to_string(i)}));
        switch (i % 10) {
        case 0: {
            CVariable table{CVariableArray()};
            for (int r = 0; r < 3; ++r)
                table.m_arrayValue.InsertElement(Text(Join({"r", std::to_string(r)})), new CVariable(Row(i + r)));
            cache.AddEntry(key, table, u"Name");
            break;
        }
        case 1:
        case 4:
        case 7:
            cache.AddEntry(key, CVariable(i * 31), u"");
            break;
        case 2:
        case 5:
        case 8:
            cache.AddEntry(key, CVariable(Text(Join({"value <", std::to_string(i), "> & text"}))), u"");
            break;
        default:
            cache.AddEntry(key, CVariable(i / 7.0), u"");
            break;
        }
    }
}

// The instance holds the table under "hosts" and the mixed entries.
CMemoryCache& SharedCache() {
    static std::once_flag once;
    std::call_once(once, [] {
        CMemoryCache& cache = *CMemoryCache::Instance();
        cache.AddEntry(u"hosts", Table(), u"Name");
        FillMixed(cache);
    });
    return *CMemoryCache::Instance();
}

std::string FilePath(const char* name) {
    return (std::filesystem::temp_directory_path() / Join({"tw_cache_bench_", std::to_string(getpid()), "_", name})).string();
}

uint64_t FileSize(const std::string& path) {
    std::error_code error;
    const auto size = std::filesystem::file_size(path, error);
    return error ? 0 : size;
}

void AddEntryTable(benchmark::State& state) {
    const CVariable& table = Table();
    BenchCache cache;
    for (auto _ : state)
        cache.AddEntry(u"hosts", table, u"Name");
    state.SetItemsProcessed(state.iterations() * kRows);
    state.counters["rows"] = kRows;
}

// Search texts made before the timing starts, so that a row times the call
// and not the building of its argument: 4096 of them, spread over the table
// by a fixed random sequence and few enough to stay in the processor's cache.
std::vector<CString> SearchTexts(const char16_t* prefix, int count, unsigned int seed) {
    std::vector<CString> texts;
    uint32_t i = seed;
    for (int n = 0; n < 4096; ++n) {
        i = (i * 1103515245u + 12345u);
        CString text(prefix);
        text += Text(std::to_string(i % static_cast<uint32_t>(count)));
        texts.push_back(text);
    }
    return texts;
}

void FindEntryByValue(benchmark::State& state) {
    CMemoryCache& cache = SharedCache();
    const std::vector<CString> texts = SearchTexts(u"host-", kRows, static_cast<unsigned int>(state.thread_index()) * 7919u);
    const CString key(u"hosts");
    CString index;
    int64_t found = 0;
    std::size_t n = 0;
    for (auto _ : state) {
        found += cache.FindEntryByValue(key, texts[n], index);
        n = (n + 1) % texts.size();
    }
    if (found != static_cast<int64_t>(state.iterations()))
        state.SkipWithError("a row was not found");
    state.SetItemsProcessed(state.iterations());
}

void Lookup(benchmark::State& state) {
    CMemoryCache& cache = SharedCache();
    const std::vector<CString> keys = SearchTexts(u"key-", kEntries, static_cast<unsigned int>(state.thread_index()) * 7919u);
    int64_t found = 0;
    std::size_t n = 0;
    for (auto _ : state) {
        found += cache.Lookup(keys[n]) != nullptr ? 1 : 0;
        n = (n + 1) % keys.size();
    }
    if (found != static_cast<int64_t>(state.iterations()))
        state.SkipWithError("a key was not found");
    state.SetItemsProcessed(state.iterations());
}

// The file that Save writes from kEntries mixed entries, made once.
const std::string& SavedFile() {
    static const std::string path = [] {
        const std::string p = FilePath("saved.xml");
        BenchCache cache;
        FillMixed(cache);
        cache.Save(Text(p));
        return p;
    }();
    return path;
}

void Save(benchmark::State& state) {
    BenchCache cache;
    FillMixed(cache);
    const std::string path = FilePath("save.xml");
    for (auto _ : state) {
        if (!cache.Save(Text(path)))
            state.SkipWithError("Save failed");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * FileSize(path)));
    std::remove(path.c_str());
}

void Load(benchmark::State& state) {
    const std::string& path = SavedFile();
    BenchCache cache;
    for (auto _ : state) {
        if (!cache.Load(Text(path)))
            state.SkipWithError("Load failed");
    }
    if (cache.GetCount() != kEntries)
        state.SkipWithError("Load lost entries");
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * FileSize(path)));
}

// pugixml alone: the document of the same file written out as XMLWrite does
// (declaration, two-space indent) and parsed from the file.
void PugiWrite(benchmark::State& state) {
    pugi::xml_document document;
    document.load_file(SavedFile().c_str());
    const std::string path = FilePath("pugi.xml");
    for (auto _ : state) {
        if (!document.save_file(path.c_str(), "  ", pugi::format_indent))
            state.SkipWithError("pugixml could not write");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * FileSize(path)));
    std::remove(path.c_str());
}

void PugiParse(benchmark::State& state) {
    const std::string& path = SavedFile();
    for (auto _ : state) {
        pugi::xml_document document;
        if (!document.load_file(path.c_str()))
            state.SkipWithError("pugixml could not parse");
        benchmark::DoNotOptimize(document);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * FileSize(path)));
}

}  // namespace

BENCHMARK(AddEntryTable)->Unit(benchmark::kMillisecond)->Iterations(4);
BENCHMARK(FindEntryByValue)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(Lookup)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(Save)->Unit(benchmark::kMillisecond)->Iterations(4);
BENCHMARK(PugiWrite)->Unit(benchmark::kMillisecond);
BENCHMARK(Load)->Unit(benchmark::kMillisecond)->Iterations(4);
BENCHMARK(PugiParse)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    std::remove(SavedFile().c_str());
    CMemoryCache::CleanUp();
    return 0;
}
