#include "pipeline/frame_state.h"

namespace span3d {

FrameState g_Frame = {};

void SetFrameClip(const Viewport* viewport)
{
    g_Frame.ClipXMin = viewport->ScissorMinX;
    g_Frame.ClipXMax = viewport->ScissorMaxX;
    g_Frame.ClipYMin = viewport->ScissorMinY;
    g_Frame.ClipYMax = viewport->ScissorMaxY;
    // Rounded to float: the line drawers compare against these as stored.
    g_Frame.ClipXLast = g_Frame.ClipXMax - 1.0f;
    g_Frame.ClipYLast = g_Frame.ClipYMax - 1.0f;
}

}  // namespace span3d
