// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// The host that docs/first_day.md explains: a suit and a force plate of one's own, each on a thread
// and at a rate of its own, with payloads and a solver of one's own; recorded side by side, put on
// one axis of time, saved, loaded again, drawn and written as a motion file.
//
// usage: first_day DIRECTORY [RATE]   RATE of the suit, such as 29.97; if not given, 120
#include <tarn/OutputFile.h>
#include <tarn/tarn.h>
#include <tarn_draw/tarn_draw.h>
#include <tarn_kit/tarn_kit.h>

#include <any>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <exception>
#include <functional>
#include <iostream>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace tarn;

namespace {

using FramePtr = std::shared_ptr<Frame>;

// What our devices measure. Any type is a payload; its data type is a number of ours.
struct SuitReading {
    double lean; ///< of the body, in radians
};
struct Force {
    double newtons;
};
constexpr int suitType = 200;
constexpr int forceType = 201;

/// A device that streams from a thread of its own, from "start" to its last frame or to "stop".
class Streamer : public Device {
public:
    static constexpr int port = 0;
    using MakeFrame = std::function<FramePtr(int index)>; ///< in place of the hardware

    Streamer(const std::string& type, int count, MakeFrame makeFrame)
        : Device(type, "1"), count_(count), makeFrame_(std::move(makeFrame)) {
        addOFramePort(port); // before there is a thread
        setState(Ready);
    }
    ~Streamer() override { halt(); } // the thread ends before what it uses

protected:
    void doRequest(std::shared_ptr<Request> request, std::shared_ptr<Reply> reply) override {
        if (request->id() == "start") {
            halt();
            stopped_ = false;
            setState(Busy);
            thread_ = std::thread([this] { stream(); });
        } else if (request->id() == "stop") {
            halt();
        } else {
            Device::doRequest(request, reply); // finishes it as unknown
            return;
        }
        reply->setResultCode(0);
        reply->finished();
    }

private:
    void stream() {
        for (int i = 0; i < count_ && !stopped_; ++i) {
            oFramePort(port).emit(makeFrame_(i));
        }
        setState(Ready); // by which a host knows that nothing more comes
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

/// The body that we solve, in centimetres: joints by their offsets from their parents.
std::shared_ptr<kit::Rig> leaningRig() {
    using kit::Channel;
    const std::vector<Channel> turns = {Channel::Zrotation, Channel::Xrotation, Channel::Yrotation};
    auto rig = std::make_shared<kit::Rig>();
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
    kit::Space space;
    space.unit = *kit::lengthUnitNamed("cm");
    space.unitOrigin = kit::Origin::Stated;
    space.upOrigin = kit::Origin::Stated;
    rig->setSpace(space);
    return rig;
}

/// Turns what the suit says into where the body is.
class LeanSolver : public Solver {
public:
    explicit LeanSolver(std::shared_ptr<const kit::Rig> rig)
        : Solver("lean", "1"), rig_(std::move(rig)) {}

protected:
    using Solver::doEvaluate; // the other form, over a take, is left as it is
    bool doEvaluate() override {
        const auto readings = getInput(suitType);
        if (readings == nullptr) {
            return false;
        }
        for (int i = 0; i < readings->frameCount(); ++i) {
            const FramePtr frame = readings->getFrame(i);
            const double lean = kit::payloadOf<SuitReading>(frame).lean;
            addOutput(std::make_shared<Frame>(frame->time(), kit::bodyDataType, bodyAt(lean)));
        }
        return true; // the performer clears what is done with
    }

private:
    kit::BodyPose bodyAt(double lean) const {
        std::vector<kit::Quaterniond> turns; // of each node, relative to its parent
        for (const kit::RigNode& node : rig_->nodes()) {
            const bool leans = node.name == "Spine" || node.name == "Head";
            turns.push_back(kit::fromAxisAngle({1, 0, 0}, leans ? lean / 2 : 0));
        }
        return kit::worldPose(*rig_, turns);
    }

    std::shared_ptr<const kit::Rig> rig_;
};

/// Both recordings at the moments of the suit's frames; forces are interpolated.
kit::ResampledTake align(const kit::ResampleSource& suit, const kit::ResampleSource& plate) {
    kit::ResampleOptions options;
    options.axis = suit.rate;
    options.filling = kit::Filling::Interpolate;
    options.interpolations[forceType] = [](const Frame& before, const Frame& after,
                                           double fraction) {
        const double from = before.dataAs<Force>().newtons;
        return std::any(Force{from + fraction * (after.dataAs<Force>().newtons - from)});
    };
    return kit::resample({suit, plate}, options);
}

/// A picture of our own: how the force went.
void drawForce(Tracks& plate, const kit::Rate& rate, const std::string& file) {
    const int frames = plate.timeLength();
    std::vector<draw::Curve> curves(1);
    curves[0].style = {draw::Colour{0.8, 0.2, 0.1}, 2, draw::CurveSign::none};
    draw::ValueRange range;
    for (int i = 0; i < frames; ++i) {
        const FramePtr frame = plate.getFrame(i, forceType);
        curves[0].values.push_back(frame == nullptr ? std::numeric_limits<double>::quiet_NaN()
                                                    : kit::payloadOf<Force>(frame).newtons);
        range.include(curves[0].values.back());
    }
    const draw::CurvePanel panel(curves, range.widened(), frames, rate.value());
    const auto paint = [&panel](draw::Canvas& canvas) {
        const draw::Box plot{140, 110, 720, 260}; // left, top, width, height
        panel.draw(canvas, plot, "force [N]");
        panel.drawTimes(canvas, plot);
    };
    draw::savePicture({900, 460, "Force plate", "", paint}, file);
}

void firstDay(const std::string& directory, const kit::Rate& suitRate) {
    const kit::Rate plateRate(50);
    const int suitFrames = 5 * suitRate.fps(); // five seconds
    const int plateFrames = 5 * plateRate.fps();

    // The devices.
    Streamer suit("suit", suitFrames, [&suitRate](int index) {
        const SuitReading reading{0.5 * std::sin(suitRate.at(index).seconds())};
        return std::make_shared<Frame>(suitRate.time(index), suitType, reading);
    });
    Streamer plate("plate", plateFrames, [&plateRate](int index) {
        const Force force{700 + 100 * plateRate.at(index).seconds()};
        return std::make_shared<Frame>(plateRate.time(index), forceType, force);
    });

    // The session has the performer, at the rate of the suit.
    const auto rig = leaningRig();
    LeanSolver solver(rig);
    kit::Session session;
    kit::PerformerSetup setup;
    setup.name = "Ada";
    setup.device = &suit;
    setup.port = Streamer::port;
    setup.inputType = suitType;
    setup.solver = &solver;
    setup.rate = suitRate.fps();
    setup.exactRate = suitRate;
    setup.space = rig->space();
    setup.frameCount = suitFrames;
    kit::Performer& ada = session.addPerformer(setup);

    // A device of another rate is recorded beside it.
    kit::RecorderNode forces(forceType, plateFrames);
    const kit::Tap tap(plate, plate.oFramePort(Streamer::port), forces,
                       kit::RecorderNode::framePort);
    kit::command(plate, "start");
    session.play(); // until the suit has sent all its frames
    while (plate.isBusy()) {
        std::this_thread::yield();
    }
    kit::command(plate, "stop"); // its thread has ended when it answers
    std::cout << ada.statistics().framesOut << " of " << suitFrames << " frames at "
              << session.exactRate()->text() << ", " << spaceText(session.space()) << "; "
              << forces.frameCount() << " forces at " << plateRate.text() << "\n";

    // Both on one axis of time.
    const auto plateTake = forces.take(0, plateFrames);
    const kit::ResampledTake both =
        align({ada.recording(), suitRate, {}}, {plateTake, plateRate, {}});
    const FramePtr force = both.tracks->subTracks(1)->getFrame(130, forceType);
    std::cout << "frame 130 is at " << kit::microsecondsOf(both.moments[130])
              << " us: " << kit::payloadOf<Force>(force).newtons << " N\n";

    // Saved: the actor as a settings document, the motion as a file of exactly its rate.
    ada.actor().setBodyDimension("Height", rig->height());
    kit::stateUnitOfDimensions(ada.actor(), rig->space().unit);
    if (!ada.actor().saveSettingsToFile(directory + "/ada.xml")) {
        throw std::runtime_error("cannot save the actor in " + directory);
    }
    OutputFile motion(directory + "/ada.bvh");
    kit::writeBvh(kit::bvhTakeOf(rig, ada.recording(), suitRate), motion.stream());
    motion.commit(); // all of it or nothing

    // Loaded again.
    Actor loaded;
    if (!loaded.loadSettingsFromFile(directory + "/ada.xml")) {
        throw std::runtime_error("cannot load " + directory + "/ada.xml");
    }
    const kit::BvhTake take = kit::readBvh(directory + "/ada.bvh");
    std::cout << loaded.actorName() << " is " << loaded.bodyDimension("Height", 0) << " "
              << kit::unitOfDimensions(loaded)->symbol << " high and moves for "
              << take.tracks->timeLength() << " frames at " << take.exactRate().text() << "\n";

    // Drawn: the body, and what else was measured.
    const draw::ScopedFonts fonts; // what drawing keeps for the next picture goes at the end
    draw::Subject subject = draw::subjectOf("Ada", rig, ada.recording());
    subject.rate = suitRate;
    draw::drawPoses({subject}, directory + "/ada.svg");
    draw::drawMotion({subject}, directory + "/motion.svg");
    drawForce(*plateTake, plateRate, directory + "/force.svg");
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2 && argc != 3) {
        std::cerr << "usage: first_day DIRECTORY [RATE]\n";
        return 2;
    }
    try {
        const auto rate = kit::Rate::parse(argc == 3 ? argv[2] : "120");
        if (!rate) {
            throw std::invalid_argument("not a rate: " + std::string(argv[2]));
        }
        firstDay(argv[1], *rate);
    } catch (const std::exception& error) { // what a device, a setup or a file has to say
        std::cerr << error.what() << "\n";
        return 1;
    }
}
