// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/DeviceCalibrator.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using ::testing::ElementsAre;

class Typed : public tarn::DeviceCalibrator {
public:
    using DeviceCalibrator::setDeviceType;
};

TEST(DeviceCalibrator, BindsNothingAtFirst) {
    tarn::DeviceCalibrator calibrator;

    EXPECT_EQ(calibrator.device(), nullptr);
    EXPECT_EQ(calibrator.deviceType(), "");
    EXPECT_FALSE(calibrator.isAvailable());
    EXPECT_FALSE(calibrator.start());
    EXPECT_EQ(calibrator.calibrationData(), nullptr);
    EXPECT_FALSE(calibrator.isCalibrating());
    EXPECT_EQ(calibrator.currentCalibrateProgress(), 0.0F);
}

TEST(DeviceCalibrator, BindsItsLatestDeviceAsItsChild) {
    tarn::Device first("", "");
    tarn::Device second("", "");
    tarn::DeviceCalibrator calibrator;

    calibrator.setDevice(&first);
    calibrator.setDevice(&second);

    EXPECT_EQ(calibrator.device(), &second);
    EXPECT_THAT(calibrator.children(), ElementsAre(&second));
    EXPECT_TRUE(first.parents().empty());
}

TEST(DeviceCalibrator, BindingTheSameDeviceAgainRemovesAndAddsIt) {
    tarn::Device device("", "");
    tarn::DeviceCalibrator calibrator;
    calibrator.setDevice(&device);
    std::vector<std::string> heard;
    calibrator.onChildWillRemove().connect(
        [&](tarn::Object* child) { heard.emplace_back(child == &device ? "removed" : "?"); });
    calibrator.onChildAdded().connect(
        [&](tarn::Object* child) { heard.emplace_back(child == &device ? "added" : "?"); });

    calibrator.setDevice(&device);

    EXPECT_THAT(heard, ElementsAre("removed", "added"));
    EXPECT_EQ(calibrator.device(), &device);
    EXPECT_EQ(calibrator.children().size(), 1U);
}

TEST(DeviceCalibrator, PassesOverChildrenOfOtherTypes) {
    tarn::Object object;
    tarn::CommInterface other("", "");
    tarn::Device device("", "");
    tarn::DeviceCalibrator calibrator;
    calibrator.addChild(&object);
    calibrator.addChild(&other);
    calibrator.addChild(nullptr);
    EXPECT_EQ(calibrator.device(), nullptr);

    calibrator.setDevice(&device);

    EXPECT_EQ(calibrator.device(), &device);
    EXPECT_THAT(calibrator.children(), ElementsAre(&object, &other, nullptr, &device));
}

TEST(DeviceCalibrator, ReplacesOnlyTheFirstOfSeveral) {
    tarn::Device first("", "");
    tarn::Device byHand("", "");
    tarn::Device third("", "");
    tarn::DeviceCalibrator calibrator;
    calibrator.setDevice(&first);
    calibrator.addChild(&byHand);

    calibrator.setDevice(&third);

    EXPECT_EQ(calibrator.device(), &byHand);
    EXPECT_THAT(calibrator.children(), ElementsAre(&byHand, &third));
}

TEST(DeviceCalibrator, UnbindsByANullThatIsLinkedLikeAnyOther) {
    tarn::Device device("", "");
    tarn::DeviceCalibrator calibrator;
    calibrator.setDevice(&device);

    calibrator.setDevice(nullptr);

    EXPECT_EQ(calibrator.device(), nullptr);
    EXPECT_THAT(calibrator.children(), ElementsAre(nullptr));
}

TEST(DeviceCalibrator, NoLongerFindsWhatSomebodyElseUnlinked) {
    tarn::Device device("", "");
    tarn::DeviceCalibrator calibrator;
    calibrator.setDevice(&device);

    device.removeParent(&calibrator);

    EXPECT_EQ(calibrator.device(), nullptr);
}

TEST(DeviceCalibrator, DoesNotCompareTypes) {
    tarn::Device device("optical", "1");
    Typed calibrator;
    calibrator.setDeviceType("inertial");

    calibrator.setDevice(&device);

    EXPECT_EQ(calibrator.deviceType(), "inertial");
    EXPECT_EQ(calibrator.device(), &device);
}

} // namespace
