// Flat solid triangles: one colour, optionally depth-tested. The slot set-up,
// the 28.4 edge walk and the fill convention written here are the pattern
// that the Gouraud and textured families follow; the sort tree, the depth
// gradient, the edge quantities and the two-halves loop they share through
// raster.h.
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

// Sets up one edge and, when it has rows, its depth.
template <bool kDepth>
void SetupFlatEdge(RasterEdge* edge, const FlatSlot& a, const FlatSlot& b, const RasterState& r)
{
    if (SetupEdge(edge, a.X, a.Y, b.X, b.Y) == 0) return;
    if constexpr (kDepth) edge->Quantity[0] = EdgeStartQuantity(edge, a.X, a.Y, a.Z, r.dZdX, r.dZdY);
}

template <bool kDepth>
void DrawFlatSolid(MeshPolygon* polygon, RasterVertex* vertices, const SpanFunction* spans)
{
    RasterState& r = g_Raster;
    constexpr int32_t kQuantities = kDepth ? 1 : 0;

    // 1. The target, re-read on every call.
    ReadRasterTarget<kDepth>();

    // 2. Colour and slots. Bit 7 set (back facing): slot k takes Corner[k];
    // clear: the corners in reverse. Either way the slots of a visible
    // triangle run clockwise on the screen.
    const uint32_t colour = polygon->CornerColour[0] & 0xffff;
    r.SpanColour = colour | (colour << 16);
    const bool backFacing = (polygon->Flags & SPAN3D_BACK_FACE_BIT) != 0;
    FlatSlot slot[3];
    for (int32_t k = 0; k < 3; ++k) {
        const RasterVertex& v = vertices[polygon->Corner[backFacing ? k : 2 - k]];
        slot[k].X = To28_4(v.ScreenPosition.x);
        slot[k].Y = To28_4(v.ScreenPosition.y);
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

    // 6. - 7. Sort by y; for clockwise slots the order also says which side
    // the middle vertex bounds.
    const SlotOrder order = SortSlotsByY(y0, y1, y2);

    // 8. Depth gradient.
    if constexpr (kDepth) DepthGradient(slot, &r.dZdX, &r.dZdY);

    // 9. Edges, in this order.
    SetupFlatEdge<kDepth>(&r.TopToBottom, slot[order.Top], slot[order.Bottom], r);
    SetupFlatEdge<kDepth>(&r.TopToMiddle, slot[order.Top], slot[order.Middle], r);
    SetupFlatEdge<kDepth>(&r.MiddleToBottom, slot[order.Middle], slot[order.Bottom], r);

    // 10. - 14. The two halves.
    DrawTriangleRows<kQuantities, kDepth>(span, order.MiddleLeft);
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
