// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Frame.h>
#include <tarn/Tracks.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/body/Rotations.h>
#include <tarn_kit/session/TakeOf.h>
#include <tsignal/Signal.h>

#include <cmath>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

/// Takes of markers whose true positions are known.
namespace cleaning_testing {

using tarn::kit::Marker;
using tarn::kit::MarkerFrame;
using tarn::kit::Vector3d;

using Frames = std::vector<std::shared_ptr<tarn::Frame>>;

/// Markers by frame; those without a position are not seen.
using Table = std::vector<std::vector<Marker>>;

inline std::shared_ptr<tarn::Tracks> takeOf(const Table& table, int rate = 120) {
    std::vector<std::shared_ptr<tarn::Frame>> frames;
    unsigned index = 0;
    for (const std::vector<Marker>& markers : table) {
        frames.push_back(
            std::make_shared<tarn::Frame>(tarn::Time(index++, static_cast<unsigned>(rate)),
                                          tarn::kit::markerDataType, MarkerFrame(markers)));
    }
    return tarn::kit::takeOf(tarn::kit::markerDataType, std::move(frames), rate);
}

inline Marker markerIn(const std::shared_ptr<tarn::Tracks>& take, int frame, std::size_t marker) {
    return take->getFrame(frame, tarn::kit::markerDataType)->dataAs<MarkerFrame>()[marker];
}

inline Marker seen(const Vector3d& position) {
    return Marker::at(tarn::kit::toSingle(position), 0.5F, 3);
}

inline double distance(const Marker& a, const Marker& b) {
    return lengthOf(tarn::kit::toDouble(a.position) - tarn::kit::toDouble(b.position));
}

/// How the limb moves: it swings and turns about changing axes, faster than a curve can follow over
/// half a second.
inline Vector3d moved(const Vector3d& inLimb, double seconds) {
    const auto turn =
        tarn::kit::fromRotationVector({0.9 * std::sin(4 * seconds), 1.2 * std::sin(5 * seconds + 1),
                                       0.7 * std::cos(3 * seconds)});
    return Vector3d{300 * std::sin(6 * seconds), 200 * std::cos(4 * seconds), 900 + 100 * seconds} +
           turn * inLimb;
}

/// A rigid limb with so many markers, at 120 frames per second, in millimetres.
inline Table limb(int frames, std::size_t markers = 5) {
    const std::vector<Vector3d> places = {{0, 0, 0},     {120, 10, 0},  {30, 140, 20},
                                          {-60, 50, 90}, {70, -80, 60}, {-40, -90, -70}};
    Table table;
    for (int frame = 0; frame < frames; ++frame) {
        std::vector<Marker> row;
        for (std::size_t i = 0; i < markers; ++i) {
            row.push_back(seen(moved(places[i], frame / 120.0)));
        }
        table.push_back(row);
    }
    return table;
}

inline void cut(Table& table, std::size_t marker, int first, int last) {
    for (int frame = first; frame <= last; ++frame) {
        table[static_cast<std::size_t>(frame)][marker] = Marker();
    }
}

/// Exchanges the labels of two markers.
inline void swap(Table& table, std::size_t a, std::size_t b, int first, int last) {
    for (int frame = first; frame <= last; ++frame) {
        auto& row = table[static_cast<std::size_t>(frame)];
        std::swap(row[a], row[b]);
    }
}

/// Pushes a marker off its way in a frame.
inline void push(Table& table, std::size_t marker, int frame, const tarn::Vector3f& off) {
    tarn::Vector3f& position = table[static_cast<std::size_t>(frame)][marker].position;
    position = {position.x + off.x, position.y + off.y, position.z + off.z};
}

/// A node into which frames go at 120 per second, and what comes out of it.
template <class Node>
struct NodeLine {
    template <class... Arguments>
    explicit NodeLine(const Arguments&... arguments) : node(arguments...) {
        node.tieToIFramePort(Node::framePort, in);
        node.oFramePort(Node::framePort).connect([this](const auto& frame) {
            out.push_back(frame);
        });
    }
    void feed(const Table& table, unsigned first = 0) {
        for (const std::vector<Marker>& markers : table) {
            fed.push_back(std::make_shared<tarn::Frame>(
                tarn::Time(first++, 120), tarn::kit::markerDataType, MarkerFrame(markers)));
            in.emit(fed.back());
        }
    }
    const MarkerFrame& markersAt(std::size_t frame) const {
        return out[frame]->template dataAs<MarkerFrame>();
    }

    tsignal::Signal<std::shared_ptr<tarn::Frame>> in;
    Frames fed;
    Frames out;
    Node node;
};

} // namespace cleaning_testing
