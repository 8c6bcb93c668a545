// Mesh attributes: the plain accessors of a mesh's fields, and the five
// render-state setters that walk a whole tree and keep each mesh and its
// DefaultMaterial in step.
//
// The plain accessors test none of their arguments: a null mesh is the
// caller's fault. The tree walkers act on the node they are given and then
// call themselves on every child, of any kind, so a camera, light or target
// hanging inside a tree passes the call on to the meshes below it. A "mesh"
// in the walkers is Kind & 63 of 1 or 2; ShowMesh alone takes only 1.
#include "objects/objects.h"

#include "kernel/kernel.h"

namespace span3d {

namespace {

// Module-wide state of this family: the result block of GetMeshModelPosition.
// One block for all meshes; each call overwrites what the last one returned.
struct MeshAttributeState {
    Vector3 ModelPositionResult;  // model units
};
MeshAttributeState g_MeshAttributes;

// Translation column of a Matrix34 (rows of r0, r1, r2, t).
constexpr int32_t kMatrixTx = 3;
constexpr int32_t kMatrixTy = 7;
constexpr int32_t kMatrixTz = 11;

// Render-mode masks of SetMeshRenderMode. Each of the three plain modes keeps
// the mode bits at and below its own (dots keeps 0x100000, wire 0x300000,
// solid 0x700000), clears the render-mode bits above them, every stage bit and
// BlendBit, and ors its own bits in. The polygons' bits are not touched, so
// lowering the mesh's word masks their textures until a stage mode opens it.
constexpr uint32_t kKeepForDots  = 0xf81fffbfu;
constexpr uint32_t kKeepForWire  = 0xf83fffbfu;
constexpr uint32_t kKeepForSolid = 0xf87fffbfu;
static_assert(kKeepForDots == ~(0x7e00000u | SPAN3D_BLEND_BIT));
static_assert(kKeepForWire == ~(0x7c00000u | SPAN3D_BLEND_BIT));
static_assert(kKeepForSolid == ~(SPAN3D_STAGE_MASK | SPAN3D_BLEND_BIT));

// Every render-mode and stage bit: what a stage mode opens again.
constexpr uint32_t kAllModeBits = SPAN3D_RENDER_MODE_MASK | SPAN3D_STAGE_MASK;  // 0x7f00000

inline Mesh* AsMesh(Node* node) { return reinterpret_cast<Mesh*>(node); }

// The children of a node. The hierarchy keeps exactly ChildCount non-null
// pointers; a null slot or a null array with a count is passed over all the
// same, since a walker has no way to report it.
template <class Visit>
void ForEachChild(Node* node, Visit visit)
{
    Node** children = node->Children;
    if (children == nullptr) {
        return;
    }
    for (int32_t i = 0; i < node->ChildCount; ++i) {
        if (children[i] != nullptr) {
            visit(children[i]);
        }
    }
}

// The new RenderFlags of a mesh for SetMeshRenderMode; BlendBit follows
// `mode` in every case.
uint32_t MeshFlagsForRenderMode(uint32_t flags, uint32_t mode)
{
    switch (mode & ~SPAN3D_BLEND_BIT) {
    case SPAN3D_RENDER_DOTS:
        flags = (flags & kKeepForDots) | SPAN3D_RENDER_DOTS;
        break;
    case SPAN3D_RENDER_WIRE:
        flags = (flags & kKeepForWire) | SPAN3D_RENDER_WIRE;
        break;
    case SPAN3D_RENDER_SOLID:
        flags = (flags & kKeepForSolid) | SPAN3D_RENDER_SOLID;
        break;
    default:
        // Any stage bit opens the whole mask again, render mode included. A
        // value with neither an exact plain mode nor a stage bit (0x500000,
        // 0x100001, ...) leaves the mode bits alone.
        if ((mode & SPAN3D_STAGE_MASK) != 0) {
            flags = (flags & ~SPAN3D_BLEND_BIT) | kAllModeBits;
        }
        break;
    }
    return (flags & ~SPAN3D_BLEND_BIT) | (mode & SPAN3D_BLEND_BIT);
}

void RenderModeWalk(Node* node, int32_t mode)
{
    if (IsAnyMeshKind(node->Kind)) {
        Mesh* mesh = AsMesh(node);
        mesh->RenderFlags = MeshFlagsForRenderMode(mesh->RenderFlags, static_cast<uint32_t>(mode));
        // The material takes the same mode by its own rule: its render mode
        // changes only when `mode` names one, so after a stage mode it keeps
        // whatever plain mode it had (wire stays wire for its polygons).
        SetMaterialRenderMode(&mesh->DefaultMaterial, mode);
    }
    ForEachChild(node, [mode](Node* child) { RenderModeWalk(child, mode); });
}

void CullModeWalk(Node* node, int32_t mode)
{
    // Only an ordinary validated mesh takes the cull mode. A mesh not yet
    // validated (Form 0), one that draws nothing, and a billboard (which
    // always faces the camera) keep theirs. The value goes down as it then
    // stands: masked below an ordinary mesh, as it came below anything else.
    // Kind is tested first, so Form is read only from a Mesh record.
    if (IsAnyMeshKind(node->Kind) && AsMesh(node)->Form == kFormOrdinary) {
        Mesh* mesh = AsMesh(node);
        mode &= static_cast<int32_t>(SPAN3D_CULL_MASK);
        // Replaced whole: 0 clears the cull bits, so such a mesh is culled by
        // no row. The DefaultMaterial keeps its own cull mode.
        mesh->RenderFlags = (mesh->RenderFlags & ~SPAN3D_CULL_MASK) | static_cast<uint32_t>(mode);
    }
    ForEachChild(node, [mode](Node* child) { CullModeWalk(child, mode); });
}

void ShadeModeWalk(Node* node, int32_t mode)
{
    if (IsAnyMeshKind(node->Kind)) {
        Mesh* mesh = AsMesh(node);
        mode &= static_cast<int32_t>(SPAN3D_SHADE_MASK);
        // The mesh takes even 0, which no shade row draws; the material
        // ignores 0 and keeps its shade mode.
        mesh->RenderFlags = (mesh->RenderFlags & ~SPAN3D_SHADE_MASK) | static_cast<uint32_t>(mode);
        SetMaterialShadeMode(&mesh->DefaultMaterial, mode);
    }
    ForEachChild(node, [mode](Node* child) { ShadeModeWalk(child, mode); });
}

void HideWalk(Node* node)
{
    if (IsAnyMeshKind(node->Kind)) {
        AsMesh(node)->RenderFlags |= SPAN3D_MESH_HIDDEN;
    }
    ForEachChild(node, [](Node* child) { HideWalk(child); });
}

void ShowWalk(Node* node)
{
    // Kind 1 only: a host-made variant (kind 2) can be hidden but not shown
    // again by this call. Kept as designed; such a host clears 0x4000 itself.
    if (IsPlainMeshKind(node->Kind)) {
        AsMesh(node)->RenderFlags &= ~SPAN3D_MESH_HIDDEN;
    }
    ForEachChild(node, [](Node* child) { ShowWalk(child); });
}

}  // namespace

}  // namespace span3d

