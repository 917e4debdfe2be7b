// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Bone.h>

#include "core/TypedLinks.h"

#include <tarn/Joint.h>

#include <cassert>

namespace tarn {

struct Bone::PrivateData {
    std::shared_ptr<Joint> joint;
    int sensor = -1;
    tsignal::Signal<int> onSensorBindChanged;
};

Bone::Bone(const std::string& name) : d_(std::make_unique<PrivateData>()) {
    d_->joint = std::make_shared<Joint>(name);
}

Bone::~Bone() = default;

std::string Bone::name() const { return d_->joint->name(); }

Joint* Bone::joint() { return d_->joint.get(); }

void Bone::addChildBone(Bone* child) {
    assert(child != nullptr);
    addChild(child);
    joint()->addChild(child->joint());
}

void Bone::removeChildBone(Bone* child) {
    assert(child != nullptr);
    removeChild(child);
    joint()->removeChild(child->joint());
}

Bone* Bone::parentBone() const { return typedParent<Bone>(*this); }

std::list<Bone*> Bone::childrenBones() const { return typedChildren<Bone>(*this); }

void Bone::bindSensor(int sensor) {
    d_->sensor = sensor;
    d_->onSensorBindChanged.emit(sensor);
}

void Bone::unbindSensor() { bindSensor(-1); }

int Bone::sensorBinded() const { return d_->sensor; }

tsignal::Signal<int>& Bone::onSensorBindChanged() { return d_->onSensorBindChanged; }

} // namespace tarn
