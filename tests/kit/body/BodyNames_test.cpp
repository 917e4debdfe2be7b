// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/BodyNames.h>

#include "support/Samples.h"

#include <tarn_kit/files/Bvh.h>

#include <gmock/gmock.h>

#include <cstddef>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace tarn::kit {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

/// Reads "Hips(Spine(Neck) LeftUpLeg(LeftLeg))"; a name ends at a bracket or two blanks, so that it
/// may hold single ones.
void addJoints(Rig& rig, const std::string& text) {
    std::vector<int> parents{-1};
    int last = -1;
    std::string name;
    const auto finish = [&] {
        while (!name.empty() && name.back() == ' ') {
            name.pop_back();
        }
        if (!name.empty()) {
            last = rig.addJoint(name, parents.back(), {0, 1, 0}, {});
        }
        name.clear();
    };
    for (const char c : text + "  ") {
        if (c == '(' || c == ')' || (c == ' ' && !name.empty() && name.back() == ' ')) {
            finish();
        }
        if (c == '(') {
            parents.push_back(last);
        } else if (c == ')') {
            last = parents.back();
            parents.pop_back();
        } else if (c != ' ' || !name.empty()) {
            name += c;
        }
    }
}

std::map<std::string, std::string> matched(const Rig& rig, const BodyNames& names = BodyNames()) {
    std::map<std::string, std::string> segments;
    for (const JointMatch& joint : names.match(rig).joints()) {
        if (joint.segment) {
            segments[rig.nodes().at(static_cast<std::size_t>(joint.node)).name] =
                boneIDToBoneName(*joint.segment);
        }
    }
    return segments;
}

std::map<std::string, std::string> matched(const std::string& hierarchy,
                                           const BodyNames& names = BodyNames()) {
    Rig rig;
    addJoints(rig, hierarchy);
    return matched(rig, names);
}

/// Joints without a segment, with the reason.
std::map<std::string, std::string> unmatched(const Rig& rig, const BodyNames& names = BodyNames()) {
    std::map<std::string, std::string> reasons;
    for (const JointMatch& joint : names.match(rig).joints()) {
        if (!joint.segment) {
            reasons[rig.nodes().at(static_cast<std::size_t>(joint.node)).name] = joint.reason;
        }
    }
    return reasons;
}

std::map<std::string, std::string> unmatched(const std::string& hierarchy,
                                             const BodyNames& names = BodyNames()) {
    Rig rig;
    addJoints(rig, hierarchy);
    return unmatched(rig, names);
}

/// The names of joints that are, in this order: hips; thigh, shank, foot, toes; clavicle, upper
/// arm, forearm, hand; both sides as `sided` writes them.
struct Habit {
    std::string hips, thigh, shank, foot, toes, clavicle, upperArm, foreArm, hand, neck, head;
};

using Sided = std::function<std::string(bool left, const std::string& name)>;

std::string leg(const Habit& habit, const Sided& sided, bool left) {
    return sided(left, habit.thigh) + "(" + sided(left, habit.shank) + "(" +
           sided(left, habit.foot) + "(" + sided(left, habit.toes) + ")))  ";
}

std::string arm(const Habit& habit, const Sided& sided, bool left) {
    return sided(left, habit.clavicle) + "(" + sided(left, habit.upperArm) + "(" +
           sided(left, habit.foreArm) + "(" + sided(left, habit.hand) + ")))  ";
}

/// The hierarchy of a body in a habit, with a prefix on every joint.
void expectWholeBody(const Habit& habit, const Sided& side, const std::string& prefix = "") {
    const Sided sided = [&](bool left, const std::string& name) {
        return prefix + side(left, name);
    };
    const std::string hierarchy = prefix + habit.hips + "(" + leg(habit, sided, true) +
                                  leg(habit, sided, false) + prefix + "Spine(" + prefix +
                                  habit.neck + "(" + prefix + habit.head + ")  " +
                                  arm(habit, sided, true) + arm(habit, sided, false) + "))";
    SCOPED_TRACE(hierarchy);
    auto found = matched(hierarchy);
    for (const bool left : {true, false}) {
        const std::string to = left ? "Left" : "Right";
        EXPECT_EQ(found[sided(left, habit.thigh)], to + "UpLeg");
        EXPECT_EQ(found[sided(left, habit.shank)], to + "Leg");
        EXPECT_EQ(found[sided(left, habit.foot)], to + "Foot");
        EXPECT_EQ(found[sided(left, habit.toes)], to + "ToeBase");
        EXPECT_EQ(found[sided(left, habit.clavicle)], to + "Shoulder");
        EXPECT_EQ(found[sided(left, habit.upperArm)], to + "Arm");
        EXPECT_EQ(found[sided(left, habit.foreArm)], to + "ForeArm");
        EXPECT_EQ(found[sided(left, habit.hand)], to + "Hand");
    }
    EXPECT_EQ(found[prefix + habit.hips], "Hips");
    EXPECT_EQ(found[prefix + "Spine"], "Spine");
    EXPECT_EQ(found[prefix + habit.neck], "Neck");
    EXPECT_EQ(found[prefix + habit.head], "Head");
    EXPECT_THAT(unmatched(hierarchy), IsEmpty());
}

