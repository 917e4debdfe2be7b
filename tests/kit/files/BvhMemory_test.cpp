// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/files/BvhTesting.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <string>

// What a file claims costs no memory: only what it holds does.

namespace {

struct Counted {
    std::atomic<std::size_t> now = 0;
    std::atomic<std::size_t> peak = 0;
};

Counted counted;

/// In front of each block, and as large as the strictest alignment, which the block then keeps.
struct alignas(std::max_align_t) Header {
    std::size_t size;
};

void* allocate(std::size_t size) {
    auto* const header = static_cast<Header*>(std::malloc(sizeof(Header) + size));
    if (header == nullptr) {
        throw std::bad_alloc();
    }
    header->size = size;
    counted.now += size;
    if (counted.now > counted.peak) {
        counted.peak = counted.now.load();
    }
    return header + 1;
}

void release(void* block) noexcept {
    if (block == nullptr) {
        return;
    }
    Header* const header = static_cast<Header*>(block) - 1;
    counted.now -= header->size;
    std::free(header);
}

} // namespace

void* operator new(std::size_t size) { return allocate(size); }
void* operator new[](std::size_t size) { return allocate(size); }
void operator delete(void* block) noexcept { release(block); }
void operator delete[](void* block) noexcept { release(block); }
void operator delete(void* block, std::size_t /*size*/) noexcept { release(block); }
void operator delete[](void* block, std::size_t /*size*/) noexcept { release(block); }

namespace tarn::kit {
namespace {

using namespace bvh_testing;

/// The most memory that was in use at a time while a text was read, beyond what was before.
std::size_t peakOf(const std::string& text) {
    const std::size_t before = counted.now;
    counted.peak = before;
    errorOf(text);
    return counted.peak - before;
}

constexpr std::size_t mebibyte = 1024UL * 1024;

TEST(BvhMemory, IsCounted) {
    const std::size_t before = counted.now;
    const std::string text(1000, 'x');
    EXPECT_GE(counted.now, before + 1000);
}

TEST(BvhMemory, IsNotTakenForFramesThatAreOnlyClaimed) {
    EXPECT_LT(peakOf(smallBvhWith(17, "Frames: 2147483647")), mebibyte);
    EXPECT_LT(peakOf(smallBvhWith(17, "Frames: 999999999")), mebibyte);
}

TEST(BvhMemory, IsNotTakenForChannelsThatAreOnlyClaimed) {
    EXPECT_LT(peakOf(smallBvhWith(9, "CHANNELS 2147483647 Zrotation")), mebibyte);
}

TEST(BvhMemory, IsNotTakenForFramesThatHoldNothing) {
    EXPECT_LT(peakOf("HIERARCHY\nROOT a\n{\nOFFSET 0 0 0\n}\nMOTION\nFrames: 999999999\n"
                     "Frame Time: 0.02\n"),
              mebibyte);
}

TEST(BvhMemory, OfADeepHierarchyIsBoundedByTheNumberOfNodes) {
    std::string text = "HIERARCHY\nROOT a{OFFSET 0 0 0";
    for (int i = 0; i < 1'000'000; ++i) {
        text += "JOINT a{OFFSET 0 0 0";
    }
    EXPECT_LT(peakOf(text), 5 * text.size());
}

TEST(BvhMemory, OfALongNameIsNotMultipliedByItsEndSites) {
    std::string text = "HIERARCHY\nROOT " + std::string(100'000, 'n') + "{OFFSET 0 0 0\n";
    for (int i = 0; i < 9'000; ++i) {
        text += "End{OFFSET 0 0 0}\n";
    }
    EXPECT_LT(peakOf(text + "}\nMOTION\nFrames: 0\nFrame Time: 1\n"), 20 * mebibyte);
}

TEST(BvhMemory, OfTheShortestRowsIsBoundedByTheFile) {
    constexpr int rows = 1'000'000;
    std::string text = "HIERARCHY\nROOT a{OFFSET 0 0 0 CHANNELS 1 Xrotation}\nMOTION\nFrames: " +
                       std::to_string(rows) + "\nFrame Time: 0.02\n";
    for (int i = 0; i < rows; ++i) {
        text += "0\n";
    }
    EXPECT_LT(peakOf(text), 100 * text.size());
}

} // namespace
} // namespace tarn::kit
