// Transforms, bounds and visibility: the camera matrix and the look-at
// builder, world matrices through a hierarchy, the view update with its
// billboards, and the bounds test that rejects a mesh or sends its vertices
// to the near/far-tested transform. Expected matrices and flags are worked
// out by hand in the comments; entries that are not short decimals are given
// by their bit patterns.
#include <gtest/gtest.h>

#include <math.h>
#include <string.h>

#include "kernel/kernel.h"
#include "objects/objects.h"
#include "pipeline/frame_state.h"
#include "pipeline/pipeline.h"
#include "pipeline_test_support.h"

namespace span3d {
namespace {

using test::Bits;
using test::FromBits;
using test::MakeMatrix;

// The value the kernel's single-axis rotations store for cos(90 degrees):
// 90 * AngleToRadians is not exactly pi/2 (AngleToRadians is pi/180 rounded
// to a float), so the "zero" entries of a quarter turn are this tiny float,
// and sin rounds to exactly 1.0f. cos is even, so -90 degrees gives the same.
float QuarterTurnCos()
{
    return static_cast<float>(cos(double(90.0f) * double(AngleToRadians)));
}

// Compares values (so +0.0 equals -0.0; every other entry bit for bit).
void ExpectMatrix(const Matrix34& actual, const Matrix34& expected)
{
    for (int i = 0; i < 12; ++i) {
        EXPECT_EQ(actual.m[i], expected.m[i])
            << "entry [" << i / 4 << "][" << i % 4 << "] bits 0x" << std::hex << Bits(actual.m[i])
            << " expected 0x" << Bits(expected.m[i]);
    }
}

void ExpectRotation(const Matrix34& actual, const float (&rows)[9])
{
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            EXPECT_EQ(actual.m[4 * r + c], rows[3 * r + c]) << "entry [" << r << "][" << c << "]";
}

void ExpectTranslation(const Matrix34& actual, float x, float y, float z)
{
    EXPECT_EQ(actual.m[3], x);
    EXPECT_EQ(actual.m[7], y);
    EXPECT_EQ(actual.m[11], z);
}

void SetRotation(Matrix34* m, const float (&rows)[9])
{
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            m->m[4 * r + c] = rows[3 * r + c];
}

// Exact quarter turns, written out so that no cosine rounding enters.
constexpr float kRz90[9] = {0, -1, 0, 1, 0, 0, 0, 0, 1};   // about z: x -> y
constexpr float kRx90[9] = {1, 0, 0, 0, 0, -1, 0, 1, 0};   // about x: y -> z
// The cyclic permutation (x, y, z) -> (z, x, y).
constexpr float kCycle[9] = {0, 0, 1, 1, 0, 0, 0, 1, 0};
constexpr float kIdentity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};

Camera* NewCamera()
{
    Vector3 position = {0, 0, 0};
    Vector3 target = {0, 0, 1};
    return CreateCamera(&position, &target, 0.0f, 90.0f, 10.0f);
}

// ================================================================ camera matrix

struct CameraCase {
    const char* name;
    Vector3     position;  // WorldPosition
    Vector3     target;    // WorldTarget
    float       roll;      // degrees
    Matrix34    expected;  // ViewMatrix
};

TEST(CameraMatrix, Table)
{
    const float e = QuarterTurnCos();
    const float e2 = static_cast<float>(double(e) * double(e));
    // In all cases the translation column is WorldPosition and row 2 is the
    // stored Direction.
    const CameraCase cases[] = {
        // Straight up: F = (0, 5, 0) / 5 = (0, 1, 0) exactly (5 * 0.2 is 1.0
        // in double). F.y - 1 is +0: the quarter turn Rx(+90), whose cos
        // entries are e: rows (1, 0, 0), (0, e, -1), (0, 1, e).
        {"up", {1, 2, 3}, {1, 7, 3}, 0.0f,
         MakeMatrix({1, 0, 0, 1, 0, e, -1, 2, 0, 1, e, 3})},
        // Straight down: F = (0, -1, 0), F.y + 1 is +0: Rx(-90), sin -1:
        // rows (1, 0, 0), (0, e, 1), (0, -1, e).
        {"down", {1, 2, 3}, {1, -4, 3}, 0.0f,
         MakeMatrix({1, 0, 0, 1, 0, e, 1, 2, 0, -1, e, 3})},
        // Up with roll 90: Rz(90) = rows (e, -1, 0), (1, e, 0), (0, 0, 1)
        // times Rx(90):
        //   row 0 = e (1, 0, 0) - (0, e, -1)          = (e, -e, 1)
        //   row 1 = (1, 0, 0) + e (0, e, -1)          = (1, e*e, -e)
        //   row 2 = (0, 1, e)
        {"up, roll 90", {0, 0, 0}, {0, 2, 0}, 90.0f,
         MakeMatrix({e, -e, 1, 0, 1, e2, -e, 0, 0, 1, e, 0})},
        // Down with roll 90, the same product with Rx(-90):
        //   row 0 = e (1, 0, 0) - (0, e, 1)           = (e, -e, -1)
        //   row 1 = (1, 0, 0) + e (0, e, 1)           = (1, e*e, e)
        //   row 2 = (0, -1, e)
        {"down, roll 90", {0, 0, 0}, {0, -2, 0}, 90.0f,
         MakeMatrix({e, -e, -1, 0, 1, e2, e, 0, 0, -1, e, 0})},
        // Level, turned: F = (3, 0, 4) / 5 = (0.6f, 0, 0.8f). s = 1, k = 1:
        //   row 0 = (k F.z, 0, -k F.x) = (0.8, 0, -0.6)
        //   row 1 = (-(F.y F.x k), s, -(F.z F.y k)) = (0, 1, 0)
        //   row 2 = (0.6, 0, 0.8)
        // The target (3, 0, 4) then maps to (2.4 - 2.4, 0, 1.8 + 3.2) =
        // (0, 0, 5): straight ahead at depth 5.
        {"level", {0, 0, 0}, {3, 0, 4}, 0.0f,
         MakeMatrix({0.8f, 0, -0.6f, 0, 0, 1, 0, 0, 0.6f, 0, 0.8f, 0})},
        // Level with roll 90: Rz(90) times the rows above.
        //   row 0 = e (0.8, 0, -0.6) - (0, 1, 0) = (0.8 e, -1, -0.6 e)
        //   row 1 = (0.8, 0, -0.6) + e (0, 1, 0)  = (0.8, e, -0.6)
        {"level, roll 90", {0, 0, 0}, {3, 0, 4}, 90.0f,
         MakeMatrix({static_cast<float>(double(e) * 0.8f), -1, static_cast<float>(double(e) * -0.6f), 0,
                     0.8f, e, -0.6f, 0, 0.6f, 0, 0.8f, 0})},
        // Pitched up: F = (0, 1, 2) / sqrt(5) = (0, 0x3ee4f92e, 0x3f64f92e),
        // about (0, 0.4472136, 0.8944272). s = sqrt(1 - F.y^2) is 0.8944272
        // and k F.z rounds to 1: a pure rotation about x, rows (1, 0, 0),
        // (0, c, -s), (0, s, c) with s = 0.4472136 and c = 0.8944272.
        {"pitched", {0, 0, 0}, {0, 1, 2}, 0.0f,
         MakeMatrix({1, 0, 0, 0, 0, FromBits(0x3f64f92e), FromBits(0xbee4f92e), 0, 0, FromBits(0x3ee4f92e),
                     FromBits(0x3f64f92e), 0})},
        // General: F = (2, 1, -2) / 3 = (0.6666667, 0.33333334, -0.6666667).
        // s = sqrt(8/9) = 0.94280905, k = 1.0606602:
        //   row 0 = (k F.z, 0, -k F.x)        = (-0.70710683, 0, -0.70710683)
        //   row 1 = (-F.y F.x k, s, -F.z F.y k) = (-0.23570228, 0.94280905, 0.23570228)
        {"general", {1, 2, 3}, {3, 3, 1}, 0.0f,
         MakeMatrix({FromBits(0xbf3504f4), 0, FromBits(0xbf3504f4), 1, FromBits(0xbe715bf0), FromBits(0x3f715bef),
                     FromBits(0x3e715bf0), 2, FromBits(0x3f2aaaab), FromBits(0x3eaaaaab), FromBits(0xbf2aaaab), 3})},
        // Nearly straight up: (0.0004, 1, 0) normalises to F.y =
        // 0.99999994f (1 - 2^-24, about 1 - 8e-8 before rounding), which is not
        // 1: the general path, with s = sqrt(2^-23 - 2^-48) = 0x39b504f3
        // (3.4526698e-4) and k about 2896. Row 0 comes out longer than 1
        // (-k F.x = -1.1585237) because F.y was rounded: that is intended.
        {"nearly up", {0, 0, 0}, {0.0004f, 1, 0}, 0.0f,
         MakeMatrix({0, 0, FromBits(0xbf944a81), 0, FromBits(0xbf944a80), FromBits(0x39b504f3), 0, 0,
                     FromBits(0x39d1b716), FromBits(0x3f7fffff), 0, 0})},
    };
    for (const CameraCase& c : cases) {
        SCOPED_TRACE(c.name);
        Camera* camera = NewCamera();
        ASSERT_NE(camera, nullptr);
        camera->WorldPosition = c.position;
        camera->WorldTarget = c.target;
        camera->Roll = c.roll;
        UpdateCameraMatrix(camera);
        ExpectMatrix(camera->ViewMatrix, c.expected);
        // Direction is the unit view axis, also row 2 before the roll turns
        // the frame about it (Rz leaves row 2 alone).
        // (In the straight cases row 2 holds e where Direction.z is 0.)
        EXPECT_EQ(camera->Direction.x, c.expected.m[8]);
        EXPECT_EQ(camera->Direction.y, c.expected.m[9]);
        DeleteCamera(camera);
    }
}

// ================================================================ look-at

struct LookAtCase {
    const char* name;
    Vector3     position;
    Vector3     target;
    Matrix34    expected;
};

TEST(LookAt, Table)
{
    const float e = QuarterTurnCos();
    const LookAtCase cases[] = {
        // F = position - target = (0, 0, 5) -> (0, 0, 1): s = k = 1 and the
        // rotation is the identity; translation is the position.
        {"along +z", {1, 2, 3}, {1, 2, -2}, MakeMatrix({1, 0, 0, 1, 0, 1, 0, 2, 0, 0, 1, 3})},
        // F = (4, 0, -3) / 5 = (0.8, 0, -0.6): the opposite sense of a camera
        // at the same place. row 0 = (k F.z, 0, -k F.x) = (-0.6, 0, -0.8).
        {"level", {4, 0, 0}, {0, 0, 3}, MakeMatrix({-0.6f, 0, -0.8f, 4, 0, 1, 0, 0, 0.8f, 0, -0.6f, 0})},
        // Target below: F = (0, 5, 0) -> (0, 1, 0), Rx(+90).
        {"target below", {0, 5, 0}, {0, 0, 0}, MakeMatrix({1, 0, 0, 0, 0, e, -1, 5, 0, 1, e, 0})},
        // Target above: F = (0, -7, 0) -> (0, -1, 0) (-7 / 7 rounds to -1
        // exactly), Rx(-90).
        {"target above", {2, 0, 0}, {2, 7, 0}, MakeMatrix({1, 0, 0, 2, 0, e, 1, 0, 0, -1, e, 0})},
        // F = (3, 3, 1) - (1, 2, 3) = (2, 1, -2): the same rotation as the
        // camera case "general", which looks from (1, 2, 3) to (3, 3, 1).
        {"general", {3, 3, 1}, {1, 2, 3},
         MakeMatrix({FromBits(0xbf3504f4), 0, FromBits(0xbf3504f4), 3, FromBits(0xbe715bf0), FromBits(0x3f715bef),
                     FromBits(0x3e715bf0), 3, FromBits(0x3f2aaaab), FromBits(0x3eaaaaab), FromBits(0xbf2aaaab), 1})},
    };
    for (const LookAtCase& c : cases) {
        SCOPED_TRACE(c.name);
        Matrix34 out;
        for (float& v : out.m) v = FromBits(0x7fc00000u);  // every entry must be written
        CreateLookAtMatrix(&c.position, &c.target, &out);
        ExpectMatrix(out, c.expected);
    }
}

// ================================================================ world matrices

Mesh* NewMesh()
{
    Mesh* mesh = CreateMesh(3, 1, 0);
    EXPECT_NE(mesh, nullptr);
    return mesh;
}

TEST(WorldMatrix, AnimationComesAfterTheModel)
{
    // World rotation = Anim x Model. Model Rz90 then Anim Rx90:
    //   Rx90 x Rz90: row 0 = Rz row 0 = (0, -1, 0); row 1 = -(Rz row 2) =
    //   (0, 0, -1); row 2 = Rz row 1 = (1, 0, 0).
    // (The other order would give rows (0, 0, 1), (1, 0, 0), (0, 1, 0).)
    // Translation: Model (1, 2, 3) + Anim (0.5, 0, 0) = (1.5, 2, 3).
    Mesh* mesh = NewMesh();
    SetRotation(&mesh->ModelMatrix, kRz90);
    SetMeshModelPosition(mesh, 1, 2, 3);
    SetRotation(&mesh->AnimMatrix, kRx90);
    mesh->AnimMatrix.m[3] = 0.5f;
    mesh->RenderFlags |= SPAN3D_MESH_BOUNDS_OUT | SPAN3D_MESH_BOUNDS_CUT;
    const uint32_t otherBits = mesh->RenderFlags & ~(SPAN3D_MESH_BOUNDS_OUT | SPAN3D_MESH_BOUNDS_CUT);
    UpdateMeshWorldMatrix(mesh);
    const float expected[9] = {0, -1, 0, 0, 0, -1, 1, 0, 0};
    ExpectRotation(mesh->WorldMatrix, expected);
    ExpectTranslation(mesh->WorldMatrix, 1.5f, 2, 3);
    EXPECT_EQ(mesh->RenderFlags, otherBits);  // only the two bounds bits go
    DeleteMesh(mesh);
}

// A tree under a moved and rotated parent P:
//   P: Model rotation Rz90, translation (10, 0, 0) (its rest position);
//      Anim translation (0, 5, 0) (the movement). World: Rz90, (10, 5, 0).
//   C (mesh, child of P): Model Rx90 at (12, 1, 3) (at rest: identity).
//   G (mesh, child of C): Model identity at (12, 1, 5).
//   a camera and a direct light hang from P, the camera's target node from C
//   and the light's target node from P.
struct Tree {
    Mesh*   parent;
    Mesh*   child;
    Mesh*   grandchild;
    Camera* camera;
    Light*  light;
};

Tree MakeTree(bool moved)
{
    Tree t = {NewMesh(), NewMesh(), NewMesh(), nullptr, nullptr};
    SetMeshModelPosition(t.parent, 10, 0, 0);
    if (moved) {
        SetRotation(&t.parent->ModelMatrix, kRz90);
        t.parent->AnimMatrix.m[7] = 5.0f;
    }
    if (moved) {
        SetRotation(&t.child->ModelMatrix, kRx90);
    }
    SetMeshModelPosition(t.child, 12, 1, 3);
    SetMeshModelPosition(t.grandchild, 12, 1, 5);
    Vector3 position = {10, 2, 0};
    Vector3 target = {12, 1, 4};
    t.camera = CreateCamera(&position, &target, 0.0f, 60.0f, 10.0f);
    Vector3 lightPosition = {10, 0, 1};
    Vector3 lightTarget = {11, 1, 0};
    float colour[4] = {1, 1, 1, 0};
    t.light = CreateDirectLight(&lightPosition, &lightTarget, colour, 1.0f, 0);
    AttachChildToNode(&t.parent->Head, &t.child->Head);
    AttachChildToNode(&t.child->Head, &t.grandchild->Head);
    AttachChildToNode(&t.parent->Head, &t.camera->Head);
    AttachChildToNode(&t.child->Head, &t.camera->TargetNode);
    AttachChildToNode(&t.parent->Head, &t.light->Head);
    AttachChildToNode(&t.parent->Head, &t.light->TargetNode);
    // What the frame driver copies in before the hierarchy update.
    t.camera->WorldPosition = t.camera->Position;
    t.camera->WorldTarget = t.camera->Target;
    t.light->WorldPosition = t.light->Position;
    t.light->WorldTarget = t.light->Target;
    return t;
}

void FreeTree(Tree& t)
{
    DeleteMesh(t.parent);  // takes C and G with it, cuts the camera and light loose
    DeleteCamera(t.camera);
    DeleteLight(t.light);
}

void ExpectVector(const Vector3& v, float x, float y, float z)
{
    EXPECT_EQ(v.x, x);
    EXPECT_EQ(v.y, y);
    EXPECT_EQ(v.z, z);
}

TEST(WorldMatrix, ChildrenFollowAMovedAndRotatedParent)
{
    Tree t = MakeTree(true);
    UpdateNodeHierarchy(&t.parent->Head);

    ExpectRotation(t.parent->WorldMatrix, kRz90);
    ExpectTranslation(t.parent->WorldMatrix, 10, 5, 0);

    // C: rotation = P world x C = Rz90 x Rx90: row 0 = -(Rx row 1) =
    // (0, 0, 1), row 1 = Rx row 0 = (1, 0, 0), row 2 = Rx row 2 = (0, 1, 0).
    // Translation: (12, 1, 3) - P rest (10, 0, 0) = (2, 1, 3); Rz90 turns it
    // to (-1, 2, 3); plus P's world translation (10, 5, 0): (9, 7, 3).
    const float childRotation[9] = {0, 0, 1, 1, 0, 0, 0, 1, 0};
    ExpectRotation(t.child->WorldMatrix, childRotation);
    ExpectTranslation(t.child->WorldMatrix, 9, 7, 3);

    // G below C: rotation C world x identity; translation (12, 1, 5) - C rest
    // (12, 1, 3) = (0, 0, 2), turned by C's world rotation to (2, 0, 0), plus
    // (9, 7, 3): (11, 7, 3).
    ExpectRotation(t.grandchild->WorldMatrix, childRotation);
    ExpectTranslation(t.grandchild->WorldMatrix, 11, 7, 3);

    // Camera below P: (10, 2, 0) - (10, 0, 0) = (0, 2, 0) -> Rz90 (-2, 0, 0)
    // -> + (10, 5, 0) = (8, 5, 0). Its target node below C: (12, 1, 4) -
    // (12, 1, 3) = (0, 0, 1) -> (1, 0, 0) -> + (9, 7, 3) = (10, 7, 3).
    ExpectVector(t.camera->WorldPosition, 8, 5, 0);
    ExpectVector(t.camera->WorldTarget, 10, 7, 3);
    // The host's values are not touched.
    ExpectVector(t.camera->Position, 10, 2, 0);

    // Light below P: (10, 0, 1) -> (0, 0, 1) -> (0, 0, 1) -> (10, 5, 1).
    // Its target node below P: (11, 1, 0) -> (1, 1, 0) -> (-1, 1, 0) ->
    // (9, 6, 0).
    ExpectVector(t.light->WorldPosition, 10, 5, 1);
    ExpectVector(t.light->WorldTarget, 9, 6, 0);
    FreeTree(t);
}

TEST(WorldMatrix, NothingFollowsANodeThatIsNotAMesh)
{
    // A mesh below a camera takes only its own matrices; the camera at the
    // top keeps the transformed position the frame driver gave it.
    Camera* camera = NewCamera();
    Mesh* mesh = NewMesh();
    SetMeshModelPosition(mesh, 4, 5, 6);
    AttachChildToNode(&camera->Head, &mesh->Head);
    camera->WorldPosition = {-1, -2, -3};
    UpdateNodeHierarchy(&camera->Head);
    ExpectTranslation(mesh->WorldMatrix, 4, 5, 6);
    ExpectRotation(mesh->WorldMatrix, kIdentity);
    ExpectVector(camera->WorldPosition, -1, -2, -3);
    DetachChildFromNode(&camera->Head, &mesh->Head);
    DeleteMesh(mesh);
    DeleteCamera(camera);
}

TEST(WorldMatrix, SceneHierarchyWalksTheMeshList)
{
    // A scene record built by hand: a moved tree and a leaf mesh.
    Tree t = MakeTree(true);
    Mesh* leaf = NewMesh();
    SetMeshModelPosition(leaf, 7, 8, 9);
    leaf->AnimMatrix.m[11] = 1.0f;
    Scene scene = {};
    scene.Meshes = t.parent;
    t.parent->SceneNext = leaf;
    UpdateSceneHierarchy(&scene);
    ExpectTranslation(t.child->WorldMatrix, 9, 7, 3);
    ExpectTranslation(t.grandchild->WorldMatrix, 11, 7, 3);
    ExpectVector(t.camera->WorldPosition, 8, 5, 0);
    ExpectTranslation(leaf->WorldMatrix, 7, 8, 10);
    t.parent->SceneNext = nullptr;
    DeleteMesh(leaf);
    FreeTree(t);
}

// ================================================================ billboards

struct BillboardCase {
    const char* name;
    uint32_t    mode;       // BillboardMode word
    float       view[12];   // expected ViewMatrix
    float       world[12];  // expected WorldMatrix
};

TEST(BillboardTransform, ModesOnDistinctEntries)
{
    // Before: View entries 1 .. 12, World entries 21 .. 32, row by row, so
    // every kept or replaced entry shows.
    const float view0[12] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    const float world0[12] = {21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31, 32};
    const BillboardCase cases[] = {
        // 1: both rotations become the identity. View keeps its translation;
        // World keeps its x (24) and takes y and z from View (8, 12).
        {"1 faces the camera", 1,
         {1, 0, 0, 4, 0, 1, 0, 8, 0, 0, 1, 12},
         {1, 0, 0, 24, 0, 1, 0, 8, 0, 0, 1, 12}},
        // 4: column 0 stays, columns 1 and 2 become the identity's.
        {"4 keeps column 0", 4,
         {1, 0, 0, 4, 5, 1, 0, 8, 9, 0, 1, 12},
         {21, 0, 0, 24, 25, 1, 0, 28, 29, 0, 1, 32}},
        // 8: column 1 stays.
        {"8 keeps column 1", 8,
         {1, 2, 0, 4, 0, 6, 0, 8, 0, 10, 1, 12},
         {1, 22, 0, 24, 0, 26, 0, 28, 0, 30, 1, 32}},
        // 16: column 2 stays.
        {"16 keeps column 2", 16,
         {1, 0, 3, 4, 0, 1, 7, 8, 0, 0, 11, 12},
         {1, 0, 23, 24, 0, 1, 27, 28, 0, 0, 31, 32}},
        // Only the low five bits choose: 0x41 is mode 1, 0x24 mode 4.
        {"0x41 is mode 1", 0x41,
         {1, 0, 0, 4, 0, 1, 0, 8, 0, 0, 1, 12},
         {1, 0, 0, 24, 0, 1, 0, 8, 0, 0, 1, 12}},
        {"0x24 is mode 4", 0x24,
         {1, 0, 0, 4, 5, 1, 0, 8, 9, 0, 1, 12},
         {21, 0, 0, 24, 25, 1, 0, 28, 29, 0, 1, 32}},
        // Any other value leaves both matrices as computed.
        {"0 nothing", 0, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, {21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31, 32}},
        {"2 nothing", 2, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, {21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31, 32}},
        {"3 nothing", 3, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, {21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31, 32}},
        {"0x20 nothing", 0x20, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, {21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31, 32}},
    };
    Mesh* mesh = NewMesh();
    for (const BillboardCase& c : cases) {
        SCOPED_TRACE(c.name);
        mesh->ViewMatrix = MakeMatrix(view0);
        mesh->WorldMatrix = MakeMatrix(world0);
        mesh->BillboardMode = c.mode;
        ApplyBillboard(mesh);
        ExpectMatrix(mesh->ViewMatrix, MakeMatrix(c.view));
        ExpectMatrix(mesh->WorldMatrix, MakeMatrix(c.world));
    }
    DeleteMesh(mesh);
}

// ================================================================ frame set-up

// The frame the view update and the bounds test read: a hand-made 320 x 240
// viewport (centre (160, 120), ScaleY -1, scissor 0..320 x 0..240) and a
// camera at the origin looking along +z with Focale 100, Near 10, Far 1000.
// With Focale 100, a corner at depth 100 projects with a = 100 / 100 = 1
// exactly (100 * 0.01 rounds to 1.0 in double): screen x = x + 160, screen
// y = -y + 120. g_Frame is restored afterwards.
class FrameTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        saved_ = g_Frame;
        viewport_ = {};
        viewport_.Width = 320;
        viewport_.Height = 240;
        viewport_.CentreX = 160;
        viewport_.CentreY = 120;
        viewport_.ScissorMinX = 0;
        viewport_.ScissorMaxX = 320;
        viewport_.ScissorMinY = 0;
        viewport_.ScissorMaxY = 240;
        viewport_.ScaleY = -1.0f;
        viewport_.AspectTerm = -1.0f;
        camera_ = NewCamera();
        ASSERT_NE(camera_, nullptr);
        camera_->Near = 10.0f;
        camera_->Far = 1000.0f;
        camera_->Focale = 100.0f;
        camera_->WorldPosition = {0, 0, 0};
        camera_->WorldTarget = {0, 0, 1};
        UpdateCameraMatrix(camera_);
        g_Frame.CurrentViewport = &viewport_;
        g_Frame.CurrentCamera = camera_;
        SetFrameClip(&viewport_);
    }
    void TearDown() override
    {
        DeleteCamera(camera_);
        g_Frame = saved_;
    }

    FrameState saved_;
    Viewport   viewport_;
    Camera*    camera_ = nullptr;
};

