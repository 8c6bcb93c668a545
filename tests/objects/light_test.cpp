// Lights: construction and default names, colour scaling on the way in and
// out, the setters and the static result blocks, the per-mesh light lists
// with their 64-slot rules, and DeleteLight.
#include "object_test_support.h"

namespace span3d {
namespace {
using namespace test;

Light* MakeOmni(uint32_t status = 0)
{
    Vector3 position = {1.0f, 2.0f, 3.0f};
    float colour[4] = {0.5f, 0.25f, 2.0f, 0.75f};
    return CreateOmniLight(&position, colour, 1.5f, 10.0f, 200.0f, status);
}

Light* MakeDirect(uint32_t status = 0)
{
    Vector3 position = {1.0f, 2.0f, 3.0f};
    Vector3 target = {-4.0f, -5.0f, -6.0f};
    float colour[4] = {1.0f, 0.0f, 0.5f, 1.0f};
    return CreateDirectLight(&position, &target, colour, 0.5f, status);
}

// The list up to its first null (at most 64 entries).
std::vector<Light*> ListOf(const Mesh* mesh)
{
    std::vector<Light*> out;
    for (int32_t i = 0; i < kLightListSlots && mesh->LightList[i] != nullptr; ++i) {
        out.push_back(mesh->LightList[i]);
    }
    return out;
}

// ---------------------------------------------------------------- creation

TEST(LightCreate, OmniFieldsAndName)
{
    const int32_t omni = NameCounter(kNameOmni);
    const int32_t direct = NameCounter(kNameDirect);
    char expected[32];
    ExpectedName(expected, "Omni", omni);
    Light* light = MakeOmni(0x80000010u);
    ASSERT_NE(light, nullptr);
    EXPECT_STREQ(light->Name, expected);
    if (omni == 0) {  // run alone, as ctest runs it
        EXPECT_STREQ(light->Name, "Omni00");
    }
    // The omni counter moved, the direct one did not.
    EXPECT_EQ(NameCounter(kNameOmni), omni + 1);
    EXPECT_EQ(NameCounter(kNameDirect), direct);
    EXPECT_EQ(light->Head.Kind, SPAN3D_KIND_LIGHT);
    // No aim point: the target node is all zero, kind 0.
    EXPECT_EQ(light->TargetNode.Kind, 0u);
    EXPECT_EQ(light->State, 0x80000012u);  // status as given, or 2
    EXPECT_EQ(light->Target.x, 0.0f);
    // Colour copied as given, no scaling and no clamp (2.0 stays).
    const float colour[4] = {0.5f, 0.25f, 2.0f, 0.75f};
    EXPECT_EQ(memcmp(light->Colour, colour, sizeof colour), 0);
    EXPECT_EQ(light->FarAttenuation, 200.0f);
    DeleteLight(light);
}

TEST(LightCreate, DirectFieldsAndSeparateCounter)
{
    const int32_t omni = NameCounter(kNameOmni);
    const int32_t direct = NameCounter(kNameDirect);
    char expected[32];
    ExpectedName(expected, "Direct", direct);
    Light* light = MakeDirect(1);
    ASSERT_NE(light, nullptr);
    EXPECT_STREQ(light->Name, expected);
    if (direct == 0) {  // omni lights made before count apart
        EXPECT_STREQ(light->Name, "Direct00");
    }
    EXPECT_EQ(NameCounter(kNameDirect), direct + 1);
    EXPECT_EQ(NameCounter(kNameOmni), omni);
    EXPECT_EQ(light->TargetNode.Kind, SPAN3D_KIND_LIGHT_TARGET);
    EXPECT_EQ(light->State, 5u);  // 1 | 4
    EXPECT_EQ(light->Target.y, -5.0f);
    // No attenuation for a direct light.
    EXPECT_EQ(light->NearAttenuation, 0.0f);
    EXPECT_EQ(light->FarAttenuation, 0.0f);
    EXPECT_EQ(SetLightName(light, "Sun"), light->Name + 3);
    EXPECT_STREQ(light->Name, "Sun");
    DeleteLight(light);
}

// ---------------------------------------------------------------- colour

TEST(LightColour, InAndOutTable)
{
    // In: channel * k, k = 0.003921569f = 0x1.010102p-8 = 16843010 * 2^-32,
    // in double, clamped to [0, 1], stored as a float. Alpha becomes 0.
    // Out: * 255, stored as a float.
    //   255: 255k = 1.0000000591, clamped to 1; out 255.
    //   51:  51k = 858993510 * 2^-32; float ulp there 2^-26, 858993510 / 64
    //        = 13421773.6 -> 13421774 * 2^-26 = 0x1.99999cp-3. Out: 13421774
    //        * 255 * 2^-26, ulp 2^-18: / 256 = 13369345.2 -> 13369345 * 2^-18
    //        = 51 + 2^-18 = 0x1.980002p+5.
    //   254: 254k = 4278124540 * 2^-32, ulp 2^-24: / 256 = 16711423.98 ->
    //        16711424 * 2^-24 = 0x1.fdfep-1. Out: 16711424 * 255 * 2^-24,
    //        ulp 2^-16: / 256 = 16646145 exactly = 254 + 2^-16 = 0x1.fc0002p+7.
    struct Case { const char* name; float in[3]; float stored[3]; float out[4]; };
    const Case cases[] = {
        {"clamped both ways", {255.0f, 510.0f, -10.0f}, {1.0f, 1.0f, 0.0f}, {255.0f, 255.0f, 0.0f, 0.0f}},
        {"zeros", {0.0f, 0.0f, 0.0f}, {0.0f, 0.0f, 0.0f}, {0.0f, 0.0f, 0.0f, 0.0f}},
        {"51 and 254 do not come back exactly", {51.0f, 254.0f, 1e30f},
         {0x1.99999cp-3f, 0x1.fdfep-1f, 1.0f}, {0x1.980002p+5f, 0x1.fc0002p+7f, 255.0f, 0.0f}},
        {"far below zero", {-1e30f, -0.5f, 0.0f}, {0.0f, 0.0f, 0.0f}, {0.0f, 0.0f, 0.0f, 0.0f}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Light* light = MakeOmni();
        SetLightColor(light, c.in[0], c.in[1], c.in[2]);
        for (int32_t k = 0; k < 3; ++k) EXPECT_EQ(light->Colour[k], c.stored[k]) << k;
        EXPECT_EQ(light->Colour[3], 0.0f);
        const float* out = GetLightColor(light);
        for (int32_t k = 0; k < 4; ++k) EXPECT_EQ(out[k], c.out[k]) << k;
        DeleteLight(light);
    }
}

TEST(LightLookups, StaticBlocksAreOverwritten)
{
    Light* a = MakeDirect();
    Light* b = MakeOmni();
    Vector3* p = GetLightPosition(a, 0);
    EXPECT_EQ(p->x, 1.0f);
    Vector3* t = GetLightPosition(a, 7);  // any non-zero which is the target
    EXPECT_EQ(t, p);                      // one block for all calls
    EXPECT_EQ(p->x, -4.0f);
    float* ca = GetLightColor(a);
    EXPECT_EQ(ca[0], 255.0f);
    // The constructor's colour is taken on 0..1 as given and read on 0..255,
    // unclamped: (0.5, 0.25, 2.0, 0.75) * 255 = (127.5, 63.75, 510, 191.25),
    // all exact in float. a's answer is gone.
    EXPECT_EQ(GetLightColor(b), ca);
    const float out[4] = {127.5f, 63.75f, 510.0f, 191.25f};
    EXPECT_EQ(memcmp(ca, out, sizeof out), 0);
    DeleteLight(a);
    DeleteLight(b);
}

TEST(LightSetters, PositionIsTheCameraBody)
{
    Light* light = MakeDirect();
    Vector3 v = {7.0f, 8.0f, 9.0f};
    EXPECT_EQ(SetLightPosition(light, &v, 0), light);
    EXPECT_EQ(light->Position.y, 8.0f);
    EXPECT_EQ(light->Target.y, -5.0f);
    Vector3 w = {-1.0f, -2.0f, -3.0f};
    EXPECT_EQ(SetLightPosition(light, &w, -1), light);
    EXPECT_EQ(light->Target.z, -3.0f);
    // The camera's setter writes the same fields of a light: one body.
    Vector3 u = {0.5f, 0.5f, 0.5f};
    SetCameraPosition(reinterpret_cast<Camera*>(light), &u, 0);
    EXPECT_EQ(light->Position.x, 0.5f);
    DeleteLight(light);
}

TEST(LightSetters, ScalarsAndStatusTable)
{
    Light* light = MakeOmni(0x10u);
    EXPECT_EQ(SetLightIntensity(light, -3.0f), light);  // unchecked
    EXPECT_EQ(GetLightIntensity(light), -3.0f);
    EXPECT_EQ(SetLightAttenuation(light, 50.0f, 5.0f), light);  // near above far kept
    EXPECT_EQ(GetLightNearAttenuation(light), 50.0f);
    EXPECT_EQ(GetLightFarAttenuation(light), 5.0f);

    // State starts 0x12 (0x10 from the host, 2 omni); bits other than 0 and
    // 31 are never touched.
    struct Case { const char* name; int32_t on, attenuate; uint32_t state; };
    const Case cases[] = {
        {"off, attenuated", 0, 1, 0x13u},
        {"on, attenuated", 1, 1, 0x80000013u},
        {"on (any non-zero), plain", -5, 0, 0x80000012u},
        {"off, plain", 0, 0, 0x12u},
        {"attenuate 2 counts", 0, 2, 0x13u},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        SetLightStatus(light, c.on, c.attenuate);
        EXPECT_EQ(light->State, c.state);
    }
    DeleteLight(light);
}

// ---------------------------------------------------------------- light lists

// Lists only compare pointers, so plain records stand in for lights here.
Light g_Fake[70];

// The list of a mesh filled with fakes 0 .. n-1.
void Fill(Mesh* mesh, int32_t n)
{
    for (int32_t i = 0; i < n; ++i) {
        EXPECT_EQ(AssignLightToMesh(&g_Fake[i], mesh), 0);
    }
}

std::vector<Light*> Fakes(std::initializer_list<int32_t> indices)
{
    std::vector<Light*> out;
    for (int32_t i : indices) out.push_back(&g_Fake[i]);
    return out;
}

// Fakes first .. last in order, inclusive.
std::vector<Light*> FakeRange(int32_t first, int32_t last)
{
    std::vector<Light*> out;
    for (int32_t i = first; i <= last; ++i) out.push_back(&g_Fake[i]);
    return out;
}

TEST(LightList, RulesTable)
{
    struct Case {
        const char* name;
        int32_t fill;                      // fakes 0 .. fill-1 assigned first
        std::vector<std::pair<char, int32_t>> ops;  // 'a' assign, 'r' remove, fake index
        std::vector<Light*> expected;      // the list up to its first null
        Light* slot63;                     // what slot 63 holds afterwards
    };
    std::vector<Light*> full = FakeRange(0, 63);
    std::vector<Light*> shifted10 = FakeRange(0, 9);
    {
        std::vector<Light*> tail = FakeRange(11, 63);
        shifted10.insert(shifted10.end(), tail.begin(), tail.end());
        shifted10.push_back(&g_Fake[63]);  // 62 and 63 both hold the last light
    }
    const Case cases[] = {
        {"twice keeps once", 0, {{'a', 5}, {'a', 5}}, Fakes({5}), nullptr},
        {"re-assign keeps the place", 3, {{'a', 1}}, Fakes({0, 1, 2}), nullptr},
        {"remove from the middle moves the rest down", 4, {{'r', 1}}, Fakes({0, 2, 3}), nullptr},
        {"remove the last of a short list", 3, {{'r', 2}}, Fakes({0, 1}), nullptr},
        {"remove an absent light", 3, {{'r', 9}}, Fakes({0, 1, 2}), nullptr},
        {"64 fill the list", 64, {}, full, &g_Fake[63]},
        {"the 65th is dropped", 64, {{'a', 64}, {'a', 65}}, full, &g_Fake[63]},
        {"a light in slot 63 cannot be removed", 64, {{'r', 63}}, full, &g_Fake[63]},
        {"removal in a full list leaves the last in 62 and 63", 64, {{'r', 10}}, shifted10, &g_Fake[63]},
        // After that the list is still full: a new light is dropped, and the
        // last light, now in 62 and 63, shifts onto itself and stays.
        {"after the quirk: still full", 64, {{'r', 10}, {'a', 66}}, shifted10, &g_Fake[63]},
        {"after the quirk: the doubled light stays", 64, {{'r', 10}, {'r', 63}}, shifted10, &g_Fake[63]},
        // One free slot: the 64th light takes slot 63.
        {"63 then one more", 63, {{'a', 63}}, full, &g_Fake[63]},
        {"63 lights, remove the first", 63, {{'r', 0}}, FakeRange(1, 62), nullptr},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Mesh* mesh = MakeMesh(2);
        Fill(mesh, c.fill);
        for (const auto& op : c.ops) {
            if (op.first == 'a') {
                AssignLightToMesh(&g_Fake[op.second], mesh);
            } else {
                RemoveLightFromMesh(&g_Fake[op.second], mesh);
            }
        }
        EXPECT_EQ(ListOf(mesh), c.expected);
        EXPECT_EQ(mesh->LightList[63], c.slot63);
        DeleteMesh(mesh);
    }
}

TEST(LightList, RecursionThroughAnyKind)
{
    // root (kind 1)
    //   +- child mesh (kind 1)
    //   +- camera
    //   |    +- grandchild mesh (kind 1)
    //   +- variant mesh (kind 2)
    //   |    +- below-variant mesh (kind 1)
    //   +- growable mesh (kind 1, no list)
    //        +- below-growable mesh (kind 1)
    Mesh* root = MakeMesh(2);
    Mesh* child = MakeMesh(2);
    Mesh* grandchild = MakeMesh(2);
    Mesh* variant = MakeMesh(2);
    Mesh* belowVariant = MakeMesh(2);
    Mesh* growable = CreateMesh(0, 0, 0);
    Mesh* belowGrowable = MakeMesh(2);
    Vector3 p = {0, 0, 0};
    Camera* camera = CreateCamera(&p, &p, 0.0f, 60.0f, 10.0f);
    AttachChildToNode(&root->Head, &child->Head);
    AttachChildToNode(&root->Head, &camera->Head);
    AttachChildToNode(&camera->Head, &grandchild->Head);
    variant->Head.Kind = SPAN3D_KIND_MESH_VARIANT;
    AttachChildToNode(&root->Head, &variant->Head);
    AttachChildToNode(&variant->Head, &belowVariant->Head);
    AttachChildToNode(&root->Head, &growable->Head);
    AttachChildToNode(&growable->Head, &belowGrowable->Head);

    Light* light = &g_Fake[0];
    AssignLightToMesh(light, root);
    EXPECT_EQ(ListOf(root), Fakes({0}));
    EXPECT_EQ(ListOf(child), Fakes({0}));
    EXPECT_EQ(ListOf(grandchild), Fakes({0}));
    EXPECT_TRUE(ListOf(variant).empty());  // kind 2 takes no light ...
    EXPECT_EQ(ListOf(belowVariant), Fakes({0}));  // ... but passes it on
    EXPECT_EQ(growable->LightList, nullptr);
    EXPECT_EQ(ListOf(belowGrowable), Fakes({0}));

    RemoveLightFromMesh(light, root);
    for (Mesh* m : {root, child, grandchild, belowVariant, belowGrowable}) {
        EXPECT_TRUE(ListOf(m).empty());
    }
    // Start below the top: only that subtree.
    AssignLightToMesh(light, child);
    EXPECT_TRUE(ListOf(root).empty());
    EXPECT_EQ(ListOf(child), Fakes({0}));

    // A variant is no kind 1 mesh: DeleteMesh's child sweep leaves it (and
    // the camera) alive and detached; the test frees them.
    DeleteMesh(root);
    EXPECT_EQ(variant->Head.Parent, nullptr);
    EXPECT_EQ(camera->Head.Parent, nullptr);
    variant->Head.Kind = SPAN3D_KIND_MESH;
    DeleteMesh(variant);
    DeleteCamera(camera);
    // The growable mesh died with the root; its separate arrays were never
    // made (no vertices were added), so nothing of it is left.
}

// ---------------------------------------------------------------- scenes

TEST(LightList, MeshInSceneBringsTheLightIntoTheScene)
{
    Scene* scene = CreateScene();
    Mesh* top = MakeMesh(2);
    Mesh* child = MakeMesh(2);
    ASSERT_EQ(AssignMeshToScene(scene, top, 0), top);
    AttachChildToNode(&top->Head, &child->Head);
    Light* a = MakeOmni();
    Light* b = MakeOmni();
    // Through a child only: the child has no Scene, so the scene is not told.
    AssignLightToMesh(b, child);
    EXPECT_EQ(scene->Lights, nullptr);
    // Through the top: the scene lists it, once, however often.
    AssignLightToMesh(a, top);
    AssignLightToMesh(a, top);
    EXPECT_EQ(GetSceneNumberOfLights(scene), 1);
    EXPECT_EQ(scene->Lights, a);
    EXPECT_EQ(ListOf(child), (std::vector<Light*>{b, a}));
    // b is in no scene, so its delete tells no mesh: the host takes it off
    // its meshes first.
    RemoveLightFromMesh(b, top);
    EXPECT_EQ(ListOf(child), (std::vector<Light*>{a}));
    DeleteLight(b);
    DeleteScene(scene);  // frees top, child and a
}

TEST(LightList, SceneIsToldWhenStoredOrFoundButNotWhenDropped)
{
    // The scene hears of the light whenever the list takes it, also when the
    // light already stood in the list (written again in place); a light that
    // a full list drops does not reach the scene either.
    Scene* scene = CreateScene();
    Mesh* mesh = MakeMesh(2);
    Light* early = MakeOmni();
    AssignLightToMesh(early, mesh);  // outside any scene: only the list
    ASSERT_EQ(AssignMeshToScene(scene, mesh, 0), mesh);
    EXPECT_EQ(scene->Lights, nullptr);
    AssignLightToMesh(early, mesh);  // found in slot 0
    EXPECT_EQ(ListOf(mesh), (std::vector<Light*>{early}));
    EXPECT_EQ(scene->Lights, early);

    // Fill the other 63 slots outside the scene's knowledge, then offer one
    // more: dropped, and the scene keeps its single light.
    EXPECT_EQ(RemoveMeshFromScene(scene, mesh, 0), 1);
    Fill(mesh, 63);
    ASSERT_EQ(AssignMeshToScene(scene, mesh, 0), mesh);
    Light* late = MakeOmni();
    AssignLightToMesh(late, mesh);
    EXPECT_EQ(mesh->LightList[63], &g_Fake[62]);
    EXPECT_EQ(GetSceneNumberOfLights(scene), 1);
    EXPECT_EQ(late->SceneNext, nullptr);
    EXPECT_EQ(late->ScenePrev, nullptr);
    DeleteLight(late);
    DeleteScene(scene);  // frees the mesh and early; the fakes are only pointers in its list
}

TEST(LightDelete, LeavesSceneMeshesAndParents)
{
    Scene* first = CreateScene();
    Scene* second = CreateScene();
    Mesh* inScene = MakeMesh(2);
    Mesh* parent = MakeMesh(2);
    Mesh* targetParent = MakeMesh(2);
    AssignMeshToScene(second, inScene, 0);
    Light* keep = MakeOmni();
    Light* light = MakeDirect();
    AssignLightToScene(second, keep, 1);
    AssignLightToScene(second, light, 1);
    EXPECT_EQ(ListOf(inScene), (std::vector<Light*>{keep, light}));
    AttachChildToNode(&parent->Head, &light->Head);
    AttachChildToNode(&targetParent->Head, &light->TargetNode);
    // No State test: the scenes are searched whatever the bits say.
    light->State = 0;
    DeleteLight(light);
    EXPECT_EQ(GetSceneNumberOfLights(second), 1);
    EXPECT_EQ(second->Lights, keep);
    EXPECT_EQ(keep->SceneNext, nullptr);
    EXPECT_EQ(ListOf(inScene), (std::vector<Light*>{keep}));
    EXPECT_EQ(parent->Head.ChildCount, 0);
    EXPECT_EQ(parent->Head.Children, nullptr);
    EXPECT_EQ(targetParent->Head.ChildCount, 0);
    DeleteMesh(parent);
    DeleteMesh(targetParent);
    DeleteScene(first);
    DeleteScene(second);
}

}  // namespace
}  // namespace span3d
