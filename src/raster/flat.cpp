// Flat solid triangles: one colour, optionally depth-tested. The slot set-up,
// the 28.4 edge walk, the fill convention and the two-halves loop written
// here are the pattern that the Gouraud and textured families follow.
//
// Fill convention. Pixel centres lie on integer coordinates. A row y belongs
// to the triangle when Ceil28_4(top y) <= y < Ceil28_4(bottom y), and a span
// covers left X <= x < right X, each X the ceiling of the edge's exact
// crossing with the row. So top and left edges own the pixels on them,
// bottom and right edges do not, and triangles sharing an edge cover each of
// its pixels once, whatever their corner order.
#include "raster/raster.h"

namespace span3d {

// ---------------------------------------------------------------- edges

int32_t SetupEdge(RasterEdge* edge, int32_t xA, int32_t yA, int32_t xB, int32_t yB)
{
    edge->Y = Ceil28_4(yA);
    edge->Height = Ceil28_4(yB) - edge->Y;
    if (edge->Height == 0) return 0;

    const int32_t dN = yB - yA;  // 28.4, > 0 here
    const int32_t dM = xB - xA;  // 28.4
    // X = ceil(exact crossing / 16) = floor((crossing + 16 * dN - 1) / (16 * dN)),
    // with crossing * dN = (Y * 16 - yA) * dM + xA * dN: the + 16 and the - 1
    // turn the floor into that ceiling. Plain 32-bit arithmetic, wrapping.
    const uint32_t n = (uint32_t)(edge->Y * 16 - yA) * (uint32_t)dM
                     + (uint32_t)(xA + 16) * (uint32_t)dN - 1u;
    FloorDivMod((int32_t)n, dN * 16, &edge->X, &edge->ErrorTerm);
    FloorDivMod(dM * 16, dN * 16, &edge->XStep, &edge->Numerator);
    edge->Denominator = dN * 16;
    return edge->Height;
}

namespace {

// One working corner: 28.4 position and, for the depth-tested function, 1/z
// as the vertex holds it.
struct FlatSlot {
    int32_t X;
    int32_t Y;
    float   Z;
};

// The change of 1/z per pixel along x and along y, from the three slots.
// The 28.4 differences are exact integers; their products are exact in
// double, which carries the whole expression.
void FlatDepthGradient(const FlatSlot* s, RasterState* r)
{
    const double x0 = s[0].X, y0 = s[0].Y, x1 = s[1].X, y1 = s[1].Y, x2 = s[2].X, y2 = s[2].Y;
    const double z0 = s[0].Z, z1 = s[1].Z, z2 = s[2].Z;
    // Twice the signed area in pixels squared. A zero-area triangle divides by
    // zero here; the infinities reach only spans of zero or negative width.
    const double d = ((x1 - x2) * (y0 - y2) - (x0 - x2) * (y1 - y2)) / 256.0;
    const double overDx = 1.0 / d;
    const double overDy = -overDx;
    r->dZdX = (float)(overDx * ((z1 - z2) * (y0 - y2) / 16.0 - (z0 - z2) * (y1 - y2) / 16.0));
    r->dZdY = (float)(overDy * ((z1 - z2) * (x0 - x2) / 16.0 - (z0 - z2) * (x1 - x2) / 16.0));
}

// 1/z on an edge that starts at slot a: the value at the centre of the first
// pixel of the edge's first row, so a span needs no prestep.
void SetupEdgeDepth(RasterEdge* edge, const FlatSlot& a, float dZdX, float dZdY)
{
    const double px = (double)(edge->X * 16 - a.X) / 16.0;
    const double py = (double)(edge->Y * 16 - a.Y) / 16.0;
    edge->Quantity[0].Value = (float)((double)a.Z + py * dZdY + px * dZdX);
    edge->Quantity[0].RowStep = (float)((double)(float)edge->XStep * dZdX + dZdY);
    edge->Quantity[0].CarryStep = dZdX;
}

// Sets up one edge and, when it has rows, its depth.
template <bool kDepth>
void SetupFlatEdge(RasterEdge* edge, const FlatSlot& a, const FlatSlot& b, const RasterState& r)
{
    if (SetupEdge(edge, a.X, a.Y, b.X, b.Y) == 0) return;
    if constexpr (kDepth) SetupEdgeDepth(edge, a, r.dZdX, r.dZdY);
}

template <bool kDepth>
void DrawFlatSolid(MeshPolygon* polygon, RasterVertex* vertices, const SpanFunction* spans)
{
    RasterState& r = g_Raster;
    constexpr int32_t kQuantities = kDepth ? 1 : 0;

    // 1. The target, re-read on every call.
    const Viewport* viewport = r.RasterViewport;
    r.SpanPixelRow = viewport->Pixels;
    r.RowPitchBytes = viewport->PixelPitch * 2;
    if constexpr (kDepth) {
        r.SpanDepthRow = viewport->DepthBuffer;
        r.RowPitchPixels = viewport->PixelPitch;
    }

    // 2. Colour and slots. Bit 7 set (back facing): slot k takes Corner[k];
    // clear: the corners in reverse. Either way the slots of a visible
    // triangle run clockwise on the screen.
    const uint32_t colour = polygon->CornerColour[0] & 0xffff;
    r.SpanColour = colour | (colour << 16);
    const bool backFacing = (polygon->Flags & SPAN3D_BACK_FACE_BIT) != 0;
    FlatSlot slot[3];
    for (int32_t k = 0; k < 3; ++k) {
        const RasterVertex& v = vertices[polygon->Corner[backFacing ? k : 2 - k]];
        slot[k].X = (int32_t)FloatToInt((double)v.ScreenPosition.x * 16.0);
        slot[k].Y = (int32_t)FloatToInt((double)v.ScreenPosition.y * 16.0);
        slot[k].Z = v.ScreenPosition.z;
    }

    // 3. Material and alpha. A mode above 3 is never produced and not checked.
    const Material* material = backFacing ? polygon->BackMaterial : polygon->FrontMaterial;
    uint32_t mode = material->AlphaMode;
    if (mode == kAlphaBlend) {
        const int32_t level = material->AlphaLevel;
        if (level == 0) return;  // fully transparent: no buffer is touched
        if (level == 255) {
            mode = kAlphaOpaque;  // fully opaque, depth writes included
        } else {
            const uint16_t* product = g_ColourTables.BlendProduct + level * 32;
            r.BlendDestRow = 0x1fe0 - level * 32;
            r.BlendRed = product[(colour >> 10) & 0x1f];
            r.BlendGreen = product[(colour >> 5) & 0x1f];
            r.BlendBlue = product[colour & 0x1f];
        }
    }

    // 4. The span function for the whole triangle.
    const SpanFunction span = spans[mode];

    // 5. Only three equal y values reject the triangle. Other zero-area
    // triangles run on and yield empty spans.
    const int32_t y0 = slot[0].Y, y1 = slot[1].Y, y2 = slot[2].Y;
    if (y0 == y1 && y0 == y2) return;

    // 6. Sort by y with a fixed decision tree. MiddleCompare and BottomCompare
    // rank the middle and the bottom slot in the order the slots follow one
    // another round the triangle from the top: 7. for clockwise slots the
    // middle lies left exactly when the bottom comes first. No cross product is taken: slots
    // running anticlockwise exchange left and right, every span has negative
    // width and nothing is drawn, an implicit face test.
    int32_t top, middle, bottom, middleCompare, bottomCompare;
    if (y0 < y1) {
        if (y2 < y0) {
            top = 2; middle = 0; bottom = 1; middleCompare = 0; bottomCompare = 1;
        } else if (y1 < y2) {
            top = 0; middle = 1; bottom = 2; middleCompare = 1; bottomCompare = 2;
        } else {
            top = 0; middle = 2; bottom = 1; middleCompare = 2; bottomCompare = 1;
        }
    } else {
        if (y2 < y1) {
            top = 2; middle = 1; bottom = 0; middleCompare = 1; bottomCompare = 0;
        } else if (y0 < y2) {
            top = 1; middle = 0; bottom = 2; middleCompare = 3; bottomCompare = 2;
        } else {
            top = 1; middle = 2; bottom = 0; middleCompare = 2; bottomCompare = 3;
        }
    }
    const bool middleLeft = bottomCompare <= middleCompare;

    // 8. Depth gradient.
    if constexpr (kDepth) FlatDepthGradient(slot, &r);

    // 9. Edges, in this order.
    RasterEdge* const topToBottom = &r.TopToBottom;
    RasterEdge* const topToMiddle = &r.TopToMiddle;
    RasterEdge* const middleToBottom = &r.MiddleToBottom;
    SetupFlatEdge<kDepth>(topToBottom, slot[top], slot[bottom], r);
    SetupFlatEdge<kDepth>(topToMiddle, slot[top], slot[middle], r);
    SetupFlatEdge<kDepth>(middleToBottom, slot[middle], slot[bottom], r);

    // 10. Upper half.
    if (middleLeft) {
        r.LeftEdge = topToMiddle;
        r.RightEdge = topToBottom;
    } else {
        r.LeftEdge = topToBottom;
        r.RightEdge = topToMiddle;
    }

    // 11. First row. Both edges of the upper half start on the top row.
    r.SpanPixelRow = (uint16_t*)((uint8_t*)r.SpanPixelRow + (intptr_t)r.LeftEdge->Y * r.RowPitchBytes);
    if constexpr (kDepth) r.SpanDepthRow += (intptr_t)r.LeftEdge->Y * r.RowPitchPixels;

    // 12. - 14. The two halves. Each edge is stepped after every span, also
    // after the last one of its half.
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

}  // namespace
}  // namespace span3d

extern "C" SPAN3D_API void FlatSolidTriangle(MeshPolygon* polygon, RasterVertex* vertices)
{
    span3d::DrawFlatSolid<false>(polygon, vertices, span3d::FlatSpans);
}

extern "C" SPAN3D_API void FlatSolidTriangleZ(MeshPolygon* polygon, RasterVertex* vertices)
{
    span3d::DrawFlatSolid<true>(polygon, vertices, span3d::FlatSpansZ);
}
