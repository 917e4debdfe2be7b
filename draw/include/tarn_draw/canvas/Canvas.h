// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_draw/Export.h>
#include <tarn_draw/canvas/Colours.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tarn::draw {

/// In pixels, from the upper left corner, y downwards.
struct Point {
    double x, y;
};

/// A rectangle along the axes, in pixels; `x` and `y` are its upper left corner.
struct Box {
    double x, y, width, height;
    double right() const { return x + width; }
    double bottom() const { return y + height; }
    /// Whether the two share more than an edge.
    bool overlaps(const Box& other) const {
        return x < other.right() && other.x < right() && y < other.bottom() && other.y < bottom();
    }
};

/// Which part of a text is at the point where it is drawn.
enum class Align { left, centre, right };

/// A typeface without serifs, as the system has it.
struct Font {
    double size; ///< in pixels, of a line of text
    bool bold = false;
};

/// What a picture is drawn on: lines, marks and text. All lines have round ends. What is outside
/// the picture is cut off. Precondition of all functions: coordinates and sizes are finite.
///
/// Text is UTF-8 on one line; of other bytes and of control characters, U+FFFD is drawn.
///
/// A canvas is made by whoever renders a `Picture`, and is used on one thread, until the picture's
/// `draw` returns.
class TARN_DRAW_EXPORT Canvas {
public:
    struct PrivateData;
    /// For renderers.
    explicit Canvas(std::unique_ptr<PrivateData> data);
    ~Canvas();
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    void line(Point from, Point to, double width, Colour colour);
    /// A line through all of the points, in their order.
    void polyline(const std::vector<Point>& points, double width, Colour colour);
    /// The same, but for how it looks where the line has sharp corners: a line that crosses itself
    /// over and over is drawn far sooner in pieces.
    void polylineInPieces(const std::vector<Point>& points, double width, Colour colour);
    void disc(Point centre, double radius, Colour colour);
    void fill(const Box& box, Colour colour);
    /// The area inside of a closed line through the corners.
    void polygon(const std::vector<Point>& corners, Colour colour);
    /// The edges of a box, half of the line on either side of them.
    void outline(const Box& box, double width, Colour colour);
    /// `at` is on the base line; `align` says which end of the text, or its middle, is there.
    void text(Point at, const std::string& text, Font font, Align align, Colour colour);
    /// From `at` to the right, on a white rim that sets it off from lines below it.
    void haloText(Point at, const std::string& text, Font font, Colour colour);
    /// As `text`, reading upwards and centred.
    void upwardText(Point at, const std::string& text, Font font, Colour colour);

    /// Draws what `draw` does, but nothing of it outside `box`.
    void clipped(const Box& box, const std::function<void()>& draw);

    /// How wide a text is, in pixels.
    double textWidth(const std::string& text, Font font);
    /// `text`, cut to an ellipsis if it is wider than `width`.
    std::string fitted(const std::string& text, Font font, double width);

private:
    void use(Colour colour);
    void use(Font font);

    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn::draw
