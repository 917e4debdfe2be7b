// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "PeerBody.h"

#include <SimTKsimbody.h>

#include <cmath>
#include <map>
#include <utility>

namespace tarn_benchmark {

namespace {

using tarn::kit::HumanJoint;
using tarn::kit::Vector3d;

SimTK::Vec3 vec(const Vector3d& v) { return {v.x, v.y, v.z}; }

Vector3d vector(const SimTK::Vec3& v) { return {v[0], v[1], v[2]}; }

/// Masses are none of an assembly's business, but there have to be some.
SimTK::Body::Rigid part() {
    return SimTK::Body::Rigid(SimTK::MassProperties(1, SimTK::Vec3(0), SimTK::Inertia(1)));
}

/// Whether each joint has a marker on it or on one that hangs on it.
std::vector<bool> joinsMarkers(const tarn::kit::MarkerBody& body) {
    const auto& joints = body.body.joints();
    std::vector<bool> does(joints.size());
    for (const tarn::kit::BodyMarker& marker : body.markers) {
        for (int j = body.body.jointOf(marker.segment); j >= 0;
             j = joints[static_cast<std::size_t>(j)].parent) {
            does[static_cast<std::size_t>(j)] = true;
        }
    }
    return does;
}

} // namespace

struct PeerBody::PrivateData {
    SimTK::MultibodySystem system;
    SimTK::SimbodyMatterSubsystem matter{system};
    std::map<std::string, SimTK::MobilizedBodyIndex> joints;
    std::vector<SimTK::MobilizedBodyIndex> ends; ///< what hangs on a joint hangs on these
    SimTK::State state;
    std::unique_ptr<SimTK::Assembler> assembler;
    SimTK::Markers* goal = nullptr; ///< the assembler's
    std::vector<int> columns;
    double metresPerUnit = 0.001;
};

PeerBody::PeerBody(const tarn::kit::MarkerBody& body, std::vector<int> columns,
                   double metresPerUnit, double accuracy)
    : d_(std::make_unique<PrivateData>()) {
    using SimTK::MobilizedBody;
    using SimTK::Transform;
    d_->columns = std::move(columns);
    d_->metresPerUnit = metresPerUnit;
    const auto isNeeded = joinsMarkers(body);
    const auto& joints = body.body.joints();
    d_->ends.resize(joints.size());
    for (std::size_t j = 0; j < joints.size(); ++j) {
        const HumanJoint& joint = joints[j];
        if (!isNeeded[j]) {
            continue;
        }
        if (joint.parent < 0) {
            MobilizedBody::Free free(d_->matter.Ground(), Transform(), part(), Transform());
            d_->ends[j] = free.getMobilizedBodyIndex();
        } else {
            MobilizedBody& parent =
                d_->matter.updMobilizedBody(d_->ends[static_cast<std::size_t>(joint.parent)]);
            MobilizedBody::Ball ball(parent, Transform(vec(joint.offset)), part(), Transform());
            d_->ends[j] = ball.getMobilizedBodyIndex();
        }
        d_->joints[joint.name] = d_->ends[j];
        if (joint.name == "LeftForeArm" || joint.name == "RightForeArm") {
            // A pin turns about its Z.
            const Transform alongX(SimTK::Rotation(SimTK::Pi / 2, SimTK::YAxis));
            MobilizedBody::Pin twist(d_->matter.updMobilizedBody(d_->ends[j]), alongX, part(),
                                     alongX);
            d_->ends[j] = twist.getMobilizedBodyIndex();
        }
    }
    d_->state = d_->system.realizeTopology();
    d_->matter.setUseEulerAngles(d_->state, true);
    d_->system.realizeModel(d_->state);
    d_->assembler = std::make_unique<SimTK::Assembler>(d_->system);
    d_->goal = new SimTK::Markers(); // the assembler's from now on
    for (const tarn::kit::BodyMarker& marker : body.markers) {
        const auto j = static_cast<std::size_t>(body.body.jointOf(marker.segment));
        const auto on = marker.turnsWithHand ? d_->ends[j] : d_->joints.at(marker.segment);
        d_->goal->addMarker(marker.name, on, vec(marker.offset), marker.weight);
    }
    d_->assembler->adoptAssemblyGoal(d_->goal);
    d_->assembler->setAccuracy(accuracy);
    d_->goal->defineObservationOrder(SimTK::Array_<SimTK::Markers::MarkerIx>());
    d_->assembler->initialize(d_->state);
}

PeerBody::~PeerBody() = default;

void PeerBody::observe(const tarn::kit::MarkerFrame& frame) {
    for (std::size_t m = 0; m < d_->columns.size(); ++m) {
        SimTK::Vec3 place(SimTK::NaN); // not seen
        if (d_->columns[m] >= 0) {
            const tarn::kit::Marker& marker = frame[static_cast<std::size_t>(d_->columns[m])];
            if (marker.hasPosition()) {
                place = vec(d_->metresPerUnit * tarn::kit::toDouble(marker.position));
            }
        }
        d_->goal->moveOneObservation(SimTK::Markers::ObservationIx(static_cast<int>(m)), place);
    }
}

void PeerBody::assemble(const tarn::kit::MarkerFrame& frame) {
    observe(frame);
    d_->assembler->assemble();
}

void PeerBody::track(const tarn::kit::MarkerFrame& frame) {
    observe(frame);
    d_->assembler->track();
}

std::vector<Vector3d> PeerBody::markers() const {
    std::vector<Vector3d> places;
    for (std::size_t m = 0; m < d_->columns.size(); ++m) {
        places.push_back(vector(
            d_->goal->findCurrentMarkerLocation(SimTK::Markers::MarkerIx(static_cast<int>(m)))));
    }
    return places;
}

Vector3d PeerBody::joint(const std::string& name) const {
    return vector(d_->matter.getMobilizedBody(d_->joints.at(name))
                      .getBodyOriginLocation(d_->assembler->getInternalState()));
}

} // namespace tarn_benchmark
