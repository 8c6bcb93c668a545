// Scenes, hierarchies and light lists under a long random sequence of
// operations from a fixed seed: create, attach, detach, assign, remove and
// delete on meshes, cameras, lights, materials, skeletons and scenes.
//
// A small model kept beside the engine (standard containers of object
// pointers; it never reads the engine's links) predicts every list, every
// parent and child, every light list, the active cameras and which objects
// are alive. After each step a checker
// compares the records with the model and checks the invariants that hosts
// and the frame driver rely on:
//   - a mesh's SortCapacity is its polygons plus its mesh children's;
//   - exactly one owner holds each sort block: a top without a scene, or the
//     scene of a top; children hold none;
//   - each block has exactly the slots its owner counts (checked through the
//     sanitizer's allocation size where there is one) and was handed to the
//     sort; TotalPolygons and TotalVertices add up over the scene's meshes;
//   - member lists are linked both ways and match the model in order.
// In the sanitizer build the run also shows no invalid access and no leak.
//
// The sequence keeps to what hosts must do, since the engine does not guard
// against the rest (each is a documented host rule, not an engine fault):
//   - only fixed meshes, and ValidateMesh only on fixed meshes (a growable
//     mesh validated with a parent, children or a scene leaves them stale);
//   - meshes hang only below meshes (the walk up a tree takes every node
//     above as a mesh) and nothing is attached below itself;
//   - only tops of trees are assigned to scenes;
//   - a light stands in one scene at a time, so it is not given to a mesh
//     or a scene of another scene than its own (its one pair of links would
//     move), and a material is assigned only when no list holds it;
//   - a camera or light is deleted only after its children were detached,
//     and a camera only after it left its scene (or with State bit 31 set,
//     so that its delete searches the scenes);
//   - a light is taken off the meshes outside its scene before it is
//     deleted (its delete tells only the meshes of its own scene), and the
//     viewport drops a camera that is about to be deleted.
#include <algorithm>
#include <map>
#include <random>
#include <set>

#include "object_test_support.h"

namespace span3d {
namespace {
using test::ExpectBlock;

template <class T> int32_t Find(const std::vector<T*>& v, const T* x)
{
    auto it = std::find(v.begin(), v.end(), x);
    return it == v.end() ? -1 : static_cast<int32_t>(it - v.begin());
}
template <class T> void Erase(std::vector<T*>& v, const T* x)
{
    if (const int32_t i = Find(v, x); i >= 0) v.erase(v.begin() + i);
}

// The unlink of cameras and skeletons: removing the tail of a list of two or
// more empties the list (the members before it are no longer reached).
template <class T> void EraseEmptyingAtTail(std::vector<T*>& v, int32_t index)
{
    if (index == static_cast<int32_t>(v.size()) - 1 && v.size() >= 2) {
        v.clear();
    } else {
        v.erase(v.begin() + index);
    }
}

struct SceneModel {
    std::vector<Mesh*> meshes;
    std::vector<Camera*> cameras;
    int32_t active = -1;
    std::vector<Light*> lights;
    std::vector<Material*> materials;
    std::vector<Skeleton*> skeletons;
    Viewport* viewport = nullptr;
    bool hadMesh = false;  // the scene has a block from its first mesh on
};

bool IsPlainMesh(const Node* n) { return NodeKind(n) == KindMesh; }
Mesh* AsMesh(Node* n) { return reinterpret_cast<Mesh*>(n); }

struct World {
    std::mt19937 rng{20240611u};
    std::vector<Scene*> scenes;  // in creation order, as the engine lists them
    std::map<Scene*, SceneModel> sm;
    std::vector<Mesh*> meshes;
    std::vector<Camera*> cameras;
    std::vector<Light*> lights;
    std::vector<Material*> materials;
    std::vector<Skeleton*> skeletons;
    std::map<Node*, Node*> parent;
    std::map<Node*, std::vector<Node*>> children;
    std::map<Mesh*, std::vector<Light*>> lightList;
    Viewport viewport{};
    std::map<int32_t, int32_t> done;  // operations run, by kind

    int32_t Pick(int32_t n) { return std::uniform_int_distribution<int32_t>(0, n - 1)(rng); }
    bool Chance(int32_t percent) { return Pick(100) < percent; }
    template <class T> T* Any(const std::vector<T*>& v) { return v.empty() ? nullptr : v[Pick(static_cast<int32_t>(v.size()))]; }