const Habit ownNames = {"Hips", "UpLeg",   "Leg",  "Foot", "ToeBase", "Shoulder",
                        "Arm",  "ForeArm", "Hand", "Neck", "Head"};
const Habit anatomical = {"pelvis",   "thigh",    "calf", "foot", "ball", "clavicle",
                          "upperarm", "lowerarm", "hand", "neck", "head"};
const Habit latin = {"root",    "femur",  "tibia", "foot", "toes", "clavicle",
                     "humerus", "radius", "wrist", "neck", "head"};
const Habit afterJoints = {"Hips",     "Hip",   "Knee",  "Ankle", "Toe", "Collar",
                           "Shoulder", "Elbow", "Wrist", "Neck",  "Head"};
const Habit shinAndShoulder = {"hip",      "Thigh",   "Shin", "Foot", "Toe", "Shoulder",
                               "UpperArm", "ForeArm", "Hand", "Neck", "Head"};
const Habit upperAndLower = {"Hips",      "Upper_Leg", "Lower_Leg", "Foot", "Toes", "Shoulder",
                             "Upper_Arm", "Lower_Arm", "Hand",      "Neck", "Head"};
const Habit shortened = {"Hip",  "Thigh", "Shin", "Foot", "Toe", "Shoulder",
                         "UArm", "FArm",  "Hand", "Neck", "Head"};

const std::vector<Habit> habits = {ownNames,        anatomical,    latin,    afterJoints,
                                   shinAndShoulder, upperAndLower, shortened};

std::string inFront(bool left, const std::string& name) { return (left ? "Left" : "Right") + name; }
std::string behind(bool left, const std::string& name) { return name + (left ? "Left" : "Right"); }
std::string letterInFront(bool left, const std::string& name) {
    return (left ? "L_" : "R_") + name;
}
std::string letterBehind(bool left, const std::string& name) { return name + (left ? "_l" : "_r"); }
std::string dotBehind(bool left, const std::string& name) { return name + (left ? ".L" : ".R"); }

TEST(BodyNames, FindTheWholeBodyInEveryHabitOfWordsAndSides) {
    for (const Habit& habit : habits) {
        for (const Sided& sided : {Sided(inFront), Sided(behind), Sided(letterInFront),
                                   Sided(letterBehind), Sided(dotBehind)}) {
            expectWholeBody(habit, sided);
        }
    }
}

TEST(BodyNames, DoNotMindWhatStandsBeforeEveryName) {
    for (const std::string prefix : {"Character1_", "name:", "Actor 2:", "a|b|", "Bip01 ", "J_Bip_",
                                     "mixed:Character1_", "DEF-", "ref_"}) {
        for (const Habit& habit : habits) {
            expectWholeBody(habit, inFront, prefix);
            expectWholeBody(habit, letterInFront, prefix);
            expectWholeBody(habit, letterBehind, prefix);
        }
    }
}

TEST(BodyNames, FindSidesThatAreTheFirstLetterOfASmallWord) {
    EXPECT_THAT(matched("root(lhipjoint(lfemur(ltibia(lfoot(ltoes))))  lowerback)"),
                UnorderedElementsAre(Pair("root", "Hips"), Pair("lfemur", "LeftUpLeg"),
                                     Pair("ltibia", "LeftLeg"), Pair("lfoot", "LeftFoot"),
                                     Pair("ltoes", "LeftToeBase"), Pair("lowerback", "Spine")));
    EXPECT_THAT(matched("LThigh(LShin)  RUArm(RFArm)"),
                UnorderedElementsAre(Pair("LThigh", "LeftUpLeg"), Pair("LShin", "LeftLeg"),
                                     Pair("RUArm", "RightArm"), Pair("RFArm", "RightForeArm")));
}

