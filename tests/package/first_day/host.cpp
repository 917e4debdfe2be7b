// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// The host of somebody's first day: a suit and a force plate of their own, each on a thread of its
// own and at a rate of its own, a payload and a solver of their own; calibrated, recorded, saved,
// reloaded, put on one axis of time, drawn and written as a motion file.
//
// usage: host DIRECTORY
#include <tarn/tarn.h>
#include <tarn_draw/tarn_draw.h>
#include <tarn_kit/tarn_kit.h>

#include <any>
#include <atomic>
#include <cmath>
#include <exception>
#include <fstream>
#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using FramePtr = std::shared_ptr<tarn::Frame>;

// Payloads of our own: any type will do.
struct SuitReading {
    double lean; ///< of the body, in radians
};
struct Force {
    double newtons;
};
constexpr int suitType = 200;
constexpr int forceType = 201;

const tarn::kit::Rate suitRate(30000, 1001);
const tarn::kit::Rate plateRate(50);
constexpr int suitFrames = 150; // some five seconds
constexpr int plateFrames = 250;

/// Hardware that streams from a thread of its own once it is told to.
class Streamer : public tarn::Device {
public:
    using MakeFrame = std::function<FramePtr(int index)>;

    Streamer(const std::string& type, int count, MakeFrame makeFrame)
        : Device(type, "1"), count_(count), makeFrame_(std::move(makeFrame)) {
        addOFramePort(0);
        setState(Ready);
    }
    ~Streamer() override { halt(); }

protected:
    void doRequest(std::shared_ptr<tarn::Request> request,
                   std::shared_ptr<tarn::Reply> reply) override {
        if (request->id() == "start" || request->id() == "stop") {
            halt();
            reply->setResultCode(0);
            if (request->id() == "start") {
                stopped_ = false;
                setState(Busy);
                thread_ = std::thread([this] { stream(); });
            }
            reply->finished();
            return;
        }
        Device::doRequest(request, reply);
    }

private:
    void stream() {
        for (int i = 0; i < count_ && !stopped_; ++i) {
            oFramePort(0).emit(makeFrame_(i));
        }
        setState(Ready);
    }
    void halt() {
        stopped_ = true;
        if (thread_.joinable()) {
            thread_.join();
        }
    }

    const int count_;
    const MakeFrame makeFrame_;
    std::atomic<bool> stopped_{false};
    std::thread thread_;
};

FramePtr suitFrame(int index) {
    const double seconds = suitRate.at(index).seconds();
    return std::make_shared<tarn::Frame>(suitRate.time(index), suitType,
                                         SuitReading{0.5 * std::sin(seconds)});
}

FramePtr plateFrame(int index) {
    return std::make_shared<tarn::Frame>(plateRate.time(index), forceType,
                                         Force{700 + 100 * plateRate.at(index).seconds()});
}

/// A body that leans from its hips, in centimetres.
std::shared_ptr<tarn::kit::Rig> leaningRig() {
    using tarn::kit::Channel;
    auto rig = std::make_shared<tarn::kit::Rig>();
    const std::vector<Channel> turns = {Channel::Zrotation, Channel::Xrotation, Channel::Yrotation};
    const int hips = rig->addJoint("Hips", -1, {0, 95, 0}, turns);
    const int spine = rig->addJoint("Spine", hips, {0, 15, 0}, turns);
    const int head = rig->addJoint("Head", spine, {0, 45, 0}, turns);
    rig->addEndSite(head, {0, 20, 0});
    for (const std::string side : {"Left", "Right"}) {
        const float x = side == "Left" ? 10.0F : -10.0F;
        const int thigh = rig->addJoint(side + "UpLeg", hips, {x, 0, 0}, turns);
        const int shank = rig->addJoint(side + "Leg", thigh, {0, -45, 0}, turns);
        rig->addJoint(side + "Foot", shank, {0, -45, 0}, turns);
    }
    tarn::kit::Space space;
    space.unit = *tarn::kit::lengthUnitNamed("cm");
    space.unitOrigin = tarn::kit::Origin::Stated;
    space.upOrigin = tarn::kit::Origin::Stated;
    rig->setSpace(space);
    return rig;
}

/// Turns what the suit says into where the body is.
class LeanSolver : public tarn::Solver {
public:
    explicit LeanSolver(std::shared_ptr<const tarn::kit::Rig> rig)
        : Solver("lean", "1"), rig_(std::move(rig)) {}

protected:
    using Solver::doEvaluate;
    bool doEvaluate() override {
        const auto readings = getInput(suitType);
        for (int i = 0; readings != nullptr && i < readings->frameCount(); ++i) {
            const FramePtr frame = readings->getFrame(i);
            addOutput(std::make_shared<tarn::Frame>(
                frame->time(), tarn::kit::bodyDataType,
                bodyOf(tarn::kit::payloadOf<SuitReading>(frame).lean)));
        }
        return readings != nullptr; // the performer clears what is done with
    }

private:
    tarn::kit::BodyPose bodyOf(double lean) const {
        using namespace tarn::kit; // for vectors and rotations in double precision
        BodyPose body;
        for (const RigNode& node : rig_->nodes()) {
            const bool leans = node.name == "Spine" || node.name == "Head";
            const auto own = fromAxisAngle({1, 0, 0}, leans ? lean / 2 : 0);
            Vector3d at = toDouble(node.offset);
            Quaterniond turn = own;
            if (node.parent >= 0) {
                const auto& parent = body.segments[static_cast<std::size_t>(node.parent)];
                at = toDouble(parent.position) + toDouble(parent.rotation) * at;
                turn = toDouble(parent.rotation) * turn;
            }
            body.segments.push_back({toSingle(at), toSingle(turn)});
        }
        return body;
    }

