// AdoKeySet against std::multimap on the same work: 1,000,000 inserts of
// random 12-character keys, 1,000,000 greater-or-equal searches, and a full
// walk from the first key to the last.
#include <benchmark/benchmark.h>

#include <map>
#include <random>
#include <string>
#include <vector>

#include "velmora/collections/key_set.hpp"

namespace {

constexpr int32_t kCount = 1'000'000;

std::vector<std::string> RandomKeys(uint32_t seed, int32_t count) {
  std::mt19937 random(seed);
  std::uniform_int_distribution<int> letter('a', 'z');
  std::vector<std::string> keys(static_cast<size_t>(count));
  for (auto& key : keys) {
    key.resize(12);
    for (auto& c : key) c = static_cast<char>(letter(random));
  }
  return keys;
}

const std::vector<std::string>& InsertKeys() {
  static const auto keys = RandomKeys(1, kCount);
  return keys;
}

const std::vector<std::string>& SearchKeys() {
  static const auto keys = RandomKeys(2, kCount);
  return keys;
}

const velmora::AdoKeySet& FilledKeySet() {
  static const auto set = [] {
    auto s = std::make_shared<velmora::AdoKeySet>();
    int32_t id = 0;
    for (const auto& key : InsertKeys()) s->AddNew(key, ++id);
    return s;
  }();
  return *set;
}

const std::multimap<std::string, int32_t>& FilledMultimap() {
  static const auto map = [] {
    std::multimap<std::string, int32_t> m;
    int32_t id = 0;
    for (const auto& key : InsertKeys()) m.emplace(key, ++id);
    return m;
  }();
  return map;
}

void SetItems(benchmark::State& state) { state.SetItemsProcessed(state.iterations() * kCount); }

void KeySetAddNew(benchmark::State& state) {
  for (auto _ : state) {
    velmora::AdoKeySet set;
    int32_t id = 0;
    for (const auto& key : InsertKeys()) set.AddNew(key, ++id);
    benchmark::DoNotOptimize(set.RecordCount());
  }
  SetItems(state);
}

void MultimapInsert(benchmark::State& state) {
  for (auto _ : state) {
    std::multimap<std::string, int32_t> map;
    int32_t id = 0;
    for (const auto& key : InsertKeys()) map.emplace_hint(map.lower_bound(key), key, ++id);
    benchmark::DoNotOptimize(map.size());
  }
  SetItems(state);
}

void KeySetFindGE(benchmark::State& state) {
  auto& set = const_cast<velmora::AdoKeySet&>(FilledKeySet());
  for (auto _ : state) {
    int64_t sum = 0;
    for (const auto& key : SearchKeys()) sum += set.Find(key, velmora::FIND_GE);
    benchmark::DoNotOptimize(sum);
  }
  SetItems(state);
}

void MultimapLowerBound(benchmark::State& state) {
  const auto& map = FilledMultimap();
  for (auto _ : state) {
    int64_t sum = 0;
    for (const auto& key : SearchKeys()) {
      const auto it = map.lower_bound(key);
      sum += it == map.end() ? 0 : it->second;
    }
    benchmark::DoNotOptimize(sum);
  }
  SetItems(state);
}

void KeySetWalk(benchmark::State& state) {
  auto& set = const_cast<velmora::AdoKeySet&>(FilledKeySet());
  for (auto _ : state) {
    int64_t steps = 0;
    for (set.MoveFirst(); !set.IsEOF(); set.MoveNext()) ++steps;
    benchmark::DoNotOptimize(steps);
  }
  SetItems(state);
}

void MultimapWalk(benchmark::State& state) {
  const auto& map = FilledMultimap();
  for (auto _ : state) {
    int64_t sum = 0;
    for (const auto& entry : map) sum += entry.second;
    benchmark::DoNotOptimize(sum);
  }
  SetItems(state);
}

// Each pair runs side by side: the key set, then its anchor.
BENCHMARK(KeySetAddNew)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(MultimapInsert)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(KeySetFindGE)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(MultimapLowerBound)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(KeySetWalk)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(MultimapWalk)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