// A mesh of two vertices at lo and hi with the box CreateAABB makes of them,
// so that its box spans lo .. hi.
Mesh* MakeBoxedMesh(Vector3 lo, Vector3 hi)
{
    Mesh* mesh = CreateMesh(2, 1, 0);
    EXPECT_NE(mesh, nullptr);
    SetMeshVertex(mesh, 0, lo.x, lo.y, lo.z);
    SetMeshVertex(mesh, 1, hi.x, hi.y, hi.z);
    mesh->BoundsMesh = CreateAABB(mesh);
    EXPECT_NE(mesh->BoundsMesh, nullptr);
    return mesh;
}

// ================================================================ bounds test

constexpr uint32_t kOut = SPAN3D_MESH_BOUNDS_OUT;  // 0x20000: skip the mesh
constexpr uint32_t kCut = SPAN3D_MESH_BOUNDS_CUT;  // 0x80000: test every vertex

struct BoundsCase {
    const char* name;
    Vector3     lo, hi;     // box in model space
    Vector3     offset;     // translation of the ViewMatrix (rotation identity)
    Vector3     pivot;
    uint32_t    meshBits;   // of 0x20000 | 0x80000 on the mesh afterwards
    uint32_t    boxBits;    // on the box
};

TEST_F(FrameTest, BoundsTable)
{
    const Vector3 lo = {-1, -1, -1}, hi = {1, 1, 1};
    const Vector3 none = {0, 0, 0};
    const BoundsCase cases[] = {
        // Depth 99 .. 101, screen x and y within 160 +- 1.02: nothing set.
        {"inside", lo, hi, {0, 0, 100}, none, 0, 0},
        // Every corner beyond one plane: rejected. Near and far also cut.
        {"before near", lo, hi, {0, 0, 5}, none, kOut | kCut, kCut},        // depth 4 .. 6
        {"beyond far", lo, hi, {0, 0, 2000}, none, kOut | kCut, kCut},      // 1999 .. 2001
        {"left", lo, hi, {-500, 0, 100}, none, kOut, 0},                    // screen x near -340
        {"right", lo, hi, {500, 0, 100}, none, kOut, 0},                    // near 660
        {"top", lo, hi, {0, 500, 100}, none, kOut, 0},                      // screen y near -380
        {"bottom", lo, hi, {0, -500, 100}, none, kOut, 0},                  // near 620
        // Crossing near or far: the clipped transform, not rejected.
        {"straddles near", lo, hi, {0, 0, 10}, none, kCut, kCut},           // 9 .. 11
        {"straddles far", lo, hi, {0, 0, 1000}, none, kCut, kCut},          // 999 .. 1001
        // Corners at depth exactly 10: 10 - 10 is +0, not greater than 0, so
        // they count as outside near and set the cut bit.
        {"corner on near", lo, hi, {0, 0, 11}, none, kCut, kCut},           // 10 .. 12
        // Depth 8 .. 10: all eight corners are outside near: rejected.
        {"far face on near", lo, hi, {0, 0, 9}, none, kOut | kCut, kCut},
        // Corners at depth exactly 1000: 1000 - 1000 is +0, not greater, so
        // they are inside far: nothing set, the fast transform serves.
        {"corner on far", lo, hi, {0, 0, 999}, none, 0, 0},                 // 998 .. 1000
        // Depth 1000 .. 1002: the front corners are inside, the back ones
        // beyond: cut, not rejected.
        {"near face on far", lo, hi, {0, 0, 1001}, none, kCut, kCut},
        // Behind near corners have no screen bits, so a box that also lies
        // wholly left of the scissor is not rejected.
        {"straddles near, left", lo, hi, {-500, 0, 10}, none, kCut, kCut},
        // x from -162 to -160 at depth 98 .. 100. The corners (-160, +-1,
        // 100) project to 1 * -160 + 160 = 0 exactly: 0 - ClipXMin is +0,
        // not less than 0, so they have no left bit; every other corner is
        // left of 0. The common code is 0: not rejected.
        {"right face on the left edge", lo, hi, {-161, 0, 99}, none, 0, 0},
        // Half a pixel further left all eight corners have the left bit.
        {"just past the left edge", lo, hi, {-161.5f, 0, 99}, none, kOut, 0},
        // x from 160 to 162: the corners at depth 100 project to 320 =
        // ClipXMax exactly, +0 is not greater: not rejected.
        {"left face on the right edge", lo, hi, {161, 0, 99}, none, 0, 0},
        // y from -122 to -120: the corners at depth 100 project to
        // -1 * -120 + 120 = 240 = ClipYMax: not below; not rejected.
        {"top face on the bottom edge", lo, hi, {0, -121, 99}, none, 0, 0},
        // The pivot moves the box as it moves the mesh: depth 100 - 95 gives
        // 4 .. 6, before near.
        {"pivot", lo, hi, {0, 0, 100}, {0, 0, -95}, kOut | kCut, kCut},
    };
    for (const BoundsCase& c : cases) {
        SCOPED_TRACE(c.name);
        Mesh* mesh = MakeBoxedMesh(c.lo, c.hi);
        MatrixIdentity(&mesh->ViewMatrix);
        mesh->ViewMatrix.m[3] = c.offset.x;
        mesh->ViewMatrix.m[7] = c.offset.y;
        mesh->ViewMatrix.m[11] = c.offset.z;
        mesh->Pivot = c.pivot;
        const uint32_t meshBefore = mesh->RenderFlags;
        const uint32_t boxBefore = mesh->BoundsMesh->RenderFlags;
        TestMeshBounds(mesh);
        EXPECT_EQ(mesh->RenderFlags, meshBefore | c.meshBits);
        EXPECT_EQ(mesh->BoundsMesh->RenderFlags, boxBefore | c.boxBits);
        DeleteMesh(mesh);
    }
}

