// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "export/MotionJson.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <tarn_kit/files/Text.h>

#include <cmath>
#include <cstddef>
#include <iterator>
#include <utility>

namespace tarn::capture {

namespace {

using Json = nlohmann::ordered_json;

Json nodesOf(const kit::Rig& rig, const MotionKinds& kinds) {
    Json nodes = Json::array();
    for (const kit::RigNode& node : rig.nodes()) {
        Json entry = {{"name", kit::validUtf8(node.name)},
                      {"parent", node.parent < 0 ? Json() : Json(node.parent)},
                      {"end_site", node.isEndSite()}};
        if (kinds.angles && !node.isEndSite()) {
            entry["angles"] = angleAxes(node);
        }
        nodes.push_back(entry);
    }
    return nodes;
}

/// JSON has no number for what does not fit a float.
std::string number(float value) { return std::isfinite(value) ? fmt::to_string(value) : "null"; }

std::string listOf(const Vector3f& v) {
    return fmt::format("[{}, {}, {}]", number(v.x), number(v.y), number(v.z));
}

std::string listOf(const Quaternionf& q) {
    return fmt::format("[{}, {}, {}, {}]", number(q.x), number(q.y), number(q.z), number(q.w));
}

/// In single precision, as all that is read.
std::string listOf(const kit::EulerAngles& angles) {
    return fmt::format("[{}, {}, {}]", number(kit::toSingle(angles[0])),
                       number(kit::toSingle(angles[1])), number(kit::toSingle(angles[2])));
}

std::string listOf(const std::optional<Vector3f>& v) { return v ? listOf(*v) : "null"; }

/// `, "name": [...]` with an entry per node; of what end sites do not have, null for them.
template <class Values>
void addList(std::string& text, const char* name, const kit::Rig& rig, const Values& values,
             bool haveEndSites) {
    if (values.empty()) {
        return;
    }
    text += fmt::format(R"(, "{}": [)", name);
    const char* separator = "";
    for (std::size_t i = 0; i < values.size(); ++i) {
        text += std::exchange(separator, ", ");
        text += haveEndSites || !rig.nodes()[i].isEndSite() ? listOf(values[i]) : "null";
    }
    text += "]";
}

} // namespace

std::string jsonBegin(const Take& take, const MotionKinds& kinds) {
    const kit::Rate rate = take.exactRate();
    return fmt::format(
        "{{\"rate\": {},\n\"exact_rate\": [{}, {}],\n\"unit\": {},\n\"up\": \"{}\",\n"
        "\"nodes\": {},\n\"poses\": [",
        rate.value(), rate.numerator(), rate.denominator(), Json(take.unit().symbol).dump(),
        kit::axisName(take.space().up), nodesOf(take.rig(), kinds).dump());
}

std::string jsonPose(const kit::Rig& rig, int frame, double seconds, const MotionSample& sample) {
    std::string text = fmt::format(R"({{"frame": {}, "time": {})", frame, seconds);
    addList(text, "positions", rig, sample.positions, true);
    addList(text, "rotations", rig, sample.rotations, false);
    addList(text, "angles", rig, sample.angles, false);
    addList(text, "velocities", rig, sample.velocities, true);
    return text + "}";
}

} // namespace tarn::capture
