// Cameras: position, aim point, roll, field of view, near and far, and the
// focal length that the frame driver derives for a viewport.
#include "objects/objects.h"

#include "kernel/kernel.h"

namespace span3d {

static_assert(offsetof(Camera, Head) == offsetof(PlacedNodeHead, Head));
static_assert(offsetof(Camera, TargetNode) == offsetof(PlacedNodeHead, TargetNode));
static_assert(offsetof(Camera, State) == offsetof(PlacedNodeHead, State));
static_assert(offsetof(Camera, Position) == offsetof(PlacedNodeHead, Position));
static_assert(offsetof(Camera, WorldPosition) == offsetof(PlacedNodeHead, WorldPosition));
static_assert(offsetof(Camera, Target) == offsetof(PlacedNodeHead, Target));

void* SetPlacedNodePosition(void* object, const Vector3* value, int32_t which)
{
    // Reached by byte offset so that the same body serves both records; the
    // Vector3 written really is a Vector3 field of either.
    const size_t offset = which == 0 ? offsetof(PlacedNodeHead, Position)
                                     : offsetof(PlacedNodeHead, Target);
    Vector3* field = reinterpret_cast<Vector3*>(static_cast<unsigned char*>(object) + offset);
    *field = *value;
    return object;
}

}  // namespace span3d

using namespace span3d;

extern "C" SPAN3D_API Camera* CreateCamera(Vector3* position, Vector3* target, float roll,
                                           float fov, float nearDistance)
{
    Camera* camera = static_cast<Camera*>(AllocateMemory(sizeof(Camera)));
    if (camera == nullptr) {
        return nullptr;
    }
    camera->Position = *position;
    camera->Target = *target;
    // No checks here: the setters' rules do not apply to the constructor.
    camera->Roll = roll;
    camera->Fov = fov;
    camera->Near = nearDistance;
    camera->Far = kCameraDefaultFar;
    MakeDefaultName(camera->Name, kNameCamera);
    camera->Head.Kind = SPAN3D_KIND_CAMERA;
    camera->Head.Parent = nullptr;
    camera->Head.Children = nullptr;
    camera->Head.ChildCount = 0;
    camera->TargetNode.Kind = SPAN3D_KIND_CAMERA_TARGET;
    camera->TargetNode.Parent = nullptr;
    camera->TargetNode.Children = nullptr;
    camera->TargetNode.ChildCount = 0;
    return camera;
}

extern "C" SPAN3D_API void DeleteCamera(Camera* camera)
{
    // Only with State bit 31 does the delete search the scenes, and nothing
    // in the library sets that bit on a camera, so a camera in a scene is not
    // unlinked by its own delete: the host removes it from its scenes first.
    if ((camera->State & 0x80000000u) != 0) {
        for (Scene* scene = g_Engine.SceneListHead; scene != nullptr; scene = scene->ListNext) {
            if (RemoveCameraFromScene(scene, camera) != 0) {
                break;
            }
        }
    }
    camera->KeepWord = 0;
    // The camera and its aim point leave their parents. Their own children
    // are not told: the host detaches them first.
    if (camera->Head.Parent != nullptr) {
        DetachChildFromNode(camera->Head.Parent, &camera->Head);
    }
    if (camera->TargetNode.Parent != nullptr) {
        DetachChildFromNode(camera->TargetNode.Parent, &camera->TargetNode);
    }
    FreeMemory(camera);
}

extern "C" SPAN3D_API char* SetCameraName(Camera* camera, const char* name)
{
    // No bound, like every name setter.
    return TextCopy(camera->Name, name);
}

extern "C" SPAN3D_API Camera* SetCameraPosition(Camera* camera, Vector3* value, int32_t which)
{
    return static_cast<Camera*>(SetPlacedNodePosition(camera, value, which));
}

extern "C" SPAN3D_API Vector3 GetCameraPosition(Camera* camera, int32_t which)
{
    return which == 0 ? camera->Position : camera->Target;
}

extern "C" SPAN3D_API Camera* SetCameraRoll(Camera* camera, float roll)
{
    camera->Roll = roll;
    return camera;
}

extern "C" SPAN3D_API float GetCameraRoll(Camera* camera)
{
    return camera->Roll;
}

extern "C" SPAN3D_API void SetCameraFov(Camera* camera, float fov)
{
    // 180 itself is accepted; 0 or less (-0.0 included) and above 180 fall
    // back to 60 degrees.
    camera->Fov = (fov <= 0.0f || fov > 180.0f) ? 60.0f : fov;
}

extern "C" SPAN3D_API float GetCameraFov(Camera* camera)
{
    return camera->Fov;
}

extern "C" SPAN3D_API void SetCameraNear(Camera* camera, float nearDistance)
{
    if (nearDistance >= 10.0f && nearDistance <= camera->Far) {
        camera->Near = nearDistance;
    }
}

extern "C" SPAN3D_API float GetCameraNear(Camera* camera)
{
    return camera->Near;
}

extern "C" SPAN3D_API Camera* SetCameraFar(Camera* camera, float farDistance)
{
    if (!(farDistance < camera->Near)) {
        camera->Far = farDistance;
    }
    return camera;
}

extern "C" SPAN3D_API float GetCameraFar(Camera* camera)
{
    return camera->Far;
}

namespace {
constexpr float kDegreesToRadiansFocale = 0.017453292f;
}  // namespace

extern "C" SPAN3D_API void AdjustCameraFocale(Viewport* viewport, Camera* camera)
{
    // Half the field of view in radians, stored as a float before the tangent.
    // The degree factor is the single-precision constant 0.017453292f, widened:
    // 90 degrees then gives exactly the float nearest pi/4, so a 640 x 480
    // viewport gets a focal length of exactly 320.
    const float half = static_cast<float>(static_cast<double>(camera->Fov) * 0.5 *
                                          static_cast<double>(kDegreesToRadiansFocale));
    const double focale = static_cast<double>(viewport->CentreX) / ScalarTan(half);
    // AspectTerm is -(h * 4) / (w * 3), exactly -1 at 4:3. There Fov spans the
    // width; on every other shape the focal length is scaled by
    // AspectTerm * -0.75 = h / w, so that Fov spans the height instead. The
    // jump between the two is intended.
    if (static_cast<float>(static_cast<double>(viewport->AspectTerm) + 1.0) == 0.0f) {
        camera->Focale = static_cast<float>(focale);
    } else {
        camera->Focale =
            static_cast<float>(focale * (static_cast<double>(viewport->AspectTerm) * -0.75));
    }
}
