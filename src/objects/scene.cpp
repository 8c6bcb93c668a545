// Scenes: the engine's list of scenes, each scene's lists of meshes, cameras,
// lights, materials and skeletons, its sort block, its active camera and its
// viewport, and the two ways of deleting a scene with what it holds.
//
// Every list is doubly linked through the members' own ScenePrev and
// SceneNext and has only a head in the scene: appending walks to the tail.
// A member's single pair of links is why it stands in one list of its type.
#include "objects/objects.h"

#include "kernel/kernel.h"

namespace span3d {

static_assert(std::is_standard_layout_v<Scene> && std::is_trivially_copyable_v<Scene>);
static_assert(offsetof(Scene, SceneWord) == 0, "the first word of a scene is no node kind");

#if UINTPTR_MAX == 0xFFFFFFFFFFFFFFFFu
// Absolute layout on LP64 targets, for hosts that mirror the record.
static_assert(sizeof(Scene) == 136);
static_assert(offsetof(Scene, Meshes) == 8 && offsetof(Scene, Skeletons) == 40 &&
              offsetof(Scene, VisibleMeshes) == 48 && offsetof(Scene, ActiveCamera) == 52 &&
              offsetof(Scene, SortIndices) == 56 && offsetof(Scene, DrawItems) == 64 &&
              offsetof(Scene, DrawItemCount) == 72 && offsetof(Scene, TotalVertices) == 76 &&
              offsetof(Scene, TotalPolygons) == 80 && offsetof(Scene, Viewport) == 88 &&
              offsetof(Scene, ListPrev) == 96 && offsetof(Scene, ListNext) == 104 &&
              offsetof(Scene, DefaultHook) == 112 && offsetof(Scene, UserHook) == 120 &&
              offsetof(Scene, HookTable) == 128);
static_assert(sizeof(Skeleton) == 24);
#endif

namespace {

// ---------------------------------------------------------------- list helpers
// One set of list operations for the five member types, all of which link
// through fields named ScenePrev and SceneNext.

template <class T> int32_t IndexIn(const T* head, const T* member)
{
    int32_t index = 0;
    for (const T* m = head; m != nullptr; m = m->SceneNext, ++index) {
        if (m == member) {
            return index;
        }
    }
    return -1;
}

template <class T> T* At(T* head, int32_t index)
{
    if (index < 0) {
        return nullptr;
    }
    T* m = head;
    for (int32_t i = 0; m != nullptr && i < index; ++i) {
        m = m->SceneNext;
    }
    return m;
}

template <class T> int32_t Count(const T* head)
{
    int32_t n = 0;
    for (const T* m = head; m != nullptr; m = m->SceneNext) {
        ++n;
    }
    return n;
}

// Appends at the tail. Both links of the member are written, so a member
// with stale links (from a list that was emptied under it) starts clean.
template <class T> void Append(T*& head, T* member)
{
    member->SceneNext = nullptr;
    if (head == nullptr) {
        member->ScenePrev = nullptr;
        head = member;
        return;
    }
    T* tail = head;
    while (tail->SceneNext != nullptr) {
        tail = tail->SceneNext;
    }
    tail->SceneNext = member;
    member->ScenePrev = tail;
}

// The ordinary unlink of meshes, lights and materials: the head moves on to
// the successor, the neighbours are joined, the member's links are nulled.
template <class T> void Unlink(T*& head, T* member)
{
    if (head == member) {
        head = member->SceneNext;
    }
    if (member->ScenePrev != nullptr) {
        member->ScenePrev->SceneNext = member->SceneNext;
    }
    if (member->SceneNext != nullptr) {
        member->SceneNext->ScenePrev = member->ScenePrev;
    }
    member->ScenePrev = nullptr;
    member->SceneNext = nullptr;
}

// The unlink of cameras and skeletons. Without a predecessor the head takes
// the successor; without a successor the head is nulled. That second rule
// empties the whole list when the tail of a longer list goes: the members
// before it stay linked with each other but the scene no longer reaches
// them. Kept as designed. The member's own links are left for the caller.
template <class T> void UnlinkEmptyingAtTail(T*& head, T* member)
{
    if (member->ScenePrev != nullptr) {
        member->ScenePrev->SceneNext = member->SceneNext;
    } else {
        head = member->SceneNext;
    }
    if (member->SceneNext != nullptr) {
        member->SceneNext->ScenePrev = member->ScenePrev;
    } else {
        head = nullptr;
    }
}

template <class T> void NullLinks(T* member)
{
    member->ScenePrev = nullptr;
    member->SceneNext = nullptr;
}

// First member whose name gives 0 in TextCompare(name, text): an empty name
// never matches, since TextCompare calls an empty text different from all.
template <class T> T* FindByName(T* head, const char* text)
{
    for (T* m = head; m != nullptr; m = m->SceneNext) {
        if (TextCompare(m->Name, text) == 0) {
            return m;
        }
    }
    return nullptr;
}

// Held by any scene of the engine's list, or by `scene` itself (which is not
// in that list if it was made before ReleaseEngine3D).
bool CameraHeldAnywhere(const Scene* scene, const Camera* camera)
{
    if (IndexOfCamera(scene, camera) != -1) {
        return true;
    }
    for (const Scene* s = g_Engine.SceneListHead; s != nullptr; s = s->ListNext) {
        if (IndexOfCamera(s, camera) != -1) {
            return true;
        }
    }
    return false;
}

bool SkeletonHeldAnywhere(const Scene* scene, const Skeleton* skeleton)
{
    if (IndexOfSkeleton(scene, skeleton) != -1) {
        return true;
    }
    for (const Scene* s = g_Engine.SceneListHead; s != nullptr; s = s->ListNext) {
        if (IndexOfSkeleton(s, skeleton) != -1) {
            return true;
        }
    }
    return false;
}

// AssignCameraToScene's append: the first camera of an empty list becomes
// the active one; later ones leave ActiveCamera as it is.
void AppendCamera(Scene* scene, Camera* camera)
{
    const bool wasEmpty = scene->Cameras == nullptr;
    Append(scene->Cameras, camera);
    if (wasEmpty) {
        scene->ActiveCamera = 0;
    }
}

// A light leaves the list and every mesh tree of the scene.
void TakeLightOut(Scene* scene, Light* light)
{
    Unlink(scene->Lights, light);
    for (Mesh* mesh = scene->Meshes; mesh != nullptr; mesh = mesh->SceneNext) {
        RemoveLightFromMesh(light, mesh);
    }
}

// What both deletes do last: out of the engine's list, the owned blocks
// freed, the record freed. Skeletons are not touched (their list is simply
// dropped) and neither is the viewport.
void FreeScene(Scene* scene)
{
    SceneListRemove(scene);
    if (scene->HookTable != nullptr) {
        FreeMemory(scene->HookTable);
    }
    if (scene->SortIndices != nullptr) {
        FreeMemory(scene->SortIndices);
    }
    FreeMemory(scene);
}

// Each walk of the deletes saves the next member before it lets one go.
// `keep` false spares nothing (DeleteWholeScene).
void DeleteSceneMeshes(Scene* scene, bool keep)
{
    for (Mesh* mesh = scene->Meshes; mesh != nullptr;) {
        Mesh* next = mesh->SceneNext;
        RemoveMeshFromScene(scene, mesh, 1);
        if (!keep || mesh->TvObject == 0) {
            DeleteMesh(mesh);
        }
        mesh = next;
    }
}

void DeleteSceneLights(Scene* scene, bool keep)
{
    for (Light* light = scene->Lights; light != nullptr;) {
        Light* next = light->SceneNext;
        TakeLightOut(scene, light);
        if (!keep || light->KeepWord == 0) {
            DeleteLight(light);
        }
        light = next;
    }
}

void DeleteSceneMaterials(Scene* scene, bool keep)
{
    for (Material* material = scene->Materials; material != nullptr;) {
        Material* next = material->SceneNext;
        Unlink(scene->Materials, material);
        if (!keep || material->KeepWord == 0) {
            DeleteMaterial(material);
        }
        material = next;
    }
}

void DeleteSceneCameras(Scene* scene, bool keep)
{
    for (Camera* camera = scene->Cameras; camera != nullptr;) {
        Camera* next = camera->SceneNext;
        RemoveCameraFromScene(scene, camera);
        if (!keep || camera->KeepWord == 0) {
            DeleteCamera(camera);
        }
        camera = next;
    }
}

}  // namespace

int32_t IndexOfMesh(const Scene* scene, const Mesh* mesh) { return IndexIn(scene->Meshes, mesh); }
int32_t IndexOfCamera(const Scene* scene, const Camera* camera) { return IndexIn(scene->Cameras, camera); }
int32_t IndexOfLight(const Scene* scene, const Light* light) { return IndexIn(scene->Lights, light); }
int32_t IndexOfMaterial(const Scene* scene, const Material* material)
{
    return IndexIn(scene->Materials, material);
}
int32_t IndexOfSkeleton(const Scene* scene, const Skeleton* skeleton)
{
    return IndexIn(scene->Skeletons, skeleton);
}

Camera* SceneCameraAt(const Scene* scene, int32_t index) { return At(scene->Cameras, index); }

void SceneListAdd(Scene* scene)
{
    scene->ListNext = nullptr;
    scene->ListPrev = g_Engine.SceneListTail;
    if (g_Engine.SceneListTail != nullptr) {
        g_Engine.SceneListTail->ListNext = scene;
    } else {
        g_Engine.SceneListHead = scene;
    }
    g_Engine.SceneListTail = scene;
}

void SceneListRemove(Scene* scene)
{
    if (scene == g_Engine.SceneListHead) {
        Scene* next = scene->ListNext;
        if (next != nullptr) {
            next->ListPrev = nullptr;
        }
        g_Engine.SceneListHead = next;
        scene->ListPrev = nullptr;
        scene->ListNext = nullptr;
        if (scene == g_Engine.SceneListTail) {
            g_Engine.SceneListTail = nullptr;
        }
        return;
    }
    if (scene == g_Engine.SceneListTail) {
        Scene* prev = scene->ListPrev;
        prev->ListNext = nullptr;
        g_Engine.SceneListTail = prev;
        scene->ListPrev = nullptr;
        scene->ListNext = nullptr;
        return;
    }
    // In between: only a scene that the list reaches is taken out; its own
    // links are left as they are.
    for (Scene* s = g_Engine.SceneListHead; s != nullptr; s = s->ListNext) {
        if (s == scene) {
            scene->ListPrev->ListNext = scene->ListNext;
            scene->ListNext->ListPrev = scene->ListPrev;
            return;
        }
    }
}

void DefaultHook(int32_t a, int32_t index, Scene* scene)
{
    if (scene == nullptr || scene->UserHook == nullptr) {
        return;
    }
    // Record index - 1: the host's indices count from 1. The value is the
    // record's second float rounded to nearest, ties to even, low 32 bits.
    const float value = scene->HookTable[index - 1].Values[1];
    scene->UserHook(a, index, static_cast<int32_t>(FloatToInt(static_cast<double>(value))));
}

}  // namespace span3d

