// Polygon normals and plane constants, and vertex normals shared within
// smoothing groups.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <set>
#include <vector>

#include "span3d.h"
#include "pipeline_test_support.h"

namespace {

using span3d::test::Bits;

// A mesh laid out by hand: the record and its vertex and polygon arrays from
// AllocateMemory, as a fixed mesh would hold them. Only what the normal code
// reads is filled in.
struct TestMesh {
    Mesh* mesh = nullptr;

    TestMesh(const std::vector<Vector3>& positions, size_t polygonCount)
    {
        mesh = static_cast<Mesh*>(AllocateMemory(sizeof(Mesh)));
        mesh->Head.Kind = SPAN3D_KIND_MESH;
        mesh->VertexCount = static_cast<int32_t>(positions.size());
        mesh->PolygonCount = static_cast<int32_t>(polygonCount);
        mesh->Vertices = static_cast<MeshVertex*>(AllocateMemory(positions.size() * sizeof(MeshVertex)));
        mesh->Polygons = static_cast<MeshPolygon*>(AllocateMemory(polygonCount * sizeof(MeshPolygon)));
        for (size_t i = 0; i < positions.size(); ++i) mesh->Vertices[i].ModelPosition = positions[i];
    }
    ~TestMesh()
    {
        FreeMemory(mesh->VertexNormals);
        FreeMemory(mesh->Vertices);
        FreeMemory(mesh->Polygons);
        FreeMemory(mesh);
    }
    TestMesh(const TestMesh&) = delete;
    TestMesh& operator=(const TestMesh&) = delete;

