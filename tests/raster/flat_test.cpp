// Flat solid triangles: fill convention, corner order, alpha modes, depth.
// Expected pixels and depth words are worked out by hand from the 28.4 edge
// walk and the Pixel15 arithmetic; each case shows its derivation.
#include "raster_test_support.h"

namespace span3d::test {
namespace {

constexpr uint16_t kInk = 0x5a5a;         // opaque colour, bit 15 clear
constexpr uint16_t kPaper = 0x0842;       // background
constexpr int32_t kW = 8, kH = 8, kPitch = 11;

using FlatTest = ColourTablesSuite;

// ---------------------------------------------------------------- fill shapes

struct FillCase {
    const char* Name;
    Point S0, S1, S2;  // slots, clockwise on the screen (y down) unless stated
    std::vector<std::string> Rows;
};

// Row y is drawn when ceil(top) <= y < ceil(bottom); its span is
// [ceil(left crossing), ceil(right crossing)), crossings at y.
const FillCase kFillCases[] = {
    // Rows 1..4; left edge x = 1, right edge x = 6 - y, so [1, 6 - y).
    // The top-left corner is in; (5,1) on the right and (1,5) at the bottom
    // are out, as are the centres (4,2), (3,3), (2,4) on the hypotenuse.
    {"RightTriangleOnCentres", {1, 1, .5f}, {5, 1, .5f}, {1, 5, .5f},
     {"........", ".####...", ".###....", ".##.....", ".#......"}},
    // Rows 1..4; left x = 0.5 + (y - 0.5) / 2: 0.75, 1.25, 1.75, 2.25 -> 1, 2, 2, 3;
    // right x = 4.5 - (y - 0.5) / 2: 4.25, 3.75, 3.25, 2.75 -> 5, 4, 4, 3.
    {"HalfPixelCorners", {0.5f, 0.5f, .5f}, {4.5f, 0.5f, .5f}, {2.5f, 4.5f, .5f},
     {"........", ".####...", "..##....", "..##...."}},
    // Rows 0..3; left x = 2 - y / 2 -> 2, 2, 1, 1; right x = 2 + y / 2 -> 2, 3, 3, 4.
    // The apex on a centre gives an empty span; the bottom row y = 4 is out.
    {"PointedTopFlatBottom", {2, 0, .5f}, {4, 4, .5f}, {0, 4, .5f},
     {"........", "..#.....", ".##.....", ".###...."}},
    // Middle (0,3) on the left. Right x = 3 + y / 2 -> 3, 4, 4, 5, 5, 6;
    // left x = 3 - y on rows 0..2 -> 3, 2, 1, then 2 (y - 3) -> 0, 2, 4.
    {"MiddleOnLeft", {3, 0, .5f}, {6, 6, .5f}, {0, 3, .5f},
     {"........", "..##....", ".###....", "#####...", "..###...", "....##.."}},
    // Middle (6,3) on the right, its own pixel is out. Left x = 3 - y / 2
    // -> 3, 3, 2, 2, 1, 1; right x = 3 + y -> 3, 4, 5, then 6 - 2 (y - 3) -> 6, 4, 2.
    {"MiddleOnRight", {3, 0, .5f}, {6, 3, .5f}, {0, 6, .5f},
     {"........", "...#....", "..###...", "..####..", ".###....", ".#......"}},
    // Horizontal top edge on row 2: its pixels are in. Right x = 6 (out);
    // left x = 1 + 5 (y - 2) / 3: 1, 2.67, 4.33 -> 1, 3, 5.
    {"HorizontalTopEdge", {1, 2, .5f}, {6, 2, .5f}, {6, 5, .5f},
     {"........", "........", ".#####..", "...###..", ".....#.."}},
    // x = 2.03125 is 32.5 in 28.4 and rounds to even, 32: column 2 is on the
    // left edge and in. Right x = 6 - (y - 1).
    {"TieRoundsToEven", {2.03125f, 1, .5f}, {6, 1, .5f}, {2.03125f, 5, .5f},
     {"........", "..####..", "..###...", "..##....", "..#....."}},
    // x = 2.046875 is 32.75, rounds to 33: column 2 is out. Right edge from
    // (96,16) to (33,80): 6, 5.02, 4.03, 3.05 -> 6, 6, 5, 4.
    {"FractionRoundsToNearest", {2.046875f, 1, .5f}, {6, 1, .5f}, {2.046875f, 5, .5f},
     {"........", "...###..", "...###..", "...##...", "...#...."}},
    // All three y between rows 0 and 1: every height is 0.
    {"SliverBetweenRows", {0, 0.2f, .5f}, {6, 0.5f, .5f}, {1, 0.8f, .5f}, {}},
    // Three equal y: rejected before any edge.
    {"AllOnOneRow", {0, 2, .5f}, {5, 2, .5f}, {3, 2, .5f}, {}},
    // Zero area with differing y: runs on, every span is empty.
    {"Collinear", {1, 1, .5f}, {3, 3, .5f}, {5, 5, .5f}, {}},
};

class FlatFillTest : public FlatTest, public ::testing::WithParamInterface<FillCase> {};

// Each shape through every route: both corner orders, direct and through the
// dispatch table, with and without depth (depth 0 everywhere: all pass).
TEST_P(FlatFillTest, CoversExactlyTheConventionPixels)
{
    const FillCase& c = GetParam();
    const std::string expected = Rows(c.Rows, kPitch, kH);
    const Route routes[] = {
        {"direct back", &FlatSolidTriangle, true}, {"direct front", &FlatSolidTriangle, false},
        {"direct Z", &FlatSolidTriangleZ, true}, {"table flat", RasterizerTable[3][14], false},
        {"table none", RasterizerTable[1][14], true}, {"table flat Z", RasterizerTable[3][15], false},
        {"table none Z", RasterizerTable[1][15], true},
    };
    for (const Route& route : routes) {
        SCOPED_TRACE(route.Name);
        Canvas canvas(kW, kH, kPitch, kPaper);
        canvas.MakeCurrent();
        Triangle t;
        t.Set(c.S0, c.S1, c.S2, route.BackFacing);
        t.SetColour(kInk);
        t.Draw(route.Function);
        EXPECT_EQ(canvas.Mask(kInk), expected);
    }
}

// The same slots taken anticlockwise draw nothing in any alpha mode, flat or
// Gouraud: left and right swap and every span has negative width.
TEST_P(FlatFillTest, AnticlockwiseDrawsNothing)
{
    const FillCase& c = GetParam();
    for (uint16_t mode = 0; mode < 4; ++mode) {
        for (TriangleRasterizer f :
             {&FlatSolidTriangle, &FlatSolidTriangleZ, &GouraudSolidTriangle, &GouraudSolidTriangleZ}) {
            for (bool backFacing : {true, false}) {
                Canvas canvas(kW, kH, kPitch, kPaper);
                canvas.MakeCurrent();
                Triangle t;
                t.Set(c.S2, c.S1, c.S0, backFacing);
                t.SetColour(kInk);
                t.SetAlpha(mode, 100);
                t.Draw(f);
                EXPECT_EQ(canvas.Pixels, std::vector<uint16_t>(kPitch * kH, kPaper)) << "mode " << mode;
                EXPECT_EQ(canvas.Depth, std::vector<int32_t>(kPitch * kH, 0)) << "mode " << mode;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Shapes, FlatFillTest, ::testing::ValuesIn(kFillCases),
                         [](const auto& info) { return std::string(info.param.Name); });

// Bit 7 swaps the stored corner order and the material together: the same
// corners drawn as a front face come out anticlockwise and draw nothing.
TEST_F(FlatTest, CornerOrderFollowsBit7)
{
    Canvas canvas(kW, kH, kPitch, kPaper);
    canvas.MakeCurrent();
    Triangle t;
    t.Set({1, 1, .5f}, {5, 1, .5f}, {1, 5, .5f}, true);
    t.SetColour(kInk);
    t.Polygon.Flags &= ~SPAN3D_BACK_FACE_BIT;  // Corner 0, 1, 2 now read as 2, 1, 0
    t.Draw(&FlatSolidTriangle);
    EXPECT_EQ(canvas.Mask(kInk), Rows({}, kPitch, kH));
}

// The material is the one that the corner order chose. Back opaque, front
// additive of (0,0,1) onto paper 0x0842 (2,2,2), masked to (2,2,2) + 1 blue.
TEST_F(FlatTest, MaterialFollowsBit7)
{
    for (bool backFacing : {true, false}) {
        Canvas canvas(kW, kH, kPitch, kPaper);
        canvas.MakeCurrent();
        Triangle t;
        t.Set({1, 1, .5f}, {5, 1, .5f}, {1, 5, .5f}, backFacing);
        t.SetColour(0x0001);
        t.Back.AlphaMode = kAlphaOpaque;
        t.Front.AlphaMode = kAlphaAdditive;
        t.Draw(&FlatSolidTriangle);
        // 0x0842 & 0x7bdf = 0x0842 (green and red 2 keep their even values).
        EXPECT_EQ(canvas.At(1, 1), backFacing ? 0x0001 : 0x0843);
    }
}

// Two triangles of a quad share the diagonal (0,0)-(6,6), which runs through
// five pixel centres. Emitted with opposite corner orders, additive blue 1 on
// black (Gouraud: blue 8 at the corners, 5-bit 1): every pixel of the 6x6
// block is 1, none 2.
TEST_F(FlatTest, SharedEdgeIsDrawnOnce)
{
    for (TriangleRasterizer f :
         {&FlatSolidTriangle, &FlatSolidTriangleZ, &GouraudSolidTriangle, &GouraudSolidTriangleZ}) {
        Canvas canvas(kW, kH, kPitch, 0);
        canvas.MakeCurrent();
        Triangle upper, lower;
        upper.Set({0, 0, .5f}, {6, 0, .5f}, {6, 6, .5f}, true);
        lower.Set({0, 0, .5f}, {6, 6, .5f}, {0, 6, .5f}, false);
        const bool gouraud = f == &GouraudSolidTriangle || f == &GouraudSolidTriangleZ;
        for (Triangle* t : {&upper, &lower}) {
            t->SetColour(gouraud ? 0x0008 : 0x0001);
            t->SetAlpha(kAlphaAdditive);
            t->Draw(f);
        }
        EXPECT_EQ(canvas.Mask(0x0001),
                  Rows({"######", "######", "######", "######", "######", "######"}, kPitch, kH));
    }
}

// Buffers and pitch are read from the target on every call.
TEST_F(FlatTest, TargetIsReadAnewForEachTriangle)
{
    Canvas a(kW, kH, kPitch, kPaper), b(kW, kH, kPitch + 2, kPaper);
    Viewport target{};
    target.Pixels = a.Pixels.data();
    target.PixelPitch = kPitch;
    SetRasterTarget(&target, nullptr);
    Triangle t;
    t.Set({1, 1, .5f}, {5, 1, .5f}, {1, 5, .5f});
    t.SetColour(kInk);
    t.Draw(&FlatSolidTriangle);
    target.Pixels = b.Pixels.data();
    target.PixelPitch = kPitch + 2;
    t.Set({0, 0, .5f}, {2, 0, .5f}, {0, 2, .5f});
    t.Draw(&FlatSolidTriangle);
    EXPECT_EQ(a.Mask(kInk), Rows({"", ".####", ".###", ".##", ".#"}, kPitch, kH));
    EXPECT_EQ(b.Mask(kInk), Rows({"##", "#"}, kPitch + 2, kH));
}

}  // namespace
}  // namespace span3d::test
