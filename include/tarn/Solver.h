// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Export.h>
#include <tarn/Frame.h>
#include <tarn/Object.h>
#include <tarn/Sequence.h>
#include <tarn/Settings.h>
#include <tarn/Skeleton.h>
#include <tarn/Tracks.h>
#include <tsignal/Signal.h>

#include <any>
#include <functional>
#include <list>
#include <memory>
#include <string>

namespace tarn {

/// Turns input frames into motion. The base files input and output frames into one sequence per
/// data type, keeps numbered factors, holds a skeleton as a child and announces calibration; a
/// concrete solver overrides the `do...` operations, most of all `doEvaluate`.
///
/// Ownership: the skeleton is linked, not owned; sequences are shared.
/// Threads: only the signals lock; everything else is used from one thread at a time.
class TARN_EXPORT Solver : public Object {
public:
    Solver(const std::string& type, const std::string& id);
    ~Solver() override;
    Solver(const Solver&) = delete;
    Solver& operator=(const Solver&) = delete;

    std::string type() const;
    std::string id() const;
    /// The first child that is a skeleton, or null.
    Skeleton* skeleton() const;

    /// Appends a frame to the input sequence of its data type, which is created on first use.
    /// Frames stay in the order of arrival. Precondition: `frame` is not empty.
    void addInput(std::shared_ptr<Frame> frame);
    /// Forgets all inputs; sequences that others hold stay as they are.
    void clearInput();
    /// The output sequence of a data type; empty if there is none (which leaves an entry that
    /// `getOutputs` does not show). The reference holds until `clearOutput`.
    const std::shared_ptr<Sequence>& getOutput(int dataType);
    /// All output sequences in ascending order of data type.
    std::list<std::shared_ptr<Sequence>> getOutputs();
    /// Forgets all outputs; sequences that others hold stay as they are.
    void clearOutput();

    /// Evaluates what was added as input; returns what the concrete solver answers, false in the
    /// base. Neither inputs nor outputs are cleared, before or after.
    bool evaluate();
    /// Evaluates over a take. What the two integers mean is up to the concrete solver.
    bool evaluate(std::shared_ptr<Tracks> tracks, int first, int second);

    // Calibration is driven from outside, usually by the character; the calls may come in any
    // order.

    /// Emits `onWillCalibrate`, then does the work.
    void beginCalibrate();
    /// Does the work, then emits `onCalibrateFinished`.
    void endCalibrate();
    /// Does the work, then emits `onCalibrateCanceled`.
    void cancelCalibrate();
    /// Always false: whoever drives a calibration knows its state (`Character::isCalibrating`).
    bool isCalibrating();

    /// The value of a factor; empty if there is no such factor or it cannot be queried.
    std::any queryFactor(int id) const;
    /// Sets a factor, then emits `onFactorChanged` if it can also be queried: on every call,
    /// whether the value differs or not. Does nothing if there is no such factor or it cannot be
    /// set.
    void setFactor(int id, const std::any& value);
    bool isFactorQueriable(int id) const;
    bool isFactorSettable(int id) const;
    /// Sets a factor to the value it is to be left at, as `setFactor` does, then removes it.
    void removeFactor(int id, const std::any& value);

    /// Lets the concrete solver write its state into `settings`, in a layout of its own.
    void saveStatus(Settings* settings);
    /// Lets the concrete solver read its state back.
    void restoreStatus(Settings* settings);

    /// After a factor was set, with its id.
    tsignal::Signal<int>& onFactorChanged();
    tsignal::Signal<>& onWillCalibrate();
    tsignal::Signal<>& onCalibrateFinished();
    tsignal::Signal<>& onCalibrateCanceled();

protected:
    /// With an empty type and id.
    Solver();
    void setType(const std::string& type);
    void setId(const std::string& id);
    /// Links a skeleton as a child. A second one does not replace the first.
    void setSkeleton(Skeleton* skeleton);

    /// The input sequence of a data type; as `getOutput`, until `clearInput`.
    const std::shared_ptr<Sequence>& getInput(int dataType);
    /// All input sequences in ascending order of data type.
    std::list<std::shared_ptr<Sequence>> getInputs();
    /// Publishes a result: appends it to the output sequence of its data type.
    /// Precondition: `frame` is not empty.
    void addOutput(std::shared_ptr<Frame> frame);

    /// Registers a factor: a getter makes it queriable, a setter settable. A callable that is not
    /// empty replaces the one registered before; an empty one leaves it.
    void addFactor(int id, std::function<std::any()> getter,
                   std::function<void(const std::any&)> setter);

    virtual bool doEvaluate(std::shared_ptr<Tracks> tracks, int first, int second);
    virtual bool doEvaluate();
    virtual void doBeginCalibrate();
    virtual void doCancelCalibrate();
    virtual void doEndCalibrate();
    virtual void doSaveStatus(Settings* settings);
    virtual void doRestoreStatus(Settings* settings);

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn
