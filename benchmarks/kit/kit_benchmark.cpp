// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// How fast motion files are read and bodies solved, and how much memory a loaded take needs.
#include "Ratios.h"
#include "kit/SampleTake.h"

#include <tarn_kit/body/ForwardKinematics.h>
#include <tarn_kit/files/Bvh.h>
#include <tarn_kit/processing/ForwardKinematicsSolver.h>
#include <tarn_kit/session/RecorderNode.h>

#include <fmt/format.h>

#include <array>
#include <cmath>
#include <malloc.h>
#include <memory>
#include <sstream>
#include <vector>

namespace {

namespace kit = tarn::kit;
using tarn_benchmark::Fact;
using tarn_benchmark::Goal;
using tarn_benchmark::Measure;
using tarn_benchmark::repeated;
using tarn_benchmark::repeatedSample;
using tarn_benchmark::TemporaryFile;

// Reading.

constexpr double nanosecondsPerByte = 10; // 100 MB/s

void addReading(std::vector<Measure>& measures) {
    for (const int times : {1, 10}) {
        const std::string text = repeatedSample(times);
        const auto file =
            std::make_shared<TemporaryFile>(fmt::format("tarn_kit_benchmark_{}.bvh", times), text);
        const double most = static_cast<double>(text.size()) * nanosecondsPerByte;
        measures.push_back(
            {fmt::format("readBvh, {:.1f} MB, at 100 MB/s", static_cast<double>(text.size()) / 1e6),
             repeated([file] { benchmark::DoNotOptimize(kit::readBvh(file->path())); }),
             most,
             std::nullopt,
             std::nullopt,
             {}});
    }
}

std::size_t heapInUse() {
    const struct mallinfo2 heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
}

/// What a loaded take keeps of the heap, in units of its values in single precision. Another one is
/// read before: what the first one leaves for the rest of the process, such as the index of the
/// names of segments, is no take's.
Fact memoryFact(int times) {
    std::istringstream stream(repeatedSample(times));
    std::istringstream first(tarn_benchmark::sampleText());
    kit::readBvh(first);
    const std::size_t before = heapInUse();
    const kit::BvhTake take = kit::readBvh(stream);
    const std::size_t used = heapInUse() - before;
    const std::size_t values =
        take.rig->valueCount() * static_cast<std::size_t>(take.tracks->frameCount());
    return {fmt::format("memory of {} frames of {} values", take.tracks->frameCount(),
                        take.rig->valueCount()),
            "times the values",
            static_cast<double>(used) / static_cast<double>(values * sizeof(float)), 1.5};
}

// Solving.

constexpr double nanosecondsPerPose = 1e9 / (1000 * 120); // 1,000 characters at 120 Hz

std::vector<kit::Pose> posesOf(const kit::BvhTake& take) {
    std::vector<kit::Pose> poses;
    poses.reserve(static_cast<std::size_t>(take.tracks->timeLength()));
    for (int i = 0; i < take.tracks->timeLength(); ++i) {
        poses.push_back(take.tracks->getFrame(i, kit::poseDataType)->dataAs<kit::Pose>());
    }
    return poses;
}

/// A stage on which poses arrive, one by one, as from a device: each becomes a frame, is solved,
/// and the body is recorded.
class Stage {
public:
    Stage() { recorder_.tieToIFramePort(kit::RecorderNode::framePort, onBody_); }

