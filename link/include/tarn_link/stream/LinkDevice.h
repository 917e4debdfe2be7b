// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Device.h>
#include <tarn_kit/devices/Clock.h>
#include <tarn_kit/devices/ClockOffset.h>
#include <tarn_kit/devices/Command.h>
#include <tarn_kit/devices/CommandThread.h>
#include <tarn_kit/files/Codec.h>
#include <tarn_kit/files/TrackDescription.h>
#include <tarn_link/Export.h>
#include <tarn_link/stream/Link.h>
#include <tarn_link/stream/LinkStatus.h>
#include <tsignal/Signal.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarn::link {

/// What a receiver wants of a stream.
enum class Wanted : std::uint8_t {
    EveryFrame,  ///< what is lost on the way is sent again: for who records, solves, calibrates
    NewestFrame, ///< what is lost is lost, and who is slow skips some: for who shows
};

struct LinkDeviceOptions {
    Wanted wanted = Wanted::EveryFrame;
    /// How many samples in a second are let in of a publisher; or 16 times as many as it says that
    /// its tracks have, if that is more. As many may come at once. The rest is turned away.
    double samplesPerSecond = 20'000;
    std::shared_ptr<const kit::Codecs> codecs = kit::Codecs::standard();
    /// By which arrivals are told.
    std::shared_ptr<const kit::Clock> clock = std::make_shared<kit::SteadyClock>();
};

/// A track of a stream.
struct LinkTrack {
    int dataType = 0;
    kit::TrackDescription description;
};

/// A sample, before its frames are put out.
struct LinkSample {
    std::uint64_t stream = 0;
    std::uint64_t number = 0;     ///< of the stream's samples, from 0
    std::int64_t captured = 0;    ///< by the publisher's clock, in nanoseconds
    kit::Clock::Instant received; ///< by this device's clock
};

/// A stream that somebody offers on the link, as a device like any other. Its type is "link". The
/// frames of track n come out of its output frame port n, 0 to 255.
///
/// | command  | payload | what it does                                                           |
/// |----------|---------|------------------------------------------------------------------------|
/// | "open"   | name    | connects to the stream of that name, now or as soon as it is offered   |
/// | "start"  |         | lets its frames come                                                   |
/// | "stop"   |         | lets none come any more                                                |
/// | "status" |         | replies with a `LinkStatus`                                            |
///
/// A name is a `std::string`. A command that fails changes nothing; its reply has the result code
/// `failed`, with an `Error` and a text. A command that the device does not know gets the result
/// code 1.
///
/// States: `Lost` while there is no stream, `Ready` when it is there and has described itself, and
/// again at its end, `Busy` while frames may come. A publisher that goes and comes back, itself or
/// another one under its name, is connected to again without a word of the host; of two at a time,
/// the one that came later counts. A state is announced when it changes, and before the reply of
/// the command that changes it.
///
/// Every sample is checked before it becomes frames: what cannot be (payloads of another type or
/// size than described, numbers that are not finite, times that there cannot be) is refused and
/// counted. Payloads of a codec that is not known here are `EncodedPayload`. Of who sends more than
/// is let in, the rest is turned away and counted.
///
/// Threads: the device has a thread of its own, on which it carries out commands, and on which
/// slots and callbacks run; they must not throw. While they run, what comes waits, up to 2,048
/// samples. Requests may be made from any thread; those that are made on the device's own are
/// answered before the call returns. Everything else may be called from any thread, too. Destroying
/// the device joins its thread and answers what waits with the error `Closing`; preconditions as
/// for `ReplayDevice`.
class TARN_LINK_EXPORT LinkDevice final : public Device {
public:
    /// The result code of a command that failed.
    static constexpr int failed = kit::commandFailed;

    /// Why a command failed: the error code of its reply.
    enum Error : int {
        NotOpen = 1,    ///< no stream is open
        BadPayload = 2, ///< not of a type that the command takes
        BadName = 3,    ///< nothing can be offered under that name
        Closing = 4,    ///< the device is being destroyed
        LinkFailed = 5, ///< the middleware refused; the text says why
    };

    /// `id` tells the device from others of its kind. Throws `LinkError`, and `std::system_error`
    /// if no thread can be started. Precondition: `link` is not empty.
    LinkDevice(std::shared_ptr<Link> link, const std::string& id, LinkDeviceOptions options = {});
    ~LinkDevice() override;
    LinkDevice(const LinkDevice&) = delete;
    LinkDevice& operator=(const LinkDevice&) = delete;

    // The commands as calls, which throw `kit::CommandError` if they fail.
    void open(const std::string& name);
    void start();
    void stop();
    LinkStatus status();

    /// Why the stream is not connected, in one line: none is open, nobody offers it, it is offered
    /// in a version that is not read here, there is no route. Empty if it is.
    std::string whyNotConnected() const;
    /// The tracks of the stream, as it was described last; empty before.
    std::vector<LinkTrack> tracks() const;
    /// The clock of the publisher that was connected last, by which its samples say when they were
    /// captured, against the one of this machine; nothing before the first answer, and for a
    /// publisher without. Of a publisher that tells the time by another clock than
    /// `kit::SteadyClock`, it says nothing.
    std::optional<kit::ClockRelation> clock() const;
    /// Waits until the stream is connected; false if a stop was requested before, or `patience` was
    /// over. Not for the device's own thread.
    bool awaitConnected(std::chrono::milliseconds patience,
                        const std::function<bool()>& stopRequested = {}) const;
    /// Waits until the stream has ended, or has gone without that; as above.
    bool awaitEnd(std::chrono::milliseconds patience,
                  const std::function<bool()>& stopRequested = {}) const;

    /// After the stream was described, anew after each reconnection; before its state changes.
    tsignal::Signal<>& onDescribed();
    /// Before the frames of a sample are put out. Of the newest frames, those of one sample may
    /// come one after the other, and some of them not at all: this tells of it once.
    tsignal::Signal<LinkSample>& onSample();
    /// When something happens to the stream.
    tsignal::Signal<LinkEvent>& onEvent();

protected:
    void doRequest(std::shared_ptr<Request> request, std::shared_ptr<Reply> reply) override;

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn::link
