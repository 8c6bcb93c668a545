// Node hierarchy: attaching and detaching, and the sort-block arithmetic that
// follows every change, in and out of a scene. After each step of each case
// the shared invariant checker runs (SortCapacity sums, one block owner per
// tree or scene, block sizes, TotalPolygons).
#include "object_test_support.h"

namespace span3d {
namespace {
using namespace test;

// ---------------------------------------------------------------- table

// Five meshes of 20, 10, 5, 3 and 7 polygons and one scene. Steps: 'A' attach
// b below a, 'D' detach b from a, 'S' assign a to the scene, 'R' remove a.
struct Step { char op; int32_t a, b; int32_t result; };
struct TreeCase {
    const char* name;
    std::vector<Step> steps;
    int32_t capacity[5];             // SortCapacity of each mesh at the end
    int32_t total;                   // TotalPolygons at the end
    std::vector<int32_t> children0;  // children of mesh 0 at the end, in order
};

const int32_t kPolys[5] = {20, 10, 5, 3, 7};

const TreeCase kTreeCases[] = {
    {"10 below 20 gives 30 and takes the child's block", {{'A', 0, 1, 1}}, {30, 10, 5, 3, 7}, 0, {1}},
    {"chain of three, then the lowest cut off",
     {{'A', 1, 2, 1}, {'A', 0, 1, 1}, {'D', 1, 2, 1}}, {30, 10, 5, 3, 7}, 0, {1}},
    {"a top in a scene grows the scene's block", {{'S', 0, 0, 1}, {'A', 0, 1, 1}}, {30, 10, 5, 3, 7}, 30, {1}},
    {"a child in a scene leaves it for a parent outside",
     {{'S', 1, 0, 1}, {'A', 0, 1, 1}}, {30, 10, 5, 3, 7}, 0, {1}},
    {"a child in the scene of its new parent stays counted once",
     {{'S', 0, 0, 1}, {'S', 1, 0, 1}, {'A', 0, 1, 1}}, {30, 10, 5, 3, 7}, 30, {1}},
    {"detaching below a scene's top shrinks the scene",
     {{'S', 0, 0, 1}, {'A', 0, 1, 1}, {'A', 1, 2, 1}, {'D', 0, 1, 1}}, {20, 15, 5, 3, 7}, 20, {}},
    {"re-attaching to the same parent moves the child to the end",
     {{'A', 0, 1, 1}, {'A', 0, 2, 1}, {'A', 0, 1, 1}}, {35, 10, 5, 3, 7}, 0, {2, 1}},
    {"detaching a node that is no child changes nothing",
     {{'A', 0, 1, 1}, {'D', 0, 2, 0}, {'D', 2, 1, 0}, {'D', 1, 0, 0}}, {30, 10, 5, 3, 7}, 0, {1}},
    {"moving a child between trees", {{'A', 0, 2, 1}, {'A', 1, 2, 1}}, {20, 15, 5, 3, 7}, 0, {}},
    {"moving a grandchild up within a tree in a scene",
     {{'S', 0, 0, 1}, {'A', 0, 1, 1}, {'A', 1, 2, 1}, {'A', 0, 2, 1}}, {35, 10, 5, 3, 7}, 35, {1, 2}},
    {"a whole tree joins and leaves a scene",
     {{'A', 0, 1, 1}, {'A', 1, 3, 1}, {'A', 0, 4, 1}, {'S', 0, 0, 1}, {'S', 2, 0, 1}, {'R', 0, 0, 1}},
     {40, 13, 5, 3, 7}, 5, {1, 4}},
    {"the only child detached leaves no array", {{'A', 0, 1, 1}, {'D', 0, 1, 1}}, {20, 10, 5, 3, 7}, 0, {}},
    {"a scene's top put below another top of the same scene",
     {{'S', 0, 0, 1}, {'S', 3, 0, 1}, {'A', 3, 0, 1}}, {20, 10, 5, 23, 7}, 23, {}},
};

TEST(Hierarchy, SortBlockInvariantsTable)
{
    for (const TreeCase& c : kTreeCases) {
        SCOPED_TRACE(c.name);
        Scene* scene = CreateScene();
        Mesh* m[5];
        for (int32_t i = 0; i < 5; ++i) m[i] = MakeMesh(kPolys[i]);
        for (size_t s = 0; s < c.steps.size(); ++s) {
            const Step& step = c.steps[s];
            SCOPED_TRACE(testing::Message() << "step " << s << " " << step.op);
            int32_t result = 0;
            switch (step.op) {
            case 'A': result = AttachChildToNode(N(m[step.a]), N(m[step.b])); break;
            case 'D': result = DetachChildFromNode(N(m[step.a]), N(m[step.b])); break;
            case 'S': result = AssignMeshToScene(scene, m[step.a], 0) == m[step.a] ? 1 : 0; break;
            case 'R': result = RemoveMeshFromScene(scene, m[step.a], 0); break;
            }
            EXPECT_EQ(result, step.result);
            for (Mesh* mesh : m) {
                if (mesh->Head.Parent == nullptr && mesh->Scene == nullptr) ExpectLoneTop(mesh);
            }
            ExpectScene(scene);
        }
        for (int32_t i = 0; i < 5; ++i) EXPECT_EQ(m[i]->SortCapacity, c.capacity[i]) << "mesh " << i;
        EXPECT_EQ(scene->TotalPolygons, c.total);
        std::vector<int32_t> children;
        for (int32_t i = 0; i < m[0]->Head.ChildCount; ++i) {
            for (int32_t j = 0; j < 5; ++j) {
                if (m[0]->Head.Children[i] == N(m[j])) children.push_back(j);
            }
        }
        EXPECT_EQ(children, c.children0);
        // Tear down: every mesh made a top again, the scene's own freed
        // with the scene, the others here.
        for (int32_t i = 4; i >= 0; --i) {
            if (m[i]->Head.Parent != nullptr) DetachChildFromNode(m[i]->Head.Parent, N(m[i]));
        }
        std::vector<Mesh*> outside;
        for (Mesh* mesh : m) {
            if (mesh->Scene == nullptr) outside.push_back(mesh);
        }
        DeleteWholeScene(scene);
        for (Mesh* mesh : outside) DeleteMesh(mesh);
    }
}

TEST(Hierarchy, CamerasCarryNoPolygons)
{
    Scene* scene = CreateScene();
    Mesh* mesh = MakeMesh(20);
    Mesh* other = MakeMesh(10);
    AssignMeshToScene(scene, other, 0);
    Camera* camera = MakeCamera();
    uint32_t* block = mesh->SortIndices;

    // A camera and its aim point below a mesh: no block changes hands.
    EXPECT_EQ(AttachChildToNode(N(mesh), &camera->Head), 1);
    EXPECT_EQ(AttachChildToNode(N(mesh), &camera->TargetNode), 1);
    EXPECT_EQ(mesh->SortIndices, block);
    EXPECT_EQ(mesh->SortCapacity, 20);
    EXPECT_EQ(mesh->Head.ChildCount, 2);
    EXPECT_EQ(camera->TargetNode.Parent, N(mesh));

    // A mesh below a camera changes the camera's Children only: the mesh
    // keeps its scene and the scene its count.
    AttachChildToNode(&camera->TargetNode, N(other));
    EXPECT_EQ(other->Scene, scene);
    EXPECT_EQ(scene->TotalPolygons, 10);
    EXPECT_EQ(camera->TargetNode.ChildCount, 1);
    EXPECT_EQ(other->Head.Parent, &camera->TargetNode);
    ExpectScene(scene);
    EXPECT_EQ(DetachChildFromNode(&camera->TargetNode, N(other)), 1);
    EXPECT_EQ(other->Scene, scene);
    ExpectScene(scene);

    // Deleting the camera takes both its nodes off the mesh.
    DeleteCamera(camera);
    EXPECT_EQ(mesh->Head.ChildCount, 0);
    EXPECT_EQ(mesh->Head.Children, nullptr);
    ExpectLoneTop(mesh);
    DeleteMesh(mesh);
    DeleteScene(scene);
}

TEST(Hierarchy, LeavingASceneByAttachKeepsTheLights)
{
    // A lit mesh of a scene hung below a parent outside it leaves the scene
    // (its slots go to the parent's block) but keeps the scene's lights in
    // its own list, and the light stays in the scene. Only an explicit
    // RemoveMeshFromScene with bit 0 takes them off.
    Scene* scene = CreateScene();
    Mesh* parent = MakeMesh(20);
    Mesh* lit = MakeMesh(10);
    Light* light = MakeLight(nullptr, true);
    AssignLightToScene(scene, light, 0);
    ASSERT_EQ(AssignMeshToScene(scene, lit, 1), lit);
    ASSERT_EQ(lit->LightList[0], light);

    EXPECT_EQ(AttachChildToNode(N(parent), N(lit)), 1);
    EXPECT_EQ(lit->Scene, nullptr);
    EXPECT_EQ(scene->Meshes, nullptr);
    EXPECT_EQ(scene->TotalPolygons, 0);
    EXPECT_EQ(parent->SortCapacity, 30);
    EXPECT_EQ(lit->LightList[0], light);
    EXPECT_EQ(lit->LightList[1], nullptr);
    EXPECT_EQ(scene->Lights, light);
    ExpectLoneTop(parent);

    DeleteMesh(parent);  // takes lit with it
    DeleteWholeScene(scene);  // frees the light
}

TEST(Hierarchy, MeshVariantCountsAsChildNotAsParent)
{
    // Kind 2 is made by hosts only. As a child it counts; as a parent it
    // takes no polygons (only kind 1 parents do).
    Mesh* top = MakeMesh(20);
    Mesh* variant = MakeMesh(10);
    Mesh* below = MakeMesh(5);
    variant->Head.Kind = SPAN3D_KIND_MESH_VARIANT;
    AttachChildToNode(N(top), N(variant));
    EXPECT_EQ(top->SortCapacity, 30);
    EXPECT_EQ(variant->SortIndices, nullptr);
    AttachChildToNode(N(variant), N(below));
    EXPECT_EQ(variant->SortCapacity, 10);
    EXPECT_EQ(top->SortCapacity, 30);
    EXPECT_NE(below->SortIndices, nullptr);  // still its own top, for sorting
    ExpectBlock(top->SortIndices, top->DrawItems, 30);
    DetachChildFromNode(N(variant), N(below));
    DetachChildFromNode(N(top), N(variant));
    ExpectLoneTop(top);
    ExpectBlock(variant->SortIndices, variant->DrawItems, 10);
    variant->Head.Kind = SPAN3D_KIND_MESH;
    DeleteMesh(top);
    DeleteMesh(variant);
    DeleteMesh(below);
}

TEST(Hierarchy, DeleteMeshTakesMeshChildrenAndCutsTheRestLoose)
{
    // root (5)
    //   +- a (3) -- a1 (2)                  both freed
    //   +- kept (4, TvObject 1)             survives, detached, own block
    //   |    +- k1 (1)                      freed: the sweep goes below kept
    //   |    +- camera k2                   cut loose
    //   +- camera -- c1 (mesh, 6)           camera cut loose, c1 freed
    //   +- light's TargetNode               cut loose
    Mesh* root = MakeMesh(5);
    Mesh* a = MakeMesh(3);
    Mesh* a1 = MakeMesh(2);
    Mesh* kept = MakeMesh(4, 3, 1);
    Mesh* k1 = MakeMesh(1);
    Camera* k2 = MakeCamera();
    Camera* camera = MakeCamera();
    Mesh* c1 = MakeMesh(6);
    Light* light = MakeLight(nullptr, true);
    AttachChildToNode(N(a), N(a1));
    AttachChildToNode(N(root), N(a));
    AttachChildToNode(N(kept), N(k1));
    AttachChildToNode(N(kept), &k2->Head);
    AttachChildToNode(N(root), N(kept));
    AttachChildToNode(&camera->Head, N(c1));
    AttachChildToNode(N(root), &camera->Head);
    AttachChildToNode(N(root), &light->TargetNode);
    EXPECT_EQ(root->SortCapacity, 5 + 5 + 5);
    CheckSubtree(root);

    DeleteMesh(root);  // the sanitizer build's leak check sees the frees

    EXPECT_EQ(kept->Head.Parent, nullptr);
    EXPECT_EQ(kept->Head.ChildCount, 0);
    EXPECT_EQ(kept->TvObject, 1u);
    ExpectLoneTop(kept);
    EXPECT_EQ(kept->SortCapacity, 4);
    EXPECT_EQ(k2->Head.Parent, nullptr);
    EXPECT_EQ(camera->Head.Parent, nullptr);
    EXPECT_EQ(camera->Head.ChildCount, 0);
    EXPECT_EQ(camera->Head.Children, nullptr);
    EXPECT_EQ(light->TargetNode.Parent, nullptr);
    DeleteMesh(kept);  // an explicit delete ignores TvObject
    DeleteCamera(k2);
    DeleteCamera(camera);
    DeleteLight(light);
}

TEST(Hierarchy, DeleteMeshLeavesParentAndScene)
{
    Scene* scene = CreateScene();
    Mesh* top = MakeMesh(20);
    Mesh* child = MakeMesh(10);
    Mesh* other = MakeMesh(7);
    AttachChildToNode(N(top), N(child));
    AssignMeshToScene(scene, top, 0);
    AssignMeshToScene(scene, other, 0);
    Light* light = MakeLight(nullptr, true);
    AssignLightToScene(scene, light, 1);
    EXPECT_EQ(scene->TotalPolygons, 37);

    // A child: the tree and the scene shrink.
    DeleteMesh(child);
    EXPECT_EQ(top->SortCapacity, 20);
    EXPECT_EQ(top->Head.ChildCount, 0);
    ExpectScene(scene);
    EXPECT_EQ(scene->TotalPolygons, 27);

    // A top in the scene: out of the list and off the scene's lights first.
    DeleteMesh(top);
    EXPECT_EQ(scene->Meshes, other);
    EXPECT_EQ(other->ScenePrev, nullptr);
    ExpectScene(scene);
    EXPECT_EQ(scene->TotalPolygons, 7);
    EXPECT_EQ(other->LightList[0], light);
    DeleteWholeScene(scene);
}

}  // namespace
}  // namespace span3d
