// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/SessionFiles.h"

#include "drawing/GroupSheet.h"
#include "drawing/MotionPlot.h"
#include "drawing/Performance.h"
#include "drawing/Picture.h"
#include "session/PositionsCsv.h"
#include "session/SessionDocument.h"
#include "support/OutputPath.h"
#include "support/Stopwatch.h"

#include <fmt/format.h>
#include <tarn/OutputFile.h>
#include <tarn_kit/files/Bvh.h>

#include <exception>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace tarn::capture {

namespace {

namespace fs = std::filesystem;

const char* const sessionName = "session.xml";

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

SessionFiles::SessionFiles(Session& session, std::filesystem::path directory,
                           const std::vector<std::string>& inputs)
    : session_(session), directory_(std::move(directory)) {
    for (const std::string& input : inputs) {
        for (const std::string& name : names()) {
            refuseToOverwrite(input, path(name), "--out");
        }
    }
    makeDirectory(directory_);
    for (const std::string& name : names()) {
        std::error_code error; // where there is one, opening the file tells more
        const auto type = fs::symlink_status(path(name), error).type();
        if (error || type == fs::file_type::regular || type == fs::file_type::not_found) {
            OutputFile(path(name)); // better now than after all has been played
        }
    }
}

std::vector<std::string> SessionFiles::names() const {
    std::vector<std::string> names{"poses.png", "poses.svg", "motion.png", "motion.svg",
                                   sessionName};
    for (const auto& performer : session_.performers()) {
        for (const char* const ending : {".actor.xml", ".csv", ".bvh"}) {
            names.push_back(performer->name() + ending);
        }
    }
    return names;
}

std::vector<std::string> SessionFiles::write(bool complete, bool paced) {
    // An older session's must not speak for this one, whatever happens next.
    std::error_code ignored;
    if (fs::is_regular_file(fs::symlink_status(path(sessionName), ignored))) {
        fs::remove(path(sessionName), ignored);
    }
    for (const auto& performer : session_.performers()) {
        const Stopwatch stopwatch(performer->statistics().writing);
        const auto recording = performer->recording();
        const std::string name = performer->name();
        attempt(name + ".actor.xml", [&] { writeActor(*performer); });
        attempt(name + ".csv", [&] { writeCsv(*performer, *recording); });
        attempt(name + ".bvh", [&] { writeBvh(*performer, *recording); });
    }
    writePictures();
    const bool isWhole = complete && problems_.empty();
    attempt(sessionName, [&] { writeSession(isWhole, paced); });
    return problems_;
}

void SessionFiles::attempt(const std::string& name, const std::function<void()>& write) {
    try {
        write();
        written_.push_back(name);
    } catch (const std::runtime_error& error) {
        problems_.emplace_back(error.what()); // says which file
    } catch (const std::exception& error) {
        problems_.push_back(
            fmt::format("cannot write '{}': {}", path(name).string(), error.what()));
    }
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
}

void SessionFiles::writeBvh(Performer& performer, Tracks& recording) {
    const std::string name = performer.name() + ".bvh";
    const Take& take = performer.take();
    OutputFile file(path(name));
    kit::writeBvh(posesOf(take, take.sharedRig(), recording), file.stream());
    file.commit();
}

void SessionFiles::writePictures() {
    const Stopwatch stopwatch(drawing_);
    std::vector<Performance> performances;
    for (const auto& performer : session_.performers()) {
        const Take& take = performer->take();
        performances.push_back(
            {performer->name(), take.sharedRig(), performer->recording(), take.unit()});
    }
    const DrawingSession drawing;
    const int rate = session_.rate();
    writePicture("poses", [&] { return groupSheet(performances, rate); });
    writePicture("motion", [&] { return motionPlot(performances, rate); });
}

void SessionFiles::writePicture(const std::string& name, const std::function<Picture()>& picture) {
    const Picture drawn = picture();
    attempt(name + ".png", [&] { writeText(name + ".png", renderPng(drawn)); });
    attempt(name + ".svg", [&] { writeText(name + ".svg", renderSvg(drawn)); });
}

void SessionFiles::writeSession(bool complete, bool paced) {
    auto files = written_;
    files.emplace_back(sessionName);
    describeSession(session_, {complete, paced}, files);
    save(session_.scene(), sessionName);
}

void SessionFiles::save(Settings& settings, const std::string& name) {
    std::string document;
    if (!settings.saveSettingsToString(document)) {
        throw std::runtime_error(
            fmt::format("cannot write '{}': it holds a name or a text that XML cannot carry",
                        path(name).string()));
    }
    writeText(name, document);
}

void SessionFiles::writeText(const std::string& name, const std::string& text) {
    OutputFile file(path(name));
    file.write(text);
    file.commit();
}

} // namespace tarn::capture
