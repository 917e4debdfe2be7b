// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cairo.h>

#include <functional>
#include <string>
#include <vector>

namespace tarn::capture {

/// In pixels, from the upper left corner, y downwards.
struct Point {
    double x, y;
};

struct Box {
    double x, y, width, height;
    double right() const { return x + width; }
    double bottom() const { return y + height; }
    bool overlaps(const Box& other) const {
        return x < other.right() && other.x < right() && y < other.bottom() && other.y < bottom();
    }
};

struct Colour {
    double red, green, blue;
};

/// The colours of all drawings: told apart with any colour vision, and in print.
namespace colours {
inline constexpr Colour white{1, 1, 1};
inline constexpr Colour ink{0.13, 0.15, 0.18};
inline constexpr Colour note{0.40, 0.43, 0.47};
inline constexpr Colour rule{0.86, 0.87, 0.89};
inline constexpr Colour ground{0.62, 0.58, 0.52};
inline constexpr Colour floor{0.955, 0.95, 0.94};
inline constexpr Colour tile{0.87, 0.86, 0.84};
inline constexpr Colour left{0.00, 0.45, 0.70};
inline constexpr Colour right{0.84, 0.37, 0.00};
inline constexpr Colour leftFoot{0.34, 0.71, 0.91};
inline constexpr Colour rightFoot{0.93, 0.66, 0.08};
inline constexpr Colour path{0.36, 0.38, 0.62};
inline constexpr Colour start{0.00, 0.58, 0.42};
inline constexpr Colour end{0.75, 0.10, 0.20};
} // namespace colours

enum class Align { left, centre, right };

struct Font {
    double size;
    bool bold = false;
};

/// Draws lines, marks and text. All lines have round ends.
class Canvas {
public:
    /// The context must outlive the canvas.
    explicit Canvas(cairo_t* context);

    void line(Point from, Point to, double width, Colour colour);
    void polyline(const std::vector<Point>& points, double width, Colour colour);
    /// The same, but for how it looks where the line has sharp corners: a line that crosses itself
    /// over and over is drawn far sooner in pieces.
    void polylineInPieces(const std::vector<Point>& points, double width, Colour colour);
    void disc(Point centre, double radius, Colour colour);
    void fill(const Box& box, Colour colour);
    void polygon(const std::vector<Point>& corners, Colour colour);
    void outline(const Box& box, double width, Colour colour);
    /// `at` is on the base line; `align` says which end of the text, or its middle, is there.
    void text(Point at, const std::string& text, Font font, Align align, Colour colour);
    /// From `at` to the right, on a white rim that sets it off from lines below it.
    void haloText(Point at, const std::string& text, Font font, Colour colour);
    /// As `text`, reading upwards and centred.
    void upwardText(Point at, const std::string& text, Font font, Colour colour);

    /// Draws what `draw` does, but nothing of it outside `box`.
    void clipped(const Box& box, const std::function<void()>& draw);

    double textWidth(const std::string& text, Font font);
    /// `text`, cut to an ellipsis if it is wider than `width`.
    std::string fitted(const std::string& text, Font font, double width);

private:
    void use(Colour colour);
    void use(Font font);

    cairo_t* context_;
};

} // namespace tarn::capture
