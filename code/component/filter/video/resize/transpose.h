#pragma once
// Plane transposition: `out` gets `width` rows of `height` samples, out[x][y] = in[y][x].
// The horizontal pass runs as a vertical pass between two transpositions, so that
// every tap is a whole-row kernel call and no sample is gathered one by one.

#include <cstdint>

namespace ns_video_resize {

void transpose_plane(const uint8_t* in, uint32_t width, uint32_t height, uint8_t* out);
void transpose_plane(const uint16_t* in, uint32_t width, uint32_t height, uint16_t* out);

}  // namespace ns_video_resize
