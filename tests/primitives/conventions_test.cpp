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
    // Name, family, call, whether a mesh is made.
#define A(name, family, call, made) {name, kName##family, [=] { return call; }, made}
    const ArgumentCase cases[] = {
        A("billboard size 1", Billboard, BillboardCreate(1.0f, s, nullptr), true),
        A("billboard size 0", Billboard, BillboardCreate(0.0f, s, nullptr), false),
        A("billboard size -0", Billboard, BillboardCreate(-0.0f, s, nullptr), false),
        A("billboard size -1", Billboard, BillboardCreate(-1.0f, s, nullptr), false),
        A("billboard size NaN", Billboard, BillboardCreate(nan, s, nullptr), false),
        A("cube size 1e-30", Cube, CubeCreate(1e-30f, s, nullptr), true),
        A("cube size 0", Cube, CubeCreate(0.0f, s, nullptr), false),
        A("cube size -2", Cube, CubeCreate(-2.0f, s, nullptr), false),
        A("grid 1 x 1", Grid, GridCreate(1.0f, s, 1, 1, nullptr), true),
        A("grid size 0", Grid, GridCreate(0.0f, s, 1, 1, nullptr), false),
        A("grid size -1", Grid, GridCreate(-1.0f, s, 1, 1, nullptr), false),
        A("grid rows 0", Grid, GridCreate(1.0f, s, 0, 1, nullptr), false),
        A("grid columns 0", Grid, GridCreate(1.0f, s, 1, 0, nullptr), false),
        A("grid rows -1", Grid, GridCreate(1.0f, s, -1, 1, nullptr), false),
        A("disk 4 segments", Disk, DiskCreate(1.0f, s, 4, nullptr), true),
        A("disk 3 segments", Disk, DiskCreate(1.0f, s, 3, nullptr), false),
        A("disk radius 0", Disk, DiskCreate(0.0f, s, 4, nullptr), false),
        A("disk radius -1", Disk, DiskCreate(-1.0f, s, 4, nullptr), false),
        A("ring 2 / 1, 4 segments", Ring, RingCreate(2.0f, 1.0f, s, 4, nullptr), true),
        A("ring 3 segments", Ring, RingCreate(2.0f, 1.0f, s, 3, nullptr), false),
        A("ring equal radii", Ring, RingCreate(1.0f, 1.0f, s, 4, nullptr), false),
        A("ring inner above outer", Ring, RingCreate(1.0f, 2.0f, s, 4, nullptr), false),
        A("ring inner 0", Ring, RingCreate(1.0f, 0.0f, s, 4, nullptr), false),
        A("ring outer 0", Ring, RingCreate(0.0f, -1.0f, s, 4, nullptr), false),
        A("sphere 4 x 4", Sphere, SphereCreate(1.0f, s, 4, 4, nullptr), true),
        A("sphere 3 stacks", Sphere, SphereCreate(1.0f, s, 3, 4, nullptr), false),
        A("sphere 3 slices", Sphere, SphereCreate(1.0f, s, 4, 3, nullptr), false),
        A("sphere radius 0", Sphere, SphereCreate(0.0f, s, 4, 4, nullptr), false),
        // 69999 * 70000 * 2 polygons do not fit an i32: refused before any
        // allocation, as a failed CreateMesh.
        A("sphere count beyond i32", Sphere, SphereCreate(1.0f, s, 70000, 70000, nullptr), false),
        A("hemisphere closed 4 x 4", HSphere, HemisphereCreate(1.0f, s, 4, 4, nullptr, 0), true),
        A("hemisphere open 4 x 4", HSphere, HemisphereCreate(1.0f, s, 4, 4, nullptr, 7), true),
        A("hemisphere 3 stacks", HSphere, HemisphereCreate(1.0f, s, 3, 4, nullptr, 1), false),
        A("hemisphere 3 slices", HSphere, HemisphereCreate(1.0f, s, 4, 3, nullptr, 0), false),
        A("hemisphere radius -1", HSphere, HemisphereCreate(-1.0f, s, 4, 4, nullptr, 0), false),
        A("cylinder 1 / 2", Cylinder, CylinderCreate(1.0f, 2.0f, 3.0f, s, 4, nullptr), true),
        A("cylinder both radii 0", Cylinder, CylinderCreate(0.0f, 0.0f, 3.0f, s, 4, nullptr), false),
        A("cylinder both radii -0", Cylinder, CylinderCreate(-0.0f, -0.0f, 3.0f, s, 4, nullptr), false),
        A("cylinder top -0 is a cone", Cylinder, CylinderCreate(1.0f, -0.0f, 3.0f, s, 4, nullptr), true),
        A("cylinder bottom -1", Cylinder, CylinderCreate(-1.0f, 1.0f, 3.0f, s, 4, nullptr), false),
        A("cylinder top -1", Cylinder, CylinderCreate(1.0f, -1.0f, 3.0f, s, 4, nullptr), false),
        A("cylinder 3 segments", Cylinder, CylinderCreate(1.0f, 1.0f, 3.0f, s, 3, nullptr), false),
        A("cylinder height -3 (unchecked)", Cylinder, CylinderCreate(1.0f, 1.0f, -3.0f, s, 4, nullptr), true),
        A("cylinder height 0 (unchecked)", Cylinder, CylinderCreate(1.0f, 1.0f, 0.0f, s, 4, nullptr), true),
        A("tube 1 / 2", Tube, TubeCreate(1.0f, 2.0f, 3.0f, s, 4, nullptr), true),
        A("tube inner 0", Tube, TubeCreate(0.0f, 2.0f, 3.0f, s, 4, nullptr), true),
        A("tube outer 0 (radii not ordered)", Tube, TubeCreate(1.0f, 0.0f, 3.0f, s, 4, nullptr), true),
        A("tube both radii 0", Tube, TubeCreate(0.0f, 0.0f, 3.0f, s, 4, nullptr), false),
        A("tube inner -1", Tube, TubeCreate(-1.0f, 2.0f, 3.0f, s, 4, nullptr), false),
        A("tube 3 segments", Tube, TubeCreate(1.0f, 2.0f, 3.0f, s, 3, nullptr), false),
        A("tube height 0", Tube, TubeCreate(1.0f, 2.0f, 0.0f, s, 4, nullptr), false),
        A("tube height -3", Tube, TubeCreate(1.0f, 2.0f, -3.0f, s, 4, nullptr), false),
        A("torus 4 x 4", Torus, TorusCreate(3.0f, 1.0f, s, 4, 4, nullptr), true),
        A("torus major 0", Torus, TorusCreate(0.0f, 1.0f, s, 4, 4, nullptr), false),
        A("torus minor 0", Torus, TorusCreate(3.0f, 0.0f, s, 4, 4, nullptr), false),
        A("torus 3 tube segments", Torus, TorusCreate(3.0f, 1.0f, s, 3, 4, nullptr), false),
        A("torus 3 ring segments", Torus, TorusCreate(3.0f, 1.0f, s, 4, 3, nullptr), false),
        A("chamfered cube 4 / 1, 1 step", Cube, ChCubeCreate(4.0f, 1.0f, s, 1, nullptr), true),
        A("chamfered cube chamfer just below half", Cube, ChCubeCreate(4.0f, 1.99f, s, 1, nullptr), true),
        // 4 - 2 * 2 is exactly 0, not positive.
        A("chamfered cube chamfer = size / 2", Cube, ChCubeCreate(4.0f, 2.0f, s, 1, nullptr), false),
        A("chamfered cube chamfer above half", Cube, ChCubeCreate(4.0f, 3.0f, s, 1, nullptr), false),
        A("chamfered cube chamfer 0", Cube, ChCubeCreate(4.0f, 0.0f, s, 1, nullptr), false),
        A("chamfered cube size 0", Cube, ChCubeCreate(0.0f, 1.0f, s, 1, nullptr), false),
        A("chamfered cube 0 steps", Cube, ChCubeCreate(4.0f, 1.0f, s, 0, nullptr), false),
    };
