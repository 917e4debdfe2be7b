// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/files/BvhTesting.h"

#include <tarn_kit/body/ForwardKinematics.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <random>
#include <string>
#include <vector>

// Whatever a file holds, reading it ends in a sound take or in a `ReadError`.

namespace tarn::kit {
namespace {

using namespace bvh_testing;

void expectSound(const BvhTake& take) {
    const int length = take.tracks->timeLength();
    ASSERT_EQ(take.tracks->getTrack(0)->frameCount(), length);
    ASSERT_EQ(take.tracks->frameCount(), length);
    ASSERT_GE(take.tracks->fps(), 1);
    ASSERT_FALSE(take.rig->skeletons().empty());
    for (int i = 0; i < length; ++i) {
        ASSERT_EQ(poseAt(take, i).values.size(), take.rig->valueCount());
        ASSERT_EQ(worldPositions(*take.rig, poseAt(take, i)).size(), take.rig->nodes().size());
    }
}

std::size_t linesOf(const std::string& text) {
    return 1 + static_cast<std::size_t>(std::count_if(
                   text.begin(), text.end(), [](char c) { return c == '\n' || c == '\r'; }));
}

void expectSound(const ReadError& error, const std::string& text) {
    const std::string message = error.what();
    ASSERT_TRUE(std::none_of(message.begin(), message.end(), [](char c) {
        return static_cast<unsigned char>(c) < 0x20;
    })) << message;
    ASSERT_GE(error.line(), 1U) << message;
    ASSERT_LE(error.line(), linesOf(text)) << message;
    ASSERT_GE(error.column(), 1U) << message;
    ASSERT_LE(error.column(), text.size() + 1) << message;
    ASSERT_LE(message.size(), 400U);
}

/// Reads a text and answers whether it was accepted.
bool isAccepted(const std::string& text) {
    try {
        expectSound(readText(text));
        return true;
    } catch (const ReadError& error) {
        expectSound(error, text);
        return false;
    }
}

/// A chain of so many joints, each on two lines, the root on line 2.
std::string chain(int joints) {
    std::string text = "HIERARCHY\n";
    for (int i = 0; i < joints; ++i) {
        text += i == 0 ? "ROOT j\n" : "JOINT j\n";
        text += "{OFFSET 0 1 0 CHANNELS 1 Zrotation\n";
    }
    text.append(static_cast<std::size_t>(joints), '}');
    return text + "\nMOTION\nFrames: 1\nFrame Time: 0.02\n";
}

/// A joint with so many end sites, the first of them on line 5.
std::string fan(int endSites) {
    std::string text = "HIERARCHY\nROOT j\n{\nOFFSET 0 0 0\n";
    for (int i = 0; i < endSites; ++i) {
        text += "End Site {OFFSET 1 0 0}\n";
    }
    return text + "}\nMOTION\nFrames: 0\nFrame Time: 0.02\n";
}

/// Changes a text at random: bytes replaced, inserted and removed, tokens of the format inserted,
/// pieces repeated.
class Mutator {
public:
    std::string mutated(std::string text) {
        for (int i = below(4); i >= 0; --i) {
            change(text);
        }
        return text;
    }

private:
    int below(int end) { return static_cast<int>(random_() % static_cast<unsigned>(end)); }
    char anyByte() { return static_cast<char>(random_() % 256U); }

    void change(std::string& text) {
        const std::size_t at = random_() % (text.size() + 1);
        const std::size_t length = random_() % 12U;
        switch (below(5)) {
        case 0:
            text.replace(at, 1, 1, anyByte());
            break;
        case 1:
            text.insert(at, 1, anyByte());
            break;
        case 2:
            text.erase(at, length);
            break;
        case 3:
            text.insert(at, text.substr(at, length * 3));
            break;
        default:
            text.insert(at, anyToken());
            break;
        }
    }

    const char* anyToken() {
        static constexpr std::array tokens = {
            "{",       "}",         " End ",     " JOINT a ",     " ROOT b {", " OFFSET 0 0 0 ",
            " 1e999 ", " -1e-999 ", " nan ",     " CHANNELS ",    "\r",        " Xrotation ",
            "\n",      "+",         " 1000000 ", " 99999999999 ", ":",         " MOTION ",
            "-",       " Frames: ", "\t",        " Frame Time: 1"};
        return tokens[random_() % tokens.size()];
    }

