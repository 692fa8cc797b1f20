#pragma once
// A contact sheet: pictures side by side as thumbnails, each with a title and a line
// "#<output number>  <time code>" under it, drawn with the built-in font.

#include "introoutro/rgb_image.h"
#include "io/y4m_header.h"

#include <cstdint>
#include <string>
#include <vector>

namespace ns_introoutro {

struct sheet_tile {
  std::string title;
  std::string caption;
  const uint8_t* picture;  // one picture of the sheet's format
};

// Thumbnails at most 480 pixels wide (a whole fraction of the picture size).
rgb_image render_contact_sheet(const std::vector<sheet_tile>& tiles, const ns_y4m::stream_header& format);

// Y'CbCr (limited range) to R'G'B' of one sample: BT.709 for HD sizes, BT.601 below.
void ycbcr_to_rgb(int y, int cb, int cr, bool hd, uint8_t* rgb);

}  // namespace ns_introoutro
