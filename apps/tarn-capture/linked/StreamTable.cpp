// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "linked/StreamTable.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>

namespace tarn::capture {

namespace {

double milliseconds(kit::Clock::Duration duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
}

kit::Clock::Instant instantOf(std::int64_t nanoseconds) {
    return kit::Clock::Instant(kit::Clock::Duration(nanoseconds));
}

} // namespace

void StreamTable::add(const link::LinkOffer& offer) {
    Stream& stream = streams_[offer.name];
    const bool isOther = stream.offer.stream != offer.stream;
    stream.offer = offer;
    if (stream.device == nullptr) {
        link::LinkDeviceOptions options;
        options.wanted = link::Wanted::NewestFrame;
        stream.device = std::make_unique<link::LinkDevice>(link_, offer.name, options);
        stream.device->open(offer.name);
        stream.device->start();
        stream.looked = std::chrono::steady_clock::now();
    }
    if (isOther && offer.clock != 0) {
        stream.clock = std::make_unique<link::LinkClock>(*link_, offer.clock);
    }
}

std::size_t StreamTable::look() {
    std::set<std::string> offered;
    for (const link::LinkOffer& offer : link_->offers()) {
        offered.insert(offer.name);
        add(offer);
    }
    for (auto at = streams_.begin(); at != streams_.end();) {
        at = offered.count(at->first) == 0 ? streams_.erase(at) : std::next(at);
    }
    for (auto& [name, stream] : streams_) {
        const auto now = std::chrono::steady_clock::now();
        const link::LinkStatus status = stream.device->status();
        const double seconds = std::chrono::duration<double>(now - stream.looked).count();
        if (seconds > 0 && status.samples >= stream.status.samples) {
            stream.rate = static_cast<double>(status.samples - stream.status.samples) / seconds;
        }
        stream.status = status;
        stream.looked = now;
    }
    return streams_.size();
}

std::vector<std::string> StreamTable::cellsOf(const Stream& stream) {
    const link::LinkStatus& status = stream.status;
    std::vector<std::string> cells = {
        stream.offer.name, fmt::format("{} on {}", stream.offer.program, stream.offer.host),
        status.why.empty() ? fmt::format("{}", status.tracks.size()) : "-",
        fmt::format("{:.1f}", stream.rate), fmt::format("{}", status.lostFrames())};
    const auto relation = stream.clock == nullptr ? std::nullopt : stream.clock->relation();
    const auto captured = stream.clock == nullptr || status.samples == 0
                              ? std::nullopt
                              : stream.clock->toLocal(instantOf(status.captured));
    cells.push_back(captured ? fmt::format("{:.3f} ms", milliseconds(status.received - *captured))
                             : "-");
    cells.push_back(relation ? fmt::format("{:+.3f} +/- {:.3f} ms", milliseconds(relation->offset),
                                           milliseconds(relation->bound))
                             : "-");
    if (!status.why.empty()) {
        cells.push_back(status.why);
    } else if (status.hasEnded) {
        cells.emplace_back("has ended");
    }
    return cells;
}

std::string StreamTable::text() const {
    std::vector<std::vector<std::string>> rows = {
        {"stream", "offered by", "tracks", "rate/s", "lost", "latency", "clock"}};
    for (const auto& [name, stream] : streams_) {
        rows.push_back(cellsOf(stream));
    }
    std::vector<std::size_t> widths;
    for (const auto& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], row[i].size());
        }
    }
    std::string text;
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            line += fmt::format("{:<{}}  ", row[i], widths[i]);
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    return text;
}

} // namespace tarn::capture
