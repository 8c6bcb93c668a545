// Set-up shared by the object-model tests: objects made the usual way, trees
// built by hand, and the sort-block invariant checker that the hierarchy
// tests and the randomized scene sequence both run after every step.
#pragma once

#include <gtest/gtest.h>

#include <malloc.h>
#include <stdio.h>
#include <string.h>

#include <initializer_list>
#include <vector>

#include "kernel/kernel.h"
#include "objects/objects.h"

#if defined(__SANITIZE_ADDRESS__)
#define SPAN3D_TEST_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define SPAN3D_TEST_ASAN 1
#endif
#endif
#if defined(SPAN3D_TEST_ASAN)
#include <sanitizer/allocator_interface.h>
#endif

namespace span3d {
namespace test {

inline Node* N(Mesh* m) { return &m->Head; }
inline uint32_t Bits(float f) { uint32_t u; memcpy(&u, &f, 4); return u; }
inline float FloatFromBits(uint32_t u) { float f; memcpy(&f, &u, 4); return f; }

// A fixed mesh with ActivateMesh's bit, so that scenes take it.
inline Mesh* MakeMesh(int32_t polygons, int32_t vertices = 3, uint32_t tv = 0)
{
    Mesh* mesh = CreateMesh(vertices, polygons, 0);
    mesh->RenderFlags |= SPAN3D_MESH_ACTIVE;
    mesh->TvObject = tv;
    return mesh;
}

inline Camera* MakeCamera(const char* name = nullptr, float fov = 60.0f, float nearDistance = 10.0f)
{
    Vector3 p = {0.0f, 0.0f, 0.0f}, t = {0.0f, 0.0f, 1.0f};
    Camera* camera = CreateCamera(&p, &t, 0.0f, fov, nearDistance);
    if (name != nullptr) SetCameraName(camera, name);
    return camera;
}

inline Light* MakeLight(const char* name = nullptr, bool direct = false, uint32_t status = 0)
{
    Vector3 p = {0.0f, 0.0f, 0.0f}, t = {0.0f, 0.0f, 1.0f};
    float colour[4] = {1.0f, 1.0f, 1.0f, 1.0f};
    Light* light = direct ? CreateDirectLight(&p, &t, colour, 1.0f, status)
                          : CreateOmniLight(&p, colour, 1.0f, 0.0f, 100.0f, status);
    if (name != nullptr) SetLightName(light, name);
    return light;
}

inline Material* MakeMaterial(const char* name = nullptr)
{
    Material templ;
    memset(&templ, 0, sizeof templ);
    Material* material = CreateMaterial(&templ);
    if (name != nullptr) SetMaterialName(material, name);
    return material;
}

inline Texture MakeTexture(int32_t width, int32_t height, int32_t pitchBytes, Pixel15* pixels)
{
    Texture t;
    memset(&t, 0, sizeof t);
    t.Width = width;
    t.Height = height;
    t.PitchBytes = pitchBytes;
    t.Pixels = pixels;
    return t;
}

// The default names: the word and the counter, two digits at least.
inline void ExpectedName(char* out, const char* word, int32_t counter)
{
    snprintf(out, 32, "%s%02d", word, counter);
}

// The engine's scene list is module-wide: tests that look at its ends run on
// an empty list of their own and put the old one back.
struct ScopedSceneList {
    Scene* head = g_Engine.SceneListHead;
    Scene* tail = g_Engine.SceneListTail;
    ScopedSceneList() { g_Engine.SceneListHead = g_Engine.SceneListTail = nullptr; }
    ~ScopedSceneList() { g_Engine.SceneListHead = head, g_Engine.SceneListTail = tail; }
};

// ---------------------------------------------------------------- sort blocks

// A block of `slots` slots: DrawItems where the layout puts them, indices
// reset to 0 .. slots-1 (nothing has sorted since), and the block as large as
// the layout needs: exactly where the sanitizer knows the allocation's size,
// at least on the plain heap (which rounds up).
inline void ExpectBlock(const uint32_t* block, const DrawItem* items, int32_t slots)
{
    ASSERT_NE(block, nullptr);
    ASSERT_EQ(items, SortBlockItems(const_cast<uint32_t*>(block), slots));
    for (int32_t i = 0; i < slots; ++i) ASSERT_EQ(block[i], static_cast<uint32_t>(i)) << "slot " << i;
    size_t bytes = SortBlockBytes(slots);
    if (bytes == 0) bytes = 1;  // the host allocator's smallest block
#if defined(SPAN3D_TEST_ASAN)
    ASSERT_EQ(__sanitizer_get_allocated_size(block), bytes);
#else
    ASSERT_GE(malloc_usable_size(const_cast<uint32_t*>(block)), bytes);
#endif
}

// Checks the tree below `mesh` and returns the slots it needs: SortCapacity
// is its polygons plus its mesh children's (kind 1 parents only count them);
// mesh children hold no block and no scene; Parent and Children agree.
inline int32_t CheckSubtree(const Mesh* mesh)
{
    int32_t expected = mesh->PolygonCount;
    const Node* node = &mesh->Head;
    EXPECT_EQ(node->Children == nullptr, node->ChildCount == 0);
    for (int32_t i = 0; i < node->ChildCount; ++i) {
        const Node* child = node->Children[i];
        EXPECT_EQ(child->Parent, node);
        if (!IsAnyMeshKind(child->Kind) || NodeKind(node) != KindMesh) continue;
        const Mesh* m = reinterpret_cast<const Mesh*>(child);
        EXPECT_EQ(m->SortIndices, nullptr);
        EXPECT_NE(m->DrawItems, nullptr);  // stale, still marks it fixed
        EXPECT_EQ(m->Scene, nullptr);
        expected += CheckSubtree(m);
    }
    EXPECT_EQ(mesh->SortCapacity, expected);
    return expected;
}

// A top without a scene owns a block of SortCapacity slots.
inline void ExpectLoneTop(const Mesh* top)
{
    EXPECT_EQ(top->Head.Parent, nullptr);
    EXPECT_EQ(top->Scene, nullptr);
    CheckSubtree(top);
    ExpectBlock(top->SortIndices, top->DrawItems, top->SortCapacity);
}

// A scene owns one block for all its trees, from its first mesh on, even for
// no slots; its tops own none; the totals add up and the list is two-way.
inline void ExpectScene(const Scene* scene)
{
    int32_t polygons = 0, vertices = 0;
    for (const Mesh* m = scene->Meshes; m != nullptr; m = m->SceneNext) {
        EXPECT_EQ(m->Scene, scene);
        EXPECT_EQ(m->SortIndices, nullptr);
        polygons += CheckSubtree(m);
        vertices += m->VertexCount;
        EXPECT_TRUE(m->SceneNext == nullptr || m->SceneNext->ScenePrev == m);
    }
    EXPECT_EQ(scene->TotalPolygons, polygons);
    EXPECT_EQ(scene->TotalVertices, vertices);
    if (scene->SortIndices == nullptr) {
        EXPECT_EQ(scene->Meshes, nullptr);
    } else {
        ExpectBlock(scene->SortIndices, scene->DrawItems, scene->TotalPolygons);
    }
}

// ---------------------------------------------------------------- hand-built trees

// Owns the nodes and Children blocks of one tree built without the hierarchy
// code. Non-mesh nodes are bare Node records of exactly sizeof(Node) bytes: a
// walker that read a mesh field from a camera, light or target would read
// past the block, which the sanitizer build reports. Every link is undone
// before deletion, so DeleteMesh meets no parent and no children.
class Tree {
public:
    Tree() = default;
    Tree(const Tree&) = delete;
    Tree& operator=(const Tree&) = delete;
    ~Tree()
    {
        for (Node* node : nodes_) {
            if (node->Children != nullptr) FreeMemory(node->Children);
            node->Children = nullptr, node->ChildCount = 0, node->Parent = nullptr;
        }
        for (size_t i = 0; i < nodes_.size(); ++i) {
            if (isMesh_[i]) DeleteMesh(reinterpret_cast<Mesh*>(nodes_[i]));
            else FreeMemory(nodes_[i]);
        }
    }
    // A fixed mesh of three vertices and one polygon with the Kind and Form given.
    Mesh* NewMesh(uint32_t kind = SPAN3D_KIND_MESH, int32_t form = kFormNone)
    {
        Mesh* mesh = CreateMesh(3, 1, 0);
        mesh->Head.Kind = kind;
        mesh->Form = form;
        nodes_.push_back(&mesh->Head), isMesh_.push_back(true);
        return mesh;
    }
    // A bare node head of the given Kind word (0 for a non-node).
    Node* NewNode(uint32_t kind)
    {
        Node* node = static_cast<Node*>(AllocateMemory(sizeof(Node)));
        node->Kind = kind;
        nodes_.push_back(node), isMesh_.push_back(false);
        return node;
    }
    // Hangs `children` below `parent` in one Children block of exactly
    // ChildCount pointers, as the hierarchy does.
    void Link(Node* parent, std::initializer_list<Node*> children)
    {
        Node** block = static_cast<Node**>(AllocateMemory(children.size() * sizeof(Node*)));
        int32_t count = 0;
        for (Node* child : children) block[count++] = child, child->Parent = parent;
        parent->Children = block;
        parent->ChildCount = count;
    }

private:
    std::vector<Node*> nodes_;
    std::vector<bool> isMesh_;
};

}  // namespace test
}  // namespace span3d
