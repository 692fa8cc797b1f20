#include "io/picture_converter.h"

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <zimg.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace ns_media {

namespace {

// zimg's vector code (up to AVX2 unless asked for more) wants rows and strides on
// 32-byte boundaries; new pictures are allocated on 64 for any encoder.
constexpr int zimg_alignment = 32;
constexpr int alignment = 64;

struct zimg_graph_deleter {
  void operator()(zimg_filter_graph* g) const noexcept { zimg_filter_graph_free(g); }
};
struct aligned_deleter {
  void operator()(void* p) const noexcept { std::free(p); }
};

std::string zimg_error() {
  char text[256] = {};
  zimg_get_last_error(text, sizeof text);
  return text;
}

zimg_chroma_location_e zimg_siting(AVChromaLocation s) {
  switch (s) {
    case AVCHROMA_LOC_CENTER: return ZIMG_CHROMA_CENTER;
    case AVCHROMA_LOC_TOPLEFT: return ZIMG_CHROMA_TOP_LEFT;
    case AVCHROMA_LOC_TOP: return ZIMG_CHROMA_TOP;
    case AVCHROMA_LOC_BOTTOMLEFT: return ZIMG_CHROMA_BOTTOM_LEFT;
    case AVCHROMA_LOC_BOTTOM: return ZIMG_CHROMA_BOTTOM;
    default: return ZIMG_CHROMA_LEFT;  // MPEG-2's, what an unmarked stream means
  }
}

AVChromaLocation effective_siting(AVChromaLocation s) { return s == AVCHROMA_LOC_UNSPECIFIED ? AVCHROMA_LOC_LEFT : s; }

int depth_of(AVPixelFormat f) { return av_pix_fmt_desc_get(f)->comp[0].depth; }

// Same layout when the planes agree and the chroma sits in the same place; for
// chroma of full height only the horizontal place counts, and that is left for
// every 4:2:2 source in practice.
bool same_layout(const AVFrame& in, const picture_layout& target) {
  if (in.format != target.format) return false;
  if (av_pix_fmt_desc_get(target.format)->log2_chroma_h == 0) return true;
  return effective_siting(static_cast<AVChromaLocation>(in.chroma_location)) == effective_siting(target.siting);
}

bool is_aligned(const AVFrame& f) {
  for (int p = 0; p < 3; ++p) {
    if (reinterpret_cast<uintptr_t>(f.data[p]) % alignment != 0 || f.linesize[p] % zimg_alignment != 0) return false;
  }
  return true;
}

frame_ptr new_picture(AVPixelFormat format, int width, int height) {
  frame_ptr f = make_frame();
  f->format = format;
  f->width = width;
  f->height = height;
  const int e = av_frame_get_buffer(f.get(), alignment);
  if (e < 0) throw std::runtime_error("cannot allocate a picture: " + av_error_text(e));
  return f;
}

// The planar layout libswscale unpacks `f` to: the same subsampling at the smallest
// depth that holds the source's, or 4:4:4 for RGB and grey.
AVPixelFormat planar_for(AVPixelFormat f) {
  const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(f);
  const int depth = d->comp[0].depth;
  const bool yuv = !(d->flags & AV_PIX_FMT_FLAG_RGB) && d->nb_components >= 3;
  const int w = yuv ? d->log2_chroma_w : 0;
  const int h = yuv ? d->log2_chroma_h : 0;
  AVPixelFormat best = AV_PIX_FMT_NONE;
  for (const AVPixFmtDescriptor* c = av_pix_fmt_desc_next(nullptr); c != nullptr; c = av_pix_fmt_desc_next(c)) {
    const AVPixelFormat candidate = av_pix_fmt_desc_get_id(c);
    if (!zimg_reads(candidate) || c->nb_components != 3 || c->log2_chroma_w != w || c->log2_chroma_h != h ||
        c->comp[0].depth < depth) {
      continue;
    }
    if (best == AV_PIX_FMT_NONE || c->comp[0].depth < depth_of(best)) best = candidate;
  }
  return best;
}

}  // namespace

bool zimg_reads(AVPixelFormat format) {
  const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(format);
  if (d == nullptr || !(d->flags & AV_PIX_FMT_FLAG_PLANAR) || d->nb_components < 3) return false;
  constexpr uint64_t refused =
      AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_BE | AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BITSTREAM |
      AV_PIX_FMT_FLAG_HWACCEL | AV_PIX_FMT_FLAG_FLOAT | AV_PIX_FMT_FLAG_BAYER;
  if (d->flags & refused) return false;
  const int depth = d->comp[0].depth;
  if (depth < 8 || depth > 16) return false;
  for (int c = 0; c < 3; ++c) {
    const AVComponentDescriptor& comp = d->comp[c];
    if (comp.plane != c || comp.shift != 0 || comp.offset != 0 || comp.depth != depth ||
        comp.step != (depth > 8 ? 2 : 1)) {
      return false;
    }
  }
  return true;
}

struct picture_converter::graph {
  AVPixelFormat format;
  int width, height;
  AVChromaLocation siting;
  AVColorRange range;
  bool fields;
  std::unique_ptr<zimg_filter_graph, zimg_graph_deleter> passes[2];  // progressive: [0]; fields: top, bottom
  std::unique_ptr<void, aligned_deleter> tmp;

  bool fits(const AVFrame& f, bool by_fields) const {
    return f.format == format && f.width == width && f.height == height && f.chroma_location == siting &&
           f.color_range == range && by_fields == fields;
  }
};

void picture_converter::sws_deleter::operator()(SwsContext* s) const noexcept { sws_freeContext(s); }

picture_converter::picture_converter(picture_layout target) : target(target) {}

picture_converter::~picture_converter() = default;

const AVFrame& picture_converter::unpacked(const AVFrame& in) {
  const auto format = static_cast<AVPixelFormat>(in.format);
  if (zimg_reads(format) && is_aligned(in)) return in;
  const AVPixelFormat planar = zimg_reads(format) ? format : planar_for(format);
  if (planar == AV_PIX_FMT_NONE) {
    throw std::runtime_error(std::string("pictures of layout ") + av_get_pix_fmt_name(format) + " cannot be converted");
  }
  if (!unpack_frame || unpack_frame->format != planar || unpack_frame->width != in.width ||
      unpack_frame->height != in.height || av_frame_is_writable(unpack_frame.get()) == 0) {
    unpack_frame = new_picture(planar, in.width, in.height);
  }
  if (planar == format) {
    av_frame_copy(unpack_frame.get(), &in);
  } else {
    sws.reset(sws_getCachedContext(sws.release(), in.width, in.height, format, in.width, in.height, planar,
                                   SWS_POINT | SWS_ACCURATE_RND, nullptr, nullptr, nullptr));
    if (!sws) throw std::runtime_error(std::string("cannot unpack pictures of layout ") + av_get_pix_fmt_name(format));
    sws_scale(sws.get(), in.data, in.linesize, 0, in.height, unpack_frame->data, unpack_frame->linesize);
  }
  av_frame_copy_props(unpack_frame.get(), &in);
  return *unpack_frame;
}

frame_ptr picture_converter::convert(const AVFrame& in) {
  if (same_layout(in, target)) {
    frame_ptr same(av_frame_clone(&in));
    if (!same) throw std::bad_alloc();
    return same;
  }
  const AVFrame& src = unpacked(in);
  const bool by_fields = src.interlaced_frame != 0 && src.height % 4 == 0;
  if (!zimg || !zimg->fits(src, by_fields)) {
    auto g = std::make_unique<graph>();
    g->format = static_cast<AVPixelFormat>(src.format);
    g->width = src.width;
    g->height = src.height;
    g->siting = static_cast<AVChromaLocation>(src.chroma_location);
    g->range = static_cast<AVColorRange>(src.color_range);
    g->fields = by_fields;
    const auto describe = [&](zimg_image_format& f, AVPixelFormat format, AVChromaLocation siting, int parity) {
      const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(format);
      zimg_image_format_default(&f, ZIMG_API_VERSION);
      f.width = static_cast<unsigned>(src.width);
      f.height = static_cast<unsigned>(by_fields ? src.height / 2 : src.height);
      f.pixel_type = d->comp[0].depth > 8 ? ZIMG_PIXEL_WORD : ZIMG_PIXEL_BYTE;
      f.depth = static_cast<unsigned>(d->comp[0].depth);
      f.subsample_w = d->log2_chroma_w;
      f.subsample_h = d->log2_chroma_h;
      f.color_family = ZIMG_COLOR_YUV;
      f.matrix_coefficients = ZIMG_MATRIX_BT709;  // the same on both sides: no colour conversion
      f.pixel_range = g->range == AVCOL_RANGE_JPEG ? ZIMG_RANGE_FULL : ZIMG_RANGE_LIMITED;
      f.field_parity = static_cast<zimg_field_parity_e>(parity);
      f.chroma_location = zimg_siting(siting);
    };
    zimg_graph_builder_params params;
    zimg_graph_builder_params_default(&params, ZIMG_API_VERSION);
    params.dither_type = ZIMG_DITHER_ORDERED;
    size_t tmp_size = 0;
    for (int pass = 0; pass < (by_fields ? 2 : 1); ++pass) {
      const int parity = by_fields ? (pass == 0 ? ZIMG_FIELD_TOP : ZIMG_FIELD_BOTTOM) : ZIMG_FIELD_PROGRESSIVE;
      zimg_image_format from, to;
      describe(from, g->format, g->siting, parity);
      describe(to, target.format, target.siting, parity);
      g->passes[pass].reset(zimg_filter_graph_build(&from, &to, &params));
      if (!g->passes[pass]) {
        throw std::runtime_error(std::string("cannot convert ") + av_get_pix_fmt_name(g->format) + " " +
                                 std::to_string(src.width) + "x" + std::to_string(src.height) + " pictures to " +
                                 av_get_pix_fmt_name(target.format) + ": " + zimg_error());
      }
      size_t size = 0;
      zimg_filter_graph_get_tmp_size(g->passes[pass].get(), &size);
      tmp_size = std::max(tmp_size, size);
    }
    g->tmp.reset(std::aligned_alloc(alignment, (tmp_size + alignment - 1) / alignment * alignment + alignment));
    if (!g->tmp) throw std::bad_alloc();
    zimg = std::move(g);
  }
  if (depth_of(zimg->format) > depth_of(target.format)) lost_bits = true;

  frame_ptr out = new_picture(target.format, src.width, src.height);
  av_frame_copy_props(out.get(), &src);
  out->chroma_location = target.siting;
  const int rows = by_fields ? 2 : 1;
  for (int pass = 0; pass < rows; ++pass) {
    zimg_image_buffer_const from{};
    zimg_image_buffer to{};
    from.version = to.version = ZIMG_API_VERSION;
    for (int p = 0; p < 3; ++p) {
      from.plane[p].data = src.data[p] + pass * src.linesize[p];
      from.plane[p].stride = ptrdiff_t{src.linesize[p]} * rows;
      from.plane[p].mask = ZIMG_BUFFER_MAX;
      to.plane[p].data = out->data[p] + pass * out->linesize[p];
      to.plane[p].stride = ptrdiff_t{out->linesize[p]} * rows;
      to.plane[p].mask = ZIMG_BUFFER_MAX;
    }
    if (zimg_filter_graph_process(zimg->passes[pass].get(), &from, &to, zimg->tmp.get(), nullptr, nullptr, nullptr,
                                  nullptr) != ZIMG_ERROR_SUCCESS) {
      throw std::runtime_error("picture conversion failed: " + zimg_error());
    }
  }
  return out;
}

}  // namespace ns_media
