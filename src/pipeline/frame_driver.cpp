// The frame driver: DrawScene draws everything a Scene holds, DrawMesh one
// mesh tree into the viewport that the mesh carries. Both take the same road:
// snapshot the camera and the lights, update the hierarchy and the matrices,
// let the emission functions file each visible mesh's polygons as DrawItems,
// sort what needs sorting, and hand every item with its triangle function to
// the clipper.
//
// Two disciplines, chosen by the viewport's depth bit:
//
//   Z-buffer  the main list grows down from the last slot of the draw-item
//             array and is drawn unsorted; blended polygons grow up from the
//             first slot, carry a key and are drawn after it, back to front.
//             Every polygon goes into exactly one list, so the two meet at
//             most. Triangle functions: the odd (depth-tested) entries.
//   sorted    one list grows up from the first slot, every item is keyed and
//             the whole list is drawn back to front. Triangle functions: the
//             even entries (no depth test).
//
// The two drivers differ on purpose in small ways that hosts can see:
//   - the order of opaque polygons: DrawScene draws the main list from the
//     lowest used slot up, so the polygon emitted last comes first; DrawMesh
//     walks it from the top slot down, in emission order. With the depth test
//     on, the pictures differ only where two polygons have equal depth words;
//   - a hidden parent: DrawScene still collects its children, DrawMesh on a
//     hidden mesh draws nothing at all;
//   - bounds: DrawScene tests each mesh's box and lets meshes inside the depth
//     range take the fast vertex transform; DrawMesh never tests a box and
//     every vertex takes the near/far-tested transform;
//   - billboards below a parent are honoured by DrawMesh only.
//
// Capacity: the draw-item array has one slot per polygon that can reach it
// (the scene's TotalPolygons, the top mesh's SortCapacity), so no emission
// can overflow and no bound is checked here.
#include <stdint.h>

#include "kernel/kernel.h"
#include "objects/objects.h"
#include "pipeline/frame_state.h"
#include "pipeline/pipeline.h"
#include "raster/raster.h"

