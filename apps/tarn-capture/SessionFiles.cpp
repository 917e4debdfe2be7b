#include "SessionFiles.h"

#include "GroupSheet.h"
#include "MotionPlot.h"
#include "OutputBuffer.h"
#include "OutputFile.h"
#include "Performance.h"
#include "Picture.h"
#include "PositionsCsv.h"
#include "SessionDocument.h"
#include "Stopwatch.h"

#include <fmt/format.h>
#include <tarn_kit/Bvh.h>

#include <ostream>
#include <stdexcept>
#include <utility>

namespace tarn::capture {

namespace {

const kit::BodyPose& bodyAt(Tracks& recording, int frame) {
    // The take keeps the frame alive.
    return recording.getFrame(frame, kit::bodyDataType)->dataAs<kit::BodyPose>();
}

/// The recording as channel values of its rig, for a motion file.
kit::BvhTake posesOf(const Take& take, const std::shared_ptr<const kit::Rig>& rig,
                     Tracks& recording) {
    auto poses = std::make_shared<Tracks>();
    poses->setFps(take.rate());
    poses->setTimeLength(recording.timeLength());
    for (int i = 0; i < recording.timeLength(); ++i) {
        const Time time(static_cast<unsigned>(i), static_cast<unsigned>(take.rate()));
        poses->setFrame(i, kit::poseDataType,
                        std::make_shared<Frame>(time, kit::poseDataType,
                                                kit::poseOf(*rig, bodyAt(recording, i))));
    }
    return {std::const_pointer_cast<kit::Rig>(rig), poses, take.frameTime(), false};
}

} // namespace

SessionFiles::SessionFiles(Session& session, std::filesystem::path directory)
    : session_(session), directory_(std::move(directory)) {
    for (const auto& performer : session_.performers()) {
        for (const auto& other : session_.performers()) {
            refuseToOverwrite(performer->file(), path(other->name() + ".bvh"), "--out");
        }
    }
    makeDirectory(directory_);
}

void SessionFiles::write(bool complete) {
    for (const auto& performer : session_.performers()) {
        const Stopwatch stopwatch(performer->statistics().writing);
        writeActor(*performer);
        const auto recording = performer->recording();
        writeCsv(*performer, *recording);
        writeBvh(*performer, *recording);
    }
    writePictures();
    writeSession(complete);
}

void SessionFiles::writeActor(Performer& performer) {
    save(performer.actor(), performer.name() + ".actor.xml");
}

void SessionFiles::writeCsv(Performer& performer, Tracks& recording) {
    const std::string name = performer.name() + ".csv";
    const Take& take = performer.take();
    OutputFile file(path(name));
    file.write(csvHeader(take.rig(), take.unit()));
    for (int i = 0; i < recording.timeLength(); ++i) {
        CsvRow row(i, take.secondsAt(i));
        for (const kit::Segment& segment : bodyAt(recording, i).segments) {
            row.add(segment.position);
        }
        file.write(row.finished());
    }
    file.commit();
    written_.push_back(name);
}

void SessionFiles::writeBvh(Performer& performer, Tracks& recording) {
    const std::string name = performer.name() + ".bvh";
    const Take& take = performer.take();
    OutputFile file(path(name));
    OutputBuffer buffer(file);
    std::ostream stream(&buffer);
    stream.exceptions(std::ios::badbit);
    kit::writeBvh(posesOf(take, take.sharedRig(), recording), stream);
    stream.flush();
    file.commit();
    written_.push_back(name);
}

void SessionFiles::writePictures() {
    std::vector<Performance> performances;
    for (const auto& performer : session_.performers()) {
        const Take& take = performer->take();
        performances.push_back(
            {performer->name(), take.sharedRig(), performer->recording(), take.unit()});
    }
    const DrawingSession drawing;
    const std::vector<std::pair<std::string, Picture>> pictures{
        {"poses", groupSheet(performances, session_.rate())},
        {"motion", motionPlot(performances, session_.rate())}};
    for (const auto& [name, picture] : pictures) {
        writeText(name + ".png", renderPng(picture));
        writeText(name + ".svg", renderSvg(picture));
    }
}

void SessionFiles::writeSession(bool complete) {
    const std::string name = "session.xml";
    auto files = written_;
    files.push_back(name);
    describeSession(session_, complete, files);
    save(session_.scene(), name);
}

void SessionFiles::save(Settings& settings, const std::string& name) {
    if (!settings.saveSettingsToFile(path(name).string())) {
        throw std::runtime_error(fmt::format("cannot write '{}': the directory does not let it be "
                                             "written, or a name in it is no XML name",
                                             path(name).string()));
    }
    written_.push_back(name);
}

void SessionFiles::writeText(const std::string& name, const std::string& text) {
    OutputFile file(path(name));
    file.write(text);
    file.commit();
    written_.push_back(name);
}

} // namespace tarn::capture
