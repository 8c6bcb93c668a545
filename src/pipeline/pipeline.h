// Geometry pipeline: what the files of src/pipeline share with each other and
// with the rest of the engine. The exported pipeline functions are declared in
// include/span3d.h; this header holds the internal routines and the
// module-wide state records, one section per family.
//
// All state here is module-wide and single-threaded: one frame, one sort, one
// mesh rebuild at a time.
#pragma once

#include <stdint.h>

#include "span3d.h"

namespace span3d {

// ================================================================ radix sort
// (owned by pipeline/radix_sort.cpp)

// How the last byte pass reads the top byte of a key.
enum class RadixKeyKind : uint32_t {
    Unsigned = 0,  // plain 32-bit unsigned order
    Signed   = 1,  // two's complement; only correct without negatives (see RadixLongSorter)
    Float    = 2,  // IEEE single: negatives reversed, -0.0 just below +0.0
};

// The sort's tables and scratch buffer. Only the histograms are cleared
// between sorts; the scratch survives and never shrinks, so the steady state
// allocates nothing. All counts and positions are plain integers.
struct RadixSortState {
    uint32_t     Histograms[4][256];  // count of each byte value at byte 0 (least significant) to 3
    uint32_t     Offsets[256];        // next write position per byte value in the current pass
    uint32_t     Negatives;           // keys whose top byte is 128 or more (float and signed sorts)
    uint32_t*    Scratch;             // the sort's own index buffer, from AllocateMemory, or null
    int32_t      ScratchSize;         // capacity of Scratch in entries; only grows
    RadixKeyKind Mode;                // key kind of the last sort
    uint32_t     PassCount;           // byte passes the last sort ran, 0 to 4 (skipped ones not counted)
    uint32_t     SortedEarly;         // 1 when the last sort found its input in order after the first sweep
};
extern RadixSortState g_RadixSort;

// Sorts count draw items by SortKey (a float, ascending) into indices, which
// it first fills with 0 to count - 1 itself. Always sorts: there is no early
// exit for keys already in order, unlike RadixFloatSorter. Equal keys keep
// emission order, except equal negative keys when the top-byte pass runs:
// that pass fills negative buckets from the top and reverses them.
void SortDrawItems(uint32_t count, DrawItem* items, uint32_t* indices);

}  // namespace span3d

