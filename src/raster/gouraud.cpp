// Gouraud solid triangles: three corner colours interpolated linearly in
// screen space, dithered down to five bits a channel by an ordered 4x4
// pattern, optionally depth-tested. Slot order, 28.4 edge walk, fill
// convention, the two halves and the depth gradient are the flat family's
// (raster.h); what is set up here besides is the colour: three gradients,
// a rounding bias per channel, and three more quantities on every edge.
#include "raster/raster.h"

namespace span3d {
namespace {

// One working corner: 28.4 position, 1/z as the vertex holds it (read by the
// depth-tested function only), and the corner's colour unpacked to floats on
// the 0..255 scale.
struct GouraudSlot {
    int32_t X;
    int32_t Y;
    float   Z;
    float   Red;
    float   Green;
    float   Blue;
};

// The colour gradients of a triangle, per pixel along x and along y.
struct ChannelGradient {
    float dQdX;
    float dQdY;
};

// Scaled differences, unlike the depth gradient: the 28.4 differences are
// divided by 16 before they are multiplied, A = (x1 - x2) / 16 and so on, and
// the determinant is formed from those (D * A - C * B). Exact in double for
// any coordinate on a target; the quotient is rounded to a float once.
struct ScaledDifferences {
    double A, B, C, D;
    double OverDx, OverDy;
};

ScaledDifferences ScaleDifferences(const GouraudSlot* s)
{
    ScaledDifferences k;
    k.A = (double)(s[1].X - s[2].X) / 16.0;
    k.B = (double)(s[0].X - s[2].X) / 16.0;
    k.C = (double)(s[1].Y - s[2].Y) / 16.0;
    k.D = (double)(s[0].Y - s[2].Y) / 16.0;
    // A zero-area triangle divides by zero; the infinities and NaNs reach
    // only spans of zero or negative width.
    k.OverDx = 1.0 / (k.D * k.A - k.C * k.B);
    k.OverDy = -k.OverDx;
    return k;
}

ChannelGradient ScaledGradient(const ScaledDifferences& k, float q0, float q1, float q2)
{
    const double d10 = (double)q1 - q2, d20 = (double)q0 - q2;
    ChannelGradient g;
    g.dQdX = (float)(k.OverDx * (d10 * k.D - d20 * k.C));
    g.dQdY = (float)(k.OverDy * (d10 * k.B - d20 * k.A));
    return g;
}

// The rounding bias of one channel's 16.16 start value: 0x8000 rounds a half
// up, 0x7fff rounds it down, so that a channel falling along x rounds the
// other way from one that rises. The indicator is the gradient minus the
// channel's value in slot 0 (not the gradient alone): a channel that rises
// by less per pixel than slot 0's value therefore rounds down too. This
// comparison is the engine's rounding as its pictures show it and is kept
// as it stands. Both differences are taken in single precision; -0.0 counts
// as zero in the first test and as not negative in the second.
int32_t ChannelBias(float dQdX, float dQdY, float q0)
{
    const float i = dQdX - q0;
    if (i > 0.0f) return 0x8000;
    if (i < 0.0f) return 0x7fff;
    const float i2 = dQdY - q0;
    return i2 >= 0.0f ? 0x8000 : 0x7fff;
}

// Sets up one edge and, when it has rows, its quantities: 1/z (depth-tested
// only), then red, green, blue, each from the slot where the edge starts.
template <bool kDepth>
void SetupGouraudEdge(RasterEdge* edge, const GouraudSlot& a, const GouraudSlot& b, const RasterState& r)
{
    if (SetupEdge(edge, a.X, a.Y, b.X, b.Y) == 0) return;
    constexpr int32_t red = GouraudRedQuantity(kDepth);
    if constexpr (kDepth) edge->Quantity[0] = EdgeStartQuantity(edge, a.X, a.Y, a.Z, r.dZdX, r.dZdY);
    edge->Quantity[red + 0] = EdgeStartQuantity(edge, a.X, a.Y, a.Red, r.dRdX, r.dRdY);
    edge->Quantity[red + 1] = EdgeStartQuantity(edge, a.X, a.Y, a.Green, r.dGdX, r.dGdY);
    edge->Quantity[red + 2] = EdgeStartQuantity(edge, a.X, a.Y, a.Blue, r.dBdX, r.dBdY);
}

template <bool kDepth>
void DrawGouraudSolid(MeshPolygon* polygon, RasterVertex* vertices, const SpanFunction* spans)
{
    RasterState& r = g_Raster;
    constexpr int32_t kQuantities = GouraudRedQuantity(kDepth) + 3;

    // 1. The target, re-read on every call.
    ReadRasterTarget<kDepth>();

    // 2. Slots, in the order Flags bit 7 decides; each corner's colour goes
    // with it and is unpacked to floats here.
    const bool backFacing = (polygon->Flags & SPAN3D_BACK_FACE_BIT) != 0;
    GouraudSlot slot[3];
    for (int32_t k = 0; k < 3; ++k) {
        const int32_t corner = backFacing ? k : 2 - k;
        const RasterVertex& v = vertices[polygon->Corner[corner]];
        const uint32_t colour = polygon->CornerColour[corner];
        slot[k].X = To28_4(v.ScreenPosition.x);
        slot[k].Y = To28_4(v.ScreenPosition.y);
        slot[k].Z = v.ScreenPosition.z;
        slot[k].Red = (float)((colour >> 16) & 0xff);
        slot[k].Green = (float)((colour >> 8) & 0xff);
        slot[k].Blue = (float)(colour & 0xff);
    }

    // 3. Material and alpha. There are no precomputed colour products: the
    // blend spans weigh the destination by 255 - AlphaLevel themselves.
    const Material* material = backFacing ? polygon->BackMaterial : polygon->FrontMaterial;
    uint32_t mode = material->AlphaMode;
    if (mode == kAlphaBlend) {
        const int32_t level = material->AlphaLevel;
        if (level == 0) return;  // fully transparent: no buffer is touched
        if (level == 255) {
            mode = kAlphaOpaque;  // fully opaque, depth writes included
        } else {
            r.BlendInverse = 255 - level;
        }
    }

    // 4. The span function for the whole triangle.
    const SpanFunction span = spans[mode];

    // 5. Only three equal y values reject the triangle.
    const int32_t y0 = slot[0].Y, y1 = slot[1].Y, y2 = slot[2].Y;
    if (y0 == y1 && y0 == y2) return;

    // 6. - 7. Sort by y.
    const SlotOrder order = SortSlotsByY(y0, y1, y2);

    // 8. Gradients: colour from scaled differences, depth by the flat
    // family's formula. Then each channel's rounding bias.
    const ScaledDifferences k = ScaleDifferences(slot);
    const ChannelGradient red = ScaledGradient(k, slot[0].Red, slot[1].Red, slot[2].Red);
    const ChannelGradient green = ScaledGradient(k, slot[0].Green, slot[1].Green, slot[2].Green);
    const ChannelGradient blue = ScaledGradient(k, slot[0].Blue, slot[1].Blue, slot[2].Blue);
    r.dRdX = red.dQdX;
    r.dRdY = red.dQdY;
    r.dGdX = green.dQdX;
    r.dGdY = green.dQdY;
    r.dBdX = blue.dQdX;
    r.dBdY = blue.dQdY;
    if constexpr (kDepth) DepthGradient(slot, &r.dZdX, &r.dZdY);
    r.BiasRed = ChannelBias(r.dRdX, r.dRdY, slot[0].Red);
    r.BiasGreen = ChannelBias(r.dGdX, r.dGdY, slot[0].Green);
    r.BiasBlue = ChannelBias(r.dBdX, r.dBdY, slot[0].Blue);

    // 9. Edges, in this order.
    SetupGouraudEdge<kDepth>(&r.TopToBottom, slot[order.Top], slot[order.Bottom], r);
    SetupGouraudEdge<kDepth>(&r.TopToMiddle, slot[order.Top], slot[order.Middle], r);
    SetupGouraudEdge<kDepth>(&r.MiddleToBottom, slot[order.Middle], slot[order.Bottom], r);

    // 10. - 14. The two halves.
    DrawTriangleRows<kQuantities, kDepth>(span, order.MiddleLeft);
}

}  // namespace
}  // namespace span3d

extern "C" SPAN3D_API void GouraudSolidTriangle(MeshPolygon* polygon, RasterVertex* vertices)
{
    span3d::DrawGouraudSolid<false>(polygon, vertices, span3d::GouraudSpans);
}

extern "C" SPAN3D_API void GouraudSolidTriangleZ(MeshPolygon* polygon, RasterVertex* vertices)
{
    span3d::DrawGouraudSolid<true>(polygon, vertices, span3d::GouraudSpansZ);
}
