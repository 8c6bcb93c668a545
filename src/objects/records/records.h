// Core records: the layout facts every subsystem leans on, pinned at compile
// time, and the small helpers that read them (node kinds, named RenderFlags
// and ViewportWord bits, the overlapping fourth material slot).
//
// The records themselves are public and live in span3d.h; a host mirrors them
// field for field, so any change of order, width or padding is an interface
// break. The asserts below stop such a change at compile time. Absolute
// offsets are pinned for LP64 targets (8-byte pointers, natural alignment);
// the relations between fields hold on every target.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <type_traits>

#include "span3d.h"

namespace span3d {

// ---------------------------------------------------------------- node kinds
// Only the low six bits of Kind name the kind; the upper bits carry nothing
// and every test masks them off first. Kind 0 is not a node: every kind test
// fails on it.
inline constexpr uint32_t KindMask         = SPAN3D_KIND_MASK;
inline constexpr uint32_t KindMesh         = SPAN3D_KIND_MESH;
inline constexpr uint32_t KindMeshVariant  = SPAN3D_KIND_MESH_VARIANT;
inline constexpr uint32_t KindCamera       = SPAN3D_KIND_CAMERA;
inline constexpr uint32_t KindCameraTarget = SPAN3D_KIND_CAMERA_TARGET;
inline constexpr uint32_t KindLight        = SPAN3D_KIND_LIGHT;
inline constexpr uint32_t KindLightTarget  = SPAN3D_KIND_LIGHT_TARGET;

// The kind of a node: its Kind word and 63.
inline uint32_t NodeKind(const Node* node) { return node->Kind & KindMask; }

// Most mesh checks take the host-made variant (2) as a mesh; a few take only
// kind 1. Callers pick the test that their operation needs.
inline bool IsAnyMeshKind(uint32_t kind)
{
    const uint32_t k = kind & KindMask;
    return k == KindMesh || k == KindMeshVariant;
}
inline bool IsPlainMeshKind(uint32_t kind) { return (kind & KindMask) == KindMesh; }

// ---------------------------------------------------------------- RenderFlags
// One layout for a mesh's RenderFlags, a material's MaterialFlags and a
// polygon's Flags; rendering takes the AND of the three, so a bit is on only
// where all three let it through.
inline constexpr uint32_t ShadeMask      = SPAN3D_SHADE_MASK;
inline constexpr uint32_t CullMask       = SPAN3D_CULL_MASK;
inline constexpr uint32_t BlendBit       = SPAN3D_BLEND_BIT;
inline constexpr uint32_t BackFaceBit    = SPAN3D_BACK_FACE_BIT;
inline constexpr uint32_t ColorOpBit     = SPAN3D_COLOR_OP_BIT;
inline constexpr uint32_t EdgeMask       = SPAN3D_EDGE_MASK;
inline constexpr uint32_t SmoothGroup    = SPAN3D_SMOOTH_GROUP_MASK;
inline constexpr uint32_t RenderModeMask = SPAN3D_RENDER_MODE_MASK;
inline constexpr uint32_t StageBits      = SPAN3D_STAGE_MASK;

// Mesh-only bits 13 to 17. Bit 13 is never set by the library but is tested
// with "hidden" (14) and "bounds out" (17) in the hierarchy walks. These share
// positions with a polygon's SmoothGroup (bits 12-16); the two uses never meet
// because a mesh word and a polygon word are only ANDed under the masks below.
inline constexpr uint32_t MeshBit13      = 0x2000u;
inline constexpr uint32_t MeshSkipMask   = MeshBit13 | SPAN3D_MESH_HIDDEN | SPAN3D_MESH_BOUNDS_OUT;  // 0x26000

// The only masks under which the three words are ever ANDed together.
inline constexpr uint32_t CombineBlendMask = BlendBit;                                  // 0x40
inline constexpr uint32_t CombineModeMask  = RenderModeMask | StageBits;                 // 0x7f00000
inline constexpr uint32_t CombineDrawMask  = CombineModeMask | BlendBit | ShadeMask;     // 0x7f00047
static_assert(MeshSkipMask == 0x26000u && CombineModeMask == 0x7f00000u && CombineDrawMask == 0x7f00047u);

// ---------------------------------------------------------------- viewport word
inline constexpr uint32_t ViewportTypeMask   = SPAN3D_VIEWPORT_TYPE_MASK;
inline constexpr uint32_t ViewportCreatedBit = SPAN3D_VIEWPORT_CREATED;
inline constexpr uint32_t ViewportDepthBits  = SPAN3D_VIEWPORT_DEPTH | SPAN3D_VIEWPORT_DEPTH_ALT;  // set and cleared together
inline constexpr uint32_t ViewportOwnsPixels = SPAN3D_VIEWPORT_OWNS_PIXELS;
inline constexpr uint32_t ViewportEnabled    = SPAN3D_VIEWPORT_ENABLED;

// Bit 3 alone decides the depth-tested path; bit 4 only follows it.
inline bool ViewportHasDepth(const Viewport* v) { return (v->ViewportWord & SPAN3D_VIEWPORT_DEPTH) != 0; }
inline bool ViewportIsEnabled(const Viewport* v) { return (v->ViewportWord & ViewportEnabled) != 0; }

// ---------------------------------------------------------------- material slots
// A Material has room for three whole TextureSlot records. The fourth slot,
// taken at the same stride, lies over ColorOp, Name and SlotTail: writing it
// overwrites the colour operation and the name, and a later name change
// writes into the slot. It stops at KeepWord, so the keep word and every field
// after the material (in a Mesh, ScenePrev) are never touched.
//
// Because slot 3 is read and written over fields of other types, every slot
// access goes through TextureSlotView, the same layout marked may_alias: the
// compiler then orders a slot write against a later read of ColorOp or Name
// (and the reverse) as written, even after inlining.
struct __attribute__((__may_alias__)) TextureSlotView {
    uint32_t Mode;          // bits 0-2 mode, bit 1 live, bits 4-5 texture mode, bit 30 power-of-two sizes
    Pixel15* Pixels;        // first texel
    int32_t  Width;         // texels
    int32_t  Height;        // texels
    int32_t  ShiftOrPitch;  // log2(Width) with bit 30 of Mode, else the pitch in texels
    struct Texture* Texture;  // borrowed
    uint32_t Reserved;
};

// Slot `index` (0..3) of a material, at the same stride for all four.
inline TextureSlotView* MaterialSlotView(Material* material, int32_t index)
{
    return reinterpret_cast<TextureSlotView*>(reinterpret_cast<char*>(material) + offsetof(Material, Slot) +
                                              static_cast<size_t>(index) * sizeof(TextureSlot));
}
inline const TextureSlotView* MaterialSlotView(const Material* material, int32_t index)
{
    return reinterpret_cast<const TextureSlotView*>(reinterpret_cast<const char*>(material) +
                                                    offsetof(Material, Slot) +
                                                    static_cast<size_t>(index) * sizeof(TextureSlot));
}

}  // namespace span3d

