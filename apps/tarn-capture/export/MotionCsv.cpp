// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "export/MotionCsv.h"

#include "support/CsvField.h"

#include <fmt/compile.h>
#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

#include <cstddef>
#include <iterator>
#include <set>

namespace tarn::capture {

namespace {

std::string unused(const std::string& name, std::set<std::string>& taken) {
    std::string result = name;
    for (int i = 2; !taken.insert(result).second; ++i) {
        result = fmt::format("{}-{}", name, i);
    }
    return result;
}

/// The header's cells of one kind.
class HeaderBlock {
public:
    /// `up` is the axis whose columns are marked as leading up; empty for none.
    HeaderBlock(std::string& line, std::string prefix, std::string unit, std::string up = "")
        : line_(line), prefix_(std::move(prefix)), unit_(std::move(unit)), up_(std::move(up)) {}

    void add(const std::string& node, const std::string& axes) {
        for (const char axis : axes) {
            const std::string unit = unit_.empty() ? "" : " [" + unit_ + "]";
            const char* const mark = up_ == std::string(1, axis) ? " up" : "";
            line_ += "," + csvField(fmt::format("{}.{}{}{}{}", node, prefix_, axis, unit, mark));
        }
    }

private:
    std::string& line_;
    const std::string prefix_;
    const std::string unit_;
    const std::string up_;
};

using Buffer = fmt::memory_buffer;

void addCells(Buffer& line, const Vector3f& v) {
    fmt::format_to(std::back_inserter(line), FMT_COMPILE(",{},{},{}"), v.x, v.y, v.z);
}

void addCells(Buffer& line, const Quaternionf& q) {
    fmt::format_to(std::back_inserter(line), FMT_COMPILE(",{},{},{},{}"), q.x, q.y, q.z, q.w);
}

/// In single precision, as all that is read.
void addCells(Buffer& line, const kit::EulerAngles& angles) {
    for (const double angle : angles) {
        fmt::format_to(std::back_inserter(line), FMT_COMPILE(",{}"), kit::toSingle(angle));
    }
}

void addEmptyCells(Buffer& line) {
    constexpr std::string_view empty = ",,,";
    line.append(empty.data(), empty.data() + empty.size());
}

Buffer begin(int frame, double seconds) {
    Buffer line;
    fmt::format_to(std::back_inserter(line), "{},{}", frame, seconds);
    return line;
}

std::string finished(Buffer& line) {
    line.push_back('\n');
    return {line.data(), line.size()};
}

} // namespace

std::vector<std::string> nodeColumns(const kit::Rig& rig) {
    std::set<std::string> takenByRoots;
    std::set<std::string> taken;
    std::vector<std::string> roots; // of each node
    std::vector<std::string> columns;
    const bool isSeveral = rig.skeletons().size() > 1;
    for (const kit::RigNode& node : rig.nodes()) {
        const std::string name = kit::validUtf8(node.name);
        roots.push_back(node.parent < 0 ? unused(name, takenByRoots)
                                        : roots[static_cast<std::size_t>(node.parent)]);
        columns.push_back(unused(isSeveral ? roots.back() + ":" + name : name, taken));
    }
    return columns;
}

std::string csvHeader(const kit::Rig& rig, const MotionKinds& kinds) {
    const kit::Space& space = rig.space();
    const std::string& unit = space.unit.symbol;
    std::string line = "frame,time [s]";
    const bool isUsual = space.up == kit::UpAxis::Y;
    HeaderBlock positions(line, "", unit, isUsual ? "" : kit::lowered(kit::axisName(space.up)));
    HeaderBlock rotations(line, "q", "");
    HeaderBlock angles(line, "r", "deg");
    HeaderBlock velocities(line, "v", unit + "/s");
    const auto columns = nodeColumns(rig);
    const auto forAll = [&](bool isWanted, const auto& add) {
        for (std::size_t i = 0; isWanted && i < columns.size(); ++i) {
            add(columns[i], rig.nodes()[i]);
        }
    };
    forAll(kinds.positions, [&](auto& name, auto&) { positions.add(name, "xyz"); });
    forAll(kinds.rotations,
           [&](auto& name, auto& node) { rotations.add(name, node.isEndSite() ? "" : "xyzw"); });
    forAll(kinds.angles, [&](auto& name, auto& node) {
        angles.add(name, node.isEndSite() ? "" : angleAxes(node));
    });
    forAll(kinds.velocities, [&](auto& name, auto&) { velocities.add(name, "xyz"); });
    return line + "\n";
}

std::string csvLine(const kit::Rig& rig, int frame, double seconds, const MotionSample& sample) {
    Buffer line = begin(frame, seconds);
    const auto& nodes = rig.nodes();
    for (const Vector3f& position : sample.positions) {
        addCells(line, position);
    }
    for (std::size_t i = 0; i < sample.rotations.size(); ++i) {
        if (!nodes[i].isEndSite()) {
            addCells(line, sample.rotations[i]);
        }
    }
    for (std::size_t i = 0; i < sample.angles.size(); ++i) {
        if (!nodes[i].isEndSite()) {
            addCells(line, sample.angles[i]);
        }
    }
    for (const auto& velocity : sample.velocities) {
        velocity ? addCells(line, *velocity) : addEmptyCells(line);
    }
    return finished(line);
}

std::string csvLineWithoutPositions(const kit::Rig& rig, int frame, double seconds) {
    Buffer line = begin(frame, seconds);
    for (std::size_t i = 0; i < rig.nodes().size(); ++i) {
        addEmptyCells(line);
    }
    return finished(line);
}

} // namespace tarn::capture