    std::mt19937 random_{20240229U}; // NOLINT(cert-msc51-cpp): the same run every time
};

TEST(BvhRobustness, EveryPieceOfAFileFromItsStartEndsWell) {
    const std::string text = joined(smallBvh(), "\r\n");
    int accepted = 0;
    for (std::size_t length = 0; length <= text.size(); ++length) {
        accepted += isAccepted(text.substr(0, length)) ? 1 : 0;
    }
    EXPECT_EQ(accepted, 3) << "with the last line end whole, halved, and missing";
}

TEST(BvhRobustness, EveryPieceOfAFileToItsEndEndsWell) {
    const std::string text = joined(smallBvh());
    for (std::size_t start = 1; start <= text.size(); ++start) {
        EXPECT_FALSE(isAccepted(text.substr(start))) << start;
    }
}

TEST(BvhRobustness, EveryByteInEveryPlaceEndsWell) {
    const std::string text = joined(smallBvh());
    for (std::size_t at = 0; at < text.size(); ++at) {
        for (int byte = 0; byte < 256; byte += at % 16 == 0 ? 1 : 17) {
            std::string changed = text;
            changed[at] = static_cast<char>(byte);
            isAccepted(changed);
            ASSERT_FALSE(HasFatalFailure());
        }
    }
}

TEST(BvhRobustness, RandomChangesEndWell) {
    Mutator mutator;
    const std::string text = joined(smallBvh());
    int accepted = 0;
    int refused = 0;
    for (int i = 0; i < 20'000; ++i) {
        const std::string changed = mutator.mutated(text);
        ++(isAccepted(changed) ? accepted : refused);
        ASSERT_FALSE(HasFatalFailure()) << changed;
    }
    EXPECT_GT(accepted, 300);
    EXPECT_GT(refused, 1000);
}

TEST(BvhRobustness, RandomBytesEndWell) {
    std::mt19937 random(7U); // NOLINT(cert-msc51-cpp): the same run every time
    for (int i = 0; i < 1000; ++i) {
        std::string text(random() % 200U, '\0');
        std::generate(text.begin(), text.end(), [&] { return static_cast<char>(random() % 256U); });
        EXPECT_FALSE(isAccepted(text));
    }
}

TEST(BvhRobustness, ChainsMayBeAsDeepAsThereMayBeNodes) {
    const int depth = static_cast<int>(bvhMaxNodes);
    std::string row;
    for (int i = 0; i < depth; ++i) {
        row += "0 ";
    }
    const BvhTake take = readText(chain(depth) + row);
    ASSERT_EQ(take.rig->jointCount(), depth);
    EXPECT_EQ(take.rig->nodes().back().parent, depth - 2);
    EXPECT_EQ(worldPositions(*take.rig, poseAt(take, 0)).back().y, static_cast<float>(depth));
    EXPECT_EQ(take.rig->height(), static_cast<float>(depth - 1));
}

TEST(BvhRobustness, AChainOneTooDeepIsRefusedWhereItIsTooDeep) {
    const auto error = errorOf(chain(10'001));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->line(), 2U + 2 * 10'000U);
    EXPECT_EQ(error->column(), 1U);
    EXPECT_STREQ(error->what(),
                 "text:20002:1: expected at most 10000 joints and end sites, found one more");
}

TEST(BvhRobustness, AHierarchyAHundredThousandLevelsDeepIsRefused) {
    const auto error = errorOf(chain(100'000));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->line(), 20'002U);
}

TEST(BvhRobustness, AHundredThousandOpenBracesAreRefused) {
    EXPECT_FALSE(isAccepted("HIERARCHY\nROOT a" + std::string(100'000, '{')));
    EXPECT_FALSE(isAccepted("HIERARCHY\nROOT a\n{OFFSET 0 0 0" + std::string(100'000, '}')));
}

TEST(BvhRobustness, EndSitesCountAsNodes) {
    EXPECT_EQ(readText(fan(9'999)).rig->nodes().size(), 10'000U);
    const auto error = errorOf(fan(10'000));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->line(), 5U + 9'999U);
}

TEST(BvhRobustness, RootsCountAsNodes) {
    std::string text = "HIERARCHY\n";
    for (int i = 0; i < 10'001; ++i) {
        text += "ROOT a {OFFSET 0 0 0}\n";
    }
    const auto error = errorOf(text);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->line(), 10'002U);
}

} // namespace
} // namespace tarn::kit