// ================================================================ lighting
// (owned by pipeline/lighting.cpp)
//
// Lights are moved into the model space of the mesh being drawn once per mesh
// (PrepareLights); after that, each polygon is lit by calling one evaluator
// per switched-on light out of a table of 32 indexed by State & 31. Colours of
// lights are on 0..1, those of materials on 0..255; the sums below are light
// levels on 0 and up, unclamped, and only the final colour is clamped.
namespace span3d {

// One light evaluator: adds the light's share at the sample of g_Lighting to
// the three sums there. The light's LocalPosition and LocalDirection must be
// those that PrepareLights left (or older ones: see PrepareLights).
using LightFunction = void (*)(const Light* light);

// The evaluator tables are indexed by Light::State & 31.
constexpr int32_t kLightTableSize = 32;
constexpr uint32_t kLightKindMask = 31u;

// Module-wide state of one lighting call.
struct LightingState {
    float          LightSumRed;    // sum of intensity x light red, 0 and up, unclamped
    float          LightSumGreen;  // likewise, green
    float          LightSumBlue;   // likewise, blue
    const Vector3* SamplePoint;    // P: model position of the MeshVertex being lit
    const Vector3* SampleNormal;   // N: polygon Normal (faces) or a VertexNormals entry (corners)
    float          SamplePlaneD;   // PlaneD of the polygon, read by the plane-limited face evaluators
};
extern LightingState g_Lighting;

// The four tables: what is lit (the polygon's face at corner 0, or each
// corner with its vertex normal) by the side the camera sees (BackFaceBit of
// the polygon's Flags), each Entry[State & 31]. Every entry is a function;
// kinds without an evaluator hold LightNothing.
struct LightTable {
    LightFunction Entry[kLightTableSize];
};
extern const LightTable FaceFront;
extern const LightTable FaceBack;
extern const LightTable CornerFront;
extern const LightTable CornerBack;

// The evaluators the tables hold. Front means the face whose normal points
// away from the viewer (the engine's front side); Back the other.
void LightNothing(const Light* light);
void OmniFaceFront(const Light* light);          // kinds 2, 18
void OmniFaceBack(const Light* light);
void OmniCornerFront(const Light* light);
void OmniCornerBack(const Light* light);
void OmniFadeFaceFront(const Light* light);      // kinds 3, 19
void OmniFadeFaceBack(const Light* light);
void OmniFadeCornerFront(const Light* light);
void OmniFadeCornerBack(const Light* light);
void DirectFaceFront(const Light* light);        // kinds 4, 5
void DirectFaceBack(const Light* light);
void DirectCornerFront(const Light* light);
void DirectCornerBack(const Light* light);
void DirectPlaneFaceFront(const Light* light);   // kinds 20, 21
void DirectPlaneFaceBack(const Light* light);
void DirectPlaneCornerFront(const Light* light);
void DirectPlaneCornerBack(const Light* light);

// Per mesh: for each switched-on light of the mesh's LightList, brings its
// transformed position (and, for a direct light, its direction towards the
// transformed target) into the mesh's model space. Only kinds 2, 3, 19 (the
// position) and 4, 20 (position and direction) are prepared; every other kind
// keeps the local vectors of whichever mesh last prepared it.
void PrepareLights(Mesh* mesh);

// The polygon shaders emission calls. `flags` are the polygon's effective
// flags: only the stage bits 0x7800000 (and, in ShadeNoLights, the shade mode)
// are read. The side lit is BackFaceBit of polygon->Flags.
//
// ShadeNoLights: the mesh has no lights; the camera serves as one through
// viewCosine. Writes one Pixel15 into all three CornerColour words.
void ShadeNoLights(Mesh* mesh, MeshPolygon* polygon, float viewCosine, uint32_t flags,
                   Material* material);
// ShadeFlat: one sample at corner 0 with the polygon's Normal; writes a
// Pixel15 into CornerColour[0] only. viewCosine is not read.
void ShadeFlat(Mesh* mesh, MeshPolygon* polygon, float viewCosine, uint32_t flags,
               Material* material);
// ShadeGouraud: one sample per corner with that corner's vertex normal;
// writes 8-bit channels (red 16-23, green 8-15, blue 0-7) into each
// CornerColour. viewCosine is not read.
void ShadeGouraud(Mesh* mesh, MeshPolygon* polygon, float viewCosine, uint32_t flags,
                  Material* material);

}  // namespace span3d

// ================================================================ environment coordinates
// (owned by pipeline/envmap.cpp)
namespace span3d {

// Writes envU and envV of the polygon's three CornerMap records: each corner's
// vertex normal plus the mesh's Pivot, turned by the rotation rows 0 and 1 of
// the mesh's ViewMatrix (no translation). Values lie in -1..1 for a rigid
// ViewMatrix, a unit normal and a zero pivot. Needs VertexNormals and the
// ViewMatrix of the frame under way.
void ComputeEnvironmentCoords(Mesh* mesh, MeshPolygon* polygon);

}  // namespace span3d

