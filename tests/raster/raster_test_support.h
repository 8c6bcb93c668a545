// Small drawing harness for the rasterizer tests: a hand-made target record
// over test-owned buffers, and one triangle (polygon, three vertices, front
// and back material) ready to hand to a triangle function.
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "raster/raster.h"

namespace span3d::test {

// Builds the colour tables for one test suite and frees them after it.
class ColourTablesSuite : public ::testing::Test {
protected:
    static void SetUpTestSuite() { BuildColourTables(); }
    static void TearDownTestSuite() { ReleaseColourTables(); }
};

// A target of width x height pixels inside rows of `pitch` entries. Columns
// from width to pitch - 1 belong to no triangle: tests check that they keep
// their fill, which catches pitch faults.
struct Canvas {
    int32_t Width, Height, Pitch;
    std::vector<uint16_t> Pixels;
    std::vector<int32_t> Depth;
    Viewport Target{};

    Canvas(int32_t width, int32_t height, int32_t pitch, uint16_t fill = 0, int32_t depthFill = 0)
        : Width(width), Height(height), Pitch(pitch),
          Pixels((size_t)pitch * height, fill), Depth((size_t)pitch * height, depthFill)
    {
        Target.Pixels = Pixels.data();
        Target.DepthBuffer = Depth.data();
        Target.PixelPitch = pitch;
    }
    uint16_t& At(int32_t x, int32_t y) { return Pixels[(size_t)y * Pitch + x]; }
    int32_t& DepthAt(int32_t x, int32_t y) { return Depth[(size_t)y * Pitch + x]; }
    void MakeCurrent() { SetRasterTarget(&Target, nullptr); }

    // The pixels equal to `mark` as rows of '#' and '.', over the whole pitch.
    std::string Mask(uint16_t mark)
    {
        std::string s;
        for (int32_t y = 0; y < Height; ++y) {
            for (int32_t x = 0; x < Pitch; ++x) s += At(x, y) == mark ? '#' : '.';
            s += '\n';
        }
        return s;
    }
};

// Joins rows of a mask drawn inside `width` columns and pads each row with
// '.' up to `pitch`, to compare with Canvas::Mask.
inline std::string Rows(const std::vector<std::string>& rows, int32_t pitch, int32_t height)
{
    std::string s;
    for (int32_t y = 0; y < height; ++y) {
        std::string row = y < (int32_t)rows.size() ? rows[(size_t)y] : std::string();
        row.resize((size_t)pitch, '.');
        s += row + '\n';
    }
    return s;
}

struct Point {
    float X, Y, Z;
};

// One polygon with its own vertices. The slots (the working corner order)
// are given directly; Flags bit 7 decides how they are stored: set, Corner
// is 0, 1, 2 and the back material is used; clear, Corner is 2, 1, 0 so that
// the reversal of the corner order yields the same slots, and the front
// material is used.
struct Triangle {
    RasterVertex Vertices[3]{};
    MeshPolygon Polygon{};
    Material Front{};
    Material Back{};

    Triangle() { Polygon.FrontMaterial = &Front; Polygon.BackMaterial = &Back; }

    void Set(Point s0, Point s1, Point s2, bool backFacing = true)
    {
        const Point slot[3] = {s0, s1, s2};
        for (int32_t k = 0; k < 3; ++k) {
            Vertices[k].ScreenPosition = Vector3{slot[k].X, slot[k].Y, slot[k].Z};
            Polygon.Corner[k] = backFacing ? (uint32_t)k : (uint32_t)(2 - k);
        }
        Polygon.Flags = 0x700e43u | (backFacing ? SPAN3D_BACK_FACE_BIT : 0u);
    }
    // The material that the corner order picks.
    Material& Chosen() { return (Polygon.Flags & SPAN3D_BACK_FACE_BIT) ? Back : Front; }
    void SetColour(uint16_t colour)
    {
        for (uint32_t& c : Polygon.CornerColour) c = colour;
    }
    void SetAlpha(uint16_t mode, uint16_t level = 0)
    {
        Front.AlphaMode = Back.AlphaMode = mode;
        Front.AlphaLevel = Back.AlphaLevel = level;
    }
    void Draw(TriangleRasterizer rasterizer) { rasterizer(&Polygon, Vertices); }
};

// One way of reaching a triangle function: directly or through the dispatch
// table, as a back face or a front face.
struct Route {
    const char* Name;
    TriangleRasterizer Function;
    bool BackFacing;
};

// Slots (0,0), (8,0), (0,8) with 1/z = 0.25 + x / 64 + y / 128 at the
// corners (0.25, 0.375, 0.3125): d = -64, dZdX = 1/64, dZdY = 1/128, all
// exact, so the depth word at (x, y) is 2^28 + x * 2^24 + y * 2^23.
inline int32_t ExpectedDepth(int32_t x, int32_t y) { return (1 << 28) + x * (1 << 24) + y * (1 << 23); }

}  // namespace span3d::test
