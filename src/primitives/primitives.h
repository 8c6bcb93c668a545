// Primitive generators: the conventions that every generator shares, and the
// module-wide record of the subsystem. The generators themselves are the
// exports declared in span3d.h (flat and box shapes in flat_box.cpp, round
// shapes in round.cpp, the chamfered cube in chamfer_cube.cpp).
//
// Conventions.
// - Every generator makes a fixed mesh with CreateMesh and fills it by index
//   through the mesh calls (SetMeshVertex, SetMeshTriPolygon,
//   SetMeshQuadPolygon and the texture-coordinate calls), so a generated mesh
//   is exactly what a host would get by making those calls itself.
// - The material argument goes into the colour argument of CreateMesh and of
//   every polygon call, as the low 32 bits of the pointer's value. The polygon
//   calls ignore it; CreateMesh reads bits 0-23 as the DefaultMaterial's
//   diffuse colour 0xRRGGBB. The polygons are NOT given the material: they
//   take the mesh's DefaultMaterial like any polygon from SetMeshTriPolygon.
// - Angles are degrees (floats) until the sine or cosine, where they are
//   multiplied by the single-precision constant 0.017453292 widened to
//   double; the product, the sine and everything computed from it stay in
//   double until a coordinate is handed to SetMeshVertex as a float.
// - Running angles, running coordinates and running texture coordinates are
//   floats advanced by repeated float addition of a float step, so the last
//   value of a run is not exact (a torus's last u lands near 1, not on it).
// - Every final coordinate is multiplied by the scale's x, y, z. A null scale
//   is not checked.
// - Finishing, after vertices and polygons: polygon normals, vertex normals,
//   the bounds box, then the default name (so only a finished mesh uses up a
//   number) and Form.
#pragma once

#include <math.h>
#include <stdint.h>

#include "span3d.h"
#include "kernel/kernel.h"

namespace span3d {

// Degrees to radians: the float nearest to 0.017453292 (0x3c8efa35,
// 0.0174532924), a constant of the generators' own. It has the same bits as
// the load-time AngleToRadians, but needs no start-up to be right. 90 times
// it falls 1.2e-8 short of pi/2, so cos 90 is +1.2e-8, not 0.
constexpr float kPrimitiveDegreesToRadians = 0.017453292f;

inline double DegreesToRadians(float degrees)
{
    return static_cast<double>(degrees) * static_cast<double>(kPrimitiveDegreesToRadians);
}
inline double SinDegrees(float degrees) { return sin(DegreesToRadians(degrees)); }
inline double CosDegrees(float degrees) { return cos(DegreesToRadians(degrees)); }

// Module-wide state of the generators (owned by primitives/finish.cpp): the
// two builders through which a generator gets its storage. They are
// CreateMesh and CreateAABB; tests swap in builders that fail in order to
// walk the failure paths, which real memory exhaustion cannot reach.
struct PrimitiveState {
    Mesh* (*NewMesh)(int32_t vertexCount, int32_t polygonCount, uint32_t colour);
    Mesh* (*NewBounds)(Mesh* mesh);
};
extern PrimitiveState g_Primitives;

// The colour word that stands for a material in the mesh calls: the low 32
// bits of its address.
inline uint32_t MaterialWord(const Material* material)
{
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(material));
}

// CreateMesh for a generator, with the counts worked out in 64 bits: counts
// that do not fit an i32 fail as an allocation of that size would, instead of
// wrapping into a small mesh that the fill loops then overrun.
Mesh* NewPrimitiveMesh(int64_t vertexCount, int64_t polygonCount, const Material* material);

// Normals, bounds box, default name and Form. On a failed bounds box the mesh
// is deleted and the result is null, and no name number is used.
Mesh* FinishPrimitive(Mesh* mesh, NameFamily family, int32_t form);

// Writes one vertex, each coordinate multiplied by its scale component in
// double and rounded to a float once.
inline void SetScaledVertex(Mesh* mesh, int32_t index, double x, double y, double z,
                            const Vector3* scale)
{
    SetMeshVertex(mesh, index, static_cast<float>(x * scale->x), static_cast<float>(y * scale->y),
                  static_cast<float>(z * scale->z));
}

// Replaces the edge bits (0x200 corner 0-1, 0x400 corner 1-2, 0x800 corner
// 2-0) of one polygon slot.
inline void SetEdgeBits(Mesh* mesh, int32_t slot, uint32_t edges)
{
    MeshPolygon* polygon = &mesh->Polygons[slot];
    polygon->Flags = (polygon->Flags & ~SPAN3D_EDGE_MASK) | edges;
}

// The steps of a run: 360 / count (or any span / count) as a float.
inline float StepOf(float span, int32_t count) { return span / static_cast<float>(count); }

}  // namespace span3d
