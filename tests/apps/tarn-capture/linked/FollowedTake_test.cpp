// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "linked/FollowedTake.h"

#include "link/LinkTest.h"
#include "support/TemporaryDirectory.h"

#include <tarn_kit/body/BodyPose.h>
#include <tarn_link/together/TakeLeader.h>
#include <tarn_store/file/TakeReader.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <vector>

namespace tarn::capture {
namespace {

using link::bodyFrame;
using link::eventually;
using std::chrono::seconds;
using ::testing::Contains;
using ::testing::IsSupersetOf;
using ::testing::Not;
using Instant = kit::Clock::Instant;

/// Frames are captured when the test says so, by a clock that stands still meanwhile: how long a
/// busy machine takes does not matter.
class FollowedTakeTest : public ::testing::Test {
protected:
    FollowedTakeTest() {
        publisher_.addTrack(kit::bodyDataType, link::bodyDescription());
        source_.tieTo(publisher_);
        publisher_.start();
        EXPECT_TRUE(streams_.connect(60, [] { return false; }));
    }

    static link::PublisherOptions on(const std::shared_ptr<kit::ManualClock>& clock) {
        link::PublisherOptions options;
        options.clock = clock;
        return options;
    }
    bool awaitReceiver() const { return publisher_.awaitReceivers(1, link::longEnough); }
    /// Waits until it has gone through the recorder's hands; returns its index.
    unsigned send(Instant captured) {
        clock_->advanceTo(captured);
        source_.send(bodyFrame(next_));
        EXPECT_TRUE(eventually(
            [this] { return streams_.devices().front()->status().samples > next_ - firstIndex; }));
        return next_++;
    }
    std::vector<unsigned> sendThree(Instant captured) {
        return {send(captured), send(captured), send(captured)};
    }
    bool hasFrames() const {
        const auto recorders = leader_.recorders();
        return !recorders.empty() && recorders.front().hasData;
    }
    std::vector<unsigned> recorded() const {
        std::vector<unsigned> indexes;
        store::TakeReader reader(file_);
        const auto take = reader.load();
        for (int i = 0; i < take->timeLength(); ++i) {
            if (const auto frame = take->getFrame(i, kit::bodyDataType)) {
                indexes.push_back(frame->time().frameIndex());
            }
        }
        return indexes;
    }

    static constexpr unsigned firstIndex = 100;
    const tarn::testing::TemporaryDirectory directory_;
    const std::string file_ = directory_ / "take.tarn";
    const std::shared_ptr<kit::ManualClock> clock_ = std::make_shared<kit::ManualClock>();
    const std::shared_ptr<link::Link> stage_ = std::make_shared<link::Link>(link::ownDomain());
    link::TakeLeader leader_{*stage_};
    link::LinkPublisher publisher_{stage_, "stage", on(clock_)};
    link::Source source_;
    ReceivedStreams streams_{link::ownDomain(), {"stage"}};
    unsigned next_ = firstIndex;
};

TEST_F(FollowedTakeTest, RecordsNoFrameThatWasCapturedBeforeTheTakeOrAfterIt) {
    Recording recording(file_);
    FollowedTake take(streams_, recording, file_);
    recording.start();
    streams_.start();
    ASSERT_TRUE(awaitReceiver());
    auto isComplete = std::async(std::launch::async, [&take] {
        const auto latest = std::chrono::steady_clock::now() + link::longEnough;
        return take.follow([latest] { return std::chrono::steady_clock::now() > latest; });
    });

    std::vector<unsigned> outside = sendThree(kit::SteadyClock().now()); // before anybody leads
    leader_.arm("scene 1");
    ASSERT_TRUE(eventually([this] { return !leader_.recorders().empty(); }));
    const Instant starts = leader_.start(seconds(20)).starts;
    const std::vector<unsigned> before = sendThree(starts - seconds(10));
    ASSERT_TRUE(eventually([&] { // it has heard of the start
        send(starts + seconds(10));
        return hasFrames();
    }));
    const std::vector<unsigned> within = sendThree(starts + seconds(10));
    const Instant ends = leader_.end(seconds(200)).ends;
    const std::vector<unsigned> stillWithin = sendThree(ends - seconds(10));
    while (isComplete.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready) {
        send(ends + seconds(10));
    }
    EXPECT_TRUE(isComplete.get());
    const std::vector<unsigned> after = sendThree(ends + seconds(10));
    streams_.stop();
    EXPECT_EQ(recording.end(), "");

    const std::vector<unsigned> indexes = recorded();
    EXPECT_THAT(indexes, IsSupersetOf(within));
    EXPECT_THAT(indexes, IsSupersetOf(stillWithin));
    outside.insert(outside.end(), before.begin(), before.end());
    outside.insert(outside.end(), after.begin(), after.end());
    for (const unsigned index : outside) {
        EXPECT_THAT(indexes, Not(Contains(index)));
    }
}

} // namespace
} // namespace tarn::capture
