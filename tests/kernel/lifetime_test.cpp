// Engine lifetime: load-time factors, InitEngine3D / ReleaseEngine3D, the
// shared-body exports and default names.
#include <gtest/gtest.h>

#include <stdio.h>
#include <string.h>

#include "kernel/kernel.h"

namespace span3d {
namespace {

// ---------------------------------------------------------------- load time

TEST(EngineLoad, AngleFactorsAreSinglePrecisionQuotients)
{
    EXPECT_EQ(g_Engine.LoadInitDone, 1u);
    // At load the factors are divided with the unit in 24-bit mode, from pi
    // already rounded to a float: a float divided by a float. Spelled with
    // float literals here so that the test computes exactly that, not the
    // float nearest to the true quotient.
    const float pi = 3.14159265358979f;
    const float toRadians = pi / 180.0f;
    const float toDegrees = 180.0f / pi;
    EXPECT_EQ(AngleToRadians, toRadians);
    EXPECT_EQ(AngleToDegrees, toDegrees);
    // The distinction is real: rounded from the exact quotient, 180/pi comes
    // out one unit in the last place higher (0x1.ca5dc2p+5 against
    // 0x1.ca5dcp+5). A factor computed in double would fail above.
    EXPECT_NE(AngleToDegrees, static_cast<float>(180.0 / 3.14159265358979323846));
}

// ---------------------------------------------------------------- start and stop

// Brings the engine to the loaded state whatever earlier tests did.
void ToLoadedState()
{
    if (g_Engine.EngineReady != 0)
        ReleaseEngine3D();
    ASSERT_EQ(g_Engine.EngineReady, 0u);
}

// A pointer that must never be dereferenced: it shows whether a step ran.
Scene* Sentinel() { return reinterpret_cast<Scene*>(uintptr_t(0x5ce9e)); }

TEST(EngineLifetime, InitForgetsSceneListAndReleaseRunsOnce)
{
    ToLoadedState();
    // Scenes from before are not touched, merely no longer listed.
    g_Engine.SceneListHead = g_Engine.SceneListTail = Sentinel();
    EXPECT_EQ(InitEngine3D(), 0);
    EXPECT_EQ(g_Engine.EngineReady, 1u);
    EXPECT_EQ(g_Engine.SceneListHead, nullptr);
    EXPECT_EQ(g_Engine.SceneListTail, nullptr);

    ReleaseEngine3D();
    EXPECT_EQ(g_Engine.EngineReady, 0u);
    // A release while not ready stops at its first step: had it gone on it
    // would null the list.
    g_Engine.SceneListHead = g_Engine.SceneListTail = Sentinel();
    ReleaseEngine3D();
    EXPECT_EQ(g_Engine.SceneListHead, Sentinel());
    EXPECT_EQ(g_Engine.SceneListTail, Sentinel());
    EXPECT_EQ(g_Engine.EngineReady, 0u);
    g_Engine.SceneListHead = g_Engine.SceneListTail = nullptr;
    EXPECT_EQ(g_Engine.LoadInitDone, 1u);
}

// ---------------------------------------------------------------- shared bodies

TEST(SharedBodyExports, AcceptAnythingAndReturnOne)
{
    EXPECT_EQ(AddMeshQuadPolygon(nullptr, -1, 7, 1 << 30, -5), 1);
    EXPECT_EQ(AssignVertexInfluence(nullptr, -3, nullptr, -1.0f), 1);
    EXPECT_EQ(CheckWeightedVertices(nullptr), 1);
    RemoveVertexInfluence(nullptr, 12);
    UpdateMeshPolygonsNormal(nullptr);
    NoOpRasterizer(nullptr, nullptr);
}

template <typename F>
uintptr_t Address(F* f)
{
    return reinterpret_cast<uintptr_t>(f);
}

TEST(SharedBodyExports, EachGroupIsOneAddress)
{
    EXPECT_EQ(Address(&RemoveVertexInfluence), Address(&NoOpRasterizer));
    EXPECT_EQ(Address(&UpdateMeshPolygonsNormal), Address(&NoOpRasterizer));
    EXPECT_EQ(Address(&AssignVertexInfluence), Address(&AddMeshQuadPolygon));
    EXPECT_EQ(Address(&CheckWeightedVertices), Address(&AddMeshQuadPolygon));
    EXPECT_NE(Address(&AddMeshQuadPolygon), Address(&NoOpRasterizer));
}

// ---------------------------------------------------------------- default names

// The stated form, written independently of the engine's text routines.
void ExpectedName(char* out, const char* word, int32_t n)
{
    snprintf(out, 32, "%s%s%d", word, n < 10 ? "0" : "", n);
}

// Makes one name into a 32-byte field filled with 0xee and checks that
// nothing behind the terminator was written.
void MakeNameChecked(char (&buf)[32], NameFamily family)
{
    memset(buf, 0xee, sizeof buf);
    MakeDefaultName(buf, family);
    const size_t len = strlen(buf);
    ASSERT_LT(len, sizeof buf);
    for (size_t i = len + 1; i < sizeof buf; ++i)
        ASSERT_EQ(static_cast<unsigned char>(buf[i]), 0xee) << "byte " << i;
}

TEST(DefaultNames, CameraSequenceUpToOneHundred)
{
    // Each test runs in a process of its own under ctest, so the counter
    // starts at 0 here; run in one process with others, the check starts at
    // whatever number is next.
    struct Landmark {
        int32_t n;
        const char* name;
    };
    const Landmark landmarks[] = {
        {0, "Camera00"}, {1, "Camera01"}, {9, "Camera09"},
        {10, "Camera10"}, {99, "Camera99"}, {100, "Camera100"},
    };
    char buf[32];
    char expected[32];
    for (int32_t n = NameCounter(kNameCamera); n <= 100; ++n) {
        MakeNameChecked(buf, kNameCamera);
        ExpectedName(expected, "Camera", n);
        ASSERT_STREQ(buf, expected);
        for (const Landmark& l : landmarks) {
            if (l.n == n) {
                EXPECT_STREQ(buf, l.name);
            }
        }
        EXPECT_EQ(NameCounter(kNameCamera), n + 1);
    }
}

TEST(DefaultNames, FamiliesCountApart)
{
    struct Family {
        NameFamily family;
        const char* word;
    };
    const Family families[] = {
        {kNameCamera, "Camera"}, {kNameOmni, "Omni"}, {kNameDirect, "Direct"},
        {kNameMaterial, "Material"}, {kNameBillboard, "Billboard"}, {kNameCube, "Cube"},
        {kNameSphere, "Sphere"}, {kNameHSphere, "HSphere"}, {kNameGrid, "Grid"},
        {kNameCylinder, "Cylinder"}, {kNameTube, "Tube"}, {kNameTorus, "Torus"},
        {kNameDisk, "Disk"}, {kNameRing, "Ring"},
    };
    static_assert(sizeof families / sizeof families[0] == kNameFamilyCount);
    char buf[32];
    char expected[32];
    for (const Family& f : families) {
        int32_t before[kNameFamilyCount];
        for (int i = 0; i < kNameFamilyCount; ++i)
            before[i] = NameCounter(NameFamily(i));
        MakeNameChecked(buf, f.family);
        ExpectedName(expected, f.word, before[f.family]);
        EXPECT_STREQ(buf, expected);
        for (int i = 0; i < kNameFamilyCount; ++i)
            EXPECT_EQ(NameCounter(NameFamily(i)), before[i] + (i == f.family ? 1 : 0))
                << f.word << " moved family " << i;
    }
}

TEST(DefaultNames, ThousandthAndLaterNamesAreWrittenInFull)
{
    // Ring is the last family, so its digit scratch ends its module-wide
    // record: an overflow there lands in the sanitizer's red zone.
    char buf[32];
    char expected[32];
    while (NameCounter(kNameRing) < 998)
        MakeDefaultName(buf, kNameRing);
    for (int32_t n = NameCounter(kNameRing); n <= 1001; ++n) {
        MakeNameChecked(buf, kNameRing);
        ExpectedName(expected, "Ring", n);
        EXPECT_STREQ(buf, expected);
    }
    EXPECT_STREQ(buf, "Ring1001");
}

TEST(DefaultNames, CounterSurvivesReleaseAndInit)
{
    ToLoadedState();
    char buf[32];
    MakeDefaultName(buf, kNameCamera);
    const int32_t next = NameCounter(kNameCamera);
    ASSERT_GE(next, 1);
    EXPECT_EQ(InitEngine3D(), 0);
    ReleaseEngine3D();
    EXPECT_EQ(InitEngine3D(), 0);
    EXPECT_EQ(NameCounter(kNameCamera), next);
    char expected[32];
    ExpectedName(expected, "Camera", next);
    MakeDefaultName(buf, kNameCamera);
    EXPECT_STREQ(buf, expected);
    ReleaseEngine3D();
    EXPECT_EQ(NameCounter(kNameCamera), next + 1);
}

}  // namespace
}  // namespace span3d
