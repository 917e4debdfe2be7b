// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/c3d/C3dData.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>

namespace tarn::kit {

namespace {

// How the words of the data are read; one type per encoding, so that the loops over millions of
// samples have no choice to make.

template <C3dProcessor processor>
struct Reals {
    static constexpr std::size_t width = 4;
    static constexpr bool isScaled = false;
    static float at(const char* word) noexcept { return realAt(word, processor); }
};

template <C3dProcessor processor, bool isUnsigned = false>
struct Integers {
    static constexpr std::size_t width = 2;
    static constexpr bool isScaled = true;
    static float at(const char* word) noexcept {
        const std::uint16_t bits = wordAt(word, processor);
        return isUnsigned ? static_cast<float>(bits)
                          : static_cast<float>(static_cast<std::int16_t>(bits));
    }
};

inline bool isFinite(float x, float y, float z) noexcept {
    // One test is enough for all that are measured; a sum can also be too large for a number.
    return (x + y + z) * 0 == 0 || x * 0 + y * 0 + z * 0 == 0;
}

/// Ten kilometres off along each axis, if lengths are millimetres: no camera sees a marker there,
/// and some programs write it where none did.
inline bool isNowhere(float x, float y, float z) noexcept {
    constexpr float nowhere = 9999999;
    return x == nowhere && y == nowhere && z == nowhere;
}

/// The fourth word has a number of 0 to 32767 in 16 bits: which cameras saw the marker, and a
/// residual in steps.
inline Marker decoded(float x, float y, float z, float fourth, float step,
                      bool originIsNotSeen) noexcept {
    Marker marker;
    const bool seen = fourth >= 0 && isFinite(x, y, z);
    if (!seen || (originIsNotSeen && fourth < 1 && x == 0 && y == 0 && z == 0)) {
        return marker;
    }
    // By way of a number with a sign, to which processors have an instruction.
    const auto bits =
        static_cast<std::uint32_t>(static_cast<std::int32_t>(std::min(fourth, 32767.0F)));
    marker.position = {x, y, z};
    marker.residual = static_cast<float>(bits & 0xFFU) * step;
    marker.cameras = static_cast<std::uint8_t>(bits >> 8U);
    marker.state = MarkerState::Seen;
    return marker;
}

template <class Words>
Nowhere decodePoints(const C3dLayout& layout, bool originIsNotSeen, const char* frame,
                     std::uint64_t frames, Marker* out) {
    constexpr std::size_t width = Words::width;
    const auto step = static_cast<float>(layout.scale);
    const auto coordinateAt = [step](const char* word) {
        return Words::isScaled ? Words::at(word) * step : Words::at(word);
    };
    const std::uint64_t stride = layout.frameBytes();
    Nowhere nowhere;
    for (std::uint64_t i = 0; i < frames; ++i) {
        const char* word = frame + i * stride;
        for (std::uint64_t k = 0; k < layout.points; ++k) {
            const float x = coordinateAt(word);
            const float y = coordinateAt(word + width);
            const float z = coordinateAt(word + 2 * width);
            float fourth = Words::at(word + 3 * width);
            if (!Words::isScaled && fourth >= 0 && isNowhere(x, y, z)) {
                nowhere.first = nowhere.count == 0 ? word : nowhere.first;
                ++nowhere.count;
                fourth = -1;
            }
            ::new (out++) Marker(decoded(x, y, z, fourth, step, originIsNotSeen));
            word += 4 * width;
        }
    }
    return nowhere;
}

template <class Words>
void decodeSamples(const C3dLayout& layout, const std::vector<double>& scales,
                   const std::vector<double>& offsets, const char* frame, std::uint64_t frames,
                   float* out) {
    const std::uint64_t stride = layout.frameBytes();
    for (std::uint64_t i = 0; i < frames; ++i) {
        const char* word = frame + i * stride + layout.pointBytes();
        for (std::uint64_t k = 0; k < layout.samplesPerFrame; ++k) {
            for (std::uint64_t channel = 0; channel < layout.channels; ++channel) {
                const auto stored = static_cast<double>(Words::at(word));
                *out++ = static_cast<float>((stored - offsets[channel]) * scales[channel]);
                word += Words::width;
            }
        }
    }
}

/// Calls `visit` with the type that reads the words of a layout.
template <class Visit>
void withWords(const C3dLayout& layout, bool isUnsigned, Visit visit) {
    switch (layout.processor) {
    case C3dProcessor::Mips:
        if (layout.real) {
            visit(Reals<C3dProcessor::Mips>());
        } else if (isUnsigned) {
            visit(Integers<C3dProcessor::Mips, true>());
        } else {
            visit(Integers<C3dProcessor::Mips>());
        }
        break;
    case C3dProcessor::Dec:
        if (layout.real) {
            visit(Reals<C3dProcessor::Dec>());
            break;
        }
        [[fallthrough]]; // the integers are those of Intel
    default:
        if (layout.real) {
            visit(Reals<C3dProcessor::Intel>());
        } else if (isUnsigned) {
            visit(Integers<C3dProcessor::Intel, true>());
        } else {
            visit(Integers<C3dProcessor::Intel>());
        }
        break;
    }
}

/// A matrix of 4 x 4, column by column: three axes and the position.
using Matrix = std::array<float, 16>;

/// The rotation of a matrix, from its largest component on, which divides well.
Quaternionf rotationOf(const Matrix& m) {
    const auto at = [&m](std::size_t row, std::size_t column) {
        return static_cast<double>(m[column * 4 + row]);
    };
    const std::array<double, 4> squares = {
        1 + at(0, 0) - at(1, 1) - at(2, 2), 1 - at(0, 0) + at(1, 1) - at(2, 2),
        1 - at(0, 0) - at(1, 1) + at(2, 2), 1 + at(0, 0) + at(1, 1) + at(2, 2)};
    const auto* const largest = std::max_element(squares.begin(), squares.end());
    std::array<double, 4> q = {at(2, 1) - at(1, 2), at(0, 2) - at(2, 0), at(1, 0) - at(0, 1),
                               squares[3]};
    if (largest == squares.begin()) {
        q = {squares[0], at(1, 0) + at(0, 1), at(0, 2) + at(2, 0), q[0]};
    } else if (largest == squares.begin() + 1) {
        q = {at(1, 0) + at(0, 1), squares[1], at(2, 1) + at(1, 2), q[1]};
    } else if (largest == squares.begin() + 2) {
        q = {at(0, 2) + at(2, 0), at(2, 1) + at(1, 2), squares[2], q[2]};
    }
    const double length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
    if (!(length > 0) || !std::isfinite(length)) {
        return {0, 0, 0, 1};
    }
    return {static_cast<float>(q[0] / length), static_cast<float>(q[1] / length),
            static_cast<float>(q[2] / length), static_cast<float>(q[3] / length)};
}

Matrix matrixOf(const RigidBody& body) {
    Matrix matrix{};
    for (std::size_t column = 0; column < 3; ++column) {
        Vector3f axis;
        (column == 0 ? axis.x : column == 1 ? axis.y : axis.z) = 1;
        const Vector3f turned = body.rotation * axis;
        matrix[column * 4] = turned.x;
        matrix[column * 4 + 1] = turned.y;
        matrix[column * 4 + 2] = turned.z;
    }
    matrix[12] = body.position.x;
    matrix[13] = body.position.y;
    matrix[14] = body.position.z;
    matrix[15] = 1;
    return matrix;
}

/// The nearest whole number that 16 bits hold.
std::uint16_t wordOf(double value, bool isUnsigned) {
    if (!(value == value)) {
        return 0;
    }
    const double least = isUnsigned ? 0 : -32768;
    const double most = isUnsigned ? 65535 : 32767;
    return static_cast<std::uint16_t>(
        static_cast<std::int32_t>(std::clamp(std::rint(value), least, most)));
}

/// What tells a number from one that is equal but not the same, and finds the same in what is none.
std::uint32_t bitsOf(float number) noexcept {
    std::uint32_t bits = 0;
    std::memcpy(&bits, &number, sizeof bits);
    return bits;
}

bool isSameVector(const Vector3f& a, const Vector3f& b) noexcept {
    return bitsOf(a.x) == bitsOf(b.x) && bitsOf(a.y) == bitsOf(b.y) && bitsOf(a.z) == bitsOf(b.z);
}

} // namespace

C3dData::C3dData(const C3dLayout& layout, const std::vector<C3dChannel>& channels,
                 bool originIsNotSeen)
    : layout_(layout), originIsNotSeen_(originIsNotSeen) {
    scales_.reserve(channels.size());
    offsets_.reserve(channels.size());
    for (const C3dChannel& channel : channels) {
        scales_.push_back(channel.scale);
        offsets_.push_back(channel.offset);
    }
}

Nowhere C3dData::decodeMarkers(const char* frame, std::uint64_t frames, Marker* markers) const {
    Nowhere nowhere;
    withWords(layout_, false, [&](auto words) {
        nowhere = decodePoints<decltype(words)>(layout_, originIsNotSeen_, frame, frames, markers);
    });
    return nowhere;
}

void C3dData::decodeAnalog(const char* frame, std::uint64_t frames, float* samples) const {
    withWords(layout_, layout_.unsignedAnalog, [&](auto words) {
        decodeSamples<decltype(words)>(layout_, scales_, offsets_, frame, frames, samples);
    });
}

void C3dData::decodeBodies(const char* bodies, std::uint64_t count, RigidBody* out) const {
    for (std::uint64_t i = 0; i < count; ++i) {
        const char* at = bodies + i * C3dLayout::bodyBytes;
        Matrix matrix{};
        bool finite = true;
        for (float& number : matrix) {
            number = realAt(at, layout_.processor);
            finite = finite && std::isfinite(number);
            at += sizeof(float);
        }
        const float reliability = realAt(at, layout_.processor);
        RigidBody body;
        if (reliability >= 0 && finite) {
            body.position = {matrix[12], matrix[13], matrix[14]};
            body.rotation = rotationOf(matrix);
            body.residual = reliability;
            body.state = MarkerState::Seen;
        }
        ::new (out + i) RigidBody(body);
    }
}

void C3dData::encodeMarker(const Marker& marker, char* point) const {
    const bool there = marker.hasPosition() && std::isfinite(marker.position.x) &&
                       std::isfinite(marker.position.y) && std::isfinite(marker.position.z);
    const bool seen = there && marker.state == MarkerState::Seen;
    const double steps = std::rint(static_cast<double>(marker.residual) / layout_.scale);
    const int residual = seen && steps > 0 ? static_cast<int>(std::min(steps, 255.0)) : 0;
    const int cameras = seen ? marker.cameras & 0x7F : 0;
    const int fourth = there ? cameras * 256 + residual : -1;
    const std::array<float, 3> position = {there ? marker.position.x : 0,
                                           there ? marker.position.y : 0,
                                           there ? marker.position.z : 0};
    for (const float coordinate : position) {
        if (layout_.real) {
            putReal(point, coordinate, layout_.processor);
        } else {
            putWord(point, wordOf(static_cast<double>(coordinate) / layout_.scale, false),
                    layout_.processor);
        }
        point += layout_.wordSize();
    }
    if (layout_.real) {
        putReal(point, static_cast<float>(fourth), layout_.processor);
    } else {
        putWord(point, static_cast<std::uint16_t>(fourth), layout_.processor);
    }
}

void C3dData::encodeSample(float sample, std::uint64_t channel, char* word) const {
    const double scale = scales_[channel];
    const double stored =
        scale == 0 ? offsets_[channel] : static_cast<double>(sample) / scale + offsets_[channel];
    if (layout_.real) {
        putReal(word, static_cast<float>(stored), layout_.processor);
    } else {
        putWord(word, wordOf(stored, layout_.unsignedAnalog), layout_.processor);
    }
}

void C3dData::encodeBody(const RigidBody& body, char* bytes) const {
    const bool there = body.hasPosition();
    const Matrix matrix = there ? matrixOf(body) : Matrix{};
    for (const float number : matrix) {
        putReal(bytes, number, layout_.processor);
        bytes += sizeof(float);
    }
    putReal(bytes, there ? body.residual : -1.0F, layout_.processor);
}

bool isSame(const Marker& a, const Marker& b) noexcept {
    return a.state == b.state && a.cameras == b.cameras && isSame(a.residual, b.residual) &&
           isSameVector(a.position, b.position);
}

bool isSame(float a, float b) noexcept { return bitsOf(a) == bitsOf(b); }

bool isSame(const RigidBody& a, const RigidBody& b) noexcept {
    return a.state == b.state && isSame(a.residual, b.residual) &&
           isSameVector(a.position, b.position) && isSame(a.rotation.w, b.rotation.w) &&
           isSameVector({a.rotation.x, a.rotation.y, a.rotation.z},
                        {b.rotation.x, b.rotation.y, b.rotation.z});
}

} // namespace tarn::kit
