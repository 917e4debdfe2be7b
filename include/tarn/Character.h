// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Actor.h>
#include <tarn/Calibrator.h>
#include <tarn/Device.h>
#include <tarn/Export.h>
#include <tarn/Settings.h>
#include <tarn/Solver.h>
#include <tarn/Timeline.h>
#include <tarn/Tracks.h>
#include <tsignal/Signal.h>

#include <list>
#include <memory>
#include <string>

namespace tarn {

/// One performer in a scene: an actor, a solver, devices and calibrators, which are its children
/// and found by their type, and a take that carries the motion. Whenever the take's current time
/// moves, the character announces the take's frames of that instant with `onFrame`; while it is
/// calibrating it also hands them to each of its calibrators.
///
/// Ownership: children are linked, not owned; the take is shared. Give a character whose take lives
/// on an empty take before you destroy it: its connection to the take is not undone by itself.
///
/// Threads: only the signals lock. `onFrame` runs on the thread that moves the take.
class TARN_EXPORT Character : public Settings {
public:
    Character(const std::string& characterId, const std::string& characterName);
    ~Character() override;
    Character(const Character&) = delete;
    Character& operator=(const Character&) = delete;

    std::string characterId();
    /// No signal.
    void setCharacterId(const std::string& id);
    /// The performer's name; not the object name, which stays empty.
    std::string characterName();
    /// Emits `onCharacterNameChanged` if the name differs.
    void setCharacterName(const std::string& name);

    /// The first child that is an actor, or null.
    Actor* actor() const;
    /// Unlinks the actor found so far, links `actor` unless it is null, and emits `onActorChanged`.
    /// Does nothing if it is the same actor.
    void setActor(Actor* actor);
    /// The first child that is a solver, or null.
    Solver* solver() const;
    /// As `setActor`, with `onSolverChanged`.
    void setSolver(Solver* solver);

    /// Every child that is a device, in the order in which they were added.
    std::list<Device*> devices();
    /// Links a device, then emits `onDeviceAdded`. Nothing is checked.
    void addDevice(Device* device);
    /// Emits `onDeviceWillRemove`, whether the device is linked or not, then unlinks it.
    void removeDevice(Device* device);
    /// The first device of a type, or null.
    Device* findDevice(const std::string& type) const;
    /// Every device of a type, in the order in which they were added.
    std::list<Device*> findDevices(const std::string& type);

    /// Every child that is a calibrator, in the order in which they were added.
    std::list<Calibrator*> calibrators();
    /// Links a calibrator, notes whether a host must run it, then emits `onCalibratorAdded`.
    void addCalibrator(Calibrator* calibrator, bool required);
    /// Emits `onCalibratorWillRemove`, whether the calibrator is linked or not, then unlinks it.
    void removeCalibrator(Calibrator* calibrator);
    /// What `addCalibrator` noted, until `removeCalibrator`; false for a calibrator that was never
    /// added.
    bool isCalibratorRequired(Calibrator* calibrator);

    // A calibration run. State is not checked: begun twice, every frame reaches each calibrator
    // twice. The end of a run also disconnects slots that were bound to this character on
    // `onFrame`. Precondition of all three: there is a solver when its turn comes (a slot of
    // `onWillCalibrate` is in time to set it).

    /// Emits `onWillCalibrate`, begins with the solver, starts each calibrator and from then on
    /// hands it every frame.
    void beginCalibrate();
    /// Finishes each calibrator, stops the frames, ends with the solver, emits
    /// `onCalibrateFinished`.
    void endCalibrate();
    /// Cancels each calibrator, stops the frames, cancels with the solver, emits
    /// `onCalibrateCanceled`.
    void cancelCalibrate();
    /// True from the end of `beginCalibrate` until after the signal that closes the run.
    bool isCalibrating();

    /// The take; may be empty.
    std::shared_ptr<Tracks> tracks();
    /// Emits `onWillChangeTracks`, replaces the take, emits `onTracksChanged`. Does nothing if it
    /// is the same take. The old take is no longer heard by the time of the first signal; slots
    /// that were bound to this character on its `onCurrentTimeChanged` are gone too. Precondition:
    /// not called from a slot of `onWillChangeTracks`.
    void setTracks(std::shared_ptr<Tracks> tracks);

    tsignal::Signal<std::string>& onCharacterNameChanged();
    tsignal::Signal<Device*>& onDeviceAdded();
    tsignal::Signal<Device*>& onDeviceWillRemove();
    tsignal::Signal<Calibrator*>& onCalibratorAdded();
    tsignal::Signal<Calibrator*>& onCalibratorWillRemove();
    /// The new actor, which may be null.
    tsignal::Signal<Actor*>& onActorChanged();
    /// The new solver, which may be null.
    tsignal::Signal<Solver*>& onSolverChanged();
    /// What the take shows, each time its current time is set or an update covers that time.
    tsignal::Signal<std::shared_ptr<Timeline>>& onFrame();
    tsignal::Signal<>& onWillCalibrate();
    tsignal::Signal<>& onCalibrateCanceled();
    tsignal::Signal<>& onCalibrateFinished();
    /// The old take, which may be empty.
    tsignal::Signal<std::shared_ptr<Tracks>>& onWillChangeTracks();
    /// The new take, which may be empty.
    tsignal::Signal<std::shared_ptr<Tracks>>& onTracksChanged();

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn
