// Vertex processing and polygon emission: the transforms against hand-worked
// projections, lazy transformation, sort keys, the cull table, the two list
// disciplines, the blend decision and the colours of unlit polygons.
//
// The rig puts the camera at the world origin looking along +z with an
// identity view matrix unless a test says otherwise, so view space is model
// space. Focale 128, centre (160, 120), ScaleY -1, scissor 0..320 x 0..240,
// near 1, far 1000. At z = 4 the focal factor is a = 128 / 4 = 32 exactly,
// so screen x = 32 x + 160 and screen y = -32 y + 120 come out exact.
#include <gtest/gtest.h>

#include <math.h>

#include "kernel/kernel.h"
#include "pipeline/frame_state.h"
#include "pipeline/pipeline.h"

namespace span3d {
namespace {

constexpr uint32_t kAllPass      = 0x7f00007u;  // every shade, mode and stage bit
constexpr uint32_t kPolygonFlags = 0x700e07u;   // Gouraud, solid, all edges, no blend
constexpr float kSentinel        = 777.0f;
constexpr int32_t kSlots         = 8;

// Front material: diffuse (80, 160, 240) -> Pixel15 (10, 20, 30) = 0x2a9e.
// Back material: diffuse (248, 0, 8) -> (31, 0, 1) = 0x7c01.
constexpr uint32_t kFrontColour = 0x2a9eu;
constexpr uint32_t kBackColour  = 0x7c01u;

void SetColour(float* channel, float r, float g, float b)
{
    channel[0] = r;
    channel[1] = g;
    channel[2] = b;
    channel[3] = 255.0f;
}

struct Rig {
    Camera   camera{};
    Viewport viewport{};
    Material front{};
    Material back{};
    Mesh*    mesh = nullptr;
    DrawItem items[kSlots]{};

    Rig(int32_t vertexCount, int32_t polygonCount, uint32_t cullBits)
    {
        camera.Focale = 128.0f;
        camera.Near = 1.0f;
        camera.Far = 1000.0f;
        viewport.CentreX = 160.0f;
        viewport.CentreY = 120.0f;
        viewport.ScaleY = -1.0f;
        viewport.ScissorMinX = 0.0f;
        viewport.ScissorMaxX = 320.0f;
        viewport.ScissorMinY = 0.0f;
        viewport.ScissorMaxY = 240.0f;
        SetFrameClip(&viewport);
        g_Frame.CurrentCamera = &camera;
        g_Frame.CurrentViewport = &viewport;

        front.MaterialFlags = kAllPass;
        SetColour(front.DiffuseColour, 80.0f, 160.0f, 240.0f);
        back.MaterialFlags = kAllPass;
        SetColour(back.DiffuseColour, 248.0f, 0.0f, 8.0f);

        mesh = CreateMesh(vertexCount, polygonCount, 0);
        mesh->RenderFlags = kAllPass | cullBits;
        MatrixIdentity(&mesh->WorldMatrix);
        MatrixIdentity(&mesh->ViewMatrix);
        for (int32_t i = 0; i < vertexCount; ++i) {
            MeshVertex& v = mesh->Vertices[i];
            v.Outcode = 0xdeadu;
            v.ViewPosition = {kSentinel, kSentinel, kSentinel};
            v.ScreenPosition = {kSentinel, kSentinel, kSentinel};
        }
        for (DrawItem& item : items) item.SortKey = -7.0f;
    }
    ~Rig()
    {
        mesh->VertexNormals = nullptr;  // tests point it at their own arrays
        DeleteMesh(mesh);
    }

    void Vertex(int32_t i, float x, float y, float z) { SetMeshVertex(mesh, i, x, y, z); }

    // A polygon whose plane has normal +z and the given PlaneD; with the
    // camera at the origin S = PlaneD, whatever the corners.
    MeshPolygon* Polygon(int32_t i, uint32_t a, uint32_t b, uint32_t c, float planeD)
    {
        MeshPolygon* p = &mesh->Polygons[i];
        p->Corner[0] = a;
        p->Corner[1] = b;
        p->Corner[2] = c;
        p->Normal = {0.0f, 0.0f, 1.0f};
        p->PlaneD = planeD;
        p->Flags = kPolygonFlags;
        p->FrontMaterial = &front;
        p->BackMaterial = &back;
        p->CornerColour[0] = p->CornerColour[1] = p->CornerColour[2] = 0xbadu;
        return p;
    }

    void Prepare() { PrepareMeshTransform(mesh, &viewport, &camera); }

    // Z-buffer lists over the rig's slots: main from the last slot down,
    // blend from the first up.
    int32_t EmitZ(EmitFunction emit)
    {
        Prepare();
        g_Frame.PolygonCursor = mesh->Polygons;
        g_Frame.MainCursor = &items[kSlots - 1];
        g_Frame.BlendCursor = &items[0];
        g_Frame.MainCount = 0;
        g_Frame.BlendCount = 0;
        const int32_t n = emit(mesh);
        EXPECT_EQ(g_Frame.PolygonCursor, mesh->Polygons + mesh->PolygonCount);
        return n;
    }

    // Sorted list from the first slot up; the Z-buffer counters are not kept.
    int32_t EmitSorted(EmitFunction emit)
    {
        Prepare();
        g_Frame.PolygonCursor = mesh->Polygons;
        g_Frame.MainCursor = &items[0];
        g_Frame.BlendCursor = nullptr;
        g_Frame.MainCount = -5;
        g_Frame.BlendCount = -6;
        const int32_t n = emit(mesh);
        EXPECT_EQ(g_Frame.PolygonCursor, mesh->Polygons + mesh->PolygonCount);
        EXPECT_EQ(g_Frame.MainCount, -5);
        EXPECT_EQ(g_Frame.BlendCount, -6);
        EXPECT_EQ(g_Frame.BlendCursor, nullptr);
        return n;
    }

