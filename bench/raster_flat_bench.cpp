// Fill rate of the flat solid triangles and their opaque spans, at 640x480,
// next to a memset of the same bytes measured in the same run.
//
// Counters: "pixels" is a rate in pixels per second (printed with a k/M/G
// prefix, so 1.2G/s is 1200 Mpixels/s); "triangles" likewise in triangles per
// second. Every iteration covers the whole 640x480 frame once:
//   Large: the frame as two triangles (a full-screen quad).
//   Small: 160 x 96 cells of 4 x 5 pixels, each cut in two, 30,720 triangles
//          of 10 pixels on average, inner grid points jittered by up to one
//          pixel in 1/16 steps (fixed seed), so edges fall between centres.
//   Rows:  the span function alone, called for the 480 full rows.
// Depth-tested runs make every pixel pass: each frame is drawn a little
// nearer than the last, and the depth buffer is cleared (outside the timing)
// before 1/z could leave the 32-bit range.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "raster/raster.h"
#include "raster_bench_support.h"

namespace {

using namespace span3d;
using namespace span3d::bench;

template <bool kDepth>
void FlatFrames(benchmark::State& state, int32_t columns, int32_t rows, int32_t jitter)
{
    DrawFrames<kDepth>(state, kDepth ? &FlatSolidTriangleZ : &FlatSolidTriangle, columns, rows, jitter,
                       SPAN3D_SHADE_FLAT, GridColour::Flat);
}

void BM_FlatLargeTriangles(benchmark::State& state) { FlatFrames<false>(state, 1, 1, 0); }
void BM_FlatLargeTrianglesZ(benchmark::State& state) { FlatFrames<true>(state, 1, 1, 0); }
void BM_FlatSmallTriangles(benchmark::State& state) { FlatFrames<false>(state, 160, 96, 16); }
void BM_FlatSmallTrianglesZ(benchmark::State& state) { FlatFrames<true>(state, 160, 96, 16); }
BENCHMARK(BM_FlatLargeTriangles);
BENCHMARK(BM_FlatLargeTrianglesZ);
BENCHMARK(BM_FlatSmallTriangles);
BENCHMARK(BM_FlatSmallTrianglesZ);

// The span functions alone over full rows, edges fixed at 0 and 640.
template <bool kDepth>
void SpanRows(benchmark::State& state)
{
    Frame frame;
    RasterEdge left{}, right{};
    right.X = kWidth;
    RasterState& r = g_Raster;
    r.LeftEdge = &left;
    r.RightEdge = &right;
    r.SpanColour = 0x31bd31bd;
    r.dZdX = 0.0f;
    for (auto _ : state) {
        if constexpr (kDepth) {
            left.Quantity[0].Value += 1.0f / 4096.0f;
            if (left.Quantity[0].Value > 1.5f) {
                state.PauseTiming();
                std::memset(frame.Depth.data(), 0, frame.Depth.size() * sizeof(int32_t));
                left.Quantity[0].Value = 0.25f;
                state.ResumeTiming();
            }
        }
        r.SpanPixelRow = frame.Pixels.data();
        r.SpanDepthRow = frame.Depth.data();
        for (int32_t y = 0; y < kHeight; ++y) {
            if constexpr (kDepth) {
                FlatSpanZ();
                r.SpanDepthRow += kWidth;
            } else {
                FlatSpan();
            }
            r.SpanPixelRow += kWidth;
        }
        benchmark::DoNotOptimize(frame.Pixels.data());
        benchmark::ClobberMemory();
    }
    SetRates(state, 0);
}

void BM_FlatSpanRows(benchmark::State& state) { SpanRows<false>(state); }
void BM_FlatSpanRowsZ(benchmark::State& state) { SpanRows<true>(state); }
BENCHMARK(BM_FlatSpanRows);
BENCHMARK(BM_FlatSpanRowsZ);

// The bound: memset of the bytes that an opaque frame writes, pixels only
// and pixels with depth.
void BM_FlatBoundMemset(benchmark::State& state)
{
    Frame frame;
    int value = 0;
    for (auto _ : state) {
        std::memset(frame.Pixels.data(), value++ & 0x7f, (size_t)kPixels * sizeof(uint16_t));
        benchmark::DoNotOptimize(frame.Pixels.data());
        benchmark::ClobberMemory();
    }
    SetRates(state, 0);
}
void BM_FlatBoundMemsetZ(benchmark::State& state)
{
    Frame frame;
    int value = 0;
    for (auto _ : state) {
        std::memset(frame.Pixels.data(), value & 0x7f, (size_t)kPixels * sizeof(uint16_t));
        std::memset(frame.Depth.data(), value & 0x7f, (size_t)kPixels * sizeof(int32_t));
        ++value;
        benchmark::DoNotOptimize(frame.Pixels.data());
        benchmark::DoNotOptimize(frame.Depth.data());
        benchmark::ClobberMemory();
    }
    SetRates(state, 0);
}
BENCHMARK(BM_FlatBoundMemset);
BENCHMARK(BM_FlatBoundMemsetZ);

}  // namespace
