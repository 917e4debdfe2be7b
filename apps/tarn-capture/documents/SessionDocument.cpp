// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "documents/SessionDocument.h"

#include "support/OutputPath.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

#include <memory>

namespace tarn::capture {

namespace fs = std::filesystem;

namespace {

void put(Settings& settings, const std::string& key, int value) {
    settings.setValue(key, std::to_string(value));
}

void put(Settings& settings, const std::string& key, double value) {
    settings.setValue(key, fmt::format("{:.6f}", value));
}

std::shared_ptr<Settings> statusOf(Solver& solver) {
    auto status = std::make_shared<Settings>();
    solver.saveStatus(status.get());
    return status;
}

void describeClock(Settings& character, const kit::ClockCalibrator& clock, bool paced) {
    const kit::StreamQuality quality = clock.quality();
    if (quality.frames == 0) {
        return;
    }
    put(character, "Clock.Missing", static_cast<int>(quality.missing));
    if (!paced) {
        return;
    }
    put(character, "Clock.StatedRate", quality.statedRate);
    put(character, "Clock.MeasuredRate", quality.measuredRate);
    put(character, "Clock.Jitter", quality.jitter);
    character.setValue("Clock.Trusted", clock.isTrusted() ? "yes" : "no");
}

/// A list: names of joints need not be names of elements.
void describeDimensions(Settings& character, const BodyLengths& known) {
    int number = 0;
    for (const kit::MeasuredLength& length : known.lengths) {
        const auto entry = std::make_shared<Settings>();
        entry->setValue("Name", kit::printable(length.name));
        put(*entry, "Mean", length.mean);
        if (!known.areFitted) {
            put(*entry, "Spread", length.spread);
        } else if (length.spread > 0) { // the height has none
            put(*entry, "Uncertainty", length.spread);
        }
        character.addSubSettings(fmt::format("Dimensions.Length{}", ++number), entry);
    }
}

void describeSpace(Settings& scene, const kit::Space& space) {
    scene.setValue("Session.Unit", space.unit.symbol);
    scene.setValue("Session.UnitIs", kit::originText(space.unitOrigin));
    scene.setValue("Session.Up", kit::axisName(space.up));
    scene.setValue("Session.UpIs", kit::originText(space.upOrigin));
}

void describeSource(TakePerformer& performer, const fs::path& directory) {
    Character& character = performer.character();
    character.setValue("Name", character.characterName());
    if (performer.isLive()) {
        character.setValue("Stream", kit::printable(performer.file()));
    } else {
        character.setValue("Take", pathFrom(directory, performer.file()));
    }
}

void describe(TakePerformer& performer, bool paced, const fs::path& directory) {
    Character& character = performer.character();
    const kit::PerformerStatistics& statistics = performer.statistics();
    describeSource(performer, directory);
    put(character, "FramesIn", statistics.framesIn);
    put(character, "FramesOut", statistics.framesOut);
    put(character, "FramesLost", statistics.framesExpected - statistics.framesIn);
    character.addSubSettings("Solver", statusOf(performer.solver()));
    describeClock(character, performer.clock(), paced);
    describeDimensions(character, performer.lengths());
    performer.describe(character);
}

} // namespace

void describeCast(TakeSession& session, const fs::path& directory) {
    Scene& scene = session.scene();
    scene.clear();
    scene.setValue("Session.Rate", session.exactRate().text());
    describeSpace(scene, session.space());
    for (const auto& performer : session.performers()) {
        describeSource(*performer, directory);
        performer->character().addSubSettings("Solver", statusOf(performer->solver()));
        describeDimensions(performer->character(), performer->lengths());
    }
}

void describeSession(TakeSession& session, SessionOutcome outcome, const fs::path& directory,
                     const std::vector<std::string>& files) {
    Scene& scene = session.scene();
    scene.clear();
    scene.setValue("Session.Complete", outcome.complete ? "yes" : "no");
    scene.setValue("Session.Rate", session.exactRate().text());
    put(scene, "Session.Frames", session.framesShown());
    describeSpace(scene, session.space());
    for (const std::string& file : files) {
        scene.addValue("Session.File", file);
    }
    int number = 0;
    for (const auto& performer : session.performers()) {
        describe(*performer, outcome.paced, directory);
        // Copied; the pointer owns nothing.
        const std::shared_ptr<Settings> character(std::shared_ptr<void>(), &performer->character());
        scene.addSubSettings(fmt::format("Session.Characters.Character{}", ++number), character);
    }
}

} // namespace tarn::capture
