// Meshes: creation in two shapes (growable and fixed), geometry by index,
// texture coordinates, validation into a drawable mesh, and deletion.
#include "objects/objects.h"

#include "kernel/kernel.h"

namespace span3d {

namespace {

constexpr size_t AlignUp8(size_t bytes) { return (bytes + 7u) & ~static_cast<size_t>(7u); }

// Byte offsets of a fixed mesh's arrays inside its single block. Every array
// starts on an 8-byte boundary: VertexDoneBits may be an odd number of words,
// and the Polygons behind it hold pointers.
struct FixedMeshLayout {
    size_t Vertices;
    size_t VertexDoneBits;
    size_t Polygons;
    size_t LightList;
    size_t Total;
};

FixedMeshLayout LayoutFixedMesh(int32_t vertexCount, int32_t polygonCount)
{
    const size_t doneWords = (static_cast<size_t>(vertexCount) + 31u) / 32u;
    FixedMeshLayout layout;
    layout.Vertices = AlignUp8(sizeof(Mesh));
    layout.VertexDoneBits =
        layout.Vertices + AlignUp8(static_cast<size_t>(vertexCount) * sizeof(MeshVertex));
    layout.Polygons = layout.VertexDoneBits + AlignUp8(doneWords * sizeof(uint32_t));
    layout.LightList =
        layout.Polygons + AlignUp8(static_cast<size_t>(polygonCount) * sizeof(MeshPolygon));
    layout.Total = layout.LightList + kLightListSlots * sizeof(Light*) + kMeshSpareBytes;
    return layout;
}

// What both shapes share at creation. The block is zero-filled, so the
// scene links, Name, Pivot, Form and the keep word are already empty.
void InitMeshRecord(Mesh* mesh, uint32_t colour)
{
    mesh->Head.Kind = SPAN3D_KIND_MESH;
    mesh->Head.Parent = nullptr;
    mesh->Head.Children = nullptr;
    mesh->Head.ChildCount = 0;
    MatrixIdentity(&mesh->ModelMatrix);
    MatrixIdentity(&mesh->AnimMatrix);
    MatrixIdentity(&mesh->WorldMatrix);
    MatrixIdentity(&mesh->ViewMatrix);
    Material* material = &mesh->DefaultMaterial;
    for (int32_t c = 0; c < 4; ++c) {
        material->AmbientColour[c] = 0.0f;
        material->EmissiveColour[c] = 0.0f;
    }
    // colour is 0xRRGGBB; material channels are floats on 0..255.
    material->DiffuseColour[0] = static_cast<float>((colour >> 16) & 0xffu);
    material->DiffuseColour[1] = static_cast<float>((colour >> 8) & 0xffu);
    material->DiffuseColour[2] = static_cast<float>(colour & 0xffu);
    material->DiffuseColour[3] = kMaterialColourMax;
    material->MaterialFlags = kDefaultMaterialFlags;
    mesh->RenderFlags = kNewMeshFlags;
}

// Grows a growable mesh's array of `count` records of `size` bytes by one.
// One spare record stays behind the last: SetMeshVertex and
// SetMeshTriTexCoords accept an index equal to the count and write there, so
// that write stays inside the block. Null when memory runs out.
void* GrowArray(void* old, int32_t count, size_t size)
{
    void* grown = AllocateMemory((static_cast<size_t>(count) + 2u) * size);
    if (grown == nullptr) {
        return nullptr;
    }
    if (count > 0) {
        MemCopy(grown, old, static_cast<uint32_t>(static_cast<size_t>(count) * size));
        FreeMemory(old);
    }
    return grown;
}

bool IsDegenerate(const MeshPolygon* polygon)
{
    return polygon->Corner[0] == polygon->Corner[1] || polygon->Corner[1] == polygon->Corner[2] ||
           polygon->Corner[0] == polygon->Corner[2];
}

bool IsVertexIndex(const Mesh* mesh, int32_t index)
{
    return index >= 0 && index < mesh->VertexCount;
}

bool AreValidCorners3(const Mesh* mesh, int32_t a, int32_t b, int32_t c)
{
    return IsVertexIndex(mesh, a) && IsVertexIndex(mesh, b) && IsVertexIndex(mesh, c) &&
           a != b && b != c && a != c;
}

// The smoothing group goes into bits 12-16 when it is below 32 in a signed
// comparison. 32 and above are dropped; a negative group passes that test
// and its shifted bits spill over the upper flags. Kept as designed.
uint32_t GroupBits(int32_t group)
{
    return group < 32 ? static_cast<uint32_t>(group) << SPAN3D_SMOOTH_GROUP_SHIFT : 0u;
}

void SetCorners(MeshPolygon* polygon, int32_t c0, int32_t c1, int32_t c2)
{
    polygon->Corner[0] = static_cast<uint32_t>(c0);
    polygon->Corner[1] = static_cast<uint32_t>(c1);
    polygon->Corner[2] = static_cast<uint32_t>(c2);
}

void SetCornerMap(MeshPolygon* polygon, int32_t corner, float u, float v)
{
    polygon->CornerMap[corner].u = u;
    polygon->CornerMap[corner].v = v;
}

// Texture-coordinate calls accept an index equal to PolygonCount (it writes
// behind the last polygon); hosts must not rely on that slot.
bool PassesTexCoordBound(const Mesh* mesh, int32_t index)
{
    return index >= 0 && index <= mesh->PolygonCount && mesh->Polygons != nullptr;
}

}  // namespace

size_t SortBlockBytes(int32_t slots)
{
    const size_t count = static_cast<size_t>(slots);
    return AlignUp8(count * sizeof(uint32_t)) + count * sizeof(DrawItem);
}

uint32_t* AllocateSortBlock(int32_t slots)
{
    return static_cast<uint32_t*>(AllocateMemory(SortBlockBytes(slots)));
}

DrawItem* SortBlockItems(uint32_t* block, int32_t slots)
{
    return reinterpret_cast<DrawItem*>(reinterpret_cast<unsigned char*>(block) +
                                       AlignUp8(static_cast<size_t>(slots) * sizeof(uint32_t)));
}

void FreeBoundsMesh(Mesh* mesh)
{
    Mesh* bounds = mesh->BoundsMesh;
    if (bounds == nullptr) {
        return;
    }
    if (bounds->SortIndices != nullptr) {
        FreeMemory(bounds->SortIndices);
    }
    FreeMemory(bounds);
    mesh->BoundsMesh = nullptr;
}

void FreeMeshStorage(Mesh* mesh)
{
    // A non-zero host word keeps the mesh alive here; DeleteMesh clears it
    // first, so only a scene's own cleanup is stopped by it.
    if (mesh->TvObject != 0) {
        return;
    }
    FreeBoundsMesh(mesh);
    if (mesh->VertexNormals != nullptr) {
        FreeMemory(mesh->VertexNormals);
    }
    if (mesh->SortIndices != nullptr) {
        FreeMemory(mesh->SortIndices);
    }
    if (mesh->Head.Children != nullptr) {
        FreeMemory(mesh->Head.Children);
    }
    FreeMemory(mesh);
}

}  // namespace span3d

