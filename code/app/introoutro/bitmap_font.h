#pragma once
// A small 5x7 bitmap font of our own for labels burnt into pictures: digits, capital
// letters and some punctuation. Small letters print as capitals; any other character
// as a hollow box, so that a missing glyph shows instead of vanishing.

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace ns_introoutro {

inline constexpr int glyph_width = 5;
inline constexpr int glyph_height = 7;
inline constexpr int glyph_advance = 6;  // one blank column between characters

// Pixels of an interleaved 8-bit image with `channels` samples per pixel.
struct canvas {
  uint8_t* data;
  ptrdiff_t stride;  // bytes from one row to the next
  int width;
  int height;
  int channels;
};

// Row bits of a glyph, top row first; bit 4 is the leftmost column.
const uint8_t* glyph_rows(char c);
// Width in pixels of `text` at `scale` (each font pixel a scale x scale square).
int text_width(std::string_view text, int scale);
// Paints the set pixels of `text` with `colour` (`channels` bytes) from the top-left
// corner (x, y); whatever falls outside the canvas is clipped.
void draw_text(const canvas& c, int x, int y, std::string_view text, int scale, const uint8_t* colour);
// Fills a rectangle, clipped to the canvas.
void fill_rect(const canvas& c, int x, int y, int w, int h, const uint8_t* colour);

}  // namespace ns_introoutro
