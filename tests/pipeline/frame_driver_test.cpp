// The frame driver through the exports, as a host drives it: the order in
// which DrawScene and DrawMesh draw opaque polygons, the back-to-front order
// of sorted mode, blend items after opaque ones, the early returns, and the
// hidden-parent difference between the two drivers.
//
// The rig: a 64 x 48 host picture viewed by a viewport, the camera at the
// origin looking along +z with a 90-degree field of view, so Focale =
// CentreX / tan(45) = 32 and a point (x, y, z) lands at screen
// (32 + 32 x / z, 24 - 32 y / z). Every mesh here is unlit (shade mode 1),
// so a polygon's colour is its material's emissive + diffuse + ambient, each
// channel >> 3: diffuse (8 r, 8 g, 8 b) with no ambient and no emissive gives
// the Pixel15 (r, g, b) exactly.
#include <gtest/gtest.h>

#include <vector>

#include "pipeline/frame_state.h"
#include "pipeline/pipeline.h"
#include "raster/raster.h"

namespace span3d {
namespace {

constexpr int32_t kWidth = 64;
constexpr int32_t kHeight = 48;
constexpr Pixel15 kSentinel = 0x1234;

constexpr Pixel15 Rgb15(uint32_t r, uint32_t g, uint32_t b) { return (Pixel15)(r << 10 | g << 5 | b); }

struct Vertex {
    float x, y, z;
};

// One triangle: three corners listed clockwise as the camera sees them (x
// right, y up), the order that makes the front face visible; its colour as
// 5-bit channels, and the material's alpha mode (0 opaque, 1 additive).
struct Triangle {
    Vertex a, b, c;
    uint32_t r, g, b5;
    uint16_t alphaMode;
};

class FrameDriverTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { BuildColourTables(); }
    static void TearDownTestSuite() { ReleaseColourTables(); }

    void SetUp() override
    {
        pixels.assign((size_t)kWidth * kHeight, kSentinel);
        image.Pixels = pixels.data();
        image.PitchBytes = kWidth * 2;
        image.Width = kWidth;
        image.Height = kHeight;
        Vector3 eye = {0.0f, 0.0f, 0.0f};
        Vector3 target = {0.0f, 0.0f, 1.0f};
        camera = CreateCamera(&eye, &target, 0.0f, 90.0f, 10.0f);
        ASSERT_NE(camera, nullptr);
        SetCameraFar(camera, 1000.0f);
    }

    void TearDown() override
    {
        for (Mesh* mesh : meshes) DeleteMesh(mesh);
        for (Material* material : materials) DeleteMaterial(material);
        if (scene != nullptr) DeleteScene(scene);
        if (viewport != nullptr) DeleteViewport(viewport);
        DeleteCamera(camera);
    }

    // An enabled viewport on the picture, with or without a depth buffer
    // (cleared to 0, "infinitely far"), whose camera is the rig's.
    void MakeViewport(bool depth)
    {
        viewport = CreateViewport(&image, kWidth, kHeight, depth ? 1 : 0, 0);
        ASSERT_NE(viewport, nullptr);
        SetViewportType(viewport, 1u | SPAN3D_VIEWPORT_ENABLED);
        SetViewportCamera(viewport, camera);
        if (depth) ClearViewportDepthBuffer(viewport, 0);
    }