    MeshPolygon& Polygon(size_t i) { return mesh->Polygons[i]; }
    void SetPolygon(size_t i, uint32_t a, uint32_t b, uint32_t c, uint32_t group)
    {
        MeshPolygon& p = mesh->Polygons[i];
        p.Corner[0] = a;
        p.Corner[1] = b;
        p.Corner[2] = c;
        p.Flags = 0x700e47u | (group << SPAN3D_SMOOTH_GROUP_SHIFT);
    }
    const Vector3& CornerNormal(size_t polygon, size_t corner) const
    {
        const uint32_t index = mesh->Polygons[polygon].NormalIndex[corner];
        EXPECT_LT(index, static_cast<uint32_t>(mesh->VertexNormalCount));
        return mesh->VertexNormals[index];
    }
};

void ExpectVector(const Vector3& actual, const Vector3& expected)
{
    EXPECT_EQ(actual.x, expected.x);
    EXPECT_EQ(actual.y, expected.y);
    EXPECT_EQ(actual.z, expected.z);
}

// ---------------------------------------------------------------- polygon normals

struct PlaneCase {
    const char* name;
    Vector3     p0, p1, p2;
    Vector3     normal;
    uint32_t    planeDBits;
};

// Normal = (p1 - p0) x (p2 - p1), normalised; PlaneD = -(Normal . c) with the
// centroid c = (p0 + p1 + p2) * 0.33333334f kept in double.
const PlaneCase kPlaneCases[] = {
    // A = (1,0,0), B = (-1,1,0): cross (0,0,1). c.z = 9 * 0.33333334f =
    // 3.0000000894, which rounds back to 3: PlaneD = -3.
    {"FlatAtZ3", {0, 0, 3}, {1, 0, 3}, {0, 1, 3}, {0, 0, 1}, 0xc0400000u},
    // The other winding: cross (0,0,-1), PlaneD = +3.
    {"FlatAtZ3Reversed", {0, 0, 3}, {0, 1, 3}, {1, 0, 3}, {0, 0, -1}, 0x40400000u},
    // A = (1,0,0), B = (-1,4,3): cross (0,-3,4), length 5, so the normal is
    // the floats nearest (0, -0.6, 0.8), both a little larger in magnitude.
    // c = (1, 4, 24) * 0.33333334f = (0.33333334, 1.3333334, 8.0000002) and
    // Normal . c = -0.80000006 + 6.4000003 = 5.6000002305, above the midpoint
    // 5.6000001431 of the floats 0x40b33333 and 0x40b33334: PlaneD is
    // -0x40b33334. With an exact third (or a float centroid) it would be
    // -0x40b33333.
    {"SlopedThreeFourFive", {0, 0, 7}, {1, 0, 7}, {0, 4, 10}, {0, -0.6f, 0.8f}, 0xc0b33334u},
    // A plane through the origin: (0 + 0) + (-1 * 0) = +0, negated to -0.0.
    {"ThroughOriginNegativeZero", {0, 0, 0}, {0, 1, 0}, {1, 0, 0}, {0, 0, -1}, 0x80000000u},
};

TEST(Normals, PolygonNormalAndPlaneD)
{
    for (const PlaneCase& c : kPlaneCases) {
        SCOPED_TRACE(c.name);
        TestMesh m({c.p0, c.p1, c.p2}, 1);
        m.SetPolygon(0, 0, 1, 2, 0);
        CalcMeshPolygonNormal(m.mesh, &m.Polygon(0));
        ExpectVector(m.Polygon(0).Normal, c.normal);
        EXPECT_EQ(Bits(m.Polygon(0).PlaneD), c.planeDBits);
    }
}

// A zero cross product is normalised without a guard: 0 * (1 / 0) is NaN.
TEST(Normals, DegenerateTrianglesGiveNaN)
{
    struct Case {
        const char* name;
        uint32_t    a, b, c;
    };
    const Case cases[] = {{"Collinear", 0, 1, 2}, {"RepeatedVertex", 0, 0, 1}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        TestMesh m({{0, 0, 0}, {1, 1, 1}, {2, 2, 2}}, 1);
        m.SetPolygon(0, c.a, c.b, c.c, 0);
        CalcMeshPolygonNormal(m.mesh, &m.Polygon(0));
        EXPECT_TRUE(std::isnan(m.Polygon(0).Normal.x));
        EXPECT_TRUE(std::isnan(m.Polygon(0).Normal.y));
        EXPECT_TRUE(std::isnan(m.Polygon(0).Normal.z));
        EXPECT_TRUE(std::isnan(m.Polygon(0).PlaneD));
    }
}

// ---------------------------------------------------------------- vertex normals

// The unit cube, vertex v at (v & 1, (v >> 1) & 1, (v >> 2) & 1). Each face is
// two triangles wound so that (p1 - p0) x (p2 - p1) points out of the cube;
// the +y face is split along the other diagonal (6-3 rather than 2-7).
const std::vector<Vector3> kCubeVertices = {
    {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}, {0, 0, 1}, {1, 0, 1}, {0, 1, 1}, {1, 1, 1},
};
struct CubeTriangle {
    uint32_t a, b, c;
    Vector3  normal;
};
const CubeTriangle kCubeTriangles[12] = {
    {0, 2, 3, {0, 0, -1}}, {0, 3, 1, {0, 0, -1}},  // -z
    {4, 5, 7, {0, 0, 1}},  {4, 7, 6, {0, 0, 1}},   // +z
    {0, 1, 5, {0, -1, 0}}, {0, 5, 4, {0, -1, 0}},  // -y
    {6, 7, 3, {0, 1, 0}},  {6, 3, 2, {0, 1, 0}},   // +y
    {0, 4, 6, {-1, 0, 0}}, {0, 6, 2, {-1, 0, 0}},  // -x
    {1, 3, 7, {1, 0, 0}},  {1, 7, 5, {1, 0, 0}},   // +x
};

// groupOfFace(f) gives the smoothing group of face f (triangles 2f, 2f + 1).
template <typename GroupOfFace>
void BuildCube(TestMesh& m, GroupOfFace groupOfFace)
{
    for (uint32_t t = 0; t < 12; ++t) {
        const CubeTriangle& tri = kCubeTriangles[t];
        m.SetPolygon(t, tri.a, tri.b, tri.c, groupOfFace(t / 2));
    }
    CalcMeshPolygonsNormal(m.mesh);
}

TEST(Normals, CubePolygonNormalsAndPlanes)
{
    TestMesh m(kCubeVertices, 12);
    BuildCube(m, [](uint32_t) { return 0u; });
    for (uint32_t t = 0; t < 12; ++t) {
        SCOPED_TRACE(t);
        const Vector3& n = kCubeTriangles[t].normal;
        ExpectVector(m.Polygon(t).Normal, n);
        // Faces at 0 have PlaneD 0; faces at 1 lie on n . p = 1, and the
        // centroid coordinate 3 * 0.33333334f = 1.00000003 rounds to 1.
        const bool far = n.x + n.y + n.z > 0.0f;
        EXPECT_EQ(m.Polygon(t).PlaneD, far ? -1.0f : 0.0f);
    }
}

// Six groups, one per face: no normal is shared across faces, so every
// corner gets its face's own normal and each face has four entries (its two
// triangles share the diagonal's two vertices): 24 in all.
TEST(Normals, CubeSixGroupsGives24FaceNormals)
{
    TestMesh m(kCubeVertices, 12);
    // Groups in reverse of face order, so that numbering follows the groups
    // and not the array: face 5 (+x) is group 0 and gets normals 0 to 3.
    BuildCube(m, [](uint32_t face) { return 5 - face; });
    CalcMeshVerticesNormal(m.mesh);

    ASSERT_EQ(m.mesh->VertexNormalCount, 24);
    std::set<uint32_t> used;
    for (uint32_t t = 0; t < 12; ++t) {
        for (uint32_t k = 0; k < 3; ++k) {
            ExpectVector(m.CornerNormal(t, k), kCubeTriangles[t].normal);
            used.insert(m.Polygon(t).NormalIndex[k]);
        }
    }
    EXPECT_EQ(used.size(), 24u);

    // +x triangles (1,3,7) and (1,7,5), first in group order: 1 3 7 take 0 1
    // 2, then 5 takes 3. -x, group 1: (0,4,6) take 4 5 6, (0,6,2) adds 2 as 7.
    const uint32_t expected[4][3] = {{0, 1, 2}, {0, 2, 3}, {4, 5, 6}, {4, 6, 7}};
    const uint32_t polygons[4] = {10, 11, 8, 9};
    for (int i = 0; i < 4; ++i) {
        for (int k = 0; k < 3; ++k) EXPECT_EQ(m.Polygon(polygons[i]).NormalIndex[k], expected[i][k]);
    }
}

// One group: one normal per vertex, the normalised sum of the unit normals of
// every triangle at that vertex, each triangle counted once. A face whose
// diagonal runs through the vertex counts twice. Counting triangles per face
// in the table above:
//   v0: -z 2, -y 2, -x 2 -> (-2,-2,-2)   v1: -z 1, -y 1, +x 2 -> ( 2,-1,-1)
//   v2: -z 1, +y 1, -x 1 -> (-1, 1,-1)   v3: -z 2, +y 2, +x 1 -> ( 1, 2,-2)
//   v4: +z 2, -y 1, -x 1 -> (-1,-1, 2)   v5: +z 1, -y 2, +x 1 -> ( 1,-2, 1)
//   v6: +z 1, +y 2, -x 2 -> (-2, 2, 1)   v7: +z 2, +y 1, +x 2 -> ( 2, 1, 2)
// Lengths 2 sqrt 3, sqrt 6, sqrt 3, 3, sqrt 6, sqrt 6, 3, 3. Components are
// +-1 and +-2, so s * (1 / |s|) rounds as s / |s| does.
struct CornerSum {
    int x, y, z;
};
const CornerSum kOneGroupSums[8] = {
    {-2, -2, -2}, {2, -1, -1}, {-1, 1, -1}, {1, 2, -2}, {-1, -1, 2}, {1, -2, 1}, {-2, 2, 1}, {2, 1, 2},
};

Vector3 Unit(const CornerSum& s)
{
    const double length = std::sqrt(static_cast<double>(s.x * s.x + s.y * s.y + s.z * s.z));
    return {static_cast<float>(s.x / length), static_cast<float>(s.y / length), static_cast<float>(s.z / length)};
}

TEST(Normals, CubeOneGroupGives8SharedNormals)
{
    // Any one group value behaves the same; 0 is a group like the others.
    for (uint32_t group : {0u, 17u}) {
        SCOPED_TRACE(group);
        TestMesh m(kCubeVertices, 12);
        BuildCube(m, [group](uint32_t) { return group; });
        CalcMeshVerticesNormal(m.mesh);

        ASSERT_EQ(m.mesh->VertexNormalCount, 8);
        for (uint32_t t = 0; t < 12; ++t) {
            for (uint32_t k = 0; k < 3; ++k) {
                const uint32_t v = m.Polygon(t).Corner[k];
                SCOPED_TRACE(v);
                ExpectVector(m.CornerNormal(t, k), Unit(kOneGroupSums[v]));
            }
        }
        // The three whose length is 3 are exact thirds.
        ExpectVector(Unit(kOneGroupSums[7]), {2.0f / 3.0f, 1.0f / 3.0f, 2.0f / 3.0f});
        // Numbered by first use: (0,2,3) gives v0 0, v2 1, v3 2; (0,3,1) v1 3;
        // (4,5,7) v4 4, v5 5, v7 6; (4,7,6) v6 7.
        const uint32_t firstUse[8] = {0, 3, 1, 2, 4, 5, 7, 6};
        for (uint32_t t = 0; t < 12; ++t) {
            for (uint32_t k = 0; k < 3; ++k) {
                EXPECT_EQ(m.Polygon(t).NormalIndex[k], firstUse[m.Polygon(t).Corner[k]]);
            }
        }
    }
}

// Two groups meeting along an edge: the shared vertices get one normal per
// group, and each group's normal is its own face's.
TEST(Normals, GroupsNeverShareAtACommonVertex)
{
    TestMesh m(kCubeVertices, 4);
    const CubeTriangle& a0 = kCubeTriangles[10];  // +x
    const CubeTriangle& a1 = kCubeTriangles[11];
    const CubeTriangle& b0 = kCubeTriangles[2];  // +z, shares vertices 5 and 7 with +x
    const CubeTriangle& b1 = kCubeTriangles[3];
    m.SetPolygon(0, a0.a, a0.b, a0.c, 3);
    m.SetPolygon(1, b0.a, b0.b, b0.c, 1);
    m.SetPolygon(2, a1.a, a1.b, a1.c, 3);
    m.SetPolygon(3, b1.a, b1.b, b1.c, 1);
    CalcMeshPolygonsNormal(m.mesh);
    CalcMeshVerticesNormal(m.mesh);

    // 4 distinct vertices per face, 8 normals, although only 6 vertices.
    ASSERT_EQ(m.mesh->VertexNormalCount, 8);
    for (uint32_t t = 0; t < 4; ++t) {
        for (uint32_t k = 0; k < 3; ++k) ExpectVector(m.CornerNormal(t, k), m.Polygon(t).Normal);
    }
    // Group 1 (+z) comes first: (4,5,7) gets 0 1 2.
    EXPECT_EQ(m.Polygon(1).NormalIndex[0], 0u);
    EXPECT_EQ(m.Polygon(0).NormalIndex[0], 4u);
}

// A polygon that names a vertex twice adds its normal to that vertex twice.
// The normals are set by hand (the corner repeat would make a computed one
// NaN): vertex 0 collects (1,0,0) once and (0,1,0) twice, (1,2,0) / sqrt 5.
TEST(Normals, RepeatedCornerAddsTwice)
{
    TestMesh m({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, 2);
    m.SetPolygon(0, 0, 1, 2, 4);
    m.SetPolygon(1, 0, 0, 3, 4);
    m.Polygon(0).Normal = {1, 0, 0};
    m.Polygon(1).Normal = {0, 1, 0};
    CalcMeshVerticesNormal(m.mesh);

    ASSERT_EQ(m.mesh->VertexNormalCount, 4);  // vertices 0, 1, 2, 3
    EXPECT_EQ(m.Polygon(1).NormalIndex[0], 0u);
    EXPECT_EQ(m.Polygon(1).NormalIndex[1], 0u);
    ExpectVector(m.mesh->VertexNormals[0], Unit({1, 2, 0}));
    ExpectVector(m.CornerNormal(1, 2), {0, 1, 0});
}

// The table is replaced whole on each call, and no polygons make it empty.
TEST(Normals, RebuildReplacesTable)
{
    TestMesh m(kCubeVertices, 12);
    BuildCube(m, [](uint32_t face) { return face; });
    CalcMeshVerticesNormal(m.mesh);
    EXPECT_EQ(m.mesh->VertexNormalCount, 24);
    BuildCube(m, [](uint32_t) { return 2u; });
    CalcMeshVerticesNormal(m.mesh);
    EXPECT_EQ(m.mesh->VertexNormalCount, 8);

    m.mesh->PolygonCount = 0;
    CalcMeshVerticesNormal(m.mesh);
    EXPECT_EQ(m.mesh->VertexNormalCount, 0);
}

}  // namespace