TEST(BodyNames, FindWhatIsSaidInAnyCase) {
    EXPECT_THAT(matched("HIPS(LEFT_UP_LEG(LEFT_LEG))"),
                UnorderedElementsAre(Pair("HIPS", "Hips"), Pair("LEFT_UP_LEG", "LeftUpLeg"),
                                     Pair("LEFT_LEG", "LeftLeg")));
}

TEST(BodyNames, FindEverySegmentByItsOwnName) {
    Rig rig;
    int last = -1;
    for (int id = BoneHips; id <= BoneLeftShoulderExtra; ++id) {
        last = rig.addJoint("Character1_" + boneIDToBoneName(static_cast<EBoneID>(id)),
                            id == 0 ? -1 : 0, {}, {});
    }
    const BodyMatch match = BodyNames().match(rig);
    EXPECT_EQ(match.matchedCount(), 167U);
    for (int id = BoneHips; id <= BoneLeftShoulderExtra; ++id) {
        EXPECT_EQ(match.segmentOf(id), static_cast<EBoneID>(id));
        EXPECT_EQ(match.nodeOf(static_cast<EBoneID>(id)), id);
    }
    EXPECT_EQ(match.segmentOf(last + 1), std::nullopt);
    EXPECT_EQ(match.segmentOf(-1), std::nullopt);
}

TEST(BodyNames, TakeAShoulderForWhatTheJointsAroundItLeave) {
    EXPECT_THAT(matched("LeftShoulder(LeftArm(LeftForeArm))"),
                ::testing::Contains(Pair("LeftShoulder", "LeftShoulder")));
    EXPECT_THAT(matched("LeftCollar(LeftShoulder(LeftElbow))"),
                ::testing::Contains(Pair("LeftShoulder", "LeftArm")));
    EXPECT_THAT(matched("LeftShoulder(LeftElbow(LeftWrist))"),
                ::testing::Contains(Pair("LeftShoulder", "LeftArm")));
}

TEST(BodyNames, TakeALegForWhatTheJointsAroundItLeave) {
    EXPECT_THAT(matched("LeftUpLeg(LeftLeg(LeftFoot))"),
                ::testing::Contains(Pair("LeftLeg", "LeftLeg")));
    EXPECT_THAT(matched("LeftLeg(LeftKnee(LeftFoot))"),
                ::testing::Contains(Pair("LeftLeg", "LeftUpLeg")));
}

TEST(BodyNames, TakeAHandBelowAWristForItsFingersAndAFootBelowAnAnkleForItsToes) {
    EXPECT_THAT(matched("lradius(lwrist(lhand(lfingers)))"),
                UnorderedElementsAre(Pair("lradius", "LeftForeArm"), Pair("lwrist", "LeftHand"),
                                     Pair("lhand", "LeftFingerBase")));
    EXPECT_THAT(matched("KneeLeft(AnkleLeft(FootLeft))"),
                UnorderedElementsAre(Pair("KneeLeft", "LeftLeg"), Pair("AnkleLeft", "LeftFoot"),
                                     Pair("FootLeft", "LeftToeBase")));
}

TEST(BodyNames, TakeAHipForTheThighUnlessThereIsOne) {
    EXPECT_THAT(matched("L_Hip(L_Knee)"),
                UnorderedElementsAre(Pair("L_Hip", "LeftUpLeg"), Pair("L_Knee", "LeftLeg")));
    EXPECT_THAT(matched("L_Hip(L_Thigh(L_Knee))"),
                UnorderedElementsAre(Pair("L_Thigh", "LeftUpLeg"), Pair("L_Knee", "LeftLeg")));
    EXPECT_THAT(unmatched("L_Hip(L_Thigh(L_Knee))"),
                ElementsAre(Pair("L_Hip", "another joint is LeftUpLeg")));
}

