// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "linked/LiveInput.h"

#include "support/Output.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

#include <utility>

namespace tarn::capture {

LiveInput::LiveInput(const link::LinkOptions& link, LiveInputOptions options)
    : options_(std::move(options)), streams_(link, options_.from) {}

bool LiveInput::start(const StopRequested& stopRequested) {
    if (!streams_.connect(options_.wait, stopRequested)) {
        return false;
    }
    tracks_.emplace(streams_, options_.atMost);
    announce(fmt::format("receiving {}", kit::counted(options_.from.size(), "stream")));
    return tracks_->start(stopRequested);
}

std::vector<std::string> LiveInput::problems() const {
    if (tracks_->areFull()) {
        return {fmt::format("the streams went on after {} minutes, which is as much as there is "
                            "room for: --at-most",
                            options_.atMost)};
    }
    std::vector<std::string> problems;
    for (const std::string& name : streams_.unfinished()) {
        problems.push_back(fmt::format("'{}' has gone before its end", name));
    }
    return problems;
}

} // namespace tarn::capture