    // A validated, unlit mesh with one polygon per triangle, polygon i in
    // emission order i, each with a material of its own. Kept in `meshes`
    // until handed to a scene (which then deletes it).
    Mesh* MakeMesh(const std::vector<Triangle>& triangles)
    {
        const int32_t n = (int32_t)triangles.size();
        Mesh* mesh = CreateMesh(3 * n, n, 0);
        if (mesh == nullptr) return nullptr;
        for (int32_t i = 0; i < n; ++i) {
            const Triangle& t = triangles[(size_t)i];
            SetMeshVertex(mesh, 3 * i + 0, t.a.x, t.a.y, t.a.z);
            SetMeshVertex(mesh, 3 * i + 1, t.b.x, t.b.y, t.b.z);
            SetMeshVertex(mesh, 3 * i + 2, t.c.x, t.c.y, t.c.z);
            SetMeshTriPolygon(mesh, i, 3 * i, 3 * i + 1, 3 * i + 2, 0, 0);
        }
        Mesh* valid = ValidateMesh(mesh);
        if (valid == nullptr) return nullptr;
        SetMeshShadeMode(valid, SPAN3D_SHADE_NONE);
        for (int32_t i = 0; i < n; ++i) {
            const Triangle& t = triangles[(size_t)i];
            Material templ = *GetMeshDefaultMaterial(valid);
            Material* material = CreateMaterial(&templ);
            if (material == nullptr) return nullptr;
            SetMaterialColor(material, 0, 0.0f, 0.0f, 0.0f);
            SetMaterialColor(material, 1, (float)(t.r * 8), (float)(t.g * 8), (float)(t.b5 * 8));
            SetMaterialColor(material, 2, 0.0f, 0.0f, 0.0f);
            SetMaterialAlphaMode(material, t.alphaMode);
            SetFaceMaterial(valid, i, material, 0, 2);
            materials.push_back(material);
        }
        SetMeshViewport(valid, viewport);
        meshes.push_back(valid);
        return valid;
    }

    // A scene of the given tops (taken out of `meshes`: the scene deletes
    // them), the rig's camera active and the viewport set.
    void MakeScene(const std::vector<Mesh*>& tops)
    {
        scene = CreateScene();
        ASSERT_NE(scene, nullptr);
        for (Mesh* mesh : tops) {
            ASSERT_EQ(AssignMeshToScene(scene, mesh, 0), mesh);
            std::erase(meshes, mesh);
        }
        ASSERT_EQ(AssignCameraToScene(scene, camera), 1);
        camera->KeepWord = 1;  // the rig deletes it
        SetSceneViewport(scene, viewport);
    }

    Pixel15 At(int32_t x, int32_t y) const { return pixels[(size_t)y * kWidth + (size_t)x]; }

    int32_t Count(Pixel15 value) const
    {
        int32_t n = 0;
        for (Pixel15 p : pixels) n += p == value ? 1 : 0;
        return n;
    }

    bool Untouched() const { return Count(kSentinel) == kWidth * kHeight; }

