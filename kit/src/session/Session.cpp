// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/session/Session.h>

#include <tarn_kit/devices/Command.h>

#include <algorithm>
#include <stdexcept>
#include <string>

namespace tarn::kit {

struct Session::PrivateData {
    /// Streams all, shows up to so many frames and stops all. False if a stop was requested.
    bool stream(int frames, const StopRequested& stopRequested, const Advanced& advanced);
    void start();
    void stop();
    void stopQuietly();
    bool show(int frames, const StopRequested& stopRequested, const Advanced& advanced);
    /// Whether anybody may still show something from an index on.
    bool goesOn(int index) const;
    void fitTake();
    void cancelCalibrate();

    Scene scene;
    std::shared_ptr<Tracks> take = std::make_shared<Tracks>(); ///< nests those of the performers
    std::vector<std::unique_ptr<Performer>> performers;
    int framesShown = 0;
};

Session::Session() : d_(std::make_unique<PrivateData>()) { d_->scene.setTracks(d_->take); }

Session::~Session() {
    d_->scene.setTracks(nullptr);
    for (const auto& performer : d_->performers) {
        d_->scene.removeCharacter(&performer->character());
    }
}

Performer& Session::addPerformer(const PerformerSetup& setup) {
    auto added = std::make_unique<Performer>(std::to_string(d_->performers.size() + 1), setup);
    if (!d_->performers.empty() && added->exactRate() != *exactRate()) {
        throw std::invalid_argument(added->exactRate().text() + " frames per second, but '" +
                                    d_->performers.front()->setup().name + "' has " +
                                    exactRate()->text() +
                                    ": performers of one session share a clock");
    }
    if (setup.space && areContrary(*setup.space, space())) {
        throw std::invalid_argument(spaceText(*setup.space) + ", but the others are in " +
                                    spaceText(space()) +
                                    ": performers of one session share a space");
    }
    d_->performers.push_back(std::move(added));
    Performer& performer = *d_->performers.back();
    d_->take->addSubTracks(performer.live(), 0);
    d_->fitTake();
    d_->scene.addCharacter(&performer.character());
    if (d_->performers.size() == 1) {
        d_->scene.setCurrentCharacter(&performer.character());
    }
    return performer;
}

Scene& Session::scene() { return d_->scene; }

const std::vector<std::unique_ptr<Performer>>& Session::performers() const {
    return d_->performers;
}

int Session::rate() const {
    return d_->performers.empty() ? 0 : d_->performers.front()->setup().rate;
}

std::optional<Rate> Session::exactRate() const {
    return d_->performers.empty() ? std::nullopt
                                  : std::optional(d_->performers.front()->exactRate());
}

Space Session::space() const {
    for (const auto& performer : d_->performers) {
        if (performer->setup().space) {
            return *performer->setup().space;
        }
    }
    return {};
}

int Session::frameCount() const { return d_->take->timeLength(); }

int Session::framesShown() const { return d_->framesShown; }

bool Session::calibrate(int frames, const StopRequested& stopRequested, const Advanced& advanced) {
    for (const auto& performer : d_->performers) {
        if (performer->character().solver() == nullptr) {
            performer->beginCalibrate(); // says what is missing
        }
    }
    for (const auto& performer : d_->performers) {
        performer->beginCalibrate();
    }
    bool complete = false;
    try {
        // Over before the calibration ends: a device that waits to be heard would make its
        // calibrator wait.
        complete = d_->stream(std::min(frames, frameCount()), stopRequested, advanced);
    } catch (...) {
        d_->cancelCalibrate();
        throw;
    }
    if (!complete) {
        d_->cancelCalibrate();
        return false;
    }
    for (const auto& performer : d_->performers) {
        performer->endCalibrate();
    }
    return true;
}

bool Session::play(const StopRequested& stopRequested, const Advanced& advanced) {
    d_->framesShown = 0;
    for (const auto& performer : d_->performers) {
        performer->beginRecord();
    }
    const auto endRecord = [this] {
        for (const auto& performer : d_->performers) {
            performer->endRecord();
        }
    };
    try {
        const bool complete = d_->stream(frameCount(), stopRequested, [this, &advanced] {
            ++d_->framesShown;
            if (advanced) {
                advanced();
            }
        });
        endRecord();
        return complete;
    } catch (...) {
        endRecord();
        throw;
    }
}

bool Session::PrivateData::stream(int frames, const StopRequested& stopRequested,
                                  const Advanced& advanced) {
    try {
        start();
        const bool complete = show(frames, stopRequested, advanced);
        stop();
        return complete;
    } catch (...) {
        stopQuietly();
        throw;
    }
}

void Session::PrivateData::start() {
    for (const auto& performer : performers) {
        performer->start();
    }
}

void Session::PrivateData::stop() {
    for (const auto& performer : performers) {
        performer->stop();
    }
}

/// For when there is a worse failure to be told of.
void Session::PrivateData::stopQuietly() {
    for (const auto& performer : performers) {
        try {
            performer->stop();
        } catch (const CommandError&) { // NOLINT(bugprone-empty-catch)
        }
    }
}

bool Session::PrivateData::show(int frames, const StopRequested& stopRequested,
                                const Advanced& advanced) {
    for (int i = 0; i < frames; ++i) {
        for (const auto& performer : performers) {
            performer->bring(i, stopRequested);
        }
        if (stopRequested && stopRequested()) {
            return false;
        }
        if (!goesOn(i)) {
            return true;
        }
        take->setCurrentTime(i); // moves the takes of all characters, which announce their frame
        scene.setSceneTime(Time(static_cast<unsigned>(i), static_cast<unsigned>(take->fps())));
        if (advanced) {
            advanced();
        }
    }
    return true;
}

bool Session::PrivateData::goesOn(int index) const {
    return std::any_of(performers.begin(), performers.end(), [index](const auto& performer) {
        const PerformerSetup& setup = performer->setup();
        return index < setup.frameCount &&
               (!performer->hasEnded() ||
                performer->live()->getFrame(index, setup.inputType) != nullptr);
    });
}

void Session::PrivateData::fitTake() {
    int longest = 0;
    for (const auto& performer : performers) {
        longest = std::max(longest, performer->setup().frameCount);
    }
    take->setFps(performers.front()->setup().rate);
    take->setTimeLength(longest);
    take->setFrameCount(longest);
    take->setWorkRange(0, std::max(longest - 1, 0));
}

void Session::PrivateData::cancelCalibrate() {
    for (const auto& performer : performers) {
        performer->cancelCalibrate();
    }
}

} // namespace tarn::kit
