// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/files/BvhWriterTesting.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <ios>
#include <limits>
#include <ostream>
#include <stdexcept>
#include <streambuf>

// What cannot be written, and streams that fail.

namespace tarn::kit {
namespace {

using namespace bvh_testing;
using ::testing::HasSubstr;

constexpr float infinity = std::numeric_limits<float>::infinity();
const float notANumber = std::nanf("");

/// Expects a take to be refused for a reason, before anything is written.
void expectRefused(const BvhTake& take, const std::string& reason) {
    std::ostringstream stream;
    try {
        writeBvh(take, stream);
        FAIL() << "accepted, not refused because " << reason;
    } catch (const std::invalid_argument& error) {
        EXPECT_THAT(error.what(), HasSubstr(reason));
    }
    EXPECT_EQ(stream.str(), "");
    EXPECT_TRUE(stream);
}

void expectNameRefused(const std::string& name) {
    SCOPED_TRACE(name);
    expectRefused(takeOf(rigNamed(name), {{1}}), "the name of node 0 could not be read back");
}

void expectFrameTimeRefused(double frameTime) {
    SCOPED_TRACE(frameTime);
    BvhTake take = takeOf(rigNamed("Hips"), {{1}});
    take.frameTime = frameTime;
    expectRefused(take, "frame time");
}

BvhTake longTake() {
    return takeOf(rigNamed("Hips"), Rows(100'000, std::vector<float>{0.123456F}));
}

/// Takes so many bytes and no more, and remembers the most it was given at once.
class ShortBuffer : public std::streambuf {
public:
    explicit ShortBuffer(std::streamsize room) : room_(room) {}
    std::streamsize largestWrite() const { return largestWrite_; }

protected:
    std::streamsize xsputn(const char* /*data*/, std::streamsize size) override {
        largestWrite_ = std::max(largestWrite_, size);
        const std::streamsize taken = std::min(size, room_);
        room_ -= taken;
        return taken;
    }

private:
    std::streamsize room_;
    std::streamsize largestWrite_ = 0;
};

TEST(BvhWriterErrors, ATakeWithNothingInItIsRefused) {
    expectRefused(BvhTake(), "no rig or no tracks");
    BvhTake take = takeOf(rigNamed("Hips"));
    take.tracks = nullptr;
    expectRefused(take, "no rig or no tracks");
    take = takeOf(nullptr);
    expectRefused(take, "no rig or no tracks");
}

TEST(BvhWriterErrors, AFrameTimeThatTheReaderRefusesIsRefused) {
    expectFrameTimeRefused(0);
    expectFrameTimeRefused(-0.02);
    expectFrameTimeRefused(0.99e-6);
    expectFrameTimeRefused(2.001);
    expectFrameTimeRefused(std::numeric_limits<double>::infinity());
    expectFrameTimeRefused(std::nan(""));
}

TEST(BvhWriterErrors, ARigWithoutNodesIsRefused) {
    expectRefused(takeOf(std::make_shared<Rig>()), "0 joints and end sites");
}

TEST(BvhWriterErrors, ARigLargerThanTheReaderAcceptsIsRefused) {
    auto rig = rigNamed("Hips");
    for (std::size_t i = 0; i < bvhMaxNodes; ++i) {
        rig->addEndSite(0, {1, 0, 0});
    }
    expectRefused(takeOf(rig), "10001 joints and end sites");
}

TEST(BvhWriterErrors, NamesThatWouldReadBackOtherwiseAreRefused) {
    for (const std::string name : {"", " ", " Hips", "Hips ", "\tHips", "Hips\v", "Hips\f",
                                   "Hi\nps", "Hips\n", "\rHips", "Hi{ps", "{", "Hips{", "\n"}) {
        expectNameRefused(name);
    }
    expectNameRefused(std::string(bvhMaxNameLength + 1, 'n'));
}

TEST(BvhWriterErrors, TheNameOfAnyJointCounts) {
    auto rig = rigNamed("Hips");
    rig->addJoint("Leg\n}", 0, {0, 0, 0}, {});
    expectRefused(takeOf(rig), "the name of node 1 could not be read back");
}

TEST(BvhWriterErrors, OffsetsThatAreNotFiniteAreRefused) {
    for (const Vector3f& offset :
         {Vector3f{infinity, 0, 0}, Vector3f{0, notANumber, 0}, Vector3f{0, 0, -infinity}}) {
        auto joint = rigNamed("Hips");
        joint->addJoint("Leg", 0, offset, {});
        expectRefused(takeOf(joint), "the offset of node 1 is not finite");
        auto endSite = rigNamed("Hips");
        endSite->addEndSite(0, offset);
        expectRefused(takeOf(endSite), "the offset of node 1 is not finite");
    }
}

TEST(BvhWriterErrors, FramesWithoutChannelsAreRefused) {
    auto rig = std::make_shared<Rig>();
    rig->addJoint("Still", -1, {0, 0, 0}, {});
    expectRefused(takeOf(rig, {{}}), "no joint has channels");
}

TEST(BvhWriterErrors, ValuesThatAreNotFiniteAreRefusedWithTheirFrame) {
    for (const float value : {infinity, -infinity, notANumber}) {
        expectRefused(takeOf(rigNamed("Hips"), {{1}, {2}, {value}}),
                      "frame index 2 has a value that is not finite");
    }
}

TEST(BvhWriterErrors, PosesOfAnotherSizeAreRefused) {
    expectRefused(takeOf(rigNamed("Hips"), {{1}, {2, 3}}),
                  "frame index 1 has 2 values, not the 1 of the rig");
    expectRefused(takeOf(rigNamed("Hips"), {{}}), "frame index 0 has 0 values");
}

TEST(BvhWriterErrors, IndexesThatShowNothingAreRefused) {
    const BvhTake gap = takeOf(rigNamed("Hips"), {{1}, {2}, {3}});
    gap.tracks->setFrame(1, poseDataType, nullptr);
    expectRefused(gap, "frame index 1 shows no pose");
    const BvhTake tooLong = takeOf(rigNamed("Hips"), {{1}});
    tooLong.tracks->setTimeLength(2);
    expectRefused(tooLong, "frame index 1 shows no pose");
}

TEST(BvhWriterErrors, FramesWithAnotherPayloadAreRefused) {
    const BvhTake take = takeOf(rigNamed("Hips"), {{1}});
    take.tracks->setFrame(0, poseDataType, std::make_shared<Frame>(Time(), poseDataType, 42));
    expectRefused(take, "frame index 0 shows no pose");
}

TEST(BvhWriterErrors, AStreamThatFailsIsLeftSo) {
    const std::string whole = writtenText(longTake());
    for (const std::streamsize room : {0, 10, 100'000, static_cast<int>(whole.size()) - 1}) {
        ShortBuffer buffer(room);
        std::ostream stream(&buffer);
        writeBvh(longTake(), stream);
        EXPECT_TRUE(stream.bad()) << room;
    }
}

TEST(BvhWriterErrors, AStreamThatHasFailedGetsNothing) {
    std::ostringstream stream;
    stream.setstate(std::ios_base::failbit);
    writeBvh(takeOf(rigNamed("Hips"), {{1}}), stream);
    EXPECT_EQ(stream.str(), "");
    EXPECT_TRUE(stream.fail());
}

TEST(BvhWriterErrors, AStreamThatThrowsMay) {
    ShortBuffer buffer(10);
    std::ostream stream(&buffer);
    stream.exceptions(std::ios_base::badbit);
    EXPECT_THROW(writeBvh(longTake(), stream), std::ios_base::failure);
}

TEST(BvhWriterErrors, ALongTakeIsHandedOnInPieces) {
    ShortBuffer buffer(std::numeric_limits<std::streamsize>::max());
    std::ostream stream(&buffer);
    writeBvh(longTake(), stream);
    EXPECT_TRUE(stream);
    EXPECT_LT(buffer.largestWrite(), 100'000);
}

} // namespace
} // namespace tarn::kit