    std::vector<Pixel15> pixels;
    Texture image = {};
    Camera* camera = nullptr;
    Viewport* viewport = nullptr;
    Scene* scene = nullptr;
    std::vector<Mesh*> meshes;
    std::vector<Material*> materials;
};

// A triangle around the picture's centre at depth z whose corners land
// `size` pixels left, right and above, and `size` below the point (32, 24):
// a corner (k, k, z) projects to 32 + 32 k / z, so k = size * z / 32. Size
// 16 gives the screen corners (16, 8), (48, 8), (32, 40).
Triangle Centre(float z, float size, uint32_t r, uint32_t g, uint32_t b, uint16_t alphaMode = 0,
                float shift = 0.0f)
{
    const float k = size * z / 32.0f;
    const float d = shift * z / 32.0f;  // `shift` pixels to the right
    return Triangle{{d - k, k, z}, {d + k, k, z}, {d, -k, z}, r, g, b, alphaMode};
}

constexpr Pixel15 kRed = Rgb15(31, 0, 0);
constexpr Pixel15 kBlue = Rgb15(0, 0, 31);

// Two polygons on the same three points: every covered pixel gets the same
// depth word from both, and the strict depth test lets the first one drawn
// keep it. DrawScene draws the main list from its lowest used slot up, so the
// polygon emitted last (polygon 1, blue) is drawn first and stays; DrawMesh
// draws in emission order and polygon 0 (red) stays.
TEST_F(FrameDriverTest, EqualDepthOpaqueOrderDiffersBetweenSceneAndMesh)
{
    MakeViewport(true);
    Mesh* mesh = MakeMesh({Centre(100.0f, 16.0f, 31, 0, 0), Centre(100.0f, 16.0f, 0, 0, 31)});
    ASSERT_NE(mesh, nullptr);

    DrawMesh(mesh);
    EXPECT_EQ(mesh->DrawItemCount, 2);
    const int32_t covered = Count(kRed);
    EXPECT_GT(covered, 400);  // about half of 32 x 32
    EXPECT_EQ(Count(kBlue), 0);
    EXPECT_EQ(At(32, 20), kRed);
    EXPECT_EQ(Count(kSentinel) + covered, kWidth * kHeight);

    pixels.assign(pixels.size(), kSentinel);
    ClearViewportDepthBuffer(viewport, 0);
    MakeScene({mesh});
    DrawScene(scene);
    EXPECT_EQ(scene->DrawItemCount, 2);
    EXPECT_EQ(scene->VisibleMeshes, 1);
    EXPECT_EQ(Count(kBlue), covered);
    EXPECT_EQ(Count(kRed), 0);
}

// Sorted mode, no depth buffer. Three centred triangles, emitted mid (green,
// z 75, size 12), near (red, z 50, size 6), far (blue, z 100, size 20):
// neither emission order (blue ends on top) nor its reverse (green ends on
// top) gives the right picture; only the sort by the sum of the corners'
// depths, walked from the largest key down, draws blue, green, red. Screen
// corners by size s: (32 - s, 24 - s), (32 + s, 24 - s), (32, 24 + s), so
// (32, 24) lies in all three, (32, 14) in green and blue only (red starts at
// row 18), (32, 6) in blue only (green starts at row 12).
TEST_F(FrameDriverTest, SortedModeDrawsBackToFront)
{
    constexpr Pixel15 kGreen = Rgb15(0, 31, 0);
    MakeViewport(false);
    Mesh* mesh = MakeMesh({Centre(75.0f, 12.0f, 0, 31, 0), Centre(50.0f, 6.0f, 31, 0, 0),
                           Centre(100.0f, 20.0f, 0, 0, 31)});
    ASSERT_NE(mesh, nullptr);
    DrawMesh(mesh);
    EXPECT_EQ(mesh->DrawItemCount, 3);
    EXPECT_EQ(At(32, 24), kRed);
    EXPECT_EQ(At(32, 14), kGreen);
    EXPECT_EQ(At(32, 6), kBlue);
    const int32_t red = Count(kRed);
    const int32_t green = Count(kGreen);

    pixels.assign(pixels.size(), kSentinel);
    MakeScene({mesh});
    DrawScene(scene);
    EXPECT_EQ(scene->DrawItemCount, 3);
    EXPECT_EQ(At(32, 24), kRed);
    EXPECT_EQ(At(32, 14), kGreen);
    EXPECT_EQ(At(32, 6), kBlue);
    EXPECT_EQ(Count(kRed), red);
    EXPECT_EQ(Count(kGreen), green);
}

// Z-buffer mode: the blend list is drawn back to front, after the main list.
// An opaque black base (z 200, size 20) under three blended triangles of
// size 16, emitted in the order Q, R, P:
//   P additive 31 blue at z 100, Q subtractive 31 blue at z 75,
//   R additive 10 blue at z 50.
// On the blue channel (5 bits, no other channel set) the depth-tested
// additive span gives min(31, d + c), the subtractive one c - d, here
// 31 - d. Back to front, P Q R: 0 -> 31 -> 0 -> 10. In emission order,
// Q R P: 0 -> 31 -> 31 -> 31; in reverse emission order, P R Q:
// 0 -> 31 -> 31 -> 0. Only the sorted walk leaves blue 10 = 0x000a.
TEST_F(FrameDriverTest, BlendListIsDrawnBackToFront)
{
    constexpr Pixel15 kResult = Rgb15(0, 0, 10);
    MakeViewport(true);
    Mesh* mesh = MakeMesh({Centre(200.0f, 20.0f, 0, 0, 0), Centre(75.0f, 16.0f, 0, 0, 31, 3),
                           Centre(50.0f, 16.0f, 0, 0, 10, 1), Centre(100.0f, 16.0f, 0, 0, 31, 1)});
    ASSERT_NE(mesh, nullptr);

    DrawMesh(mesh);
    EXPECT_EQ(mesh->DrawItemCount, 4);
    EXPECT_EQ(At(32, 20), kResult);
    EXPECT_EQ(At(32, 30), kResult);
    const int32_t covered = Count(kResult);
    EXPECT_GT(covered, 400);

    pixels.assign(pixels.size(), kSentinel);
    ClearViewportDepthBuffer(viewport, 0);
    MakeScene({mesh});
    DrawScene(scene);
    EXPECT_EQ(scene->DrawItemCount, 4);
    EXPECT_EQ(At(32, 20), kResult);
    EXPECT_EQ(At(32, 30), kResult);
    EXPECT_EQ(Count(kResult), covered);
}

// Z-buffer mode: a near additive polygon (0, 0, 12) is emitted before a far
// opaque one (10, 0, 0) covering the same pixels. Blended items are drawn
// after the whole main list, so the sum (10, 0, 12) = 0x280c shows. Drawn in
// emission order instead, the opaque polygon would pass the depth test over
// the blend (which writes no depth) and leave (10, 0, 0).
TEST_F(FrameDriverTest, BlendItemsAreDrawnAfterOpaqueOnes)
{
    MakeViewport(true);
    Mesh* mesh = MakeMesh({Centre(50.0f, 16.0f, 0, 0, 12, 1), Centre(100.0f, 16.0f, 10, 0, 0)});
    ASSERT_NE(mesh, nullptr);
    constexpr Pixel15 kSum = Rgb15(10, 0, 12);
    static_assert(kSum == 0x280c);

    DrawMesh(mesh);
    const int32_t covered = Count(kSum);
    EXPECT_GT(covered, 400);
    EXPECT_EQ(Count(kSentinel) + covered, kWidth * kHeight);

    pixels.assign(pixels.size(), kSentinel);
    ClearViewportDepthBuffer(viewport, 0);
    MakeScene({mesh});
    DrawScene(scene);
    EXPECT_EQ(Count(kSum), covered);
    EXPECT_EQ(Count(kSentinel) + covered, kWidth * kHeight);
}

// Each precondition of DrawScene fails silently: no pixel, no count and no
// field of the frame state changes.
TEST_F(FrameDriverTest, DrawSceneEarlyReturnsDrawNothing)
{
    struct Case {
        const char* name;
        void (*spoil)(Scene* scene, Viewport* viewport);
    };
    const Case cases[] = {
        {"no active camera", [](Scene* s, Viewport*) { SetActivedSceneCamera(s, nullptr); }},
        {"viewport disabled", [](Scene*, Viewport* v) { v->ViewportWord &= ~SPAN3D_VIEWPORT_ENABLED; }},
        {"no viewport", [](Scene* s, Viewport*) { SetSceneViewport(s, nullptr); }},
        {"scene not ready", [](Scene* s, Viewport*) { s->SceneWord &= ~SPAN3D_SCENE_READY; }},
        // The list heads emptied by hand, the active index left at 0: the
        // camera walk must not run on a null list.
        {"no meshes", [](Scene* s, Viewport*) { s->Meshes = nullptr; }},
        {"no cameras", [](Scene* s, Viewport*) { s->Cameras = nullptr; }},
    };
    MakeViewport(true);
    Mesh* mesh = MakeMesh({Centre(100.0f, 16.0f, 31, 0, 0)});
    ASSERT_NE(mesh, nullptr);
    MakeScene({mesh});
    Mesh* const meshesHead = scene->Meshes;
    Camera* const camerasHead = scene->Cameras;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        scene->Meshes = meshesHead;
        scene->Cameras = camerasHead;
        SetActivedSceneCamera(scene, camera);
        SetSceneViewport(scene, viewport);
        viewport->ViewportWord |= SPAN3D_VIEWPORT_ENABLED;
        scene->SceneWord |= SPAN3D_SCENE_READY;
        c.spoil(scene, viewport);
        scene->VisibleMeshes = -7;
        scene->DrawItemCount = -9;
        g_Frame.CurrentViewport = nullptr;
        g_Frame.CurrentCamera = nullptr;
        g_Frame.ClipXMax = -1.0f;
        DrawScene(scene);
        EXPECT_TRUE(Untouched());
        EXPECT_EQ(scene->VisibleMeshes, -7);
        EXPECT_EQ(scene->DrawItemCount, -9);
        EXPECT_EQ(g_Frame.CurrentViewport, nullptr);
        EXPECT_EQ(g_Frame.CurrentCamera, nullptr);
        EXPECT_EQ(g_Frame.ClipXMax, -1.0f);
    }
    // Mended, the same scene draws.
    scene->Meshes = meshesHead;
    scene->Cameras = camerasHead;
    SetActivedSceneCamera(scene, camera);
    SetSceneViewport(scene, viewport);
    viewport->ViewportWord |= SPAN3D_VIEWPORT_ENABLED;
    scene->SceneWord |= SPAN3D_SCENE_READY;
    DrawScene(scene);
    EXPECT_EQ(At(32, 20), kRed);
    EXPECT_EQ(scene->DrawItemCount, 1);
    EXPECT_EQ(g_Frame.ClipXMax, (float)kWidth);
}

