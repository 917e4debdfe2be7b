// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/session/Linked.h>

#include <tarn/Actor.h>
#include <tarn/Character.h>
#include <tarn/Solver.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace {

using namespace tarn;
using kit::Linked;

class Idle : public Solver {};

TEST(Linked, LinksUntilItIsDestroyed) {
    Object parent;
    Object child;
    {
        const Linked link(parent, child);
        EXPECT_TRUE(link.isLinked());
        EXPECT_EQ(parent.children(), std::list<Object*>{&child});
        EXPECT_EQ(child.parents(), std::list<Object*>{&parent});
    }
    EXPECT_TRUE(parent.children().empty());
    EXPECT_TRUE(child.parents().empty());
    EXPECT_TRUE(parent.userObjects().empty());
    EXPECT_TRUE(child.userObjects().empty());
}

TEST(Linked, TakesOverALinkThatIsThere) {
    Character character("1", "Ada");
    Actor actor;
    character.setActor(&actor);
    {
        const Linked link(character, actor);
        EXPECT_EQ(character.children().size(), 1U);
    }
    EXPECT_EQ(character.actor(), nullptr);
}

TEST(Linked, CanBeUndoneReleasedAndMoved) {
    Object parent;
    Object child;
    Linked link(parent, child);
    Linked other(std::move(link));
    EXPECT_TRUE(other.isLinked());
    other.unlink();
    EXPECT_FALSE(other.isLinked());
    EXPECT_TRUE(parent.children().empty());
    other.unlink();

    other = Linked(parent, child);
    EXPECT_TRUE(other.isLinked());
    other.release();
    EXPECT_FALSE(other.isLinked());
    EXPECT_EQ(parent.children().size(), 1U);

    Object second;
    Linked replaced(parent, second);
    replaced = Linked();
    EXPECT_EQ(parent.children(), std::list<Object*>{&child});
    EXPECT_FALSE(Linked().isLinked());
    parent.removeChild(&child);
}

TEST(Linked, AChildThatIsDestroyedLeavesItsParent) {
    Object parent;
    auto child = std::make_unique<Object>();
    const Linked link(parent, *child);
    const Object* const expected = child.get();
    int announced = 0;
    parent.onChildWillRemove().connect([&](Object* going) {
        EXPECT_EQ(going, expected);
        ++announced;
    });
    child->onParentWillRemove().connect([&](Object*) { FAIL() << "nobody is there to hear it"; });
    child.reset();
    EXPECT_EQ(announced, 1);
    EXPECT_TRUE(parent.children().empty());
    EXPECT_FALSE(link.isLinked());
}

TEST(Linked, AParentThatIsDestroyedLeavesItsChild) {
    auto parent = std::make_unique<Object>();
    Object child;
    const Linked link(*parent, child);
    int announced = 0;
    child.onParentWillRemove().connect([&](Object*) { ++announced; });
    parent->onChildWillRemove().connect([&](Object*) { FAIL() << "nobody is there to hear it"; });
    parent.reset();
    EXPECT_EQ(announced, 1);
    EXPECT_TRUE(child.parents().empty());
    EXPECT_EQ(child.parent(), nullptr);
    EXPECT_FALSE(link.isLinked());
}

TEST(Linked, ASlotThatHearsOfTheEndMayDestroyTheGuard) {
    Object parent;
    auto child = std::make_unique<Object>();
    auto link = std::make_unique<Linked>(parent, *child);
    parent.onChildWillRemove().connect([&](Object*) { link.reset(); });
    child.reset();
    EXPECT_TRUE(parent.children().empty());
    EXPECT_EQ(link, nullptr);
}

TEST(Linked, AnObjectMayHaveManyGuards) {
    Object parent;
    Object first;
    auto second = std::make_unique<Object>();
    const Linked one(parent, first);
    {
        const Linked two(parent, *second);
        const Linked three(first, *second);
        second.reset();
        EXPECT_EQ(parent.children(), std::list<Object*>{&first});
        EXPECT_TRUE(first.children().empty());
    }
    EXPECT_TRUE(one.isLinked());
}

/// A character with an actor and a solver and their guards, to be destroyed part by part.
struct Parts {
    std::unique_ptr<Character> character = std::make_unique<Character>("1", "Ada");
    std::unique_ptr<Actor> actor = std::make_unique<Actor>();
    std::unique_ptr<Idle> solver = std::make_unique<Idle>();
    std::unique_ptr<Linked> actorLink = std::make_unique<Linked>(*character, *actor);
    std::unique_ptr<Linked> solverLink = std::make_unique<Linked>(*character, *solver);

    void destroy(int part) {
        switch (part) {
        case 0:
            character.reset();
            break;
        case 1:
            actor.reset();
            break;
        case 2:
            solver.reset();
            break;
        case 3:
            actorLink.reset();
            break;
        default:
            solverLink.reset();
            break;
        }
    }
};

TEST(Linked, PartsMayBeDestroyedInEveryOrder) {
    std::array<int, 5> order = {0, 1, 2, 3, 4};
    int orders = 0;
    do {
        Parts parts;
        for (const int part : order) {
            parts.destroy(part);
            // Whoever is left can be asked for what is left.
            if (parts.character != nullptr) {
                EXPECT_EQ(parts.character->actor() != nullptr,
                          parts.actor != nullptr && parts.actorLink != nullptr);
                EXPECT_EQ(parts.character->solver() != nullptr,
                          parts.solver != nullptr && parts.solverLink != nullptr);
            }
            if (parts.actor != nullptr) {
                EXPECT_EQ(parts.actor->parent() != nullptr,
                          parts.character != nullptr && parts.actorLink != nullptr);
            }
        }
        ++orders;
    } while (std::next_permutation(order.begin(), order.end()));
    EXPECT_EQ(orders, 120);
}

TEST(LinkedThreads, GuardsOfOneParentAreMadeAndDroppedUnderTheLockOfTheHost) {
    Object parent;
    std::mutex lock;
    const auto linkAndUnlink = [&] {
        for (int i = 0; i < 200; ++i) {
            Object child; // used by this thread alone
            const std::lock_guard<std::mutex> guard(lock);
            Linked link(parent, child);
            EXPECT_EQ(child.parent(), &parent);
            link.unlink();
        }
    };
    std::thread other(linkAndUnlink);
    linkAndUnlink();
    other.join();
    EXPECT_TRUE(parent.children().empty());
    EXPECT_TRUE(parent.userObjects().empty());
}

} // namespace
