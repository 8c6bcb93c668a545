// Two-dimensional drawing and post effects: work on finished Pixel15 frames
// and drawing outside any scene. This is the subsystem's one internal header.
//
// Pixel15 words: blue bits 0-4, green 5-9, red 10-14, bit 15 unused.
#pragma once

#include <stdint.h>

#include "span3d.h"

namespace span3d {

// ---------------------------------------------------------------- halving

// Halving a Pixel15 word channel by channel without unpacking: shift right
// by one and clear the bit that each channel receives from its upper
// neighbour (bits 4, 9 and 14), and bit 15. Each half is at most 15, so a
// sum of two halves fits its channel.
constexpr uint32_t kHalfMask = 0x3def;
// The same for two pixels in a 32-bit word (column 2i low, 2i + 1 high).
constexpr uint32_t kHalfMaskPair = 0x3def3def;
// The lowest bit of each channel and bit 15, in both lanes.
constexpr uint32_t kLowBitsPair = 0x84218421;

inline uint32_t HalfPixel(uint32_t p) { return (p >> 1) & kHalfMask; }
inline uint32_t HalfPixelPair(uint32_t w) { return (w >> 1) & kHalfMaskPair; }

}  // namespace span3d
