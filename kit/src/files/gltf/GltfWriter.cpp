// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/gltf/GltfBones.h"
#include "files/gltf/GltfBuffer.h"
#include "files/gltf/GltfMotion.h"
#include "files/gltf/GltfNames.h"

#include <tarn_kit/Version.h>
#include <tarn_kit/files/Gltf.h>
#include <tarn_kit/files/Text.h>
#include <tarn_kit/session/Timecode.h>

#include <cmath>
#include <limits>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace tarn::kit {

namespace {

constexpr std::size_t mostNodes = 65'535; ///< what the numbers of joints can tell apart

[[noreturn]] void refuse(const std::string& reason) {
    throw std::invalid_argument("no glTF file can hold this: " + reason);
}

void check(const std::vector<PerformerTake>& performers, const GltfOptions& options) {
    if (!(options.tolerance >= 0)) {
        refuse("the tolerance is negative or no number");
    }
    if (performers.empty()) {
        refuse("there are no performers");
    }
    for (const PerformerTake& performer : performers) {
        const std::string name = "'" + printable(performer.name) + "' ";
        if (performer.rig == nullptr || performer.take == nullptr) {
            refuse(name + "has no rig or no take");
        }
        const std::size_t count = performer.rig->nodes().size();
        if (count == 0 || count > mostNodes) {
            refuse(name + "has " + std::to_string(count) + " joints and end sites, not 1 to " +
                   std::to_string(mostNodes));
        }
    }
}

GltfMotion motionOf(const PerformerTake& performer, double metres, double tolerance) {
    try {
        return {performer, metres, tolerance};
    } catch (const std::invalid_argument& error) {
        refuse("'" + printable(performer.name) + "': " + error.what());
    }
}

void appendWord(std::string& bytes, std::size_t value) {
    for (unsigned shift = 0; shift < 32; shift += 8) {
        bytes += static_cast<char>(value >> shift & 0xFFU);
    }
}

/// A part of a binary file: its length and kind, then the content, filled up to whole words.
void appendChunk(std::string& bytes, std::string_view kind, std::string_view content, char filler) {
    const std::size_t size = (content.size() + 3) / 4 * 4;
    appendWord(bytes, size);
    bytes += kind;
    bytes += content;
    bytes.append(size - content.size(), filler);
}

/// The document, performer by performer.
class Document {
public:
    explicit Document(const std::vector<PerformerTake>& performers, const GltfOptions& options)
        : performers_(performers), options_(options), metres_(metresPerUnit(performers)) {
        nameNodes();
        for (std::size_t i = 0; i < performers.size(); ++i) {
            add(i);
        }
    }

    const GltfReport& report() const { return report_; }
    void write(std::ostream& stream);

private:
    void nameNodes();
    void add(std::size_t index);
    void addNodes(const PerformerTake& performer, const GltfMotion& motion);
    void addMesh(const PerformerTake& performer, const GltfMotion& motion, std::size_t group);
    void addCurves(const PerformerTake& performer, const GltfMotion& motion, std::size_t firstNode);
    template <std::size_t Size>
    void addCurve(const PerformerTake& performer, const GltfCurve<Size>& curve, std::size_t node,
                  const char* path);
    int timesOf(const PerformerTake& performer, const std::vector<int>& frames);
    Json extrasOf(std::size_t index, const GltfMotion& motion) const;
    Json document();

