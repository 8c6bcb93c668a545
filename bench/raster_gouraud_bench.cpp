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

#include <cstring>
#include <random>
#include <vector>

#include "raster/raster.h"

namespace {

using namespace span3d;

constexpr int32_t kWidth = 640;
constexpr int32_t kHeight = 480;
constexpr int64_t kPixels = (int64_t)kWidth * kHeight;

struct Frame {
    std::vector<uint16_t> Pixels = std::vector<uint16_t>(kPixels);
    std::vector<int32_t> Depth = std::vector<int32_t>(kPixels);
    Viewport Target{};
    Material Opaque{};

    // The opaque spans read only the constant dither tables: no table is
    // built here.
    Frame()
    {
        Target.Pixels = Pixels.data();
        Target.DepthBuffer = Depth.data();
        Target.PixelPitch = kWidth;
        SetRasterTarget(&Target, nullptr);
    }
};

// A grid of (columns + 1) x (rows + 1) points over the frame, each cell cut
// along its diagonal into two clockwise triangles; each point carries a
// colour that its corners take.
struct GouraudGrid {
    std::vector<RasterVertex> Vertices;
    std::vector<uint32_t> Colours;
    std::vector<MeshPolygon> Polygons;

    void Add(uint32_t a, uint32_t b, uint32_t c, Material* material)
    {
        MeshPolygon p{};
        p.Flags = 0x700047u | SPAN3D_BACK_FACE_BIT;  // slots in Corner order
        p.Corner[0] = a;
        p.Corner[1] = b;
        p.Corner[2] = c;
        p.FrontMaterial = p.BackMaterial = material;
        p.CornerColour[0] = Colours[a];
        p.CornerColour[1] = Colours[b];
        p.CornerColour[2] = Colours[c];
        Polygons.push_back(p);
    }
    void SetDepth(float oneOverZ)
    {
        for (RasterVertex& v : Vertices) v.ScreenPosition.z = oneOverZ;
    }
};

GouraudGrid MakeGrid(int32_t columns, int32_t rows, int32_t jitter, Material* material)
{
    GouraudGrid grid;
    std::mt19937 rng(1234);
    std::mt19937 colours(4321);
    std::uniform_int_distribution<int32_t> offset(-jitter, jitter);
    for (int32_t j = 0; j <= rows; ++j) {
        for (int32_t i = 0; i <= columns; ++i) {
            const bool inner = i > 0 && i < columns && j > 0 && j < rows;
            RasterVertex v{};
            v.ScreenPosition.x = (float)(i * kWidth * 16 / columns + (inner ? offset(rng) : 0)) / 16.0f;
            v.ScreenPosition.y = (float)(j * kHeight * 16 / rows + (inner ? offset(rng) : 0)) / 16.0f;
            v.ScreenPosition.z = 0.5f;
            grid.Vertices.push_back(v);
            grid.Colours.push_back(colours() & 0xffffff);
        }
    }
    for (int32_t j = 0; j < rows; ++j) {
        for (int32_t i = 0; i < columns; ++i) {
            const uint32_t a = (uint32_t)(j * (columns + 1) + i), b = a + 1;
            const uint32_t d = a + (uint32_t)(columns + 1), c = d + 1;
            grid.Add(a, b, c, material);
            grid.Add(a, c, d, material);
        }
    }
    return grid;
}

void SetRates(benchmark::State& state, int64_t trianglesPerFrame)
{
    state.counters["pixels"] = benchmark::Counter((double)(kPixels * state.iterations()), benchmark::Counter::kIsRate);
    if (trianglesPerFrame > 0) {
        state.counters["triangles"] =
            benchmark::Counter((double)(trianglesPerFrame * state.iterations()), benchmark::Counter::kIsRate);
    }
}

template <bool kDepth>
void DrawFrames(benchmark::State& state, int32_t columns, int32_t rows, int32_t jitter)
{
    Frame frame;
    GouraudGrid grid = MakeGrid(columns, rows, jitter, &frame.Opaque);
    const TriangleRasterizer draw = kDepth ? &GouraudSolidTriangleZ : &GouraudSolidTriangle;
    float oneOverZ = 0.25f;
    for (auto _ : state) {
        if constexpr (kDepth) {
            // One frame nearer than the last: 2^-12 is 2^18 in depth words.
            oneOverZ += 1.0f / 4096.0f;
            if (oneOverZ > 1.5f) {
                state.PauseTiming();
                std::memset(frame.Depth.data(), 0, frame.Depth.size() * sizeof(int32_t));
                oneOverZ = 0.25f;
                state.ResumeTiming();
            }
            grid.SetDepth(oneOverZ);
        }
        for (MeshPolygon& p : grid.Polygons) draw(&p, grid.Vertices.data());
        benchmark::DoNotOptimize(frame.Pixels.data());
        benchmark::ClobberMemory();
    }
    SetRates(state, (int64_t)grid.Polygons.size());
}

void BM_GouraudLargeTriangles(benchmark::State& state) { DrawFrames<false>(state, 1, 1, 0); }
void BM_GouraudLargeTrianglesZ(benchmark::State& state) { DrawFrames<true>(state, 1, 1, 0); }
void BM_GouraudSmallTriangles(benchmark::State& state) { DrawFrames<false>(state, 160, 96, 16); }
void BM_GouraudSmallTrianglesZ(benchmark::State& state) { DrawFrames<true>(state, 160, 96, 16); }
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
