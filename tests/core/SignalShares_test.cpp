// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tsignal/detail/Shares.h>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <set>
#include <tuple>
#include <utility>
#include <vector>

// Who destroys a connection: `Shares` as it is used by the list and the holders of disconnectors,
// through every order in which their steps can follow each other. A step is one access to memory
// that threads share. (What one thread sees of what another wrote before is for a thread checker.)

namespace {

/// All that the threads share.
struct Memory {
    std::array<int, 2> words{}; ///< of the connection
    bool isConnected = true;    ///< changes under the signal's mutex, hence in one step
    int destructions = 0;
    bool isTouchedAfterwards = false;

    auto key() const { return std::tie(words, isConnected, destructions, isTouchedAfterwards); }
};

/// What a thread was told in a step, or what came out of an operation of several.
struct Told {
    int value;
    bool isOutcome;

    bool operator<(const Told& other) const {
        return std::tie(value, isOutcome) < std::tie(other.value, other.isOutcome);
    }
};

/// Ends a run of a thread's program where its turn is over.
struct TurnIsOver {};

/// A thread's turn, which is one step. Its program runs from the beginning, is told what it was
/// told before, does one step more, and ends before the next.
class Turn {
public:
    Turn(Memory& memory, std::vector<Told>& told) : memory_(memory), told_(told) {}

    template <class Access>
    int step(Access access) {
        if (position_ == told_.size()) {
            if (isUsed_) {
                throw TurnIsOver();
            }
            isUsed_ = true;
            told_.push_back({access(memory_), false});
        }
        return told_[position_++].value;
    }

    /// An operation of several steps. Once it is over, only its outcome is remembered.
    template <class Steps>
    bool operation(Steps steps) {
        const std::size_t begin = position_;
        if (begin == told_.size() || !told_[begin].isOutcome) {
            const bool outcome = steps();
            told_.resize(begin);
            told_.push_back({outcome ? 1 : 0, true});
        }
        position_ = begin + 1;
        return told_[begin].value != 0;
    }

    /// Whether there was anything left to do.
    bool isUsed() const { return isUsed_; }

private:
    Memory& memory_;
    std::vector<Told>& told_;
    std::size_t position_ = 0;
    bool isUsed_ = false;
};

Turn* currentTurn = nullptr;

/// Stands for an atomic word of the connection.
template <std::size_t index>
class Word {
public:
    explicit Word(int /*value*/) {} // it is in the memory

    int load(std::memory_order /*order*/ = std::memory_order_seq_cst) const {
        return access([](int& word) { return word; });
    }
    void store(int value) {
        access([value](int& word) { return word = value; });
    }
    int fetch_add(int value, std::memory_order /*order*/ = std::memory_order_seq_cst) {
        return access([value](int& word) { return (word += value) - value; });
    }
    int fetch_sub(int value, std::memory_order /*order*/ = std::memory_order_seq_cst) {
        return access([value](int& word) { return (word -= value) + value; });
    }

private:
    template <class Action>
    static int access(Action action) {
        return currentTurn->step([action](Memory& memory) {
            memory.isTouchedAfterwards = memory.isTouchedAfterwards || memory.destructions > 0;
            return action(memory.words.at(index));
        });
    }
};

/// How shares in a connection are counted. The functions that give one up say whether it was the
/// last.
class Counted {
public:
    void add() { shares_.add(); }
    bool giveUp() { return shares_.giveUp(); }
    /// The list's share, by a holder who has one himself.
    bool giveUpForList() { return shares_.giveUp(); }

private:
    tsignal::detail::Shares<Word<0>> shares_;
};

/// A way that is cheaper, and wrong: a holder who disconnects leaves the list's share in the number
/// and says so in a word beside it.
class Flagged {
public:
    void add() { count_.fetch_add(1); }
    bool giveUpForList() {
        isListGone_.store(1);
        return false;
    }

protected:
    int lastCount() const { return isListGone_.load() != 0 ? 2 : 1; }

    Word<0> count_{0};
    Word<1> isListGone_{0};
};

struct FlagReadAfterwards : Flagged {
    bool giveUp() {
        const int count = count_.fetch_sub(1);
        return count == lastCount();
    }
};

struct FlagReadBefore : Flagged {
    bool giveUp() {
        const int last = lastCount();
        return count_.fetch_sub(1) == last;
    }
};

/// What a thread does: the one that empties the list, and those with a disconnector each.
enum class Role { emptyList, drop, callAndDrop, copyAndDropBoth };

template <class Shares>
class Player {
public:
    void play(Role role) {
        switch (role) {
        case Role::emptyList:
            if (takeOut()) {
                giveUp();
            }
            break;
        case Role::drop:
            giveUp();
            break;
        case Role::copyAndDropBoth:
            shares_.add();
            giveUp();
            giveUp();
            break;
        case Role::callAndDrop:
            if (takeOut()) {
                giveUpForList();
            }
            giveUp();
            break;
        }
    }

private:
    /// Whether the caller is the one who has to give up the list's share.
    static bool takeOut() {
        return currentTurn->step([](Memory& memory) {
            return std::exchange(memory.isConnected, false) ? 1 : 0;
        }) != 0;
    }

