// Lighting: the evaluator tables, every evaluator at hand-computed samples,
// PrepareLights (model space, pivot, direction, the kinds it leaves stale),
// and the three polygon shaders with their colour forms, combination of
// material colours, rounding and clamping.
//
// Conventions of the hand derivations below: the polygon lies in z = 0 with
// Normal (0, 0, 1); its front is the side z < 0 (front faces have the camera
// on the negative side of the normal). Light colours are (1, 0.5, 0.25) where
// a case checks the sums, so one level I shows as sums (I, I/2, I/4).
#include <gtest/gtest.h>

#include <stdint.h>
#include <string.h>

#include "kernel/kernel.h"
#include "pipeline/pipeline.h"
#include "pipeline_test_support.h"

namespace span3d {
namespace {

using test::Bits;

// ---------------------------------------------------------------- tables

struct TableExpectation {
    uint32_t      kind;
    LightFunction faceFront, faceBack, cornerFront, cornerBack;
};

// Kinds with an evaluator; every other kind of 0..31 must hold LightNothing.
const TableExpectation kTableExpectations[] = {
    {2, &OmniFaceFront, &OmniFaceBack, &OmniCornerFront, &OmniCornerBack},
    {18, &OmniFaceFront, &OmniFaceBack, &OmniCornerFront, &OmniCornerBack},
    {3, &OmniFadeFaceFront, &OmniFadeFaceBack, &OmniFadeCornerFront, &OmniFadeCornerBack},
    {19, &OmniFadeFaceFront, &OmniFadeFaceBack, &OmniFadeCornerFront, &OmniFadeCornerBack},
    {4, &DirectFaceFront, &DirectFaceBack, &DirectCornerFront, &DirectCornerBack},
    {5, &DirectFaceFront, &DirectFaceBack, &DirectCornerFront, &DirectCornerBack},
    {20, &DirectPlaneFaceFront, &DirectPlaneFaceBack, &DirectPlaneCornerFront,
     &DirectPlaneCornerBack},
    {21, &DirectPlaneFaceFront, &DirectPlaneFaceBack, &DirectPlaneCornerFront,
     &DirectPlaneCornerBack},
};

TEST(LightTables, EntriesByKind)
{
    for (uint32_t kind = 0; kind < static_cast<uint32_t>(kLightTableSize); ++kind) {
        SCOPED_TRACE(kind);
        TableExpectation want = {kind, &LightNothing, &LightNothing, &LightNothing, &LightNothing};
        for (const TableExpectation& e : kTableExpectations) {
            if (e.kind == kind) want = e;
        }
        EXPECT_EQ(FaceFront.Entry[kind], want.faceFront);
        EXPECT_EQ(FaceBack.Entry[kind], want.faceBack);
        EXPECT_EQ(CornerFront.Entry[kind], want.cornerFront);
        EXPECT_EQ(CornerBack.Entry[kind], want.cornerBack);
    }
}

// ---------------------------------------------------------------- evaluators

struct EvaluatorCase {
    const char*   name;
    LightFunction evaluate;
    Vector3       localPosition;
    Vector3       localDirection;
    float         intensity;
    float         nearAttenuation;
    float         farAttenuation;
    Vector3       point;   // P
    Vector3       normal;  // N
    float         planeD;
    float         start;   // all three sums before the call
    float         red, green, blue;  // sums after the call
};

constexpr Vector3 kZ = {0.0f, 0.0f, 1.0f};
constexpr Vector3 kMinusZ = {0.0f, 0.0f, -1.0f};
constexpr Vector3 kOrigin = {0.0f, 0.0f, 0.0f};

const EvaluatorCase kEvaluatorCases[] = {
    // Omni, front: D = P - L = (0,0,2), d = 2, |D| = 2: I = 2 x 1 x 1/2 = 1.
    {"OmniFrontBelow", &OmniFaceFront, {0, 0, -2}, kOrigin, 1, 0, 0, kOrigin, kZ, 0, 0,
     1.0f, 0.5f, 0.25f},
    // The light on the positive side: d = -2, nothing for the front.
    {"OmniFrontAbove", &OmniFaceFront, {0, 0, 2}, kOrigin, 1, 0, 0, kOrigin, kZ, 0, 0,
     0.0f, 0.0f, 0.0f},
    // Back: D = L - P = (0,0,2): the positive side lights the back, I = 1.
    {"OmniBackAbove", &OmniFaceBack, {0, 0, 2}, kOrigin, 1, 0, 0, kOrigin, kZ, 0, 0,
     1.0f, 0.5f, 0.25f},
    {"OmniBackBelow", &OmniFaceBack, {0, 0, -2}, kOrigin, 1, 0, 0, kOrigin, kZ, 0, 0,
     0.0f, 0.0f, 0.0f},
    // Oblique: D = (0,3,4), d = 4, |D| = 5, intensity 2: I = 4 x 2 x 0.2 = 1.6,
    // added to sums of 0.25: 1.85, 1.05, 0.65 (each the float nearest).
    {"OmniObliqueAdds", &OmniFaceFront, {0, -3, -4}, kOrigin, 2, 0, 0, kOrigin, kZ, 0, 0.25f,
     1.85f, 1.05f, 0.65f},
    // Corner member: the same rule at a corner away from the origin.
    // D = (1,1,3) - (1,1,0) = (0,0,3): I = 3 x 0.5 / 3 = 0.5.
    {"OmniCornerFront", &OmniCornerFront, {1, 1, 0}, kOrigin, 0.5f, 0, 0, {1, 1, 3}, kZ, 0, 0,
     0.5f, 0.25f, 0.125f},
    {"OmniCornerBack", &OmniCornerBack, {1, 1, 6}, kOrigin, 0.5f, 0, 0, {1, 1, 3}, kZ, 0, 0,
     0.5f, 0.25f, 0.125f},

    // Fade, near 2, far 6, on the axis so that d / r = 1.
    // r = 2 = near: not greater than near, factor 1.
    {"FadeAtNear", &OmniFadeFaceFront, {0, 0, -2}, kOrigin, 1, 2, 6, kOrigin, kZ, 0, 0,
     1.0f, 0.5f, 0.25f},
    // r = 4: t = (6-4)/(6-2) = 0.5, (3 - 1) x 0.25 = 0.5.
    {"FadeAtMidpoint", &OmniFadeFaceFront, {0, 0, -4}, kOrigin, 1, 2, 6, kOrigin, kZ, 0, 0,
     0.5f, 0.25f, 0.125f},
    // r = 3: t = 0.75, (3 - 1.5) x 0.5625 = 0.84375.
    {"FadeAtQuarter", &OmniFadeFaceFront, {0, 0, -3}, kOrigin, 1, 2, 6, kOrigin, kZ, 0, 0,
     0.84375f, 0.421875f, 0.2109375f},
    // r = 6 = far: r - far is 0, not negative: nothing.
    {"FadeAtFar", &OmniFadeFaceFront, {0, 0, -6}, kOrigin, 1, 2, 6, kOrigin, kZ, 0, 0,
     0.0f, 0.0f, 0.0f},
    {"FadeBeyondFar", &OmniFadeFaceFront, {0, 0, -8}, kOrigin, 1, 2, 6, kOrigin, kZ, 0, 0,
     0.0f, 0.0f, 0.0f},
    // Inside near, oblique: D = (0,3,4), r = 5 <= 6: I = (4/5) x 1 = 0.8.
    {"FadeInsideNearOblique", &OmniFadeFaceFront, {0, -3, -4}, kOrigin, 1, 6, 10, kOrigin, kZ,
     0, 0, 0.8f, 0.4f, 0.2f},
    // Back with the light above at the mid-point: 0.5; intensity 2 makes it 1.
    {"FadeBackMidpoint", &OmniFadeFaceBack, {0, 0, 4}, kOrigin, 2, 2, 6, kOrigin, kZ, 0, 0,
     1.0f, 0.5f, 0.25f},
    // Front with the light above: d < 0, nothing, even within near.
    {"FadeFrontWrongSide", &OmniFadeFaceFront, {0, 0, 1}, kOrigin, 1, 2, 6, kOrigin, kZ, 0, 0,
     0.0f, 0.0f, 0.0f},
    {"FadeCornerFront", &OmniFadeCornerFront, {0, 0, -4}, kOrigin, 1, 2, 6, kOrigin, kZ, 0, 0,
     0.5f, 0.25f, 0.125f},
    {"FadeCornerBack", &OmniFadeCornerBack, {0, 0, 4}, kOrigin, 1, 2, 6, kOrigin, kZ, 0, 0,
     0.5f, 0.25f, 0.125f},

    // Direct: d = LocalDirection . N. Front needs d >= 0, I = d x intensity.
    {"DirectFront", &DirectFaceFront, kOrigin, kZ, 0.5f, 0, 0, kOrigin, kZ, 0, 0,
     0.5f, 0.25f, 0.125f},
    // d = 0.8f (0.6f x 0 + 0.8f x 1): sums 0.8f x (1, 0.5, 0.25).
    {"DirectFrontOblique", &DirectFaceFront, kOrigin, {0, 0.6f, 0.8f}, 1, 0, 0, kOrigin, kZ, 0,
     0, 0.8f, 0.4f, 0.2f},
    {"DirectFrontAway", &DirectFaceFront, kOrigin, kMinusZ, 1, 0, 0, kOrigin, kZ, 0, 0,
     0.0f, 0.0f, 0.0f},
    // Back needs d < 0, I = -d x intensity.
    {"DirectBack", &DirectFaceBack, kOrigin, kMinusZ, 1, 0, 0, kOrigin, kZ, 0, 0,
     1.0f, 0.5f, 0.25f},
    {"DirectBackAway", &DirectFaceBack, kOrigin, kZ, 1, 0, 0, kOrigin, kZ, 0, 0,
     0.0f, 0.0f, 0.0f},
    {"DirectCornerFront", &DirectCornerFront, kOrigin, kZ, 1, 0, 0, {5, 5, 5}, kZ, 0, 0,
     1.0f, 0.5f, 0.25f},
    {"DirectCornerBack", &DirectCornerBack, kOrigin, kMinusZ, 1, 0, 0, {5, 5, 5}, kZ, 0, 0,
     1.0f, 0.5f, 0.25f},

    // Plane-limited, faces: s = LocalPosition . N + PlaneD; front needs s < 0.
    // Light at z = -5, plane z = 0: s = -5, then as direct: I = 1.
    {"PlaneFaceFrontLit", &DirectPlaneFaceFront, {0, 0, -5}, kZ, 1, 0, 0, kOrigin, kZ, 0, 0,
     1.0f, 0.5f, 0.25f},
    // Light at z = 5 shining down on the front: direct alone would light it,
    // the plane test (s = 5) does not let it.
    {"PlaneFaceFrontBehind", &DirectPlaneFaceFront, {0, 0, 5}, kZ, 1, 0, 0, kOrigin, kZ, 0, 0,
     0.0f, 0.0f, 0.0f},
    // PlaneD, not P, places the face plane: plane z = 3 (PlaneD -3), light at
    // z = 2: s = -1, lit; P at the origin plays no part.
    {"PlaneFaceUsesPlaneD", &DirectPlaneFaceFront, {0, 0, 2}, kZ, 1, 0, 0, kOrigin, kZ, -3, 0,
     1.0f, 0.5f, 0.25f},
    // Light in the plane: s = 0 is not negative: not for the front ...
    {"PlaneFaceFrontInPlane", &DirectPlaneFaceFront, {0, 0, 3}, kZ, 1, 0, 0, kOrigin, kZ, -3, 0,
     0.0f, 0.0f, 0.0f},
    // ... but for the back, which then lights as direct back: d = -1, I = 1.
    {"PlaneFaceBackInPlane", &DirectPlaneFaceBack, {0, 0, 3}, kMinusZ, 1, 0, 0, kOrigin, kZ, -3,
     0, 1.0f, 0.5f, 0.25f},
    {"PlaneFaceBackBelow", &DirectPlaneFaceBack, {0, 0, -5}, kMinusZ, 1, 0, 0, kOrigin, kZ, 0, 0,
     0.0f, 0.0f, 0.0f},
    // Corners: s = L . N - P . N through the corner; PlaneD (100 here) is
    // not read. P at z = 3, light at z = 2: s = -1, front lit.
    {"PlaneCornerFront", &DirectPlaneCornerFront, {0, 0, 2}, kZ, 1, 0, 0, {0, 0, 3}, kZ, 100, 0,
     1.0f, 0.5f, 0.25f},
    {"PlaneCornerFrontBehind", &DirectPlaneCornerFront, {0, 0, 4}, kZ, 1, 0, 0, {0, 0, 3}, kZ,
     -100, 0, 0.0f, 0.0f, 0.0f},
    {"PlaneCornerBack", &DirectPlaneCornerBack, {0, 0, 4}, kMinusZ, 1, 0, 0, {0, 0, 3}, kZ, -100,
     0, 1.0f, 0.5f, 0.25f},

    {"Nothing", &LightNothing, {0, 0, -2}, kZ, 1, 0, 0, kOrigin, kZ, 0, 0.5f,
     0.5f, 0.5f, 0.5f},
};

class LightEvaluator : public testing::TestWithParam<EvaluatorCase> {};

TEST_P(LightEvaluator, AddsToTheSums)
{
    const EvaluatorCase& c = GetParam();
    Light light = {};
    light.State = SPAN3D_LIGHT_ON;
    light.LocalPosition = c.localPosition;
    light.LocalDirection = c.localDirection;
    light.Colour[0] = 1.0f;
    light.Colour[1] = 0.5f;
    light.Colour[2] = 0.25f;
    light.Intensity = c.intensity;
    light.NearAttenuation = c.nearAttenuation;
    light.FarAttenuation = c.farAttenuation;
    g_Lighting.SamplePoint = &c.point;
    g_Lighting.SampleNormal = &c.normal;
    g_Lighting.SamplePlaneD = c.planeD;
    g_Lighting.LightSumRed = g_Lighting.LightSumGreen = g_Lighting.LightSumBlue = c.start;
    c.evaluate(&light);
    EXPECT_EQ(g_Lighting.LightSumRed, c.red);
    EXPECT_EQ(g_Lighting.LightSumGreen, c.green);
    EXPECT_EQ(g_Lighting.LightSumBlue, c.blue);
}

INSTANTIATE_TEST_SUITE_P(Cases, LightEvaluator, testing::ValuesIn(kEvaluatorCases), test::CaseName{});

// d exactly 0: the front rule (d not less than 0) adds I = 0, the back rule
// (d less than 0) adds nothing. Sums of -0.0 tell the two apart: -0.0 + 0.0
// is +0.0, while an untouched sum keeps its sign bit.
TEST(LightEvaluatorEdge, DirectEdgeOnAddsZeroToFrontNothingToBack)
{
    Light light = {};
    light.LocalDirection = {1.0f, 0.0f, 0.0f};
    light.Colour[0] = light.Colour[1] = light.Colour[2] = 1.0f;
    light.Intensity = 1.0f;
    g_Lighting.SamplePoint = &kOrigin;
    g_Lighting.SampleNormal = &kZ;

    g_Lighting.LightSumRed = g_Lighting.LightSumGreen = g_Lighting.LightSumBlue = -0.0f;
    DirectFaceFront(&light);
    EXPECT_EQ(Bits(g_Lighting.LightSumRed), 0x00000000u);

    g_Lighting.LightSumRed = g_Lighting.LightSumGreen = g_Lighting.LightSumBlue = -0.0f;
    DirectFaceBack(&light);
    EXPECT_EQ(Bits(g_Lighting.LightSumRed), 0x80000000u);
}

// ---------------------------------------------------------------- test mesh

// A one-triangle fixed mesh in z = 0: vertices (0,0,0), (4,0,0), (0,4,0),
// Normal (0,0,1), PlaneD 0, three vertex normals (0,0,1), front side seen.
// Lights made through the exports are deleted with it.
struct LitTriangle {
    Mesh*  mesh = nullptr;
    Light* lights[4] = {};
    int32_t lightCount = 0;

