// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/files/C3dTesting.h"

#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>
#include <utility>

// Markers that lie exactly at the origin: gaps of programs that write no other, or true points. And
// those at 9999999,9999999,9999999, which are always gaps.

namespace tarn::kit {
namespace {

using namespace c3d_testing;

/// Where a marker is in a frame, on an axis; nothing to leave a 0 there, and in the fourth word.
using Place = std::function<std::optional<float>(int marker, int frame, int axis)>;

FileBuilder builder(C3dEncoding encoding) {
    FileBuilder file(encoding);
    file.points = 3;
    file.frames = 40;
    file.standard();
    return file;
}

/// A file whose markers are where `place` says, without cameras and residuals.
std::string fileWith(const FileBuilder& file, const Place& place) {
    std::string bytes = file.bytes();
    std::size_t at = std::size_t{3} * 512;
    const auto put = [&](int number) {
        const std::string word = file.value(number);
        bytes.replace(at, word.size(), word);
        at += word.size();
    };
    for (int frame = 0; frame < file.frames; ++frame) {
        for (int marker = 0; marker < file.points; ++marker) {
            for (int axis = 0; axis < 3; ++axis) {
                put(static_cast<int>(place(marker, frame, axis).value_or(0)));
            }
            put(0);
        }
    }
    return bytes;
}

/// Walks on, a metre and more from the origin.
float away(int marker, int frame, int axis) {
    return static_cast<float>(1000 + 400 * marker + 5 * frame + axis);
}

bool isIn(int frame, int first, int last) { return frame >= first && frame <= last; }

/// The first marker is gone for a while, the last one all the time.
std::optional<float> withGaps(int marker, int frame, int axis) {
    const bool isGone = marker == 2 || (marker == 0 && isIn(frame, 10, 19));
    return isGone ? std::nullopt : std::optional(away(marker, frame, axis));
}

bool isSeen(const C3dTake& take, int frame, std::size_t marker) {
    return markersAt(take, frame)[marker].hasPosition();
}

TEST(C3dOrigins, ToWhichAMarkerLeapsAreGapsInTheWholeFile) {
    for (const C3dEncoding encoding : allEncodings) {
        const FileBuilder file = builder(encoding);
        const C3dTake take = readBytes(fileWith(file, withGaps));
        for (int frame = 0; frame < file.frames; ++frame) {
            EXPECT_EQ(isSeen(take, frame, 0), !isIn(frame, 10, 19)) << frame;
            EXPECT_TRUE(isSeen(take, frame, 1));
            EXPECT_FALSE(isSeen(take, frame, 2)) << "a column that nobody filled";
        }
    }
}

TEST(C3dOrigins, AreGapsAlsoOfMarkersThatJumpElsewhereNowAndThen) {
    const FileBuilder file = builder(C3dEncoding::IntelReal);
    const C3dTake take = readBytes(fileWith(file, [](int marker, int frame, int axis) {
        const bool isAnother = marker == 0 && frame == 30;
        const auto place = withGaps(marker, frame, axis);
        return isAnother ? std::optional(5000.0F) : place;
    }));
    EXPECT_FALSE(isSeen(take, 12, 0));
    EXPECT_TRUE(isSeen(take, 30, 0));
}

TEST(C3dOrigins, AreReportedWithTheirMarkersAndTheirPlace) {
    const FileBuilder file = builder(C3dEncoding::IntelReal);
    const C3dTake take = readStrictly(fileWith(file, withGaps));
    ASSERT_TRUE(findingOn(take, "the data"));
    const C3dFinding finding = *findingOn(take, "the data");
    EXPECT_FALSE(finding.isContradiction);
    EXPECT_EQ(finding.found, "50 positions at exactly 0,0,0 without a residual, of " +
                                 take.markers[0].label() + ", " + take.markers[2].label());
    EXPECT_EQ(finding.believed, "that nothing was seen");
    EXPECT_EQ(finding.offset, 3U * 512 + 2 * 16) << "the last marker of the first frame";
}

TEST(C3dOrigins, ThroughWhichACurvePassesAreSeen) {
    const FileBuilder file = builder(C3dEncoding::IntelReal);
    C3dOptions explained;
    explained.mode = C3dMode::Explain;
    const std::string bytes = fileWith(file, [](int marker, int frame, int axis) {
        return marker == 0 ? 7.0F * static_cast<float>(frame) : away(marker, frame, axis);
    });
    const C3dTake take = readBytes(bytes, explained);
    EXPECT_TRUE(isSeen(take, 0, 0));
    EXPECT_EQ(markersAt(take, 0)[0].position, Vector3f());
    EXPECT_FALSE(findingOn(readBytes(bytes), "the data"));
    EXPECT_EQ(findingOn(take, "the data")->believed, "that they were seen");
}

TEST(C3dOrigins, WhereAPointAlwaysIsAreSeenIfNoOtherLeaps) {
    const FileBuilder file = builder(C3dEncoding::IntelReal);
    const C3dTake take = readBytes(fileWith(file, [](int marker, int frame, int axis) {
        return marker == 2 ? std::nullopt : std::optional(away(marker, frame, axis));
    }));
    EXPECT_TRUE(isSeen(take, 0, 2));
}

TEST(C3dOrigins, AreSeenIfNobodyKnowsHowTheMarkerMoves) {
    const FileBuilder file = builder(C3dEncoding::IntelReal);
    const C3dTake take = readBytes(fileWith(file, [](int marker, int frame, int axis) {
        const bool isElsewhere = marker != 0 || frame == 10; // in one frame only
        return isElsewhere ? std::optional(away(marker, frame, axis)) : std::nullopt;
    }));
    EXPECT_TRUE(isSeen(take, 0, 0));
}

TEST(C3dOrigins, OfAForceThatIsNoneAreValues) {
    FileBuilder file = builder(C3dEncoding::IntelReal);
    file.texts(1, "FORCES", {"M1"});
    const C3dTake take = readBytes(fileWith(file, [](int marker, int frame, int axis) {
        const bool isOff = marker == 0 && isIn(frame, 10, 19);
        return isOff ? std::nullopt : std::optional(away(marker, frame, axis));
    }));
    EXPECT_TRUE(isSeen(take, 12, 0));
    EXPECT_FALSE(findingOn(take, "the data"));
}

TEST(C3dOrigins, AreWhatTheCallerSaysIfHeDoes) {
    const FileBuilder file = builder(C3dEncoding::IntelReal);
    C3dOptions seen;
    seen.originIsNotSeen = false;
    EXPECT_TRUE(isSeen(readBytes(fileWith(file, withGaps), seen), 12, 0));
    C3dOptions gaps;
    gaps.originIsNotSeen = true;
    const C3dTake take = readBytes(
        fileWith(file, [](int marker, int frame,
                          int /*axis*/) { return 7.0F * static_cast<float>(marker + frame); }),
        gaps);
    EXPECT_FALSE(isSeen(take, 0, 0));
    EXPECT_TRUE(isSeen(take, 1, 0));
}

TEST(C3dOrigins, WithACameraOrAResidualAreSeen) {
    const FileBuilder file = builder(C3dEncoding::IntelReal);
    std::string bytes = fileWith(file, withGaps);
    const std::size_t fourth = std::size_t{3} * 512 + 12 * 48 + 12;
    bytes.replace(fourth, 4, file.value(3));
    const C3dTake take = readBytes(bytes);
    EXPECT_TRUE(isSeen(take, 12, 0));
    EXPECT_FALSE(isSeen(take, 13, 0));
}

TEST(C3dOrigins, ThatAreGapsAreWrittenBackByteForByteAndAsGapsInAnotherEncoding) {
    for (const C3dEncoding encoding : allEncodings) {
        std::string bytes = fileWith(builder(encoding), withGaps);
        if (isReal(encoding)) { // what is less than a step is none
            const std::size_t fourth = std::size_t{3} * 512 + 12 * 48 + 12;
            bytes.replace(fourth, 4, real(encoding, 0.5F));
        }
        const C3dTake take = readBytes(bytes);
        std::ostringstream same;
        writeC3d(take, same);
        EXPECT_EQ(same.str(), bytes);
        std::ostringstream other;
        writeC3d(take, other, {C3dEncoding::MipsReal});
        const C3dTake again = readBytes(other.str());
        EXPECT_FALSE(isSeen(again, 12, 0));
        if (encoding != C3dEncoding::MipsReal) {
            EXPECT_FALSE(findingOn(again, "the data")) << "they are marked as the format does";
        }
    }
}

/// The first marker is nowhere for a while.
std::optional<float> withNowhere(int marker, int frame, int axis) {
    const bool isNowhere = marker == 0 && isIn(frame, 10, 19);
    return isNowhere ? 9999999.0F : away(marker, frame, axis);
}

TEST(C3dNowhere, IsWhereAMarkerWasNotSeen) {
    for (const C3dEncoding encoding : allEncodings) {
        if (!isReal(encoding)) {
            continue; // 16 bits do not hold the number
        }
        const FileBuilder file = builder(encoding);
        const C3dTake take = readStrictly(fileWith(file, withNowhere));
        for (int frame = 0; frame < file.frames; ++frame) {
            EXPECT_EQ(isSeen(take, frame, 0), !isIn(frame, 10, 19)) << frame;
            EXPECT_TRUE(isSeen(take, frame, 1));
        }
        ASSERT_TRUE(findingOn(take, "the data"));
        const C3dFinding finding = *findingOn(take, "the data");
        EXPECT_FALSE(finding.isContradiction);
        EXPECT_EQ(finding.found, "10 positions of 9999999,9999999,9999999");
        EXPECT_EQ(finding.offset, 3U * 512 + 10 * 48) << "the first marker of frame 10";
    }
}

TEST(C3dNowhere, IsOffAlongAllAxes) {
    const FileBuilder file = builder(C3dEncoding::IntelReal);
    const C3dTake take = readBytes(fileWith(file, [](int marker, int frame, int axis) {
        return axis == 2 ? away(marker, frame, axis) : 9999999.0F;
    }));
    EXPECT_TRUE(isSeen(take, 10, 0));
    EXPECT_FALSE(findingOn(take, "the data"));
}

TEST(C3dNowhere, IsNoPlaceFromWhichMarkersLeapToTheOrigin) {
    const FileBuilder file = builder(C3dEncoding::IntelReal);
    const C3dTake take = readBytes(fileWith(file, [](int marker, int frame, int axis) {
        const bool isNowhere = marker == 0 && isIn(frame, 10, 19);
        return isNowhere     ? 9999999.0F // and then it goes on through the origin
               : marker == 0 ? 7.0F * static_cast<float>(frame - 20)
                             : away(marker, frame, axis);
    }));
    EXPECT_FALSE(isSeen(take, 19, 0));
    EXPECT_TRUE(isSeen(take, 20, 0));
    EXPECT_EQ(markersAt(take, 20)[0].position, Vector3f());
}

TEST(C3dNowhere, IsWrittenBackByteForByteAndAsAGapInAnotherEncoding) {
    const std::string bytes = fileWith(builder(C3dEncoding::IntelReal), withNowhere);
    const C3dTake take = readBytes(bytes);
    std::ostringstream same;
    writeC3d(take, same);
    EXPECT_EQ(same.str(), bytes);
    std::ostringstream other;
    writeC3d(take, other, {C3dEncoding::MipsInteger});
    const C3dTake again = readBytes(other.str());
    EXPECT_FALSE(isSeen(again, 12, 0));
    EXPECT_TRUE(isSeen(again, 12, 1));
    EXPECT_FALSE(findingOn(again, "the data"));
}

} // namespace
} // namespace tarn::kit
