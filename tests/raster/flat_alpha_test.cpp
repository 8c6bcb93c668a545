// Flat solid triangles: the four alpha modes, their plain and depth-tested
// spans, and the depth words. Pixel15 channels are written (r, g, b).
// G = 0x8420 are the guard bits, M = 0x7bdf the channel mask.
#include <climits>

#include "raster_test_support.h"

namespace span3d::test {
namespace {

constexpr int32_t kW = 8, kH = 8, kPitch = 11;
constexpr int32_t kDepthHalf = 1 << 29;  // round(0.5 * 2^30)

using FlatAlphaTest = ColourTablesSuite;

// The pixels of the right triangle (1,1), (5,1), (1,5): rows 1..4, [1, 6 - y).
bool Covered(int32_t x, int32_t y) { return y >= 1 && y <= 4 && x >= 1 && x < 6 - y; }

struct AlphaCase {
    const char* Name;
    uint16_t Mode, Level;
    uint16_t Dest, Colour;
    uint16_t Plain;      // FlatSolidTriangle's pixel
    uint16_t Depth;      // FlatSolidTriangleZ's pixel, all pixels passing
    bool WritesDepth;    // FlatSolidTriangleZ stores zi
};

const AlphaCase kAlphaCases[] = {
    {"Opaque", kAlphaOpaque, 0, 0x0ca7, 0x5a5a, 0x5a5a, 0x5a5a, true},
    // d = (3,5,7) = 0x0ca7 -> d & M = 0x0887 (2,4,7); c = (4,6,9) = 0x10c9 -> c & M
    // = 0x10c9. s = 0x1950 (6,10,16), no guard bit set: both groups 0x1950.
    {"AddNoCarry", kAlphaAdditive, 0, 0x0ca7, 0x10c9, 0x1950, 0x1950, false},
    // Bit 15 of the destination is masked away before the sum: same as above.
    {"AddDropsDestBit15", kAlphaAdditive, 0, 0x8ca7, 0x10c9, 0x1950, 0x1950, false},
    // (1,1,1) + (1,1,1): green and red lose their lowest bits to M, blue is
    // 5-bit: s = 0x0001 + 0x0001 = (0,0,2).
    {"AddFourBitGreenRed", kAlphaAdditive, 0, 0x0421, 0x0421, 0x0002, 0x0002, false},
    // White + white: s = 0x7bdf + 0x7bdf = 0xf7be, k = 0x8420, m = 0x7fff.
    // Plain (s | m) & M = 0x7bdf (30,30,31); depth-tested (s & M) | m = 0x7fff.
    {"AddSaturates30Plain31Z", kAlphaAdditive, 0, 0x7fff, 0x7fff, 0x7bdf, 0x7fff, false},
    // Level 128, white under black: (127 * 31 + 128 * 0) >> 8 = 3937 >> 8 = 15.
    {"BlendHalf", kAlphaBlend, 128, 0x7fff, 0x0000, 0x3def, 0x3def, false},
    // Level 100, white on white: (155 * 31 + 100 * 31) >> 8 = 7905 >> 8 = 30.
    {"BlendWhiteOnWhiteIs30", kAlphaBlend, 100, 0x7fff, 0x7fff, 0x7bde, 0x7bde, false},
    // Bit 15 of the destination never reaches the result.
    {"BlendClearsBit15", kAlphaBlend, 100, 0xffff, 0x7fff, 0x7bde, 0x7bde, false},
    // Level 64, d = (31,0,10) = 0x7c0a, c = (0,31,20) = 0x03f4:
    // r (191 * 31) >> 8 = 5921 >> 8 = 23; g (64 * 31) >> 8 = 1984 >> 8 = 7;
    // b (191 * 10 + 64 * 20) >> 8 = 3190 >> 8 = 12 -> 23 << 10 | 7 << 5 | 12.
    {"BlendMixed", kAlphaBlend, 64, 0x7c0a, 0x03f4, 0x5cec, 0x5cec, false},
    // Level 255 is opaque for this triangle, depth write included.
    {"BlendLevel255IsOpaque", kAlphaBlend, 255, 0x0ca7, 0x5a5a, 0x5a5a, 0x5a5a, true},
    // Level 0 returns before touching anything.
    {"BlendLevel0DrawsNothing", kAlphaBlend, 0, 0x0ca7, 0x5a5a, 0x0ca7, 0x0ca7, false},
    // c = white, d = (3,5,7). Plain: (c | G) - (d & M) = 0xffff - 0x0887 = 0xf778,
    // k = 0x8420, m = 0x7fff -> 0x7778 (29,27,24).
    // Depth-tested: c' = c & M = 0x7bdf; c' - (d | G) = 0x7bdf - 0x8ca7 = 0xffffef38,
    // k = 0x8420, m = 0x7fff -> 0x6f38 (27,25,24).
    {"SubWhiteMinus", kAlphaSubtractive, 0, 0x0ca7, 0x7fff, 0x7778, 0x6f38, false},
    // c = white, d = black. Plain: 0xffff - 0 = 0xffff & 0x7fff = (31,31,31).
    // Depth-tested: 0x7bdf - 0x8420 = 0xfffff7bf, k = 0x8420 -> 0x77bf (29,29,31):
    // the guard bits on d cost green and red one more step.
    {"SubGuardsOnOtherOperand", kAlphaSubtractive, 0, 0x0000, 0x7fff, 0x7fff, 0x77bf, false},
    // c = black, d = (3,5,7). Plain: 0x8420 - 0x0887 = 0x7b99, k = 0 -> 0.
    // Depth-tested: 0 - 0x8ca7 = 0xffff7359, k = 0 -> 0. Colour minus destination.
    {"SubClampsToZero", kAlphaSubtractive, 0, 0x0ca7, 0x0000, 0x0000, 0x0000, false},
    // c = (0,31,0) = 0x03e0, d = (3,5,7). Plain: 0x87e0 - 0x0887 = 0x7f59,
    // k = 0x0400, m = 0x03e0 -> 0x0340 (0,26,0): 31 - 4 - the borrow of blue.
    // Depth-tested: c' = 0x03c0; 0x03c0 - 0x8ca7 = 0xffff7719, k = 0x0400
    // -> 0x0300 (0,24,0): 30 - 5 - the borrow.
    {"SubBlueBorrowsFromGreen", kAlphaSubtractive, 0, 0x0ca7, 0x03e0, 0x0340, 0x0300, false},
};

class FlatAlphaModeTest : public FlatAlphaTest, public ::testing::WithParamInterface<AlphaCase> {};

TEST_P(FlatAlphaModeTest, PixelsAndDepthWords)
{
    const AlphaCase& c = GetParam();
    for (bool depthTested : {false, true}) {
        for (bool throughTable : {false, true}) {
            SCOPED_TRACE(depthTested ? "Z" : "plain");
            SCOPED_TRACE(throughTable ? "table" : "direct");
            Canvas canvas(kW, kH, kPitch, c.Dest, 0);
            canvas.MakeCurrent();
            Triangle t;
            t.Set({1, 1, .5f}, {5, 1, .5f}, {1, 5, .5f});
            t.SetColour(c.Colour);
            t.SetAlpha(c.Mode, c.Level);
            const int32_t index = depthTested ? 15 : 14;
            t.Draw(throughTable ? RasterizerTable[3][index]
                                : depthTested ? &FlatSolidTriangleZ : &FlatSolidTriangle);
            const uint16_t inside = depthTested ? c.Depth : c.Plain;
            const int32_t depthInside = depthTested && c.WritesDepth ? kDepthHalf : 0;
            for (int32_t y = 0; y < kH; ++y) {
                for (int32_t x = 0; x < kPitch; ++x) {
                    const bool in = Covered(x, y);
                    EXPECT_EQ(canvas.At(x, y), in ? inside : c.Dest) << x << "," << y;
                    EXPECT_EQ(canvas.DepthAt(x, y), in ? depthInside : 0) << x << "," << y;
                }
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Modes, FlatAlphaModeTest, ::testing::ValuesIn(kAlphaCases),
                         [](const auto& info) { return std::string(info.param.Name); });

// The depth-tested subtractive span stores the masked colour back.
TEST_F(FlatAlphaTest, SubtractiveZMasksSpanColour)
{
    Canvas canvas(kW, kH, kPitch, 0, 0);
    canvas.MakeCurrent();
    Triangle t;
    t.Set({1, 1, .5f}, {5, 1, .5f}, {1, 5, .5f});
    t.SetColour(0x7fff);
    t.SetAlpha(kAlphaSubtractive);
    t.Draw(&FlatSolidTriangleZ);
    EXPECT_EQ(g_Raster.SpanColour & 0xffff, 0x7bdfu);
}

// ---------------------------------------------------------------- depth

// Slots (0,0), (8,0), (0,8) with 1/z = 0.25 + x / 64 + y / 128 at the
// corners: 0.25, 0.375, 0.3125. d = (128 * -128 - 0) / 256 = -64, so
// dZdX = -1/64 * (0.0625 * -128 / 16 - -0.0625 * -128 / 16) = 1/64 and
// dZdY = 1/64 * (0 - -0.0625 * 128 / 16) = 1/128, all exact. Row y spans
// [0, 8 - y); the depth word at (x, y) is 2^28 + x * 2^24 + y * 2^23.
struct DepthTriangle : Triangle {
    DepthTriangle(float z0 = 0.25f, float z1 = 0.375f, float z2 = 0.3125f)
    {
        Set({0, 0, z0}, {8, 0, z1}, {0, 8, z2});
    }
};
bool InDepthTriangle(int32_t x, int32_t y) { return y < 8 && x < 8 - y; }

TEST_F(FlatAlphaTest, OpaqueZWritesInterpolatedDepth)
{
    Canvas canvas(10, 10, 13, 0, 0);
    canvas.MakeCurrent();
    DepthTriangle t;
    t.SetColour(0x1234);
    t.Draw(&FlatSolidTriangleZ);
    for (int32_t y = 0; y < 10; ++y) {
        for (int32_t x = 0; x < 13; ++x) {
            const bool in = InDepthTriangle(x, y);
            EXPECT_EQ(canvas.DepthAt(x, y), in ? ExpectedDepth(x, y) : 0) << x << "," << y;
            EXPECT_EQ(canvas.At(x, y), in ? 0x1234 : 0) << x << "," << y;
        }
    }
}

// Off-centre corners and a slanted left edge: the edge's depth must be
// carried to the centre of each row's first pixel. Corners (4.5,0.25),
// (8.5,8.25), (0.5,8.25) with 1/z = 0.25 + x / 64 + y / 128 there; d = -64,
// dZdX = 1/64, dZdY = 1/128 exactly. Rows 1..8, left x = 4.5 - (y - 0.25) / 2
// -> 5, 4, 4, 3, 3, 2, 2, 1; right x = 4.5 + (y - 0.25) / 2 -> 5, 6, 6, 7, 7,
// 8, 8, 9. The left edge steps -1/64 + 1/128 a row and +1/64 on a carry, all
// exact, so every depth word is 2^28 + x * 2^24 + y * 2^23.
TEST_F(FlatAlphaTest, SlantedEdgeDepthAtPixelCentres)
{
    Canvas canvas(10, 10, 13, 0, 0);
    canvas.MakeCurrent();
    auto at = [](float x, float y) { return Point{x, y, 0.25f + x / 64.0f + y / 128.0f}; };
    Triangle t;
    t.Set(at(4.5f, 0.25f), at(8.5f, 8.25f), at(0.5f, 8.25f));
    t.SetColour(0x1234);
    t.Draw(&FlatSolidTriangleZ);
    const int32_t left[9] = {0, 5, 4, 4, 3, 3, 2, 2, 1};
    const int32_t right[9] = {0, 5, 6, 6, 7, 7, 8, 8, 9};
    for (int32_t y = 0; y < 10; ++y) {
        for (int32_t x = 0; x < 13; ++x) {
            const bool in = y >= 1 && y <= 8 && x >= left[y] && x < right[y];
            EXPECT_EQ(canvas.DepthAt(x, y), in ? ExpectedDepth(x, y) : 0) << x << "," << y;
            EXPECT_EQ(canvas.At(x, y), in ? 0x1234 : 0) << x << "," << y;
        }
    }
}

// A second triangle at exactly the same depth loses everywhere; one a step
// nearer (every 1/z + 1/64, so every word + 2^24) wins everywhere.
TEST_F(FlatAlphaTest, EqualDepthLoses)
{
    Canvas canvas(10, 10, 13, 0, 0);
    canvas.MakeCurrent();
    DepthTriangle first;
    first.SetColour(0x1111);
    first.Draw(&FlatSolidTriangleZ);
    const std::vector<int32_t> depthAfterFirst = canvas.Depth;
    DepthTriangle same;
    same.SetColour(0x2222);
    same.Draw(&FlatSolidTriangleZ);
    const std::string firstMask =
        Rows({"########", "#######", "######", "#####", "####", "###", "##", "#"}, 13, 10);
    EXPECT_EQ(canvas.Mask(0x1111), firstMask);
    EXPECT_EQ(canvas.Depth, depthAfterFirst);

    DepthTriangle nearer(0.265625f, 0.390625f, 0.328125f);
    nearer.SetColour(0x3333);
    nearer.Draw(&FlatSolidTriangleZ);
    for (int32_t y = 0; y < 8; ++y) {
        for (int32_t x = 0; x < 8 - y; ++x) {
            EXPECT_EQ(canvas.At(x, y), 0x3333) << x << "," << y;
            EXPECT_EQ(canvas.DepthAt(x, y), ExpectedDepth(x, y) + (1 << 24)) << x << "," << y;
        }
    }
}

// Row 0 of the triangle with 1/z = 0.25 + x / 64: zi at column x is
// Z(x) = 2^28 + x * 2^24. Stored depth on row 0:
//   x:      0  1  2         3     4  5     6  7
//   stored: 0  0  INT32_MAX Z(2)  0  Z(3)  0  0
// A span whose zi advances on every pixel passes everywhere but x = 2.
// FlatSpanAddZ keeps zi at Z(2) after the hidden x = 2, so x = 3 (Z(2) vs
// Z(2)) is hidden too; x = 4 passes with Z(2), x = 5 meets Z(3) with Z(3)
// and is hidden, x = 6 and 7 pass.
TEST_F(FlatAlphaTest, AdditiveZHoldsDepthPastHiddenPixel)
{
    const int32_t z2 = (1 << 28) + 2 * (1 << 24), z3 = (1 << 28) + 3 * (1 << 24);
    const int32_t stored[8] = {0, 0, INT32_MAX, z2, 0, z3, 0, 0};
    struct Mode {
        uint16_t AlphaMode, Level, Colour, Result;
        const char* Row0;
    };
    const Mode modes[] = {
        // Additive blue 1 on black.
        {kAlphaAdditive, 0, 0x0001, 0x0001, "##..#.##"},
        // Blend level 128 of white on black: (128 * 31) >> 8 = 15 per channel.
        {kAlphaBlend, 128, 0x7fff, 0x3def, "##.#####"},
        // Subtractive white minus black, depth-tested: 0x77bf (see above).
        {kAlphaSubtractive, 0, 0x7fff, 0x77bf, "##.#####"}, {kAlphaOpaque, 0, 0x1234, 0x1234, "##.#####"},
    };
    for (const Mode& m : modes) {
        SCOPED_TRACE(m.AlphaMode);
        Canvas canvas(10, 10, 13, 0, 0);
        canvas.MakeCurrent();
        for (int32_t x = 0; x < 8; ++x) canvas.DepthAt(x, 0) = stored[x];
        DepthTriangle t(0.25f, 0.375f, 0.25f);
        t.SetColour(m.Colour);
        t.SetAlpha(m.AlphaMode, m.Level);
        t.Draw(&FlatSolidTriangleZ);
        std::string row0;
        for (int32_t x = 0; x < 8; ++x) row0 += canvas.At(x, 0) == m.Result ? '#' : '.';
        EXPECT_EQ(row0, m.Row0);
        // Only the opaque span writes depth: Z(0), Z(1), hidden, Z(3), Z(4) ...
        for (int32_t x = 0; x < 8; ++x) {
            const bool written = m.AlphaMode == kAlphaOpaque && x != 2;
            EXPECT_EQ(canvas.DepthAt(x, 0), written ? (1 << 28) + x * (1 << 24) : stored[x]) << x;
        }
    }
}

// 1/z = 3.0 scales to 3 * 2^30, beyond the 32-bit range: the conversion
// gives the most negative integer (not the low word 0xc0000000 of the wide
// value), which is not greater than any stored word, here INT32_MIN + 1.
TEST_F(FlatAlphaTest, DepthBeyondRangeLosesEveryTest)
{
    Canvas canvas(10, 10, 13, 0, INT32_MIN + 1);
    canvas.MakeCurrent();
    DepthTriangle t(3.0f, 3.0f, 3.0f);
    t.SetColour(0x1234);
    t.Draw(&FlatSolidTriangleZ);
    EXPECT_EQ(canvas.Mask(0x1234), Rows({}, 13, 10));
}

}  // namespace
}  // namespace span3d::test
