// Lights: omni and direct lights, their setters and getters, and the per-mesh
// light lists through which a light reaches the meshes it shines on.
#include "objects/objects.h"

#include "kernel/kernel.h"

namespace span3d {

// The head shared with Camera: one body sets Position or Target of either,
// and the hierarchy code moves both alike. WorldTarget follows at the same
// place in both records as well.
static_assert(offsetof(Light, Head) == offsetof(PlacedNodeHead, Head));
static_assert(offsetof(Light, TargetNode) == offsetof(PlacedNodeHead, TargetNode));
static_assert(offsetof(Light, State) == offsetof(PlacedNodeHead, State));
static_assert(offsetof(Light, Position) == offsetof(PlacedNodeHead, Position));
static_assert(offsetof(Light, WorldPosition) == offsetof(PlacedNodeHead, WorldPosition));
static_assert(offsetof(Light, Target) == offsetof(PlacedNodeHead, Target));
static_assert(offsetof(Light, WorldTarget) == offsetof(Camera, WorldTarget));
static_assert(std::is_standard_layout_v<Light> && std::is_trivially_copyable_v<Light>);

#if UINTPTR_MAX == 0xFFFFFFFFFFFFFFFFu
// Absolute layout on LP64 targets, for hosts that mirror the record.
static_assert(sizeof(Light) == 224);
static_assert(offsetof(Light, LocalPosition) == 116 && offsetof(Light, LocalDirection) == 128 &&
              offsetof(Light, Colour) == 140 && offsetof(Light, Intensity) == 156 &&
              offsetof(Light, NearAttenuation) == 160 && offsetof(Light, FarAttenuation) == 164 &&
              offsetof(Light, ScenePrev) == 168 && offsetof(Light, SceneNext) == 176 &&
              offsetof(Light, Name) == 184 && offsetof(Light, KeepWord) == 216);
#endif

LightLookupState g_LightLookup = {};

namespace {

// Channel on 0..255 to 0..1: scaled in double, clamped, stored as a float.
// -0.0 is not below 0 and stays -0.0; a NaN passes both tests unchanged.
float ColourIn(float channel)
{
    double v = static_cast<double>(channel) * static_cast<double>(kLightColourIn);
    if (v < 0.0) {
        v = 0.0;
    } else if (v > 1.0) {
        v = 1.0;
    }
    return static_cast<float>(v);
}

void ClearNode(Node* node, uint32_t kind)
{
    node->Kind = kind;
    node->Parent = nullptr;
    node->Children = nullptr;
    node->ChildCount = 0;
}

Light* NewLight(const Vector3* position, const float colour[4], float intensity)
{
    Light* light = static_cast<Light*>(AllocateMemory(sizeof(Light)));
    if (light == nullptr) {
        return nullptr;
    }
    light->Position = *position;
    // The constructors take the colour on 0..1 as it is: no scaling, no clamp.
    for (int32_t c = 0; c < 4; ++c) {
        light->Colour[c] = colour[c];
    }
    light->Intensity = intensity;
    ClearNode(&light->Head, SPAN3D_KIND_LIGHT);
    return light;
}

// Slot of `light` in a mesh's list, or of the end mark, whichever comes first:
// the slots passed. 64 means a full list without the light. The scan goes no
// further than the 64 slots; the zero bytes behind a fixed mesh's list would
// stop it there anyway.
int32_t ScanLightList(Light* const* list, const Light* light)
{
    int32_t i = 0;
    while (i < kLightListSlots && list[i] != nullptr && list[i] != light) {
        ++i;
    }
    return i;
}

void AssignLightToNode(Light* light, Node* node)
{
    // Only kind 1 takes the light; a mesh variant (2) and any other node only
    // pass it on to their children. A growable mesh has no list at all and is
    // passed over the same way rather than written through a null pointer.
    if (IsPlainMeshKind(node->Kind)) {
        Mesh* mesh = reinterpret_cast<Mesh*>(node);
        Light** list = mesh->LightList;
        const int32_t i = list != nullptr ? ScanLightList(list, light) : kLightListSlots;
        // Found: written again in place. Full without it: the 65th light is
        // dropped without a word, and the scene is not told either.
        if (i < kLightListSlots) {
            list[i] = light;
            if (mesh->Scene != nullptr) {
                // Joins the scene unless it is there already; toMeshes 0, so
                // this does not come back to the meshes.
                AssignLightToScene(mesh->Scene, light, 0);
            }
        }
    }
    for (int32_t c = 0; c < node->ChildCount; ++c) {
        AssignLightToNode(light, node->Children[c]);
    }
}

void RemoveLightFromNode(Light* light, Node* node)
{
    if (IsPlainMeshKind(node->Kind)) {
        Light** list = reinterpret_cast<Mesh*>(node)->LightList;
        const int32_t k = list != nullptr ? ScanLightList(list, light) : kLightListSlots;
        if (k < kLightListSlots && list[k] == light) {
            // Everything behind moves down one slot, the end mark included,
            // but the move stops with slot 62 taking slot 63: slot 63 itself
            // is never written. Kept as designed (see kLightListLastShifted).
            for (int32_t j = k; j <= kLightListLastShifted; ++j) {
                list[j] = list[j + 1];
            }
        }
    }
    for (int32_t c = 0; c < node->ChildCount; ++c) {
        RemoveLightFromNode(light, node->Children[c]);
    }
}

}  // namespace

}  // namespace span3d

using namespace span3d;

extern "C" SPAN3D_API Light* CreateOmniLight(Vector3* position, float colour[4], float intensity,
                                             float nearDistance, float farDistance, uint32_t status)
{
    Light* light = NewLight(position, colour, intensity);
    if (light == nullptr) {
        return nullptr;
    }
    light->NearAttenuation = nearDistance;
    light->FarAttenuation = farDistance;
    light->State = status | SPAN3D_LIGHT_OMNI;
    // An omni light has no aim point: its TargetNode stays zero, kind 0,
    // which every kind test rejects.
    MakeDefaultName(light->Name, kNameOmni);
    return light;
}

extern "C" SPAN3D_API Light* CreateDirectLight(Vector3* position, Vector3* target, float colour[4],
                                               float intensity, uint32_t status)
{
    Light* light = NewLight(position, colour, intensity);
    if (light == nullptr) {
        return nullptr;
    }
    // No attenuation distances: both stay 0.
    light->Target = *target;
    light->State = status | SPAN3D_LIGHT_DIRECT;
    ClearNode(&light->TargetNode, SPAN3D_KIND_LIGHT_TARGET);
    MakeDefaultName(light->Name, kNameDirect);
    return light;
}

extern "C" SPAN3D_API void DeleteLight(Light* light)
{
    // Unlike DeleteCamera there is no State test: the scenes are always
    // searched. The first scene that holds the light lets it go and takes it
    // off its meshes; meshes outside that scene that still list the light are
    // not told.
    for (Scene* scene = g_Engine.SceneListHead; scene != nullptr; scene = scene->ListNext) {
        if (RemoveLightFromScene(scene, light) != 0) {
            break;
        }
    }
    light->KeepWord = 0;
    if (light->Head.Parent != nullptr) {
        DetachChildFromNode(light->Head.Parent, &light->Head);
    }
    if (light->TargetNode.Parent != nullptr) {
        DetachChildFromNode(light->TargetNode.Parent, &light->TargetNode);
    }
    // The light's own children are not told: the host detaches them first.
    FreeMemory(light);
}

extern "C" SPAN3D_API Light* SetLightPosition(Light* light, Vector3* value, int32_t which)
{
    return static_cast<Light*>(SetPlacedNodePosition(light, value, which));
}

extern "C" SPAN3D_API Vector3* GetLightPosition(Light* light, int32_t which)
{
    g_LightLookup.Position = which == 0 ? light->Position : light->Target;
    return &g_LightLookup.Position;
}

extern "C" SPAN3D_API void SetLightColor(Light* light, float red, float green, float blue)
{
    light->Colour[0] = ColourIn(red);
    light->Colour[1] = ColourIn(green);
    light->Colour[2] = ColourIn(blue);
    light->Colour[3] = 0.0f;
}

extern "C" SPAN3D_API float* GetLightColor(Light* light)
{
    // All four channels, alpha included, come out on 0..255, also those that
    // a constructor took on 0..1.
    for (int32_t c = 0; c < 4; ++c) {
        g_LightLookup.Colour[c] =
            static_cast<float>(static_cast<double>(light->Colour[c]) * static_cast<double>(kLightColourOut));
    }
    return g_LightLookup.Colour;
}

extern "C" SPAN3D_API Light* SetLightIntensity(Light* light, float intensity)
{
    light->Intensity = intensity;
    return light;
}

extern "C" SPAN3D_API float GetLightIntensity(Light* light)
{
    return light->Intensity;
}

extern "C" SPAN3D_API Light* SetLightAttenuation(Light* light, float nearDistance, float farDistance)
{
    light->NearAttenuation = nearDistance;
    light->FarAttenuation = farDistance;
    return light;
}

extern "C" SPAN3D_API float GetLightNearAttenuation(Light* light)
{
    return light->NearAttenuation;
}

extern "C" SPAN3D_API float GetLightFarAttenuation(Light* light)
{
    return light->FarAttenuation;
}

extern "C" SPAN3D_API void SetLightStatus(Light* light, int32_t on, int32_t attenuate)
{
    uint32_t state = light->State;
    state = attenuate != 0 ? (state | SPAN3D_LIGHT_ATTENUATE) : (state & ~SPAN3D_LIGHT_ATTENUATE);
    state = on != 0 ? (state | SPAN3D_LIGHT_ON) : (state & ~SPAN3D_LIGHT_ON);
    light->State = state;
}

extern "C" SPAN3D_API char* SetLightName(Light* light, const char* name)
{
    // No bound, like every name setter.
    return TextCopy(light->Name, name);
}

extern "C" SPAN3D_API int32_t AssignLightToMesh(Light* light, Mesh* mesh)
{
    AssignLightToNode(light, &mesh->Head);
    return 0;
}

extern "C" SPAN3D_API int32_t RemoveLightFromMesh(Light* light, Mesh* mesh)
{
    RemoveLightFromNode(light, &mesh->Head);
    return 0;
}
