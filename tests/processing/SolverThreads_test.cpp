// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// Solvers and nodes between a device's thread and the host's.
#include "support/Polling.h"

#include <tarn/Solver.h>
#include <tarn/StreamNode.h>

#include <gtest/gtest.h>

#include <any>
#include <atomic>
#include <memory>
#include <mutex>

using tarn::Frame;
using tarn::Solver;
using tarn::StreamNode;
using tarn::Time;
using tarn::testing::whilePolling;

namespace {

constexpr int port = 1;
constexpr int frames = 300;

std::shared_ptr<Frame> frameAt(int index) {
    return std::make_shared<Frame>(Time(static_cast<unsigned>(index), 60), port, index);
}

/// Puts out what comes in.
class EchoSolver : public Solver {
public:
    EchoSolver() : Solver("echo", "1") {
        addFactor(
            port, [this] { return std::any(factor_); },
            [this](const std::any& value) { factor_ = std::any_cast<int>(value); });
    }

protected:
    using Solver::doEvaluate;
    bool doEvaluate() override {
        const auto input = getInput(port);
        addOutput(input->getFrame(input->frameCount() - 1));
        return true;
    }

private:
    int factor_ = 0;
};

/// Counts what it is given, on whatever thread.
class CountingNode : public StreamNode {
public:
    CountingNode() {
        addIFramePort(port, [this](const std::shared_ptr<Frame>&) { ++count; });
        addOFramePort(port);
    }
    std::atomic<int> count{0};
};

} // namespace

TEST(SolverThreads, ASolverIsFedAndLookedAtUnderTheHostsLock) {
    std::mutex host;
    EchoSolver solver;
    whilePolling(
        [&] {
            for (int i = 0; i < frames; ++i) {
                const std::lock_guard<std::mutex> lock(host);
                solver.addInput(frameAt(i));
                solver.evaluate();
                solver.setFactor(port, i);
            }
        },
        [&] {
            EXPECT_EQ(solver.type() + solver.id(), "echo1") << "which never change";
            const std::lock_guard<std::mutex> lock(host);
            for (const auto& sequence : solver.getOutputs()) {
                const auto last = sequence->getFrame(sequence->frameCount() - 1);
                EXPECT_EQ(last->dataAs<int>(), std::any_cast<int>(solver.queryFactor(port)));
            }
        });
    EXPECT_EQ(solver.getOutput(port)->frameCount(), frames);
}

TEST(StreamNodeThreads, AnInputIsTiedWhileTheOutputIsEmittedOnAThreadOfItsOwn) {
    CountingNode source;
    CountingNode sink;
    int ties = 0;
    whilePolling(
        [&] {
            for (int i = 0; i < frames; ++i) {
                source.oFramePort(port).emit(frameAt(i));
            }
        },
        [&] {
            EXPECT_TRUE(source.hasOFramePort(port));
            if (ties < 3) {
                ++ties;
                EXPECT_TRUE(sink.tieToIFramePort(port, source.oFramePort(port)));
            }
        });
    source.oFramePort(port).disconnectAll();
    EXPECT_LE(sink.count, ties * frames);
}
