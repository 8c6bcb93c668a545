// Polygon emission: one mesh's polygons into DrawItems.
//
// The eight emission functions are instances of one template over the three
// choices that the frame driver settles per frame and per mesh: Z-buffer or
// sorted lists, lit or unlit, ordinary (culled) or billboard. Nothing inside
// the polygon loop tests any of the three.
//
// The two list disciplines differ in more than the cursor:
//   Z-buffer: Flags change (side bits, BlendBit) before the transform, so a
//             polygon rejected by its outcodes keeps its updated Flags; only
//             blended polygons pay for a key and go to the blend list.
//   sorted:   the keyed transform runs as soon as the cull test has passed and
//             Flags change only afterwards, so a rejected polygon keeps the
//             Flags of its last emitted frame. BlendBit is kept up to date but
//             decides nothing.
#include "kernel/kernel.h"
#include "pipeline/frame_state.h"
#include "pipeline/pipeline.h"

namespace span3d {

namespace {

inline float F(double x) { return static_cast<float>(x); }

// Negative by its bits: -0.0 is not, so an edge-on polygon is seen from the
// back.
inline bool IsNegative(float x) { return __builtin_bit_cast(uint32_t, x) > 0x80000000u; }

constexpr uint32_t kSideBits      = SPAN3D_BLEND_BIT | SPAN3D_BACK_FACE_BIT;  // 0xc0
constexpr uint32_t kMeshPassBits  = 0x7f00047u;  // shade, blend, render mode, stages
constexpr uint32_t kLitEffective  = 0x7f00007u;  // shade, render mode, stages
constexpr uint32_t kUnlitEffective = 0x7f00000u; // render mode, stages: shade forced to 1

// The polygon goes to the blend list when its material is see-through (any
// AlphaMode but opaque, except blending at full level 255, which is opaque in
// effect) or when mesh and material both ask for BlendBit.
inline bool NeedsBlend(const Material* material, uint32_t polygonFlags)
{
    const bool seeThrough = material->AlphaMode != 0 && !(material->AlphaMode == 2 && material->AlphaLevel == 255);
    return seeThrough || (polygonFlags & SPAN3D_BLEND_BIT) != 0;
}

// One channel of the unlit colour: emissive + diffuse + ambient (0..255
// scale), rounded to nearest even and clamped to 0..255.
inline uint32_t UnlitChannel(const Material* material, int32_t channel)
{
    const double sum = (double(material->EmissiveColour[channel]) + material->DiffuseColour[channel]) +
                       material->AmbientColour[channel];
    int64_t value = FloatToInt(sum);
    if (value < 0) value = 0;
    if (value > 255) value = 255;
    return static_cast<uint32_t>(value);
}

// The colour of an unshaded polygon, a Pixel15 for CornerColour[0]: white for
// a textured one (the texels show as they are), else the material's own
// colours summed. The third stage alone does not count as textured: it is an
// environment reflection over the material's colour.
inline uint32_t UnlitColour(const Material* material, uint32_t effectiveFlags)
{
    const uint32_t stages = effectiveFlags & SPAN3D_STAGE_MASK;
    if (stages != 0 && stages != SPAN3D_STAGE_THIRD) {
        return 0x7fffu;
    }
    const uint32_t red = UnlitChannel(material, 0);
    const uint32_t green = UnlitChannel(material, 1);
    const uint32_t blue = UnlitChannel(material, 2);
    return (red >> 3) << 10 | (green >> 3) << 5 | (blue >> 3);
}

enum class ListMode { ZBuffer, Sorted };
enum class Lighting { Lit, Unlit };
enum class Shape { Ordinary, Billboard };

template <ListMode kList, Lighting kLight, Shape kShape>
int32_t EmitPolygons(Mesh* mesh)
{
    constexpr bool kZBuffer = kList == ListMode::ZBuffer;
    constexpr bool kLit = kLight == Lighting::Lit;
    constexpr bool kCulled = kShape == Shape::Ordinary;
    // An unlit billboard needs neither the side seen nor a view cosine.
    constexpr bool kNeedsEye = kCulled || kLit;

    // The camera in the mesh's model space. The pivot is not taken off here:
    // it enters S below as Pivot . Normal.
    Vector3 eye = g_Frame.CurrentCamera->WorldPosition;
    double inverseLength = 0.0;
    if constexpr (kNeedsEye) {
        MatrixInverseTransformPoint(&mesh->WorldMatrix, &eye);
    }
    if constexpr (kLit) {
        inverseLength = VectorInverseLength(&eye);
    }
    const uint32_t cullBits = mesh->RenderFlags & SPAN3D_CULL_MASK;
    const uint32_t meshBits = mesh->RenderFlags & kMeshPassBits;
    if constexpr (kLit) {
        PrepareLights(mesh);
    }
    if (mesh->PolygonCount < 1) {
        return 0;
    }
    // Without lights the camera stands in for one (ShadeNoLights).
    const bool noLights = mesh->LightList == nullptr || mesh->LightList[0] == nullptr;

    int32_t emitted = 0;
    const int32_t count = mesh->PolygonCount;
    for (int32_t i = 0; i < count; ++i, ++g_Frame.PolygonCursor) {
        MeshPolygon* polygon = g_Frame.PolygonCursor;
        Material* material;
        uint32_t flags;           // the polygon's Flags as this frame leaves them
        float viewCosine = 0.0f;  // cosine between the normal and the mesh-origin-to-camera line

        double d = 0.0;
        bool back = false;
        if constexpr (kNeedsEye) {
            // S = E . N + PlaneD - Pivot . N: the camera's signed distance
            // from the polygon's plane, the pivot taken off the camera.
            d = VectorDot(&eye, &polygon->Normal);
            const float s = F((d + polygon->PlaneD) - VectorDot(&mesh->Pivot, &polygon->Normal));
            back = !IsNegative(s);
        }

        if constexpr (kCulled) {
            // The material that decides the cull mode follows the mesh's mode,
            // not the side seen: under a back-only mesh the back material's
            // bit 3 makes the polygon two-sided, under any other the front's.
            const Material* consulted =
                (cullBits & SPAN3D_CULL_BACK_ONLY) != 0 ? polygon->BackMaterial : polygon->FrontMaterial;
            const uint32_t cullMode =
                (consulted->MaterialFlags & SPAN3D_CULL_BOTH) != 0 ? SPAN3D_CULL_BOTH : cullBits;
            const uint32_t side = back ? kSideBack : kSideFront;
            if (kCullKeeps[cullMode >> 3][side] == 0) {
                continue;
            }
            if (back) {
                material = polygon->BackMaterial;
                flags = (polygon->Flags | SPAN3D_BACK_FACE_BIT) & ~SPAN3D_BLEND_BIT;
                if constexpr (kLit) viewCosine = F(d * inverseLength);
            } else {
                material = polygon->FrontMaterial;
                flags = polygon->Flags & ~kSideBits;
                if constexpr (kLit) viewCosine = -F(d * inverseLength);
            }
        } else {
            // A billboard has no back: it always shows its front material,
            // lit from whichever side the camera is on.
            material = polygon->FrontMaterial;
            flags = polygon->Flags & ~kSideBits;
            if constexpr (kLit) {
                viewCosine = F(d * inverseLength);
                if (!back) viewCosine = -viewCosine;
            }
        }
        if ((meshBits & material->MaterialFlags & SPAN3D_BLEND_BIT) != 0) {
            flags |= SPAN3D_BLEND_BIT;
        }

        const int32_t c0 = static_cast<int32_t>(polygon->Corner[0]);
        const int32_t c1 = static_cast<int32_t>(polygon->Corner[1]);
        const int32_t c2 = static_cast<int32_t>(polygon->Corner[2]);
        DrawItem* item;
        bool blend = false;
        if constexpr (kZBuffer) {
            polygon->Flags = flags;
            blend = NeedsBlend(material, flags);
            if (blend) {
                item = g_Frame.BlendCursor;
                if (TransformPolygonKeyed(mesh, c0, c1, c2, item) != 0) continue;
            } else {
                item = g_Frame.MainCursor;
                if (TransformPolygon(mesh, c0, c1, c2) != 0) continue;
            }
        } else {
            item = g_Frame.MainCursor;
            if (TransformPolygonKeyed(mesh, c0, c1, c2, item) != 0) continue;
            polygon->Flags = flags;
        }

        // Effective flags: a bit is on only if mesh, polygon and material all
        // let it through.
        uint32_t effective = mesh->RenderFlags & polygon->Flags & material->MaterialFlags;
        if constexpr (kLit) {
            effective &= kLitEffective;
            if (noLights) {
                ShadeNoLights(mesh, polygon, viewCosine, effective, material);
                // With no light a polygon is at most flat.
                effective = (effective & ~4u) | SPAN3D_SHADE_FLAT;
            } else {
                switch (effective & SPAN3D_SHADE_MASK) {
                case SPAN3D_SHADE_FLAT:
                    ShadeFlat(mesh, polygon, viewCosine, effective, material);
                    break;
                case SPAN3D_SHADE_GOURAUD:
                    ShadeGouraud(mesh, polygon, viewCosine, effective, material);
                    break;
                case SPAN3D_SHADE_NONE:
                    polygon->CornerColour[0] = UnlitColour(material, effective);
                    break;
                default:
                    // Shade modes 0, 2, 4, 5, 6: no colour is written; the
                    // polygon shows last frame's.
                    break;
                }
            }
        } else {
            effective &= kUnlitEffective;
            polygon->CornerColour[0] = UnlitColour(material, effective);
            effective |= SPAN3D_SHADE_NONE;
        }

        if ((effective & SPAN3D_STAGE_MASK) == SPAN3D_STAGE_THIRD) {
            ComputeEnvironmentCoords(mesh, polygon);
        }

        item->Mesh = mesh;
        item->Polygon = polygon;
        item->Flags = effective;
        if constexpr (kZBuffer) {
            // The two lists grow towards each other in the one array.
            if (blend) {
                ++g_Frame.BlendCursor;
                ++g_Frame.BlendCount;
            } else {
                --g_Frame.MainCursor;
                ++g_Frame.MainCount;
            }
        } else {
            ++g_Frame.MainCursor;
        }
        ++emitted;
    }
    return emitted;
}

}  // namespace

int32_t EmitZLit(Mesh* mesh)
{
    return EmitPolygons<ListMode::ZBuffer, Lighting::Lit, Shape::Ordinary>(mesh);
}

int32_t EmitZUnlit(Mesh* mesh)
{
    return EmitPolygons<ListMode::ZBuffer, Lighting::Unlit, Shape::Ordinary>(mesh);
}

int32_t EmitZBillboardLit(Mesh* mesh)
{
    return EmitPolygons<ListMode::ZBuffer, Lighting::Lit, Shape::Billboard>(mesh);
}

int32_t EmitZBillboardUnlit(Mesh* mesh)
{
    return EmitPolygons<ListMode::ZBuffer, Lighting::Unlit, Shape::Billboard>(mesh);
}

int32_t EmitSortedLit(Mesh* mesh)
{
    return EmitPolygons<ListMode::Sorted, Lighting::Lit, Shape::Ordinary>(mesh);
}

int32_t EmitSortedUnlit(Mesh* mesh)
{
    return EmitPolygons<ListMode::Sorted, Lighting::Unlit, Shape::Ordinary>(mesh);
}

int32_t EmitSortedBillboardLit(Mesh* mesh)
{
    return EmitPolygons<ListMode::Sorted, Lighting::Lit, Shape::Billboard>(mesh);
}

int32_t EmitSortedBillboardUnlit(Mesh* mesh)
{
    return EmitPolygons<ListMode::Sorted, Lighting::Unlit, Shape::Billboard>(mesh);
}

int32_t EmitNothing(Mesh*)
{
    return 0;
}

}  // namespace span3d
