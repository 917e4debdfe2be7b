// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "wire/FrameWire.h"
#include "wire/Hearing.h"
#include "wire/Refusal.h"
#include "wire/Watch.h"

#include <tarn_link/stream/LinkDevice.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace tarn::link {

/// Samples that came at once, in order.
struct FrameBatch {
    std::vector<FrameSample> samples;
    std::vector<std::string> refusals; ///< why others cannot be
    /// Per track, up to which sample its frames are passed over, as newer ones are here, too.
    std::vector<std::uint64_t> newest = std::vector<std::uint64_t>(maxTracks, 0);
};

/// Lets the frames of a name come, and tells their publishers that they are heard if every one is
/// wanted.
class FrameIntake {
public:
    /// What comes wakes the waitset. Throws `LinkError`.
    FrameIntake(dds_entity_t participant, const std::string& name, const LinkDeviceOptions& options,
                dds_entity_t waitset);

    /// Tells publishers that are new that they are heard. Costs next to nothing if there are none.
    void greet();
    bool hasMore() const { return watch_.hasNews(); }
    FrameBatch take(const kit::Clock& clock);
    /// Lets in what such tracks may need, many times faster than they are.
    void expect(const std::vector<StreamTrack>& tracks);
    std::uint64_t turnedAway() const { return reader_.gate().turnedAway(); }

private:
    const Wanted wanted_;
    const double samplesPerSecond_;
    Reader reader_;
    Watch watch_;
    std::optional<HearingReport> hearing_; ///< where every frame is wanted
    bool isGreeted_ = false;               ///< everyone who was there when it was looked last
};

/// Samples of streams that have not described themselves yet. There are only so many, and the
/// oldest go first.
class HeldSamples {
public:
    /// Returns how many had to go.
    std::size_t hold(FrameSample sample);
    std::deque<FrameSample> takeAll();
    void clear() { takeAll(); }

private:
    std::deque<FrameSample> samples_;
    std::size_t bytes_ = 0;
};

} // namespace tarn::link