    // ------------------------------------------------------------ queries
    // The scene whose model list holds x, or null.
    template <class T> Scene* Holder(std::vector<T*> SceneModel::*list, const T* x)
    {
        for (auto& [s, model] : sm) {
            if (Find(model.*list, x) >= 0) return s;
        }
        return nullptr;
    }
    Scene* SceneOfMesh(const Mesh* m) { return Holder(&SceneModel::meshes, m); }
    Scene* SceneOfLight(const Light* l) { return Holder(&SceneModel::lights, l); }
    Node* ParentOf(Node* n) { return parent.count(n) ? parent[n] : nullptr; }
    Mesh* TopOf(Mesh* m)
    {
        Node* n = &m->Head;
        while (ParentOf(n) != nullptr) n = ParentOf(n);
        return AsMesh(n);
    }
    bool IsBelowOrSelf(Node* n, Node* root)
    {
        for (Node* x = n; x != nullptr; x = ParentOf(x)) {
            if (x == root) return true;
        }
        return false;
    }
    // Pre-order, as the engine's recursions walk.
    void Subtree(Node* n, std::vector<Node*>& out)
    {
        out.push_back(n);
        for (Node* c : children[n]) Subtree(c, out);
    }
    std::vector<Node*> AllNodes()
    {
        std::vector<Node*> out;
        for (Mesh* m : meshes) out.push_back(&m->Head);
        for (Camera* c : cameras) {
            out.push_back(&c->Head);
            out.push_back(&c->TargetNode);
        }
        for (Light* l : lights) {
            out.push_back(&l->Head);
            out.push_back(&l->TargetNode);
        }
        return out;
    }

    // ------------------------------------------------------------ model steps
    void ModelAssignLight(Light* l, Node* root)
    {
        std::vector<Node*> nodes;
        Subtree(root, nodes);
        for (Node* n : nodes) {
            if (!IsPlainMesh(n)) continue;
            Mesh* m = AsMesh(n);
            if (Find(lightList[m], l) < 0) lightList[m].push_back(l);
            if (Scene* s = SceneOfMesh(m)) {
                if (Find(sm[s].lights, l) < 0) sm[s].lights.push_back(l);
            }
        }
    }
    void ModelRemoveLight(Light* l, Node* root)
    {
        std::vector<Node*> nodes;
        Subtree(root, nodes);
        for (Node* n : nodes) {
            if (IsPlainMesh(n)) Erase(lightList[AsMesh(n)], l);
        }
    }
    void ModelDetach(Node* c)
    {
        Node* p = ParentOf(c);
        if (p == nullptr) return;
        Erase(children[p], c);
        parent[c] = nullptr;
    }
    void ModelRemoveMeshFromScene(Scene* s, Mesh* m, bool withLights)
    {
        Erase(sm[s].meshes, m);
        if (withLights) {
            for (Light* l : sm[s].lights) ModelRemoveLight(l, &m->Head);
        }
    }
    void Forget(Node* n)
    {
        parent.erase(n);
        children.erase(n);
    }
    void KillMesh(Mesh* m)
    {
        Erase(meshes, m);
        lightList.erase(m);
        Forget(&m->Head);
    }
    // DeleteMesh, predicted from the records while they are alive: out of
    // its scene with the scene's lights, off its parent, then every node
    // below cut loose and every kind 1 mesh below freed unless its TvObject
    // keeps it.
    void ModelDeleteMesh(Mesh* m)
    {
        if (Scene* s = SceneOfMesh(m)) ModelRemoveMeshFromScene(s, m, true);
        ModelDetach(&m->Head);
        std::vector<Node*> below;
        Subtree(&m->Head, below);
        below.erase(below.begin());
        for (Node* n : below) {
            parent[n] = nullptr;
            children[n].clear();
        }
        children[&m->Head].clear();
        for (Node* n : below) {
            if (IsPlainMesh(n) && AsMesh(n)->TvObject == 0) KillMesh(AsMesh(n));
        }
        KillMesh(m);
    }
    int32_t ModelRemoveCamera(Scene* s, Camera* c)
    {
        SceneModel& model = sm[s];
        std::vector<Camera*>& v = model.cameras;
        const int32_t index = Find(v, c);
        if (index < 0) return 0;
        const int32_t size = static_cast<int32_t>(v.size());
        Camera* keep = model.active >= 0 && model.active < size ? v[model.active] : nullptr;
        Camera* next = index + 1 < size ? v[index + 1] : nullptr;
        Camera* prev = index > 0 ? v[index - 1] : nullptr;
        EraseEmptyingAtTail(v, index);
        if (index == model.active) keep = next != nullptr ? next : prev;
        if (keep == nullptr) {
            model.active = -1;
        } else if (Find(v, keep) >= 0) {
            model.active = Find(v, keep);
        }
        return 1;
    }
    int32_t ModelRemoveCameraFromAll(Camera* c)
    {
        int32_t count = 0;
        for (Scene* s : scenes) {
            SceneModel& model = sm[s];
            const int32_t index = Find(model.cameras, c);
            if (index < 0) continue;
            if (index == model.active) model.active = -1;
            EraseEmptyingAtTail(model.cameras, index);
            ++count;
        }
        return count;
    }
    // Cameras and lights: both nodes cut loose, then gone from the model.
    template <class T> void KillPlaced(std::vector<T*>& all, T* x)
    {
        for (Node* n : {&x->Head, &x->TargetNode}) ModelDetach(n), Forget(n);
        Erase(all, x);
    }
    void KillCamera(Camera* c) { KillPlaced(cameras, c); }
    void KillLight(Light* l) { KillPlaced(lights, l); }

