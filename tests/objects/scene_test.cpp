// Scenes: the engine's scene list, the member lists, the sort block, the
// active camera and its rules, the viewport's camera, the searches, and the
// two deletes with their orders and keep rules.
#include <algorithm>

#include "object_test_support.h"

namespace span3d {
namespace {
using namespace test;

// The cameras a scene's list reaches, as indices into `cams` (-1 for others).
std::vector<int32_t> CameraIndices(const Scene* scene, Camera* const* cams, int32_t n)
{
    std::vector<int32_t> out;
    for (Camera* c = scene->Cameras; c != nullptr; c = c->SceneNext) {
        out.push_back(static_cast<int32_t>(std::find(cams, cams + n, c) - cams));
        if (out.back() == n) out.back() = -1;
    }
    return out;
}

// ---------------------------------------------------------------- life

TEST(SceneCreate, DefaultsAndTheEngineList)
{
    ScopedSceneList list;
    Scene* a = CreateScene();
    Scene* b = CreateScene();
    EXPECT_EQ(a->SceneWord, 0u);  // not ready until a mesh comes
    EXPECT_EQ(a->ActiveCamera, -1);
    EXPECT_EQ(a->DefaultHook, &DefaultHook);
    EXPECT_EQ(a->SortIndices, nullptr);
    EXPECT_EQ(g_Engine.SceneListHead, a);
    EXPECT_EQ(g_Engine.SceneListTail, b);
    EXPECT_EQ(a->ListNext, b);
    EXPECT_EQ(b->ListPrev, a);
    DeleteScene(a);
    DeleteScene(b);
    EXPECT_EQ(g_Engine.SceneListHead, nullptr);
    EXPECT_EQ(g_Engine.SceneListTail, nullptr);
}

TEST(SceneList, RemovalTable)
{
    // Three records linked by SceneListAdd; one is removed. Only the head
    // and tail cases zero the removed scene's links; a scene the list does
    // not reach is left alone.
    struct Case {
        const char* name;
        int32_t listed;          // how many of s[0..2] are in the list
        int32_t remove;          // index into s
        bool emptyListFirst;     // forget the list before removing (as ReleaseEngine3D does)
        int32_t head, tail;      // index into s afterwards, -1 for null
        bool linksZeroed;
    };
    const Case cases[] = {
        {"head of three", 3, 0, false, 1, 2, true},
        {"tail of three", 3, 2, false, 0, 1, true},
        {"middle of three", 3, 1, false, 0, 2, false},
        {"the only one", 1, 0, false, -1, -1, true},
        {"head of two", 2, 0, false, 1, 1, true},
        {"not reached", 3, 1, true, -1, -1, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ScopedSceneList list;
        Scene s[3];
        memset(s, 0, sizeof s);
        for (int32_t i = 0; i < c.listed; ++i) SceneListAdd(&s[i]);
        const Scene before = s[c.remove];
        if (c.emptyListFirst) g_Engine.SceneListHead = g_Engine.SceneListTail = nullptr;
        SceneListRemove(&s[c.remove]);
        EXPECT_EQ(g_Engine.SceneListHead, c.head < 0 ? nullptr : &s[c.head]);
        EXPECT_EQ(g_Engine.SceneListTail, c.tail < 0 ? nullptr : &s[c.tail]);
        if (c.linksZeroed) {
            EXPECT_EQ(s[c.remove].ListPrev, nullptr);
            EXPECT_EQ(s[c.remove].ListNext, nullptr);
        } else {
            EXPECT_EQ(s[c.remove].ListPrev, before.ListPrev);
            EXPECT_EQ(s[c.remove].ListNext, before.ListNext);
        }
        // What is still listed is linked both ways.
        for (Scene* x = g_Engine.SceneListHead; x != nullptr; x = x->ListNext) {
            if (x->ListNext != nullptr) {
                EXPECT_EQ(x->ListNext->ListPrev, x);
            } else {
                EXPECT_EQ(x, g_Engine.SceneListTail);
            }
        }
        if (!c.linksZeroed && !c.emptyListFirst) {  // the middle case: neighbours joined
            EXPECT_EQ(s[0].ListNext, &s[2]);
            EXPECT_EQ(s[2].ListPrev, &s[0]);
        }
    }
}

struct HookCall { int32_t a, index, value, calls; };
HookCall g_Hook;
void RecordHook(int32_t a, int32_t index, int32_t value)
{
    g_Hook.a = a;
    g_Hook.index = index;
    g_Hook.value = value;
    ++g_Hook.calls;
}

TEST(SceneHook, DefaultHookTable)
{
    // The value is the second float of record index - 1, rounded to
    // nearest with ties to even: 2.5 -> 2, 3.5 -> 4, -1.5 -> -2, 7.49 -> 7.
    Scene* scene = CreateScene();
    SceneHookEntry* table = static_cast<SceneHookEntry*>(AllocateMemory(4 * sizeof(SceneHookEntry)));
    const float seconds[4] = {2.5f, 3.5f, -1.5f, 7.49f};
    for (int32_t i = 0; i < 4; ++i) {
        table[i].Values[0] = 1000.0f;  // never read
        table[i].Values[1] = seconds[i];
    }
    scene->HookTable = table;  // owned by the scene from here on
    struct Case { const char* name; bool hook; bool nullScene; int32_t index; int32_t calls, value; };
    const Case cases[] = {
        {"no user hook", false, false, 1, 0, 0},
        {"null scene", true, true, 1, 0, 0},
        {"record 0, tie to even down", true, false, 1, 1, 2},
        {"record 1, tie to even up", true, false, 2, 1, 4},
        {"record 2, negative tie", true, false, 3, 1, -2},
        {"record 3, below half", true, false, 4, 1, 7},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        g_Hook = HookCall{0, 0, 0, 0};
        scene->UserHook = c.hook ? RecordHook : nullptr;
        scene->DefaultHook(77, c.index, c.nullScene ? nullptr : scene);
        EXPECT_EQ(g_Hook.calls, c.calls);
        if (c.calls != 0) {
            EXPECT_EQ(g_Hook.a, 77);
            EXPECT_EQ(g_Hook.index, c.index);
            EXPECT_EQ(g_Hook.value, c.value);
        }
    }
    DeleteScene(scene);  // frees the table
}

// ---------------------------------------------------------------- meshes

TEST(SceneMeshes, SortBlockFollowsTheMeshes)
{
    // 100 and 50 polygons: 150 slots; the first out, 50 and 50, and the
    // first has a block of 100 of its own. Emptied, the scene keeps a block
    // of no slots.
    Scene* scene = CreateScene();
    Mesh* first = MakeMesh(100, 4);
    Mesh* second = MakeMesh(50, 5);
    EXPECT_EQ(AssignMeshToScene(scene, first, 0), first);
    EXPECT_EQ(scene->SceneWord & SPAN3D_SCENE_READY, SPAN3D_SCENE_READY);
    EXPECT_EQ(AssignMeshToScene(scene, second, 0), second);
    EXPECT_EQ(scene->TotalPolygons, 150);
    EXPECT_EQ(scene->TotalVertices, 9);
    ExpectScene(scene);
    EXPECT_EQ(RemoveMeshFromScene(scene, first, 0), 1);
    EXPECT_EQ(scene->TotalPolygons, 50);
    ExpectScene(scene);
    ExpectLoneTop(first);
    EXPECT_EQ(first->SceneNext, nullptr);
    EXPECT_EQ(RemoveMeshFromScene(scene, first, 0), 0);  // not here any more
    EXPECT_EQ(RemoveMeshFromScene(scene, second, 0), 1);
    EXPECT_NE(scene->SortIndices, nullptr);
    ExpectScene(scene);
    DeleteMesh(first);
    DeleteMesh(second);
    DeleteScene(scene);
}

TEST(SceneMeshes, RefusalsTable)
{
    Scene* scene = CreateScene();
    Scene* other = CreateScene();
    Mesh* inactive = CreateMesh(3, 1, 0);
    Mesh* mesh = MakeMesh(2);
    EXPECT_EQ(AssignMeshToScene(scene, inactive, 0), nullptr);  // no 0x8000
    EXPECT_EQ(scene->SceneWord, 0u);                            // still not ready
    EXPECT_EQ(AssignMeshToScene(scene, mesh, 0), mesh);
    EXPECT_EQ(AssignMeshToScene(scene, mesh, 0), nullptr);  // second time
    EXPECT_EQ(AssignMeshToScene(other, mesh, 0), nullptr);  // already in a scene
    EXPECT_EQ(RemoveMeshFromScene(other, mesh, 0), 0);
    EXPECT_EQ(GetSceneNumberOfMeshes(scene), 1);
    DeleteMesh(inactive);
    DeleteScene(scene);
    DeleteScene(other);
}

TEST(SceneMeshes, WithLightsTable)
{
    struct Case { const char* name; uint8_t assignWith, removeWith; bool litInScene, litAfter; };
    const Case cases[] = {
        {"both with lights", 1, 1, true, false},
        {"assign without", 0, 1, false, false},
        {"remove without keeps them", 1, 0, true, true},
        {"only bit 0 counts", 2, 3, false, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Scene* scene = CreateScene();
        Light* a = MakeLight();
        Light* b = MakeLight();
        AssignLightToScene(scene, a, 0);
        AssignLightToScene(scene, b, 0);
        Mesh* mesh = MakeMesh(1);
        Mesh* child = MakeMesh(1);
        AttachChildToNode(&mesh->Head, &child->Head);
        AssignMeshToScene(scene, mesh, c.assignWith);
        // In the scene's order, on the whole tree.
        EXPECT_EQ(mesh->LightList[0], c.litInScene ? a : nullptr);
        EXPECT_EQ(mesh->LightList[1], c.litInScene ? b : nullptr);
        EXPECT_EQ(child->LightList[0], c.litInScene ? a : nullptr);
        RemoveMeshFromScene(scene, mesh, c.removeWith);
        EXPECT_EQ(mesh->LightList[0], c.litAfter ? a : nullptr);
        EXPECT_EQ(child->LightList[1], c.litAfter ? b : nullptr);
        DeleteMesh(mesh);  // its lights are only pointers in its list
        DeleteWholeScene(scene);
    }
}

// ---------------------------------------------------------------- cameras

// Steps on a scene of cameras A, B, C, D (assigned as the case says) and a
// second scene. 'a' assign, 'r' remove, 'R' RemoveCameraFromAllScenes, 's'
// SetActivedSceneCamera (index 4 means null), 'w' SwitchActivedSceneCamera
// (result: index of the camera returned, -1 for null), 'o' assign to the
// other scene. After the steps: the reachable list and ActiveCamera.
struct CameraStep { char op; int32_t camera; int32_t result; };
struct CameraCase {
    const char* name;
    std::vector<CameraStep> steps;
    std::vector<int32_t> list;
    int32_t active;
    int32_t activeCamera;  // GetActivedSceneCamera as an index, -1 for null
};

const CameraCase kCameraCases[] = {
    {"the first assigned becomes active, the second does not",
     {{'a', 0, 1}, {'a', 1, 1}}, {0, 1}, 0, 0},
    {"a camera that a scene holds is refused",
     {{'a', 0, 1}, {'a', 0, 0}, {'o', 1, 1}, {'a', 1, 0}}, {0}, 0, 0},
    {"A B C with B active: B out leaves C active at 1",
     {{'a', 0, 1}, {'a', 1, 1}, {'a', 2, 1}, {'s', 1, -1}, {'r', 1, 1}}, {0, 2}, 1, 2},
    {"then C, the tail, out: the list is empty, A lost, the index stays",
     {{'a', 0, 1}, {'a', 1, 1}, {'a', 2, 1}, {'s', 1, -1}, {'r', 1, 1}, {'r', 2, 1}}, {}, 1, -1},
    {"the tail of three out empties the list, active or not",
     {{'a', 0, 1}, {'a', 1, 1}, {'a', 2, 1}, {'r', 2, 1}}, {}, 0, -1},
    {"an earlier camera out: the active one keeps its place by pointer",
     {{'a', 0, 1}, {'a', 1, 1}, {'a', 2, 1}, {'s', 2, -1}, {'r', 0, 1}}, {1, 2}, 1, 2},
    {"the active head out: its successor takes over",
     {{'a', 0, 1}, {'a', 1, 1}, {'a', 2, 1}, {'r', 0, 1}}, {1, 2}, 0, 1},
    {"the only camera out: none active",
     {{'a', 0, 1}, {'r', 0, 1}}, {}, -1, -1},
    {"removing an absent camera",
     {{'a', 0, 1}, {'r', 1, 0}, {'o', 1, 1}, {'r', 1, 0}}, {0}, 0, 0},
    {"none active: removal keeps none",
     {{'a', 0, 1}, {'a', 1, 1}, {'s', 4, -1}, {'r', 0, 1}}, {1}, -1, -1},
    {"set: a member, then a stranger",
     {{'a', 0, 1}, {'a', 1, 1}, {'s', 1, -1}, {'s', 3, -1}}, {0, 1}, 1, 1},
    {"set null", {{'a', 0, 1}, {'s', 4, -1}}, {0}, -1, -1},
    {"from all scenes: the active one leaves none active",
     {{'a', 0, 1}, {'a', 1, 1}, {'R', 0, 1}}, {1}, -1, -1},
    {"from all scenes: an earlier one leaves the index as it was",
     {{'a', 0, 1}, {'a', 1, 1}, {'a', 2, 1}, {'s', 1, -1}, {'R', 0, 1}}, {1, 2}, 1, 2},
    {"from all scenes: the tail empties the list too",
     {{'a', 0, 1}, {'a', 1, 1}, {'R', 1, 1}}, {}, 0, -1},
    {"from all scenes: in no scene", {{'R', 3, 0}}, {}, -1, -1},
    {"from all scenes: the other scene's camera", {{'a', 0, 1}, {'o', 1, 1}, {'R', 1, 1}}, {0}, 0, 0},
    {"an emptied-out camera can be assigned again",
     {{'a', 0, 1}, {'a', 1, 1}, {'r', 1, 1}, {'a', 0, 1}, {'a', 1, 1}}, {0, 1}, 0, 0},
    {"switch walks round",
     {{'a', 0, 1}, {'a', 1, 1}, {'a', 2, 1}, {'w', 0, 0}, {'w', 0, 1}, {'w', 0, 2}, {'w', 0, 0}},
     {0, 1, 2}, 1, 1},
    {"switch from none starts at the head", {{'a', 0, 1}, {'a', 1, 1}, {'s', 4, -1}, {'w', 0, 0}}, {0, 1}, 0, 0},
    {"switch with one camera stays", {{'a', 0, 1}, {'w', 0, 0}, {'w', 0, 0}}, {0}, 0, 0},
    {"switch on an empty list does nothing", {{'w', 0, -1}}, {}, -1, -1},
    {"switch from an index beyond the list goes to 0",
     {{'a', 0, 1}, {'a', 1, 1}, {'a', 2, 1}, {'s', 2, -1}, {'R', 0, 1}, {'R', 1, 1}, {'w', 0, -1}}, {2}, 0, 2},
};

TEST(SceneCameras, ActiveCameraTable)
{
    for (const CameraCase& c : kCameraCases) {
        SCOPED_TRACE(c.name);
        Scene* scene = CreateScene();
        Scene* other = CreateScene();
        Camera* cam[4] = {MakeCamera(), MakeCamera(), MakeCamera(), MakeCamera()};
        auto indexOf = [&](Camera* x) {
            const int32_t i = static_cast<int32_t>(std::find(cam, cam + 4, x) - cam);
            return i == 4 ? -1 : i;
        };
        for (size_t s = 0; s < c.steps.size(); ++s) {
            const CameraStep& step = c.steps[s];
            SCOPED_TRACE(testing::Message() << "step " << s << " " << step.op);
            Camera* x = step.camera < 4 ? cam[step.camera] : nullptr;
            switch (step.op) {
            case 'a': EXPECT_EQ(AssignCameraToScene(scene, x), step.result); break;
            case 'o': EXPECT_EQ(AssignCameraToScene(other, x), step.result); break;
            case 'r': EXPECT_EQ(RemoveCameraFromScene(scene, x), step.result); break;
            case 'R': EXPECT_EQ(RemoveCameraFromAllScenes(x), step.result); break;
            case 's': SetActivedSceneCamera(scene, x); break;
            case 'w': EXPECT_EQ(indexOf(SwitchActivedSceneCamera(scene)), step.result); break;
            }
        }
        EXPECT_EQ(CameraIndices(scene, cam, 4), c.list);
        EXPECT_EQ(scene->ActiveCamera, c.active);
        EXPECT_EQ(indexOf(GetActivedSceneCamera(scene)), c.activeCamera);
        EXPECT_EQ(GetSceneNumberOfCameras(scene), static_cast<int32_t>(c.list.size()));
        // Every camera out of every list, then freed: cameras lost by an
        // emptied list are still the host's.
        scene->Cameras = nullptr;
        other->Cameras = nullptr;
        for (Camera* x : cam) DeleteCamera(x);
        DeleteScene(scene);
        DeleteScene(other);
    }
}

TEST(SceneCameras, NullAndMinusOne)
{
    Scene* scene = CreateScene();
    EXPECT_EQ(GetActivedSceneCamera(nullptr), nullptr);
    EXPECT_EQ(SearchCameraByIndex(scene, scene->ActiveCamera), nullptr);  // -1
    Camera* a = MakeCamera();
    AssignCameraToScene(scene, a);
    SetActivedSceneCamera(scene, nullptr);
    EXPECT_EQ(SearchCameraByIndex(scene, scene->ActiveCamera), nullptr);
    EXPECT_EQ(GetActivedSceneCamera(scene), nullptr);
    RemoveCameraFromScene(scene, a);
    DeleteCamera(a);
    DeleteScene(scene);
}

TEST(SceneCameras, DeleteCameraSearchesOnlyWithBit31)
{
    Scene* scene = CreateScene();
    Camera* flagged = MakeCamera();
    Camera* plain = MakeCamera();
    Camera* last = MakeCamera();
    AssignCameraToScene(scene, flagged);
    AssignCameraToScene(scene, plain);
    AssignCameraToScene(scene, last);
    SetActivedSceneCamera(scene, last);
    // With bit 31 the delete takes the camera out of its scene first.
    flagged->State = 0x80000000u;
    DeleteCamera(flagged);
    EXPECT_EQ(scene->Cameras, plain);
    EXPECT_EQ(plain->ScenePrev, nullptr);
    EXPECT_EQ(scene->ActiveCamera, 1);
    // Without it (and nothing in the engine sets it) the scene goes on
    // listing the freed camera: its pointer is still the head. The host
    // removes a camera before deleting it; here the list is repaired by hand.
    const Camera* gone = plain;
    DeleteCamera(plain);
    EXPECT_EQ(scene->Cameras, gone);
    scene->Cameras = last;
    last->ScenePrev = nullptr;
    DeleteScene(scene);  // frees last
}

// ---------------------------------------------------------------- viewport

TEST(SceneViewport, AdoptionTable)
{
    // Cameras A, B; the viewport's camera is V (or none). Before the call the
    // scene holds `held` (in order) with ActiveCamera `activeBefore`; V may
    // stand in the other scene.
    struct Case {
        const char* name;
        bool withCamera;         // the viewport has V
        bool viewportNull;       // SetSceneViewport(scene, null)
        std::vector<int32_t> held;  // 0 A, 1 B, 2 V
        int32_t activeBefore;
        bool vInOther;
        std::vector<int32_t> listAfter;
        int32_t activeAfter;
    };
    const Case cases[] = {
        {"an active camera: the viewport is only stored", true, false, {0}, 0, false, {0}, 0},
        {"no camera on the viewport", false, false, {}, -1, false, {}, -1},
        {"an empty scene adopts V", true, false, {}, -1, false, {2}, 0},
        {"none active: V appended and made active", true, false, {0, 1}, -1, false, {0, 1, 2}, 2},
        {"none active: V already listed becomes active", true, false, {0, 2, 1}, -1, false, {0, 2, 1}, 1},
        {"V held by another scene is not taken", true, false, {0}, -1, true, {0}, -1},
        {"null clears the viewport only", true, true, {0}, -1, false, {0}, -1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Scene* scene = CreateScene();
        Scene* other = CreateScene();
        Camera* cam[3] = {MakeCamera(), MakeCamera(), MakeCamera()};
        for (int32_t i : c.held) AssignCameraToScene(scene, cam[i]);
        if (c.activeBefore < 0) SetActivedSceneCamera(scene, nullptr);
        if (c.vInOther) AssignCameraToScene(other, cam[2]);
        Viewport viewport;
        memset(&viewport, 0, sizeof viewport);
        viewport.Camera = c.withCamera ? cam[2] : nullptr;
        scene->Viewport = &viewport;
        SetSceneViewport(scene, c.viewportNull ? nullptr : &viewport);
        EXPECT_EQ(GetSceneViewport(scene), c.viewportNull ? nullptr : &viewport);
        EXPECT_EQ(CameraIndices(scene, cam, 3), c.listAfter);
        EXPECT_EQ(scene->ActiveCamera, c.activeAfter);
        EXPECT_EQ(IndexOfCamera(other, cam[2]) != -1, c.vInOther);
        DeleteScene(scene);  // frees its cameras
        DeleteScene(other);
        for (int32_t i = 0; i < 3; ++i) {
            const bool listed = std::count(c.listAfter.begin(), c.listAfter.end(), i) != 0;
            if (!listed && !(i == 2 && c.vInOther)) DeleteCamera(cam[i]);
        }
    }
}

// ---------------------------------------------------------------- lights

TEST(SceneLights, AssignAndRemove)
{
    Scene* scene = CreateScene();
    Mesh* top = MakeMesh(1);
    Mesh* child = MakeMesh(1);
    Mesh* second = MakeMesh(1);
    AttachChildToNode(&top->Head, &child->Head);
    AssignMeshToScene(scene, top, 0);
    AssignMeshToScene(scene, second, 0);
    Light* a = MakeLight();
    Light* b = MakeLight();
    EXPECT_EQ(AssignLightToScene(scene, a, 0), 1);
    EXPECT_EQ(AssignLightToScene(scene, a, 1), 0);  // already there: nothing, not even the meshes
    EXPECT_EQ(top->LightList[0], nullptr);
    EXPECT_EQ(AssignLightToScene(scene, b, 1), 1);  // to every tree of the scene
    EXPECT_EQ(top->LightList[0], b);
    EXPECT_EQ(child->LightList[0], b);
    EXPECT_EQ(second->LightList[0], b);
    EXPECT_EQ(GetSceneNumberOfLights(scene), 2);
    AssignLightToMesh(a, child);
    EXPECT_EQ(RemoveLightFromScene(scene, a), 1);  // off the meshes too
    EXPECT_EQ(child->LightList[1], nullptr);
    EXPECT_EQ(RemoveLightFromScene(scene, a), 0);
    EXPECT_EQ(scene->Lights, b);
    EXPECT_EQ(b->ScenePrev, nullptr);
    EXPECT_EQ(a->SceneNext, nullptr);
    DeleteLight(a);
    DeleteWholeScene(scene);
}

// ---------------------------------------------------------------- materials, skeletons

TEST(SceneMaterials, AppendWithoutTestAndRemove)
{
    Scene* scene = CreateScene();
    Material* m[3] = {MakeMaterial(), MakeMaterial(), MakeMaterial()};
    for (Material* x : m) EXPECT_EQ(AssignMaterialToScene(scene, x), 1);
    EXPECT_EQ(SearchMaterialByIndex(scene, 2), m[2]);
    EXPECT_EQ(RemoveMaterialFromScene(scene, m[1]), 1);
    EXPECT_EQ(m[0]->SceneNext, m[2]);
    EXPECT_EQ(m[2]->ScenePrev, m[0]);
    EXPECT_EQ(RemoveMaterialFromScene(scene, m[1]), 0);
    // The tail goes the ordinary way: the head stays.
    EXPECT_EQ(RemoveMaterialFromScene(scene, m[2]), 1);
    EXPECT_EQ(scene->Materials, m[0]);
    EXPECT_EQ(RemoveMaterialFromScene(scene, m[0]), 1);
    EXPECT_EQ(scene->Materials, nullptr);
    for (Material* x : m) DeleteMaterial(x);
    DeleteScene(scene);
}

Skeleton* MakeSkeleton(const char* rootName)
{
    // Scenes read only the names block and the links of a skeleton.
    Skeleton* skeleton = static_cast<Skeleton*>(AllocateMemory(sizeof(Skeleton)));
    if (rootName != nullptr) {
        skeleton->BoneNames = static_cast<char(*)[32]>(AllocateMemory(2 * 32));
        TextCopy(skeleton->BoneNames[0], rootName);
        TextCopy(skeleton->BoneNames[1], "Other");
    }
    return skeleton;
}

void FreeSkeleton(Skeleton* skeleton)
{
    if (skeleton->BoneNames != nullptr) FreeMemory(skeleton->BoneNames);
    FreeMemory(skeleton);
}

TEST(SceneSkeletons, ListAndSearch)
{
    Scene* scene = CreateScene();
    Scene* other = CreateScene();
    Skeleton* bare = MakeSkeleton(nullptr);
    Skeleton* hips = MakeSkeleton("Hips");
    Skeleton* empty = MakeSkeleton("");
    Skeleton* hips2 = MakeSkeleton("Hips");
    EXPECT_EQ(AssignSkeletonToScene(scene, bare), 1);
    EXPECT_EQ(AssignSkeletonToScene(scene, empty), 1);
    EXPECT_EQ(AssignSkeletonToScene(scene, hips), 1);
    EXPECT_EQ(AssignSkeletonToScene(scene, hips2), 1);
    EXPECT_EQ(AssignSkeletonToScene(scene, hips), 0);
    EXPECT_EQ(AssignSkeletonToScene(other, hips), 0);  // any scene counts
    // Known by the root bone's name; no names block is passed over; an empty
    // root name never matches, not even an empty text.
    EXPECT_EQ(SearchSkeletonByName(scene, "Hips"), hips);
    EXPECT_EQ(SearchSkeletonByName(scene, "Other"), nullptr);
    EXPECT_EQ(SearchSkeletonByName(scene, ""), nullptr);
    EXPECT_EQ(RemoveSkeletonFromScene(other, hips), 0);
    EXPECT_EQ(RemoveSkeletonFromScene(scene, empty), 1);
    EXPECT_EQ(bare->SceneNext, hips);
    EXPECT_EQ(empty->ScenePrev, nullptr);
    // The tail of a longer list out: the list is emptied, as for cameras.
    EXPECT_EQ(RemoveSkeletonFromScene(scene, hips2), 1);
    EXPECT_EQ(scene->Skeletons, nullptr);
    EXPECT_EQ(SearchSkeletonByName(scene, "Hips"), nullptr);
    EXPECT_EQ(bare->SceneNext, hips);  // still linked to each other
    // Unreached, they may join a scene again.
    EXPECT_EQ(AssignSkeletonToScene(other, hips), 1);
    EXPECT_EQ(hips->ScenePrev, nullptr);
    EXPECT_EQ(hips->SceneNext, nullptr);
    // Both deletes leave skeletons alone: the host frees them.
    DeleteWholeScene(scene);
    DeleteScene(other);
    for (Skeleton* x : {bare, hips, empty, hips2}) FreeSkeleton(x);
}

// ---------------------------------------------------------------- searches

TEST(SceneSearch, ByIndexAndNameTable)
{
    Scene* scene = CreateScene();
    Mesh* meshes[3] = {MakeMesh(1), MakeMesh(1), MakeMesh(1)};
    TextCopy(meshes[0]->Name, "Hull");
    TextCopy(meshes[2]->Name, "Hull");  // [1] keeps an empty name
    Camera* cameras[2] = {MakeCamera("Main"), MakeCamera("Side")};
    Light* lights[2] = {MakeLight("Key"), MakeLight("")};
    Material* materials[2] = {MakeMaterial("Steel"), MakeMaterial("Glass")};
    for (Mesh* m : meshes) AssignMeshToScene(scene, m, 0);
    for (Camera* c : cameras) AssignCameraToScene(scene, c);
    for (Light* l : lights) AssignLightToScene(scene, l, 0);
    for (Material* m : materials) AssignMaterialToScene(scene, m);

    struct Case { const char* name; void* found; void* expected; };
    const Case cases[] = {
        {"mesh -1", SearchMeshByIndex(scene, -1), nullptr},
        {"mesh 0", SearchMeshByIndex(scene, 0), meshes[0]},
        {"mesh 2, the last", SearchMeshByIndex(scene, 2), meshes[2]},
        {"mesh 3, one past", SearchMeshByIndex(scene, 3), nullptr},
        {"camera 1", SearchCameraByIndex(scene, 1), cameras[1]},
        {"camera 2", SearchCameraByIndex(scene, 2), nullptr},
        {"light 1", SearchLightByIndex(scene, 1), lights[1]},
        {"light -5", SearchLightByIndex(scene, -5), nullptr},
        {"material 0", SearchMaterialByIndex(scene, 0), materials[0]},
        {"material 2", SearchMaterialByIndex(scene, 2), nullptr},
        {"mesh name: the first of two", SearchMeshByName(scene, "Hull"), meshes[0]},
        {"mesh name: empty never matches", SearchMeshByName(scene, ""), nullptr},
        {"mesh name: absent", SearchMeshByName(scene, "Hul"), nullptr},
        {"camera name", SearchCameraByName(scene, "Side"), cameras[1]},
        {"camera name: case counts", SearchCameraByName(scene, "main"), nullptr},
        {"light name", SearchLightByName(scene, "Key"), lights[0]},
        {"light name: empty", SearchLightByName(scene, ""), nullptr},
        {"material name", SearchMaterialByName(scene, "Glass"), materials[1]},
        {"material name: longer", SearchMaterialByName(scene, "Glasses"), nullptr},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.found, c.expected);
    }
    EXPECT_EQ(GetSceneNumberOfMeshes(scene), 3);
    EXPECT_EQ(GetSceneNumberOfCameras(scene), 2);
    EXPECT_EQ(GetSceneNumberOfLights(scene), 2);
    DeleteWholeScene(scene);
}

// ---------------------------------------------------------------- deletes

TEST(SceneDelete, KeepRulesOfBothDeletes)
{
    for (int32_t whole = 0; whole < 2; ++whole) {
        SCOPED_TRACE(whole ? "DeleteWholeScene" : "DeleteScene");
        Scene* scene = CreateScene();
        Mesh* keptMesh = MakeMesh(6);
        Mesh* child = MakeMesh(4);
        Mesh* mesh = MakeMesh(3);
        Camera* cameraChild = MakeCamera();
        AttachChildToNode(&keptMesh->Head, &child->Head);
        AttachChildToNode(&mesh->Head, &cameraChild->Head);
        keptMesh->TvObject = 1;
        Light* keptLight = MakeLight();
        Light* light = MakeLight();
        keptLight->KeepWord = 1;
        Material* keptMaterial = MakeMaterial();
        Material* material = MakeMaterial();
        keptMaterial->KeepWord = 1;
        Camera* keptCamera = MakeCamera();
        Camera* camera = MakeCamera();
        keptCamera->KeepWord = 1;
        Skeleton* skeleton = MakeSkeleton("Root");
        Viewport viewport;
        memset(&viewport, 0, sizeof viewport);
        AssignMeshToScene(scene, keptMesh, 0);
        AssignMeshToScene(scene, mesh, 0);
        AssignLightToScene(scene, keptLight, 1);
        AssignLightToScene(scene, light, 1);
        AssignMaterialToScene(scene, keptMaterial);
        AssignMaterialToScene(scene, material);
        AssignCameraToScene(scene, keptCamera);
        AssignCameraToScene(scene, camera);
        AssignSkeletonToScene(scene, skeleton);
        SetSceneViewport(scene, &viewport);

        if (whole) {
            DeleteWholeScene(scene);  // frees every member; the leak check agrees
        } else {
            DeleteScene(scene);
            // Kept: alive and out of any scene. The mesh has a block of its
            // own for its tree (6 + 4) and the scene's lights are off it.
            EXPECT_EQ(keptMesh->Scene, nullptr);
            EXPECT_EQ(keptMesh->SceneNext, nullptr);
            EXPECT_EQ(keptMesh->SortCapacity, 10);
            EXPECT_EQ(keptMesh->DrawItems, SortBlockItems(keptMesh->SortIndices, 10));
            EXPECT_EQ(keptMesh->LightList[0], nullptr);
            EXPECT_EQ(child->LightList[0], nullptr);
            EXPECT_EQ(child->Head.Parent, &keptMesh->Head);
            EXPECT_EQ(keptLight->SceneNext, nullptr);
            EXPECT_EQ(keptLight->ScenePrev, nullptr);
            EXPECT_EQ(keptMaterial->SceneNext, nullptr);
            EXPECT_EQ(keptCamera->SceneNext, nullptr);
            EXPECT_EQ(keptCamera->ScenePrev, nullptr);
            DeleteMesh(keptMesh);
            DeleteLight(keptLight);
            DeleteMaterial(keptMaterial);
            DeleteCamera(keptCamera);
        }
        // The mesh's camera child is cut loose by the mesh's delete, alive.
        EXPECT_EQ(cameraChild->Head.Parent, nullptr);
        DeleteCamera(cameraChild);
        // Skeletons are left alone, links as they were.
        EXPECT_EQ(skeleton->SceneNext, nullptr);
        FreeSkeleton(skeleton);
    }
}

}  // namespace
}  // namespace span3d
