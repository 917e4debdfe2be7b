// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/files/C3dTesting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

// Whatever a file holds, reading it ends in a sound take or in a `ReadError`.

namespace tarn::kit {
namespace {

using namespace c3d_testing;

void expectSoundTrack(const std::shared_ptr<Tracks>& tracks, int count) {
    ASSERT_EQ(tracks->timeLength(), count);
    ASSERT_EQ(tracks->getTrack(0)->frameCount(), count);
    ASSERT_GE(tracks->fps(), 1);
}

void expectSound(const C3dTake& take, std::size_t fileSize) {
    expectSoundTrack(take.tracks, take.frameCount);
    ASSERT_TRUE(std::isfinite(take.rate) && take.rate > 0);
    ASSERT_LE(take.markers.size() * static_cast<std::size_t>(take.frameCount) * 8, fileSize);
    for (int i = 0; i < take.frameCount; ++i) {
        const MarkerFrame markers = markersAt(take, i);
        ASSERT_EQ(markers.size(), take.markers.size());
        for (const Marker& marker : markers) {
            ASSERT_EQ(marker.hasPosition(), std::isfinite(marker.position.x));
        }
    }
    ASSERT_EQ(take.analogTracks == nullptr, take.channels.empty());
    if (take.analogTracks != nullptr) {
        expectSoundTrack(take.analogTracks, take.frameCount * take.samplesPerFrame);
    }
    ASSERT_EQ(take.bodyTracks == nullptr, take.bodies.empty());
    for (const C3dFinding& finding : take.report) {
        ASSERT_LE(finding.offset, fileSize);
        ASSERT_FALSE(finding.place.empty());
    }
}

/// Reads bytes and answers whether they were accepted.
bool isAccepted(const std::string& bytes, C3dMode mode = C3dMode::Lenient) {
    try {
        C3dOptions options;
        options.mode = mode;
        expectSound(readBytes(bytes, options), bytes.size());
        return true;
    } catch (const ReadError& error) {
        EXPECT_TRUE(error.offset()) << error.what();
        EXPECT_LE(error.offset().value_or(0), bytes.size()) << error.what();
        return false;
    }
}

/// A file with something of everything.
std::string fullFile(C3dEncoding encoding) {
    FileBuilder file(encoding);
    file.channels = 2;
    file.samples = 2;
    file.dataBlock = 5;
    file.header(150, 12345).header(151, 1).headerReal(153, 0.5F);
    file.standard().group(3, "TRIAL").integers(3, "ACTUAL_START_FIELD", {1, 0});
    file.integers(3, "ACTUAL_END_FIELD", {4, 0});
    file.group(4, "EVENT").integer(4, "USED", 1).texts(4, "LABELS", {"Foot Strike"});
    file.numbers(4, "TIMES", {0, 1.5F}, {2, 1});
    file.group(5, "ROTATION").integer(5, "USED", 1).integer(5, "DATA_START", 6);
    file.texts(5, "LABELS", {"pelvis"});
    return file.bytes() + std::string(std::size_t{4} * 17 * 4, '\0');
}

TEST(C3dRobustness, EveryPieceOfAFileFromItsStartEndsWell) {
    const std::string bytes = fullFile(C3dEncoding::IntelReal);
    ASSERT_TRUE(isAccepted(bytes, C3dMode::Strict));
    int accepted = 0;
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        accepted += isAccepted(bytes.substr(0, length)) ? 1 : 0;
        ASSERT_FALSE(isAccepted(bytes.substr(0, length), C3dMode::Strict)) << length;
        ASSERT_FALSE(HasFatalFailure()) << length;
    }
    EXPECT_GT(accepted, 1000);
}

TEST(C3dRobustness, EveryByteOfHeaderAndParametersMayBeAnything) {
    const std::string bytes = fullFile(C3dEncoding::IntelInteger);
    for (std::size_t at = 0; at < std::size_t{4} * 512; ++at) {
        for (int byte = 0; byte < 256; byte += 85) {
            std::string changed = bytes;
            changed[at] = static_cast<char>(byte);
            isAccepted(changed);
            ASSERT_FALSE(HasFatalFailure()) << at << " as " << byte;
        }
    }
}

/// Changes header and parameters at random: bytes, words, counts that are extreme, pieces removed
/// and repeated.
class Mutator {
public:
    std::string mutated(std::string bytes) {
        for (int i = static_cast<int>(random_() % 6U); i >= 0; --i) {
            change(bytes);
        }
        return bytes;
    }

private:
    void change(std::string& bytes) {
        const std::size_t at =
            random_() % std::min<std::size_t>(bytes.size(), std::size_t{4} * 512);
        const auto any = [this] { return static_cast<char>(random_() % 256U); };
        switch (random_() % 6U) {
        case 0:
            bytes[at] = any();
            break;
        case 1:
            bytes[at] = static_cast<char>(bytes[at] ^ static_cast<char>(1U << random_() % 8U));
            break;
        case 2:
            bytes.replace(at, 2, random_() % 2U == 0 ? std::string(2, '\xff') : std::string(2, 0));
            break;
        case 3:
            bytes.replace(at, 4, {any(), any(), any(), any()});
            break;
        case 4:
            bytes.erase(at, random_() % 40U);
            break;
        default:
            bytes.insert(at, bytes.substr(at, random_() % 600U));
            break;
        }
    }

