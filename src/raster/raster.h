// Rasterizers: from one screen-space triangle to 16-bit pixels and 32-bit
// depth words. This is the subsystem's one internal header. The pipeline
// needs only RasterizerTable and SetRasterTarget from it; everything else
// here is shared among the triangle families and their span functions.
//
// Formats used throughout:
//   28.4   triangle coordinates: screen x, y times 16, rounded to nearest even.
//   2.30   depth words: round(2^30 * 1/z), larger is nearer.
//   Pixel15 words: blue bits 0-4, green 5-9, red 10-14, bit 15 unused.
#pragma once

#include <stdint.h>

#include "span3d.h"
#include "kernel/kernel.h"

namespace span3d {

// ---------------------------------------------------------------- dispatch

// One row of the dispatch table: 128 triangle functions indexed by the render
// mode bits 20-26 of the effective flags, doubled, plus 1 for the depth-tested
// form. Every entry is a function; empty combinations hold NoOpRasterizer.
constexpr int32_t kRasterizerRowLength = 128;
constexpr int32_t kRasterizerRowCount  = 8;

// RasterizerTable[flags & 7][index]: the row for the shade mode (1 none,
// 3 flat, 7 Gouraud; 0, 2, 4, 5 and 6 share one row of no-ops), then
// index = (flags >> 19) & 0xfe, or ((flags & 0x7f00000) | 0x80000) >> 19 for
// the depth-tested entry. The index is not range-checked: flags with bit 26
// and bits 20-22 together would read past the row, and the object model must
// never produce them.
extern const TriangleRasterizer* const RasterizerTable[kRasterizerRowCount];

// Index of a render mode in a row (mode = bits 20-26 of the flags).
constexpr int32_t RasterizerIndex(uint32_t flags) { return (int32_t)((flags >> 19) & 0xfe); }
constexpr int32_t RasterizerIndexZ(uint32_t flags)
{
    return (int32_t)(((flags & 0x7f00000u) | 0x80000u) >> 19);
}

// ---------------------------------------------------------------- edges

// A value interpolated down an edge: the value on the current row at column
// X, the step added on every row, and the extra step added on a row where
// the error term overflowed and X took one more column.
struct EdgeQuantity {
    float Value;
    float RowStep;
    float CarryStep;
};

// Families carry at most six quantities on an edge (depth, u, v, red, green,
// blue). Depth, when tested, is always quantity 0.
constexpr int32_t kMaxEdgeQuantities = 6;

// One triangle edge in walking form: a floor-divided DDA whose X on every row
// is the exact ceiling of the edge's crossing with the row's pixel centres.
struct RasterEdge {
    int32_t X;            // first pixel column at or right of the edge on row Y
    int32_t XStep;        // whole columns per row, floored (negative when leaning left)
    int32_t Numerator;    // fractional step, in units of 1/Denominator, 0..Denominator-1
    int32_t Denominator;  // dy * 16: the edge's height in 28.4 units times 16
    int32_t ErrorTerm;    // running fraction, kept in 0..Denominator-1
    int32_t Y;            // current row
    int32_t Height;       // rows left to walk
    EdgeQuantity Quantity[kMaxEdgeQuantities];
};

// Ceiling of a 28.4 value, as a whole pixel: floor((v + 15) / 16) with a true
// floor for negative values (the arithmetic shift floors).
constexpr int32_t Ceil28_4(int32_t v) { return (int32_t)((uint32_t)v + 15u) >> 4; }

// Floor division with a positive denominator: *floor = floor(n / d) and
// *mod = n - floor * d, in 0..d-1, for numerators of either sign.
inline void FloorDivMod(int32_t numerator, int32_t denominator, int32_t* floor, int32_t* mod)
{
    if (numerator >= 0) {
        *floor = numerator / denominator;
        *mod = numerator % denominator;
        return;
    }
    // The magnitude is taken unsigned so that the most negative numerator
    // divides without overflow.
    const uint32_t magnitude = 0u - (uint32_t)numerator;
    const uint32_t d = (uint32_t)denominator;
    int32_t q = -(int32_t)(magnitude / d);
    int32_t r = (int32_t)(magnitude % d);
    if (r != 0) {
        q -= 1;
        r = denominator - r;
    }
    *floor = q;
    *mod = r;
}

// Sets up the integer part of an edge from A down to B (28.4 coordinates,
// yA <= yB): Y and Height always; the rest only when Height is not 0. A
// zero-height edge keeps stale X, XStep, ... from an earlier triangle, and
// nothing reads them. Returns Height.
int32_t SetupEdge(RasterEdge* edge, int32_t xA, int32_t yA, int32_t xB, int32_t yB);

// Steps an edge down one row, carrying its first kQuantities quantities.
template <int32_t kQuantities>
inline void StepEdge(RasterEdge* edge)
{
    edge->X += edge->XStep;
    edge->Y += 1;
    edge->Height -= 1;
    edge->ErrorTerm += edge->Numerator;
    for (int32_t i = 0; i < kQuantities; ++i) edge->Quantity[i].Value += edge->Quantity[i].RowStep;
    if (edge->ErrorTerm >= edge->Denominator) {
        edge->X += 1;
        edge->ErrorTerm -= edge->Denominator;
        for (int32_t i = 0; i < kQuantities; ++i) edge->Quantity[i].Value += edge->Quantity[i].CarryStep;
    }
}

// ---------------------------------------------------------------- triangle set-up
// Pieces of the triangle walk shared by the solid and textured families. A
// family's working slot is any record with 28.4 X, Y and, when depth-tested,
// the vertex's 1/z as Z.

// The three slots ordered by 28.4 y with a fixed decision tree, and which
// side the middle vertex bounds.
struct SlotOrder {
    int32_t Top, Middle, Bottom;
    bool    MiddleLeft;
};

// MiddleCompare and BottomCompare rank the middle and the bottom slot in the
// order the slots follow one another round the triangle from the top: for
// clockwise slots the middle lies left exactly when the bottom comes first.
// No cross product is taken: slots running anticlockwise exchange left and
// right, every span has negative width and nothing is drawn, an implicit
// face test that nothing may disturb.
inline SlotOrder SortSlotsByY(int32_t y0, int32_t y1, int32_t y2)
{
    SlotOrder o;
    int32_t middleCompare, bottomCompare;
    if (y0 < y1) {
        if (y2 < y0) {
            o.Top = 2; o.Middle = 0; o.Bottom = 1; middleCompare = 0; bottomCompare = 1;
        } else if (y1 < y2) {
            o.Top = 0; o.Middle = 1; o.Bottom = 2; middleCompare = 1; bottomCompare = 2;
        } else {
            o.Top = 0; o.Middle = 2; o.Bottom = 1; middleCompare = 2; bottomCompare = 1;
        }
    } else {
        if (y2 < y1) {
            o.Top = 2; o.Middle = 1; o.Bottom = 0; middleCompare = 1; bottomCompare = 0;
        } else if (y0 < y2) {
            o.Top = 1; o.Middle = 0; o.Bottom = 2; middleCompare = 3; bottomCompare = 2;
        } else {
            o.Top = 1; o.Middle = 2; o.Bottom = 0; middleCompare = 2; bottomCompare = 3;
        }
    }
    o.MiddleLeft = bottomCompare <= middleCompare;
    return o;
}

// The change of 1/z per pixel along x and along y, from the three slots.
// The 28.4 differences are exact integers; their products are exact in
// double, which carries the whole expression; the 1/16 comes after the
// product.
template <class Slot>
inline void DepthGradient(const Slot* s, float* dZdX, float* dZdY)
{
    const double x0 = s[0].X, y0 = s[0].Y, x1 = s[1].X, y1 = s[1].Y, x2 = s[2].X, y2 = s[2].Y;
    const double z0 = s[0].Z, z1 = s[1].Z, z2 = s[2].Z;
    // Twice the signed area in pixels squared. A zero-area triangle divides by
    // zero here; the infinities reach only spans of zero or negative width.
    const double d = ((x1 - x2) * (y0 - y2) - (x0 - x2) * (y1 - y2)) / 256.0;
    const double overDx = 1.0 / d;
    const double overDy = -overDx;
    *dZdX = (float)(overDx * ((z1 - z2) * (y0 - y2) / 16.0 - (z0 - z2) * (y1 - y2) / 16.0));
    *dZdY = (float)(overDy * ((z1 - z2) * (x0 - x2) / 16.0 - (z0 - z2) * (x1 - x2) / 16.0));
}

// A quantity on an edge that starts at the slot (xA, yA) (28.4) with value qA:
// the value at the centre of the first pixel of the edge's first row, so a
// span needs no prestep; its step per row; its extra step on a carry row.
inline EdgeQuantity EdgeStartQuantity(const RasterEdge* edge, int32_t xA, int32_t yA, float qA,
                                      float dQdX, float dQdY)
{
    const double px = (double)(edge->X * 16 - xA) / 16.0;
    const double py = (double)(edge->Y * 16 - yA) / 16.0;
    EdgeQuantity q;
    q.Value = (float)((double)qA + py * dQdY + px * dQdX);
    q.RowStep = (float)((double)(float)edge->XStep * dQdX + dQdY);
    q.CarryStep = dQdX;
    return q;
}

// ---------------------------------------------------------------- depth

// A 1/z value as a 2.30 depth word: round(v * 2^30), to nearest even. The
// conversion is a 32-bit one: a value beyond the 32-bit range (or NaN) gives
// the processor's integer indefinite value, the most negative integer, which
// then loses every depth test.
inline int32_t DepthWord(double oneOverZ)
{
    const int64_t wide = FloatToInt(oneOverZ * 1073741824.0);
    return wide == (int64_t)(int32_t)wide ? (int32_t)wide : INT32_MIN;
}

// ---------------------------------------------------------------- spans

// A span function fills the current row of the current triangle from
// LeftEdge->X up to but not including RightEdge->X, reading everything from
// RasterState. It returns at once when that width is 0 or negative.
typedef void (*SpanFunction)(void);

// Material alpha modes, which are also the index of a span function in its
// group of four.
enum AlphaMode : uint32_t {
    kAlphaOpaque      = 0,
    kAlphaAdditive    = 1,
    kAlphaBlend       = 2,  // by the material's AlphaLevel
    kAlphaSubtractive = 3,
};
constexpr int32_t kSpanGroupSize = 4;

// Masks of the additive and subtractive pixel arithmetic. kGuardBits are the
// lowest bits of green and red and bit 15, where a per-channel carry or
// borrow lands; kChannelMask clears them, so these modes work on 5 bits of
// blue but only 4 of green and red.
constexpr uint32_t kGuardBits   = 0x8420;
constexpr uint32_t kChannelMask = 0x7bdf;

// ---------------------------------------------------------------- state

// The module-wide state of the rasterizers, owned by raster/dispatch.cpp.
// One thread draws at a time and no triangle function is re-entrant: a
// triangle function sets every field it uses before its first span.
struct RasterState {
    Viewport* RasterViewport;   // current target; buffers and pitch re-read per triangle
    Camera*   RasterCamera;     // current camera; only the clipped wire functions use it

