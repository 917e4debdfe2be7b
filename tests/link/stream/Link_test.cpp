// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_link/stream/Link.h>

#include "link/LinkTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <string>
#include <thread>

namespace tarn::link {
namespace {

using testing::HasSubstr;

TEST(Link, SaysThatNobodyOffersAStreamAndWhere) {
    LinkOptions options = ownDomain();
    const Link link(options);
    EXPECT_EQ(link.whyNot("stage"), "nobody offers 'stage' in domain " +
                                        std::to_string(options.domain) + " on this machine");
    EXPECT_TRUE(link.offers().empty());
}

TEST(Link, RefusesADomainThatThereIsNot) { EXPECT_THROW(Link({201, {}, false}), LinkError); }

TEST(Link, RefusesAPeerWithoutAnAddressAndNamesIt) {
    LinkOptions options = ownDomain();
    options.peers = {"no such host"};
    try {
        const Link link(options);
        FAIL() << "linked with nobody";
    } catch (const LinkError& error) {
        EXPECT_THAT(error.what(), HasSubstr("peer 'no such host': "));
    }
}

TEST(Link, OfOneDomainHasTheSamePeersInOneProgram) {
    LinkOptions options = ownDomain();
    const Link first(options);
    const Link second(options);
    options.peers = {"127.0.0.1"};
    EXPECT_THROW(Link{options}, LinkError);
}

TEST(Link, ThatIsGoneLeavesItsDomainToOthers) {
    LinkOptions options = ownDomain();
    for (int i = 0; i < 3; ++i) {
        options.peers.assign(static_cast<std::size_t>(i), "127.0.0.1");
        const Link link(options);
        EXPECT_EQ(link.options().peers.size(), static_cast<std::size_t>(i));
    }
}

TEST(Link, KnowsWhatAStreamMayBeCalled) {
    EXPECT_TRUE(isStreamName("Stage 2/left"));
    EXPECT_TRUE(isStreamName(std::string(100, 'a')));
    EXPECT_FALSE(isStreamName(std::string(101, 'a')));
    EXPECT_FALSE(isStreamName(""));
    EXPECT_FALSE(isStreamName("sta*e"));
    EXPECT_FALSE(isStreamName("B\xc3\xbchne"));
}

TEST(LinkThreads, LinksComeAndGoOnSeveralThreadsAtOnce) {
    const LinkOptions options = ownDomain();
    std::atomic<int> made{0};
    const auto comeAndGo = [&] {
        for (int k = 0; k < 5; ++k) {
            const Link link(options);
            link.offers();
            ++made;
        }
    };
    std::array<std::thread, 4> threads;
    for (std::thread& thread : threads) {
        thread = std::thread(comeAndGo);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(made, 20);
}

} // namespace
} // namespace tarn::link
