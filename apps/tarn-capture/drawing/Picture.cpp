// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "drawing/Picture.h"

#include <cairo-svg.h>
#include <cairo.h>
#include <fmt/format.h>
#include <fontconfig/fontconfig.h>

#include <cmath>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace tarn::capture {

namespace {

struct Destroyer {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
    void operator()(cairo_t* context) const { cairo_destroy(context); }
};
using Surface = std::unique_ptr<cairo_surface_t, Destroyer>;
using Context = std::unique_ptr<cairo_t, Destroyer>;

void check(cairo_status_t status) {
    if (status != CAIRO_STATUS_SUCCESS) {
        throw std::runtime_error(
            fmt::format("cannot draw the picture: {}", cairo_status_to_string(status)));
    }
}

/// Appends what cairo writes to the string that `closure` points to.
cairo_status_t append(void* closure, const unsigned char* data, unsigned length) {
    try {
        static_cast<std::string*>(closure)->append(data, data + length);
        return CAIRO_STATUS_SUCCESS;
    } catch (const std::exception&) { // cairo is C
        return CAIRO_STATUS_NO_MEMORY;
    }
}

void drawOn(cairo_surface_t* surface, const Picture& picture) {
    const Context context(cairo_create(surface));
    Canvas canvas(context.get());
    canvas.fill({0, 0, picture.width, picture.height}, colours::white);
    picture.draw(canvas);
    check(cairo_status(context.get()));
}

std::string xmlText(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        default:
            escaped += c;
        }
    }
    return escaped;
}

/// Puts title and description first in the document's root element, where viewers look for them.
void insertTitle(std::string& svg, const Picture& picture) {
    const std::size_t root = svg.find("<svg");
    const std::size_t inside = root == std::string::npos ? root : svg.find('>', root);
    if (inside != std::string::npos) {
        svg.insert(inside + 1, fmt::format("\n<title>{}</title>\n<desc>{}</desc>",
                                           xmlText(picture.title), xmlText(picture.description)));
    }
}

} // namespace

DrawingSession::~DrawingSession() {
    cairo_debug_reset_static_data(); // lets go of the fonts it got from fontconfig
    FcFini();
}

std::string renderPng(const Picture& picture) {
    const Surface surface(
        cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(std::lround(picture.width)),
                                   static_cast<int>(std::lround(picture.height))));
    drawOn(surface.get(), picture);
    std::string png;
    check(cairo_surface_write_to_png_stream(surface.get(), append, &png));
    return png;
}

std::string renderSvg(const Picture& picture) {
    std::string svg;
    const Surface surface(
        cairo_svg_surface_create_for_stream(append, &svg, picture.width, picture.height));
    cairo_svg_surface_set_document_unit(surface.get(), CAIRO_SVG_UNIT_PX);
    drawOn(surface.get(), picture);
    cairo_surface_finish(surface.get());
    check(cairo_surface_status(surface.get()));
    insertTitle(svg, picture);
    return svg;
}

} // namespace tarn::capture
