// Flat and box primitives: billboard, cube, grid, disk and ring.
//
// Polygons are written with SetMeshTriPolygon(a, b, c) and
// SetMeshQuadPolygon(a, b, c, d) in the corner order shown in the comments;
// the mesh stores a triangle's corners reversed (c, b, a) and a quad as the
// two triangles (d, b, a) and (d, c, b). Edge bits therefore name stored
// corners: 0x200 is the edge from the last corner given to the middle one.
#include "primitives/primitives.h"

#include "objects/objects.h"

using namespace span3d;

namespace {

// The unit square's coordinates for a quad (a, b, c, d): a (0, 0), b (1, 0),
// c (1, 1), d (0, 1).
void SetUnitQuadCoords(Mesh* mesh, int32_t slot)
{
    SetMeshQuadTexCoords(mesh, slot, 0.0f, 0.0f, 1.0f, 0.0f, 1.0f, 1.0f, 0.0f, 1.0f);
}

// Cube corners as signs of (x, y, z) times h: 0-3 on the face z = -h, 4-7 on
// z = +h, each face going (-,+) (+,+) (+,-) (-,-) in x, y.
constexpr int8_t kCubeCorners[8][3] = {
    {-1, 1, -1}, {1, 1, -1}, {1, -1, -1}, {-1, -1, -1},
    {-1, 1, 1},  {1, 1, 1},  {1, -1, 1},  {-1, -1, 1},
};

// The six faces in slots 0, 2, ... 10; face i is in smoothing group i, so that
// no two faces share a vertex normal and the edges stay hard.
constexpr int32_t kCubeFaces[6][4] = {
    {0, 1, 2, 3}, {1, 5, 6, 2}, {5, 4, 7, 6}, {4, 0, 3, 7}, {4, 5, 1, 0}, {3, 2, 6, 7},
};

}  // namespace

extern "C" SPAN3D_API Mesh* BillboardCreate(float size, Vector3* scale, Material* material)
{
    if (!(size > 0.0f)) {
        return nullptr;
    }
    Mesh* mesh = NewPrimitiveMesh(4, 2, material);
    if (mesh == nullptr) {
        return nullptr;
    }
    const uint32_t colour = MaterialWord(material);
    const float h = size / 2.0f;
    // The quad stands in the plane z = 0 whatever the scale's z.
    SetMeshVertex(mesh, 0, -h * scale->x, h * scale->y, 0.0f);
    SetMeshVertex(mesh, 1, h * scale->x, h * scale->y, 0.0f);
    SetMeshVertex(mesh, 2, h * scale->x, -h * scale->y, 0.0f);
    SetMeshVertex(mesh, 3, -h * scale->x, -h * scale->y, 0.0f);
    SetMeshQuadPolygon(mesh, 0, 0, 1, 2, 3, colour, 0);
    SetUnitQuadCoords(mesh, 0);
    return FinishPrimitive(mesh, kNameBillboard, kFormBillboard);
}

extern "C" SPAN3D_API Mesh* CubeCreate(float size, Vector3* scale, Material* material)
{
    if (!(size > 0.0f)) {
        return nullptr;
    }
    Mesh* mesh = NewPrimitiveMesh(8, 12, material);
    if (mesh == nullptr) {
        return nullptr;
    }
    const uint32_t colour = MaterialWord(material);
    const float h = size / 2.0f;
    for (int32_t i = 0; i < 8; ++i) {
        SetScaledVertex(mesh, i, kCubeCorners[i][0] * h, kCubeCorners[i][1] * h, kCubeCorners[i][2] * h,
                        scale);
    }
    for (int32_t face = 0; face < 6; ++face) {
        const int32_t* q = kCubeFaces[face];
        SetMeshQuadPolygon(mesh, face * 2, q[0], q[1], q[2], q[3], colour, face);
        SetUnitQuadCoords(mesh, face * 2);
    }
    return FinishPrimitive(mesh, kNameCube, kFormOrdinary);
}

extern "C" SPAN3D_API Mesh* GridCreate(float size, Vector3* scale, int32_t rows, int32_t columns,
                                       Material* material)
{
    if (!(size > 0.0f) || rows < 1 || columns < 1) {
        return nullptr;
    }
    const int64_t rows64 = rows;
    const int64_t columns64 = columns;
    Mesh* mesh = NewPrimitiveMesh((columns64 + 1) * (rows64 + 1), rows64 * columns64 * 2, material);
    if (mesh == nullptr) {
        return nullptr;
    }
    const uint32_t colour = MaterialWord(material);

    // Row by row from the top (y = +size/2) down, each row from the left
    // (x = -size/2) rightward; both coordinates are running floats.
    const float half = size / 2.0f;
    const float stepX = StepOf(size, columns);
    const float stepY = StepOf(size, rows);
    float y = half;
    int32_t vertex = 0;
    for (int32_t r = 0; r <= rows; ++r) {
        float x = -half;
        for (int32_t c = 0; c <= columns; ++c) {
            SetMeshVertex(mesh, vertex++, x * scale->x, y * scale->y, 0.0f);
            x += stepX;
        }
        y -= stepY;
    }

    // Cell (r, c) is the quad (a, a + 1, a + columns + 2, a + columns + 1):
    // stored as (a + columns + 1, a + 1, a) and (a + columns + 1,
    // a + columns + 2, a + 1). The wire display shows cells, not triangles:
    // the first triangle keeps its top (0x400) and left (0x800) edges, the
    // second its right edge (0x400) on the last column and its bottom edge
    // (0x200) on the last row, so every inner edge is drawn exactly once.
    const float du = StepOf(1.0f, columns);
    const float dv = StepOf(1.0f, rows);
    float v = 0.0f;
    for (int32_t r = 0; r < rows; ++r) {
        float u = 0.0f;
        for (int32_t c = 0; c < columns; ++c) {
            const int32_t a = r * (columns + 1) + c;
            const int32_t slot = (r * columns + c) * 2;
            SetMeshQuadPolygon(mesh, slot, a, a + 1, a + columns + 2, a + columns + 1, colour, 0);
            SetMeshQuadTexCoords(mesh, slot, u, v, u + du, v, u + du, v + dv, u, v + dv);
            SetEdgeBits(mesh, slot, SPAN3D_EDGE_12 | SPAN3D_EDGE_20);
            uint32_t second = 0;
            if (c == columns - 1) second |= SPAN3D_EDGE_12;
            if (r == rows - 1) second |= SPAN3D_EDGE_01;
            SetEdgeBits(mesh, slot + 1, second);
            u += du;
        }
        v += dv;
    }
    return FinishPrimitive(mesh, kNameGrid, kFormOrdinary);
}

