// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "session/ShownFrames.h"
#include "session/Take.h"
#include "support/Errors.h"
#include "support/Flags.h"
#include "support/OutputPath.h"
#include "support/ProgressBar.h"

#include <fmt/format.h>
#include <tarn/OutputFile.h>
#include <tarn_draw/canvas/Picture.h>
#include <tarn_draw/sheet/PoseSheet.h>
#include <tarn_kit/files/Text.h>
#include <tarn_kit/session/Playback.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarn::capture {

namespace {

namespace fs = std::filesystem;

struct PlayOptions {
    std::string take;
    std::string out;               ///< the directory for the pictures
    std::optional<kit::Rate> rate; ///< the take's if not given
    double speed = 0;              ///< how much faster than the take; 0 for as fast as it goes
};

/// Plays the take with a progress bar; what it shows is told to those who listen.
void playWithProgress(Tracks& tracks, kit::Playback& playback, double speed) {
    ProgressBar bar(stderr, playback.stepCount());
    const tsignal::ScopedConnection connection(
        tracks.onCurrentTimeChanged().connect([&bar](int) { bar.advance(); }));
    playback.runAtSpeed(speed);
}

/// What was shown of a take, each frame in its place.
draw::Subject shownOf(const Take& take, const ShownFrames& frames) {
    auto shown = std::make_shared<Tracks>();
    shown->setFps(take.rate());
    shown->setTimeLength(take.frameCount());
    for (const ShownFrame& at : frames.all()) {
        shown->setFrame(at.frame, kit::poseDataType,
                        take.tracks().getFrame(at.frame, kit::poseDataType));
    }
    return {take.name(), take.sharedRig(), shown, take.unit()};
}

std::vector<std::string> notesOf(const Take& take) {
    std::vector<std::string> notes;
    for (const std::string& guess : take.guesses()) {
        notes.push_back("Guessed: " + guess);
    }
    return notes;
}

/// Draws what was shown.
int play(const PlayOptions& options) {
    const fs::path png = fs::path(options.out) / "poses.png";
    const fs::path svg = fs::path(options.out) / "poses.svg";
    for (const fs::path& picture : {png, svg}) {
        refuseToOverwrite(options.take, picture, "--out");
    }
    const Take take(options.take);
    makeDirectory(options.out);

    const double rate = options.rate ? options.rate->value() : take.rate();
    const ShownFrames shown(take.tracks());
    kit::Playback playback(take.tracks(), rate);
    playWithProgress(take.tracks(), playback, options.speed);

    const draw::Picture sheet = draw::poseSheet({shownOf(take, shown)}, notesOf(take));
    const draw::ScopedFonts fonts;
    OutputFile pngFile(png);
    OutputFile svgFile(svg);
    pngFile.write(draw::renderPng(sheet));
    svgFile.write(draw::renderSvg(sheet));
    pngFile.commit();
    svgFile.commit();
    const auto steps = static_cast<std::size_t>(playback.stepCount());
    fmt::print("{} shown, {:.3f} s at {:.6g} per second: {}, {}\n", kit::counted(steps, "frame"),
               take.duration(), rate, kit::printable(png.string()), kit::printable(svg.string()));
    return exitSuccess;
}

} // namespace

void addPlay(CommandLine& line) {
    auto [command, options] = line.add("play",
                                       "Play a take and draw a contact sheet of it: "
                                       "poses.png and poses.svg",
                                       play);
    addTake(command, options.take);
    addOut(command, options.out, "DIR", "Directory for the pictures, created if it is not there");
    addRate(command, options.rate,
            "Frames shown per second, at most 1000; if not given, the rate of the take. The take "
            "keeps its speed: a lower rate skips frames, a higher one repeats them");
    addSpeed(command, options.speed);
}

} // namespace tarn::capture