// ================================================================ transforms, bounds and visibility
// (owned by pipeline/transforms.cpp and pipeline/visibility.cpp)
//
// The per-frame matrices. World matrices come from each mesh's ModelMatrix
// and AnimMatrix and, below a mesh parent, from the parent's movement away
// from its rest position: children are kept in the same absolute space as
// their parent. The camera's ViewMatrix holds the world-to-camera rotation
// (row 2 is the view direction, view z grows away from the camera) and the
// camera's world position as its translation; a mesh's ViewMatrix is
// MatrixToCameraSpace(WorldMatrix, camera->ViewMatrix). The view update ends
// with the bounds test, which sets SPAN3D_MESH_BOUNDS_OUT (0x20000: skip the
// mesh) and SPAN3D_MESH_BOUNDS_CUT (0x80000: its vertices need the near/far
// test). The view routines read g_Frame.CurrentCamera; the bounds test also
// reads g_Frame.CurrentViewport and the clip fields, so SetFrameClip must
// have run.
namespace span3d {

// BillboardMode: the low five bits pick the transform of a Form 3 mesh.
constexpr uint32_t kBillboardModeMask = 0x1fu;
constexpr uint32_t kBillboardFace     = 1u;   // faces the camera fully
constexpr uint32_t kBillboardKeepX    = 4u;   // keeps column 0 of the rotation
constexpr uint32_t kBillboardKeepY    = 8u;   // keeps column 1
constexpr uint32_t kBillboardKeepZ    = 16u;  // keeps column 2

// Corners of a BoundsMesh that the bounds test projects.
constexpr int32_t kBoundsCornerCount = 8;

// Clears the bounds bits 0x80000 and 0x20000 of the mesh, then WorldMatrix =
// AnimMatrix rotation x ModelMatrix rotation, translation Model + Anim.
void UpdateMeshWorldMatrix(Mesh* mesh);
// One node and everything below it, parents before children, children in
// array order. Meshes (kind 1, 2) take their world matrix; under a mesh
// parent a mesh's rotation is preceded by the parent's world rotation and its
// translation, a camera's or light's WorldPosition and a target node's
// WorldTarget are (value - parent model translation) through the parent's
// WorldMatrix. Cameras and lights elsewhere keep the transformed values that
// the frame driver copied in.
void UpdateNodeHierarchy(Node* node);
// Each mesh of the scene list: UpdateNodeHierarchy if it has children, else
// UpdateMeshWorldMatrix.
void UpdateSceneHierarchy(Scene* scene);
// Direction = normalised WorldTarget - WorldPosition; ViewMatrix = Rz(Roll) x
// the aim rotation (a quarter turn about x when the direction is exactly
// straight up or down), translation WorldPosition.
void UpdateCameraMatrix(Camera* camera);
// Billboard modes 1, 4, 8, 16 on ViewMatrix and WorldMatrix; other modes do
// nothing.
void ApplyBillboard(Mesh* mesh);
// ViewMatrix = MatrixToCameraSpace(WorldMatrix, camera->ViewMatrix).
void UpdateMeshViewMatrix(Mesh* mesh, const Camera* camera);
// The view matrix of a mesh drawn as a leaf: Form 1 plainly, Form 3 with
// ApplyBillboard, any other Form keeps its ViewMatrix. No bounds test.
void UpdateLeafViewMatrix(Mesh* mesh, const Camera* camera);
// Per frame, for each mesh of the scene list: clears its and its box's bounds
// bits, computes its ViewMatrix (leaves by UpdateLeafViewMatrix; a mesh with
// children plainly, its children through UpdateNodeViewMatrix), copies World
// and View into the box and runs TestMeshBounds. A mesh without a box is
// marked 0x80000 and not tested.
void UpdateSceneViewMatrices(Scene* scene);
// A node below a top mesh: meshes (kind 1, 2) take their ViewMatrix, copy it
// to the box and are tested, then the children. No billboards and no flag
// clearing on this road.
void UpdateNodeViewMatrix(Node* node);
// The box test of one mesh through its ViewMatrix (the BoundsMesh's corners
// plus the mesh's Pivot). Writes each corner's view z, and view x, y and
// screen x, y, 1/z for corners between near and far; sets 0x80000 on mesh
// and box for any corner on or before near or beyond far, and 0x20000 on the
// mesh when all eight codes share a bit (near 0x10, far 0x20, or one scissor
// side). Corner Outcode words are not written. Needs a BoundsMesh.
void TestMeshBounds(Mesh* mesh);

}  // namespace span3d

