// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/Programs.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

namespace tarn::tests {
namespace {

/// A block of code in a document.
struct Block {
    std::string language;
    std::string text;
};

std::vector<Block> blocksOf(const std::string& document) {
    const std::string fence = "```";
    std::vector<Block> blocks;
    bool isInside = false;
    std::istringstream lines(document);
    for (std::string line; std::getline(lines, line);) {
        if (line.compare(0, fence.size(), fence) == 0) {
            isInside = !isInside;
            if (isInside) {
                blocks.push_back({line.substr(fence.size()), {}});
            }
        } else if (isInside) {
            blocks.back().text += line + "\n";
        }
    }
    return blocks;
}

/// A block "bvh" is the take bow.bvh; what a block "sh" prints is the block behind it.
TEST(Formats, AreWhatTheirDocumentShows) {
    const TempDirectory directory;
    const auto blocks = blocksOf(readFile(TARN_FORMATS_DOCUMENT));
    const std::string path = std::filesystem::path(captureProgram()).parent_path().string();
    int commands = 0;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        if (blocks[i].language == "bvh") {
            writeFile(directory / "bow.bvh", blocks[i].text);
        }
        if (blocks[i].language == "sh") {
            const Outcome outcome =
                runProgram("sh", {"-c", R"(cd "$1" && PATH="$2:$PATH" && )" + blocks[i].text, "sh",
                                  directory.path().string(), path});
            EXPECT_EQ(outcome.exitCode, 0) << blocks[i].text << outcome.err;
            ASSERT_LT(i + 1, blocks.size()) << blocks[i].text;
            EXPECT_EQ(outcome.out, blocks[i + 1].text) << blocks[i].text;
            ++commands;
        }
    }
    EXPECT_GE(commands, 5);
}

} // namespace
} // namespace tarn::tests
