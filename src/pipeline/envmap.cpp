// Environment coordinates: a spherical lookup addressed by each corner's
// normal turned into camera space, taken in x and y. The clipper maps the
// pair onto the texture later (column from 0.5 - envU / 2, row from
// (envV + 1) / 2), because only it knows each corner's final depth.
#include "pipeline/pipeline.h"

namespace span3d {

void ComputeEnvironmentCoords(Mesh* mesh, MeshPolygon* polygon)
{
    const float* m = mesh->ViewMatrix.m;
    const Vector3& pivot = mesh->Pivot;
    for (int32_t k = 0; k < 3; ++k) {
        const Vector3& n = mesh->VertexNormals[polygon->NormalIndex[k]];
        // The pivot is added to the direction as if it were a point: with the
        // usual zero pivot this is the normal itself; with another it shifts
        // every corner's lookup by the same offset in view space. Intended.
        // The sum stays at double width, like the rotation that follows.
        const double qx = double(n.x) + pivot.x;
        const double qy = double(n.y) + pivot.y;
        const double qz = double(n.z) + pivot.z;
        CornerCoords& corner = polygon->CornerMap[k];
        corner.envU = static_cast<float>((m[0] * qx + m[1] * qy) + m[2] * qz);
        corner.envV = static_cast<float>((m[4] * qx + m[5] * qy) + m[6] * qz);
    }
}

}  // namespace span3d
