// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/files/BvhTesting.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <ios>
#include <streambuf>
#include <string>
#include <system_error>

// Where the text comes from: files and streams, and what is wrong with those.

namespace tarn::kit {
namespace {

namespace fs = std::filesystem;
using namespace bvh_testing;

/// A test with a directory of its own.
class BvhFiles : public ::testing::Test {
protected:
    fs::path write(const std::string& name, const std::string& text) const {
        testing::writeFile(directory_ / name, text);
        return directory_ / name;
    }
    const fs::path& directory() const { return directory_.path(); }

private:
    testing::TemporaryDirectory directory_;
};

/// Expects the file as a whole to be refused.
void expectUnreadable(const fs::path& file, const std::string& reason) {
    try {
        readBvh(file);
        FAIL() << "accepted " << file;
    } catch (const ReadError& error) {
        EXPECT_EQ(error.file(), file.string());
        EXPECT_EQ(error.line(), 0U);
        EXPECT_EQ(error.what(), file.string() + ": " + reason);
    }
}

std::string systemReason(int code) { return std::generic_category().message(code); }

void expectUnreadable(std::istream& stream, const std::string& reason) {
    try {
        readBvh(stream, "pipe");
        FAIL() << "accepted";
    } catch (const ReadError& error) {
        EXPECT_EQ(error.line(), 0U);
        EXPECT_EQ(error.what(), "pipe: " + reason);
    }
}

/// Gives the small file a byte at a time.
class SlowBuffer : public std::streambuf {
protected:
    int_type underflow() override {
        if (next_ == text_.size()) {
            return traits_type::eof();
        }
        setg(&text_[next_], &text_[next_], &text_[next_] + 1);
        ++next_;
        return traits_type::to_int_type(*gptr());
    }

private:
    std::string text_ = joined(smallBvh());
    std::size_t next_ = 0;
};

TEST_F(BvhFiles, AreReadByPath) {
    const BvhTake take = readBvh(write("walk.bvh", joined(smallBvh())));
    EXPECT_EQ(valuesOf(take), valuesOf(readText(joined(smallBvh()))));
}

TEST_F(BvhFiles, NameTheirTakeWithoutDirectoryAndExtension) {
    EXPECT_EQ(readBvh(write("walk.bvh", joined(smallBvh()))).tracks->tracksName(), "walk");
    EXPECT_EQ(readBvh(write("walk 2.v1.BVH", joined(smallBvh()))).tracks->tracksName(),
              "walk 2.v1");
    EXPECT_EQ(readBvh(write("walk", joined(smallBvh()))).tracks->tracksName(), "walk");
}

TEST_F(BvhFiles, AreNamedInErrorsAsTheyWereGiven) {
    const fs::path file = write("broken.bvh", "HIERARCHY\nROT");
    try {
        readBvh(file);
        FAIL() << "accepted";
    } catch (const ReadError& error) {
        EXPECT_EQ(error.file(), file.string());
        EXPECT_EQ(error.what(), file.string() + ":2:1: expected ROOT, found 'ROT'");
    }
}

TEST_F(BvhFiles, MayBeEmptyWhichIsAnErrorInLineOne) {
    const fs::path file = write("empty.bvh", "");
    try {
        readBvh(file);
        FAIL() << "accepted";
    } catch (const ReadError& error) {
        EXPECT_EQ(error.line(), 1U);
    }
}

TEST_F(BvhFiles, MayBeReachedThroughALink) {
    fs::create_symlink(write("walk.bvh", joined(smallBvh())), directory() / "link.bvh");
    EXPECT_EQ(readBvh(directory() / "link.bvh").tracks->timeLength(), 2);
}

TEST_F(BvhFiles, ThatAreMissingAreRefusedWithTheReason) {
    expectUnreadable(directory() / "missing.bvh", systemReason(ENOENT));
    const fs::path file = write("file", "");
    expectUnreadable(file / "walk.bvh", systemReason(ENOTDIR));
    expectUnreadable("", systemReason(ENOENT));
}

TEST_F(BvhFiles, ThatAreDirectoriesAreRefused) {
    expectUnreadable(directory(), "not a regular file");
}

TEST_F(BvhFiles, ThatNeverEndAreRefused) { expectUnreadable("/dev/zero", "not a regular file"); }

TEST(BvhStreams, NameTheirTakeAfterTheGivenName) {
    std::istringstream stream(joined(smallBvh()));
    EXPECT_EQ(readBvh(stream, "takes/walk.v2.bvh").tracks->tracksName(), "walk.v2");
    std::istringstream other(joined(smallBvh()));
    EXPECT_EQ(readBvh(other).tracks->tracksName(), "stream");
}

TEST(BvhStreams, AreReadFromWhereTheyStand) {
    std::istringstream stream("comment\n" + joined(smallBvh()));
    std::string comment;
    std::getline(stream, comment);
    EXPECT_EQ(readBvh(stream).tracks->timeLength(), 2);
}

TEST(BvhStreams, MayComeInSmallPieces) {
    SlowBuffer buffer;
    std::istream stream(&buffer);
    EXPECT_EQ(valuesOf(readBvh(stream)), valuesOf(readText(joined(smallBvh()))));
}

TEST(BvhStreams, MayBeLongerThanOneRead) {
    Lines lines = smallBvh();
    lines[16] = "Frames: 100002";
    lines.insert(lines.end(), 100'000, "1 2 3 4");
    const BvhTake take = readText(joined(lines));
    EXPECT_EQ(take.tracks->timeLength(), 100'002);
    EXPECT_EQ(poseAt(take, 100'001).values.at(3), 4.0F);
}

TEST(BvhStreams, MayThrowOnFailure) {
    std::istringstream stream(joined(smallBvh()));
    stream.exceptions(std::ios::badbit | std::ios::failbit | std::ios::eofbit);
    EXPECT_EQ(readBvh(stream).tracks->timeLength(), 2);
}

TEST(BvhStreams, ThatFailedBeforeAreRefused) {
    std::istringstream stream(joined(smallBvh()));
    stream.setstate(std::ios::failbit);
    expectUnreadable(stream, "the stream cannot be read");
    std::istream nothing(nullptr);
    expectUnreadable(nothing, "the stream cannot be read");
}

TEST(BvhStreams, ThatFailOnTheWayAreRefusedWithTheReason) {
    std::ifstream directory("/");
    expectUnreadable(directory, systemReason(EISDIR));
}

} // namespace
} // namespace tarn::kit
