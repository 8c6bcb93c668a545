// Polygon clipper: the direct, unclipped, near/far and scissor paths, the
// coinciding-vertex rule, texture-coordinate scaling and colour packing.
//
// Most cases draw through a recording rasterizer that keeps every triangle it
// is handed: the polygon as it saw it and the screen triple of each corner.
// Expected points are derived by hand in the comments. Coordinates are chosen
// so that every crossing is exact (t a short binary fraction, or a t that
// multiplies a zero difference), so the comparisons are exact.
//
// Common frame unless a case says otherwise: a 32 x 32 viewport, centre
// (16, 16), ScaleY -1, scissor 0..32 both ways; camera Near 1, Far 8,
// Focale 4. So a point cut at near projects with factors (4, -4) and 1/z 1,
// one cut at far with (0.5, -0.5) and 1/z 0.125.
#include <stdio.h>
#include <string.h>

#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "objects/records/records.h"
#include "pipeline/frame_state.h"
#include "pipeline/pipeline.h"
#include "pipeline_test_support.h"
#include "raster/raster_test_support.h"

namespace span3d::test {
namespace {

// ---------------------------------------------------------------- recording rasterizer

struct RasterCall {
    MeshPolygon* PolygonPointer;   // what the clipper passed
    RasterVertex* VerticesPointer;
    MeshPolygon Polygon;           // the polygon's contents at the call
    Vector3 Corner[3];             // vertices[Corner[k]].ScreenPosition
};
std::vector<RasterCall> g_Calls;

void RecordingRasterizer(MeshPolygon* polygon, RasterVertex* vertices)
{
    RasterCall call;
    call.PolygonPointer = polygon;
    call.VerticesPointer = vertices;
    call.Polygon = *polygon;
    for (int32_t k = 0; k < 3; ++k) call.Corner[k] = vertices[polygon->Corner[k]].ScreenPosition;
    g_Calls.push_back(call);
}

// Floats printed so that each one round-trips exactly (and -0 shows).
std::string Text(float v)
{
    char buffer[32];
    snprintf(buffer, sizeof buffer, "%.9g", static_cast<double>(v));
    return buffer;
}
std::string Text(const Vector3& p)
{
    char buffer[96];
    snprintf(buffer, sizeof buffer, "(%.9g %.9g %.9g)", static_cast<double>(p.x), static_cast<double>(p.y),
             static_cast<double>(p.z));
    return buffer;
}

using Tri = std::vector<Vector3>;

std::string Describe(const std::vector<Tri>& triangles)
{
    std::string s;
    for (const Tri& t : triangles) s += Text(t[0]) + Text(t[1]) + Text(t[2]) + "\n";
    return s;
}
std::string DescribeCalls()
{
    std::string s;
    for (const RasterCall& c : g_Calls) s += Text(c.Corner[0]) + Text(c.Corner[1]) + Text(c.Corner[2]) + "\n";
    return s;
}

// The pairs of the fan corners, one line per call: "u v envU envV" x 3.
std::string DescribeMaps()
{
    std::string s;
    for (const RasterCall& c : g_Calls) {
        for (const CornerCoords& m : c.Polygon.CornerMap) {
            s += Text(m.u) + " " + Text(m.v) + " " + Text(m.envU) + " " + Text(m.envV) + "; ";
        }
        s += "\n";
    }
    return s;
}

// ---------------------------------------------------------------- fixture

// Record k of a polygon is stored at vertex kCorner[k], so that a mix-up of
// corner and vertex indices shows.
constexpr uint32_t kCorner[3] = {2, 0, 1};

constexpr uint32_t kFlatSolid = 0x700003u;
constexpr uint32_t kGouraudSolid = 0x700007u;

// One vertex as emission leaves it. Vertices beyond near or far carry a
// screen position from some earlier frame, which must never be read.
struct VertexSetup {
    Vector3 View;
    Vector3 Screen;  // x, y, 1/z
    uint32_t Outcode;
};
constexpr Vector3 kStale = {-999.0f, 999.0f, 0.0f};

class ClipperTest : public ::testing::Test {
protected:
    Viewport viewport{};
    Camera camera{};
    MeshVertex vertices[3]{};
    MeshPolygon polygon{};
    Material front{};
    Material back{};
    Mesh mesh{};
    DrawItem item{};
    FrameState savedFrame{};

    void SetUp() override
    {
        savedFrame = g_Frame;
        viewport.Width = 32.0f;
        viewport.Height = 32.0f;
        viewport.CentreX = 16.0f;
        viewport.CentreY = 16.0f;
        viewport.ScaleY = -1.0f;
        SetScissor(0, 32, 0, 32);
        camera.Near = 1.0f;
        camera.Far = 8.0f;
        camera.Focale = 4.0f;
        g_Frame.CurrentViewport = &viewport;
        g_Frame.CurrentCamera = &camera;

        for (int32_t k = 0; k < 3; ++k) polygon.Corner[k] = kCorner[k];
        polygon.FrontMaterial = &front;
        polygon.BackMaterial = &back;
        polygon.Flags = 0x700e47u;
        mesh.Vertices = vertices;
        mesh.Polygons = &polygon;
        mesh.VertexCount = 3;
        mesh.PolygonCount = 1;
        g_Calls.clear();
    }
    void TearDown() override { g_Frame = savedFrame; }

