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

    Frame()
    {
        Target.Pixels = Pixels.data();
        Target.DepthBuffer = Depth.data();
        Target.PixelPitch = kWidth;
        SetRasterTarget(&Target, nullptr);
    }
};

// A set of polygons over one vertex array, all clockwise on the screen.
struct Mesh2D {
    std::vector<RasterVertex> Vertices;
    std::vector<MeshPolygon> Polygons;

    void Add(uint32_t a, uint32_t b, uint32_t c, Material* material)
    {
        MeshPolygon p{};
        p.Flags = 0x700043u | SPAN3D_BACK_FACE_BIT;  // slots in Corner order
        p.Corner[0] = a;
        p.Corner[1] = b;
        p.Corner[2] = c;
        p.FrontMaterial = p.BackMaterial = material;
        p.CornerColour[0] = p.CornerColour[1] = p.CornerColour[2] = 0x31bd;
        Polygons.push_back(p);
    }
    void SetDepth(float oneOverZ)
    {
        for (RasterVertex& v : Vertices) v.ScreenPosition.z = oneOverZ;
    }
};

// A grid of (columns + 1) x (rows + 1) points over the frame, each cell cut
// along its diagonal into two triangles.
Mesh2D MakeGrid(int32_t columns, int32_t rows, int32_t jitter, Material* material)
{
    Mesh2D mesh;
    std::mt19937 rng(1234);
    std::uniform_int_distribution<int32_t> offset(-jitter, jitter);
    for (int32_t j = 0; j <= rows; ++j) {
        for (int32_t i = 0; i <= columns; ++i) {
            const bool inner = i > 0 && i < columns && j > 0 && j < rows;
            RasterVertex v{};
            v.ScreenPosition.x = (float)(i * kWidth * 16 / columns + (inner ? offset(rng) : 0)) / 16.0f;
            v.ScreenPosition.y = (float)(j * kHeight * 16 / rows + (inner ? offset(rng) : 0)) / 16.0f;
            v.ScreenPosition.z = 0.5f;
            mesh.Vertices.push_back(v);
        }
    }
    for (int32_t j = 0; j < rows; ++j) {
        for (int32_t i = 0; i < columns; ++i) {
            const uint32_t a = (uint32_t)(j * (columns + 1) + i), b = a + 1;
            const uint32_t d = a + (uint32_t)(columns + 1), c = d + 1;
            mesh.Add(a, b, c, material);
            mesh.Add(a, c, d, material);
        }
    }
    return mesh;
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
    Mesh2D mesh = MakeGrid(columns, rows, jitter, &frame.Opaque);
    const TriangleRasterizer draw = kDepth ? &FlatSolidTriangleZ : &FlatSolidTriangle;
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
            mesh.SetDepth(oneOverZ);
        }
        for (MeshPolygon& p : mesh.Polygons) draw(&p, mesh.Vertices.data());
        benchmark::DoNotOptimize(frame.Pixels.data());
        benchmark::ClobberMemory();
    }
    SetRates(state, (int64_t)mesh.Polygons.size());
}

void BM_FlatLargeTriangles(benchmark::State& state) { DrawFrames<false>(state, 1, 1, 0); }
void BM_FlatLargeTrianglesZ(benchmark::State& state) { DrawFrames<true>(state, 1, 1, 0); }
void BM_FlatSmallTriangles(benchmark::State& state) { DrawFrames<false>(state, 160, 96, 16); }
void BM_FlatSmallTrianglesZ(benchmark::State& state) { DrawFrames<true>(state, 160, 96, 16); }
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
