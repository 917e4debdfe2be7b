// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_link/stream/LinkDevice.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tarn::capture {

/// Streams of other programs of which every frame is wanted, by their names: how they are found,
/// and what became of them.
class ReceivedStreams {
public:
    using StopRequested = std::function<bool()>;

    /// Throws `link::LinkError`.
    ReceivedStreams(const link::LinkOptions& options, const std::vector<std::string>& names);

    /// Waits until all of them are connected. False if a stop was requested. Throws
    /// `std::runtime_error`, which says why there is nothing, if they are not in time.
    bool connect(double seconds, const StopRequested& stopRequested);
    const std::vector<std::unique_ptr<link::LinkDevice>>& devices() const { return devices_; }
    const link::Link& link() const { return *link_; }
    void start();
    /// Waits until all have ended, or are gone. False if a stop was requested before.
    bool awaitEnd(const StopRequested& stopRequested) const;
    /// No slot is called any more when it returns.
    void stop();

    // What follows is for after that.

    /// What came of each, for people.
    std::string report() const;
    /// Those that went before they were complete.
    std::vector<std::string> unfinished() const;
    /// Whether every frame came that was sent since they were started, until they were stopped.
    bool areUnbroken() const;
    /// Whether that was until their end.
    bool areWhole() const { return areUnbroken() && unfinished().empty(); }

private:
    std::shared_ptr<link::Link> link_;
    std::vector<std::unique_ptr<link::LinkDevice>> devices_;
    std::vector<link::LinkStatus> found_;
};

} // namespace tarn::capture
