// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/body/Markers.h>
#include <tarn_kit/body/Rotations.h>
#include <tarn_kit/solving/MarkerBody.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace tarn_benchmark {

/// A calibrated body as Simbody knows it, whose Assembler fits it to markers: the same joints,
/// lengths, marker offsets and weights. The hips move freely, the others are ball joints, and each
/// forearm has a twist about its own axis. Joints that move no marker are left out.
class PeerBody {
public:
    /// `columns` is where a frame has each of the body's markers, or -1.
    PeerBody(const tarn::kit::MarkerBody& body, std::vector<int> columns, double metresPerUnit,
             double accuracy);
    ~PeerBody();
    PeerBody(const PeerBody&) = delete;
    PeerBody& operator=(const PeerBody&) = delete;

    /// Fits it anew, from where it is.
    void assemble(const tarn::kit::MarkerFrame& frame);
    /// Goes on from the last frame, in few steps.
    void track(const tarn::kit::MarkerFrame& frame);

    /// Where it has each of the body's markers, in metres.
    std::vector<tarn::kit::Vector3d> markers() const;
    /// Where a joint is, in metres. Precondition: some marker hangs on it.
    tarn::kit::Vector3d joint(const std::string& name) const;

private:
    void observe(const tarn::kit::MarkerFrame& frame);

    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn_benchmark