    uint16_t* SpanPixelRow;     // first pixel of the current row
    int32_t*  SpanDepthRow;     // first depth word of the current row (depth-tested only)
    int32_t   RowPitchBytes;    // viewport pitch * 2
    int32_t   RowPitchPixels;   // viewport pitch, in pixels = depth words
    RasterEdge* LeftEdge;       // edges bounding the current span
    RasterEdge* RightEdge;
    uint32_t  SpanColour;       // flat colour: the Pixel15 in both halves (FlatSpanSubZ
                                // leaves c & 0x7bdf in the low half only)

    // Flat family, per triangle.
    int32_t   BlendDestRow;     // (255 - AlphaLevel) * 32: the destination's row of BlendProduct
    int32_t   BlendRed;         // AlphaLevel * the colour's 5-bit red, 0..7905
    int32_t   BlendGreen;
    int32_t   BlendBlue;
    float     dZdX;             // change of 1/z per pixel right (also the Gouraud family's)
    float     dZdY;             // change of 1/z per pixel down

    // Gouraud family, per triangle. Channels are on the 0..255 scale.
    float     dRdX, dRdY;       // change of red per pixel right, per pixel down
    float     dGdX, dGdY;       // likewise green
    float     dBdX, dBdY;       // likewise blue
    int32_t   BiasRed;          // 0x8000 or 0x7fff, added to a channel's 16.16 start
    int32_t   BiasGreen;        // value: rounds a half up or down
    int32_t   BiasBlue;
    int32_t   BlendInverse;     // 255 - AlphaLevel, 1..254, for AlphaMode 2

