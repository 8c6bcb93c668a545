// Memory bounds for the fill-rate benchmarks: what the machine does with the
// bytes of one 640x480 frame when nothing is computed. A span benchmark's
// rate reads against these figures from the same run. The write bounds (a
// memset of the colour buffer, with and without the depth buffer) sit beside
// the flat span benchmarks; this file holds the bounds that no single span
// family owns.
//
// The counter "pixels" is a rate in pixels per second (Google Benchmark prints
// it with a k/M/G prefix: 1.2G/s is 1200 Mpixels/s). Each iteration touches
// one frame, 640 x 480 = 307,200 pixels.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace {

constexpr int kWidth = 640;
constexpr int kHeight = 480;
constexpr size_t kPixels = static_cast<size_t>(kWidth) * kHeight;

void SetPixelRate(benchmark::State& state)
{
    state.counters["pixels"] = benchmark::Counter(
        static_cast<double>(kPixels), benchmark::Counter::kIsIterationInvariantRate);
}

// Depth read and compared, nothing written: the bound of a depth-tested span
// whose pixels all fail (layers drawn front to back).
void BM_BoundDepthReadOnly(benchmark::State& state)
{
    std::vector<int32_t> depth(kPixels, 1 << 30);
    int32_t probe = 1 << 20;
    for (auto _ : state) {
        uint32_t passed = 0;
        for (size_t i = 0; i < kPixels; ++i) passed += depth[i] < probe ? 1u : 0u;
        benchmark::DoNotOptimize(passed);
        benchmark::DoNotOptimize(probe);
    }
    SetPixelRate(state);
}
BENCHMARK(BM_BoundDepthReadOnly);

}  // namespace
