// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Export.h>
#include <tarn/Object.h>
#include <tarn/Timeline.h>
#include <tarn/Tracks.h>
#include <tsignal/Signal.h>

#include <any>
#include <functional>
#include <memory>
#include <string>

namespace tarn {

/// A calibration procedure, for a device, a solver or anything else. The base turns its public
/// operations into `do...` operations that a concrete calibrator overrides, and keeps two things: a
/// flag and a progress value, which it learns from its own signals. The concrete calibrator emits
/// these: `onBegin`, `onEnd` and `onProgress`.
///
/// Its rule of substance: `doRawFlushFrame` sees every frame, `doFlushFrame` only those that arrive
/// between `onBegin` and `onEnd`.
///
/// Threads: flag and progress are written on the thread that emits their signals, a device's thread
/// too, and may be read from any; who connects to such a signal and then reads is told of a change
/// or reads it. The signals lock; everything else is used from one thread at a time.
class TARN_EXPORT Calibrator : public Object {
public:
    Calibrator();
    ~Calibrator() override;
    Calibrator(const Calibrator&) = delete;
    Calibrator& operator=(const Calibrator&) = delete;

    std::string id() const;
    std::string calibratorType() const;

    /// Whether it can be used now; false in the base.
    bool isAvailable();
    /// Announces `onPrepare` with two numbers whose meaning is up to the listeners, nothing else.
    void prepare(int first, int second);
    /// Starts this calibrator; returns what the concrete calibrator answers, false in the base.
    bool start();
    void finish();
    void cancel();

    // What a character tells each of its calibrators when a calibration of the whole begins or
    // ends.
    void globalStart();
    void globalFinish();
    void globalCancel();

    /// Between an emission of `onBegin` and one of `onEnd`.
    bool isCalibrating() const;
    /// What `onProgress` last announced; neither begin nor end resets it. 0 at first.
    float currentCalibrateProgress() const;

    /// Hands a frame to `doRawFlushFrame`, then to `doFlushFrame` if the calibrator is calibrating
    /// by then.
    void flushFrame(std::shared_ptr<Timeline> timeline);

    /// What the calibration is made from, in a layout of the concrete calibrator; an empty pointer
    /// if it keeps nothing.
    std::shared_ptr<Tracks> calibrationData();
    void setCalibrationData(std::shared_ptr<Tracks> data);
    void truncCalibrationData();

    /// The value of a factor; empty if there is no such factor or it cannot be queried.
    std::any queryFactor(int id);
    /// Sets a factor, then emits `onFactorChanged` if it can also be queried: on every call,
    /// whether the value differs or not. Does nothing if there is no such factor or it cannot be
    /// set.
    void setFactor(int id, const std::any& value);
    bool isFactorQueriable(int id) const;
    bool isFactorSettable(int id) const;

    /// Emitted by the concrete calibrator when it begins to use frames.
    tsignal::Signal<>& onBegin();
    /// Emitted by the concrete calibrator when it no longer uses frames.
    tsignal::Signal<>& onEnd();
    /// Emitted by the concrete calibrator; by custom from 0 to 1.
    tsignal::Signal<float>& onProgress();
    tsignal::Signal<int, int>& onPrepare();
    /// After a factor was set, with its id.
    tsignal::Signal<int>& onFactorChanged();

protected:
    void setId(const std::string& id);
    void setCalibratorType(const std::string& type);
    /// Registers a factor: a getter makes it queriable, a setter settable. A callable that is not
    /// empty replaces the one registered before; an empty one leaves it.
    void addFactor(int id, std::function<std::any()> getter,
                   std::function<void(const std::any&)> setter);

    /// Answers `isAvailable`. Plug-ins override it under exactly this name.
    virtual bool doCheckAvaialbe();
    virtual bool doCalibrate();
    virtual void doCancelCalibrate();
    virtual void doFinishCalibrate();
    virtual void doFlushFrame(std::shared_ptr<Timeline> timeline);
    virtual void doRawFlushFrame(std::shared_ptr<Timeline> timeline);
    virtual std::shared_ptr<Tracks> doGetCalibrationData();
    virtual void doSetCalibrationData(std::shared_ptr<Tracks> data);
    virtual void doTruncCalibrationData();
    virtual void doGlobalStart();
    virtual void doGlobalCancel();
    virtual void doGlobalFinish();

private:
    friend class Character; // hands every frame to all of its calibrators
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn
