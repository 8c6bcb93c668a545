// Guard band: whatever the geometry, nothing is written outside the scissor.
//
// A 96 x 72 host picture, with its depth buffer, is filled with sentinels;
// the viewport's scissor is a random rectangle strictly inside it. Random
// meshes are drawn from random camera placements, from a fixed seed: corners
// inside the view, far outside every scissor edge, behind the camera,
// straddling the near plane, beyond the far plane and straddling both, in
// both drawing modes, through DrawScene and DrawMesh, lit and unlit, flat and
// Gouraud, opaque and blended, ordinary and billboard. After every frame each
// pixel and depth word outside the scissor must still hold its sentinel.
//
// The sentinels are chosen so that any stray write shows: the pixel sentinel
// has bit 15 set, which no fill writes, and the depth sentinel is the most
// negative word but one, nearer than nothing, so a stray depth-tested pixel
// passes its test and overwrites both words.
#include <gtest/gtest.h>

#include <math.h>

#include <vector>

#include "pipeline/frame_state.h"
#include "raster/raster.h"

namespace span3d {
namespace {

constexpr int32_t kWidth = 96;
constexpr int32_t kHeight = 72;
constexpr Pixel15 kPixelSentinel = 0xc631;
constexpr int32_t kDepthSentinel = INT32_MIN + 1;
constexpr int32_t kFrames = 1000;

// A small deterministic generator (64-bit LCG, high bits out), so that the
// same seed gives the same scenes on every compiler and library.
struct Random {
    uint64_t state;
    uint32_t Next()
    {
        state = state * 6364136223846793005ull + 1442695040888963407ull;
        return (uint32_t)(state >> 33);
    }
    // Uniform in [lo, hi), from 24 random bits.
    float Range(float lo, float hi) { return lo + (hi - lo) * (float)(Next() & 0xffffff) / 16777216.0f; }
    int32_t Below(int32_t n) { return (int32_t)(Next() % (uint32_t)n); }
};

struct Basis {
    Vector3 eye, forward, right, up;
};

Vector3 Normalised(Vector3 v)
{
    const float length = sqrtf(v.x * v.x + v.y * v.y + v.z * v.z);
    return Vector3{v.x / length, v.y / length, v.z / length};
}

// The camera's own frame (x right, y up, z forward), so that corners can be
// placed by their view depth.
Basis CameraBasis(const Vector3& eye, const Vector3& target)
{
    Basis b;
    b.eye = eye;
    b.forward = Normalised(Vector3{target.x - eye.x, target.y - eye.y, target.z - eye.z});
    // right = up x forward with up = +y; the targets below keep forward off
    // the vertical.
    b.right = Normalised(Vector3{b.forward.z, 0.0f, -b.forward.x});
    b.up = Vector3{b.forward.y * b.right.z - b.forward.z * b.right.y,
                   b.forward.z * b.right.x - b.forward.x * b.right.z,
                   b.forward.x * b.right.y - b.forward.y * b.right.x};
    return b;
}

Vector3 Place(const Basis& b, float x, float y, float z)
{
    return Vector3{b.eye.x + b.right.x * x + b.up.x * y + b.forward.x * z,
                   b.eye.y + b.right.y * x + b.up.y * y + b.forward.y * z,
                   b.eye.z + b.right.z * x + b.up.z * y + b.forward.z * z};
}

// One corner's view depth by the triangle's kind; lateral spread in units of
// the depth, so that `spread` 1 reaches about the edge of a 90-degree view.
float CornerDepth(Random& r, int32_t kind, int32_t corner, float nearZ, float farZ)
{
    switch (kind) {
    case 0: return r.Range(nearZ + 1.0f, farZ - 1.0f);                       // inside
    case 1: return corner == 0 ? r.Range(-80.0f, nearZ) : r.Range(nearZ, farZ);  // across near
    case 2: return corner == 0 ? r.Range(farZ, farZ * 2.0f) : r.Range(nearZ, farZ);  // across far
    case 3:                                                                   // across both
        return corner == 0 ? r.Range(-60.0f, nearZ)
                           : (corner == 1 ? r.Range(farZ, farZ * 1.5f) : r.Range(nearZ, farZ));
    case 4: return r.Range(-200.0f, nearZ);                                   // behind
    default: return corner == 2 ? nearZ : r.Range(nearZ, farZ);               // a corner on near
    }
}

class GuardBandTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { BuildColourTables(); }
    static void TearDownTestSuite() { ReleaseColourTables(); }

