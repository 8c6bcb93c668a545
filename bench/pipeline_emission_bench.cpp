// Vertex processing and polygon emission: one mesh of 10,000 triangles (a
// sphere of 51 stacks by 100 slices, 5,002 vertices, radius 10) seen whole
// from 30 units away on a 640x480 viewport, lit by an omni and a direct
// light, emitted into a Z-buffer list by EmitZLit once per iteration.
//
//   Emit/Fast/...      the transform for a mesh wholly between near and far
//   Emit/Clipped/...   the same mesh forced onto the near/far-tested transform
//                      (as DrawMesh always does)
//   .../Flat           the default material: one light sample per polygon
//   .../Gouraud        one light sample per corner
//   TransformAll/*     the bound beside them: every vertex through the same
//                      transform, no culling, no polygon, no light
//
// Back faces are culled before any of their corners is transformed: each
// iteration transforms about 1,400 of the 5,002 vertices and emits about
// 2,700 of the 10,000 polygons (from 30 units a third of the surface faces
// the camera, and the sphere's polygons crowd towards its poles, which lie
// on the silhouette). Counters are rates: "vertices" transformed per second,
// "polygons" emitted per second.
#include <benchmark/benchmark.h>

#include <vector>

#include "kernel/kernel.h"
#include "pipeline/frame_state.h"
#include "pipeline/pipeline.h"

namespace {

using namespace span3d;

constexpr int32_t kWidth = 640;
constexpr int32_t kHeight = 480;
constexpr int32_t kStacks = 51;
constexpr int32_t kSlices = 100;

struct EmissionScene {
    std::vector<Pixel15> Pixels = std::vector<Pixel15>(static_cast<size_t>(kWidth) * kHeight);
    Texture Target{};
    Viewport* View = nullptr;
    Camera* Eye = nullptr;
    Light* Omni = nullptr;
    Light* Direct = nullptr;
    Mesh* Sphere = nullptr;
    std::vector<DrawItem> Items;

    EmissionScene(bool clipped, uint32_t shade)
    {
        Target.Pixels = Pixels.data();
        Target.PitchBytes = kWidth * 2;
        Target.Width = kWidth;
        Target.Height = kHeight;
        View = CreateViewport(&Target, kWidth, kHeight, 0, 0);

        Vector3 position = {0.0f, 0.0f, -30.0f};
        Vector3 target = {0.0f, 0.0f, 0.0f};
        Eye = CreateCamera(&position, &target, 0.0f, 60.0f, 1.0f);
        Eye->WorldPosition = Eye->Position;
        Eye->WorldTarget = Eye->Target;
        AdjustCameraFocale(View, Eye);
        UpdateCameraMatrix(Eye);

        Vector3 scale = {1.0f, 1.0f, 1.0f};
        Sphere = SphereCreate(10.0f, &scale, kStacks, kSlices, nullptr);
        SetMaterialShadeMode(&Sphere->DefaultMaterial, static_cast<int32_t>(shade));
        Items.resize(static_cast<size_t>(Sphere->PolygonCount));

        float white[4] = {1.0f, 1.0f, 1.0f, 1.0f};
        float warm[4] = {1.0f, 0.8f, 0.6f, 1.0f};
        Vector3 omniAt = {-20.0f, 15.0f, -25.0f};
        Omni = CreateOmniLight(&omniAt, warm, 1.0f, 0.0f, 0.0f, SPAN3D_LIGHT_ON);
        Vector3 directFrom = {20.0f, 20.0f, -20.0f};
        Direct = CreateDirectLight(&directFrom, &target, white, 0.7f, SPAN3D_LIGHT_ON);
        for (Light* light : {Omni, Direct}) {
            light->WorldPosition = light->Position;
            light->WorldTarget = light->Target;
            AssignLightToMesh(light, Sphere);
        }

        SetFrameClip(View);
        g_Frame.CurrentViewport = View;
        g_Frame.CurrentCamera = Eye;
        UpdateMeshWorldMatrix(Sphere);
        UpdateMeshViewMatrix(Sphere, Eye);
        if (clipped) {
            Sphere->RenderFlags |= SPAN3D_MESH_BOUNDS_CUT;
        }
    }

    ~EmissionScene()
    {
        RemoveLightFromMesh(Omni, Sphere);
        RemoveLightFromMesh(Direct, Sphere);
        DeleteMesh(Sphere);
        DeleteLight(Omni);
        DeleteLight(Direct);
        DeleteCamera(Eye);
        DeleteViewport(View);
    }

    int32_t EmitOnce()
    {
        PrepareMeshTransform(Sphere, View, Eye);
        g_Frame.PolygonCursor = Sphere->Polygons;
        g_Frame.MainCursor = &Items.back();
        g_Frame.BlendCursor = Items.data();
        g_Frame.MainCount = 0;
        g_Frame.BlendCount = 0;
        return EmitZLit(Sphere);
    }

    int32_t VerticesDone() const
    {
        int32_t count = 0;
        for (int32_t i = 0; i < Sphere->VertexCount; ++i) {
            count += static_cast<int32_t>(Sphere->VertexDoneBits[i >> 5] >> (i & 31) & 1u);
        }
        return count;
    }
};

void SetRates(benchmark::State& state, int32_t vertices, int32_t polygons)
{
    const double iterations = static_cast<double>(state.iterations());
    state.counters["vertices"] = benchmark::Counter(vertices * iterations, benchmark::Counter::kIsRate);
    if (polygons > 0) {
        state.counters["polygons"] = benchmark::Counter(polygons * iterations, benchmark::Counter::kIsRate);
    }
}

void Emit(benchmark::State& state, bool clipped, uint32_t shade)
{
    EmissionScene scene(clipped, shade);
    if (scene.Sphere == nullptr || scene.View == nullptr || scene.Eye == nullptr) {
        state.SkipWithError("scene set-up failed");
        return;
    }
    int32_t emitted = 0;
    for (auto _ : state) {
        emitted = scene.EmitOnce();
        benchmark::DoNotOptimize(emitted);
        benchmark::ClobberMemory();
    }
    SetRates(state, scene.VerticesDone(), emitted);
}

void TransformAll(benchmark::State& state, bool clipped)
{
    EmissionScene scene(clipped, SPAN3D_SHADE_FLAT);
    if (scene.Sphere == nullptr || scene.View == nullptr || scene.Eye == nullptr) {
        state.SkipWithError("scene set-up failed");
        return;
    }
    for (auto _ : state) {
        PrepareMeshTransform(scene.Sphere, scene.View, scene.Eye);
        for (int32_t i = 0; i < scene.Sphere->VertexCount; ++i) {
            g_Transform.XformVertex = &scene.Sphere->Vertices[i];
            benchmark::DoNotOptimize(g_Transform.TransformVertexFunction());
        }
        benchmark::ClobberMemory();
    }
    SetRates(state, scene.Sphere->VertexCount, 0);
}

BENCHMARK_CAPTURE(Emit, Fast/Flat, false, SPAN3D_SHADE_FLAT);
BENCHMARK_CAPTURE(Emit, Fast/Gouraud, false, SPAN3D_SHADE_GOURAUD);
BENCHMARK_CAPTURE(Emit, Clipped/Flat, true, SPAN3D_SHADE_FLAT);
BENCHMARK_CAPTURE(Emit, Clipped/Gouraud, true, SPAN3D_SHADE_GOURAUD);
BENCHMARK_CAPTURE(TransformAll, Fast, false);
BENCHMARK_CAPTURE(TransformAll, Clipped, true);

}  // namespace
