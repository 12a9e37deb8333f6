#include "pictures/Picture.h"

#include <cairo-svg.h>
#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "files/Failure.h"
#include "files/Files.h"

namespace queltool {

namespace {

constexpr double kPanelWidth = 560.0;
constexpr double kMargin = 28.0;
constexpr double kGap = 18.0;
constexpr double kTop = 104.0;
constexpr double kBottom = 78.0;

cairo_status_t append(void* content, const unsigned char* data, unsigned int size) {
  static_cast<std::string*>(content)->append(reinterpret_cast<const char*>(data), size);
  return CAIRO_STATUS_SUCCESS;
}

double panelHeight(std::int32_t width, std::int32_t height) { return kPanelWidth * height / width; }

}  // namespace

Picture::Picture(OutputFile file, double width, double height)
    : file_(std::move(file)), svg_(file_.format == Format::Svg) {
  cairo_surface_t* surface =
      svg_ ? cairo_svg_surface_create_for_stream(append, &content_, width, height)
           : cairo_image_surface_create(CAIRO_FORMAT_ARGB32, static_cast<int>(std::ceil(width * kPixelsPerUnit)),
                                        static_cast<int>(std::ceil(height * kPixelsPerUnit)));
  cairo_ = cairo_create(surface);
  cairo_surface_destroy(surface);
  if (cairo_status(cairo_) != CAIRO_STATUS_SUCCESS) {
    const std::string reason = cairo_status_to_string(cairo_status(cairo_));
    cairo_destroy(cairo_);
    throw Failure(file_.name + ": the picture cannot be made: " + reason);
  }
  if (!svg_) cairo_scale(cairo_, kPixelsPerUnit, kPixelsPerUnit);
  cairo_set_line_cap(cairo_, CAIRO_LINE_CAP_ROUND);
  cairo_set_line_join(cairo_, CAIRO_LINE_JOIN_ROUND);
  fillBox({0.0, 0.0, width, height}, kPaper);
}

Picture::~Picture() { cairo_destroy(cairo_); }

void Picture::use(const Colour& c) { cairo_set_source_rgba(cairo_, c.red, c.green, c.blue, c.alpha); }

void Picture::fillBox(const Box& box, const Colour& colour) {
  use(colour);
  cairo_rectangle(cairo_, box.x, box.y, box.width, box.height);
  cairo_fill(cairo_);
}

void Picture::frameBox(const Box& box, const Colour& colour, double lineWidth) {
  use(colour);
  cairo_set_line_width(cairo_, lineWidth);
  cairo_rectangle(cairo_, box.x, box.y, box.width, box.height);
  cairo_stroke(cairo_);
}

void Picture::line(const Vec2& from, const Vec2& to, const Colour& colour, double lineWidth) {
  use(colour);
  cairo_set_line_width(cairo_, lineWidth);
  cairo_move_to(cairo_, from[0], from[1]);
  cairo_line_to(cairo_, to[0], to[1]);
  cairo_stroke(cairo_);
}

void Picture::arrow(const Vec2& from, const Vec2& to, const Colour& colour, double lineWidth) {
  line(from, to, colour, lineWidth);
  const Vec2 along = {to[0] - from[0], to[1] - from[1]};
  const double length = std::hypot(along[0], along[1]);
  const double head = std::min(4.0 * lineWidth, 0.6 * length);
  if (length < 1e-9) return;
  const Vec2 unit = {along[0] / length, along[1] / length};
  const Vec2 back = {to[0] - head * unit[0], to[1] - head * unit[1]};
  polygon({to,
           {back[0] - 0.5 * head * unit[1], back[1] + 0.5 * head * unit[0]},
           {back[0] + 0.5 * head * unit[1], back[1] - 0.5 * head * unit[0]}},
          colour);
}

void Picture::polygon(const std::vector<Vec2>& corners, const Colour& fill) {
  use(fill);
  for (const Vec2& corner : corners) cairo_line_to(cairo_, corner[0], corner[1]);
  cairo_close_path(cairo_);
  cairo_fill(cairo_);
}

void Picture::ring(const Vec2& centre, double radius, const Colour& colour, double lineWidth) {
  use(colour);
  cairo_set_line_width(cairo_, lineWidth);
  cairo_new_sub_path(cairo_);
  cairo_arc(cairo_, centre[0], centre[1], radius, 0.0, 2.0 * std::numbers::pi);
  cairo_stroke(cairo_);
}

void Picture::disc(const Vec2& centre, double radius, const Colour& colour) {
  use(colour);
  cairo_arc(cairo_, centre[0], centre[1], radius, 0.0, 2.0 * std::numbers::pi);
  cairo_fill(cairo_);
}

void Picture::cross(const Vec2& centre, double arm, const Colour& colour, double lineWidth) {
  line({centre[0] - arm, centre[1]}, {centre[0] + arm, centre[1]}, colour, lineWidth);
  line({centre[0], centre[1] - arm}, {centre[0], centre[1] + arm}, colour, lineWidth);
}

void Picture::image(const Vec2& origin, int width, int height, std::vector<std::uint32_t>& pixels) {
  cairo_surface_t* image = cairo_image_surface_create_for_data(reinterpret_cast<unsigned char*>(pixels.data()),
                                                               CAIRO_FORMAT_ARGB32, width, height, 4 * width);
  cairo_save(cairo_);
  cairo_scale(cairo_, 1.0 / kPixelsPerUnit, 1.0 / kPixelsPerUnit);
  cairo_set_source_surface(cairo_, image, origin[0], origin[1]);
  cairo_pattern_set_filter(cairo_get_source(cairo_), CAIRO_FILTER_NEAREST);
  cairo_paint(cairo_);
  cairo_restore(cairo_);
  // An SVG surface keeps what it was given until it is written.
  cairo_surface_flush(cairo_get_target(cairo_));
  cairo_surface_destroy(image);
}

void Picture::text(const Vec2& at, const std::string& text, double size, const Colour& colour, Align align, bool bold) {
  use(colour);
  cairo_select_font_face(cairo_, "sans-serif", CAIRO_FONT_SLANT_NORMAL,
                         bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
  cairo_set_font_size(cairo_, size);
  cairo_text_extents_t extents;
  cairo_text_extents(cairo_, text.c_str(), &extents);
  const double share = align == Align::Left ? 0.0 : align == Align::Centre ? 0.5 : 1.0;
  cairo_move_to(cairo_, at[0] - share * extents.x_advance, at[1]);
  cairo_show_text(cairo_, text.c_str());
}

double Picture::textWidth(const std::string& text, double size) {
  cairo_select_font_face(cairo_, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
  cairo_set_font_size(cairo_, size);
  cairo_text_extents_t extents;
  cairo_text_extents(cairo_, text.c_str(), &extents);
  return extents.x_advance;
}

void Picture::clip(const Box& box) {
  cairo_save(cairo_);
  cairo_rectangle(cairo_, box.x, box.y, box.width, box.height);
  cairo_clip(cairo_);
}

void Picture::unclip() { cairo_restore(cairo_); }

void Picture::finish() {
  cairo_surface_t* surface = cairo_get_target(cairo_);
  cairo_status_t status = CAIRO_STATUS_SUCCESS;
  if (svg_) {
    cairo_surface_finish(surface);
  } else {
    status = cairo_surface_write_to_png_stream(surface, append, &content_);
  }
  if (status == CAIRO_STATUS_SUCCESS) status = cairo_surface_status(surface);
  if (status != CAIRO_STATUS_SUCCESS) {
    throw Failure(file_.name + ": the picture cannot be made: " + cairo_status_to_string(status));
  }
  writeOutput(file_, content_);
}

ThreeViews::ThreeViews(const OutputFile& file, const std::string& title, const std::string& subtitle,
                       std::int32_t imageWidth, std::int32_t imageHeight, double stripHeight)
    : scale_(kPanelWidth / imageWidth),
      imageWidth_(imageWidth),
      imageHeight_(imageHeight),
      stripHeight_(stripHeight),
      picture_(file, 2.0 * kMargin + 3.0 * kPanelWidth + 2.0 * kGap,
               kTop + panelHeight(imageWidth, imageHeight) + stripHeight + kBottom) {
  picture_.text({kMargin, 40.0}, title, 24.0, kInk, Align::Left, true);
  picture_.text({kMargin, 63.0}, subtitle, 14.0, kPale);
}

Box ThreeViews::panel(int camera) const {
  return {kMargin + camera * (kPanelWidth + kGap), kTop, kPanelWidth, panelHeight(imageWidth_, imageHeight_)};
}

Box ThreeViews::strip(int camera) const {
  const Box above = panel(camera);
  return {above.x, above.y + above.height, above.width, stripHeight_};
}

Vec2 ThreeViews::at(int camera, const Vec2& pixel) const {
  const Box box = panel(camera);
  return {box.x + (pixel[0] + 0.5) * scale_, box.y + (pixel[1] + 0.5) * scale_};
}

void ThreeViews::beginPanel(int camera, const Colour& ground, const std::string& name, const std::string& figure) {
  const Box box = panel(camera);
  picture_.fillBox(box, ground);
  picture_.frameBox(box, kFrame, 1.0);
  picture_.text({box.x, box.y - 9.0}, name, 14.0, kInk, Align::Left, true);
  picture_.text({box.x + box.width, box.y - 9.0}, figure, 14.0, kInk, Align::Right);
}

double ThreeViews::legendY() const { return strip(0).y + stripHeight_ + 45.0; }
double ThreeViews::left() const { return kMargin; }
double ThreeViews::right() const { return panel(2).x + kPanelWidth; }

}  // namespace queltool