    bool Done(int32_t vertex) const
    {
        return (mesh->VertexDoneBits[vertex >> 5] >> (vertex & 31) & 1u) != 0;
    }
};

// ---------------------------------------------------------------- set-up

TEST(PrepareMeshTransform, PicksTheTransformByTheCutBit)
{
    Rig rig(3, 1, SPAN3D_CULL_FRONT_ONLY);
    rig.Prepare();  // the copied frame values show in the vertex table below
    EXPECT_EQ(g_Transform.TransformVertexFunction, &TransformVertexFast);
    rig.mesh->RenderFlags |= SPAN3D_MESH_BOUNDS_CUT;
    rig.Prepare();
    EXPECT_EQ(g_Transform.TransformVertexFunction, &TransformVertexClipped);
}

TEST(PrepareMeshTransform, ClearsOneWordPerThirtyTwoVerticesOrPart)
{
    struct Case {
        const char* name;
        int32_t vertexCount;
        uint32_t expected[3];
    };
    // 32 vertices fill exactly one word; 33 need a second; the word after
    // the last is never touched.
    const Case cases[] = {
        {"ThirtyTwo", 32, {0u, 0xffffffffu, 0xabcdu}},
        {"ThirtyThree", 33, {0u, 0u, 0xabcdu}},
        {"One", 1, {0u, 0xffffffffu, 0xabcdu}},
        {"SixtyFour", 64, {0u, 0u, 0xabcdu}},
    };
    Rig rig(3, 1, SPAN3D_CULL_FRONT_ONLY);
    uint32_t* own = rig.mesh->VertexDoneBits;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        uint32_t words[3] = {0xffffffffu, 0xffffffffu, 0xabcdu};
        rig.mesh->VertexDoneBits = words;
        rig.mesh->VertexCount = c.vertexCount;
        rig.Prepare();
        EXPECT_EQ(words[0], c.expected[0]);
        EXPECT_EQ(words[1], c.expected[1]);
        EXPECT_EQ(words[2], c.expected[2]);
    }
    rig.mesh->VertexDoneBits = own;
    rig.mesh->VertexCount = 3;
}

// ---------------------------------------------------------------- vertex transforms

struct VertexCase {
    const char* name;
    bool clipped;             // TransformVertexClipped, else TransformVertexFast
    float x, y, z;            // model position
    float pivotX;             // mesh pivot x
    float translateZ;         // view matrix translation z
    uint32_t outcode;
    float depth;              // returned
    float viewZ;              // stored
    float screenX, screenY;   // kSentinel: left as it was
    float inverseZ;
};

// a = 128 / z, b = -a; screen = (a x + 160, b y + 120). At z = 4: a = 32.
const VertexCase kVertexCases[] = {
    {"Centre", true, 0, 0, 4, 0, 0, 0u, 4, 4, 160, 120, 0.25f},
    {"OnRightEdge", true, 5, 0, 4, 0, 0, 0u, 4, 4, 320, 120, 0.25f},          // 320 - 320 = +0
    {"PastRightEdge", true, 5.03125f, 0, 4, 0, 0, 0x80u, 4, 4, 321, 120, 0.25f},
    {"OnLeftEdge", true, -5, 0, 4, 0, 0, 0u, 4, 4, 0, 120, 0.25f},
    {"PastLeftEdge", true, -5.03125f, 0, 4, 0, 0, 0x40u, 4, 4, -1, 120, 0.25f},
    {"OnBottomEdge", true, 0, -3.75f, 4, 0, 0, 0u, 4, 4, 160, 240, 0.25f},    // -32 * -3.75 = 120
    {"PastBottomEdge", true, 0, -3.78125f, 4, 0, 0, 0x200u, 4, 4, 160, 241, 0.25f},
    {"OnTopEdge", true, 0, 3.75f, 4, 0, 0, 0u, 4, 4, 160, 0, 0.25f},
    {"PastTopEdge", true, 0, 3.78125f, 4, 0, 0, 0x100u, 4, 4, 160, -1, 0.25f},
    {"PastTopLeft", true, -5.03125f, 3.78125f, 4, 0, 0, 0x140u, 4, 4, -1, -1, 0.25f},
    // The pivot is added to the model position: 4 + 1 = 5 -> the right edge.
    {"PivotShifts", true, 4, 0, 4, 1, 0, 0u, 4, 4, 320, 120, 0.25f},
    // The translation column counts: model z 2 + 2 = 4.
    {"Translation", true, 5.03125f, 0, 2, 0, 2, 0x80u, 4, 4, 321, 120, 0.25f},
    // Exactly on near is outside (z - Near = +0 is not greater than 0): the
    // clamped depth comes back, 1/z is 1/Near, screen x and y stay.
    {"OnNear", true, 3, 2, 1, 0, 0, 0x10u, 1, 1, kSentinel, kSentinel, 1.0f},
    {"BehindNear", true, 3, 2, 0.5f, 0, 0, 0x10u, 1, 0.5f, kSentinel, kSentinel, 1.0f},
    {"BehindCamera", true, 0, 0, -4, 0, 0, 0x10u, 1, -4, kSentinel, kSentinel, 1.0f},
    // Exactly on far is inside: a = 0.128, screen (160.384, 119.744).
    {"OnFar", true, 3, 2, 1000, 0, 0, 0u, 1000, 1000, (float)(0.128 * 3 + 160), (float)(-0.128 * 2 + 120),
     0.001f},
    {"JustBeyondFar", true, 3, 2, 1000.00006f, 0, 0, 0x20u, 1000, 1000.00006f, kSentinel, kSentinel, 0.001f},
    {"BeyondFar", true, 3, 2, 2048, 0, 0, 0x20u, 1000, 2048, kSentinel, kSentinel, 0.001f},
    // The fast transform tests neither plane: z = 0.5 projects with a = 256.
    {"FastIgnoresNear", false, 0.5f, 0, 0.5f, 0, 0, 0u, 0.5f, 0.5f, 288, 120, 2.0f},
    {"FastIgnoresFar", false, 0, 0, 2048, 0, 0, 0u, 2048, 2048, 160, 120, 1.0f / 2048},
    {"FastOnRightEdge", false, 5, 0, 4, 0, 0, 0u, 4, 4, 320, 120, 0.25f},
    {"FastPastRightEdge", false, 5.03125f, 0, 4, 0, 0, 0x80u, 4, 4, 321, 120, 0.25f},
};

TEST(VertexTransform, OutcodesAndProjectionTable)
{
    Rig rig(3, 1, SPAN3D_CULL_FRONT_ONLY);
    for (const VertexCase& c : kVertexCases) {
        SCOPED_TRACE(c.name);
        rig.mesh->Pivot = {c.pivotX, 0.0f, 0.0f};
        rig.mesh->ViewMatrix.m[11] = c.translateZ;
        rig.Prepare();
        MeshVertex v{};
        v.Outcode = 0xdeadu;
        v.ModelPosition = {c.x, c.y, c.z};
        v.ScreenPosition = {kSentinel, kSentinel, kSentinel};
        g_Transform.XformVertex = &v;
        const float depth = c.clipped ? TransformVertexClipped() : TransformVertexFast();
        EXPECT_EQ(v.Outcode, c.outcode);
        EXPECT_EQ(depth, c.depth);
        EXPECT_EQ(v.ViewPosition.x, c.x + c.pivotX);
        EXPECT_EQ(v.ViewPosition.y, c.y);
        EXPECT_EQ(v.ViewPosition.z, c.viewZ);
        EXPECT_EQ(v.ScreenPosition.x, c.screenX);
        EXPECT_EQ(v.ScreenPosition.y, c.screenY);
        EXPECT_EQ(v.ScreenPosition.z, c.inverseZ);
    }
}

// ---------------------------------------------------------------- polygon transforms and keys

TEST(PolygonTransform, KeyIsASumOfClampedOrTrueDepths)
{
    // v0 lies behind near (z 0.5, clamped to 1), v4 beyond far (z 2048,
    // clamped to 1000). The first polygon to reach a clipped vertex adds the
    // clamped depth; a later one finds it done and adds its stored true z.
    Rig rig(5, 1, SPAN3D_CULL_BOTH);
    rig.mesh->RenderFlags |= SPAN3D_MESH_BOUNDS_CUT;
    rig.Vertex(0, 0, 0, 0.5f);
    rig.Vertex(1, 0, 0, 10);
    rig.Vertex(2, 0, 0, 20);
    rig.Vertex(3, 0, 0, 30);
    rig.Vertex(4, 0, 0, 2048);
    rig.Prepare();
    struct Case {
        const char* name;
        int32_t a, b, c;
        float key;
    };
    const Case cases[] = {
        {"FirstReachesNearVertex", 0, 1, 2, 31.0f},   // 1 + 10 + 20
        {"LaterFindsTrueNearZ", 3, 0, 1, 40.5f},      // 30 + 0.5 + 10
        {"FirstReachesFarVertex", 4, 2, 3, 1050.0f},  // 1000 + 20 + 30
        {"LaterFindsTrueFarZ", 1, 2, 4, 2078.0f},     // 10 + 20 + 2048
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        DrawItem item{};
        item.SortKey = -7.0f;
        EXPECT_EQ(TransformPolygonKeyed(rig.mesh, c.a, c.b, c.c, &item), 0);
        EXPECT_EQ(item.SortKey, c.key);
    }
}

TEST(PolygonTransform, KeyRoundsToFloatAfterEachAddition)
{
    // 2^24 + 1 rounds back to 2^24 (ties to even), twice; a sum carried in
    // double would give 2^24 + 2, which a float holds.
    Rig rig(3, 1, SPAN3D_CULL_BOTH);
    rig.Vertex(0, 0, 0, 16777216.0f);
    rig.Vertex(1, 0, 0, 1);
    rig.Vertex(2, 0, 0, 1);
    rig.Prepare();
    DrawItem item{};
    EXPECT_EQ(TransformPolygonKeyed(rig.mesh, 0, 1, 2, &item), 0);
    EXPECT_EQ(item.SortKey, 16777216.0f);
}

TEST(PolygonTransform, RejectsOnlyWhenAllCornersShareABit)
{
    Rig rig(6, 1, SPAN3D_CULL_BOTH);
    rig.mesh->RenderFlags |= SPAN3D_MESH_BOUNDS_CUT;
    rig.Vertex(0, 6, 0, 4);     // right (0x80)
    rig.Vertex(1, 6, -4, 4);    // right and bottom (0x280)
    rig.Vertex(2, -6, 0, 4);    // left (0x40)
    rig.Vertex(3, 0, 0, 0.5f);  // near (0x10)
    rig.Vertex(4, 0, 0, -1);    // near
    rig.Vertex(5, 6, 0, -1);    // near, no screen bits
    rig.Prepare();
    struct Case {
        const char* name;
        int32_t a, b, c;
        int32_t rejected;
    };
    const Case cases[] = {
        {"AllRight", 0, 1, 0, 1},
        {"RightAndLeft", 0, 1, 2, 0},
        {"AllNear", 3, 4, 5, 1},
        {"NearVertexHasNoScreenBits", 0, 1, 5, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(TransformPolygon(rig.mesh, c.a, c.b, c.c), c.rejected);
    }
    EXPECT_EQ(rig.mesh->Vertices[1].Outcode, 0x280u);
}

// ---------------------------------------------------------------- culling

struct CullCase {
    const char* name;
    uint32_t meshCull;      // mesh RenderFlags & 0x38
    uint32_t frontCull;     // front material's cull bits
    uint32_t backCull;      // back material's cull bits
    float s;                // the camera's side: PlaneD with the camera at the origin
    int32_t kept;
    uint32_t flags;         // polygon Flags afterwards (they start at 0x700ec7)
    uint32_t colour;        // CornerColour[0]: tells which material was used
};

// Side bits start set (0xc0): a front face clears both, a back face keeps
// 0x80 and clears 0x40 (the mesh has no BlendBit to give back), a culled
// polygon keeps them.
constexpr uint32_t kStart = kPolygonFlags | 0xc0u;
constexpr uint32_t kAsFront = kPolygonFlags;
constexpr uint32_t kAsBack = kPolygonFlags | 0x80u;

const CullCase kCullCases[] = {
    {"FrontOnlyFront", 0x20, 0, 0, -10, 1, kAsFront, kFrontColour},
    {"FrontOnlyBack", 0x20, 0, 0, 10, 0, kStart, 0xbadu},
    {"FrontOnlyEdgeOnIsBack", 0x20, 0, 0, 0, 0, kStart, 0xbadu},
    {"FrontOnlyNegativeZeroIsBack", 0x20, 0, 0, -0.0f, 0, kStart, 0xbadu},
    {"BackOnlyBack", 0x10, 0, 0, 10, 1, kAsBack, kBackColour},
    {"BackOnlyFront", 0x10, 0, 0, -10, 0, kStart, 0xbadu},
    {"BackOnlyEdgeOn", 0x10, 0, 0, 0, 1, kAsBack, kBackColour},
    {"BothFront", 0x08, 0, 0, -10, 1, kAsFront, kFrontColour},
    {"BothBack", 0x08, 0, 0, 10, 1, kAsBack, kBackColour},
    {"BothEdgeOn", 0x08, 0, 0, 0, 1, kAsBack, kBackColour},
    {"NoModeFront", 0x00, 0, 0, -10, 0, kStart, 0xbadu},
    {"NoModeBack", 0x00, 0, 0, 10, 0, kStart, 0xbadu},
    {"FrontAndBackBitsDrawNothing", 0x30, 0, 0, -10, 0, kStart, 0xbadu},
    {"AllBitsDrawNothing", 0x38, 0, 0, 10, 0, kStart, 0xbadu},
    // Bit 3 on the material consulted forces both sides. Under a front-only
    // (or any non-back-only) mesh the front material is consulted...
    {"FrontMaterialTwoSidedShowsBack", 0x20, 0x08, 0, 10, 1, kAsBack, kBackColour},
    {"BackMaterialBitIgnoredUnderFrontOnly", 0x20, 0, 0x08, 10, 0, kStart, 0xbadu},
    {"MaterialBitUnderNoMode", 0x00, 0x08, 0, -10, 1, kAsFront, kFrontColour},
    // ... under a back-only mesh the back material, whichever side is seen.
    {"BackMaterialTwoSidedShowsFront", 0x10, 0, 0x08, -10, 1, kAsFront, kFrontColour},
    {"FrontMaterialBitIgnoredUnderBackOnly", 0x10, 0x08, 0, -10, 0, kStart, 0xbadu},
};

TEST(Emission, CullTable)
{
    for (const CullCase& c : kCullCases) {
        SCOPED_TRACE(c.name);
        Rig rig(3, 1, c.meshCull);
        rig.Vertex(0, 0, 0, 10);
        rig.Vertex(1, 1, 0, 10);
        rig.Vertex(2, 0, 1, 10);
        MeshPolygon* p = rig.Polygon(0, 0, 1, 2, c.s);
        p->Flags = kStart;
        if (signbit(c.s)) {
            // E = (-0, -0, -0) makes E . N = -0 and S = (-0 + -0) - (+0) = -0.
            rig.camera.WorldPosition = {-0.0f, -0.0f, -0.0f};
        }
        rig.front.MaterialFlags |= c.frontCull;
        rig.back.MaterialFlags |= c.backCull;
        EXPECT_EQ(rig.EmitZ(&EmitZUnlit), c.kept);
        EXPECT_EQ(p->Flags, c.flags);
        EXPECT_EQ(p->CornerColour[0], c.colour);
        EXPECT_EQ(g_Frame.MainCount, c.kept);
        if (c.kept) {
            EXPECT_EQ(rig.items[kSlots - 1].Polygon, p);
            // Unlit: render mode and stages of all three, shade mode 1.
            EXPECT_EQ(rig.items[kSlots - 1].Flags, 0x700001u);
        }
    }
}

// The pivot enters the side test as S = E . N + PlaneD - Pivot . N, with E the
// camera in model space (pivot not taken off). Camera at the origin, normal
// +z, so S = PlaneD - pivot z; vertices at z 10 (view z 10 + pivot z, in
// front of near in every case). Under front-only, S < 0 is kept.
TEST(Emission, PivotEntersTheSideTest)
{
    struct Case {
        const char* name;
        float pivotZ;
        float planeD;
        int32_t kept;
    };
    const Case cases[] = {
        {"NoPivotBack", 0, 5, 0},              // S = 5
        {"PivotTurnsItToFront", 8, 5, 1},      // S = 5 - 8 = -3 (with + it would be 13)
        {"PivotTurnsItToBack", -8, -5, 0},     // S = -5 + 8 = 3
        {"PivotOnThePlaneIsEdgeOn", 5, 5, 0},  // S = 0: back, culled
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Rig rig(3, 1, SPAN3D_CULL_FRONT_ONLY);
        rig.Vertex(0, 0, 0, 10);
        rig.Vertex(1, 1, 0, 10);
        rig.Vertex(2, 0, 1, 10);
        rig.mesh->Pivot = {0.0f, 0.0f, c.pivotZ};
        rig.Polygon(0, 0, 1, 2, c.planeD);
        EXPECT_EQ(rig.EmitZ(&EmitZUnlit), c.kept);
        EXPECT_EQ(g_Frame.MainCount, c.kept);
    }
}

TEST(Emission, BillboardsNeverCullAndShowTheirFront)
{
    // A mesh in cull mode 0 would draw nothing; a billboard draws all three,
    // front, back and edge-on, each with its front material and the side
    // bits cleared.
    const EmitFunction emitters[] = {&EmitZBillboardUnlit, &EmitSortedBillboardUnlit};
    for (EmitFunction emit : emitters) {
        Rig rig(3, 3, 0x00);
        rig.Vertex(0, 0, 0, 10);
        rig.Vertex(1, 1, 0, 10);
        rig.Vertex(2, 0, 1, 10);
        const float sides[3] = {-10.0f, 10.0f, 0.0f};
        for (int32_t i = 0; i < 3; ++i) {
            rig.Polygon(i, 0, 1, 2, sides[i])->Flags = kStart;
        }
        const int32_t n = emit == &EmitZBillboardUnlit ? rig.EmitZ(emit) : rig.EmitSorted(emit);
        EXPECT_EQ(n, 3);
        for (int32_t i = 0; i < 3; ++i) {
            SCOPED_TRACE(i);
            EXPECT_EQ(rig.mesh->Polygons[i].Flags, kAsFront);
            EXPECT_EQ(rig.mesh->Polygons[i].CornerColour[0], kFrontColour);
        }
    }
}

// ---------------------------------------------------------------- lazy vertices

TEST(Emission, VerticesOfBackFacesAreNeverTransformed)
{
    // 40 vertices over two words of VertexDoneBits. Front faces use 0, 1, 2
    // and 33, 34, 2; back faces alone use 3, 4, 5 and 35, 36. The third front
    // face (6, 7, 8) lies wholly right of the scissor: rejected, but its
    // vertices are transformed and stay marked.
    Rig rig(40, 5, SPAN3D_CULL_FRONT_ONLY);
    for (int32_t i = 0; i < 40; ++i) {
        rig.Vertex(i, static_cast<float>(i % 3) * 0.25f, 0.0f, 4.0f);
    }
    for (int32_t i = 6; i <= 8; ++i) {
        rig.Vertex(i, 6.0f + static_cast<float>(i), 0.0f, 4.0f);
    }
    rig.Polygon(0, 0, 1, 2, -10);
    rig.Polygon(1, 3, 4, 5, 10);
    rig.Polygon(2, 33, 34, 2, -10);
    rig.Polygon(3, 35, 36, 1, 10);
    rig.Polygon(4, 6, 7, 8, -10);
    EXPECT_EQ(rig.EmitZ(&EmitZUnlit), 2);
    EXPECT_EQ(rig.mesh->VertexDoneBits[0], 0x1c7u);          // 0, 1, 2, 6, 7, 8
    EXPECT_EQ(rig.mesh->VertexDoneBits[1], 0x6u);            // 33, 34
    const int32_t untouched[] = {3, 4, 5, 35, 36};
    for (int32_t i : untouched) {
        SCOPED_TRACE(i);
        EXPECT_FALSE(rig.Done(i));
        EXPECT_EQ(rig.mesh->Vertices[i].Outcode, 0xdeadu);
        EXPECT_EQ(rig.mesh->Vertices[i].ViewPosition.z, kSentinel);
        EXPECT_EQ(rig.mesh->Vertices[i].ScreenPosition.x, kSentinel);
    }
    EXPECT_EQ(rig.mesh->Vertices[33].ViewPosition.z, 4.0f);
    EXPECT_EQ(rig.mesh->Vertices[7].Outcode, SPAN3D_OUT_RIGHT);
}

TEST(Emission, RejectedPolygonKeepsFlagsByMode)
{
    // One front face wholly right of the scissor, its Flags starting with both
    // side bits. Z-buffer emission updates Flags before the transform;
    // sorted emission only after it, so there the old Flags stay.
    struct Case {
        const char* name;
        EmitFunction emit;
        bool sorted;
        uint32_t flags;
    };
    const Case cases[] = {
        {"ZBufferUpdates", &EmitZUnlit, false, kAsFront},
        {"SortedKeepsOld", &EmitSortedUnlit, true, kStart},
        {"ZBillboardUpdates", &EmitZBillboardUnlit, false, kAsFront},
        {"SortedBillboardKeepsOld", &EmitSortedBillboardUnlit, true, kStart},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Rig rig(3, 1, SPAN3D_CULL_FRONT_ONLY);
        rig.Vertex(0, 6, 0, 4);
        rig.Vertex(1, 7, 0, 4);
        rig.Vertex(2, 8, 0, 4);
        MeshPolygon* p = rig.Polygon(0, 0, 1, 2, -10);
        p->Flags = kStart;
        const int32_t n = c.sorted ? rig.EmitSorted(c.emit) : rig.EmitZ(c.emit);
        EXPECT_EQ(n, 0);
        EXPECT_EQ(p->Flags, c.flags);
        EXPECT_EQ(p->CornerColour[0], 0xbadu);
        EXPECT_EQ(rig.items[c.sorted ? 0 : kSlots - 1].Polygon, nullptr);
        EXPECT_EQ(g_Frame.MainCursor, &rig.items[c.sorted ? 0 : kSlots - 1]);
    }
}

// ---------------------------------------------------------------- lists

TEST(Emission, ZBufferListsGrowTowardsEachOther)
{
    // Four front faces: opaque, additive, opaque, BlendBit (mesh and material
    // both). Opaque ones fill from the last slot down without a key; blended
    // ones from the first slot up with a key (z 4 at each corner: 12).
    Rig rig(3, 4, SPAN3D_CULL_FRONT_ONLY | SPAN3D_BLEND_BIT);
    rig.Vertex(0, 0, 0, 4);
    rig.Vertex(1, 1, 0, 4);
    rig.Vertex(2, 0, 1, 4);
    Material additive = rig.front;
    additive.AlphaMode = 1;
    Material blendBit = rig.front;
    blendBit.MaterialFlags |= SPAN3D_BLEND_BIT;
    for (int32_t i = 0; i < 4; ++i) rig.Polygon(i, 0, 1, 2, -10);
    rig.mesh->Polygons[1].FrontMaterial = &additive;
    rig.mesh->Polygons[3].FrontMaterial = &blendBit;

    EXPECT_EQ(rig.EmitZ(&EmitZUnlit), 4);
    EXPECT_EQ(g_Frame.MainCount, 2);
    EXPECT_EQ(g_Frame.BlendCount, 2);
    EXPECT_EQ(g_Frame.MainCursor, &rig.items[kSlots - 3]);
    EXPECT_EQ(g_Frame.BlendCursor, &rig.items[2]);
    const MeshPolygon* polygons = rig.mesh->Polygons;
    EXPECT_EQ(rig.items[kSlots - 1].Polygon, &polygons[0]);
    EXPECT_EQ(rig.items[kSlots - 2].Polygon, &polygons[2]);
    EXPECT_EQ(rig.items[0].Polygon, &polygons[1]);
    EXPECT_EQ(rig.items[1].Polygon, &polygons[3]);
    EXPECT_EQ(rig.items[kSlots - 1].SortKey, -7.0f);
    EXPECT_EQ(rig.items[kSlots - 2].SortKey, -7.0f);
    EXPECT_EQ(rig.items[0].SortKey, 12.0f);
    EXPECT_EQ(rig.items[1].SortKey, 12.0f);
    for (const DrawItem* item : {&rig.items[0], &rig.items[1], &rig.items[kSlots - 2], &rig.items[kSlots - 1]}) {
        EXPECT_EQ(item->Mesh, rig.mesh);
        EXPECT_EQ(item->Flags, 0x700001u);  // neither BlendBit nor BackFaceBit reaches the item
    }
    EXPECT_EQ(polygons[3].Flags, kPolygonFlags | SPAN3D_BLEND_BIT);
    EXPECT_EQ(polygons[1].Flags, kPolygonFlags);
}

TEST(Emission, SortedListFillsUpwardsWithKeys)
{
    // The same four polygons sorted: every one keyed, in order of emission,
    // and the culled back face (polygon 2) takes no slot. BlendBit is still
    // kept on polygon 3 but decides nothing.
    Rig rig(3, 4, SPAN3D_CULL_FRONT_ONLY | SPAN3D_BLEND_BIT);
    rig.Vertex(0, 0, 0, 4);
    rig.Vertex(1, 1, 0, 5);
    rig.Vertex(2, 0, 1, 6);
    Material additive = rig.front;
    additive.AlphaMode = 1;
    Material blendBit = rig.front;
    blendBit.MaterialFlags |= SPAN3D_BLEND_BIT;
    for (int32_t i = 0; i < 4; ++i) rig.Polygon(i, 0, 1, 2, i == 2 ? 10.0f : -10.0f);
    rig.mesh->Polygons[1].FrontMaterial = &additive;
    rig.mesh->Polygons[3].FrontMaterial = &blendBit;

    EXPECT_EQ(rig.EmitSorted(&EmitSortedUnlit), 3);
    EXPECT_EQ(g_Frame.MainCursor, &rig.items[3]);
    const MeshPolygon* polygons = rig.mesh->Polygons;
    const MeshPolygon* expected[3] = {&polygons[0], &polygons[1], &polygons[3]};
    for (int32_t i = 0; i < 3; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(rig.items[i].Polygon, expected[i]);
        EXPECT_EQ(rig.items[i].SortKey, 15.0f);  // 4 + 5 + 6
        EXPECT_EQ(rig.items[i].Flags, 0x700001u);
    }
    EXPECT_EQ(rig.items[3].SortKey, -7.0f);
    EXPECT_EQ(polygons[3].Flags, kPolygonFlags | SPAN3D_BLEND_BIT);
}

TEST(Emission, BlendDecisionTable)
{
    struct Case {
        const char* name;
        uint16_t alphaMode;
        uint16_t alphaLevel;
        bool meshBlend;
        bool materialBlend;
        bool blends;
    };
    const Case cases[] = {
        {"Opaque", 0, 0, false, false, false},
        {"Additive", 1, 255, false, false, true},
        {"BlendAtFullLevelIsOpaque", 2, 255, false, false, false},
        {"BlendBelowFullLevel", 2, 254, false, false, true},
        {"BlendAtZero", 2, 0, false, false, true},
        {"Subtractive", 3, 255, false, false, true},
        {"MeshAndMaterialBlendBit", 0, 0, true, true, true},
        {"MaterialBlendBitAlone", 0, 0, false, true, false},
        {"MeshBlendBitAlone", 0, 0, true, false, false},
        {"FullLevelWithBlendBit", 2, 255, true, true, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Rig rig(3, 1, SPAN3D_CULL_FRONT_ONLY | (c.meshBlend ? SPAN3D_BLEND_BIT : 0u));
        rig.Vertex(0, 0, 0, 4);
        rig.Vertex(1, 1, 0, 4);
        rig.Vertex(2, 0, 1, 4);
        MeshPolygon* p = rig.Polygon(0, 0, 1, 2, -10);
        p->Flags |= SPAN3D_BLEND_BIT;  // cleared as a front face, then given back if both ask
        rig.front.AlphaMode = c.alphaMode;
        rig.front.AlphaLevel = c.alphaLevel;
        if (c.materialBlend) rig.front.MaterialFlags |= SPAN3D_BLEND_BIT;
        EXPECT_EQ(rig.EmitZ(&EmitZUnlit), 1);
        EXPECT_EQ(g_Frame.BlendCount, c.blends ? 1 : 0);
        EXPECT_EQ(g_Frame.MainCount, c.blends ? 0 : 1);
        const DrawItem& item = c.blends ? rig.items[0] : rig.items[kSlots - 1];
        EXPECT_EQ(item.Polygon, p);
        EXPECT_EQ(item.SortKey, c.blends ? 12.0f : -7.0f);
        EXPECT_EQ((p->Flags & SPAN3D_BLEND_BIT) != 0, c.meshBlend && c.materialBlend);
    }
}

// ---------------------------------------------------------------- colours

TEST(Emission, UnlitColourTable)
{
    struct Case {
        const char* name;
        float emissive[3];
        float diffuse[3];
        float ambient[3];
        uint32_t stages;  // the material's stage bits (mesh and polygon let all through)
        uint32_t colour;
    };
    const Case cases[] = {
        // 10 + 100 + 0.5 = 110.5 -> 110 (ties to even) >> 3 = 13;
        // 20 + 50 + 0.4 = 70.4 -> 70 >> 3 = 8; 0 + 7 + 0.6 = 7.6 -> 8 >> 3 = 1
        // (a truncation would give 7 >> 3 = 0): 13 << 10 | 8 << 5 | 1 = 0x3501.
        {"RoundedSums", {10, 20, 0}, {100, 50, 7}, {0.5f, 0.4f, 0.6f}, 0, 0x3501u},
        // 300 clamps to 255 -> 31; -20 clamps to 0; 255 -> 31: 0x7c1f.
        {"Clamped", {200, -40, 0}, {100, 10, 255}, {0, 10, 0}, 0, 0x7c1fu},
        // Any texture stage but the third alone: white, the texels as they are.
        {"DiffuseTextureIsWhite", {0, 0, 0}, {8, 8, 8}, {0, 0, 0}, SPAN3D_STAGE_DIFFUSE, 0x7fffu},
        {"OpacityTextureIsWhite", {0, 0, 0}, {8, 8, 8}, {0, 0, 0}, SPAN3D_STAGE_OPACITY, 0x7fffu},
        {"ThirdAndDiffuseIsWhite", {0, 0, 0}, {8, 8, 8}, {0, 0, 0},
         SPAN3D_STAGE_THIRD | SPAN3D_STAGE_DIFFUSE, 0x7fffu},
        // The third stage alone keeps the material's colour: 8 >> 3 = 1 each.
        {"ThirdAloneKeepsColour", {0, 0, 0}, {8, 8, 8}, {0, 0, 0}, SPAN3D_STAGE_THIRD, 0x0421u},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Rig rig(3, 1, SPAN3D_CULL_FRONT_ONLY);
        rig.Vertex(0, 0, 0, 4);
        rig.Vertex(1, 1, 0, 4);
        rig.Vertex(2, 0, 1, 4);
        // The third stage asks for environment coordinates: give the mesh
        // normals, all (0.6, 0.8, 0), which the identity view turns into
        // envU 0.6 and envV 0.8.
        Vector3 normals[1] = {{0.6f, 0.8f, 0.0f}};
        rig.mesh->VertexNormals = normals;
        MeshPolygon* p = rig.Polygon(0, 0, 1, 2, -10);
        p->Flags |= SPAN3D_STAGE_MASK;
        p->CornerMap[1].envU = kSentinel;
        rig.front.MaterialFlags = 0x700007u | c.stages;
        SetColour(rig.front.EmissiveColour, c.emissive[0], c.emissive[1], c.emissive[2]);
        SetColour(rig.front.DiffuseColour, c.diffuse[0], c.diffuse[1], c.diffuse[2]);
        SetColour(rig.front.AmbientColour, c.ambient[0], c.ambient[1], c.ambient[2]);
        EXPECT_EQ(rig.EmitZ(&EmitZUnlit), 1);
        EXPECT_EQ(p->CornerColour[0], c.colour);
        EXPECT_EQ(p->CornerColour[1], 0xbadu);  // only corner 0 is written
        EXPECT_EQ(p->CornerColour[2], 0xbadu);
        EXPECT_EQ(rig.items[kSlots - 1].Flags, 0x700001u | c.stages);
        // Environment coordinates only for the third stage alone.
        EXPECT_EQ(p->CornerMap[1].envU, c.stages == SPAN3D_STAGE_THIRD ? 0.6f : kSentinel);
    }
}

// ---------------------------------------------------------------- lighting

// The lit rig moves the camera to world (0, 0, -10), so E = (0, 0, -10) in
// model space and L = 1/10; the view matrix takes model z 10 to view z 20.
// Polygon 0 lies in the plane z = 10. With normal +z (PlaneD -10) it is a
// front face: D = -10, S = -20, view cosine -(D L) = 1. With normal -z
// (PlaneD 10) it is seen from the back: D = 10, S = 20, view cosine D L = 1.
void MakeLit(Rig& rig, bool seenFromBack)
{
    rig.camera.WorldPosition = {0.0f, 0.0f, -10.0f};
    rig.mesh->ViewMatrix.m[11] = 10.0f;
    rig.Vertex(0, 0, 0, 10);
    rig.Vertex(1, 1, 0, 10);
    rig.Vertex(2, 0, 1, 10);
    MeshPolygon* p = rig.Polygon(0, 0, 1, 2, seenFromBack ? 10.0f : -10.0f);
    if (seenFromBack) p->Normal = {0.0f, 0.0f, -1.0f};
}

TEST(EmissionLit, WithoutLightsTheCameraLightsAndShadingIsFlat)
{
    // ShadeNoLights with cosine 1 gives the diffuse colour, as a Pixel15 in
    // all three corners; the item's shade mode drops from Gouraud to flat.
    struct Case {
        const char* name;
        EmitFunction emit;
        bool sorted;
        bool seenFromBack;
        uint32_t meshCull;
        uint32_t colour;
    };
    const Case cases[] = {
        {"ZFront", &EmitZLit, false, false, SPAN3D_CULL_FRONT_ONLY, kFrontColour},
        {"SortedFront", &EmitSortedLit, true, false, SPAN3D_CULL_FRONT_ONLY, kFrontColour},
        {"ZBothSidesSeenFromBack", &EmitZLit, false, true, SPAN3D_CULL_BOTH, kBackColour},
        // A billboard seen from behind: its front material, lit with the
        // cosine D L, not negated since S is not negative.
        {"ZBillboardSeenFromBack", &EmitZBillboardLit, false, true, 0, kFrontColour},
        {"SortedBillboardSeenFromBack", &EmitSortedBillboardLit, true, true, 0, kFrontColour},
        {"ZBillboardFront", &EmitZBillboardLit, false, false, 0, kFrontColour},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Rig rig(3, 1, c.meshCull);
        MakeLit(rig, c.seenFromBack);
        const MeshPolygon* p = rig.mesh->Polygons;
        EXPECT_EQ(c.sorted ? rig.EmitSorted(c.emit) : rig.EmitZ(c.emit), 1);
        for (int32_t k = 0; k < 3; ++k) EXPECT_EQ(p->CornerColour[k], c.colour);
        EXPECT_EQ(rig.items[c.sorted ? 0 : kSlots - 1].Flags, 0x700003u);
    }
}

TEST(EmissionLit, FacingAwayFromTheCameraWithoutLightsIsBlack)
{
    // Camera at (0, 0, +30): E . N = 30 for normal +z, S = 30 - 10 = 20 is
    // the back; a two-sided mesh draws it with cosine D L = 1. Moving the
    // plane behind the camera origin line (normal -z, PlaneD 40: S = -30 +
    // 40 = 10, back, cosine -1) leaves the polygon black: no ambient either.
    Rig rig(3, 1, SPAN3D_CULL_BOTH);
    MakeLit(rig, true);
    rig.camera.WorldPosition = {0.0f, 0.0f, 30.0f};
    rig.mesh->ViewMatrix.m[11] = 0.0f;
    rig.mesh->Vertices[0].ModelPosition.z = 40;
    rig.mesh->Vertices[1].ModelPosition.z = 40;
    rig.mesh->Vertices[2].ModelPosition.z = 40;
    MeshPolygon* p = rig.mesh->Polygons;
    p->PlaneD = 40.0f;
    SetColour(rig.back.AmbientColour, 255.0f, 255.0f, 255.0f);
    EXPECT_EQ(rig.EmitZ(&EmitZLit), 1);
    EXPECT_EQ(p->Flags & SPAN3D_BACK_FACE_BIT, SPAN3D_BACK_FACE_BIT);
    EXPECT_EQ(p->CornerColour[0], 0u);
}

TEST(EmissionLit, ViewCosineIsDotTimesInverseLengthOfTheEye)
{
    // Camera at (0, 3, -4): E = (0, 3, -4), L = 1/5. Front face (normal +z,
    // PlaneD -10): D = -4, S = -14, cosine -(D L) = 0.8f. Channels 0.8f x
    // (80, 160, 240) = 64.000001, 128.000002, 192.000003 -> 64, 128, 192:
    // 8 << 10 | 16 << 5 | 24 = 0x2218.
    // Seen from the back (normal -z, PlaneD 10): D = 4, S = 14, cosine D L =
    // 0.8f on the back material (248, 0, 8): 198.4 -> 198, 0, 6.4 -> 6:
    // (198 & 0xf8) << 7 | 0 | 6 >> 3 = 0x6000.
    struct Case {
        const char* name;
        bool seenFromBack;
        uint32_t colour;
    };
    const Case cases[] = {
        {"Front", false, 0x2218u},
        {"Back", true, 0x6000u},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Rig rig(3, 1, SPAN3D_CULL_BOTH);
        MakeLit(rig, c.seenFromBack);
        rig.camera.WorldPosition = {0.0f, 3.0f, -4.0f};
        const MeshPolygon* p = rig.mesh->Polygons;
        EXPECT_EQ(rig.EmitZ(&EmitZLit), 1);
        for (int32_t k = 0; k < 3; ++k) EXPECT_EQ(p->CornerColour[k], c.colour);
    }
}

TEST(EmissionLit, ShadeModeSelectsTheShader)
{
    // One direct light shining along +z onto the front face (normal +z):
    // d = 1, full intensity 1 in white, so each channel is the diffuse one,
    // (80, 160, 240). Flat writes a Pixel15 to corner 0 only, Gouraud 8-bit
    // channels to each corner (80 << 16 | 160 << 8 | 240), shade mode 1 the
    // unlit colour to corner 0; a shade mode of 5 writes nothing.
    struct Case {
        const char* name;
        uint32_t materialShade;
        uint32_t colour[3];
        uint32_t itemShade;
    };
    const Case cases[] = {
        {"Flat", 3, {kFrontColour, 0xbadu, 0xbadu}, 3},
        {"Gouraud", 7, {0x50a0f0u, 0x50a0f0u, 0x50a0f0u}, 7},
        {"None", 1, {kFrontColour, 0xbadu, 0xbadu}, 1},
        {"NoValidMode", 5, {0xbadu, 0xbadu, 0xbadu}, 5},
    };
    float white[4] = {1.0f, 1.0f, 1.0f, 1.0f};
    Vector3 position = {0.0f, 0.0f, -10.0f};
    Vector3 target = {0.0f, 0.0f, 0.0f};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Rig rig(3, 1, SPAN3D_CULL_FRONT_ONLY);
        MakeLit(rig, false);
        Vector3 normals[1] = {{0.0f, 0.0f, 1.0f}};
        rig.mesh->VertexNormals = normals;
        Light* light = CreateDirectLight(&position, &target, white, 1.0f, SPAN3D_LIGHT_ON);
        ASSERT_NE(light, nullptr);
        AssignLightToMesh(light, rig.mesh);
        ASSERT_EQ(rig.mesh->LightList[0], light);
        light->WorldPosition = position;
        light->WorldTarget = target;
        rig.front.MaterialFlags = 0x7f00000u | c.materialShade;
        const MeshPolygon* p = rig.mesh->Polygons;
        EXPECT_EQ(rig.EmitZ(&EmitZLit), 1);
        for (int32_t k = 0; k < 3; ++k) EXPECT_EQ(p->CornerColour[k], c.colour[k]);
        EXPECT_EQ(rig.items[kSlots - 1].Flags, 0x700000u | c.itemShade);
        RemoveLightFromMesh(light, rig.mesh);
        DeleteLight(light);
    }
}

TEST(Emission, NothingToEmitEmitsNothing)
{
    Rig rig(3, 1, SPAN3D_CULL_BOTH);
    g_Frame.PolygonCursor = rig.mesh->Polygons;
    g_Frame.MainCursor = &rig.items[3];
    EXPECT_EQ(EmitNothing(rig.mesh), 0);  // touches no cursor
    EXPECT_EQ(g_Frame.PolygonCursor, rig.mesh->Polygons);
    EXPECT_EQ(g_Frame.MainCursor, &rig.items[3]);
    rig.mesh->PolygonCount = 0;
    EXPECT_EQ(rig.EmitZ(&EmitZLit), 0);
    EXPECT_EQ(rig.EmitSorted(&EmitSortedUnlit), 0);
    rig.mesh->PolygonCount = 1;
}

}  // namespace
}  // namespace span3d
