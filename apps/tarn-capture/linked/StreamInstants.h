// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Frame.h>
#include <tarn_link/stream/LinkDevice.h>

#include <cstdint>
#include <mutex>
#include <optional>
#include <vector>

namespace tarn::capture {

/// When the frames of a stream were captured, so that it can be told which of them belongs to an
/// instant that other streams have, too. It listens until that is known.
///
/// Threads: everything may be called from any thread; a sample and its frames come on one.
class StreamInstants {
public:
    using Instant = kit::Clock::Instant;

    /// A frame has come of the sample that came last.
    void add(const Frame& frame);
    void hear(const link::LinkSample& sample);
    /// Forgets all, and listens no more.
    void close();

    /// From now on instants are told by the clock of this machine, as far as that of the publisher
    /// is known; else they are those at which frames came.
    void tellBy(const std::optional<kit::ClockRelation>& clock);
    /// Of the first frame; nothing before it has come.
    std::optional<Instant> first() const;
    /// Of the last one that has come.
    std::optional<Instant> last() const;
    /// The index of the frame that was captured closest to an instant; of two, the first.
    std::optional<unsigned> indexAt(Instant instant) const;

private:
    struct Moment {
        unsigned index = 0;
        std::int64_t captured = 0; ///< by the publisher's clock
        Instant received;
    };
    Instant instantOf(const Moment& moment) const;

    mutable std::mutex mutex_; ///< guards what follows
    std::vector<Moment> moments_;
    Moment sample_; ///< that came last; its index is not known
    std::optional<kit::ClockRelation> clock_;
    bool isOpen_ = true;
};

} // namespace tarn::capture
