// The flat test card: every flat rasterizer of the dispatch table on one
// picture, drawn as the frame driver will draw, through RasterizerTable.
//
//   - colour bars: opaque quads, each two triangles sharing a diagonal;
//   - the four alpha modes over the bars (opaque, additive, blend at level
//     128, subtractive), one square each, without depth;
//   - the same four modes with depth: an opaque near bar crosses each square,
//     so the depth test shows where the square stays hidden;
//   - a strip of fan triangles in additive mode over black, alternating the
//     two corner orders: a pixel written twice would show as a brighter seam.
#include "showcase.h"

#include "raster/raster.h"

namespace span3d_demo {
namespace {

constexpr int32_t kWidth = 320;
constexpr int32_t kHeight = 240;

constexpr Pixel15 Rgb(int32_t r, int32_t g, int32_t b)
{
    return (Pixel15)((r << 10) | (g << 5) | b);
}

// Flat shading, solid: row 3 of the table, index 14 without depth and 15 with.
constexpr uint32_t kFlatSolid = 0x700003u;

struct Painter {
    Material Materials[4];  // one per alpha mode

    Painter()
    {
        for (uint16_t mode = 0; mode < 4; ++mode) {
            Materials[mode] = Material{};
            Materials[mode].AlphaMode = mode;
            Materials[mode].AlphaLevel = 128;
        }
    }

    // Draws the screen triangle a, b, c (clockwise on screen, y down) at
    // depth z. backFacing picks which of the two stored corner orders the
    // rasterizer receives; both give the same pixels.
    void Triangle(float ax, float ay, float bx, float by, float cx, float cy, float z,
                  Pixel15 colour, int32_t mode, bool depth, bool backFacing)
    {
        RasterVertex v[3] = {};
        const float xs[3] = {ax, bx, cx};
        const float ys[3] = {ay, by, cy};
        MeshPolygon polygon = {};
        for (int32_t k = 0; k < 3; ++k) {
            // With the back-face bit, slot k is Corner[k]; without it the
            // rasterizer reverses the corners, so store them reversed.
            const int32_t slot = backFacing ? k : 2 - k;
            v[k].ScreenPosition = Vector3{xs[slot], ys[slot], 1.0f / z};
            polygon.Corner[k] = (uint32_t)k;
            polygon.CornerColour[k] = colour;
        }
        polygon.Flags = kFlatSolid | (backFacing ? SPAN3D_BACK_FACE_BIT : 0u);
        polygon.FrontMaterial = &Materials[mode];
        polygon.BackMaterial = &Materials[mode];
        const int32_t index =
            depth ? span3d::RasterizerIndexZ(polygon.Flags) : span3d::RasterizerIndex(polygon.Flags);
        span3d::RasterizerTable[polygon.Flags & 7][index](&polygon, v);
    }

    // An axis-aligned quad as two triangles sharing the diagonal from the
    // top-left to the bottom-right corner.
    void Quad(float x0, float y0, float x1, float y1, float z, Pixel15 colour, int32_t mode,
              bool depth)
    {
        Triangle(x0, y0, x1, y0, x1, y1, z, colour, mode, depth, true);
        Triangle(x0, y0, x1, y1, x0, y1, z, colour, mode, depth, false);
    }
};

}  // namespace

bool TestCard(Picture* out)
{
    out->fileName = "test_card.png";
    out->width = kWidth;
    out->height = kHeight;
    out->pitch = kWidth;
    out->pixels.assign((size_t)kWidth * kHeight, 0);

    // The host's image, viewed by a depth-tested viewport.
    Texture image = {};
    image.Pixels = out->pixels.data();
    image.PitchBytes = kWidth * 2;
    image.Width = kWidth;
    image.Height = kHeight;
    Viewport* viewport = CreateViewport(&image, kWidth, kHeight, 1, 0);
    if (!viewport) return false;
    ClearViewportDepthBuffer(viewport, 0);
    span3d::SetRasterTarget(viewport, nullptr);

    Painter paint;

    // Colour bars over the top two thirds: white, yellow, cyan, green,
    // magenta, red, blue, grey.
    const Pixel15 bars[8] = {Rgb(31, 31, 31), Rgb(31, 31, 0), Rgb(0, 31, 31), Rgb(0, 31, 0),
                             Rgb(31, 0, 31),  Rgb(31, 0, 0),  Rgb(0, 0, 31),  Rgb(12, 12, 12)};
    for (int32_t i = 0; i < 8; ++i)
        paint.Quad(i * 40.0f, 0.0f, i * 40.0f + 40.0f, 170.0f, 100.0f, bars[i], 0, false);

    // The four alpha modes over the bars, without depth.
    const Pixel15 probe = Rgb(16, 8, 20);
    for (int32_t mode = 0; mode < 4; ++mode) {
        const float x = 12.0f + mode * 78.0f;
        paint.Quad(x, 12.0f, x + 62.0f, 74.0f, 50.0f, probe, mode, false);
    }

    // With depth: an opaque near bar first, then each mode's square behind it.
    paint.Quad(0.0f, 108.0f, 320.0f, 124.0f, 10.0f, Rgb(4, 4, 4), 0, true);
    for (int32_t mode = 0; mode < 4; ++mode) {
        const float x = 12.0f + mode * 78.0f;
        paint.Quad(x, 90.0f, x + 62.0f, 152.0f, 20.0f, probe, mode, true);
    }

    // A fan strip over black in additive mode: each pixel must be written
    // exactly once, whichever corner order its triangle came in.
    const Pixel15 dim = Rgb(6, 10, 14);
    for (int32_t i = 0; i < 24; ++i) {
        const float x0 = 8.0f + i * 12.75f;
        const float x1 = x0 + 12.75f;
        const bool flip = (i & 1) != 0;
        paint.Triangle(x0, 182.0f, x1, 182.0f, x1, 230.0f, 30.0f, dim, 1, false, flip);
        paint.Triangle(x0, 182.0f, x1, 230.0f, x0, 230.0f, 30.0f, dim, 1, false, !flip);
    }

    DeleteViewport(viewport);
    return true;
}

}  // namespace span3d_demo
