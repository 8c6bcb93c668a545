// Visibility: the per-frame bounds test of a mesh. The eight corners of the
// mesh's box are taken through its view matrix; if all of them lie beyond one
// and the same plane the mesh is skipped for the frame, and if any of them
// lies beyond near or far its vertices must take the near/far-tested
// transform.
//
// Comparisons with a bound follow the engine's rule: subtract in single
// precision and read the sign bit of the result, never an epsilon. "Greater"
// is a positive pattern above 0 (read as a signed word), "less" a pattern
// above 0x80000000, so +0.0 and -0.0 are neither: a corner exactly on a bound
// lies on the inner side of it, except at near, where "not greater" means a
// corner on the plane is outside. The values subtracted are the floats the
// test stores (view z, screen x and y); the arithmetic that produces them is
// carried in double and rounded once at each store.
#include "kernel/kernel.h"
#include "objects/objects.h"
#include "pipeline/frame_state.h"
#include "pipeline/pipeline.h"

namespace span3d {

namespace {

inline float F(double x) { return static_cast<float>(x); }

// Row r of a matrix applied to p with its translation: ((a x + b y) + c z) + t.
inline double Row(const Matrix34* matrix, int32_t r, const Vector3* p)
{
    const float* m = matrix->m + 4 * r;
    return ((double(m[0]) * p->x + double(m[1]) * p->y) + double(m[2]) * p->z) + m[3];
}

// Screen bits of a projected point against the frame's scissor: left or
// else right, top or else bottom.
uint32_t ScissorOutcode(float screenX, float screenY)
{
    uint32_t code = 0;
    if (IsBelowBound(screenX, g_Frame.ClipXMin)) {
        code |= SPAN3D_OUT_LEFT;
    } else if (IsAboveBound(screenX, g_Frame.ClipXMax)) {
        code |= SPAN3D_OUT_RIGHT;
    }
    if (IsBelowBound(screenY, g_Frame.ClipYMin)) {
        code |= SPAN3D_OUT_TOP;
    } else if (IsAboveBound(screenY, g_Frame.ClipYMax)) {
        code |= SPAN3D_OUT_BOTTOM;
    }
    return code;
}

}  // namespace

void TestMeshBounds(Mesh* mesh)
{
    Mesh* box = mesh->BoundsMesh;
    const Camera* camera = g_Frame.CurrentCamera;
    const Viewport* viewport = g_Frame.CurrentViewport;
    const Matrix34* view = &mesh->ViewMatrix;
    uint32_t common = 0xffffffffu;
    for (int32_t i = 0; i < kBoundsCornerCount; ++i) {
        MeshVertex* corner = &box->Vertices[i];
        // The pivot shifts the box exactly as it shifts the mesh's vertices;
        // each sum is rounded to a float, as the vertex transforms do.
        const Vector3 p = {corner->ModelPosition.x + mesh->Pivot.x, corner->ModelPosition.y + mesh->Pivot.y,
                           corner->ModelPosition.z + mesh->Pivot.z};
        const double z = Row(view, 2, &p);
        corner->ViewPosition.z = F(z);
        uint32_t code;
        if (!IsAboveBound(corner->ViewPosition.z, camera->Near)) {
            // On or before the near plane. No screen bits: a box reaching
            // behind the camera is rejected only if every corner is there.
            mesh->RenderFlags |= SPAN3D_MESH_BOUNDS_CUT;
            box->RenderFlags |= SPAN3D_MESH_BOUNDS_CUT;
            code = SPAN3D_OUT_NEAR;
        } else if (IsAboveBound(corner->ViewPosition.z, camera->Far)) {
            // Beyond far; a corner exactly on the far plane is inside.
            mesh->RenderFlags |= SPAN3D_MESH_BOUNDS_CUT;
            box->RenderFlags |= SPAN3D_MESH_BOUNDS_CUT;
            code = SPAN3D_OUT_FAR;
        } else {
            // Perspective projection as for a mesh vertex: a = Focale / z,
            // b = ScaleY * a (ScaleY is -1: screen y grows downward).
            const double inverseZ = 1.0 / z;
            const double a = double(camera->Focale) * inverseZ;
            const double b = double(viewport->ScaleY) * a;
            const double x = Row(view, 0, &p);
            const double y = Row(view, 1, &p);
            corner->ViewPosition.x = F(x);
            corner->ViewPosition.y = F(y);
            corner->ScreenPosition.x = F(a * x + viewport->CentreX);
            corner->ScreenPosition.y = F(b * y + viewport->CentreY);
            corner->ScreenPosition.z = F(inverseZ);
            code = ScissorOutcode(corner->ScreenPosition.x, corner->ScreenPosition.y);
        }
        common &= code;
    }
    // All corners beyond one and the same plane: nothing of the mesh can show.
    // The box keeps its own flags; its corners keep their Outcode words.
    if (common != 0) {
        mesh->RenderFlags |= SPAN3D_MESH_BOUNDS_OUT;
    }
}

}  // namespace span3d