using namespace span3d;

// ---------------------------------------------------------------- render state
// A null root is ignored: the walkers have no result through which to report
// it, and doing nothing is what a caller passing "no mesh" wants.

extern "C" SPAN3D_API void SetMeshRenderMode(Mesh* mesh, int32_t mode)
{
    if (mesh != nullptr) {
        RenderModeWalk(&mesh->Head, mode);
    }
}

extern "C" SPAN3D_API void SetMeshCullMode(Mesh* mesh, int32_t mode)
{
    if (mesh != nullptr) {
        CullModeWalk(&mesh->Head, mode);
    }
}

extern "C" SPAN3D_API void SetMeshShadeMode(Mesh* mesh, int32_t mode)
{
    if (mesh != nullptr) {
        ShadeModeWalk(&mesh->Head, mode);
    }
}

extern "C" SPAN3D_API void HideMesh(Mesh* mesh)
{
    if (mesh != nullptr) {
        HideWalk(&mesh->Head);
    }
}

extern "C" SPAN3D_API void ShowMesh(Mesh* mesh)
{
    if (mesh != nullptr) {
        ShowWalk(&mesh->Head);
    }
}

// ---------------------------------------------------------------- plain accessors
// Each reads or writes one field. None tests its mesh pointer.

extern "C" SPAN3D_API uint32_t GetMeshRenderMode(Mesh* mesh)
{
    return mesh->RenderFlags & kAllModeBits;
}

extern "C" SPAN3D_API uint32_t GetMeshCullMode(Mesh* mesh)
{
    return mesh->RenderFlags & SPAN3D_CULL_MASK;
}

extern "C" SPAN3D_API uint32_t GetMeshShadeMode(Mesh* mesh)
{
    return mesh->RenderFlags & SPAN3D_SHADE_MASK;
}

extern "C" SPAN3D_API uint32_t IsHiddenMesh(Mesh* mesh)
{
    // The bit itself, 0x4000, not 1.
    return mesh->RenderFlags & SPAN3D_MESH_HIDDEN;
}

