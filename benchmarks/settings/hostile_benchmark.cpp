// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// Documents made to be slow or large to load: the time and the memory that twice the document takes
// against what the document takes. A ratio of 2 is linear growth.
#include "Ratios.h"

#include <fmt/format.h>
#include <tarn/Settings.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <malloc.h>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <vector>

namespace {

/// The bytes in use, and the most there ever were; of the one thread that does anything.
struct Heap {
    std::size_t used = 0;
    std::size_t most = 0;
};
Heap heap;

} // namespace

void* operator new(std::size_t size) {
    if (void* const memory = std::malloc(size)) {
        heap.used += malloc_usable_size(memory);
        heap.most = std::max(heap.most, heap.used);
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    heap.used -= malloc_usable_size(memory);
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept { operator delete(memory); }

namespace {

using tarn_benchmark::Fact;
using tarn_benchmark::Goal;
using tarn_benchmark::Measure;
using tarn_benchmark::Run;
using tarn_benchmark::timed;

constexpr double mostForTwice = 2.5;
constexpr double bytesPerByte = 100;

std::string repeat(const std::string& part, int times) {
    std::string text;
    text.reserve(part.size() * static_cast<std::size_t>(times));
    for (int i = 0; i < times; ++i) {
        text += part;
    }
    return text;
}

std::string junk(int size) {
    std::mt19937 random(1);
    std::string text = "<a>";
    while (text.size() < static_cast<std::size_t>(size)) {
        text += static_cast<char>(random() % 255 + 1);
    }
    return text;
}

struct Kind {
    const char* name;
    int size;
    std::function<std::string(int size)> make;
};

std::vector<Kind> kinds() {
    return {
        {"nested elements", 200'000, [](int n) { return repeat("<a>", n) + repeat("</a>", n); }},
        {"elements never closed", 200'000, [](int n) { return repeat("<a b='c'>", n); }},
        {"siblings", 1'000'000, [](int n) { return repeat("<a/>", n); }},
        {"attributes", 200'000, [](int n) { return "<a" + repeat(" b='c'", n) + "/>"; }},
        {"entities", 1'000'000, [](int n) { return "<a>" + repeat("&amp;", n) + "</a>"; }},
        {"brackets of a document type", 1'000'000,
         [](int n) { return "<!DOCTYPE a " + repeat("[", n) + repeat("]", n) + "><a/>"; }},
        {"comments begun", 1'000'000, [](int n) { return "<a>" + repeat("<!--", n); }},
        {"bytes of junk", 4'000'000, junk},
        {"bytes in one text", 5'000'000,
         [](int n) { return "<a>" + std::string(static_cast<std::size_t>(n), 'x') + "</a>"; }},
    };
}

/// Loads into a new store each time; the store's end is part of it.
Run load(const std::shared_ptr<std::string>& document) {
    return [document](std::size_t count) {
        return timed([&] {
            for (std::size_t i = 0; i < count; ++i) {
                tarn::Settings settings;
                benchmark::DoNotOptimize(settings.loadSettingsFromString(*document));
            }
        });
    };
}

/// What the heap grows by, at most, while a document is loaded.
double memoryOf(const std::string& document) {
    tarn::Settings settings;
    const std::size_t before = heap.used;
    heap.most = before;
    settings.loadSettingsFromString(document);
    return static_cast<double>(heap.most - before);
}

} // namespace

int main(int argc, char** argv) {
    // Memory once asked for is kept: from some size on the allocator gives it back and has to get
    // it again page by page, which would show as a step in what is linear.
    mallopt(M_MMAP_THRESHOLD, 1 << 30);
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    std::vector<Measure> measures;
    std::vector<Fact> facts;
    for (const Kind& kind : kinds()) {
        const auto once = std::make_shared<std::string>(kind.make(kind.size));
        const auto twice = std::make_shared<std::string>(kind.make(2 * kind.size));
        measures.push_back({fmt::format("load {} {}", 2 * kind.size, kind.name),
                            load(twice),
                            std::nullopt,
                            Goal{mostForTwice, {{"half of them", load(once)}}},
                            std::nullopt,
                            {}});
        const double used = memoryOf(*once);
        facts.push_back({fmt::format("memory for {} {}", 2 * kind.size, kind.name),
                         "times that for half", memoryOf(*twice) / std::max(used, 1.0),
                         mostForTwice});
        facts.push_back({fmt::format("memory for {} {}", kind.size, kind.name),
                         "bytes per byte of document", used / static_cast<double>(once->size()),
                         bytesPerByte});
    }
    return tarn_benchmark::compare(argc, argv, measures, facts);
}
