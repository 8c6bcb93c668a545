// Full-screen blur passes on a 640x480 frame, next to a copy of the same
// bytes measured in the same run (the least a pass over the frame costs).
//
// Counters: "passes" is a rate in whole-frame passes per second; "pixels" a
// rate in pixels per second (printed with a k/M/G prefix). The frame starts
// as seeded noise; the filters have no data-dependent branch, so the frames
// that repeated passes leave behind cost the same.
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <vector>

#include "post/post.h"

namespace {

constexpr int32_t kWidth = 640;
constexpr uint32_t kHeight = 480;
constexpr int64_t kPixels = (int64_t)kWidth * kHeight;

void SetRates(benchmark::State& state)
{
    state.counters["passes"] = benchmark::Counter((double)state.iterations(), benchmark::Counter::kIsRate);
    state.counters["pixels"] = benchmark::Counter((double)(kPixels * state.iterations()), benchmark::Counter::kIsRate);
}

std::vector<uint16_t> Noise()
{
    std::vector<uint16_t> frame((size_t)kPixels);
    std::mt19937 rng(2024);
    for (uint16_t& p : frame) p = (uint16_t)(rng() & 0x7fff);
    return frame;
}

void BM_FSBlur(benchmark::State& state)
{
    std::vector<uint16_t> frame = Noise();
    for (auto _ : state) {
        FSBlur(frame.data(), kWidth, kHeight);
        benchmark::DoNotOptimize(frame.data());
        benchmark::ClobberMemory();
    }
    SetRates(state);
}
BENCHMARK(BM_FSBlur);

void BM_FSBlurFast(benchmark::State& state)
{
    const std::vector<uint16_t> noise = Noise();
    std::vector<uint32_t> frame((size_t)kPixels / 2);
    std::memcpy(frame.data(), noise.data(), (size_t)kPixels * sizeof(uint16_t));
    for (auto _ : state) {
        FSBlurFast(frame.data(), kWidth, kHeight);
        benchmark::DoNotOptimize(frame.data());
        benchmark::ClobberMemory();
    }
    SetRates(state);
}
BENCHMARK(BM_FSBlurFast);

// The bound: one copy of the frame's bytes into a second frame.
void BM_BlurBoundCopy(benchmark::State& state)
{
    const std::vector<uint16_t> source = Noise();
    std::vector<uint16_t> frame((size_t)kPixels);
    for (auto _ : state) {
        std::memcpy(frame.data(), source.data(), (size_t)kPixels * sizeof(uint16_t));
        benchmark::DoNotOptimize(frame.data());
        benchmark::ClobberMemory();
    }
    SetRates(state);
}
BENCHMARK(BM_BlurBoundCopy);

}  // namespace
