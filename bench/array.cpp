// AdoArray with two indexes against std containers doing the same work:
// 200,000 records added (a map by id for the records, a multimap per
// index), 200,000 greater-or-equal searches in one index, and a full walk of
// that index.
#include <benchmark/benchmark.h>

#include <map>
#include <random>
#include <string>
#include <vector>

#include "velmora/collections/ado_array.hpp"

namespace {

constexpr int32_t kCount = 200'000;

std::string RandomKey(std::mt19937& random) {
  std::uniform_int_distribution<int> letter('a', 'z');
  std::string key(12, ' ');
  for (auto& c : key) c = static_cast<char>(letter(random));
  return key;
}

class BenchRecord : public velmora::com::Object, public velmora::AdoRecord {
 public:
  BenchRecord(int32_t id, std::string name, std::string code)
      : header_(std::make_shared<velmora::AdoRecordHeader>()), name_(std::move(name)), code_(std::move(code)) {
    header_->Unk(id);
  }
  std::shared_ptr<velmora::AdoRecordHeader> Header() override { return header_; }
  velmora::com::Variant Key(const std::string& indexName) override { return indexName == "NAME" ? name_ : code_; }
  const std::string& Name() const { return name_; }
  const std::string& Code() const { return code_; }

 private:
  std::shared_ptr<velmora::AdoRecordHeader> header_;
  std::string name_;
  std::string code_;
};

const std::vector<std::shared_ptr<BenchRecord>>& Records() {
  static const auto records = [] {
    std::mt19937 random(3);
    std::vector<std::shared_ptr<BenchRecord>> all;
    for (int32_t id = 1; id <= kCount; ++id) {
      all.push_back(std::make_shared<BenchRecord>(id, RandomKey(random), RandomKey(random)));
    }
    return all;
  }();
  return records;
}

const std::vector<std::string>& SearchKeys() {
  static const auto keys = [] {
    std::mt19937 random(4);
    std::vector<std::string> all;
    for (int32_t i = 0; i < kCount; ++i) all.push_back(RandomKey(random));
    return all;
  }();
  return keys;
}

// The anchor: records by id and one multimap per index.
struct StdArray {
  std::map<int32_t, std::shared_ptr<BenchRecord>> records;
  std::multimap<std::string, int32_t> byName;
  std::multimap<std::string, int32_t> byCode;

  void Add(const std::shared_ptr<BenchRecord>& rec) {
    const int32_t id = rec->Header()->Unk();
    records.emplace(id, rec);
    byName.emplace_hint(byName.lower_bound(rec->Name()), rec->Name(), id);
    byCode.emplace_hint(byCode.lower_bound(rec->Code()), rec->Code(), id);
  }
};

void Fill(velmora::AdoArray& array) {
  array.CreateIndex("NAME");
  array.CreateIndex("CODE");
  for (const auto& rec : Records()) array.AddNew(rec);
}

velmora::AdoArray& FilledArray() {
  static const auto array = [] {
    auto a = std::make_shared<velmora::AdoArray>();
    Fill(*a);
    a->Index("NAME");
    return a;
  }();
  return *array;
}

const StdArray& FilledStdArray() {
  static const auto array = [] {
    auto a = std::make_shared<StdArray>();
    for (const auto& rec : Records()) a->Add(rec);
    return a;
  }();
  return *array;
}

void SetItems(benchmark::State& state) { state.SetItemsProcessed(state.iterations() * kCount); }

void ArrayAddNew(benchmark::State& state) {
  for (auto _ : state) {
    velmora::AdoArray array;
    Fill(array);
    benchmark::DoNotOptimize(array.RecordCount());
  }
  SetItems(state);
}

void StdAdd(benchmark::State& state) {
  for (auto _ : state) {
    StdArray array;
    for (const auto& rec : Records()) array.Add(rec);
    benchmark::DoNotOptimize(array.records.size());
  }
  SetItems(state);
}

void ArrayFindGE(benchmark::State& state) {
  auto& array = FilledArray();
  for (auto _ : state) {
    int64_t sum = 0;
    for (const auto& key : SearchKeys()) sum += array.Find(key, velmora::FIND_GE);
    benchmark::DoNotOptimize(sum);
  }
  SetItems(state);
}

void StdLowerBound(benchmark::State& state) {
  const auto& array = FilledStdArray();
  for (auto _ : state) {
    int64_t sum = 0;
    for (const auto& key : SearchKeys()) {
      const auto it = array.byName.lower_bound(key);
      sum += it == array.byName.end() ? 0 : it->second;
    }
    benchmark::DoNotOptimize(sum);
  }
  SetItems(state);
}

void ArrayWalk(benchmark::State& state) {
  auto& array = FilledArray();
  for (auto _ : state) {
    int64_t steps = 0;
    for (array.MoveFirst(); !array.IsEOF(); array.MoveNext()) ++steps;
    benchmark::DoNotOptimize(steps);
  }
  SetItems(state);
}

void StdWalk(benchmark::State& state) {
  const auto& array = FilledStdArray();
  for (auto _ : state) {
    int64_t sum = 0;
    for (const auto& entry : array.byName) sum += entry.second;
    benchmark::DoNotOptimize(sum);
  }
  SetItems(state);
}

// Each pair runs side by side: the record array, then its anchor.
BENCHMARK(ArrayAddNew)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(StdAdd)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(ArrayFindGE)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(StdLowerBound)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(ArrayWalk)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(StdWalk)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
