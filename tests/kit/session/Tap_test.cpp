// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/session/Tap.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace tarn;
using kit::Tap;

class Source : public StreamNode {
public:
    Source() {
        addOFramePort(0);
        addOSequencePort(0);
    }
    tsignal::Signal<std::shared_ptr<Frame>>& frames() { return oFramePort(0); }
    tsignal::Signal<std::shared_ptr<Sequence>>& sequences() { return oSequencePort(0); }
    void send(int index) {
        frames().emit(std::make_shared<Frame>(Time(static_cast<unsigned>(index), 30)));
    }
};

class Sink : public StreamNode {
public:
    Sink() {
        addIFramePort(3, [this](const std::shared_ptr<Frame>& frame) {
            received.push_back(frame->time().frameIndex());
        });
        addISequencePort(4, [this](const std::shared_ptr<Sequence>&) { ++sequences; });
    }
    std::vector<unsigned> received;
    int sequences = 0;
};

using Frames = std::vector<unsigned>;

TEST(Tap, LetsFramesThroughWhileItIsOpen) {
    Source source;
    Sink sink;
    Tap tap(source, source.frames(), sink, 3);
    EXPECT_TRUE(tap.isOpen());
    source.send(1);
    tap.close();
    EXPECT_FALSE(tap.isOpen());
    source.send(2);
    tap.open();
    tap.open();
    source.send(3);
    EXPECT_EQ(sink.received, (Frames{1, 3}));
}

TEST(Tap, LeavesWhatElseIsTiedAlone) {
    Source source;
    Sink viewer;
    Sink recorder;
    viewer.tieToIFramePort(3, source.frames());
    Tap recording(source, source.frames(), recorder, 3);
    source.send(1);
    recording.close();
    source.send(2);
    EXPECT_EQ(viewer.received, (Frames{1, 2}));
    EXPECT_EQ(recorder.received, (Frames{1}));
}

TEST(Tap, ClosesWhenItIsDestroyedOrAssigned) {
    Source source;
    Sink sink;
    Sink other;
    {
        Tap tap(source, source.frames(), sink, 3);
        source.send(1);
        tap = Tap(source, source.frames(), other, 3);
        source.send(2);
        const Tap moved(std::move(tap));
        source.send(3);
    }
    source.send(4);
    EXPECT_EQ(sink.received, (Frames{1}));
    EXPECT_EQ(other.received, (Frames{2, 3}));
}

TEST(Tap, IsForSequencesToo) {
    Source source;
    Sink sink;
    Tap tap(source, source.sequences(), sink, 4);
    source.sequences().emit(std::make_shared<Sequence>(1));
    tap.close();
    source.sequences().emit(std::make_shared<Sequence>(1));
    EXPECT_EQ(sink.sequences, 1);
}

TEST(Tap, NamesThePortThatThereIsNot) {
    Source source;
    Sink sink;
    try {
        const Tap tap(source, source.frames(), sink, 17);
        FAIL();
    } catch (const std::invalid_argument& error) {
        EXPECT_STREQ(error.what(), "the receiving node has no such input port: 17");
    }
    EXPECT_THROW(Tap(source, source.sequences(), sink, 3), std::invalid_argument);
    source.send(1);
    EXPECT_TRUE(sink.received.empty());
}

TEST(Tap, MayBeClosedByTheFrameThatPasses) {
    Source source;
    Sink sink;
    std::unique_ptr<Tap> tap;
    source.frames().connect([&](const std::shared_ptr<Frame>& frame) {
        if (frame->time().frameIndex() == 2) {
            tap->close();
        }
    });
    tap = std::make_unique<Tap>(source, source.frames(), sink, 3);
    for (const int index : {1, 2, 3}) {
        source.send(index);
    }
    EXPECT_EQ(sink.received, (Frames{1}));
}

TEST(Tap, ItAndItsNodesMayBeDestroyedInEveryOrder) {
    std::array<int, 3> order = {0, 1, 2};
    do {
        auto source = std::make_unique<Source>();
        auto sink = std::make_unique<Sink>();
        auto tap = std::make_unique<Tap>(*source, source->frames(), *sink, 3);
        for (const int part : order) {
            if (part == 0) {
                source.reset();
            } else if (part == 1) {
                sink.reset();
            } else {
                tap.reset();
            }
            if (tap != nullptr) {
                EXPECT_FALSE(tap->isOpen());
                tap->open();
                EXPECT_FALSE(tap->isOpen());
            }
            if (source != nullptr) {
                source->send(1);
            }
        }
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST(TapThreads, NoFrameArrivesOnceItIsClosed) {
    Source source;
    Sink sink;
    Tap tap(source, source.frames(), sink, 3);
    std::atomic<bool> isOver = false;
    std::thread device([&] {
        for (int i = 0; !isOver; ++i) {
            source.send(i);
        }
    });
    for (int round = 0; round < 200; ++round) {
        tap.close();
        const std::size_t count = sink.received.size(); // would race with a frame on its way
        std::this_thread::yield();
        EXPECT_EQ(sink.received.size(), count);
        tap.open();
    }
    tap.close();
    isOver = true;
    device.join();
}

} // namespace
