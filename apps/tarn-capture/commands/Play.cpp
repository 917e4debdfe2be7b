// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Play.h"

#include "drawing/ContactSheet.h"
#include "drawing/Picture.h"
#include "session/Playback.h"
#include "session/Take.h"
#include "support/Errors.h"
#include "support/OutputFile.h"
#include "support/ProgressBar.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>

namespace tarn::capture {

namespace {

namespace fs = std::filesystem;

void checkRate(double rate) {
    constexpr double highestRate = 1000;
    if (!(rate > 0 && rate <= highestRate)) { // not-a-number included
        throw UsageError(fmt::format("--rate must be greater than 0 and at most {}", highestRate));
    }
}

/// Plays the take with a progress bar; what it shows is told to those who listen.
void playWithProgress(Tracks& tracks, Playback& playback, bool realtime) {
    ProgressBar bar(stderr, playback.stepCount());
    const tsignal::ScopedConnection connection(
        tracks.onCurrentTimeChanged().connect([&bar](int) { bar.advance(); }));
    playback.run(realtime);
}

} // namespace

int play(const PlayOptions& options) {
    if (options.rate) {
        checkRate(*options.rate);
    }
    const Take take(options.take);
    const fs::path png = fs::path(options.out) / "poses.png";
    const fs::path svg = fs::path(options.out) / "poses.svg";
    for (const fs::path& picture : {png, svg}) {
        refuseToOverwrite(options.take, picture, "--out");
    }
    makeDirectory(options.out);

    const double rate = options.rate.value_or(take.rate());
    const Recorder recorder(take.tracks());
    Playback playback(take.tracks(), rate);
    playWithProgress(take.tracks(), playback, options.realtime);

    const Picture sheet = contactSheet(take, recorder.shown());
    const DrawingSession session;
    OutputFile pngFile(png);
    OutputFile svgFile(svg);
    pngFile.write(renderPng(sheet));
    svgFile.write(renderSvg(sheet));
    pngFile.commit();
    svgFile.commit();
    const auto steps = static_cast<std::size_t>(playback.stepCount());
    fmt::print("{} shown, {:.3f} s at {} per second: {}, {}\n", kit::counted(steps, "frame"),
               take.duration(), rate, kit::printable(png.string()), kit::printable(svg.string()));
    return exitSuccess;
}

} // namespace tarn::capture
