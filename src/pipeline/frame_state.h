// The frame under way: one module-wide record through which the frame
// driver, the transforms, emission, the clipper and the line and dot drawers
// talk instead of passing arguments. Valid from the start of DrawScene or
// DrawMesh to its return; the 2D drawers and the rasterizers read some
// fields outside a frame, so the record keeps the values of the last frame.
#pragma once

#include <stdint.h>

#include "span3d.h"

namespace span3d {

// An emission function turns one mesh's polygons into DrawItems. It reads
// FrameState::PolygonCursor (set to the mesh's Polygons by the caller),
// leaves it past the last polygon and returns the number of items emitted.
using EmitFunction = int32_t (*)(Mesh* mesh);

// EmitSlots index: Form 1, 2, 3 in pairs, the odd member when the mesh's
// RenderFlags ask for lighting (shade mode not 1).
constexpr int32_t kEmitSlotCount = 6;

struct FrameState {
    Viewport*    CurrentViewport;  // viewport of the frame
    Camera*      CurrentCamera;    // camera of the frame
    float        ClipXMin;         // scissor, copied from the viewport (pixels)
    float        ClipXMax;
    float        ClipYMin;
    float        ClipYMax;
    float        ClipXLast;        // ClipXMax - 1.0, for the line drawers
    float        ClipYLast;        // ClipYMax - 1.0
    DrawItem*    MainCursor;       // next free slot of the main list
    DrawItem*    BlendCursor;      // next free slot of the blend list (Z-buffer mode); null when sorted
    int32_t      MainCount;        // items in the main list (Z-buffer mode only)
    int32_t      BlendCount;       // items in the blend list (Z-buffer mode only)
    MeshPolygon* PolygonCursor;    // polygon the emission function is working on
    int32_t      MeshDrawnCount;   // running number of items DrawMesh has emitted
    EmitFunction EmitSlots[kEmitSlotCount];  // this frame's choice of emission functions
};

// The one instance, owned by pipeline/frame_state.cpp.
extern FrameState g_Frame;

// Copies the viewport's scissor into the clip fields and derives the last
// drawable column and row.
void SetFrameClip(const Viewport* viewport);

}  // namespace span3d
