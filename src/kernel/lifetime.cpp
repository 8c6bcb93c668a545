// Engine lifetime: the load-time start, InitEngine3D / ReleaseEngine3D, the
// module-wide engine record and the exports that share one empty body.
#include "kernel/kernel.h"
#include "raster/raster.h"

namespace span3d {

EngineState g_Engine = {};

// The two angle factors start out holding each other's value (the slot for
// pi/180 holds 180/pi) and only become right once AngleStartup has run at
// load. Nothing reads them before that. Both are computed as AngleStartup
// computes them, in single precision from pi rounded to a float.
namespace {
constexpr float kPiAsFloat = 3.14159265358979323846f;  // 0x1.921fb6p+1
}  // namespace
float AngleToRadians = 180.0f / kPiAsFloat;
float AngleToDegrees = kPiAsFloat / 180.0f;

// ---------------------------------------------------------------- load time

namespace {

// On the x87 unit this step resets the unit (finit) and clears the two
// precision-control bits (24-bit mantissa) for the benefit of AngleStartup
// alone; the attach step then resets the unit again. This build does all
// float arithmetic in SSE registers, which round each operation to its own
// type and whose control register the engine never touches, so on x86-64 the
// step has no lasting effect at all: it is empty and kept to show the order.
void FpuStartup() {}

// pi as the processor's constant, stored to a float (3.14159274), then both
// factors divided with the unit in 24-bit mode: that is a float division of
// float operands, which is exactly what float arithmetic under SSE does. Note
// 180/pi this way is 0x1.ca5dcp+5, one unit in the last place below the float
// nearest to the true 180/pi.
void AngleStartup()
{
    const float pi = kPiAsFloat;
    const float halfTurn = 180.0f;
    AngleToRadians = pi / halfTurn;
    AngleToDegrees = halfTurn / pi;
}

// The platform attach routine. On process attach an x87 build resets the
// unit (finit: extended precision, round to nearest, exceptions masked),
// which undoes FpuStartup's precision. Under SSE the state after load is already the
// default one (MXCSR round to nearest, all exceptions masked), so there is
// nothing to do for any reason.
int32_t EngineAttach(void* module, uint32_t reason, void* reserved)
{
    (void)module;
    (void)reason;
    (void)reserved;
    return 1;
}

// The loader's entry: the load-time list once, then the attach routine.
// Reason 1 is process attach.
int32_t EngineEntry(void* module, uint32_t reason, void* reserved)
{
    if (g_Engine.LoadInitDone != 1) {
        FpuStartup();
        AngleStartup();
        g_Engine.LoadInitDone = 1;
    }
    return EngineAttach(module, reason, reserved);
}

// There is no loader entry protocol on this platform: a library constructor
// stands in for the process-attach call. Detach has nothing to undo.
__attribute__((constructor)) void LibraryStart()
{
    EngineEntry(nullptr, 1, nullptr);
}

}  // namespace

// ---------------------------------------------------------------- shared bodies

// One empty body for three names. The rasterizer table calls it with a polygon
// and its vertices; the two exports below are further names of the same code.
void NoOpRasterizer(MeshPolygon* polygon, RasterVertex* vertices)
{
    (void)polygon;
    (void)vertices;
}

}  // namespace span3d

// The exports that share a body are aliases, not wrappers, so that each group
// has one address. Their prototypes differ from their target's on purpose:
// the body ignores every argument, and under the x86-64 calling convention a
// callee that reads no argument may be entered with any argument list. gcc
// warns about aliases between functions of different types; here that is the
// point, so the warning is silenced for these declarations only.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wattribute-alias"
#endif

extern "C" SPAN3D_API int32_t AddMeshQuadPolygon(Mesh* mesh, int32_t a, int32_t b, int32_t c, int32_t d)
{
    (void)mesh;
    (void)a;
    (void)b;
    (void)c;
    (void)d;
    return 1;
}

extern "C" SPAN3D_API int32_t AssignVertexInfluence(Mesh* mesh, int32_t vertex, Bone* bone, float weight)
    __attribute__((alias("AddMeshQuadPolygon")));
extern "C" SPAN3D_API int32_t CheckWeightedVertices(Mesh* mesh)
    __attribute__((alias("AddMeshQuadPolygon")));

// The target is span3d::NoOpRasterizer(MeshPolygon*, MeshVertex*) by its
// linkage name (RasterVertex is a typedef of MeshVertex). A wrong name is a
// compile-time error ("aliased to undefined symbol"), so it cannot drift.
extern "C" SPAN3D_API void RemoveVertexInfluence(Mesh* mesh, int32_t vertex)
    __attribute__((alias("_ZN6span3d14NoOpRasterizerEP11MeshPolygonP10MeshVertex")));
extern "C" SPAN3D_API void UpdateMeshPolygonsNormal(Mesh* mesh)
    __attribute__((alias("_ZN6span3d14NoOpRasterizerEP11MeshPolygonP10MeshVertex")));

#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

// ---------------------------------------------------------------- start and stop

extern "C" SPAN3D_API int32_t InitEngine3D(void)
{
    using span3d::g_Engine;
    // The processor word decides nothing; it goes to the empty body and is lost.
    RemoveVertexInfluence(nullptr, ProcessorGetType());
    InitRadixSort();
    // Builds anew on every call: a second InitEngine3D without a release in
    // between overwrites the table pointers and loses the first blocks.
    span3d::BuildColourTables();
    g_Engine.SceneListHead = nullptr;
    g_Engine.SceneListTail = nullptr;
    g_Engine.EngineReady = 1;
    return 0;
}

extern "C" SPAN3D_API void ReleaseEngine3D(void)
{
    using span3d::g_Engine;
    if (g_Engine.EngineReady == 0)
        return;
    ReleaseRadixSort();
    span3d::ReleaseColourTables();
    g_Engine.SceneListHead = nullptr;
    g_Engine.SceneListTail = nullptr;
    g_Engine.EngineReady = 0;
}
