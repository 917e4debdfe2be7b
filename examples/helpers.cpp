// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// What the kit has for the parts of a host that are easily got wrong: docs/helpers.md explains it.
#include <tarn/tarn.h>
#include <tarn_kit/tarn_kit.h>

#include <cstdint>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

using FramePtr = std::shared_ptr<tarn::Frame>;

void rotations() {
    // A rotation as three angles, here of a joint whose channels are Z, X, Y, and back.
    using namespace tarn::kit;
    const tarn::EulerOrder zxy = {2, 0, 1};
    const Quaterniond arm = fromEulerDegrees({170, 20, 5}, zxy);
    const Quaterniond turned = fromAxisAngle({0, 0, 1}, radiansOf(20)) * arm;
    const EulerAngles fresh = toEulerDegrees(turned, zxy);
    const EulerAngles next = toEulerDegrees(turned, zxy, {170, 20, 5});
    std::cout << "z is " << fresh[0] << ", and " << next[0] << " for a curve that came from 170\n";

    // On the shortest way between two rotations, and how far that is.
    const Quaterniond half = slerp(arm, turned, 0.5);
    std::cout << "half way: " << degreesOf(radiansBetween(arm, half)) << " degrees\n";
}

/// A take of one track of numbers, which say at which second they were measured.
std::shared_ptr<tarn::Tracks> measurements(int dataType, const tarn::kit::Rate& rate, int count) {
    std::vector<FramePtr> frames;
    frames.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        frames.push_back(
            std::make_shared<tarn::Frame>(rate.time(i), dataType, rate.at(i).seconds()));
    }
    return tarn::kit::takeOf(dataType, std::move(frames), rate.fps());
}

void resampling() {
    // Two devices, at 120 and at 50 frames per second, on one axis of 29.97.
    const int force = 100;
    const int angle = 101;
    const tarn::kit::Rate ofForce(120);
    const tarn::kit::Rate ofAngle(50);
    const std::vector<tarn::kit::ResampleSource> sources = {
        {measurements(force, ofForce, 1200), ofForce, {}},
        {measurements(angle, ofAngle, 500), ofAngle, {}}};
    tarn::kit::ResampleOptions options;
    options.axis = tarn::kit::Rate(30000, 1001);
    options.filling = tarn::kit::Filling::Interpolate;
    for (const int type : {force, angle}) { // payloads of the host's own
        options.interpolations[type] = [](const tarn::Frame& before, const tarn::Frame& after,
                                          double fraction) {
            const double from = before.dataAs<double>();
            return std::any(from + fraction * (after.dataAs<double>() - from));
        };
    }
    const tarn::kit::ResampledTake take = tarn::kit::resample(sources, options);
    const auto at = [&take](int source, int type) { // a nested take per source
        return take.tracks->subTracks(source)->getFrame(100, type)->dataAs<double>();
    };
    std::cout << take.moments.size() << " moments; number 100 is "
              << tarn::kit::microsecondsOf(take.moments[100]) << " us: force of " << at(0, force)
              << " s, angle of " << at(1, angle) << " s\n";
}

void rates() {
    // What people call 29.97 is a fraction; a Time counts it as 30.
    const tarn::kit::Rate rate = *tarn::kit::Rate::parse("29.97");
    std::cout << rate.text() << ": frame 423 begins at " << rate.at(423).seconds()
              << " s, and is stamped " << tarn::to_string(rate.time(423)) << "\n";

    // Timecode that counts every number, and the one that keeps up with the clock.
    const std::int64_t hour = 107892; // frames of an hour
    const auto plain = tarn::kit::timecodeOf(hour, rate);
    const auto drop = tarn::kit::timecodeOf(hour, rate, tarn::kit::TimecodeCounting::DropFrame);
    std::cout << tarn::kit::timecodeText(plain) << " or " << tarn::kit::timecodeText(drop)
              << ", which is frame " << tarn::kit::frameOf(drop, rate) << "\n";
}

