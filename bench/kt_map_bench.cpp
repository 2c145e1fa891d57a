// KtMap against std::unordered_map on the same 10,000 short string keys:
// find of present keys, in the order of insertion and in a shuffled order (the
// working set is larger than L2, so the shuffled order pays for cache misses),
// and insertion into a fresh map (growth and pool blocks included, destruction
// not). The "per_find", "per_insert" and "per_pair" counters give the time of
// one operation.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "foundation/kt_map.h"
#include "foundation/kt_string.h"

namespace {

constexpr std::size_t kKeys = 10000;

// Bean-name-like keys of 5 to 12 characters, unique, in a fixed order.
const std::vector<std::string>& Names() {
    static const std::vector<std::string> names = [] {
        std::mt19937 random(7);
        std::uniform_int_distribution<int> length(5, 12), letter(0, 35);
        const char* alphabet = "abcdefghijklmnopqrstuvwxyz0123456789";
        std::unordered_set<std::string> seen;
        std::vector<std::string> out;
        while (out.size() < kKeys) {
            std::string name;
            for (int i = length(random); i > 0; --i) name.push_back(alphabet[letter(random)]);
            if (seen.insert(name).second) out.push_back(name);
        }
        return out;
    }();
    return names;
}

// The orders in which finds visit the keys.
enum class Order { kInserted, kShuffled };

const std::vector<std::size_t>& Visits(Order which) {
    static const std::vector<std::size_t> inserted = [] {
        std::vector<std::size_t> out(kKeys);
        for (std::size_t i = 0; i < kKeys; ++i) out[i] = i;
        return out;
    }();
    static const std::vector<std::size_t> shuffled = [] {
        std::vector<std::size_t> out = inserted;
        std::shuffle(out.begin(), out.end(), std::mt19937(11));
        return out;
    }();
    return which == Order::kInserted ? inserted : shuffled;
}
const std::vector<std::size_t>& Shuffled() { return Visits(Order::kShuffled); }

template <class Key>
std::vector<Key> KeysAs() {
    std::vector<Key> keys;
    keys.reserve(kKeys);
    for (const std::string& name : Names()) keys.emplace_back(name);
    return keys;
}

void PerOperation(benchmark::State& state, const char* name, std::size_t perIteration) {
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * perIteration));
    state.counters[name] = benchmark::Counter(static_cast<double>(state.iterations() * perIteration),
                                              benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

// Finds --------------------------------------------------------------------

template <class Key, Order kOrder>
void KtMapFind(benchmark::State& state) {
    const std::vector<Key> keys = KeysAs<Key>();
    KtMap<Key, int> map;
    for (std::size_t i = 0; i < kKeys; ++i) map[keys[i]] = static_cast<int>(i);
    const std::vector<std::size_t>& order = Visits(kOrder);
    std::size_t next = 0;
    for (auto _ : state) {
        int* value = map.Find(keys[order[next]]);
        benchmark::DoNotOptimize(value);
        if (++next == kKeys) next = 0;
    }
    PerOperation(state, "per_find", 1);
}

template <Order kOrder>
void KtMapFindByText(benchmark::State& state) {
    const std::vector<KtStr> keys = KeysAs<KtStr>();
    KtMap<KtStr, int> map;
    for (std::size_t i = 0; i < kKeys; ++i) map[keys[i]] = static_cast<int>(i);
    const std::vector<std::string>& names = Names();
    const std::vector<std::size_t>& order = Visits(kOrder);
    std::size_t next = 0;
    for (auto _ : state) {
        int* value = map.Find(names[order[next]].c_str());
        benchmark::DoNotOptimize(value);
        if (++next == kKeys) next = 0;
    }
    PerOperation(state, "per_find", 1);
}

template <Order kOrder>
void UnorderedMapFind(benchmark::State& state) {
    const std::vector<std::string> keys = KeysAs<std::string>();
    std::unordered_map<std::string, int> map;
    for (std::size_t i = 0; i < kKeys; ++i) map[keys[i]] = static_cast<int>(i);
    const std::vector<std::size_t>& order = Visits(kOrder);
    std::size_t next = 0;
    for (auto _ : state) {
        auto found = map.find(keys[order[next]]);
        benchmark::DoNotOptimize(found);
        if (++next == kKeys) next = 0;
    }
    PerOperation(state, "per_find", 1);
}

// Inserts ------------------------------------------------------------------

template <class Map, class Key>
void Insert(benchmark::State& state) {
    const std::vector<Key> keys = KeysAs<Key>();
    for (auto _ : state) {
        auto map = std::make_unique<Map>();
        for (std::size_t i = 0; i < kKeys; ++i) (*map)[keys[i]] = static_cast<int>(i);
        benchmark::DoNotOptimize(map.get());
        state.PauseTiming();
        map.reset();
        state.ResumeTiming();
    }
    PerOperation(state, "per_insert", kKeys);
}

// Erase and insert again: the steady state of a map whose pool is warm.
template <class Map, class Key>
void EraseInsert(benchmark::State& state) {
    const std::vector<Key> keys = KeysAs<Key>();
    Map map;
    for (std::size_t i = 0; i < kKeys; ++i) map[keys[i]] = static_cast<int>(i);
    const std::vector<std::size_t>& order = Shuffled();
    std::size_t next = 0;
    for (auto _ : state) {
        const Key& key = keys[order[next]];
        if constexpr (requires { map.Erase(key); })
            map.Erase(key);
        else
            map.erase(key);
        map[key] = 1;
        if (++next == kKeys) next = 0;
    }
    PerOperation(state, "per_pair", 1);
}

}  // namespace

BENCHMARK(KtMapFind<KtStr, Order::kInserted>)->Name("find/in order/KtMap<KtStr,int>");
BENCHMARK(KtMapFindByText<Order::kInserted>)->Name("find/in order/KtMap<KtStr,int> by const char*");
BENCHMARK(KtMapFind<std::string, Order::kInserted>)->Name("find/in order/KtMap<std::string,int>");
BENCHMARK(UnorderedMapFind<Order::kInserted>)->Name("find/in order/std::unordered_map<std::string,int>");
BENCHMARK(KtMapFind<KtStr, Order::kShuffled>)->Name("find/shuffled/KtMap<KtStr,int>");
BENCHMARK(KtMapFindByText<Order::kShuffled>)->Name("find/shuffled/KtMap<KtStr,int> by const char*");
BENCHMARK(KtMapFind<std::string, Order::kShuffled>)->Name("find/shuffled/KtMap<std::string,int>");
BENCHMARK(UnorderedMapFind<Order::kShuffled>)->Name("find/shuffled/std::unordered_map<std::string,int>");

BENCHMARK(Insert<KtMap<KtStr, int>, KtStr>)->Name("insert/KtMap<KtStr,int>")->Unit(benchmark::kMicrosecond);
BENCHMARK(Insert<KtMap<std::string, int>, std::string>)
    ->Name("insert/KtMap<std::string,int>")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(Insert<std::unordered_map<std::string, int>, std::string>)
    ->Name("insert/std::unordered_map<std::string,int>")
    ->Unit(benchmark::kMicrosecond);

BENCHMARK(EraseInsert<KtMap<KtStr, int>, KtStr>)->Name("erase+insert/KtMap<KtStr,int>");
BENCHMARK(EraseInsert<std::unordered_map<std::string, int>, std::string>)
    ->Name("erase+insert/std::unordered_map<std::string,int>");

BENCHMARK_MAIN();
