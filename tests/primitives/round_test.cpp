// Sphere, hemisphere, cylinder (with its two cones), tube and torus:
// counts, vertices, stored corners, flags and texture coordinates, against
// values worked out by hand; and a slow reference for the vertex arithmetic
// of the sphere and the torus at awkward step sizes.
//
// Reading the expectations: (a, b, c) is stored (c, b, a) with CornerMap[0]
// for c; a quad (a, b, c, d) fills (d, b, a) and (d, c, b). Flags: 0x700e47
// for a triangle, 0x700c47 / 0x700647 for a quad's halves, 0x7800000 from the
// texture-coordinate call, group << 12. A fan triangle keeps only 0x200.
//
// Angles: 90 times the float 0.017453292 is 1.2168e-8 short of pi/2, so
// cos 90 = 1.2168e-8; sin 180 = 2.4336e-8; cos 45 = 0.70710678549 (float
// 0.70710677); cos 67.5 = sin 22.5 = 0.38268343 and sin 67.5 = cos 22.5 =
// 0.92387953, each to 1e-8.
#include <cmath>

#include "primitives/primitive_test_support.h"

namespace span3d {
namespace {

using namespace span3d::testing;

constexpr uint32_t kTriangle = 0x7f00e47u;
constexpr uint32_t kFan = 0x7f00247u;
constexpr uint32_t kQuadFirst = 0x7f00c47u;
constexpr uint32_t kQuadSecond = 0x7f00647u;
constexpr uint32_t Group(uint32_t g) { return g << 12; }

// ---------------------------------------------------------------- sphere

// radius 1, scale (2, 3, 4), 4 x 4: poles 0 and 13, rings at 45, 0, -45
// degrees of 4 vertices each. Ring 1, angle 0: x = 1 * 2 * cos 45 * 1 =
// 1.41421357 (float 1.4142135), y = sin 45 * 3 = 2.12132033 (float
// 2.1213202). Ring 2 lies at exactly 0 degrees (90 - 45 - 45); its vertex at
// 90 degrees has x = cos 90 * 2 = 2.4336e-8 and z = 1 * 4.
TEST(Sphere, FourByFourVertices)
{
    Vector3 scale = Scale(2.0f, 3.0f, 4.0f);
    MeshPtr mesh(SphereCreate(1.0f, &scale, 4, 4, nullptr));
    ASSERT_TRUE(Made(mesh.get(), 14, 24));
    ExpectVertices(mesh.get(), {{0, 0, 3, 0},
                                {1, 1.4142135f, 2.1213202f, 0}, {5, 2, 0, 0}, {6, 2.4335929e-8f, 0, 4},
                                {9, 1.4142135f, -2.1213202f, 0},
                                {13, 0, -3, 0}});
}

// du = dv = 1/4. Top fan (0, j + 1, j) then (0, 1, 4); bands of ring 1 (T =
// 1, v = 1/4) and ring 2 (T = 5, v = 1/2); bottom fan (13, j, j + 1) for j =
// 9..11 then (13, 12, 9), with v = 3/4 on the ring and w = 1 on the pole. The
// bottom fan's regular triangles give u + du to j and u to j + 1, the
// mirror of the top fan, as settled.
TEST(Sphere, FourByFourPolygons)
{
    MeshPtr mesh(SphereCreate(1.0f, &g_Unit, 4, 4, nullptr));
    ASSERT_NE(mesh, nullptr);
    ExpectSlots(mesh.get(), {
        {0, {1, 2, 0}, kTriangle, {{0, 0.25f}, {0.25f, 0.25f}, {0, 0}}},
        {2, {3, 4, 0}, kTriangle, {{0.5f, 0.25f}, {0.75f, 0.25f}, {0.5f, 0}}},
        {3, {4, 1, 0}, kTriangle, {{1, 0.25f}, {0.75f, 0.25f}, {0.75f, 0}}},
        {4, {5, 2, 1}, kQuadFirst, {{0, 0.5f}, {0.25f, 0.25f}, {0, 0.25f}}},
        {5, {5, 6, 2}, kQuadSecond, {{0, 0.5f}, {0.25f, 0.5f}, {0.25f, 0.25f}}},
        {10, {8, 1, 4}, kQuadFirst, {{0.75f, 0.5f}, {1, 0.25f}, {0.75f, 0.25f}}},
        {11, {8, 5, 1}, kQuadSecond, {{0.75f, 0.5f}, {1, 0.5f}, {1, 0.25f}}},
        {12, {9, 6, 5}, kQuadFirst, {{0, 0.75f}, {0.25f, 0.5f}, {0, 0.5f}}},
        {19, {12, 9, 5}, kQuadSecond, {{0.75f, 0.75f}, {1, 0.75f}, {1, 0.5f}}},
        {20, {10, 9, 13}, kTriangle, {{0, 0.75f}, {0.25f, 0.75f}, {0, 1}}},
        {22, {12, 11, 13}, kTriangle, {{0.5f, 0.75f}, {0.75f, 0.75f}, {0.5f, 1}}},
        {23, {9, 12, 13}, kTriangle, {{1, 0.75f}, {0.75f, 0.75f}, {0.75f, 1}}},
    });
    for (int32_t i = 0; i < 24; ++i) EXPECT_EQ(GroupOf(mesh.get(), i), 0u) << i;
}

// A slow, plain restatement of the vertex arithmetic: the angles as running
// floats kept in arrays first, then every vertex from them. With steps of
// 180 / 7 and 360 / 11 the running values differ from i * step in their
// last bits at 4 of 6 latitudes and 5 of 10 angles, enough to move many
// vertices by a unit or more: the generator must use the running ones.
TEST(Sphere, VerticesFollowRunningAngles)
{
    const int32_t stacks = 7, slices = 11;
    const float radius = 1.75f;
    Vector3 scale = Scale(1.5f, 0.5f, -2.0f);
    MeshPtr mesh(SphereCreate(radius, &scale, stacks, slices, nullptr));
    ASSERT_NE(mesh, nullptr);
    std::vector<float> latitude(stacks), angle(slices);
    float f = 90.0f;
    for (int32_t i = 1; i < stacks; ++i) latitude[i] = (f -= 180.0f / 7.0f);
    float a = 0.0f;
    for (int32_t j = 0; j < slices; ++j, a += 360.0f / 11.0f) angle[j] = a;
    const double k = 0.017453292f;
    for (int32_t i = 1; i < stacks; ++i) {
        for (int32_t j = 0; j < slices; ++j) {
            const double cf = std::cos(latitude[i] * k), sf = std::sin(latitude[i] * k);
            const double ca = std::cos(angle[j] * k), sa = std::sin(angle[j] * k);
            const Vector3& p = Position(mesh.get(), 1 + (i - 1) * slices + j);
            SCOPED_TRACE(::testing::Message() << "ring " << i << " vertex " << j);
            EXPECT_EQ(Bits(p.x), Bits(static_cast<float>(ca * scale.x * cf * radius)));
            EXPECT_EQ(Bits(p.y), Bits(static_cast<float>(sf * radius * scale.y)));
            EXPECT_EQ(Bits(p.z), Bits(static_cast<float>(sa * scale.z * cf * radius)));
        }
    }
}

// ---------------------------------------------------------------- hemisphere

// radius 2, 4 x 4: the latitude step is 90 / 4, rings at 67.5, 45 and 22.5
// degrees, so the lowest ring stands at y = 2 sin 22.5 = 0.7653669 above the
// base. Ring 1, angle 0: (2 cos 67.5, 2 sin 67.5, 0) = (0.7653669,
// 1.847759, 0); ring 3: (1.847759, 0.7653669, 0).
TEST(Hemisphere, ClosedHasABaseConeInGroupOne)
{
    MeshPtr mesh(HemisphereCreate(2.0f, &g_Unit, 4, 4, nullptr, 0));
    ASSERT_TRUE(Made(mesh.get(), 14, 24));
    ExpectVertices(mesh.get(), {{0, 0, 2, 0},
                                {1, 0.76536685f, 1.847759f, 0}, {9, 1.847759f, 0.76536685f, 0},
                                {13, 0, 0, 0}});
    ExpectSlots(mesh.get(), {
        {0, {1, 2, 0}, kTriangle, {{0, 0.25f}, {0.25f, 0.25f}, {0, 0}}},
        {19, {12, 9, 5}, kQuadSecond, {{0.75f, 0.75f}, {1, 0.75f}, {1, 0.5f}}},
        {20, {10, 9, 13}, kTriangle | Group(1), {{0, 0.75f}, {0.25f, 0.75f}, {0, 1}}},
        {23, {9, 12, 13}, kTriangle | Group(1), {{1, 0.75f}, {0.75f, 0.75f}, {0.75f, 1}}},
    });
    for (int32_t i = 0; i < 20; ++i) EXPECT_EQ(GroupOf(mesh.get(), i), 0u) << i;
}

// Open: no base vertex and no bottom fan; the last slots are the closing
// quad of the ring 2 band, (8, 5, 9, 12).
TEST(Hemisphere, OpenStopsAtTheLowestRing)
{
    MeshPtr mesh(HemisphereCreate(2.0f, &g_Unit, 4, 4, nullptr, 1));
    ASSERT_TRUE(Made(mesh.get(), 13, 20));
    ExpectSlots(mesh.get(), {
        {18, {12, 5, 8}, kQuadFirst, {{0.75f, 0.75f}, {1, 0.5f}, {0.75f, 0.5f}}},
        {19, {12, 9, 5}, kQuadSecond, {{0.75f, 0.75f}, {1, 0.75f}, {1, 0.5f}}},
    });
    EXPECT_GT(Position(mesh.get(), 12).y, 0.0f);
}

// ---------------------------------------------------------------- cylinder

// bottom 1, top 2, height 6 (h = 3), 4 segments: 0 top centre, 1..4 top
// ring, 5..8 bottom ring, 9 bottom centre. Top fan (0, j + 1, j) in group 0;
// side quads (j, j + 1, 4 + j + 1, 4 + j) in group 1 with the quad's own
// edges; bottom fan (9, 4 + j, 5 + j) in group 2. Each fan triangle keeps
// 0x200, its stored edge from corner 0 to corner 1, which is the rim.
TEST(Cylinder, BothRadiiThreeParts)
{
    MeshPtr mesh(CylinderCreate(1.0f, 2.0f, 6.0f, &g_Unit, 4, nullptr));
    ASSERT_TRUE(Made(mesh.get(), 10, 16));
    ExpectVertices(mesh.get(), {{0, 0, 3, 0}, {1, 2, 3, 0}, {2, 2.4335929e-8f, 3, 2}, {5, 1, -3, 0}, {9, 0, -3, 0}});
    ExpectSlots(mesh.get(), {
        {0, {1, 2, 0}, kFan, {{0, 1}, {0.25f, 1}, {0, 0}}},
        {3, {4, 1, 0}, kFan, {{1, 1}, {0.75f, 1}, {0.75f, 0}}},
        {4, {5, 2, 1}, kQuadFirst | Group(1), {{0, 1}, {0.25f, 0}, {0, 0}}},
        {5, {5, 6, 2}, kQuadSecond | Group(1), {{0, 1}, {0.25f, 1}, {0.25f, 0}}},
        {10, {8, 1, 4}, kQuadFirst | Group(1), {{0.75f, 1}, {1, 0}, {0.75f, 0}}},
        {11, {8, 5, 1}, kQuadSecond | Group(1), {{0.75f, 1}, {1, 1}, {1, 0}}},
        {12, {6, 5, 9}, kFan | Group(2), {{0.25f, 1}, {0, 1}, {0, 0}}},
        {15, {5, 8, 9}, kFan | Group(2), {{1, 1}, {0.75f, 1}, {0.75f, 0}}},
    });
}

// Top radius 0: apex 0 at +h, ring 1..4 at -h, base centre 5. Side fan
// (0, j + 1, j) and base fan (5, j, j + 1), both with (u, 0), (u, 1),
// (u + du, 1): vertex j + 1 gets u and j gets u + du on the side. Every
// 0x200 edge is a rim edge.
TEST(Cylinder, ConeWithApexUp)
{
    MeshPtr mesh(CylinderCreate(2.0f, 0.0f, 4.0f, &g_Unit, 4, nullptr));
    ASSERT_TRUE(Made(mesh.get(), 6, 8));
    ExpectVertices(mesh.get(), {{0, 0, 2, 0}, {1, 2, -2, 0}, {3, -2, -2, 4.8671858e-8f}, {5, 0, -2, 0}});
    ExpectSlots(mesh.get(), {
        {0, {1, 2, 0}, kFan, {{0.25f, 1}, {0, 1}, {0, 0}}},
        {3, {4, 1, 0}, kFan, {{1, 1}, {0.75f, 1}, {0.75f, 0}}},
        {4, {2, 1, 5}, kFan | Group(1), {{0.25f, 1}, {0, 1}, {0, 0}}},
        {7, {1, 4, 5}, kFan | Group(1), {{1, 1}, {0.75f, 1}, {0.75f, 0}}},
    });
}

// Bottom radius 0: top centre 0, ring 1..4 at +h, apex 5 at -h. The fans
// are given as (j + 1, j, 0) and (j, j + 1, 5), stored (0, j, j + 1) and
// (5, j + 1, j): their 0x200 edge runs from the centre or the apex to the
// ring, a spoke, except in the closing side triangle (5, 4, 1), stored
// (1, 4, 5), whose 0x200 edge is the rim 1-4. Pinned as built.
TEST(Cylinder, ConeWithApexDown)
{
    MeshPtr mesh(CylinderCreate(0.0f, 2.0f, 4.0f, &g_Unit, 4, nullptr));
    ASSERT_TRUE(Made(mesh.get(), 6, 8));
    ExpectVertices(mesh.get(), {{0, 0, 2, 0}, {1, 2, 2, 0}, {5, 0, -2, 0}});
    ExpectSlots(mesh.get(), {
        {0, {0, 1, 2}, kFan, {{0, 0}, {0, 1}, {0.25f, 1}}},
        {2, {0, 3, 4}, kFan, {{0.5f, 0}, {0.5f, 1}, {0.75f, 1}}},
        {3, {0, 4, 1}, kFan, {{0.75f, 0}, {1, 1}, {0.75f, 1}}},
        {4, {5, 2, 1}, kFan | Group(1), {{0, 0}, {0.25f, 1}, {0, 1}}},
        {7, {1, 4, 5}, kFan | Group(1), {{1, 1}, {0.75f, 1}, {0.75f, 0}}},
    });
}

// A negative height is accepted and turns the cylinder over: the top centre
// lies below.
TEST(Cylinder, NegativeHeightTurnsItOver)
{
    MeshPtr mesh(CylinderCreate(1.0f, 2.0f, -6.0f, &g_Unit, 4, nullptr));
    ASSERT_NE(mesh, nullptr);
    EXPECT_EQ(Position(mesh.get(), 0).y, -3.0f);
    EXPECT_EQ(Position(mesh.get(), 9).y, 3.0f);
}

// ---------------------------------------------------------------- tube

// inner 1, outer 2, height 2 (h = 1), n = 4: rings 0..3 outer top, 4..7
// inner top, 8..11 outer bottom, 12..15 inner bottom. Bands of 4 quads in
// slots 0, 8, 16, 24; the closing quad has u = 1 where the others have
// u + du.
TEST(Tube, FourRingsFourBands)
{
    MeshPtr mesh(TubeCreate(1.0f, 2.0f, 2.0f, &g_Unit, 4, nullptr));
    ASSERT_TRUE(Made(mesh.get(), 16, 32));
    ExpectVertices(mesh.get(), {{0, 2, 1, 0}, {4, 1, 1, 0}, {8, 2, -1, 0}, {12, 1, -1, 0}, {13, 1.2167964e-8f, -1, 1}});
    ExpectSlots(mesh.get(), {
        // Band 1, top annulus (j, j + 1, 4 + j + 1, 4 + j), v 1 then 0.
        {0, {4, 1, 0}, kQuadFirst, {{0, 0}, {0.25f, 1}, {0, 1}}},
        {6, {7, 0, 3}, kQuadFirst, {{0.75f, 0}, {1, 1}, {0.75f, 1}}},
        {7, {7, 4, 0}, kQuadSecond, {{0.75f, 0}, {1, 0}, {1, 1}}},
        // Band 2, bottom annulus (12 + j, 13 + j, 9 + j, 8 + j), v 0 then 1.
        {8, {8, 13, 12}, kQuadFirst, {{0, 1}, {0.25f, 0}, {0, 0}}},
        {14, {11, 12, 15}, kQuadFirst, {{0.75f, 1}, {1, 0}, {0.75f, 0}}},
        // Band 3, inner wall (4 + j, 5 + j, 13 + j, 12 + j), group 1.
        {16, {12, 5, 4}, kQuadFirst | Group(1), {{0, 1}, {0.25f, 0}, {0, 0}}},
        {22, {15, 4, 7}, kQuadFirst | Group(1), {{0.75f, 1}, {1, 0}, {0.75f, 0}}},
        // Band 4, outer wall (8 + j, 9 + j, j + 1, j), group 1, as band 1.
        {24, {0, 9, 8}, kQuadFirst | Group(1), {{0, 0}, {0.25f, 1}, {0, 1}}},
        {31, {3, 0, 8}, kQuadSecond | Group(1), {{0.75f, 0}, {1, 0}, {1, 1}}},
    });
}

// Inner radius 0 collapses the inner rings onto the axis: accepted, and
// built all the same.
TEST(Tube, InnerRadiusZeroCollapsesTheInnerRings)
{
    MeshPtr mesh(TubeCreate(0.0f, 2.0f, 2.0f, &g_Unit, 4, nullptr));
    ASSERT_NE(mesh, nullptr);
    for (int32_t j = 4; j < 8; ++j) {
        EXPECT_EQ(Position(mesh.get(), j).x, 0.0f) << j;
        EXPECT_EQ(Position(mesh.get(), j).z, 0.0f) << j;
    }
}

// ---------------------------------------------------------------- torus

// major 3, minor 1, scale (1, 2, 3), 4 x 4. Vertex a * 4 + b: d = cos B + 3.
// Vertex 0: (4, 0, 0). Vertex 1 (B = 90): d = 3.0000000122, float 3; y =
// 1 * 2. Vertex 2 (B = 180): d = 2, y = 2 sin 180 = 4.8671858e-8. Vertex 4
// (A = 90): x = 4 cos 90 = 4.8671858e-8, z = 4 * 3.
TEST(Torus, FourByFourVertices)
{
    Vector3 scale = Scale(1.0f, 2.0f, 3.0f);
    MeshPtr mesh(TorusCreate(3.0f, 1.0f, &scale, 4, 4, nullptr));
    ASSERT_TRUE(Made(mesh.get(), 16, 32));
    ExpectVertices(mesh.get(), {{0, 4, 0, 0}, {1, 3, 2, 0}, {2, 2, 4.8671858e-8f, 0}, {4, 4.8671858e-8f, 0, 12}});
}

// Cell (a, b), p = 4a + b: (p, pab, pa) stored (pa, pab, p) with 0xa00,
// (p, pb, pab) stored (pab, pb, p) with 0x600. The last cell along the tube
// wraps pb to the section's first vertex; the last section wraps pa to the
// first section. Coordinates: u = a / 4, v = 1 - b / 4; the last cells run
// to u = 1 and v = 0 on vertices they share with the first ones.
TEST(Torus, CellsWrapBothWays)
{
    MeshPtr mesh(TorusCreate(3.0f, 1.0f, &g_Unit, 4, 4, nullptr));
    ASSERT_NE(mesh, nullptr);
    const uint32_t first = 0x7f00a47u, second = 0x7f00647u;
    ExpectSlots(mesh.get(), {
        // p = 0: pb 1, pa 4, pab 5.
        {0, {4, 5, 0}, first, {{0.25f, 1}, {0.25f, 0.75f}, {0, 1}}},
        {1, {5, 1, 0}, second, {{0.25f, 0.75f}, {0, 0.75f}, {0, 1}}},
        // p = 3 (b = 3): pb 0, pa 7, pab 4.
        {6, {7, 4, 3}, first, {{0.25f, 0.25f}, {0.25f, 0}, {0, 0.25f}}},
        {7, {4, 0, 3}, second, {{0.25f, 0}, {0, 0}, {0, 0.25f}}},
        // p = 12 (a = 3, b = 0): pb 13, pa 0, pab 1.
        {24, {0, 1, 12}, first, {{1, 1}, {1, 0.75f}, {0.75f, 1}}},
        // p = 15: pb 12, pa 3, pab 0.
        {30, {3, 0, 15}, first, {{1, 0.25f}, {1, 0}, {0.75f, 0.25f}}},
        {31, {0, 12, 15}, second, {{1, 0}, {0.75f, 0}, {0.75f, 0.25f}}},
    });
}

// Ten sections: u runs up by the float 0.1 (0x3dcccccd). Nine additions
// give 0.90000010 (0x3f666668, two units above 0.9), the tenth 1.0000001
// (0x3f800001): the running sum, not 10 * 0.1 = 1. The last section's far
// corner carries it.
TEST(Torus, RunningCoordinatesAreNotExact)
{
    MeshPtr mesh(TorusCreate(3.0f, 1.0f, &g_Unit, 4, 10, nullptr));
    ASSERT_NE(mesh, nullptr);
    const int32_t slot = 2 * (9 * 4 + 0);  // a = 9, b = 0: (p, pab, pa)
    EXPECT_EQ(Bits(CoordsOf(mesh.get(), slot, 0).u), 0x3f800001u);  // pa: u + du
    EXPECT_EQ(Bits(CoordsOf(mesh.get(), slot, 2).u), 0x3f666668u);  // p: u
}

// The slow restatement of the torus's vertices at steps of 360 / 13 and
// 360 / 11, both of which drift when accumulated.
TEST(Torus, VerticesFollowRunningAngles)
{
    const int32_t tube = 13, ring = 11;
    const float major = 2.5f, minor = 0.75f;
    Vector3 scale = Scale(1.25f, -1.0f, 0.5f);
    MeshPtr mesh(TorusCreate(major, minor, &scale, tube, ring, nullptr));
    ASSERT_NE(mesh, nullptr);
    std::vector<float> angleA(ring), angleB(tube);
    float t = 0.0f;
    for (int32_t a = 0; a < ring; ++a, t += 360.0f / 11.0f) angleA[a] = t;
    t = 0.0f;
    for (int32_t b = 0; b < tube; ++b, t += 360.0f / 13.0f) angleB[b] = t;
    const double k = 0.017453292f;
    for (int32_t a = 0; a < ring; ++a) {
        for (int32_t b = 0; b < tube; ++b) {
            const double d = std::cos(angleB[b] * k) * minor + major;
            const Vector3& p = Position(mesh.get(), a * tube + b);
            SCOPED_TRACE(::testing::Message() << "section " << a << " vertex " << b);
            EXPECT_EQ(Bits(p.x), Bits(static_cast<float>(d * std::cos(angleA[a] * k) * scale.x)));
            EXPECT_EQ(Bits(p.y), Bits(static_cast<float>(std::sin(angleB[b] * k) * minor * scale.y)));
            EXPECT_EQ(Bits(p.z), Bits(static_cast<float>(std::sin(angleA[a] * k) * d * scale.z)));
        }
    }
}

}  // namespace
}  // namespace span3d
