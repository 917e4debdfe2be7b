// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/Payload.h>
#include <tarn_kit/body/Rig.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

using namespace tarn;
using kit::payloadIf;
using kit::payloadOf;

struct Gaze {
    double yaw;
};

template <class T>
std::string errorOf(const std::shared_ptr<Frame>& frame) {
    try {
        payloadOf<T>(frame);
    } catch (const kit::PayloadError& error) {
        return error.what();
    }
    return "none";
}

TEST(Payload, IsGivenWithoutACopy) {
    const auto frame = std::make_shared<Frame>(Time(3, 30), 7, Gaze{0.5});
    EXPECT_EQ(&payloadOf<Gaze>(frame), &frame->dataAs<Gaze>());
    EXPECT_EQ(&payloadOf<Gaze>(*frame), &frame->dataAs<Gaze>());
    EXPECT_EQ(payloadIf<Gaze>(frame), &frame->dataAs<Gaze>());
}

TEST(Payload, AnotherOneIsNamedWithItsFrame) {
    const auto frame = std::make_shared<Frame>(Time(12, 120), 1, kit::Pose());
    EXPECT_EQ(
        errorOf<std::string>(frame).rfind("frame 12 at 120 frames per second, of data type 1, "
                                          "holds tarn::kit::Pose, not std::",
                                          0),
        0U)
        << errorOf<std::string>(frame);
    EXPECT_EQ(errorOf<int>(frame), "frame 12 at 120 frames per second, of data type 1, holds "
                                   "tarn::kit::Pose, not int");
    EXPECT_EQ(payloadIf<int>(frame), nullptr);
    EXPECT_THROW(payloadOf<int>(*frame), kit::PayloadError);
}

TEST(Payload, AFrameWithoutOneSaysSo) {
    EXPECT_EQ(errorOf<kit::Pose>(std::make_shared<Frame>(Time(1, 30))),
              "frame 1 at 30 frames per second, of data type -1, holds nothing, not "
              "tarn::kit::Pose");
}

TEST(Payload, AFrameThatIsMissingIsAnErrorOrNull) {
    EXPECT_EQ(errorOf<kit::Pose>(nullptr), "there is no frame to take tarn::kit::Pose from");
    EXPECT_EQ(payloadIf<kit::Pose>(nullptr), nullptr);
}

} // namespace
