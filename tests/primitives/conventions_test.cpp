// What all generators share: the argument rules, the finishing steps (name,
// Form, box, the active bit left clear), the material word, and failure that
// leaves nothing behind and uses no name number. The sanitizer build runs
// these leak-checked, the failure paths included.
#include <cmath>
#include <functional>

#include "primitives/primitive_test_support.h"

namespace span3d {
namespace {

using namespace span3d::testing;

Vector3 g_Unit = {1.0f, 1.0f, 1.0f};

// ---------------------------------------------------------------- argument rules

struct ArgumentCase {
    const char*   name;
    NameFamily    family;
    std::function<Mesh*()> make;
    bool          made;
};

TEST(PrimitiveArguments, Table)
{
    Vector3* s = &g_Unit;
    const float nan = std::nanf("");
    const ArgumentCase cases[] = {
        {"billboard size 1", kNameBillboard, [=] { return BillboardCreate(1.0f, s, nullptr); }, true},
        {"billboard size 0", kNameBillboard, [=] { return BillboardCreate(0.0f, s, nullptr); }, false},
        {"billboard size -0", kNameBillboard, [=] { return BillboardCreate(-0.0f, s, nullptr); }, false},
        {"billboard size -1", kNameBillboard, [=] { return BillboardCreate(-1.0f, s, nullptr); }, false},
        {"billboard size NaN", kNameBillboard, [=] { return BillboardCreate(nan, s, nullptr); }, false},
        {"cube size 1e-30", kNameCube, [=] { return CubeCreate(1e-30f, s, nullptr); }, true},
        {"cube size 0", kNameCube, [=] { return CubeCreate(0.0f, s, nullptr); }, false},
        {"cube size -2", kNameCube, [=] { return CubeCreate(-2.0f, s, nullptr); }, false},
        {"grid 1 x 1", kNameGrid, [=] { return GridCreate(1.0f, s, 1, 1, nullptr); }, true},
        {"grid size 0", kNameGrid, [=] { return GridCreate(0.0f, s, 1, 1, nullptr); }, false},
        {"grid size -1", kNameGrid, [=] { return GridCreate(-1.0f, s, 1, 1, nullptr); }, false},
        {"grid rows 0", kNameGrid, [=] { return GridCreate(1.0f, s, 0, 1, nullptr); }, false},
        {"grid columns 0", kNameGrid, [=] { return GridCreate(1.0f, s, 1, 0, nullptr); }, false},
        {"grid rows -1", kNameGrid, [=] { return GridCreate(1.0f, s, -1, 1, nullptr); }, false},
        {"disk 4 segments", kNameDisk, [=] { return DiskCreate(1.0f, s, 4, nullptr); }, true},
        {"disk 3 segments", kNameDisk, [=] { return DiskCreate(1.0f, s, 3, nullptr); }, false},
        {"disk radius 0", kNameDisk, [=] { return DiskCreate(0.0f, s, 4, nullptr); }, false},
        {"disk radius -1", kNameDisk, [=] { return DiskCreate(-1.0f, s, 4, nullptr); }, false},
        {"ring 2 / 1, 4 segments", kNameRing, [=] { return RingCreate(2.0f, 1.0f, s, 4, nullptr); }, true},
        {"ring 3 segments", kNameRing, [=] { return RingCreate(2.0f, 1.0f, s, 3, nullptr); }, false},
        {"ring equal radii", kNameRing, [=] { return RingCreate(1.0f, 1.0f, s, 4, nullptr); }, false},
        {"ring inner above outer", kNameRing, [=] { return RingCreate(1.0f, 2.0f, s, 4, nullptr); }, false},
        {"ring inner 0", kNameRing, [=] { return RingCreate(1.0f, 0.0f, s, 4, nullptr); }, false},
        {"ring outer 0", kNameRing, [=] { return RingCreate(0.0f, -1.0f, s, 4, nullptr); }, false},
        {"sphere 4 x 4", kNameSphere, [=] { return SphereCreate(1.0f, s, 4, 4, nullptr); }, true},
        {"sphere 3 stacks", kNameSphere, [=] { return SphereCreate(1.0f, s, 3, 4, nullptr); }, false},
        {"sphere 3 slices", kNameSphere, [=] { return SphereCreate(1.0f, s, 4, 3, nullptr); }, false},
        {"sphere radius 0", kNameSphere, [=] { return SphereCreate(0.0f, s, 4, 4, nullptr); }, false},
        // 69999 * 70000 * 2 polygons do not fit an i32: refused before any
        // allocation, as a failed CreateMesh.
        {"sphere count beyond i32", kNameSphere, [=] { return SphereCreate(1.0f, s, 70000, 70000, nullptr); },
         false},
        {"hemisphere closed 4 x 4", kNameHSphere, [=] { return HemisphereCreate(1.0f, s, 4, 4, nullptr, 0); }, true},
        {"hemisphere open 4 x 4", kNameHSphere, [=] { return HemisphereCreate(1.0f, s, 4, 4, nullptr, 7); }, true},
        {"hemisphere 3 stacks", kNameHSphere, [=] { return HemisphereCreate(1.0f, s, 3, 4, nullptr, 1); }, false},
        {"hemisphere 3 slices", kNameHSphere, [=] { return HemisphereCreate(1.0f, s, 4, 3, nullptr, 0); }, false},
        {"hemisphere radius -1", kNameHSphere, [=] { return HemisphereCreate(-1.0f, s, 4, 4, nullptr, 0); },
         false},
        {"cylinder 1 / 2", kNameCylinder, [=] { return CylinderCreate(1.0f, 2.0f, 3.0f, s, 4, nullptr); }, true},
        {"cylinder both radii 0", kNameCylinder, [=] { return CylinderCreate(0.0f, 0.0f, 3.0f, s, 4, nullptr); },
         false},
        {"cylinder both radii -0", kNameCylinder,
         [=] { return CylinderCreate(-0.0f, -0.0f, 3.0f, s, 4, nullptr); }, false},
        {"cylinder top -0 is a cone", kNameCylinder,
         [=] { return CylinderCreate(1.0f, -0.0f, 3.0f, s, 4, nullptr); }, true},
        {"cylinder bottom -1", kNameCylinder, [=] { return CylinderCreate(-1.0f, 1.0f, 3.0f, s, 4, nullptr); },
         false},
        {"cylinder top -1", kNameCylinder, [=] { return CylinderCreate(1.0f, -1.0f, 3.0f, s, 4, nullptr); }, false},
        {"cylinder 3 segments", kNameCylinder, [=] { return CylinderCreate(1.0f, 1.0f, 3.0f, s, 3, nullptr); },
         false},
        {"cylinder height -3 (unchecked)", kNameCylinder,
         [=] { return CylinderCreate(1.0f, 1.0f, -3.0f, s, 4, nullptr); }, true},
        {"cylinder height 0 (unchecked)", kNameCylinder,
         [=] { return CylinderCreate(1.0f, 1.0f, 0.0f, s, 4, nullptr); }, true},
        {"tube 1 / 2", kNameTube, [=] { return TubeCreate(1.0f, 2.0f, 3.0f, s, 4, nullptr); }, true},
        {"tube inner 0", kNameTube, [=] { return TubeCreate(0.0f, 2.0f, 3.0f, s, 4, nullptr); }, true},
        {"tube outer 0 (radii not ordered)", kNameTube, [=] { return TubeCreate(1.0f, 0.0f, 3.0f, s, 4, nullptr); },
         true},
        {"tube both radii 0", kNameTube, [=] { return TubeCreate(0.0f, 0.0f, 3.0f, s, 4, nullptr); }, false},
        {"tube inner -1", kNameTube, [=] { return TubeCreate(-1.0f, 2.0f, 3.0f, s, 4, nullptr); }, false},
        {"tube 3 segments", kNameTube, [=] { return TubeCreate(1.0f, 2.0f, 3.0f, s, 3, nullptr); }, false},
        {"tube height 0", kNameTube, [=] { return TubeCreate(1.0f, 2.0f, 0.0f, s, 4, nullptr); }, false},
        {"tube height -3", kNameTube, [=] { return TubeCreate(1.0f, 2.0f, -3.0f, s, 4, nullptr); }, false},
        {"torus 4 x 4", kNameTorus, [=] { return TorusCreate(3.0f, 1.0f, s, 4, 4, nullptr); }, true},
        {"torus major 0", kNameTorus, [=] { return TorusCreate(0.0f, 1.0f, s, 4, 4, nullptr); }, false},
        {"torus minor 0", kNameTorus, [=] { return TorusCreate(3.0f, 0.0f, s, 4, 4, nullptr); }, false},
        {"torus 3 tube segments", kNameTorus, [=] { return TorusCreate(3.0f, 1.0f, s, 3, 4, nullptr); }, false},
        {"torus 3 ring segments", kNameTorus, [=] { return TorusCreate(3.0f, 1.0f, s, 4, 3, nullptr); }, false},
        {"chamfered cube 4 / 1, 1 step", kNameCube, [=] { return ChCubeCreate(4.0f, 1.0f, s, 1, nullptr); }, true},
        {"chamfered cube chamfer just below half", kNameCube,
         [=] { return ChCubeCreate(4.0f, 1.99f, s, 1, nullptr); }, true},
        // 4 - 2 * 2 is exactly 0, not positive.
        {"chamfered cube chamfer = size / 2", kNameCube, [=] { return ChCubeCreate(4.0f, 2.0f, s, 1, nullptr); },
         false},
        {"chamfered cube chamfer above half", kNameCube, [=] { return ChCubeCreate(4.0f, 3.0f, s, 1, nullptr); },
         false},
        {"chamfered cube chamfer 0", kNameCube, [=] { return ChCubeCreate(4.0f, 0.0f, s, 1, nullptr); }, false},
        {"chamfered cube size 0", kNameCube, [=] { return ChCubeCreate(0.0f, 1.0f, s, 1, nullptr); }, false},
        {"chamfered cube 0 steps", kNameCube, [=] { return ChCubeCreate(4.0f, 1.0f, s, 0, nullptr); }, false},
    };
    for (const ArgumentCase& c : cases) {
        SCOPED_TRACE(c.name);
        const int32_t before = NameCounter(c.family);
        MeshPtr mesh(c.make());
        EXPECT_EQ(mesh != nullptr, c.made);
        // Only a finished mesh uses up a number.
        EXPECT_EQ(NameCounter(c.family), before + (c.made ? 1 : 0));
    }
}

// ---------------------------------------------------------------- finishing

// One valid call of every generator, with the family it is named from and
// the Form it gets.
struct FinishCase {
    const char* name;
    NameFamily  family;
    const char* stem;
    int32_t     form;
    std::function<Mesh*(Material*)> make;
};

std::vector<FinishCase> FinishCases()
{
    Vector3* s = &g_Unit;
    return {
        {"billboard", kNameBillboard, "Billboard", 3, [=](Material* m) { return BillboardCreate(1.0f, s, m); }},
        {"cube", kNameCube, "Cube", 1, [=](Material* m) { return CubeCreate(1.0f, s, m); }},
        {"grid", kNameGrid, "Grid", 1, [=](Material* m) { return GridCreate(1.0f, s, 2, 3, m); }},
        {"disk", kNameDisk, "Disk", 1, [=](Material* m) { return DiskCreate(1.0f, s, 5, m); }},
        {"ring", kNameRing, "Ring", 1, [=](Material* m) { return RingCreate(2.0f, 1.0f, s, 5, m); }},
        {"sphere", kNameSphere, "Sphere", 1, [=](Material* m) { return SphereCreate(1.0f, s, 5, 6, m); }},
        {"hemisphere closed", kNameHSphere, "HSphere", 1,
         [=](Material* m) { return HemisphereCreate(1.0f, s, 5, 6, m, 0); }},
        {"hemisphere open", kNameHSphere, "HSphere", 1,
         [=](Material* m) { return HemisphereCreate(1.0f, s, 5, 6, m, 1); }},
        {"cylinder", kNameCylinder, "Cylinder", 1,
         [=](Material* m) { return CylinderCreate(1.0f, 2.0f, 3.0f, s, 5, m); }},
        {"cone apex up", kNameCylinder, "Cylinder", 1,
         [=](Material* m) { return CylinderCreate(1.0f, 0.0f, 3.0f, s, 5, m); }},
        {"cone apex down", kNameCylinder, "Cylinder", 1,
         [=](Material* m) { return CylinderCreate(0.0f, 1.0f, 3.0f, s, 5, m); }},
        {"tube", kNameTube, "Tube", 1, [=](Material* m) { return TubeCreate(1.0f, 2.0f, 3.0f, s, 5, m); }},
        {"torus", kNameTorus, "Torus", 1, [=](Material* m) { return TorusCreate(3.0f, 1.0f, s, 5, 6, m); }},
        {"chamfered cube", kNameCube, "Cube", 1, [=](Material* m) { return ChCubeCreate(4.0f, 1.0f, s, 2, m); }},
    };
}

// Name, Form, normals, box, and a mesh that is neither active nor hidden:
// RenderFlags stay those of a new mesh.
TEST(PrimitiveFinish, NameFormNormalsBoxFlags)
{
    for (const FinishCase& c : FinishCases()) {
        SCOPED_TRACE(c.name);
        const int32_t counter = NameCounter(c.family);
        MeshPtr mesh(c.make(nullptr));
        ASSERT_NE(mesh, nullptr);
        EXPECT_STREQ(mesh->Name, ExpectedName(c.stem, counter).c_str());
        EXPECT_EQ(mesh->Form, c.form);
        EXPECT_EQ(mesh->RenderFlags, kNewMeshFlags);
        EXPECT_TRUE(IsFixedMesh(mesh.get()));
        EXPECT_NE(mesh->VertexNormals, nullptr);
        EXPECT_GT(mesh->VertexNormalCount, 0);
        ExpectBoxSpansVertices(mesh.get());
    }
}

// The material is handed to the mesh calls as the colour word: CreateMesh
// reads its low 24 bits as the diffuse colour. The polygons keep the mesh's
// own DefaultMaterial. The fake pointer is never followed.
TEST(PrimitiveFinish, MaterialIsTheColourWord)
{
    Material* fake = reinterpret_cast<Material*>(static_cast<uintptr_t>(0x7f123456u));
    for (const FinishCase& c : FinishCases()) {
        SCOPED_TRACE(c.name);
        MeshPtr mesh(c.make(fake));
        ASSERT_NE(mesh, nullptr);
        const Material& d = mesh->DefaultMaterial;
        EXPECT_EQ(d.DiffuseColour[0], 18.0f);  // 0x12
        EXPECT_EQ(d.DiffuseColour[1], 52.0f);  // 0x34
        EXPECT_EQ(d.DiffuseColour[2], 86.0f);  // 0x56
        EXPECT_EQ(d.DiffuseColour[3], 255.0f);
        for (int32_t i = 0; i < mesh->PolygonCount; ++i) {
            EXPECT_EQ(mesh->Polygons[i].FrontMaterial, &mesh->DefaultMaterial);
            EXPECT_EQ(mesh->Polygons[i].BackMaterial, &mesh->DefaultMaterial);
        }
    }
    MeshPtr black(CubeCreate(1.0f, &g_Unit, nullptr));
    EXPECT_EQ(black->DefaultMaterial.DiffuseColour[0], 0.0f);
    EXPECT_EQ(black->DefaultMaterial.DiffuseColour[3], 255.0f);
}

// ---------------------------------------------------------------- failure

Mesh* NoMesh(int32_t, int32_t, uint32_t) { return nullptr; }
Mesh* NoBounds(Mesh*) { return nullptr; }

// The storage failing at either point gives null and uses no number. When
// the box fails, the half-made mesh (vertices, polygons, normals, sort block)
// is freed: the sanitizer build's leak check sees to that.
TEST(PrimitiveFailure, NoMeshOrNoBoxLeavesNothing)
{
    for (const FinishCase& c : FinishCases()) {
        SCOPED_TRACE(c.name);
        const int32_t counter = NameCounter(c.family);
        {
            ScopedBuilders failing(NoMesh, nullptr);
            EXPECT_EQ(c.make(nullptr), nullptr);
        }
        {
            ScopedBuilders failing(nullptr, NoBounds);
            EXPECT_EQ(c.make(nullptr), nullptr);
        }
        EXPECT_EQ(NameCounter(c.family), counter);
        MeshPtr mesh(c.make(nullptr));
        ASSERT_NE(mesh, nullptr);
        EXPECT_STREQ(mesh->Name, ExpectedName(c.stem, counter).c_str());
    }
}

// ---------------------------------------------------------------- names

// Cubes count "Cube00", "Cube01", ... "Cube09", "Cube10": a "0" pads the
// number while it is below 10. Run alone (as ctest runs each test) the
// series starts at 0; run after other tests it starts where they left it.
TEST(PrimitiveNames, CubeSeriesPadsBelowTen)
{
    const int32_t start = NameCounter(kNameCube);
    if (start == 0) {
        MeshPtr first(CubeCreate(1.0f, &g_Unit, nullptr));
        EXPECT_STREQ(first->Name, "Cube00");
    }
    while (NameCounter(kNameCube) < 12) {
        const int32_t counter = NameCounter(kNameCube);
        MeshPtr cube(CubeCreate(1.0f, &g_Unit, nullptr));
        EXPECT_STREQ(cube->Name, ExpectedName("Cube", counter).c_str());
        if (counter == 9) {
            EXPECT_STREQ(cube->Name, "Cube09");
        }
        if (counter == 10) {
            EXPECT_STREQ(cube->Name, "Cube10");
        }
    }
}

// CubeCreate and ChCubeCreate draw from one series; a refused call of
// either, and every other family, leave it alone.
TEST(PrimitiveNames, ChamferedCubeSharesTheCubeSeries)
{
    const int32_t n = NameCounter(kNameCube);
    MeshPtr a(CubeCreate(1.0f, &g_Unit, nullptr));
    EXPECT_EQ(ChCubeCreate(4.0f, 2.0f, &g_Unit, 1, nullptr), nullptr);
    MeshPtr sphere(SphereCreate(1.0f, &g_Unit, 4, 4, nullptr));
    MeshPtr b(ChCubeCreate(4.0f, 1.0f, &g_Unit, 1, nullptr));
    EXPECT_EQ(CubeCreate(0.0f, &g_Unit, nullptr), nullptr);
    MeshPtr c(CubeCreate(1.0f, &g_Unit, nullptr));
    EXPECT_STREQ(a->Name, ExpectedName("Cube", n).c_str());
    EXPECT_STREQ(b->Name, ExpectedName("Cube", n + 1).c_str());
    EXPECT_STREQ(c->Name, ExpectedName("Cube", n + 2).c_str());
    if (n == 0) {
        EXPECT_STREQ(b->Name, "Cube01");
    }
}

}  // namespace
}  // namespace span3d