TEST(BodyNames, ReportWhatIsAmbiguousInPlaceOfGuessing) {
    Rig rig;
    addJoints(rig, "Hips(LeftLeg(LeftFoot)  LeftShoulder)");
    const BodyMatch match = BodyNames().match(rig);
    EXPECT_EQ(match.ambiguousCount(), 2U);
    const JointMatch& ofLeg = match.joints().at(1);
    EXPECT_TRUE(ofLeg.isAmbiguous());
    EXPECT_EQ(ofLeg.segment, std::nullopt);
    EXPECT_THAT(ofLeg.candidates, ElementsAre(BoneLeftUpLeg, BoneLeftLeg));
    EXPECT_EQ(ofLeg.reason, "may be LeftUpLeg or LeftLeg");
    EXPECT_THAT(match.joints().at(3).candidates, ElementsAre(BoneLeftShoulder, BoneLeftArm));
    EXPECT_EQ(match.segmentOf(2), BoneLeftFoot);
}

TEST(BodyNames, GiveNoSegmentToTwoJointsThatMayBothBeIt) {
    EXPECT_THAT(unmatched("Hips(Head  head)"),
                UnorderedElementsAre(Pair("Head", "one of several joints that may be Head"),
                                     Pair("head", "one of several joints that may be Head")));
    EXPECT_THAT(unmatched("LeftThigh  LeftUpLeg"), IsEmpty()); // two bodies
    EXPECT_THAT(unmatched("Hips(LeftThigh  LeftUpLeg)"),
                UnorderedElementsAre(Pair("LeftThigh", HasSubstr("several")),
                                     Pair("LeftUpLeg", HasSubstr("several"))));
}

TEST(BodyNames, SayOfANameWithoutASideThatItHasNone) {
    EXPECT_THAT(unmatched("Hips(Thigh)"),
                ElementsAre(Pair("Thigh", "its name says neither left nor right")));
}

TEST(BodyNames, LeaveHelpersAlone) {
    EXPECT_THAT(unmatched("Hips(LeftUpLeg(LeftUpLegRoll  upperarm_twist_01_l  LeftToe_End  "
                          "ik_foot_l  Camera)  LeftLoverBoy)"),
                UnorderedElementsAre(Pair("LeftUpLegRoll", "no segment has this name"),
                                     Pair("upperarm_twist_01_l", "no segment has this name"),
                                     Pair("LeftToe_End", "no segment has this name"),
                                     Pair("ik_foot_l", "no segment has this name"),
                                     Pair("Camera", "no segment has this name"),
                                     Pair("LeftLoverBoy", "no segment has this name")));
}

TEST(BodyNames, FindFingersByWordsAndNumbers) {
    for (const std::string name : {"LeftHandIndex2", "lIndex2", "index_02_l", "f_index.02.L",
                                   "L_IndexFinger2", "LeftIndexIntermediate", "Index2_L"}) {
        EXPECT_THAT(matched(name), ElementsAre(Pair(name, "LeftHandIndex2")));
    }
    EXPECT_THAT(matched("LThumb"), ElementsAre(Pair("LThumb", "LeftHandThumb1")));
    EXPECT_THAT(matched("rMid1"), ElementsAre(Pair("rMid1", "RightHandMiddle1")));
    EXPECT_THAT(matched("index_metacarpal_l"),
                ElementsAre(Pair("index_metacarpal_l", "LeftInHandIndex")));
    EXPECT_THAT(matched("LittleProximal.R"),
                ElementsAre(Pair("LittleProximal.R", "RightHandPinky1")));
}

TEST(BodyNames, CountFingersFromTheThumbWhereOneIsNumberNought) {
    EXPECT_THAT(
        matched("Bip01 L Hand(Bip01 L Finger0(Bip01 L Finger01(Bip01 L Finger02))  "
                "Bip01 L Finger4(Bip01 L Finger41))"),
        UnorderedElementsAre(
            Pair("Bip01 L Hand", "LeftHand"), Pair("Bip01 L Finger0", "LeftHandThumb1"),
            Pair("Bip01 L Finger01", "LeftHandThumb2"), Pair("Bip01 L Finger02", "LeftHandThumb3"),
            Pair("Bip01 L Finger4", "LeftHandPinky1"), Pair("Bip01 L Finger41", "LeftHandPinky2")));
    EXPECT_THAT(unmatched("L Finger1"),
                ElementsAre(Pair("L Finger1", "may be LeftHandThumb1 or LeftHandIndex1")));
}

TEST(BodyNames, NumberSpineAndNeckFromBelowAroundJointsThatHaveASegmentsName) {
    EXPECT_THAT(matched("hip(abdomen(chest(neck(head))))"),
                UnorderedElementsAre(Pair("hip", "Hips"), Pair("abdomen", "Spine"),
                                     Pair("chest", "Spine1"), Pair("neck", "Neck"),
                                     Pair("head", "Head")));
    EXPECT_THAT(matched("Spine(Spine1(Chest(UpperChest)))"),
                UnorderedElementsAre(Pair("Spine", "Spine"), Pair("Spine1", "Spine1"),
                                     Pair("Chest", "Spine2"), Pair("UpperChest", "Spine3")));
    EXPECT_THAT(unmatched("LowerBack(Spine(Chest))"),
                ElementsAre(Pair("LowerBack", "no number is left for it before Spine")));
    EXPECT_THAT(unmatched("Hips(Chest  Belly)"),
                ElementsAre(Pair("Belly", "stands beside the others of its kind")));
}

TEST(BodyNames, KnowTheJointsOfRealTakes) {
    const auto rigOf = [](const std::string& file) {
        return readBvh(tarn::testing::samplePath(file)).rig;
    };
    const auto walk = matched(*rigOf("cmu_131_01_walk.bvh"));
    const std::map<std::string, std::string> some = {
        {"LeftHip", "LeftUpLeg"},   {"LeftKnee", "LeftLeg"},        {"LeftAnkle", "LeftFoot"},
        {"LeftToe", "LeftToeBase"}, {"lowerback", "Spine"},         {"Chest2", "Spine2"},
        {"Neck", "Neck"},           {"LeftCollar", "LeftShoulder"}, {"LeftShoulder", "LeftArm"},
        {"LeftWrist", "LeftHand"},  {"lhand", "LeftFingerBase"},    {"LThumb", "LeftHandThumb1"}};
    for (const auto& entry : some) {
        EXPECT_THAT(walk, ::testing::Contains(entry));
    }
    EXPECT_THAT(unmatched(*rigOf("cmu_60_12_salsa_a.bvh")),
                UnorderedElementsAre(Pair("leftEye", ::testing::_), Pair("rightEye", ::testing::_),
                                     Pair("lButtock", ::testing::_),
                                     Pair("rButtock", ::testing::_)));
}

TEST(BodyNames, LeaveOutJointsThatHaveNoPlaceBesideThoseWithASegmentsName) {
    EXPECT_THAT(unmatched("Hips(LHipJoint(LeftUpLeg(LeftLeg(LeftFoot(LeftToeBase))))  "
                          "LowerBack(Spine(Spine1(Neck(Neck1(Head))  LeftShoulder(LeftArm("
                          "LeftForeArm(LeftHand(LeftFingerBase(LFingers)  LThumb))))))))"),
                UnorderedElementsAre(Pair("LHipJoint", "no segment has this name"),
                                     Pair("LowerBack", "no number is left for it before Spine"),
                                     Pair("LFingers", "another joint is LeftFingerBase")));
}

TEST(BodyNames, KeepEachRootABodyOfItsOwn) {
    Rig rig;
    addJoints(rig, "A:Hips(A:LeftUpLeg)  B:Hips(B:LeftUpLeg)");
    const BodyMatch match = BodyNames().match(rig);
    EXPECT_EQ(match.matchedCount(), 4U);
    EXPECT_EQ(match.segmentOf(3), BoneLeftUpLeg);
    EXPECT_EQ(match.nodeOf(BoneLeftUpLeg), 1);
}

TEST(BodyNames, FollowWhatIsAddedBeforeWhatIsBuiltIn) {
    BodyNames names;
    names.addJoint("bone 17", BoneLeftUpLeg);
    names.addJoint("Head", std::nullopt);
    names.addWord("Unter-Schenkel", "Leg");
    EXPECT_THAT(matched("Hips(bone 17(UnterschenkelLeft)  LeftUpLeg  Head)", names),
                UnorderedElementsAre(Pair("Hips", "Hips"), Pair("bone 17", "LeftUpLeg"),
                                     Pair("UnterschenkelLeft", "LeftLeg")));
    EXPECT_THAT(unmatched("Hips(bone 17(UnterschenkelLeft)  LeftUpLeg  Head)", names),
                UnorderedElementsAre(Pair("LeftUpLeg", "another joint is said to be LeftUpLeg"),
                                     Pair("Head", "said to be none")));
    EXPECT_THROW(names.addWord("x", "LeftThigh"), std::invalid_argument);
    EXPECT_THROW(names.addWord("--", "Leg"), std::invalid_argument);
}