TEST_F(FrameTest, BoundsStoreCornerDepthsAndProjections)
{
    // Box +-1 through (0, 0, 10): corner 0 is (min x, max y, min z) =
    // (-1, 1, -1) -> view (-1, 1, 9), before near: only its view z is
    // written. Corner 5 is (1, 1, 1) -> (1, 1, 11): a = 100 / 11, so its
    // screen point is 160 + 100/11 and 120 - 100/11.
    Mesh* mesh = MakeBoxedMesh({-1, -1, -1}, {1, 1, 1});
    MatrixIdentity(&mesh->ViewMatrix);
    mesh->ViewMatrix.m[11] = 10.0f;
    MeshVertex* corners = mesh->BoundsMesh->Vertices;
    for (int i = 0; i < 8; ++i) {
        corners[i].Outcode = 0xdeadbeefu;
        corners[i].ViewPosition = {-7, -7, -7};
        corners[i].ScreenPosition = {-7, -7, -7};
    }
    TestMeshBounds(mesh);
    EXPECT_EQ(corners[0].ViewPosition.z, 9.0f);
    EXPECT_EQ(corners[0].ViewPosition.x, -7.0f);
    EXPECT_EQ(corners[0].ScreenPosition.x, -7.0f);
    EXPECT_EQ(corners[0].ScreenPosition.z, -7.0f);
    ExpectVector(corners[5].ViewPosition, 1, 1, 11);
    EXPECT_EQ(corners[5].ScreenPosition.x, static_cast<float>(160.0 + 100.0 * (1.0 / 11.0)));
    EXPECT_EQ(corners[5].ScreenPosition.y, static_cast<float>(120.0 - 100.0 * (1.0 / 11.0)));
    EXPECT_EQ(corners[5].ScreenPosition.z, static_cast<float>(1.0 / 11.0));
    // The codes are not stored in the corners.
    for (int i = 0; i < 8; ++i) EXPECT_EQ(corners[i].Outcode, 0xdeadbeefu) << i;
    EXPECT_EQ(mesh->RenderFlags & (kOut | kCut), kCut);

    // At depth 100 the projection is exact: corner 5 (1, 1, 1) through
    // (0, 0, 99) lands on (161, 119) with 1/z = 0.01f.
    mesh->ViewMatrix.m[11] = 99.0f;
    TestMeshBounds(mesh);
    ExpectVector(corners[5].ViewPosition, 1, 1, 100);
    ExpectVector(corners[5].ScreenPosition, 161, 119, 0.01f);
    DeleteMesh(mesh);
}

