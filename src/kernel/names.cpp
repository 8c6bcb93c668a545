// Default object names: a family word, a "0" while the family's counter is
// below 10, then the counter in decimal ("Camera00" .. "Camera09", "Camera10",
// "Camera100"). One counter per family, started at 0 when the library loads
// and never reset: InitEngine3D, ReleaseEngine3D and deleting objects leave
// it alone.
#include "kernel/kernel.h"

namespace span3d {

namespace {

struct NameSlot {
    int32_t Counter;   // next number to hand out
    char    Digits[4]; // decimal scratch: three digits and the terminator
};

// Module-wide default-name state (owned here).
struct NameState {
    NameSlot Slots[kNameFamilyCount];
};
NameState g_Names = {};

// Indexed by NameFamily.
const char* const kFamilyWord[kNameFamilyCount] = {
    "Camera", "Omni", "Direct", "Material", "Billboard",
    "Cube", "Sphere", "HSphere", "Grid", "Cylinder",
    "Tube", "Torus", "Disk", "Ring",
};

}  // namespace

void MakeDefaultName(char* dest, NameFamily family)
{
    NameSlot& slot = g_Names.Slots[family];
    char* end = TextCopy(dest, kFamilyWord[family]);
    if (slot.Counter < 10)
        end = TextCopy(end, "0");
    // The scratch holds three digits. From the thousandth object of a family
    // on, the number no longer fits, so it is written straight behind the
    // family word instead: "Camera1000", "Camera1001", ... The longest name
    // this can ever make, "Billboard0-2147483648" (see the wrap below), takes
    // 22 bytes with its terminator, well inside the 32-byte name fields.
    if (slot.Counter >= 0 && slot.Counter <= 999) {
        IntToText(slot.Counter, slot.Digits);
        TextCopy(end, slot.Digits);
    } else {
        IntToText(slot.Counter, end);
    }
    // Wraps rather than overflows after 2^31 names; then the names go negative
    // ("Camera0-2147483648") but stay within the same bound.
    slot.Counter = static_cast<int32_t>(static_cast<uint32_t>(slot.Counter) + 1u);
}

int32_t NameCounter(NameFamily family)
{
    return g_Names.Slots[family].Counter;
}

}  // namespace span3d
