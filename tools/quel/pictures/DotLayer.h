// The dots of a cloud in a picture, as many as there are.
#pragma once

#include <cstdint>
#include <vector>

#include "pictures/Picture.h"

namespace queltool {

/// Dots of one radius in a part of a picture, the later ones on top. A few are drawn as shapes; many go into an image,
/// pixel by pixel, which takes a part of the time and, in SVG, of the file.
class DotLayer {
 public:
  /// Nothing shows outside `box`. `count` says how many dots there will be at most.
  DotLayer(Picture& picture, const Box& box, double radius, std::size_t count);

  /// Adds an opaque dot about `at`; one that is not finite shows nowhere.
  void add(const Vec2& at, const Colour& colour);

  /// The same for a dot that goes on top of all of a lower rank, and of those without one.
  void add(const Vec2& at, const Colour& colour, double rank);

  /// Puts the dots into the picture.
  void finish();

 private:
  static constexpr int kParts = 4;  // Of a pixel, each way, that a dot's centre may lie in.

  // Small, for there are many, and in the order of their ranks they are walked through once.
  struct Ranked {
    float rank, x, y;
    std::uint32_t colour;
  };
  struct Stamp {
    std::vector<std::uint8_t> cover;  // Of 255, row by row.
  };

  void makeRoom();
  void makeStamps();
  void sortByRank();
  static int partOf(double share);
  void draw(double x, double y, std::uint32_t colour);
  void print(const Stamp& stamp, int x, int y, std::uint32_t colour);

  Picture& picture_;
  Box box_;
  double radius_;
  std::size_t count_;
  bool asShapes_;
  int width_ = 0;
  int height_ = 0;
  int side_ = 0;  // Of a stamp, pixels.
  Vec2 origin_{};
  std::vector<Stamp> stamps_;
  std::vector<Ranked> ranked_;
  std::vector<std::uint32_t> pixels_;
};

}  // namespace queltool