TEST_F(FrameTest, NegativeZeroOnTheLeftEdgeIsNotLeft)
{
    // A hand-made frame where the screen x of some corners is -0.0: centre x
    // of -0.0 and a view x of -0.0 (a * -0 + -0 is -0). Then x - ClipXMin is
    // -0.0 - 0.0 = -0.0, the pattern 0x80000000, which is not "above
    // 0x80000000": not left. The other corners have x -1 and are left of 0.
    // Their common code is 0, so the box is not rejected.
    //
    // Box x from -1 to -0.0, y 1 .. 2, z 0 .. 1. The pivot's -0.0 keeps the
    // sign (-0 + -0 = -0). Row 0 of the view matrix is (1, -0, -0 | -0), so
    // that every term of a corner with x -0 is -0 (y and z are not negative).
    viewport_.CentreX = -0.0f;
    Mesh* mesh = MakeBoxedMesh({-1, 1, 0}, {-0.0f, 2, 1});
    ASSERT_EQ(Bits(mesh->BoundsMesh->Vertices[1].ModelPosition.x), 0x80000000u);
    mesh->Pivot = {-0.0f, 0, 0};
    mesh->ViewMatrix = MakeMatrix({1, -0.0f, -0.0f, -0.0f, 0, 1, 0, 0, 0, 0, 1, 100});
    TestMeshBounds(mesh);
    // Corner 1 is (max x, max y, min z) = (-0.0, 2, 0): depth 100, a = 1.
    EXPECT_EQ(Bits(mesh->BoundsMesh->Vertices[1].ScreenPosition.x), 0x80000000u);
    EXPECT_EQ(mesh->BoundsMesh->Vertices[1].ScreenPosition.y, 118.0f);
    EXPECT_EQ(mesh->RenderFlags & (kOut | kCut), 0u);

    // With the scissor starting at 1 those corners are left as well.
    g_Frame.ClipXMin = 1.0f;
    TestMeshBounds(mesh);
    EXPECT_EQ(mesh->RenderFlags & (kOut | kCut), kOut);
    DeleteMesh(mesh);
}

