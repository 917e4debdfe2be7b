// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/files/C3d.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tarn::kit {

/// Takes down what is contradictory in a file and how that was settled, as the mode asks for.
class C3dJudge {
public:
    C3dJudge(C3dMode mode, std::string file);

    /// Something does not fit. Throws a `ReadError` in strict mode.
    void contradict(C3dFinding finding);
    /// Not as it should be, but nothing that contradicts anything.
    void remark(C3dFinding finding);
    /// All is well, but worth knowing to those who ask for explanations.
    void note(C3dFinding finding);
    /// Nothing can be had from the file.
    [[noreturn]] void fail(std::uint64_t offset, const std::string& reason) const;
    /// What was found so far.
    std::vector<C3dFinding> takeReport();

private:
    void add(C3dFinding finding);

    C3dMode mode_;
    std::string file_;
    std::vector<C3dFinding> report_;
};

/// A number as reports show it: with the fewest digits that tell it from its neighbours.
std::string numberText(double number);

} // namespace tarn::kit
