// CMap keyed by CString with the default 17 buckets against
// std::unordered_map<std::u16string, ...> on the same keys: cost per
// insertion, lookup and removal at 1k and 1M entries. The growth from 1k to
// 1M shows whether a map stays O(1) (cache misses alone make every hash
// table slower at 1M). Also: allocations of empty objects, and what a map of
// two pairs holds.
#include <benchmark/benchmark.h>

#include <string>
#include <type_traits>
#include <unordered_map>
#include <vector>

#include <tw_varlib.h>

#include "alloc_counter.h"

namespace {

using TextMap = CMap<CString, const char16_t*, int, int>;
using StdMap = std::unordered_map<std::u16string, int>;

const std::vector<CString>& Keys(std::size_t n) {
    static std::unordered_map<std::size_t, std::vector<CString>> cache;
    auto& keys = cache[n];
    if (keys.empty()) {
        keys.reserve(n);
        for (std::size_t i = 0; i < n; ++i) {
            CString k;
            k.Format(u"host-%u.example/ifIndex.%u", static_cast<unsigned>(i * 7919 % n), static_cast<unsigned>(i));
            keys.push_back(k);
        }
    }
    return keys;
}

// Insert n keys, look each up, remove each: one iteration, reported per operation.
void CMapInsertLookupRemove(benchmark::State& state) {
    const auto& keys = Keys(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        TextMap map;
        for (std::size_t i = 0; i < keys.size(); ++i) map[keys[i]] = static_cast<int>(i);
        long sum = 0;
        for (const auto& k : keys) {
            int v = 0;
            map.Lookup(k, v);
            sum += v;
        }
        for (const auto& k : keys) map.RemoveKey(k);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * keys.size() * 3));
}

void StdUnorderedInsertLookupRemove(benchmark::State& state) {
    const auto& keys = Keys(static_cast<std::size_t>(state.range(0)));
    std::vector<std::u16string> stdKeys;
    for (const auto& k : keys) stdKeys.push_back(k.Str());
    for (auto _ : state) {
        StdMap map;
        for (std::size_t i = 0; i < stdKeys.size(); ++i) map[stdKeys[i]] = static_cast<int>(i);
        long sum = 0;
        for (const auto& k : stdKeys) {
            auto it = map.find(k);
            sum += it == map.end() ? 0 : it->second;
        }
        for (const auto& k : stdKeys) map.erase(k);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * keys.size() * 3));
}

BENCHMARK(CMapInsertLookupRemove)->Arg(1000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(StdUnorderedInsertLookupRemove)->Arg(1000)->Arg(1000000)->Unit(benchmark::kMillisecond);

// Lookups alone in a full map.
void CMapLookup(benchmark::State& state) {
    const auto& keys = Keys(static_cast<std::size_t>(state.range(0)));
    TextMap map;
    for (std::size_t i = 0; i < keys.size(); ++i) map[keys[i]] = static_cast<int>(i);
    std::size_t i = 0;
    for (auto _ : state) {
        int v = 0;
        benchmark::DoNotOptimize(map.Lookup(keys[i], v));
        if (++i == keys.size()) i = 0;
    }
}
void StdUnorderedLookup(benchmark::State& state) {
    const auto& keys = Keys(static_cast<std::size_t>(state.range(0)));
    StdMap map;
    std::vector<std::u16string> stdKeys;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        stdKeys.push_back(keys[i].Str());
        map[stdKeys.back()] = static_cast<int>(i);
    }
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(map.find(stdKeys[i]));
        if (++i == stdKeys.size()) i = 0;
    }
}
BENCHMARK(CMapLookup)->Arg(1000)->Arg(1000000);
BENCHMARK(StdUnorderedLookup)->Arg(1000)->Arg(1000000);

// Allocations made by constructing and destroying empty objects.
template <class T>
void EmptyObjectAllocations(benchmark::State& state) {
    const bench::CountingScope counting;
    const std::size_t before = bench::AllocationCount();
    for (auto _ : state) {
        T object;
        benchmark::DoNotOptimize(&object);
    }
    state.counters["allocs_per_object"] =
        static_cast<double>(bench::AllocationCount() - before) / static_cast<double>(state.iterations());
}
BENCHMARK_TEMPLATE(EmptyObjectAllocations, CString);
BENCHMARK_TEMPLATE(EmptyObjectAllocations, TextMap);
BENCHMARK_TEMPLATE(EmptyObjectAllocations, CXML);
BENCHMARK_TEMPLATE(EmptyObjectAllocations, CSnmpPdu);
BENCHMARK_TEMPLATE(EmptyObjectAllocations, CSnmpVarBind);
BENCHMARK_TEMPLATE(EmptyObjectAllocations, CIntegerEnum);

// Allocations and bytes a map of two short pairs holds (the keys and values
// themselves allocate nothing): most maps are a row or a coordinate pair.
using ElementMap = CMap<CString, const char16_t*, void*, void*>;
using OrderMap = CMap<int, int, CString, const char16_t*>;
template <class Map>
void SmallMapHeld(benchmark::State& state) {
    const bench::CountingScope counting;
    std::size_t allocations = 0, bytes = 0;
    for (auto _ : state) {
        Map map;
        const std::size_t allocationsBefore = bench::AllocationCount(), bytesBefore = bench::AllocatedBytes();
        if constexpr (std::is_same_v<Map, ElementMap>) {
            map[u"x"] = &map;
            map[u"y"] = &map;
        } else {
            map[0] = u"x";
            map[1] = u"y";
        }
        allocations += bench::AllocationCount() - allocationsBefore;
        bytes += bench::AllocatedBytes() - bytesBefore;
        benchmark::DoNotOptimize(&map);
    }
    const auto n = static_cast<double>(state.iterations());
    state.counters["allocs_per_map"] = static_cast<double>(allocations) / n;
    state.counters["bytes_per_map"] = static_cast<double>(bytes) / n;
}
BENCHMARK_TEMPLATE(SmallMapHeld, ElementMap);
BENCHMARK_TEMPLATE(SmallMapHeld, OrderMap);

}  // namespace

BENCHMARK_MAIN();
