// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "linked/ReceivedStreams.h"

#include "linked/LinkFlags.h"
#include "support/Interrupt.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <stdexcept>

namespace tarn::capture {

namespace {

std::string textOf(const link::LinkStatus& status) {
    std::string text =
        fmt::format("{}\n  received  {}\n  lost      {}\n", status.name,
                    kit::counted(static_cast<std::size_t>(status.receivedFrames()), "frame"),
                    status.lostFrames());
    if (status.refused > 0) {
        text += fmt::format("  refused   {}\n", status.refused);
    }
    for (std::size_t i = 0; i < status.tracks.size(); ++i) {
        if (status.tracks[i].first > 0) {
            text +=
                fmt::format("  joined    track {} at its frame {}\n", i, status.tracks[i].first);
        }
    }
    return text;
}

} // namespace

ReceivedStreams::ReceivedStreams(const link::LinkOptions& options,
                                 const std::vector<std::string>& names)
    : link_(std::make_shared<link::Link>(options)) {
    for (const std::string& name : names) {
        devices_.push_back(std::make_unique<link::LinkDevice>(link_, name));
    }
}

bool ReceivedStreams::connect(double seconds, const StopRequested& stopRequested) {
    for (const auto& device : devices_) {
        device->open(device->id());
    }
    const auto latest = std::chrono::steady_clock::now() + millisecondsOf(seconds);
    for (const auto& device : devices_) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            latest - std::chrono::steady_clock::now());
        if (!device->awaitConnected(left, stopRequested)) {
            if (stopRequested()) {
                return false;
            }
            throw std::runtime_error(device->whyNotConnected());
        }
    }
    return true;
}

void ReceivedStreams::start() {
    for (const auto& device : devices_) {
        device->start();
    }
}

bool ReceivedStreams::awaitEnd(const StopRequested& stopRequested) const {
    bool isComplete = true;
    for (const auto& device : devices_) {
        isComplete = device->awaitEnd(forever, stopRequested) && isComplete;
    }
    return isComplete;
}

void ReceivedStreams::stop() {
    found_.clear();
    for (const auto& device : devices_) {
        device->stop(); // it has left its slots when it answers
        found_.push_back(device->status());
    }
}

std::string ReceivedStreams::report() const {
    std::string text;
    for (const link::LinkStatus& status : found_) {
        text += textOf(status);
    }
    return text;
}

std::vector<std::string> ReceivedStreams::unfinished() const {
    std::vector<std::string> names;
    for (const link::LinkStatus& status : found_) {
        if (!status.hasEnded) {
            names.push_back(status.name);
        }
    }
    return names;
}

bool ReceivedStreams::areUnbroken() const {
    return std::all_of(found_.begin(), found_.end(), [](const link::LinkStatus& status) {
        return status.lostFrames() == 0 && status.refused == 0 && status.reconnects == 0;
    });
}

} // namespace tarn::capture
