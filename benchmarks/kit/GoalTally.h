// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

namespace tarn_benchmark {

/// A goal that is missed today, and by how much it was when that was last looked at.
struct KnownMiss {
    std::string goal;
    double value = 0;
};

/// Holds figures against goals and prints a line for each. A goal that is missed is a failure,
/// unless it is known to be; a known miss that has become worse is one, too.
class GoalTally {
public:
    explicit GoalTally(std::vector<KnownMiss> knownMisses = {})
        : knownMisses_(std::move(knownMisses)) {}

    /// `value` should be at most `most`.
    void judge(const std::string& goal, double value, double most, const std::string& unit) {
        const auto known = std::find_if(knownMisses_.begin(), knownMisses_.end(),
                                        [&](const KnownMiss& miss) { return miss.goal == goal; });
        const bool isKnown = known != knownMisses_.end();
        const bool isMet = value <= most; // not if it is no number
        ++count_;
        std::string verdict = "met";
        if (isMet && isKnown) {
            verdict = "met, no longer a known miss";
        } else if (isKnown && value <= (1 + slack) * known->value) {
            verdict = "KNOWN MISS";
            ++knownCount_;
        } else if (!isMet) {
            verdict = isKnown ? "MISSED, worse than known" : "MISSED";
            missed_.push_back(goal);
        }
        std::printf("  goal: %s: %.4g %s, at most %.4g: %s\n", goal.c_str(), value, unit.c_str(),
                    most, verdict.c_str());
    }

    /// Prints how many goals were met and names those that were missed. Returns what `main` does:
    /// 0 unless a goal is missed that is not known to be.
    int finish() const {
        std::printf("%zu goals: %zu met, %zu known to be missed, %zu missed\n", count_,
                    count_ - knownCount_ - missed_.size(), knownCount_, missed_.size());
        for (const std::string& goal : missed_) {
            std::printf("  MISSED: %s\n", goal.c_str());
        }
        std::fflush(stdout);
        return missed_.empty() ? 0 : 1;
    }

private:
    static constexpr double slack = 0.02; ///< compilers round differently

    std::vector<KnownMiss> knownMisses_;
    std::vector<std::string> missed_;
    std::size_t count_ = 0;
    std::size_t knownCount_ = 0;
};

} // namespace tarn_benchmark