    const std::vector<PerformerTake>& performers_;
    GltfOptions options_;
    std::vector<double> metres_; ///< of each performer's unit
    GltfReport report_;
    std::vector<std::string> names_; ///< of the nodes, in order
    GltfBuffer buffer_;
    Json nodes_ = Json::array();
    Json roots_ = Json::array();
    Json meshes_ = Json::array();
    Json skins_ = Json::array();
    Json materials_ = Json::array();
    Json channels_ = Json::array();
    Json samplers_ = Json::array();
    std::map<std::vector<int>, int> times_; ///< accessors, of the performer that is being added
};

/// Nodes come performer by performer: its own, those of its rig, and that of its mesh.
void Document::nameNodes() {
    for (const PerformerTake& performer : performers_) {
        names_.push_back(performer.name);
        for (const RigNode& node : performer.rig->nodes()) {
            names_.push_back(performers_.size() == 1 ? node.name
                                                     : performer.name + ":" + node.name);
        }
        if (options_.mesh) {
            names_.push_back(performer.name + "_bones");
        }
    }
    names_ = uniqueNames(std::move(names_));
}

void Document::add(std::size_t index) {
    const PerformerTake& performer = performers_[index];
    const GltfMotion motion = motionOf(performer, metres_[index], options_.tolerance);
    const std::size_t group = nodes_.size();
    roots_.push_back(group);
    nodes_.push_back({{"name", names_[group]}, {"extras", extrasOf(index, motion)}});
    addNodes(performer, motion);
    if (options_.mesh) {
        addMesh(performer, motion, group);
    }
    times_.clear();
    addCurves(performer, motion, group + 1);
    report_.frames += motion.frames().size();
    report_.largestError = std::max(report_.largestError, motion.largestError());
}

void Document::addNodes(const PerformerTake& performer, const GltfMotion& motion) {
    const std::size_t group = nodes_.size() - 1;
    const std::vector<RigNode>& rig = performer.rig->nodes();
    for (std::size_t i = 0; i < rig.size(); ++i) {
        const std::size_t parent =
            rig[i].parent < 0 ? group : group + 1 + static_cast<std::size_t>(rig[i].parent);
        const std::size_t self = nodes_.size();
        const Vector3d& at = motion.rest()[i];
        Json node = {{"name", names_[self]}};
        if (at != Vector3d{}) {
            node["translation"] = {static_cast<double>(toSingle(at.x)),
                                   static_cast<double>(toSingle(at.y)),
                                   static_cast<double>(toSingle(at.z))};
        }
        nodes_.push_back(std::move(node));
        nodes_[parent]["children"].push_back(self);
    }
}

void Document::addMesh(const PerformerTake& performer, const GltfMotion& motion,
                       std::size_t group) {
    const std::vector<RigNode>& rig = performer.rig->nodes();
    std::vector<Vector3d> world = motion.rest();
    std::vector<std::array<float, 16>> bindings;
    Json joints = Json::array();
    for (std::size_t i = 0; i < rig.size(); ++i) {
        if (rig[i].parent >= 0) {
            world[i] = world[static_cast<std::size_t>(rig[i].parent)] + world[i];
        }
        const Vector3f back = toSingle(-world[i]);
        bindings.push_back({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, back.x, back.y, back.z, 1});
        joints.push_back(group + 1 + i);
    }
    // Colours that the colour-blind tell apart, too.
    static const std::array<std::array<double, 3>, 4> colours = {
        {{0.0, 0.17, 0.45}, {0.67, 0.11, 0.0}, {0.0, 0.3, 0.15}, {0.36, 0.14, 0.4}}};
    const auto& colour = colours.at(materials_.size() % colours.size());
    const GltfBones bones = bonesOf(rig, world);
    const auto use = GltfBuffer::Use::Vertices;
    const Json attributes = {{"POSITION", buffer_.add(bones.positions, use, true)},
                             {"NORMAL", buffer_.add(bones.normals, use)},
                             {"JOINTS_0", buffer_.add(bones.joints)},
                             {"WEIGHTS_0", buffer_.add(bones.weights, use)}};
    const std::string& name = names_[nodes_.size()];
    materials_.push_back({{"name", name},
                          {"pbrMetallicRoughness",
                           {{"baseColorFactor", {colour[0], colour[1], colour[2], 1.0}},
                            {"metallicFactor", 0.0},
                            {"roughnessFactor", 0.8}}}});
    Json primitive = {{"attributes", attributes}, {"material", materials_.size() - 1}};
    meshes_.push_back({{"name", name}, {"primitives", Json::array({std::move(primitive)})}});
    skins_.push_back({{"name", name},
                      {"skeleton", group},
                      {"inverseBindMatrices", buffer_.add(bindings)},
                      {"joints", std::move(joints)}});
    roots_.push_back(nodes_.size()); // not below what moves: the skin alone says where it is
    nodes_.push_back({{"name", name}, {"mesh", meshes_.size() - 1}, {"skin", skins_.size() - 1}});
}

void Document::addCurves(const PerformerTake& performer, const GltfMotion& motion,
                         std::size_t firstNode) {
    for (std::size_t i = 0; i < motion.rest().size(); ++i) {
        addCurve(performer, motion.translations()[i], firstNode + i, "translation");
        addCurve(performer, motion.rotations()[i], firstNode + i, "rotation");
    }
}

template <std::size_t Size>
void Document::addCurve(const PerformerTake& performer, const GltfCurve<Size>& curve,
                        std::size_t node, const char* path) {
    if (curve.frames.empty()) {
        return;
    }
    samplers_.push_back({{"input", timesOf(performer, curve.frames)},
                         {"output", buffer_.add(curve.values)},
                         {"interpolation", "LINEAR"}});
    channels_.push_back(
        {{"sampler", samplers_.size() - 1}, {"target", {{"node", node}, {"path", path}}}});
    report_.keys += curve.frames.size();
}

int Document::timesOf(const PerformerTake& performer, const std::vector<int>& frames) {
    const auto known = times_.find(frames);
    if (known != times_.end()) {
        return known->second;
    }
    std::vector<std::array<float, 1>> times;
    times.reserve(frames.size());
    for (const int frame : frames) {
        const float time = toSingle(performer.rate.at(frame).seconds());
        if (!times.empty() && !(time > times.back()[0])) {
            refuse("'" + printable(performer.name) + "': single precision cannot tell frame " +
                   std::to_string(frame) + " from the one before it");
        }
        times.push_back({time});
    }
    const int accessor = buffer_.add(times, GltfBuffer::Use::Data, true);
    times_.emplace(frames, accessor);
    return accessor;
}

Json Document::extrasOf(std::size_t index, const GltfMotion& motion) const {
    const PerformerTake& performer = performers_[index];
    const Space& space = performer.rig->space();
    Json extras = {{"source", validUtf8(performer.source)},
                   {"rate", performer.rate.text()},
                   {"frames", performer.take->timeLength()},
                   {"framesWithBody", motion.frames().size()},
                   {"unit", space.unit.symbol},
                   {"metresPerUnit", metres_[index]},
                   {"unitIs", originText(space.unitOrigin)},
                   {"up", axisName(space.up)},
                   {"upIs", originText(space.upOrigin)},
                   {"largestErrorMetres", motion.largestError()}};
    if (performer.firstFrame >= 0) {
        extras["timecode"] = timecodeText(timecodeOf(performer.firstFrame, performer.rate));
    }
    if (options_.tolerance > 0) {
        extras["toleranceMetres"] = options_.tolerance;
    }
    return extras;
}

Json Document::document() {
    Json document;
    document["asset"] = {{"version", "2.0"}, {"generator", "tarn_kit " + std::string(version())}};
    document["scene"] = 0;
    document["scenes"] = Json::array({{{"name", "Capture"}, {"nodes", roots_}}});
    document["nodes"] = nodes_;
    const auto put = [&document](const char* key, const Json& value) {
        if (!value.empty()) { // empty lists are not allowed
            document[key] = value;
        }
    };
    put("meshes", meshes_);
    put("skins", skins_);
    put("materials", materials_);
    if (!channels_.empty()) {
        document["animations"] =
            Json::array({{{"name", "Capture"}, {"channels", channels_}, {"samplers", samplers_}}});
    }
    put("accessors", buffer_.accessors());
    put("bufferViews", buffer_.views());
    if (!buffer_.bytes().empty()) {
        document["buffers"] = Json::array({{{"byteLength", buffer_.bytes().size()}}});
    }
    return document;
}

void Document::write(std::ostream& stream) {
    Json json = document();
    if (options_.form == GltfForm::Text) {
        if (json.contains("buffers")) {
            json["buffers"][0]["uri"] =
                "data:application/octet-stream;base64," + base64(buffer_.bytes());
        }
        stream << json.dump(1, '\t') << "\n";
        return;
    }
    std::string chunks;
    appendChunk(chunks, "JSON", json.dump(), ' ');
    if (!buffer_.bytes().empty()) {
        appendChunk(chunks, std::string_view("BIN\0", 4), buffer_.bytes(), '\0');
    }
    constexpr std::size_t headSize = 12;
    if (chunks.size() > std::numeric_limits<std::uint32_t>::max() - headSize) {
        refuse("it would be larger than 4 GiB");
    }
    std::string head = "glTF";
    appendWord(head, 2);
    appendWord(head, headSize + chunks.size());
    stream << head << chunks;
}

} // namespace

GltfReport writeGltf(const std::vector<PerformerTake>& performers, std::ostream& stream,
                     const GltfOptions& options) {
    check(performers, options);
    Document document(performers, options);
    document.write(stream);
    return document.report();
}

} // namespace tarn::kit
