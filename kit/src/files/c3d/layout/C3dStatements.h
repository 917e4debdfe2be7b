// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "files/c3d/C3dHeader.h"
#include "files/c3d/C3dSection.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarn::kit {

/// A number that a file states somewhere.
struct C3dStatement {
    double value;
    std::string place;
    std::uint64_t offset;
};

bool isPlausibleRate(double rate) noexcept;
/// Of either sign, as it tells reals from integers.
bool isPlausibleScale(double scale) noexcept;
bool isUsable(double number) noexcept; ///< finite and positive

/// What the header and the parameters of a file state, each for itself. Both stay as long as this.
class C3dStatements {
public:
    C3dStatements(std::string_view bytes, std::uint64_t fileSize, const C3dSection& section);

    const C3dHeader& header() const noexcept { return header_; }
    const C3dSection& section() const noexcept { return section_; }
    std::uint64_t fileSize() const noexcept { return fileSize_; }

    C3dStatement statedWord(int number) const;
    C3dStatement statedReal(int number) const;
    /// The first number of a parameter. Integers are never negative: 16 bits hold up to 65,535.
    std::optional<C3dStatement> stated(const char* group, const char* name) const;
    /// The number of a frame in the group TRIAL, which takes two words of 16 bits, the lower one
    /// first; some programs have it last.
    std::optional<double> longNumber(const char* name, bool lowerIsLast = false) const;

private:
    C3dHeader header_;
    const C3dSection& section_;
    std::uint64_t fileSize_;
};

} // namespace tarn::kit