// ================================================================ polygon clipper
// (owned by pipeline/clipper.cpp)
//
// Every DrawItem reaches its triangle function through ClipAndDrawPolygon. A
// polygon wholly inside goes straight on with its mesh's own vertices; one
// that crosses near or far is cut in view space, one that crosses the scissor
// in screen space (Sutherland-Hodgman, one plane per pass), and the result is
// drawn as a fan around its first vertex. The clipper also turns texture
// coordinates into what the textured rasterizers read: scaled to texels
// (width - 1, height - 1) and multiplied by the corner's 1/z.
//
// Comparisons with a bound subtract in single precision and test the bits of
// the difference: "below" is a pattern above 0x80000000 (so -0.0 is not
// below), "above" a positive pattern above 0. Interpolations are carried in
// double and rounded to float where a ClipVertex field is stored.
namespace span3d {

struct TextureSlotView;

// One vertex of a polygon being cut. Which fields hold anything depends on
// the polygon's interpolator row: TexCoord only for textured polygons,
// Colour only for Gouraud ones.
struct ClipVertex {
    uint32_t Outcode;         // SPAN3D_OUT_* bits, as on MeshVertex
    Vector3  ViewPosition;    // view x, y, z; left unset by the screen passes
    Vector3  ScreenPosition;  // screen x, y (pixels, fractional) and 1/z
    float    TexCoord[2];     // u, v: as stored before the near/far pass, scaled and
                              // multiplied by 1/z in the screen passes
    float    Colour[3];       // red, green, blue on 0..255 (Gouraud only), not
                              // divided by depth
};

// Fills the output record at g_Clip.ClipOutCursor with the crossing of the
// edge (from, to) and the current plane, from and to in the direction of the
// walk. The record's Outcode was set by ClipEdge; the interpolator
// reclassifies the coordinates it wrote.
using ClipInterpolator = void (*)(ClipVertex* from, ClipVertex* to);

// Rows of ClipInterpolators: bit 0 textured (any stage bit 0x7800000 in the
// flags), bit 1 Gouraud (shade mode 7). Columns: the plane's axis.
constexpr int32_t kClipRowCount     = 4;
constexpr int32_t kClipColumnX      = 0;  // x = bound (scissor left, right)
constexpr int32_t kClipColumnY      = 1;  // y = bound (scissor top, bottom)
constexpr int32_t kClipColumnZ      = 2;  // view z = bound (near, far)
constexpr int32_t kClipColumnCount  = 3;
// A triangle gains at most one vertex per plane (six planes), so nine is the
// most that can exist; the buffers are not bound-checked.
constexpr int32_t kClipBufferLength = 16;

extern const ClipInterpolator ClipInterpolators[kClipRowCount][kClipColumnCount];

// The clipper's module-wide state, owned by pipeline/clipper.cpp. All of it is
// set again for each polygon, except TexScaleU, TexScaleV, TexWrap and
// TexSlot, which keep their last values for the 2D drawers.
struct ClipperState {
    ClipVertex ClipInput[kClipBufferLength];         // input of every pass
    ClipVertex ClipScreenOutput[kClipBufferLength];  // output of a scissor pass
    ClipVertex ClipDepthOutput[kClipBufferLength];   // output of the near/far pass
    RasterVertex FanVertices[3];  // one fan triangle; only ScreenPosition is written

