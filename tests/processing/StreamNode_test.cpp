// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/StreamNode.h>

#include "processing/StreamNodeTesting.h"
#include "support/VirtualTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <type_traits>
#include <vector>

using processing_testing::Node;
using tarn::StreamNode;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

static_assert(std::is_base_of_v<tarn::Object, StreamNode>);
static_assert(std::is_convertible_v<StreamNode*, tarn::Object*>);
static_assert(std::has_virtual_destructor_v<StreamNode>);
static_assert(!std::is_abstract_v<StreamNode>);
static_assert(std::is_default_constructible_v<StreamNode>);
static_assert(!std::is_copy_constructible_v<StreamNode>);
static_assert(!std::is_copy_assignable_v<StreamNode>);
static_assert(sizeof(StreamNode) == sizeof(tarn::Object) + sizeof(void*));

#ifdef TARN_KNOWN_VIRTUAL_TABLE
struct VirtualProbe : StreamNode {
    virtual void next() {}
};

TEST(StreamNode, HasNothingButTheDestructorInItsTable) {
    EXPECT_EQ(tarn::testing::tableIndex(&VirtualProbe::next), 2U);
}
#endif

} // namespace

TEST(StreamNode, HasNoPortsWhenItIsNew) {
    const StreamNode node;
    EXPECT_EQ(node.objectName(), "");
    EXPECT_THAT(node.supportIFramePorts(), IsEmpty());
    EXPECT_THAT(node.supportISequencePorts(), IsEmpty());
    EXPECT_THAT(node.supportOFramePorts(), IsEmpty());
    EXPECT_THAT(node.supportOSequencePorts(), IsEmpty());
    for (const int id : {-1, 0, 1}) {
        EXPECT_FALSE(node.hasIFramePort(id));
        EXPECT_FALSE(node.hasISequencePort(id));
        EXPECT_FALSE(node.hasOFramePort(id));
        EXPECT_FALSE(node.hasOSequencePort(id));
    }
}

TEST(StreamNode, ListsInputFramePortsInAscendingOrder) {
    Node node;
    for (const int id : {5, 2, -3}) {
        node.addIFramePort(id, [](const auto& /*frame*/) {});
    }
    EXPECT_THAT(node.supportIFramePorts(), ElementsAre(-3, 2, 5));
    EXPECT_TRUE(node.hasIFramePort(2));
    EXPECT_FALSE(node.hasIFramePort(3));
}

TEST(StreamNode, ListsInputSequencePortsInAscendingOrder) {
    Node node;
    for (const int id : {5, 2, -3}) {
        node.addISequencePort(id, [](const auto& /*sequence*/) {});
    }
    EXPECT_THAT(node.supportISequencePorts(), ElementsAre(-3, 2, 5));
    EXPECT_TRUE(node.hasISequencePort(2));
    EXPECT_FALSE(node.hasISequencePort(3));
}

TEST(StreamNode, ListsOutputFramePortsInAscendingOrder) {
    Node node;
    for (const int id : {5, 2, -3}) {
        node.addOFramePort(id);
    }
    EXPECT_THAT(node.supportOFramePorts(), ElementsAre(-3, 2, 5));
    EXPECT_TRUE(node.hasOFramePort(2));
    EXPECT_FALSE(node.hasOFramePort(3));
}

TEST(StreamNode, ListsOutputSequencePortsInAscendingOrder) {
    Node node;
    for (const int id : {5, 2, -3}) {
        node.addOSequencePort(id);
    }
    EXPECT_THAT(node.supportOSequencePorts(), ElementsAre(-3, 2, 5));
    EXPECT_TRUE(node.hasOSequencePort(2));
    EXPECT_FALSE(node.hasOSequencePort(3));
}

TEST(StreamNode, ListsFramePortsInAVectorOfNoMoreRoomThanNeeded) {
    Node node;
    for (int id = 0; id < 5; ++id) {
        node.addIFramePort(id, [](const auto& /*frame*/) {});
        node.addOFramePort(id);
    }
    EXPECT_EQ(node.supportIFramePorts().capacity(), 5U);
    EXPECT_EQ(node.supportOFramePorts().capacity(), 5U);
}

