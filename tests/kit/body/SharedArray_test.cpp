// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/SharedArray.h>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace tarn::kit {
namespace {

using Numbers = SharedArray<int>;

std::vector<int> twoNumbers() { return {7, 8}; }

TEST(SharedArray, HasNoValuesUntilItIsGivenSome) {
    const Numbers numbers;
    EXPECT_TRUE(numbers.empty());
    EXPECT_EQ(numbers.size(), 0U);
    EXPECT_EQ(numbers.begin(), numbers.end());
    EXPECT_TRUE(Numbers(std::vector<int>()).empty());
}

TEST(SharedArray, IsSharedByItsCopies) {
    auto numbers = std::make_unique<Numbers>(twoNumbers());
    const Numbers copy = *numbers;
    EXPECT_EQ(copy.data(), numbers->data());
    numbers.reset();
    EXPECT_EQ(copy[0], 7);
    EXPECT_EQ(std::vector<int>(copy.begin(), copy.end()), twoNumbers());
}

TEST(SharedArray, GivesACopyToChange) {
    const Numbers numbers(twoNumbers());
    std::vector<int> changed = numbers.toVector();
    changed[1] = 9;
    EXPECT_EQ(numbers[1], 8);
    EXPECT_EQ(Numbers(changed)[1], 9);
}

TEST(SharedArray, MayPointIntoABlockThatItKeepsAlive) {
    auto block = std::make_shared<std::vector<int>>(twoNumbers());
    const std::weak_ptr<std::vector<int>> watch = block;
    {
        const Numbers second(std::shared_ptr<const int>(block, block->data() + 1), 1);
        block.reset();
        EXPECT_FALSE(watch.expired());
        ASSERT_EQ(second.size(), 1U);
        EXPECT_EQ(second[0], 8);
    }
    EXPECT_TRUE(watch.expired());
}

} // namespace
} // namespace tarn::kit
