// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_draw/sheet/Subject.h>

#include "draw/Subjects.h"

#include <gmock/gmock.h>

#include <memory>
#include <vector>

namespace tarn::draw {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

Subject standing() {
    return subject("Anna", 3, [](int frame) { return standingAt(static_cast<float>(frame), 0); });
}

TEST(Subject, IsWhereItsBodiesAre) {
    const std::vector<Vector3f> positions = positionsAt(standing(), 2);
    ASSERT_THAT(positions, SizeIs(6));
    EXPECT_EQ(positions[1].x, 2);
    EXPECT_EQ(positions[1].y, 20);
}

TEST(Subject, IsWhereItsPosesPutIt) {
    auto rig = std::make_shared<kit::Rig>();
    rig->addJoint("Hips", -1, {0, 1, 0}, {kit::Channel::Xposition});
    rig->addJoint("Head", 0, {0, 1, 0}, {});
    auto take = std::make_shared<Tracks>();
    take->setTimeLength(2);
    take->setFrame(1, kit::poseDataType,
                   std::make_shared<Frame>(Time(1, 10), kit::poseDataType, kit::Pose{{7}}));
    const Subject posed = subjectOf("Anna", rig, take);
    ASSERT_THAT(positionsAt(posed, 1), SizeIs(2));
    EXPECT_EQ(positionsAt(posed, 1)[1].x, 7);
    EXPECT_EQ(positionsAt(posed, 1)[1].y, 2);
    EXPECT_THAT(positionsAt(posed, 0), IsEmpty());
    take->setFrame(0, kit::poseDataType,
                   std::make_shared<Frame>(Time(0, 10), kit::poseDataType, kit::Pose{{7, 8}}));
    EXPECT_THAT(positionsAt(posed, 0), IsEmpty()); // a pose of another rig
}

TEST(Subject, StandsWhicheverAxisIsUp) {
    const std::vector<Vector3f> upright = positionsAt(standing(), 2);
    Subject zUp = subject("Anna", 3, [](int frame) {
        auto positions = standingAt(static_cast<float>(frame), 0);
        for (Vector3f& at : positions) {
            at = {at.z, at.x, at.y};
        }
        return positions;
    });
    zUp.up = kit::UpAxis::Z;
    EXPECT_EQ(positionsAt(zUp, 2), upright);
    Subject xUp = subject("Anna", 3, [](int frame) {
        auto positions = standingAt(static_cast<float>(frame), 0);
        for (Vector3f& at : positions) {
            at = {at.y, at.z, at.x};
        }
        return positions;
    });
    xUp.up = kit::UpAxis::X;
    EXPECT_EQ(positionsAt(xUp, 2), upright);
}

TEST(Subject, IsNowhereWithoutABodyOfItsRig) {
    const Subject odd = subject("Anna", 4, [](int frame) {
        return frame == 1 ? std::vector<Vector3f>{{0, 0, 0}} : std::vector<Vector3f>();
    });
    for (const int frame : {-1, 0, 1, 2, 4}) {
        EXPECT_THAT(positionsAt(odd, frame), IsEmpty()) << frame;
    }
}

TEST(SubjectOf, HasTheSpaceOfItsRig) {
    auto rig = std::make_shared<kit::Rig>();
    rig->addJoint("Hips", -1, {0, 0, 0}, {});
    kit::Space space;
    space.unit = *kit::lengthUnitNamed("in");
    space.up = kit::UpAxis::Z;
    rig->setSpace(space);
    const Subject subject = subjectOf("Anna", rig, std::make_shared<Tracks>());
    EXPECT_EQ(subject.unit.symbol, "in");
    EXPECT_EQ(subject.up, kit::UpAxis::Z);
}

TEST(SubjectOf, GuessesTheUnitByTheHeight) {
    auto rig = std::make_shared<kit::Rig>();
    rig->addJoint("Hips", -1, {0, 0, 0}, {});
    rig->addJoint("Head", 0, {0, 170, 0}, {});
    EXPECT_EQ(subjectOf("Anna", rig, std::make_shared<Tracks>()).unit.symbol, "cm");
    EXPECT_EQ(subjectOf("Anna", smallRig(), std::make_shared<Tracks>()).unit.symbol, "unit");
}

TEST(WhyNotDrawn, IsNothingForThoseWhoCanBeDrawn) {
    EXPECT_EQ(whyNotDrawn({}), "");
    EXPECT_EQ(whyNotDrawn({standing()}), "");
    EXPECT_EQ(whyNotDrawn(std::vector<Subject>(mostSubjects, standing())), "");
}

TEST(WhyNotDrawn, NamesWhatIsTooMuchOrMissing) {
    EXPECT_EQ(whyNotDrawn(std::vector<Subject>(mostSubjects + 1, standing())),
              "1001 performers are too many for a drawing: at most 1000 can be shown");
    Subject odd = standing();
    odd.name = "A\n";
    odd.take = nullptr;
    EXPECT_EQ(whyNotDrawn({standing(), odd}),
              "performer 'A\xEF\xBF\xBD' cannot be drawn without a take");
    odd.rig = nullptr;
    EXPECT_THAT(whyNotDrawn({odd}), HasSubstr("without a rig"));
}

} // namespace
} // namespace tarn::draw
