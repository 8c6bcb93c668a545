// Node hierarchy: attaching and detaching children, and the draw-list
// arithmetic that goes with it. A mesh tree has one sort block with a slot
// for each polygon of the whole tree; it belongs to the top of the tree, or
// to the scene that holds the top, and every change of the tree re-sizes it.
//
// Invariants after each operation on a mesh tree: a mesh's SortCapacity is
// its PolygonCount plus the SortCapacity of its mesh children; only the top
// (or its scene) holds a block; a mesh child has SortIndices null and a stale,
// non-null DrawItems that still marks it as fixed; only the top has a Scene.
#include "objects/objects.h"

#include "kernel/kernel.h"

namespace span3d {

namespace {

// The walks up a tree read every node above a mesh as a Mesh: SortCapacity,
// SortIndices, DrawItems and Scene are taken where a mesh has them, whatever
// the node's kind. Mesh trees that hang below a camera or a light therefore
// must not grow or shrink; the public header says so.
Mesh* AsMesh(Node* node) { return reinterpret_cast<Mesh*>(node); }

// Adds `delta` slots to SortCapacity of `from` and of every node above it,
// and returns the top of the tree, the node with no parent.
Mesh* AddCapacityUpward(Node* from, int32_t delta)
{
    Node* node = from;
    for (;;) {
        AsMesh(node)->SortCapacity += delta;
        if (node->Parent == nullptr) {
            return AsMesh(node);
        }
        node = node->Parent;
    }
}

// Hands the block to the sort: indices 0 .. slots - 1. A null block (failed
// allocation) is left for the next draw to meet; there is nothing to reset.
void ResetBlock(uint32_t* block, int32_t slots)
{
    if (block != nullptr) {
        ResetRadixSort(static_cast<uint32_t>(slots), block);
    }
}

// The top of a tree without a scene: the new block of SortCapacity slots is
// allocated before the old one is freed.
void RenewTopSortBlock(Mesh* top)
{
    uint32_t* block = AllocateSortBlock(top->SortCapacity);
    if (top->SortIndices != nullptr) {
        FreeMemory(top->SortIndices);
    }
    top->SortIndices = block;
    if (block != nullptr) {
        top->DrawItems = SortBlockItems(block, top->SortCapacity);
    }
    ResetBlock(block, top->SortCapacity);
}

// After a change of `delta` slots below `top`: the block of the top's scene,
// or else of the top itself, is made anew at the new size.
void ResizeTreeBlock(Mesh* top, int32_t delta)
{
    if (top->Scene != nullptr) {
        Scene* scene = top->Scene;
        scene->TotalPolygons += delta;
        RenewSceneSortBlock(scene);
    } else {
        RenewTopSortBlock(top);
    }
}

}  // namespace

void GiveMeshSortBlock(Mesh* mesh)
{
    uint32_t* block = AllocateSortBlock(mesh->SortCapacity);
    mesh->SortIndices = block;
    if (block != nullptr) {
        mesh->DrawItems = SortBlockItems(block, mesh->SortCapacity);
    }
    ResetBlock(block, mesh->SortCapacity);
}

void RenewSceneSortBlock(Scene* scene)
{
    if (scene->SortIndices != nullptr) {
        FreeMemory(scene->SortIndices);
    }
    uint32_t* block = AllocateSortBlock(scene->TotalPolygons);
    scene->SortIndices = block;
    scene->DrawItems = block != nullptr ? SortBlockItems(block, scene->TotalPolygons) : nullptr;
    ResetBlock(block, scene->TotalPolygons);
}

void FreeNodeChildren(Node* node)
{
    // As many rounds as there were children at the start, each on the first
    // child of the moment: the detach below takes it from the front.
    const int32_t rounds = node->ChildCount;
    for (int32_t i = 0; i < rounds; ++i) {
        Node* child = node->Children[0];
        // Whatever its kind, a child's own subtree goes first, so a mesh that
        // survives by its TvObject ends up with no children.
        if (child->ChildCount != 0) {
            FreeNodeChildren(child);
        }
        DetachChildFromNode(node, child);
        // Exactly kind 1: a mesh variant survives like a camera or a light.
        if (NodeKind(child) == KindMesh) {
            FreeMeshStorage(AsMesh(child));
        }
    }
}

}  // namespace span3d

using namespace span3d;

extern "C" SPAN3D_API int32_t AttachChildToNode(Node* parent, Node* child)
{
    if (child->Parent != nullptr) {
        // Re-attaching to the same parent moves the child to the end.
        DetachChildFromNode(child->Parent, child);
    }

    // A new array of exactly ChildCount pointers each time; not tested for
    // failure, like every allocation of the hierarchy.
    const int32_t count = parent->ChildCount + 1;
    Node** children = static_cast<Node**>(AllocateMemory(static_cast<size_t>(count) * sizeof(Node*)));
    for (int32_t i = 0; i < count - 1; ++i) {
        children[i] = parent->Children[i];
    }
    if (parent->Children != nullptr) {
        FreeMemory(parent->Children);
    }
    children[count - 1] = child;
    parent->Children = children;
    parent->ChildCount = count;
    child->Parent = parent;

    // Only a mesh tree below a mesh (kind exactly 1) carries polygons that
    // count: a camera or light can have children, but no draw list.
    if (NodeKind(parent) != KindMesh || !IsAnyMeshKind(child->Kind)) {
        return 1;
    }
    Mesh* mesh = AsMesh(child);
    if (mesh->Scene != nullptr) {
        // Only tops stand in scenes. The lights stay in the child's list.
        RemoveMeshFromScene(mesh->Scene, mesh, 0);
    }
    const int32_t slots = mesh->SortCapacity;
    Mesh* top = AddCapacityUpward(parent, slots);
    if (mesh->SortIndices != nullptr) {
        FreeMemory(mesh->SortIndices);
        mesh->SortIndices = nullptr;
    }
    ResizeTreeBlock(top, slots);
    return 1;
}

extern "C" SPAN3D_API int32_t DetachChildFromNode(Node* parent, Node* child)
{
    const int32_t count = parent->ChildCount;
    if (count < 1) {
        return 0;
    }
    // The search runs over the whole array: every occurrence is counted and
    // left out below.
    int32_t found = 0;
    for (int32_t i = 0; i < count; ++i) {
        if (parent->Children[i] == child) {
            ++found;
        }
    }
    if (found == 0) {
        return 0;
    }
    if (count > 1) {
        Node** children =
            static_cast<Node**>(AllocateMemory(static_cast<size_t>(count - 1) * sizeof(Node*)));
        int32_t n = 0;
        for (int32_t i = 0; i < count; ++i) {
            if (parent->Children[i] != child) {
                children[n++] = parent->Children[i];
            }
        }
        FreeMemory(parent->Children);
        parent->Children = children;
    } else {
        FreeMemory(parent->Children);
        parent->Children = nullptr;
    }
    child->Parent = nullptr;
    parent->ChildCount = count - 1;

    if (NodeKind(parent) != KindMesh || !IsAnyMeshKind(child->Kind)) {
        return 1;
    }
    Mesh* mesh = AsMesh(child);
    const int32_t slots = mesh->SortCapacity;
    Mesh* top = AddCapacityUpward(parent, -slots);
    ResizeTreeBlock(top, -slots);
    // The child is a top now and takes a block of its own.
    GiveMeshSortBlock(mesh);
    return 1;
}