using namespace span3d;

// ---------------------------------------------------------------- life

extern "C" SPAN3D_API Scene* CreateScene(void)
{
    Scene* scene = static_cast<Scene*>(AllocateMemory(sizeof(Scene)));
    if (scene == nullptr) {
        return nullptr;
    }
    // The block is zero-filled: empty lists, no sort block, not ready (the
    // first assigned mesh makes the scene ready), no user hook or table.
    scene->ActiveCamera = -1;
    scene->DefaultHook = DefaultHook;
    SceneListAdd(scene);
    return scene;
}

extern "C" SPAN3D_API void DeleteScene(Scene* scene)
{
    // Meshes first: once they are out, the lights have no meshes left to be
    // taken from. Each kind is spared by its own keep word.
    DeleteSceneMeshes(scene, true);
    DeleteSceneLights(scene, true);
    DeleteSceneMaterials(scene, true);
    DeleteSceneCameras(scene, true);
    FreeScene(scene);
}

extern "C" SPAN3D_API void DeleteWholeScene(Scene* scene)
{
    // Another order, and nothing is spared. The meshes still see the scene's
    // lights when they leave, and so are taken off them.
    DeleteSceneMaterials(scene, false);
    DeleteSceneCameras(scene, false);
    DeleteSceneMeshes(scene, false);
    DeleteSceneLights(scene, false);
    FreeScene(scene);
}