namespace span3d {

const EmitFunction kEmitSlotsZBuffer[kEmitSlotCount] = {
    EmitZUnlit,          EmitZLit,           // Form 1
    EmitNothing,         EmitNothing,        // Form 2: walked, never drawn
    EmitZBillboardUnlit, EmitZBillboardLit,  // Form 3
};

const EmitFunction kEmitSlotsSorted[kEmitSlotCount] = {
    EmitSortedUnlit,          EmitSortedLit,
    EmitNothing,              EmitNothing,
    EmitSortedBillboardUnlit, EmitSortedBillboardLit,
};

int32_t EmitSlotIndex(const Mesh* mesh)
{
    if (mesh->Form < kFormOrdinary || mesh->Form > kFormBillboard) return -1;
    const int32_t lit = (mesh->RenderFlags & SPAN3D_SHADE_MASK) != SPAN3D_SHADE_NONE ? 1 : 0;
    return (mesh->Form - 1) * 2 + lit;
}

namespace {

inline Mesh* AsMesh(Node* node) { return reinterpret_cast<Mesh*>(node); }

inline bool IsZBufferMode(const Viewport* viewport)
{
    return (viewport->ViewportWord & SPAN3D_VIEWPORT_DEPTH) != 0;
}

// The slot at `index` of a draw-item array, as an address. The top slot of
// an empty array (index -1) is formed without pointer arithmetic: nothing is
// ever filed there, and the array pointer may be null.
inline DrawItem* SlotAt(DrawItem* items, int32_t index)
{
    return reinterpret_cast<DrawItem*>(reinterpret_cast<uintptr_t>(items) +
                                       static_cast<uintptr_t>(static_cast<intptr_t>(index)) *
                                           sizeof(DrawItem));
}

// The camera's and the lights' host values become this frame's world values;
// a camera or light below a parent mesh gets its final ones from the
// hierarchy update that follows.
inline void SnapshotPlaced(Vector3* worldPosition, Vector3* worldTarget, const Vector3* position,
                           const Vector3* target)
{
    *worldPosition = *position;
    *worldTarget = *target;
}

void SnapshotCamera(Camera* camera)
{
    SnapshotPlaced(&camera->WorldPosition, &camera->WorldTarget, &camera->Position, &camera->Target);
}

// The mesh's LightList is zero-terminated; a light shared by several meshes
// is copied once for each.
void SnapshotMeshLights(Mesh* mesh)
{
    Light** list = mesh->LightList;
    if (list == nullptr) return;  // a growable mesh has none; it is never drawn
    for (; *list != nullptr; ++list) {
        Light* light = *list;
        SnapshotPlaced(&light->WorldPosition, &light->WorldTarget, &light->Position, &light->Target);
    }
}

// Draws one item. The triangle function comes from the row of its shade mode
// (flags & 7) at the render mode (bits 20-26) doubled, plus one for the
// depth-tested form.
inline void DrawItemZ(DrawItem* item)
{
    const uint32_t flags = item->Flags;
    ClipAndDrawPolygon(item, RasterizerTable[flags & SPAN3D_SHADE_MASK][RasterizerIndexZ(flags)]);
}

inline void DrawItemSorted(DrawItem* item)
{
    const uint32_t flags = item->Flags;
    ClipAndDrawPolygon(item, RasterizerTable[flags & SPAN3D_SHADE_MASK][RasterizerIndex(flags)]);
}

// The blend list (Z-buffer mode) or the whole list (sorted mode), sorted
// ascending by key: walked from the last used index down, far to near.
void DrawSortedBackToFront(DrawItem* items, const uint32_t* indices, int32_t count, bool zbuffer)
{
    for (int32_t i = count - 1; i >= 0; --i) {
        DrawItem* item = &items[indices[i]];
        if (zbuffer) {
            DrawItemZ(item);
        } else {
            DrawItemSorted(item);
        }
    }
}

// One mesh's emission in the scene collection: the slot that DrawScene chose
// for this frame. A Form without a slot is prepared but emits nothing.
void CollectSceneMesh(Scene* scene, Mesh* mesh)
{
    PrepareMeshTransform(mesh, g_Frame.CurrentViewport, g_Frame.CurrentCamera);
    g_Frame.PolygonCursor = mesh->Polygons;
    const int32_t slot = EmitSlotIndex(mesh);
    if (slot >= 0) {
        scene->DrawItemCount += g_Frame.EmitSlots[slot](mesh);
    }
}

// One mesh's emission in DrawMesh: the function of the mode's column for its
// Form and shade mode, called directly (EmitSlots belongs to DrawScene).
// Only Forms 1 and 3 emit.
void EmitForDrawMesh(Mesh* mesh, const EmitFunction* column)
{
    if (mesh->Form != kFormOrdinary && mesh->Form != kFormBillboard) return;
    g_Frame.MeshDrawnCount += column[EmitSlotIndex(mesh)](mesh);
}

// The view matrix and emission of one mesh on the DrawMesh road: no bounds
// test, so every vertex takes the near/far-tested transform.
void PrepareForDrawMesh(Mesh* mesh)
{
    mesh->RenderFlags |= SPAN3D_MESH_BOUNDS_CUT;
    PrepareMeshTransform(mesh, g_Frame.CurrentViewport, g_Frame.CurrentCamera);
    g_Frame.PolygonCursor = mesh->Polygons;
}

void CollectHierarchy(Node* node, const EmitFunction* column)
{
    if (NodeKind(node) != KindMesh) return;
    Mesh* mesh = AsMesh(node);
    if ((mesh->RenderFlags & MeshSkipMask) == 0) {
        UpdateMeshViewMatrix(mesh, g_Frame.CurrentCamera);
        if (mesh->Form == kFormBillboard) ApplyBillboard(mesh);
        PrepareForDrawMesh(mesh);
        EmitForDrawMesh(mesh, column);
    }
    for (int32_t i = 0; i < node->ChildCount; ++i) {
        CollectHierarchy(node->Children[i], column);
    }
}

// Steps 6 and 7 of DrawMesh for the mode's column: the cursors, then the
// whole tree or the single mesh. Leaves MeshDrawnCount.
void CollectMesh(Mesh* mesh, bool zbuffer)
{
    if (zbuffer) {
        g_Frame.MainCount = 0;
        g_Frame.BlendCount = 0;
        g_Frame.MainCursor = SlotAt(mesh->DrawItems, mesh->SortCapacity - 1);
        g_Frame.BlendCursor = mesh->DrawItems;
    } else {
        // BlendCursor is left as it was: sorted emission never reads it.
        g_Frame.MainCursor = mesh->DrawItems;
    }
    if (mesh->Head.ChildCount != 0) {
        if (zbuffer) {
            CollectHierarchyZ(&mesh->Head);
        } else {
            CollectHierarchySorted(&mesh->Head);
        }
        return;
    }
    // The world update of this frame has just cleared 0x20000, so in effect a
    // leaf mesh is always drawn: DrawMesh runs no bounds test.
    if ((mesh->RenderFlags & SPAN3D_MESH_BOUNDS_OUT) != 0) return;
    UpdateLeafViewMatrix(mesh, g_Frame.CurrentCamera);
    PrepareForDrawMesh(mesh);
    EmitForDrawMesh(mesh, zbuffer ? kEmitSlotsZBuffer : kEmitSlotsSorted);
}

// Step 8 of DrawMesh: an empty frame leaves DrawItemCount as it was.
int32_t StoreMeshDrawnCount(Mesh* mesh)
{
    if (g_Frame.MeshDrawnCount == 0) return 0;
    mesh->DrawItemCount = g_Frame.MeshDrawnCount;
    return 1;
}

}  // namespace

void CollectNode(Scene* scene, Node* node)
{
    // Nothing below a node that is not a plain mesh is visited.
    if (NodeKind(node) != KindMesh) return;
    Mesh* mesh = AsMesh(node);
    // A hidden (or rejected) parent does not hide its children.
    if ((mesh->RenderFlags & MeshSkipMask) == 0) {
        CollectSceneMesh(scene, mesh);
    }
    for (int32_t i = 0; i < node->ChildCount; ++i) {
        CollectNode(scene, node->Children[i]);
    }
}

int32_t CollectScene(Scene* scene)
{
    Camera* camera = g_Frame.CurrentCamera;
    SnapshotCamera(camera);
    for (Mesh* mesh = scene->Meshes; mesh != nullptr; mesh = mesh->SceneNext) {
        SnapshotMeshLights(mesh);
    }
    UpdateSceneHierarchy(scene);
    AdjustCameraFocale(g_Frame.CurrentViewport, camera);
    UpdateCameraMatrix(camera);
    UpdateSceneViewMatrices(scene);

    // Only leaves at the top of the list count as visible; a tree and all its
    // members are collected without being counted.
    scene->VisibleMeshes = 0;
    for (Mesh* mesh = scene->Meshes; mesh != nullptr; mesh = mesh->SceneNext) {
        if (mesh->Head.ChildCount == 0) {
            if ((mesh->RenderFlags & MeshSkipMask) != 0) continue;
            scene->VisibleMeshes += 1;
            CollectSceneMesh(scene, mesh);
        } else {
            CollectNode(scene, &mesh->Head);
        }
    }
    return scene->TotalPolygons != 0 ? 1 : 0;
}

void CollectHierarchyZ(Node* node) { CollectHierarchy(node, kEmitSlotsZBuffer); }

void CollectHierarchySorted(Node* node) { CollectHierarchy(node, kEmitSlotsSorted); }

int32_t CollectMeshSorted(Mesh* mesh)
{
    CollectMesh(mesh, false);
    return StoreMeshDrawnCount(mesh);
}

void DrawMeshItems(Mesh* mesh)
{
    SetRasterTarget(g_Frame.CurrentViewport, g_Frame.CurrentCamera);
    // The main list from the top slot down: emission order.
    const int32_t top = mesh->SortCapacity - 1;
    for (int32_t i = 0; i < g_Frame.MainCount; ++i) {
        DrawItemZ(&mesh->DrawItems[top - i]);
    }
    if (g_Frame.BlendCount != 0) {
        DrawSortedBackToFront(mesh->DrawItems, mesh->SortIndices, g_Frame.BlendCount, true);
    }
}

}  // namespace span3d

