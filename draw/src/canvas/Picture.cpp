// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_draw/canvas/Picture.h>

#include "canvas/Context.h"

#include <cairo-svg.h>
#include <cairo.h>
#include <fmt/format.h>
#include <fontconfig/fontconfig.h>
#include <tarn/OutputFile.h>
#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace tarn::draw {

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

void checkSize(const Picture& picture) {
    const auto fits = [](double side) { return side >= 1 && side <= largestPictureSide; };
    if (!fits(picture.width) || !fits(picture.height)) { // not-a-number included
        throw std::runtime_error(
            fmt::format("cannot draw a picture of {} x {} pixels: each side must have from 1 to {}",
                        picture.width, picture.height, largestPictureSide));
    }
}

void drawOn(cairo_surface_t* surface, const Picture& picture) {
    const Context context(cairo_create(surface));
    Canvas canvas(std::make_unique<Canvas::PrivateData>(Canvas::PrivateData{context.get()}));
    canvas.fill({0, 0, std::ceil(picture.width), std::ceil(picture.height)}, colours::white);
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

std::string printableLines(std::string_view text) {
    std::string lines;
    while (true) {
        const std::size_t end = text.find('\n');
        lines += kit::printable(text.substr(0, end));
        if (end == std::string_view::npos) {
            return lines;
        }
        lines += '\n';
        text.remove_prefix(end + 1);
    }
}

/// Puts title and description first in the document's root element, where viewers look for them.
void insertTitle(std::string& svg, const Picture& picture) {
    const std::size_t root = svg.find("<svg");
    const std::size_t inside = root == std::string::npos ? root : svg.find('>', root);
    if (inside != std::string::npos) {
        svg.insert(inside + 1, fmt::format("\n<title>{}</title>\n<desc>{}</desc>",
                                           xmlText(kit::printable(picture.title)),
                                           xmlText(printableLines(picture.description))));
    }
}

/// What follows the last point, with it, in small letters.
std::string endingOf(const std::string& file) {
    return kit::lowered(file.substr(std::min(file.rfind('.'), file.size())));
}

} // namespace

ScopedFonts::~ScopedFonts() {
    cairo_debug_reset_static_data(); // lets go of the fonts it got from fontconfig
    FcFini();
}

std::string renderPng(const Picture& picture) {
    checkSize(picture);
    const Surface surface(
        cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(std::lround(picture.width)),
                                   static_cast<int>(std::lround(picture.height))));
    drawOn(surface.get(), picture);
    std::string png;
    check(cairo_surface_write_to_png_stream(surface.get(), append, &png));
    return png;
}

std::string renderSvg(const Picture& picture) {
    checkSize(picture);
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

void savePicture(const Picture& picture, const std::string& file) {
    const std::string ending = endingOf(file);
    if (ending != ".png" && ending != ".svg") {
        throw std::runtime_error(
            fmt::format("cannot draw '{}': the name of a picture ends in .png or .svg", file));
    }
    const std::string content = ending == ".png" ? renderPng(picture) : renderSvg(picture);
    OutputFile output(file);
    output.write(content);
    output.commit();
}

} // namespace tarn::draw
