// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Device.h>
#include <tarn/Settings.h>
#include <tarn_kit/processing/BodyDimensionCalibrator.h>
#include <tarn_kit/processing/ClockCalibrator.h>
#include <tarn_kit/session/Session.h>
#include <tarn_store/file/TakeDescription.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarn::link {
class LinkPublisher;
} // namespace tarn::link

namespace tarn::capture {

class LiveView;
class Recording;

/// What is known of the lengths of a performer's body.
struct BodyLengths {
    /// In the performer's unit, the height first; empty if nothing is known.
    std::vector<kit::MeasuredLength> lengths;
    int frames = 0; ///< that they were measured in; 0 if not in this session
    /// Whether `spread` says how well a length is known (one standard deviation of its error), and
    /// not how much it varied.
    bool areFitted = false;
};

/// Of a take that is still being made while it plays.
struct LiveExtent {
    int most = 0;       ///< how many frames there is room for
    unsigned first = 0; ///< the index of the frame that counts as its first one
};

/// A file that a performer leaves beside those that all leave.
struct PerformerFile {
    std::string ending; ///< of its name, behind that of the performer
    std::function<void(const std::filesystem::path& file)> write;
};

/// One character of a session with all that belongs to it: a device that sends a take, a solver,
/// calibrators, and the performer that ties them together. What is sent and how it is solved is the
/// business of the classes derived from this.
class TakePerformer {
public:
    virtual ~TakePerformer();
    TakePerformer(const TakePerformer&) = delete;
    TakePerformer& operator=(const TakePerformer&) = delete;

    /// Or what else its take comes from.
    const std::string& file() const { return file_; }
    /// Whether its take is still being made while it plays.
    bool isLive() const { return performer_->setup().isOpenEnded; }
    std::string name() const { return performer_->character().characterName(); }
    /// The most that there may be, if it is live.
    int frameCount() const { return performer_->setup().frameCount; }
    int rate() const { return performer_->setup().rate; }
    kit::Rate exactRate() const { return performer_->exactRate(); }
    /// When a frame begins, in seconds from the start of the take.
    double secondsAt(int frame) const { return exactRate().at(frame).seconds(); }
    /// What tables call a frame of the session.
    virtual std::int64_t numberOf(int frame) const { return frame; }
    /// What positions of its bodies mean.
    const kit::Space& space() const { return rig()->space(); }
    /// Of the bodies; a calibration may replace it.
    virtual std::shared_ptr<const kit::Rig> rig() const = 0;

    /// Records what its device sends and what its solver makes of it.
    void record(Recording& recording);
    /// Publishes what its solver makes of it, as a track.
    void publish(link::LinkPublisher& publisher);
    /// Shows what its solver makes of it.
    void show(LiveView& view);
    /// About how many bytes that takes; 0 where nobody knows.
    virtual std::uint64_t recordedBytes() const;
    Character& character() { return performer_->character(); }
    Actor& actor() { return performer_->actor(); }
    virtual Solver& solver() = 0;
    virtual BodyLengths lengths() const = 0;
    const kit::ClockCalibrator& clock() const { return *clock_; }
    /// What the solver has made while the take played, by frame index; without what was lost.
    std::shared_ptr<Tracks> recording() const { return performer_->recording(); }
    const kit::PerformerStatistics& statistics() const { return performer_->statistics(); }
    /// How many seconds it took to read the take.
    double reading() const { return reading_; }
    /// How many seconds it took to write what came out; for who writes to add to.
    double& writing() { return writing_; }

    /// How the names of its joints are understood, when it is calibrated.
    virtual void setBodyNames(std::shared_ptr<const kit::BodyNames> names);
    /// Whether it can be played only once it has been calibrated.
    virtual bool needsCalibration() const { return false; }
    /// How many frames the calibration is to use.
    virtual void setCalibrationFrames(int frames);
    /// How many steps its calibration takes when all frames have been shown.
    virtual int fittingSteps() const { return 0; }
    /// Has `step` called after each of them; it ends the calibration where it returns false. An
    /// empty one undoes that.
    virtual void onFittingStep(std::function<bool()> step);
    /// Why the calibration that has ended failed; empty if it did not.
    virtual std::string calibrationError() const { return {}; }
    /// Called before the take plays.
    virtual void beginPlay() {}

    /// The files that it leaves, once its take has been played.
    virtual std::vector<PerformerFile> files() { return {}; }
    /// Adds what is to be said of it to the document of the session.
    virtual void describe(Settings& /*character*/) {}
    /// What became of it, in lines for people; empty where nothing is worth saying.
    virtual std::string report() { return {}; }

protected:
    /// `reading` is how many seconds it took to read the take.
    TakePerformer(std::string file, double reading);

    /// How long a performer may be, whose take has so many frames unless it is live.
    static void setExtent(kit::PerformerSetup& setup, int frames,
                          const std::optional<LiveExtent>& live);
    /// Adds the performer with its device, which is this class's from now on, to the session, which
    /// must go before this. Throws `std::runtime_error` when it does not fit in: when the take has
    /// another rate than the session.
    void join(kit::Session& session, kit::PerformerSetup setup, std::unique_ptr<Device> device,
              const std::shared_ptr<kit::Clock>& clock);
    kit::Performer& performer() { return *performer_; }
    Device& device() { return *device_; }
    /// Records what its device sends.
    virtual void recordInput(Recording& recording, const store::TrackDescription& description) = 0;

private:
    /// Of the bodies.
    kit::TrackDescription bodies() const;

    std::string file_;
    double reading_ = 0;
    double writing_ = 0;
    std::unique_ptr<Device> device_;
    std::unique_ptr<kit::ClockCalibrator> clock_; ///< goes before the device
    kit::Performer* performer_ = nullptr;         ///< the session's
};

} // namespace tarn::capture
