// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Tracks.h>

#include "data/Origin.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

using motion::layoutOf;
using motion::Log;
using motion::logWorkRanges;
using motion::namedFrame;
using motion::trackOf;
using tarn::Time;
using tarn::Tracks;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {

/// A track of frames "<name>0", "<name>1", ... at these frame indexes of 30 fps.
std::shared_ptr<tarn::Track> trackAt(const std::string& name,
                                     const std::vector<unsigned>& indexes) {
    motion::Frames frames;
    for (const unsigned index : indexes) {
        frames.push_back(namedFrame(name + std::to_string(frames.size()), Time(index, 30)));
    }
    return trackOf(frames);
}

std::shared_ptr<Tracks> takeWith(const std::shared_ptr<tarn::Track>& track, int offset = 0) {
    auto take = std::make_shared<Tracks>();
    take->addTrack(track, offset);
    return take;
}

} // namespace

TEST(TracksAlignNested, TheTimesOfNestedTakesCountToo) {
    const auto nested = takeWith(trackAt("n", {1, 5}));
    const auto take = takeWith(trackAt("a", {0, 2}));
    take->addSubTracks(nested, 0);
    take->alignTracksByTime();
    EXPECT_THAT(layoutOf(*take->getTrack(0)),
                ElementsAre("a0 0@30", "a0 1@30 held", "a1 2@30", "a1 5@30 held"));
    EXPECT_THAT(layoutOf(*nested->getTrack(0)),
                ElementsAre("-", "n0 1@30", "n0 2@30 held", "n1 5@30"));
    for (const auto& aligned : {take, nested}) {
        EXPECT_EQ(aligned->getTime(0), Time(0, 30));
        EXPECT_EQ(aligned->getTime(1), Time(1, 30));
        EXPECT_EQ(aligned->getTime(2), Time(2, 30));
        EXPECT_EQ(aligned->getTime(3), Time(5, 30));
        EXPECT_EQ(aligned->getTime(4), Time());
        EXPECT_EQ(aligned->timeLength(), 4);
    }
}

TEST(TracksAlignNested, OfTimesOfTheSameSecondTheTakesOwnComesFirst) {
    const auto nested = takeWith(trackOf({namedFrame("n0", Time(2, 60))}));
    const auto take = takeWith(trackOf({namedFrame("a0", Time(1, 30))}));
    take->addSubTracks(nested, 0);
    take->alignTracksByTime();
    EXPECT_EQ(take->getTime(0), Time(1, 30));
    EXPECT_EQ(nested->getTime(0), Time(1, 30));
    EXPECT_THAT(layoutOf(*take->getTrack(0)), ElementsAre("a0 1@30"));
    EXPECT_THAT(layoutOf(*nested->getTrack(0)), ElementsAre("-"));
}

TEST(TracksAlignNested, OfTimesOfTheSameSecondTheEarlierNestedTakesStands) {
    const auto first = takeWith(trackOf({namedFrame("f0", Time(2, 60))}));
    const auto second = takeWith(trackOf({namedFrame("s0", Time(1, 30))}));
    Tracks take;
    take.addSubTracks(first, 0);
    take.addSubTracks(second, 0);
    take.alignTracksByTime();
    EXPECT_THAT(layoutOf(*first->getTrack(0)), ElementsAre("f0 2@60"));
    EXPECT_THAT(layoutOf(*second->getTrack(0)), ElementsAre("-"));
}

TEST(TracksAlignNested, OffsetsOfNestedTakesAndOfTheirTracksAreNotConsulted) {
    const auto nested = takeWith(trackAt("n", {0, 1, 2}), -50);
    const auto take = takeWith(trackAt("a", {0, 1, 2}), 1);
    take->addSubTracks(nested, 20);
    take->alignTracksByTime();
    EXPECT_EQ(take->timeLength(), 2) << "what the take's own tracks reach to";
    EXPECT_EQ(nested->timeLength(), 3) << "one index per time";
    EXPECT_EQ(take->subTracksOffset(nested), 20);
    EXPECT_EQ(nested->trackOffset(nested->getTrack(0)), -50);
    EXPECT_THAT(layoutOf(*nested->getTrack(0)), ElementsAre("n0 0@30", "n1 1@30", "n2 2@30"));
}

TEST(TracksAlignNested, ATakeOfNestedTakesAloneHasTheirTimesButNoLength) {
    const auto nested = takeWith(trackAt("n", {4, 5}));
    Tracks take;
    take.setFps(50);
    take.addSubTracks(nested, 0);
    take.alignTracksByTime();
    EXPECT_EQ(take.timeLength(), 0);
    EXPECT_EQ(take.workRangeEnd(), -1);
    EXPECT_EQ(take.getTime(0), Time()) << "two times are stored, by no track";
    EXPECT_EQ(take.getTime(1), Time());
    EXPECT_EQ(take.getTime(2), Time(2, 50));
    EXPECT_THAT(take.frameIndexMap(), IsEmpty());
    EXPECT_EQ(nested->timeLength(), 2);
    EXPECT_THAT(nested->frameIndexMap(), ElementsAre(Pair(0, 0), Pair(1, 1)));
}

TEST(TracksAlignNested, EachTakeFillsItsOwnMap) {
    const auto nested = takeWith(trackAt("n", {1}));
    const auto prefilled = takeWith(trackAt("p", {1}));
    prefilled->setFrameIndexMap(9, 9);
    const auto take = takeWith(trackAt("a", {0, 1}));
    take->addSubTracks(nested, 0);
    take->addSubTracks(prefilled, 0);
    take->alignTracksByTime();
    EXPECT_THAT(take->frameIndexMap(), ElementsAre(Pair(0, 0), Pair(1, 1)));
    EXPECT_THAT(nested->frameIndexMap(), ElementsAre(Pair(1, 0)));
    EXPECT_THAT(prefilled->frameIndexMap(), ElementsAre(Pair(9, 9)));
}

TEST(TracksAlignNested, OnlyOneLevelIsAligned) {
    const auto innerTrack = trackAt("i", {7, 8, 9});
    const auto inner = takeWith(innerTrack);
    const auto nested = takeWith(trackAt("n", {1}));
    const auto take = takeWith(trackAt("a", {0}));
    inner->setTimeLength(44);
    nested->addSubTracks(inner, 3);
    take->addSubTracks(nested, 0);
    take->alignTracksByTime();
    EXPECT_EQ(take->getTrack(0)->frameCount(), 2);
    EXPECT_EQ(nested->getTrack(0)->frameCount(), 2);
    EXPECT_EQ(inner->getTrack(0), innerTrack);
    EXPECT_EQ(inner->timeLength(), 44);
    EXPECT_EQ(inner->getTime(0), Time());
    EXPECT_THAT(inner->frameIndexMap(), IsEmpty());
    EXPECT_EQ(inner->workRangeBegin(), 3) << "ranges reach every level";
    EXPECT_EQ(inner->workRangeEnd(), 4);
}

TEST(TracksAlignNested, RangesAreAnnouncedStepByStep) {
    Log log;
    const auto inner = std::make_shared<Tracks>();
    const auto first = takeWith(trackAt("f", {1}));
    const auto second = takeWith(trackAt("s", {2}));
    const auto take = takeWith(trackAt("a", {0}), 1);
    first->addSubTracks(inner, 100);
    take->addSubTracks(first, 10);
    take->addSubTracks(second, 20);
    logWorkRanges(*take, "take", log);
    logWorkRanges(*first, "first", log);
    logWorkRanges(*inner, "inner", log);
    logWorkRanges(*second, "second", log);
    take->alignTracksByTime();
    EXPECT_THAT(log, ElementsAre("take 0..2", "first 10..12", "inner 110..112", "second 20..22", //
                                 "first 0..2", "inner 100..102", "second 0..2",                  //
                                 "take 0..1", "first 10..11", "inner 110..111", "second 20..21"));
    EXPECT_EQ(first->timeLength(), 3);
}

TEST(TracksAlignNested, ANestedTakesLengthIsSetBeforeItsOwnRange) {
    Log log;
    const auto nested = takeWith(trackAt("n", {1, 2}));
    nested->setTimeLength(99);
    Tracks take;
    take.addSubTracks(nested, 10);
    nested->onWorkRangeChanged().connect([&](int begin, int end) {
        log.push_back(motion::rangeText(begin, end) + " of " +
                      std::to_string(nested->timeLength()) + ", " +
                      testing::PrintToString(nested->getTime(1)));
    });
    take.alignTracksByTime();
    EXPECT_THAT(log, ElementsAre("10..11 of 99, 0@0", "0..1 of 2, 0@0", "10..9 of 2, 2@30"));
}

TEST(TracksAlignNested, ATakeThatIsNestedTwiceIsAlignedLikeOnce) {
    Log log;
    const auto twice = takeWith(trackAt("n", {1, 3}));
    const auto take = takeWith(trackAt("a", {0, 2}));
    take->addSubTracks(twice, 10);
    take->addSubTracks(twice, 20);
    logWorkRanges(*twice, "twice", log);
    take->alignTracksByTime();
    EXPECT_THAT(layoutOf(*twice->getTrack(0)),
                ElementsAre("-", "n0 1@30", "n0 2@30 held", "n1 3@30"));
    EXPECT_THAT(log, ElementsAre("twice 10..13", "twice 20..23", "twice 0..3", "twice 10..13",
                                 "twice 20..23"));
}

TEST(TracksAlignSafety, ASlotMayAlignTheTakeAgain) {
    const auto nested = takeWith(trackAt("n", {1, 3}));
    const auto take = takeWith(trackAt("a", {0, 2}), -2);
    take->addSubTracks(nested, 10);
    bool again = true;
    take->onWorkRangeChanged().connect([&again, &take](int, int) {
        if (again) {
            again = false;
            take->alignTracksByTime();
        }
    });
    take->alignTracksByTime();
    EXPECT_FALSE(again);
    EXPECT_THAT(layoutOf(*take->getTrack(0)),
                ElementsAre("a0 0@30", "a0 1@30 held", "a1 2@30", "a1 3@30 held"));
    EXPECT_THAT(layoutOf(*nested->getTrack(0)),
                ElementsAre("-", "n0 1@30", "n0 2@30 held", "n1 3@30"));
    EXPECT_EQ(take->timeLength(), 6);
    EXPECT_EQ(take->workRangeEnd(), 5);
}

TEST(TracksAlignSafety, ASlotMayRemoveTracks) {
    const auto first = trackAt("a", {0, 2});
    const auto last = trackAt("b", {1, 9});
    const auto take = takeWith(first);
    take->addTrack(last, 0);
    take->onWorkRangeChanged().connect([&](int, int) { take->removeTrack(first); });
    take->alignTracksByTime();
    ASSERT_EQ(take->trackCount(), 1);
    EXPECT_THAT(layoutOf(*take->getTrack(0)),
                ElementsAre("-", "b0 1@30", "b0 2@30 held", "b1 9@30"));
    EXPECT_THAT(layoutOf(*first), ElementsAre("a0 0@30", "a1 2@30"));
}

TEST(TracksAlignSafety, ASlotMayAddTracks) {
    const auto take = takeWith(trackAt("a", {0, 2}));
    take->onWorkRangeChanged().connect([&take](int, int) {
        for (int i = 0; i < 100; ++i) { // enough to make the list of tracks move
            take->addTrack(trackAt("new", {1}), 0);
        }
    });
    take->alignTracksByTime();
    EXPECT_EQ(take->trackCount(), 101);
    EXPECT_THAT(layoutOf(*take->getTrack(0)), ElementsAre("a0 0@30", "a1 2@30"));
}

TEST(TracksAlignSafety, ANestedTakesSlotMayChangeTheTracksOfBoth) {
    const auto own = trackAt("n", {1});
    const auto nested = takeWith(own);
    const auto track = trackAt("a", {0});
    const auto take = takeWith(track);
    take->addSubTracks(nested, 10);
    bool done = false;
    nested->onWorkRangeChanged().connect([&](int, int) {
        if (!done) {
            done = true;
            take->removeTrack(track);
            nested->removeTrack(own);
            nested->addTrack(trackAt("m", {0, 1}), 0);
        }
    });
    take->alignTracksByTime();
    EXPECT_EQ(take->trackCount(), 0);
    EXPECT_EQ(take->timeLength(), 0);
    ASSERT_EQ(nested->trackCount(), 1);
    EXPECT_THAT(layoutOf(*nested->getTrack(0)), ElementsAre("m0 0@30", "m1 1@30"));
}

TEST(TracksAlignSafety, ANestedTakeRemovedByASlotOfTheTakeIsNotAligned) {
    const auto removedTrack = trackAt("n", {1, 3});
    std::weak_ptr<Tracks> removed;
    const auto take = takeWith(trackAt("a", {0, 2}));
    {
        const auto nested = takeWith(removedTrack);
        take->addSubTracks(nested, 0);
        removed = nested;
    }
    const auto last = takeWith(trackAt("l", {0}));
    take->addSubTracks(last, 0);
    take->onWorkRangeChanged().connect([&](int, int) { take->removeSubTracks(removed.lock()); });
    take->alignTracksByTime();
    EXPECT_TRUE(removed.expired());
    EXPECT_THAT(layoutOf(*removedTrack), ElementsAre("n0 1@30", "n1 3@30"));
    EXPECT_EQ(last->getTrack(0)->frameCount(), 4) << "its times count all the same";
}

TEST(TracksAlignSafety, ANestedTakeRemovedByAnotherIsNotAlignedButLivesUntilTheEnd) {
    const auto removedTrack = trackAt("n", {1, 3});
    std::weak_ptr<Tracks> removed;
    const auto take = takeWith(trackAt("a", {0, 2}));
    const auto first = takeWith(trackAt("f", {0}));
    take->addSubTracks(first, 10);
    {
        const auto nested = takeWith(removedTrack);
        take->addSubTracks(nested, 10);
        removed = nested;
    }
    const auto last = takeWith(trackAt("l", {0}));
    take->addSubTracks(last, 10);
    first->onWorkRangeChanged().connect([&](int begin, int) {
        if (begin == 0) { // its own range, set while it is being aligned
            take->removeSubTracks(removed.lock());
        }
    });
    std::vector<bool> expired;
    last->onWorkRangeChanged().connect([&](int begin, int) {
        if (begin == 0) {
            expired.push_back(removed.expired());
        }
    });
    take->alignTracksByTime();
    EXPECT_TRUE(removed.expired());
    EXPECT_THAT(expired, ElementsAre(false));
    EXPECT_THAT(layoutOf(*removedTrack), ElementsAre("n0 1@30", "n1 3@30"));
}

TEST(TracksAlignSafety, ANestedTakeThatNobodyElseOwnsMayRemoveItself) {
    std::weak_ptr<Tracks> removed;
    Tracks take;
    {
        const auto nested = takeWith(trackAt("n", {1, 3}));
        take.addSubTracks(nested, 10);
        removed = nested;
    }
    Log log;
    removed.lock()->onWorkRangeChanged().connect([&](int begin, int end) {
        log.push_back(motion::rangeText(begin, end));
        if (begin == 0) { // its own range, set while it is being aligned
            take.removeSubTracks(removed.lock());
            log.emplace_back(removed.expired() ? "gone" : "alive");
        }
    });
    take.alignTracksByTime();
    EXPECT_THAT(log, ElementsAre("10..11", "0..1", "alive"));
    EXPECT_TRUE(removed.expired());
    EXPECT_EQ(take.timeLength(), 0);
}

TEST(TracksAlignSafety, ANestedTakeAddedByASlotOfTheTakeIsAlignedToTheTimesThatWereThere) {
    const auto added = takeWith(trackAt("n", {1, 3}));
    const auto take = takeWith(trackAt("a", {0, 2}));
    bool done = false;
    take->onWorkRangeChanged().connect([&](int, int) {
        if (!done) {
            done = true;
            take->addSubTracks(added, 0);
        }
    });
    take->alignTracksByTime();
    EXPECT_EQ(take->subTracksCount(), 1);
    EXPECT_THAT(layoutOf(*added->getTrack(0)), ElementsAre("-", "n0 2@30 held"));
    EXPECT_EQ(added->timeLength(), 2);
    EXPECT_EQ(take->getTrack(0)->frameCount(), 2);
}

TEST(TracksAlignSafety, ANestedTakeAddedByASlotOfANestedOneIsNotAligned) {
    const auto newTrack = trackAt("n", {1, 3});
    const auto added = takeWith(newTrack);
    const auto take = takeWith(trackAt("a", {0, 2}));
    const auto nested = takeWith(trackAt("m", {0}));
    take->addSubTracks(nested, 10);
    nested->onWorkRangeChanged().connect([&](int begin, int) {
        if (begin == 0) { // its own range, set while it is being aligned
            take->addSubTracks(added, 10);
        }
    });
    take->alignTracksByTime();
    EXPECT_EQ(take->subTracksCount(), 2);
    EXPECT_EQ(added->getTrack(0), newTrack);
    EXPECT_EQ(added->timeLength(), 0);
}