using namespace span3d;

extern "C" SPAN3D_API Mesh* CreateMesh(int32_t vertexCount, int32_t polygonCount, uint32_t colour)
{
    Mesh* mesh = nullptr;
    if (vertexCount == 0 && polygonCount == 0) {
        // Growable: the record alone; the arrays come one record at a time.
        mesh = static_cast<Mesh*>(AllocateMemory(sizeof(Mesh)));
        if (mesh == nullptr) {
            return nullptr;
        }
    } else if (vertexCount > 0 && polygonCount > 0) {
        const FixedMeshLayout layout = LayoutFixedMesh(vertexCount, polygonCount);
        unsigned char* block = static_cast<unsigned char*>(AllocateMemory(layout.Total));
        if (block == nullptr) {
            return nullptr;
        }
        mesh = reinterpret_cast<Mesh*>(block);
        uint32_t* sortBlock = AllocateSortBlock(polygonCount);
        if (sortBlock == nullptr) {
            FreeMemory(mesh);
            return nullptr;
        }
        mesh->Vertices = reinterpret_cast<MeshVertex*>(block + layout.Vertices);
        mesh->VertexDoneBits = reinterpret_cast<uint32_t*>(block + layout.VertexDoneBits);
        mesh->Polygons = reinterpret_cast<MeshPolygon*>(block + layout.Polygons);
        mesh->LightList = reinterpret_cast<Light**>(block + layout.LightList);
        for (int32_t i = 0; i < kLightListSlots; ++i) {
            mesh->LightList[i] = nullptr;
        }
        mesh->VertexCount = vertexCount;
        mesh->PolygonCount = polygonCount;
        mesh->SortCapacity = polygonCount;
        mesh->SortIndices = sortBlock;
        mesh->DrawItems = SortBlockItems(sortBlock, polygonCount);
        ResetRadixSort(static_cast<uint32_t>(polygonCount), sortBlock);
    } else {
        return nullptr;
    }
    InitMeshRecord(mesh, colour);
    return mesh;
}