    void SetScissor(float minX, float maxX, float minY, float maxY)
    {
        viewport.ScissorMinX = minX;
        viewport.ScissorMaxX = maxX;
        viewport.ScissorMinY = minY;
        viewport.ScissorMaxY = maxY;
        SetFrameClip(&viewport);
    }
    // Record k of the polygon.
    MeshVertex& Record(int32_t k) { return vertices[kCorner[k]]; }
    void SetRecords(const VertexSetup (&setup)[3])
    {
        for (int32_t k = 0; k < 3; ++k) {
            Record(k).ViewPosition = setup[k].View;
            Record(k).ScreenPosition = setup[k].Screen;
            Record(k).Outcode = setup[k].Outcode;
        }
    }
    // A vertex between near and far, given on the screen only.
    void SetScreenRecords(const Vector3 (&screen)[3], const uint32_t (&outcode)[3])
    {
        for (int32_t k = 0; k < 3; ++k) {
            Record(k).ViewPosition = Vector3{0.0f, 0.0f, 2.0f};
            Record(k).ScreenPosition = screen[k];
            Record(k).Outcode = outcode[k];
        }
    }
    void Draw(uint32_t flags, TriangleRasterizer raster = &RecordingRasterizer)
    {
        item.SortKey = 0.0f;
        item.Mesh = &mesh;
        item.Polygon = &polygon;
        item.Flags = flags;
        ClipAndDrawPolygon(&item, raster);
    }
};

// ---------------------------------------------------------------- direct and unclipped paths

// A triangle with record 0 beyond near (its screen position stale) and two
// corners on the screen.
const VertexSetup kOneBeyondNear[3] = {
    {{2, 2, 0}, kStale, SPAN3D_OUT_NEAR},
    {{4, 0, 2}, {24, 16, 0.5f}, 0},
    {{0, 4, 2}, {16, 8, 0.5f}, 0},
};

struct DirectCase {
    const char* Name;
    uint32_t Flags;
};
const DirectCase kDirectCases[] = {
    {"FlatDots", 0x100003u},
    {"GouraudDots", 0x100007u},
    {"FlatWire", 0x300003u},
    {"GouraudWireSmooth", 0x300047u},
    // Wire with a stage selects no rasterizer, but the clipper neither scales
    // nor cuts it: the coordinates reach the function as stored.
    {"WireWithStage", 0xb00007u},
};

class ClipperDirectTest : public ClipperTest, public ::testing::WithParamInterface<DirectCase> {};

// Dots and wire go to their function at once with the mesh's own polygon and
// vertices, even with a corner beyond near: they clip for themselves.
TEST_P(ClipperDirectTest, HandsTheMeshPolygonOnUncut)
{
    SetRecords(kOneBeyondNear);
    polygon.CornerMap[1] = CornerCoords{0.5f, 0.25f, 0.75f, -0.5f};
    const MeshPolygon before = polygon;
    Draw(GetParam().Flags);
    ASSERT_EQ(g_Calls.size(), 1u);
    EXPECT_EQ(g_Calls[0].PolygonPointer, &polygon);
    EXPECT_EQ(g_Calls[0].VerticesPointer, vertices);
    EXPECT_EQ(memcmp(&g_Calls[0].Polygon, &before, sizeof before), 0);
    EXPECT_EQ(Text(g_Calls[0].Corner[0]), Text(kStale));
}

INSTANTIATE_TEST_SUITE_P(Modes, ClipperDirectTest, ::testing::ValuesIn(kDirectCases), test::CaseName{});

// A shared outcode bit rejects before anything else, dots and wire included.
TEST_F(ClipperTest, CornersSharingABitDrawNothingInAnyMode)
{
    struct Case {
        const char* Name;
        uint32_t Outcode[3];
    };
    const Case cases[] = {
        {"AllBeyondNear", {0x10, 0x10, 0x10}},
        {"AllBeyondFar", {0x20, 0x20, 0x20}},
        {"AllLeft", {0x40, 0x140, 0x240}},
        {"AllBelow", {0x200, 0x240, 0x280}},
    };
    for (const Case& c : cases) {
        for (uint32_t flags : {0x100003u, 0x300007u, kFlatSolid, 0xf00007u}) {
            SCOPED_TRACE(std::string(c.Name) + " flags " + std::to_string(flags));
            g_Calls.clear();
            for (int32_t k = 0; k < 3; ++k) Record(k).Outcode = c.Outcode[k];
            Draw(flags);
            EXPECT_TRUE(g_Calls.empty());
        }
    }
}

// Wholly inside: one call with the mesh's own vertex array and a copy of the
// polygon whose contents are the polygon's; no ClipVertex is written.
TEST_F(ClipperTest, UnclippedPolygonGoesOnWithTheMeshVertices)
{
    const Vector3 screen[3] = {{4, 4, 0.5f}, {20, 6, 0.25f}, {9, 30, 0.125f}};
    SetScreenRecords(screen, {0, 0, 0});
    polygon.CornerColour[0] = 0x00123456u;
    polygon.CornerColour[1] = 0x00abcdefu;
    polygon.CornerColour[2] = 0x00010203u;
    const MeshPolygon before = polygon;
    const MeshVertex verticesBefore[3] = {vertices[0], vertices[1], vertices[2]};
    memset(g_Clip.ClipInput, 0x5a, sizeof g_Clip.ClipInput);

    for (uint32_t flags : {kFlatSolid, kGouraudSolid, 0x700001u}) {
        g_Calls.clear();
        Draw(flags);
        ASSERT_EQ(g_Calls.size(), 1u);
        EXPECT_NE(g_Calls[0].PolygonPointer, &polygon);  // a working copy
        EXPECT_EQ(g_Calls[0].VerticesPointer, vertices);
        EXPECT_EQ(memcmp(&g_Calls[0].Polygon, &before, sizeof before), 0);
    }
    EXPECT_EQ(memcmp(&polygon, &before, sizeof before), 0);
    EXPECT_EQ(memcmp(vertices, verticesBefore, sizeof verticesBefore), 0);
    EXPECT_EQ(g_Clip.ClipInput[0].Outcode, 0x5a5a5a5au);
    EXPECT_EQ(g_Clip.ClipUnion, 0u);
}

// ---------------------------------------------------------------- near and far

struct DepthCase {
    const char* Name;
    float ScissorMinX, ScissorMaxX;  // rows 0..32 throughout
    VertexSetup Records[3];
    std::vector<Tri> Expected;       // fan triangles, corners 0, 1, 2
};

// Walk order (0,1), (1,2), (2,0). Near: t = (1 - from.z) / (to.z - from.z),
// the point projected as (4 x + 16, -4 y + 16), 1/z 1. Far: (0.5 x + 16,
// -0.5 y + 16), 1/z 0.125.
const DepthCase kDepthCases[] = {
    // A beyond near. (A,B) enters: t = 0.5, view (3, 1, 1) -> P (28, 12).
    // (B,C) copies B. (C,A) copies C, leaves: t = 0.5, view (1, 3, 1)
    // -> Q (20, 4). Four vertices, fan (P,B,C), (P,C,Q).
    {"OneBeyondNearGivesTwoTriangles", 0, 32,
     {{{2, 2, 0}, kStale, 0x10}, {{4, 0, 2}, {24, 16, 0.5f}, 0}, {{0, 4, 2}, {16, 8, 0.5f}, 0}},
     {{{28, 12, 1}, {24, 16, 0.5f}, {16, 8, 0.5f}}, {{28, 12, 1}, {16, 8, 0.5f}, {20, 4, 1}}}},
    // A and B beyond near. (A,B) nothing. (B,C) enters: t = 0.5, view
    // (2, 1, 1) -> R (24, 12). (C,A) copies C, then Q (20, 4) as above.
    {"TwoBeyondNearGiveOneTriangle", 0, 32,
     {{{2, 2, 0}, kStale, 0x10}, {{4, -2, 0}, kStale, 0x10}, {{0, 4, 2}, {16, 8, 0.5f}, 0}},
     {{{24, 12, 1}, {16, 8, 0.5f}, {20, 4, 1}}}},
    // A at the eye: the edges from A lie on rays through the eye and their
    // crossings project onto the other end. (A,B) enters at view (2, 0, 1)
    // -> (24, 16), B's own point, and is kept: entering edges always add.
    // (C,A) leaves at view (0, 2, 1) -> (16, 8), C's point: dropped.
    {"CrossingOnFromDroppedOnlyWhenLeaving", 0, 32,
     {{{0, 0, 0}, kStale, 0x10}, {{4, 0, 2}, {24, 16, 0.5f}, 0}, {{0, 4, 2}, {16, 8, 0.5f}, 0}},
     {{{24, 16, 1}, {24, 16, 0.5f}, {16, 8, 0.5f}}}},
    // As the case before with B beyond near too: (B,C) gives R (24, 12), the
    // crossing on (C,A) is dropped, two vertices remain: nothing is drawn.
    {"ReducedToTwoVerticesDrawsNothing", 0, 32,
     {{{0, 0, 0}, kStale, 0x10}, {{4, -2, 0}, kStale, 0x10}, {{0, 4, 2}, {16, 8, 0.5f}, 0}},
     {}},
    // A beyond far (z 12, far 8). (A,B): t = (8 - 12) / (4 - 12) = 0.5, view
    // (3, 2, 8) -> P (17.5, 15). (C,A): t = 0.5, view (2, 3, 8) -> Q (17, 14.5).
    {"OneBeyondFar", 0, 32,
     {{{4, 4, 12}, kStale, 0x20}, {{2, 0, 4}, {18, 16, 0.25f}, 0}, {{0, 2, 4}, {16, 14, 0.25f}, 0}},
     {{{17.5f, 15, 0.125f}, {18, 16, 0.25f}, {16, 14, 0.25f}},
      {{17.5f, 15, 0.125f}, {16, 14, 0.25f}, {17, 14.5f, 0.125f}}}},
    // A before near (z -3), B beyond far (z 11), A and B on one view ray
    // (x = y = 2), so cuts of (A,B) land at (2, 2) whatever t is.
    // Near pass: (A,B) -> P1 view (2, 2, 1) -> (24, 8); (B,C) copies B;
    // (C,A) copies C, leaves: t = (1 - 5) / (-3 - 5) = 0.5, view (-1.5, 3.5, 1)
    // -> P2 (10, 2). Output P1, B, C, P2.
    // Far pass: (P1,B) copies P1, leaves at view (2, 2, 8) -> P3 (17, 15);
    // (B,C) enters: t = (8 - 11) / (5 - 11) = 0.5, view (-1.5, 3.5, 8)
    // -> P4 (15.25, 14.25); (C,P2) and (P2,P1) copy C and P2.
    // Five vertices: P1, P3, P4, C, P2, three fan triangles.
    {"StraddlesNearAndFar", 0, 32,
     {{{2, 2, -3}, kStale, 0x10}, {{2, 2, 11}, kStale, 0x20}, {{-5, 5, 5}, {12, 12, 0.2f}, 0}},
     {{{24, 8, 1}, {17, 15, 0.125f}, {15.25f, 14.25f, 0.125f}},
      {{24, 8, 1}, {15.25f, 14.25f, 0.125f}, {12, 12, 0.2f}},
      {{24, 8, 1}, {12, 12, 0.2f}, {10, 2, 1}}}},
    // The first case with the scissor's right edge at 26: P (28, 12) is
    // classified 0x80 by the near cut and the right pass runs on P, B, C, Q.
    // (P,B) enters: t = (26 - 28) / (24 - 28) = 0.5 -> (26, 14), 1/z 0.75.
    // (B,C), (C,Q) copy. (Q,P) copies Q, leaves: t = (26 - 20) / (28 - 20)
    // = 0.75 -> (26, 4 + 8 x 0.75) = (26, 10), 1/z 1.
    {"NearCutThenScissor", 0, 26,
     {{{2, 2, 0}, kStale, 0x10}, {{4, 0, 2}, {24, 16, 0.5f}, 0}, {{0, 4, 2}, {16, 8, 0.5f}, 0}},
     {{{26, 14, 0.75f}, {24, 16, 0.5f}, {16, 8, 0.5f}},
      {{26, 14, 0.75f}, {16, 8, 0.5f}, {20, 4, 1}},
      {{26, 14, 0.75f}, {20, 4, 1}, {26, 10, 1}}}},
    // Scissor from x 29: B and C are left of it, the near cuts P (28, 12) and
    // Q (20, 4) too, so the cut polygon shares 0x40 and is dropped.
    {"AllLeftOfScissorAfterNearCut", 29, 32,
     {{{2, 2, 0}, kStale, 0x10}, {{4, 0, 2}, {24, 16, 0.5f}, 0x40}, {{0, 4, 2}, {16, 8, 0.5f}, 0x40}},
     {}},
};

class ClipperDepthTest : public ClipperTest, public ::testing::WithParamInterface<DepthCase> {};

TEST_P(ClipperDepthTest, CutsAndFans)
{
    const DepthCase& c = GetParam();
    SetScissor(c.ScissorMinX, c.ScissorMaxX, 0, 32);
    SetRecords(c.Records);
    const MeshPolygon before = polygon;
    for (uint32_t flags : {kFlatSolid, kGouraudSolid, 0xf00003u}) {
        SCOPED_TRACE(flags);
        g_Calls.clear();
        Draw(flags);
        EXPECT_EQ(DescribeCalls(), Describe(c.Expected));
        for (const RasterCall& call : g_Calls) {
            EXPECT_EQ(call.VerticesPointer, g_Clip.FanVertices);
            EXPECT_EQ(call.Polygon.Corner[0], 0u);
            EXPECT_EQ(call.Polygon.Corner[1], 1u);
            EXPECT_EQ(call.Polygon.Corner[2], 2u);
        }
    }
    EXPECT_EQ(memcmp(&polygon, &before, sizeof before), 0);
}

INSTANTIATE_TEST_SUITE_P(Planes, ClipperDepthTest, ::testing::ValuesIn(kDepthCases), test::CaseName{});

// A cut point's view position: z is the plane exactly, x and y interpolated.
TEST_F(ClipperTest, NearCutWritesThePlaneDepth)
{
    SetRecords(kOneBeyondNear);
    Draw(kFlatSolid);
    ASSERT_EQ(g_Clip.ClipOutCount, 4);
    const ClipVertex& p = g_Clip.ClipDepthOutput[0];
    EXPECT_EQ(Text(p.ViewPosition), Text(Vector3{3, 1, 1}));
    EXPECT_EQ(p.Outcode, 0u);
    const ClipVertex& q = g_Clip.ClipDepthOutput[3];
    EXPECT_EQ(Text(q.ViewPosition), Text(Vector3{1, 3, 1}));
    EXPECT_EQ(g_Clip.ClipInverseBound, 1.0f);
    EXPECT_EQ(g_Clip.ClipProjectX, 4.0f);
    EXPECT_EQ(g_Clip.ClipProjectY, -4.0f);
}

// ---------------------------------------------------------------- scissor

struct ScissorCase {
    const char* Name;
    float Scissor[4];         // min x, max x, min y, max y
    Vector3 Screen[3];        // records 0, 1, 2: x, y, 1/z
    uint32_t Outcode[3];      // as the projection leaves them
    std::vector<Tri> Expected;
};

// Passes run left, right, top, bottom, each only if some corner carried its
// bit. x-plane cuts: t = (bound - from.x) / (to.x - from.x), y and 1/z
// interpolated; y-plane cuts the mirror.
const ScissorCase kScissorCases[] = {
    // Left at 4. (V0,V1) enters: t = 0.5 -> (4, 8), 1/z 0.375. (V1,V2) copies.
    // (V2,V0) copies V2, leaves: t = 0.5 -> (4, 12), 1/z 0.3125.
    {"Left", {4, 28, 4, 28},
     {{0, 8, 0.5f}, {8, 8, 0.25f}, {8, 16, 0.125f}}, {0x40, 0, 0},
     {{{4, 8, 0.375f}, {8, 8, 0.25f}, {8, 16, 0.125f}},
      {{4, 8, 0.375f}, {8, 16, 0.125f}, {4, 12, 0.3125f}}}},
    // Right at 28. (V0,V1) copies V0, leaves: t = 0.5 -> (28, 8), 0.375.
    // (V1,V2) enters: t = (28 - 32) / (24 - 32) = 0.5 -> (28, 12), 0.1875.
    {"Right", {4, 28, 4, 28},
     {{24, 8, 0.5f}, {32, 8, 0.25f}, {24, 16, 0.125f}}, {0, 0x80, 0},
     {{{24, 8, 0.5f}, {28, 8, 0.375f}, {28, 12, 0.1875f}},
      {{24, 8, 0.5f}, {28, 12, 0.1875f}, {24, 16, 0.125f}}}},
    // Top at 4. (V0,V1) enters: t = 0.5 -> (12, 4), 0.375. (V2,V0) copies V2,
    // leaves: t = (4 - 8) / (0 - 8) = 0.5 -> (8, 4), 0.3125.
    {"Top", {4, 28, 4, 28},
     {{8, 0, 0.5f}, {16, 8, 0.25f}, {8, 8, 0.125f}}, {0x100, 0, 0},
     {{{12, 4, 0.375f}, {16, 8, 0.25f}, {8, 8, 0.125f}},
      {{12, 4, 0.375f}, {8, 8, 0.125f}, {8, 4, 0.3125f}}}},
    // Bottom at 28, two corners below. (V0,V1) copies V0, leaves: t = 0.5
    // -> (12, 28), 0.375. (V1,V2) nothing. (V2,V0) enters: t = (28 - 32) /
    // (24 - 32) = 0.5 -> (8, 28), 0.3125. One triangle.
    {"Bottom", {4, 28, 4, 28},
     {{8, 24, 0.5f}, {16, 32, 0.25f}, {8, 32, 0.125f}}, {0, 0x200, 0x200},
     {{{8, 24, 0.5f}, {12, 28, 0.375f}, {8, 28, 0.3125f}}}},
    // V0 beyond the top left corner. Left at 4: (V0,V1) enters at t = 0.25
    // -> A (4, -8), 1/z 0.4375, which is above the top: its y is classified
    // again and it keeps 0x100. (V2,V0) leaves at t = 0.5 -> B (4, 0),
    // 0.375, above the top too. List A, V1, V2, B.
    // Top at 4: (A,V1) enters: t = 12 / 24 = 0.5 -> (10, 4), 0.34375.
    // (V2,B) leaves: t = (4 - 16) / (0 - 16) = 0.75 -> (5, 4), 0.34375.
    // (B,A) nothing.
    {"TopLeftCorner", {4, 28, 4, 28},
     {{0, -16, 0.5f}, {16, 16, 0.25f}, {8, 16, 0.25f}}, {0x140, 0, 0},
     {{{10, 4, 0.34375f}, {16, 16, 0.25f}, {8, 16, 0.25f}},
      {{10, 4, 0.34375f}, {8, 16, 0.25f}, {5, 4, 0.34375f}}}},
    // The triangle x, y >= 0, x + y <= 16 in a scissor of 4..12 by 2..10:
    // all four passes. Left: a (4, 12), (16, 0), b (4, 0). Right: a,
    // c (12, 4), d (12, 0), b. Top: a, c, e (12, 2), f (4, 2). Bottom: (a,c)
    // enters at t = 0.25 -> g (6, 10); (f,a) leaves at t = 0.8 -> h (4, 10).
    // Five vertices g, c, e, f, h. Each cut is an exact integer, or moves a
    // coordinate by t times a zero difference.
    {"AllFourEdges", {4, 12, 2, 10},
     {{0, 16, 0.5f}, {16, 0, 0.5f}, {0, 0, 0.5f}}, {0x240, 0x180, 0x140},
     {{{6, 10, 0.5f}, {12, 4, 0.5f}, {12, 2, 0.5f}},
      {{6, 10, 0.5f}, {12, 2, 0.5f}, {4, 2, 0.5f}},
      {{6, 10, 0.5f}, {4, 2, 0.5f}, {4, 10, 0.5f}}}},
    // V0 touches the right edge at 28 (inside: x - 28 is 0). (V0,V1) copies
    // V0 and leaves at t = 0, which is V0's own point: dropped. (V1,V2)
    // enters: t = 0.5 -> (28, 20). One triangle, not two.
    {"TouchingVertexAddsNoCrossing", {4, 28, 4, 28},
     {{28, 8, 0.5f}, {36, 16, 0.5f}, {20, 24, 0.5f}}, {0, 0x80, 0},
     {{{28, 8, 0.5f}, {28, 20, 0.5f}, {20, 24, 0.5f}}}},
    // V0 touches, V1 and V2 are beyond. (V0,V1): V0, crossing dropped.
    // (V1,V2) nothing. (V2,V0) enters at t = 1, on V0 again. Two vertices.
    {"TouchingVertexAloneDrawsNothing", {4, 28, 4, 28},
     {{28, 8, 0.5f}, {36, 16, 0.5f}, {36, 4, 0.5f}}, {0, 0x80, 0x80},
     {}},
    // Left leaves all four vertices above the top: (V0,V1) at t = 0.5 ->
    // (4, -4), (V2,V0) at t = 0.5 -> (4, -8). The top pass empties the list
    // and the bottom pass (V0 had 0x200) still runs, on nothing.
    {"EmptiedListGoesThroughTheLaterPasses", {4, 28, 4, 28},
     {{0, 32, 0.5f}, {8, -40, 0.5f}, {8, -48, 0.5f}}, {0x240, 0x100, 0x100},
     {}},
};

class ClipperScissorTest : public ClipperTest, public ::testing::WithParamInterface<ScissorCase> {};

TEST_P(ClipperScissorTest, CutsAndFans)
{
    const ScissorCase& c = GetParam();
    SetScissor(c.Scissor[0], c.Scissor[1], c.Scissor[2], c.Scissor[3]);
    SetScreenRecords(c.Screen, c.Outcode);
    for (uint32_t flags : {kFlatSolid, kGouraudSolid, 0xf00003u, 0x1f00007u}) {
        SCOPED_TRACE(flags);
        g_Calls.clear();
        Draw(flags);
        EXPECT_EQ(DescribeCalls(), Describe(c.Expected));
        for (const RasterCall& call : g_Calls) EXPECT_EQ(call.VerticesPointer, g_Clip.FanVertices);
    }
}

INSTANTIATE_TEST_SUITE_P(Edges, ClipperScissorTest, ::testing::ValuesIn(kScissorCases), test::CaseName{});

// ---------------------------------------------------------------- texture scaling

void SetSlot(Material* material, int32_t slot, int32_t width, int32_t height, uint32_t mode)
{
    TextureSlotView* view = MaterialSlotView(material, slot);
    view->Width = width;
    view->Height = height;
    view->Mode = mode;
}
constexpr uint32_t kPowerOfTwo = 0x40000000u;  // slot Mode bit 30: the coordinates wrap

struct ScaleCase {
    const char* Name;
    uint32_t Stage;               // stage bits of the effective flags
    bool BackFacing;              // BackFaceBit in the polygon's Flags
    CornerCoords In[3];           // the polygon's pairs, corners 0, 1, 2
    CornerCoords Out[3];          // the pairs the rasterizer receives
    float ScaleU, ScaleV;         // TexScaleU, TexScaleV after the call (0: not set up)
    int32_t Wrap;
};

// Corner 1/z: 0.5, 0.25, 0.125. Front material: slot 0 65 x 33, clamped
// (scale 64, 32); slot 1 65 x 33 with bit 30 (wrap); slot 2 17 x 9 (16, 8).
// Back material: slot 0 5 x 3 (4, 2). Planar: scale x u x 1/z;
// environment: u (0.5 - envU / 2) x 16 x 1/z, v (envV + 1) x 8 x 0.5 x 1/z.
const ScaleCase kScaleCases[] = {
    // u 1.5 clamps to 1: 64 x 0.25 = 16. v -0.25 clamps to 0. u -0.0 is not
    // negative: it stays -0.0 and scales to -0.0.
    {"PlanarClamped", 0x800000u, false,
     {{0.5f, 0.5f, 7, 7}, {1.5f, -0.25f, 7, 7}, {-0.0f, 1.0f, 7, 7}},
     {{16, 8, 7, 7}, {16, 0, 7, 7}, {-0.0f, 4, 7, 7}}, 64, 32, 0},
    // Wrapping slot: no clamp. 64 x 1.5 x 0.25 = 24, 32 x -0.25 x 0.25 = -2.
    {"PlanarWrapped", 0x1000000u, false,
     {{0.5f, 0.5f, 7, 7}, {1.5f, -0.25f, 7, 7}, {-0.0f, 1.0f, 7, 7}},
     {{16, 8, 7, 7}, {24, -2, 7, 7}, {-0.0f, 4, 7, 7}}, 64, 32, 1},
    // Second pair in, second pair out; the first pair stays as stored.
    // (0.5, -0.5): u 0.25 x 16 x 0.5 = 2, v 0.5 x 8 x 0.5 x 0.5 = 1.
    // (-1, 1.5), not clamped: u 16 x 0.25 = 4, v 2.5 x 4 x 0.25 = 2.5.
    // (1, -1): 0, 0.
    {"Environment", 0x2000000u, false,
     {{0.25f, 0.75f, 0.5f, -0.5f}, {3, 3, -1, 1.5f}, {-2, 2, 1, -1}},
     {{0.25f, 0.75f, 2, 1}, {3, 3, 4, 2.5f}, {-2, 2, 0, 0}}, 16, 8, 0},
    // BackFaceBit picks the back material's slot: scale 4, 2, clamped.
    {"BackMaterialSlot", 0x800000u, true,
     {{0.5f, 0.5f, 7, 7}, {1.5f, -0.25f, 7, 7}, {-0.0f, 1.0f, 7, 7}},
     {{1, 0.5f, 7, 7}, {1, 0, 7, 7}, {-0.0f, 0.25f, 7, 7}}, 4, 2, 0},
    // Slot 3 alone is scaled only after a near/far cut; here as stored.
    {"FourthStageAsStored", 0x4000000u, false,
     {{0.5f, 1.5f, 7, 7}, {2, 3, 7, 7}, {-1, 4, 7, 7}},
     {{0.5f, 1.5f, 7, 7}, {2, 3, 7, 7}, {-1, 4, 7, 7}}, 0, 0, 0},
    {"NoStage", 0, false,
     {{0.5f, 1.5f, 7, 7}, {2, 3, 7, 7}, {-1, 4, 7, 7}},
     {{0.5f, 1.5f, 7, 7}, {2, 3, 7, 7}, {-1, 4, 7, 7}}, 0, 0, 0},
};

class ClipperScaleTest : public ClipperTest, public ::testing::WithParamInterface<ScaleCase> {};

// On the unclipped path the scaled pairs land in the working copy only.
TEST_P(ClipperScaleTest, ScalesIntoTheWorkingCopy)
{
    const ScaleCase& c = GetParam();
    const Vector3 screen[3] = {{4, 4, 0.5f}, {20, 6, 0.25f}, {9, 30, 0.125f}};
    SetScreenRecords(screen, {0, 0, 0});
    SetSlot(&front, 0, 65, 33, 0);
    SetSlot(&front, 1, 65, 33, kPowerOfTwo);
    SetSlot(&front, 2, 17, 9, 0);
    SetSlot(&back, 0, 5, 3, 0);
    for (int32_t k = 0; k < 3; ++k) polygon.CornerMap[k] = c.In[k];
    polygon.Flags = c.BackFacing ? 0x700ec7u : 0x700e47u;
    const MeshPolygon before = polygon;
    g_Clip.TexScaleU = g_Clip.TexScaleV = 0.0f;
    g_Clip.TexWrap = 0;

    Draw(0x700003u | c.Stage);
    ASSERT_EQ(g_Calls.size(), 1u);
    std::string expected;
    for (const CornerCoords& m : c.Out) {
        expected += Text(m.u) + " " + Text(m.v) + " " + Text(m.envU) + " " + Text(m.envV) + "; ";
    }
    EXPECT_EQ(DescribeMaps(), expected + "\n");
    EXPECT_EQ(memcmp(&polygon, &before, sizeof before), 0);
    EXPECT_EQ(g_Clip.TexScaleU, c.ScaleU);
    EXPECT_EQ(g_Clip.TexScaleV, c.ScaleV);
    EXPECT_EQ(g_Clip.TexWrap, c.Wrap);
}

INSTANTIATE_TEST_SUITE_P(Stages, ClipperScaleTest, ::testing::ValuesIn(kScaleCases), test::CaseName{});

// The planar formula on its own: clamp edges and the order of the product.
TEST(ClipperScaleFormula, PlanarClampAtTheEdges)
{
    const ClipperState saved = g_Clip;
    g_Clip.TexScaleU = 100.0f;
    g_Clip.TexScaleV = 10.0f;
    g_Clip.TexWrap = 0;
    struct Case {
        float U, V, Z, OutU, OutV;
    };
    const Case cases[] = {
        {1.0f, 1.0f, 0.5f, 50, 5},             // exactly 1: kept
        {1.0000001f, 3.0e38f, 1.0f, 100, 10},  // just above 1 and huge: 1
        {-1.0e-30f, -5.0f, 1.0f, 0, 0},        // tiny negative and negative: 0
        {-0.0f, 0.0f, 1.0f, -0.0f, 0},         // -0.0 is not negative
        {0.25f, 0.75f, 0.25f, 6.25f, 1.875f},  // 100 x 0.25 x 0.25, 10 x 0.75 x 0.25
    };
    for (const Case& c : cases) {
        const float in[2] = {c.U, c.V};
        float out[2];
        ScaleTexCoordPlanar(out, in, c.Z);
        EXPECT_EQ(Text(out[0]), Text(c.OutU)) << c.U;
        EXPECT_EQ(Text(out[1]), Text(c.OutV)) << c.V;
    }
    g_Clip = saved;
}

// ---------------------------------------------------------------- attributes of cut polygons

std::string DescribeColours()
{
    std::string s;
    for (const RasterCall& c : g_Calls) {
        char buffer[64];
        snprintf(buffer, sizeof buffer, "%06x %06x %06x\n", c.Polygon.CornerColour[0], c.Polygon.CornerColour[1],
                 c.Polygon.CornerColour[2]);
        s += buffer;
    }
    return s;
}

// The "Left" scissor geometry: V0 (0, 8) beyond the left edge at 4, cut at
// t = 0.5 on (V0,V1) into A and on (V2,V0) into B. Fan (A,V1,V2), (A,V2,B).
class ClipperLeftCutTest : public ClipperTest {
protected:
    void SetUp() override
    {
        ClipperTest::SetUp();
        SetScissor(4, 28, 4, 28);
        const Vector3 screen[3] = {{0, 8, 0.5f}, {8, 8, 0.25f}, {8, 16, 0.125f}};
        SetScreenRecords(screen, {0x40, 0, 0});
        polygon.CornerColour[0] = 0xfd0000u;
        polygon.CornerColour[1] = 0x0000fdu;
        polygon.CornerColour[2] = 0x00fd00u;
    }
};

// Flat shading: the fan carries the polygon's colour words unchanged.
TEST_F(ClipperLeftCutTest, FlatColourIsTheCornerZeroWord)
{
    polygon.CornerColour[0] = 0x1234u;
    polygon.CornerColour[1] = 0x5678u;
    polygon.CornerColour[2] = 0x1abcu;
    Draw(kFlatSolid);
    EXPECT_EQ(DescribeColours(), "001234 005678 001abc\n001234 005678 001abc\n");
    for (const RasterCall& c : g_Calls) EXPECT_EQ(c.Polygon.Flags, polygon.Flags);
}

// Gouraud: A is halfway from red 253 to blue 253, (126.5, 0, 126.5); B
// halfway from green 253 to red 253, (126.5, 126.5, 0). 126.5 rounds to
// even, 126 = 0x7e. V1 and V2 go through unpacking and packing unchanged.
TEST_F(ClipperLeftCutTest, GouraudColoursAreCutAndRoundedToEven)
{
    Draw(kGouraudSolid);
    EXPECT_EQ(DescribeColours(), "7e007e 0000fd 00fd00\n"
                                 "7e007e 00fd00 7e7e00\n");
}

// Diffuse stage, slot 65 x 33 (scale 64, 32). Scaled corners: V0 (0, 0)
// -> (0, 0); V1 (1, 0) x 0.25 -> (16, 0); V2 (1, 1) x 0.125 -> (8, 4). The
// screen cut interpolates the scaled values: A (8, 0), B (4, 2).
TEST_F(ClipperLeftCutTest, ScaledCoordinatesAreCutLinearly)
{
    SetSlot(&front, 0, 65, 33, 0);
    polygon.CornerMap[0] = CornerCoords{0, 0, 9, 9};
    polygon.CornerMap[1] = CornerCoords{1, 0, 9, 9};
    polygon.CornerMap[2] = CornerCoords{1, 1, 9, 9};
    const MeshPolygon before = polygon;
    Draw(0xf00003u);
    EXPECT_EQ(DescribeMaps(), "8 0 9 9; 16 0 9 9; 8 4 9 9; \n"
                              "8 0 9 9; 8 4 9 9; 4 2 9 9; \n");
    EXPECT_EQ(memcmp(&polygon, &before, sizeof before), 0);
}

// Textured and Gouraud cut at near (row 3). The first depth case: P halfway
// from A to B, Q halfway from C to A, both at 1/z 1; B and C at 1/z 0.5.
// Coordinates are cut unscaled in view space and scaled afterwards with each
// corner's own 1/z, by a 9 x 5 slot (scale 8, 4).
struct DepthTextureCase {
    const char* Name;
    uint32_t Stage;
    int32_t Slot;
    uint32_t Mode;
    CornerCoords In[3];                 // A, B, C
    std::vector<std::string> Expected;  // DescribeMaps lines
};
const DepthTextureCase kDepthTextureCases[] = {
    // (u, v): A (1, 0), B (0, 1), C (0.5, 0.5). P (0.5, 0.5) -> (4, 2);
    // B -> (0, 4 x 0.5) = (0, 2); C -> (2, 1); Q (0.75, 0.25) -> (6, 1).
    {"Diffuse", 0x800000u, 0, 0,
     {{1, 0, 5, 5}, {0, 1, 5, 5}, {0.5f, 0.5f, 5, 5}},
     {"4 2 5 5; 0 2 5 5; 2 1 5 5; ", "4 2 5 5; 2 1 5 5; 6 1 5 5; "}},
    // Slot 3 alone: scaled here, unlike on the direct path.
    {"FourthStage", 0x4000000u, 3, kPowerOfTwo,
     {{1, 0, 5, 5}, {0, 1, 5, 5}, {0.5f, 0.5f, 5, 5}},
     {"4 2 5 5; 0 2 5 5; 2 1 5 5; ", "4 2 5 5; 2 1 5 5; 6 1 5 5; "}},
    // (envU, envV): A (-1, 1), B (0, 0), C (0.5, -0.5). P (-0.5, 0.5):
    // u (0.5 + 0.25) x 8 = 6, v 1.5 x 4 x 0.5 = 3. B: u 0.5 x 8 x 0.5 = 2,
    // v 1 x 4 x 0.5 x 0.5 = 1. C: u 0.25 x 8 x 0.5 = 1, v 0.5 x 4 x 0.25
    // = 0.5. Q (-0.25, 0.25): u 0.625 x 8 = 5, v 1.25 x 2 = 2.5.
    {"Environment", 0x2000000u, 2, 0,
     {{5, 5, -1, 1}, {5, 5, 0, 0}, {5, 5, 0.5f, -0.5f}},
     {"5 5 6 3; 5 5 2 1; 5 5 1 0.5; ", "5 5 6 3; 5 5 1 0.5; 5 5 5 2.5; "}},
};

class ClipperDepthTextureTest : public ClipperTest, public ::testing::WithParamInterface<DepthTextureCase> {};

TEST_P(ClipperDepthTextureTest, CutsUnscaledThenScalesByTheCornerDepth)
{
    const DepthTextureCase& c = GetParam();
    SetRecords(kOneBeyondNear);
    SetSlot(&front, c.Slot, 9, 5, c.Mode);
    for (int32_t k = 0; k < 3; ++k) polygon.CornerMap[k] = c.In[k];
    // Colours A red 253, B blue 253, C green 253: P (126.5, 0, 126.5) and
    // Q (126.5, 126.5, 0), rounded to even.
    polygon.CornerColour[0] = 0xfd0000u;
    polygon.CornerColour[1] = 0x0000fdu;
    polygon.CornerColour[2] = 0x00fd00u;
    polygon.Flags = 0x700247u;  // only the edge 0-1 visible
    const MeshPolygon before = polygon;

    Draw(0x700007u | c.Stage);
    EXPECT_EQ(DescribeMaps(), c.Expected[0] + "\n" + c.Expected[1] + "\n");
    EXPECT_EQ(DescribeColours(), "7e007e 0000fd 00fd00\n"
                                 "7e007e 00fd00 7e7e00\n");
    // The fan shows all three edges of each of its triangles.
    for (const RasterCall& call : g_Calls) EXPECT_EQ(call.Polygon.Flags, 0x700e47u);
    EXPECT_EQ(memcmp(&polygon, &before, sizeof before), 0);
}

INSTANTIATE_TEST_SUITE_P(Stages, ClipperDepthTextureTest, ::testing::ValuesIn(kDepthTextureCases),
                         test::CaseName{});

// Near cut, then the right scissor edge at 26: the coordinates are scaled
// once, before the screen pass, with each record's own 1/z, and the pass cuts
// the scaled values; the colours are carried as floats through both cuts and
// rounded only when packed. Diffuse, 9 x 5 slot (scale 8, 4), Gouraud.
// After the near cut (see the first depth case): P (28, 12, 1) tex (0.5, 0.5)
// -> (4, 2), colour (126.5, 0, 126.5); B (24, 16, 0.5) -> (0, 2), blue 253;
// C (16, 8, 0.5) -> (2, 1), green 253; Q (20, 4, 1) (0.75, 0.25) -> (6, 1),
// colour (126.5, 126.5, 0). Right pass: (P,B) enters at t = 0.5: R (26, 14),
// tex (2, 2), colour (63.25, 0, 189.75) -> 3f00be. (B,C), (C,Q) copy.
// (Q,P) copies Q, leaves at t = 0.75: S (26, 10), tex (6 - 2 x 0.75,
// 1 + 0.75) = (4.5, 1.75), colour (126.5, 126.5 - 94.875, 94.875) =
// (126.5, 31.625, 94.875) -> 7e 20 5f (had Q been rounded to 7e7e00 first,
// blue would be 94.5 -> 5e). Fan (R,B,C), (R,C,Q), (R,Q,S).
TEST_F(ClipperTest, NearCutThenScissorScalesOnceAndCarriesFloatColours)
{
    SetScissor(0, 26, 0, 32);
    SetRecords(kOneBeyondNear);
    SetSlot(&front, 0, 9, 5, 0);
    polygon.CornerMap[0] = CornerCoords{1, 0, 5, 5};
    polygon.CornerMap[1] = CornerCoords{0, 1, 5, 5};
    polygon.CornerMap[2] = CornerCoords{0.5f, 0.5f, 5, 5};
    polygon.CornerColour[0] = 0xfd0000u;
    polygon.CornerColour[1] = 0x0000fdu;
    polygon.CornerColour[2] = 0x00fd00u;
    const MeshPolygon before = polygon;

    Draw(0xf00007u);
    EXPECT_EQ(DescribeCalls(), Describe({{{26, 14, 0.75f}, {24, 16, 0.5f}, {16, 8, 0.5f}},
                                         {{26, 14, 0.75f}, {16, 8, 0.5f}, {20, 4, 1}},
                                         {{26, 14, 0.75f}, {20, 4, 1}, {26, 10, 1}}}));
    EXPECT_EQ(DescribeMaps(), "2 2 5 5; 0 2 5 5; 2 1 5 5; \n"
                              "2 2 5 5; 2 1 5 5; 6 1 5 5; \n"
                              "2 2 5 5; 6 1 5 5; 4.5 1.75 5 5; \n");
    EXPECT_EQ(DescribeColours(), "3f00be 0000fd 00fd00\n"
                                 "3f00be 00fd00 7e7e00\n"
                                 "3f00be 7e7e00 7e205f\n");
    EXPECT_EQ(memcmp(&polygon, &before, sizeof before), 0);
}

// The most a triangle can become: cut by near and far into a pentagon (the
// "StraddlesNearAndFar" case: P1 (24, 8), P3 (17, 15), P4 (15.25, 14.25),
// C (12, 12), P2 (10, 2)), then by a scissor of x 11..22, y 4..14.5 whose
// every edge takes off one corner: left P2, right P1, top the left pass's
// crossing near (11, 2.43), bottom P3. Each pass swaps one vertex for two:
// 5 -> 6 -> 7 -> 8 -> 9 vertices, seven fan triangles, all around R1, the
// right pass's crossing on (P1,P3) at t = 2/7: (22, 10), 1/z 1 - 0.875 x 2/7
// = 0.75.
TEST_F(ClipperTest, NearFarAndFourEdgesGiveNineVerticesSevenTriangles)
{
    SetScissor(11, 22, 4, 14.5f);
    const VertexSetup records[3] = {
        {{2, 2, -3}, kStale, 0x10}, {{2, 2, 11}, kStale, 0x20}, {{-5, 5, 5}, {12, 12, 0.2f}, 0}};
    SetRecords(records);
    for (uint32_t flags : {kFlatSolid, 0x1f00007u}) {
        SCOPED_TRACE(flags);
        g_Calls.clear();
        Draw(flags);
        EXPECT_EQ(g_Clip.ClipUnion, 0x3c0u);
        EXPECT_EQ(g_Clip.ClipVertexCount, 9);
        ASSERT_EQ(g_Calls.size(), 7u);
        for (const RasterCall& call : g_Calls) {
            EXPECT_EQ(call.Corner[0].x, 22.0f);
            EXPECT_NEAR(call.Corner[0].y, 10.0f, 1e-5f);
            EXPECT_EQ(call.Corner[0].z, 0.75f);
            for (const Vector3& p : call.Corner) {
                EXPECT_TRUE(p.x >= 11.0f && p.x <= 22.0f && p.y >= 4.0f && p.y <= 14.5f) << Text(p);
            }
        }
    }
}

// Flat after a near cut: the polygon's corner-zero word, whatever the cut.
TEST_F(ClipperTest, FlatColourSurvivesANearCut)
{
    SetRecords(kOneBeyondNear);
    polygon.CornerColour[0] = 0x7c1fu;
    polygon.CornerColour[1] = 0x1111u;
    polygon.CornerColour[2] = 0x2222u;
    Draw(kFlatSolid);
    EXPECT_EQ(DescribeColours(), "007c1f 001111 002222\n007c1f 001111 002222\n");
}

// ---------------------------------------------------------------- drawn end to end

// The "AllFourEdges" triangle drawn by FlatSolidTriangle, taken from the
// table as the sorted frame driver would, into a 16 x 12 canvas (pitch 17)
// whose scissor is columns 4..12 and rows 2..10.
//
// Slots (front facing, corners reversed): (0, 0), (16, 0), (0, 16),
// clockwise. Unclipped it would fill x + y < 16 from row 0. The fan of
// g (6, 10), c (12, 4), e (12, 2), f (4, 2), h (4, 10) tiles the triangle's
// part inside the scissor with every vertex on a pixel centre, so the pixels
// are those with 4 <= x < 12, 2 <= y < 10 and x + y < 16: the scissor's right
// and bottom lines and the hypotenuse are right or bottom edges, and their
// centres are out. Row 2..4: columns 4..11; row 5: 4..10 (11 + 5 = 16 is
// out); then one fewer per row down to row 9: 4..6.
class ClipperDrawTest : public ColourTablesSuite {};

TEST_F(ClipperDrawTest, ClippedFanStaysInsideTheScissor)
{
    constexpr uint16_t kInk = 0x2d6b;
    constexpr uint16_t kPaper = 0x0421;
    Canvas canvas(16, 12, 17, kPaper);
    Viewport& viewport = canvas.Target;
    viewport.Width = 16.0f;
    viewport.Height = 12.0f;
    viewport.CentreX = 8.0f;
    viewport.CentreY = 6.0f;
    viewport.ScaleY = -1.0f;
    viewport.ScissorMinX = 4.0f;
    viewport.ScissorMaxX = 12.0f;
    viewport.ScissorMinY = 2.0f;
    viewport.ScissorMaxY = 10.0f;
    Camera camera{};
    camera.Near = 1.0f;
    camera.Far = 100.0f;
    camera.Focale = 4.0f;

    const FrameState saved = g_Frame;
    g_Frame.CurrentViewport = &viewport;
    g_Frame.CurrentCamera = &camera;
    SetFrameClip(&viewport);
    canvas.MakeCurrent();

    // Vertex i is slot i; Corner 2, 1, 0 with BackFaceBit clear.
    MeshVertex vertices[3]{};
    vertices[0].ScreenPosition = Vector3{0, 0, 0.5f};
    vertices[0].Outcode = 0x140;  // left and above
    vertices[1].ScreenPosition = Vector3{16, 0, 0.5f};
    vertices[1].Outcode = 0x180;  // right and above
    vertices[2].ScreenPosition = Vector3{0, 16, 0.5f};
    vertices[2].Outcode = 0x240;  // left and below
    Material material{};
    MeshPolygon polygon{};
    polygon.Flags = 0x700e43u;
    polygon.Corner[0] = 2;
    polygon.Corner[1] = 1;
    polygon.Corner[2] = 0;
    polygon.FrontMaterial = &material;
    polygon.BackMaterial = &material;
    polygon.CornerColour[0] = kInk;
    Mesh mesh{};
    mesh.Vertices = vertices;
    DrawItem item{0.0f, &mesh, &polygon, kFlatSolid};

    ClipAndDrawPolygon(&item, RasterizerTable[kFlatSolid & 7][RasterizerIndex(kFlatSolid)]);
    g_Frame = saved;

    EXPECT_EQ(canvas.Mask(kInk), Rows({"", "",
                                       "....########",
                                       "....########",
                                       "....########",
                                       "....#######",
                                       "....######",
                                       "....#####",
                                       "....####",
                                       "....###"},
                                      17, 12));
    // Nothing but ink and paper.
    for (uint16_t p : canvas.Pixels) EXPECT_TRUE(p == kInk || p == kPaper);
}

}  // namespace
}  // namespace span3d::test