    // A camera or light is deleted only with no children (host rule).
    void DetachAllChildren(Node* n)
    {
        while (!children[n].empty()) {
            Node* c = children[n].front();
            ModelDetach(c);
            EXPECT_EQ(DetachChildFromNode(n, c), 1);
        }
    }
    // A light is taken off the meshes outside its scene's trees before it
    // is deleted (host rule); its delete cleans its own scene's trees.
    void TakeLightOffOtherMeshes(Light* l, Scene* own)
    {
        for (Mesh* m : std::vector<Mesh*>(meshes)) {
            if (own != nullptr && SceneOfMesh(TopOf(m)) == own) continue;
            Erase(lightList[m], l);
            RemoveLightFromMesh(l, m);
        }
    }
    void PrepareCameraDelete(Camera* c)
    {
        DetachAllChildren(&c->Head);
        DetachAllChildren(&c->TargetNode);
        if (viewport.Camera == c) viewport.Camera = nullptr;
    }
    void PrepareLightDelete(Light* l, Scene* own)
    {
        DetachAllChildren(&l->Head);
        DetachAllChildren(&l->TargetNode);
        TakeLightOffOtherMeshes(l, own);
    }
};

// ---------------------------------------------------------------- checker

// A member list as the scene's head reaches it, checked for both links.
template <class T> std::vector<T*> Walk(T* head)
{
    std::vector<T*> out;
    const T* prev = nullptr;
    for (T* x = head; x != nullptr && out.size() < 1000; x = x->SceneNext) {
        EXPECT_EQ(x->ScenePrev, prev);
        out.push_back(x);
        prev = x;
    }
    return out;
}

void CheckWorld(World& w)
{
    // The engine's scene list.
    std::vector<Scene*> listed;
    for (Scene* s = g_Engine.SceneListHead; s != nullptr; s = s->ListNext) listed.push_back(s);
    ASSERT_EQ(listed, w.scenes);
    ASSERT_EQ(g_Engine.SceneListTail, w.scenes.empty() ? nullptr : w.scenes.back());

    // Parents and children, in order, of every live node.
    for (Node* n : w.AllNodes()) {
        ASSERT_EQ(n->Parent, w.ParentOf(n));
        const std::vector<Node*>& kids = w.children[n];
        ASSERT_EQ(n->ChildCount, static_cast<int32_t>(kids.size()));
        ASSERT_EQ(n->Children == nullptr, kids.empty());
        for (size_t i = 0; i < kids.size(); ++i) ASSERT_EQ(n->Children[i], kids[i]);
    }

    std::set<const uint32_t*> blocks;
    int32_t owners = 0;
    // Capacities and children's blocks are checked from the tops down
    // (meshes hang only below meshes, so every mesh is reached).
    for (Mesh* m : w.meshes) {
        ASSERT_EQ(m->Scene, w.SceneOfMesh(m));
        if (m->Head.Parent == nullptr && m->Scene == nullptr) {
            test::ExpectLoneTop(m);
            blocks.insert(m->SortIndices);
            ++owners;
        }
        // The light list, up to its end mark.
        std::vector<Light*> list;
        for (int32_t i = 0; i < kLightListSlots && m->LightList[i] != nullptr; ++i) list.push_back(m->LightList[i]);
        ASSERT_EQ(list, w.lightList[m]);
    }

    for (Scene* s : w.scenes) {
        SceneModel& model = w.sm[s];
        ASSERT_EQ(Walk(s->Meshes), model.meshes);
        ASSERT_EQ(Walk(s->Cameras), model.cameras);
        ASSERT_EQ(Walk(s->Lights), model.lights);
        ASSERT_EQ(Walk(s->Materials), model.materials);
        ASSERT_EQ(Walk(s->Skeletons), model.skeletons);
        ASSERT_EQ(s->ActiveCamera, model.active);
        ASSERT_EQ(s->Viewport, model.viewport);
        for (Mesh* m : model.meshes) ASSERT_EQ(m->Head.Parent, nullptr);
        test::ExpectScene(s);
        ASSERT_EQ(s->SceneWord & SPAN3D_SCENE_READY, model.hadMesh ? SPAN3D_SCENE_READY : 0u);
        ASSERT_EQ(s->SortIndices != nullptr, model.hadMesh);
        if (model.hadMesh) {
            blocks.insert(s->SortIndices);
            ++owners;
        }
    }
    // Exactly one owner per block.
    ASSERT_EQ(static_cast<int32_t>(blocks.size()), owners);
}

// ---------------------------------------------------------------- operations

enum Op {
    kNewMesh, kNewCamera, kNewLight, kNewMaterial, kNewSkeleton, kNewScene,
    kAttach, kDetach, kAssignMesh, kRemoveMesh, kAssignCamera, kRemoveCamera,
    kRemoveCameraFromAll, kSetActive, kSwitchActive, kAssignLightToScene,
    kRemoveLightFromScene, kAssignLightToMesh, kRemoveLightFromMesh, kMaterialList,
    kSkeletonList, kSetViewport, kDeleteMesh, kDeleteCamera, kDeleteLight,
    kDeleteMaterial, kDeleteScene, kValidate, kOpCount
};

// Relative frequencies: the tree and list operations most, creation enough
// to keep a dozen meshes and a few of everything else alive, deletes seldom.
const int32_t kWeights[kOpCount] = {
    5, 2, 2, 1, 1, 1,
    14, 8, 6, 4, 3, 3,
    1, 2, 2, 3,
    2, 4, 3, 2,
    2, 2, 2, 1, 1,
    1, 1, 1,
};

Mesh* NewMesh(World& w)
{
    const int32_t polygons = 1 + w.Pick(12);
    const int32_t vertices = 3 + w.Pick(4);
    Mesh* m = CreateMesh(vertices, polygons, 0x808080);
    for (int32_t v = 0; v < vertices; ++v) {
        SetMeshVertex(m, v, static_cast<float>(v), static_cast<float>(v * v % 5), static_cast<float>(v % 3));
    }
    for (int32_t p = 0; p < polygons; ++p) {
        SetMeshTriPolygon(m, p, p % vertices, (p + 1) % vertices, (p + 2) % vertices, 0, 0);
    }
    const int32_t r = w.Pick(10);
    if (r < 6) {
        EXPECT_EQ(ValidateMesh(m), m);  // a fixed mesh is validated in place
    } else if (r < 9) {
        m->RenderFlags |= SPAN3D_MESH_ACTIVE;  // ActivateMesh's bit
    }                                          // else: never active, refused by scenes
    m->TvObject = w.Chance(20) ? 1u : 0u;
    w.meshes.push_back(m);
    w.lightList[m] = {};
    return m;
}

void DeleteSceneStep(World& w, Scene* s, bool whole)
{
    SceneModel model = w.sm[s];  // copy: the walks below change the original
    // Host rules first, for what is going to be freed.
    for (Light* l : model.lights) {
        if (whole || l->KeepWord == 0) w.PrepareLightDelete(l, s);
    }
    for (Camera* c : model.cameras) {
        if (whole || c->KeepWord == 0) w.PrepareCameraDelete(c);
    }
    SceneModel& live = w.sm[s];
    auto meshes = [&] {
        for (Mesh* m : model.meshes) {
            w.ModelRemoveMeshFromScene(s, m, true);
            if (whole || m->TvObject == 0) w.ModelDeleteMesh(m);
        }
    };
    auto lights = [&] {
        for (Light* l : model.lights) {
            Erase(live.lights, l);
            for (Mesh* m : live.meshes) w.ModelRemoveLight(l, &m->Head);
            if (whole || l->KeepWord == 0) w.KillLight(l);
        }
    };
    auto materials = [&] {
        for (Material* m : model.materials) {
            Erase(live.materials, m);
            if (whole || m->KeepWord == 0) Erase(w.materials, m);
        }
    };
    auto cameras = [&] {
        for (Camera* c : model.cameras) {
            w.ModelRemoveCamera(s, c);
            if (whole || c->KeepWord == 0) w.KillCamera(c);
        }
    };
    if (whole) {
        materials();
        cameras();
        meshes();
        lights();
        DeleteWholeScene(s);
    } else {
        meshes();
        lights();
        materials();
        cameras();
        DeleteScene(s);
    }
    // Skeletons are dropped with the list, untouched.
    Erase(w.scenes, s);
    w.sm.erase(s);
}

void Step(World& w, Op op)
{
    switch (op) {
    case kNewMesh:
        if (w.meshes.size() >= 14) return;
        NewMesh(w);
        break;
    case kNewCamera: {
        if (w.cameras.size() >= 6) return;
        Vector3 p = {0.0f, 0.0f, 0.0f};
        Camera* c = CreateCamera(&p, &p, 0.0f, 60.0f, 10.0f);
        c->KeepWord = w.Chance(25) ? 1u : 0u;
        w.cameras.push_back(c);
        break;
    }
    case kNewLight: {
        if (w.lights.size() >= 6) return;
        Vector3 p = {0.0f, 0.0f, 0.0f};
        float colour[4] = {1.0f, 1.0f, 1.0f, 1.0f};
        Light* l = w.Chance(50) ? CreateOmniLight(&p, colour, 1.0f, 1.0f, 2.0f, 0)
                                : CreateDirectLight(&p, &p, colour, 1.0f, 0);
        l->KeepWord = w.Chance(25) ? 1u : 0u;
        w.lights.push_back(l);
        break;
    }
    case kNewMaterial: {
        if (w.materials.size() >= 4) return;
        Material templ{};
        Material* m = CreateMaterial(&templ);
        m->KeepWord = w.Chance(25) ? 1u : 0u;
        w.materials.push_back(m);
        break;
    }
    case kNewSkeleton:
        if (w.skeletons.size() >= 3) return;
        w.skeletons.push_back(static_cast<Skeleton*>(AllocateMemory(sizeof(Skeleton))));
        break;
    case kNewScene: {
        if (w.scenes.size() >= 3) return;
        Scene* s = CreateScene();
        w.scenes.push_back(s);
        w.sm[s] = SceneModel{};
        break;
    }
    case kAttach: {
        std::vector<Node*> nodes = w.AllNodes();
        if (nodes.size() < 2) return;
        Node* p = nodes[w.Pick(static_cast<int32_t>(nodes.size()))];
        Node* c = nodes[w.Pick(static_cast<int32_t>(nodes.size()))];
        if (w.IsBelowOrSelf(p, c)) return;                 // never below itself
        if (IsPlainMesh(c) && !IsPlainMesh(p)) return;     // meshes only below meshes
        w.ModelDetach(c);
        w.children[p].push_back(c);
        w.parent[c] = p;
        if (IsPlainMesh(p) && IsPlainMesh(c)) {
            if (Scene* s = w.SceneOfMesh(AsMesh(c))) w.ModelRemoveMeshFromScene(s, AsMesh(c), false);
        }
        EXPECT_EQ(AttachChildToNode(p, c), 1);
        break;
    }
    case kDetach: {
        std::vector<Node*> nodes = w.AllNodes();
        if (nodes.empty()) return;
        Node* p = nullptr;
        Node* c = nullptr;
        if (w.Chance(80)) {
            std::vector<Node*> parents;
            for (Node* n : nodes) {
                if (!w.children[n].empty()) parents.push_back(n);
            }
            if (parents.empty()) return;
            p = w.Any(parents);
            c = w.Any(w.children[p]);
        } else {
            p = w.Any(nodes);
            c = w.Any(nodes);
        }
        const int32_t expected = Find(w.children[p], c) >= 0 ? 1 : 0;
        if (expected) w.ModelDetach(c);
        EXPECT_EQ(DetachChildFromNode(p, c), expected);
        break;
    }
    case kAssignMesh: {
        Scene* s = w.Any(w.scenes);
        Mesh* m = w.Any(w.meshes);
        if (s == nullptr || m == nullptr || w.ParentOf(&m->Head) != nullptr) return;  // tops only
        const uint8_t withLights = static_cast<uint8_t>(w.Pick(4));
        const bool taken = (m->RenderFlags & SPAN3D_MESH_ACTIVE) != 0 && w.SceneOfMesh(m) == nullptr;
        if (taken) {
            SceneModel& model = w.sm[s];
            model.meshes.push_back(m);
            model.hadMesh = true;
            if (withLights & 1) {
                for (Light* l : model.lights) w.ModelAssignLight(l, &m->Head);
            }
        }
        EXPECT_EQ(AssignMeshToScene(s, m, withLights), taken ? m : nullptr);
        break;
    }
    case kRemoveMesh: {
        Scene* s = w.Any(w.scenes);
        Mesh* m = w.Any(w.meshes);
        if (s == nullptr || m == nullptr) return;
        const uint8_t withLights = static_cast<uint8_t>(w.Pick(4));
        const int32_t expected = w.SceneOfMesh(m) == s ? 1 : 0;
        if (expected) w.ModelRemoveMeshFromScene(s, m, (withLights & 1) != 0);
        EXPECT_EQ(RemoveMeshFromScene(s, m, withLights), expected);
        break;
    }
    case kAssignCamera: {
        Scene* s = w.Any(w.scenes);
        Camera* c = w.Any(w.cameras);
        if (s == nullptr || c == nullptr) return;
        const int32_t expected = (w.Holder(&SceneModel::cameras, c) != nullptr) ? 0 : 1;
        if (expected) {
            SceneModel& model = w.sm[s];
            if (model.cameras.empty()) model.active = 0;
            model.cameras.push_back(c);
        }
        EXPECT_EQ(AssignCameraToScene(s, c), expected);
        break;
    }
    case kRemoveCamera: {
        Scene* s = w.Any(w.scenes);
        if (s == nullptr) return;
        Camera* c = w.Chance(70) && !w.sm[s].cameras.empty() ? w.Any(w.sm[s].cameras) : w.Any(w.cameras);
        if (c == nullptr) return;
        const int32_t expected = w.ModelRemoveCamera(s, c);
        EXPECT_EQ(RemoveCameraFromScene(s, c), expected);
        break;
    }
    case kRemoveCameraFromAll: {
        Camera* c = w.Any(w.cameras);
        if (c == nullptr) return;
        const int32_t expected = w.ModelRemoveCameraFromAll(c);
        EXPECT_EQ(RemoveCameraFromAllScenes(c), expected);
        break;
    }
    case kSetActive: {
        Scene* s = w.Any(w.scenes);
        if (s == nullptr) return;
        Camera* c = w.Chance(20) ? nullptr : w.Any(w.cameras);
        SceneModel& model = w.sm[s];
        if (c == nullptr) {
            model.active = -1;
        } else if (Find(model.cameras, c) >= 0) {
            model.active = Find(model.cameras, c);
        }
        SetActivedSceneCamera(s, c);
        break;
    }
    case kSwitchActive: {
        Scene* s = w.Any(w.scenes);
        if (s == nullptr) return;
        SceneModel& model = w.sm[s];
        const int32_t size = static_cast<int32_t>(model.cameras.size());
        Camera* expected = nullptr;
        if (size > 0) {
            const int32_t at = model.active < 0 ? 0 : model.active;
            expected = at < size ? model.cameras[at] : nullptr;
            if (expected != nullptr && at + 1 < size) {
                model.active += 1;
            } else {
                model.active = 0;
            }
        }
        EXPECT_EQ(SwitchActivedSceneCamera(s), expected);
        break;
    }
    case kAssignLightToScene: {
        Scene* s = w.Any(w.scenes);
        Light* l = w.Any(w.lights);
        if (s == nullptr || l == nullptr) return;
        Scene* own = w.SceneOfLight(l);
        if (own != nullptr && own != s) return;  // one scene at a time
        const uint8_t toMeshes = static_cast<uint8_t>(w.Pick(4));
        const int32_t expected = own == s ? 0 : 1;
        if (expected) {
            w.sm[s].lights.push_back(l);
            if (toMeshes & 1) {
                for (Mesh* m : w.sm[s].meshes) w.ModelAssignLight(l, &m->Head);
            }
        }
        EXPECT_EQ(AssignLightToScene(s, l, toMeshes), expected);
        break;
    }
    case kRemoveLightFromScene: {
        Scene* s = w.Any(w.scenes);
        Light* l = w.Any(w.lights);
        if (s == nullptr || l == nullptr) return;
        const int32_t expected = Find(w.sm[s].lights, l) >= 0 ? 1 : 0;
        if (expected) {
            Erase(w.sm[s].lights, l);
            for (Mesh* m : w.sm[s].meshes) w.ModelRemoveLight(l, &m->Head);
        }
        EXPECT_EQ(RemoveLightFromScene(s, l), expected);
        break;
    }
    case kAssignLightToMesh: {
        Light* l = w.Any(w.lights);
        Mesh* m = w.Any(w.meshes);
        if (l == nullptr || m == nullptr) return;
        Scene* meshScene = w.SceneOfMesh(m);
        Scene* own = w.SceneOfLight(l);
        if (meshScene != nullptr && own != nullptr && own != meshScene) return;  // one scene at a time
        w.ModelAssignLight(l, &m->Head);
        EXPECT_EQ(AssignLightToMesh(l, m), 0);
        break;
    }
    case kRemoveLightFromMesh: {
        Light* l = w.Any(w.lights);
        Mesh* m = w.Any(w.meshes);
        if (l == nullptr || m == nullptr) return;
        w.ModelRemoveLight(l, &m->Head);
        EXPECT_EQ(RemoveLightFromMesh(l, m), 0);
        break;
    }
    case kMaterialList: {
        Scene* s = w.Any(w.scenes);
        Material* m = w.Any(w.materials);
        if (s == nullptr || m == nullptr) return;
        if (w.Chance(50)) {
            if ((w.Holder(&SceneModel::materials, m) != nullptr)) return;  // no list may hold it already
            w.sm[s].materials.push_back(m);
            EXPECT_EQ(AssignMaterialToScene(s, m), 1);
        } else {
            const int32_t expected = Find(w.sm[s].materials, m) >= 0 ? 1 : 0;
            Erase(w.sm[s].materials, m);
            EXPECT_EQ(RemoveMaterialFromScene(s, m), expected);
        }
        break;
    }
    case kSkeletonList: {
        Scene* s = w.Any(w.scenes);
        Skeleton* k = w.Any(w.skeletons);
        if (s == nullptr || k == nullptr) return;
        std::vector<Skeleton*>& v = w.sm[s].skeletons;
        if (w.Chance(50)) {
            const bool listed = w.Holder(&SceneModel::skeletons, k) != nullptr;
            if (!listed) v.push_back(k);
            EXPECT_EQ(AssignSkeletonToScene(s, k), listed ? 0 : 1);
        } else {
            const int32_t index = Find(v, k);
            if (index >= 0) EraseEmptyingAtTail(v, index);
            EXPECT_EQ(RemoveSkeletonFromScene(s, k), index >= 0 ? 1 : 0);
        }
        break;
    }
    case kSetViewport: {
        Scene* s = w.Any(w.scenes);
        if (s == nullptr) return;
        SceneModel& model = w.sm[s];
        if (w.Chance(15)) {
            model.viewport = nullptr;
            SetSceneViewport(s, nullptr);
            break;
        }
        w.viewport.Camera = w.Chance(70) ? w.Any(w.cameras) : nullptr;
        model.viewport = &w.viewport;
        Camera* c = w.viewport.Camera;
        if (model.active == -1 && c != nullptr) {
            if (!(w.Holder(&SceneModel::cameras, c) != nullptr)) {
                if (model.cameras.empty()) model.active = 0;
                model.cameras.push_back(c);
            }
            if (Find(model.cameras, c) >= 0) model.active = Find(model.cameras, c);
        }
        SetSceneViewport(s, &w.viewport);
        break;
    }
    case kDeleteMesh: {
        Mesh* m = w.Any(w.meshes);
        if (m == nullptr) return;
        w.ModelDeleteMesh(m);
        DeleteMesh(m);
        break;
    }
    case kDeleteCamera: {
        Camera* c = w.Any(w.cameras);
        if (c == nullptr) return;
        w.PrepareCameraDelete(c);
        if (w.Chance(50)) {
            // Bit 31: the delete searches the scenes itself.
            c->State |= 0x80000000u;
            for (Scene* s : w.scenes) {
                if (w.ModelRemoveCamera(s, c) != 0) break;
            }
        } else {
            EXPECT_EQ(RemoveCameraFromAllScenes(c), w.ModelRemoveCameraFromAll(c));
        }
        w.KillCamera(c);
        DeleteCamera(c);
        break;
    }
    case kDeleteLight: {
        Light* l = w.Any(w.lights);
        if (l == nullptr) return;
        Scene* own = w.SceneOfLight(l);
        w.PrepareLightDelete(l, own);
        if (own != nullptr) {
            Erase(w.sm[own].lights, l);
            for (Mesh* m : w.sm[own].meshes) w.ModelRemoveLight(l, &m->Head);
        }
        w.KillLight(l);
        DeleteLight(l);
        break;
    }
    case kDeleteMaterial: {
        Material* m = w.Any(w.materials);
        if (m == nullptr) return;
        for (Scene* s : w.scenes) {
            if (Find(w.sm[s].materials, m) >= 0) {
                Erase(w.sm[s].materials, m);
                EXPECT_EQ(RemoveMaterialFromScene(s, m), 1);
            }
        }
        Erase(w.materials, m);
        DeleteMaterial(m);
        break;
    }
    case kDeleteScene: {
        Scene* s = w.Any(w.scenes);
        if (s == nullptr) return;
        DeleteSceneStep(w, s, w.Chance(40));
        break;
    }
    case kValidate: {
        Mesh* m = w.Any(w.meshes);
        if (m == nullptr) return;
        EXPECT_EQ(ValidateMesh(m), m);  // fixed: rebuilt in place, tree and scene untouched
        break;
    }
    case kOpCount:
        return;
    }
    ++w.done[op];
}

Op PickOp(World& w)
{
    int32_t total = 0;
    for (int32_t weight : kWeights) total += weight;
    int32_t r = w.Pick(total);
    for (int32_t op = 0; op < kOpCount; ++op) {
        if (r < kWeights[op]) return static_cast<Op>(op);
        r -= kWeights[op];
    }
    return kOpCount;
}

// Everything the sequence left alive goes, under the same host rules.
void DeleteEverything(World& w)
{
    while (!w.scenes.empty()) {
        DeleteSceneStep(w, w.scenes.front(), true);
        CheckWorld(w);
    }
    while (!w.meshes.empty()) {
        Mesh* top = w.TopOf(w.meshes.front());
        w.ModelDeleteMesh(top);
        DeleteMesh(top);
    }
    while (!w.cameras.empty()) {
        Camera* c = w.cameras.front();
        w.PrepareCameraDelete(c);
        w.KillCamera(c);
        DeleteCamera(c);
    }
    while (!w.lights.empty()) {
        Light* l = w.lights.front();
        w.PrepareLightDelete(l, nullptr);
        w.KillLight(l);
        DeleteLight(l);
    }
    for (Material* m : w.materials) DeleteMaterial(m);
    w.materials.clear();
    // Skeletons are the test's own records (the scenes only link them).
    for (Skeleton* k : w.skeletons) FreeMemory(k);
    w.skeletons.clear();
}

TEST(SceneRandom, InvariantsHoldOverAFixedSequence)
{
    // The engine's scene list is module-wide: the run works on an empty one
    // and puts the old one back.
    Scene* const savedHead = g_Engine.SceneListHead;
    Scene* const savedTail = g_Engine.SceneListTail;
    g_Engine.SceneListHead = g_Engine.SceneListTail = nullptr;

    World w;
    constexpr int32_t kSteps = 6000;
    for (int32_t step = 0; step < kSteps; ++step) {
        const Op op = PickOp(w);
        Step(w, op);
        CheckWorld(w);
        for (Scene* s : w.scenes) {
            const SceneModel& model = w.sm[s];
            const bool inRange = model.active >= 0 && model.active < static_cast<int32_t>(model.cameras.size());
            ASSERT_EQ(GetActivedSceneCamera(s), inRange ? model.cameras[model.active] : nullptr);
            ASSERT_EQ(GetSceneNumberOfMeshes(s), static_cast<int32_t>(model.meshes.size()));
        }
        if (testing::Test::HasFailure()) {
            ADD_FAILURE() << "stopped at step " << step << ", operation " << op;
            break;
        }
    }
    // Every operation ran often enough for the run to mean something.
    // (Skeletons are never deleted, so only three are ever made.)
    for (int32_t op = 0; op < kOpCount && !testing::Test::HasFailure(); ++op) {
        EXPECT_GE(w.done[op], op == kNewSkeleton ? 3 : 20) << "operation " << op;
    }
    DeleteEverything(w);
    EXPECT_TRUE(w.meshes.empty() && w.cameras.empty() && w.lights.empty());
    EXPECT_EQ(g_Engine.SceneListHead, nullptr);
    g_Engine.SceneListHead = savedHead;
    g_Engine.SceneListTail = savedTail;
}

}  // namespace
}  // namespace span3d
