// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_link/together/TakeCall.h>

#include "link/together/TogetherTest.h"

#include <tarn_link/together/TakeFollower.h>
#include <tarn_link/together/TakeLeader.h>

#include <dds/dds.h>
#include <tarn_link.h>

#include <chrono>
#include <cstdint>
#include <string>

namespace tarn::link {
namespace {

using std::chrono::milliseconds;
using Instant = kit::Clock::Instant;

class TakeCallTest : public TogetherTest {};

TEST_F(TakeCallTest, WhatCannotBeIsNotFollowed) {
    const LinkOptions options = ownDomain();
    const dds_entity_t participant = dds_create_participant(options.domain, nullptr, nullptr);
    const dds_entity_t topic =
        dds_create_topic(participant, &tarn_wire_TakeState_desc, "tarn_take_1", nullptr, nullptr);
    dds_qos_t* const qos = dds_create_qos();
    dds_qset_reliability(qos, DDS_RELIABILITY_RELIABLE, DDS_SECS(1));
    dds_qset_durability(qos, DDS_DURABILITY_TRANSIENT_LOCAL);
    dds_qset_liveliness(qos, DDS_LIVELINESS_AUTOMATIC, DDS_SECS(1));
    const dds_entity_t writer = dds_create_writer(participant, topic, qos, nullptr);
    dds_delete_qos(qos);
    const auto say = [&](std::uint64_t leader, std::string name, int phase) {
        tarn_wire_TakeState state{};
        state.leader = leader;
        state.take = 1;
        state.name = name.data();
        state.phase = static_cast<std::uint8_t>(phase);
        ASSERT_EQ(dds_write(writer, &state), 0);
    };
    say(0, "nobody's", 1);
    say(1, "unknown phase", 9);
    say(2, std::string(300, 'x'), 1);
    say(3, "star*", 1);
    TakeFollower follower(disk);
    say(1000, "good", 1);
    ASSERT_TRUE(follows(follower, TakePhase::Armed));
    EXPECT_EQ(follower.call().name, "good") << "the others came first, and have lower numbers";
    dds_delete(participant);
}

TEST_F(TakeCallTest, LongTextsAreCut) {
    TakeLeader leader(stage);
    TakeFollower follower(disk);
    leader.arm("walk");
    ASSERT_TRUE(follows(follower, TakePhase::Armed));
    follower.report(reportOf(RecorderPhase::Armed, std::string(1000, 'f')));
    ASSERT_TRUE(eventually([&] { return leader.recorders().size() == 1; }));
    EXPECT_EQ(leader.recorders()[0].file, std::string(255, 'f'));
}

TEST(TakeCall, IsAnotherWithAnotherOfAnyOfItsParts) {
    TakeCall call;
    EXPECT_EQ(call, TakeCall());
    for (int part = 0; part < 6; ++part) {
        TakeCall other;
        other.leader = part == 0 ? 1 : 0;
        other.take = part == 1 ? 1 : 0;
        other.name = part == 2 ? "walk" : "";
        other.phase = part == 3 ? TakePhase::Armed : TakePhase::Idle;
        other.starts = Instant(milliseconds(part == 4 ? 1 : 0));
        other.ends = Instant(milliseconds(part == 5 ? 1 : 0));
        EXPECT_NE(call, other) << part;
    }
}

} // namespace
} // namespace tarn::link
