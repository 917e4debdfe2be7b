// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// Draws a take: its poses on one page, and how its joints move on another.
//
// usage: draw_a_take TAKE.bvh DIRECTORY
#include <tarn_draw/tarn_draw.h>

#include <exception>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

using namespace tarn;

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: draw_a_take TAKE.bvh DIRECTORY\n";
        return 2;
    }
    const draw::ScopedFonts fonts; // what drawing keeps for the next picture goes at the end
    try {
        const kit::BvhTake take = kit::readBvh(argv[1]);
        const std::filesystem::path out(argv[2]);
        std::filesystem::create_directories(out);

        // Who is drawn: a name, a rig, and frames of it. Performers of one session go into one
        // list.
        const std::vector<draw::Subject> cast{
            draw::subjectOf(take.tracks->tracksName(), take.rig, take.tracks)};
        draw::drawPoses(cast, (out / "poses.png").string());
        const auto pages = draw::drawMotion(cast, (out / "motion.svg").string());

        // A picture of one's own: one pose, seen by a camera of one's own.
        const draw::Camera camera(draw::Heading{1, 0}, 10);
        const draw::StickFigure figure(*take.rig);
        const auto nodes = camera.see(draw::positionsAt(cast.front(), 0));
        const draw::Extent extent = figure.extentOf(nodes);
        const double scale = 400 / (extent.top - extent.bottom); // pixels per unit
        const auto paint = [&](draw::Canvas& canvas) {
            figure.draw(canvas, nodes, scale, 6, [&](const draw::Seen& at) {
                return draw::Point{200 + (at.right - extent.left) * scale,
                                   450 - (at.up - extent.bottom) * scale};
            });
        };
        draw::savePicture({800, 500, "The first pose", "", paint}, (out / "first.png").string());
        std::cout << cast.front().name << ": poses, " << pages.size() << " page of motion, "
                  << nodes.size() << " nodes of the first pose\n";
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