    LitTriangle()
    {
        mesh = CreateMesh(3, 1, 0);
        SetMeshVertex(mesh, 0, 0.0f, 0.0f, 0.0f);
        SetMeshVertex(mesh, 1, 4.0f, 0.0f, 0.0f);
        SetMeshVertex(mesh, 2, 0.0f, 4.0f, 0.0f);
        mesh->VertexNormals = static_cast<Vector3*>(AllocateMemory(3 * sizeof(Vector3)));
        mesh->VertexNormalCount = 3;
        for (int32_t i = 0; i < 3; ++i) mesh->VertexNormals[i] = kZ;
        MeshPolygon& p = Polygon();
        p.Flags = 0x700e47u;
        p.Normal = kZ;
        p.PlaneD = 0.0f;
        for (uint32_t k = 0; k < 3; ++k) {
            p.Corner[k] = k;
            p.NormalIndex[k] = k;
        }
    }
    ~LitTriangle()
    {
        DeleteMesh(mesh);
        for (int32_t i = 0; i < lightCount; ++i) DeleteLight(lights[i]);
    }
    LitTriangle(const LitTriangle&) = delete;
    LitTriangle& operator=(const LitTriangle&) = delete;

    MeshPolygon& Polygon() { return mesh->Polygons[0]; }

