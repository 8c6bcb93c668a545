// Mesh attributes: the plain accessors, the static result block of
// GetMeshModelPosition, and the five render-state setters with their tree
// walks. Trees are built by hand (object_test_support.h), so that these tests
// depend on nothing but the walkers' own rule: act on the node, then call on
// every child of any kind.
#include "object_test_support.h"

namespace span3d {
namespace {
using namespace test;

constexpr uint32_t kNewMesh = 0x7f00027u;      // Gouraud, front only, all modes and stages
constexpr uint32_t kNewMaterial = 0x700063u;   // flat, front only, blend, solid

// ---------------------------------------------------------------- render mode

TEST(MeshRenderMode, StepTable)
{
    // Each case starts from a new mesh (its word and material word may be
    // preset) and applies up to three modes, checking both words after each.
    //   dots  keeps mask 0xf81fffbf, or 0x100000
    //   wire  keeps mask 0xf83fffbf, or 0x300000
    //   solid keeps mask 0xf87fffbf, or 0x700000
    //   a stage bit otherwise: clear 0x40, or 0x7f00000
    // then BlendBit follows the mode; the material follows its own rule
    // (BlendBit from the mode, render mode only if the mode has 0x700000 bits).
    struct Step { int32_t mode; uint32_t mesh, material; };
    struct Case { const char* name; uint32_t mesh0, material0; Step steps[3]; int32_t stepCount; };
    const Case cases[] = {
        // 0x7f00027 & 0xf83fffbf = 0x300027. Material: 0x700063 without 0x40
        // is 0x700023, mode bits replaced: 0x300023. Then the stage mode opens
        // the mesh to 0x7f00027 again; the material has no mode bits in
        // 0x7800000 and stays wire.
        {"wire then all stages", kNewMesh, kNewMaterial,
         {{0x300000, 0x300027u, 0x300023u}, {0x7800000, 0x7f00027u, 0x300023u}}, 2},
        // 0x7f00027 & 0xf81fffbf = 0x100027.
        {"dots", kNewMesh, kNewMaterial, {{0x100000, 0x100027u, 0x100023u}}, 1},
        // 0x7f00027 & 0xf87fffbf = 0x700027: the stages go, solid stays.
        {"solid", kNewMesh, kNewMaterial, {{0x700000, 0x700027u, 0x700023u}}, 1},
        {"solid with blend, then without", kNewMesh, kNewMaterial,
         {{0x700040, 0x700067u, 0x700063u}, {0x700000, 0x700027u, 0x700023u}}, 2},
        {"wire with blend", kNewMesh, kNewMaterial, {{0x300040, 0x300067u, 0x300063u}}, 1},
        // One stage bit opens all of 0x7f00000, not only its own.
        {"dots then diffuse stage", kNewMesh, kNewMaterial,
         {{0x100000, 0x100027u, 0x100023u}, {0x800000, 0x7f00027u, 0x100023u}}, 2},
        // d clears 0x40, then step 2 sets it from the mode.
        {"stages with blend", kNewMesh, kNewMaterial, {{0x7800040, 0x7f00067u, 0x700063u}}, 1},
        // 0xb00000 is no exact plain mode but has a stage bit: mesh opened;
        // the material takes the 0x300000 in it.
        {"stage with wire bits", kNewMesh, kNewMaterial, {{0xb00000, 0x7f00027u, 0x300023u}}, 1},
        // Neither exact nor staged: the mesh's mode bits stay, while the
        // material takes the odd mode 0x500000 as it comes.
        {"0x500000 is no mode", 0x300027u, kNewMaterial, {{0x500000, 0x300027u, 0x500023u}}, 1},
        {"0x100001 is no mode", kNewMesh, kNewMaterial, {{0x100001, 0x7f00027u, 0x100023u}}, 1},
        // BlendBit alone: no mode step, BlendBit set on both.
        {"blend alone", kNewMesh, 0x300023u, {{0x40, 0x7f00067u, 0x300063u}}, 1},
        // Zero clears BlendBit on both and changes nothing else.
        {"zero", 0x7f00067u, kNewMaterial, {{0, 0x7f00027u, 0x700023u}}, 1},
        // All bits: 0xffffffbf has stage bits; BlendBit set again after.
        {"all bits", kNewMesh, 0x100023u, {{-1, 0x7f00067u, 0x700063u}}, 1},
        // A blending mesh lowered to dots loses BlendBit with the stages:
        // 0x7f00067 & 0xf81fffbf = 0x100027.
        {"blend then dots", kNewMesh, kNewMaterial,
         {{0x7800040, 0x7f00067u, 0x700063u}, {0x100000, 0x100027u, 0x100023u}}, 2},
        // Hidden and active bits and the shade and cull bits are kept:
        // 0x7f0c00b & 0xf83fffbf = 0x30c00b.
        {"other mesh bits kept", 0x7f0c00bu, kNewMaterial, {{0x300000, 0x30c00bu, 0x300023u}}, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Tree tree;
        Mesh* mesh = tree.NewMesh();
        mesh->RenderFlags = c.mesh0;
        mesh->DefaultMaterial.MaterialFlags = c.material0;
        for (int32_t s = 0; s < c.stepCount; ++s) {
            SCOPED_TRACE(s);
            SetMeshRenderMode(mesh, c.steps[s].mode);
            EXPECT_EQ(mesh->RenderFlags, c.steps[s].mesh);
            EXPECT_EQ(mesh->DefaultMaterial.MaterialFlags, c.steps[s].material);
            EXPECT_EQ(GetMeshRenderMode(mesh), c.steps[s].mesh & 0x7f00000u);
        }
    }
}

TEST(MeshRenderMode, PolygonsKeepTheirBits)
{
    // Lowering the mesh masks the polygons' textures without touching them.
    Mesh* mesh = CreateMesh(3, 1, 0);
    ASSERT_EQ(SetMeshTriPolygon(mesh, 0, 0, 1, 2, 0, 3), 1);
    SetMeshTriTexCoords(mesh, 0, 0, 0, 1, 0, 0, 1);
    const uint32_t polygonFlags = 0x700e47u | 0x3000u | 0x7800000u;
    ASSERT_EQ(mesh->Polygons[0].Flags, polygonFlags);
    SetMeshRenderMode(mesh, 0x100000);
    EXPECT_EQ(mesh->Polygons[0].Flags, polygonFlags);
    SetMeshRenderMode(mesh, 0x7800040);
    EXPECT_EQ(mesh->Polygons[0].Flags, polygonFlags);
    DeleteMesh(mesh);
}

TEST(MeshRenderMode, NonMeshKindsAreNotChanged)
{
    // A Mesh record whose Kind is not 1 or 2 is passed through, untouched,
    // while its mesh child is changed.
    for (uint32_t kind : {0u, 3u, SPAN3D_KIND_CAMERA, SPAN3D_KIND_LIGHT, 0x40u}) {
        SCOPED_TRACE(kind);
        Tree tree;
        Mesh* other = tree.NewMesh(kind);
        Mesh* child = tree.NewMesh();
        tree.Link(N(other), {N(child)});
        SetMeshRenderMode(other, 0x100040);
        EXPECT_EQ(other->RenderFlags, kNewMesh);
        EXPECT_EQ(other->DefaultMaterial.MaterialFlags, kNewMaterial);
        EXPECT_EQ(child->RenderFlags, 0x100067u);
    }
}

// ---------------------------------------------------------------- cull mode

TEST(MeshCullMode, NodeTable)
{
    // Only Kind 1 or 2 with Form 1 takes mode & 0x38, replacing its cull
    // bits whole (0 included); the material is never touched. The new word
    // is (0x7f00027 & ~0x38) | cull = 0x7f00007 | cull.
    struct Case { const char* name; uint32_t kind; int32_t form; int32_t mode; uint32_t cull; };
    const Case cases[] = {
        {"both sides", 1, kFormOrdinary, 0x08, 0x08},
        {"back only", 1, kFormOrdinary, 0x10, 0x10},
        {"two bits kept as given", 1, kFormOrdinary, 0x18, 0x18},
        {"other bits masked off", 1, kFormOrdinary, -1, 0x38},
        {"zero clears", 1, kFormOrdinary, 0, 0},
        {"blend bit alone clears", 1, kFormOrdinary, 0x40, 0},
        {"not validated keeps", 1, kFormNone, 0x08, 0x20},
        {"draws-nothing keeps", 1, kFormNothing, 0x08, 0x20},
        {"billboard keeps", 1, kFormBillboard, 0x08, 0x20},
        {"variant takes it", 2, kFormOrdinary, 0x08, 0x08},
        {"upper Kind bits ignored", 0x42, kFormOrdinary, 0x10, 0x10},
        {"kind 0 is no mesh", 0, kFormOrdinary, 0x08, 0x20},
        {"kind 3 is no mesh", 3, kFormOrdinary, 0x08, 0x20},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Tree tree;
        Mesh* mesh = tree.NewMesh(c.kind, c.form);
        SetMeshCullMode(mesh, c.mode);
        EXPECT_EQ(mesh->RenderFlags, 0x7f00007u | c.cull);
        EXPECT_EQ(GetMeshCullMode(mesh), c.cull);
        EXPECT_EQ(mesh->DefaultMaterial.MaterialFlags, kNewMaterial);
    }
}

// ---------------------------------------------------------------- shade mode

TEST(MeshShadeMode, NodeTable)
{
    // A mesh of any Form takes mode & 7 whole, 0 included; its material
    // takes the same value unless it is 0. The mesh word becomes
    // (0x7f00027 & ~7) | shade = 0x7f00020 | shade.
    struct Case {
        const char* name; uint32_t kind; int32_t form; int32_t mode; uint32_t shade; uint32_t material;
    };
    const Case cases[] = {
        {"none", 1, kFormNone, 1, 1, 0x700061u},
        {"flat", 1, kFormNone, 3, 3, 0x700063u},
        {"Gouraud", 1, kFormNone, 7, 7, 0x700067u},
        {"zero: mesh cleared, material kept", 1, kFormNone, 0, 0, kNewMaterial},
        {"eight masks to zero", 1, kFormNone, 8, 0, kNewMaterial},
        {"upper bits masked", 1, kFormNone, 0xf9, 1, 0x700061u},
        {"odd value stored as given", 1, kFormNone, 5, 5, 0x700065u},
        {"billboard takes it", 1, kFormBillboard, 1, 1, 0x700061u},
        {"variant takes it", 2, kFormOrdinary, 1, 1, 0x700061u},
        {"kind 0 is no mesh", 0, kFormOrdinary, 1, 7, kNewMaterial},
        {"kind 4 is no mesh", 4, kFormOrdinary, 1, 7, kNewMaterial},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Tree tree;
        Mesh* mesh = tree.NewMesh(c.kind, c.form);
        SetMeshShadeMode(mesh, c.mode);
        EXPECT_EQ(mesh->RenderFlags, 0x7f00020u | c.shade);
        EXPECT_EQ(GetMeshShadeMode(mesh), c.shade);
        EXPECT_EQ(mesh->DefaultMaterial.MaterialFlags, c.material);
    }
}

TEST(MeshShadeMode, EffectiveShadeOfTheThreeWords)
{
    // A triangle's 7, the new mesh's 7 and the default material's 3 AND to
    // flat; SetMeshShadeMode(1) makes mesh and material unshaded at once.
    Mesh* mesh = CreateMesh(3, 1, 0);
    ASSERT_EQ(SetMeshTriPolygon(mesh, 0, 0, 1, 2, 0, 0), 1);
    const MeshPolygon& polygon = mesh->Polygons[0];
    auto effective = [&] {
        return mesh->RenderFlags & polygon.Flags & polygon.FrontMaterial->MaterialFlags & 7u;
    };
    EXPECT_EQ(effective(), 3u);
    SetMeshShadeMode(mesh, 1);
    EXPECT_EQ(effective(), 1u);
    SetMeshShadeMode(mesh, 7);
    EXPECT_EQ(effective(), 7u);
    // 0 leaves the mesh with no shade bits: no shade row draws it.
    SetMeshShadeMode(mesh, 0);
    EXPECT_EQ(effective(), 0u);
    EXPECT_EQ(GetMaterialShadeMode(&mesh->DefaultMaterial), 7u);
    DeleteMesh(mesh);
}

// ---------------------------------------------------------------- hide and show

TEST(MeshHideShow, KindTable)
{
    // HideMesh takes Kind & 63 of 1 or 2; ShowMesh only 1. Hidden is bit
    // 0x4000; nothing else of the word moves.
    struct Case { const char* name; uint32_t kind; uint32_t afterHide, afterShow; };
    const Case cases[] = {
        {"mesh", 1, 0x4000, 0},
        {"variant hides, never shows", 2, 0x4000, 0x4000},
        {"mesh with upper Kind bits", 0x41, 0x4000, 0},
        {"variant with upper Kind bits", 0xc2, 0x4000, 0x4000},
        {"kind 0", 0, 0, 0},
        {"kind 3", 3, 0, 0},
        {"camera kind", 4, 0, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Tree tree;
        Mesh* mesh = tree.NewMesh(c.kind);
        EXPECT_EQ(IsHiddenMesh(mesh), 0u);
        HideMesh(mesh);
        EXPECT_EQ(IsHiddenMesh(mesh), c.afterHide);
        EXPECT_EQ(mesh->RenderFlags, kNewMesh | c.afterHide);
        ShowMesh(mesh);
        EXPECT_EQ(IsHiddenMesh(mesh), c.afterShow);
        EXPECT_EQ(mesh->RenderFlags, kNewMesh | c.afterShow);

        // A hidden bit set by other means is cleared by ShowMesh on kind 1
        // only, whatever the kind was when it was set.
        mesh->RenderFlags = 0xffffffffu;
        ShowMesh(mesh);
        const bool shows = (c.kind & 63u) == 1u;
        EXPECT_EQ(mesh->RenderFlags, shows ? 0xffffbfffu : 0xffffffffu);
    }
}

TEST(MeshRenderState, EveryWalkReachesEveryKindOfNode)
{
    // root (1, Form 0)
    //  +- variant (2, Form 1) -- m4 (1, Form 1)
    //  +- camera (4)          -- m1 (1, Form 1)
    //  +- light (16) -- light target (32) -- m2 (1, billboard)
    //  +- non-node (0)        -- m3 (1 with upper Kind bits 0x40, Form 1)
    Tree tree;
    Mesh* root = tree.NewMesh();
    Mesh* variant = tree.NewMesh(SPAN3D_KIND_MESH_VARIANT, kFormOrdinary);
    Mesh* m4 = tree.NewMesh(SPAN3D_KIND_MESH, kFormOrdinary);
    Node* camera = tree.NewNode(SPAN3D_KIND_CAMERA);
    Mesh* m1 = tree.NewMesh(SPAN3D_KIND_MESH, kFormOrdinary);
    Node* light = tree.NewNode(SPAN3D_KIND_LIGHT);
    Node* target = tree.NewNode(SPAN3D_KIND_LIGHT_TARGET);
    Mesh* m2 = tree.NewMesh(SPAN3D_KIND_MESH, kFormBillboard);
    Node* nonNode = tree.NewNode(0);
    Mesh* m3 = tree.NewMesh(0x40u | SPAN3D_KIND_MESH, kFormOrdinary);
    tree.Link(N(root), {N(variant), camera, light, nonNode});
    tree.Link(N(variant), {N(m4)});
    tree.Link(camera, {N(m1)});
    tree.Link(light, {target});
    tree.Link(target, {N(m2)});
    tree.Link(nonNode, {N(m3)});
    const auto all = {root, variant, m4, m1, m2, m3};

    // Render mode: 0x300040 gives 0x300067 and the material 0x300063 on every
    // mesh; a subtree call (stages: 0x7f00027) leaves what lies above it.
    SetMeshRenderMode(root, 0x300040);
    for (Mesh* m : all) {
        EXPECT_EQ(m->RenderFlags, 0x300067u);
        EXPECT_EQ(m->DefaultMaterial.MaterialFlags, 0x300063u);
    }
    SetMeshRenderMode(variant, 0x7800000);
    EXPECT_EQ(m4->RenderFlags, 0x7f00027u);
    EXPECT_EQ(root->RenderFlags, 0x300067u);

    // Cull: only Form 1 takes it, but the walk passes through the meshes that
    // keep theirs (root, the billboard) to the ones below.
    SetMeshCullMode(root, 0x08);
    for (Mesh* m : all) EXPECT_EQ(GetMeshCullMode(m), (m == root || m == m2) ? 0x20u : 0x08u);

    // Shade: any Form takes it; 0 clears the meshes and keeps the materials.
    SetMeshShadeMode(root, 1);
    SetMeshShadeMode(root, 0);
    for (Mesh* m : all) {
        EXPECT_EQ(GetMeshShadeMode(m), 0u);
        EXPECT_EQ(m->DefaultMaterial.MaterialFlags & 7u, 1u);
    }

    // Hide reaches all; show leaves the variant hidden but walks through it
    // to m4; a subtree call reaches down, never up.
    HideMesh(root);
    for (Mesh* m : all) EXPECT_EQ(IsHiddenMesh(m), 0x4000u);
    ShowMesh(root);
    for (Mesh* m : all) EXPECT_EQ(IsHiddenMesh(m), m == variant ? 0x4000u : 0u);
    HideMesh(m1);
    EXPECT_EQ(IsHiddenMesh(m1), 0x4000u);
    EXPECT_EQ(IsHiddenMesh(root) | IsHiddenMesh(m2), 0u);
}

TEST(MeshRenderState, NullRootIsIgnored)
{
    SetMeshRenderMode(nullptr, 0x300000);
    SetMeshCullMode(nullptr, 8);
    SetMeshShadeMode(nullptr, 1);
    HideMesh(nullptr);
    ShowMesh(nullptr);
    SUCCEED();
}

// ---------------------------------------------------------------- plain accessors

TEST(MeshAccessors, WordGettersTable)
{
    struct Case { const char* name; uint32_t flags; uint32_t mode, cull, shade, hidden; };
    const Case cases[] = {
        {"new mesh", kNewMesh, 0x7f00000, 0x20, 7, 0},
        {"all bits", 0xffffffffu, 0x7f00000, 0x38, 7, 0x4000},
        {"no bits", 0, 0, 0, 0, 0},
        // Wire, back only, none, hidden, active, bit 27 above the stages.
        {"mixed", 0x830c011u, 0x300000, 0x10, 1, 0x4000},
    };
    Tree tree;
    Mesh* mesh = tree.NewMesh();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        mesh->RenderFlags = c.flags;
        EXPECT_EQ(GetMeshRenderMode(mesh), c.mode);
        EXPECT_EQ(GetMeshCullMode(mesh), c.cull);
        EXPECT_EQ(GetMeshShadeMode(mesh), c.shade);
        EXPECT_EQ(IsHiddenMesh(mesh), c.hidden);
        EXPECT_EQ(mesh->RenderFlags, c.flags);
    }
}

TEST(MeshAccessors, ActivateMesh)
{
    Tree tree;
    Mesh* mesh = tree.NewMesh();
    Mesh* child = tree.NewMesh();
    tree.Link(N(mesh), {N(child)});
    mesh->RenderFlags = kNewMesh | 0x4000u;
    EXPECT_EQ(ActivateMesh(mesh), mesh);
    EXPECT_EQ(mesh->RenderFlags, kNewMesh | 0x4000u | 0x8000u);
    EXPECT_EQ(ActivateMesh(mesh), mesh);
    EXPECT_EQ(mesh->RenderFlags, kNewMesh | 0x4000u | 0x8000u);
    // Not a walker: the child stays inactive, and Form is not touched.
    EXPECT_EQ(child->RenderFlags, kNewMesh);
    EXPECT_EQ(mesh->Form, kFormNone);
}

TEST(MeshAccessors, SmoothGroupTable)
{
    // Two triangles with groups 5 and 9: Flags 0x705e47 and 0x709e47.
    struct Case { const char* name; int32_t polygon, group; uint32_t flags0, flags1; };
    const Case cases[] = {
        {"group 31", 0, 31, 0x71fe47u, 0x709e47u},
        {"group 0 clears", 0, 0, 0x700e47u, 0x709e47u},
        {"last polygon", 1, 7, 0x705e47u, 0x707e47u},
        {"group 32 ignored", 0, 32, 0x705e47u, 0x709e47u},
        {"negative group ignored", 1, -1, 0x705e47u, 0x709e47u},
        {"index equal to count ignored", 2, 3, 0x705e47u, 0x709e47u},
        {"negative index ignored", -1, 3, 0x705e47u, 0x709e47u},
        {"largest index ignored", INT32_MAX, 3, 0x705e47u, 0x709e47u},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Mesh* mesh = CreateMesh(3, 2, 0);
        ASSERT_EQ(SetMeshTriPolygon(mesh, 0, 0, 1, 2, 0, 5), 1);
        ASSERT_EQ(SetMeshTriPolygon(mesh, 1, 1, 2, 0, 0, 9), 1);
        SetMeshFaceSmoothG(mesh, c.polygon, c.group);
        EXPECT_EQ(mesh->Polygons[0].Flags, c.flags0);
        EXPECT_EQ(mesh->Polygons[1].Flags, c.flags1);
        EXPECT_EQ(GetMeshFaceSmoothG(mesh, 0), int32_t((c.flags0 >> 12) & 31u));
        EXPECT_EQ(GetMeshFaceSmoothG(mesh, 1), int32_t((c.flags1 >> 12) & 31u));
        DeleteMesh(mesh);
    }
}

TEST(MeshAccessors, SmoothGroupTouchesBits12To16Only)
{
    Mesh* mesh = CreateMesh(3, 1, 0);
    mesh->Polygons[0].Flags = 0xffffffffu;
    SetMeshFaceSmoothG(mesh, 0, 0);
    EXPECT_EQ(mesh->Polygons[0].Flags, 0xfffe0fffu);
    SetMeshFaceSmoothG(mesh, 0, 21);  // 21 << 12 = 0x15000
    EXPECT_EQ(mesh->Polygons[0].Flags, 0xffff5fffu);
    EXPECT_EQ(GetMeshFaceSmoothG(mesh, 0), 21);
    for (int32_t index : {-1, 1, INT32_MIN, INT32_MAX}) {
        SCOPED_TRACE(index);
        EXPECT_EQ(GetMeshFaceSmoothG(mesh, index), 0);
    }
    DeleteMesh(mesh);

    // A growable mesh with no polygons answers 0 without reading any.
    Mesh* empty = CreateMesh(0, 0, 0);
    EXPECT_EQ(GetMeshFaceSmoothG(empty, 0), 0);
    SetMeshFaceSmoothG(empty, 0, 1);
    DeleteMesh(empty);
}

TEST(MeshAccessors, LightListTable)
{
    // Only the first slot decides: a list whose slot 0 is null reads as no
    // list, whatever lies behind it.
    Node stand[2] = {};
    Light* first = reinterpret_cast<Light*>(&stand[0]);
    Light* second = reinterpret_cast<Light*>(&stand[1]);
    struct Case { const char* name; Light* slot0; Light* slot1; bool list; };
    const Case cases[] = {
        {"no lights", nullptr, nullptr, false},
        {"one light", first, nullptr, true},
        {"two lights", first, second, true},
        {"slot 0 empty, slot 1 set", nullptr, second, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Mesh* mesh = CreateMesh(3, 1, 0);
        mesh->LightList[0] = c.slot0;
        mesh->LightList[1] = c.slot1;
        EXPECT_EQ(GetMeshLightList(mesh), c.list ? mesh->LightList : nullptr);
        DeleteMesh(mesh);
    }
    // A growable mesh has no list at all: null, not a fault.
    Mesh* growable = CreateMesh(0, 0, 0);
    EXPECT_EQ(GetMeshLightList(growable), nullptr);
    DeleteMesh(growable);
}

// ---------------------------------------------------------------- model matrix

// The rotation part of a Matrix34 (everything but m[3], m[7], m[11]).
void ExpectSameRotation(const Matrix34& a, const Matrix34& b)
{
    for (int32_t i : {0, 1, 2, 4, 5, 6, 8, 9, 10}) EXPECT_EQ(a.m[i], b.m[i]) << i;
}

void ExpectPosition(const Matrix34& m, float x, float y, float z)
{
    EXPECT_EQ(m.m[3], x);
    EXPECT_EQ(m.m[7], y);
    EXPECT_EQ(m.m[11], z);
}

TEST(MeshModelMatrix, PositionAndOrientationKeepEachOther)
{
    Tree tree;
    Mesh* mesh = tree.NewMesh();
    Matrix34 identity;
    MatrixIdentity(&identity);
    SetMeshModelPosition(mesh, 10.0f, 20.0f, -30.0f);
    ExpectSameRotation(mesh->ModelMatrix, identity);
    ExpectPosition(mesh->AnimMatrix, 0.0f, 0.0f, 0.0f);  // no export writes AnimMatrix
    // The rotation is exactly the kernel's Euler matrix of the same angles.
    SetMeshModelOrientation(mesh, 30.0f, 45.0f, 60.0f);
    ExpectPosition(mesh->ModelMatrix, 10.0f, 20.0f, -30.0f);
    Matrix34 expected = identity;
    const Vector3 angles = {30.0f, 45.0f, 60.0f};
    MatrixFromEuler(&expected, &angles);
    ExpectSameRotation(mesh->ModelMatrix, expected);
    // Zero angles replace the whole rotation: sin 0 = 0 and cos 0 = 1 make
    // every term exact, so the rotation is the identity to the bit.
    SetMeshModelOrientation(mesh, 0.0f, 0.0f, 0.0f);
    ExpectSameRotation(mesh->ModelMatrix, identity);
    // A position set later keeps the rotation.
    SetMeshModelOrientation(mesh, 0.0f, 90.0f, 0.0f);
    const Matrix34 rotated = mesh->ModelMatrix;
    SetMeshModelPosition(mesh, -1.0f, -2.0f, -3.0f);
    ExpectSameRotation(mesh->ModelMatrix, rotated);
    ExpectPosition(mesh->ModelMatrix, -1.0f, -2.0f, -3.0f);
    // The pivot is a field of its own, handed out by address.
    SetMeshPivot(mesh, 0.5f, -1.0f, 8.0f);
    EXPECT_EQ(GetMeshPivot(mesh), &mesh->Pivot);
    EXPECT_EQ(mesh->Pivot.z, 8.0f);
    ExpectPosition(mesh->ModelMatrix, -1.0f, -2.0f, -3.0f);
    EXPECT_EQ(GetMeshDefaultMaterial(mesh), &mesh->DefaultMaterial);
}

TEST(MeshModelMatrix, PositionResultIsOneStaticBlock)
{
    Tree tree;
    Mesh* a = tree.NewMesh();
    Mesh* b = tree.NewMesh();
    SetMeshModelPosition(a, 1.0f, 2.0f, 3.0f);
    SetMeshModelPosition(b, -4.0f, 5.5f, 0.25f);
    Vector3* first = GetMeshModelPosition(a);
    EXPECT_EQ(first->z, 3.0f);
    EXPECT_NE(static_cast<void*>(first), static_cast<void*>(&a->ModelMatrix.m[3]));
    // The next call, for another mesh, returns the same block and overwrites
    // what the first caller holds; writing into it changes no mesh.
    EXPECT_EQ(GetMeshModelPosition(b), first);
    EXPECT_EQ(first->x, -4.0f);
    EXPECT_EQ(first->y, 5.5f);
    EXPECT_EQ(first->z, 0.25f);
    first->x = 99.0f;
    EXPECT_EQ(b->ModelMatrix.m[3], -4.0f);
}

TEST(MeshAccessors, NameIsAPlainCopy)
{
    Tree tree;
    Mesh* mesh = tree.NewMesh();
    char* end = SetMeshName(mesh, "Box01");
    EXPECT_STREQ(mesh->Name, "Box01");
    EXPECT_EQ(end, mesh->Name + 5);

    // 31 characters and the NUL fill Name exactly; Viewport behind it stays.
    const char* longest = "abcdefghijklmnopqrstuvwxyz01234";
    end = SetMeshName(mesh, longest);
    EXPECT_STREQ(mesh->Name, longest);
    EXPECT_EQ(end, mesh->Name + 31);
    EXPECT_EQ(mesh->Viewport, nullptr);

    // A shorter name leaves the old bytes behind its NUL: no padding.
    SetMeshName(mesh, "Hi");
    EXPECT_STREQ(mesh->Name, "Hi");
    EXPECT_EQ(mesh->Name[3], 'd');

    // A null name copies nothing.
    EXPECT_EQ(SetMeshName(mesh, nullptr), nullptr);
    EXPECT_STREQ(mesh->Name, "Hi");
}

TEST(MeshAccessors, BillboardModeTable)
{
    struct Case { const char* name; uint32_t before, mode, after; };
    const Case cases[] = {
        {"upper bits kept", 0xffffffe0u, 4, 0xffffffe4u},
        // 0x12345678 & ~0x1f = 0x12345660; 0x21 & 0x1f = 1.
        {"mode above 5 bits masked", 0x12345678u, 0x21, 0x12345661u},
        {"zero clears the low bits", 0x1fu, 0, 0},
        {"all bits", 0, 0xffffffffu, 0x1fu},
    };
    Tree tree;
    Mesh* mesh = tree.NewMesh();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        mesh->BillboardMode = c.before;
        SetMeshBillboardMode(mesh, c.mode);
        EXPECT_EQ(mesh->BillboardMode, c.after);
        EXPECT_EQ(mesh->Form, kFormNone);  // the Form is the generator's
    }
}

}  // namespace
}  // namespace span3d