#undef A
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
#define F(name, family, stem, form, call) {name, kName##family, stem, form, [=](Material* m) { return call; }}
    return {
        F("billboard", Billboard, "Billboard", 3, BillboardCreate(1.0f, s, m)),
        F("cube", Cube, "Cube", 1, CubeCreate(1.0f, s, m)),
        F("grid", Grid, "Grid", 1, GridCreate(1.0f, s, 2, 3, m)),
        F("disk", Disk, "Disk", 1, DiskCreate(1.0f, s, 5, m)),
        F("ring", Ring, "Ring", 1, RingCreate(2.0f, 1.0f, s, 5, m)),
        F("sphere", Sphere, "Sphere", 1, SphereCreate(1.0f, s, 5, 6, m)),
        F("hemisphere closed", HSphere, "HSphere", 1, HemisphereCreate(1.0f, s, 5, 6, m, 0)),
        F("hemisphere open", HSphere, "HSphere", 1, HemisphereCreate(1.0f, s, 5, 6, m, 1)),
        F("cylinder", Cylinder, "Cylinder", 1, CylinderCreate(1.0f, 2.0f, 3.0f, s, 5, m)),
        F("cone apex up", Cylinder, "Cylinder", 1, CylinderCreate(1.0f, 0.0f, 3.0f, s, 5, m)),
        F("cone apex down", Cylinder, "Cylinder", 1, CylinderCreate(0.0f, 1.0f, 3.0f, s, 5, m)),
        F("tube", Tube, "Tube", 1, TubeCreate(1.0f, 2.0f, 3.0f, s, 5, m)),
        F("torus", Torus, "Torus", 1, TorusCreate(3.0f, 1.0f, s, 5, 6, m)),
        F("chamfered cube", Cube, "Cube", 1, ChCubeCreate(4.0f, 1.0f, s, 2, m)),
    };
#undef F
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
