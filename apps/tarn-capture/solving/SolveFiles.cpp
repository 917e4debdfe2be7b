// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "solving/SolveFiles.h"

#include <fmt/format.h>
#include <tarn/OutputFile.h>
#include <tarn_kit/body/Space.h>
#include <tarn_kit/session/TakeOf.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <utility>

namespace tarn::capture {

namespace {

constexpr double millimetresPerMetre = 1000;
constexpr double centimetresPerMetre = 100;

template <class... Arguments>
void append(fmt::memory_buffer& text, fmt::format_string<Arguments...> format,
            Arguments&&... arguments) {
    fmt::format_to(std::back_inserter(text), format, std::forward<Arguments>(arguments)...);
}

std::string_view viewOf(const fmt::memory_buffer& text) { return {text.data(), text.size()}; }

/// The axis of the file along which bodies stand, as a unit vector: that which is nearest to the
/// way from feet to head, on average.
kit::Vector3d upIn(const SolvedTrial& solved) {
    kit::Vector3d sum;
    const auto& nodes = solved.rig->nodes();
    for (const SolvedFrame& frame : solved.frames) {
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            const double sign = nodes[i].name == "Head"                                       ? 2
                                : nodes[i].name == "LeftFoot" || nodes[i].name == "RightFoot" ? -1
                                                                                              : 0;
            sum = sum + sign * kit::toDouble(frame.pose.segments[i].position);
        }
    }
    std::size_t most = 2;
    for (const std::size_t axis : {std::size_t{1}, std::size_t{0}}) {
        most = std::abs(sum[axis]) > std::abs(sum[most]) ? axis : most;
    }
    kit::Vector3d up;
    up[most] = sum[most] < 0 ? -1 : 1;
    return up;
}

/// The turn that brings `up` to Y.
kit::Quaterniond uprightFrom(const kit::Vector3d& up) {
    if (up.x > 0 || up.y > 0 || up.z > 0) {
        return kit::uprightTurn(up.x > 0   ? kit::UpAxis::X
                                : up.y > 0 ? kit::UpAxis::Y
                                           : kit::UpAxis::Z);
    }
    return up.y < 0   ? kit::fromAxisAngle({1, 0, 0}, kit::pi)
           : up.z < 0 ? kit::fromAxisAngle({1, 0, 0}, kit::pi / 2)
                      : kit::fromAxisAngle({0, 0, 1}, -kit::pi / 2);
}

} // namespace

kit::Quaterniond uprightOf(const SolvedTrial& solved) { return uprightFrom(upIn(solved)); }

void writeJointsCsv(const MarkerTrial& trial, const SolvedTrial& solved,
                    const std::filesystem::path& file) {
    OutputFile output(file.string());
    fmt::memory_buffer text;
    append(text, "frame,time");
    for (const kit::RigNode& node : solved.rig->nodes()) {
        if (!node.isEndSite()) {
            append(text, ",{0}.x,{0}.y,{0}.z", node.name);
        }
    }
    for (const SolvedFrame& frame : solved.frames) {
        append(text, "\n{},{:.6f}", trial.numberOf(frame.index), trial.secondsAt(frame.index));
        for (std::size_t i = 0; i < frame.pose.segments.size(); ++i) {
            if (!solved.rig->nodes()[i].isEndSite()) {
                const kit::Vector3d at =
                    millimetresPerMetre * kit::toDouble(frame.pose.segments[i].position);
                append(text, ",{:.4f},{:.4f},{:.4f}", at.x, at.y, at.z);
            }
        }
        output.write(viewOf(text));
        text.clear();
    }
    append(text, "\n");
    output.write(viewOf(text));
    output.commit();
}

void writeMarkersCsv(const MarkerTrial& trial, const SolvedTrial& solved,
                     const std::filesystem::path& file, double scale, const std::string& unit) {
    OutputFile output(file.string());
    fmt::memory_buffer text;
    const std::string suffix = unit.empty() ? "" : " [" + unit + "]";
    append(text, "frame");
    for (const kit::BodyMarker& marker : solved.body.markers) {
        append(text, ",{0}.x{1},{0}.y{1},{0}.z{1},{0}.residual{1}", marker.name, suffix);
    }
    for (const SolvedFrame& frame : solved.frames) {
        append(text, "\n{}", trial.numberOf(frame.index));
        for (const kit::FittedMarker& marker : frame.fit) {
            const kit::Vector3d at = scale * marker.position;
            append(text, ",{:.4f},{:.4f},{:.4f},", at.x, at.y, at.z);
            if (std::isfinite(marker.residual)) {
                append(text, "{:.4f}", scale * marker.residual);
            }
        }
        output.write(viewOf(text));
        text.clear();
    }
    append(text, "\n");
    output.write(viewOf(text));
    output.commit();
}

kit::BvhTake bvhOf(const MarkerTrial& trial, const SolvedTrial& solved) {
    const kit::Quaterniond upright = uprightOf(solved);
    const kit::Rate rate = trial.exactRate();
    std::vector<std::shared_ptr<Frame>> frames;
    frames.reserve(solved.frames.size());
    for (const SolvedFrame& frame : solved.frames) {
        kit::BodyPose body = frame.pose;
        for (kit::Segment& segment : body.segments) {
            segment.position =
                kit::toSingle(centimetresPerMetre * (upright * kit::toDouble(segment.position)));
            segment.rotation = kit::toSingle(upright * kit::toDouble(segment.rotation));
        }
        const Time time = rate.time(static_cast<std::int64_t>(frames.size()));
        frames.push_back(std::make_shared<Frame>(time, kit::bodyDataType, std::move(body)));
    }
    const auto bodies = kit::takeOf(kit::bodyDataType, std::move(frames), rate.fps());
    return kit::bvhTakeOf(solved.body.body.rig(centimetresPerMetre), bodies, rate);
}

void writeBvhFile(const kit::BvhTake& take, const std::filesystem::path& file) {
    OutputFile output(file.string());
    kit::writeBvh(take, output.stream());
    output.commit();
}

} // namespace tarn::capture
