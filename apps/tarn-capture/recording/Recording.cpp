// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "recording/Recording.h"

#include "support/Errors.h"

#include <fmt/format.h>
#include <tarn/Version.h>
#include <tarn_kit/files/Text.h>

#include <cstddef>
#include <filesystem>
#include <utility>

namespace tarn::capture {

namespace {

store::RecorderOptions optionsFor(const std::string& file) {
    store::RecorderOptions options;
    options.program = std::string("tarn-capture ") + version();
    options.takeName = std::filesystem::path(file).stem().string();
    options.whenFull = store::WhenFull::Wait;
    return options;
}

} // namespace

Recording::Recording(const std::string& file) : file_(file), recorder_(file, optionsFor(file)) {
    recorder_.onFailed().connect([](const std::string& why) { reportError(why); });
    recorder_.onSpaceLow().connect([file](int seconds) {
        reportError(fmt::format("{}: the disk will be full in {} s", file, seconds));
    });
}

Recording::~Recording() {
    for (const auto& gate : gates_) {
        gate->connection.disconnect();
    }
}

void Recording::add(Port& port, int dataType, const store::TrackDescription& description, int first,
                    int last) {
    auto gate = std::make_unique<Gate>();
    recorder_.tieToIFramePort(recorder_.addTrack(dataType, description), gate->out);
    gate->connection = tsignal::ScopedConnection(
        port.connect([&out = gate->out, first, last](const std::shared_ptr<Frame>& frame) {
            const auto index = static_cast<std::int64_t>(frame->time().frameIndex());
            if (index >= first && (last < 0 || index <= last)) {
                out.emit(frame);
            }
        }));
    gates_.push_back(std::move(gate));
}

void Recording::start() { recorder_.start(); }

void Recording::end() { recorder_.end(); }

std::string Recording::summary() const {
    std::string text =
        fmt::format("{} recorded in {}",
                    kit::counted(static_cast<std::size_t>(recorder_.safeFrames()), "frame"),
                    kit::printable(file_));
    if (recorder_.lostFrames() > 0) {
        text += fmt::format(", {} lost", recorder_.lostFrames());
    }
    return text;
}

void checkRecordName(const std::string& file) {
    if (kit::lowered(std::filesystem::path(file).extension().string()) != ".tarn") {
        throw UsageError(fmt::format("--record '{}': expected a file that ends in .tarn", file));
    }
}

} // namespace tarn::capture
