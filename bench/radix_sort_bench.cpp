// Radix sort throughput in keys per second, each next to std::sort of the
// same keys into the same kind of index array, as the bound to beat.
//
//   RadixFloatRandom     RadixFloatSorter on fresh indices, random keys
//   RadixFloatInOrder    RadixFloatSorter on last call's order: the early exit
//   DrawItemsRandom      SortDrawItems (key inside a 32-byte record)
//   DrawItemsInOrder     SortDrawItems on ascending keys: no early exit there
//   StdSortRandom        std::sort of fresh indices by key
//   StdSortInOrder       std::sort of indices already in key order
//
// Keys are floats uniform in [-1000, 1000) from a fixed seed.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "pipeline/pipeline.h"

namespace {

std::vector<float> RandomKeys(size_t count)
{
    std::mt19937 rng(0x5eed);
    std::uniform_real_distribution<float> uniform(-1000.0f, 1000.0f);
    std::vector<float> keys(count);
    for (float& k : keys) k = uniform(rng);
    return keys;
}

std::vector<float> SortedKeys(size_t count)
{
    std::vector<float> keys = RandomKeys(count);
    std::sort(keys.begin(), keys.end());
    return keys;
}

void SetRate(benchmark::State& state, size_t count)
{
    state.counters["keys/s"] = benchmark::Counter(static_cast<double>(state.iterations()) * static_cast<double>(count),
                                                  benchmark::Counter::kIsRate);
}

void RadixFloatRandom(benchmark::State& state)
{
    const std::vector<float> keys = RandomKeys(static_cast<size_t>(state.range(0)));
    const uint32_t count = static_cast<uint32_t>(keys.size());
    std::vector<uint32_t> indices(keys.size());
    InitRadixSort();
    for (auto _ : state) {
        ResetRadixSort(count, indices.data());
        RadixFloatSorter(count, keys.data(), indices.data());
        benchmark::DoNotOptimize(indices.data());
        benchmark::ClobberMemory();
    }
    ReleaseRadixSort();
    SetRate(state, keys.size());
}

void RadixFloatInOrder(benchmark::State& state)
{
    const std::vector<float> keys = RandomKeys(static_cast<size_t>(state.range(0)));
    const uint32_t count = static_cast<uint32_t>(keys.size());
    std::vector<uint32_t> indices(keys.size());
    InitRadixSort();
    ResetRadixSort(count, indices.data());
    RadixFloatSorter(count, keys.data(), indices.data());  // last frame's order
    for (auto _ : state) {
        RadixFloatSorter(count, keys.data(), indices.data());
        benchmark::DoNotOptimize(indices.data());
        benchmark::ClobberMemory();
    }
    if (span3d::g_RadixSort.SortedEarly != 1) state.SkipWithError("the early exit did not trigger");
    ReleaseRadixSort();
    SetRate(state, keys.size());
}

void SortItems(benchmark::State& state, const std::vector<float>& keys)
{
    const uint32_t count = static_cast<uint32_t>(keys.size());
    std::vector<DrawItem> items(keys.size());
    for (size_t i = 0; i < items.size(); ++i) items[i].SortKey = keys[i];
    std::vector<uint32_t> indices(keys.size());
    InitRadixSort();
    for (auto _ : state) {
        span3d::SortDrawItems(count, items.data(), indices.data());
        benchmark::DoNotOptimize(indices.data());
        benchmark::ClobberMemory();
    }
    ReleaseRadixSort();
    SetRate(state, keys.size());
}

void DrawItemsRandom(benchmark::State& state) { SortItems(state, RandomKeys(static_cast<size_t>(state.range(0)))); }
void DrawItemsInOrder(benchmark::State& state) { SortItems(state, SortedKeys(static_cast<size_t>(state.range(0)))); }

void StdSortIndices(benchmark::State& state, const std::vector<float>& keys)
{
    std::vector<uint32_t> indices(keys.size());
    const auto byKey = [&keys](uint32_t a, uint32_t b) { return keys[a] < keys[b]; };
    for (auto _ : state) {
        for (size_t i = 0; i < indices.size(); ++i) indices[i] = static_cast<uint32_t>(i);
        std::sort(indices.begin(), indices.end(), byKey);
        benchmark::DoNotOptimize(indices.data());
        benchmark::ClobberMemory();
    }
    SetRate(state, keys.size());
}

void StdSortRandom(benchmark::State& state) { StdSortIndices(state, RandomKeys(static_cast<size_t>(state.range(0)))); }
void StdSortInOrder(benchmark::State& state) { StdSortIndices(state, SortedKeys(static_cast<size_t>(state.range(0)))); }

}  // namespace

BENCHMARK(RadixFloatRandom)->Arg(1000)->Arg(10000)->Arg(100000);
BENCHMARK(StdSortRandom)->Arg(1000)->Arg(10000)->Arg(100000);
BENCHMARK(RadixFloatInOrder)->Arg(1000)->Arg(10000)->Arg(100000);
BENCHMARK(StdSortInOrder)->Arg(1000)->Arg(10000)->Arg(100000);
BENCHMARK(DrawItemsRandom)->Arg(1000)->Arg(10000)->Arg(100000);
BENCHMARK(DrawItemsInOrder)->Arg(1000)->Arg(10000)->Arg(100000);