// DrawMesh's preconditions, and the hidden mesh, which fails only after the
// clip has been taken from the viewport.
TEST_F(FrameDriverTest, DrawMeshEarlyReturnsDrawNothing)
{
    struct Case {
        const char* name;
        void (*spoil)(Mesh* mesh, Viewport* viewport);
        bool clipTaken;  // SetFrameClip has run before the failing test
    };
    const Case cases[] = {
        {"not active", [](Mesh* m, Viewport*) { m->RenderFlags &= ~SPAN3D_MESH_ACTIVE; }, false},
        {"no viewport", [](Mesh* m, Viewport*) { SetMeshViewport(m, nullptr); }, false},
        {"no camera", [](Mesh*, Viewport* v) { SetViewportCamera(v, nullptr); }, false},
        {"viewport disabled", [](Mesh*, Viewport* v) { v->ViewportWord &= ~SPAN3D_VIEWPORT_ENABLED; }, false},
        {"hidden", [](Mesh* m, Viewport*) { HideMesh(m); }, true},
    };
    MakeViewport(true);
    Mesh* mesh = MakeMesh({Centre(100.0f, 16.0f, 31, 0, 0)});
    ASSERT_NE(mesh, nullptr);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        mesh->RenderFlags |= SPAN3D_MESH_ACTIVE;
        ShowMesh(mesh);
        SetMeshViewport(mesh, viewport);
        SetViewportCamera(viewport, camera);
        viewport->ViewportWord |= SPAN3D_VIEWPORT_ENABLED;
        c.spoil(mesh, viewport);
        mesh->DrawItemCount = -9;
        g_Frame.ClipXMax = -1.0f;
        g_Frame.MeshDrawnCount = -5;
        DrawMesh(mesh);
        EXPECT_TRUE(Untouched());
        EXPECT_EQ(mesh->DrawItemCount, -9);
        EXPECT_EQ(g_Frame.ClipXMax, c.clipTaken ? (float)kWidth : -1.0f);
        EXPECT_EQ(g_Frame.MeshDrawnCount, c.clipTaken ? 0 : -5);
    }
}

