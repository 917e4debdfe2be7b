// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "drawing/Canvas.h"

#include <cairo.h>
#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <cstddef>

namespace tarn::capture {

namespace {

constexpr double pi = 3.14159265358979323846;

} // namespace

Canvas::Canvas(cairo_t* context) : context_(context) {
    cairo_set_line_cap(context_, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_join(context_, CAIRO_LINE_JOIN_ROUND);
}

void Canvas::line(Point from, Point to, double width, Colour colour) {
    polyline({from, to}, width, colour);
}

void Canvas::polyline(const std::vector<Point>& points, double width, Colour colour) {
    use(colour);
    cairo_set_line_width(context_, width);
    for (const Point& point : points) {
        cairo_line_to(context_, point.x, point.y);
    }
    cairo_stroke(context_);
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
    cairo_arc(context_, centre.x, centre.y, radius, 0, 2 * pi);
    cairo_fill(context_);
}

void Canvas::fill(const Box& box, Colour colour) {
    use(colour);
    cairo_rectangle(context_, box.x, box.y, box.width, box.height);
    cairo_fill(context_);
}

void Canvas::polygon(const std::vector<Point>& corners, Colour colour) {
    use(colour);
    for (const Point& corner : corners) {
        cairo_line_to(context_, corner.x, corner.y);
    }
    cairo_fill(context_);
}

void Canvas::outline(const Box& box, double width, Colour colour) {
    use(colour);
    cairo_set_line_width(context_, width);
    cairo_rectangle(context_, box.x, box.y, box.width, box.height);
    cairo_stroke(context_);
}

void Canvas::text(Point at, const std::string& text, Font font, Align align, Colour colour) {
    const double width = textWidth(text, font);
    const double shift = align == Align::left ? 0 : align == Align::right ? width : width / 2;
    use(colour);
    cairo_move_to(context_, at.x - shift, at.y);
    cairo_show_text(context_, text.c_str());
    cairo_new_path(context_);
}

void Canvas::haloText(Point at, const std::string& text, Font font, Colour colour) {
    use(font);
    use(colours::white);
    cairo_set_line_width(context_, 5);
    cairo_move_to(context_, at.x, at.y);
    cairo_text_path(context_, text.c_str());
    cairo_stroke(context_);
    this->text(at, text, font, Align::left, colour);
}

void Canvas::upwardText(Point at, const std::string& text, Font font, Colour colour) {
    cairo_save(context_);
    cairo_translate(context_, at.x, at.y);
    cairo_rotate(context_, -pi / 2);
    this->text({0, 0}, text, font, Align::centre, colour);
    cairo_restore(context_);
}

void Canvas::clipped(const Box& box, const std::function<void()>& draw) {
    cairo_save(context_);
    cairo_rectangle(context_, box.x, box.y, box.width, box.height);
    cairo_clip(context_);
    draw();
    cairo_restore(context_);
}

double Canvas::textWidth(const std::string& text, Font font) {
    use(font);
    cairo_text_extents_t extents{};
    cairo_text_extents(context_, text.c_str(), &extents);
    return extents.x_advance;
}

std::string Canvas::fitted(const std::string& text, Font font, double width) {
    constexpr std::size_t mostCharacters = 200; // more never fit, and measuring them costs time
    std::string result = kit::shortened(text, mostCharacters);
    for (std::size_t length = mostCharacters; length > 1 && textWidth(result, font) > width;
         --length) {
        result = kit::shortened(text, length);
    }
    return result;
}

void Canvas::use(Colour colour) {
    cairo_set_source_rgb(context_, colour.red, colour.green, colour.blue);
}

void Canvas::use(Font font) {
    cairo_select_font_face(context_, "sans", CAIRO_FONT_SLANT_NORMAL,
                           font.bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(context_, font.size);
}

} // namespace tarn::capture