// ---------------------------------------------------------------- meshes

extern "C" SPAN3D_API Mesh* AssignMeshToScene(Scene* scene, Mesh* mesh, uint8_t withLights)
{
    if ((mesh->RenderFlags & SPAN3D_MESH_ACTIVE) == 0 || mesh->Scene != nullptr) {
        return nullptr;
    }
    scene->SceneWord &= ~SPAN3D_SCENE_READY;
    // Without a block the count starts again from this mesh: a scene has no
    // block only while it has had no mesh (or when an allocation failed).
    if (scene->SortIndices != nullptr) {
        FreeMemory(scene->SortIndices);
        scene->SortIndices = nullptr;
        scene->TotalPolygons += mesh->SortCapacity;
    } else {
        scene->TotalPolygons = mesh->SortCapacity;
    }
    RenewSceneSortBlock(scene);
    scene->TotalVertices += mesh->VertexCount;
    Append(scene->Meshes, mesh);
    // The scene's block serves the mesh's tree from now on. DrawItems keeps
    // its stale value: it still marks the mesh as fixed.
    if (mesh->SortIndices != nullptr) {
        FreeMemory(mesh->SortIndices);
        mesh->SortIndices = nullptr;
    }
    if ((withLights & 1u) != 0) {
        for (Light* light = scene->Lights; light != nullptr; light = light->SceneNext) {
            AssignLightToMesh(light, mesh);
        }
    }
    mesh->Scene = scene;
    scene->SceneWord |= SPAN3D_SCENE_READY;
    return mesh;
}

