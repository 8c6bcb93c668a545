// Materials: colours, alpha, texture stages, and their assignment to the
// polygons of a mesh.
#include "objects/objects.h"

#include "kernel/kernel.h"

namespace span3d {

uint32_t IsPowerOfTwo(uint32_t v)
{
    return ((v | 0x80000000u) & (v - 1u)) == 0 ? 1u : 0u;
}

int32_t Log2Exact(uint32_t v)
{
    if (!IsPowerOfTwo(v)) {
        return -1;
    }
    // Arithmetic shifts until nothing is left. 0x80000000 would never reach 0
    // that way (the sign bit refills); the loop is bounded to the 32 shifts of
    // a word, so it yields 31 there instead of hanging.
    int32_t value = static_cast<int32_t>(v);
    int32_t exponent = -1;
    for (int32_t shifts = 0; value != 0 && shifts < 32; ++shifts) {
        value >>= 1;
        ++exponent;
    }
    return exponent;
}

void FillTextureSlot(TextureSlotView* slot, const Texture* texture, uint32_t mode)
{
    if (texture == nullptr) {
        slot->Mode = 0;
        slot->Pixels = nullptr;
        slot->Width = 0;
        slot->Height = 0;
        slot->ShiftOrPitch = 0;
        slot->Texture = nullptr;
        return;
    }
    slot->Pixels = texture->Pixels;
    slot->Width = texture->Width;
    slot->Height = texture->Height;
    slot->Texture = const_cast<Texture*>(texture);
    if (IsPowerOfTwo(static_cast<uint32_t>(texture->Width)) &&
        IsPowerOfTwo(static_cast<uint32_t>(texture->Height))) {
        // Power-of-two addressing: v << ShiftOrPitch + u, whatever the pitch.
        slot->ShiftOrPitch = Log2Exact(static_cast<uint32_t>(texture->Width));
        slot->Mode = mode | 0x40000000u;
    } else {
        // Pitch addressing: bytes per row halved into texels per row.
        slot->ShiftOrPitch = texture->PitchBytes >> 1;
        slot->Mode = mode;
    }
}

namespace {

bool IsValidSide(int32_t side) { return side >= 0 && side <= 2; }

// Sets one side (0 front, 1 back, 2 both) of one polygon.
void SetPolygonSide(MeshPolygon* polygon, Material* material, int32_t side)
{
    if (side != 1) {
        polygon->FrontMaterial = material;
    }
    if (side != 0) {
        polygon->BackMaterial = material;
    }
}

// Side 0 or 2 reads the front, 1 the back, anything else gives null.
Material* GetPolygonSide(const MeshPolygon* polygon, int32_t side)
{
    if (side == 0 || side == 2) {
        return polygon->FrontMaterial;
    }
    if (side == 1) {
        return polygon->BackMaterial;
    }
    return nullptr;
}

void SetMaterialOnTree(Mesh* mesh, Material* material, int32_t side, int32_t recurse)
{
    Material* chosen = material != nullptr ? material : &mesh->DefaultMaterial;
    for (int32_t i = 0; i < mesh->PolygonCount; ++i) {
        SetPolygonSide(&mesh->Polygons[i], chosen, side);
    }
    if (recurse != 1) {
        return;
    }
    // The argument goes down as given, so a null gives each child its own
    // default. Cameras and lights hanging below a mesh have no polygons and
    // are passed over.
    for (int32_t i = 0; i < mesh->Head.ChildCount; ++i) {
        Node* child = mesh->Head.Children[i];
        if (child != nullptr && IsAnyMeshKind(child->Kind)) {
            SetMaterialOnTree(reinterpret_cast<Mesh*>(child), material, side, recurse);
        }
    }
}

float* MaterialColour(Material* material, int32_t which)
{
    switch (which) {
    case 0: return material->AmbientColour;
    case 1: return material->DiffuseColour;
    case 2: return material->EmissiveColour;
    default: return nullptr;
    }
}

}  // namespace

}  // namespace span3d

using namespace span3d;

extern "C" SPAN3D_API Material* CreateMaterial(Material* templ)
{
    Material* material = static_cast<Material*>(AllocateMemory(sizeof(Material)));
    if (material != nullptr) {
        MemCopy(material, templ, sizeof(Material));
    }
    // The default name goes to the template, not to the copy, and is taken
    // even when the allocation failed: the copy keeps the template's earlier
    // name and the template carries the newest one. Kept as designed.
    MakeDefaultName(templ->Name, kNameMaterial);
    return material;
}

extern "C" SPAN3D_API void DeleteMaterial(Material* material)
{
    if (material != nullptr) {
        FreeMemory(material);
    }
}

extern "C" SPAN3D_API int32_t SetMaterial(Mesh* mesh, Material* material, int32_t side,
                                          int32_t recurse)
{
    if (!IsValidSide(side)) {
        return 0;
    }
    SetMaterialOnTree(mesh, material, side, recurse);
    return 1;
}

