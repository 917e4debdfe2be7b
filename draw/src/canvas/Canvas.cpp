// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_draw/canvas/Canvas.h>

#include "canvas/Context.h"

#include <cairo.h>
#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace tarn::draw {

namespace {

constexpr double pi = 3.14159265358979323846;

} // namespace

Canvas::Canvas(std::unique_ptr<PrivateData> data) : d_(std::move(data)) {
    cairo_set_line_cap(d_->context, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_join(d_->context, CAIRO_LINE_JOIN_ROUND);
}

Canvas::~Canvas() = default;

void Canvas::line(Point from, Point to, double width, Colour colour) {
    polyline({from, to}, width, colour);
}

void Canvas::polyline(const std::vector<Point>& points, double width, Colour colour) {
    use(colour);
    cairo_set_line_width(d_->context, width);
    for (const Point& point : points) {
        cairo_line_to(d_->context, point.x, point.y);
    }
    cairo_stroke(d_->context);
}

void Canvas::polylineInPieces(const std::vector<Point>& points, double width, Colour colour) {
    constexpr std::size_t pieceLength = 100; // steps
    for (std::size_t i = 0; i + 1 < points.size(); i += pieceLength) {
        const auto begin = points.begin() + static_cast<std::ptrdiff_t>(i);
        const std::size_t count = std::min(pieceLength + 1, points.size() - i);
        polyline({begin, begin + static_cast<std::ptrdiff_t>(count)}, width, colour);
    }
}

void Canvas::disc(Point centre, double radius, Colour colour) {
    use(colour);
    cairo_arc(d_->context, centre.x, centre.y, radius, 0, 2 * pi);
    cairo_fill(d_->context);
}

void Canvas::fill(const Box& box, Colour colour) {
    use(colour);
    cairo_rectangle(d_->context, box.x, box.y, box.width, box.height);
    cairo_fill(d_->context);
}

void Canvas::polygon(const std::vector<Point>& corners, Colour colour) {
    use(colour);
    for (const Point& corner : corners) {
        cairo_line_to(d_->context, corner.x, corner.y);
    }
    cairo_fill(d_->context);
}

void Canvas::outline(const Box& box, double width, Colour colour) {
    use(colour);
    cairo_set_line_width(d_->context, width);
    cairo_rectangle(d_->context, box.x, box.y, box.width, box.height);
    cairo_stroke(d_->context);
}

void Canvas::text(Point at, const std::string& text, Font font, Align align, Colour colour) {
    const double width = textWidth(text, font);
    const double shift = align == Align::left ? 0 : align == Align::right ? width : width / 2;
    use(colour);
    cairo_move_to(d_->context, at.x - shift, at.y);
    cairo_show_text(d_->context, kit::printable(text).c_str());
    cairo_new_path(d_->context);
}

void Canvas::haloText(Point at, const std::string& text, Font font, Colour colour) {
    use(font);
    use(colours::white);
    cairo_set_line_width(d_->context, 5);
    cairo_move_to(d_->context, at.x, at.y);
    cairo_text_path(d_->context, kit::printable(text).c_str());
    cairo_stroke(d_->context);
    this->text(at, text, font, Align::left, colour);
}

void Canvas::upwardText(Point at, const std::string& text, Font font, Colour colour) {
    cairo_save(d_->context);
    cairo_translate(d_->context, at.x, at.y);
    cairo_rotate(d_->context, -pi / 2);
    this->text({0, 0}, text, font, Align::centre, colour);
    cairo_restore(d_->context);
}

void Canvas::clipped(const Box& box, const std::function<void()>& draw) {
    cairo_save(d_->context);
    cairo_rectangle(d_->context, box.x, box.y, box.width, box.height);
    cairo_clip(d_->context);
    draw();
    cairo_restore(d_->context);
}

double Canvas::textWidth(const std::string& text, Font font) {
    use(font);
    cairo_text_extents_t extents{};
    cairo_text_extents(d_->context, kit::printable(text).c_str(), &extents);
    return extents.x_advance;
}

std::string Canvas::fitted(const std::string& text, Font font, double width) {
    constexpr std::size_t mostCharacters = 200; // more never fit, and measuring them costs time
    std::string result = kit::shortened(kit::printable(text), mostCharacters);
    for (std::size_t length = mostCharacters; length > 1 && textWidth(result, font) > width;
         --length) {
        result = kit::shortened(result, length);
    }
    return result;
}

void Canvas::use(Colour colour) {
    cairo_set_source_rgb(d_->context, colour.red, colour.green, colour.blue);
}

void Canvas::use(Font font) {
    cairo_select_font_face(d_->context, "sans", CAIRO_FONT_SLANT_NORMAL,
                           font.bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(d_->context, font.size);
}

} // namespace tarn::draw
