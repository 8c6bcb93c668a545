// Bounding boxes: the axis-aligned box of a mesh, built as an ordinary mesh
// of 8 vertices and 12 triangles so that the per-frame bounds test can
// project it like any mesh and a host can draw it as a wire cage.
#include "objects/objects.h"

namespace span3d {
namespace {

// Box corners as (x, y, z) picks: 0 takes the minimum, 1 the maximum. The
// first four lie on the minimum z, the last four on the maximum z.
constexpr uint8_t kBoxCorners[8][3] = {
    {0, 1, 0}, {1, 1, 0}, {1, 0, 0}, {0, 0, 0},
    {0, 1, 1}, {1, 1, 1}, {1, 0, 1}, {0, 0, 1},
};

// Six faces, each a quad of four box corners, in polygon slots 0, 2, ... 10;
// the face's number is its smoothing group.
constexpr int32_t kBoxFaces[6][4] = {
    {0, 1, 2, 3}, {1, 5, 6, 2}, {5, 4, 7, 6}, {4, 0, 3, 7}, {4, 5, 1, 0}, {3, 2, 6, 7},
};

}  // namespace
}  // namespace span3d

using namespace span3d;

extern "C" SPAN3D_API Mesh* CreateAABB(Mesh* mesh)
{
    // Extremes over all model vertices, starting from the first one. A mesh
    // without vertices gets a box collapsed on the origin.
    Vector3 low = {0.0f, 0.0f, 0.0f};
    Vector3 high = {0.0f, 0.0f, 0.0f};
    if (mesh->VertexCount > 0) {
        low = mesh->Vertices[0].ModelPosition;
        high = low;
        for (int32_t i = 1; i < mesh->VertexCount; ++i) {
            const Vector3 p = mesh->Vertices[i].ModelPosition;
            if (p.x < low.x) low.x = p.x;
            if (p.x > high.x) high.x = p.x;
            if (p.y < low.y) low.y = p.y;
            if (p.y > high.y) high.y = p.y;
            if (p.z < low.z) low.z = p.z;
            if (p.z > high.z) high.z = p.z;
        }
    }

    Mesh* box = CreateMesh(8, 12, 0xffffff);
    if (box == nullptr) {
        return nullptr;
    }
    for (int32_t i = 0; i < 8; ++i) {
        SetMeshVertex(box, i, kBoxCorners[i][0] ? high.x : low.x,
                      kBoxCorners[i][1] ? high.y : low.y, kBoxCorners[i][2] ? high.z : low.z);
    }
    for (int32_t face = 0; face < 6; ++face) {
        SetMeshQuadPolygon(box, face * 2, kBoxFaces[face][0], kBoxFaces[face][1],
                           kBoxFaces[face][2], kBoxFaces[face][3], 32767, face);
    }
    Material* material = &box->DefaultMaterial;
    SetMaterialRenderMode(material, static_cast<int32_t>(SPAN3D_RENDER_WIRE));
    SetMaterialShadeMode(material, static_cast<int32_t>(SPAN3D_SHADE_NONE));
    material->DiffuseColour[0] = 255.0f;
    material->DiffuseColour[1] = 255.0f;
    material->DiffuseColour[2] = 255.0f;
    material->DiffuseColour[3] = 0.0f;
    // Wire, front faces only, no shading; neither active nor hidden.
    box->RenderFlags = kBoundsMeshFlags;
    return box;
}
