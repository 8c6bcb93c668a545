// Rasterizer dispatch: the table of triangle functions, the module-wide
// raster state, the render target, and the colour look-up tables.
#include "raster/raster.h"

#include "kernel/kernel.h"

namespace span3d {

// ---------------------------------------------------------------- state

RasterState g_Raster;
ColourTables g_ColourTables;

void SetRasterTarget(Viewport* viewport, Camera* camera)
{
    g_Raster.RasterViewport = viewport;
    g_Raster.RasterCamera = camera;
}

// ---------------------------------------------------------------- dispatch table

namespace {

// The twelve populated positions of a row, one pair (plain, depth-tested)
// per render mode. A family that has not landed yet is NoOpRasterizer.
struct RowEntries {
    TriangleRasterizer Dots, DotsZ;          // mode 0x01, index 2, 3
    TriangleRasterizer Wire, WireZ;          // mode 0x03, index 6, 7
    TriangleRasterizer Solid, SolidZ;        // mode 0x07, index 14, 15
    TriangleRasterizer Diffuse, DiffuseZ;    // mode 0x0f, index 30, 31
    TriangleRasterizer Opacity, OpacityZ;    // mode 0x17, index 46, 47
    TriangleRasterizer Third, ThirdZ;        // mode 0x27, index 78, 79
};

struct RasterizerRow {
    TriangleRasterizer Entry[kRasterizerRowLength];
};
static_assert(sizeof(RasterizerRow) == kRasterizerRowLength * sizeof(TriangleRasterizer));

// Render mode (bits 20-26 of the flags) to its even index in a row.
constexpr int32_t ModeIndex(uint32_t mode) { return RasterizerIndex(mode << 20); }

constexpr RasterizerRow MakeRow(const RowEntries& e)
{
    RasterizerRow row{};
    for (int32_t i = 0; i < kRasterizerRowLength; ++i) row.Entry[i] = &NoOpRasterizer;
    // Every combination not listed here (two stages, wire with a stage, ...)
    // stays empty and the polygon vanishes.
    row.Entry[ModeIndex(0x01) + 0] = e.Dots;
    row.Entry[ModeIndex(0x01) + 1] = e.DotsZ;
    row.Entry[ModeIndex(0x03) + 0] = e.Wire;
    row.Entry[ModeIndex(0x03) + 1] = e.WireZ;
    row.Entry[ModeIndex(0x07) + 0] = e.Solid;
    row.Entry[ModeIndex(0x07) + 1] = e.SolidZ;
    row.Entry[ModeIndex(0x0f) + 0] = e.Diffuse;
    row.Entry[ModeIndex(0x0f) + 1] = e.DiffuseZ;
    row.Entry[ModeIndex(0x17) + 0] = e.Opacity;
    row.Entry[ModeIndex(0x17) + 1] = e.OpacityZ;
    row.Entry[ModeIndex(0x27) + 0] = e.Third;
    row.Entry[ModeIndex(0x27) + 1] = e.ThirdZ;
    return row;
}

static_assert(ModeIndex(0x01) == 2 && ModeIndex(0x03) == 6 && ModeIndex(0x07) == 14);
static_assert(ModeIndex(0x0f) == 30 && ModeIndex(0x17) == 46 && ModeIndex(0x27) == 78);
static_assert(RasterizerIndexZ(0x700000u) == 15 && RasterizerIndexZ(0x2700000u) == 79);

constexpr TriangleRasterizer kNone = &NoOpRasterizer;

// Shade value 1: no shading. Its solid triangles are the flat ones; the
// textured ones read no colour.
constexpr RasterizerRow kNoneRow = MakeRow(RowEntries{
    kNone, kNone,                            // ClipAndDrawFlatDotsTriangle(Z)
    kNone, kNone,                            // ClipAndDrawFlatWireTriangle(Z)
    &FlatSolidTriangle, &FlatSolidTriangleZ,
    kNone, kNone,                            // NoneDiffuseTriangle(Z)
    kNone, kNone,                            // NoneOpacityTriangle(Z)
    kNone, kNone,                            // NoneThirdTriangle(Z)
});

// Shade value 3: flat.
constexpr RasterizerRow kFlatRow = MakeRow(RowEntries{
    kNone, kNone,                            // ClipAndDrawFlatDotsTriangle(Z)
    kNone, kNone,                            // ClipAndDrawFlatWireTriangle(Z)
    &FlatSolidTriangle, &FlatSolidTriangleZ,
    kNone, kNone,                            // FlatDiffuseTriangle(Z)
    kNone, kNone,                            // FlatOpacityTriangle(Z)
    kNone, kNone,                            // FlatThirdTriangle(Z)
});

// Shade value 7: Gouraud.
constexpr RasterizerRow kGouraudRow = MakeRow(RowEntries{
    kNone, kNone,                            // ClipAndDrawGouraudDotsTriangle(Z)
    kNone, kNone,                            // ClipAndDrawGouraudWireTriangle(Z)
    &GouraudSolidTriangle, &GouraudSolidTriangleZ,
    kNone, kNone,                            // GouraudDiffuseTriangle(Z)
    kNone, kNone,                            // GouraudOpacityTriangle(Z)
    kNone, kNone,                            // GouraudThirdTriangle(Z)
});

// Shade values 0, 2, 4, 5, 6 share this row: such polygons are not drawn.
constexpr RasterizerRow kEmptyRow = MakeRow(RowEntries{
    kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone,
});

}  // namespace

const TriangleRasterizer* const RasterizerTable[kRasterizerRowCount] = {
    kEmptyRow.Entry,    // 0
    kNoneRow.Entry,     // 1 none
    kEmptyRow.Entry,    // 2
    kFlatRow.Entry,     // 3 flat
    kEmptyRow.Entry,    // 4
    kEmptyRow.Entry,    // 5
    kEmptyRow.Entry,    // 6
    kGouraudRow.Entry,  // 7 Gouraud
};
static_assert(sizeof(RasterizerTable) / sizeof(RasterizerTable[0]) == kRasterizerRowCount);

// ---------------------------------------------------------------- constant tables

constexpr uint8_t Channel5[256] = {
     0,  0,  0,  0,  0,  0,  0,  0,  1,  1,  1,  1,  1,  1,  1,  1,
     2,  2,  2,  2,  2,  2,  2,  2,  3,  3,  3,  3,  3,  3,  3,  3,
     4,  4,  4,  4,  4,  4,  4,  4,  5,  5,  5,  5,  5,  5,  5,  5,
     6,  6,  6,  6,  6,  6,  6,  6,  7,  7,  7,  7,  7,  7,  7,  7,
     8,  8,  8,  8,  8,  8,  8,  8,  9,  9,  9,  9,  9,  9,  9,  9,
    10, 10, 10, 10, 10, 10, 10, 10, 11, 11, 11, 11, 11, 11, 11, 11,
    12, 12, 12, 12, 12, 12, 12, 12, 13, 13, 13, 13, 13, 13, 13, 13,
    14, 14, 14, 14, 14, 14, 14, 14, 15, 15, 15, 15, 15, 15, 15, 15,
    16, 16, 16, 16, 16, 16, 16, 16, 17, 17, 17, 17, 17, 17, 17, 17,
    18, 18, 18, 18, 18, 18, 18, 18, 19, 19, 19, 19, 19, 19, 19, 19,
    20, 20, 20, 20, 20, 20, 20, 20, 21, 21, 21, 21, 21, 21, 21, 21,
    22, 22, 22, 22, 22, 22, 22, 22, 23, 23, 23, 23, 23, 23, 23, 23,
    24, 24, 24, 24, 24, 24, 24, 24, 25, 25, 25, 25, 25, 25, 25, 25,
    26, 26, 26, 26, 26, 26, 26, 26, 27, 27, 27, 27, 27, 27, 27, 27,
    28, 28, 28, 28, 28, 28, 28, 28, 29, 29, 29, 29, 29, 29, 29, 29,
    30, 30, 30, 30, 30, 30, 30, 30, 31, 31, 31, 31, 31, 31, 31, 31,
};
// No companion block of v & 7 follows: nothing indexes Channel5 beyond 255.

// The negated fraction that Channel5 drops. It is 0, not -(v & 7), from 248
// up, so that a dithered channel never rounds up past 31.
constexpr int8_t ChannelRemainder[256] = {
     0, -1, -2, -3, -4, -5, -6, -7,  0, -1, -2, -3, -4, -5, -6, -7,
     0, -1, -2, -3, -4, -5, -6, -7,  0, -1, -2, -3, -4, -5, -6, -7,
     0, -1, -2, -3, -4, -5, -6, -7,  0, -1, -2, -3, -4, -5, -6, -7,
     0, -1, -2, -3, -4, -5, -6, -7,  0, -1, -2, -3, -4, -5, -6, -7,
     0, -1, -2, -3, -4, -5, -6, -7,  0, -1, -2, -3, -4, -5, -6, -7,
     0, -1, -2, -3, -4, -5, -6, -7,  0, -1, -2, -3, -4, -5, -6, -7,
     0, -1, -2, -3, -4, -5, -6, -7,  0, -1, -2, -3, -4, -5, -6, -7,
     0, -1, -2, -3, -4, -5, -6, -7,  0, -1, -2, -3, -4, -5, -6, -7,
     0, -1, -2, -3, -4, -5, -6, -7,  0, -1, -2, -3, -4, -5, -6, -7,
     0, -1, -2, -3, -4, -5, -6, -7,  0, -1, -2, -3, -4, -5, -6, -7,
     0, -1, -2, -3, -4, -5, -6, -7,  0, -1, -2, -3, -4, -5, -6, -7,
     0, -1, -2, -3, -4, -5, -6, -7,  0, -1, -2, -3, -4, -5, -6, -7,
     0, -1, -2, -3, -4, -5, -6, -7,  0, -1, -2, -3, -4, -5, -6, -7,
     0, -1, -2, -3, -4, -5, -6, -7,  0, -1, -2, -3, -4, -5, -6, -7,
     0, -1, -2, -3, -4, -5, -6, -7,  0, -1, -2, -3, -4, -5, -6, -7,
     0, -1, -2, -3, -4, -5, -6, -7,  0,  0,  0,  0,  0,  0,  0,  0,
};

// Ordered 4x4 dither, levels 0..7 each twice: the three fraction bits that
// Channel5 drops.
constexpr uint8_t Dither4x4[16] = {
    0, 4, 1, 5,
    6, 2, 7, 3,
    1, 5, 0, 4,
    7, 3, 6, 2,
};

namespace {

constexpr bool ConstantTablesFollowTheirRules()
{
    for (int32_t v = 0; v < 256; ++v) {
        if (Channel5[v] != (v >> 3)) return false;
        if (ChannelRemainder[v] != (v < 248 ? -(v & 7) : 0)) return false;
    }
    return true;
}
static_assert(ConstantTablesFollowTheirRules());

}  // namespace

// ---------------------------------------------------------------- built tables

void BuildColourTables()
{
    ColourTables& t = g_ColourTables;
    if (t.TablesBuilt == 1) return;  // never taken: nothing sets the guard

    // Line tables, 8.8 fixed point. t * t is held as a float, as are the
    // arguments of the kernel's sqrt and exp; the products run in double.
    for (int32_t i = 0; i < 32; ++i) {
        const double s = (i + 0.5) * 0.03125;
        const float s2 = (float)(s * s);
        const float radicand = (float)(1.0 + (double)s2);
        t.LineSlopeGain[i] = (int32_t)FloatToInt(256.0 * 0.70710677 * ScalarSqrt(radicand));
    }
    for (int32_t i = 0; i < 64; ++i) {
        const double s = (i + 0.5) * 0.03125 * 1.3333333333333333;
        const float s2 = (float)(s * s);
        t.LineFalloff[i] = (int32_t)FloatToInt(256.0 / ScalarExp(s2));
    }
    t.LineTablesReady = 1;

    // Allocation results are not tested: a failed allocation faults on the
    // first write, as it always has.
    t.AddChannel5 = (uint8_t*)AllocateMemory(32 * 32);
    for (int32_t i = 0; i < 32; ++i)
        for (int32_t j = 0; j < 32; ++j) t.AddChannel5[i * 32 + j] = (uint8_t)(i + j < 31 ? i + j : 31);

    t.SubChannel5 = (uint8_t*)AllocateMemory(32 * 32);
    for (int32_t i = 0; i < 32; ++i)
        for (int32_t j = 0; j < 32; ++j) t.SubChannel5[i * 32 + j] = (uint8_t)(i - j > 0 ? i - j : 0);

    // Computed as a float division; entry 0 is never written and stays 0.
    for (int32_t n = 1; n < 256; ++n) t.ReciprocalTable[n] = 1.0f / (float)n;

    t.MulChannel5 = (uint8_t*)AllocateMemory(32 * 32);
    t.MulChannel5Green = (uint16_t*)AllocateMemory(32 * 32 * sizeof(uint16_t));
    t.MulChannel5Red = (uint16_t*)AllocateMemory(32 * 32 * sizeof(uint16_t));
    for (int32_t i = 0; i < 32; ++i) {
        for (int32_t j = 0; j < 32; ++j) {
            const int32_t product = (i * j) >> 5;  // at most 30, so the clamp to 31 never acts
            const uint8_t m = (uint8_t)(product < 31 ? product : 31);
            t.MulChannel5[i * 32 + j] = m;
            t.MulChannel5Green[i * 32 + j] = (uint16_t)(m << 5);
            t.MulChannel5Red[i * 32 + j] = (uint16_t)(m << 10);
        }
    }

    t.BlendProduct = (uint16_t*)AllocateMemory(256 * 32 * sizeof(uint16_t));
    for (int32_t a = 0; a < 256; ++a)
        for (int32_t v = 0; v < 32; ++v) t.BlendProduct[a * 32 + v] = (uint16_t)(a * v);
}

void ReleaseColourTables()
{
    ColourTables& t = g_ColourTables;
    if (t.AddChannel5) { FreeMemory(t.AddChannel5); t.AddChannel5 = nullptr; }
    if (t.SubChannel5) { FreeMemory(t.SubChannel5); t.SubChannel5 = nullptr; }
    if (t.MulChannel5) { FreeMemory(t.MulChannel5); t.MulChannel5 = nullptr; }
    if (t.MulChannel5Green) { FreeMemory(t.MulChannel5Green); t.MulChannel5Green = nullptr; }
    if (t.MulChannel5Red) { FreeMemory(t.MulChannel5Red); t.MulChannel5Red = nullptr; }
    if (t.BlendProduct) { FreeMemory(t.BlendProduct); t.BlendProduct = nullptr; }
}

}  // namespace span3d