using namespace span3d;

extern "C" SPAN3D_API void DrawScene(Scene* scene)
{
    if ((scene->SceneWord & SPAN3D_SCENE_READY) == 0 || scene->Meshes == nullptr ||
        scene->Cameras == nullptr || scene->Viewport == nullptr || scene->ActiveCamera == -1 ||
        !ViewportIsEnabled(scene->Viewport)) {
        return;
    }
    g_Frame.CurrentViewport = scene->Viewport;
    // No look-out for the end of the list: ActiveCamera is kept within it by
    // the scene's camera operations.
    Camera* camera = scene->Cameras;
    for (int32_t i = 0; i < scene->ActiveCamera; ++i) camera = camera->SceneNext;
    g_Frame.CurrentCamera = camera;

    SetFrameClip(g_Frame.CurrentViewport);
    scene->DrawItemCount = 0;

    const bool zbuffer = IsZBufferMode(g_Frame.CurrentViewport);
    const EmitFunction* column = zbuffer ? kEmitSlotsZBuffer : kEmitSlotsSorted;
    for (int32_t i = 0; i < kEmitSlotCount; ++i) g_Frame.EmitSlots[i] = column[i];
    if (zbuffer) {
        g_Frame.MainCount = 0;
        g_Frame.BlendCount = 0;
        g_Frame.MainCursor = SlotAt(scene->DrawItems, scene->TotalPolygons - 1);
        g_Frame.BlendCursor = scene->DrawItems;
    } else {
        // MainCount and BlendCount keep their old values; nothing reads them.
        g_Frame.MainCursor = scene->DrawItems;
        g_Frame.BlendCursor = nullptr;
    }

    if (CollectScene(scene) == 0) return;

    if (zbuffer) {
        SortDrawItems(static_cast<uint32_t>(g_Frame.BlendCount), scene->DrawItems, scene->SortIndices);
        SetRasterTarget(g_Frame.CurrentViewport, g_Frame.CurrentCamera);
        // The main list from its lowest used slot up: the item emitted last is
        // drawn first.
        for (int32_t i = scene->TotalPolygons - g_Frame.MainCount; i < scene->TotalPolygons; ++i) {
            DrawItemZ(&scene->DrawItems[i]);
        }
        if (g_Frame.BlendCount != 0) {
            DrawSortedBackToFront(scene->DrawItems, scene->SortIndices, g_Frame.BlendCount, true);
        }
    } else {
        SortDrawItems(static_cast<uint32_t>(scene->DrawItemCount), scene->DrawItems, scene->SortIndices);
        SetRasterTarget(g_Frame.CurrentViewport, g_Frame.CurrentCamera);
        DrawSortedBackToFront(scene->DrawItems, scene->SortIndices, scene->DrawItemCount, false);
    }
}