// ================================================================ layout pins
// Relations that hold on every target.
namespace span3d::layout_checks {

template <class T> inline constexpr bool Plain = std::is_standard_layout_v<T> && std::is_trivially_copyable_v<T>;
static_assert(Plain<Node> && Plain<Mesh> && Plain<MeshVertex> && Plain<MeshPolygon> && Plain<DrawItem> &&
              Plain<TextureSlot> && Plain<TextureSlotView> && Plain<Material> && Plain<Texture> &&
              Plain<Camera> && Plain<Viewport>, "records are plain C structures");

// Mesh, Camera (and Light) share the Node head, so code may treat one as the
// other through a Node pointer; the aim-point node follows the camera's head.
static_assert(offsetof(Mesh, Head) == 0 && offsetof(Camera, Head) == 0);
static_assert(offsetof(Camera, TargetNode) == sizeof(Node));

// Rasterizers read mesh vertices in place as RasterVertex.
static_assert(std::is_same_v<RasterVertex, MeshVertex>);
static_assert(sizeof(MeshVertex) == 40);
static_assert(offsetof(MeshVertex, ModelPosition) == 4 && offsetof(MeshVertex, ViewPosition) == 16 &&
              offsetof(MeshVertex, ScreenPosition) == 28);
static_assert(sizeof(CornerCoords) == 16 && sizeof(Vector3) == 12 && sizeof(Matrix34) == 48);

// The fourth texture slot: it begins exactly at ColorOp, covers Name and
// SlotTail, and ends exactly at KeepWord, which it never reaches.
inline constexpr size_t Slot3 = offsetof(Material, Slot) + 3 * sizeof(TextureSlot);
static_assert(Slot3 == offsetof(Material, ColorOp));
static_assert(offsetof(Material, Name) == offsetof(Material, ColorOp) + sizeof(uint16_t));
static_assert(offsetof(Material, Name) + sizeof(Material::Name) == offsetof(Material, SlotTail));
static_assert(Slot3 + sizeof(TextureSlot) == offsetof(Material, KeepWord));
static_assert(Slot3 % alignof(TextureSlot) == 0, "slot 3 is aligned like the others");
// KeepWord is the last word: only the record's trailing padding follows it.
static_assert(sizeof(Material) - (offsetof(Material, KeepWord) + sizeof(uint32_t)) < alignof(Material));
// ColorOp and the first name bytes make up the fourth slot's Mode word.
static_assert(offsetof(TextureSlot, Mode) == 0);

// The overlay view of a slot has exactly the record's layout.
static_assert(sizeof(TextureSlotView) == sizeof(TextureSlot) && alignof(TextureSlotView) == alignof(TextureSlot));
static_assert(offsetof(TextureSlotView, Mode) == offsetof(TextureSlot, Mode) &&
              offsetof(TextureSlotView, Pixels) == offsetof(TextureSlot, Pixels) &&
              offsetof(TextureSlotView, Width) == offsetof(TextureSlot, Width) &&
              offsetof(TextureSlotView, Height) == offsetof(TextureSlot, Height) &&
              offsetof(TextureSlotView, ShiftOrPitch) == offsetof(TextureSlot, ShiftOrPitch) &&
              offsetof(TextureSlotView, Texture) == offsetof(TextureSlot, Texture) &&
              offsetof(TextureSlotView, Reserved) == offsetof(TextureSlot, Reserved));

// GetViewportScissor copies the four scissor floats as one 16-byte run.
static_assert(offsetof(Viewport, ScissorMaxX) == offsetof(Viewport, ScissorMinX) + 4 &&
              offsetof(Viewport, ScissorMinY) == offsetof(Viewport, ScissorMinX) + 8 &&
              offsetof(Viewport, ScissorMaxY) == offsetof(Viewport, ScissorMinX) + 12);

// Fixed-mesh block: the arrays that follow the record stay naturally aligned.
static_assert(sizeof(Mesh) % 8 == 0 && sizeof(MeshVertex) % 8 == 0 && sizeof(MeshPolygon) % 8 == 0);

}  // namespace span3d::layout_checks

