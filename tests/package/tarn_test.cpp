// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/tarn.h>

#include <gtest/gtest.h>

#include <type_traits>

namespace {

// Hosts derive from, allocate and pass around these types; their sizes and whether they can be
// copied are part of the binary interface.
constexpr std::size_t pointer = sizeof(void*);

// A class has the virtual table's pointer and one for its own record beside those of its bases.
static_assert(sizeof(tarn::Object) == 2 * pointer);
static_assert(sizeof(tarn::Bone) == 3 * pointer);
static_assert(sizeof(tarn::Joint) == 3 * pointer);
static_assert(sizeof(tarn::Skeleton) == 3 * pointer);
static_assert(sizeof(tarn::Settings) == 3 * pointer);
static_assert(sizeof(tarn::Actor) == 4 * pointer);
static_assert(sizeof(tarn::Character) == 4 * pointer);
static_assert(sizeof(tarn::Scene) == 4 * pointer);
static_assert(sizeof(tarn::StreamNode) == 3 * pointer);
static_assert(sizeof(tarn::CommInterface) == 4 * pointer);
static_assert(sizeof(tarn::Device) == 5 * pointer);
static_assert(sizeof(tarn::Solver) == 3 * pointer);
static_assert(sizeof(tarn::Calibrator) == 3 * pointer);
static_assert(sizeof(tarn::DeviceCalibrator) == 4 * pointer);
static_assert(sizeof(tarn::SolverCalibrator) == 4 * pointer);
static_assert(sizeof(tarn::Sequence) == pointer);
static_assert(sizeof(tarn::Track) == pointer);
static_assert(sizeof(tarn::Tracks) == pointer);
static_assert(sizeof(tarn::Time) == 8);
static_assert(sizeof(tarn::SmpteTime) == 4);
static_assert(sizeof(tarn::EBoneID) == 4);
static_assert(sizeof(tarn::Vector3f) == 12);
static_assert(sizeof(tarn::Quaternionf) == 16);

template <class T>
constexpr bool pinned = !std::is_copy_constructible_v<T> && !std::is_move_constructible_v<T> &&
                        !std::is_copy_assignable_v<T> && !std::is_move_assignable_v<T>;
static_assert(pinned<tarn::Object> && pinned<tarn::Bone> && pinned<tarn::Skeleton>);
static_assert(pinned<tarn::Sequence> && pinned<tarn::Track> && pinned<tarn::Tracks>);
static_assert(std::is_copy_assignable_v<tarn::Frame> && std::is_copy_assignable_v<tarn::Timeline>);

TEST(Umbrella, OneIncludeIsEnoughToPlayATakeAndHearIt) {
    auto track = std::make_shared<tarn::Track>(7);
    track->setFrameCount(2);
    track->setFrame(1, std::make_shared<tarn::Frame>(tarn::Time(1, 30), 7, 2.5F));
    tarn::Tracks take;
    take.addTrack(track, 0);
    take.setFps(30);
    float shown = 0;
    take.onCurrentTimeChanged().connect(
        [&](int /*index*/) { shown = take.currentFrame()->frame(7)->dataAs<float>(); });

    take.setCurrentTime(1);

    EXPECT_EQ(shown, 2.5F);
}

TEST(Umbrella, BodyTypesAreThereToo) {
    tarn::Bone hips(tarn::boneIDToBoneName(static_cast<tarn::EBoneID>(0)));
    tarn::Skeleton skeleton("performer");
    skeleton.setBone(&hips);

    EXPECT_EQ(skeleton.findBoneByName("Hips"), &hips);
    EXPECT_EQ((tarn::Vector3f{1, 2, 3} * 2.0F).z, 6.0F);
}

} // namespace
