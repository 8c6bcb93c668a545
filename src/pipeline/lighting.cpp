// Lighting: lights brought into a mesh's model space once per mesh, then
// evaluated per polygon (flat: once at corner 0 with the face normal) or per
// corner (Gouraud: with each corner's vertex normal) through four tables of
// evaluators indexed by the light's kind, State & 31.
//
// Precision. Every intermediate value is carried in double; the only floats
// stored are the three sums (after each light) and the local vectors that
// PrepareLights writes into the light. Colours are converted to integers once,
// by FloatToInt, at the end.
//
// Sign tests. A condition "x less than 0" looks at the single-precision bit
// pattern of x: negative means a pattern above 0x80000000, so -0.0 is not
// negative; "greater than 0" means a positive pattern above 0, so -0.0 and
// +0.0 are not positive. A difference against a bound (r - Far) is tested the
// same way.
#include <math.h>

#include "kernel/kernel.h"
#include "pipeline/pipeline.h"

namespace span3d {

LightingState g_Lighting = {};

namespace {

inline bool IsNegative(double value)
{
    return __builtin_bit_cast(uint32_t, static_cast<float>(value)) > 0x80000000u;
}

inline bool IsPositive(double value)
{
    return __builtin_bit_cast(int32_t, static_cast<float>(value)) > 0;
}

// (a.x*b.x + a.y*b.y) + a.z*b.z, in that order, at double width.
inline double Dot(const Vector3& a, const Vector3& b)
{
    return (double(a.x) * b.x + double(a.y) * b.y) + double(a.z) * b.z;
}

enum class LightShape { Omni, OmniFade, Direct, DirectPlane };
enum class LitSide { Front, Back };
enum class LitSample { Face, Corner };

// One evaluator. `side` is the side of the polygon the camera sees: the
// front of a polygon faces against its normal, so a light lights the front
// when it lies on the negative side of the surface at the sample.
template <LightShape shape, LitSide side, LitSample sample>
void EvaluateLight(const Light* light)
{
    LightingState& state = g_Lighting;
    const Vector3& p = *state.SamplePoint;
    const Vector3& n = *state.SampleNormal;
    double level;  // I: light level of this light at the sample, 0 and up

    if constexpr (shape == LightShape::Omni || shape == LightShape::OmniFade) {
        // D runs from the light to the sample (front) or from the sample to
        // the light (back); d is its projection on the normal.
        const Vector3& l = light->LocalPosition;
        double dx, dy, dz;
        if constexpr (side == LitSide::Front) {
            dx = double(p.x) - l.x;
            dy = double(p.y) - l.y;
            dz = double(p.z) - l.z;
        } else {
            dx = double(l.x) - p.x;
            dy = double(l.y) - p.y;
            dz = double(l.z) - p.z;
        }
        const double d = (dx * n.x + dy * n.y) + dz * n.z;
        if (IsNegative(d)) return;
        const double length = sqrt((dx * dx + dy * dy) + dz * dz);
        if constexpr (shape == LightShape::Omni) {
            level = d * light->Intensity * (1.0 / length);
        } else {
            // Smoothstep fade: factor 1 up to NearAttenuation, 0 from
            // FarAttenuation on, (3 - 2t)t^2 between, t running from 1 at
            // near to 0 at far. Far == Near never reaches the division: the
            // fade branch needs Near < r < Far.
            const double r = length;
            if (!IsNegative(r - light->FarAttenuation)) return;
            const double cosine = d / r;
            if (!IsPositive(r - light->NearAttenuation)) {
                level = cosine * light->Intensity;
            } else {
                const double t = (double(light->FarAttenuation) - r) /
                                 (double(light->FarAttenuation) - light->NearAttenuation);
                level = (3.0 - 2.0 * t) * t * t * cosine * light->Intensity;
            }
        }
    } else {
        if constexpr (shape == LightShape::DirectPlane) {
            // Signed distance of the light's position from the polygon's
            // plane: at the face with PlaneD, at a corner through the corner
            // itself with the corner's normal. The light must stand on the
            // side seen: negative for the front.
            double s;
            if constexpr (sample == LitSample::Face) {
                s = Dot(light->LocalPosition, n) + state.SamplePlaneD;
            } else {
                s = Dot(light->LocalPosition, n) - Dot(p, n);
            }
            if constexpr (side == LitSide::Front) {
                if (!IsNegative(s)) return;
            } else {
                if (IsNegative(s)) return;
            }
        }
        // LocalDirection runs from the light towards its target.
        const double d = Dot(light->LocalDirection, n);
        if constexpr (side == LitSide::Front) {
            if (IsNegative(d)) return;
            level = d * light->Intensity;
        } else {
            if (!IsNegative(d)) return;
            level = -d * light->Intensity;
        }
    }

    state.LightSumRed = static_cast<float>(state.LightSumRed + level * light->Colour[0]);
    state.LightSumGreen = static_cast<float>(state.LightSumGreen + level * light->Colour[1]);
    state.LightSumBlue = static_cast<float>(state.LightSumBlue + level * light->Colour[2]);
}

}  // namespace

// The named evaluators. Face and corner members of the omni, fade and direct
// families have the same body: they differ only in where the caller took N
// from. The plane-limited pair differs in how it measures the light's side.
void LightNothing(const Light*) {}

void OmniFaceFront(const Light* l) { EvaluateLight<LightShape::Omni, LitSide::Front, LitSample::Face>(l); }
void OmniFaceBack(const Light* l) { EvaluateLight<LightShape::Omni, LitSide::Back, LitSample::Face>(l); }
void OmniCornerFront(const Light* l) { EvaluateLight<LightShape::Omni, LitSide::Front, LitSample::Corner>(l); }
void OmniCornerBack(const Light* l) { EvaluateLight<LightShape::Omni, LitSide::Back, LitSample::Corner>(l); }

void OmniFadeFaceFront(const Light* l) { EvaluateLight<LightShape::OmniFade, LitSide::Front, LitSample::Face>(l); }
void OmniFadeFaceBack(const Light* l) { EvaluateLight<LightShape::OmniFade, LitSide::Back, LitSample::Face>(l); }
void OmniFadeCornerFront(const Light* l) { EvaluateLight<LightShape::OmniFade, LitSide::Front, LitSample::Corner>(l); }
void OmniFadeCornerBack(const Light* l) { EvaluateLight<LightShape::OmniFade, LitSide::Back, LitSample::Corner>(l); }

void DirectFaceFront(const Light* l) { EvaluateLight<LightShape::Direct, LitSide::Front, LitSample::Face>(l); }
void DirectFaceBack(const Light* l) { EvaluateLight<LightShape::Direct, LitSide::Back, LitSample::Face>(l); }
void DirectCornerFront(const Light* l) { EvaluateLight<LightShape::Direct, LitSide::Front, LitSample::Corner>(l); }
void DirectCornerBack(const Light* l) { EvaluateLight<LightShape::Direct, LitSide::Back, LitSample::Corner>(l); }

void DirectPlaneFaceFront(const Light* l) { EvaluateLight<LightShape::DirectPlane, LitSide::Front, LitSample::Face>(l); }
void DirectPlaneFaceBack(const Light* l) { EvaluateLight<LightShape::DirectPlane, LitSide::Back, LitSample::Face>(l); }
void DirectPlaneCornerFront(const Light* l) { EvaluateLight<LightShape::DirectPlane, LitSide::Front, LitSample::Corner>(l); }
void DirectPlaneCornerBack(const Light* l) { EvaluateLight<LightShape::DirectPlane, LitSide::Back, LitSample::Corner>(l); }

// ---------------------------------------------------------------- tables

namespace {

// Kinds (State & 31): 2 omni, 3 omni with fade, 4 direct; 16 added is bit 4,
// which restricts a direct light to polygons with the light in front (20)
// and means nothing more to an omni light (18, 19). 5 and 21 are direct
// lights with the attenuation flag: evaluated like 4 and 20 (but never
// prepared, see PrepareLights). Every other kind lights nothing.
constexpr LightTable MakeTable(LightFunction omni, LightFunction fade, LightFunction direct,
                               LightFunction plane)
{
    LightTable table{};
    for (int32_t i = 0; i < kLightTableSize; ++i) table.Entry[i] = &LightNothing;
    table.Entry[2] = table.Entry[18] = omni;
    table.Entry[3] = table.Entry[19] = fade;
    table.Entry[4] = table.Entry[5] = direct;
    table.Entry[20] = table.Entry[21] = plane;
    return table;
}

}  // namespace

constinit const LightTable FaceFront =
    MakeTable(&OmniFaceFront, &OmniFadeFaceFront, &DirectFaceFront, &DirectPlaneFaceFront);
constinit const LightTable FaceBack =
    MakeTable(&OmniFaceBack, &OmniFadeFaceBack, &DirectFaceBack, &DirectPlaneFaceBack);
constinit const LightTable CornerFront =
    MakeTable(&OmniCornerFront, &OmniFadeCornerFront, &DirectCornerFront, &DirectPlaneCornerFront);
constinit const LightTable CornerBack =
    MakeTable(&OmniCornerBack, &OmniFadeCornerBack, &DirectCornerBack, &DirectPlaneCornerBack);

static_assert(sizeof(LightTable) == kLightTableSize * sizeof(LightFunction));

// ---------------------------------------------------------------- per mesh

namespace {

// A world point (the light's transformed position or target) into the mesh's
// model space. The pivot is subtracted in world space, before the inverse
// transform, and the difference is stored as a float: that is the vector the
// inverse transform takes.
void WorldToModel(const Mesh* mesh, const Vector3& world, Vector3* out)
{
    out->x = world.x - mesh->Pivot.x;
    out->y = world.y - mesh->Pivot.y;
    out->z = world.z - mesh->Pivot.z;
    MatrixInverseTransformPoint(&mesh->WorldMatrix, out);
}

}  // namespace

void PrepareLights(Mesh* mesh)
{
    // A growable mesh has no list at all; it is never drawn, but a null list
    // simply has no lights to prepare.
    if (mesh->LightList == nullptr) return;
    for (Light** slot = mesh->LightList; *slot != nullptr; ++slot) {
        Light* light = *slot;
        if ((light->State & SPAN3D_LIGHT_ON) == 0) continue;
        switch (light->State & kLightKindMask) {
        case 2:
        case 3:
        case 19:
            WorldToModel(mesh, light->WorldPosition, &light->LocalPosition);
            break;
        case 4:
        case 20: {
            Vector3 target;
            WorldToModel(mesh, light->WorldTarget, &target);
            WorldToModel(mesh, light->WorldPosition, &light->LocalPosition);
            light->LocalDirection.x = target.x - light->LocalPosition.x;
            light->LocalDirection.y = target.y - light->LocalPosition.y;
            light->LocalDirection.z = target.z - light->LocalPosition.z;
            VectorNormalize(&light->LocalDirection);
            break;
        }
        default:
            // Kinds 5, 18, 21 (and those that light nothing) are not
            // prepared: they are evaluated with the local vectors of whichever
            // mesh last prepared this light. Intended; hosts that want such a
            // light correct give a direct light no attenuation flag and an
            // omni light bit 4 only together with attenuation.
            break;
        }
    }
}

// ---------------------------------------------------------------- colours

namespace {

// Stage bits other than none and the environment stage alone: the rasterizer
// multiplies a light level into the texture, so the material's diffuse colour
// does not enter.
inline bool IsTextured(uint32_t flags)
{
    const uint32_t stages = flags & SPAN3D_STAGE_MASK;
    return stages != 0 && stages != SPAN3D_STAGE_THIRD;
}

// One channel on 0..255: rounded to nearest even by FloatToInt, whose low
// word is taken as a signed 32-bit value, then clamped. A NaN or a value
// beyond the 64-bit range converts to the integer indefinite, whose low word
// is 0: black.
inline uint32_t ClampChannel(double value)
{
    const int32_t c = static_cast<int32_t>(FloatToInt(value));
    if (c < 0) return 0;
    if (c > 255) return 255;
    return static_cast<uint32_t>(c);
}

// Pixel15: red in 10-14, green in 5-9, blue in 0-4, from 8-bit channels.
inline uint32_t Pack15(uint32_t red, uint32_t green, uint32_t blue)
{
    return (red & 0xf8u) << 7 | (green & 0xf8u) << 2 | blue >> 3;
}

// 8-bit channels: red in 16-23, green in 8-15, blue in 0-7.
inline uint32_t Pack24(uint32_t red, uint32_t green, uint32_t blue)
{
    return red << 16 | green << 8 | blue;
}

struct Rgb {
    uint32_t Red, Green, Blue;
};

// The final colour from this sample's sums: sum x diffuse (or x 255 when
// textured) + emissive + ambient, added in that order, per channel.
Rgb LitColour(const Material* material, bool textured)
{
    const LightingState& s = g_Lighting;
    const float sums[3] = {s.LightSumRed, s.LightSumGreen, s.LightSumBlue};
    uint32_t c[3];
    for (int32_t i = 0; i < 3; ++i) {
        const double scale = textured ? 255.0 : double(material->DiffuseColour[i]);
        c[i] = ClampChannel((sums[i] * scale + material->EmissiveColour[i]) +
                            material->AmbientColour[i]);
    }
    return Rgb{c[0], c[1], c[2]};
}

inline void ClearSums()
{
    g_Lighting.LightSumRed = 0.0f;
    g_Lighting.LightSumGreen = 0.0f;
    g_Lighting.LightSumBlue = 0.0f;
}

// Every switched-on light of the list through the table, at the sample that
// g_Lighting holds.
inline void AddLights(Light* const* list, const LightTable& table)
{
    for (Light* const* slot = list; *slot != nullptr; ++slot) {
        const Light* light = *slot;
        if ((light->State & SPAN3D_LIGHT_ON) != 0) {
            table.Entry[light->State & kLightKindMask](light);
        }
    }
}

}  // namespace

// ---------------------------------------------------------------- shading

void ShadeNoLights(Mesh*, MeshPolygon* polygon, float viewCosine, uint32_t flags,
                   Material* material)
{
    const bool textured = IsTextured(flags);
    const float* e = material->EmissiveColour;
    const float* d = material->DiffuseColour;
    const float* a = material->AmbientColour;
    uint32_t c[3];
    if ((flags & SPAN3D_SHADE_MASK) == SPAN3D_SHADE_NONE) {
        for (int32_t i = 0; i < 3; ++i) {
            c[i] = textured ? 255u : ClampChannel((double(e[i]) + d[i]) + a[i]);
        }
    } else if (!IsPositive(viewCosine)) {
        // Turned away from the camera, which is the only light: black, with
        // neither ambient nor emissive added. Intended.
        c[0] = c[1] = c[2] = 0;
    } else {
        for (int32_t i = 0; i < 3; ++i) {
            c[i] = textured ? ClampChannel((double(e[i]) + a[i]) + viewCosine * 255.0)
                            : ClampChannel((double(viewCosine) * d[i] + e[i]) + a[i]);
        }
    }
    const uint32_t colour = Pack15(c[0], c[1], c[2]);
    polygon->CornerColour[0] = colour;
    polygon->CornerColour[1] = colour;
    polygon->CornerColour[2] = colour;
}

void ShadeFlat(Mesh* mesh, MeshPolygon* polygon, float, uint32_t flags, Material* material)
{
    LightingState& s = g_Lighting;
    s.SamplePoint = &mesh->Vertices[polygon->Corner[0]].ModelPosition;
    s.SampleNormal = &polygon->Normal;
    s.SamplePlaneD = polygon->PlaneD;
    ClearSums();
    AddLights(mesh->LightList,
              (polygon->Flags & SPAN3D_BACK_FACE_BIT) != 0 ? FaceBack : FaceFront);
    const Rgb c = LitColour(material, IsTextured(flags));
    // Flat colour lives in corner 0 only; the flat rasterizers read no other.
    polygon->CornerColour[0] = Pack15(c.Red, c.Green, c.Blue);
}

void ShadeGouraud(Mesh* mesh, MeshPolygon* polygon, float, uint32_t flags, Material* material)
{
    LightingState& s = g_Lighting;
    const LightTable& table =
        (polygon->Flags & SPAN3D_BACK_FACE_BIT) != 0 ? CornerBack : CornerFront;
    const bool textured = IsTextured(flags);
    for (int32_t i = 0; i < 3; ++i) {
        ClearSums();
        s.SamplePoint = &mesh->Vertices[polygon->Corner[i]].ModelPosition;
        s.SampleNormal = &mesh->VertexNormals[polygon->NormalIndex[i]];
        AddLights(mesh->LightList, table);
        const Rgb c = LitColour(material, textured);
        polygon->CornerColour[i] = Pack24(c.Red, c.Green, c.Blue);
    }
}

}  // namespace span3d
