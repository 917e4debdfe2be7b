// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "markers/MarkerBesides.h"
#include "session/SpaceChoice.h"

#include <tarn_kit/devices/ReplayDevice.h>
#include <tarn_link/stream/LinkPublisher.h>
#include <tsignal/Signal.h>

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tarn::capture {

/// Takes that play at once and go out as one stream, with all that they have: a track for each
/// body, and for the markers, the analog channels and the rigid bodies of each take of markers.
class TakePublisher {
public:
    /// Reads the takes. Throws `std::runtime_error` when one cannot be read, and
    /// `link::LinkError`.
    TakePublisher(const std::shared_ptr<link::Link>& link, const std::string& name,
                  const std::vector<std::string>& takes, double speed, const SpaceChoice& space);
    ~TakePublisher();
    TakePublisher(const TakePublisher&) = delete;
    TakePublisher& operator=(const TakePublisher&) = delete;

    link::LinkPublisher& publisher() { return publisher_; }
    std::size_t trackCount() const { return trackCount_; }
    /// Of all tracks.
    std::size_t frameCount() const { return frameCount_; }
    /// Plays all takes from their first frame, to the end. False if a stop was requested.
    bool play(const std::function<bool()>& stopRequested);

private:
    using Port = tsignal::Signal<std::shared_ptr<Frame>>;

    void add(const std::string& take, const std::string& name, double speed,
             const SpaceChoice& space);
    void addBeside(MarkerBeside beside, Port& markers);

    link::LinkPublisher publisher_;
    std::vector<std::unique_ptr<kit::ReplayDevice>> devices_; ///< go first: they send
    std::size_t trackCount_ = 0;
    std::size_t frameCount_ = 0;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::size_t playing_ = 0; ///< guarded by the mutex
};

} // namespace tarn::capture