extern "C" SPAN3D_API Mesh* DiskCreate(float radius, Vector3* scale, int32_t segments, Material* material)
{
    // Four segments is the smallest disk: a square.
    if (!(radius > 0.0f) || segments <= 3) {
        return nullptr;
    }
    Mesh* mesh = NewPrimitiveMesh(static_cast<int64_t>(segments) + 1, segments, material);
    if (mesh == nullptr) {
        return nullptr;
    }
    const uint32_t colour = MaterialWord(material);

    SetMeshVertex(mesh, 0, 0.0f, 0.0f, 0.0f);
    const float step = StepOf(360.0f, segments);
    float angle = 0.0f;
    for (int32_t k = 1; k <= segments; ++k) {
        SetScaledVertex(mesh, k, CosDegrees(angle) * radius, SinDegrees(angle) * radius, 0.0, scale);
        angle += step;
    }

    // Wedges (0, k + 1, k), stored (k, k + 1, 0): edge 0x200 is the rim
    // segment k to k + 1, the only edge a wire disk shows.
    const float du = StepOf(1.0f, segments);
    float u = 0.0f;
    for (int32_t k = 1; k < segments; ++k) {
        const int32_t slot = k - 1;
        SetMeshTriPolygon(mesh, slot, 0, k + 1, k, colour, 0);
        SetMeshTriTexCoords(mesh, slot, u, 0.0f, u + du, 1.0f, u, 1.0f);
        SetEdgeBits(mesh, slot, SPAN3D_EDGE_01);
        u += du;
    }
    // The closing wedge gives its rim corners the coordinates the other way
    // round from its neighbours, which mirrors the texture in the last wedge.
    // That is the disk's seam as it has always looked, and it stays.
    const int32_t last = segments - 1;
    SetMeshTriPolygon(mesh, last, 0, 1, segments, colour, 0);
    SetMeshTriTexCoords(mesh, last, u, 0.0f, u, 1.0f, u + du, 1.0f);
    SetEdgeBits(mesh, last, SPAN3D_EDGE_01);
    return FinishPrimitive(mesh, kNameDisk, kFormOrdinary);
}

extern "C" SPAN3D_API Mesh* RingCreate(float outerRadius, float innerRadius, Vector3* scale, int32_t segments,
                                       Material* material)
{
    if (!(outerRadius > 0.0f) || !(innerRadius > 0.0f) || !(outerRadius > innerRadius) || segments <= 3) {
        return nullptr;
    }
    const int64_t count = static_cast<int64_t>(segments) * 2;
    Mesh* mesh = NewPrimitiveMesh(count, count, material);
    if (mesh == nullptr) {
        return nullptr;
    }
    const uint32_t colour = MaterialWord(material);

    // Vertex j on the inner circle, segments + j on the outer, same angle.
    const float step = StepOf(360.0f, segments);
    float angle = 0.0f;
    for (int32_t j = 0; j < segments; ++j) {
        const double c = CosDegrees(angle);
        const double s = SinDegrees(angle);
        SetScaledVertex(mesh, j, c * innerRadius, s * innerRadius, 0.0, scale);
        SetScaledVertex(mesh, segments + j, c * outerRadius, s * outerRadius, 0.0, scale);
        angle += step;
    }

    const float du = StepOf(1.0f, segments);
    float u = 0.0f;
    for (int32_t j = 0; j < segments; ++j) {
        const int32_t slot = j * 2;
        if (j < segments - 1) {
            SetMeshQuadPolygon(mesh, slot, j, j + 1, segments + j + 1, segments + j, colour, 0);
        } else {
            SetMeshQuadPolygon(mesh, slot, segments - 1, 0, segments, 2 * segments - 1, colour, 0);
        }
        SetMeshQuadTexCoords(mesh, slot, u, 0.0f, u + du, 0.0f, u + du, 1.0f, u, 1.0f);
        u += du;
    }
    return FinishPrimitive(mesh, kNameRing, kFormOrdinary);
}
