#include "introoutro/contact_sheet.h"

#include <algorithm>

namespace ns_introoutro {

namespace {

constexpr int max_thumb_width = 480;
constexpr int margin = 12;
constexpr int text_scale = 2;
constexpr int line_height = (glyph_height + 3) * text_scale;
constexpr int label_height = 2 * line_height + margin / 2;

const uint8_t background[3] = {32, 32, 32};
const uint8_t title_colour[3] = {255, 200, 64};
const uint8_t caption_colour[3] = {235, 235, 235};

uint8_t clamp8(int v) { return static_cast<uint8_t>(std::clamp(v, 0, 255)); }

// One thumbnail: each output pixel averages a factor x factor block of luma and
// takes the chroma sample under the block's centre.
void draw_thumbnail(const canvas& c, int left, int top, const uint8_t* picture, const ns_y4m::stream_header& f,
                    int factor) {
  const int width = static_cast<int>(f.width);
  const int height = static_cast<int>(f.height);
  const int chroma_width = (width + 1) / 2;
  const bool vertical_half = f.sampling != ns_y4m::chroma::c422;
  const int chroma_height = vertical_half ? (height + 1) / 2 : height;
  const uint8_t* cb_plane = picture + size_t(width) * height;
  const uint8_t* cr_plane = cb_plane + size_t(chroma_width) * chroma_height;
  const bool hd = height >= 720;
  for (int ty = 0; ty < height / factor; ++ty) {
    uint8_t* out = c.data + (top + ty) * c.stride + ptrdiff_t{left} * 3;
    for (int tx = 0; tx < width / factor; ++tx, out += 3) {
      int sum = 0;
      for (int y = ty * factor; y < (ty + 1) * factor; ++y) {
        const uint8_t* row = picture + size_t(y) * width + size_t(tx) * factor;
        for (int x = 0; x < factor; ++x) sum += row[x];
      }
      const int cx = (tx * factor + factor / 2) / 2;
      const int cy = vertical_half ? (ty * factor + factor / 2) / 2 : ty * factor + factor / 2;
      const size_t at = size_t(cy) * chroma_width + size_t(cx);
      ycbcr_to_rgb(sum / (factor * factor), cb_plane[at], cr_plane[at], hd, out);
    }
  }
}

}  // namespace

void ycbcr_to_rgb(int y, int cb, int cr, bool hd, uint8_t* rgb) {
  // Coefficients scaled by 2^16; luma 16..235 and chroma 16..240 to full range.
  const int l = (y - 16) * 76309;
  const int u = cb - 128;
  const int v = cr - 128;
  const int rv = hd ? 117489 : 104597;
  const int gu = hd ? 13975 : 25675;
  const int gv = hd ? 34925 : 53279;
  const int bu = hd ? 138438 : 132201;
  constexpr int half = 1 << 15;
  rgb[0] = clamp8((l + rv * v + half) >> 16);
  rgb[1] = clamp8((l - gu * u - gv * v + half) >> 16);
  rgb[2] = clamp8((l + bu * u + half) >> 16);
}

rgb_image render_contact_sheet(const std::vector<sheet_tile>& tiles, const ns_y4m::stream_header& format) {
  const int factor = std::max(1, (static_cast<int>(format.width) + max_thumb_width - 1) / max_thumb_width);
  const int thumb_width = std::max(1, static_cast<int>(format.width) / factor);
  const int thumb_height = std::max(1, static_cast<int>(format.height) / factor);
  int tile_width = thumb_width;
  for (const sheet_tile& t : tiles) {
    tile_width = std::max({tile_width, text_width(t.title, text_scale), text_width(t.caption, text_scale)});
  }
  const int count = std::max<int>(1, static_cast<int>(tiles.size()));
  rgb_image sheet(margin + count * (tile_width + margin), margin + thumb_height + label_height + margin);
  const canvas c = sheet.view();
  fill_rect(c, 0, 0, c.width, c.height, background);
  int left = margin;
  for (const sheet_tile& t : tiles) {
    if (format.width >= static_cast<uint32_t>(factor) && format.height >= static_cast<uint32_t>(factor)) {
      draw_thumbnail(c, left, margin, t.picture, format, factor);
    }
    const int text_top = margin + thumb_height + margin / 2;
    draw_text(c, left, text_top, t.title, text_scale, title_colour);
    draw_text(c, left, text_top + line_height, t.caption, text_scale, caption_colour);
    left += tile_width + margin;
  }
  return sheet;
}

}  // namespace ns_introoutro
