// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/SessionFiles.h"

#include "documents/OlderSession.h"
#include "documents/SessionDocument.h"
#include "export/MotionCsv.h"
#include "support/OutputPath.h"

#include <fmt/format.h>
#include <tarn/OutputFile.h>
#include <tarn_draw/canvas/Picture.h>
#include <tarn_draw/sheet/DrawFiles.h>
#include <tarn_draw/sheet/MotionPlot.h>
#include <tarn_draw/sheet/PoseSheet.h>
#include <tarn_kit/files/Bvh.h>
#include <tarn_kit/session/Stopwatch.h>
#include <tarn_kit/session/TakeOf.h>

#include <exception>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace tarn::capture {

namespace {

namespace fs = std::filesystem;

/// The body that was solved of a frame; null where the frame was lost.
const kit::BodyPose* bodyAt(Tracks& recording, int frame) {
    const auto solved = recording.getFrame(frame, kit::bodyDataType);
    return solved == nullptr ? nullptr : &solved->dataAs<kit::BodyPose>(); // the take keeps it
}

/// A line of the table; its cells are empty where the frame was lost.
std::string lineOf(const TakePerformer& take, const kit::BodyPose* body, int frame) {
    const auto number = static_cast<int>(take.numberOf(frame));
    if (body == nullptr) {
        return csvLineWithoutPositions(*take.rig(), number, take.secondsAt(frame));
    }
    MotionSample sample;
    for (const kit::Segment& segment : body->segments) {
        sample.positions.push_back(segment.position);
    }
    return csvLine(*take.rig(), number, take.secondsAt(frame), sample);
}

} // namespace

std::vector<SessionPicture> sessionPictures() {
    const auto poses = [](const std::vector<draw::Subject>& subjects) {
        return std::vector{draw::poseSheet(subjects)};
    };
    return {{"poses", [](std::size_t) { return std::size_t{1}; }, poses},
            {"motion", draw::motionPlotCount, draw::motionPlots}};
}

SessionFiles::SessionFiles(TakeSession& session, std::filesystem::path directory,
                           const std::vector<std::string>& inputs,
                           std::vector<SessionPicture> pictures)
    : session_(session), directory_(std::move(directory)), pictures_(std::move(pictures)),
      older_(filesOfSession(directory_)) {
    auto lost = names();
    lost.insert(lost.end(), older_.begin(), older_.end());
    for (const std::string& input : inputs) {
        for (const std::string& name : lost) {
            refuseToOverwrite(input, path(name), "--out");
        }
    }
    const std::string reason = draw::whyNotDrawn(subjects());
    if (!reason.empty()) {
        throw std::runtime_error(reason);
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
    std::vector<std::string> names;
    for (const SessionPicture& picture : pictures_) {
        for (std::size_t i = 0; i < picture.pageCount(session_.performers().size()); ++i) {
            names.push_back(draw::pageFile(picture.name + ".png", i));
            names.push_back(draw::pageFile(picture.name + ".svg", i));
        }
    }
    names.emplace_back(sessionFileName);
    for (const auto& performer : session_.performers()) {
        for (const char* const ending : {".actor.xml", ".csv", ".bvh"}) {
            names.push_back(performer->name() + ending);
        }
        for (const PerformerFile& file : performer->files()) {
            names.push_back(performer->name() + file.ending);
        }
    }
    return names;
}

std::vector<std::string> SessionFiles::write(bool complete, bool paced) {
    if (!beginSession(paced)) {
        return problems_;
    }
    for (const auto& performer : session_.performers()) {
        const kit::Stopwatch stopwatch(performer->writing());
        const auto recording = performer->recording();
        const std::string name = performer->name();
        attempt(name + ".actor.xml", [&] { writeActor(*performer); });
        attempt(name + ".csv", [&] { writeCsv(*performer, *recording); });
        attempt(name + ".bvh", [&] { writeBvh(*performer); });
        for (const PerformerFile& file : performer->files()) {
            attempt(name + file.ending, [&] { file.write(path(name + file.ending)); });
        }
    }
    writePictures();
    const bool isWhole = complete && problems_.empty();
    attempt(sessionFileName, [&] {
        auto files = written_;
        files.emplace_back(sessionFileName);
        writeSession(isWhole, paced, files);
    });
    return problems_;
}

/// What an older session left goes, once there is a document that speaks for this one. False, with
/// everything as it was, if there cannot be one.
bool SessionFiles::beginSession(bool paced) {
    auto files = names();
    files.insert(files.end(), older_.begin(), older_.end());
    attempt(sessionFileName, [&] { writeSession(false, paced, files); });
    if (!problems_.empty()) {
        return false;
    }
    written_.clear(); // it is yet to get its final text
    for (const std::string& name : older_) {
        std::error_code ignored; // one that is gone already is no loss
        if (name != sessionFileName) {
            fs::remove(path(name), ignored);
        }
    }
    return true;
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

void SessionFiles::writeActor(TakePerformer& performer) {
    save(performer.actor(), performer.name() + ".actor.xml");
}

void SessionFiles::writeCsv(TakePerformer& performer, Tracks& recording) {
    const std::string name = performer.name() + ".csv";
    OutputFile file(path(name));
    file.write(csvHeader(*performer.rig(), {true}));
    for (int i = 0; i < recording.timeLength(); ++i) {
        file.write(lineOf(performer, bodyAt(recording, i), i));
    }
    file.commit();
}

void SessionFiles::writeBvh(TakePerformer& performer) {
    const std::string name = performer.name() + ".bvh";
    OutputFile file(path(name));
    const auto rig = std::const_pointer_cast<kit::Rig>(performer.rig());
    kit::writeBvh(kit::bvhTakeOf(rig, performer.recording(), performer.exactRate()), file.stream());
    file.commit();
}

std::vector<draw::Subject> SessionFiles::subjects() const {
    std::vector<draw::Subject> subjects;
    for (const auto& performer : session_.performers()) {
        subjects.push_back({performer->name(), performer->rig(), performer->recording(),
                            performer->space().unit, performer->space().up,
                            performer->exactRate()});
    }
    return subjects;
}

void SessionFiles::writePictures() {
    const kit::Stopwatch stopwatch(drawing_);
    const draw::ScopedFonts fonts;
    for (const SessionPicture& picture : pictures_) {
        writePicture(picture);
    }
}

void SessionFiles::writePicture(const SessionPicture& picture) {
    std::vector<draw::Picture> pages;
    const auto page = [&](std::size_t i) -> const draw::Picture& {
        if (pages.empty()) {
            pages = picture.pagesOf(subjects()); // fails where it is to be written
        }
        return pages.at(i);
    };
    for (std::size_t i = 0; i < picture.pageCount(session_.performers().size()); ++i) {
        const std::string png = draw::pageFile(picture.name + ".png", i);
        const std::string svg = draw::pageFile(picture.name + ".svg", i);
        attempt(png, [&] { writeText(png, draw::renderPng(page(i))); });
        attempt(svg, [&] { writeText(svg, draw::renderSvg(page(i))); });
    }
}

void SessionFiles::writeSession(bool complete, bool paced, const std::vector<std::string>& files) {
    describeSession(session_, {complete, paced}, directory_, files);
    save(session_.scene(), sessionFileName);
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
