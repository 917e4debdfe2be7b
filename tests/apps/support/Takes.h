// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>
#include <vector>

namespace tarn::tests {

/// The text of a take: a body with a head and two legs, which moves without turning.
struct TakeText {
    std::string root = "Hips";
    double height = 1.75;           ///< from the feet to the end site above the head
    std::string frameTime = "0.04"; ///< in seconds
    /// Where the root is in each frame, as "x y z"; it stands on the ground at y = 0.
    std::vector<std::string> rootPositions{"0 0 0", "0.1 0 0.2", "0.2 0 0.4"};

    std::string text() const;
};

/// The text of a take whose joints form one chain.
std::string chainTake(int joints);

/// A sample take of the project, by its name without extension.
std::string sampleTake(const std::string& name);

} // namespace tarn::tests
