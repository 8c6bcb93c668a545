// Transforms: world matrices through the node hierarchy, the camera's matrix,
// the look-at builder, the per-frame view matrices and the billboard
// orientations. The bounds test that the view update ends with lives in
// visibility.cpp.
//
// Precision. As in the kernel: intermediates are carried in double and
// rounded to float once, where a result is stored into a float field (a
// matrix entry, a Vector3). Points that are handed to a kernel routine as a
// Vector3 are rounded when they are stored there, as the routine's argument
// is a record of floats.
//
// Matrix layout reminder (Matrix34): m[4 * r + c] is row r, column c; column 3
// is the translation. Index names below use [r][c].
#include <math.h>
#include <stddef.h>

#include "kernel/kernel.h"
#include "objects/objects.h"
#include "pipeline/frame_state.h"
#include "pipeline/pipeline.h"

namespace span3d {

namespace {

inline float F(double x) { return static_cast<float>(x); }

// The rotation part (nine entries) of `from` into `to`; the translation
// column of `to` stays.
inline void CopyRotation(const Matrix34* from, Matrix34* to)
{
    for (int32_t r = 0; r < 3; ++r) {
        to->m[4 * r + 0] = from->m[4 * r + 0];
        to->m[4 * r + 1] = from->m[4 * r + 1];
        to->m[4 * r + 2] = from->m[4 * r + 2];
    }
}

inline void SetRotationIdentity(Matrix34* m)
{
    m->m[0] = 1.0f; m->m[1] = 0.0f; m->m[2] = 0.0f;
    m->m[4] = 0.0f; m->m[5] = 1.0f; m->m[6] = 0.0f;
    m->m[8] = 0.0f; m->m[9] = 0.0f; m->m[10] = 1.0f;
}

inline Mesh* AsMesh(Node* node) { return reinterpret_cast<Mesh*>(node); }

// The object that holds an embedded TargetNode: a Camera for kind 8, a Light
// for kind 32. The target node is a field, so its owner lies a fixed offset
// before it.
inline Camera* CameraOfTarget(Node* target)
{
    return reinterpret_cast<Camera*>(reinterpret_cast<char*>(target) - offsetof(Camera, TargetNode));
}
inline Light* LightOfTarget(Node* target)
{
    return reinterpret_cast<Light*>(reinterpret_cast<char*>(target) - offsetof(Light, TargetNode));
}

// A point given in absolute space, carried along by a mesh parent: first
// taken back from the parent's rest position (the translation of its
// ModelMatrix), then put through the parent's WorldMatrix. The difference is
// stored as floats, as MatrixTransformPoint works on a Vector3 in place; with
// the parent at rest (identity rotation, world translation equal to the model
// translation) the point comes back unchanged.
void FollowParent(const Mesh* parent, const Vector3* point, Vector3* out)
{
    out->x = point->x - parent->ModelMatrix.m[3];
    out->y = point->y - parent->ModelMatrix.m[7];
    out->z = point->z - parent->ModelMatrix.m[11];
    MatrixTransformPoint(&parent->WorldMatrix, out);
}

// Rows 0 and 1 of a view-aligned rotation whose row 2 is the unit vector f,
// with f.y not +-1: row 0 is horizontal (no y), row 1 completes the frame.
//   s = sqrt(1 - f.y^2), k = 1 / s
//   row 0 = (k f.z, 0, -k f.x)
//   row 1 = (-(f.y f.x k), s, -(f.z f.y k))
//   row 2 = f
// s and k stay in double; each entry is rounded once where it is stored.
// f.y^2 and the pair products are exact in double, so the sums are left to
// right as written.
void BuildAimRotation(const Vector3* f, Matrix34* out)
{
    const double fx = f->x, fy = f->y, fz = f->z;
    const double s = sqrt(1.0 - fy * fy);
    const double k = 1.0 / s;
    float* m = out->m;
    m[0] = F(k * fz);
    m[1] = 0.0f;
    m[2] = F(-(k * fx));
    m[4] = F(-((fy * fx) * k));
    m[5] = F(s);
    m[6] = F(-((fz * fy) * k));
    m[8] = f->x;
    m[9] = f->y;
    m[10] = f->z;
}

// The rotation of an aim matrix for the unit direction f: straight up or down
// (f.y exactly +1 or -1) takes a quarter turn about x, -90 degrees for f.y
// below 0, +90 otherwise; every other direction goes through
// BuildAimRotation. The test is on bits: f.y - 1 or f.y + 1 is a zero of
// either sign. A direction close to but not at +-1 takes the general path
// with a large k; that is intended.
void AimRotation(const Vector3* f, Matrix34* out)
{
    const uint32_t belowOne = FloatBits(f->y - 1.0f) & 0x7fffffffu;
    const uint32_t aboveMinusOne = FloatBits(f->y + 1.0f) & 0x7fffffffu;
    if (belowOne == 0 || aboveMinusOne == 0) {
        MatrixRotationX(out, f->y < 0.0f ? -90.0f : 90.0f);
        return;
    }
    BuildAimRotation(f, out);
}

}  // namespace

// ---------------------------------------------------------------- world matrices

void UpdateMeshWorldMatrix(Mesh* mesh)
{
    mesh->RenderFlags &= ~(SPAN3D_MESH_BOUNDS_CUT | SPAN3D_MESH_BOUNDS_OUT);
    MatrixMultiplyRotation(&mesh->ModelMatrix, &mesh->AnimMatrix, &mesh->WorldMatrix);
    mesh->WorldMatrix.m[3] = mesh->ModelMatrix.m[3] + mesh->AnimMatrix.m[3];
    mesh->WorldMatrix.m[7] = mesh->ModelMatrix.m[7] + mesh->AnimMatrix.m[7];
    mesh->WorldMatrix.m[11] = mesh->ModelMatrix.m[11] + mesh->AnimMatrix.m[11];
}

void UpdateNodeHierarchy(Node* node)
{
    Node* parent = node->Parent;
    const bool meshParent = parent != nullptr && IsAnyMeshKind(parent->Kind);
    switch (NodeKind(node)) {
    case KindMesh:
    case KindMeshVariant: {
        Mesh* mesh = AsMesh(node);
        UpdateMeshWorldMatrix(mesh);
        if (meshParent) {
            // Children are kept in the same absolute space as their parent:
            // the child's own rotation is followed by the parent's world
            // rotation, and its translation is carried by the parent's
            // movement away from its rest position.
            const Mesh* p = AsMesh(parent);
            Matrix34 rotation;
            MatrixMultiplyRotation(&mesh->WorldMatrix, &p->WorldMatrix, &rotation);
            CopyRotation(&rotation, &mesh->WorldMatrix);
            const Vector3 t = {mesh->WorldMatrix.m[3], mesh->WorldMatrix.m[7], mesh->WorldMatrix.m[11]};
            Vector3 moved;
            FollowParent(p, &t, &moved);
            mesh->WorldMatrix.m[3] = moved.x;
            mesh->WorldMatrix.m[7] = moved.y;
            mesh->WorldMatrix.m[11] = moved.z;
        }
        break;
    }
    case KindCamera:
        if (meshParent) {
            Camera* camera = reinterpret_cast<Camera*>(node);
            FollowParent(AsMesh(parent), &camera->Position, &camera->WorldPosition);
        }
        break;
    case KindLight:
        if (meshParent) {
            Light* light = reinterpret_cast<Light*>(node);
            FollowParent(AsMesh(parent), &light->Position, &light->WorldPosition);
        }
        break;
    case KindCameraTarget:
        if (meshParent) {
            Camera* camera = CameraOfTarget(node);
            FollowParent(AsMesh(parent), &camera->Target, &camera->WorldTarget);
        }
        break;
    case KindLightTarget:
        if (meshParent) {
            Light* light = LightOfTarget(node);
            FollowParent(AsMesh(parent), &light->Target, &light->WorldTarget);
        }
        break;
    default:
        break;
    }
    for (int32_t i = 0; i < node->ChildCount; ++i) {
        UpdateNodeHierarchy(node->Children[i]);
    }
}

void UpdateSceneHierarchy(Scene* scene)
{
    for (Mesh* mesh = scene->Meshes; mesh != nullptr; mesh = mesh->SceneNext) {
        if (mesh->Head.ChildCount > 0) {
            UpdateNodeHierarchy(&mesh->Head);
        } else {
            UpdateMeshWorldMatrix(mesh);
        }
    }
}

// ---------------------------------------------------------------- camera and look-at

void UpdateCameraMatrix(Camera* camera)
{
    Vector3* f = &camera->Direction;
    f->x = camera->WorldTarget.x - camera->WorldPosition.x;
    f->y = camera->WorldTarget.y - camera->WorldPosition.y;
    f->z = camera->WorldTarget.z - camera->WorldPosition.z;
    VectorNormalize(f);

    Matrix34 aim = {};
    AimRotation(f, &aim);
    // Roll turns the frame about the view axis: M = Rz(Roll) * M. A roll of 0
    // multiplies by the exact identity and changes no value (zero signs aside).
    Matrix34 roll = {};
    MatrixRotationZ(&roll, camera->Roll);
    MatrixMultiplyRotation(&aim, &roll, &camera->ViewMatrix);
    // The translation is the camera's position itself, not its negated image:
    // MatrixToCameraSpace subtracts it before rotating.
    camera->ViewMatrix.m[3] = camera->WorldPosition.x;
    camera->ViewMatrix.m[7] = camera->WorldPosition.y;
    camera->ViewMatrix.m[11] = camera->WorldPosition.z;
}

}  // namespace span3d

