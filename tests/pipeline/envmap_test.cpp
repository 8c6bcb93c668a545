// Environment coordinates: each corner's vertex normal (plus the pivot) turned
// by rows 0 and 1 of the view matrix, translation left out.
#include <gtest/gtest.h>

#include <stdint.h>
#include <string.h>

#include "pipeline/pipeline.h"
#include "pipeline_test_support.h"

namespace span3d {
namespace {

struct EnvCase {
    const char* name;
    float       rows[8];   // ViewMatrix rows 0 and 1 (r0, r1, r2, t); row 2 is (0,0,1,300)
    Vector3     pivot;
    Vector3     normal;    // the same normal at every corner
    float       envU, envV;
};

// A quarter turn about view z: row 0 (0,-1,0), row 1 (1,0,0); the
// translations (100, 200) must not show. Hand results are row . (n + pivot).
constexpr float kQuarter[8] = {0, -1, 0, 100, 1, 0, 0, 200};

const EnvCase kEnvCases[] = {
    // Facing the camera head-on: view x and y both 0, the texture's middle.
    {"HeadOn", {1, 0, 0, 100, 0, 1, 0, 200}, {0, 0, 0}, {0, 0, -1}, 0.0f, 0.0f},
    {"IdentityX", {1, 0, 0, 100, 0, 1, 0, 200}, {0, 0, 0}, {1, 0, 0}, 1.0f, 0.0f},
    // (1,0,0): u = 0, v = 1.   (0,1,0): u = -1, v = 0.
    {"QuarterTurnX", {0, -1, 0, 100, 1, 0, 0, 200}, {0, 0, 0}, {1, 0, 0}, 0.0f, 1.0f},
    {"QuarterTurnY", {0, -1, 0, 100, 1, 0, 0, 200}, {0, 0, 0}, {0, 1, 0}, -1.0f, 0.0f},
    // (0.6,0.8,0): u = -0.8f, v = 0.6f.
    {"QuarterTurnOblique", {0, -1, 0, 100, 1, 0, 0, 200}, {0, 0, 0}, {0.6f, 0.8f, 0}, -0.8f,
     0.6f},
    // All three columns used: row 0 (0.5, -0.75, 0.25), row 1 (0.125, 1, -0.5),
    // n (0.5, 0.25, -1): u = 0.25 - 0.1875 - 0.25 = -0.1875,
    // v = 0.0625 + 0.25 + 0.5 = 0.8125.
    {"AllColumns", {0.5f, -0.75f, 0.25f, 100, 0.125f, 1, -0.5f, 200}, {0, 0, 0},
     {0.5f, 0.25f, -1}, -0.1875f, 0.8125f},
    // The pivot is added to the normal like a point: (1,0,0) + (0.5,0,0) =
    // (1.5,0,0): u = 0, v = 1.5.
    {"PivotShiftsTheLookup", {0, -1, 0, 100, 1, 0, 0, 200}, {0.5f, 0, 0}, {1, 0, 0}, 0.0f, 1.5f},
    // (0,1,0) + (0,0.25,0): u = -1.25, v = 0.
    {"PivotOnY", {0, -1, 0, 100, 1, 0, 0, 200}, {0, 0.25f, 0}, {0, 1, 0}, -1.25f, 0.0f},
};

class EnvironmentCoords : public testing::TestWithParam<EnvCase> {};

TEST_P(EnvironmentCoords, RowsOfTheViewMatrix)
{
    const EnvCase& c = GetParam();
    Mesh mesh = {};
    Vector3 normals[1] = {c.normal};
    mesh.VertexNormals = normals;
    mesh.VertexNormalCount = 1;
    mesh.Pivot = c.pivot;
    memcpy(mesh.ViewMatrix.m, c.rows, sizeof c.rows);
    mesh.ViewMatrix.m[8] = 0;
    mesh.ViewMatrix.m[9] = 0;
    mesh.ViewMatrix.m[10] = 1;
    mesh.ViewMatrix.m[11] = 300;
    MeshPolygon polygon = {};
    for (int32_t k = 0; k < 3; ++k) {
        polygon.CornerMap[k].u = 7.0f;
        polygon.CornerMap[k].v = 8.0f;
    }
    ComputeEnvironmentCoords(&mesh, &polygon);
    for (int32_t k = 0; k < 3; ++k) {
        SCOPED_TRACE(k);
        EXPECT_EQ(polygon.CornerMap[k].envU, c.envU);
        EXPECT_EQ(polygon.CornerMap[k].envV, c.envV);
        // The host's pair is left alone.
        EXPECT_EQ(polygon.CornerMap[k].u, 7.0f);
        EXPECT_EQ(polygon.CornerMap[k].v, 8.0f);
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, EnvironmentCoords, testing::ValuesIn(kEnvCases), test::CaseName{});

// Corner k reads VertexNormals[NormalIndex[k]]; indices may repeat. Under the
// quarter turn (x,y,z) -> u = -y, v = x:
//   index 2 (0,1,0) -> (-1, 0); index 0 (1,0,0) -> (0, 1).
TEST(EnvironmentCoordsCorners, EachCornerByNormalIndex)
{
    Mesh mesh = {};
    Vector3 normals[3] = {{1, 0, 0}, {0, 0, 1}, {0, 1, 0}};
    mesh.VertexNormals = normals;
    mesh.VertexNormalCount = 3;
    memcpy(mesh.ViewMatrix.m, kQuarter, sizeof kQuarter);
    mesh.ViewMatrix.m[10] = 1;
    MeshPolygon polygon = {};
    polygon.NormalIndex[0] = 2;
    polygon.NormalIndex[1] = 0;
    polygon.NormalIndex[2] = 2;
    ComputeEnvironmentCoords(&mesh, &polygon);
    EXPECT_EQ(polygon.CornerMap[0].envU, -1.0f);
    EXPECT_EQ(polygon.CornerMap[0].envV, 0.0f);
    EXPECT_EQ(polygon.CornerMap[1].envU, 0.0f);
    EXPECT_EQ(polygon.CornerMap[1].envV, 1.0f);
    EXPECT_EQ(polygon.CornerMap[2].envU, -1.0f);
    EXPECT_EQ(polygon.CornerMap[2].envV, 0.0f);
}

}  // namespace
}  // namespace span3d
