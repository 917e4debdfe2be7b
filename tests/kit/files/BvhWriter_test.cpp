// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/files/BvhWriterTesting.h"
#include "support/Samples.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <iomanip>
#include <limits>
#include <locale>
#include <random>
#include <string_view>

namespace tarn::kit {
namespace {

using namespace bvh_testing;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

using Channels = std::vector<Channel>;

bool isSame(const Vector3f& a, const Vector3f& b) { return a.x == b.x && a.y == b.y && a.z == b.z; }

void expectSameNode(const RigNode& actual, const RigNode& expected) {
    EXPECT_EQ(actual.name, expected.name);
    EXPECT_EQ(actual.parent, expected.parent) << expected.name;
    EXPECT_TRUE(isSame(actual.offset, expected.offset)) << expected.name;
    EXPECT_EQ(actual.channels, expected.channels) << expected.name;
    EXPECT_EQ(actual.isEndSite(), expected.isEndSite()) << expected.name;
}

void expectSameTake(const BvhTake& actual, const BvhTake& expected) {
    ASSERT_EQ(actual.rig->nodes().size(), expected.rig->nodes().size());
    for (std::size_t i = 0; i < expected.rig->nodes().size(); ++i) {
        expectSameNode(actual.rig->nodes()[i], expected.rig->nodes()[i]);
    }
    EXPECT_EQ(actual.frameTime, expected.frameTime);
    EXPECT_EQ(valuesOf(actual), valuesOf(expected));
}

void expectSurvives(const BvhTake& take) { expectSameTake(readBack(take), take); }

double frameTimeReadBack(double frameTime) {
    BvhTake take = takeOf(rigNamed("Hips"));
    take.frameTime = frameTime;
    return readBack(take).frameTime;
}

std::string nameReadBack(const std::string& name) {
    return readBack(takeOf(rigNamed(name))).rig->nodes().at(0).name;
}

/// Makes takes at random, their nodes in the order of a file.
class RandomTakes {
public:
    BvhTake next() {
        auto rig = std::make_shared<Rig>();
        std::vector<int> open{-1}; // the chain of joints that the next node may be put below
        for (int i = below(40); i >= 0; --i) {
            open.resize(1 + static_cast<std::size_t>(below(static_cast<int>(open.size()))));
            if (open.back() >= 0 && below(3) == 0) {
                rig->addEndSite(open.back(), {anyFloat(), anyFloat(), anyFloat()});
            } else {
                open.push_back(rig->addJoint(anyName(), open.back(),
                                             {anyFloat(), anyFloat(), anyFloat()}, anyChannels()));
            }
        }
        const int frames = rig->valueCount() == 0 ? 0 : below(4);
        Rows rows;
        for (int i = 0; i < frames; ++i) {
            rows.push_back(floats(rig->valueCount()));
        }
        return takeOf(std::move(rig), rows);
    }

    std::vector<float> floats(std::size_t count) {
        std::vector<float> values(count);
        for (float& value : values) {
            value = anyFloat();
        }
        return values;
    }

private:
    int below(int end) { return static_cast<int>(random_() % static_cast<unsigned>(end)); }

    /// Of all sizes, those that lose precision included.
    float anyFloat() {
        for (;;) {
            const auto bits = static_cast<std::uint32_t>(random_());
            float value = 0;
            std::memcpy(&value, &bits, sizeof value);
            if (std::isfinite(value)) {
                return value;
            }
        }
    }

    std::string anyName() {
        static constexpr std::string_view characters = "aZ0 \t:}_-.\x01\xC3\xA4";
        std::string name = "j";
        for (int i = below(12); i > 0; --i) {
            name += characters[random_() % characters.size()];
        }
        return name + "n";
    }

    Channels anyChannels() {
        Channels channels;
        for (int i = below(7); i > 0; --i) {
            channels.push_back(static_cast<Channel>(below(6)));
        }
        return channels;
    }

