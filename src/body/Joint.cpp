// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Joint.h>

#include "body/JointData.h"
#include "core/TypedLinks.h"

namespace tarn {

Joint::Joint(const std::string& name) : d_(std::make_unique<PrivateData>()) { d_->name = name; }

Joint::~Joint() = default;

std::string Joint::name() const { return d_->name; }

Joint* Joint::parentJoint() const { return typedParent<Joint>(*this); }

std::list<Joint*> Joint::childrenJoints() const { return typedChildren<Joint>(*this); }

} // namespace tarn
