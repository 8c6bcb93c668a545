// Materials: slot filling, stage bits, the fourth slot's overlap, template
// naming, colour clamping, flag setters and assignment to polygons.
#include <math.h>

#include "object_test_support.h"

namespace span3d {
namespace {
using namespace test;

Material BlankMaterial()
{
    Material m;
    memset(&m, 0, sizeof(m));
    return m;
}

// ---------------------------------------------------------------- small routines

TEST(MaterialPowerOfTwo, Table)
{
    struct Case { const char* name; uint32_t v; uint32_t pow2; int32_t log2; };
    const Case cases[] = {
        {"zero fails", 0, 0, -1},
        {"one", 1, 1, 0},
        {"two", 2, 1, 1},
        {"three", 3, 0, -1},
        {"six", 6, 0, -1},
        {"256", 256, 1, 8},
        {"2^30", 0x40000000u, 1, 30},
        {"all ones", 0xffffffffu, 0, -1},
        // The top bit passes IsPowerOfTwo. Shifting it right arithmetically
        // never reaches 0; the bounded loop gives 31 rather than hanging.
        {"2^31", 0x80000000u, 1, 31},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(IsPowerOfTwo(c.v), c.pow2);
        EXPECT_EQ(Log2Exact(c.v), c.log2);
    }
}

// ---------------------------------------------------------------- slots

TEST(MaterialTexture, SlotFillTable)
{
    Pixel15 texels[4] = {};
    struct Case { const char* name; int32_t width, height, pitchBytes, mode; uint32_t slot, expectMode; int32_t shiftOrPitch; };
    const Case cases[] = {
        // Both sizes powers of two: bit 30 and log2(Width), whatever the pitch.
        {"256x128 pitch 512", 256, 128, 512, 2, 0, 0x40000002u, 8},
        {"256x128 odd pitch 1000", 256, 128, 1000, 2, 1, 0x40000002u, 8},
        {"1x1", 1, 1, 2, 0, 2, 0x40000000u, 0},
        // Otherwise no bit 30 and PitchBytes >> 1 texels per row.
        {"100x128 pitch 200", 100, 128, 200, 2, 0, 2u, 100},
        {"128x100 pitch 300", 128, 100, 300, 2, 3, 2u, 150},
        {"width 0 pitch 64", 0, 128, 64, 1, 1, 1u, 32},
        {"pitch halved arithmetically", 100, 100, -400, 0, 2, 0u, -200},
        // Only the low three bits of mode are kept.
        {"mode masked to 7", 64, 64, 128, 0xff, 0, 0x40000007u, 6},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Material m = BlankMaterial();
        m.MaterialFlags = 0x700063u | SPAN3D_STAGE_THIRD;
        Texture t = MakeTexture(c.width, c.height, c.pitchBytes, texels);
        TextureSlot* slot = SetMaterialTexture(&m, c.slot, &t, c.mode);
        ASSERT_EQ(reinterpret_cast<unsigned char*>(slot),
                  reinterpret_cast<unsigned char*>(&m) + offsetof(Material, Slot) +
                      c.slot * sizeof(TextureSlot));
        EXPECT_EQ(slot->Mode, c.expectMode);
        EXPECT_EQ(slot->ShiftOrPitch, c.shiftOrPitch);
        EXPECT_EQ(slot->Pixels, texels);
        EXPECT_EQ(slot->Texture, &t);
        // The slot's stage bit is added; other stage bits stay.
        EXPECT_EQ(m.MaterialFlags, 0x700063u | SPAN3D_STAGE_THIRD | (0x800000u << c.slot));
        EXPECT_EQ(GetMaterialTexture(&m, c.slot), slot);
    }
}

TEST(MaterialTexture, NullTextureClearsSlotAndStage)
{
    Pixel15 texel = 0;
    Material m = BlankMaterial();
    Texture t = MakeTexture(64, 64, 128, &texel);
    SetMaterialTexture(&m, 1, &t, 2);
    SetMaterialTexture(&m, 0, &t, 2);
    m.Slot[1].Reserved = 0x5a5a;
    TextureSlot* slot = SetMaterialTexture(&m, 1, nullptr, 7);
    TextureSlot cleared;
    memset(&cleared, 0, sizeof cleared);
    cleared.Reserved = 0x5a5a;  // not part of the fill
    EXPECT_EQ(slot, &m.Slot[1]);
    EXPECT_EQ(memcmp(slot, &cleared, sizeof cleared), 0);
    EXPECT_EQ(m.MaterialFlags, SPAN3D_STAGE_DIFFUSE);
}

TEST(MaterialTexture, SlotAboveThreeIsRefused)
{
    Pixel15 texel = 0;
    Material m = BlankMaterial();
    Texture t = MakeTexture(64, 64, 128, &texel);
    const Material before = m;
    EXPECT_EQ(SetMaterialTexture(&m, 4, &t, 2), nullptr);
    EXPECT_EQ(GetMaterialTexture(&m, 4), nullptr);
    SetMaterialTextureMode(&m, 4, 16);
    EXPECT_EQ(GetMaterialTextureMode(&m, 4), 0u);
    EXPECT_EQ(memcmp(&m, &before, sizeof(m)), 0);
}

// Slot 3 lies over ColorOp, Name and SlotTail. Its Mode word is ColorOp in
// the low half and the first two name bytes in the high half (little endian).
TEST(MaterialTexture, FourthSlotOverlapsColorOpAndNameNeverKeepWord)
{
    Pixel15 texel = 0;
    Material m = BlankMaterial();
    SetMaterialName(&m, "Brick");
    SetMaterialColorOp(&m, 0x1234, 1);
    m.KeepWord = 0xcafebabeu;
    Texture t = MakeTexture(256, 128, 512, &texel);

    TextureSlot* slot = SetMaterialTexture(&m, 3, &t, 2);
    EXPECT_EQ(reinterpret_cast<unsigned char*>(slot), reinterpret_cast<unsigned char*>(&m.ColorOp));
    // Mode 0x40000002: ColorOp takes 0x0002, Name[0..1] take 0x00, 0x40.
    EXPECT_EQ(m.ColorOp, 0x0002u);
    EXPECT_EQ(static_cast<unsigned char>(m.Name[0]), 0x00u);
    EXPECT_EQ(static_cast<unsigned char>(m.Name[1]), 0x40u);
    EXPECT_STRNE(m.Name, "Brick");
    EXPECT_EQ(m.KeepWord, 0xcafebabeu);
    EXPECT_EQ(m.MaterialFlags & SPAN3D_STAGE_MASK, SPAN3D_STAGE_FOURTH);

    // And the other way round: ColorOp and a later name write into the slot.
    SetMaterialColorOp(&m, 0x0005, 0);
    SetMaterialName(&m, "AB");
    EXPECT_EQ(slot->Mode, 0x42410005u);  // 'B' << 24 | 'A' << 16 | 5
    EXPECT_EQ(m.KeepWord, 0xcafebabeu);

    // Clearing the slot zeroes the words it covers and still spares KeepWord.
    SetMaterialTexture(&m, 3, nullptr, 0);
    EXPECT_EQ(m.ColorOp, 0u);
    EXPECT_EQ(m.KeepWord, 0xcafebabeu);
}

TEST(MaterialTexture, TextureModeBits)
{
    Pixel15 texel = 0;
    Material m = BlankMaterial();
    Texture t = MakeTexture(64, 64, 128, &texel);
    SetMaterialTexture(&m, 2, &t, 2);  // Mode 0x40000002
    struct Case { const char* name; int32_t mode; uint32_t expectMode; };
    const Case steps[] = {
        {"16 sets bit 4", 16, 0x40000012u},
        {"32 replaces it with bit 5", 32, 0x40000022u},
        {"48 is ignored", 48, 0x40000022u},
        {"0 is ignored", 0, 0x40000022u},
        {"16 again", 16, 0x40000012u},
    };
    for (const Case& c : steps) {
        SCOPED_TRACE(c.name);
        SetMaterialTextureMode(&m, 2, c.mode);
        EXPECT_EQ(m.Slot[2].Mode, c.expectMode);
        EXPECT_EQ(GetMaterialTextureMode(&m, 2), c.expectMode & 0x30u);
    }
}

TEST(MaterialTexture, RemoveTextureTable)
{
    Pixel15 texel = 0;
    Texture mine = MakeTexture(64, 64, 128, &texel);
    Texture other = MakeTexture(64, 64, 128, &texel);
    struct Case {
        const char* name;
        Texture* slot0;       // texture put in slot 0 (stage bit fixed below)
        Texture* slot1;
        uint32_t stages;      // stage bits after the setup
        uint32_t expectStages;
        bool slot0Cleared, slot1Cleared;
    };
    const Case cases[] = {
        {"diffuse alone, matching", &mine, nullptr, 0x800000u, 0, true, false},
        {"diffuse alone, other texture", &other, nullptr, 0x800000u, 0x800000u, false, false},
        // The comparison is always with slot 0: a texture alone on slot 1
        // with slot 0 empty stays.
        {"opacity alone, slot 0 empty", nullptr, &mine, 0x1000000u, 0x1000000u, false, false},
        // ... and a match in slot 0 clears the stage that is on, slot 1.
        {"opacity alone, slot 0 holds it", &mine, &mine, 0x1000000u, 0, false, true},
        {"two stages on", &mine, &mine, 0x1800000u, 0x1800000u, false, false},
        {"no stage on", &mine, nullptr, 0, 0, false, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Material m = BlankMaterial();
        if (c.slot0) SetMaterialTexture(&m, 0, c.slot0, 2);
        if (c.slot1) SetMaterialTexture(&m, 1, c.slot1, 2);
        m.MaterialFlags = 0x700063u | c.stages;
        RemoveTextureFromMaterial(&mine, &m);
        EXPECT_EQ(m.MaterialFlags, 0x700063u | c.expectStages);
        EXPECT_EQ(m.Slot[0].Texture, c.slot0Cleared ? nullptr : c.slot0);
        EXPECT_EQ(m.Slot[1].Texture, c.slot1Cleared ? nullptr : c.slot1);
        if (c.slot1Cleared) {
            EXPECT_EQ(m.Slot[1].Mode, 0u);
            EXPECT_EQ(m.Slot[1].Pixels, nullptr);
        }
    }
}

// ---------------------------------------------------------------- creation

TEST(MaterialCreate, TemplateTakesTheNameTheCopyKeepsTheOldOne)
{
    Material templ = BlankMaterial();
    templ.MaterialFlags = 0x700063u;
    templ.DiffuseColour[1] = 12.0f;
    SetMaterialName(&templ, "Stone");
    const int32_t n = NameCounter(kNameMaterial);
    char first[32], second[32];
    ExpectedName(first, "Material", n);
    ExpectedName(second, "Material", n + 1);

    Material* copy1 = CreateMaterial(&templ);
    ASSERT_NE(copy1, nullptr);
    EXPECT_STREQ(copy1->Name, "Stone");  // the name from before the call
    EXPECT_STREQ(templ.Name, first);
    EXPECT_EQ(copy1->MaterialFlags, 0x700063u);
    EXPECT_EQ(copy1->DiffuseColour[1], 12.0f);

    Material* copy2 = CreateMaterial(&templ);
    ASSERT_NE(copy2, nullptr);
    EXPECT_STREQ(copy2->Name, first);
    EXPECT_STREQ(templ.Name, second);
    EXPECT_EQ(NameCounter(kNameMaterial), n + 2);

    DeleteMaterial(copy1);
    DeleteMaterial(copy2);
    DeleteMaterial(nullptr);  // accepted
}

// ---------------------------------------------------------------- colours

TEST(MaterialColour, ClampTable)
{
    struct Case { const char* name; int32_t which; float r, g, b, er, eg, eb; };
    const Case cases[] = {
        {"ambient 300 -4 20", 0, 300.0f, -4.0f, 20.0f, 255.0f, 0.0f, 20.0f},
        {"diffuse at the bounds", 1, 0.0f, 255.0f, 254.5f, 0.0f, 255.0f, 254.5f},
        {"emissive just above", 2, 255.5f, -0.5f, 1e30f, 255.0f, 0.0f, 255.0f},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Material m = BlankMaterial();
        SetMaterialColor(&m, c.which, c.r, c.g, c.b);
        float* colour = GetMaterialColor(&m, c.which);
        float* const expectedArray[] = {m.AmbientColour, m.DiffuseColour, m.EmissiveColour};
        ASSERT_EQ(colour, expectedArray[c.which]);
        EXPECT_EQ(colour[0], c.er);
        EXPECT_EQ(colour[1], c.eg);
        EXPECT_EQ(colour[2], c.eb);
        EXPECT_EQ(colour[3], 255.0f);
        // The two other colours stay zero.
        for (int32_t w = 0; w < 3; ++w) {
            if (w == c.which) continue;
            for (int32_t k = 0; k < 4; ++k) EXPECT_EQ(expectedArray[w][k], 0.0f);
        }
    }
}

TEST(MaterialColour, NegativeZeroIsNotBelowZero)
{
    Material m = BlankMaterial();
    SetMaterialColor(&m, 1, -0.0f, 1.0f, 2.0f);
    EXPECT_TRUE(signbit(m.DiffuseColour[0]));
}

TEST(MaterialColour, UnknownWhichDoesNothingAndGetsTheRecord)
{
    Material m = BlankMaterial();
    const Material before = m;
    SetMaterialColor(&m, 3, 1.0f, 2.0f, 3.0f);
    SetMaterialColor(&m, -1, 1.0f, 2.0f, 3.0f);
    EXPECT_EQ(memcmp(&m, &before, sizeof(m)), 0);
    EXPECT_EQ(reinterpret_cast<void*>(GetMaterialColor(&m, 3)), reinterpret_cast<void*>(&m));
}

// ---------------------------------------------------------------- flag words

TEST(MaterialFlags, SetterTable)
{
    enum Op { Render, Shade, Cull };
    struct Case { const char* name; Op op; int32_t arg; uint32_t before; uint32_t after; };
    const Case cases[] = {
        {"blend on, mode kept", Render, 0x40, 0x700023u, 0x700063u},
        {"wire clears blend", Render, 0x300000, 0x700063u, 0x300023u},
        {"dots and blend", Render, 0x100040, 0x700023u, 0x100063u},
        {"0 clears blend only", Render, 0, 0x700063u, 0x700023u},
        {"stage bits untouched", Render, 0x700000, 0x7f00063u, 0x7f00023u},
        {"shade 0 changes nothing", Shade, 0, 0x700063u, 0x700063u},
        {"shade none", Shade, 1, 0x700063u, 0x700061u},
        {"shade Gouraud", Shade, 7, 0x700063u, 0x700067u},
        {"shade takes low bits only", Shade, 0x7fffff9, 0x700063u, 0x700061u},
        {"cull 0 changes nothing", Cull, 0, 0x700063u, 0x700063u},
        {"cull both", Cull, 0x08, 0x700063u, 0x70004bu},
        {"cull back only, other bits ignored", Cull, 0x10 | 0x47, 0x700063u, 0x700053u},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Material m = BlankMaterial();
        m.MaterialFlags = c.before;
        switch (c.op) {
        case Render: SetMaterialRenderMode(&m, c.arg); break;
        case Shade: SetMaterialShadeMode(&m, c.arg); break;
        case Cull: SetMaterialCullMode(&m, c.arg); break;
        }
        EXPECT_EQ(m.MaterialFlags, c.after);
        EXPECT_EQ(GetMaterialRenderMode(&m), c.after & 0x700040u);
        EXPECT_EQ(GetMaterialShadeMode(&m), c.after & 7u);
        EXPECT_EQ(GetMaterialCullMode(&m), c.after & 0x38u);
    }
}

TEST(MaterialFlags, AlphaAndColorOp)
{
    Material m = BlankMaterial();
    struct Level { int32_t in; int32_t stored; };
    for (const Level l : {Level{-5, 0}, Level{0, 0}, Level{128, 128}, Level{255, 255},
                          Level{300, 255}}) {
        SCOPED_TRACE(l.in);
        EXPECT_EQ(SetMaterialAlphaLevel(&m, l.in), l.stored);
        EXPECT_EQ(GetMaterialAlphaLevel(&m), l.stored);
    }
    struct Mode { uint32_t in; uint16_t stored; };
    for (const Mode md : {Mode{3, 3}, Mode{4, 0}, Mode{2, 2}, Mode{0xffffffffu, 0}}) {
        SCOPED_TRACE(md.in);
        SetMaterialAlphaMode(&m, md.in);
        EXPECT_EQ(GetMaterialAlphaMode(&m), md.stored);
    }
    m.MaterialFlags = 0x700063u;
    EXPECT_EQ(SetMaterialColorOp(&m, 9, 1), &m);
    EXPECT_EQ(m.MaterialFlags, 0x700163u);
    EXPECT_EQ(m.ColorOp, 9u);
    SetMaterialColorOp(&m, 4, 0);
    EXPECT_EQ(m.MaterialFlags, 0x700063u);
    EXPECT_EQ(m.ColorOp, 4u);  // stored even when disabled
}

// ---------------------------------------------------------------- polygons

// A fixed mesh of `polygons` triangles over four vertices.
Mesh* MakeTriangles(int32_t polygons)
{
    Mesh* mesh = CreateMesh(4, polygons, 0x808080);
    for (int32_t i = 0; i < polygons; ++i) {
        SetMeshTriPolygon(mesh, i, 0, 1 + i % 3, 1 + (i + 1) % 3, 0, 0);
    }
    return mesh;
}

TEST(MaterialOnMesh, SetMaterialSides)
{
    Material red = BlankMaterial();
    struct Case { const char* name; int32_t side; int32_t result; bool front, back; };
    const Case cases[] = {
        {"front", 0, 1, true, false},
        {"back", 1, 1, false, true},
        {"both", 2, 1, true, true},
        {"side 3 refused", 3, 0, false, false},
        {"side -1 refused", -1, 0, false, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Mesh* mesh = MakeTriangles(3);
        Material* own = &mesh->DefaultMaterial;
        EXPECT_EQ(SetMaterial(mesh, &red, c.side, 0), c.result);
        for (int32_t i = 0; i < 3; ++i) {
            EXPECT_EQ(mesh->Polygons[i].FrontMaterial, c.front ? &red : own);
            EXPECT_EQ(mesh->Polygons[i].BackMaterial, c.back ? &red : own);
        }
        EXPECT_EQ(GetMaterial(mesh, 0), c.front ? &red : own);
        EXPECT_EQ(GetMaterial(mesh, 2), c.front ? &red : own);
        EXPECT_EQ(GetMaterial(mesh, 1), c.back ? &red : own);
        EXPECT_EQ(GetMaterial(mesh, 3), nullptr);
        // Null gives back the mesh's own material.
        SetMaterial(mesh, nullptr, 2, 0);
        EXPECT_EQ(mesh->Polygons[2].FrontMaterial, own);
        EXPECT_EQ(mesh->Polygons[2].BackMaterial, own);
        DeleteMesh(mesh);
    }
}

TEST(MaterialOnMesh, RecursionReachesMeshChildrenWithTheirOwnDefault)
{
    // root -- camera node (passed over), child -- grandchild.
    Tree tree;
    Mesh* root = tree.NewMesh();
    Node* camera = tree.NewNode(SPAN3D_KIND_CAMERA);
    Mesh* child = tree.NewMesh();
    Mesh* grandchild = tree.NewMesh();
    tree.Link(N(root), {camera, N(child)});
    tree.Link(N(child), {N(grandchild)});
    for (Mesh* m : {root, child, grandchild}) SetMeshTriPolygon(m, 0, 0, 1, 2, 0, 0);
    Material blue = BlankMaterial();
    EXPECT_EQ(SetMaterial(root, &blue, 1, 1), 1);
    for (Mesh* m : {root, child, grandchild}) EXPECT_EQ(m->Polygons[0].BackMaterial, &blue);
    // Null goes down as null: each mesh takes its own default.
    SetMaterial(root, nullptr, 1, 1);
    for (Mesh* m : {root, child, grandchild}) EXPECT_EQ(m->Polygons[0].BackMaterial, &m->DefaultMaterial);
    // recurse must be exactly 1.
    SetMaterial(root, &blue, 0, 2);
    EXPECT_EQ(root->Polygons[0].FrontMaterial, &blue);
    EXPECT_EQ(child->Polygons[0].FrontMaterial, &child->DefaultMaterial);
}

TEST(MaterialOnMesh, FaceMaterialTable)
{
    Material green = BlankMaterial();
    // firstChanged..lastChanged: the polygons whose side changed; -1 none.
    struct Case { const char* name; int32_t polygon, pair, side, result, firstChanged, lastChanged; };
    const Case cases[] = {
        {"one polygon front", 1, 0, 0, 1, 1, 1},
        {"pair takes the next", 1, 1, 0, 1, 1, 2},
        {"pair at the last polygon", 3, 1, 0, 1, 3, 3},
        {"index PolygonCount: 1, nothing", 4, 0, 0, 1, -1, -1},
        {"negative index: 1, nothing", -1, 1, 0, 1, -1, -1},
        {"side 3: 0", 1, 0, 3, 0, -1, -1},
        {"index checked before side", 4, 0, 3, 1, -1, -1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Mesh* mesh = MakeTriangles(4);
        EXPECT_EQ(SetFaceMaterial(mesh, c.polygon, &green, c.pair, c.side), c.result);
        for (int32_t i = 0; i < 4; ++i) {
            const bool changed = c.firstChanged >= 0 && i >= c.firstChanged && i <= c.lastChanged;
            EXPECT_EQ(mesh->Polygons[i].FrontMaterial, changed ? &green : &mesh->DefaultMaterial);
            EXPECT_EQ(GetFaceMaterial(mesh, i, 0), mesh->Polygons[i].FrontMaterial);
            EXPECT_EQ(GetFaceMaterial(mesh, i, 1), &mesh->DefaultMaterial);
        }
        DeleteMesh(mesh);
    }
}

TEST(MaterialOnMesh, FaceMaterialGetterBounds)
{
    Mesh* mesh = MakeTriangles(2);
    Material m = BlankMaterial();
    EXPECT_EQ(SetFaceMaterial(mesh, 0, &m, 0, 1), 1);
    EXPECT_EQ(GetFaceMaterial(mesh, 0, 1), &m);
    EXPECT_EQ(GetFaceMaterial(mesh, 0, 2), &mesh->DefaultMaterial);  // 2 reads the front
    EXPECT_EQ(GetFaceMaterial(mesh, 0, 3), nullptr);
    EXPECT_EQ(GetFaceMaterial(mesh, 2, 0), nullptr);
    EXPECT_EQ(GetFaceMaterial(mesh, -1, 0), nullptr);
    SetFaceMaterial(mesh, 1, nullptr, 0, 2);
    EXPECT_EQ(GetFaceMaterial(mesh, 1, 1), &mesh->DefaultMaterial);
    DeleteMesh(mesh);
}

TEST(MaterialOnMesh, ByNameFrontBeforeBackEmptyNeverMatches)
{
    Mesh* mesh = MakeTriangles(3);
    Material a = BlankMaterial();
    Material b = BlankMaterial();
    SetMaterialName(&a, "Gold");
    SetMaterialName(&b, "Gold");
    SetFaceMaterial(mesh, 1, &a, 0, 1);  // back of polygon 1
    SetFaceMaterial(mesh, 2, &b, 0, 0);  // front of polygon 2
    EXPECT_EQ(GetMaterialByName(mesh, "Gold"), &a);  // polygon order first
    SetFaceMaterial(mesh, 1, &b, 0, 0);
    EXPECT_EQ(GetMaterialByName(mesh, "Gold"), &b);  // front before back
    EXPECT_EQ(GetMaterialByName(mesh, "Silver"), nullptr);
    // The default materials have empty names, and an empty stored name never
    // matches, not even an empty query.
    EXPECT_EQ(GetMaterialByName(mesh, ""), nullptr);
    DeleteMesh(mesh);
    // A polygon slot never filled has no materials and is passed over.
    mesh = CreateMesh(3, 2, 0);
    SetMeshTriPolygon(mesh, 1, 0, 1, 2, 0, 0);
    SetFaceMaterial(mesh, 1, &a, 0, 0);
    EXPECT_EQ(GetMaterialByName(mesh, "Gold"), &a);
    DeleteMesh(mesh);
}

TEST(MaterialOnMesh, RemoveMaterialFromMeshRestoresDefaults)
{
    Mesh* mesh = MakeTriangles(3);
    Material gone = BlankMaterial();
    Material kept = BlankMaterial();
    SetMaterial(mesh, &gone, 2, 0);
    SetFaceMaterial(mesh, 1, &kept, 0, 1);
    RemoveMaterialFromMesh(&gone, mesh);
    for (int32_t i = 0; i < 3; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(mesh->Polygons[i].FrontMaterial, &mesh->DefaultMaterial);
        EXPECT_EQ(mesh->Polygons[i].BackMaterial, i == 1 ? &kept : &mesh->DefaultMaterial);
    }
    DeleteMesh(mesh);
    mesh = CreateMesh(0, 0, 0);  // growable and empty: no polygon to read
    EXPECT_EQ(GetMaterial(mesh, 0), nullptr);
    DeleteMesh(mesh);
}

}  // namespace
}  // namespace span3d
