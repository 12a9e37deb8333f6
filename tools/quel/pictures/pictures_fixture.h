// Pictures read back, for tests.
#pragma once

#include <cairo.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "testing/TempHome.h"

namespace queltool {

using Rgb = std::array<int, 3>;

/// The pixels of a PNG file.
class ReadPicture {
 public:
  explicit ReadPicture(const std::string& file) {
    cairo_surface_t* surface = cairo_image_surface_create_from_png(file.c_str());
    EXPECT_EQ(cairo_surface_status(surface), CAIRO_STATUS_SUCCESS) << file;
    width_ = cairo_image_surface_get_width(surface);
    height_ = cairo_image_surface_get_height(surface);
    const unsigned char* data = cairo_image_surface_get_data(surface);
    const int stride = cairo_image_surface_get_stride(surface);
    for (int y = 0; y < height_; ++y) {
      const auto* row = reinterpret_cast<const std::uint32_t*>(data + y * stride);
      for (int x = 0; x < width_; ++x) {
        pixels_.push_back({static_cast<int>(row[x] >> 16 & 0xFF), static_cast<int>(row[x] >> 8 & 0xFF),
                           static_cast<int>(row[x] & 0xFF)});
      }
    }
    cairo_surface_destroy(surface);
  }

  int width() const { return width_; }
  int height() const { return height_; }
  const Rgb& at(int x, int y) const { return pixels_[static_cast<std::size_t>(y * width_ + x)]; }
  const std::vector<Rgb>& pixels() const { return pixels_; }

 private:
  int width_ = 0;
  int height_ = 0;
  std::vector<Rgb> pixels_;
};

}  // namespace queltool
