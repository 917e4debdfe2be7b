// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "session/SpaceChoice.h"

#include <tarn_kit/devices/ReplayDevice.h>
#include <tarn_link/stream/LinkPublisher.h>

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tarn::capture {

/// Takes that play at once and go out as one stream, a track each.
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
    /// Of all takes.
    std::size_t frameCount() const { return frameCount_; }
    /// Plays all takes from their first frame, to the end. False if a stop was requested.
    bool play(const std::function<bool()>& stopRequested);

private:
    void add(const std::string& take, const std::string& name, double speed,
             const SpaceChoice& space);

    link::LinkPublisher publisher_;
    std::vector<std::unique_ptr<kit::ReplayDevice>> devices_; ///< go first: they send
    std::size_t frameCount_ = 0;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::size_t playing_ = 0; ///< guarded by the mutex
};

} // namespace tarn::capture