    std::shared_ptr<const tarn::kit::Rig> rig_;
};

/// What the force plate sends while it is told to.
std::shared_ptr<tarn::Tracks> recordPlate(Streamer& plate) {
    tarn::kit::RecorderNode recorder(forceType, plateFrames);
    const tarn::kit::Tap tap(plate, plate.oFramePort(0), recorder,
                             tarn::kit::RecorderNode::framePort);
    tarn::kit::command(plate, "start");
    while (plate.isBusy()) {
        std::this_thread::yield();
    }
    tarn::kit::command(plate, "stop"); // its thread has ended when it answers
    return recorder.take(0, plateFrames);
}

/// Both recordings on the axis of the suit.
void align(const std::shared_ptr<tarn::Tracks>& suit, const std::shared_ptr<tarn::Tracks>& plate) {
    tarn::kit::ResampleOptions options;
    options.axis = suitRate;
    options.filling = tarn::kit::Filling::Interpolate;
    options.interpolations[forceType] = [](const tarn::Frame& before, const tarn::Frame& after,
                                           double fraction) {
        const double from = before.dataAs<Force>().newtons;
        return std::any(Force{from + fraction * (after.dataAs<Force>().newtons - from)});
    };
    const auto both = tarn::kit::resample({{suit, suitRate, {}}, {plate, plateRate, {}}}, options);
    const FramePtr force = both.tracks->subTracks(1)->getFrame(120, forceType);
    std::cout << "frame 120 is at " << tarn::kit::microsecondsOf(both.moments[120])
              << " us: " << tarn::kit::payloadOf<Force>(force).newtons << " N\n";
}

/// The recording as a motion file of exactly its rate.
void writeMotion(const std::shared_ptr<tarn::kit::Rig>& rig, tarn::Tracks& recording,
                 const std::string& file) {
    std::vector<FramePtr> poses;
    for (int i = 0; i < recording.timeLength(); ++i) {
        const FramePtr body = recording.getFrame(i, tarn::kit::bodyDataType);
        poses.push_back(std::make_shared<tarn::Frame>(
            body->time(), tarn::kit::poseDataType,
            poseOf(*rig, tarn::kit::payloadOf<tarn::kit::BodyPose>(body))));
    }
    tarn::kit::BvhTake take;
    take.rig = rig;
    take.tracks = tarn::kit::takeOf(tarn::kit::poseDataType, std::move(poses), suitRate.fps());
    take.frameTime = suitRate.frameTime();
    std::ofstream stream(file, std::ios::binary);
    tarn::kit::writeBvh(take, stream);
}

void firstDay(const std::string& directory) {
    Streamer suit("suit", suitFrames, suitFrame);
    Streamer plate("plate", plateFrames, plateFrame);
    const auto rig = leaningRig();
    LeanSolver solver(rig);

    tarn::kit::Session session;
    tarn::kit::PerformerSetup setup;
    setup.name = "Ada";
    setup.device = &suit;
    setup.port = 0;
    setup.inputType = suitType;
    setup.solver = &solver;
    setup.rate = suitRate.fps();
    setup.exactRate = suitRate;
    setup.space = rig->space();
    setup.frameCount = suitFrames;
    tarn::kit::Performer& ada = session.addPerformer(setup);
    session.play();
    std::cout << ada.statistics().framesOut << " of " << suitFrames << " frames at "
              << session.exactRate()->text() << ", " << spaceText(session.space()) << "\n";

    align(ada.recording(), recordPlate(plate));

    // Save, and reload.
    ada.actor().setBodyDimension("Height", rig->height());
    tarn::kit::stateUnitOfDimensions(ada.actor(), rig->space().unit);
    if (!ada.actor().saveSettingsToFile(directory + "/ada.xml")) {
        throw std::runtime_error("cannot save the actor");
    }
    tarn::Actor loaded;
    loaded.loadSettingsFromFile(directory + "/ada.xml");
    std::cout << loaded.actorName() << " is " << loaded.bodyDimension("Height", 0) << " "
              << tarn::kit::unitOfDimensions(loaded)->symbol << " high\n";

    // Draw, and export.
    tarn::draw::Subject subject = tarn::draw::subjectOf("Ada", rig, ada.recording());
    subject.rate = suitRate;
    const tarn::draw::ScopedFonts fonts;
    tarn::draw::drawPoses({subject}, directory + "/ada.svg");
    writeMotion(rig, *ada.recording(), directory + "/ada.bvh");
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: host DIRECTORY\n";
        return 2;
    }
    try {
        firstDay(argv[1]);
    } catch (const std::exception& error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
}
