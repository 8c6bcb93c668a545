// Polygon clipper: the last pipeline stage before the triangle functions.
//
// A polygon comes in as a DrawItem and leaves as one call to its rasterizer
// (whole, with the mesh's own vertices) or as a fan of clipped triangles
// presented through FanVertices. Only the attributes that the polygon's row
// of interpolators names are carried: the texture pair of the stage in use
// when a stage bit is set, the three colour channels for Gouraud shading.
//
// Two spaces of interpolation:
//  - near and far are cut in view space, where view x, y, texture
//    coordinates (still unscaled) and colour are linear; the new point is then
//    projected with the plane's own 1/z, so it needs no division by its depth;
//  - the scissor is cut in screen space, where 1/z and the texture
//    coordinates already multiplied by 1/z are linear, which keeps texturing
//    perspective-correct. Colour is cut linearly in the screen too: Gouraud
//    shading is affine everywhere in this engine.
// Interpolators take (from, to) in the direction of the walk and never order
// their ends, so two polygons sharing an edge may cut it at slightly
// different points; the fill convention of the rasterizers does not depend
// on it.
#include "kernel/kernel.h"
#include "objects/records/records.h"
#include "pipeline/frame_state.h"
#include "pipeline/pipeline.h"

namespace span3d {

ClipperState g_Clip;

namespace {

constexpr uint32_t kNearFarBits = SPAN3D_OUT_NEAR | SPAN3D_OUT_FAR;    // 0x30
constexpr uint32_t kXBits       = SPAN3D_OUT_LEFT | SPAN3D_OUT_RIGHT;  // 0xc0
constexpr uint32_t kYBits       = SPAN3D_OUT_TOP | SPAN3D_OUT_BOTTOM;  // 0x300
constexpr uint32_t kScreenBits  = kXBits | kYBits;                     // 0x3c0

// ---------------------------------------------------------------- comparisons
// Outcode bits of a screen coordinate against the frame's scissor. Left and
// right (top and bottom) exclude each other; a coordinate exactly on
// ClipXMax (ClipYMax) is inside.
inline uint32_t ClassifyX(float x)
{
    if (IsBelowBound(x, g_Frame.ClipXMin)) return SPAN3D_OUT_LEFT;
    if (IsAboveBound(x, g_Frame.ClipXMax)) return SPAN3D_OUT_RIGHT;
    return 0;
}
inline uint32_t ClassifyY(float y)
{
    if (IsBelowBound(y, g_Frame.ClipYMin)) return SPAN3D_OUT_TOP;
    if (IsAboveBound(y, g_Frame.ClipYMax)) return SPAN3D_OUT_BOTTOM;
    return 0;
}

// a + (b - a) * t, carried in double, rounded once when stored.
inline float Lerp(float a, float b, double t)
{
    return static_cast<float>(static_cast<double>(a) + (static_cast<double>(b) - static_cast<double>(a)) * t);
}

// ---------------------------------------------------------------- texture stages

// What happens to a polygon's texture coordinates, from its stage bits.
enum class TexPath : uint32_t {
    None,         // no stage bit: no coordinates are carried
    Planar,       // slots 0, 1 (and 3 after a near/far cut): (u, v) clamped or wrapped
    Environment,  // slot 2: (envU, envV), never clamped
    Unscaled,     // stage bits no rasterizer draws: the first pair is carried as stored
};

struct TexStage {
    TexPath Path;
    int32_t Slot;     // texture slot of the material, for Planar and Environment
    bool SecondPair;  // the coordinates live in (envU, envV)
};

// `fourthScaled`: slot 3 alone is scaled only after a near/far cut; on the
// direct path its coordinates stay as stored. Combinations of stage bits
// select no rasterizer, so their coordinates are carried unscaled: nothing
// reads them.
inline TexStage StageOf(uint32_t flags, bool fourthScaled)
{
    switch (flags & SPAN3D_STAGE_MASK) {
    case 0:
        return {TexPath::None, 0, false};
    case SPAN3D_STAGE_DIFFUSE:
        return {TexPath::Planar, 0, false};
    case SPAN3D_STAGE_OPACITY:
        return {TexPath::Planar, 1, false};
    case SPAN3D_STAGE_THIRD:
        return {TexPath::Environment, 2, true};
    case SPAN3D_STAGE_FOURTH:
        if (fourthScaled) return {TexPath::Planar, 3, false};
        return {TexPath::Unscaled, 0, false};
    default:
        return {TexPath::Unscaled, 0, false};
    }
}

inline bool IsScaled(const TexStage& stage)
{
    return stage.Path == TexPath::Planar || stage.Path == TexPath::Environment;
}

// TexScaleU, TexScaleV and TexWrap from the slot of the material that the
// side seen picks: the back material when the polygon's own BackFaceBit is
// set (the effective flags do not carry that bit).
void SetupTexScale(const MeshPolygon* polygon, int32_t slotIndex)
{
    ClipperState& c = g_Clip;
    const Material* material =
        (polygon->Flags & SPAN3D_BACK_FACE_BIT) != 0 ? polygon->BackMaterial : polygon->FrontMaterial;
    const TextureSlotView* slot = MaterialSlotView(material, slotIndex);
    c.TexSlot = slot;
    c.TexScaleU = static_cast<float>(slot->Width - 1);
    c.TexScaleV = static_cast<float>(slot->Height - 1);
    c.TexWrap = static_cast<int32_t>((slot->Mode >> 30) & 1u);
}

inline void ScaleCorner(const TexStage& stage, float out[2], const float in[2], float inverseZ)
{
    if (stage.Path == TexPath::Planar) {
        ScaleTexCoordPlanar(out, in, inverseZ);
    } else if (stage.Path == TexPath::Environment) {
        ScaleTexCoordEnvironment(out, in, inverseZ);
    } else {
        out[0] = in[0];
        out[1] = in[1];
    }
}

inline void ReadPair(const CornerCoords& corner, bool second, float out[2])
{
    out[0] = second ? corner.envU : corner.u;
    out[1] = second ? corner.envV : corner.v;
}
inline void WritePair(CornerCoords& corner, bool second, const float in[2])
{
    if (second) {
        corner.envU = in[0];
        corner.envV = in[1];
    } else {
        corner.u = in[0];
        corner.v = in[1];
    }
}

// A clipped Gouraud colour back to 8-bit channels: each float rounded to
// nearest even, with no clamp, or'ed into red 16-23, green 8-15, blue 0-7.
// Cut colours lie between their ends, so they stay within 0..255.
inline uint32_t PackCornerColour(const float colour[3])
{
    const uint32_t red = static_cast<uint32_t>(FloatToInt(colour[0]));
    const uint32_t green = static_cast<uint32_t>(FloatToInt(colour[1]));
    const uint32_t blue = static_cast<uint32_t>(FloatToInt(colour[2]));
    return (red << 16) | (green << 8) | blue;
}

}  // namespace

// ---------------------------------------------------------------- texture scaling

void ScaleTexCoordPlanar(float out[2], const float in[2], float inverseZ)
{
    const ClipperState& c = g_Clip;
    float u = in[0];
    float v = in[1];
    if (c.TexWrap == 0) {
        // Clamp to 0..1: the pitch-addressed spans have no range test. A
        // negative value is a set sign bit with a non-zero pattern, so -0.0
        // passes unchanged and scales to -0.0.
        if (IsAboveBound(u, 1.0f)) u = 1.0f;
        if (FloatBits(u) > 0x80000000u) u = 0.0f;
        if (IsAboveBound(v, 1.0f)) v = 1.0f;
        if (FloatBits(v) > 0x80000000u) v = 0.0f;
    }
    out[0] = static_cast<float>(static_cast<double>(c.TexScaleU) * u * inverseZ);
    out[1] = static_cast<float>(static_cast<double>(c.TexScaleV) * v * inverseZ);
}

void ScaleTexCoordEnvironment(float out[2], const float in[2], float inverseZ)
{
    const ClipperState& c = g_Clip;
    // envU, envV in -1..1 map to columns 0..width-1 right to left and rows
    // 0..height-1 top to bottom. No clamp: a pitch-addressed slot 2 relies on
    // the generated pair staying inside -1..1.
    out[0] = static_cast<float>((0.5 - static_cast<double>(in[0]) * 0.5) * c.TexScaleU * inverseZ);
    out[1] = static_cast<float>((static_cast<double>(in[1]) + 1.0) * c.TexScaleV * 0.5 * inverseZ);
}

void UnpackCornerColour(float out[3], uint32_t colour)
{
    out[0] = static_cast<float>((colour >> 16) & 255u);
    out[1] = static_cast<float>((colour >> 8) & 255u);
    out[2] = static_cast<float>(colour & 255u);
}

// ---------------------------------------------------------------- loaders

void LoadClipVertex(ClipVertex* out, const MeshVertex* vertex)
{
    out->Outcode = vertex->Outcode;
    out->ViewPosition = vertex->ViewPosition;
    out->ScreenPosition = vertex->ScreenPosition;
}

void LoadClipVertexTextured(ClipVertex* out, const MeshVertex* vertex, const float texCoord[2])
{
    LoadClipVertex(out, vertex);
    out->TexCoord[0] = texCoord[0];
    out->TexCoord[1] = texCoord[1];
}

void LoadClipVertexShaded(ClipVertex* out, const MeshVertex* vertex, uint32_t colour)
{
    LoadClipVertex(out, vertex);
    UnpackCornerColour(out->Colour, colour);
}

void CopyClipVertex(ClipVertex* out, const ClipVertex* from) { *out = *from; }

// ---------------------------------------------------------------- interpolators
// t is the crossing's fraction of the way from `from` to `to`; every value is
// carried in double and rounded once where the record stores it. The record's
// Outcode holds the end that ClipEdge chose; the interpolator replaces the
// bits of the axes it moved and keeps the rest (near and far among them).

namespace {

template <bool kTextured, bool kShaded>
inline void LerpAttributes(ClipVertex* out, const ClipVertex* from, const ClipVertex* to, double t)
{
    if constexpr (kTextured) {
        out->TexCoord[0] = Lerp(from->TexCoord[0], to->TexCoord[0], t);
        out->TexCoord[1] = Lerp(from->TexCoord[1], to->TexCoord[1], t);
    }
    if constexpr (kShaded) {
        out->Colour[0] = Lerp(from->Colour[0], to->Colour[0], t);
        out->Colour[1] = Lerp(from->Colour[1], to->Colour[1], t);
        out->Colour[2] = Lerp(from->Colour[2], to->Colour[2], t);
    }
}

// Screen x = ClipBound. View position is left unset: nothing reads it after
// the near/far pass.
template <bool kTextured, bool kShaded>
inline void CutX(ClipVertex* from, ClipVertex* to)
{
    const ClipperState& c = g_Clip;
    ClipVertex* out = c.ClipOutCursor;
    const double t = (static_cast<double>(c.ClipBound) - from->ScreenPosition.x) /
                     (static_cast<double>(to->ScreenPosition.x) - from->ScreenPosition.x);
    out->ScreenPosition.x = c.ClipBound;
    out->ScreenPosition.y = Lerp(from->ScreenPosition.y, to->ScreenPosition.y, t);
    out->ScreenPosition.z = Lerp(from->ScreenPosition.z, to->ScreenPosition.z, t);
    LerpAttributes<kTextured, kShaded>(out, from, to, t);
    out->Outcode = (out->Outcode & ~kYBits) | ClassifyY(out->ScreenPosition.y);
}

// Screen y = ClipBound, the mirror of CutX.
template <bool kTextured, bool kShaded>
inline void CutY(ClipVertex* from, ClipVertex* to)
{
    const ClipperState& c = g_Clip;
    ClipVertex* out = c.ClipOutCursor;
    const double t = (static_cast<double>(c.ClipBound) - from->ScreenPosition.y) /
                     (static_cast<double>(to->ScreenPosition.y) - from->ScreenPosition.y);
    out->ScreenPosition.x = Lerp(from->ScreenPosition.x, to->ScreenPosition.x, t);
    out->ScreenPosition.y = c.ClipBound;
    out->ScreenPosition.z = Lerp(from->ScreenPosition.z, to->ScreenPosition.z, t);
    LerpAttributes<kTextured, kShaded>(out, from, to, t);
    out->Outcode = (out->Outcode & ~kXBits) | ClassifyX(out->ScreenPosition.x);
}

// View z = ClipBound, then projected with the plane's own factors: the new
// point's 1/z is ClipInverseBound exactly. The projection reads the view x, y
// as stored (rounded to float), the same values a later reader of the record
// would see. All four screen bits are classified afresh.
template <bool kTextured, bool kShaded>
inline void CutZ(ClipVertex* from, ClipVertex* to)
{
    const ClipperState& c = g_Clip;
    const Viewport* viewport = g_Frame.CurrentViewport;
    ClipVertex* out = c.ClipOutCursor;
    const double t = (static_cast<double>(c.ClipBound) - from->ViewPosition.z) /
                     (static_cast<double>(to->ViewPosition.z) - from->ViewPosition.z);
    out->ViewPosition.x = Lerp(from->ViewPosition.x, to->ViewPosition.x, t);
    out->ViewPosition.y = Lerp(from->ViewPosition.y, to->ViewPosition.y, t);
    out->ViewPosition.z = c.ClipBound;
    LerpAttributes<kTextured, kShaded>(out, from, to, t);
    out->ScreenPosition.x = static_cast<float>(static_cast<double>(c.ClipProjectX) * out->ViewPosition.x +
                                               viewport->CentreX);
    out->ScreenPosition.y = static_cast<float>(static_cast<double>(c.ClipProjectY) * out->ViewPosition.y +
                                               viewport->CentreY);
    out->ScreenPosition.z = c.ClipInverseBound;
    out->Outcode = (out->Outcode & ~kScreenBits) | ClassifyX(out->ScreenPosition.x) |
                   ClassifyY(out->ScreenPosition.y);
}

}  // namespace

void CutXPlain(ClipVertex* from, ClipVertex* to) { CutX<false, false>(from, to); }
void CutYPlain(ClipVertex* from, ClipVertex* to) { CutY<false, false>(from, to); }
void CutZPlain(ClipVertex* from, ClipVertex* to) { CutZ<false, false>(from, to); }
void CutXTextured(ClipVertex* from, ClipVertex* to) { CutX<true, false>(from, to); }
void CutYTextured(ClipVertex* from, ClipVertex* to) { CutY<true, false>(from, to); }
void CutZTextured(ClipVertex* from, ClipVertex* to) { CutZ<true, false>(from, to); }
void CutXShaded(ClipVertex* from, ClipVertex* to) { CutX<false, true>(from, to); }
void CutYShaded(ClipVertex* from, ClipVertex* to) { CutY<false, true>(from, to); }
void CutZShaded(ClipVertex* from, ClipVertex* to) { CutZ<false, true>(from, to); }
void CutXTexturedShaded(ClipVertex* from, ClipVertex* to) { CutX<true, true>(from, to); }
void CutYTexturedShaded(ClipVertex* from, ClipVertex* to) { CutY<true, true>(from, to); }
void CutZTexturedShaded(ClipVertex* from, ClipVertex* to) { CutZ<true, true>(from, to); }

const ClipInterpolator ClipInterpolators[kClipRowCount][kClipColumnCount] = {
    {&CutXPlain, &CutYPlain, &CutZPlain},                                 // 0: nothing carried
    {&CutXTextured, &CutYTextured, &CutZTextured},                        // 1: TexCoord
    {&CutXShaded, &CutYShaded, &CutZShaded},                              // 2: Colour
    {&CutXTexturedShaded, &CutYTexturedShaded, &CutZTexturedShaded},      // 3: both
};

// ---------------------------------------------------------------- edges and passes

void ClipEdge(ClipVertex* from, ClipVertex* to)
{
    ClipperState& c = g_Clip;
    const uint32_t bit = c.ClipPlaneBit;
    const bool fromOutside = (from->Outcode & bit) != 0;
    const bool toOutside = (to->Outcode & bit) != 0;

    if (fromOutside) {
        if (toOutside) return;
        // Entering: the crossing is always kept, even where it coincides
        // with `to`.
        c.ClipOutCursor->Outcode = from->Outcode;
        c.ClipInterpolate(from, to);
        c.ClipOutCursor->Outcode &= ~bit;
        ++c.ClipOutCursor;
        ++c.ClipOutCount;
        return;
    }

    CopyClipVertex(c.ClipOutCursor, from);
    ++c.ClipOutCursor;
    ++c.ClipOutCount;
    if (!toOutside) return;

    // Leaving: a crossing on `from`'s own screen point (a vertex touching the
    // plane, or the cut of a ray through the eye) would add a zero-length
    // edge; it is written and left behind the cursor.
    ClipVertex* out = c.ClipOutCursor;
    out->Outcode = to->Outcode;
    c.ClipInterpolate(from, to);
    if (out->ScreenPosition.x == from->ScreenPosition.x && out->ScreenPosition.y == from->ScreenPosition.y) {
        return;
    }
    out->Outcode &= ~bit;
    ++c.ClipOutCursor;
    ++c.ClipOutCount;
}

namespace {

// One pass of the current plane over ClipInput: the edges (i, i + 1) and the
// closing edge (last, first), into the output that the caller has reset. A
// polygon already reduced to nothing stays nothing; one of one or two
// vertices is walked like any other and dropped by the caller's count test.
void RunClipPass()
{
    ClipperState& c = g_Clip;
    const int32_t count = c.ClipVertexCount;
    if (count <= 0) return;
    ClipVertex* in = c.ClipInput;
    for (int32_t i = 0; i + 1 < count; ++i) ClipEdge(&in[i], &in[i + 1]);
    ClipEdge(&in[count - 1], &in[0]);
}

struct ScissorPass {
    uint32_t Bit;
    int32_t Column;
    float Viewport::*Bound;
};
constexpr ScissorPass kScissorPasses[4] = {
    {SPAN3D_OUT_LEFT, kClipColumnX, &Viewport::ScissorMinX},
    {SPAN3D_OUT_RIGHT, kClipColumnX, &Viewport::ScissorMaxX},
    {SPAN3D_OUT_TOP, kClipColumnY, &Viewport::ScissorMinY},
    {SPAN3D_OUT_BOTTOM, kClipColumnY, &Viewport::ScissorMaxY},
};

}  // namespace

void ClipPolygonToScissor()
{
    ClipperState& c = g_Clip;
    const Viewport* viewport = g_Frame.CurrentViewport;
    // ClipUnion is the union of the polygon as it came in: a pass whose bit is
    // set runs even if earlier passes removed every vertex beyond it.
    for (const ScissorPass& pass : kScissorPasses) {
        if ((c.ClipUnion & pass.Bit) == 0) continue;
        c.ClipPlaneBit = pass.Bit;
        c.ClipBound = viewport->*pass.Bound;
        c.ClipInterpolate = c.ClipRow[pass.Column];
        c.ClipOutCount = 0;
        c.ClipOutCursor = c.ClipScreenOutput;
        RunClipPass();
        for (int32_t i = 0; i < c.ClipOutCount; ++i) CopyClipVertex(&c.ClipInput[i], &c.ClipScreenOutput[i]);
        c.ClipVertexCount = c.ClipOutCount;
    }
}

// ---------------------------------------------------------------- fans

namespace {

// How the records of a fan become polygon corners.
struct FanSetup {
    TexStage Stage;
    bool Textured;  // TexCoord goes to the stage's pair of the corner
    bool Scale;     // TexCoord is still unscaled: scale it with the record's 1/z
    bool Shaded;    // Colour is packed into the corner's CornerColour
};

void PutFanCorner(MeshPolygon* work, int32_t k, const ClipVertex* record, const FanSetup& setup)
{
    g_Clip.FanVertices[k].ScreenPosition = record->ScreenPosition;
    if (setup.Textured) {
        float texCoord[2] = {record->TexCoord[0], record->TexCoord[1]};
        if (setup.Scale) ScaleCorner(setup.Stage, texCoord, record->TexCoord, record->ScreenPosition.z);
        WritePair(work->CornerMap[k], setup.Stage.SecondPair, texCoord);
    }
    if (setup.Shaded) work->CornerColour[k] = PackCornerColour(record->Colour);
}

// A fan around record 0: triangles (0, i, i + 1). The records keep the
// polygon's corner order, so every fan triangle keeps its winding.
void DrawFan(MeshPolygon* work, const ClipVertex* records, int32_t count, const FanSetup& setup)
{
    ClipperState& c = g_Clip;
    work->Corner[0] = 0;
    work->Corner[1] = 1;
    work->Corner[2] = 2;
    PutFanCorner(work, 0, &records[0], setup);
    for (int32_t i = 1; i + 1 < count; ++i) {
        PutFanCorner(work, 1, &records[i], setup);
        PutFanCorner(work, 2, &records[i + 1], setup);
        c.ClipRaster(work, c.FanVertices);
    }
}

inline bool IsTextured(uint32_t flags) { return (flags & SPAN3D_STAGE_MASK) != 0; }
inline bool IsGouraud(uint32_t flags) { return (flags & SPAN3D_SHADE_MASK) == SPAN3D_SHADE_GOURAUD; }
inline int32_t InterpolatorRow(uint32_t flags) { return (IsTextured(flags) ? 1 : 0) | (IsGouraud(flags) ? 2 : 0); }

// One mesh vertex into a ClipVertex with the attributes of the row.
inline void LoadCorner(ClipVertex* out, const MeshVertex* vertex, bool textured, const float texCoord[2],
                       bool shaded, uint32_t colour)
{
    if (textured) {
        LoadClipVertexTextured(out, vertex, texCoord);
        if (shaded) UnpackCornerColour(out->Colour, colour);
    } else if (shaded) {
        LoadClipVertexShaded(out, vertex, colour);
    } else {
        LoadClipVertex(out, vertex);
    }
}

// The plane of a near/far pass. Its projection factors are those the vertex
// transform uses, with the plane's depth in place of the vertex's.
void SetDepthPlane(float bound, uint32_t bit)
{
    ClipperState& c = g_Clip;
    c.ClipBound = bound;
    c.ClipPlaneBit = bit;
    c.ClipInverseBound = static_cast<float>(1.0 / static_cast<double>(bound));
    c.ClipProjectX = static_cast<float>(static_cast<double>(c.ClipInverseBound) * g_Frame.CurrentCamera->Focale);
    c.ClipProjectY = static_cast<float>(static_cast<double>(c.ClipProjectX) * g_Frame.CurrentViewport->ScaleY);
    c.ClipOutCount = 0;
    c.ClipOutCursor = c.ClipDepthOutput;
}

// The depth path: the polygon has a corner on or before near or beyond far.
void ClipNearFar(MeshPolygon* polygon, const MeshVertex* const corner[3])
{
    ClipperState& c = g_Clip;
    const uint32_t flags = c.ClipFlags;
    const bool textured = IsTextured(flags);
    const bool shaded = IsGouraud(flags);
    // The coordinates are cut as stored, not yet scaled: the scale needs the
    // 1/z of the final corners.
    const bool secondPair = (flags & SPAN3D_STAGE_MASK) == SPAN3D_STAGE_THIRD;
    for (int32_t k = 0; k < 3; ++k) {
        float texCoord[2];
        ReadPair(polygon->CornerMap[k], secondPair, texCoord);
        LoadCorner(&c.ClipInput[k], corner[k], textured, texCoord, shaded, polygon->CornerColour[k]);
    }
    c.ClipVertexCount = 3;
    c.ClipInterpolate = c.ClipRow[kClipColumnZ];

    const Camera* camera = g_Frame.CurrentCamera;
    const uint32_t crossed = c.ClipUnion & kNearFarBits;
    if (crossed == SPAN3D_OUT_FAR) {
        SetDepthPlane(camera->Far, SPAN3D_OUT_FAR);
        RunClipPass();
    } else {
        SetDepthPlane(camera->Near, SPAN3D_OUT_NEAR);
        RunClipPass();
        if (crossed == kNearFarBits) {
            if (c.ClipOutCount < 3) return;
            for (int32_t i = 0; i < c.ClipOutCount; ++i) CopyClipVertex(&c.ClipInput[i], &c.ClipDepthOutput[i]);
            c.ClipVertexCount = c.ClipOutCount;
            SetDepthPlane(camera->Far, SPAN3D_OUT_FAR);
            RunClipPass();
        }
    }
    if (c.ClipOutCount < 3) return;
    DrawClippedFan(polygon);
}

}  // namespace

void DrawClippedFan(MeshPolygon* polygon)
{
    ClipperState& c = g_Clip;
    const int32_t count = c.ClipOutCount;
    const ClipVertex* records = c.ClipDepthOutput;

    uint32_t intersection = ~0u;
    uint32_t unionBits = 0;
    for (int32_t i = 0; i < count; ++i) {
        intersection &= records[i].Outcode;
        unionBits |= records[i].Outcode;
    }
    c.ClipIntersection = intersection;
    c.ClipUnion = unionBits;
    if (intersection != 0) return;

    const uint32_t flags = c.ClipFlags;
    const TexStage stage = StageOf(flags, true);
    const bool textured = IsTextured(flags);
    if (IsScaled(stage)) SetupTexScale(polygon, stage.Slot);

    // The working polygon: all three edges visible, the polygon's own flat
    // colour in CornerColour[0], materials as the polygon has them.
    MeshPolygon work = *polygon;
    work.Flags = polygon->Flags | SPAN3D_EDGE_MASK;
    FanSetup setup = {stage, textured, true, IsGouraud(flags)};

    if (unionBits == 0) {
        DrawFan(&work, records, count, setup);
        return;
    }

    for (int32_t i = 0; i < count; ++i) {
        ClipVertex* out = &c.ClipInput[i];
        out->Outcode = records[i].Outcode;
        out->ScreenPosition = records[i].ScreenPosition;
        out->Colour[0] = records[i].Colour[0];
        out->Colour[1] = records[i].Colour[1];
        out->Colour[2] = records[i].Colour[2];
        if (textured) ScaleCorner(stage, out->TexCoord, records[i].TexCoord, records[i].ScreenPosition.z);
    }
    c.ClipVertexCount = count;
    ClipPolygonToScissor();
    if (c.ClipVertexCount < 3) return;
    setup.Scale = false;
    DrawFan(&work, c.ClipInput, c.ClipVertexCount, setup);
}

// ---------------------------------------------------------------- entry

void ClipAndDrawPolygon(DrawItem* item, TriangleRasterizer raster)
{
    ClipperState& c = g_Clip;
    MeshPolygon* polygon = item->Polygon;
    MeshVertex* vertices = item->Mesh->Vertices;
    const uint32_t flags = item->Flags;
    c.ClipFlags = flags;
    c.ClipRaster = raster;
    c.ClipMeshVertices = vertices;

    const MeshVertex* const corner[3] = {&vertices[polygon->Corner[0]], &vertices[polygon->Corner[1]],
                                         &vertices[polygon->Corner[2]]};
    c.ClipIntersection = corner[0]->Outcode & corner[1]->Outcode & corner[2]->Outcode;
    c.ClipUnion = corner[0]->Outcode | corner[1]->Outcode | corner[2]->Outcode;
    if (c.ClipIntersection != 0) return;

    // Dots and wire frames clip for themselves, per dot and per line, and
    // read the mesh's own polygon and vertices.
    if ((flags & SPAN3D_RENDER_MODE_MASK) != SPAN3D_RENDER_SOLID) {
        raster(polygon, vertices);
        return;
    }

    const bool textured = IsTextured(flags);
    const bool shaded = IsGouraud(flags);
    c.ClipRow = ClipInterpolators[InterpolatorRow(flags)];
    if ((c.ClipUnion & kNearFarBits) != 0) {
        ClipNearFar(polygon, corner);
        return;
    }

    // Everything from here writes to the copy: the mesh's polygon keeps the
    // coordinates as the host set them.
    MeshPolygon work = *polygon;
    const TexStage stage = StageOf(flags, false);
    if (IsScaled(stage)) {
        SetupTexScale(polygon, stage.Slot);
        for (int32_t k = 0; k < 3; ++k) {
            float in[2];
            float out[2];
            ReadPair(polygon->CornerMap[k], stage.SecondPair, in);
            ScaleCorner(stage, out, in, corner[k]->ScreenPosition.z);
            WritePair(work.CornerMap[k], stage.SecondPair, out);
        }
    }

    // The common case: wholly inside, no ClipVertex touched.
    if (c.ClipUnion == 0) {
        raster(&work, vertices);
        return;
    }

    for (int32_t k = 0; k < 3; ++k) {
        float texCoord[2];
        ReadPair(work.CornerMap[k], stage.SecondPair, texCoord);
        LoadCorner(&c.ClipInput[k], corner[k], textured, texCoord, shaded, work.CornerColour[k]);
    }
    c.ClipVertexCount = 3;
    ClipPolygonToScissor();
    if (c.ClipVertexCount < 3) return;

    work.Flags = polygon->Flags;
    work.FrontMaterial = polygon->FrontMaterial;
    work.BackMaterial = polygon->BackMaterial;
    const FanSetup setup = {stage, textured, false, shaded};
    DrawFan(&work, c.ClipInput, c.ClipVertexCount, setup);
}

}  // namespace span3d
