// Span functions of the flat solid triangles: one colour over one row, in
// four alpha modes, with and without the depth test.
//
// Six members come from one template over (alpha mode, depth). Two depth-
// tested members, FlatSpanAddZ and FlatSpanSubZ, differ from their plain
// siblings on purpose and are written out beside the template; the
// differences are part of the engine's look and must not be mended.
//
// Pixel arithmetic on Pixel15 words (c the colour, d the destination):
//   additive    s = (d & M) + (c & M); carries land in the guard bits G
//   subtractive t = (c | G) - (d & M); borrows eat the guard bits
// with G = 0x8420 (bit 15 and the lowest bits of green and red) and
// M = 0x7bdf. k = x & G marks the channels whose guard survived, and
// k - (k >> 5) spreads each surviving guard bit over its channel below it:
// a saturating mask for the sum, a keep mask for the difference.
#include "raster/raster.h"

namespace span3d {
namespace {

// Masks of a channel's guard bit spread over the channel below it.
inline uint32_t SpreadGuards(uint32_t k) { return k - (k >> 5); }

// Additive pixel of the plain group: saturated green and red come out as 30,
// not 31, because the final mask clears their lowest bits.
inline uint32_t AddPixel(uint32_t d, uint32_t c)
{
    const uint32_t s = (d & kChannelMask) + (c & kChannelMask);
    const uint32_t m = SpreadGuards(s & kGuardBits);
    return (s | m) & kChannelMask;
}

// Subtractive pixel of the plain group: colour minus destination (not the
// reverse). The guard bits of (c | G) stay in the result where no borrow ate
// them, so green and red keep a set lowest bit.
inline uint32_t SubPixel(uint32_t d, uint32_t c)
{
    const uint32_t t = (c | kGuardBits) - (d & kChannelMask);
    return t & SpreadGuards(t & kGuardBits);
}

// The span's left end and width; width <= 0 means nothing to draw.
struct SpanBounds {
    int32_t Left;
    int32_t Width;
};
inline SpanBounds CurrentSpan(const RasterState& r)
{
    const int32_t left = r.LeftEdge->X;
    return SpanBounds{left, r.RightEdge->X - left};
}

template <AlphaMode kMode, bool kDepth>
[[gnu::always_inline]] inline void FlatSpanRun()
{
    static_assert(!(kDepth && (kMode == kAlphaAdditive || kMode == kAlphaSubtractive)),
                  "FlatSpanAddZ and FlatSpanSubZ are written out below");
    RasterState& r = g_Raster;
    const SpanBounds span = CurrentSpan(r);
    if (span.Width <= 0) return;

    const uint32_t c = r.SpanColour & 0xffff;
    // Blend: each channel = ((255 - level) * d + level * c) >> 8, both
    // products from BlendProduct; the second is fixed per triangle.
    const uint16_t* destRow = nullptr;
    int32_t blendRed = 0, blendGreen = 0, blendBlue = 0;
    if constexpr (kMode == kAlphaBlend) {
        destRow = g_ColourTables.BlendProduct + r.BlendDestRow;
        blendRed = r.BlendRed;
        blendGreen = r.BlendGreen;
        blendBlue = r.BlendBlue;
    }
    auto shade = [&](uint32_t d) -> uint16_t {
        if constexpr (kMode == kAlphaOpaque) {
            return (uint16_t)c;
        } else if constexpr (kMode == kAlphaAdditive) {
            return (uint16_t)AddPixel(d, c);
        } else if constexpr (kMode == kAlphaBlend) {
            // White on white gives 30: (255 - a) * 31 + a * 31 = 7905, >> 8 = 30.
            const uint32_t red = ((uint32_t)destRow[(d >> 10) & 0x1f] + (uint32_t)blendRed) >> 8;
            const uint32_t green = ((uint32_t)destRow[(d >> 5) & 0x1f] + (uint32_t)blendGreen) >> 8;
            const uint32_t blue = ((uint32_t)destRow[d & 0x1f] + (uint32_t)blendBlue) >> 8;
            return (uint16_t)((red << 10) | (green << 5) | blue);
        } else {
            return (uint16_t)SubPixel(d, c);
        }
    };

    uint16_t* pixel = r.SpanPixelRow + span.Left;
    if constexpr (!kDepth) {
        for (int32_t i = 0; i < span.Width; ++i) pixel[i] = shade(pixel[i]);
    } else {
        // 2.30 depth, once per span; an index runs from -width up to 0
        // against pointers at the span's end. Only the opaque span writes
        // depth, so transparent triangles do not hide what is drawn later.
        // A hidden pixel still advances the depth.
        uint16_t* const pixelEnd = pixel + span.Width;
        int32_t* const depthEnd = r.SpanDepthRow + span.Left + span.Width;
        int32_t zi = DepthWord(r.LeftEdge->Quantity[0].Value);
        const int32_t dzi = DepthWord(r.dZdX);
        if constexpr (kMode == kAlphaOpaque) {
            // Written without a branch so that the compiler can run several
            // pixels at once: a hidden pixel gets its own words back.
            for (int32_t i = -span.Width; i < 0; ++i) {
                const int32_t stored = depthEnd[i];
                const bool visible = zi > stored;  // strict: equal depth loses
                depthEnd[i] = visible ? zi : stored;
                pixelEnd[i] = visible ? (uint16_t)c : pixelEnd[i];
                zi = (int32_t)((uint32_t)zi + (uint32_t)dzi);
            }
        } else {
            for (int32_t i = -span.Width; i < 0; ++i) {
                if (zi > depthEnd[i]) pixelEnd[i] = shade(pixelEnd[i]);  // strict: equal depth loses
                zi = (int32_t)((uint32_t)zi + (uint32_t)dzi);
            }
        }
    }
}

}  // namespace

void FlatSpan() { FlatSpanRun<kAlphaOpaque, false>(); }
void FlatSpanAdd() { FlatSpanRun<kAlphaAdditive, false>(); }
void FlatSpanBlend() { FlatSpanRun<kAlphaBlend, false>(); }
void FlatSpanSub() { FlatSpanRun<kAlphaSubtractive, false>(); }
void FlatSpanZ() { FlatSpanRun<kAlphaOpaque, true>(); }
void FlatSpanBlendZ() { FlatSpanRun<kAlphaBlend, true>(); }

// Additive, depth-tested. Two intended differences from FlatSpanAdd and from
// the other depth-tested spans:
// - zi advances only on a pixel that passed. After a hidden pixel the next
//   pixel is tested with the same zi, which shifts the depth of the rest of
//   the span by one step per hidden pixel.
// - the result is (s & M) | m rather than (s | m) & M: the saturation mask
//   goes on after the channel mask, so saturated green and red reach 31.
void FlatSpanAddZ()
{
    RasterState& r = g_Raster;
    const SpanBounds span = CurrentSpan(r);
    if (span.Width <= 0) return;

    const uint32_t c = r.SpanColour & 0xffff;
    uint16_t* const pixelEnd = r.SpanPixelRow + span.Left + span.Width;
    const int32_t* const depthEnd = r.SpanDepthRow + span.Left + span.Width;
    int32_t zi = DepthWord(r.LeftEdge->Quantity[0].Value);
    const int32_t dzi = DepthWord(r.dZdX);
    for (int32_t i = -span.Width; i < 0; ++i) {
        if (zi > depthEnd[i]) {
            const uint32_t s = (pixelEnd[i] & kChannelMask) + (c & kChannelMask);
            const uint32_t m = SpreadGuards(s & kGuardBits);
            pixelEnd[i] = (uint16_t)((s & kChannelMask) | m);
            zi = (int32_t)((uint32_t)zi + (uint32_t)dzi);
        }
    }
}

// Subtractive, depth-tested. Intended differences from FlatSpanSub:
// - the colour is masked first, c' = c & M, and the masked word is stored
//   back into SpanColour at the start of every span (harmless when repeated;
//   it is why the spans of one triangle must run in sequence);
// - the guard bits go on the other operand: t = c' - (d | G). The result
//   differs from FlatSpanSub's, e.g. white minus (3, 5, 7) gives (27, 25, 24)
//   here and (29, 27, 24) there.
// zi advances on every pixel, as in the other spans.
void FlatSpanSubZ()
{
    RasterState& r = g_Raster;
    const SpanBounds span = CurrentSpan(r);
    if (span.Width <= 0) return;

    r.SpanColour &= kChannelMask;
    const uint32_t c = r.SpanColour;
    uint16_t* const pixelEnd = r.SpanPixelRow + span.Left + span.Width;
    const int32_t* const depthEnd = r.SpanDepthRow + span.Left + span.Width;
    int32_t zi = DepthWord(r.LeftEdge->Quantity[0].Value);
    const int32_t dzi = DepthWord(r.dZdX);
    for (int32_t i = -span.Width; i < 0; ++i) {
        if (zi > depthEnd[i]) {
            const uint32_t t = c - ((uint32_t)pixelEnd[i] | kGuardBits);
            pixelEnd[i] = (uint16_t)(t & SpreadGuards(t & kGuardBits));
        }
        zi = (int32_t)((uint32_t)zi + (uint32_t)dzi);
    }
}

const SpanFunction FlatSpans[kSpanGroupSize] = {
    &FlatSpan, &FlatSpanAdd, &FlatSpanBlend, &FlatSpanSub,
};
const SpanFunction FlatSpansZ[kSpanGroupSize] = {
    &FlatSpanZ, &FlatSpanAddZ, &FlatSpanBlendZ, &FlatSpanSubZ,
};

}  // namespace span3d
