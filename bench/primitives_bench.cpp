// Primitive generators: whole meshes per second, each iteration one create
// and one delete, as a host that rebuilds a shape would pay for it.
//
//   Sphere32x32        SphereCreate, 32 stacks by 32 slices: 994 vertices,
//                      1984 triangles
//   Torus32x16         TorusCreate, 32 sections around the ring by 16 around
//                      the tube: 512 vertices, 1024 triangles
//   Storage*           the bound beside each: CreateMesh of the same counts
//                      plus DeleteMesh, the allocation and the zero fill
//                      that every generator pays before any arithmetic
//   Finish*            normals (polygon and vertex) and the bounds box of an
//                      already filled mesh, the generators' common tail
//
// The counter "meshes" is a rate in meshes per second.
#include <benchmark/benchmark.h>

#include "span3d.h"

namespace {

Vector3 g_Scale = {1.0f, 1.0f, 1.0f};

void SetMeshRate(benchmark::State& state)
{
    state.counters["meshes"] =
        benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

void Sphere32x32(benchmark::State& state)
{
    for (auto _ : state) {
        Mesh* mesh = SphereCreate(10.0f, &g_Scale, 32, 32, nullptr);
        benchmark::DoNotOptimize(mesh);
        if (mesh == nullptr) {
            state.SkipWithError("SphereCreate failed");
            break;
        }
        DeleteMesh(mesh);
    }
    SetMeshRate(state);
}

void Torus32x16(benchmark::State& state)
{
    for (auto _ : state) {
        Mesh* mesh = TorusCreate(10.0f, 3.0f, &g_Scale, 16, 32, nullptr);
        benchmark::DoNotOptimize(mesh);
        if (mesh == nullptr) {
            state.SkipWithError("TorusCreate failed");
            break;
        }
        DeleteMesh(mesh);
    }
    SetMeshRate(state);
}

void Storage(benchmark::State& state, int32_t vertices, int32_t polygons)
{
    for (auto _ : state) {
        Mesh* mesh = CreateMesh(vertices, polygons, 0);
        benchmark::DoNotOptimize(mesh);
        DeleteMesh(mesh);
    }
    SetMeshRate(state);
}
void StorageSphere32x32(benchmark::State& state) { Storage(state, 31 * 32 + 2, 31 * 32 * 2); }
void StorageTorus32x16(benchmark::State& state) { Storage(state, 32 * 16, 32 * 16 * 2); }

// The tail alone, on a mesh made once: normals are rebuilt and the box is
// made and freed again each iteration.
void Finish(benchmark::State& state, Mesh* mesh)
{
    for (auto _ : state) {
        CalcMeshPolygonsNormal(mesh);
        CalcMeshVerticesNormal(mesh);
        Mesh* box = CreateAABB(mesh);
        benchmark::DoNotOptimize(box);
        DeleteMesh(box);
    }
    DeleteMesh(mesh);
    SetMeshRate(state);
}
void FinishSphere32x32(benchmark::State& state) { Finish(state, SphereCreate(10.0f, &g_Scale, 32, 32, nullptr)); }
void FinishTorus32x16(benchmark::State& state) { Finish(state, TorusCreate(10.0f, 3.0f, &g_Scale, 16, 32, nullptr)); }

BENCHMARK(Sphere32x32);
BENCHMARK(StorageSphere32x32);
BENCHMARK(FinishSphere32x32);
BENCHMARK(Torus32x16);
BENCHMARK(StorageTorus32x16);
BENCHMARK(FinishTorus32x16);

}  // namespace
