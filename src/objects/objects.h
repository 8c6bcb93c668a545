// Object model: what the object families hand each other and what the
// pipeline may use of them. Internal to the library; the exported operations
// are declared in span3d.h. Organised by family; each family's routines live
// in the source named after it (material.cpp, camera.cpp, mesh.cpp, ...).
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "span3d.h"
#include "objects/records/records.h"

namespace span3d {

// ====================================================================== materials

// 1 if v is a power of two (1, 2, 4 ... 0x80000000), else 0; 0 fails.
// The top bit is forced on before the AND so that 0 - 1 cannot pass.
uint32_t IsPowerOfTwo(uint32_t v);

// Exponent of a power of two, found by arithmetic right shifts until the value
// is 0; -1 for 0 and for anything that is not a power of two.
int32_t Log2Exact(uint32_t v);

// Number of slot addresses a material answers to. The record holds three
// whole TextureSlot records; the fourth is taken at the same stride and lies
// over ColorOp, Name and SlotTail (see Material in span3d.h). Slots are
// reached through MaterialSlotView (records.h).
constexpr uint32_t kMaterialSlotCount = 4;

// The StageBits bit that slot 0..3 switches on.
constexpr uint32_t StageBitOfSlot(uint32_t slot) { return SPAN3D_STAGE_DIFFUSE << slot; }

// Fills one slot from a texture. A null texture zeroes Mode, Pixels, Width,
// Height, ShiftOrPitch and Texture (Reserved is left). Otherwise, when both
// sizes are powers of two, Mode = mode | 0x40000000 and ShiftOrPitch =
// log2(Width); else Mode = mode and ShiftOrPitch = PitchBytes >> 1 (texels
// per row). Mode is replaced whole, texture-mode bits 4-5 included.
void FillTextureSlot(TextureSlotView* slot, const Texture* texture, uint32_t mode);

// Material colours are on the scale 0..255 (floats); alpha of a colour that
// SetMaterialColor writes is 255.
constexpr float kMaterialColourMax = 255.0f;

// ====================================================================== cameras

// The head that Camera and Light share field for field, up to Target: one
// body sets Position or Target of either, and one traversal moves both
// through a hierarchy. Both records are checked against it where defined.
struct PlacedNodeHead {
    Node     Head;           // Kind 4 camera, 16 light
    Node     TargetNode;     // Kind 8 or 32: the aim point as a hierarchy member
    uint32_t State;
    Vector3  Position;       // model units, as the host set it
    Vector3  WorldPosition;  // per frame
    Vector3  Target;         // aim point, model units
};

// Writes *value into Position (which == 0) or Target (any other which) of a
// Camera or a Light, and returns the object. The body of SetCameraPosition and
// SetLightPosition.
void* SetPlacedNodePosition(void* object, const Vector3* value, int32_t which);

// Far distance of a new camera, model units.
constexpr float kCameraDefaultFar = 100000000.0f;

// ====================================================================== meshes

// A fixed mesh is one block: the Mesh record, then its arrays in this order,
// each starting on a pointer boundary: Vertices, VertexDoneBits (one word per
// 32 vertices or part of 32), Polygons, LightList (64 slots), and 4096 bytes
// that stay zero so that a reader walking a full LightList meets a null.
constexpr int32_t  kLightListSlots  = 64;
constexpr uint32_t kMeshSpareBytes  = 4096;

// RenderFlags defaults (RenderFlags layout, see span3d.h).
constexpr uint32_t kNewMeshFlags        = 0x7f00027u;  // Gouraud, front only, all modes and stages
constexpr uint32_t kDefaultMaterialFlags = 0x700063u;  // flat, front only, blend, solid
constexpr uint32_t kTriangleFlags       = 0x700e47u;   // Gouraud, blend, all three edges, solid
constexpr uint32_t kQuadFirstFlags      = 0x700c47u;   // edge 0-1 (the diagonal) off
constexpr uint32_t kQuadSecondFlags     = 0x700647u;   // edge 2-0 (the diagonal) off
constexpr uint32_t kBoundsMeshFlags     = 0x300021u;   // wire, front only, no shading

// A polygon that receives texture coordinates lets every stage through; its
// stages are then decided by the material alone.
constexpr uint32_t kTexturedPolygonBits = SPAN3D_STAGE_MASK;

// Form values.
constexpr int32_t kFormNone      = 0;  // not drawable yet
constexpr int32_t kFormOrdinary  = 1;
constexpr int32_t kFormNothing   = 2;
constexpr int32_t kFormBillboard = 3;

// A fixed mesh has a DrawItems pointer, even after its sort block went to a
// scene or a parent.
inline bool IsFixedMesh(const Mesh* mesh) { return mesh->DrawItems != nullptr; }

// Sort blocks. One allocation of `slots` entries: the u32 sort indices, their
// count rounded up to even so that the DrawItem records that follow start on
// an 8-byte boundary, then `slots` DrawItem records. The owner (a mesh or a
// scene) keeps the block pointer as SortIndices and SortBlockItems() as
// DrawItems. The caller hands the block to ResetRadixSort.
size_t    SortBlockBytes(int32_t slots);
uint32_t* AllocateSortBlock(int32_t slots);          // zero-filled, or null
DrawItem* SortBlockItems(uint32_t* block, int32_t slots);

// Frees a mesh's storage unless its TvObject is non-zero: BoundsMesh (its sort
// block, then the box), VertexNormals, SortIndices, Children, then the record
// and with it a fixed mesh's arrays. Neither VertexInfluences nor the separate
// Vertices and Polygons of a growable mesh are freed.
void FreeMeshStorage(Mesh* mesh);

// Frees a mesh's BoundsMesh, the box's sort block first, and nulls the pointer.
void FreeBoundsMesh(Mesh* mesh);


// ====================================================================== hierarchy
// (owned by objects/hierarchy.cpp)
//
// A mesh tree's draw list belongs to its top: a mesh with no parent owns one
// sort block of SortCapacity slots, or, when the top is in a scene, the scene
// owns one block of TotalPolygons slots for all its trees. Mesh children hold
// no block (SortIndices null, DrawItems stale but non-null). Attaching and
// detaching re-size the block of the top or of the scene.

// Frees the children of a node, depth first: every node below is detached
// from its parent, and each mesh of kind exactly 1 is then freed through
// FreeMeshStorage (so one with a non-zero TvObject survives, detached and
// with a block of its own). Cameras, lights and target nodes are only cut
// loose. DeleteMesh's way of taking its children with it.
void FreeNodeChildren(Node* node);

// Gives a mesh that has become a top (out of a scene, or off its parent) a
// new sort block of SortCapacity slots and hands it to ResetRadixSort. The
// mesh must hold no block. A failed allocation leaves SortIndices null and
// DrawItems as it was, so the mesh still reads as fixed.
void GiveMeshSortBlock(Mesh* mesh);

// Re-sizes the scene's sort block to TotalPolygons slots: frees the old block
// first, then allocates, sets SortIndices and DrawItems and resets the sort
// over the new indices. A failed allocation leaves both pointers null (the
// next draw meets the null block; nothing here reports it).
void RenewSceneSortBlock(Scene* scene);

// ====================================================================== lights
// (owned by objects/light.cpp)

// SetLightColor takes channels on 0..255 and stores 0..1: the factor is 1/255
// rounded to a float (0x1.010102p-8), applied in double and clamped to
// [0, 1], so 255 gives 1.0000000591 before the clamp and stores exactly 1.
// GetLightColor multiplies by 255 on the way out.
constexpr float kLightColourIn  = 0.003921569f;
constexpr float kLightColourOut = 255.0f;

// The last LightList slot that RemoveLightFromMesh's shift writes: slot 63
// takes no value from a slot 64, so a light in slot 63 stays, and in a full
// list the last light ends up in both 62 and 63. Kept as designed.
constexpr int32_t kLightListLastShifted = kLightListSlots - 2;

// The result blocks of the look-ups that return a pointer into module-wide
// storage: each call overwrites the previous answer.
struct LightLookupState {
    Vector3 Position;  // GetLightPosition, model units
    float   Colour[4]; // GetLightColor, r, g, b, a on 0..255
};
extern LightLookupState g_LightLookup;

// ====================================================================== scenes
// (owned by objects/scene.cpp)

// Position of an object in a scene's list by pointer identity, -1 if absent.
// Only what the list reaches counts: a camera or skeleton list emptied by the
// removal of its tail no longer reaches its former members.
int32_t IndexOfMesh(const Scene* scene, const Mesh* mesh);
int32_t IndexOfCamera(const Scene* scene, const Camera* camera);
int32_t IndexOfLight(const Scene* scene, const Light* light);
int32_t IndexOfMaterial(const Scene* scene, const Material* material);
int32_t IndexOfSkeleton(const Scene* scene, const Skeleton* skeleton);

// The camera at `index` in the scene's list; null for a negative index and
// for one the list does not reach.
Camera* SceneCameraAt(const Scene* scene, int32_t index);

// The engine's list of scenes (g_Engine.SceneListHead / Tail): CreateScene
// appends at the tail; the scene deletes take the scene out. Removal handles
// the head, then the tail, and zeroes the scene's links only in those two
// cases; a scene in between is first searched for from the head and nothing
// happens if it is not found (a scene made before ReleaseEngine3D).
void SceneListAdd(Scene* scene);
void SceneListRemove(Scene* scene);

// The routine that CreateScene stores in DefaultHook. With a scene and a
// UserHook it calls UserHook(a, index, round(HookTable[index - 1].Values[1]))
// (to nearest, ties to even). Nothing in the engine calls it.
void DefaultHook(int32_t a, int32_t index, Scene* scene);

}  // namespace span3d