// ================================================================ view update

Mesh* NewCube()
{
    Vector3 one = {1, 1, 1};
    Mesh* cube = CubeCreate(2.0f, &one, nullptr);  // box +-1, Form 1
    EXPECT_NE(cube, nullptr);
    return cube;
}

TEST_F(FrameTest, SceneViewMatrices)
{
    // Camera at (0, 0, -10) looking along +z: rotation identity, translation
    // (0, 0, -10), so View = World moved 10 further away.
    camera_->WorldPosition = {0, 0, -10};
    camera_->WorldTarget = {0, 0, 0};
    UpdateCameraMatrix(camera_);

    // A: ordinary leaf, rotation kCycle at (1, 2, 3): View kCycle, (1, 2, 13).
    Mesh* a = NewCube();
    SetRotation(&a->ModelMatrix, kCycle);
    SetMeshModelPosition(a, 1, 2, 3);
    // B: Form 2 leaf. Its ViewMatrix is left as it was (a stale matrix at
    // depth 5000), yet its box takes both matrices and is tested with it:
    // beyond far, rejected and cut.
    Mesh* b = NewCube();
    b->Form = kFormNothing;
    MatrixIdentity(&b->ViewMatrix);
    b->ViewMatrix.m[11] = 5000.0f;
    // C at (0, 0, 50) with child D at (0, 0, 60): C View (0, 0, 60), D View
    // (0, 0, 70). D is a billboard in mode 1 with rotation kCycle; below a
    // parent the billboard is not applied, so its View keeps kCycle.
    Mesh* c = NewCube();
    SetMeshModelPosition(c, 0, 0, 50);
    Mesh* d = NewCube();
    d->Form = kFormBillboard;
    d->BillboardMode = 1;
    SetRotation(&d->ModelMatrix, kCycle);
    SetMeshModelPosition(d, 0, 0, 60);
    AttachChildToNode(&c->Head, &d->Head);
    // E: a billboard leaf in mode 1, rotation kCycle at (1, 2, 3): View
    // rotation identity, (1, 2, 13); World rotation identity, x 1 from the
    // world, y and z 2 and 13 from the view.
    Vector3 one = {1, 1, 1};
    Mesh* e = BillboardCreate(2.0f, &one, nullptr);
    ASSERT_NE(e, nullptr);
    e->BillboardMode = 1;
    SetRotation(&e->ModelMatrix, kCycle);
    SetMeshModelPosition(e, 1, 2, 3);

    Scene scene = {};
    scene.Meshes = a;
    a->SceneNext = b;
    b->SceneNext = c;
    c->SceneNext = e;
    UpdateSceneHierarchy(&scene);
    // Stale bits of an earlier frame. The top meshes' and their boxes' are
    // cleared by the view update; the box of a child keeps its bit.
    a->RenderFlags |= kOut | kCut;
    a->BoundsMesh->RenderFlags |= kOut | kCut;
    d->BoundsMesh->RenderFlags |= kCut;
    UpdateSceneViewMatrices(&scene);

    ExpectRotation(a->ViewMatrix, kCycle);
    ExpectTranslation(a->ViewMatrix, 1, 2, 13);
    EXPECT_EQ(a->RenderFlags & (kOut | kCut), 0u);
    EXPECT_EQ(a->BoundsMesh->RenderFlags & (kOut | kCut), 0u);
    ExpectMatrix(a->BoundsMesh->WorldMatrix, a->WorldMatrix);
    ExpectMatrix(a->BoundsMesh->ViewMatrix, a->ViewMatrix);

    ExpectRotation(b->ViewMatrix, kIdentity);
    ExpectTranslation(b->ViewMatrix, 0, 0, 5000);
    ExpectMatrix(b->BoundsMesh->ViewMatrix, b->ViewMatrix);
    EXPECT_EQ(b->RenderFlags & (kOut | kCut), kOut | kCut);

    ExpectTranslation(c->ViewMatrix, 0, 0, 60);
    ExpectRotation(d->ViewMatrix, kCycle);
    ExpectTranslation(d->ViewMatrix, 0, 0, 70);
    ExpectMatrix(d->BoundsMesh->ViewMatrix, d->ViewMatrix);
    EXPECT_EQ(d->RenderFlags & (kOut | kCut), 0u);
    EXPECT_EQ(d->BoundsMesh->RenderFlags & (kOut | kCut), kCut);

    ExpectRotation(e->ViewMatrix, kIdentity);
    ExpectTranslation(e->ViewMatrix, 1, 2, 13);
    ExpectRotation(e->WorldMatrix, kIdentity);
    ExpectTranslation(e->WorldMatrix, 1, 2, 13);
    ExpectMatrix(e->BoundsMesh->WorldMatrix, e->WorldMatrix);

    a->SceneNext = b->SceneNext = c->SceneNext = nullptr;
    DeleteMesh(a);
    DeleteMesh(b);
    DeleteMesh(c);
    DeleteMesh(e);
}