    // A white direct light on the mesh. Its local direction is set here as
    // PrepareLights would leave it; the shaders do not prepare.
    Light* AddDirect(float intensity, Vector3 localDirection, uint32_t status = SPAN3D_LIGHT_ON)
    {
        Vector3 position = {0.0f, 0.0f, 0.0f};
        Vector3 target = {0.0f, 0.0f, 1.0f};
        float white[4] = {1.0f, 1.0f, 1.0f, 1.0f};
        Light* light = CreateDirectLight(&position, &target, white, intensity, status);
        light->LocalDirection = localDirection;
        return Keep(light);
    }
    Light* AddOmni(float intensity, Vector3 localPosition, uint32_t status = SPAN3D_LIGHT_ON)
    {
        Vector3 position = {0.0f, 0.0f, 0.0f};
        float white[4] = {1.0f, 1.0f, 1.0f, 1.0f};
        Light* light = CreateOmniLight(&position, white, intensity, 0.0f, 0.0f, status);
        light->LocalPosition = localPosition;
        return Keep(light);
    }
    Light* Keep(Light* light)
    {
        lights[lightCount++] = light;
        AssignLightToMesh(light, mesh);
        return light;
    }
};

struct Rgb3 {
    float r, g, b;
};

Material MakeMaterial(Rgb3 ambient, Rgb3 diffuse, Rgb3 emissive)
{
    Material m = {};
    const Rgb3* colours[3] = {&ambient, &diffuse, &emissive};
    float* fields[3] = {m.AmbientColour, m.DiffuseColour, m.EmissiveColour};
    for (int32_t i = 0; i < 3; ++i) {
        fields[i][0] = colours[i]->r;
        fields[i][1] = colours[i]->g;
        fields[i][2] = colours[i]->b;
        fields[i][3] = 255.0f;
    }
    return m;
}

// The material most cases use: ambient (1,2,3), diffuse (200,100,40),
// emissive (10,20,30).
const Rgb3 kAmbient = {1, 2, 3};
const Rgb3 kDiffuse = {200, 100, 40};
const Rgb3 kEmissive = {10, 20, 30};
constexpr uint32_t kUntouched = 0xdeadbeefu;

// ---------------------------------------------------------------- PrepareLights

// Mesh world matrix: rotation rows (0,-1,0), (1,0,0), (0,0,1), translation
// (10,0,0); pivot (1,1,1). Model space from world: w - pivot, minus the
// translation, then the transposed rotation: (x,y,z) -> (y, -x, z).
//   position (5,6,7): (4,5,6) -> (-6,5,6) -> (5,6,6)
//   target   (5,8,7): (4,7,6) -> (-6,7,6) -> (7,6,6); direction (2,0,0) -> (1,0,0)
// Had the pivot been subtracted after the transform, the position would be
// (6,5,7) - (1,1,1) = (5,4,6).
struct PrepareCase {
    const char* name;
    uint32_t    state;
    bool        position;   // LocalPosition rewritten
    bool        direction;  // LocalDirection rewritten
};

const PrepareCase kPrepareCases[] = {
    {"Omni", 0x80000002u, true, false},
    {"OmniFade", 0x80000003u, true, false},
    {"OmniFadeBit4", 0x80000013u, true, false},
    {"OmniBit4NoFadeStale", 0x80000012u, false, false},
    {"Direct", 0x80000004u, true, true},
    {"DirectPlane", 0x80000014u, true, true},
    {"DirectAttenuatedStale", 0x80000005u, false, false},
    {"DirectPlaneAttenuatedStale", 0x80000015u, false, false},
    {"OmniOff", 0x00000002u, false, false},
    {"DirectOff", 0x00000004u, false, false},
    {"KindZero", 0x80000000u, false, false},
    {"KindSix", 0x80000006u, false, false},
    {"HostBitsAboveKind", 0x80010002u, true, false},
};

class PrepareLightsKinds : public testing::TestWithParam<PrepareCase> {};

TEST_P(PrepareLightsKinds, WritesOnlyWhatTheKindAsks)
{
    const PrepareCase& c = GetParam();
    LitTriangle t;
    Matrix34& w = t.mesh->WorldMatrix;
    const float rows[12] = {0, -1, 0, 10, 1, 0, 0, 0, 0, 0, 1, 0};
    memcpy(w.m, rows, sizeof rows);
    t.mesh->Pivot = {1.0f, 1.0f, 1.0f};
    Light* light = t.AddOmni(1.0f, kOrigin);
    light->State = c.state;
    light->WorldPosition = {5.0f, 6.0f, 7.0f};
    light->WorldTarget = {5.0f, 8.0f, 7.0f};
    light->LocalPosition = {-9.0f, -9.0f, -9.0f};
    light->LocalDirection = {-8.0f, -8.0f, -8.0f};

    PrepareLights(t.mesh);

    const Vector3 p = c.position ? Vector3{5, 6, 6} : Vector3{-9, -9, -9};
    const Vector3 d = c.direction ? Vector3{1, 0, 0} : Vector3{-8, -8, -8};
    EXPECT_EQ(light->LocalPosition.x, p.x);
    EXPECT_EQ(light->LocalPosition.y, p.y);
    EXPECT_EQ(light->LocalPosition.z, p.z);
    EXPECT_EQ(light->LocalDirection.x, d.x);
    EXPECT_EQ(light->LocalDirection.y, d.y);
    EXPECT_EQ(light->LocalDirection.z, d.z);
}

INSTANTIATE_TEST_SUITE_P(Cases, PrepareLightsKinds, testing::ValuesIn(kPrepareCases), test::CaseName{});

// Direction normalised: position (0,0,0) to target (0,3,4), identity world:
// (0,3,4) x 1/5 = (0, 0.6f, 0.8f).
TEST(PrepareLights, DirectionIsNormalised)
{
    LitTriangle t;
    Light* light = t.AddDirect(1.0f, kOrigin);
    light->WorldPosition = {0.0f, 0.0f, 0.0f};
    light->WorldTarget = {0.0f, 3.0f, 4.0f};
    PrepareLights(t.mesh);
    EXPECT_EQ(light->LocalDirection.x, 0.0f);
    EXPECT_EQ(light->LocalDirection.y, 0.6f);
    EXPECT_EQ(light->LocalDirection.z, 0.8f);
}

// The walk ends at the first null slot, even with lights behind it.
TEST(PrepareLights, StopsAtTheFirstNull)
{
    LitTriangle t;
    Light* first = t.AddOmni(1.0f, kOrigin);
    Light* hidden = t.AddOmni(1.0f, kOrigin);
    first->WorldPosition = {1.0f, 2.0f, 3.0f};
    hidden->WorldPosition = {1.0f, 2.0f, 3.0f};
    hidden->LocalPosition = {-9.0f, -9.0f, -9.0f};
    t.mesh->LightList[1] = nullptr;
    t.mesh->LightList[2] = hidden;
    PrepareLights(t.mesh);
    EXPECT_EQ(first->LocalPosition.z, 3.0f);
    EXPECT_EQ(hidden->LocalPosition.z, -9.0f);
    t.mesh->LightList[2] = nullptr;
}

// ---------------------------------------------------------------- ShadeFlat

// Pixel15 = (r & 0xf8) << 7 | (g & 0xf8) << 2 | b >> 3. Derivations:
//   0x3526: level 0.5 untextured: 0.5 x 200 + 10 + 1 = 111, 50 + 20 + 2 = 72,
//           20 + 30 + 3 = 53 -> 13 << 10 | 9 << 5 | 6.
//   0x4654: level 0.5 textured: 127.5 + 11 = 138.5 -> 138 (tie to even),
//           127.5 + 22 = 149.5 -> 150, 127.5 + 33 = 160.5 -> 160
//           -> 17 << 10 | 18 << 5 | 20.
//   0x0444: no light: emissive + ambient = 11, 22, 33 -> 1 << 10 | 2 << 5 | 4.
struct FlatCase {
    const char* name;
    uint32_t    flags;      // effective flags handed in
    bool        backFace;   // BackFaceBit in the polygon's Flags
    uint32_t    lightState;
    int32_t     lights;     // number of identical lights
    float       intensity;
    float       directionZ; // LocalDirection (0, 0, directionZ)
    Rgb3        ambient, diffuse, emissive;
    uint32_t    expected;
};

const FlatCase kFlatCases[] = {
    {"Untextured", 0x700003u, false, 0x80000004u, 1, 0.5f, 1, kAmbient, kDiffuse, kEmissive,
     0x3526u},
    {"TexturedLevelTimes255", 0xf00003u, false, 0x80000004u, 1, 0.5f, 1, kAmbient, kDiffuse,
     kEmissive, 0x4654u},
    {"EnvironmentAloneIsUntextured", 0x2700003u, false, 0x80000004u, 1, 0.5f, 1, kAmbient,
     kDiffuse, kEmissive, 0x3526u},
    {"EnvironmentWithDiffuseIsTextured", 0x2f00003u, false, 0x80000004u, 1, 0.5f, 1, kAmbient,
     kDiffuse, kEmissive, 0x4654u},
    // Two lights of level 1 on white: 2 x 255 = 510 -> 255 in each channel.
    {"ClampsAt255", 0x700003u, false, 0x80000004u, 2, 1.0f, 1, {0, 0, 0}, {255, 255, 255},
     {0, 0, 0}, 0x7fffu},
    // Red 127.5 - 300 < 0 -> 0; green and blue 127.5 -> 128 (tie to even):
    // 0 | 16 << 5 | 16.
    {"ClampsAtZero", 0x700003u, false, 0x80000004u, 1, 0.5f, 1, {0, 0, 0}, {255, 255, 255},
     {-300, 0, 0}, 0x0210u},
    {"LightOffAddsNothing", 0x700003u, false, 0x00000004u, 1, 0.5f, 1, kAmbient, kDiffuse,
     kEmissive, 0x0444u},
    {"BackFaceUsesBackTable", 0x700003u, true, 0x80000004u, 1, 0.5f, -1, kAmbient, kDiffuse,
     kEmissive, 0x3526u},
    {"BackFaceIgnoresFrontLight", 0x700003u, true, 0x80000004u, 1, 0.5f, 1, kAmbient, kDiffuse,
     kEmissive, 0x0444u},
    {"FrontFaceIgnoresBackLight", 0x700003u, false, 0x80000004u, 1, 0.5f, -1, kAmbient, kDiffuse,
     kEmissive, 0x0444u},
    // Kind 5 (direct with the attenuation flag) evaluates like kind 4.
    {"Kind5EvaluatesAsDirect", 0x700003u, false, 0x80000005u, 1, 0.5f, 1, kAmbient, kDiffuse,
     kEmissive, 0x3526u},
};

class ShadeFlatCases : public testing::TestWithParam<FlatCase> {};

TEST_P(ShadeFlatCases, WritesPixel15IntoCornerZeroOnly)
{
    const FlatCase& c = GetParam();
    LitTriangle t;
    for (int32_t i = 0; i < c.lights; ++i) {
        Light* light = t.AddDirect(c.intensity, {0.0f, 0.0f, c.directionZ});
        light->State = c.lightState;
    }
    MeshPolygon& p = t.Polygon();
    if (c.backFace) p.Flags |= SPAN3D_BACK_FACE_BIT;
    p.CornerColour[0] = p.CornerColour[1] = p.CornerColour[2] = kUntouched;
    Material m = MakeMaterial(c.ambient, c.diffuse, c.emissive);

    // The view cosine is not read: a negative one changes nothing.
    ShadeFlat(t.mesh, &p, -1.0f, c.flags, &m);

    EXPECT_EQ(p.CornerColour[0], c.expected);
    EXPECT_EQ(p.CornerColour[1], kUntouched);
    EXPECT_EQ(p.CornerColour[2], kUntouched);
}

INSTANTIATE_TEST_SUITE_P(Cases, ShadeFlatCases, testing::ValuesIn(kFlatCases), test::CaseName{});

// The face sample is corner 0 with the polygon's Normal, not a vertex normal:
// vertex normals pointing away from the light change nothing. Omni light at
// (0,0,-4) over corner 0 = vertex 2 (0,4,0): D = (0,4,4), d = 4, |D| = 4 sqrt 2,
// level = 4 / (4 sqrt 2) = 0.70710678 -> sums 0.70710677f.
// Channels: 0.70710677 x 200 + 10 + 1 = 152.42 -> 152, x 100 + 22 = 92.71 -> 93,
// x 40 + 33 = 61.28 -> 61: 19 << 10 | 11 << 5 | 7 = 0x4d67.
TEST(ShadeFlat, SamplesCornerZeroWithTheFaceNormal)
{
    LitTriangle t;
    t.AddOmni(1.0f, {0.0f, 0.0f, -4.0f});
    for (int32_t i = 0; i < 3; ++i) t.mesh->VertexNormals[i] = kMinusZ;
    MeshPolygon& p = t.Polygon();
    p.Corner[0] = 2;
    p.Corner[1] = 0;
    p.Corner[2] = 1;
    Material m = MakeMaterial(kAmbient, kDiffuse, kEmissive);
    ShadeFlat(t.mesh, &p, 0.0f, 0x700003u, &m);
    EXPECT_EQ(p.CornerColour[0], 0x4d67u);
}

// ---------------------------------------------------------------- ShadeGouraud

// Pack24 = r << 16 | g << 8 | b.
// Direct light (0,0,1), level 1, material ambient (5,5,5), diffuse
// (200,100,40), no emissive; vertex normals by NormalIndex:
//   (0,0,1):       d = 1     -> 205, 105, 45            = 0xcd692d
//   (0,0.6f,0.8f): d = 0.8f  -> 160.0000024 + 5 = 165, 85, 37 = 0xa55525
//   (0,0,-1):      d = -1    -> nothing: 5, 5, 5        = 0x050505
TEST(ShadeGouraud, EachCornerItsOwnVertexNormal)
{
    LitTriangle t;
    t.AddDirect(1.0f, kZ);
    // Stored in a permuted order: NormalIndex decides which corner gets which.
    t.mesh->VertexNormals[0] = kMinusZ;
    t.mesh->VertexNormals[1] = kZ;
    t.mesh->VertexNormals[2] = {0.0f, 0.6f, 0.8f};
    MeshPolygon& p = t.Polygon();
    p.NormalIndex[0] = 1;
    p.NormalIndex[1] = 2;
    p.NormalIndex[2] = 0;
    Material m = MakeMaterial({5, 5, 5}, kDiffuse, {0, 0, 0});
    ShadeGouraud(t.mesh, &p, 0.0f, 0x700007u, &m);
    EXPECT_EQ(p.CornerColour[0], 0xcd692du);
    EXPECT_EQ(p.CornerColour[1], 0xa55525u);
    EXPECT_EQ(p.CornerColour[2], 0x050505u);
}

// Omni light at (0,0,-4), all normals (0,0,1), corners on vertices 2, 0, 1.
// Vertex 0 straight below the light: level 1 -> 205, 105, 45 = 0xcd692d.
// Vertices 1 and 2 at distance 4 sqrt 2: level 0.70710677f ->
// 141.42 + 5 = 146, 70.71 + 5 = 76, 28.28 + 5 = 33 = 0x924c21.
TEST(ShadeGouraud, EachCornerItsOwnSamplePoint)
{
    LitTriangle t;
    t.AddOmni(1.0f, {0.0f, 0.0f, -4.0f});
    MeshPolygon& p = t.Polygon();
    p.Corner[0] = 2;
    p.Corner[1] = 0;
    p.Corner[2] = 1;
    Material m = MakeMaterial({5, 5, 5}, kDiffuse, {0, 0, 0});
    ShadeGouraud(t.mesh, &p, 0.0f, 0x700007u, &m);
    EXPECT_EQ(p.CornerColour[0], 0x924c21u);
    EXPECT_EQ(p.CornerColour[1], 0xcd692du);
    EXPECT_EQ(p.CornerColour[2], 0x924c21u);
}

struct GouraudCase {
    const char* name;
    uint32_t    flags;
    bool        backFace;
    int32_t     lights;
    float       intensity;
    float       directionZ;
    Rgb3        ambient, diffuse, emissive;
    uint32_t    expected;  // every corner (all vertex normals alike)
};

const GouraudCase kGouraudCases[] = {
    // 0.5 x (200,100,40) + (10,20,30) + (1,2,3) = 111, 72, 53 = 0x6f4835.
    {"Untextured", 0x700007u, false, 1, 0.5f, 1, kAmbient, kDiffuse, kEmissive, 0x6f4835u},
    // 138.5 -> 138, 149.5 -> 150, 160.5 -> 160 (ties to even) = 0x8a96a0.
    {"Textured", 0xf00007u, false, 1, 0.5f, 1, kAmbient, kDiffuse, kEmissive, 0x8a96a0u},
    {"ClampsAt255", 0x700007u, false, 2, 1.0f, 1, {0, 0, 0}, {255, 255, 255}, {0, 0, 0},
     0xffffffu},
    // Red below 0 -> 0, green and blue 127.5 -> 128 = 0x008080.
    {"ClampsAtZero", 0x700007u, false, 1, 0.5f, 1, {0, 0, 0}, {255, 255, 255}, {-300, 0, 0},
     0x008080u},
    {"BackFaceUsesBackTable", 0x700007u, true, 1, 0.5f, -1, kAmbient, kDiffuse, kEmissive,
     0x6f4835u},
    // Emissive + ambient only: 11, 22, 33 = 0x0b1621.
    {"BackFaceIgnoresFrontLight", 0x700007u, true, 1, 0.5f, 1, kAmbient, kDiffuse, kEmissive,
     0x0b1621u},
};

class ShadeGouraudCases : public testing::TestWithParam<GouraudCase> {};

TEST_P(ShadeGouraudCases, Writes8BitChannelsPerCorner)
{
    const GouraudCase& c = GetParam();
    LitTriangle t;
    for (int32_t i = 0; i < c.lights; ++i) t.AddDirect(c.intensity, {0.0f, 0.0f, c.directionZ});
    MeshPolygon& p = t.Polygon();
    if (c.backFace) p.Flags |= SPAN3D_BACK_FACE_BIT;
    Material m = MakeMaterial(c.ambient, c.diffuse, c.emissive);
    ShadeGouraud(t.mesh, &p, -1.0f, c.flags, &m);
    for (int32_t k = 0; k < 3; ++k) EXPECT_EQ(p.CornerColour[k], c.expected) << "corner " << k;
}

INSTANTIATE_TEST_SUITE_P(Cases, ShadeGouraudCases, testing::ValuesIn(kGouraudCases), test::CaseName{});

// ---------------------------------------------------------------- ShadeNoLights

// Material ambient (1,2,3), diffuse (200,100,40), emissive (10,20,30) unless
// the case says otherwise. Derivations:
//   0x69e9: shade 1: 10 + 200 + 1 = 211, 20 + 100 + 2 = 122, 30 + 40 + 3 = 73
//           -> 26 << 10 | 15 << 5 | 9.
//   0x3526: cosine 0.5: 0.5 x 200 + 10 + 1 = 111, 72, 53 (as for ShadeFlat).
//   0x4654: cosine 0.5, textured: 11 + 127.5 = 138.5 -> 138, 149.5 -> 150,
//           160.5 -> 160.
//   0x0444: a cosine just above 0: emissive + ambient 11, 22, 33.
struct NoLightCase {
    const char* name;
    uint32_t    flags;
    float       viewCosine;
    Rgb3        ambient, diffuse, emissive;
    uint32_t    expected;  // all three corners
};

const NoLightCase kNoLightCases[] = {
    {"UnshadedSumsTheColours", 0x700001u, 0.5f, kAmbient, kDiffuse, kEmissive, 0x69e9u},
    {"UnshadedIgnoresTheCosine", 0x700001u, -1.0f, kAmbient, kDiffuse, kEmissive, 0x69e9u},
    {"UnshadedTexturedIsWhite", 0xf00001u, -1.0f, kAmbient, kDiffuse, kEmissive, 0x7fffu},
    {"UnshadedEnvironmentAloneSumsTheColours", 0x2700001u, 0.5f, kAmbient, kDiffuse, kEmissive,
     0x69e9u},
    {"FlatLitByTheCamera", 0x700003u, 0.5f, kAmbient, kDiffuse, kEmissive, 0x3526u},
    // Gouraud asked for: still one flat colour, in every corner.
    {"GouraudLitByTheCameraIsFlat", 0x700007u, 0.5f, kAmbient, kDiffuse, kEmissive, 0x3526u},
    {"TexturedLitByTheCamera", 0xf00003u, 0.5f, kAmbient, kDiffuse, kEmissive, 0x4654u},
    {"EnvironmentAloneIsUntextured", 0x2700003u, 0.5f, kAmbient, kDiffuse, kEmissive, 0x3526u},
    {"TinyPositiveCosineIsLit", 0x700003u, 1e-30f, kAmbient, kDiffuse, kEmissive, 0x0444u},
    // Turned away (cosine not greater than 0): black, however bright the
    // ambient and emissive colours.
    {"TurnedAwayIsBlack", 0x700007u, -0.5f, {255, 255, 255}, kDiffuse, {255, 255, 255}, 0x0000u},
    {"EdgeOnIsBlack", 0x700003u, 0.0f, {255, 255, 255}, kDiffuse, {255, 255, 255}, 0x0000u},
    {"MinusZeroIsBlack", 0x700003u, -0.0f, {255, 255, 255}, kDiffuse, {255, 255, 255}, 0x0000u},
    {"TexturedTurnedAwayIsBlack", 0xf00003u, -0.5f, {255, 255, 255}, kDiffuse, {255, 255, 255},
     0x0000u},
    // 1 x 255 + 255 + 255 = 765 -> 255.
    {"ClampsAt255", 0x700003u, 1.0f, {255, 255, 255}, {255, 255, 255}, {255, 255, 255}, 0x7fffu},
    // 0.5 x 200 - 500 + 1 < 0 -> 0 red; green 72, blue 53: 0 | 9 << 5 | 6.
    {"ClampsAtZero", 0x700003u, 0.5f, kAmbient, kDiffuse, {-500, 20, 30}, 0x0126u},
};

class ShadeNoLightsCases : public testing::TestWithParam<NoLightCase> {};

TEST_P(ShadeNoLightsCases, OnePixel15InEveryCorner)
{
    const NoLightCase& c = GetParam();
    LitTriangle t;
    MeshPolygon& p = t.Polygon();
    p.CornerColour[0] = p.CornerColour[1] = p.CornerColour[2] = kUntouched;
    Material m = MakeMaterial(c.ambient, c.diffuse, c.emissive);
    ShadeNoLights(t.mesh, &p, c.viewCosine, c.flags, &m);
    for (int32_t k = 0; k < 3; ++k) EXPECT_EQ(p.CornerColour[k], c.expected) << "corner " << k;
}

INSTANTIATE_TEST_SUITE_P(Cases, ShadeNoLightsCases, testing::ValuesIn(kNoLightCases), test::CaseName{});

// ---------------------------------------------------------------- stale local vectors

// Two meshes with the same triangle. Mesh A prepares a light; then the light
// changes to a kind that PrepareLights passes over, moves so that fresh data
// would leave the front face dark, and mesh B is prepared and shaded: it is
// lit with A's vectors. Diffuse (200,100,40), no ambient or emissive, light
// level 1: 200, 100, 40 -> 25 << 10 | 12 << 5 | 5 = 0x6585; dark is 0.
constexpr uint32_t kStaleLit = 0x6585u;

void ExpectStaleLightUsed(LitTriangle& a, LitTriangle& b, Light* light)
{
    Material m = MakeMaterial({0, 0, 0}, kDiffuse, {0, 0, 0});
    ShadeFlat(a.mesh, &a.Polygon(), 0.0f, 0x700003u, &m);
    ASSERT_EQ(a.Polygon().CornerColour[0], kStaleLit) << "fresh data on mesh A";
    const Vector3 position = light->LocalPosition;
    const Vector3 direction = light->LocalDirection;

    PrepareLights(b.mesh);
    EXPECT_EQ(memcmp(&light->LocalPosition, &position, sizeof position), 0);
    EXPECT_EQ(memcmp(&light->LocalDirection, &direction, sizeof direction), 0);
    ShadeFlat(b.mesh, &b.Polygon(), 0.0f, 0x700003u, &m);
    EXPECT_EQ(b.Polygon().CornerColour[0], kStaleLit);
}

// Kind 5: a direct light with the attenuation flag. Prepared as kind 4 from
// (0,0,-5) towards (0,0,0): direction (0,0,1), lighting the front. Then
// aimed up, (0,0,-5) to (0,0,-10): fresh, (0,0,-1) would not light it.
TEST(StaleLocalVectors, Kind5KeepsTheDirection)
{
    LitTriangle a, b;
    Light* light = a.AddDirect(1.0f, kOrigin);
    AssignLightToMesh(light, b.mesh);
    light->WorldPosition = {0.0f, 0.0f, -5.0f};
    light->WorldTarget = {0.0f, 0.0f, 0.0f};
    PrepareLights(a.mesh);
    SetLightStatus(light, 1, 1);
    ASSERT_EQ(light->State & kLightKindMask, 5u);
    light->WorldTarget = {0.0f, 0.0f, -10.0f};
    ExpectStaleLightUsed(a, b, light);
}

// Kind 18: an omni light with bit 4 and no attenuation. Prepared as kind 2
// at (0,0,-2) (below: lights the front, level 1); then moved to (0,0,2),
// where fresh data would light only the back.
TEST(StaleLocalVectors, Kind18KeepsThePosition)
{
    LitTriangle a, b;
    Light* light = a.AddOmni(1.0f, kOrigin);
    AssignLightToMesh(light, b.mesh);
    light->WorldPosition = {0.0f, 0.0f, -2.0f};
    PrepareLights(a.mesh);
    light->State |= SPAN3D_LIGHT_FACING;
    ASSERT_EQ(light->State & kLightKindMask, 18u);
    light->WorldPosition = {0.0f, 0.0f, 2.0f};
    ExpectStaleLightUsed(a, b, light);
}

// Kind 21: plane-limited direct light with the attenuation flag. Prepared as
// kind 20 at (0,0,-5) towards the origin; then moved above the plane, where
// the plane test would refuse the front.
TEST(StaleLocalVectors, Kind21KeepsPositionAndDirection)
{
    LitTriangle a, b;
    Light* light = a.AddDirect(1.0f, kOrigin, SPAN3D_LIGHT_ON | SPAN3D_LIGHT_FACING);
    AssignLightToMesh(light, b.mesh);
    light->WorldPosition = {0.0f, 0.0f, -5.0f};
    light->WorldTarget = {0.0f, 0.0f, 0.0f};
    PrepareLights(a.mesh);
    SetLightStatus(light, 1, 1);
    ASSERT_EQ(light->State & kLightKindMask, 21u);
    light->WorldPosition = {0.0f, 0.0f, 5.0f};
    light->WorldTarget = {0.0f, 0.0f, 10.0f};
    ExpectStaleLightUsed(a, b, light);
}

}  // namespace
}  // namespace span3d