    void giveUp() {
        if (currentTurn->operation([this] { return shares_.giveUp(); })) {
            destroy();
        }
    }

    void giveUpForList() {
        if (currentTurn->operation([this] { return shares_.giveUpForList(); })) {
            destroy();
        }
    }

    static void destroy() {
        currentTurn->step([](Memory& memory) { return ++memory.destructions; });
    }

    Shares shares_;
};

/// What can become of a connection.
struct Fates {
    bool leaked = false;
    bool destroyedTwice = false;
    bool touchedAfterwards = false;
    std::size_t states = 0; ///< so many were met
};

/// Goes through every order of the threads' steps. What two orders have led to alike is followed
/// once.
template <class Shares>
class Orders {
public:
    explicit Orders(std::vector<Role> roles) : roles_(std::move(roles)) {
        State start;
        start.memory.words[0] = static_cast<int>(roles_.size()); // the list, and a holder for each
        start.told.resize(roles_.size());
        follow(start);
        fates_.states = met_.size();
    }

    const Fates& fates() const { return fates_; }

private:
    struct State {
        Memory memory;
        std::vector<std::vector<Told>> told; ///< each thread, in each of its steps

        bool operator<(const State& other) const {
            return std::forward_as_tuple(memory.key(), told) <
                   std::forward_as_tuple(other.memory.key(), other.told);
        }
    };

    void follow(const State& state) {
        if (!met_.insert(state).second) {
            return;
        }
        bool isEnd = true;
        for (std::size_t thread = 0; thread < roles_.size(); ++thread) {
            State next = state;
            if (takeTurn(next, thread)) {
                isEnd = false;
                follow(next);
            }
        }
        if (isEnd) {
            fates_.leaked = fates_.leaked || state.memory.destructions == 0;
            fates_.destroyedTwice = fates_.destroyedTwice || state.memory.destructions > 1;
            fates_.touchedAfterwards = fates_.touchedAfterwards || state.memory.isTouchedAfterwards;
        }
    }

    bool takeTurn(State& state, std::size_t thread) {
        Turn turn(state.memory, state.told[thread]);
        currentTurn = &turn;
        try {
            Player<Shares>().play(roles_[thread]);
        } catch (const TurnIsOver&) {
        }
        currentTurn = nullptr;
        return turn.isUsed();
    }

    std::vector<Role> roles_;
    std::set<State> met_;
    Fates fates_;
};

template <class Shares>
Fates fatesOf(std::vector<Role> roles) {
    return Orders<Shares>(std::move(roles)).fates();
}

/// The list with so many holders of disconnectors in all their roles, though only one of them
/// copies: two who did would only make more holders.
std::vector<std::vector<Role>> casts(std::size_t holders) {
    std::vector<std::vector<Role>> all = {{Role::emptyList}};
    for (; holders > 0; --holders) {
        std::vector<std::vector<Role>> larger;
        for (const std::vector<Role>& cast : all) {
            for (const Role role : {Role::drop, Role::callAndDrop, Role::copyAndDropBoth}) {
                const Role last = cast.back(); // who has which role does not matter
                if (role >= last && !(role == last && role == Role::copyAndDropBoth)) {
                    larger.push_back(cast);
                    larger.back().push_back(role);
                }
            }
        }
        all = std::move(larger);
    }
    return all;
}

class SignalShares : public testing::TestWithParam<std::size_t> {};

TEST_P(SignalShares, DestroyAConnectionOnceAndTouchItNoMoreInWhateverOrder) {
    for (const std::vector<Role>& roles : casts(GetParam())) {
        const Fates fates = fatesOf<Counted>(roles);
        EXPECT_FALSE(fates.leaked);
        EXPECT_FALSE(fates.destroyedTwice);
        EXPECT_FALSE(fates.touchedAfterwards);
        EXPECT_GT(fates.states, 2 * roles.size()); // in one order alone there are more
    }
}

INSTANTIATE_TEST_SUITE_P(Holders, SignalShares, testing::Values(1, 2, 3));

// The same search finds what is wrong with other ways.

TEST(SignalSharesSearch, FindsAFlagThatIsReadAfterAShareIsGivenUp) {
    EXPECT_TRUE(fatesOf<FlagReadAfterwards>({Role::emptyList, Role::drop}).touchedAfterwards);
}

TEST(SignalSharesSearch, FindsTheConnectionLeakedByAFlagThatIsReadBefore) {
    const Fates fates = fatesOf<FlagReadBefore>({Role::emptyList, Role::drop, Role::callAndDrop});
    EXPECT_TRUE(fates.leaked);
    EXPECT_FALSE(fates.touchedAfterwards);
}

} // namespace
