// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Export.h>
#include <tarn/Settings.h>
#include <tsignal/Signal.h>

#include <map>
#include <memory>
#include <string>

namespace tarn {

/// The performer of a capture: a name, body dimensions (real numbers) and a sensor map (whole
/// numbers), all kept in the actor's own settings, so that it is saved and loaded as these are:
///
///     MocapActor
///         ActorName        the name
///         BodyDimension    a value per dimension
///         SensorMap        a value per entry: where the sensor map is read
///     SensorMap            where a sensor map is put, and not read
///
/// No setter brings a sensor map to the place where it is read: a loaded document does, or the
/// settings do (`setValue("MocapActor.SensorMap.Hips", "3")`).
///
/// Groups appear when they are first asked for, by a getter too. The call that creates a group
/// returns an empty store that is not connected to the actor: what is written to it is lost. Every
/// later call returns a view into the actor's settings. The setters of name and dimensions look
/// first and write then, so that they always reach the actor.
///
/// Numbers are texts in the settings: dimensions with six digits after the decimal point, sensor
/// values in decimal. A text is read up to where it stops being a number, as 0 if it is none.
/// Decimal point and all, whatever the process's locale. The names of dimensions and entries are
/// paths (see `Settings`).
///
/// The setters fire the signals of this class, never `onSettingChanged`.
///
/// Threads: as `Settings`.
class TARN_EXPORT Actor : public Settings {
public:
    /// An actor without a name, with empty settings.
    Actor();
    ~Actor() override;

    /// The group "MocapActor"; see above for what the call that creates it returns.
    std::shared_ptr<Settings> rootSettings();

    /// The name; empty if there is none.
    std::string actorName();
    /// Stores the name and emits `onActorNameChanged`, unless it is the current one.
    void setActorName(const std::string& name);

    /// A dimension, or `defaultValue`, rounded to six decimals, if there is none.
    float bodyDimension(const std::string& name, float defaultValue);
    /// Stores a dimension and emits `onBodyDimensionChanged`, unless it differs by less than 0.0001
    /// from the current one. A missing dimension counts as 0: it cannot be set to a value that
    /// close to 0. A name that `Settings::setValue` stores nothing under is not announced.
    void setBodyDimension(const std::string& name, float value);
    /// The group of the dimensions; see above for what the call that creates it returns.
    std::shared_ptr<Settings> bodyDimensionSettings();
    /// Removes the group, puts a deep copy of `settings` in its place and emits
    /// `onBodyDimensionSettingsChanged`. `settings` may be a view of the group or of a part of it,
    /// which is copied first; one of what is around the group comes without the old one.
    /// Precondition: `settings` is not empty.
    void setBodyDimensionSettings(std::shared_ptr<Settings> settings);

    /// Every entry of the sensor map, from where it is read.
    std::map<std::string, int> sensorMap();
    /// Emits `onSensorMapChanged`, the same value included, after storing an entry where the sensor
    /// map is read. If there is no sensor map the entry is not kept, and the signal fires all the
    /// same. A name that `Settings::setValue` stores nothing under is not announced.
    void setSensorMap(const std::string& name, int value);
    /// The group of the sensor map, from where it is read. If there is none, an empty store that is
    /// not connected to the actor, at every call; the group at the other place is then replaced by
    /// an empty one.
    std::shared_ptr<Settings> sensorMapSettings();
    /// Removes what is at the place where the sensor map is read, and puts a deep copy of
    /// `settings` at the place where it is not; with views, as `setBodyDimensionSettings`. No
    /// signal. Precondition: `settings` is not empty.
    void setSensorMapSettings(std::shared_ptr<Settings> settings);

    /// After the name changed, with the new name.
    tsignal::Signal<std::string>& onActorNameChanged();
    /// After `setBodyDimension` stored a value, with the dimension's name and the value.
    tsignal::Signal<std::string, float>& onBodyDimensionChanged();
    /// After `setBodyDimensionSettings` replaced the dimensions.
    tsignal::Signal<>& onBodyDimensionSettingsChanged();
    /// After every `setSensorMap` but one of a name that cannot be, with the entry's name and the
    /// value.
    tsignal::Signal<std::string, int>& onSensorMapChanged();

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn
