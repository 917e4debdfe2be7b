// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/devices/Clock.h>
#include <tarn_link/Export.h>
#include <tarn_link/stream/Link.h>
#include <tarn_link/together/TakeCall.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tarn::link {

/// Has all recorders on a link (see `TakeFollower`) record a take at once: arms it, and starts and
/// ends it at instants that still lie ahead, so that all of them hear of it before. Recorders that
/// come later learn where it is.
///
/// Its going away leaves a take as it is: who records goes on until somebody leads again.
///
/// Threads: everything may be called from any thread.
class TARN_LINK_EXPORT TakeLeader {
public:
    /// Throws `LinkError`. Precondition: `link` lives longer and has no other leader.
    explicit TakeLeader(const Link& link);
    ~TakeLeader();
    TakeLeader(const TakeLeader&) = delete;
    TakeLeader& operator=(const TakeLeader&) = delete;

    /// Calls for a new take; one that is still recorded ends at once.
    /// Precondition: `name` can name a stream (see `isStreamName`).
    TakeCall arm(const std::string& name);
    /// Starts the take that is armed, after `ahead`; does nothing where none is.
    TakeCall start(kit::Clock::Duration ahead = std::chrono::milliseconds(500));
    /// Ends the take that is recorded, after `ahead`, or takes back one that is armed; does nothing
    /// where none is. Recorders that hear of it too late have frames from after the end.
    TakeCall end(kit::Clock::Duration ahead = std::chrono::milliseconds(500));
    TakeCall call() const;

    /// What the recorders of the take said last, those too that are gone; by host and file.
    std::vector<RecorderReport> recorders() const;

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn::link