    uint32_t ClipFlags;           // the DrawItem's effective flags
    uint32_t ClipUnion;           // OR of the polygon's outcodes
    uint32_t ClipIntersection;    // AND of the polygon's outcodes
    TriangleRasterizer ClipRaster;      // the rasterizer of this polygon
    MeshVertex* ClipMeshVertices;       // the vertices of the polygon's mesh
    float ClipBound;                    // coordinate of the current plane
    uint32_t ClipPlaneBit;              // outcode bit of the current plane
    ClipInterpolator ClipInterpolate;   // interpolator of the current pass
    const ClipInterpolator* ClipRow;    // row of ClipInterpolators in use
    ClipVertex* ClipOutCursor;          // where the current pass writes next
    int32_t ClipOutCount;               // records the current pass has written
    int32_t ClipVertexCount;            // records in ClipInput
    float ClipInverseBound;             // 1 / ClipBound in a near/far pass
    float ClipProjectX;                 // ClipInverseBound * camera Focale
    float ClipProjectY;                 // ClipProjectX * viewport ScaleY
    float TexScaleU;                    // texture width - 1 (texels)
    float TexScaleV;                    // texture height - 1 (texels)
    int32_t TexWrap;                    // 1: the slot's sizes are powers of two (bit 30
                                        // of its Mode), coordinates wrap; 0: clamped to 0..1
    const TextureSlotView* TexSlot;     // the slot of the last scale set-up, or null
};
extern ClipperState g_Clip;

// Draws one item through `raster`: rejects it when all three corners share an
// outcode bit, hands dots and wire polygons on unclipped, else scales texture
// coordinates into a working copy of the polygon and draws it whole or cut.
// Reads g_Frame: CurrentViewport, CurrentCamera and the clip fields.
void ClipAndDrawPolygon(DrawItem* item, TriangleRasterizer raster);

// One edge against the current plane (ClipPlaneBit, ClipBound,
// ClipInterpolate), appending 0, 1 or 2 records at ClipOutCursor. A crossing
// on a leaving edge that lands exactly on `from`'s screen point is dropped.
void ClipEdge(ClipVertex* from, ClipVertex* to);

// The four scissor passes over ClipInput and ClipVertexCount, each run only
// when ClipUnion has its bit: left, right, top, bottom. Uses ClipRow.
void ClipPolygonToScissor();

// After a near/far pass with ClipDepthOutput filled (ClipOutCount records):
// scales texture coordinates, cuts against the scissor if needed, and draws
// the fan.
void DrawClippedFan(MeshPolygon* polygon);

// Texture coordinates to texels times 1/z, with TexScaleU, TexScaleV and
// TexWrap. Planar reads (u, v); with TexWrap 0 each is clamped to 0..1 first
// (-0.0 counts as zero, not as negative). Environment reads (envU, envV) in
// -1..1 and never clamps.
void ScaleTexCoordPlanar(float out[2], const float in[2], float inverseZ);
void ScaleTexCoordEnvironment(float out[2], const float in[2], float inverseZ);

// A Gouraud corner colour (red 16-23, green 8-15, blue 0-7) as three exact
// floats.
void UnpackCornerColour(float out[3], uint32_t colour);

// ClipVertex loaders: Outcode, ViewPosition and ScreenPosition from a mesh
// vertex; the textured form adds TexCoord, the shaded form adds Colour.
void LoadClipVertex(ClipVertex* out, const MeshVertex* vertex);
void LoadClipVertexTextured(ClipVertex* out, const MeshVertex* vertex, const float texCoord[2]);
void LoadClipVertexShaded(ClipVertex* out, const MeshVertex* vertex, uint32_t colour);
void CopyClipVertex(ClipVertex* out, const ClipVertex* from);

// The twelve interpolators of ClipInterpolators, by row and column.
void CutXPlain(ClipVertex* from, ClipVertex* to);
void CutYPlain(ClipVertex* from, ClipVertex* to);
void CutZPlain(ClipVertex* from, ClipVertex* to);
void CutXTextured(ClipVertex* from, ClipVertex* to);
void CutYTextured(ClipVertex* from, ClipVertex* to);
void CutZTextured(ClipVertex* from, ClipVertex* to);
void CutXShaded(ClipVertex* from, ClipVertex* to);
void CutYShaded(ClipVertex* from, ClipVertex* to);
void CutZShaded(ClipVertex* from, ClipVertex* to);
void CutXTexturedShaded(ClipVertex* from, ClipVertex* to);
void CutYTexturedShaded(ClipVertex* from, ClipVertex* to);
void CutZTexturedShaded(ClipVertex* from, ClipVertex* to);

}  // namespace span3d