// A parent (left, red) hidden and its child (right, blue) shown. DrawScene
// skips the parent but still collects the child; the top has children, so
// nothing counts as visible. DrawMesh on the hidden parent draws nothing,
// child included; shown again, it draws both.
TEST_F(FrameDriverTest, HiddenParentDiffersBetweenSceneAndMesh)
{
    MakeViewport(true);
    Mesh* parent = MakeMesh({Centre(100.0f, 8.0f, 31, 0, 0, 0, -16.0f)});
    Mesh* child = MakeMesh({Centre(100.0f, 8.0f, 0, 0, 31, 0, 16.0f)});
    ASSERT_NE(parent, nullptr);
    ASSERT_NE(child, nullptr);
    ASSERT_EQ(AttachChildToNode(&parent->Head, &child->Head), 1);
    std::erase(meshes, child);  // deleted with its parent
    HideMesh(parent);
    ShowMesh(child);

    DrawMesh(parent);
    EXPECT_TRUE(Untouched());

    ShowMesh(parent);
    DrawMesh(parent);
    EXPECT_EQ(parent->DrawItemCount, 2);
    EXPECT_EQ(At(16, 20), kRed);
    EXPECT_EQ(At(48, 20), kBlue);

    pixels.assign(pixels.size(), kSentinel);
    ClearViewportDepthBuffer(viewport, 0);
    HideMesh(parent);
    ShowMesh(child);
    MakeScene({parent});
    DrawScene(scene);
    EXPECT_EQ(scene->DrawItemCount, 1);
    EXPECT_EQ(scene->VisibleMeshes, 0);
    EXPECT_EQ(At(16, 20), kSentinel);
    EXPECT_EQ(At(48, 20), kBlue);
    EXPECT_EQ(Count(kRed), 0);
}