    void step() {
        next_ = next_ + 1 == poses_.size() ? 0 : next_ + 1;
        const tarn::Time time(static_cast<unsigned>(next_), 120);
        solver_.addInput(std::make_shared<tarn::Frame>(time, kit::poseDataType, poses_[next_]));
        solver_.evaluate();
        onBody_.emit(solver_.getOutput(kit::bodyDataType)->getFrame(0));
        solver_.clearInput();
        solver_.clearOutput();
        if (recorder_.isFull()) {
            recorder_.clear();
        }
    }

private:
    kit::BvhTake take_ = [] {
        std::istringstream stream(tarn_benchmark::sampleText());
        return kit::readBvh(stream);
    }();
    std::vector<kit::Pose> poses_ = posesOf(take_);
    std::size_t next_ = 0;
    kit::ForwardKinematicsSolver solver_{"1", take_.rig};
    tsignal::Signal<std::shared_ptr<tarn::Frame>> onBody_;
    kit::RecorderNode recorder_{kit::bodyDataType, 10'000};
};

// The same products by hand, over plain arrays that are laid out once.

struct Turn {
    double x = 0, y = 0, z = 0, w = 1;
};

struct Place {
    Turn turn;
    std::array<double, 3> at = {};
};

struct Joint {
    int parent;
    std::array<double, 3> offset;
    int channels;
    std::array<int, 6> kinds; ///< 0 to 2 along x, y, z; 3 to 5 about them
};

Turn product(const Turn& a, const Turn& b) {
    return {a.w * b.x + a.x * b.w + a.y * b.z - a.z * b.y,
            a.w * b.y - a.x * b.z + a.y * b.w + a.z * b.x,
            a.w * b.z + a.x * b.y - a.y * b.x + a.z * b.w,
            a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z};
}

std::array<double, 3> turned(const Turn& q, const std::array<double, 3>& v) {
    const double tx = 2 * (q.y * v[2] - q.z * v[1]);
    const double ty = 2 * (q.z * v[0] - q.x * v[2]);
    const double tz = 2 * (q.x * v[1] - q.y * v[0]);
    return {v[0] + q.w * tx + q.y * tz - q.z * ty, v[1] + q.w * ty + q.z * tx - q.x * tz,
            v[2] + q.w * tz + q.x * ty - q.y * tx};
}

Place placeOf(const Joint& joint, const float* value) {
    Place place;
    place.at = joint.offset;
    for (int channel = 0; channel < joint.channels; ++channel) {
        const int kind = joint.kinds[static_cast<std::size_t>(channel)];
        const auto amount = static_cast<double>(value[channel]);
        if (kind < 3) {
            place.at[static_cast<std::size_t>(kind)] += amount;
            continue;
        }
        const double half = amount * 3.14159265358979323846 / 360;
        const double sine = std::sin(half);
        place.turn = product(place.turn, {kind == 3 ? sine : 0, kind == 4 ? sine : 0,
                                          kind == 5 ? sine : 0, std::cos(half)});
    }
    return place;
}

struct HandWritten {
    explicit HandWritten(const kit::Rig& rig) : places(rig.nodes().size()) {
        for (const kit::RigNode& node : rig.nodes()) {
            Joint joint{node.parent, {}, static_cast<int>(node.channels.size()), {}};
            joint.offset = {static_cast<double>(node.offset.x), static_cast<double>(node.offset.y),
                            static_cast<double>(node.offset.z)};
            for (std::size_t i = 0; i < node.channels.size(); ++i) {
                joint.kinds.at(i) = static_cast<int>(node.channels[i]);
            }
            joints.push_back(joint);
        }
    }

    void solve(const float* values) {
        for (std::size_t i = 0; i < joints.size(); ++i) {
            Place place = placeOf(joints[i], values);
            values += joints[i].channels;
            if (joints[i].parent >= 0) {
                const Place& parent = places[static_cast<std::size_t>(joints[i].parent)];
                const std::array<double, 3> arm = turned(parent.turn, place.at);
                place = {product(parent.turn, place.turn),
                         {parent.at[0] + arm[0], parent.at[1] + arm[1], parent.at[2] + arm[2]}};
            }
            places[i] = place;
        }
    }

    std::vector<Joint> joints;
    std::vector<Place> places;
};

/// The same poses for both.
struct Bare {
    kit::BvhTake take = [] {
        std::istringstream stream(tarn_benchmark::sampleText());
        return kit::readBvh(stream);
    }();
    std::vector<kit::Pose> poses = posesOf(take);
    HandWritten hand{*take.rig};
    std::size_t next = 0;

    const kit::Pose& nextPose() {
        next = next + 1 == poses.size() ? 0 : next + 1;
        return poses[next];
    }
    /// Whether both put the last node at the same place, which shows that they do the same.
    bool agree() {
        const kit::Pose& pose = nextPose();
        hand.solve(pose.values.data());
        const tarn::Vector3f ours = kit::worldPositions(*take.rig, pose).back();
        const std::array<double, 3>& theirs = hand.places.back().at;
        return std::abs(static_cast<double>(ours.x) - theirs[0]) < 1e-3 &&
               std::abs(static_cast<double>(ours.y) - theirs[1]) < 1e-3 &&
               std::abs(static_cast<double>(ours.z) - theirs[2]) < 1e-3;
    }
};

void addSolving(std::vector<Measure>& measures) {
    const auto stage = std::make_shared<Stage>();
    measures.push_back({"a pose framed, solved and recorded",
                        repeated([stage] { stage->step(); }),
                        nanosecondsPerPose,
                        std::nullopt,
                        std::nullopt,
                        {}});
    const auto bare = std::make_shared<Bare>();
    if (!bare->agree()) {
        throw std::runtime_error("the loop by hand does something else");
    }
    measures.push_back({"worldPositions",
                        repeated([bare] {
                            benchmark::DoNotOptimize(
                                kit::worldPositions(*bare->take.rig, bare->nextPose()));
                        }),
                        std::nullopt,
                        Goal{2, {{"loop by hand", repeated([bare] {
                                      bare->hand.solve(bare->nextPose().values.data());
                                      benchmark::DoNotOptimize(bare->hand.places.data());
                                  })}}},
                        std::nullopt,
                        {}});
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<Fact> facts = {memoryFact(1), memoryFact(70)};
    std::vector<Measure> measures;
    addReading(measures);
    addSolving(measures);
    return tarn_benchmark::compare(argc, argv, measures, facts);
}