extern "C" SPAN3D_API int32_t AddMeshVertex(Mesh* mesh, float x, float y, float z)
{
    if (IsFixedMesh(mesh)) {
        return 0;
    }
    const int32_t n = mesh->VertexCount;
    MeshVertex* grown =
        static_cast<MeshVertex*>(GrowArray(mesh->Vertices, n, sizeof(MeshVertex)));
    // Out of memory leaves the mesh as it was.
    if (grown == nullptr) {
        return 0;
    }
    mesh->Vertices = grown;
    mesh->VertexCount = n + 1;
    grown[n].ModelPosition.x = x;
    grown[n].ModelPosition.y = y;
    grown[n].ModelPosition.z = z;
    return 1;
}

extern "C" SPAN3D_API int32_t SetMeshVertex(Mesh* mesh, int32_t index, float x, float y, float z)
{
    // An index equal to VertexCount passes and writes behind the last vertex
    // (in a fixed mesh, over the start of VertexDoneBits and Polygons; in a
    // growable one, into its spare record). Hosts must not rely on that slot.
    if (index < 0 || index > mesh->VertexCount || mesh->Vertices == nullptr) {
        return 0;
    }
    MeshVertex* vertex = &mesh->Vertices[index];
    vertex->ModelPosition.x = x;
    vertex->ModelPosition.y = y;
    vertex->ModelPosition.z = z;
    return 1;
}

extern "C" SPAN3D_API int32_t SetMeshTriPolygon(Mesh* mesh, int32_t index, int32_t a, int32_t b,
                                                int32_t c, uint32_t colour, int32_t group)
{
    (void)colour;  // a polygon's colour comes from its material
    if (index < 0 || index >= mesh->PolygonCount || !AreValidCorners3(mesh, a, b, c)) {
        return 0;
    }
    MeshPolygon* polygon = &mesh->Polygons[index];
    // Stored in reverse of the order given.
    SetCorners(polygon, c, b, a);
    polygon->FrontMaterial = &mesh->DefaultMaterial;
    polygon->BackMaterial = &mesh->DefaultMaterial;
    polygon->Flags = kTriangleFlags | GroupBits(group);
    return 1;
}

extern "C" SPAN3D_API int32_t AddMeshTriPolygon(Mesh* mesh, int32_t a, int32_t b, int32_t c,
                                                uint32_t colour, int32_t group)
{
    if (IsFixedMesh(mesh)) {
        return 0;
    }
    const int32_t n = mesh->PolygonCount;
    MeshPolygon* grown =
        static_cast<MeshPolygon*>(GrowArray(mesh->Polygons, n, sizeof(MeshPolygon)));
    if (grown == nullptr) {
        return 0;
    }
    mesh->Polygons = grown;
    mesh->PolygonCount = n + 1;
    // A refused triangle leaves its new slot behind, zero-filled.
    return SetMeshTriPolygon(mesh, n, a, b, c, colour, group);
}

