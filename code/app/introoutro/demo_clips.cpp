// The patterns are periodic along each row, so every row is a copy out of one
// precomputed, longer row at an offset that moves with the line and the frame:
// a 1080p picture costs little more than the copies.

#include "introoutro/demo_clips.h"

#include "introoutro/bitmap_font.h"
#include "io/malloc_ptr.h"
#include "io/y4m_source.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace ns_introoutro {

namespace {

struct planes {
  uint8_t* y;
  uint8_t* cb;
  uint8_t* cr;
  int width, height, chroma_width, chroma_height;
};

planes planes_of(const demo_clip& clip, uint8_t* picture) {
  const int w = static_cast<int>(clip.width);
  const int h = static_cast<int>(clip.height);
  const int cw = (w + 1) / 2;
  const int ch = (h + 1) / 2;
  return {picture, picture + size_t(w) * h, picture + size_t(w) * h + size_t(cw) * ch, w, h, cw, ch};
}

// 0 .. 127 .. 0 over a period of 256.
int triangle(int x) {
  x &= 255;
  return x < 128 ? x : 255 - x;
}

// Rows of one plane taken from `source` (period `period`, at least width + period
// long): row r starts at (shift(r)) mod period.
template <class Shift>
void copy_rows(uint8_t* plane, int width, int height, const std::vector<uint8_t>& source, int period, Shift shift) {
  for (int r = 0; r < height; ++r) {
    const int offset = ((shift(r) % period) + period) % period;
    std::memcpy(plane + size_t(r) * width, source.data() + offset, size_t(width));
  }
}

// Seven 75% colour bars and black, BT.709 Y'CbCr, sliding left.
void colour_bars(const planes& p, uint64_t n) {
  static const uint8_t bars[8][3] = {{180, 128, 128}, {168, 44, 136}, {145, 147, 44}, {133, 63, 52},
                                     {63, 193, 204},  {51, 109, 212}, {28, 212, 120}, {16, 128, 128}};
  const int shift = static_cast<int>(n * static_cast<uint64_t>(p.width / 100 + 1));
  for (int plane = 0; plane < 3; ++plane) {
    const int width = plane == 0 ? p.width : p.chroma_width;
    const int height = plane == 0 ? p.height : p.chroma_height;
    std::vector<uint8_t> row(size_t(width) * 2);
    for (int x = 0; x < width * 2; ++x) row[x] = bars[(x % width) * 8 / width][plane];
    uint8_t* target = plane == 0 ? p.y : plane == 1 ? p.cb : p.cr;
    const int s = plane == 0 ? shift : shift / 2;
    copy_rows(target, width, height, row, width, [s](int) { return s; });
  }
}

// Luma ramps along the diagonal, chroma drifting along x (Cb) and y (Cr).
void diagonal_ramps(const planes& p, uint64_t n) {
  const int shift = static_cast<int>(n % 256) * 6;
  std::vector<uint8_t> luma(size_t(p.width) + 256);
  for (size_t x = 0; x < luma.size(); ++x) luma[x] = static_cast<uint8_t>(48 + triangle(static_cast<int>(x) * 2) * 5 / 4);
  copy_rows(p.y, p.width, p.height, luma, 256, [shift](int r) { return r + shift; });
  std::vector<uint8_t> cb(size_t(p.chroma_width) + 256);
  for (size_t x = 0; x < cb.size(); ++x) cb[x] = static_cast<uint8_t>(128 - 48 + triangle(static_cast<int>(x)) * 3 / 4);
  copy_rows(p.cb, p.chroma_width, p.chroma_height, cb, 256, [shift](int) { return shift; });
  for (int r = 0; r < p.chroma_height; ++r) {
    std::memset(p.cr + size_t(r) * p.chroma_width, 128 - 40 + triangle(r + shift / 3) * 5 / 8, size_t(p.chroma_width));
  }
}

// A checkerboard of 80-pixel cells scrolling diagonally, tinted blue.
void checkerboard(const planes& p, uint64_t n) {
  constexpr int cell = 80;
  const int shift = static_cast<int>(n % (2 * cell)) * 4;
  std::vector<uint8_t> even(size_t(p.width) + 2 * cell), odd(even.size());
  for (size_t x = 0; x < even.size(); ++x) {
    const bool dark = (x / cell) % 2 == 0;
    even[x] = dark ? 40 : 200;
    odd[x] = dark ? 200 : 40;
  }
  for (int r = 0; r < p.height; ++r) {
    const auto& row = ((r + shift) / cell) % 2 == 0 ? even : odd;
    std::memcpy(p.y + size_t(r) * p.width, row.data() + shift % (2 * cell), size_t(p.width));
  }
  std::memset(p.cb, 150, size_t(p.chroma_width) * p.chroma_height);
  std::memset(p.cr, 110, size_t(p.chroma_width) * p.chroma_height);
}

// A bright square bouncing between the picture's edges.
void bouncing_box(const planes& p, uint64_t n) {
  const int size = p.height / 5;
  const auto bounce = [](uint64_t t, int range) {
    const auto r = static_cast<uint64_t>(std::max(range, 1));
    const uint64_t phase = t % (2 * r);
    return static_cast<int>(phase < r ? phase : 2 * r - phase);
  };
  const int x = bounce(n * 9, p.width - size);
  const int y = bounce(n * 7, p.height - size);
  const uint8_t white = 235;
  const uint8_t neutral = 128;
  fill_rect({p.y, p.width, p.width, p.height, 1}, x, y, size, size, &white);
  fill_rect({p.cb, p.chroma_width, p.chroma_width, p.chroma_height, 1}, x / 2, y / 2, size / 2, size / 2, &neutral);
  fill_rect({p.cr, p.chroma_width, p.chroma_width, p.chroma_height, 1}, x / 2, y / 2, size / 2, size / 2, &neutral);
}

// The clip's name and the frame number on a dark panel, top left.
void burn_in_label(const planes& p, const demo_clip& clip, uint64_t n) {
  const int scale = std::max(1, p.height / 90);
  const std::string lines[2] = {clip.name, "FRAME " + std::to_string(n)};
  const int pad = 2 * scale;
  const int panel_w = std::max(text_width(lines[0], scale), text_width(lines[1], scale)) + 2 * pad;
  const int panel_h = 2 * (glyph_height + 2) * scale + 2 * pad;
  const int left = 4 * scale;
  const int top = 4 * scale;
  const uint8_t dark = 16;
  const uint8_t neutral = 128;
  const uint8_t bright = 235;
  const canvas luma{p.y, p.width, p.width, p.height, 1};
  fill_rect(luma, left, top, panel_w, panel_h, &dark);
  fill_rect({p.cb, p.chroma_width, p.chroma_width, p.chroma_height, 1}, left / 2, top / 2, (panel_w + 1) / 2,
            (panel_h + 1) / 2, &neutral);
  fill_rect({p.cr, p.chroma_width, p.chroma_width, p.chroma_height, 1}, left / 2, top / 2, (panel_w + 1) / 2,
            (panel_h + 1) / 2, &neutral);
  for (int i = 0; i < 2; ++i) {
    draw_text(luma, left + pad, top + pad + i * (glyph_height + 2) * scale, lines[i], scale, &bright);
  }
}

}  // namespace

