// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "files/c3d/layout/C3dLayout.h"

#include <tarn_kit/files/C3d.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace tarn::kit {

/// Points of a file that stand in a place where nothing is: what some programs write instead of a
/// gap.
struct Nowhere {
    std::uint64_t count = 0;
    const char* first = nullptr; ///< among the bytes; null if there is none
};

/// Between samples as they lie in a file and as they are used: what is decoded, and encoded in the
/// same layout, gives the same.
class C3dData {
public:
    C3dData(const C3dLayout& layout, const std::vector<C3dChannel>& channels, bool originIsNotSeen);

    const C3dLayout& layout() const noexcept { return layout_; }
    /// Whether what lies at the origin, with a fourth word of 0, was not seen.
    void setOriginIsNotSeen(bool isNotSeen) noexcept { originIsNotSeen_ = isNotSeen; }

    /// The markers of `frames` frames, of which the first starts at `frame`; and which of them were
    /// taken for not seen, because nothing is where they are.
    Nowhere decodeMarkers(const char* frame, std::uint64_t frames, Marker* markers) const;
    /// All samples of all channels of the same frames.
    void decodeAnalog(const char* frame, std::uint64_t frames, float* samples) const;
    /// `count` rigid bodies in a row.
    void decodeBodies(const char* bodies, std::uint64_t count, RigidBody* out) const;

    /// One marker, sample or body.
    void encodeMarker(const Marker& marker, char* point) const;
    void encodeSample(float sample, std::uint64_t channel, char* word) const;
    void encodeBody(const RigidBody& body, char* bytes) const;

private:
    C3dLayout layout_;
    std::vector<double> scales_;
    std::vector<double> offsets_;
    bool originIsNotSeen_;
};

bool isSame(const Marker& a, const Marker& b) noexcept;
bool isSame(float a, float b) noexcept;
bool isSame(const RigidBody& a, const RigidBody& b) noexcept;

} // namespace tarn::kit
