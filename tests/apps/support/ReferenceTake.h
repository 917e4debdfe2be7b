// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <array>
#include <string>
#include <vector>

namespace tarn::tests {

using Vector = std::array<double, 3>;

/// A take as a second, naive reader understands it, to compare with: no checks, all in double
/// precision, rotations as matrices multiplied one by one.
struct ReferenceTake {
    struct Node {
        std::string name;
        int parent;
        bool endSite;
        Vector offset;
        std::vector<std::string> channels;
    };
    std::vector<Node> nodes;
    std::vector<std::vector<double>> frames;
    double frameTime = 0;

    explicit ReferenceTake(const std::string& file);
    /// Where each node is in the world.
    std::vector<Vector> positions(std::size_t frame) const;
};

} // namespace tarn::tests
