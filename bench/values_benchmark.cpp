// CVariable and CVariableArray against the standard peers a user would pick:
// std::variant<int64_t, double, std::u16string> for a value, and
// std::unordered_map<std::u16string, CVariable> for an array of values.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <string>
#include <unordered_map>
#include <variant>
#include <vector>

#include <tw_varlib.h>

#include "alloc_counter.h"
#include "varlib/values/Variable.h"
#include "varlib/values/VariableArray.h"

namespace {

using Variant = std::variant<int64_t, double, std::u16string>;

const CString kLongText(u"ifDescr: GigabitEthernet0/1 uplink to the core router");

// Reports allocations per iteration beside the time.
class AllocationScope {
public:
    explicit AllocationScope(benchmark::State& state) : m_state(state), m_before(bench::AllocationCount()) {}
    ~AllocationScope() {
        m_state.counters["allocs"] = static_cast<double>(bench::AllocationCount() - m_before) /
                                     static_cast<double>(m_state.iterations());
    }

private:
    bench::CountingScope m_counting;   // first: counts from before m_before is read
    benchmark::State& m_state;
    std::size_t m_before;
};

// --- construction, copy and operator+ of one value ---

void VariableDefaultConstruct(benchmark::State& state) {
    AllocationScope allocs(state);
    for (auto _ : state) {
        CVariable v;
        benchmark::DoNotOptimize(&v);
    }
}
void VariantDefaultConstruct(benchmark::State& state) {
    AllocationScope allocs(state);
    for (auto _ : state) {
        Variant v;
        benchmark::DoNotOptimize(&v);
    }
}
BENCHMARK(VariableDefaultConstruct);
BENCHMARK(VariantDefaultConstruct);

void VariableCopyInt(benchmark::State& state) {
    const CVariable source(int64_t{42});
    AllocationScope allocs(state);
    for (auto _ : state) {
        CVariable copy(source);
        benchmark::DoNotOptimize(&copy);
    }
}
void VariantCopyInt(benchmark::State& state) {
    const Variant source(int64_t{42});
    AllocationScope allocs(state);
    for (auto _ : state) {
        Variant copy(source);
        benchmark::DoNotOptimize(&copy);
    }
}
void VariableCopyString(benchmark::State& state) {
    const CVariable source(kLongText);
    AllocationScope allocs(state);
    for (auto _ : state) {
        CVariable copy(source);
        benchmark::DoNotOptimize(&copy);
    }
}
void VariantCopyString(benchmark::State& state) {
    const Variant source(kLongText.Str());
    AllocationScope allocs(state);
    for (auto _ : state) {
        Variant copy(source);
        benchmark::DoNotOptimize(&copy);
    }
}
BENCHMARK(VariableCopyInt);
BENCHMARK(VariantCopyInt);
BENCHMARK(VariableCopyString);
BENCHMARK(VariantCopyString);

// What a script's "a + b" costs: the pair decides the result's type.
Variant VariantPlus(const Variant& a, const Variant& b) {
    if (std::holds_alternative<int64_t>(a) && std::holds_alternative<int64_t>(b))
        return static_cast<int64_t>(static_cast<uint64_t>(std::get<int64_t>(a)) + static_cast<uint64_t>(std::get<int64_t>(b)));
    if (std::holds_alternative<std::u16string>(a) && std::holds_alternative<std::u16string>(b))
        return std::get<std::u16string>(a) + std::get<std::u16string>(b);
    return Variant{};
}

void VariablePlusInt(benchmark::State& state) {
    const CVariable a(int64_t{40}), b(int64_t{2});
    AllocationScope allocs(state);
    for (auto _ : state) {
        CVariable sum = a + b;
        benchmark::DoNotOptimize(&sum);
    }
}
void VariantPlusInt(benchmark::State& state) {
    const Variant a(int64_t{40}), b(int64_t{2});
    AllocationScope allocs(state);
    for (auto _ : state) {
        Variant sum = VariantPlus(a, b);
        benchmark::DoNotOptimize(&sum);
    }
}
void VariablePlusString(benchmark::State& state) {
    const CVariable a(kLongText), b(kLongText);
    AllocationScope allocs(state);
    for (auto _ : state) {
        CVariable sum = a + b;
        benchmark::DoNotOptimize(&sum);
    }
}
void VariantPlusString(benchmark::State& state) {
    const Variant a(kLongText.Str()), b(kLongText.Str());
    AllocationScope allocs(state);
    for (auto _ : state) {
        Variant sum = VariantPlus(a, b);
        benchmark::DoNotOptimize(&sum);
    }
}
BENCHMARK(VariablePlusInt);
BENCHMARK(VariantPlusInt);
BENCHMARK(VariablePlusString);
BENCHMARK(VariantPlusString);

// --- an array of n values: insert, look each up, walk in order ---

const std::vector<CString>& Indexes(std::size_t n) {
    static std::unordered_map<std::size_t, std::vector<CString>> cache;
    auto& indexes = cache[n];
    if (indexes.empty())
        for (std::size_t i = 0; i < n; ++i) {
            CString s;
            s.Format(u"ifIndex.%u", static_cast<unsigned>(i));
            indexes.push_back(s);
        }
    return indexes;
}

void VariableArrayInsertLookupWalk(benchmark::State& state) {
    const auto& indexes = Indexes(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        CVariableArray array;  // no PreallocateHashTable: 17 buckets throughout
        for (std::size_t i = 0; i < indexes.size(); ++i)
            array.InsertElement(indexes[i], new CVariable(static_cast<int64_t>(i)));
        int64_t sum = 0;
        for (const auto& index : indexes) {
            CVariable* element = nullptr;
            if (array.Lookup(index, element)) sum += element->m_nValue;
        }
        CString index;
        CVariable* element = nullptr;
        for (int more = array.GetFirstVariable(index, element); more; more = array.GetNextVariable(index, element))
            sum += element->m_nValue;
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * indexes.size()));
}
void StdUnorderedInsertLookupWalk(benchmark::State& state) {
    const auto& indexes = Indexes(static_cast<std::size_t>(state.range(0)));
    std::vector<std::u16string> keys;
    for (const auto& index : indexes) keys.push_back(index.Str());
    for (auto _ : state) {
        std::unordered_map<std::u16string, CVariable> map;
        for (std::size_t i = 0; i < keys.size(); ++i) map.emplace(keys[i], CVariable(static_cast<int64_t>(i)));
        int64_t sum = 0;
        for (const auto& key : keys) {
            auto it = map.find(key);
            if (it != map.end()) sum += it->second.m_nValue;
        }
        for (const auto& [key, value] : map) sum += value.m_nValue;
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * keys.size()));
}
BENCHMARK(VariableArrayInsertLookupWalk)->Arg(1000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(StdUnorderedInsertLookupWalk)->Arg(1000)->Arg(1000000)->Unit(benchmark::kMillisecond);

// --- Sort of n INT elements: O(n log n) ---

void VariableArraySortInts(benchmark::State& state) {
    const auto n = static_cast<std::size_t>(state.range(0));
    const auto& indexes = Indexes(n);
    CVariableArray array;
    array.PreallocateHashTable(static_cast<unsigned int>(n * 2 + 1));
    std::mt19937_64 random(7);
    for (std::size_t i = 0; i < n; ++i) array.InsertElement(indexes[i], new CVariable(static_cast<int64_t>(random() % 1000000)));
    for (auto _ : state) {
        CVariableArray sorted;
        sorted.PreallocateHashTable(static_cast<unsigned int>(n * 2 + 1));
        array.Sort(sorted);
        benchmark::DoNotOptimize(sorted.GetCount());
    }
    state.SetComplexityN(static_cast<int64_t>(n));
}
BENCHMARK(VariableArraySortInts)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMillisecond)->Complexity(benchmark::oNLogN);

}  // namespace

BENCHMARK_MAIN();