extern "C" SPAN3D_API int32_t RemoveMeshFromScene(Scene* scene, Mesh* mesh, uint8_t withLights)
{
    if (mesh->Scene != scene) {
        return 0;
    }
    scene->SceneWord &= ~SPAN3D_SCENE_READY;
    // Made anew even for a count of 0: an empty scene keeps a block.
    scene->TotalPolygons -= mesh->SortCapacity;
    RenewSceneSortBlock(scene);
    scene->TotalVertices -= mesh->VertexCount;
    Unlink(scene->Meshes, mesh);
    GiveMeshSortBlock(mesh);
    if ((withLights & 1u) != 0) {
        for (Light* light = scene->Lights; light != nullptr; light = light->SceneNext) {
            RemoveLightFromMesh(light, mesh);
        }
    }
    mesh->Scene = nullptr;
    scene->SceneWord |= SPAN3D_SCENE_READY;
    return 1;
}

// ---------------------------------------------------------------- cameras

extern "C" SPAN3D_API int32_t AssignCameraToScene(Scene* scene, Camera* camera)
{
    if (CameraHeldAnywhere(scene, camera)) {
        return 0;
    }
    AppendCamera(scene, camera);
    return 1;
}

extern "C" SPAN3D_API int32_t RemoveCameraFromScene(Scene* scene, Camera* camera)
{
    const int32_t index = IndexOfCamera(scene, camera);
    if (index == -1) {
        return 0;
    }
    // The active camera is taken before anything changes, and found again by
    // its pointer afterwards, so that it stays active at its new index.
    Camera* keep = SceneCameraAt(scene, scene->ActiveCamera);
    UnlinkEmptyingAtTail(scene->Cameras, camera);
    if (index == scene->ActiveCamera) {
        keep = camera->SceneNext != nullptr ? camera->SceneNext : camera->ScenePrev;
    }
    if (keep == nullptr) {
        scene->ActiveCamera = -1;
    } else {
        // After the tail of a longer list went, the list is empty and the
        // search fails: ActiveCamera then stays as it was.
        const int32_t keepIndex = IndexOfCamera(scene, keep);
        if (keepIndex != -1) {
            scene->ActiveCamera = keepIndex;
        }
    }
    NullLinks(camera);
    return 1;
}

