// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_link/clock/LinkClock.h>
#include <tarn_link/stream/LinkDevice.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace tarn::capture {

/// All streams of a link as a table for people: who offers what, how fast it comes, what is lost,
/// how long it is on its way, and how its clock stands.
class StreamTable {
public:
    explicit StreamTable(std::shared_ptr<link::Link> link) : link_(std::move(link)) {}

    /// Looks at what is offered now; returns how many streams that are. Rates are measured from one
    /// look to the next.
    std::size_t look();
    /// A line per stream below a head; what cannot be said yet is "-".
    std::string text() const;

private:
    struct Stream {
        std::unique_ptr<link::LinkDevice> device;
        std::unique_ptr<link::LinkClock> clock;
        link::LinkOffer offer;
        link::LinkStatus status;
        double rate = 0; ///< samples per second
        std::chrono::steady_clock::time_point looked;
    };
    void add(const link::LinkOffer& offer);
    static std::vector<std::string> cellsOf(const Stream& stream);

    std::shared_ptr<link::Link> link_;
    std::map<std::string, Stream> streams_; ///< by name
};

} // namespace tarn::capture
