// Span functions of the Gouraud solid triangles: three interpolated channels
// over one row, dithered to Pixel15, in four alpha modes, with and without
// the depth test.
//
// All eight come from one template over (alpha mode, depth). What differs
// between members on purpose is written as small functions beside it, each
// saying what is intended:
//   - where the dither pattern is anchored (screen or span end),
//   - the per-pixel arithmetic of each alpha mode, the subtractive blue
//     included, which reads the destination's green.
//
// Formats. A running channel is signed 16.16 fixed point on the 0..255
// scale: the pixel channel v is its upper 16 bits, the channel rounded by the
// triangle's bias. Depth words are 2.30, as in the flat family. Destination
// channels are brought to the 8-bit scale (5-bit value << 3) before they meet
// v, and every result goes through DitherChannel on its way back to 5 bits.
#include "raster/raster.h"

namespace span3d {
namespace {

// ---------------------------------------------------------------- dither anchor

// Depth-tested group: the dither column is the pixel's screen column, so the
// pattern stands still when a triangle moves sideways.
inline int32_t ScreenDitherColumn(int32_t x) { return x & 3; }

// Plain group: the column is counted from the span's right end, x - right X,
// running from -width up to -1, so the pattern moves with the right edge of
// the triangle. Intended; the two groups differ in this on purpose.
inline int32_t SpanEndDitherColumn(int32_t fromRight) { return fromRight & 3; }

// ---------------------------------------------------------------- channels

// The channel v (0..255) of a running 16.16 value. A value that rounding
// pushed outside 0..255 (only a degenerate sliver can) wraps within the byte
// instead of indexing past the tables; in range this is the upper 16 bits.
inline uint32_t ChannelOf(int32_t running) { return ((uint32_t)running >> 16) & 0xff; }

// Destination channels of a Pixel15 word on the 8-bit scale.
inline uint32_t DestRed8(uint32_t dest) { return (dest & 0x7c00) >> 7; }
inline uint32_t DestGreen8(uint32_t dest) { return (dest & 0x3e0) >> 2; }
inline uint32_t DestBlue8(uint32_t dest) { return (dest & 0x1f) << 3; }

inline uint32_t Pack(uint32_t red, uint32_t green, uint32_t blue, int32_t d)
{
    return (DitherChannel(red, d) << 10) | (DitherChannel(green, d) << 5) | DitherChannel(blue, d);
}

// One pixel's three running channels.
struct RunningColour {
    int32_t Red, Green, Blue;
};

// ---------------------------------------------------------------- alpha modes

// Opaque: the channels themselves.
inline uint32_t OpaquePixel(const RunningColour& c, uint32_t /*dest*/, int32_t d, int32_t /*inverse*/)
{
    return Pack(ChannelOf(c.Red), ChannelOf(c.Green), ChannelOf(c.Blue), d);
}

// Additive: channel plus destination, saturated at 255. The destination
// enters with its five bits; dithering rounds the sum.
inline uint32_t AddPixel(const RunningColour& c, uint32_t dest, int32_t d, int32_t /*inverse*/)
{
    auto add = [](uint32_t v, uint32_t e) { return v + e < 255u ? v + e : 255u; };
    return Pack(add(ChannelOf(c.Red), DestRed8(dest)), add(ChannelOf(c.Green), DestGreen8(dest)),
                add(ChannelOf(c.Blue), DestBlue8(dest)), d);
}

// Subtractive: channel minus destination (not the reverse), floored at 0.
// The blue result subtracts the destination's GREEN, not its blue: the spans
// were settled that way in both groups and the look depends on it, so it is
// kept. A destination with blue 31 and green 0 leaves the triangle's blue as
// it is.
inline uint32_t SubPixel(const RunningColour& c, uint32_t dest, int32_t d, int32_t /*inverse*/)
{
    auto sub = [](uint32_t v, uint32_t e) { return v > e ? v - e : 0u; };
    return Pack(sub(ChannelOf(c.Red), DestRed8(dest)), sub(ChannelOf(c.Green), DestGreen8(dest)),
                sub(ChannelOf(c.Blue), DestGreen8(dest)), d);
}

// Blend by AlphaLevel, one channel. Both operands sit at bits 10..14: e is
// the destination's 5-bit channel, s the top five bits of the running 8-bit
// channel ((running >> 9) & 0x7c00: v's three low bits play no part). The
// destination's weight is 255 - AlphaLevel out of 256; e - s is a multiple
// of 1024, so the >> 8 (arithmetic) is exact whatever its sign. The sum lies
// between s and e, and >> 7 brings it to the 8-bit scale, whose three
// fraction bits the dither rounds.
inline uint32_t BlendChannel(int32_t running, int32_t e, int32_t inverse)
{
    const int32_t s = (running >> 9) & 0x7c00;
    return (uint32_t)(((((e - s) * inverse) >> 8) + s) >> 7);
}

inline uint32_t BlendPixel(const RunningColour& c, uint32_t dest, int32_t d, int32_t inverse)
{
    return Pack(BlendChannel(c.Red, (int32_t)(dest & 0x7c00), inverse),
                BlendChannel(c.Green, (int32_t)((dest & 0x3e0) << 5), inverse),
                BlendChannel(c.Blue, (int32_t)((dest & 0x1f) << 10), inverse), d);
}

template <AlphaMode kMode>
[[gnu::always_inline]] inline uint16_t ShadePixel(const RunningColour& c, uint32_t dest, int32_t d, int32_t inverse)
{
    if constexpr (kMode == kAlphaOpaque) return (uint16_t)OpaquePixel(c, dest, d, inverse);
    else if constexpr (kMode == kAlphaAdditive) return (uint16_t)AddPixel(c, dest, d, inverse);
    else if constexpr (kMode == kAlphaBlend) return (uint16_t)BlendPixel(c, dest, d, inverse);
    else return (uint16_t)SubPixel(c, dest, d, inverse);
}

// ---------------------------------------------------------------- the span

// A channel's per-pixel step in 16.16: round(dQdX * 65536) as a 32-bit
// conversion (the integer indefinite value beyond its range, as for depth).
inline int32_t Fixed16Step(float dQdX)
{
    const int64_t wide = FloatToInt((double)dQdX * 65536.0);
    return wide == (int64_t)(int32_t)wide ? (int32_t)wide : INT32_MIN;
}

inline int32_t Advance(int32_t value, int32_t step) { return (int32_t)((uint32_t)value + (uint32_t)step); }

template <AlphaMode kMode, bool kDepth>
[[gnu::always_inline]] inline void GouraudSpanRun()
{
    const RasterState& r = g_Raster;
    const RasterEdge* const left = r.LeftEdge;
    const int32_t right = r.RightEdge->X;
    const int32_t width = right - left->X;
    if (width <= 0) return;

    // Span start: the three channels from the left edge, in 16.16 by the
    // exponent trick, each plus its triangle's rounding bias.
    const EdgeQuantity* q = left->Quantity + GouraudRedQuantity(kDepth);
    RunningColour c;
    c.Red = Advance(Fixed16FromExponent(q[0].Value), r.BiasRed);
    c.Green = Advance(Fixed16FromExponent(q[1].Value), r.BiasGreen);
    c.Blue = Advance(Fixed16FromExponent(q[2].Value), r.BiasBlue);
    const int32_t redStep = Fixed16Step(r.dRdX);
    const int32_t greenStep = Fixed16Step(r.dGdX);
    const int32_t blueStep = Fixed16Step(r.dBdX);
    const uint8_t* const ditherRow = Dither4x4 + (left->Y & 3) * 4;
    const int32_t inverse = kMode == kAlphaBlend ? r.BlendInverse : 0;

    // An index from -width up to 0 against pointers at the span's end.
    uint16_t* const pixelEnd = r.SpanPixelRow + right;
    if constexpr (!kDepth) {
        for (int32_t i = -width; i < 0; ++i) {
            const int32_t d = ditherRow[SpanEndDitherColumn(i)];
            pixelEnd[i] = ShadePixel<kMode>(c, pixelEnd[i], d, inverse);
            c.Red = Advance(c.Red, redStep);
            c.Green = Advance(c.Green, greenStep);
            c.Blue = Advance(c.Blue, blueStep);
        }
    } else {
        // 2.30 depth, once per span. Only the opaque span writes depth, so
        // transparent triangles do not hide what is drawn later. Depth and
        // all three channels advance at every pixel, hidden or not.
        int32_t* const depthEnd = r.SpanDepthRow + right;
        int32_t zi = DepthWord(left->Quantity[0].Value);
        const int32_t dzi = DepthWord(r.dZdX);
        for (int32_t i = -width; i < 0; ++i) {
            if (zi > depthEnd[i]) {  // strict: equal depth loses
                const int32_t d = ditherRow[ScreenDitherColumn(right + i)];
                pixelEnd[i] = ShadePixel<kMode>(c, pixelEnd[i], d, inverse);
                if constexpr (kMode == kAlphaOpaque) depthEnd[i] = zi;
            }
            zi = Advance(zi, dzi);
            c.Red = Advance(c.Red, redStep);
            c.Green = Advance(c.Green, greenStep);
            c.Blue = Advance(c.Blue, blueStep);
        }
    }
}

}  // namespace

void GouraudSpan() { GouraudSpanRun<kAlphaOpaque, false>(); }
void GouraudSpanAdd() { GouraudSpanRun<kAlphaAdditive, false>(); }
void GouraudSpanBlend() { GouraudSpanRun<kAlphaBlend, false>(); }
void GouraudSpanSub() { GouraudSpanRun<kAlphaSubtractive, false>(); }
void GouraudSpanZ() { GouraudSpanRun<kAlphaOpaque, true>(); }
void GouraudSpanAddZ() { GouraudSpanRun<kAlphaAdditive, true>(); }
void GouraudSpanBlendZ() { GouraudSpanRun<kAlphaBlend, true>(); }
void GouraudSpanSubZ() { GouraudSpanRun<kAlphaSubtractive, true>(); }

const SpanFunction GouraudSpans[kSpanGroupSize] = {
    &GouraudSpan, &GouraudSpanAdd, &GouraudSpanBlend, &GouraudSpanSub,
};
const SpanFunction GouraudSpansZ[kSpanGroupSize] = {
    &GouraudSpanZ, &GouraudSpanAddZ, &GouraudSpanBlendZ, &GouraudSpanSubZ,
};

}  // namespace span3d
