// Bounding boxes: the box mesh that CreateAABB builds, checked vertex by
// vertex and polygon by polygon against values worked out by hand.
#include <gtest/gtest.h>

#include <string.h>

#include "objects/objects.h"

namespace span3d {
namespace {

// Three vertices spread over all axes:
//   (1, -2, 3), (-4, 5, 0.5), (2, 0, -6)
// min = (-4, -2, -6), max = (2, 5, 3).
Mesh* MakeKnownMesh()
{
    Mesh* mesh = CreateMesh(3, 1, 0);
    SetMeshVertex(mesh, 0, 1.0f, -2.0f, 3.0f);
    SetMeshVertex(mesh, 1, -4.0f, 5.0f, 0.5f);
    SetMeshVertex(mesh, 2, 2.0f, 0.0f, -6.0f);
    SetMeshTriPolygon(mesh, 0, 0, 1, 2, 0, 0);
    return mesh;
}

TEST(BoundsBox, VerticesOfAKnownMesh)
{
    Mesh* mesh = MakeKnownMesh();
    Mesh* box = CreateAABB(mesh);
    ASSERT_NE(box, nullptr);
    ASSERT_EQ(box->VertexCount, 8);
    // Corners: 0-3 on min z, 4-7 on max z, going (min,max) (max,max)
    // (max,min) (min,min) in x, y.
    const float expected[8][3] = {
        {-4, 5, -6}, {2, 5, -6}, {2, -2, -6}, {-4, -2, -6},
        {-4, 5, 3},  {2, 5, 3},  {2, -2, 3},  {-4, -2, 3},
    };
    for (int32_t i = 0; i < 8; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(box->Vertices[i].ModelPosition.x, expected[i][0]);
        EXPECT_EQ(box->Vertices[i].ModelPosition.y, expected[i][1]);
        EXPECT_EQ(box->Vertices[i].ModelPosition.z, expected[i][2]);
    }
    DeleteMesh(box);
    DeleteMesh(mesh);
}

TEST(BoundsBox, PolygonsAreSixQuads)
{
    Mesh* mesh = MakeKnownMesh();
    Mesh* box = CreateAABB(mesh);
    ASSERT_NE(box, nullptr);
    ASSERT_EQ(box->PolygonCount, 12);
    // Face i is the quad (a, b, c, d) in slots 2i and 2i + 1 with group i:
    // slot 2i has corners (d, b, a) and flags 0x700c47 | i << 12, slot 2i + 1
    // (d, c, b) and 0x700647 | i << 12.
    //   face 0 (0, 1, 2, 3)   face 1 (1, 5, 6, 2)   face 2 (5, 4, 7, 6)
    //   face 3 (4, 0, 3, 7)   face 4 (4, 5, 1, 0)   face 5 (3, 2, 6, 7)
    const uint32_t corners[12][3] = {
        {3, 1, 0}, {3, 2, 1}, {2, 5, 1}, {2, 6, 5}, {6, 4, 5}, {6, 7, 4},
        {7, 0, 4}, {7, 3, 0}, {0, 5, 4}, {0, 1, 5}, {7, 2, 3}, {7, 6, 2},
    };
    const uint32_t flags[12] = {
        0x700c47u, 0x700647u, 0x701c47u, 0x701647u, 0x702c47u, 0x702647u,
        0x703c47u, 0x703647u, 0x704c47u, 0x704647u, 0x705c47u, 0x705647u,
    };
    for (int32_t i = 0; i < 12; ++i) {
        SCOPED_TRACE(i);
        const MeshPolygon& p = box->Polygons[i];
        EXPECT_EQ(p.Corner[0], corners[i][0]);
        EXPECT_EQ(p.Corner[1], corners[i][1]);
        EXPECT_EQ(p.Corner[2], corners[i][2]);
        EXPECT_EQ(p.Flags, flags[i]);
        EXPECT_EQ(p.FrontMaterial, &box->DefaultMaterial);
        EXPECT_EQ(p.BackMaterial, &box->DefaultMaterial);
    }
    DeleteMesh(box);
    DeleteMesh(mesh);
}

TEST(BoundsBox, RenderStateOfTheBox)
{
    Mesh* mesh = MakeKnownMesh();
    Mesh* box = CreateAABB(mesh);
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(box->Head.Kind, SPAN3D_KIND_MESH);
    // Wire, front faces only, no shading; neither active nor hidden.
    EXPECT_EQ(box->RenderFlags, 0x300021u);
    EXPECT_EQ(box->Form, 0);
    // Material: 0x700063 -> render mode 0x300000 (which also clears the blend
    // bit, absent from the argument) gives 0x300023 -> shade 1 gives 0x300021.
    const Material& m = box->DefaultMaterial;
    EXPECT_EQ(m.MaterialFlags, 0x300021u);
    EXPECT_EQ(m.DiffuseColour[0], 255.0f);
    EXPECT_EQ(m.DiffuseColour[1], 255.0f);
    EXPECT_EQ(m.DiffuseColour[2], 255.0f);
    EXPECT_EQ(m.DiffuseColour[3], 0.0f);
    EXPECT_EQ(m.AmbientColour[3], 0.0f);
    // A mesh of its own, with its own sort block and no box of its own.
    EXPECT_TRUE(IsFixedMesh(box));
    EXPECT_NE(box->SortIndices, nullptr);
    EXPECT_EQ(box->BoundsMesh, nullptr);
    EXPECT_EQ(box->Scene, nullptr);
    EXPECT_EQ(mesh->BoundsMesh, nullptr);  // CreateAABB does not attach it
    DeleteMesh(box);
    DeleteMesh(mesh);
}

TEST(BoundsBox, DegenerateExtentsTable)
{
    struct Case { const char* name; int32_t vertices; float x, y, z; };
    const Case cases[] = {
        // One vertex: all eight corners on it.
        {"single vertex", 1, 1.5f, -2.5f, 7.0f},
        // No vertex at all (empty growable mesh): collapsed on the origin.
        {"no vertex", 0, 0.0f, 0.0f, 0.0f},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Mesh* mesh = c.vertices ? CreateMesh(1, 1, 0) : CreateMesh(0, 0, 0);
        if (c.vertices) SetMeshVertex(mesh, 0, c.x, c.y, c.z);
        Mesh* box = CreateAABB(mesh);
        ASSERT_NE(box, nullptr);
        for (int32_t i = 0; i < 8; ++i) {
            EXPECT_EQ(box->Vertices[i].ModelPosition.x, c.x);
            EXPECT_EQ(box->Vertices[i].ModelPosition.y, c.y);
            EXPECT_EQ(box->Vertices[i].ModelPosition.z, c.z);
        }
        DeleteMesh(box);
        DeleteMesh(mesh);
    }
}

TEST(BoundsBox, OwnedByTheValidatedMesh)
{
    // ValidateMesh hangs the box on the mesh; DeleteMesh frees it with the
    // mesh (the leak checker watches).
    Mesh* mesh = MakeKnownMesh();
    ASSERT_EQ(ValidateMesh(mesh), mesh);
    ASSERT_NE(mesh->BoundsMesh, nullptr);
    EXPECT_EQ(mesh->BoundsMesh->Vertices[6].ModelPosition.x, 2.0f);
    EXPECT_EQ(mesh->BoundsMesh->Vertices[6].ModelPosition.y, -2.0f);
    EXPECT_EQ(mesh->BoundsMesh->Vertices[6].ModelPosition.z, 3.0f);
    DeleteMesh(mesh);
}

}  // namespace
}  // namespace span3d