extern "C" SPAN3D_API Material* GetMaterial(Mesh* mesh, int32_t side)
{
    // Reads polygon 0 whatever the count; a mesh that has no polygon array at
    // all (an empty growable mesh) answers null rather than faulting.
    if (mesh->Polygons == nullptr) {
        return nullptr;
    }
    return GetPolygonSide(&mesh->Polygons[0], side);
}

extern "C" SPAN3D_API Material* GetMaterialByName(Mesh* mesh, const char* name)
{
    // A slot never filled has no material on either side; it matches nothing.
    for (int32_t i = 0; i < mesh->PolygonCount; ++i) {
        MeshPolygon* polygon = &mesh->Polygons[i];
        if (polygon->FrontMaterial != nullptr &&
            TextCompare(polygon->FrontMaterial->Name, name) == 0) {
            return polygon->FrontMaterial;
        }
        if (polygon->BackMaterial != nullptr &&
            TextCompare(polygon->BackMaterial->Name, name) == 0) {
            return polygon->BackMaterial;
        }
    }
    return nullptr;
}

extern "C" SPAN3D_API int32_t SetFaceMaterial(Mesh* mesh, int32_t polygon, Material* material,
                                              int32_t pair, int32_t side)
{
    // An index out of range is not an error: nothing is done and 1 returned.
    if (polygon < 0 || polygon >= mesh->PolygonCount) {
        return 1;
    }
    if (!IsValidSide(side)) {
        return 0;
    }
    Material* chosen = material != nullptr ? material : &mesh->DefaultMaterial;
    SetPolygonSide(&mesh->Polygons[polygon], chosen, side);
    // The two halves of a quad go together.
    if (pair != 0 && polygon + 1 < mesh->PolygonCount) {
        SetPolygonSide(&mesh->Polygons[polygon + 1], chosen, side);
    }
    return 1;
}

extern "C" SPAN3D_API Material* GetFaceMaterial(Mesh* mesh, int32_t polygon, int32_t side)
{
    if (polygon < 0 || polygon >= mesh->PolygonCount) {
        return nullptr;
    }
    return GetPolygonSide(&mesh->Polygons[polygon], side);
}

extern "C" SPAN3D_API void RemoveMaterialFromMesh(Material* material, Mesh* mesh)
{
    for (int32_t i = 0; i < mesh->PolygonCount; ++i) {
        MeshPolygon* polygon = &mesh->Polygons[i];
        if (polygon->FrontMaterial == material) {
            polygon->FrontMaterial = &mesh->DefaultMaterial;
        }
        if (polygon->BackMaterial == material) {
            polygon->BackMaterial = &mesh->DefaultMaterial;
        }
    }
}

extern "C" SPAN3D_API void SetMaterialColor(Material* material, int32_t which, float red,
                                            float green, float blue)
{
    float* colour = MaterialColour(material, which);
    if (colour == nullptr) {
        return;
    }
    colour[0] = red;
    colour[1] = green;
    colour[2] = blue;
    colour[3] = kMaterialColourMax;
    // Clamp to 0..255; -0.0 is not below 0 and stays as it is.
    for (int32_t c = 0; c < 3; ++c) {
        if (colour[c] < 0.0f) {
            colour[c] = 0.0f;
        } else if (colour[c] > kMaterialColourMax) {
            colour[c] = kMaterialColourMax;
        }
    }
}

extern "C" SPAN3D_API float* GetMaterialColor(Material* material, int32_t which)
{
    float* colour = MaterialColour(material, which);
    // An unknown colour answers with the material's own address, as the
    // interface has always done; a caller must not read colours from it.
    return colour != nullptr ? colour : reinterpret_cast<float*>(material);
}

extern "C" SPAN3D_API Material* SetMaterialColorOp(Material* material, uint16_t op, int32_t enable)
{
    if (enable != 0) {
        material->MaterialFlags |= SPAN3D_COLOR_OP_BIT;
    } else {
        material->MaterialFlags &= ~SPAN3D_COLOR_OP_BIT;
    }
    material->ColorOp = op;
    return material;
}

extern "C" SPAN3D_API int32_t SetMaterialAlphaLevel(Material* material, int32_t level)
{
    if (level < 0) {
        level = 0;
    } else if (level > 255) {
        level = 255;
    }
    material->AlphaLevel = static_cast<uint16_t>(level);
    return level;
}

extern "C" SPAN3D_API uint16_t GetMaterialAlphaLevel(Material* material)
{
    return material->AlphaLevel;
}

extern "C" SPAN3D_API void SetMaterialAlphaMode(Material* material, uint32_t mode)
{
    material->AlphaMode = static_cast<uint16_t>(mode > 3 ? 0 : mode);
}

