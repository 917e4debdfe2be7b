// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Actor.h>
#include <tarn/Calibrator.h>
#include <tarn/Character.h>
#include <tarn/Device.h>
#include <tarn/Solver.h>
#include <tarn_kit/Export.h>
#include <tarn_kit/body/BodyPose.h>
#include <tarn_kit/body/Rig.h>
#include <tarn_kit/body/Space.h>
#include <tarn_kit/session/Rate.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tarn::kit {

/// What a performer is made of. Device and solver are the host's and outlive the performer.
struct PerformerSetup {
    /// Of the character and its actor.
    std::string name;
    /// Sends frames of the data type `inputType` out of `port`, from any thread. It is told to
    /// "start" and to "stop"; one that does not know these commands streams by itself.
    Device* device = nullptr;
    int port = 0;
    int inputType = poseDataType;
    /// Is fed the frames one by one and puts out frames of the data type `outputType`; or null:
    /// then nothing is solved.
    Solver* solver = nullptr;
    int outputType = bodyDataType;
    /// In whole frames per second; greater than 0.
    int rate = 0;
    /// How many frames the device has to send; what it does not send of them is lost.
    int frameCount = 0;
    /// The device may end before that, and nothing is lost then: for captures of unknown length,
    /// where `frameCount` is the longest that there is room for.
    bool isOpenEnded = false;
    /// The frame index that the device counts from. Empty: that of the first frame to come after
    /// each start, for devices whose counter is anywhere.
    std::optional<unsigned> firstFrame = 0;
    /// The exact rate, where that is not whole: 30000/1001 with a `rate` of 30.
    std::optional<Rate> exactRate;
    /// What the positions that are put out mean, if the host knows.
    std::optional<Space> space;
};

/// What became of a performer's frames while it recorded, and how many seconds each stage took
/// since it exists. Frames that were expected and did not come in time are lost.
struct PerformerStatistics {
    int framesExpected = 0; ///< were due to be shown
    int framesIn = 0;       ///< came from the device in time to be shown
    int framesLate = 0;     ///< came when their instant had been shown already; lost as well
    int framesOut = 0;      ///< were put out by the solver
    double waiting = 0;     ///< for the device
    double solving = 0;
    double recording = 0;
};

/// One character of a capture with its actor, tied to a device that sends frames and a solver that
/// turns them into motion. It takes frames from the device's thread to the host's, shows each at
/// its frame index, feeds the solver whenever the character's take moves (before calibrators hear
/// of the frame, whenever a calibration begins), and records.
///
/// A `Session` drives performers; a host with a loop of its own calls `start()`, and then for each
/// index `bring()` and `live()->setCurrentTime()`.
///
/// Lifetime: the destructor stops the device if it was started, and undoes every link and
/// connection that was made here.
///
/// Threads: frames come on the device's thread. Everything declared here is for one thread, where
/// `onSolved` runs.
class TARN_KIT_EXPORT Performer {
public:
    /// Whether it is time to stop; asked again and again, so it should answer at once.
    using StopRequested = std::function<bool()>;

    /// `id` tells the character from others. Throws `std::invalid_argument` for a setup without a
    /// device, with a rate that is not positive or not that of `exactRate`, with a negative number
    /// of frames, or with one data type for what goes in and what comes out.
    Performer(const std::string& id, const PerformerSetup& setup);
    ~Performer();
    Performer(const Performer&) = delete;
    Performer& operator=(const Performer&) = delete;

    const PerformerSetup& setup() const;
    /// Of the frames, and of what is recorded.
    Rate exactRate() const;
    Character& character();
    Actor& actor();

    /// Adds a calibrator to the character until the performer goes. It must outlive the performer.
    void addCalibrator(Calibrator& calibrator, bool required);

    /// The character's take: what has been shown and put out since the last start, by frame index
    /// counted from the first.
    std::shared_ptr<Tracks> live() const;
    /// What has been recorded, as a take of its own: a track of the frames that came in and one of
    /// those that were put out. Both are laid out by frame index: where a frame was lost there is
    /// none. It is as long as was recorded. Empty before the first recording; once a recording has
    /// ended, it is the same take until the next one begins, whatever plays or calibrates
    /// meanwhile.
    std::shared_ptr<Tracks> recording() const;
    const PerformerStatistics& statistics() const;

    /// Empties the live take and lets the device stream. Throws `CommandError` if the device
    /// refuses.
    void start();
    /// Stops the device; frames on their way are dropped. Throws as `start()`.
    void stop();
    /// Whether the device's stream has ended and everything of it was shown; only for a performer
    /// that is open-ended.
    bool hasEnded() const;

    /// Begins a calibration of the character. Throws `std::logic_error`, before anything begins, if
    /// the character has no solver.
    void beginCalibrate();
    /// Ends it: the calibrators write what they found.
    void endCalibrate();
    /// Ends it and changes nothing.
    void cancelCalibrate();

    /// From now on frames are counted and recorded, in place of what was recorded before.
    void beginRecord();
    void endRecord();

    /// Waits for the frame with this index, counted from the first, and puts it into the live take,
    /// to be shown. False if it will not come: it is lost, it lies beyond `frameCount`, the stream
    /// has ended, or a stop was requested (which is heard within 50 ms).
    bool bring(int index, const StopRequested& stopRequested = {});

    /// Every frame that the solver puts out, as soon as it is there: for those who show, send or
    /// store them.
    tsignal::Signal<std::shared_ptr<Frame>>& onSolved();

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn::kit