// Absolute layout on LP64 targets: 8-byte pointers, natural alignment, no
// packing. A host mirroring the records in another language relies on these.
#if UINTPTR_MAX == 0xFFFFFFFFFFFFFFFFu
namespace span3d::layout_checks {

#define SPAN3D_PIN(rec, field, off) static_assert(offsetof(rec, field) == (off), #rec "." #field)

static_assert(sizeof(Node) == 32);
SPAN3D_PIN(Node, Kind, 0);  SPAN3D_PIN(Node, Parent, 8);  SPAN3D_PIN(Node, Children, 16);
SPAN3D_PIN(Node, ChildCount, 24);

static_assert(sizeof(MeshPolygon) == 128);
SPAN3D_PIN(MeshPolygon, Flags, 0);          SPAN3D_PIN(MeshPolygon, Normal, 4);
SPAN3D_PIN(MeshPolygon, PlaneD, 16);        SPAN3D_PIN(MeshPolygon, Corner, 20);
SPAN3D_PIN(MeshPolygon, NormalIndex, 32);   SPAN3D_PIN(MeshPolygon, CornerMap, 44);
SPAN3D_PIN(MeshPolygon, FrontMaterial, 96); SPAN3D_PIN(MeshPolygon, BackMaterial, 104);
SPAN3D_PIN(MeshPolygon, CornerColour, 112);

static_assert(sizeof(DrawItem) == 32);
SPAN3D_PIN(DrawItem, SortKey, 0);  SPAN3D_PIN(DrawItem, Mesh, 8);  SPAN3D_PIN(DrawItem, Polygon, 16);
SPAN3D_PIN(DrawItem, Flags, 24);

static_assert(sizeof(TextureSlot) == 48);
SPAN3D_PIN(TextureSlot, Mode, 0);          SPAN3D_PIN(TextureSlot, Pixels, 8);
SPAN3D_PIN(TextureSlot, Width, 16);        SPAN3D_PIN(TextureSlot, Height, 20);
SPAN3D_PIN(TextureSlot, ShiftOrPitch, 24); SPAN3D_PIN(TextureSlot, Texture, 32);
SPAN3D_PIN(TextureSlot, Reserved, 40);

static_assert(sizeof(Material) == 280);
SPAN3D_PIN(Material, MaterialFlags, 0);   SPAN3D_PIN(Material, AmbientColour, 4);
SPAN3D_PIN(Material, DiffuseColour, 20);  SPAN3D_PIN(Material, EmissiveColour, 36);
SPAN3D_PIN(Material, AlphaLevel, 52);     SPAN3D_PIN(Material, AlphaMode, 54);
SPAN3D_PIN(Material, ScenePrev, 56);      SPAN3D_PIN(Material, SceneNext, 64);
SPAN3D_PIN(Material, Reserved, 72);       SPAN3D_PIN(Material, Slot, 80);
SPAN3D_PIN(Material, ColorOp, 224);       SPAN3D_PIN(Material, Name, 226);
SPAN3D_PIN(Material, SlotTail, 256);      SPAN3D_PIN(Material, KeepWord, 272);

static_assert(sizeof(Texture) == 104);
SPAN3D_PIN(Texture, Reserved0, 0);   SPAN3D_PIN(Texture, Pixels, 32);
SPAN3D_PIN(Texture, Reserved1, 40);  SPAN3D_PIN(Texture, ImageWidth, 48);
SPAN3D_PIN(Texture, ImageHeight, 52); SPAN3D_PIN(Texture, PitchBytes, 56);
SPAN3D_PIN(Texture, Reserved2, 60);  SPAN3D_PIN(Texture, LiveOffset, 76);
SPAN3D_PIN(Texture, Width, 80);      SPAN3D_PIN(Texture, Height, 84);
SPAN3D_PIN(Texture, Reserved3, 88);

static_assert(sizeof(Mesh) == 704);
SPAN3D_PIN(Mesh, Form, 32);              SPAN3D_PIN(Mesh, RenderFlags, 36);
SPAN3D_PIN(Mesh, BillboardMode, 40);     SPAN3D_PIN(Mesh, VertexCount, 44);
SPAN3D_PIN(Mesh, VertexNormalCount, 48); SPAN3D_PIN(Mesh, PolygonCount, 52);
SPAN3D_PIN(Mesh, SortCapacity, 56);      SPAN3D_PIN(Mesh, DrawItemCount, 60);
SPAN3D_PIN(Mesh, Vertices, 64);          SPAN3D_PIN(Mesh, VertexNormals, 72);
SPAN3D_PIN(Mesh, Polygons, 80);          SPAN3D_PIN(Mesh, VertexDoneBits, 88);
SPAN3D_PIN(Mesh, SortIndices, 96);       SPAN3D_PIN(Mesh, DrawItems, 104);
SPAN3D_PIN(Mesh, Skeleton, 112);         SPAN3D_PIN(Mesh, VertexInfluences, 120);
SPAN3D_PIN(Mesh, Pivot, 128);            SPAN3D_PIN(Mesh, ModelMatrix, 140);
SPAN3D_PIN(Mesh, AnimMatrix, 188);       SPAN3D_PIN(Mesh, WorldMatrix, 236);
SPAN3D_PIN(Mesh, ViewMatrix, 284);       SPAN3D_PIN(Mesh, BoundsMesh, 336);
SPAN3D_PIN(Mesh, LightList, 344);        SPAN3D_PIN(Mesh, DefaultMaterial, 352);
SPAN3D_PIN(Mesh, ScenePrev, 632);        SPAN3D_PIN(Mesh, SceneNext, 640);
SPAN3D_PIN(Mesh, Name, 648);             SPAN3D_PIN(Mesh, Viewport, 680);
SPAN3D_PIN(Mesh, Scene, 688);            SPAN3D_PIN(Mesh, TvObject, 696);

static_assert(sizeof(Camera) == 256);
SPAN3D_PIN(Camera, State, 64);          SPAN3D_PIN(Camera, Position, 68);
SPAN3D_PIN(Camera, WorldPosition, 80);  SPAN3D_PIN(Camera, Target, 92);
SPAN3D_PIN(Camera, WorldTarget, 104);   SPAN3D_PIN(Camera, Direction, 116);
SPAN3D_PIN(Camera, Roll, 128);          SPAN3D_PIN(Camera, Fov, 132);
SPAN3D_PIN(Camera, Focale, 136);        SPAN3D_PIN(Camera, Near, 140);
SPAN3D_PIN(Camera, Far, 144);           SPAN3D_PIN(Camera, ViewMatrix, 148);
SPAN3D_PIN(Camera, ScenePrev, 200);     SPAN3D_PIN(Camera, SceneNext, 208);
SPAN3D_PIN(Camera, Name, 216);          SPAN3D_PIN(Camera, KeepWord, 248);

static_assert(sizeof(Viewport) == 88);
SPAN3D_PIN(Viewport, ViewportWord, 0);  SPAN3D_PIN(Viewport, Width, 4);
SPAN3D_PIN(Viewport, Height, 8);        SPAN3D_PIN(Viewport, CentreX, 12);
SPAN3D_PIN(Viewport, CentreY, 16);      SPAN3D_PIN(Viewport, ScissorMinX, 20);
SPAN3D_PIN(Viewport, ScissorMaxX, 24);  SPAN3D_PIN(Viewport, ScissorMinY, 28);
SPAN3D_PIN(Viewport, ScissorMaxY, 32);  SPAN3D_PIN(Viewport, ScaleY, 36);
SPAN3D_PIN(Viewport, AspectTerm, 40);   SPAN3D_PIN(Viewport, Pixels, 48);
SPAN3D_PIN(Viewport, DepthBuffer, 56);  SPAN3D_PIN(Viewport, PostMaterial, 64);
SPAN3D_PIN(Viewport, PixelPitch, 72);   SPAN3D_PIN(Viewport, Camera, 80);

#undef SPAN3D_PIN

}  // namespace span3d::layout_checks
#endif
