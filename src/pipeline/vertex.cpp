// Vertex processing: the per-mesh set-up of the transforms, the two vertex
// transforms and the two polygon transforms that call them lazily.
//
// A vertex is transformed on first use by a polygon that survived culling and
// marked in the mesh's VertexDoneBits, so each vertex costs at most one
// transform per mesh and frame, and vertices that only back faces use cost
// nothing. Which transform runs is settled once per mesh: a mesh whose box
// lies wholly between near and far never pays for the near/far tests.
//
// Precision: each row of the view matrix is summed as ((a x + b y) + c z) + t
// in double; 1/z, the focal factors a and b and the screen coordinates stay
// in double and are rounded once where they are stored. Comparisons with the
// near and far planes and with the scissor subtract the stored floats in
// single precision and read the bits of the difference (see pipeline.h).
#include "kernel/kernel.h"
#include "pipeline/frame_state.h"
#include "pipeline/pipeline.h"

namespace span3d {

TransformState g_Transform = {};

namespace {

inline float F(double x) { return static_cast<float>(x); }

// Row r of the view matrix applied to XformPoint, with its translation.
inline double Row(int32_t r)
{
    const float* m = g_Transform.XformMatrix->m + 4 * r;
    const Vector3& p = g_Transform.XformPoint;
    return ((double(m[0]) * p.x + double(m[1]) * p.y) + double(m[2]) * p.z) + m[3];
}

// Steps common to both transforms: clear the outcode, form XformPoint (each
// sum rounded to float) and compute the view z, stored and returned at full
// width.
inline double BeginVertex(MeshVertex* vertex)
{
    vertex->Outcode = 0;
    const Vector3* pivot = g_Transform.XformPivot;
    g_Transform.XformPoint.x = vertex->ModelPosition.x + pivot->x;
    g_Transform.XformPoint.y = vertex->ModelPosition.y + pivot->y;
    g_Transform.XformPoint.z = vertex->ModelPosition.z + pivot->z;
    const double z = Row(2);
    vertex->ViewPosition.z = F(z);
    return z;
}

// Perspective projection of a vertex between near and far, then its scissor
// bits: left or else right, top or else bottom.
inline void ProjectVertex(MeshVertex* vertex, double z)
{
    const double inverseZ = 1.0 / z;
    const double a = double(g_Transform.XformFocale) * inverseZ;
    const double b = double(g_Transform.XformYScale) * a;
    const double x = Row(0);
    const double y = Row(1);
    vertex->ViewPosition.x = F(x);
    vertex->ViewPosition.y = F(y);
    vertex->ScreenPosition.x = F(a * x + g_Transform.XformCentreX);
    vertex->ScreenPosition.y = F(b * y + g_Transform.XformCentreY);
    vertex->ScreenPosition.z = F(inverseZ);

    uint32_t code = 0;
    if (IsBelowBound(vertex->ScreenPosition.x, g_Frame.ClipXMin)) {
        code |= SPAN3D_OUT_LEFT;
    } else if (IsAboveBound(vertex->ScreenPosition.x, g_Frame.ClipXMax)) {
        code |= SPAN3D_OUT_RIGHT;
    }
    if (IsBelowBound(vertex->ScreenPosition.y, g_Frame.ClipYMin)) {
        code |= SPAN3D_OUT_TOP;
    } else if (IsAboveBound(vertex->ScreenPosition.y, g_Frame.ClipYMax)) {
        code |= SPAN3D_OUT_BOTTOM;
    }
    vertex->Outcode = code;
}

// A vertex outside near or far: the true view position, 1/z of the plane it
// was clamped to, and the screen x and y of whatever frame last projected it
// (the clipper cuts such corners in view space and never reads them).
inline float ClampVertex(MeshVertex* vertex, uint32_t code, float plane)
{
    vertex->Outcode = code;
    vertex->ViewPosition.x = F(Row(0));
    vertex->ViewPosition.y = F(Row(1));
    vertex->ScreenPosition.z = F(1.0 / double(plane));
    return plane;
}

}  // namespace

void PrepareMeshTransform(Mesh* mesh, Viewport* viewport, Camera* camera)
{
    g_Transform.XformMatrix = &mesh->ViewMatrix;
    g_Transform.XformPivot = &mesh->Pivot;
    g_Transform.XformFocale = camera->Focale;
    g_Transform.XformYScale = viewport->ScaleY;
    g_Transform.XformCentreX = viewport->CentreX;
    g_Transform.XformCentreY = viewport->CentreY;
    g_Transform.XformNear = camera->Near;
    g_Transform.XformFar = camera->Far;
    g_Transform.TransformVertexFunction =
        (mesh->RenderFlags & SPAN3D_MESH_BOUNDS_CUT) != 0 ? TransformVertexClipped : TransformVertexFast;
    // One word per 32 vertices or part of 32.
    const uint32_t words = static_cast<uint32_t>(mesh->VertexCount >> 5) + ((mesh->VertexCount & 31) != 0 ? 1u : 0u);
    if (words != 0) {
        MemFill32(mesh->VertexDoneBits, 0, words * 4u);
    }
}

float TransformVertexFast()
{
    MeshVertex* vertex = g_Transform.XformVertex;
    const double z = BeginVertex(vertex);
    ProjectVertex(vertex, z);
    return vertex->ViewPosition.z;
}

float TransformVertexClipped()
{
    MeshVertex* vertex = g_Transform.XformVertex;
    const double z = BeginVertex(vertex);
    // On the near plane counts as outside ("not greater"), on the far plane
    // as inside ("greater" only).
    if (!IsAboveBound(vertex->ViewPosition.z, g_Transform.XformNear)) {
        return ClampVertex(vertex, SPAN3D_OUT_NEAR, g_Transform.XformNear);
    }
    if (IsAboveBound(vertex->ViewPosition.z, g_Transform.XformFar)) {
        return ClampVertex(vertex, SPAN3D_OUT_FAR, g_Transform.XformFar);
    }
    ProjectVertex(vertex, z);
    return vertex->ViewPosition.z;
}

namespace {

// The depth of one corner for the sort key: transformed now if no earlier
// polygon of this frame has done it (the transform's return, clamped at near
// and far), else the stored view z.
inline float TouchCorner(Mesh* mesh, int32_t corner)
{
    uint32_t* word = &mesh->VertexDoneBits[static_cast<uint32_t>(corner) >> 5];
    const uint32_t bit = 1u << (static_cast<uint32_t>(corner) & 31u);
    MeshVertex* vertex = &mesh->Vertices[corner];
    if ((*word & bit) != 0) {
        return vertex->ViewPosition.z;
    }
    g_Transform.XformVertex = vertex;
    const float depth = g_Transform.TransformVertexFunction();
    *word |= bit;
    return depth;
}

inline int32_t Rejected(const Mesh* mesh, int32_t corner0, int32_t corner1, int32_t corner2)
{
    const MeshVertex* v = mesh->Vertices;
    return (v[corner0].Outcode & v[corner1].Outcode & v[corner2].Outcode) != 0 ? 1 : 0;
}

}  // namespace

int32_t TransformPolygon(Mesh* mesh, int32_t corner0, int32_t corner1, int32_t corner2)
{
    TouchCorner(mesh, corner0);
    TouchCorner(mesh, corner1);
    TouchCorner(mesh, corner2);
    return Rejected(mesh, corner0, corner1, corner2);
}

int32_t TransformPolygonKeyed(Mesh* mesh, int32_t corner0, int32_t corner1, int32_t corner2,
                              DrawItem* item)
{
    // A sum of three depths, not their mean, rounded to float at each step.
    float key = 0.0f;
    key = key + TouchCorner(mesh, corner0);
    key = key + TouchCorner(mesh, corner1);
    key = key + TouchCorner(mesh, corner2);
    item->SortKey = key;
    return Rejected(mesh, corner0, corner1, corner2);
}

}  // namespace span3d