// ================================================================ vertex processing and emission
// (owned by pipeline/vertex.cpp and pipeline/emission.cpp)
//
// Emission walks one mesh's polygons in array order: cull by the side the
// camera sees, transform and project the corners on first use (a vertex is
// done at most once per mesh and frame, tracked by the mesh's
// VertexDoneBits), reject when all three corners lie beyond one plane, light,
// and file a DrawItem in the main or the blend list of g_Frame. The vertex
// transforms read their parameters from g_Transform, which
// PrepareMeshTransform fills once per mesh.
//
// Comparisons with a bound subtract in single precision and read the bits of
// the difference: "greater" is a positive pattern above 0, "less" a pattern
// above 0x80000000, so +0.0 and -0.0 are neither. The values compared are the
// floats that the transforms store; the arithmetic that produces them is
// carried in double and rounded once at each store, exactly as the bounds
// test does, so a box corner and a mesh vertex at the same place agree.
namespace span3d {

// A vertex transform: works on g_Transform.XformVertex and returns its depth
// for the sort key (view units): the true view z, or the near or far distance
// that it was clamped to.
using VertexTransform = float (*)();

// The transforms' module-wide state, owned by pipeline/vertex.cpp.
struct TransformState {
    Matrix34*       XformMatrix;              // the mesh's ViewMatrix
    Vector3*        XformPivot;               // the mesh's Pivot, added to each model position
    float           XformFocale;              // camera Focale, pixels per view unit at z = 1
    float           XformYScale;              // viewport ScaleY (-1: screen y grows downward)
    float           XformCentreX;             // viewport CentreX, pixels
    float           XformCentreY;             // viewport CentreY, pixels
    float           XformNear;                // camera Near, view units
    float           XformFar;                 // camera Far, view units
    VertexTransform TransformVertexFunction;  // TransformVertexFast or TransformVertexClipped
    MeshVertex*     XformVertex;              // the vertex the transform works on
    Vector3         XformPoint;               // scratch: model position + pivot, rounded to float
};
extern TransformState g_Transform;

// Per mesh: fills g_Transform from the mesh, the viewport and the camera,
// picks TransformVertexClipped when the mesh's RenderFlags carry 0x80000 (its
// box crosses near or far) and TransformVertexFast otherwise, and clears all
// of the mesh's VertexDoneBits.
void PrepareMeshTransform(Mesh* mesh, Viewport* viewport, Camera* camera);

// For a mesh whose box lies wholly between near and far: view position,
// projection and scissor bits (0x40 left or else 0x80 right, 0x100 top or
// else 0x200 bottom). A view z of exactly 0 gives an infinite 1/z, untested.
// Returns the view z.
float TransformVertexFast();

// For every other mesh: a vertex on or before the near plane gets Outcode
// 0x10, 1/z = 1/Near and returns Near; one beyond far gets 0x20, 1/z = 1/Far
// and returns Far; both keep their old screen x and y but take the true view
// position. Anything else is projected as by TransformVertexFast.
float TransformVertexClipped();

// Transforms the corners not yet done this frame (in the order given, marking
// each in VertexDoneBits) and returns 1 when the AND of the three Outcode
// words is not 0 (the polygon lies wholly beyond one plane), else 0.
int32_t TransformPolygon(Mesh* mesh, int32_t corner0, int32_t corner1, int32_t corner2);

// As TransformPolygon, and writes item->SortKey: 0 plus, corner by corner,
// the depth that the transform returned or, for a corner already done, its
// stored view z, rounded to float after each addition. A corner beyond near
// or far thus adds its clamped depth when this polygon is the first to reach
// it and its true depth otherwise; that only shifts the order of clipped
// polygons and is accepted.
int32_t TransformPolygonKeyed(Mesh* mesh, int32_t corner0, int32_t corner1, int32_t corner2,
                              DrawItem* item);

// The side of a polygon that the camera sees. S, the camera's signed distance
// from the polygon's plane in model space, not less than 0 means the back:
// normals point away from the viewer of the front face. An edge-on polygon
// (S exactly 0, of either sign) counts as seen from the back.
constexpr uint32_t kSideFront = 0;
constexpr uint32_t kSideBack  = 1;

// The cull table: kCullKeeps[cullMode >> 3][side] is 1 when a polygon seen
// from that side is drawn. Only the three single modes draw anything: 0x08
// both sides, 0x10 back faces only, 0x20 front faces only; 0 and every
// combination of the bits draw nothing. A polygon's cull mode is 0x08 when
// the material consulted has bit 3, else the mesh's RenderFlags & 0x38.
constexpr int32_t kCullModeCount = 8;
constexpr uint8_t kCullKeeps[kCullModeCount][2] = {
    {0, 0},  // 0x00
    {1, 1},  // 0x08 both sides
    {0, 1},  // 0x10 back only
    {0, 0},  // 0x18
    {1, 0},  // 0x20 front only
    {0, 0},  // 0x28
    {0, 0},  // 0x30
    {0, 0},  // 0x38
};

// The eight emission functions, one per drawing mode (Z-buffer or sorted),
// lighting (lit or unlit) and Form (1 ordinary, culled; 3 billboard, never
// culled and always drawn with its FrontMaterial). Each reads g_Frame's
// PolygonCursor (the caller sets it to the mesh's Polygons), leaves it past
// the last polygon and returns the number of items emitted. Z-buffer ones
// file opaque polygons at MainCursor, moving down, and blended ones with a
// key at BlendCursor, moving up, counting both; sorted ones file every
// polygon with a key at MainCursor, moving up, and count nothing in g_Frame.
// The camera is g_Frame.CurrentCamera.
int32_t EmitZLit(Mesh* mesh);
int32_t EmitZUnlit(Mesh* mesh);
int32_t EmitZBillboardLit(Mesh* mesh);
int32_t EmitZBillboardUnlit(Mesh* mesh);
int32_t EmitSortedLit(Mesh* mesh);
int32_t EmitSortedUnlit(Mesh* mesh);
int32_t EmitSortedBillboardLit(Mesh* mesh);
int32_t EmitSortedBillboardUnlit(Mesh* mesh);

// The emission function of Form 2 meshes: returns 0 and touches nothing, not
// even PolygonCursor.
int32_t EmitNothing(Mesh* mesh);

}  // namespace span3d