extern "C" SPAN3D_API int32_t SetMeshQuadPolygon(Mesh* mesh, int32_t index, int32_t a, int32_t b,
                                                 int32_t c, int32_t d, uint32_t colour,
                                                 int32_t group)
{
    (void)colour;
    if (index < 0 || index >= mesh->PolygonCount - 1 || !AreValidCorners3(mesh, a, b, c) ||
        !IsVertexIndex(mesh, d) || d == a || d == b || d == c) {
        return 0;
    }
    // Two triangles split along the diagonal b-d. The first is (d, b, a) with
    // its edge corner 0 to 1 (d-b) off, the second (d, c, b) with its edge
    // corner 2 to 0 (b-d) off, so a wire cage shows the quad's outline only.
    const uint32_t groupBits = GroupBits(group);
    MeshPolygon* first = &mesh->Polygons[index];
    MeshPolygon* second = &mesh->Polygons[index + 1];
    SetCorners(first, d, b, a);
    first->Flags = kQuadFirstFlags | groupBits;
    SetCorners(second, d, c, b);
    second->Flags = kQuadSecondFlags | groupBits;
    first->FrontMaterial = &mesh->DefaultMaterial;
    first->BackMaterial = &mesh->DefaultMaterial;
    second->FrontMaterial = &mesh->DefaultMaterial;
    second->BackMaterial = &mesh->DefaultMaterial;
    return 1;
}

extern "C" SPAN3D_API void SetMeshTriTexCoords(Mesh* mesh, int32_t index, float ua, float va,
                                               float ub, float vb, float uc, float vc)
{
    if (!PassesTexCoordBound(mesh, index)) {
        return;
    }
    // Reversed like the corners: corner 0 is c.
    MeshPolygon* polygon = &mesh->Polygons[index];
    SetCornerMap(polygon, 2, ua, va);
    SetCornerMap(polygon, 1, ub, vb);
    SetCornerMap(polygon, 0, uc, vc);
    polygon->Flags |= kTexturedPolygonBits;
}

extern "C" SPAN3D_API void SetMeshQuadTexCoords(Mesh* mesh, int32_t index, float ua, float va,
                                                float ub, float vb, float uc, float vc, float ud,
                                                float vd)
{
    if (!PassesTexCoordBound(mesh, index) || !PassesTexCoordBound(mesh, index + 1)) {
        return;
    }
    MeshPolygon* first = &mesh->Polygons[index];
    MeshPolygon* second = &mesh->Polygons[index + 1];
    SetCornerMap(first, 0, ud, vd);
    SetCornerMap(first, 1, ub, vb);
    SetCornerMap(first, 2, ua, va);
    SetCornerMap(second, 0, ud, vd);
    SetCornerMap(second, 1, uc, vc);
    SetCornerMap(second, 2, ub, vb);
    first->Flags |= kTexturedPolygonBits;
    second->Flags |= kTexturedPolygonBits;
}

extern "C" SPAN3D_API TextureSlot* SetTexture(Mesh* mesh, Texture* texture, uint32_t which)
{
    // Any non-zero which means the opacity slot.
    const int32_t slotIndex = which != 0 ? 1 : 0;
    Material* material = &mesh->DefaultMaterial;
    material->MaterialFlags =
        (material->MaterialFlags & ~SPAN3D_STAGE_MASK) | StageBitOfSlot(static_cast<uint32_t>(slotIndex));
    TextureSlotView* slot = MaterialSlotView(material, slotIndex);
    // Mode 2 makes the slot live. No power-of-two bit is ever set here, so the
    // slot always takes the pitch path, unlike SetMaterialTexture's.
    slot->Mode = 2;
    slot->Pixels = texture->Pixels;
    slot->Width = texture->Width;
    slot->Height = texture->Height;
    slot->ShiftOrPitch = texture->PitchBytes >> 1;
    slot->Texture = texture;
    return reinterpret_cast<TextureSlot*>(slot);
}

