// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/StreamNode.h>
#include <tarn_kit/devices/Clock.h>
#include <tarn_kit/files/Codec.h>
#include <tarn_kit/files/TrackDescription.h>
#include <tarn_link/Export.h>
#include <tarn_link/stream/Link.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace tarn::link {

struct PublisherOptions {
    std::string program = "tarn_link"; ///< who publishes
    std::shared_ptr<const kit::Codecs> codecs = kit::Codecs::standard();
    /// By which the instants are told at which frames arrive.
    std::shared_ptr<const kit::Clock> clock = std::make_shared<kit::SteadyClock>();
};

/// A node that offers what arrives at its input frame ports as a stream: bodies, poses, markers,
/// analog samples, and what else has a codec. Each port is a track with its description.
///
/// What belongs together goes out together: tracks of one rate share a sample per frame index. It
/// is sent when the last of those tracks has its frame that had one in the sample before; where one
/// stays away, with the next index. A track alone is never waited for.
///
/// Receivers that are slow are not waited for either. For those that want every frame, the latest
/// 2,048 samples are kept; who falls farther behind loses some, and counts them. A frame that
/// cannot be sent (without a codec, larger than a sample may be) counts as lost here, and there.
///
/// Lifetime: ties may outlive it; what comes then is ignored. Destroying it ends the stream.
///
/// Threads: frames may arrive on any thread, and are sent on it. Before `start`, and for `end`, it
/// is used from one thread; everything else may be called from any.
class TARN_LINK_EXPORT LinkPublisher : public StreamNode {
public:
    using StopRequested = std::function<bool()>;

    /// Throws `LinkError` for what is no name for a stream. Precondition: `link` is not empty.
    LinkPublisher(std::shared_ptr<Link> link, std::string name, PublisherOptions options = {});
    ~LinkPublisher() override;
    LinkPublisher(const LinkPublisher&) = delete;
    LinkPublisher& operator=(const LinkPublisher&) = delete;

    /// Adds a track for frames of a data type and returns the number of its input frame port, from
    /// 0 on; a receiver has an output port of this number. Throws `LinkError` for the 257th.
    /// Precondition: not yet started.
    int addTrack(int dataType, const kit::TrackDescription& description);
    /// Offers the stream; from now on frames go out. Throws `LinkError`. Precondition: not yet
    /// started.
    void start();

    /// How many receivers take every frame now, and have said that they hear this publisher: they
    /// have all that is sent from now on. Those that want the newest do not count.
    int receivers() const;
    /// Waits until that many do; false if a stop was requested before, or `patience` was over.
    bool awaitReceivers(int count, std::chrono::milliseconds patience,
                        const StopRequested& stopRequested = {}) const;

    /// Ends the stream: sends what waits, says how much was sent, and waits until receivers that
    /// want every frame have them, for `patience` at most. Returns whether they have; who has gone
    /// without a word is waited for. Frames that come later are ignored. Does nothing the second
    /// time.
    bool end(std::chrono::milliseconds patience = std::chrono::seconds(5));

    /// How many frames, of all tracks, have gone out.
    std::uint64_t sentFrames() const;
    /// How many could not.
    std::uint64_t lostFrames() const;
    /// Why the last of these could not; empty where all could.
    std::string lastProblem() const;

private:
    struct PrivateData;
    std::shared_ptr<PrivateData> d_; ///< shared with the handlers of the ties, which may outlive it
};

} // namespace tarn::link
