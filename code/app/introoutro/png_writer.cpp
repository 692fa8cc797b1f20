#include "introoutro/png_writer.h"

#include <png.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace ns_introoutro {

namespace {

// libpng reports errors through a callback that must not return; it keeps the text
// here and longjmps back to write_png.
struct error_state {
  char message[256] = "";
};

void on_error(png_structp png, png_const_charp text) {
  auto* state = static_cast<error_state*>(png_get_error_ptr(png));
  std::snprintf(state->message, sizeof state->message, "%s", text);
  png_longjmp(png, 1);
}

void on_warning(png_structp, png_const_charp) {}

struct file_closer {
  void operator()(std::FILE* f) const { std::fclose(f); }
};

// Everything libpng touches between setjmp and a longjmp lives outside this frame,
// so no destructor is skipped and no local is clobbered.
bool encode(std::FILE* file, const rgb_image& image, error_state& state) {
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &state, on_error, on_warning);
  if (png == nullptr) {
    std::snprintf(state.message, sizeof state.message, "out of memory");
    return false;
  }
  png_infop info = png_create_info_struct(png);
  if (info == nullptr || setjmp(png_jmpbuf(png)) != 0) {
    png_destroy_write_struct(&png, info != nullptr ? &info : nullptr);
    if (state.message[0] == '\0') std::snprintf(state.message, sizeof state.message, "out of memory");
    return false;
  }
  png_init_io(png, file);
  png_set_IHDR(png, info, static_cast<png_uint_32>(image.width), static_cast<png_uint_32>(image.height), 8,
               PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  for (int y = 0; y < image.height; ++y) {
    png_write_row(png, image.pixels.data() + size_t(y) * image.width * 3);
  }
  png_write_end(png, nullptr);
  png_destroy_write_struct(&png, &info);
  return true;
}

}  // namespace

void write_png(const std::string& path, const rgb_image& image) {
  std::unique_ptr<std::FILE, file_closer> file(std::fopen(path.c_str(), "wb"));
  if (!file) throw std::runtime_error(path + ": cannot create: " + std::strerror(errno));
  error_state state;
  if (!encode(file.get(), image, state)) throw std::runtime_error(path + ": cannot write the PNG: " + state.message);
  if (std::fflush(file.get()) != 0 || std::ferror(file.get())) {
    throw std::runtime_error(path + ": write failed: " + std::strerror(errno));
  }
  if (std::fclose(file.release()) != 0) throw std::runtime_error(path + ": write failed: " + std::strerror(errno));
}

}  // namespace ns_introoutro

