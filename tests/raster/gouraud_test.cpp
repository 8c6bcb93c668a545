// Gouraud solid triangles: dither pattern and its anchor, the alpha modes,
// the rounding bias of each channel, interpolation, depth, the fill rule.
// Channels are written (r, g, b); 8-bit values are the span's channel v,
// 5-bit values the Pixel15 fields. Expected words are worked out by hand.
//
// Dithering, as the engine defines it: a channel t (0..255) at dither level d
// becomes t >> 3, plus 1 when t & 7 exceeds d and t < 248. The levels of the
// 4x4 matrix, by row y & 3 and column & 3:
//   0 4 1 5 / 6 2 7 3 / 1 5 0 4 / 7 3 6 2
// The depth-tested group takes the column from the screen, the plain group
// from the span's right end (x - right X).
#include <initializer_list>
#include <random>

#include "raster_test_support.h"

namespace span3d::test {
namespace {

constexpr int32_t kW = 10, kH = 10, kPitch = 12;
constexpr uint16_t kPaper = 0x0842;  // (2,2,2)

using GouraudTest = ColourTablesSuite;

constexpr uint32_t Rgb(uint32_t r, uint32_t g, uint32_t b) { return (r << 16) | (g << 8) | b; }
constexpr uint16_t Word(uint32_t r5, uint32_t g5, uint32_t b5) { return (uint16_t)((r5 << 10) | (g5 << 5) | b5); }

// Corners (0,0), (8,0), (0,8), (8,8) at 1/z = 0.5.
constexpr Point kO{0, 0, .5f}, kR{8, 0, .5f}, kD{0, 8, .5f}, kRD{8, 8, .5f};

constexpr uint8_t kLevels[4][4] = {{0, 4, 1, 5}, {6, 2, 7, 3}, {1, 5, 0, 4}, {7, 3, 6, 2}};
uint32_t Dithered(uint32_t t, int32_t level) { return (t >> 3) + ((t < 248 && (int32_t)(t & 7) > level) ? 1 : 0); }

// A Gouraud triangle: slot colours are stored at the corners that the slots
// come from (Corner k for bit 7 set, Corner 2 - k for bit 7 clear).
struct GouraudTriangle : Triangle {
    void SetSlotColours(uint32_t c0, uint32_t c1, uint32_t c2)
    {
        const bool backFacing = (Polygon.Flags & SPAN3D_BACK_FACE_BIT) != 0;
        const uint32_t c[3] = {c0, c1, c2};
        for (int32_t k = 0; k < 3; ++k) Polygon.CornerColour[backFacing ? k : 2 - k] = c[k];
    }
};

// Every way of reaching one of the two functions.
const Route kPlainRoutes[] = {
    {"direct back", &GouraudSolidTriangle, true}, {"direct front", &GouraudSolidTriangle, false},
    {"table", RasterizerTable[7][14], true},
};
const Route kDepthRoutes[] = {
    {"direct back Z", &GouraudSolidTriangleZ, true}, {"direct front Z", &GouraudSolidTriangleZ, false},
    {"table Z", RasterizerTable[7][15], false},
};

// Draws one triangle through every route of the chosen groups onto a fresh
// canvas of `paper` (depth 0) and hands the canvas to `check`.
template <class Check>
void OnEveryRoute(std::initializer_list<bool> groups, uint16_t paper, Point s0, Point s1, Point s2,
                  const uint32_t (&colours)[3], uint16_t mode, uint16_t level, Check check)
{
    for (bool depth : groups) {
        for (const Route& route : depth ? kDepthRoutes : kPlainRoutes) {
            SCOPED_TRACE(route.Name);
            Canvas canvas(kW, kH, kPitch, paper, 0);
            canvas.MakeCurrent();
            GouraudTriangle t;
            t.Set(s0, s1, s2, route.BackFacing);
            t.SetSlotColours(colours[0], colours[1], colours[2]);
            t.SetAlpha(mode, level);
            t.Draw(route.Function);
            check(canvas, depth);
        }
    }
}

// Every pixel of the canvas against expected(x, y).
template <class Expected>
void ExpectPixels(Canvas& canvas, Expected expected)
{
    for (int32_t y = 0; y < canvas.Height; ++y)
        for (int32_t x = 0; x < canvas.Pitch; ++x) EXPECT_EQ(canvas.At(x, y), expected(x, y)) << x << "," << y;
}

TEST(GouraudTableTest, SolidEntriesOfTheGouraudRow)
{
    EXPECT_EQ(RasterizerTable[7][14], &GouraudSolidTriangle);
    EXPECT_EQ(RasterizerTable[7][15], &GouraudSolidTriangleZ);
    // Rows 0..6 hold no Gouraud entry: RasterizerTableTest checks them.
    const SpanFunction plain[] = {&GouraudSpan, &GouraudSpanAdd, &GouraudSpanBlend, &GouraudSpanSub};
    const SpanFunction depth[] = {&GouraudSpanZ, &GouraudSpanAddZ, &GouraudSpanBlendZ, &GouraudSpanSubZ};
    for (int32_t m = 0; m < kSpanGroupSize; ++m) {
        EXPECT_EQ(GouraudSpans[m], plain[m]) << m;
        EXPECT_EQ(GouraudSpansZ[m], depth[m]) << m;
    }
}

// ---------------------------------------------------------------- 16.16 start

// Adding 16 to the exponent is an exact multiplication by 65536 for normal
// floats; zero and denormals become tiny numbers that round to 0.
TEST(GouraudFixedTest, ExponentTrickScalesBy65536)
{
    struct Case {
        const char* Name;
        float Value;
        int32_t Fixed;
    } const cases[] = {
        {"Zero", 0.0f, 0}, {"NegativeZero", -0.0f, 0}, {"One", 1.0f, 65536}, {"Channel100", 100.0f, 100 * 65536},
        {"Channel255", 255.0f, 255 * 65536}, {"HalfChannel", 100.5f, 100 * 65536 + 32768},
        {"Negative", -2.25f, -147456},
        {"TieRoundsToEvenDown", 2.5f / 65536.0f, 2},  // 2.5 -> 2
        {"TieRoundsToEvenUp", 3.5f / 65536.0f, 4},    // 3.5 -> 4
        {"BelowHalfUnit", 0.4f / 65536.0f, 0}, {"Denormal", 1e-40f, 0},
    };
    for (const Case& c : cases) EXPECT_EQ(Fixed16FromExponent(c.Value), c.Fixed) << c.Name;
}

// ---------------------------------------------------------------- dither

// Each pixel of a constant colour is one of two words: 'H' the rounded-up
// word, 'l' the rounded-down one ('.' untouched paper, '?' anything else).
struct DitherCase {
    const char* Name;
    bool Depth;
    Point S0, S1, S2;
    uint32_t Colour;
    uint16_t High, Low;
    std::vector<std::string> Rows;
};

// Grey 100: v = 100 = 12 * 8 + 4, so 13 where the level is below 4, else 12.
// That is where the matrix holds 0..3: a checkerboard, 'H' where
// (column + y) is even, the column being the dither column.
constexpr uint16_t k13 = Word(13, 13, 13), k12 = Word(12, 12, 12);
// Rows [0, 8 - y) of the triangle (0,0), (8,0), (0,8), every pixel high.
const std::vector<std::string> kFullTriangle = {"HHHHHHHH", "HHHHHHH", "HHHHHH", "HHHHH", "HHHH", "HHH", "HH", "H"};

const DitherCase kDitherCases[] = {
    // 255 has no remainder (ChannelRemainder is 0 from 248 up): 31 on every
    // pixel of either group, no speckle. Rows [0, 8 - y).
    {"White255PlainNoSpeckle", false, kO, kR, kD, Rgb(255, 255, 255), 0x7fff, 0, kFullTriangle},
    {"White255ZNoSpeckle", true, kO, kR, kD, Rgb(255, 255, 255), 0x7fff, 0, kFullTriangle},
    // 250 is above 247: 31 everywhere too.
    {"Grey250NoSpeckle", true, kO, kR, kD, Rgb(250, 250, 250), 0x7fff, 0, kFullTriangle},
    // Triangle (0,0), (8,0), (8,8): rows [y, 8), right X = 8 on every row.
    // Z: column x, 'H' where x + y is even.
    {"Grey100ZOnScreen", true, kO, kR, kRD, Rgb(100, 100, 100), k13, k12,
     {"HlHlHlHl", ".HlHlHlH", "..HlHlHl", "...HlHlH", "....HlHl", ".....HlH", "......Hl", ".......H"}},
    // The same triangle one pixel to the right, rows [y + 1, 9): the pattern
    // stays where it was on the screen ('H' where x + y is even).
    {"Grey100ZShiftedStaysOnScreen", true, {1, 0, .5f}, {9, 0, .5f}, {9, 8, .5f}, Rgb(100, 100, 100), k13, k12,
     {".lHlHlHlH", "..lHlHlHl", "...lHlHlH", "....lHlHl", ".....lHlH", "......lHl", ".......lH", "........l"}},
    // Plain: column x - 8, which is x modulo 4: the same picture as Z.
    {"Grey100PlainAtRightEnd", false, kO, kR, kRD, Rgb(100, 100, 100), k13, k12,
     {"HlHlHlHl", ".HlHlHlH", "..HlHlHl", "...HlHlH", "....HlHl", ".....HlH", "......Hl", ".......H"}},
    // Shifted: column x - 9, so the pattern moves right with the triangle
    // ('H' where x + y is odd).
    {"Grey100PlainShiftedMovesAlong", false, {1, 0, .5f}, {9, 0, .5f}, {9, 8, .5f}, Rgb(100, 100, 100), k13, k12,
     {".HlHlHlHl", "..HlHlHlH", "...HlHlHl", "....HlHlH", ".....HlHl", "......HlH", ".......Hl", "........H"}},
    // Triangle (0,0), (8,0), (0,8): rows [0, 8 - y). Z: 'H' where x + y is
    // even. Plain: column x - (8 - y), that is x + y modulo 4, on row y:
    // row 0 levels 0 4 1 5, row 1 from column 1: 2 7 3 6, row 2 from
    // column 2: 0 4 1 5, row 3 from column 3: 2 7 3 6: 'H' at every even x.
    {"Grey100ZSlantedRightEdge", true, kO, kR, kD, Rgb(100, 100, 100), k13, k12,
     {"HlHlHlHl", "lHlHlHl", "HlHlHl", "lHlHl", "HlHl", "lHl", "Hl", "l"}},
    {"Grey100PlainSlantedRightEdge", false, kO, kR, kD, Rgb(100, 100, 100), k13, k12,
     {"HlHlHlHl", "HlHlHlH", "HlHlHl", "HlHlH", "HlHl", "HlH", "Hl", "H"}},
    // Green 101 = 12 * 8 + 5: 13 where the level is below 5. Unlike 100 this
    // tells rows from columns: row 0 (0 4 1 5) "HHHl", row 1 (6 2 7 3)
    // "lHlH", row 2 (1 5 0 4) "HlHH", row 3 (7 3 6 2) "lHlH". The transposed
    // matrix would give "HlHl" on row 0.
    {"Green101ZRowsAndColumns", true, kO, kR, kD, Rgb(0, 101, 0), Word(0, 13, 0),
     Word(0, 12, 0), {"HHHlHHHl", "lHlHlHl", "HlHHHl", "lHlHl", "HHHl", "lHl", "Hl", "l"}},
    // Red 247 = 30 * 8 + 7: 31 except at level 7, (2,1) and (0,3) of each
    // block, where it stays 30.
    {"Red247ZOnlyLevel7RoundsDown", true, kO, kR, kD, Rgb(247, 0, 0), Word(31, 0, 0),
     Word(30, 0, 0), {"HHHHHHHH", "HHlHHHl", "HHHHHH", "lHHHl", "HHHH", "HHl", "HH", "l"}},
};

class GouraudDitherTest : public GouraudTest, public ::testing::WithParamInterface<DitherCase> {};

std::string Classify(Canvas& canvas, uint16_t high, uint16_t low)
{
    std::string s;
    for (int32_t y = 0; y < canvas.Height; ++y) {
        for (int32_t x = 0; x < canvas.Pitch; ++x) {
            const uint16_t w = canvas.At(x, y);
            s += w == high ? 'H' : w == low ? 'l' : w == kPaper ? '.' : '?';
        }
        s += '\n';
    }
    return s;
}

TEST_P(GouraudDitherTest, PatternOfAConstantColour)
{
    const DitherCase& c = GetParam();
    const std::string expected = Rows(c.Rows, kPitch, kH);
    OnEveryRoute({c.Depth}, kPaper, c.S0, c.S1, c.S2, {c.Colour, c.Colour, c.Colour}, kAlphaOpaque, 0,
                 [&](Canvas& canvas, bool) { EXPECT_EQ(Classify(canvas, c.High, c.Low), expected); });
}

INSTANTIATE_TEST_SUITE_P(Patterns, GouraudDitherTest, ::testing::ValuesIn(kDitherCases),
                         [](const auto& info) { return std::string(info.param.Name); });

// ---------------------------------------------------------------- alpha modes

// One constant colour over the triangle (0,0), (8,0), (0,8) (rows [0, 8 - y))
// on a constant destination. The case gives each channel's 8-bit result
// before dithering, worked out by hand; the test dithers it at each pixel's
// level for the group's anchor. A constant channel q has gradients of zero,
// so v = q exactly (bias 0x7fff for q > 0, 0x8000 for q = 0). Destination
// channels enter on the 8-bit scale: (3,5,7) gives 24, 40, 56.
// Colour (80,160,240) has 5-bit channels (10,20,30) and no remainder.
struct AlphaCase {
    const char* Name;
    uint16_t Mode, Level;
    uint16_t Dest;
    uint32_t Colour;
    uint32_t Red8, Green8, Blue8;  // per-channel result before dithering
    bool DrawsNothing;
    bool WritesDepth;              // in the depth-tested function
};

const AlphaCase kAlphaCases[] = {
    // Opaque: v itself; the destination and its bit 15 do not matter.
    {"Opaque", kAlphaOpaque, 0, 0x8ca7, Rgb(80, 160, 240), 80, 160, 240, false, true},
    // Remainders 4, 1, 7: 10 or 11 below level 4, 20 or 21 at level 0 only,
    // 30 or 31 everywhere but level 7.
    {"OpaqueDithersEachChannel", kAlphaOpaque, 0, 0x0ca7, Rgb(84, 161, 247), 84, 161, 247, false, true},
    // Additive: (80 + 24, 160 + 40, min(240 + 56, 255)) = (104, 200, 255).
    {"Add", kAlphaAdditive, 0, 0x0ca7, Rgb(80, 160, 240), 104, 200, 255, false, false},
    // Bit 15 of the destination takes no part.
    {"AddIgnoresDestBit15", kAlphaAdditive, 0, 0x8ca7, Rgb(80, 160, 240), 104, 200, 255, false, false},
    // 81 + 24 = 105 keeps a remainder of 1 for the dither: 14 at level 0.
    {"AddSumIsDithered", kAlphaAdditive, 0, 0x0c00, Rgb(81, 0, 0), 105, 0, 0, false, false},
    // Subtractive, colour minus destination: (80 - 24, 160 - 40, 240 - 40):
    // the blue subtracts the destination's green (40), not its blue (56).
    {"Sub", kAlphaSubtractive, 0, 0x0ca7, Rgb(80, 160, 240), 56, 120, 200, false, false},
    // Destination blue 31, green 0: the triangle's blue is left as it is.
    {"SubBlueIgnoresDestBlue", kAlphaSubtractive, 0, 0x001f, Rgb(80, 160, 240), 80, 160, 240, false, false},
    // Destination green 31 (248), blue 0: green and blue both go to 0.
    {"SubBlueTakesDestGreen", kAlphaSubtractive, 0, 0x03e0, Rgb(80, 160, 240), 80, 0, 0, false, false},
    // (16,16,16) minus white floors at 0.
    {"SubFloorsAtZero", kAlphaSubtractive, 0, 0x7fff, Rgb(16, 16, 16), 0, 0, 0, false, false},
    // Blend, level 128, inverse 127. s = 5-bit colour << 10, e = 5-bit
    // destination << 10, result ((((e - s) * 127) >> 8) + s) >> 7.
    // Destination (2,12,0) = 0x0980, colour (10,20,30):
    //   red   ((-8192 * 127) >> 8 = -4064) + 10240 = 6176 >> 7 = 48
    //   green ((-8192 * 127) >> 8 = -4064) + 20480 = 16416 >> 7 = 128
    //   blue  ((-30720 * 127) >> 8 = -15240) + 30720 = 15480 >> 7 = 120
    // that is (6, 16, 15): the halfway points of (10,20,30) and (2,12,0).
    {"BlendHalf", kAlphaBlend, 128, 0x0980, Rgb(80, 160, 240), 48, 128, 120, false, false},
    // Only the top five bits of v enter: (87,167,247) blends as (80,160,240).
    {"BlendHalfTopFiveBits", kAlphaBlend, 128, 0x0980, Rgb(87, 167, 247), 48, 128, 120, false, false},
    {"BlendIgnoresDestBit15", kAlphaBlend, 128, 0x8980, Rgb(80, 160, 240), 48, 128, 120, false, false},
    // Black over white: (31744 * 127) >> 8 = 15748, >> 7 = 123: 15 or 16.
    {"BlendHalfBlackOverWhite", kAlphaBlend, 128, 0x7fff, Rgb(0, 0, 0), 123, 123, 123, false, false},
    // Level 64, inverse 191, white over black: (-31744 * 191) >> 8 = -23684,
    // + 31744 = 8060 >> 7 = 62.
    {"BlendLevel64WhiteOverBlack", kAlphaBlend, 64, 0x0000, Rgb(255, 255, 255), 62, 62, 62, false, false},
    // Level 255 is opaque for this triangle, depth write included.
    {"BlendLevel255IsOpaque", kAlphaBlend, 255, 0x0ca7, Rgb(80, 160, 240), 80, 160, 240, false, true},
    // Level 0 returns before touching anything.
    {"BlendLevel0DrawsNothing", kAlphaBlend, 0, 0x0ca7, Rgb(80, 160, 240), 0, 0, 0, true, false},
};

class GouraudAlphaTest : public GouraudTest, public ::testing::WithParamInterface<AlphaCase> {};

TEST_P(GouraudAlphaTest, PixelsAndDepthWords)
{
    const AlphaCase& c = GetParam();
    constexpr int32_t kHalf = 1 << 29;  // round(0.5 * 2^30)
    OnEveryRoute({false, true}, c.Dest, kO, kR, kD, {c.Colour, c.Colour, c.Colour}, c.Mode,
                 c.Level, [&](Canvas& canvas, bool depth) {
        for (int32_t y = 0; y < kH; ++y) {
            for (int32_t x = 0; x < kPitch; ++x) {
                const bool in = !c.DrawsNothing && y < 8 && x < 8 - y;
                const int32_t level = kLevels[y & 3][(depth ? x : x - (8 - y)) & 3];
                const uint16_t expected =
                    in ? Word(Dithered(c.Red8, level), Dithered(c.Green8, level), Dithered(c.Blue8, level)) : c.Dest;
                EXPECT_EQ(canvas.At(x, y), expected) << x << "," << y;
                EXPECT_EQ(canvas.DepthAt(x, y), in && depth && c.WritesDepth ? kHalf : 0) << x << "," << y;
            }
        }
    });
}

INSTANTIATE_TEST_SUITE_P(Modes, GouraudAlphaTest, ::testing::ValuesIn(kAlphaCases),
                         [](const auto& info) { return std::string(info.param.Name); });

// ---------------------------------------------------------------- rounding bias

// The channel fields below are built to land exactly halfway between two
// integers at every pixel centre, at 8k - 0.5, so that the bias alone decides
// between 8k (5-bit k) and 8k - 1 (5-bit k - 1). They are read through a
// probe free of dithering: blend at level 254 (inverse 1) over white gives
// (1020 * s5 + 124) >> 7 = 8 * s5, the top five bits of v exactly.
// The bias is 0x8000 (half up) when dQdX - q0 > 0, 0x7fff (half down) when
// it is < 0, and when it is 0 the sign of dQdY - q0 decides (>= 0: up),
// q0 being the channel's value in slot 0.
struct BiasCase {
    const char* Name;
    Point S0, S1, S2;
    uint32_t C0, C1, C2;
    std::vector<std::string> Red;   // 5-bit red as base-32 digits, '.' untouched
    std::vector<std::string> Blue;  // likewise blue; empty: blue 0 wherever drawn
};

constexpr float k1_16 = 1.0f / 16.0f;

const BiasCase kBiasCases[] = {
    // Corners (1/16, 0), (8 + 1/16, 0), (1/16, 8), red 0, 64, 0: red = 8x - 0.5,
    // dRdX = 8. Rows [1, 9 - y). Slot 0 holds 0: 8 - 0 > 0, half up, red 8x: x.
    {"RisingFromSmallSlot0RoundsUp", {k1_16, 0, .5f}, {8 + k1_16, 0, .5f}, {k1_16, 8, .5f},
     Rgb(0, 0, 0), Rgb(64, 0, 0), Rgb(0, 0, 0),
     {".12345678", ".1234567", ".123456", ".12345", ".1234", ".123", ".12", ".1"}, {}},
    // The same triangle and colours, slots rotated so that slot 0 holds 64:
    // 8 - 64 < 0, half down although red rises: 8x - 1, so x - 1.
    {"RisingFromLargeSlot0RoundsDown", {8 + k1_16, 0, .5f}, {k1_16, 8, .5f}, {k1_16, 0, .5f},
     Rgb(64, 0, 0), Rgb(0, 0, 0), Rgb(0, 0, 0),
     {".01234567", ".0123456", ".012345", ".01234", ".0123", ".012", ".01", ".0"}, {}},
    // Falling: red 71, 7, 71 gives 71.5 - 8x, dRdX = -8: -8 - 71 < 0, half
    // down, 71 - 8x, so 8 - x.
    {"FallingRoundsDown", {k1_16, 0, .5f}, {8 + k1_16, 0, .5f}, {k1_16, 8, .5f},
     Rgb(71, 0, 0), Rgb(7, 0, 0), Rgb(71, 0, 0),
     {".76543210", ".7654321", ".765432", ".76543", ".7654", ".765", ".76", ".7"}, {}},
    // Each channel decides for itself: red as in the first case (up), blue
    // 128, 192, 128 = 8x + 127.5 with slot 0 at 128 > 8 (down): 8x + 127,
    // so x + 15.
    {"EachChannelHasItsOwnBias", {k1_16, 0, .5f}, {8 + k1_16, 0, .5f}, {k1_16, 8, .5f},
     Rgb(0, 0, 128), Rgb(64, 0, 192), Rgb(0, 0, 128),
     {".12345678", ".1234567", ".123456", ".12345", ".1234", ".123", ".12", ".1"},
     {".ghijklmn", ".ghijklm", ".ghijkl", ".ghijk", ".ghij", ".ghi", ".gh", ".g"}},
    // Both differences exactly zero: red 8, 72, 72 at the first corners
    // gives 8x + 8y + 7.5, dRdX = dRdY = 8 = the value in slot 0. The second
    // difference is 0, which counts as not negative: half up, 8 (x + y + 1),
    // so x + y + 1.
    {"BothDifferencesZeroRoundsUp", {k1_16, 0, .5f}, {8 + k1_16, 0, .5f}, {k1_16, 8, .5f},
     Rgb(8, 0, 0), Rgb(72, 0, 0), Rgb(72, 0, 0),
     {".23456789", ".3456789", ".456789", ".56789", ".6789", ".789", ".89", ".9"}, {}},
    // Constant along x, rising along y: corners (0, 1/16), (8, 1/16),
    // (0, 8 + 1/16), red 0, 0, 64: red = 8y - 0.5. dRdX is -0.0 and slot 0
    // holds 0, so the difference is zero and dRdY - 0 = 8 >= 0 decides: half
    // up, 8y, so y. Rows 1..8, [0, 9 - y).
    {"ZeroAlongXRisingAlongYRoundsUp", {0, k1_16, .5f}, {8, k1_16, .5f}, {0, 8 + k1_16, .5f},
     Rgb(0, 0, 0), Rgb(0, 0, 0), Rgb(64, 0, 0),
     {"", "11111111", "2222222", "333333", "44444", "5555", "666", "77", "8"}, {}},
    // Constant along x, falling along y: corners (0, 8.9375) red 0 in slot 0,
    // (0, 0.9375) and (8, 0.9375) red 64: red = 71.5 - 8y, dRdY = -8 < 0:
    // half down, 71 - 8y, so 8 - y. Rows 1..8, [0, 9 - y).
    {"ZeroAlongXFallingAlongYRoundsDown", {0, 8.9375f, .5f}, {0, 0.9375f, .5f}, {8, 0.9375f, .5f},
     Rgb(0, 0, 0), Rgb(64, 0, 0), Rgb(64, 0, 0),
     {"", "77777777", "6666666", "555555", "44444", "3333", "222", "11", "0"}, {}},
};

class GouraudBiasTest : public GouraudTest, public ::testing::WithParamInterface<BiasCase> {};

int32_t Base32(char c) { return c >= 'a' ? c - 'a' + 10 : c - '0'; }

TEST_P(GouraudBiasTest, HalfwayValuesRoundByTheBias)
{
    const BiasCase& c = GetParam();
    OnEveryRoute({false, true}, 0x7fff, c.S0, c.S1, c.S2, {c.C0, c.C1, c.C2}, kAlphaBlend, 254, [&](Canvas& canvas, bool) {
        ExpectPixels(canvas, [&](int32_t x, int32_t y) {
            const std::string red = y < (int32_t)c.Red.size() ? c.Red[(size_t)y] : std::string();
            const char r = x < (int32_t)red.size() ? red[(size_t)x] : '.';
            if (r == '.') return (uint16_t)0x7fff;
            const int32_t blue = c.Blue.empty() ? 0 : Base32(c.Blue[(size_t)y][(size_t)x]);
            return Word((uint32_t)Base32(r), 0, (uint32_t)blue);
        });
    });
}

INSTANTIATE_TEST_SUITE_P(Fields, GouraudBiasTest, ::testing::ValuesIn(kBiasCases),
                         [](const auto& info) { return std::string(info.param.Name); });

// ---------------------------------------------------------------- interpolation

// Corners (1,0), (9,4), (0,7) with red = 8x + 16y + 4, green = 100 + 8x - 8y,
// blue = 200 - 8x: (12,108,192), (140,140,128), (116,44,200). Every pixel
// centre holds whole values whose top five bits are (x + 2y, 12 + x - y,
// 25 - x); read through the level-254 probe. Rows: left edge x = 1 - y / 7,
// ceiling 1 on rows 0..6 (X steps by -1 and carries back each row); right
// edge x = 1 + 2y on rows 0..3, then 9 - 3 (y - 4): spans [1, 1), [1, 3),
// [1, 5), [1, 7), [1, 9), [1, 6), [1, 3).
TEST_F(GouraudTest, InterpolatesEveryChannelAcrossCarryRows)
{
    const int32_t rightX[7] = {1, 3, 5, 7, 9, 6, 3};
    // 1/z varies too, so that depth and colour cannot trade places on the
    // edges; every pixel lies in front of depth 0.
    OnEveryRoute({false, true}, 0x7fff, {1, 0, .25f}, {9, 4, .75f}, {0, 7, .5f},
                 {Rgb(12, 108, 192), Rgb(140, 140, 128), Rgb(116, 44, 200)}, kAlphaBlend, 254, [&](Canvas& canvas, bool) {
        ExpectPixels(canvas, [&](int32_t x, int32_t y) {
            const bool in = y < 7 && x >= 1 && x < rightX[y];
            return in ? Word((uint32_t)(x + 2 * y), (uint32_t)(12 + x - y), (uint32_t)(25 - x)) : (uint16_t)0x7fff;
        });
    });
}

// ---------------------------------------------------------------- depth

// Slots (0,0), (8,0), (0,8) with 1/z = 0.25 + x / 64 + y / 128 at the
// corners, as for the flat family: the depth word at (x, y) is exactly
// 2^28 + x * 2^24 + y * 2^23. Red 0, 128, 0 gives red = 16x (5-bit 2x, no
// remainder to dither).
struct DepthTriangle : GouraudTriangle {
    DepthTriangle()
    {
        Set({0, 0, 0.25f}, {8, 0, 0.375f}, {0, 8, 0.3125f});
        SetSlotColours(Rgb(0, 0, 0), Rgb(128, 0, 0), Rgb(0, 0, 0));
    }
};

TEST_F(GouraudTest, OpaqueZWritesInterpolatedDepth)
{
    Canvas canvas(kW, kH, kPitch, 0, 0);
    canvas.MakeCurrent();
    DepthTriangle t;
    t.Draw(&GouraudSolidTriangleZ);
    for (int32_t y = 0; y < kH; ++y) {
        for (int32_t x = 0; x < kPitch; ++x) {
            const bool in = y < 8 && x < 8 - y;
            EXPECT_EQ(canvas.DepthAt(x, y), in ? ExpectedDepth(x, y) : 0) << x << "," << y;
            EXPECT_EQ(canvas.At(x, y), in ? Word((uint32_t)(2 * x), 0, 0) : 0) << x << "," << y;
        }
    }
}

struct ModeCase {
    const char* Name;
    uint16_t Mode, Level;
};
const ModeCase kModes[] = {
    {"Opaque", kAlphaOpaque, 0}, {"Add", kAlphaAdditive, 0}, {"Blend128", kAlphaBlend, 128},
    {"Sub", kAlphaSubtractive, 0},
};

// 1/z = 0.5 everywhere: zi = 2^29 on every pixel. A stored 2^29 wins (the
// test is strict), a stored 2^29 - 1 loses; only the opaque span stores zi.
TEST_F(GouraudTest, EqualDepthLoses)
{
    constexpr int32_t kHalf = 1 << 29;
    for (const ModeCase& m : kModes) {
        SCOPED_TRACE(m.Name);
        for (int32_t stored : {kHalf, kHalf - 1}) {
            Canvas canvas(kW, kH, kPitch, kPaper, stored);
            canvas.MakeCurrent();
            GouraudTriangle t;
            t.Set(kO, kR, kD);
            t.SetSlotColours(Rgb(255, 0, 255), Rgb(255, 0, 255), Rgb(255, 0, 255));
            t.SetAlpha(m.Mode, m.Level);
            t.Draw(&GouraudSolidTriangleZ);
            const bool drawn = stored < kHalf;
            EXPECT_EQ(canvas.At(0, 0) != kPaper, drawn);
            EXPECT_EQ(canvas.At(7, 0) != kPaper, drawn);
            EXPECT_EQ(canvas.At(0, 7) != kPaper, drawn);
            const int32_t depth = drawn && m.Mode == kAlphaOpaque ? kHalf : stored;
            EXPECT_EQ(canvas.DepthAt(3, 3), depth);
            EXPECT_EQ(canvas.At(8, 0), kPaper);
        }
    }
}

// Row 0 of the depth triangle with column 2 hidden (stored INT32_MAX) and
// column 3 stored just below its own depth word. Depth and colour advance
// over the hidden pixel in all four spans (unlike the flat additive one):
// column 3 passes and shows red 16 * 3 = 48, 5-bit 6. Blend at 128 over
// black: s = 2x << 10 = 2048x, ((-2048x * 127) >> 8) + 2048x = 1032x,
// >> 7 = 8x for x < 16: 5-bit x.
TEST_F(GouraudTest, HiddenPixelsStillAdvanceDepthAndColour)
{
    for (const ModeCase& m : kModes) {
        SCOPED_TRACE(m.Name);
        Canvas canvas(kW, kH, kPitch, 0, 0);
        canvas.MakeCurrent();
        canvas.DepthAt(2, 0) = INT32_MAX;
        canvas.DepthAt(3, 0) = ExpectedDepth(3, 0) - 1;
        DepthTriangle t;
        t.SetAlpha(m.Mode, m.Level);
        t.Draw(&GouraudSolidTriangleZ);
        for (int32_t x = 0; x < 8; ++x) {
            const uint32_t red5 = m.Mode == kAlphaBlend ? (uint32_t)x : (uint32_t)(2 * x);
            EXPECT_EQ(canvas.At(x, 0), x == 2 ? 0 : Word(red5, 0, 0)) << x;
            int32_t depth = x == 2 ? INT32_MAX : x == 3 ? ExpectedDepth(3, 0) - 1 : 0;
            if (m.Mode == kAlphaOpaque && x != 2) depth = ExpectedDepth(x, 0);
            EXPECT_EQ(canvas.DepthAt(x, 0), depth) << x;
        }
    }
}

// ---------------------------------------------------------------- fill rule

// Anticlockwise corners and the shared edge are checked with the flat family
// in flat_test.cpp, Gouraud functions included.

// The Gouraud walk is the flat walk: on seeded random triangles, snapped to
// 1/16, 1/4, 1/2 and whole pixels so that edges run through centres, both
// draw the same pixels, each once. Additive on black: the flat colour 1 and
// the Gouraud blue 8 (8 + 0 = 8, 5-bit 1) both read 1 on a pixel drawn once
// and 2 on a pixel drawn twice.
TEST_F(GouraudTest, CoversExactlyTheFlatPixels)
{
    constexpr int32_t kSize = 24, kCanvasPitch = 27;
    std::mt19937 rng(20240613);
    int32_t drawn = 0;
    for (int32_t n = 0; n < 300; ++n) {
        const int32_t snap = std::uniform_int_distribution<int32_t>(0, 3)(rng);
        const int32_t step = snap == 0 ? 1 : snap == 1 ? 4 : snap == 2 ? 8 : 16;
        std::uniform_int_distribution<int32_t> coordinate(0, (kSize * 16 - 1) / step);
        Point p[3];
        for (Point& q : p) {
            q.X = (float)(coordinate(rng) * step) / 16.0f;
            q.Y = (float)(coordinate(rng) * step) / 16.0f;
            q.Z = 0.5f;
        }
        for (bool reversed : {false, true}) {
            const Point s0 = reversed ? p[2] : p[0], s2 = reversed ? p[0] : p[2];
            for (bool depth : {false, true}) {
                for (bool backFacing : {false, true}) {
                    Canvas flat(kSize, kSize, kCanvasPitch, 0, 0), gouraud(kSize, kSize, kCanvasPitch, 0, 0);
                    Triangle f;
                    f.Set(s0, p[1], s2, backFacing);
                    f.SetColour(0x0001);
                    f.SetAlpha(kAlphaAdditive);
                    flat.MakeCurrent();
                    f.Draw(depth ? &FlatSolidTriangleZ : &FlatSolidTriangle);
                    GouraudTriangle g;
                    g.Set(s0, p[1], s2, backFacing);
                    g.SetColour(8);  // blue 8 at every corner
                    g.SetAlpha(kAlphaAdditive);
                    gouraud.MakeCurrent();
                    g.Draw(depth ? &GouraudSolidTriangleZ : &GouraudSolidTriangle);
                    ASSERT_EQ(gouraud.Mask(1), flat.Mask(1))
                        << "triangle " << n << ": (" << s0.X << "," << s0.Y << ") (" << p[1].X << "," << p[1].Y
                        << ") (" << s2.X << "," << s2.Y << ")";
                    ASSERT_EQ(gouraud.Pixels, flat.Pixels) << "triangle " << n;
                    for (uint16_t w : gouraud.Pixels) drawn += w == 1;
                }
            }
        }
    }
    EXPECT_GT(drawn, 10000);  // the sample is not mostly empty
}

}  // namespace
}  // namespace span3d::test