struct BillboardSceneCase {
    const char* name;
    uint32_t    mode;
    float       rotation[9];  // of View and World alike
    Vector3     worldT;       // World translation afterwards
};

TEST_F(FrameTest, BillboardModesOnASimpleCamera)
{
    // Camera at (0, 0, -10) along +z, billboard with rotation kCycle (rows
    // (0, 0, 1), (1, 0, 0), (0, 1, 0); columns (0, 1, 0), (0, 0, 1),
    // (1, 0, 0)) at (1, 2, 3). View translation (1, 2, 13) in every mode.
    camera_->WorldPosition = {0, 0, -10};
    camera_->WorldTarget = {0, 0, 0};
    UpdateCameraMatrix(camera_);
    const BillboardSceneCase cases[] = {
        {"1", 1, {1, 0, 0, 0, 1, 0, 0, 0, 1}, {1, 2, 13}},
        {"4 keeps column 0", 4, {0, 0, 0, 1, 1, 0, 0, 0, 1}, {1, 2, 3}},
        {"8 keeps column 1", 8, {1, 0, 0, 0, 0, 0, 0, 1, 1}, {1, 2, 3}},
        {"16 keeps column 2", 16, {1, 0, 1, 0, 1, 0, 0, 0, 0}, {1, 2, 3}},
        {"2 leaves it", 2, {0, 0, 1, 1, 0, 0, 0, 1, 0}, {1, 2, 3}},
    };
    Vector3 one = {1, 1, 1};
    Mesh* mesh = BillboardCreate(2.0f, &one, nullptr);
    ASSERT_NE(mesh, nullptr);
    ASSERT_EQ(mesh->Form, kFormBillboard);
    SetRotation(&mesh->ModelMatrix, kCycle);
    SetMeshModelPosition(mesh, 1, 2, 3);
    Scene scene = {};
    scene.Meshes = mesh;
    for (const BillboardSceneCase& c : cases) {
        SCOPED_TRACE(c.name);
        mesh->BillboardMode = c.mode;
        UpdateSceneHierarchy(&scene);
        UpdateSceneViewMatrices(&scene);
        ExpectRotation(mesh->ViewMatrix, c.rotation);
        ExpectTranslation(mesh->ViewMatrix, 1, 2, 13);
        ExpectRotation(mesh->WorldMatrix, c.rotation);
        ExpectTranslation(mesh->WorldMatrix, c.worldT.x, c.worldT.y, c.worldT.z);
        EXPECT_EQ(mesh->RenderFlags & (kOut | kCut), 0u);
    }
    DeleteMesh(mesh);
}

TEST_F(FrameTest, AMeshWithoutABoxTakesTheTestedTransform)
{
    Mesh* mesh = NewCube();
    FreeBoundsMesh(mesh);
    Scene scene = {};
    scene.Meshes = mesh;
    UpdateSceneHierarchy(&scene);
    UpdateSceneViewMatrices(&scene);
    EXPECT_EQ(mesh->RenderFlags & (kOut | kCut), kCut);
    DeleteMesh(mesh);
}

}  // namespace
}  // namespace span3d
