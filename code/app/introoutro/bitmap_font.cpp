#include "introoutro/bitmap_font.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace ns_introoutro {

namespace {

using glyph = std::array<uint8_t, glyph_height>;

// A glyph drawn as seven rows of five characters, '#' for a set pixel.
constexpr glyph draw(std::array<const char*, glyph_height> rows) {
  glyph g{};
  for (int r = 0; r < glyph_height; ++r) {
    for (int c = 0; c < glyph_width; ++c) {
      if (rows[r][c] == '#') g[r] |= static_cast<uint8_t>(1 << (glyph_width - 1 - c));
    }
  }
  return g;
}

struct entry {
  char code;
  glyph rows;
};

constexpr entry font[] = {
    {' ', draw({"     ", "     ", "     ", "     ", "     ", "     ", "     "})},
    {'0', draw({" ### ", "#   #", "#  ##", "# # #", "##  #", "#   #", " ### "})},
    {'1', draw({"  #  ", " ##  ", "  #  ", "  #  ", "  #  ", "  #  ", " ### "})},
    {'2', draw({" ### ", "#   #", "    #", "   # ", "  #  ", " #   ", "#####"})},
    {'3', draw({"#####", "   # ", "  #  ", "   # ", "    #", "#   #", " ### "})},
    {'4', draw({"   # ", "  ## ", " # # ", "#  # ", "#####", "   # ", "   # "})},
    {'5', draw({"#####", "#    ", "#### ", "    #", "    #", "#   #", " ### "})},
    {'6', draw({"  ## ", " #   ", "#    ", "#### ", "#   #", "#   #", " ### "})},
    {'7', draw({"#####", "    #", "   # ", "  #  ", " #   ", " #   ", " #   "})},
    {'8', draw({" ### ", "#   #", "#   #", " ### ", "#   #", "#   #", " ### "})},
    {'9', draw({" ### ", "#   #", "#   #", " ####", "    #", "   # ", " ##  "})},
    {'A', draw({" ### ", "#   #", "#   #", "#####", "#   #", "#   #", "#   #"})},
    {'B', draw({"#### ", "#   #", "#   #", "#### ", "#   #", "#   #", "#### "})},
    {'C', draw({" ### ", "#   #", "#    ", "#    ", "#    ", "#   #", " ### "})},
    {'D', draw({"#### ", "#   #", "#   #", "#   #", "#   #", "#   #", "#### "})},
    {'E', draw({"#####", "#    ", "#    ", "#### ", "#    ", "#    ", "#####"})},
    {'F', draw({"#####", "#    ", "#    ", "#### ", "#    ", "#    ", "#    "})},
    {'G', draw({" ### ", "#   #", "#    ", "# ###", "#   #", "#   #", " ####"})},
    {'H', draw({"#   #", "#   #", "#   #", "#####", "#   #", "#   #", "#   #"})},
    {'I', draw({" ### ", "  #  ", "  #  ", "  #  ", "  #  ", "  #  ", " ### "})},
    {'J', draw({"  ###", "   # ", "   # ", "   # ", "   # ", "#  # ", " ##  "})},
    {'K', draw({"#   #", "#  # ", "# #  ", "##   ", "# #  ", "#  # ", "#   #"})},
    {'L', draw({"#    ", "#    ", "#    ", "#    ", "#    ", "#    ", "#####"})},
    {'M', draw({"#   #", "## ##", "# # #", "# # #", "#   #", "#   #", "#   #"})},
    {'N', draw({"#   #", "#   #", "##  #", "# # #", "#  ##", "#   #", "#   #"})},
    {'O', draw({" ### ", "#   #", "#   #", "#   #", "#   #", "#   #", " ### "})},
    {'P', draw({"#### ", "#   #", "#   #", "#### ", "#    ", "#    ", "#    "})},
    {'Q', draw({" ### ", "#   #", "#   #", "#   #", "# # #", "#  # ", " ## #"})},
    {'R', draw({"#### ", "#   #", "#   #", "#### ", "# #  ", "#  # ", "#   #"})},
    {'S', draw({" ####", "#    ", "#    ", " ### ", "    #", "    #", "#### "})},
    {'T', draw({"#####", "  #  ", "  #  ", "  #  ", "  #  ", "  #  ", "  #  "})},
    {'U', draw({"#   #", "#   #", "#   #", "#   #", "#   #", "#   #", " ### "})},
    {'V', draw({"#   #", "#   #", "#   #", "#   #", "#   #", " # # ", "  #  "})},
    {'W', draw({"#   #", "#   #", "#   #", "# # #", "# # #", "# # #", " # # "})},
    {'X', draw({"#   #", "#   #", " # # ", "  #  ", " # # ", "#   #", "#   #"})},
    {'Y', draw({"#   #", "#   #", " # # ", "  #  ", "  #  ", "  #  ", "  #  "})},
    {'Z', draw({"#####", "    #", "   # ", "  #  ", " #   ", "#    ", "#####"})},
    {':', draw({"     ", " ##  ", " ##  ", "     ", " ##  ", " ##  ", "     "})},
    {';', draw({"     ", " ##  ", " ##  ", "     ", " ##  ", " ##  ", " #   "})},
    {'.', draw({"     ", "     ", "     ", "     ", "     ", " ##  ", " ##  "})},
    {',', draw({"     ", "     ", "     ", "     ", " ##  ", "  #  ", " #   "})},
    {'-', draw({"     ", "     ", "     ", "#####", "     ", "     ", "     "})},
    {'+', draw({"     ", "  #  ", "  #  ", "#####", "  #  ", "  #  ", "     "})},
    {'/', draw({"    #", "    #", "   # ", "  #  ", " #   ", "#    ", "#    "})},
    {'#', draw({" # # ", " # # ", "#####", " # # ", "#####", " # # ", " # # "})},
    {'(', draw({"   # ", "  #  ", " #   ", " #   ", " #   ", "  #  ", "   # "})},
    {')', draw({" #   ", "  #  ", "   # ", "   # ", "   # ", "  #  ", " #   "})},
    {'=', draw({"     ", "     ", "#####", "     ", "#####", "     ", "     "})},
    {'_', draw({"     ", "     ", "     ", "     ", "     ", "     ", "#####"})},
    {'x', draw({"     ", "     ", "#   #", " # # ", "  #  ", " # # ", "#   #"})},
};

constexpr glyph missing = draw({"#####", "#   #", "#   #", "#   #", "#   #", "#   #", "#####"});

// Indexed by character code, built once.
const std::array<const glyph*, 128>& table() {
  static const std::array<const glyph*, 128> t = [] {
    std::array<const glyph*, 128> built{};
    built.fill(&missing);
    for (const entry& e : font) built[static_cast<unsigned char>(e.code)] = &e.rows;
    for (char c = 'a'; c <= 'z'; ++c) {
      if (c != 'x') built[static_cast<unsigned char>(c)] = built[static_cast<unsigned char>(c - 'a' + 'A')];
    }
    return built;
  }();
  return t;
}

}  // namespace

