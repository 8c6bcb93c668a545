// Billboard, cube, grid, disk and ring: vertices, stored corners, flags and
// texture coordinates, against values worked out by hand.
//
// Reminders for reading the expectations. SetMeshTriPolygon(a, b, c) stores
// the corners (c, b, a) with CornerMap[0] for c; SetMeshQuadPolygon(a, b, c,
// d) fills two slots (d, b, a) and (d, c, b). Flags: a triangle 0x700e47, a
// quad's halves 0x700c47 and 0x700647, plus the stage bits 0x7800000 that a
// texture-coordinate call adds, plus group << 12.
//
// Angles: the generators turn degrees into radians with the float
// 0.017453292 (0x3c8efa35 = 0.0174532924). 90 of them make 1.5707963146,
// 1.2168e-8 short of pi/2, so cos 90 = +1.2168e-8; 180 make 3.1415926293,
// 2.4336e-8 short of pi, so sin 180 = +2.4336e-8; 270 make 4.7123889439,
// 3.6504e-8 above 3 pi / 2, so cos 270 = -3.6504e-8.
#include <cmath>

#include "primitives/primitive_test_support.h"

namespace span3d {
namespace {

using namespace span3d::testing;

constexpr uint32_t kQuadFirst = 0x7f00c47u;   // 0x700c47 | stages
constexpr uint32_t kQuadSecond = 0x7f00647u;  // 0x700647 | stages

// ---------------------------------------------------------------- billboard

// size 2, scale (1, 2, 3): h = 1; z stays 0 whatever the scale's z.
TEST(Billboard, SquareInTheXYPlane)
{
    Vector3 scale = Scale(1.0f, 2.0f, 3.0f);
    MeshPtr mesh(BillboardCreate(2.0f, &scale, nullptr));
    ASSERT_TRUE(Made(mesh.get(), 4, 2));
    ExpectVertices(mesh.get(), {{0, -1, 2, 0}, {1, 1, 2, 0}, {2, 1, -2, 0}, {3, -1, -2, 0}});
    // Quad (0, 1, 2, 3) with (0, 0), (1, 0), (1, 1), (0, 1).
    ExpectSlots(mesh.get(), {
        {0, {3, 1, 0}, kQuadFirst, {{0, 1}, {1, 0}, {0, 0}}},
        {1, {3, 2, 1}, kQuadSecond, {{0, 1}, {1, 1}, {1, 0}}},
    });
    // (3, 1, 0): A = (2, 4, 0), B = (-2, 0, 0), A x B = (0, 0, 8): the
    // normal is +z, so the front faces a camera on the -z side.
    EXPECT_EQ(mesh->Polygons[0].Normal.z, 1.0f);
    EXPECT_EQ(mesh->Polygons[1].Normal.z, 1.0f);
    EXPECT_EQ(mesh->Form, kFormBillboard);
}

// ---------------------------------------------------------------- cube

// size 2, scale (1, 2, 3): corners at +-1, +-2, +-3.
TEST(Cube, CornersFacesGroupsAndNormals)
{
    Vector3 scale = Scale(1.0f, 2.0f, 3.0f);
    MeshPtr mesh(CubeCreate(2.0f, &scale, nullptr));
    ASSERT_TRUE(Made(mesh.get(), 8, 12));
    ExpectVertices(mesh.get(), {{0, -1, 2, -3}, {1, 1, 2, -3}, {2, 1, -2, -3}, {3, -1, -2, -3},
                                {4, -1, 2, 3},  {5, 1, 2, 3},  {6, 1, -2, 3},  {7, -1, -2, 3}});
    struct Face {
        Corners first, second;
        Vector3 normal;  // points into the cube: the face is seen from outside
    };
    // (a, b, c, d) -> (d, b, a), (d, c, b). Face 1 e.g.: (2, 5, 1) gives
    // A = (0, 4, 6), B = (0, 0, -6), A x B = (-24, 0, 0).
    const Face faces[6] = {
        {{3, 1, 0}, {3, 2, 1}, {0, 0, 1}},   // (0, 1, 2, 3)  z = -3
        {{2, 5, 1}, {2, 6, 5}, {-1, 0, 0}},  // (1, 5, 6, 2)  x = +1
        {{6, 4, 5}, {6, 7, 4}, {0, 0, -1}},  // (5, 4, 7, 6)  z = +3
        {{7, 0, 4}, {7, 3, 0}, {1, 0, 0}},   // (4, 0, 3, 7)  x = -1
        {{0, 5, 4}, {0, 1, 5}, {0, -1, 0}},  // (4, 5, 1, 0)  y = +2
        {{7, 2, 3}, {7, 6, 2}, {0, 1, 0}},   // (3, 2, 6, 7)  y = -2
    };
    for (int32_t f = 0; f < 6; ++f) {
        SCOPED_TRACE(f);
        const uint32_t group = static_cast<uint32_t>(f) << 12;
        ExpectSlots(mesh.get(), {
            {2 * f, faces[f].first, kQuadFirst | group, {{0, 1}, {1, 0}, {0, 0}}},
            {2 * f + 1, faces[f].second, kQuadSecond | group, {{0, 1}, {1, 1}, {1, 0}}},
        });
        for (int32_t k = 0; k < 2; ++k) {
            const Vector3& n = mesh->Polygons[2 * f + k].Normal;
            EXPECT_FLOAT_EQ(n.x, faces[f].normal.x);
            EXPECT_FLOAT_EQ(n.y, faces[f].normal.y);
            EXPECT_FLOAT_EQ(n.z, faces[f].normal.z);
        }
    }
    // Six groups of four corners: no normal is shared across an edge.
    EXPECT_EQ(mesh->VertexNormalCount, 24);
}

// ---------------------------------------------------------------- grid

// size 6, 2 rows by 3 columns, scale (2, 1, -1): x runs -3, -1, 1, 3 (times
// 2), y runs 3, 0, -3; z is a plain 0, not 0 times the scale.
TEST(Grid, VerticesRowByRowFromTheTopLeft)
{
    Vector3 scale = Scale(2.0f, 1.0f, -1.0f);
    MeshPtr mesh(GridCreate(6.0f, &scale, 2, 3, nullptr));
    ASSERT_TRUE(Made(mesh.get(), 12, 12));
    const float xs[4] = {-6, -2, 2, 6};
    const float ys[3] = {3, 0, -3};
    for (int32_t r = 0; r < 3; ++r) {
        for (int32_t c = 0; c < 4; ++c) {
            SCOPED_TRACE(r * 4 + c);
            const Vector3& p = Position(mesh.get(), r * 4 + c);
            EXPECT_EQ(p.x, xs[c]);
            EXPECT_EQ(p.y, ys[r]);
            EXPECT_EQ(p.z, 0.0f);
            EXPECT_FALSE(std::signbit(p.z));
        }
    }
}

// Cell (r, c), a = 4r + c, is the quad (a, a + 1, a + 5, a + 4): slots
// (a + 4, a + 1, a) and (a + 4, a + 5, a + 1). The first keeps 0xc00 (its
// top a + 1 -> a and left a -> a + 4 edges); the second keeps 0x400 (right
// edge a + 5 -> a + 1) on the last column and 0x200 (bottom a + 4 -> a + 5)
// on the last row. du = 1/3 and dv = 1/2 as floats; u runs 0, 1/3, 2/3 and
// 2/3 + 1/3 = 1.0000000298 rounds to exactly 1.
TEST(Grid, CellCornersEdgeBitsAndCoordinates)
{
    MeshPtr mesh(GridCreate(6.0f, &g_Unit, 2, 3, nullptr));
    ASSERT_NE(mesh, nullptr);
    const float third = 1.0f / 3.0f;
    const float twoThirds = third + third;
    ExpectSlots(mesh.get(), {
        {0, {4, 1, 0}, 0x7f00c47u, {{0, 0.5f}, {third, 0}, {0, 0}}},
        {1, {4, 5, 1}, 0x7f00047u, {{0, 0.5f}, {third, 0.5f}, {third, 0}}},
        {3, {5, 6, 2}, 0x7f00047u, {{third, 0.5f}, {twoThirds, 0.5f}, {twoThirds, 0}}},
        {4, {6, 3, 2}, 0x7f00c47u, {{twoThirds, 0.5f}, {1, 0}, {twoThirds, 0}}},
        {5, {6, 7, 3}, 0x7f00447u, {{twoThirds, 0.5f}, {1, 0.5f}, {1, 0}}},
        {6, {8, 5, 4}, 0x7f00c47u, {{0, 1}, {third, 0.5f}, {0, 0.5f}}},
        {7, {8, 9, 5}, 0x7f00247u, {{0, 1}, {third, 1}, {third, 0.5f}}},
        {9, {9, 10, 6}, 0x7f00247u, {{third, 1}, {twoThirds, 1}, {twoThirds, 0.5f}}},
        {10, {10, 7, 6}, 0x7f00c47u, {{twoThirds, 1}, {1, 0.5f}, {twoThirds, 0.5f}}},
        {11, {10, 11, 7}, 0x7f00647u, {{twoThirds, 1}, {1, 1}, {1, 0.5f}}},
    });
}

// Over a whole grid the visible edges are exactly the cell sides, each once:
// (rows + 1) * columns horizontal and (columns + 1) * rows vertical ones.
TEST(Grid, WireShowsEveryCellSideOnce)
{
    const int32_t rows = 3, columns = 4;
    MeshPtr mesh(GridCreate(1.0f, &g_Unit, rows, columns, nullptr));
    ASSERT_NE(mesh, nullptr);
    std::map<std::pair<uint32_t, uint32_t>, int> shown;
    for (int32_t i = 0; i < mesh->PolygonCount; ++i) {
        const MeshPolygon& p = mesh->Polygons[i];
        for (int k = 0; k < 3; ++k) {
            if ((p.Flags & (SPAN3D_EDGE_01 << k)) == 0) continue;
            const uint32_t a = p.Corner[k], b = p.Corner[(k + 1) % 3];
            ++shown[{std::min(a, b), std::max(a, b)}];
        }
    }
    const uint32_t stride = static_cast<uint32_t>(columns + 1);
    EXPECT_EQ(shown.size(), static_cast<size_t>((rows + 1) * columns + (columns + 1) * rows));
    for (const auto& [edge, count] : shown) {
        SCOPED_TRACE(::testing::Message() << edge.first << "-" << edge.second);
        EXPECT_EQ(count, 1);
        const uint32_t gap = edge.second - edge.first;
        EXPECT_TRUE((gap == 1 && edge.first % stride != stride - 1) || gap == stride);
    }
}

// ---------------------------------------------------------------- disk

// radius 2, 4 segments, scale (1, 1, -1): the rim at 0, 90, 180, 270
// degrees; the cosines and sines that should be 0 carry the angle constant's
// shortfall (see the top of the file), times the radius. z is 0 * sz, which
// is -0 here.
TEST(Disk, FourSegmentsMakeASquare)
{
    Vector3 scale = Scale(1.0f, 1.0f, -1.0f);
    MeshPtr mesh(DiskCreate(2.0f, &scale, 4, nullptr));
    ASSERT_TRUE(Made(mesh.get(), 5, 4));
    ExpectVertices(mesh.get(), {{0, 0, 0, 0},
                                {1, 2, 0, 0}, {2, 2.4335929e-8f, 2, 0}, {3, -2, 4.8671858e-8f, 0},
                                {4, -7.3007787e-8f, -2, 0}});
    EXPECT_FALSE(std::signbit(Position(mesh.get(), 0).z));
    for (int32_t k = 1; k <= 4; ++k) EXPECT_TRUE(std::signbit(Position(mesh.get(), k).z)) << k;
}

// Wedge k (0, k + 1, k) is stored (k, k + 1, 0); the closing wedge (0, 1, 4)
// is stored (4, 1, 0). All keep only 0x200, the rim. du = 1/4: wedge k has
// u = (k - 1) / 4 on vertex k and u + du on k + 1; the closing wedge gives
// u = 3/4 to vertex 1 and 1 to vertex 4, the mirror image.
TEST(Disk, WedgesRimBitAndMirroredClosingWedge)
{
    MeshPtr mesh(DiskCreate(2.0f, &g_Unit, 4, nullptr));
    ASSERT_NE(mesh, nullptr);
    ExpectSlots(mesh.get(), {
        {0, {1, 2, 0}, 0x7f00247u, {{0, 1}, {0.25f, 1}, {0, 0}}},
        {1, {2, 3, 0}, 0x7f00247u, {{0.25f, 1}, {0.5f, 1}, {0.25f, 0}}},
        {2, {3, 4, 0}, 0x7f00247u, {{0.5f, 1}, {0.75f, 1}, {0.5f, 0}}},
        {3, {4, 1, 0}, 0x7f00247u, {{1, 1}, {0.75f, 1}, {0.75f, 0}}},
    });
}

// ---------------------------------------------------------------- ring

// outer 2, inner 1, 4 segments: 0..3 inner, 4..7 outer. Quad j is
// (j, j + 1, 5 + j, 4 + j); the closing quad (3, 0, 4, 7). du = 1/4.
TEST(Ring, InnerAndOuterCirclesAndClosingQuad)
{
    Vector3 scale = Scale(1.0f, 3.0f, 1.0f);
    MeshPtr mesh(RingCreate(2.0f, 1.0f, &scale, 4, nullptr));
    ASSERT_TRUE(Made(mesh.get(), 8, 8));
    ExpectVertices(mesh.get(), {{0, 1, 0, 0}, {1, 1.2167964e-8f, 3, 0}, {4, 2, 0, 0}, {6, -2, 1.4601557e-7f, 0}});
    ExpectSlots(mesh.get(), {
        {0, {4, 1, 0}, kQuadFirst, {{0, 1}, {0.25f, 0}, {0, 0}}},
        {1, {4, 5, 1}, kQuadSecond, {{0, 1}, {0.25f, 1}, {0.25f, 0}}},
        {4, {6, 3, 2}, kQuadFirst, {{0.5f, 1}, {0.75f, 0}, {0.5f, 0}}},
        {6, {7, 0, 3}, kQuadFirst, {{0.75f, 1}, {1, 0}, {0.75f, 0}}},
        {7, {7, 4, 0}, kQuadSecond, {{0.75f, 1}, {1, 1}, {1, 0}}},
    });
}

}  // namespace
}  // namespace span3d
