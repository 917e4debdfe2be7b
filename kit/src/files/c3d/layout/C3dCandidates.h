// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "files/c3d/layout/C3dStatements.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace tarn::kit {

/// More than this no file holds, and products of such numbers still fit 64 bits.
inline constexpr double c3dMostOfAnything = 1 << 24;

/// A choice among the values that are stated for one thing: each value once, in the order of trust.
struct C3dChoice {
    std::vector<double> values;
    std::vector<C3dStatement> statements;

    void add(const C3dStatement& statement) {
        if (statement.value >= 0 && statement.value <= c3dMostOfAnything * 256) {
            statements.push_back(statement);
            addValue(statement.value);
        }
    }
    void addValue(double value) {
        if (std::find(values.begin(), values.end(), value) == values.end()) {
            values.push_back(value);
        }
    }
    int votesFor(double value) const {
        return static_cast<int>(
            std::count_if(statements.begin(), statements.end(),
                          [value](const C3dStatement& one) { return one.value == value; }));
    }
};

struct C3dAnalogShape {
    double channels = 0;
    double samples = 0;
    bool operator==(const C3dAnalogShape& other) const {
        return channels == other.channels && samples == other.samples;
    }
};

/// What a file states of its data, where that can be, for whoever chooses among it.
struct C3dCandidates {
    C3dChoice points;
    std::vector<C3dAnalogShape> analog; ///< in the order of trust
    C3dChoice frames;
    C3dChoice starts; ///< blocks, from 1
    C3dChoice reals;  ///< 1 for reals, 0 for integers
    std::vector<C3dStatement> badStarts;
    std::vector<C3dStatement> scales;
    std::vector<C3dStatement> badScales;
    // Entries of the lists of names and scales.
    std::size_t labels = 0;
    std::size_t analogLabels = 0;
    std::size_t analogScales = 0;
};

/// `rate`: frames per second.
C3dCandidates candidatesFor(const C3dStatements& said, double rate);

} // namespace tarn::kit