extern "C" SPAN3D_API int32_t RemoveCameraFromAllScenes(Camera* camera)
{
    int32_t count = 0;
    for (Scene* scene = g_Engine.SceneListHead; scene != nullptr; scene = scene->ListNext) {
        const int32_t index = IndexOfCamera(scene, camera);
        if (index == -1) {
            continue;
        }
        // Unlike RemoveCameraFromScene no other camera takes over, and the
        // index of a later active camera is not moved down.
        if (index == scene->ActiveCamera) {
            scene->ActiveCamera = -1;
        }
        UnlinkEmptyingAtTail(scene->Cameras, camera);
        NullLinks(camera);
        ++count;
    }
    return count;
}

extern "C" SPAN3D_API void SetActivedSceneCamera(Scene* scene, Camera* camera)
{
    if (camera == nullptr) {
        scene->ActiveCamera = -1;
        return;
    }
    const int32_t index = IndexOfCamera(scene, camera);
    if (index != -1) {
        scene->ActiveCamera = index;
    }
}

extern "C" SPAN3D_API Camera* GetActivedSceneCamera(Scene* scene)
{
    if (scene == nullptr) {
        return nullptr;
    }
    return SceneCameraAt(scene, scene->ActiveCamera);
}

extern "C" SPAN3D_API Camera* SwitchActivedSceneCamera(Scene* scene)
{
    // The walk needs a camera to start from; an empty list is left alone
    // rather than walked from a null head.
    if (scene->Cameras == nullptr) {
        return nullptr;
    }
    // No active camera (negative): the walk stays at the head, whose
    // successor's index is then -1 + 1 = 0. An index beyond the list (left
    // there by RemoveCameraFromAllScenes) finds no camera, which has no
    // successor: back to 0.
    Camera* current =
        scene->ActiveCamera < 0 ? scene->Cameras : SceneCameraAt(scene, scene->ActiveCamera);
    if (current != nullptr && current->SceneNext != nullptr) {
        scene->ActiveCamera += 1;
    } else {
        scene->ActiveCamera = 0;
    }
    return current;
}

// ---------------------------------------------------------------- lights

extern "C" SPAN3D_API int32_t AssignLightToScene(Scene* scene, Light* light, uint8_t toMeshes)
{
    // Only this scene is asked: a light in another scene's list would lose
    // its place there, since it has one pair of links.
    if (IndexOfLight(scene, light) != -1) {
        return 0;
    }
    Append(scene->Lights, light);
    if ((toMeshes & 1u) != 0) {
        for (Mesh* mesh = scene->Meshes; mesh != nullptr; mesh = mesh->SceneNext) {
            AssignLightToMesh(light, mesh);
        }
    }
    return 1;
}

extern "C" SPAN3D_API int32_t RemoveLightFromScene(Scene* scene, Light* light)
{
    if (IndexOfLight(scene, light) == -1) {
        return 0;
    }
    TakeLightOut(scene, light);
    return 1;
}

// ---------------------------------------------------------------- materials

extern "C" SPAN3D_API int32_t AssignMaterialToScene(Scene* scene, Material* material)
{
    // No test at all, not even for this scene's own list.
    Append(scene->Materials, material);
    return 1;
}

extern "C" SPAN3D_API int32_t RemoveMaterialFromScene(Scene* scene, Material* material)
{
    if (IndexOfMaterial(scene, material) == -1) {
        return 0;
    }
    Unlink(scene->Materials, material);
    return 1;
}

