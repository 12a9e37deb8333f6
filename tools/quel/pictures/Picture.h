// A picture to draw on: lengths are units of 1/96 inch, y grows downward. It is written as PNG (two pixels a unit) or
// SVG, as the format of the file says.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "files/FileUses.h"
#include "files/Values.h"
#include "models/Colour.h"

typedef struct _cairo cairo_t;

namespace queltool {

inline constexpr Colour kInk{0.13, 0.16, 0.21};
inline constexpr Colour kPale{0.45, 0.49, 0.55};
inline constexpr Colour kPaper{1.0, 1.0, 1.0};
inline constexpr Colour kPanel{0.957, 0.963, 0.972};
inline constexpr Colour kFrame{0.80, 0.83, 0.87};

enum class Align { Left, Centre, Right };

/// A rectangle of the picture.
struct Box {
  double x, y, width, height;
};

class Picture {
 public:
  /// Of a PNG, and of images within an SVG, in each direction.
  static constexpr double kPixelsPerUnit = 2.0;

  /// Throws `Failure` when the file cannot be made.
  Picture(OutputFile file, double width, double height);
  ~Picture();
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;

  void fillBox(const Box& box, const Colour& colour);
  void frameBox(const Box& box, const Colour& colour, double lineWidth);
  void line(const Vec2& from, const Vec2& to, const Colour& colour, double lineWidth);
  void arrow(const Vec2& from, const Vec2& to, const Colour& colour, double lineWidth);
  void polygon(const std::vector<Vec2>& corners, const Colour& fill);
  void ring(const Vec2& centre, double radius, const Colour& colour, double lineWidth);
  void disc(const Vec2& centre, double radius, const Colour& colour);
  void cross(const Vec2& centre, double arm, const Colour& colour, double lineWidth);

  /// An image whose top left pixel lies `origin` pixels from the picture's corner: rows of premultiplied 0xAARRGGBB.
  void image(const Vec2& origin, int width, int height, std::vector<std::uint32_t>& pixels);

  /// Text with its baseline at `at`.
  void text(const Vec2& at, const std::string& text, double size, const Colour& colour, Align align = Align::Left,
            bool bold = false);

  /// How wide `text` gets.
  double textWidth(const std::string& text, double size);

  /// Until `unclip`, nothing shows outside `box`.
  void clip(const Box& box);
  void unclip();

  /// Writes the file. Throws `Failure` when it cannot be written.
  void finish();

 private:
  void use(const Colour& colour);

  OutputFile file_;
  std::string content_;
  cairo_t* cairo_ = nullptr;
  bool svg_;
};

/// Three panels side by side, one for each camera's image, with a title above, and below a strip that may be left out
/// and room for a legend.
class ThreeViews {
 public:
  ThreeViews(const OutputFile& file, const std::string& title, const std::string& subtitle, std::int32_t imageWidth,
             std::int32_t imageHeight, double stripHeight = 0.0);

  Picture& picture() { return picture_; }

  /// Where the image of `camera` is drawn.
  Box panel(int camera) const;

  /// The strip below that.
  Box strip(int camera) const;

  /// Where a pixel of `camera` is drawn.
  Vec2 at(int camera, const Vec2& pixel) const;

  /// Units per pixel.
  double scale() const { return scale_; }

  /// Draws the empty panel of `camera` with its caption, a name on the left and a figure on the right.
  void beginPanel(int camera, const Colour& ground, const std::string& name, const std::string& figure);

  /// Baseline of the legend.
  double legendY() const;
  double left() const;
  double right() const;

 private:
  double scale_;
  std::int32_t imageWidth_;
  std::int32_t imageHeight_;
  double stripHeight_;
  Picture picture_;
};

}  // namespace queltool
