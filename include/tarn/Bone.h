// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Export.h>
#include <tarn/Object.h>
#include <tsignal/Signal.h>

#include <list>
#include <memory>
#include <string>

namespace tarn {

class Joint;

/// A segment of a body: its joint, the number of the sensor that drives it, and its child bones.
/// The names of the body's usual bones are in `tarn/BoneID.h`; any other name does as well.
///
/// Ownership: a bone owns its joint, which dies with it, and no other bone: whoever makes a bone
/// destroys it, and unlinks it first. Threads: one at a time; only the signal locks.
class TARN_EXPORT Bone : public Object {
public:
    /// A bone without a sensor, with a new joint of this name. The object name stays empty.
    explicit Bone(const std::string& name);
    ~Bone() override;
    Bone(const Bone&) = delete;
    Bone& operator=(const Bone&) = delete;

    /// The name of the joint, fixed for life.
    std::string name() const;
    /// The bone's joint, never null; it lives as long as the bone.
    Joint* joint();

    /// Links `child` below this bone, and then its joint below this bone's joint; each of the two
    /// links is announced as by `Object::addChild`. A child linked twice is listed twice.
    /// Precondition: `child` is not null. The bone itself or one above it is not refused, but a
    /// skeleton over such a ring can no longer be listed or searched.
    void addChildBone(Bone* child);
    /// Breaks every link to `child`, and then every link between the two joints; each is announced
    /// as by `Object::removeChild`. Does nothing where there is no link. Precondition: `child` is
    /// not null.
    void removeChildBone(Bone* child);
    /// The first parent that is a bone, or null.
    Bone* parentBone() const;
    /// The children that are bones, in the order in which they were linked.
    std::list<Bone*> childrenBones() const;

    /// Sets the sensor's number and announces it, on every call, the same number included.
    void bindSensor(int sensor);
    /// The same as `bindSensor(-1)`; announced with -1, even if no sensor was bound.
    void unbindSensor();
    /// The number of the bound sensor; -1 if there is none.
    int sensorBinded() const;

    /// After the sensor was bound or unbound, with the new number.
    tsignal::Signal<int>& onSensorBindChanged();

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn
