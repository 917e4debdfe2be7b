// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "recording/Recording.h"

#include "markers/MarkerBesides.h"
#include "markers/MarkerFrames.h"
#include "support/Errors.h"

#include <fmt/format.h>
#include <tarn/Version.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/files/Codec.h>
#include <tarn_kit/files/Text.h>

#include <cstddef>
#include <filesystem>
#include <utility>

namespace tarn::capture {

namespace {

store::RecorderOptions optionsFor(const std::string& file, std::uint64_t expectedBytes) {
    store::RecorderOptions options;
    options.program = std::string("tarn-capture ") + version();
    options.takeName = std::filesystem::path(file).stem().string();
    options.whenFull = store::WhenFull::Wait;
    options.expectedBytes = expectedBytes;
    return options;
}

bool isBetween(const Frame& frame, int first, int last) {
    const auto index = static_cast<std::int64_t>(frame.time().frameIndex());
    return index >= first && (last < 0 || index <= last);
}

} // namespace

Recording::Recording(const std::string& file, std::uint64_t expectedBytes)
    : file_(file), recorder_(file, optionsFor(file, expectedBytes)) {
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

void Recording::addGate(Port& port, int dataType, const store::TrackDescription& description,
                        std::function<void(Port& out, const std::shared_ptr<Frame>& frame)> pass) {
    auto gate = std::make_unique<Gate>();
    added_.emplace(dataType, description.subject);
    recorder_.tieToIFramePort(recorder_.addTrack(dataType, description), gate->out);
    gate->connection = tsignal::ScopedConnection(
        port.connect([&out = gate->out, pass = std::move(pass)](
                         const std::shared_ptr<Frame>& frame) { pass(out, frame); }));
    gates_.push_back(std::move(gate));
}

void Recording::add(Port& port, int dataType, const store::TrackDescription& description, int first,
                    int last) {
    addWhere(port, dataType, description,
             [first, last](const Frame& frame) { return isBetween(frame, first, last); });
}

void Recording::addWhere(Port& port, int dataType, const store::TrackDescription& description,
                         std::function<bool(const Frame& frame)> isWanted) {
    addGate(port, dataType, description,
            [isWanted = std::move(isWanted)](Port& out, const std::shared_ptr<Frame>& frame) {
                if (isWanted(*frame)) {
                    out.emit(frame);
                }
            });
}

void Recording::addMarkers(Port& port, const kit::C3dTake& take, const std::string& subject,
                           int first, int last) {
    add(port, kit::markerDataType, describedMarkers(take, subject), first, last);
    for (const MarkerBeside& beside : besidesOf(take, subject)) {
        addGate(port, beside.dataType, beside.description,
                [beside, first, last](Port& out, const std::shared_ptr<Frame>& frame) {
                    if (isBetween(*frame, first, last)) {
                        beside.send(*frame, out);
                    }
                });
    }
    for (const store::Note& note : store::eventNotes(take, subject)) {
        recorder_.addNote(note);
    }
}

bool Recording::has(int dataType, const std::string& subject) const {
    return added_.count({dataType, subject}) > 0;
}

void Recording::start() { recorder_.start(); }

std::string Recording::end() {
    try {
        recorder_.end();
    } catch (const store::StoreError& error) {
        return error.what();
    }
    if (recorder_.lostFrames() > 0) {
        return fmt::format("{}: {} could not be recorded", kit::printable(file_),
                           kit::counted(static_cast<std::size_t>(recorder_.lostFrames()), "frame"));
    }
    return {};
}

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

store::TrackDescription describedMarkers(const kit::C3dTake& take, const std::string& subject) {
    auto description = store::describeMarkers(take, subject);
    if (const auto up = statedUpAxis(take)) {
        description.space->up = *up;
        description.space->upOrigin = kit::Origin::Stated;
    }
    return description;
}

std::uint64_t recordedBytes(Tracks& take, int dataType, FrameRange range) {
    constexpr std::uint64_t head = 16; // that the file has of each frame
    const auto frame = range.first <= range.last ? take.getFrame(range.first, dataType) : nullptr;
    if (frame == nullptr) {
        return 0;
    }
    std::vector<std::byte> bytes;
    kit::Codecs::standard()->encode(frame->data(), bytes);
    return static_cast<std::uint64_t>(countOf(range)) * (bytes.size() + head);
}

void checkRecordName(const std::string& file) {
    if (kit::lowered(std::filesystem::path(file).extension().string()) != ".tarn") {
        throw UsageError(fmt::format("--record '{}': expected a file that ends in .tarn", file));
    }
}

} // namespace tarn::capture