TEST(StreamNode, NumbersTheFourKindsOfPortIndependently) {
    Node node;
    node.addIFramePort(1, [](const auto& /*frame*/) {});
    node.addOSequencePort(1);
    EXPECT_TRUE(node.hasIFramePort(1));
    EXPECT_TRUE(node.hasOSequencePort(1));
    EXPECT_FALSE(node.hasISequencePort(1));
    EXPECT_FALSE(node.hasOFramePort(1));

    node.addISequencePort(2, [](const auto& /*sequence*/) {});
    node.addOFramePort(2);
    EXPECT_TRUE(node.hasISequencePort(2));
    EXPECT_TRUE(node.hasOFramePort(2));
    EXPECT_FALSE(node.hasIFramePort(2));
    EXPECT_FALSE(node.hasOSequencePort(2));
}

TEST(StreamNode, HasAnInputPortWhoseHandlerIsEmpty) {
    Node node;
    node.addIFramePort(1, nullptr);
    node.addISequencePort(2, nullptr);
    EXPECT_THAT(node.supportIFramePorts(), ElementsAre(1));
    EXPECT_THAT(node.supportISequencePorts(), ElementsAre(2));
}

TEST(StreamNode, HasAnInputPortOnceHoweverOftenItsHandlerIsReplaced) {
    Node node;
    node.addIFramePort(1, nullptr);
    node.addIFramePort(1, [](const auto& /*frame*/) {});
    node.addISequencePort(1, nullptr);
    node.addISequencePort(1, [](const auto& /*sequence*/) {});
    EXPECT_THAT(node.supportIFramePorts(), ElementsAre(1));
    EXPECT_THAT(node.supportISequencePorts(), ElementsAre(1));
}

TEST(StreamNode, GivesTheSameSignalForAnOutputPortThatIsDeclaredAgain) {
    Node node;
    int frames = 0;
    auto& frameOutput = node.addOFramePort(3);
    frameOutput.connect([&](const auto& /*frame*/) { ++frames; });
    EXPECT_EQ(&node.addOFramePort(3), &frameOutput);
    EXPECT_EQ(&node.oFramePort(3), &frameOutput);
    EXPECT_THAT(node.supportOFramePorts(), ElementsAre(3));
    node.oFramePort(3).emit(nullptr);
    EXPECT_EQ(frames, 1) << "the connection was lost";

    auto& sequenceOutput = node.addOSequencePort(3);
    EXPECT_EQ(&node.addOSequencePort(3), &sequenceOutput);
    EXPECT_EQ(&node.oSequencePort(3), &sequenceOutput);
    EXPECT_THAT(node.supportOSequencePorts(), ElementsAre(3));
}

TEST(StreamNode, MakesAnOutputFramePortThatIsAskedFor) {
    const StreamNode node;
    auto& output = node.oFramePort(9);
    EXPECT_TRUE(node.hasOFramePort(9));
    EXPECT_THAT(node.supportOFramePorts(), ElementsAre(9));
    EXPECT_FALSE(node.hasOSequencePort(9));
    EXPECT_EQ(&node.oFramePort(9), &output);
}

TEST(StreamNode, MakesAnOutputSequencePortThatIsAskedFor) {
    const StreamNode node;
    auto& output = node.oSequencePort(9);
    EXPECT_TRUE(node.hasOSequencePort(9));
    EXPECT_THAT(node.supportOSequencePorts(), ElementsAre(9));
    EXPECT_FALSE(node.hasOFramePort(9));
    EXPECT_EQ(&node.oSequencePort(9), &output);
}

TEST(StreamNode, KeepsItsSignalsInPlaceWhenPortsAreAdded) {
    Node node;
    auto& output = node.addOFramePort(50);
    for (int id = 0; id < 100; ++id) {
        node.addOFramePort(id);
    }
    EXPECT_EQ(&node.oFramePort(50), &output);
    EXPECT_NE(&node.oFramePort(49), &output);
}

TEST(StreamNode, ListsPortsAsACopy) {
    Node node;
    node.addOFramePort(1);
    std::vector<int> ids = node.supportOFramePorts();
    ids.push_back(2);
    EXPECT_THAT(node.supportOFramePorts(), ElementsAre(1));
}
