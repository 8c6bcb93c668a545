// The steps that open and close every generator: the mesh with its counts,
// and normals, bounds, name and Form once the geometry is in.
#include "primitives/primitives.h"

namespace span3d {

PrimitiveState g_Primitives = {CreateMesh, CreateAABB};

Mesh* NewPrimitiveMesh(int64_t vertexCount, int64_t polygonCount, const Material* material)
{
    if (vertexCount > INT32_MAX || polygonCount > INT32_MAX) {
        return nullptr;
    }
    return g_Primitives.NewMesh(static_cast<int32_t>(vertexCount), static_cast<int32_t>(polygonCount),
                                MaterialWord(material));
}

Mesh* FinishPrimitive(Mesh* mesh, NameFamily family, int32_t form)
{
    CalcMeshPolygonsNormal(mesh);
    CalcMeshVerticesNormal(mesh);
    mesh->BoundsMesh = g_Primitives.NewBounds(mesh);
    if (mesh->BoundsMesh == nullptr) {
        DeleteMesh(mesh);
        return nullptr;
    }
    // Named only now: a generator that fails anywhere before this point has
    // not advanced its family's counter.
    MakeDefaultName(mesh->Name, family);
    // The active bit stays clear: ActivateMesh makes a generated mesh drawable.
    mesh->Form = form;
    return mesh;
}

}  // namespace span3d
