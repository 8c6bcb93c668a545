// Polygon normals with their plane constants, and vertex normals shared
// within smoothing groups. Build-time work: these run when a mesh is made or
// changed, never during a frame.
//
// The plane of a polygon is Normal . p + PlaneD = 0 in model coordinates, and
// Normal points to the side from which the polygon is seen from behind.
#include <stddef.h>

#include "kernel/kernel.h"

namespace span3d {
namespace {

// One third as a single-precision constant (0x3eaaaaab, a little above 1/3):
// the centroid is the corner sum scaled by this float, not divided by three.
constexpr float kOneThird = 0.33333334f;

// A vertex met in the current smoothing group and the normal it collects.
struct VertexNormalPair {
    uint32_t Vertex;  // vertex index
    uint32_t Normal;  // index into the working table of normals
};

}  // namespace
}  // namespace span3d

using namespace span3d;

extern "C" SPAN3D_API void CalcMeshPolygonNormal(Mesh* mesh, MeshPolygon* polygon)
{
    const Vector3& p0 = mesh->Vertices[polygon->Corner[0]].ModelPosition;
    const Vector3& p1 = mesh->Vertices[polygon->Corner[1]].ModelPosition;
    const Vector3& p2 = mesh->Vertices[polygon->Corner[2]].ModelPosition;

    // The two edge vectors are stored floats: the cross product reads them
    // from memory.
    const Vector3 a = {p1.x - p0.x, p1.y - p0.y, p1.z - p0.z};
    const Vector3 b = {p2.x - p1.x, p2.y - p1.y, p2.z - p1.z};
    VectorCross(&a, &b, &polygon->Normal);
    // No guard: a degenerate triangle has a zero cross product, and its
    // normal becomes not-a-number. That is the intended result.
    VectorNormalize(&polygon->Normal);

    // The centroid is never stored, so it stays in double, as does the dot
    // product, summed (x + y) + z; only PlaneD is rounded to a float.
    const Vector3& n = polygon->Normal;
    const double cx = (static_cast<double>(p0.x) + p1.x + p2.x) * kOneThird;
    const double cy = (static_cast<double>(p0.y) + p1.y + p2.y) * kOneThird;
    const double cz = (static_cast<double>(p0.z) + p1.z + p2.z) * kOneThird;
    const double dot = (n.x * cx + n.y * cy) + n.z * cz;
    polygon->PlaneD = static_cast<float>(-dot);
}

extern "C" SPAN3D_API void CalcMeshPolygonsNormal(Mesh* mesh)
{
    for (int32_t i = 0; i < mesh->PolygonCount; ++i) CalcMeshPolygonNormal(mesh, &mesh->Polygons[i]);
}

// Polygons are grouped by smoothing group with the radix sort (stable, so a
// group keeps array order), then each group is walked on its own: the first
// polygon to reach a vertex in a group starts that vertex's normal with its
// own unit normal, and every later one adds its unit normal, with no weight
// by area or angle. Group 0 is a group like any other. A vertex shared by two
// groups gets one normal per group, which is how hard edges stay hard.
extern "C" SPAN3D_API void CalcMeshVerticesNormal(Mesh* mesh)
{
    mesh->VertexNormalCount = 0;
    FreeMemory(mesh->VertexNormals);
    mesh->VertexNormals = nullptr;

    const uint32_t polygonCount = static_cast<uint32_t>(mesh->PolygonCount);
    const uint32_t vertexCount = static_cast<uint32_t>(mesh->VertexCount);
    // Allocations are not tested: a failure faults on first use.
    Vector3* work = static_cast<Vector3*>(AllocateMemory(static_cast<size_t>(polygonCount) * 3 * sizeof(Vector3)));
    VertexNormalPair* pairs =
        static_cast<VertexNormalPair*>(AllocateMemory(static_cast<size_t>(vertexCount) * sizeof(VertexNormalPair)));
    uint32_t* keys = static_cast<uint32_t*>(AllocateMemory(static_cast<size_t>(polygonCount) * sizeof(uint32_t)));
    uint32_t* indices = static_cast<uint32_t*>(AllocateMemory(static_cast<size_t>(polygonCount) * sizeof(uint32_t)));

    MeshPolygon* polygons = mesh->Polygons;
    ResetRadixSort(polygonCount, indices);
    for (uint32_t i = 0; i < polygonCount; ++i) {
        keys[i] = (polygons[i].Flags & SPAN3D_SMOOTH_GROUP_MASK) >> SPAN3D_SMOOTH_GROUP_SHIFT;
    }
    RadixLongSorter(polygonCount, reinterpret_cast<const uint8_t*>(keys), indices, 0);

    uint32_t normalCount = 0;
    uint32_t i = 0;
    while (i < polygonCount) {
        const uint32_t group = keys[indices[i]];
        uint32_t pairCount = 0;
        for (; i < polygonCount && keys[indices[i]] == group; ++i) {
            MeshPolygon* polygon = &polygons[indices[i]];
            const Vector3& n = polygon->Normal;
            for (uint32_t k = 0; k < 3; ++k) {
                const uint32_t vertex = polygon->Corner[k];
                uint32_t found = 0;
                while (found < pairCount && pairs[found].Vertex != vertex) ++found;
                if (found == pairCount) {
                    pairs[pairCount].Vertex = vertex;
                    pairs[pairCount].Normal = normalCount;
                    ++pairCount;
                    work[normalCount] = n;
                    polygon->NormalIndex[k] = normalCount;
                    ++normalCount;
                } else {
                    // Stored float by float: each sum is rounded as it lands
                    // in the table.
                    Vector3& sum = work[pairs[found].Normal];
                    sum.x = sum.x + n.x;
                    sum.y = sum.y + n.y;
                    sum.z = sum.z + n.z;
                    polygon->NormalIndex[k] = pairs[found].Normal;
                }
            }
        }
    }

    mesh->VertexNormalCount = static_cast<int32_t>(normalCount);
    for (uint32_t k = 0; k < normalCount; ++k) VectorNormalize(&work[k]);

    mesh->VertexNormals = static_cast<Vector3*>(AllocateMemory(static_cast<size_t>(normalCount) * sizeof(Vector3)));
    MemCopy(mesh->VertexNormals, work, normalCount * static_cast<uint32_t>(sizeof(Vector3)));
    FreeMemory(work);
    FreeMemory(pairs);
    FreeMemory(keys);
    FreeMemory(indices);
}
