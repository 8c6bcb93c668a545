// What a showcase of the demo host hands back: one finished picture and the
// file name to write it under.
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

#include "span3d.h"

namespace span3d_demo {

// One finished picture. Pitch is in Pixel15 entries per row, as in a
// Viewport's PixelPitch.
struct Picture {
    std::string fileName;          // e.g. "test_card.png"
    std::vector<Pixel15> pixels;   // pitch * height words
    int32_t width = 0;
    int32_t height = 0;
    int32_t pitch = 0;
};

// A showcase draws one picture. It returns false when the engine refused a
// step; it owns and deletes whatever engine objects it creates.
using Showcase = bool (*)(Picture* out);

// The flat test card: every flat rasterizer through the dispatch table.
bool TestCard(Picture* out);

// The showcase scene (showcase_scene.h) at 640 x 480: drawn in Z-buffer mode,
// drawn in sorted mode, and a contact sheet of eight animation frames at half
// size (whose frame rate is printed).
bool ShowcaseZ(Picture* out);
bool ShowcaseSorted(Picture* out);
bool ShowcaseAnimation(Picture* out);
// The Z-buffer picture softened by three passes of FSBlur, and of FSBlurFast.
bool ShowcaseBlur(Picture* out);
bool ShowcaseBlurFast(Picture* out);

}  // namespace span3d_demo