using namespace span3d;

// Aims an object: row 2 of the rotation points from the target back to the
// position (the opposite sense of a camera's view axis), row 0 is horizontal,
// and the translation is the position. No roll.
extern "C" SPAN3D_API void CreateLookAtMatrix(const Vector3* position, const Vector3* target, Matrix34* out)
{
    Vector3 f = {position->x - target->x, position->y - target->y, position->z - target->z};
    VectorNormalize(&f);
    AimRotation(&f, out);
    out->m[3] = position->x;
    out->m[7] = position->y;
    out->m[11] = position->z;
}

namespace span3d {

// ---------------------------------------------------------------- view matrices

namespace {

// Modes 4, 8 and 16 keep one column of the rotation (x, y or z axis in the
// rows' terms) and set the other two columns to the identity's.
void KeepOneColumn(Matrix34* matrix, int32_t keep)
{
    float* m = matrix->m;
    for (int32_t c = 0; c < 3; ++c) {
        if (c == keep) {
            continue;
        }
        for (int32_t r = 0; r < 3; ++r) {
            m[4 * r + c] = (r == c) ? 1.0f : 0.0f;
        }
    }
}

}  // namespace

void ApplyBillboard(Mesh* mesh)
{
    Matrix34* view = &mesh->ViewMatrix;
    Matrix34* world = &mesh->WorldMatrix;
    switch (mesh->BillboardMode & kBillboardModeMask) {
    case kBillboardFace:
        // Faces the camera fully. The world translation mixes spaces: x stays
        // the world x, y and z are taken from the view translation. That is
        // the settled behaviour of this mode; only the view matrix draws.
        SetRotationIdentity(view);
        SetRotationIdentity(world);
        world->m[7] = view->m[7];
        world->m[11] = view->m[11];
        break;
    case kBillboardKeepX:
        KeepOneColumn(view, 0);
        KeepOneColumn(world, 0);
        break;
    case kBillboardKeepY:
        KeepOneColumn(view, 1);
        KeepOneColumn(world, 1);
        break;
    case kBillboardKeepZ:
        KeepOneColumn(view, 2);
        KeepOneColumn(world, 2);
        break;
    default:
        // 2, 3 and every other value leave the matrices as computed.
        break;
    }
}

void UpdateMeshViewMatrix(Mesh* mesh, const Camera* camera)
{
    MatrixToCameraSpace(&mesh->WorldMatrix, &camera->ViewMatrix, &mesh->ViewMatrix);
}

void UpdateLeafViewMatrix(Mesh* mesh, const Camera* camera)
{
    if (mesh->Form == kFormOrdinary) {
        UpdateMeshViewMatrix(mesh, camera);
    } else if (mesh->Form == kFormBillboard) {
        UpdateMeshViewMatrix(mesh, camera);
        ApplyBillboard(mesh);
    }
}

namespace {

// The box follows its mesh: same world and view matrices, so that its corners,
// given in the mesh's model space, project where the mesh's vertices do. A
// mesh without a box (never validated) has nothing to test; it is marked for
// the near/far-tested vertex transform, so that if it is drawn at all no
// vertex can reach a zero depth on the fast path.
void TestWithBox(Mesh* mesh)
{
    Mesh* box = mesh->BoundsMesh;
    if (box == nullptr) {
        mesh->RenderFlags |= SPAN3D_MESH_BOUNDS_CUT;
        return;
    }
    box->WorldMatrix = mesh->WorldMatrix;
    box->ViewMatrix = mesh->ViewMatrix;
    TestMeshBounds(mesh);
}

}  // namespace

void UpdateNodeViewMatrix(Node* node)
{
    // The flags of a mesh below a parent were cleared by its world update;
    // those of its box are not cleared on this road and keep what earlier
    // frames set. Billboards are not applied here.
    if (IsAnyMeshKind(node->Kind)) {
        Mesh* mesh = AsMesh(node);
        UpdateMeshViewMatrix(mesh, g_Frame.CurrentCamera);
        TestWithBox(mesh);
    }
    for (int32_t i = 0; i < node->ChildCount; ++i) {
        UpdateNodeViewMatrix(node->Children[i]);
    }
}

void UpdateSceneViewMatrices(Scene* scene)
{
    const Camera* camera = g_Frame.CurrentCamera;
    constexpr uint32_t kBoundsBits = SPAN3D_MESH_BOUNDS_CUT | SPAN3D_MESH_BOUNDS_OUT;
    for (Mesh* mesh = scene->Meshes; mesh != nullptr; mesh = mesh->SceneNext) {
        mesh->RenderFlags &= ~kBoundsBits;
        if (mesh->BoundsMesh != nullptr) {
            mesh->BoundsMesh->RenderFlags &= ~kBoundsBits;
        }
        if (mesh->Head.ChildCount > 0) {
            if (IsAnyMeshKind(mesh->Head.Kind)) {
                UpdateMeshViewMatrix(mesh, camera);
                TestWithBox(mesh);
            }
            for (int32_t i = 0; i < mesh->Head.ChildCount; ++i) {
                UpdateNodeViewMatrix(mesh->Head.Children[i]);
            }
        } else {
            // Form 2 and any other Form keep the view matrix they had.
            UpdateLeafViewMatrix(mesh, camera);
            TestWithBox(mesh);
        }
    }
}

}  // namespace span3d
