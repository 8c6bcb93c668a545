// The chamfered cube: counts, the layout of flat corners, shells and arcs,
// the polygon lists slot by slot for one step, and the rounding itself.
#include <cmath>

#include "primitives/primitive_test_support.h"

namespace span3d {
namespace {

using namespace span3d::testing;

// 8 m n + 8 vertices and 16 m n + 12 slots, m = n + 1.
TEST(ChamferedCube, Counts)
{
    struct Case { int32_t steps, vertices, polygons; };
    const Case cases[] = {{1, 24, 44}, {2, 56, 108}, {3, 104, 204}, {4, 168, 332}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.steps);
        MeshPtr mesh(ChCubeCreate(4.0f, 1.0f, &g_Unit, c.steps, nullptr));
        ASSERT_NE(mesh, nullptr);
        EXPECT_EQ(mesh->VertexCount, c.vertices);
        EXPECT_EQ(mesh->PolygonCount, c.polygons);
    }
}

// size 4, chamfer 1, one step: S = 2, e = 1, H = 12. The only shell has
// g = 270 - 90 = 180: s = sin 180 = 2.4e-8, r = cos 180 = -1 + 3e-16, so
// its z is -1 + 2.4e-8, which rounds to -1 (and +1 behind). The arcs' t
// values 180 and 90 give x, y within 2.5e-8 of whole numbers, which round to
// them: every vertex is exact.
//   arc 0: 4 (-2, 1), 5 (-1, 2)    arc 1: 6 (1, 2), 7 (2, 1)
//   arc 2: 8 (2, -1), 9 (1, -2)    arc 3: 10 (-1, -2), 11 (-2, -1)
TEST(ChamferedCube, OneStepVertices)
{
    MeshPtr mesh(ChCubeCreate(4.0f, 1.0f, &g_Unit, 1, nullptr));
    ASSERT_NE(mesh, nullptr);
    const float xy[12][2] = {{-1, 1}, {1, 1},  {1, -1}, {-1, -1}, {-2, 1},  {-1, 2},
                             {1, 2},  {2, 1},  {2, -1}, {1, -2},  {-1, -2}, {-2, -1}};
    for (int32_t k = 0; k < 12; ++k) {
        SCOPED_TRACE(k);
        const float z = k < 4 ? 2.0f : 1.0f;
        const Vector3& front = Position(mesh.get(), k);
        const Vector3& back = Position(mesh.get(), k + 12);
        EXPECT_EQ(front.x, xy[k][0]);
        EXPECT_EQ(front.y, xy[k][1]);
        EXPECT_EQ(front.z, -z);
        EXPECT_EQ(back.x, xy[k][0]);
        EXPECT_EQ(back.y, xy[k][1]);
        EXPECT_EQ(back.z, z);
    }
}

// Slots of the one-step cube (n = 1, m = 2, L = 0, H = 12, A(1, q, p) =
// 4 + 2q + p). Flat faces first, with coordinates; everything after slot 11
// keeps zero coordinates and so no stage bits: 0x700e47 for a triangle,
// 0x700c47 / 0x700647 for a quad.
TEST(ChamferedCube, OneStepPolygons)
{
    MeshPtr mesh(ChCubeCreate(4.0f, 1.0f, &g_Unit, 1, nullptr));
    ASSERT_NE(mesh, nullptr);
    const uint32_t tf = 0x7f00c47u, ts = 0x7f00647u;  // textured quad halves
    const uint32_t tri = 0x700e47u, qf = 0x700c47u, qs = 0x700647u;
    const UV z = {0, 0};
    ExpectSlots(mesh.get(), {
        // Front (0, 1, 2, 3) with (0, 0), (1, 0), (1, 1), (0, 1).
        {0, {3, 1, 0}, tf, {{0, 1}, {1, 0}, {0, 0}}},
        {1, {3, 2, 1}, ts, {{0, 1}, {1, 1}, {1, 0}}},
        // +x (7, 19, 20, 8): arc 1's end to arc 2's start, front and back.
        {2, {8, 19, 7}, tf, {{0, 1}, {1, 0}, {0, 0}}},
        // Back (15, 14, 13, 12) with (0, 1), (1, 1), (1, 0), (0, 0).
        {4, {12, 14, 15}, tf, {{0, 0}, {1, 1}, {0, 1}}},
        {5, {12, 13, 14}, ts, {{0, 0}, {1, 0}, {1, 1}}},
        // -x (11, 23, 16, 4).
        {6, {4, 23, 11}, tf, {{0, 0}, {1, 1}, {0, 1}}},
        // +y (5, 17, 18, 6) with (0, 1), (0, 0), (1, 0), (1, 1).
        {8, {6, 17, 5}, tf, {{1, 1}, {0, 0}, {0, 1}}},
        {9, {6, 18, 17}, ts, {{1, 1}, {1, 0}, {0, 0}}},
        // -y (9, 21, 22, 10) with (1, 0), (1, 1), (0, 1), (0, 0).
        {10, {10, 21, 9}, tf, {{0, 0}, {1, 1}, {1, 0}}},
        {11, {10, 22, 21}, ts, {{0, 0}, {0, 1}, {1, 1}}},
        // Front corner fans (q, A(1, q, 0), A(1, q, 1)).
        {12, {5, 4, 0}, tri, {z, z, z}}, {15, {11, 10, 3}, tri, {z, z, z}},
        // Front edge quads (q, A(1, q, 1), A(1, q + 1, 0), q + 1).
        {16, {1, 5, 0}, qf, {z, z, z}}, {17, {1, 6, 5}, qs, {z, z, z}}, {22, {0, 11, 3}, qf, {z, z, z}},
        {23, {0, 4, 11}, qs, {z, z, z}},
        // Back corner fans (A(1, q, 1) + H, A(1, q, 0) + H, H + q).
        {24, {12, 16, 17}, tri, {z, z, z}}, {27, {15, 22, 23}, tri, {z, z, z}},
        // Back edge quads (H + q + 1, A(1, q + 1, 0) + H, A(1, q, 1) + H,
        // H + q), the last closing on H: (12, 16, 23, 15).
        {28, {12, 18, 13}, qf, {z, z, z}}, {29, {12, 17, 18}, qs, {z, z, z}}, {34, {15, 16, 12}, qf, {z, z, z}},
        {35, {15, 23, 16}, qs, {z, z, z}},
        // Side bands (c, c + H, c + H + 1, c + 1), c = 4 + 2q.
        {36, {5, 16, 4}, qf, {z, z, z}}, {37, {5, 17, 16}, qs, {z, z, z}}, {42, {11, 22, 10}, qf, {z, z, z}},
        {43, {11, 23, 22}, qs, {z, z, z}},
    });
    for (int32_t i = 0; i < mesh->PolygonCount; ++i) EXPECT_EQ(GroupOf(mesh.get(), i), 0u) << i;
}

// Two steps (d = 45): shell 1 at g = 225, s = r = -0.70710677 * chamfer;
// shell 2 at g = 180. So A(1, 0, 0) (t = 180) is (-e + r, e, -e + s) =
// (-1.7071068, 1, -1.7071068) and its back twin has z = +1.7071068; the last
// shell lies on z = -1 and +1. A(i, q, p) = 4 + 12 (i - 1) + 3 q + p; H = 28.
TEST(ChamferedCube, TwoStepShells)
{
    MeshPtr mesh(ChCubeCreate(4.0f, 1.0f, &g_Unit, 2, nullptr));
    ASSERT_NE(mesh, nullptr);
    const Vector3& a100 = Position(mesh.get(), 4);
    EXPECT_NEAR(a100.x, -1.7071068f, 1e-6);
    EXPECT_NEAR(a100.y, 1.0f, 1e-6);
    EXPECT_NEAR(a100.z, -1.7071068f, 1e-6);
    EXPECT_NEAR(Position(mesh.get(), 4 + 28).z, 1.7071068f, 1e-6);
    // A(1, 0, 1), t = 135: (-e - cos 135 r, e - sin 135 r) = (-1.5, 1.5).
    EXPECT_NEAR(Position(mesh.get(), 5).x, -1.5f, 1e-6);
    EXPECT_NEAR(Position(mesh.get(), 5).y, 1.5f, 1e-6);
    for (int32_t k = 16; k < 28; ++k) {
        EXPECT_NEAR(Position(mesh.get(), k).z, -1.0f, 1e-6) << k;
        EXPECT_NEAR(Position(mesh.get(), k + 28).z, 1.0f, 1e-6) << k;
    }
    // The front shell band of i = 1, j = 0, q = 0 comes right after the 8
    // fans and 4 edge quads: slot 12 + 8 + 8 = 28, the quad (A(1,0,0),
    // A(2,0,0), A(2,0,1), A(1,0,1)) = (4, 16, 17, 5), stored (5, 16, 4) and
    // (5, 17, 16).
    EXPECT_EQ(CornersOf(mesh.get(), 28), (Corners{5, 16, 4}));
    EXPECT_EQ(CornersOf(mesh.get(), 29), (Corners{5, 17, 16}));
}

// The back half repeats the front's shell bands and joints with every
// corner list reversed, (a, b, c, d) becoming (d, c, b, a) as the back fans
// and edge quads do; the reversed quad is split along the other diagonal.
// Two steps, H = 28, A(i, q, p) = 4 + 12 (i - 1) + 3 q + p. Slots: 12 front
// fans 12-19, edge quads 20-27, bands 28-43, joints 44-51; back fans 52-59,
// edge quads 60-67, bands 68-83, joints 84-91; side bands 92-107.
//   band i 1, j 0, q 0: front (4, 16, 17, 5), back (33, 45, 44, 32), stored
//     (32, 45, 33) and (32, 44, 45);
//   band i 1, j 1, q 3: front (14, 26, 27, 15), back (43, 55, 54, 42);
//   joint q 0: front (6, 18, 19, 7), back (35, 47, 46, 34);
//   joint q 3: front (15, 27, 16, 4), back (32, 44, 55, 43);
//   first side band: c = L + 4 = 16, (16, 44, 45, 17).
TEST(ChamferedCube, TwoStepBackShellReversesTheFront)
{
    MeshPtr mesh(ChCubeCreate(4.0f, 1.0f, &g_Unit, 2, nullptr));
    ASSERT_NE(mesh, nullptr);
    ASSERT_EQ(mesh->PolygonCount, 108);
    const uint32_t qf = 0x700c47u, qs = 0x700647u;
    const UV z = {0, 0};
    ExpectSlots(mesh.get(), {
        {44, {7, 18, 6}, qf, {z, z, z}}, {45, {7, 19, 18}, qs, {z, z, z}}, {68, {32, 45, 33}, qf, {z, z, z}},
        {69, {32, 44, 45}, qs, {z, z, z}}, {82, {42, 55, 43}, qf, {z, z, z}}, {83, {42, 54, 55}, qs, {z, z, z}},
        {84, {34, 47, 35}, qf, {z, z, z}}, {85, {34, 46, 47}, qs, {z, z, z}}, {90, {43, 44, 32}, qf, {z, z, z}},
        {91, {43, 55, 44}, qs, {z, z, z}}, {92, {17, 44, 16}, qf, {z, z, z}}, {93, {17, 45, 44}, qs, {z, z, z}},
    });
}

// Every vertex lies at distance `chamfer` from the inner box [-e, e]^3:
// the flat corners straight out from a face, the shell points on the
// quarter cylinders and eighth spheres that round the edges and corners.
TEST(ChamferedCube, EveryVertexIsAChamferFromTheInnerBox)
{
    for (int32_t steps = 1; steps <= 5; ++steps) {
        SCOPED_TRACE(steps);
        MeshPtr mesh(ChCubeCreate(10.0f, 2.5f, &g_Unit, steps, nullptr));
        ASSERT_NE(mesh, nullptr);
        const double e = 2.5;
        for (int32_t k = 0; k < mesh->VertexCount; ++k) {
            const Vector3& p = Position(mesh.get(), k);
            const double dx = std::max(std::fabs(p.x) - e, 0.0);
            const double dy = std::max(std::fabs(p.y) - e, 0.0);
            const double dz = std::max(std::fabs(p.z) - e, 0.0);
            EXPECT_NEAR(std::sqrt(dx * dx + dy * dy + dz * dz), 2.5, 2e-6) << k;
        }
    }
}

// The scale multiplies the final coordinates: a flat corner (-e, e, -S) of
// a 4 / 1 cube under (2, 3, -1) lands on (-2, 3, 2).
TEST(ChamferedCube, ScaleAppliesLast)
{
    Vector3 scale = Scale(2.0f, 3.0f, -1.0f);
    MeshPtr mesh(ChCubeCreate(4.0f, 1.0f, &scale, 1, nullptr));
    ASSERT_NE(mesh, nullptr);
    const Vector3& p = Position(mesh.get(), 0);
    EXPECT_EQ(p.x, -2.0f);
    EXPECT_EQ(p.y, 3.0f);
    EXPECT_EQ(p.z, 2.0f);
}

}  // namespace
}  // namespace span3d
