// Fill rate of the Gouraud solid triangles at 640x480, with and without the
// depth test, on the same triangles as the flat fill-rate benchmark (whose
// BM_Flat* figures print in the same run):
//   Large: the frame as two triangles (a full-screen quad).
//   Small: 160 x 96 cells of 4 x 5 pixels, each cut in two, 30,720 triangles
//          of 10 pixels on average, inner grid points jittered by up to one
//          pixel in 1/16 steps (seed 1234), so edges fall between centres.
//   Rows:  the opaque span function alone, called for the 480 full rows.
// Every grid point has its own colour (seed 4321), so the channels really
// vary across each triangle.
//
// Counters: "pixels" is a rate in pixels per second (printed with a k/M/G
// prefix, so 95M/s is 95 Mpixels/s); "triangles" likewise in triangles per
// second. Depth-tested runs make every pixel pass: each frame is drawn a
// little nearer than the last, and the depth buffer is cleared (outside the
// timing) before 1/z could leave the 32-bit range.
#include <benchmark/benchmark.h>

#include <vector>

#include "raster/raster.h"
#include "raster_bench_support.h"

namespace {

using namespace span3d;
using namespace span3d::bench;

template <bool kDepth>
void GouraudFrames(benchmark::State& state, int32_t columns, int32_t rows, int32_t jitter)
{
    DrawFrames<kDepth>(state, kDepth ? &GouraudSolidTriangleZ : &GouraudSolidTriangle, columns, rows,
                       jitter, SPAN3D_SHADE_GOURAUD, GridColour::PerPoint);
}

void BM_GouraudLargeTriangles(benchmark::State& state) { GouraudFrames<false>(state, 1, 1, 0); }
void BM_GouraudLargeTrianglesZ(benchmark::State& state) { GouraudFrames<true>(state, 1, 1, 0); }
void BM_GouraudSmallTriangles(benchmark::State& state) { GouraudFrames<false>(state, 160, 96, 16); }
void BM_GouraudSmallTrianglesZ(benchmark::State& state) { GouraudFrames<true>(state, 160, 96, 16); }
BENCHMARK(BM_GouraudLargeTriangles);
BENCHMARK(BM_GouraudLargeTrianglesZ);
BENCHMARK(BM_GouraudSmallTriangles);
BENCHMARK(BM_GouraudSmallTrianglesZ);

// The opaque span functions alone over full rows, edges fixed at 0 and 640,
// a ramp of red across the row.
template <bool kDepth>
void SpanRows(benchmark::State& state)
{
    Frame frame;
    RasterEdge left{}, right{};
    right.X = kWidth;
    RasterState& r = g_Raster;
    r.LeftEdge = &left;
    r.RightEdge = &right;
    r.dRdX = 255.0f / kWidth;
    r.dGdX = r.dBdX = 0.0f;
    r.BiasRed = r.BiasGreen = r.BiasBlue = 0x7fff;
    r.dZdX = 0.0f;
    const int32_t red = GouraudRedQuantity(kDepth);
    left.Quantity[red + 0].Value = 0.0f;
    left.Quantity[red + 1].Value = 100.0f;
    left.Quantity[red + 2].Value = 200.0f;
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
            left.Y = y;
            if constexpr (kDepth) {
                GouraudSpanZ();
                r.SpanDepthRow += kWidth;
            } else {
                GouraudSpan();
            }
            r.SpanPixelRow += kWidth;
        }
        benchmark::DoNotOptimize(frame.Pixels.data());
        benchmark::ClobberMemory();
    }
    SetRates(state, 0);
}

void BM_GouraudSpanRows(benchmark::State& state) { SpanRows<false>(state); }
void BM_GouraudSpanRowsZ(benchmark::State& state) { SpanRows<true>(state); }
BENCHMARK(BM_GouraudSpanRows);
BENCHMARK(BM_GouraudSpanRowsZ);

}  // namespace