extern "C" SPAN3D_API uint16_t GetMaterialAlphaMode(Material* material)
{
    return material->AlphaMode;
}

extern "C" SPAN3D_API void SetMaterialRenderMode(Material* material, int32_t mode)
{
    const uint32_t bits = static_cast<uint32_t>(mode);
    uint32_t flags = (material->MaterialFlags & ~SPAN3D_BLEND_BIT) | (bits & SPAN3D_BLEND_BIT);
    if ((bits & SPAN3D_RENDER_MODE_MASK) != 0) {
        flags = (flags & ~SPAN3D_RENDER_MODE_MASK) | (bits & SPAN3D_RENDER_MODE_MASK);
    }
    material->MaterialFlags = flags;
}

extern "C" SPAN3D_API uint32_t GetMaterialRenderMode(Material* material)
{
    return material->MaterialFlags & (SPAN3D_RENDER_MODE_MASK | SPAN3D_BLEND_BIT);
}

extern "C" SPAN3D_API void SetMaterialShadeMode(Material* material, int32_t mode)
{
    const uint32_t bits = static_cast<uint32_t>(mode) & SPAN3D_SHADE_MASK;
    if (bits != 0) {
        material->MaterialFlags = (material->MaterialFlags & ~SPAN3D_SHADE_MASK) | bits;
    }
}

extern "C" SPAN3D_API uint32_t GetMaterialShadeMode(Material* material)
{
    return material->MaterialFlags & SPAN3D_SHADE_MASK;
}

extern "C" SPAN3D_API void SetMaterialCullMode(Material* material, int32_t mode)
{
    const uint32_t bits = static_cast<uint32_t>(mode) & SPAN3D_CULL_MASK;
    if (bits != 0) {
        material->MaterialFlags = (material->MaterialFlags & ~SPAN3D_CULL_MASK) | bits;
    }
}

extern "C" SPAN3D_API uint32_t GetMaterialCullMode(Material* material)
{
    return material->MaterialFlags & SPAN3D_CULL_MASK;
}

extern "C" SPAN3D_API char* SetMaterialName(Material* material, const char* name)
{
    // No bound: a name of 30 bytes or more runs into the fields behind Name.
    return TextCopy(material->Name, name);
}

extern "C" SPAN3D_API TextureSlot* SetMaterialTexture(Material* material, uint32_t slot,
                                                      Texture* texture, int32_t mode)
{
    if (slot >= kMaterialSlotCount) {
        return nullptr;
    }
    // Slot 3 is accepted although it lies over ColorOp and Name.
    TextureSlotView* target = MaterialSlotView(material, static_cast<int32_t>(slot));
    FillTextureSlot(target, texture, static_cast<uint32_t>(mode) & 7u);
    if (texture != nullptr) {
        material->MaterialFlags |= StageBitOfSlot(slot);
    } else {
        material->MaterialFlags &= ~StageBitOfSlot(slot);
    }
    return reinterpret_cast<TextureSlot*>(target);
}

extern "C" SPAN3D_API TextureSlot* GetMaterialTexture(Material* material, uint32_t slot)
{
    if (slot >= kMaterialSlotCount) {
        return nullptr;
    }
    return reinterpret_cast<TextureSlot*>(MaterialSlotView(material, static_cast<int32_t>(slot)));
}

extern "C" SPAN3D_API void SetMaterialTextureMode(Material* material, uint32_t slot, int32_t mode)
{
    if (slot >= kMaterialSlotCount || (mode != 16 && mode != 32)) {
        return;
    }
    TextureSlotView* target = MaterialSlotView(material, static_cast<int32_t>(slot));
    target->Mode = (target->Mode & ~0x30u) | static_cast<uint32_t>(mode);
}

extern "C" SPAN3D_API uint32_t GetMaterialTextureMode(Material* material, uint32_t slot)
{
    if (slot >= kMaterialSlotCount) {
        return 0;
    }
    return MaterialSlotView(material, static_cast<int32_t>(slot))->Mode & 0x30u;
}

extern "C" SPAN3D_API void RemoveTextureFromMaterial(Texture* texture, Material* material)
{
    const uint32_t stages = material->MaterialFlags & SPAN3D_STAGE_MASK;
    for (uint32_t slot = 0; slot < kMaterialSlotCount; ++slot) {
        if (stages != StageBitOfSlot(slot)) {
            continue;
        }
        // Whatever single stage is on, the texture is compared with slot 0's,
        // not with the stage's own slot: a texture alone on slot 1 with slot 0
        // empty is not removed here. Clearing any slot is SetMaterialTexture
        // with a null texture. Kept as designed.
        if (MaterialSlotView(material, 0)->Texture == texture) {
            FillTextureSlot(MaterialSlotView(material, static_cast<int32_t>(slot)), nullptr, 0);
            material->MaterialFlags &= ~StageBitOfSlot(slot);
        }
        return;
    }
}
