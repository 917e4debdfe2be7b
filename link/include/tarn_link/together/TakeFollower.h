// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/devices/Clock.h>
#include <tarn_kit/devices/ClockOffset.h>
#include <tarn_link/Export.h>
#include <tarn_link/stream/Link.h>
#include <tarn_link/together/TakeCall.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace tarn::link {

/// Where an instant lies in a take.
enum class TakePlace : std::uint8_t {
    Unknown, ///< no take has started, or the leader's clock is not known yet
    Before,
    Within,
    After,
};

/// A recorder's ear and mouth on a link: what it is to record and from when to when, by its own
/// clock, and how it stands. It writes nothing itself; it says which frames belong to the take.
///
/// It follows whoever leads a take until that take has ended, or its leader was gone when another
/// one came. Where a leader goes away, the take goes on.
///
/// Threads: everything may be called from any thread.
class TARN_LINK_EXPORT TakeFollower {
public:
    /// Throws `LinkError`. Precondition: `link` lives longer.
    explicit TakeFollower(const Link& link);
    /// Waits until the leader has what was reported last, for a second at most.
    ~TakeFollower();
    TakeFollower(const TakeFollower&) = delete;
    TakeFollower& operator=(const TakeFollower&) = delete;

    /// What is to be recorded now, as far as it is known: to be asked again and again. Asks the
    /// leader's clock from then on.
    TakeCall call();
    /// Whether the leader of that call is there.
    bool isLed();
    /// The leader's clock, against the one of this machine; nothing before its first answer.
    std::optional<kit::ClockRelation> clock() const;

    /// Where an instant of this machine's clock lies in the take that `call` gave last.
    TakePlace placeOf(kit::Clock::Instant instant) const;
    /// Tells the leader. `dataFrom` is by this machine's clock. Filled in here are recorder,
    /// leader, take, host and the clock's bound; texts are cut to 255 bytes.
    void report(RecorderReport report);

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn::link