extern "C" SPAN3D_API void DeleteMesh(Mesh* mesh)
{
    // Before the keep word is cleared, a mesh still leaves the world it is
    // part of: its scene, its parent, and its mesh children, which die with
    // it. The scene is found by searching the engine's list for the one whose
    // mesh list holds the mesh; the lights of that scene come off its tree.
    if (mesh->Scene != nullptr) {
        for (Scene* scene = g_Engine.SceneListHead; scene != nullptr; scene = scene->ListNext) {
            if (IndexOfMesh(scene, mesh) != -1) {
                RemoveMeshFromScene(scene, mesh, 1);
                break;
            }
        }
    }
    if (mesh->Head.Parent != nullptr) {
        DetachChildFromNode(mesh->Head.Parent, &mesh->Head);
    }
    // Mesh children are freed unless their own TvObject keeps them; cameras
    // and lights below are only cut loose.
    if (mesh->Head.ChildCount != 0) {
        FreeNodeChildren(&mesh->Head);
    }
    mesh->TvObject = 0;
    FreeMeshStorage(mesh);
}

extern "C" SPAN3D_API Mesh* ValidateMesh(Mesh* mesh)
{
    Mesh* target = mesh;
    if (IsFixedMesh(mesh)) {
        // A degenerate polygon refuses the mesh and leaves it as it is.
        for (int32_t i = 0; i < mesh->PolygonCount; ++i) {
            if (IsDegenerate(&mesh->Polygons[i])) {
                return nullptr;
            }
        }
    } else {
        if (mesh->PolygonCount == 0 || mesh->VertexCount == 0) {
            // Nothing to draw: the mesh is deleted. A growable mesh's own
            // arrays are not freed by a delete (see FreeMeshStorage).
            DeleteMesh(mesh);
            return nullptr;
        }
        target = CreateMesh(mesh->VertexCount, mesh->PolygonCount, 0x7fff);
        if (target == nullptr) {
            DeleteMesh(mesh);
            return nullptr;
        }
        MemCopy(target->Vertices, mesh->Vertices,
                static_cast<uint32_t>(static_cast<size_t>(mesh->VertexCount) * sizeof(MeshVertex)));
        Material* oldDefault = &mesh->DefaultMaterial;
        for (int32_t i = 0; i < mesh->PolygonCount; ++i) {
            const MeshPolygon* from = &mesh->Polygons[i];
            if (IsDegenerate(from)) {
                // Refused: the old mesh stays good, untouched.
                DeleteMesh(target);
                return nullptr;
            }
            MeshPolygon* to = &target->Polygons[i];
            MemCopy(to, from, sizeof(MeshPolygon));
            // The front decides for both sides: a polygon with a custom front
            // and a default back keeps a BackMaterial that points into the old
            // (freed) record. Hosts set both sides or neither before
            // validating. Kept as designed.
            if (from->FrontMaterial == oldDefault) {
                to->FrontMaterial = &target->DefaultMaterial;
                to->BackMaterial = &target->DefaultMaterial;
            }
        }
        target->ModelMatrix = mesh->ModelMatrix;
        target->AnimMatrix = mesh->AnimMatrix;
        target->WorldMatrix = mesh->WorldMatrix;
        target->ViewMatrix = mesh->ViewMatrix;
        MemCopy(&target->DefaultMaterial, &mesh->DefaultMaterial, sizeof(Material));
        target->RenderFlags = mesh->RenderFlags;
        target->Viewport = mesh->Viewport;
        target->TvObject = mesh->TvObject;
        // Name, Pivot, BillboardMode and Skeleton stay behind; nothing else of
        // the old record is looked at, so a growable mesh must not have a
        // parent, children or a scene when it is validated.
        FreeMemory(mesh->Vertices);
        FreeMemory(mesh->Polygons);
        FreeMemory(mesh);
    }

    CalcMeshPolygonsNormal(target);
    CalcMeshVerticesNormal(target);
    FreeBoundsMesh(target);
    target->BoundsMesh = CreateAABB(target);
    if (target->BoundsMesh == nullptr) {
        DeleteMesh(target);
        return nullptr;
    }
    target->RenderFlags |= SPAN3D_MESH_ACTIVE;
    target->Form = kFormOrdinary;
    return target;
}