// VisibleMeshes counts the top-level leaves that are not skipped, whatever
// they emit: a Form 2 mesh is walked and counted but draws nothing (its slot
// holds EmitNothing); a hidden leaf is neither counted nor drawn.
TEST_F(FrameDriverTest, VisibleMeshesCountsWalkedLeaves)
{
    MakeViewport(true);
    Mesh* drawn = MakeMesh({Centre(100.0f, 8.0f, 31, 0, 0, 0, -16.0f)});
    Mesh* formTwo = MakeMesh({Centre(100.0f, 8.0f, 0, 0, 31, 0, 16.0f)});
    Mesh* hidden = MakeMesh({Centre(100.0f, 4.0f, 0, 31, 0)});
    ASSERT_NE(drawn, nullptr);
    ASSERT_NE(formTwo, nullptr);
    ASSERT_NE(hidden, nullptr);
    formTwo->Form = 2;
    HideMesh(hidden);
    MakeScene({drawn, formTwo, hidden});
    DrawScene(scene);
    EXPECT_EQ(scene->VisibleMeshes, 2);
    EXPECT_EQ(scene->DrawItemCount, 1);
    EXPECT_EQ(At(16, 20), kRed);
    EXPECT_EQ(Count(kSentinel) + Count(kRed), kWidth * kHeight);
}

// Every polygon behind the camera: all corners carry the near bit and are
// rejected, no item is filed, and DrawMesh leaves DrawItemCount as it was.
TEST_F(FrameDriverTest, DrawMeshWithEveryPolygonRejectedKeepsItsCount)
{
    MakeViewport(true);
    Mesh* mesh = MakeMesh({Centre(-100.0f, 16.0f, 31, 0, 0)});
    ASSERT_NE(mesh, nullptr);
    mesh->DrawItemCount = 5;
    DrawMesh(mesh);
    EXPECT_EQ(mesh->DrawItemCount, 5);
    EXPECT_EQ(g_Frame.MeshDrawnCount, 0);
    EXPECT_TRUE(Untouched());
}

// The EmitSlots columns: Form 1, 2, 3 in pairs, unlit first, Form 2 empty.
TEST(FrameDriverSlots, ColumnsFollowFormAndShade)
{
    const EmitFunction z[kEmitSlotCount] = {EmitZUnlit,  EmitZLit,    EmitNothing,
                                            EmitNothing, EmitZBillboardUnlit, EmitZBillboardLit};
    const EmitFunction sorted[kEmitSlotCount] = {EmitSortedUnlit, EmitSortedLit, EmitNothing,
                                                 EmitNothing, EmitSortedBillboardUnlit,
                                                 EmitSortedBillboardLit};
    for (int32_t i = 0; i < kEmitSlotCount; ++i) {
        EXPECT_EQ(kEmitSlotsZBuffer[i], z[i]) << i;
        EXPECT_EQ(kEmitSlotsSorted[i], sorted[i]) << i;
    }
    Mesh mesh = {};
    const struct {
        int32_t form;
        uint32_t shade;
        int32_t slot;
    } table[] = {{1, 1, 0}, {1, 3, 1}, {1, 7, 1}, {2, 1, 2}, {2, 7, 3},
                 {3, 1, 4}, {3, 0, 5}, {0, 7, -1}, {4, 7, -1}};
    for (const auto& t : table) {
        mesh.Form = t.form;
        mesh.RenderFlags = 0x7f00020u | t.shade;
        EXPECT_EQ(EmitSlotIndex(&mesh), t.slot) << "Form " << t.form << " shade " << t.shade;
    }
}

}  // namespace
}  // namespace span3d
