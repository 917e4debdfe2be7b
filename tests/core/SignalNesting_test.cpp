// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "SignalTesting.h"

#include <tsignal/Signal.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>

// Emissions started by a slot of the very signal that is calling it.

namespace {

using signal_testing::isLockedForOthers;
using signal_testing::Trace;
using testing::ElementsAre;
using tsignal::Disconnector;
using tsignal::Signal;

/// A signal whose argument is the depth of the emission; slots note their name and that depth.
class SignalNesting : public testing::Test {
protected:
    using Action = std::function<void(int depth)>;

    Disconnector connect(
        const std::string& name, Action action = [](int) {}) {
        return signal_.connect(noting(name, std::move(action)));
    }

    Disconnector connectFor(int* object, const std::string& name) {
        return signal_.connect(object, noting(name, [](int) {}));
    }

    Trace emitted() {
        calls_.clear();
        signal_.emit(1);
        return calls_;
    }

    Signal<int>& signal() { return signal_; }

private:
    std::function<void(int)> noting(const std::string& name, Action action) {
        return [this, name, action = std::move(action)](int depth) {
            calls_.push_back(name + std::to_string(depth));
            action(depth);
        };
    }

    Signal<int> signal_;
    Trace calls_;
};

TEST_F(SignalNesting, ANestedEmissionCallsEverySlotAndTheOuterOneGoesOn) {
    connect("A");
    connect("B", [&](int depth) {
        if (depth == 1) {
            signal().emit(2);
        }
    });
    connect("C");

    EXPECT_THAT(emitted(), ElementsAre("A1", "B1", "A2", "B2", "C2", "C1"));
    EXPECT_FALSE(isLockedForOthers(signal()));
}

TEST_F(SignalNesting, EveryLevelGoesOnByItself) {
    connect("A", [&](int depth) {
        if (depth < 4) {
            signal().emit(depth + 1);
        }
    });
    connect("B");

    EXPECT_THAT(emitted(), ElementsAre("A1", "A2", "A3", "A4", "B4", "B3", "B2", "B1"));
}

TEST_F(SignalNesting, ASlotMayEmitSeveralTimes) {
    connect("A", [&](int depth) {
        if (depth == 1) {
            signal().emit(2);
            signal().emit(3);
        }
    });
    connect("B");

    EXPECT_THAT(emitted(), ElementsAre("A1", "A2", "B2", "A3", "B3", "B1"));
}

TEST_F(SignalNesting, TheFollowingSlotCanBeDisconnectedAfterANestedEmission) {
    Disconnector next;
    connect("A", [&](int depth) {
        if (depth == 1) {
            signal().emit(2);
            next();
        }
    });
    next = connect("B");
    connect("C");

    EXPECT_THAT(emitted(), ElementsAre("A1", "A2", "B2", "C2", "C1"));
}

TEST_F(SignalNesting, SeveralFollowingSlotsCanBeDisconnectedAfterANestedEmission) {
    int object = 0;
    connect("A", [&](int depth) {
        if (depth == 1) {
            signal().emit(2);
            signal().disconnect(&object);
        }
    });
    connectFor(&object, "B");
    connectFor(&object, "C");
    connect("D");

    EXPECT_THAT(emitted(), ElementsAre("A1", "A2", "B2", "C2", "D2", "D1"));
}

TEST_F(SignalNesting, TheFollowingSlotCanBeDisconnectedBeforeANestedEmission) {
    Disconnector next;
    connect("A", [&](int depth) {
        if (depth == 1) {
            next();
            signal().emit(2);
        }
    });
    next = connect("B");
    connect("C");

    EXPECT_THAT(emitted(), ElementsAre("A1", "A2", "C2", "C1"));
}

TEST_F(SignalNesting, ANestedCallThatDisconnectsTheFollowingSlotSkipsItForBothLevels) {
    Disconnector next;
    connect("A", [&](int depth) {
        if (depth == 1) {
            signal().emit(2);
        } else {
            next();
        }
    });
    next = connect("B");
    connect("C");

    EXPECT_THAT(emitted(), ElementsAre("A1", "A2", "C2", "C1"));
}

TEST_F(SignalNesting, ALaterSlotOfTheNestedEmissionMayDisconnectWhatFollowsTheOuterOne) {
    Disconnector next;
    connect("A", [&](int depth) {
        if (depth == 1) {
            signal().emit(2);
        }
    });
    next = connect("B");
    connect("C", [&](int) { next(); });
    connect("D");

    EXPECT_THAT(emitted(), ElementsAre("A1", "A2", "B2", "C2", "D2", "C1", "D1"));
}

TEST_F(SignalNesting, ARemovalAtTheInnermostLevelHoldsForAllLevels) {
    Disconnector second;
    Disconnector third;
    connect("A", [&](int depth) {
        if (depth < 5) {
            signal().emit(depth + 1);
        } else {
            second();
            third();
        }
    });
    second = connect("B");
    third = connect("C");
    connect("D");

    EXPECT_THAT(emitted(), ElementsAre("A1", "A2", "A3", "A4", "A5", "D5", "D4", "D3", "D2", "D1"));
}

TEST_F(SignalNesting, ARemovalHoldsForLevelsThatStandAtDifferentSlots) {
    int object = 0;
    connect("A", [&](int depth) {
        if (depth == 1) {
            signal().emit(2); // the first level stands before B
        }
    });
    connectFor(&object, "B");
    connect("C", [&](int depth) {
        if (depth == 2) {
            signal().emit(3); // the second before D
        }
        if (depth == 3) {
            signal().disconnect(&object);
        }
    });
    connectFor(&object, "D");
    connect("E");

    EXPECT_THAT(emitted(),
                ElementsAre("A1", "A2", "B2", "C2", "A3", "B3", "C3", "E3", "E2", "C1", "E1"));
}

TEST_F(SignalNesting, TheLastSlotMayBeRemovedUnderAllLevels) {
    Disconnector last;
    connect("A", [&](int depth) {
        if (depth < 3) {
            signal().emit(depth + 1);
        } else {
            last();
        }
    });
    last = connect("B");

    EXPECT_THAT(emitted(), ElementsAre("A1", "A2", "A3"));
}

TEST_F(SignalNesting, ASlotThatDisconnectsItselfFinishesItsCallsOnAllLevels) {
    Disconnector self;
    Trace finished;
    self = connect("A", [&](int depth) {
        if (depth < 3) {
            signal().emit(depth + 1);
        } else {
            self();
        }
        finished.push_back(std::to_string(depth));
    });
    connect("B");

    EXPECT_THAT(emitted(), ElementsAre("A1", "A2", "A3", "B3", "B2", "B1"));
    EXPECT_THAT(finished, ElementsAre("3", "2", "1"));
    EXPECT_THAT(emitted(), ElementsAre("B1"));
}

TEST_F(SignalNesting, ASlotConnectedInANestedEmissionIsCalledByEveryLevelThatIsNotAtItsEnd) {
    connect("A", [&](int depth) {
        if (depth == 1) {
            signal().emit(2);
        } else {
            connect("added");
        }
    });
    connect("B");

    EXPECT_THAT(emitted(), ElementsAre("A1", "A2", "B2", "added2", "B1", "added1"));
}

TEST_F(SignalNesting, ASlotConnectedWhenTheOuterEmissionIsAtItsEndWaitsForTheNextOne) {
    Disconnector added;
    connect("A", [&](int depth) {
        if (depth == 2) {
            added = connect("added");
        }
    });
    connect("B", [&](int depth) {
        if (depth == 1 && !added) {
            signal().emit(2);
        }
    });

    EXPECT_THAT(emitted(), ElementsAre("A1", "B1", "A2", "B2", "added2"));
    EXPECT_THAT(emitted(), ElementsAre("A1", "B1", "added1"));
}

TEST_F(SignalNesting, ASlotConnectedByTheOnlySlotInANestedEmissionWaits) {
    Disconnector added;
    connect("A", [&](int depth) {
        if (depth == 1 && !added) {
            signal().emit(2);
        }
        if (depth == 2) {
            added = connect("added");
        }
    });

    EXPECT_THAT(emitted(), ElementsAre("A1", "A2"));
    EXPECT_THAT(emitted(), ElementsAre("A1", "added1"));
}

TEST_F(SignalNesting, OthersWaitUntilTheOutermostEmissionIsOver) {
    bool lockedAfterNested = false;
    connect("A", [&](int depth) {
        if (depth == 1) {
            signal().emit(2);
            lockedAfterNested = isLockedForOthers(signal());
        }
    });

    emitted();
    EXPECT_TRUE(lockedAfterNested);
    EXPECT_FALSE(isLockedForOthers(signal()));
}

TEST_F(SignalNesting, TwoSignalsMayCallEachOther) {
    Signal<int> other;
    Disconnector next;
    connect("A", [&](int depth) {
        if (depth == 1) {
            other.emit(2);
        }
    });
    next = connect("B");
    connect("C");
    other.connect([&](int depth) {
        signal().emit(depth);
        next();
    });

    EXPECT_THAT(emitted(), ElementsAre("A1", "A2", "B2", "C2", "C1"));
}

} // namespace
