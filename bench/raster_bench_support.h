// What the triangle fill-rate benchmarks share: a 640x480 target, a grid of
// clockwise triangles over it, and the frame loop that draws the grid once
// per iteration.
//
//   Large: the frame as two triangles (a full-screen quad).
//   Small: 160 x 96 cells of 4 x 5 pixels, each cut in two, 30,720 triangles
//          of 10 pixels on average, inner grid points jittered by up to one
//          pixel in 1/16 steps (seed 1234), so edges fall between centres.
//
// Counters: "pixels" is a rate in pixels per second (printed with a k/M/G
// prefix, so 95M/s is 95 Mpixels/s); "triangles" likewise in triangles per
// second. Depth-tested runs make every pixel pass: each frame is drawn a
// little nearer than the last, and the depth buffer is cleared (outside the
// timing) before 1/z could leave the 32-bit range.
#pragma once

#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <vector>

#include "raster/raster.h"

namespace span3d::bench {

constexpr int32_t kWidth = 640;
constexpr int32_t kHeight = 480;
constexpr int64_t kPixels = (int64_t)kWidth * kHeight;

struct Frame {
    std::vector<uint16_t> Pixels = std::vector<uint16_t>(kPixels);
    std::vector<int32_t> Depth = std::vector<int32_t>(kPixels);
    Viewport Target{};
    Material Opaque{};

    // The opaque spans read only constant tables: no table is built here.
    Frame()
    {
        Target.Pixels = Pixels.data();
        Target.DepthBuffer = Depth.data();
        Target.PixelPitch = kWidth;
        SetRasterTarget(&Target, nullptr);
    }
};

// How the grid's corners are coloured: one flat Pixel15 for every corner, or
// a random 8-bit-per-channel colour per grid point (seed 4321) that each
// corner takes from its point, so Gouraud channels really vary.
enum class GridColour { Flat, PerPoint };

// Polygons over one vertex array, all clockwise on the screen.
struct Grid {
    std::vector<RasterVertex> Vertices;
    std::vector<uint32_t> Colours;
    std::vector<MeshPolygon> Polygons;

    void SetDepth(float oneOverZ)
    {
        for (RasterVertex& v : Vertices) v.ScreenPosition.z = oneOverZ;
    }
};

// A grid of (columns + 1) x (rows + 1) points over the frame, each cell cut
// along its diagonal into two triangles with the given shade mode.
inline Grid MakeGrid(int32_t columns, int32_t rows, int32_t jitter, Material* material,
                     uint32_t shade, GridColour colouring)
{
    Grid grid;
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
            grid.Colours.push_back(colouring == GridColour::PerPoint ? (colours() & 0xffffff) : 0x31bdu);
        }
    }
    const auto add = [&](uint32_t a, uint32_t b, uint32_t c) {
        MeshPolygon p{};
        p.Flags = 0x700040u | shade | SPAN3D_BACK_FACE_BIT;  // slots in Corner order
        p.Corner[0] = a;
        p.Corner[1] = b;
        p.Corner[2] = c;
        p.FrontMaterial = p.BackMaterial = material;
        p.CornerColour[0] = grid.Colours[a];
        p.CornerColour[1] = grid.Colours[b];
        p.CornerColour[2] = grid.Colours[c];
        grid.Polygons.push_back(p);
    };
    for (int32_t j = 0; j < rows; ++j) {
        for (int32_t i = 0; i < columns; ++i) {
            const uint32_t a = (uint32_t)(j * (columns + 1) + i), b = a + 1;
            const uint32_t d = a + (uint32_t)(columns + 1), c = d + 1;
            add(a, b, c);
            add(a, c, d);
        }
    }
    return grid;
}

inline void SetRates(benchmark::State& state, int64_t trianglesPerFrame)
{
    state.counters["pixels"] = benchmark::Counter((double)(kPixels * state.iterations()), benchmark::Counter::kIsRate);
    if (trianglesPerFrame > 0) {
        state.counters["triangles"] =
            benchmark::Counter((double)(trianglesPerFrame * state.iterations()), benchmark::Counter::kIsRate);
    }
}

// Draws the grid with `draw` once per iteration.
template <bool kDepth>
void DrawFrames(benchmark::State& state, TriangleRasterizer draw, int32_t columns, int32_t rows,
                int32_t jitter, uint32_t shade, GridColour colouring)
{
    Frame frame;
    Grid grid = MakeGrid(columns, rows, jitter, &frame.Opaque, shade, colouring);
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

}  // namespace span3d::bench
