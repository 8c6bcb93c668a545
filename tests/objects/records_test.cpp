// Core records as a host sees them through span3d.h, beyond what the layout
// pins in records.h already settle at compile time: what the overlapping
// fourth material slot really touches, and the node-kind tests.
#include <gtest/gtest.h>

#include <stdint.h>
#include <string.h>

#include "objects/records/records.h"
#include "span3d.h"

namespace {

using span3d::MaterialSlotView;
using span3d::TextureSlotView;

// Writes every field of slot 3 with recognisable values.
void WriteSlot3(Material* m)
{
    TextureSlotView* s = MaterialSlotView(m, 3);
    s->Mode = 0x44332211u;
    s->Pixels = reinterpret_cast<Pixel15*>(uintptr_t{0x8877665544332211u});
    s->Width = 0x0a0b0c0d;
    s->Height = 0x01020304;
    s->ShiftOrPitch = 0x05060708;
    s->Texture = reinterpret_cast<Texture*>(uintptr_t{0x1122334455667788u});
    s->Reserved = 0xa1a2a3a4u;
}

TEST(Records, WritingMaterialSlot3OverwritesColorOpAndNameButNeverKeepWord)
{
    // Surround the material with a Mesh, so the fields after DefaultMaterial
    // are watched too.
    static Mesh mesh;
    memset(&mesh, 0x5a, sizeof mesh);
    Material* m = &mesh.DefaultMaterial;
    m->ColorOp = 0x0102;
    strcpy(m->Name, "unchanged");
    m->KeepWord = 0xcafef00du;
    Mesh before;
    memcpy(&before, &mesh, sizeof mesh);

    WriteSlot3(m);

    // Mode is the slot's first word: on a little-endian machine its low half
    // is ColorOp, its high half Name[0..1].
    EXPECT_EQ(m->ColorOp, 0x2211);
    EXPECT_EQ(static_cast<uint8_t>(m->Name[0]), 0x33);
    EXPECT_EQ(static_cast<uint8_t>(m->Name[1]), 0x44);
    // Pixels (8 bytes at slot offset 8) is Name[6..13]: 11 22 ... 88.
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(static_cast<uint8_t>(m->Name[6 + i]), 0x11 * (i + 1)) << "Name[" << 6 + i << "]";
    EXPECT_EQ(m->KeepWord, 0xcafef00du);

    // Byte by byte: everything outside [ColorOp, KeepWord) of the material is
    // as before, inside the Mesh as well.
    const size_t lo = offsetof(Mesh, DefaultMaterial) + offsetof(Material, ColorOp);
    const size_t hi = offsetof(Mesh, DefaultMaterial) + offsetof(Material, KeepWord);
    const unsigned char* a = reinterpret_cast<const unsigned char*>(&before);
    const unsigned char* b = reinterpret_cast<const unsigned char*>(&mesh);
    for (size_t i = 0; i < sizeof(Mesh); ++i) {
        if (i < lo || i >= hi) {
            EXPECT_EQ(a[i], b[i]) << "byte " << i << " changed";
        }
    }
    // And the span really is written end to end: the last word of the slot
    // (Reserved plus padding) sits right below KeepWord.
    EXPECT_EQ(memcmp(b + hi - 8, "\xa4\xa3\xa2\xa1", 4), 0);
}

TEST(Records, SlotsZeroToTwoAreTheEmbeddedRecords)
{
    Material m;
    memset(&m, 0, sizeof m);
    for (int32_t i = 0; i < 3; ++i) {
        EXPECT_EQ(static_cast<const void*>(MaterialSlotView(&m, i)), static_cast<const void*>(&m.Slot[i]));
        MaterialSlotView(&m, i)->Width = 100 + i;
        EXPECT_EQ(m.Slot[i].Width, 100 + i);
    }
}

TEST(Records, NodeKindTests)
{
    struct Case { const char* name; uint32_t kind; bool anyMesh, plainMesh; };
    // Only the low six bits count; the upper bits carry nothing.
    const Case cases[] = {
        {"not_a_node", 0, false, false},
        {"mesh", 1, true, true},
        {"mesh_with_upper_bits", 0xffffffc1u, true, true},
        {"mesh_variant", 2, true, false},
        {"camera", 4, false, false},
        {"camera_target", 8, false, false},
        {"light", 16, false, false},
        {"light_target", 32, false, false},
        {"upper_bits_only", 64, false, false},
        {"mesh_and_camera_bits", 5, false, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Node n{};
        n.Kind = c.kind;
        EXPECT_EQ(span3d::NodeKind(&n), c.kind & 63u);
        EXPECT_EQ(span3d::IsAnyMeshKind(c.kind), c.anyMesh);
        EXPECT_EQ(span3d::IsPlainMeshKind(c.kind), c.plainMesh);
    }
}

}  // namespace
