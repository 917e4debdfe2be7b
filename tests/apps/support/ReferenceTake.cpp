// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/ReferenceTake.h"

#include <cmath>
#include <fstream>

namespace tarn::tests {

namespace {

using Matrix = std::array<Vector, 3>;

constexpr Matrix identity{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};

Matrix product(const Matrix& a, const Matrix& b) {
    Matrix c{};
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            c[i][j] = a[i][0] * b[0][j] + a[i][1] * b[1][j] + a[i][2] * b[2][j];
        }
    }
    return c;
}

Vector product(const Matrix& m, const Vector& v) {
    Vector r{};
    for (std::size_t i = 0; i < 3; ++i) {
        r[i] = m[i][0] * v[0] + m[i][1] * v[1] + m[i][2] * v[2];
    }
    return r;
}

Matrix rotation(char axis, double degrees) {
    const double c = std::cos(degrees * std::acos(-1.0) / 180);
    const double s = std::sin(degrees * std::acos(-1.0) / 180);
    if (axis == 'X') {
        return {{{1, 0, 0}, {0, c, -s}, {0, s, c}}};
    }
    if (axis == 'Y') {
        return {{{c, 0, s}, {0, 1, 0}, {-s, 0, c}}};
    }
    return {{{c, -s, 0}, {s, c, 0}, {0, 0, 1}}};
}

} // namespace

ReferenceTake::ReferenceTake(const std::string& file) {
    std::ifstream in(file);
    std::string word;
    std::vector<int> open; // the nodes whose braces are open
    while (in >> word && word != "MOTION") {
        if (word == "ROOT" || word == "JOINT" || word == "End") {
            std::string name;
            in >> name;
            const int parent = open.empty() ? -1 : open.back();
            const bool endSite = word == "End";
            if (endSite) {
                name = nodes[static_cast<std::size_t>(parent)].name + "_End";
            }
            nodes.push_back({name, parent, endSite, {}, {}});
        } else if (word == "{") {
            open.push_back(static_cast<int>(nodes.size()) - 1);
        } else if (word == "}") {
            open.pop_back();
        } else if (word == "OFFSET") {
            in >> nodes.back().offset[0] >> nodes.back().offset[1] >> nodes.back().offset[2];
        } else if (word == "CHANNELS") {
            std::size_t count = 0;
            in >> count;
            nodes.back().channels.resize(count);
            for (std::string& channel : nodes.back().channels) {
                in >> channel;
            }
        }
    }
    std::size_t valueCount = 0;
    for (const Node& node : nodes) {
        valueCount += node.channels.size();
    }
    std::size_t frameCount = 0;
    in >> word >> frameCount >> word >> word >> frameTime;
    frames.assign(frameCount, std::vector<double>(valueCount));
    for (std::vector<double>& frame : frames) {
        for (double& value : frame) {
            in >> value;
        }
    }
}

std::vector<Vector> ReferenceTake::positions(std::size_t frame) const {
    std::vector<Vector> places;
    std::vector<Matrix> turns;
    auto value = frames[frame].begin();
    for (const Node& node : nodes) {
        Vector move = node.offset;
        Matrix turn = identity;
        for (const std::string& channel : node.channels) {
            if (channel.substr(1) == "position") {
                move[static_cast<std::size_t>(channel[0] - 'X')] += *value++;
            } else {
                turn = product(turn, rotation(channel[0], *value++));
            }
        }
        if (node.parent < 0) {
            places.push_back(move);
            turns.push_back(turn);
            continue;
        }
        const auto parent = static_cast<std::size_t>(node.parent);
        const Vector turned = product(turns[parent], move);
        places.push_back({places[parent][0] + turned[0], places[parent][1] + turned[1],
                          places[parent][2] + turned[2]});
        turns.push_back(product(turns[parent], turn));
    }
    return places;
}

} // namespace tarn::tests