ns_y4m::stream_header demo_clip::header() const {
  ns_y4m::stream_header h;
  h.width = width;
  h.height = height;
  h.rate = rate;
  h.interlacing = 'p';
  h.aspect = ns_y4m::ratio{1, 1};
  h.sampling = ns_y4m::chroma::c420jpeg;
  return h;
}

const std::vector<demo_clip>& demo_clips() {
  static const std::vector<demo_clip> clips = {
      {role::intro, "INTRO", 1280, 720, {25, 1}, 50},
      {role::main, "MAIN", 1920, 1080, {30000, 1001}, 120},
      {role::outro, "OUTRO", 1280, 720, {24, 1}, 48},
  };
  return clips;
}

void render_demo_picture(const demo_clip& clip, uint64_t n, uint8_t* picture) {
  const planes p = planes_of(clip, picture);
  switch (clip.role) {
    case role::intro: colour_bars(p, n); break;
    case role::main:
      diagonal_ramps(p, n);
      bouncing_box(p, n);
      break;
    case role::outro: checkerboard(p, n); break;
  }
  burn_in_label(p, clip, n);
}

demo_source::demo_source(const demo_clip& clip)
    : clip(clip), clock(clip.rate), tag(ns_y4m::make_source_tag(role_name(clip.role))) {}

int demo_source::configure(const KX::ZM::RComponentConfiguration&) {
  outWriters[0]->setDescription(new KX::ZM::RVideoDescription(clip.width, clip.height, clock.frames_per_second()));
  return 0;
}

bool demo_source::process() {
  if (next == clip.frames) return false;
  const auto bytes = static_cast<uint32_t>(ns_y4m::picture_bytes(clip.header()));
  ns_y4m::malloc_ptr picture = ns_y4m::malloc_bytes(bytes);
  render_demo_picture(clip, next, picture.get());
  KX::RPtr<KX::ZM::RVideoFrame> frame = KX::ZM::RVideoFrame::createWithData(
      ns_y4m::picture_fourcc(ns_y4m::chroma::c420jpeg), bytes, picture.get(), 0, KX::kTakeOver);
  picture.release();
  ns_y4m::stamp_frame(*frame, clock, next);
  frame->addParameter(ns_y4m::source_parameter, tag);
  outWriters[0]->put(frame);
  ++next;
  return true;
}

}  // namespace ns_introoutro
