// Meshes: the two shapes, the fixed block, geometry by index, texture
// coordinates, SetTexture, ValidateMesh's outcomes and deletion. The
// sanitizer build runs these leak-checked: every block a test makes is freed,
// and where the library leaves a block on purpose the test says so and frees
// it itself.
#include <array>

#include "object_test_support.h"

namespace span3d {
namespace {
using namespace test;

bool IsIdentity(const Matrix34& m)
{
    static const float identity[12] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};
    return memcmp(m.m, identity, sizeof(identity)) == 0;
}

using Corners = std::array<uint32_t, 3>;
Corners CornersOf(const MeshPolygon& p) { return {p.Corner[0], p.Corner[1], p.Corner[2]}; }
Corners C(int32_t a, int32_t b, int32_t c) { return {uint32_t(a), uint32_t(b), uint32_t(c)}; }

unsigned char* Bytes(void* p) { return static_cast<unsigned char*>(p); }

// A growable mesh's own arrays are not freed by DeleteMesh (nor by
// ValidateMesh's deletes): the owner of the test frees them.
struct GrowableArrays {
    MeshVertex* Vertices;
    MeshPolygon* Polygons;
    explicit GrowableArrays(const Mesh* m) : Vertices(m->Vertices), Polygons(m->Polygons) {}
    void Free() const
    {
        FreeMemory(Vertices);
        FreeMemory(Polygons);
    }
};

// ---------------------------------------------------------------- creation

TEST(MeshCreate, ArgumentTable)
{
    struct Case { const char* name; int32_t vertices, polygons; bool made, fixed; };
    const Case cases[] = {
        {"both zero: growable", 0, 0, true, false},
        {"both positive: fixed", 3, 1, true, true},
        {"no vertices", 0, 5, false, false},
        {"no polygons", 5, 0, false, false},
        {"negative vertices", -1, 0, false, false},
        {"negative polygons", 0, -1, false, false},
        {"both negative", -1, -1, false, false},
        {"mixed signs", 2, -3, false, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Mesh* mesh = CreateMesh(c.vertices, c.polygons, 0);
        EXPECT_EQ(mesh != nullptr, c.made);
        if (mesh == nullptr) continue;
        EXPECT_EQ(IsFixedMesh(mesh), c.fixed);
        DeleteMesh(mesh);
    }
}

TEST(MeshCreate, CommonDefaults)
{
    for (int32_t fixed = 0; fixed < 2; ++fixed) {
        SCOPED_TRACE(fixed ? "fixed" : "growable");
        Mesh* mesh = fixed ? CreateMesh(3, 1, 0x123456) : CreateMesh(0, 0, 0x123456);
        ASSERT_NE(mesh, nullptr);
        EXPECT_EQ(mesh->Head.Kind, SPAN3D_KIND_MESH);
        EXPECT_EQ(mesh->Form, 0);
        EXPECT_EQ(mesh->RenderFlags, 0x7f00027u);  // Gouraud, front only, not active
        for (const Matrix34* m : {&mesh->ModelMatrix, &mesh->AnimMatrix, &mesh->WorldMatrix, &mesh->ViewMatrix})
            EXPECT_TRUE(IsIdentity(*m));
        const Material& m = mesh->DefaultMaterial;
        EXPECT_EQ(m.MaterialFlags, 0x700063u);
        // 0x123456: red 0x12 = 18, green 0x34 = 52, blue 0x56 = 86.
        const float diffuse[4] = {18.0f, 52.0f, 86.0f, 255.0f}, zero[4] = {};
        EXPECT_EQ(memcmp(m.DiffuseColour, diffuse, 16), 0);
        EXPECT_EQ(memcmp(m.AmbientColour, zero, 16), 0);
        EXPECT_EQ(memcmp(m.EmissiveColour, zero, 16), 0);
        DeleteMesh(mesh);
    }
}

TEST(MeshCreate, GrowableHasNoArrays)
{
    Mesh* mesh = CreateMesh(0, 0, 0);
    for (const void* p : {(const void*)mesh->Vertices, (const void*)mesh->Polygons, (const void*)mesh->VertexDoneBits,
                          (const void*)mesh->LightList, (const void*)mesh->SortIndices, (const void*)mesh->DrawItems})
        EXPECT_EQ(p, nullptr);
    EXPECT_EQ(mesh->VertexCount | mesh->PolygonCount | mesh->SortCapacity, 0);
    DeleteMesh(mesh);
}

TEST(MeshCreate, FixedBlockLayoutTable)
{
    // One block: record, Vertices, VertexDoneBits (one word per 32 vertices or
    // part of 32), Polygons, LightList (64 null slots), 4096 zero bytes.
    struct Case { const char* name; int32_t vertices, polygons; int32_t doneWords; };
    const Case cases[] = {
        {"1 vertex", 1, 1, 1},
        {"32 vertices: one word", 32, 3, 1},
        {"33 vertices: two words", 33, 5, 2},
        {"64 vertices: two words", 64, 2, 2},
        {"65 vertices: three words", 65, 7, 3},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Mesh* mesh = CreateMesh(c.vertices, c.polygons, 0);
        ASSERT_NE(mesh, nullptr);
        unsigned char* base = Bytes(mesh);
        EXPECT_EQ(Bytes(mesh->Vertices), base + sizeof(Mesh));
        EXPECT_EQ(Bytes(mesh->VertexDoneBits), Bytes(mesh->Vertices + c.vertices));
        // The polygons follow the done bits, on the next 8-byte boundary.
        const unsigned char* doneEnd = Bytes(mesh->VertexDoneBits + c.doneWords);
        EXPECT_GE(Bytes(mesh->Polygons), doneEnd);
        EXPECT_LT(Bytes(mesh->Polygons), doneEnd + 8);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(mesh->Polygons) % 8, 0u);
        EXPECT_EQ(Bytes(mesh->LightList), Bytes(mesh->Polygons + c.polygons));
        // LightList and the spare bytes behind it are all zero.
        const unsigned char* tail = Bytes(mesh->LightList);
        const size_t tailBytes = 64 * sizeof(Light*) + 4096;
        size_t nonZero = 0;
        for (size_t i = 0; i < tailBytes; ++i) nonZero += tail[i] != 0;
        EXPECT_EQ(nonZero, 0u);
        EXPECT_EQ(mesh->VertexCount, c.vertices);
        EXPECT_EQ(mesh->PolygonCount, c.polygons);
        EXPECT_EQ(mesh->SortCapacity, c.polygons);
        // The sort block: indices 0..n-1, then the draw items, 8-aligned.
        ASSERT_NE(mesh->SortIndices, nullptr);
        for (int32_t i = 0; i < c.polygons; ++i) EXPECT_EQ(mesh->SortIndices[i], uint32_t(i));
        EXPECT_EQ(mesh->DrawItems, SortBlockItems(mesh->SortIndices, c.polygons));
        EXPECT_GE(Bytes(mesh->DrawItems), Bytes(mesh->SortIndices + c.polygons));
        EXPECT_EQ(reinterpret_cast<uintptr_t>(mesh->DrawItems) % 8, 0u);
        DeleteMesh(mesh);
    }
}

// ---------------------------------------------------------------- vertices

TEST(MeshVertices, AddGrowsGrowableRefusesFixed)
{
    Mesh* grow = CreateMesh(0, 0, 0);
    for (int32_t i = 0; i < 5; ++i) {
        EXPECT_EQ(AddMeshVertex(grow, float(i), float(-i), 0.5f), 1);
    }
    ASSERT_EQ(grow->VertexCount, 5);
    for (int32_t i = 0; i < 5; ++i) {
        EXPECT_EQ(grow->Vertices[i].ModelPosition.x, float(i));
        EXPECT_EQ(grow->Vertices[i].ModelPosition.y, float(-i));
    }
    EXPECT_EQ(grow->DrawItems, nullptr);  // still growable
    GrowableArrays(grow).Free();
    DeleteMesh(grow);

    Mesh* fixed = CreateMesh(2, 1, 0);
    MeshVertex* before = fixed->Vertices;
    EXPECT_EQ(AddMeshVertex(fixed, 1, 2, 3), 0);
    EXPECT_EQ(fixed->VertexCount, 2);
    EXPECT_EQ(fixed->Vertices, before);
    EXPECT_EQ(fixed->Vertices[0].ModelPosition.x, 0.0f);
    DeleteMesh(fixed);
}

TEST(MeshVertices, SetMeshVertexBoundTable)
{
    // The bound is index <= VertexCount: the index equal to the count passes
    // and writes behind the last vertex. Only the result is checked for it;
    // hosts must not use that slot.
    struct Case { const char* name; int32_t index; int32_t result; };
    const Case cases[] = {
        {"first", 0, 1},
        {"last", 3, 1},
        {"count passes", 4, 1},
        {"count + 1", 5, 0},
        {"negative", -1, 0},
    };
    for (int32_t fixed = 0; fixed < 2; ++fixed) {
        for (const Case& c : cases) {
            SCOPED_TRACE(c.name);
            SCOPED_TRACE(fixed ? "fixed" : "growable");
            Mesh* mesh = CreateMesh(fixed ? 4 : 0, fixed ? 2 : 0, 0);
            if (!fixed) {
                for (int32_t i = 0; i < 4; ++i) AddMeshVertex(mesh, 0, 0, 0);
            }
            EXPECT_EQ(SetMeshVertex(mesh, c.index, 7.0f, 8.0f, 9.0f), c.result);
            for (int32_t i = 0; i < 4; ++i) {
                const bool hit = i == c.index && c.result == 1;
                EXPECT_EQ(mesh->Vertices[i].ModelPosition.x, hit ? 7.0f : 0.0f);
                EXPECT_EQ(mesh->Vertices[i].ModelPosition.z, hit ? 9.0f : 0.0f);
            }
            if (!fixed) GrowableArrays(mesh).Free();
            DeleteMesh(mesh);
        }
    }
}

TEST(MeshVertices, EmptyGrowableMeshHasNoSlotToWrite)
{
    // Index 0 equals the count, but there is no array behind it at all.
    Mesh* mesh = CreateMesh(0, 0, 0);
    EXPECT_EQ(SetMeshVertex(mesh, 0, 1, 2, 3), 0);
    SetMeshTriTexCoords(mesh, 0, 1, 2, 3, 4, 5, 6);
    EXPECT_EQ(mesh->Polygons, nullptr);
    DeleteMesh(mesh);
}

// ---------------------------------------------------------------- triangles

TEST(MeshTriangles, SetMeshTriPolygonTable)
{
    // Mesh of 4 vertices and 2 slots; slot 0 is the target unless stated.
    struct Case {
        const char* name;
        int32_t index, a, b, c, group;
        int32_t result;
        uint32_t flags;
    };
    const Case cases[] = {
        {"plain", 0, 0, 1, 2, 0, 1, 0x700e47u},
        {"group 5", 1, 3, 1, 2, 5, 1, 0x705e47u},
        {"group 31", 0, 0, 1, 2, 31, 1, 0x71fe47u},  // 0x700e47 | 0x1f000
        {"group 32 dropped", 0, 0, 1, 2, 32, 1, 0x700e47u},
        {"group 1000 dropped", 0, 0, 1, 2, 1000, 1, 0x700e47u},
        // Below 32 in a signed comparison: -1 passes and, shifted by 12,
        // spills over every bit from 12 up.
        {"group -1 spills", 0, 0, 1, 2, -1, 1, 0xfffffe47u},
        {"a equals b", 0, 1, 1, 2, 0, 0, 0},
        {"b equals c", 0, 0, 2, 2, 0, 0, 0},
        {"a equals c", 0, 3, 2, 3, 0, 0, 0},
        {"c equals VertexCount", 0, 0, 1, 4, 0, 0, 0},
        {"negative corner", 0, -1, 1, 2, 0, 0, 0},
        {"index PolygonCount", 2, 0, 1, 2, 0, 0, 0},
        {"negative index", -1, 0, 1, 2, 0, 0, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Mesh* mesh = CreateMesh(4, 2, 0);
        EXPECT_EQ(SetMeshTriPolygon(mesh, c.index, c.a, c.b, c.c, 0xff00ff, c.group), c.result);
        if (c.result == 1) {
            const MeshPolygon& p = mesh->Polygons[c.index];
            // Stored reversed: a, b, c given, c, b, a kept.
            EXPECT_EQ(CornersOf(p), C(c.c, c.b, c.a));
            EXPECT_EQ(p.Flags, c.flags);
            EXPECT_EQ(p.FrontMaterial, &mesh->DefaultMaterial);
            EXPECT_EQ(p.BackMaterial, &mesh->DefaultMaterial);
        } else {
            // A refused call leaves both slots as they were: zero.
            for (int32_t i = 0; i < 2; ++i) {
                EXPECT_EQ(mesh->Polygons[i].Flags, 0u);
                EXPECT_EQ(mesh->Polygons[i].FrontMaterial, nullptr);
            }
        }
        DeleteMesh(mesh);
    }
}

TEST(MeshTriangles, AddMeshTriPolygon)
{
    Mesh* mesh = CreateMesh(0, 0, 0);
    for (int32_t i = 0; i < 3; ++i) AddMeshVertex(mesh, float(i), 0, 0);
    EXPECT_EQ(AddMeshTriPolygon(mesh, 0, 1, 2, 0, 3), 1);
    // A refused triangle still takes its slot, zero-filled.
    EXPECT_EQ(AddMeshTriPolygon(mesh, 0, 0, 2, 0, 0), 0);
    EXPECT_EQ(AddMeshTriPolygon(mesh, 2, 1, 0, 0, 0), 1);
    ASSERT_EQ(mesh->PolygonCount, 3);
    EXPECT_EQ(mesh->Polygons[0].Flags, 0x703e47u);
    EXPECT_EQ(CornersOf(mesh->Polygons[0]), C(2, 1, 0));
    EXPECT_EQ(mesh->Polygons[1].Flags, 0u);
    EXPECT_EQ(CornersOf(mesh->Polygons[1]), C(0, 0, 0));
    EXPECT_EQ(CornersOf(mesh->Polygons[2]), C(0, 1, 2));
    EXPECT_EQ(mesh->Polygons[2].FrontMaterial, &mesh->DefaultMaterial);
    GrowableArrays(mesh).Free();
    DeleteMesh(mesh);

    Mesh* fixed = CreateMesh(3, 1, 0);
    EXPECT_EQ(AddMeshTriPolygon(fixed, 0, 1, 2, 0, 0), 0);
    EXPECT_EQ(fixed->PolygonCount, 1);
    EXPECT_EQ(fixed->Polygons[0].Flags, 0u);
    DeleteMesh(fixed);
}

TEST(MeshTriangles, QuadTable)
{
    // Quad a, b, c, d = 0, 1, 2, 3 split along b-d: first (d, b, a) without
    // its edge 0-1 (d-b), second (d, c, b) without its edge 2-0 (b-d).
    struct Case { const char* name; int32_t index, a, b, c, d, group, result; };
    const Case cases[] = {
        {"slots 0 and 1", 0, 0, 1, 2, 3, 0, 1},
        {"slots 1 and 2 group 2", 1, 4, 2, 0, 1, 2, 1},
        {"group 32 dropped", 0, 0, 1, 2, 3, 32, 1},
        {"second slot past the end", 2, 0, 1, 2, 3, 0, 0},
        {"negative index", -1, 0, 1, 2, 3, 0, 0},
        {"d repeats a", 0, 0, 1, 2, 0, 0, 0},
        {"d repeats c", 0, 0, 1, 2, 2, 0, 0},
        {"b repeats c", 0, 0, 2, 2, 3, 0, 0},
        {"d equals VertexCount", 0, 0, 1, 2, 5, 0, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Mesh* mesh = CreateMesh(5, 3, 0);
        EXPECT_EQ(SetMeshQuadPolygon(mesh, c.index, c.a, c.b, c.c, c.d, 0, c.group), c.result);
        if (c.result == 1) {
            const uint32_t group = c.group < 32 ? uint32_t(c.group) << 12 : 0u;
            const MeshPolygon& first = mesh->Polygons[c.index];
            const MeshPolygon& second = mesh->Polygons[c.index + 1];
            EXPECT_EQ(CornersOf(first), C(c.d, c.b, c.a));
            EXPECT_EQ(CornersOf(second), C(c.d, c.c, c.b));
            EXPECT_EQ(first.Flags, 0x700c47u | group);
            EXPECT_EQ(second.Flags, 0x700647u | group);
            // Edge bits: first lacks 0x200 (corner 0 to 1), second 0x800 (2 to 0).
            EXPECT_EQ(first.Flags & SPAN3D_EDGE_MASK, SPAN3D_EDGE_12 | SPAN3D_EDGE_20);
            EXPECT_EQ(second.Flags & SPAN3D_EDGE_MASK, SPAN3D_EDGE_01 | SPAN3D_EDGE_12);
            for (const MeshPolygon* p : {&first, &second}) {
                EXPECT_EQ(p->FrontMaterial, &mesh->DefaultMaterial);
                EXPECT_EQ(p->BackMaterial, &mesh->DefaultMaterial);
            }
        } else {
            for (int32_t i = 0; i < 3; ++i) EXPECT_EQ(mesh->Polygons[i].Flags, 0u);
        }
        DeleteMesh(mesh);
    }
}

// ---------------------------------------------------------------- texture coordinates

TEST(MeshTexCoords, TriangleCornersReversed)
{
    Mesh* mesh = CreateMesh(3, 2, 0);
    SetMeshTriPolygon(mesh, 0, 0, 1, 2, 0, 0);
    SetMeshTriTexCoords(mesh, 0, 0.1f, 0.2f, 0.3f, 0.4f, 0.5f, 0.6f);
    const MeshPolygon& p = mesh->Polygons[0];
    // Corner 0 is c, so it takes (uc, vc); corner 2 is a and takes (ua, va).
    const float expected[3][2] = {{0.5f, 0.6f}, {0.3f, 0.4f}, {0.1f, 0.2f}};
    for (int32_t k = 0; k < 3; ++k) {
        EXPECT_EQ(p.CornerMap[k].u, expected[k][0]);
        EXPECT_EQ(p.CornerMap[k].v, expected[k][1]);
    }
    EXPECT_EQ(p.Flags, 0x700e47u | 0x7800000u);
    EXPECT_EQ(mesh->Polygons[1].Flags, 0u);
    DeleteMesh(mesh);
}

TEST(MeshTexCoords, TriangleBoundTable)
{
    // The bound is index <= PolygonCount. In a fixed mesh the slot behind the
    // last polygon is the start of LightList, so the index equal to the
    // count writes there: shown here, and wiped afterwards. Hosts must not
    // use it.
    struct Case { const char* name; int32_t index; bool written; };
    const Case cases[] = {
        {"last", 1, true},
        {"count passes", 2, true},
        {"count + 1", 3, false},
        {"negative", -1, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Mesh* mesh = CreateMesh(3, 2, 0);
        SetMeshTriTexCoords(mesh, c.index, 1, 2, 3, 4, 5, 6);
        MeshPolygon* behind = reinterpret_cast<MeshPolygon*>(mesh->LightList);
        const MeshPolygon* target = c.index == 2 ? behind : &mesh->Polygons[1];
        const bool hitLast = c.written && c.index == 1;
        EXPECT_EQ(mesh->Polygons[1].CornerMap[0].u, hitLast ? 5.0f : 0.0f);
        if (c.written) {
            EXPECT_EQ(target->CornerMap[0].u, 5.0f);
            EXPECT_EQ(target->Flags, 0x7800000u);
        }
        EXPECT_EQ(mesh->Polygons[0].Flags, 0u);
        memset(mesh->LightList, 0, 64 * sizeof(Light*));
        DeleteMesh(mesh);
    }
}

TEST(MeshTexCoords, QuadHalves)
{
    Mesh* mesh = CreateMesh(4, 3, 0);
    SetMeshQuadPolygon(mesh, 0, 0, 1, 2, 3, 0, 0);
    SetMeshQuadTexCoords(mesh, 0, 0.0f, 0.0f, 1.0f, 0.0f, 1.0f, 1.0f, 0.0f, 1.0f);
    const MeshPolygon& first = mesh->Polygons[0];   // corners d, b, a
    const MeshPolygon& second = mesh->Polygons[1];  // corners d, c, b
    const float expectFirst[3][2] = {{0, 1}, {1, 0}, {0, 0}};
    const float expectSecond[3][2] = {{0, 1}, {1, 1}, {1, 0}};
    for (int32_t k = 0; k < 3; ++k) {
        SCOPED_TRACE(k);
        EXPECT_EQ(first.CornerMap[k].u, expectFirst[k][0]);
        EXPECT_EQ(first.CornerMap[k].v, expectFirst[k][1]);
        EXPECT_EQ(second.CornerMap[k].u, expectSecond[k][0]);
        EXPECT_EQ(second.CornerMap[k].v, expectSecond[k][1]);
    }
    EXPECT_EQ(first.Flags, 0x7f00c47u);
    EXPECT_EQ(second.Flags, 0x7f00647u);
    EXPECT_EQ(mesh->Polygons[2].Flags, 0u);

    // index == PolygonCount passes the first bound but index + 1 fails it:
    // nothing at all is written.
    SetMeshQuadTexCoords(mesh, 3, 9, 9, 9, 9, 9, 9, 9, 9);
    EXPECT_EQ(reinterpret_cast<MeshPolygon*>(mesh->LightList)->Flags, 0u);
    SetMeshQuadTexCoords(mesh, -1, 9, 9, 9, 9, 9, 9, 9, 9);
    EXPECT_EQ(first.CornerMap[0].u, 0.0f);
    DeleteMesh(mesh);
}

// ---------------------------------------------------------------- SetTexture

TEST(MeshSetTexture, SlotChoiceTable)
{
    Pixel15 texels[4] = {};
    struct Case { const char* name; uint32_t which; int32_t slot; uint32_t stage; };
    const Case cases[] = {
        {"0 is the diffuse slot", 0, 0, 0x800000u},
        {"1 is the opacity slot", 1, 1, 0x1000000u},
        {"5 is the opacity slot too", 5, 1, 0x1000000u},
        {"all ones", 0xffffffffu, 1, 0x1000000u},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Mesh* mesh = CreateMesh(3, 1, 0);
        mesh->DefaultMaterial.MaterialFlags |= SPAN3D_STAGE_THIRD | SPAN3D_STAGE_FOURTH;
        // 256 x 256 would take the power-of-two path in SetMaterialTexture;
        // here it keeps the pitch: 600 bytes, 300 texels.
        Texture t = MakeTexture(256, 256, 600, texels);
        TextureSlot* slot = SetTexture(mesh, &t, c.which);
        EXPECT_EQ(slot, &mesh->DefaultMaterial.Slot[c.slot]);
        EXPECT_EQ(slot->Mode, 2u);
        EXPECT_EQ(slot->ShiftOrPitch, 300);
        EXPECT_EQ(slot->Texture, &t);
        // Every other stage bit is cleared.
        EXPECT_EQ(mesh->DefaultMaterial.MaterialFlags, 0x700063u | c.stage);
        EXPECT_EQ(mesh->DefaultMaterial.Slot[1 - c.slot].Texture, nullptr);
        DeleteMesh(mesh);
    }
}

// ---------------------------------------------------------------- ValidateMesh

// A growable tetrahedron-like mesh: 4 vertices, 3 triangles.
Mesh* MakeGrowable()
{
    Mesh* mesh = CreateMesh(0, 0, 0x102030);
    AddMeshVertex(mesh, 0, 0, 0);
    AddMeshVertex(mesh, 1, 0, 0);
    AddMeshVertex(mesh, 0, 1, 0);
    AddMeshVertex(mesh, 0, 0, 1);
    AddMeshTriPolygon(mesh, 0, 1, 2, 0, 1);
    AddMeshTriPolygon(mesh, 0, 1, 3, 0, 2);
    AddMeshTriPolygon(mesh, 0, 2, 3, 0, 3);
    return mesh;
}

TEST(MeshValidate, FixedMeshStaysTheSameAndBecomesDrawable)
{
    Mesh* mesh = CreateMesh(4, 2, 0);
    SetMeshVertex(mesh, 0, 0, 0, 0);
    SetMeshVertex(mesh, 1, 2, 0, 0);
    SetMeshVertex(mesh, 2, 2, 2, 0);
    SetMeshVertex(mesh, 3, 0, 2, 0);
    SetMeshQuadPolygon(mesh, 0, 0, 1, 2, 3, 0, 0);
    Mesh* result = ValidateMesh(mesh);
    ASSERT_EQ(result, mesh);
    EXPECT_EQ(mesh->Form, 1);
    EXPECT_EQ(mesh->RenderFlags, 0x7f00027u | 0x8000u);
    ASSERT_NE(mesh->BoundsMesh, nullptr);
    EXPECT_NE(mesh->VertexNormals, nullptr);
    EXPECT_EQ(mesh->BoundsMesh->Vertices[1].ModelPosition.x, 2.0f);  // max, max, min

    // Again after the vertices moved: the box is rebuilt (the old one freed).
    SetMeshVertex(mesh, 1, 5, 0, 0);
    ASSERT_EQ(ValidateMesh(mesh), mesh);
    ASSERT_NE(mesh->BoundsMesh, nullptr);
    EXPECT_EQ(mesh->BoundsMesh->Vertices[1].ModelPosition.x, 5.0f);
    DeleteMesh(mesh);
}

TEST(MeshValidate, FixedMeshWithDegeneratePolygonIsRefusedAndKept)
{
    // Slot 1 is never set: its corners read 0, 0, 0.
    Mesh* mesh = CreateMesh(3, 2, 0);
    SetMeshTriPolygon(mesh, 0, 0, 1, 2, 0, 0);
    EXPECT_EQ(ValidateMesh(mesh), nullptr);
    // The old pointer is still good and untouched.
    EXPECT_EQ(mesh->Form, 0);
    EXPECT_EQ(mesh->RenderFlags, 0x7f00027u);
    EXPECT_EQ(mesh->BoundsMesh, nullptr);
    DeleteMesh(mesh);
}

TEST(MeshValidate, EmptyGrowableMeshesAreDeleted)
{
    struct Case { const char* name; int32_t vertices; uint32_t keepWord; };
    const Case cases[] = {
        {"nothing at all", 0, 0},
        {"vertices but no polygons", 3, 0},
        // The host's keep word does not save it: the delete clears it first.
        {"kept by TvObject all the same", 3, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Mesh* mesh = CreateMesh(0, 0, 0);
        for (int32_t i = 0; i < c.vertices; ++i) AddMeshVertex(mesh, 0, 0, float(i));
        mesh->TvObject = c.keepWord;
        const GrowableArrays arrays(mesh);
        EXPECT_EQ(ValidateMesh(mesh), nullptr);
        // The record is gone (a leak report would show it otherwise); its
        // vertex array is left behind by design.
        arrays.Free();
    }
}

TEST(MeshValidate, GrowableWithDegeneratePolygonKeepsTheOldMesh)
{
    Mesh* mesh = MakeGrowable();
    AddMeshTriPolygon(mesh, 1, 1, 2, 0, 0);  // refused: its slot stays zero
    ASSERT_EQ(mesh->PolygonCount, 4);
    strcpy(mesh->Name, "Host");
    EXPECT_EQ(ValidateMesh(mesh), nullptr);
    // Untouched and still growable.
    EXPECT_EQ(mesh->DrawItems, nullptr);
    EXPECT_EQ(mesh->VertexCount, 4);
    EXPECT_EQ(mesh->PolygonCount, 4);
    EXPECT_EQ(mesh->Form, 0);
    EXPECT_STREQ(mesh->Name, "Host");
    GrowableArrays(mesh).Free();
    DeleteMesh(mesh);
}

TEST(MeshValidate, GrowableIsReplacedWithWhatCarriesOver)
{
    Mesh* old = MakeGrowable();
    Material custom;
    memset(&custom, 0, sizeof(custom));
    Material* oldDefault = &old->DefaultMaterial;
    // Polygon 0: default both sides. Polygon 1: custom front, default back.
    // Polygon 2: default front, custom back.
    SetFaceMaterial(old, 1, &custom, 0, 0);
    SetFaceMaterial(old, 2, &custom, 0, 1);
    old->ModelMatrix.m[3] = 11.0f;
    old->AnimMatrix.m[7] = 12.0f;
    old->WorldMatrix.m[11] = 13.0f;
    old->ViewMatrix.m[0] = 14.0f;
    old->DefaultMaterial.DiffuseColour[0] = 99.0f;
    old->DefaultMaterial.AlphaMode = 2;
    old->RenderFlags = 0x7f00021u;
    Viewport* viewport = reinterpret_cast<Viewport*>(uintptr_t(0x7000));
    old->Viewport = viewport;
    old->TvObject = 0x55;
    strcpy(old->Name, "Old");
    old->Pivot.x = 4.0f;
    old->BillboardMode = 16;
    old->Skeleton = reinterpret_cast<Skeleton*>(uintptr_t(0x8000));
    old->Vertices[2].ViewPosition.y = 3.5f;  // vertices are copied whole

    Mesh* mesh = ValidateMesh(old);
    ASSERT_NE(mesh, nullptr);
    ASSERT_NE(mesh, old);  // the old pointer is now invalid
    EXPECT_TRUE(IsFixedMesh(mesh));
    EXPECT_EQ(mesh->Form, 1);
    EXPECT_EQ(mesh->VertexCount, 4);
    EXPECT_EQ(mesh->PolygonCount, 3);
    EXPECT_EQ(mesh->Vertices[1].ModelPosition.x, 1.0f);
    EXPECT_EQ(mesh->Vertices[2].ViewPosition.y, 3.5f);
    EXPECT_EQ(mesh->Polygons[0].Corner[0], 2u);
    EXPECT_EQ(mesh->Polygons[2].Flags, 0x703e47u);
    // Carried over.
    EXPECT_EQ(mesh->ModelMatrix.m[3], 11.0f);
    EXPECT_EQ(mesh->AnimMatrix.m[7], 12.0f);
    EXPECT_EQ(mesh->WorldMatrix.m[11], 13.0f);
    EXPECT_EQ(mesh->ViewMatrix.m[0], 14.0f);
    EXPECT_EQ(mesh->DefaultMaterial.DiffuseColour[0], 99.0f);
    EXPECT_EQ(mesh->DefaultMaterial.AlphaMode, 2u);
    EXPECT_EQ(mesh->RenderFlags, 0x7f00021u | 0x8000u);
    EXPECT_EQ(mesh->Viewport, viewport);
    EXPECT_EQ(mesh->TvObject, 0x55u);
    // Not carried.
    EXPECT_EQ(mesh->Name[0], '\0');
    EXPECT_EQ(mesh->Pivot.x, 0.0f);
    EXPECT_EQ(mesh->BillboardMode, 0u);
    EXPECT_EQ(mesh->Skeleton, nullptr);
    EXPECT_EQ(mesh->Scene, nullptr);
    EXPECT_EQ(mesh->Head.Parent, nullptr);
    // The front decides both sides.
    EXPECT_EQ(mesh->Polygons[0].FrontMaterial, &mesh->DefaultMaterial);
    EXPECT_EQ(mesh->Polygons[0].BackMaterial, &mesh->DefaultMaterial);
    EXPECT_EQ(mesh->Polygons[1].FrontMaterial, &custom);
    EXPECT_EQ(mesh->Polygons[1].BackMaterial, oldDefault);  // dangles into the freed record
    EXPECT_EQ(mesh->Polygons[2].FrontMaterial, &mesh->DefaultMaterial);
    EXPECT_EQ(mesh->Polygons[2].BackMaterial, &mesh->DefaultMaterial);  // custom back lost

    DeleteMesh(mesh);  // frees despite the carried TvObject
}

// ---------------------------------------------------------------- deletion

TEST(MeshDelete, FreesEverythingItOwns)
{
    // Validated mesh: block, sort block, normals, bounds mesh and its sort
    // block; plus a Children block. The leak checker sees any survivor.
    Mesh* mesh = ValidateMesh(MakeGrowable());
    ASSERT_NE(mesh, nullptr);
    mesh->Head.Children = static_cast<Node**>(AllocateMemory(sizeof(Node*)));
    mesh->TvObject = 1;  // an explicit delete ignores the host's word
    DeleteMesh(mesh);
}

TEST(MeshDelete, StorageIsKeptWhileTvObjectIsSet)
{
    Mesh* mesh = CreateMesh(3, 1, 0);
    mesh->TvObject = 9;
    FreeMeshStorage(mesh);  // a scene's cleanup would stop here
    EXPECT_EQ(mesh->PolygonCount, 1);
    EXPECT_NE(mesh->SortIndices, nullptr);
    mesh->TvObject = 0;
    FreeMeshStorage(mesh);
}

TEST(MeshDelete, SortBlockGivenAwayIsNotFreedTwice)
{
    // A mesh whose sort block went elsewhere has SortIndices null but stays
    // fixed through its stale DrawItems.
    Mesh* mesh = CreateMesh(3, 2, 0);
    uint32_t* block = mesh->SortIndices;
    mesh->SortIndices = nullptr;
    EXPECT_TRUE(IsFixedMesh(mesh));
    DeleteMesh(mesh);
    FreeMemory(block);
}

}  // namespace
}  // namespace span3d