void units(const std::string& file) {
    // What lengths mean is known with its origin: files do not state it, so it is guessed.
    tarn::kit::BvhTake take = tarn::kit::readBvh(file);
    const tarn::kit::Space guessed = take.rig->space();
    std::cout << tarn::kit::spaceText(guessed) << ", " << originText(guessed.unitOrigin) << "\n";

    // One unit of this take is 56.444 mm: scaled and said, it is in metres.
    take = tarn::kit::scaledTake(take, 0.056444);
    tarn::kit::Space space;
    space.unit = *tarn::kit::lengthUnitNamed("m");
    space.unitOrigin = tarn::kit::Origin::Given;
    take.rig->setSpace(space);
    std::cout << "the body is "
              << tarn::kit::lengthText(static_cast<double>(take.rig->height()), space.unit)
              << " high\n";

    // The dimensions of an actor carry their unit, and are converted with it.
    tarn::Actor ada;
    ada.setBodyDimension("Height", 1.72F);
    tarn::kit::stateUnitOfDimensions(ada, space.unit);
    tarn::kit::convertDimensions(ada, *tarn::kit::lengthUnitNamed("cm"));
    std::cout << "Ada is " << ada.bodyDimension("Height", 0) << " "
              << tarn::kit::unitOfDimensions(ada)->symbol << " high\n";
}

void names(const std::string& file) {
    // Which joints of a take are which segments of the body.
    const tarn::kit::BvhTake take = tarn::kit::readBvh(file);
    const tarn::kit::BodyMatch match = tarn::kit::BodyNames().match(*take.rig);
    const int knee = *match.nodeOf(tarn::BoneLeftLeg);
    std::cout << match.matchedCount() << " of " << match.joints().size()
              << " joints are segments; the left lower leg begins at '"
              << take.rig->nodes()[static_cast<std::size_t>(knee)].name << "'\n";

    // What is not certain is not guessed.
    tarn::kit::Rig rig;
    rig.addJoint("Hips", -1, {0, 100, 0}, {});
    rig.addJoint("LeftLeg", 0, {10, 0, 0}, {});
    for (const tarn::kit::JointMatch& joint : tarn::kit::BodyNames().match(rig).joints()) {
        std::cout << rig.nodes()[static_cast<std::size_t>(joint.node)].name << ": "
                  << (joint.segment ? tarn::boneIDToBoneName(*joint.segment) : joint.reason)
                  << "\n";
    }

    // A studio's own names, joint by joint or as a word for both sides; or from a document.
    tarn::kit::BodyNames ours;
    ours.addJoint("LeftLeg", tarn::BoneLeftUpLeg);
    ours.addWord("Unterschenkel", "Leg");
    std::cout << ours.match(rig).matchedCount() << " of 2 with our own names\n";
}

/// Counts frames.
class Counter : public tarn::StreamNode {
public:
    Counter() {
        addIFramePort(0, [this](const FramePtr&) { ++count; });
    }
    int count = 0;
};

/// A device of the host's.
class Camera : public tarn::Device {
public:
    Camera() : Device("camera", "1") { addOFramePort(0); }
};

void links() {
    // Members of a host, in any order: links and taps undo themselves.
    auto recorder = std::make_unique<Counter>();
    auto viewer = std::make_unique<Counter>();
    auto device = std::make_unique<Camera>();
    auto character = std::make_unique<tarn::Character>("1", "Ada");
    auto scene = std::make_unique<tarn::Scene>();
    const tarn::kit::Linked inScene(*scene, *character);
    const tarn::kit::Linked ofCharacter(*character, *device);
    tarn::kit::Tap recording(*device, device->oFramePort(0), *recorder, 0);
    const tarn::kit::Tap viewing(*device, device->oFramePort(0), *viewer, 0);

    const auto frame = std::make_shared<tarn::Frame>(tarn::Time(0, 30));
    device->oFramePort(0).emit(frame);
    recording.close(); // the recording ends, the viewer goes on
    device->oFramePort(0).emit(frame);
    std::cout << recorder->count << " recorded, " << viewer->count << " viewed; ";

    scene.reset(); // any of them first
    device.reset();
    std::cout << character->devices().size() << " devices left\n";
}

void payloads() {
    // A frame that holds something else says so, in place of a bad cast that does not.
    const auto frame = std::make_shared<tarn::Frame>(tarn::Time(7, 120), 100, 36.5);
    std::cout << tarn::kit::payloadOf<double>(frame) << " degrees\n";
    try {
        tarn::kit::payloadOf<tarn::kit::Pose>(frame);
    } catch (const tarn::kit::PayloadError& error) {
        std::cout << error.what() << "\n";
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: helpers TAKE.bvh\n";
        return 2;
    }
    try {
        rotations();
        resampling();
        rates();
        units(argv[1]);
        names(argv[1]);
        links();
        payloads();
    } catch (const std::exception& error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
}
