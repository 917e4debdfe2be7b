// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Device.h>
#include <tarn_kit/Export.h>
#include <tarn_kit/devices/Clock.h>
#include <tarn_kit/devices/Command.h>
#include <tarn_kit/devices/CommandThread.h>
#include <tarn_kit/files/Bvh.h>
#include <tarn_kit/files/C3d.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

namespace tarn::kit {

/// What a `ReplayDevice` answers to "status".
struct TARN_KIT_EXPORT ReplayStatus {
    Device::DeviceState state = Device::Lost;
    /// As it was given to "open"; empty while no take is open, and for one that came as such.
    std::filesystem::path file;
    int nextFrame = 0; ///< the frame to be sent next; `frameCount` at the end of the take
    int frameCount = 0;
    int rate = 0;                ///< of the take, in whole frames per second
    double factor = 1;           ///< how much faster than that; 0 for as fast as it can
    std::int64_t framesSent = 0; ///< since the take was opened
};

/// A device that replays a take from a BVH or a C3D file: frame after frame, each at its time, out
/// of its output frame port `posePort` or `markerPort`. Its type is "replay". It starts in the
/// state `Lost`: it has no take.
///
/// | command  | payload     | what it does                                              | then  |
/// |----------|-------------|-----------------------------------------------------------|-------|
/// | "open"   | take        | opens a take, which replaces the one before               | Ready |
/// | "start"  |             | streams from the current frame; at the end, from frame 0  | Busy  |
/// | "pause"  |             | stops streaming, stays at the current frame               | Ready |
/// | "stop"   |             | stops streaming, goes back to frame 0                     | Ready |
/// | "seek"   | frame index | makes that the frame to be sent next                      |       |
/// | "rate"   | factor      | replays so much faster; 0 for as fast as it can           |       |
/// | "status" |             | replies with a `ReplayStatus`                             |       |
///
/// A take is the name of a BVH or a C3D file (`takeFormatOf` tells which), as `std::string` or
/// `std::filesystem::path` (a `const char*` is refused: what it points to may be gone when the
/// device reads it), or a `BvhTake` or `C3dTake` that has been read already, whose frames are
/// shared: a pose or markers in each, and a rate. The reply to "open" has the `BvhTake` or
/// `C3dTake` as its payload; what the host does to its tracks afterwards does not concern the
/// device. A frame index is an `int`. A factor is a `double`, a `float` or an `int`; it is 1 at
/// first and outlives "open" and "stop". A command that finds things as it wants them ("pause" when
/// nothing streams) succeeds.
///
/// A command that fails changes nothing: a take that streams goes on. Its reply has the result code
/// `failed`, with an `Error` and a text that says what was expected. A command that the device does
/// not know gets the result code 1.
///
/// Frames: each is sent once, in order, shared with the take, stamped as in the take. The first is
/// sent as soon as streaming starts, frame n after that n / (exact rate x factor) seconds
/// later, counted from the start, so that no error adds up. None is left out: frames that are late,
/// because a slot or the reading of a file took long, follow at once. "seek" keeps the beat; "rate"
/// starts a new one, one new interval after the last frame was due, or at once where that has
/// passed. With the last frame the take is at its end and the state `Ready`.
///
/// State: announced when it changes, and only then, before the reply of the command that changes
/// it. Listeners all hear the same order, also when one of them gives the next command.
///
/// Threads: the device has a thread of its own, on which it carries out commands, one after the
/// other, and on which slots and callbacks run; they must not throw. Requests may be made from any
/// thread. `state()` and the tests on it may be read from any thread; "status" says more.
///
/// A request that is made on the device's own thread, in a slot or a callback, is answered before
/// the call returns, ahead of those that wait; so `syncRequest` works there as well. Callbacks that
/// each make the next request nest, up to 16 deep; from there on a request waits for its turn, so
/// that chains may go on for ever, but `syncRequest` must not be used that deep.
///
/// Destroying the device ends the streaming, joins its thread and announces nothing. Requests that
/// wait are answered with the error `Closing` before that, and so are those that their callbacks
/// make; a chain of requests that goes on regardless is cut off 16 deep: the callback of the last
/// one is released uncalled. Precondition: it is not destroyed on its own thread, nor while slots
/// and callbacks wait for the thread that destroys it, nor while another thread still makes
/// requests (one that is blocked in `syncRequest` may be: it gets its answer).
class TARN_KIT_EXPORT ReplayDevice final : public Device {
public:
    /// The output frame port: frames of the data type `poseDataType`.
    static constexpr int posePort = 0;
    /// That of takes of markers: frames of the data type `markerDataType`, at the exact rate of the
    /// take.
    static constexpr int markerPort = 1;

    /// The result code of a command that failed.
    static constexpr int failed = commandFailed;

    /// Why a command failed: the error code of its reply.
    enum Error : int {
        NoTake = 1,     ///< there is nothing to start, pause, stop or seek in
        BadPayload = 2, ///< not of a type that the command takes
        BadFile = 3,    ///< cannot be read or is broken; the text is that of the `ReadError`
        BadIndex = 4,   ///< the take has no such frame
        BadFactor = 5,  ///< negative or not finite
        Closing = 6,    ///< the device is being destroyed
    };

    /// `id` tells the device from others of its kind. Its time comes from `clock`.
    /// Throws `std::system_error` if no thread can be started. Precondition: `clock` is not empty.
    explicit ReplayDevice(const std::string& id,
                          std::shared_ptr<Clock> clock = std::make_shared<SteadyClock>());
    ~ReplayDevice() override;
    ReplayDevice(const ReplayDevice&) = delete;
    ReplayDevice& operator=(const ReplayDevice&) = delete;

    // The commands as calls: each makes its request, waits for the answer, and throws
    // `CommandError`, with the error code and text of the reply, if it fails. They may be called
    // from any thread, as `syncRequest` may.

    /// "open": reads a take from a BVH file, which replaces the one before, and returns it.
    BvhTake open(const std::filesystem::path& file);
    /// "open": a take that has been read already; it replaces the one before.
    void open(const BvhTake& take);
    void open(const C3dTake& take);
    /// "start"
    void start();
    /// "pause"
    void pause();
    /// "stop"
    void stop();
    /// "seek"
    void seek(int frameIndex);
    /// "rate": how much faster than the take; 0 for as fast as it can.
    void setSpeed(double factor);
    /// "status"
    ReplayStatus status();

protected:
    void doRequest(std::shared_ptr<Request> request, std::shared_ptr<Reply> reply) override;

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn::kit
