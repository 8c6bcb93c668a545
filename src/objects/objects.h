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

}  // namespace span3d