    std::mt19937 random_{20260101U}; // NOLINT(cert-msc51-cpp): the same run every time
};

std::size_t rounds() {
    const char* const asked = std::getenv("TARN_C3D_CHANGES");
    return asked == nullptr ? 2'000 : std::strtoul(asked, nullptr, 10);
}

TEST(C3dRobustness, RandomChangesEndWell) {
    std::vector<std::string> files;
    files.reserve(allEncodings.size());
    for (const C3dEncoding encoding : allEncodings) {
        files.push_back(fullFile(encoding));
    }
    Mutator mutator;
    std::size_t accepted = 0;
    std::size_t refused = 0;
    for (std::size_t i = 0; i < rounds(); ++i) {
        const std::string changed = mutator.mutated(files[i % files.size()]);
        ++(isAccepted(changed) ? accepted : refused);
        if (i % 5 == 0) {
            isAccepted(changed, C3dMode::Strict);
            isAccepted(changed, C3dMode::Explain);
        }
        ASSERT_FALSE(HasFatalFailure()) << i;
    }
    EXPECT_GT(accepted, 4 * refused);
}

TEST(C3dRobustness, RandomBytesAreNoC3dFile) {
    std::mt19937 random(7U); // NOLINT(cert-msc51-cpp): the same run every time
    for (int i = 0; i < 300; ++i) {
        std::string bytes(random() % 5000U, '\0');
        std::generate(bytes.begin(), bytes.end(),
                      [&] { return static_cast<char>(random() % 256U); });
        isAccepted(bytes);
        ASSERT_FALSE(HasFatalFailure());
    }
    EXPECT_FALSE(isAccepted(std::string(100'000, '\0')));
    EXPECT_FALSE(isAccepted(std::string(100'000, '\xff')));
    EXPECT_FALSE(isAccepted(std::string(100'000, 'a')));
}

TEST(C3dRobustness, WhatTheHeaderClaimsCostsNothing) {
    FileBuilder file(C3dEncoding::IntelInteger);
    file.standard().without("USED").integer(1, "USED", 65535).header(2, 65535).header(3, 65535);
    file.header(10, 1).number(1, "LONG_FRAMES", 2e9F);
    const C3dTake take = readBytes(file.bytes());
    EXPECT_EQ(take.frameCount, 0);
    EXPECT_EQ(take.markers.size(), 3U) << "as many as have a label";
    EXPECT_TRUE(take.channels.empty());
}

TEST(C3dRobustness, ManyContinuedLabelsEndSoon) {
    FileBuilder file;
    file.dataBlock = 400;
    file.standard();
    for (int i = 2; i < 6000; ++i) {
        file.texts(1, "LABELS" + std::to_string(i), {"x"});
    }
    EXPECT_EQ(readBytes(file.bytes()).frameCount, 4);
}

} // namespace
} // namespace tarn::kit
