// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "kit/files/BvhTesting.h"
#include "support/Samples.h"

#include <tarn_kit/body/ForwardKinematics.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

// World positions against a second evaluation of the same text, in double precision, with a reader
// of its own (for well-formed files with names without blanks) and textbook 4x4 matrices.

namespace tarn::kit {
namespace {

using namespace bvh_testing;

using Point = std::array<double, 3>;
using Matrix = std::array<std::array<double, 4>, 4>;

constexpr double pi = 3.14159265358979323846;

Matrix identity() { return {{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}}; }

Matrix operator*(const Matrix& a, const Matrix& b) {
    Matrix product = {};
    for (std::size_t row = 0; row < 4; ++row) {
        for (std::size_t column = 0; column < 4; ++column) {
            for (std::size_t i = 0; i < 4; ++i) {
                product[row][column] += a[row][i] * b[i][column];
            }
        }
    }
    return product;
}

Matrix translation(const Point& by) {
    return {{{1, 0, 0, by[0]}, {0, 1, 0, by[1]}, {0, 0, 1, by[2]}, {0, 0, 0, 1}}};
}

Matrix rotation(char axis, double degrees) {
    const double c = std::cos(degrees / 180 * pi);
    const double s = std::sin(degrees / 180 * pi);
    switch (axis) {
    case 'X':
        return {{{1, 0, 0, 0}, {0, c, -s, 0}, {0, s, c, 0}, {0, 0, 0, 1}}};
    case 'Y':
        return {{{c, 0, s, 0}, {0, 1, 0, 0}, {-s, 0, c, 0}, {0, 0, 0, 1}}};
    default:
        return {{{c, -s, 0, 0}, {s, c, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};
    }
}

struct OracleNode {
    int parent = -1;
    Point offset = {};
    std::vector<std::string> channels;
};

/// The file, read token by token.
class Oracle {
public:
    explicit Oracle(std::istream& stream) {
        readHierarchy(stream);
        readFrames(stream);
    }
    std::size_t nodeCount() const { return nodes_.size(); }
    int frameCount() const { return frameCount_; }

    /// How far the nodes reach along Y at rest.
    double height() const {
        std::vector<double> heights;
        for (const OracleNode& node : nodes_) {
            const double base =
                node.parent < 0 ? 0 : heights[static_cast<std::size_t>(node.parent)];
            heights.push_back(base + node.offset[1]);
        }
        const auto ends = std::minmax_element(heights.begin(), heights.end());
        return *ends.second - *ends.first;
    }

    /// The positions of the next frame.
    std::vector<Point> next() {
        std::vector<Matrix> world;
        std::vector<Point> positions;
        for (const OracleNode& node : nodes_) {
            const Matrix local = localOf(node);
            world.push_back(node.parent < 0 ? local
                                            : world[static_cast<std::size_t>(node.parent)] * local);
            positions.push_back({world.back()[0][3], world.back()[1][3], world.back()[2][3]});
        }
        return positions;
    }

private:
    void readHierarchy(std::istream& stream) {
        std::vector<int> open;
        std::string token;
        while (stream >> token && token != "MOTION") {
            if (token == "ROOT" || token == "JOINT" || token == "End") {
                OracleNode node;
                node.parent = open.empty() ? -1 : open.back();
                open.push_back(static_cast<int>(nodes_.size()));
                nodes_.push_back(node);
            } else if (token == "OFFSET") {
                Point& offset = nodes_.back().offset;
                stream >> offset[0] >> offset[1] >> offset[2];
            } else if (token == "CHANNELS") {
                std::size_t count = 0;
                stream >> count;
                nodes_.back().channels.resize(count);
                for (std::string& channel : nodes_.back().channels) {
                    stream >> channel;
                }
            } else if (token == "}") {
                open.pop_back();
            }
        }
    }

    void readFrames(std::istream& stream) {
        std::string label;
        std::string frameTime;
        stream >> label >> frameCount_ >> label >> label >> frameTime;
        double value = 0;
        while (stream >> value) {
            values_.push_back(value);
        }
    }

    Matrix localOf(const OracleNode& node) {
        Point at = node.offset;
        Matrix turned = identity();
        for (const std::string& channel : node.channels) {
            const double value = values_.at(nextValue_++);
            if (channel.substr(1) == "position") {
                at.at(static_cast<std::size_t>(channel[0] - 'X')) += value;
            } else {
                turned = turned * rotation(channel[0], value);
            }
        }
        return translation(at) * turned;
    }

    std::vector<OracleNode> nodes_;
    std::vector<double> values_;
    std::size_t nextValue_ = 0;
    int frameCount_ = 0;
};

double distance(const Vector3f& a, const Point& b) {
    return std::hypot(static_cast<double>(a.x) - b[0], static_cast<double>(a.y) - b[1],
                      static_cast<double>(a.z) - b[2]);
}

/// Expects every node in every frame within 1e-4 of the body's height of where the oracle has it.
void expectAccurate(const std::string& text) {
    const BvhTake take = readText(text);
    std::istringstream stream(text);
    Oracle oracle(stream);
    const double height = oracle.height();
    ASSERT_GT(height, 0);
    EXPECT_NEAR(static_cast<double>(take.rig->height()), height, 1e-6 * height);
    ASSERT_EQ(take.tracks->timeLength(), oracle.frameCount());
    double worst = 0;
    for (int frame = 0; frame < oracle.frameCount(); ++frame) {
        const std::vector<Point> expected = oracle.next();
        const std::vector<Vector3f> actual = worldPositions(*take.rig, poseAt(take, frame));
        ASSERT_EQ(actual.size(), expected.size());
        for (std::size_t node = 0; node < actual.size(); ++node) {
            worst = std::max(worst, distance(actual[node], expected[node]));
        }
    }
    EXPECT_LT(worst, 1e-4 * height) << "of a height of " << height;
}

std::string contentsOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/// A file whose rows are drawn at random, from `-reach` to `reach`, with six digits behind the
/// point.
std::string withRandomRows(const std::string& hierarchy, int channels, double reach) {
    constexpr int frames = 50;
    std::mt19937 random(4U); // NOLINT(cert-msc51-cpp): the same run every time
    std::ostringstream text;
    text.setf(std::ios::fixed);
    text << hierarchy << "MOTION\nFrames: " << frames << "\nFrame Time: 0.02\n";
    for (int frame = 0; frame < frames; ++frame) {
        for (int i = 0; i < channels; ++i) {
            text << (static_cast<double>(random()) / 4294967295.0 * 2 - 1) * reach << ' ';
        }
        text << '\n';
    }
    return text.str();
}

std::string joint(const std::string& head, const std::string& offset, const std::string& channels,
                  const std::string& children) {
    return head + "\n{\nOFFSET " + offset + "\nCHANNELS " + channels + "\n" + children + "}\n";
}

std::string endSite(const std::string& offset) { return "End Site\n{\nOFFSET " + offset + "\n}\n"; }

const std::string xyz = "3 Xrotation Yrotation Zrotation";
const std::string zxy = "3 Zrotation Xrotation Yrotation";
const std::string yxy = "3 Yrotation Xrotation Yrotation";
const std::string xzx = "3 Xrotation Zrotation Xrotation";

TEST(ForwardKinematicsAccuracy, HoldsForEveryFrameOfTheSamples) {
    int samples = 0;
    for (const auto& entry :
         std::filesystem::directory_iterator(tarn::testing::sampleDirectory())) {
        if (entry.path().extension() == ".bvh") {
            SCOPED_TRACE(entry.path().filename());
            expectAccurate(contentsOf(entry.path()));
            ++samples;
        }
    }
    EXPECT_GE(samples, 3);
}

TEST(ForwardKinematicsAccuracy, HoldsForEveryOrderOfRotations) {
    const std::string tail = joint("JOINT d", "0 1.5 0.25", xzx, endSite("0.5 1 0"));
    const std::string middle =
        joint("JOINT b", "1 2 0.5", zxy, joint("JOINT c", "0 2 1", yxy, tail));
    const std::string whole = joint("ROOT a", "0 1 0", xyz, middle + endSite("0 -1 0"));
    expectAccurate(withRandomRows("HIERARCHY\n" + whole, 12, 360));
}

TEST(ForwardKinematicsAccuracy, HoldsForPositionsOnInnerJoints) {
    const std::string slide = "5 Zrotation Zposition Xrotation Xposition Yposition";
    const std::string lift = "2 Yposition Yrotation";
    const std::string inner =
        joint("JOINT b", "0 3 0", slide, joint("JOINT c", "0 2 0", lift, endSite("1 1 1")));
    const std::string whole =
        joint("ROOT a", "0 1 0", "4 Yrotation Yposition Xrotation Zrotation", inner);
    expectAccurate(withRandomRows("HIERARCHY\n" + whole, 11, 90));
}

TEST(ForwardKinematicsAccuracy, HoldsForSeveralRoots) {
    const std::string first = joint("ROOT a", "0 1 0", zxy, endSite("0 1 0"));
    const std::string second =
        joint("ROOT b", "2 -1 0", "4 Zposition Yrotation Zrotation Yrotation", endSite("0 1 3"));
    expectAccurate(withRandomRows("HIERARCHY\n" + first + second, 7, 180));
}

TEST(ForwardKinematicsAccuracy, HoldsForHugeOffsets) {
    const std::string inner = joint("JOINT b", "-100000 100000 1e5", yxy, endSite("1e5 3 0.001"));
    const std::string whole = joint("ROOT a", "1e5 0.5 -1e5", xyz, inner);
    expectAccurate(withRandomRows("HIERARCHY\n" + whole, 6, 180));
}

TEST(ForwardKinematicsAccuracy, HoldsFarFromTheOrigin) {
    const std::string place = "6 Xposition Yposition Zposition Zrotation Xrotation Yrotation";
    const std::string inner = joint("JOINT b", "0 80 0", yxy, endSite("0 90 0"));
    const std::string whole = joint("ROOT a", "0 0 0", place, inner);
    expectAccurate(withRandomRows("HIERARCHY\n" + whole, 9, 100'000));
}

TEST(ForwardKinematicsAccuracy, HoldsDownALongChain) {
    std::string chain = endSite("0 1 0");
    for (int i = 0; i < 100; ++i) {
        chain = joint("JOINT j", "0.1 1 -0.1", i % 2 == 0 ? zxy : xzx, chain);
    }
    const std::string whole = joint("ROOT a", "0 0 0", xyz, chain);
    expectAccurate(withRandomRows("HIERARCHY\n" + whole, 303, 720));
}

} // namespace
} // namespace tarn::kit