// ---------------------------------------------------------------- skeletons

extern "C" SPAN3D_API int32_t AssignSkeletonToScene(Scene* scene, Skeleton* skeleton)
{
    if (SkeletonHeldAnywhere(scene, skeleton)) {
        return 0;
    }
    Append(scene->Skeletons, skeleton);
    return 1;
}

extern "C" SPAN3D_API int32_t RemoveSkeletonFromScene(Scene* scene, Skeleton* skeleton)
{
    if (IndexOfSkeleton(scene, skeleton) == -1) {
        return 0;
    }
    UnlinkEmptyingAtTail(scene->Skeletons, skeleton);
    NullLinks(skeleton);
    return 1;
}

// ---------------------------------------------------------------- viewport

extern "C" SPAN3D_API void SetSceneViewport(Scene* scene, Viewport* viewport)
{
    if (viewport == nullptr) {
        scene->Viewport = nullptr;
        return;
    }
    scene->Viewport = viewport;
    // Only a scene without an active camera adopts the viewport's.
    if (scene->ActiveCamera != -1) {
        return;
    }
    Camera* camera = viewport->Camera;
    if (camera == nullptr) {
        return;
    }
    // A camera that another scene holds is not taken from it, and then the
    // scene stays without an active camera.
    if (!CameraHeldAnywhere(scene, camera)) {
        AppendCamera(scene, camera);
    }
    const int32_t index = IndexOfCamera(scene, camera);
    if (index != -1) {
        scene->ActiveCamera = index;
    }
}

extern "C" SPAN3D_API Viewport* GetSceneViewport(Scene* scene)
{
    return scene->Viewport;
}

// ---------------------------------------------------------------- counts

extern "C" SPAN3D_API int32_t GetSceneNumberOfMeshes(Scene* scene) { return Count(scene->Meshes); }
extern "C" SPAN3D_API int32_t GetSceneNumberOfCameras(Scene* scene) { return Count(scene->Cameras); }
extern "C" SPAN3D_API int32_t GetSceneNumberOfLights(Scene* scene) { return Count(scene->Lights); }
extern "C" SPAN3D_API int32_t GetSceneNumberOfVisibleMeshes(Scene* scene) { return scene->VisibleMeshes; }

// ---------------------------------------------------------------- searches

extern "C" SPAN3D_API Mesh* SearchMeshByIndex(Scene* scene, int32_t index) { return At(scene->Meshes, index); }
extern "C" SPAN3D_API Camera* SearchCameraByIndex(Scene* scene, int32_t index)
{
    return At(scene->Cameras, index);
}
extern "C" SPAN3D_API Light* SearchLightByIndex(Scene* scene, int32_t index) { return At(scene->Lights, index); }
extern "C" SPAN3D_API Material* SearchMaterialByIndex(Scene* scene, int32_t index)
{
    return At(scene->Materials, index);
}

extern "C" SPAN3D_API Mesh* SearchMeshByName(Scene* scene, const char* name)
{
    return FindByName(scene->Meshes, name);
}
extern "C" SPAN3D_API Camera* SearchCameraByName(Scene* scene, const char* name)
{
    return FindByName(scene->Cameras, name);
}
extern "C" SPAN3D_API Light* SearchLightByName(Scene* scene, const char* name)
{
    return FindByName(scene->Lights, name);
}
extern "C" SPAN3D_API Material* SearchMaterialByName(Scene* scene, const char* name)
{
    return FindByName(scene->Materials, name);
}

extern "C" SPAN3D_API Skeleton* SearchSkeletonByName(Scene* scene, const char* name)
{
    // A skeleton is known by its root bone's name, the first of its names
    // block; one without a names block yet is passed over.
    for (Skeleton* skeleton = scene->Skeletons; skeleton != nullptr; skeleton = skeleton->SceneNext) {
        if (skeleton->BoneNames != nullptr && TextCompare(skeleton->BoneNames[0], name) == 0) {
            return skeleton;
        }
    }
    return nullptr;
}