const uint8_t* glyph_rows(char c) {
  const auto code = static_cast<unsigned char>(c);
  return (code < 128 ? table()[code] : &missing)->data();
}

int text_width(std::string_view text, int scale) {
  if (text.empty()) return 0;
  return (static_cast<int>(text.size()) * glyph_advance - 1) * scale;
}

void fill_rect(const canvas& c, int x, int y, int w, int h, const uint8_t* colour) {
  const int x0 = std::max(x, 0);
  const int x1 = std::min(x + w, c.width);
  const int y0 = std::max(y, 0);
  const int y1 = std::min(y + h, c.height);
  for (int row = y0; row < y1; ++row) {
    uint8_t* p = c.data + row * c.stride + ptrdiff_t{x0} * c.channels;
    for (int col = x0; col < x1; ++col, p += c.channels) std::memcpy(p, colour, static_cast<size_t>(c.channels));
  }
}

void draw_text(const canvas& c, int x, int y, std::string_view text, int scale, const uint8_t* colour) {
  for (const char ch : text) {
    const uint8_t* rows = glyph_rows(ch);
    for (int r = 0; r < glyph_height; ++r) {
      for (int col = 0; col < glyph_width; ++col) {
        if (rows[r] >> (glyph_width - 1 - col) & 1) {
          fill_rect(c, x + col * scale, y + r * scale, scale, scale, colour);
        }
      }
    }
    x += glyph_advance * scale;
  }
}

}  // namespace ns_introoutro