extern "C" SPAN3D_API Mesh* ActivateMesh(Mesh* mesh)
{
    // Nothing is checked: a generator's mesh arrives with normals and bounds
    // already made and needs only this bit to be drawn or put in a scene.
    mesh->RenderFlags |= SPAN3D_MESH_ACTIVE;
    return mesh;
}

extern "C" SPAN3D_API void SetMeshFaceSmoothG(Mesh* mesh, int32_t polygon, int32_t group)
{
    // A group outside 0..31 would spill beyond bits 12-16: such a call is
    // ignored whole. The normals are not rebuilt; the host validates again
    // or calls CalcMeshVerticesNormal.
    if (polygon < 0 || polygon >= mesh->PolygonCount || group < 0 || group > 31) {
        return;
    }
    MeshPolygon* face = &mesh->Polygons[polygon];
    face->Flags = (face->Flags & ~SPAN3D_SMOOTH_GROUP_MASK) |
                  (static_cast<uint32_t>(group) << SPAN3D_SMOOTH_GROUP_SHIFT);
}

extern "C" SPAN3D_API int32_t GetMeshFaceSmoothG(Mesh* mesh, int32_t polygon)
{
    if (polygon < 0 || polygon >= mesh->PolygonCount) {
        return 0;
    }
    return static_cast<int32_t>((mesh->Polygons[polygon].Flags & SPAN3D_SMOOTH_GROUP_MASK) >>
                                SPAN3D_SMOOTH_GROUP_SHIFT);
}

extern "C" SPAN3D_API void SetMeshViewport(Mesh* mesh, Viewport* viewport)
{
    // This mesh only: the children keep theirs.
    mesh->Viewport = viewport;
}

extern "C" SPAN3D_API Viewport* GetMeshViewport(Mesh* mesh)
{
    return mesh->Viewport;
}

extern "C" SPAN3D_API Light** GetMeshLightList(Mesh* mesh)
{
    // A growable mesh has no list at all; it answers null like a fixed mesh
    // whose list is empty, rather than reading through a null pointer.
    Light** list = mesh->LightList;
    if (list == nullptr || list[0] == nullptr) {
        return nullptr;
    }
    return list;
}

extern "C" SPAN3D_API void SetMeshModelOrientation(Mesh* mesh, float rx, float ry, float rz)
{
    // Degrees. MatrixFromEuler writes the rotation only: a position set
    // before stays in the translation column.
    const Vector3 angles = {rx, ry, rz};
    MatrixFromEuler(&mesh->ModelMatrix, &angles);
}

extern "C" SPAN3D_API void SetMeshModelPosition(Mesh* mesh, float x, float y, float z)
{
    float* m = mesh->ModelMatrix.m;
    m[kMatrixTx] = x;
    m[kMatrixTy] = y;
    m[kMatrixTz] = z;
}

extern "C" SPAN3D_API Vector3* GetMeshModelPosition(Mesh* mesh)
{
    // One block for every call: the caller copies the value out before the
    // next call overwrites it.
    const float* m = mesh->ModelMatrix.m;
    Vector3* result = &g_MeshAttributes.ModelPositionResult;
    result->x = m[kMatrixTx];
    result->y = m[kMatrixTy];
    result->z = m[kMatrixTz];
    return result;
}

extern "C" SPAN3D_API void SetMeshPivot(Mesh* mesh, float x, float y, float z)
{
    mesh->Pivot.x = x;
    mesh->Pivot.y = y;
    mesh->Pivot.z = z;
}

extern "C" SPAN3D_API Vector3* GetMeshPivot(Mesh* mesh)
{
    // The field itself, not a copy: writes through it move the pivot.
    return &mesh->Pivot;
}

extern "C" SPAN3D_API void SetMeshTvObject(Mesh* mesh, uint32_t value)
{
    mesh->TvObject = value;
}

extern "C" SPAN3D_API uint32_t GetMeshTvObject(Mesh* mesh)
{
    return mesh->TvObject;
}

extern "C" SPAN3D_API Material* GetMeshDefaultMaterial(Mesh* mesh)
{
    return &mesh->DefaultMaterial;
}

extern "C" SPAN3D_API char* SetMeshName(Mesh* mesh, const char* name)
{
    // No bound, like every name setter: 31 characters and the NUL fit; a
    // longer name runs into Viewport and the fields behind it.
    return TextCopy(mesh->Name, name);
}

extern "C" SPAN3D_API void SetMeshBillboardMode(Mesh* mesh, uint32_t mode)
{
    // Low 5 bits pick the billboard transform (1, 4, 8 or 16); the upper
    // bits of the word are the host's and stay.
    constexpr uint32_t kBillboardModeMask = 0x1fu;
    mesh->BillboardMode = (mesh->BillboardMode & ~kBillboardModeMask) | (mode & kBillboardModeMask);
}