    // The three working edges of a triangle, shared by the solid and
    // textured families. Fields of a zero-height edge stay stale.
    RasterEdge TopToBottom;
    RasterEdge TopToMiddle;
    RasterEdge MiddleToBottom;
};
extern RasterState g_Raster;

// Stores the target and the camera for the triangle functions that follow.
// Nothing else changes: each triangle function reads pixels, depth buffer and
// pitch from the viewport anew, so buffers may change between triangles.
void SetRasterTarget(Viewport* viewport, Camera* camera);

// Step 1 of every triangle function: the target's buffers and pitch, re-read
// on every call. SpanPixelRow and SpanDepthRow then point at row 0.
template <bool kDepth>
inline void ReadRasterTarget()
{
    RasterState& r = g_Raster;
    const Viewport* viewport = r.RasterViewport;
    r.SpanPixelRow = viewport->Pixels;
    r.RowPitchBytes = viewport->PixelPitch * 2;
    if constexpr (kDepth) {
        r.SpanDepthRow = viewport->DepthBuffer;
        r.RowPitchPixels = viewport->PixelPitch;
    }
}

// A screen coordinate in 28.4: times 16, rounded to nearest even.
inline int32_t To28_4(float screen) { return (int32_t)FloatToInt((double)screen * 16.0); }

// Steps 10 to 14 of every solid and textured triangle function, once its
// three edges are set up in g_Raster: the upper half between top-to-middle
// and top-to-bottom, then the lower half with middle-to-bottom in place of
// top-to-middle, one span per row. Each edge is stepped after every span,
// also after the last one of its half, carrying its first kQuantities
// quantities. SpanPixelRow (and SpanDepthRow) hold row 0 on entry.
template <int32_t kQuantities, bool kDepth>
inline void DrawTriangleRows(SpanFunction span, bool middleLeft)
{
    RasterState& r = g_Raster;
    RasterEdge* const topToBottom = &r.TopToBottom;
    RasterEdge* const topToMiddle = &r.TopToMiddle;
    RasterEdge* const middleToBottom = &r.MiddleToBottom;
    if (middleLeft) {
        r.LeftEdge = topToMiddle;
        r.RightEdge = topToBottom;
    } else {
        r.LeftEdge = topToBottom;
        r.RightEdge = topToMiddle;
    }

    // The first row: both edges of the upper half start on the top row, and
    // so does top-to-bottom when the upper half is empty.
    r.SpanPixelRow = (uint16_t*)((uint8_t*)r.SpanPixelRow + (intptr_t)r.LeftEdge->Y * r.RowPitchBytes);
    if constexpr (kDepth) r.SpanDepthRow += (intptr_t)r.LeftEdge->Y * r.RowPitchPixels;

    for (int32_t half = 0; half < 2; ++half) {
        if (half == 1) {
            if (middleLeft) {
                r.LeftEdge = middleToBottom;
                r.RightEdge = topToBottom;
            } else {
                r.LeftEdge = topToBottom;
                r.RightEdge = middleToBottom;
            }
        }
        for (int32_t rows = (half == 0 ? topToMiddle : middleToBottom)->Height; rows > 0; --rows) {
            span();
            r.SpanPixelRow = (uint16_t*)((uint8_t*)r.SpanPixelRow + r.RowPitchBytes);
            if constexpr (kDepth) r.SpanDepthRow += r.RowPitchPixels;
            StepEdge<kQuantities>(r.LeftEdge);
            StepEdge<kQuantities>(r.RightEdge);
        }
    }
}

// ---------------------------------------------------------------- colour tables

// The look-up tables built by BuildColourTables, owned by raster/dispatch.cpp.
// The six pointers are heap blocks of exactly the stated size, row-major,
// indexed flat as [i * 32 + j] (BlendProduct as [a * 32 + v]).
struct ColourTables {
    uint8_t*  AddChannel5;        // [32][32] min(i + j, 31)
    uint8_t*  SubChannel5;        // [32][32] max(i - j, 0)
    uint8_t*  MulChannel5;        // [32][32] min((i * j) >> 5, 31)
    uint16_t* MulChannel5Green;   // [32][32] MulChannel5 << 5; built, released, read by nothing here
    uint16_t* MulChannel5Red;     // [32][32] MulChannel5 << 10; likewise
    uint16_t* BlendProduct;       // [256][32] a * v, at most 255 * 31 = 7905
    float     ReciprocalTable[256];  // 1.0f / n for n in 1..255; entry 0 stays 0
    int32_t   LineSlopeGain[32];  // 8.8 gain of a smooth line's slope class, 181..254
    int32_t   LineFalloff[64];    // 8.8 falloff across a smooth line, 256 down to 0
    uint32_t  TablesBuilt;        // guard that would skip building; nothing sets it
    uint32_t  LineTablesReady;    // written once the line tables exist; never read
};
extern ColourTables g_ColourTables;

// Builds every table: first LineSlopeGain and LineFalloff, then AddChannel5,
// SubChannel5, ReciprocalTable, the three MulChannel5 tables together, and
// BlendProduct. Allocations are not tested. A second call without
// ReleaseColourTables allocates afresh and loses the first blocks: the guard
// word that would prevent it is never set, and callers rely on rebuilding.
void BuildColourTables();

// Frees each heap table that is not null and nulls its pointer, in the order
// AddChannel5, SubChannel5, MulChannel5, MulChannel5Green, MulChannel5Red,
// BlendProduct.
void ReleaseColourTables();

// Constant tables, part of the program's data.
extern const uint8_t Channel5[256];         // v >> 3: an 8-bit channel to 5 bits
extern const int8_t  ChannelRemainder[256]; // -(v & 7), and 0 from 248 up
extern const uint8_t Dither4x4[16];         // levels 0..7 by (y & 3) * 4 + (x & 3)

// An 8-bit channel v (0..255) dithered down to 5 bits at dither level d
// (0..7): rounds up when the 3-bit fraction exceeds d. The zero remainder
// from 248 up keeps the result from ever reaching 32.
inline uint32_t DitherChannel(uint32_t v, int32_t d)
{
    return (uint32_t)Channel5[v] + (ChannelRemainder[v] + d < 0 ? 1u : 0u);
}

// ---------------------------------------------------------------- flat family

// Span groups of the flat solid triangles, in AlphaMode order.
void FlatSpan();
void FlatSpanAdd();
void FlatSpanBlend();
void FlatSpanSub();
void FlatSpanZ();
void FlatSpanAddZ();
void FlatSpanBlendZ();
void FlatSpanSubZ();
extern const SpanFunction FlatSpans[kSpanGroupSize];
extern const SpanFunction FlatSpansZ[kSpanGroupSize];

// ---------------------------------------------------------------- Gouraud family

// Edge quantities of the Gouraud solid triangles: 1/z first when depth-tested,
// then red, green, blue on the 0..255 scale. Index of red:
constexpr int32_t GouraudRedQuantity(bool depth) { return depth ? 1 : 0; }

// A channel's 16.16 start value from its float: the float is scaled by 65536
// by adding 16 to its exponent field (0x8000000 to its bit pattern), then
// rounded to nearest even. Any exact multiplication would give the same
// integer: the two differ only for zero and denormals, which come out as
// numbers below 2^-100 and round to 0 all the same. A value beyond the 32-bit
// range gives the integer indefinite value, the most negative integer (up to
// 2^112; beyond that the exponent would carry into the sign).
inline int32_t Fixed16FromExponent(float value)
{
    const uint32_t scaled = __builtin_bit_cast(uint32_t, value) + 0x8000000u;
    return RoundToInt(__builtin_bit_cast(float, scaled));
}

// Span groups of the Gouraud solid triangles, in AlphaMode order. The plain
// group anchors the dither pattern to each span's right end, the depth-tested
// group to the screen.
void GouraudSpan();
void GouraudSpanAdd();
void GouraudSpanBlend();
void GouraudSpanSub();
void GouraudSpanZ();
void GouraudSpanAddZ();
void GouraudSpanBlendZ();
void GouraudSpanSubZ();
extern const SpanFunction GouraudSpans[kSpanGroupSize];
extern const SpanFunction GouraudSpansZ[kSpanGroupSize];

}  // namespace span3d
