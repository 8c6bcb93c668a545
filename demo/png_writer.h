// PNG output of engine pictures for the demo and its test.
#pragma once

#include <stdint.h>

#include "span3d.h"

namespace span3d_demo {

// Writes a Pixel15 picture as an 8-bit RGB PNG (no alpha: bit 15 is unused).
// pitch is the number of Pixel15 entries per row (>= width), as in a
// Viewport's PixelPitch. Each 5-bit channel c becomes (c << 3) | (c >> 2), so
// 0 maps to 0 and 31 to 255 and the steps stay even. Returns false and writes
// a message to stderr when the file cannot be written.
bool WritePng(const char* path, const Pixel15* pixels, int32_t width, int32_t height,
              int32_t pitch);

}  // namespace span3d_demo
