// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/Session.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <stdexcept>

namespace tarn::capture {

namespace {

/// The name of a take's file, with a number added where another performer has it already.
std::string uniqueName(const std::string& file, std::set<std::string>& taken) {
    const std::string stem = kit::printable(std::filesystem::path(file).stem().string());
    std::string name = stem;
    for (int i = 2; !taken.insert(name).second; ++i) {
        name = fmt::format("{}-{}", stem, i);
    }
    return name;
}

} // namespace

Session::Session(const std::vector<std::string>& takes) {
    std::set<std::string> names;
    for (const std::string& file : takes) {
        const int number = static_cast<int>(performers_.size()) + 1;
        performers_.push_back(std::make_unique<Performer>(file, uniqueName(file, names), number));
        const Performer& performer = *performers_.back();
        if (performer.take().rate() != rate()) {
            throw std::runtime_error(
                fmt::format("{}: {} frames per second, but {} has {}: takes of one session share a "
                            "clock",
                            file, performer.take().rate(), takes.front(), rate()));
        }
    }
    tracks_->setFps(rate());
    for (const auto& performer : performers_) {
        tracks_->addSubTracks(performer->live(), 0);
        scene_.addCharacter(&performer->character());
    }
    tracks_->setTimeLength(frameCount());
    tracks_->setFrameCount(frameCount());
    tracks_->setWorkRange(0, std::max(frameCount() - 1, 0));
    scene_.setTracks(tracks_);
    scene_.setCurrentCharacter(&performers_.front()->character());
}

Session::~Session() {
    scene_.setTracks(nullptr);
    for (const auto& performer : performers_) {
        scene_.removeCharacter(&performer->character());
    }
}

int Session::rate() const { return performers_.front()->take().rate(); }

int Session::frameCount() const {
    int longest = 0;
    for (const auto& performer : performers_) {
        longest = std::max(longest, performer->frameCount());
    }
    return longest;
}

bool Session::calibrate(int frames, bool realtime, const Interrupt& interrupt,
                        const Advanced& advanced) {
    for (const auto& performer : performers_) {
        performer->beginCalibrate(std::max(1, std::min(frames, performer->frameCount())));
    }
    start(realtime);
    const bool complete = step(frames, interrupt, advanced);
    stop(); // before the end: a device that waits to be heard would make its calibrator wait
    for (const auto& performer : performers_) {
        complete ? performer->endCalibrate() : performer->cancelCalibrate();
    }
    return complete;
}

bool Session::play(bool realtime, const Interrupt& interrupt, const Advanced& advanced) {
    for (const auto& performer : performers_) {
        performer->beginRecord();
    }
    framesShown_ = 0;
    start(realtime);
    const bool complete = step(frameCount(), interrupt, [this, &advanced] {
        ++framesShown_;
        advanced();
    });
    stop();
    return complete;
}

void Session::start(bool realtime) {
    for (const auto& performer : performers_) {
        performer->start(realtime);
    }
}

void Session::stop() {
    for (const auto& performer : performers_) {
        performer->stop();
    }
}

bool Session::step(int frames, const Interrupt& interrupt, const Advanced& advanced) {
    for (int i = 0; i < frames; ++i) {
        for (const auto& performer : performers_) {
            if (i < performer->frameCount()) {
                performer->bring(i, interrupt);
            }
        }
        if (interrupt.isRequested()) {
            return false;
        }
        tracks_->setCurrentTime(i); // moves the takes of all characters, which announce their frame
        scene_.setSceneTime(Time(static_cast<unsigned>(i), static_cast<unsigned>(rate())));
        advanced();
    }
    return true;
}

} // namespace tarn::capture