    std::mt19937 random_{20240229};
};

TEST(BvhWriter, WritesTheShippedTakesSoThatTheyReadBackTheSame) {
    for (const char* const name :
         {"cmu_131_01_walk.bvh", "cmu_60_12_salsa_a.bvh", "cmu_61_12_salsa_b.bvh"}) {
        const BvhTake take = readBvh(tarn::testing::samplePath(name));
        ASSERT_GT(take.tracks->timeLength(), 400) << name;
        expectSurvives(take);
    }
}

TEST(BvhWriter, WritesTheLayoutThatOtherProgramsExpect) {
    EXPECT_EQ(writtenText(readText(joined(smallBvh()))),
              "HIERARCHY\n"
              "ROOT Hips\n"
              "{\n"
              "\tOFFSET 0 2 0\n"
              "\tCHANNELS 3 Xposition Yposition Yrotation\n"
              "\tJOINT Leg\n"
              "\t{\n"
              "\t\tOFFSET 0.5 -1 0\n"
              "\t\tCHANNELS 1 Zrotation\n"
              "\t\tEnd Site\n"
              "\t\t{\n"
              "\t\t\tOFFSET 0 -1 0\n"
              "\t\t}\n"
              "\t}\n"
              "}\n"
              "MOTION\n"
              "Frames: 2\n"
              "Frame Time: 0.02\n"
              "1 2 3 4\n"
              "5 6 7 8\n");
}

TEST(BvhWriter, WritesRandomTakesSoThatTheyReadBackTheSame) {
    RandomTakes takes;
    for (int i = 0; i < 300; ++i) {
        SCOPED_TRACE(i);
        expectSurvives(takes.next());
    }
}

TEST(BvhWriter, LosesNoDigitOfAnyValue) {
    RandomTakes random;
    Rows rows;
    for (const float value : random.floats(20'000)) {
        rows.push_back({value});
    }
    EXPECT_EQ(valuesOf(readBack(takeOf(rigNamed("Hips"), rows))), rows);
}

TEST(BvhWriter, KeepsTheLargestAndTheSmallestValues) {
    using Limits = std::numeric_limits<float>;
    const Rows rows{{Limits::max()}, {Limits::lowest()}, {Limits::min()}, {Limits::denorm_min()}};
    EXPECT_EQ(valuesOf(readBack(takeOf(rigNamed("Hips"), rows))), rows);
}

TEST(BvhWriter, KeepsTheSignOfZero) {
    const Rows rows = valuesOf(readBack(takeOf(rigNamed("Hips"), {{-0.0F}, {0.0F}})));
    EXPECT_TRUE(std::signbit(rows.at(0).at(0)));
    EXPECT_FALSE(std::signbit(rows.at(1).at(0)));
}

TEST(BvhWriter, WritesNoMoreDigitsThanAreNeeded) {
    EXPECT_THAT(writtenText(takeOf(rigNamed("Hips"), {{0.1F}, {10.4956F}, {-90.0F}})),
                HasSubstr("\n0.1\n10.4956\n-90\n"));
}

TEST(BvhWriter, KeepsTheFrameTimeToTheLastBit) {
    for (const double frameTime :
         {1.0 / 120, 0.0083333, 1001.0 / 30000, 0.04, 1.0 / 3, 1e-6, 2.0, std::nextafter(0.5, 1)}) {
        EXPECT_EQ(frameTimeReadBack(frameTime), frameTime);
    }
}

TEST(BvhWriter, KeepsNamesThatLookLikeSyntax) {
    const std::vector<std::string> names = {"JOINT",        "End Site",
                                            "MOTION",       "}",
                                            "a } b",        ":",
                                            "mixamo:Leg 2", "OFFSET 1 2 3",
                                            "-1",           "Left  upper\tleg",
                                            "\xE5\xB7\xA6", "\xEF\xBB\xBFmarked",
                                            "\xFF\x01",     std::string("nul\0inside", 10)};
    for (const std::string& name : names) {
        EXPECT_EQ(nameReadBack(name), name);
    }
}

TEST(BvhWriter, KeepsTheLongestName) {
    const std::string name(bvhMaxNameLength, 'n');
    EXPECT_EQ(nameReadBack(name), name);
}

TEST(BvhWriter, KeepsSeveralRoots) {
    auto rig = std::make_shared<Rig>();
    rig->addJoint("Left", -1, {1, 0, 0}, {Channel::Xposition});
    rig->addJoint("Right", -1, {2, 0, 0}, {Channel::Zrotation});
    rig->addEndSite(1, {0, 1, 0});
    rig->addJoint("Last", -1, {3, 0, 0}, {});
    expectSurvives(takeOf(rig, {{1, 2}, {3, 4}}));
}

TEST(BvhWriter, KeepsSeveralEndSitesOfAJoint) {
    auto rig = rigNamed("Hand");
    rig->addEndSite(0, {1, 0, 0});
    const int finger = rig->addJoint("Finger", 0, {0, 1, 0}, {Channel::Xrotation});
    rig->addEndSite(finger, {0, 2, 0});
    rig->addEndSite(finger, {0, 3, 0});
    rig->addEndSite(0, {0, 0, 4});
    expectSurvives(takeOf(rig, {{1, 2}}));
}

TEST(BvhWriter, KeepsJointsWithoutChannelsAndWithAnyChannels) {
    auto rig = std::make_shared<Rig>();
    rig->addJoint("Still", -1, {0, 0, 0}, {});
    rig->addJoint("Twice", 0, {0, 1, 0}, {Channel::Xrotation, Channel::Xrotation});
    rig->addJoint("All", 1, {0, 1, 0},
                  {Channel::Zrotation, Channel::Zposition, Channel::Yrotation, Channel::Yposition,
                   Channel::Xrotation, Channel::Xposition});
    expectSurvives(takeOf(rig, {{1, 2, 3, 4, 5, 6, 7, 8}}));
}

TEST(BvhWriter, WritesATakeWithoutFrames) {
    expectSurvives(takeOf(rigNamed("Hips")));
    auto still = std::make_shared<Rig>();
    still->addJoint("Still", -1, {0, 0, 0}, {});
    expectSurvives(takeOf(still));
}

TEST(BvhWriter, TakesANegativeLengthForNoFrames) {
    const BvhTake take = takeOf(rigNamed("Hips"), {{1}});
    take.tracks->setTimeLength(-1);
    EXPECT_EQ(readBack(take).tracks->timeLength(), 0);
}

TEST(BvhWriter, KeepsTheLargestRigHoweverDeep) {
    auto rig = std::make_shared<Rig>();
    for (std::size_t i = 0; i < bvhMaxNodes; ++i) {
        rig->addJoint("j", static_cast<int>(i) - 1, {0, 1, 0}, {});
    }
    const std::string text = writtenText(takeOf(rig));
    EXPECT_LT(text.size(), 5'000'000U); // mostly joints, not the blanks before them
    EXPECT_EQ(readText(text).rig->nodes().back().parent, static_cast<int>(bvhMaxNodes) - 2);
}

TEST(BvhWriter, PutsJointsAndTheirValuesInTheOrderOfAFile) {
    auto rig = std::make_shared<Rig>();
    rig->addJoint("Hips", -1, {0, 0, 0}, {Channel::Xposition, Channel::Yposition});
    rig->addJoint("LeftLeg", 0, {1, 0, 0}, {Channel::Xrotation});
    rig->addJoint("RightLeg", 0, {2, 0, 0}, {Channel::Yrotation});
    rig->addJoint("Prop", -1, {3, 0, 0}, {Channel::Zposition});
    rig->addJoint("LeftFoot", 1, {4, 0, 0}, {Channel::Zrotation});
    rig->addEndSite(2, {5, 0, 0});
    const BvhTake take = readBack(takeOf(rig, {{1, 2, 3, 4, 5, 6}}));
    EXPECT_THAT(namesOf(*take.rig),
                ElementsAre("Hips", "LeftLeg", "LeftFoot", "RightLeg", "RightLeg_End", "Prop"));
    EXPECT_THAT(valuesOf(take), ElementsAre(ElementsAre(1, 2, 3, 6, 4, 5)));
}

TEST(BvhWriter, WritesWhatTheTakeShows) {
    const BvhTake take = takeOf(rigNamed("Hips"), {{1}, {2}, {3}, {4}, {5}});
    const std::shared_ptr<Track> track = take.tracks->getTrack(0);
    take.tracks->removeTrack(track);
    take.tracks->addTrack(track, -1);
    take.tracks->setTimeLength(3);
    EXPECT_THAT(valuesOf(readBack(take)),
                ElementsAre(ElementsAre(2), ElementsAre(3), ElementsAre(4)));
}

TEST(BvhWriter, PaysNoHeedToTheFormatOfTheStream) {
    struct Commas : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    const BvhTake take = takeOf(rigNamed("Hips"), {{1234567.5F}});
    std::ostringstream stream;
    stream.imbue(std::locale(std::locale::classic(), new Commas));
    stream << std::hex << std::setprecision(2) << std::setw(20) << std::setfill('*');
    writeBvh(take, stream);
    EXPECT_EQ(stream.str(), writtenText(take));
}

} // namespace
} // namespace tarn::kit
