// The showcase scene: a small lit room of primitives drawn through the public
// interface only, as a host builds and drives one. Shared by the demo (which
// writes it as PNG pictures and times an animation of it) and by the golden
// image test (which draws a smaller copy and compares it word for word), so
// that both see exactly the same objects.
//
// What it holds, in world units (y up, the camera looks down the +z axis
// from above and in front):
//   - a checkered floor: GridCreate turned to face up, flat-shaded, every
//     other cell given a second material through SetFaceMaterial;
//   - a hub: a Gouraud torus, tilted, with three children attached through
//     AttachChildToNode (two Gouraud spheres, one flat chamfered cube) that
//     follow it as it turns, so PoseShowcase(angle) animates the whole tree;
//   - a Gouraud sphere on the floor at the left;
//   - a pedestal at the right built vertex by vertex through CreateMesh,
//     SetMeshVertex, SetMeshQuadPolygon and ValidateMesh, flat-shaded, with a
//     flat chamfered cube on it;
//   - a glass sphere in front (material AlphaMode 2 and BlendBit on mesh and
//     material), which goes through the blend list and lets the hub show
//     through;
//   - an omni light and a direct light, assigned to the scene and to every
//     mesh tree.
//
// The picture scales with the viewport: the focal length follows its width,
// so a 320 x 240 copy is the same picture at half size.
#pragma once

#include <stdint.h>

#include "span3d.h"