    // Sentinels everywhere outside the scissor; inside, a background and
    // "infinitely far" depth.
    void Fill(Viewport* viewport, const int32_t scissor[4])
    {
        for (int32_t y = 0; y < kHeight; ++y) {
            for (int32_t x = 0; x < kWidth; ++x) {
                const bool inside = x >= scissor[0] && x < scissor[1] && y >= scissor[2] && y < scissor[3];
                pixels[(size_t)y * kWidth + x] = inside ? 0 : kPixelSentinel;
                viewport->DepthBuffer[y * kWidth + x] = inside ? 0 : kDepthSentinel;
            }
        }
    }

    // Counts words outside the scissor that lost their sentinel, and pixels
    // inside that were drawn.
    void Check(const Viewport* viewport, const int32_t scissor[4], int32_t* strayPixels,
               int32_t* strayDepth, int32_t* drawnInside)
    {
        for (int32_t y = 0; y < kHeight; ++y) {
            for (int32_t x = 0; x < kWidth; ++x) {
                const bool inside = x >= scissor[0] && x < scissor[1] && y >= scissor[2] && y < scissor[3];
                const Pixel15 p = pixels[(size_t)y * kWidth + x];
                if (inside) {
                    *drawnInside += p != 0 ? 1 : 0;
                    continue;
                }
                *strayPixels += p != kPixelSentinel ? 1 : 0;
                *strayDepth += viewport->DepthBuffer[y * kWidth + x] != kDepthSentinel ? 1 : 0;
            }
        }
    }

