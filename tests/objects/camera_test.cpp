// Cameras: construction and default names, the setters' rules, the head
// shared with lights, and the focal length for a viewport.
#include "object_test_support.h"

namespace span3d {
namespace {
using test::ExpectedName;
using test::FloatFromBits;

Camera* MakeCamera(float fov = 60.0f, float nearDistance = 10.0f)
{
    Vector3 position = {1.0f, 2.0f, 3.0f};
    Vector3 target = {4.0f, 5.0f, 6.0f};
    return CreateCamera(&position, &target, 15.0f, fov, nearDistance);
}

TEST(CameraCreate, FieldsAndSuccessiveDefaultNames)
{
    const int32_t n = NameCounter(kNameCamera);
    char first[32], second[32];
    ExpectedName(first, "Camera", n);
    ExpectedName(second, "Camera", n + 1);
    // The constructor takes roll, fov and near with no checks.
    Camera* a = MakeCamera(500.0f, 1.0f);
    Camera* b = MakeCamera();
    EXPECT_STREQ(a->Name, first);
    EXPECT_STREQ(b->Name, second);
    EXPECT_EQ(a->Head.Kind, SPAN3D_KIND_CAMERA);
    EXPECT_EQ(a->TargetNode.Kind, SPAN3D_KIND_CAMERA_TARGET);
    EXPECT_EQ(a->Target.z, 6.0f);
    EXPECT_EQ(a->Fov, 500.0f);
    EXPECT_EQ(a->Near, 1.0f);
    EXPECT_EQ(a->Far, 100000000.0f);
    EXPECT_EQ(a->State, 0u);
    EXPECT_EQ(SetCameraName(a, "Main"), a->Name + 4);  // the end of the copy
    EXPECT_STREQ(a->Name, "Main");
    DeleteCamera(a);
    DeleteCamera(b);
}

TEST(CameraCreate, NameFormBelowAndAboveTen)
{
    // The counter is module-wide; run it past 10 to see the "0" go.
    Camera* cameras[12] = {};
    for (Camera*& c : cameras) {
        const int32_t n = NameCounter(kNameCamera);
        char expected[32];
        ExpectedName(expected, "Camera", n);
        c = MakeCamera();
        EXPECT_STREQ(c->Name, expected);
    }
    EXPECT_GE(NameCounter(kNameCamera), 12);
    for (Camera* c : cameras) DeleteCamera(c);
}

TEST(CameraSetters, FovTable)
{
    struct Case { const char* name; float in; float stored; };
    const Case cases[] = {
        {"zero", 0.0f, 60.0f},
        {"negative zero", -0.0f, 60.0f},
        {"minus one", -1.0f, 60.0f},
        {"180.5", 180.5f, 60.0f},
        {"180 itself", 180.0f, 180.0f},
        {"tiny", 0.001f, 0.001f},
        {"90", 90.0f, 90.0f},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Camera* camera = MakeCamera(45.0f);
        SetCameraFov(camera, c.in);
        EXPECT_EQ(GetCameraFov(camera), c.stored);
        DeleteCamera(camera);
    }
}

TEST(CameraSetters, NearAndFarTable)
{
    // Near starts at 20, Far is set to 1000 first.
    enum Op { Near, Far };
    struct Case { const char* name; Op op; float in; float nearAfter, farAfter; };
    const Case cases[] = {
        {"near 9.9 ignored", Near, 9.9f, 20.0f, 1000.0f},
        {"near 10 taken", Near, 10.0f, 10.0f, 1000.0f},
        {"near equal to far taken", Near, 1000.0f, 1000.0f, 1000.0f},
        {"near above far ignored", Near, 1000.5f, 20.0f, 1000.0f},
        {"far equal to near taken", Far, 20.0f, 20.0f, 20.0f},
        {"far below near ignored", Far, 19.99f, 20.0f, 1000.0f},
        {"far large taken", Far, 5e9f, 20.0f, 5e9f},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Camera* camera = MakeCamera(60.0f, 20.0f);
        EXPECT_EQ(SetCameraFar(camera, 1000.0f), camera);
        if (c.op == Near) {
            SetCameraNear(camera, c.in);
        } else {
            EXPECT_EQ(SetCameraFar(camera, c.in), camera);
        }
        EXPECT_EQ(GetCameraNear(camera), c.nearAfter);
        EXPECT_EQ(GetCameraFar(camera), c.farAfter);
        DeleteCamera(camera);
    }
}

TEST(CameraSetters, PositionOrTargetByWhich)
{
    struct Case { const char* name; int32_t which; bool target; };
    const Case cases[] = {
        {"0 is the position", 0, false},
        {"1 is the target", 1, true},
        {"any other is the target", -3, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Camera* camera = MakeCamera();
        Vector3 v = {-1.5f, 0.25f, 9.0f};
        EXPECT_EQ(SetCameraPosition(camera, &v, c.which), camera);
        const Vector3 changed = c.target ? camera->Target : camera->Position;
        const Vector3 kept = c.target ? camera->Position : camera->Target;
        EXPECT_EQ(memcmp(&changed, &v, sizeof v), 0);
        EXPECT_EQ(kept.x, c.target ? 1.0f : 4.0f);
        EXPECT_EQ(GetCameraPosition(camera, c.which).z, 9.0f);
        EXPECT_EQ(camera->WorldPosition.x, 0.0f);  // per-frame field untouched
        DeleteCamera(camera);
    }
}

TEST(CameraSetters, SharedHeadBodyWorksOnTheHeadAlone)
{
    // The body that serves cameras and lights knows only the shared head.
    PlacedNodeHead head;
    memset(&head, 0, sizeof(head));
    Vector3 v = {3.0f, 4.0f, 5.0f};
    EXPECT_EQ(SetPlacedNodePosition(&head, &v, 0), &head);
    EXPECT_EQ(head.Position.y, 4.0f);
    EXPECT_EQ(head.Target.y, 0.0f);
    EXPECT_EQ(SetPlacedNodePosition(&head, &v, 2), &head);
    EXPECT_EQ(head.Target.z, 5.0f);
    EXPECT_EQ(head.WorldPosition.x, 0.0f);
}

// ---------------------------------------------------------------- focal length

// A viewport record filled by hand the way CreateViewport fills it:
// CentreX = Width * 0.5, AspectTerm = -(Height * 4) / (Width * 3) in floats.
Viewport MakeViewport(float width, float height)
{
    Viewport v;
    memset(&v, 0, sizeof(v));
    v.Width = width;
    v.Height = height;
    v.CentreX = width * 0.5f;
    v.CentreY = height * 0.5f;
    v.AspectTerm = -(height * 4.0f) / (width * 3.0f);
    v.ScaleY = -1.0f;
    return v;
}

TEST(CameraFocale, Table)
{
    // Derivations. half = float(90 * 0.5 * 0.017453292f): 45 * 0.0174532924 =
    // 0.7853981573, which rounds to 0x3f490fdb, the float nearest pi/4
    // (0.78539818525). tan of it is 1 + 4.37e-8.
    //  640x480: AspectTerm is exactly -1 (1920 / 1920), so Focale =
    //    320 / (1 + 4.37e-8) = 319.999986, within half an ulp (1.5e-5) of
    //    320: exactly 320.
    //  640x400: AspectTerm = float(-1600 / 1920) = -0.833333313, times -0.75
    //    is 0.624999985; 319.999986 * 0.624999985 = 199.9999866, which
    //    rounds to 0x4347ffff, one ulp (1.5e-5) below 200.
    //  320x240: 4:3 again: 160 / (1 + 4.37e-8) rounds to exactly 160.
    //  640x481: not 4:3, so the height decides. AspectTerm = float(-1924 /
    //    1920) = -1.00208330, times -0.75 is 0.75156248; 319.999986 *
    //    0.75156248 = 240.4999819, which rounds to 0x43707fff, one ulp below
    //    240.5. The jump from 320 at 640x480 is the intended one.
    struct Case { const char* name; float width, height, fov; float expected; };
    const Case cases[] = {
        {"640x480 fov 90", 640.0f, 480.0f, 90.0f, 320.0f},
        {"640x400 fov 90", 640.0f, 400.0f, 90.0f, FloatFromBits(0x4347ffffu)},
        {"320x240 fov 90", 320.0f, 240.0f, 90.0f, 160.0f},
        {"640x481 fov 90", 640.0f, 481.0f, 90.0f, FloatFromBits(0x43707fffu)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Viewport viewport = MakeViewport(c.width, c.height);
        Camera* camera = MakeCamera(c.fov);
        AdjustCameraFocale(&viewport, camera);
        EXPECT_EQ(camera->Focale, c.expected);
        DeleteCamera(camera);
    }
}

TEST(CameraFocale, NarrowerFovLongerFocale)
{
    // 4:3 at fov 60: 320 / tan(30 degrees) = 320 * sqrt(3) = 554.256.
    Viewport viewport = MakeViewport(640.0f, 480.0f);
    Camera* camera = MakeCamera(60.0f);
    AdjustCameraFocale(&viewport, camera);
    EXPECT_NEAR(camera->Focale, 554.2563f, 1e-3);
    DeleteCamera(camera);
}

}  // namespace
}  // namespace span3d