// ================================================================ frame driver
// (owned by pipeline/frame_driver.cpp)
//
// DrawScene and DrawMesh (exported) fill g_Frame, collect the visible meshes'
// polygons through the emission functions and draw the lists: in Z-buffer
// mode (viewport depth bit set) the main list unsorted and then the blend
// list back to front, both with depth-tested triangle functions; in sorted
// mode the whole list back to front without depth test.
#include "pipeline/frame_state.h"  // EmitFunction, kEmitSlotCount

namespace span3d {

// The two columns that fill g_Frame.EmitSlots, by EmitSlotIndex: Form 1, 2,
// 3 in pairs, unlit (shade mode 1) first. Form 2 holds EmitNothing.
extern const EmitFunction kEmitSlotsZBuffer[kEmitSlotCount];
extern const EmitFunction kEmitSlotsSorted[kEmitSlotCount];

// (Form - 1) * 2, plus 1 unless the mesh's shade mode is 1; -1 for a Form
// outside 1..3, which has no slot and emits nothing.
int32_t EmitSlotIndex(const Mesh* mesh);

// DrawScene's collection, with g_Frame's viewport, camera, clip, cursors and
// EmitSlots set: snapshots camera and lights, updates hierarchy, camera and
// view matrices (with the bounds test), recounts VisibleMeshes and emits each
// mesh not skipped by 0x26000 into the lists, adding to DrawItemCount.
// Returns non-zero when the scene has any slot (TotalPolygons not 0).
int32_t CollectScene(Scene* scene);
// The recursion of CollectScene below a mesh with children: a node that is
// not a plain mesh (kind 1) ends it; a skipped mesh is not emitted, but its
// children are.
void CollectNode(Scene* scene, Node* node);
// DrawMesh's collection in sorted mode: sets MainCursor to the first slot,
// collects the tree (or the single mesh), stores MeshDrawnCount in the
// mesh's DrawItemCount when it is not 0, and returns 1 then, else 0.
int32_t CollectMeshSorted(Mesh* mesh);
// DrawMesh's recursion over a tree: kind 1 meshes only, a skipped mesh
// recurses without emitting; view matrix with billboard for Form 3, the
// near/far-tested transform, and the mode's emission function by Form and
// shade mode, adding to MeshDrawnCount.
void CollectHierarchyZ(Node* node);
void CollectHierarchySorted(Node* node);
// DrawMesh's drawing in Z-buffer mode: the main list from the top slot down
// (emission order), then the sorted blend list back to front.
void DrawMeshItems(Mesh* mesh);

}  // namespace span3d