namespace span3d_demo {

// The colour a host clears to each frame: RGB (16, 16, 49) as 5-bit channels
// (2, 2, 6).
constexpr Pixel15 kShowcaseBackground = (Pixel15)((16 >> 3) << 10 | (16 >> 3) << 5 | (49 >> 3));

struct ShowcaseScene {
    Scene*    scene = nullptr;
    Viewport* viewport = nullptr;
    Camera*   camera = nullptr;
    Mesh*     hub = nullptr;       // top of the animated tree
    Texture   image = {};          // the host's picture, viewed by the viewport
    Pixel15*  pixels = nullptr;
    int32_t   width = 0;
    int32_t   height = 0;
    int32_t   pitch = 0;           // Pixel15 entries per row
};

namespace showcase_detail {

// Generators take their colour as the low 32 bits of the material pointer
// (0xRRGGBB).
inline Material* ColourArgument(uint32_t rgb) { return (Material*)(uintptr_t)rgb; }

// A little ambient light on every material, so that faces turned from both
// lights keep a dim version of their colour instead of going black.
inline void SetAmbientFromDiffuse(Material* material, float share)
{
    const float* diffuse = GetMaterialColor(material, 1);
    SetMaterialColor(material, 0, diffuse[0] * share, diffuse[1] * share, diffuse[2] * share);
}

// Active, shaded as asked (1 none, 3 flat, 7 Gouraud), placed, with ambient.
inline Mesh* Prepare(Mesh* mesh, int32_t shadeMode, float x, float y, float z)
{
    if (mesh == nullptr) return nullptr;
    ActivateMesh(mesh);
    SetMeshShadeMode(mesh, shadeMode);
    SetMeshModelPosition(mesh, x, y, z);
    SetAmbientFromDiffuse(GetMeshDefaultMaterial(mesh), 0.22f);
    return mesh;
}

// A box of w x h x d centred on the origin, built through the mesh
// interface: eight corners, six quads, each quad listed clockwise as seen
// from outside the box (the order that makes it a front face).
inline Mesh* BuildBox(float w, float h, float d, uint32_t rgb)
{
    Mesh* mesh = CreateMesh(8, 12, rgb);
    if (mesh == nullptr) return nullptr;
    const float x = w * 0.5f, y = h * 0.5f, z = d * 0.5f;
    // Corners 0-3 on the face z = -d/2, 4-7 on z = +d/2, each face going
    // top-left, top-right, bottom-right, bottom-left as seen from -z.
    const float corners[8][3] = {
        {-x, y, -z}, {x, y, -z}, {x, -y, -z}, {-x, -y, -z},
        {-x, y, z},  {x, y, z},  {x, -y, z},  {-x, -y, z},
    };
    for (int32_t i = 0; i < 8; ++i) SetMeshVertex(mesh, i, corners[i][0], corners[i][1], corners[i][2]);
    const int32_t faces[6][4] = {
        {0, 1, 2, 3}, {1, 5, 6, 2}, {5, 4, 7, 6}, {4, 0, 3, 7}, {4, 5, 1, 0}, {3, 2, 6, 7},
    };
    for (int32_t f = 0; f < 6; ++f) {
        // One smoothing group per face keeps the edges hard.
        SetMeshQuadPolygon(mesh, f * 2, faces[f][0], faces[f][1], faces[f][2], faces[f][3], rgb, f);
    }
    Mesh* valid = ValidateMesh(mesh);
    if (valid == nullptr) DeleteMesh(mesh);
    return valid;
}

}  // namespace showcase_detail

// Builds the scene into a host picture of width x height Pixel15 words with
// `pitch` entries per row (pitch == width for a depth-tested viewport: the
// depth rows use the same pitch). Z-buffer mode to begin with. Returns false
// when the engine refuses a step; DestroyShowcaseScene then frees the scene,
// the viewport and what had joined the scene so far.
inline bool BuildShowcaseScene(ShowcaseScene* s, Pixel15* pixels, int32_t width, int32_t height,
                               int32_t pitch)
{
    using namespace showcase_detail;
    *s = ShowcaseScene{};
    s->pixels = pixels;
    s->width = width;
    s->height = height;
    s->pitch = pitch;
    s->image.Pixels = pixels;
    s->image.PitchBytes = pitch * 2;
    s->image.Width = width;
    s->image.Height = height;

    s->viewport = CreateViewport(&s->image, width, height, 1, 0);
    s->scene = CreateScene();
    if (s->viewport == nullptr || s->scene == nullptr) return false;
    SetViewportType(s->viewport, 1u | SPAN3D_VIEWPORT_ENABLED);

    Vector3 eye = {0.0f, 130.0f, -330.0f};
    Vector3 look = {0.0f, 0.0f, 40.0f};
    s->camera = CreateCamera(&eye, &look, 0.0f, 70.0f, 10.0f);
    if (s->camera == nullptr) return false;
    SetCameraFar(s->camera, 2000.0f);
    SetViewportCamera(s->viewport, s->camera);

    Vector3 one = {1.0f, 1.0f, 1.0f};  // generator scale

    // Floor: the grid stands in z = 0 facing -z; a quarter turn about x lays
    // it down facing up, its rows running along world z.
    Mesh* floor = Prepare(GridCreate(560.0f, &one, 14, 14,
                                     ColourArgument(0x8c94a8)),
                          SPAN3D_SHADE_FLAT, 0.0f, -40.0f, 60.0f);
    if (floor == nullptr) return false;
    SetMeshModelOrientation(floor, 90.0f, 0.0f, 0.0f);
    Material tile = *GetMeshDefaultMaterial(floor);
    Material* dark = CreateMaterial(&tile);
    if (dark == nullptr) return false;
    SetMaterialColor(dark, 1, 52.0f, 60.0f, 88.0f);
    SetAmbientFromDiffuse(dark, 0.22f);
    AssignMaterialToScene(s->scene, dark);
    for (int32_t r = 0; r < 14; ++r)
        for (int32_t c = 0; c < 14; ++c)
            if (((r + c) & 1) != 0) SetFaceMaterial(floor, (r * 14 + c) * 2, dark, 1, 2);

    // The hub and its three children, which are placed in absolute space and
    // follow the hub's rotation about its own position.
    const float hx = 0.0f, hy = 40.0f, hz = 40.0f;
    s->hub = Prepare(TorusCreate(52.0f, 15.0f, &one, 14, 28,
                                 ColourArgument(0xe8b030)),
                     SPAN3D_SHADE_GOURAUD, hx, hy, hz);
    Mesh* moonA = Prepare(SphereCreate(14.0f, &one, 10, 16,
                                       ColourArgument(0x40d070)),
                          SPAN3D_SHADE_GOURAUD, hx + 100.0f, hy, hz);
    Mesh* moonB = Prepare(SphereCreate(14.0f, &one, 10, 16,
                                       ColourArgument(0xd050c8)),
                          SPAN3D_SHADE_GOURAUD, hx - 100.0f, hy, hz);
    Mesh* moonC = Prepare(ChCubeCreate(26.0f, 5.0f, &one, 2,
                                       ColourArgument(0xf07040)),
                          SPAN3D_SHADE_FLAT, hx, hy, hz - 100.0f);
    if (s->hub == nullptr || moonA == nullptr || moonB == nullptr || moonC == nullptr) return false;
    AttachChildToNode(&s->hub->Head, &moonA->Head);
    AttachChildToNode(&s->hub->Head, &moonB->Head);
    AttachChildToNode(&s->hub->Head, &moonC->Head);

    Mesh* ball = Prepare(SphereCreate(46.0f, &one, 16, 24,
                                      ColourArgument(0xd83838)),
                         SPAN3D_SHADE_GOURAUD, -175.0f, 6.0f, 120.0f);
    Mesh* pedestal = BuildBox(80.0f, 34.0f, 80.0f, 0xb8a890);
    if (pedestal != nullptr) {
        Prepare(pedestal, SPAN3D_SHADE_FLAT, 175.0f, -23.0f, 120.0f);
        SetMeshModelOrientation(pedestal, 0.0f, -30.0f, 0.0f);
    }
    Mesh* block = Prepare(ChCubeCreate(56.0f, 12.0f, &one, 3,
                                       ColourArgument(0x50a0e0)),
                          SPAN3D_SHADE_FLAT, 175.0f, 22.0f, 120.0f);
    Mesh* glass = Prepare(SphereCreate(44.0f, &one, 14, 22,
                                       ColourArgument(0x70d8ff)),
                          SPAN3D_SHADE_GOURAUD, -115.0f, 8.0f, -40.0f);
    if (ball == nullptr || pedestal == nullptr || block == nullptr || glass == nullptr) return false;
    SetMeshModelOrientation(block, 0.0f, 30.0f, 0.0f);
    // See-through: blend at level 150 of 255, and BlendBit on mesh and
    // material, so its polygons go to the blend list and are drawn last.
    Material* glassMaterial = GetMeshDefaultMaterial(glass);
    SetMaterialAlphaMode(glassMaterial, 2);
    SetMaterialAlphaLevel(glassMaterial, 150);
    SetMeshRenderMode(glass, (int32_t)(SPAN3D_RENDER_SOLID | SPAN3D_BLEND_BIT));

    Mesh* tops[] = {floor, s->hub, ball, pedestal, block, glass};
    for (Mesh* mesh : tops) {
        if (AssignMeshToScene(s->scene, mesh, 0) == nullptr) return false;
    }
    AssignCameraToScene(s->scene, s->camera);
    SetActivedSceneCamera(s->scene, s->camera);
    SetSceneViewport(s->scene, s->viewport);

    float warm[4] = {1.0f, 0.93f, 0.82f, 1.0f};
    float cool[4] = {0.30f, 0.36f, 0.55f, 1.0f};
    Vector3 omniAt = {-220.0f, 260.0f, -160.0f};
    Vector3 directFrom = {260.0f, 200.0f, -60.0f};
    Vector3 directTo = {0.0f, 0.0f, 60.0f};
    Light* omni = CreateOmniLight(&omniAt, warm, 1.0f, 0.0f, 0.0f, SPAN3D_LIGHT_ON);
    Light* direct = CreateDirectLight(&directFrom, &directTo, cool, 1.0f, SPAN3D_LIGHT_ON);
    if (omni == nullptr || direct == nullptr) return false;
    AssignLightToScene(s->scene, omni, 1);
    AssignLightToScene(s->scene, direct, 1);
    return true;
}

// Turns the hub (and with it its children) to `angle` degrees about the
// vertical, on a fixed tilt so that the ring visibly wobbles as it turns.
inline void PoseShowcase(ShowcaseScene* s, float angle)
{
    SetMeshModelOrientation(s->hub, 28.0f, angle, 0.0f);
}

// Z-buffer mode (true) or sorted mode (false) on the same scene.
inline bool SetShowcaseDepth(ShowcaseScene* s, bool zbuffer)
{
    if (zbuffer) return SetViewportDepthState(s->viewport, 1) == 1;
    SetViewportDepthState(s->viewport, 0);
    return true;
}

// One frame as a host draws it: clear the picture to the background and the
// depth buffer (where there is one) to "infinitely far", then draw.
inline void RenderShowcaseFrame(ShowcaseScene* s)
{
    for (int32_t y = 0; y < s->height; ++y) {
        Pixel15* row = s->pixels + (size_t)y * (size_t)s->pitch;
        for (int32_t x = 0; x < s->width; ++x) row[x] = kShowcaseBackground;
    }
    ClearViewportDepthBuffer(s->viewport, 0);
    DrawScene(s->scene);
}

// Frees everything the builder made; the host's picture stays.
inline void DestroyShowcaseScene(ShowcaseScene* s)
{
    if (s->scene != nullptr) DeleteWholeScene(s->scene);
    if (s->viewport != nullptr) DeleteViewport(s->viewport);
    *s = ShowcaseScene{};
}

}  // namespace span3d_demo