    std::vector<Pixel15> pixels = std::vector<Pixel15>((size_t)kWidth * kHeight);
};

// A validated mesh of random triangles placed around the camera by kind.
Mesh* RandomMesh(Random& r, const Basis& b, float nearZ, float farZ)
{
    const int32_t triangles = 6 + r.Below(20);
    Mesh* mesh = CreateMesh(3 * triangles, triangles, 0x808080u | (r.Next() & 0x7f7f7fu));
    if (mesh == nullptr) return nullptr;
    for (int32_t t = 0; t < triangles; ++t) {
        const int32_t kind = r.Below(6);
        const bool wide = r.Below(2) == 0;
        for (int32_t corner = 0; corner < 3; ++corner) {
            const float z = CornerDepth(r, kind, corner, nearZ, farZ);
            // Wide corners reach far past every scissor edge.
            const float spread = wide ? 2.5f * fabsf(z) + 50.0f : 0.8f * fabsf(z) + 1.0f;
            const Vector3 p = Place(b, r.Range(-spread, spread), r.Range(-spread, spread), z);
            SetMeshVertex(mesh, 3 * t + corner, p.x, p.y, p.z);
        }
        SetMeshTriPolygon(mesh, t, 3 * t, 3 * t + 1, 3 * t + 2, 0, 0);
    }
    return ValidateMesh(mesh);
}

// Random drawing state on a mesh (and its tree): shading, both sides, alpha,
// blend bit, render mode, billboard form.
void RandomLook(Random& r, Mesh* mesh, Light* light)
{
    static constexpr int32_t kShades[3] = {SPAN3D_SHADE_NONE, SPAN3D_SHADE_FLAT, SPAN3D_SHADE_GOURAUD};
    SetMeshShadeMode(mesh, kShades[r.Below(3)]);
    SetMeshCullMode(mesh, SPAN3D_CULL_BOTH);
    Material* material = GetMeshDefaultMaterial(mesh);
    SetMaterialColor(material, 0, r.Range(0.0f, 60.0f), r.Range(0.0f, 60.0f), r.Range(0.0f, 60.0f));
    if (r.Below(4) == 0) {
        SetMaterialAlphaMode(material, (uint32_t)r.Below(4));
        SetMaterialAlphaLevel(material, r.Below(256));
    }
    const int32_t look = r.Below(8);
    if (look == 0) SetMeshRenderMode(mesh, (int32_t)(SPAN3D_RENDER_SOLID | SPAN3D_BLEND_BIT));
    if (look == 1) SetMeshRenderMode(mesh, (int32_t)SPAN3D_RENDER_WIRE);
    if (look == 2) SetMeshRenderMode(mesh, (int32_t)SPAN3D_RENDER_DOTS);
    if (r.Below(5) == 0) {
        static constexpr uint32_t kModes[5] = {0, 1, 4, 8, 16};
        mesh->Form = 3;
        SetMeshBillboardMode(mesh, kModes[r.Below(5)]);
    }
    if (r.Below(4) != 0) AssignLightToMesh(light, mesh);
}

TEST_F(GuardBandTest, NothingOutsideTheScissorChanges)
{
    Texture image = {};
    image.Pixels = pixels.data();
    image.PitchBytes = kWidth * 2;
    image.Width = kWidth;
    image.Height = kHeight;
    Viewport* viewport = CreateViewport(&image, kWidth, kHeight, 1, 0);
    ASSERT_NE(viewport, nullptr);
    ASSERT_NE(viewport->DepthBuffer, nullptr);
    SetViewportType(viewport, 1u | SPAN3D_VIEWPORT_ENABLED);

    Vector3 origin = {0.0f, 0.0f, 0.0f};
    Vector3 ahead = {0.0f, 0.0f, 1.0f};
    Camera* camera = CreateCamera(&origin, &ahead, 0.0f, 90.0f, 10.0f);
    ASSERT_NE(camera, nullptr);
    camera->KeepWord = 1;  // outlives the scenes
    float white[4] = {1.0f, 1.0f, 1.0f, 1.0f};
    Light* light = CreateOmniLight(&origin, white, 1.0f, 0.0f, 0.0f, SPAN3D_LIGHT_ON);
    ASSERT_NE(light, nullptr);

    Random r{0x5eed5eedull};
    int32_t drawnInside = 0, framesDrawn = 0;
    for (int32_t frame = 0; frame < kFrames; ++frame) {
        const int32_t scissor[4] = {1 + r.Below(30), kWidth - 1 - r.Below(30), 1 + r.Below(22),
                                    kHeight - 1 - r.Below(22)};
        SetViewportScissor(viewport, (float)scissor[0], (float)scissor[1], (float)scissor[2],
                           (float)scissor[3]);
        // The depth bit alone picks the mode; the buffer stays, so sorted
        // mode is checked for stray depth words as well.
        if (r.Below(2) == 0) {
            viewport->ViewportWord |= SPAN3D_VIEWPORT_DEPTH;
        } else {
            viewport->ViewportWord &= ~SPAN3D_VIEWPORT_DEPTH;
        }

        const float angle = r.Range(0.0f, 6.2831853f);
        Vector3 eye = {r.Range(-100.0f, 100.0f), r.Range(-100.0f, 100.0f), r.Range(-100.0f, 100.0f)};
        Vector3 target = {eye.x + cosf(angle), eye.y + r.Range(-0.6f, 0.6f), eye.z + sinf(angle)};
        const float nearZ = r.Range(10.0f, 30.0f);
        const float farZ = r.Range(150.0f, 500.0f);
        SetCameraPosition(camera, &eye, 0);
        SetCameraPosition(camera, &target, 1);
        SetCameraFar(camera, farZ);
        SetCameraNear(camera, nearZ);
        SetCameraFov(camera, r.Range(40.0f, 120.0f));
        SetCameraRoll(camera, r.Range(-180.0f, 180.0f));
        light->Position = Place(CameraBasis(eye, target), r.Range(-100.0f, 100.0f), r.Range(-100.0f, 100.0f),
                                r.Range(-50.0f, 200.0f));

        const Basis basis = CameraBasis(eye, target);
        Mesh* mesh = RandomMesh(r, basis, camera->Near, camera->Far);
        ASSERT_NE(mesh, nullptr) << "frame " << frame;
        RandomLook(r, mesh, light);
        if (r.Below(3) == 0) {
            Mesh* child = RandomMesh(r, basis, camera->Near, camera->Far);
            ASSERT_NE(child, nullptr);
            RandomLook(r, child, light);
            AttachChildToNode(&mesh->Head, &child->Head);
        }

        Fill(viewport, scissor);
        const bool viaScene = r.Below(2) == 0;
        if (viaScene) {
            Scene* scene = CreateScene();
            ASSERT_NE(scene, nullptr);
            ASSERT_EQ(AssignMeshToScene(scene, mesh, 0), mesh);
            AssignCameraToScene(scene, camera);
            SetSceneViewport(scene, viewport);
            DrawScene(scene);
            DeleteScene(scene);  // takes the mesh tree, spares the camera
        } else {
            SetMeshViewport(mesh, viewport);
            SetViewportCamera(viewport, camera);
            DrawMesh(mesh);
            DeleteMesh(mesh);
        }

        int32_t strayPixels = 0, strayDepth = 0, inside = 0;
        Check(viewport, scissor, &strayPixels, &strayDepth, &inside);
        ASSERT_EQ(strayPixels, 0) << "frame " << frame << (viaScene ? " (DrawScene)" : " (DrawMesh)");
        ASSERT_EQ(strayDepth, 0) << "frame " << frame << (viaScene ? " (DrawScene)" : " (DrawMesh)");
        drawnInside += inside;
        framesDrawn += inside != 0 ? 1 : 0;
    }
    // Not vacuous: most frames put pixels inside the scissor.
    EXPECT_GT(framesDrawn, kFrames / 2);
    EXPECT_GT(drawnInside, kFrames * 200);

    DeleteLight(light);
    DeleteCamera(camera);
    DeleteViewport(viewport);
}

}  // namespace
}  // namespace span3d