TEST(BodyNames, ReadWhatADocumentAdds) {
    Settings document;
    ASSERT_TRUE(document.loadSettingsFromString(
        "<BodyNames><LeftUpLeg>bone 17</LeftUpLeg><Leg>Unterschenkel</Leg><Leg>crus</Leg>"
        "<None>Head</None></BodyNames>"));
    BodyNames names;
    names.add(document);
    EXPECT_THAT(matched("Hips(bone 17(L_Unterschenkel)  R_Crus  Head)", names),
                UnorderedElementsAre(Pair("Hips", "Hips"), Pair("bone 17", "LeftUpLeg"),
                                     Pair("L_Unterschenkel", "LeftLeg"),
                                     Pair("R_Crus", "RightLeg")));
}

std::string errorOf(const std::string& text) {
    Settings document;
    EXPECT_TRUE(document.loadSettingsFromString(text));
    BodyNames names;
    try {
        names.add(document);
    } catch (const std::invalid_argument& error) {
        EXPECT_THAT(matched("Hips(x)", names), ElementsAre(Pair("Hips", "Hips")));
        return error.what();
    }
    return "";
}

TEST(BodyNames, RefuseADocumentWithAnErrorThatNamesTheElementAndAddNothing) {
    EXPECT_EQ(errorOf("<BodyNames><Head>x</Head><LeftThigh>y</LeftThigh></BodyNames>"),
              "BodyNames.LeftThigh: no segment of the body has this name");
    EXPECT_EQ(errorOf("<BodyNames><Head>x</Head><Leg>-</Leg></BodyNames>"),
              "BodyNames.Leg: expected a name, found '-'");
    EXPECT_EQ(errorOf("<BodyNames><Head></Head></BodyNames>"),
              "BodyNames.Head: expected a name, found ''");
    EXPECT_EQ(errorOf("<Names/>"), "the document has no element BodyNames");
}

TEST(BodyNames, StayQuickWhateverAFileCallsItsJoints) {
    Rig rig;
    for (int i = 0; i < 2000; ++i) {
        rig.addJoint("LeftHand", i - 1, {}, {});
    }
    rig.addJoint(std::string(1000, 'l'), -1, {}, {});
    rig.addJoint("", -1, {}, {});
    rig.addJoint("::", -1, {}, {});
    const BodyMatch match = BodyNames().match(rig);
    EXPECT_EQ(match.ambiguousCount(), 2000U);
    EXPECT_EQ(match.matchedCount(), 0U);
}

std::vector<std::string> lengthNames(const std::string& hierarchy) {
    Rig rig;
    addJoints(rig, hierarchy);
    return boneLengthNames(rig, BodyNames().match(rig));
}

TEST(BoneLengthNames, AreThoseOfTheBonesWhateverTheJointsAreCalled) {
    EXPECT_THAT(lengthNames("Hips(LeftHip(LeftKnee(LeftAnkle(LeftToe)))"),
                ElementsAre("", "Hips", "LeftUpLeg", "LeftLeg", "LeftFoot"));
    EXPECT_THAT(lengthNames("l_collar(l_shoulder(l_elbow(l_wrist(tip))))"),
                ElementsAre("", "LeftShoulder", "LeftArm", "LeftForeArm", "LeftHand"));
}

TEST(BoneLengthNames, NameBothEndsOfWhatIsNoBone) {
    EXPECT_THAT(lengthNames("Hips(LeftUpLeg(LeftLeg)  Spine(Neck(Head(eye  ear))  LeftShoulder))"),
                ElementsAre("", "Hips-LeftUpLeg", "LeftUpLeg", "Hips", "Spine", "Neck", "Head-eye",
                            "Head-ear", "Spine-LeftShoulder"));
}

TEST(BoneLengthNames, GoByTheJointsOwnNameWhereItHasNoSegment) {
    EXPECT_THAT(lengthNames("Hips(LHipJoint(LeftUpLeg)  Spine)"),
                ElementsAre("", "Hips-LHipJoint", "LHipJoint", "Hips"));
}

TEST(BoneLengthNames, NameTheBoneOfAnEndSite) {
    Rig rig;
    addJoints(rig, "LeftFoot(LeftToeBase)");
    rig.addEndSite(1, {0, 0, 1});
    EXPECT_THAT(boneLengthNames(rig, BodyNames().match(rig)),
                ElementsAre("", "LeftFoot", "LeftToeBase"));
}

} // namespace
} // namespace tarn::kit