extern "C" SPAN3D_API void DrawMesh(Mesh* mesh)
{
    if ((mesh->RenderFlags & SPAN3D_MESH_ACTIVE) == 0) return;
    g_Frame.CurrentViewport = mesh->Viewport;
    if (g_Frame.CurrentViewport == nullptr) return;
    g_Frame.CurrentCamera = g_Frame.CurrentViewport->Camera;
    if (g_Frame.CurrentCamera == nullptr || !ViewportIsEnabled(g_Frame.CurrentViewport)) return;

    SetFrameClip(g_Frame.CurrentViewport);
    g_Frame.MeshDrawnCount = 0;
    // A hidden mesh takes its children with it, unlike in DrawScene.
    if ((mesh->RenderFlags & SPAN3D_MESH_HIDDEN) != 0) return;

    // Only the top mesh's lights are snapshot: a light that only a child
    // lists keeps the world values of whatever frame last set them.
    Camera* camera = g_Frame.CurrentCamera;
    SnapshotCamera(camera);
    SnapshotMeshLights(mesh);
    if (mesh->Head.ChildCount != 0) {
        UpdateNodeHierarchy(&mesh->Head);
    } else {
        UpdateMeshWorldMatrix(mesh);
    }
    AdjustCameraFocale(g_Frame.CurrentViewport, camera);
    UpdateCameraMatrix(camera);

    if (IsZBufferMode(g_Frame.CurrentViewport)) {
        CollectMesh(mesh, true);
        if (StoreMeshDrawnCount(mesh) == 0) return;
        if (g_Frame.BlendCount != 0) {
            SortDrawItems(static_cast<uint32_t>(g_Frame.BlendCount), mesh->DrawItems, mesh->SortIndices);
        }
        DrawMeshItems(mesh);
    } else {
        if (CollectMeshSorted(mesh) == 0) return;
        SortDrawItems(static_cast<uint32_t>(mesh->DrawItemCount), mesh->DrawItems, mesh->SortIndices);
        SetRasterTarget(g_Frame.CurrentViewport, g_Frame.CurrentCamera);
        DrawSortedBackToFront(mesh->DrawItems, mesh->SortIndices, mesh->DrawItemCount, false);
    }
}
