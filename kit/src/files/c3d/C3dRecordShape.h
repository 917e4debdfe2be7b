// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "files/c3d/C3dNumbers.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace tarn::kit {

/// One byte of a file that is taken for another one than it is.
struct C3dPatch {
    std::uint64_t offset = ~std::uint64_t{0}; ///< by default nowhere
    std::uint8_t value = 0;
};

/// What the record of a group or of a parameter says of itself: a length of the name (negative if
/// it is locked), the number of the group (negative for the group itself), the name, and the
/// distance of the next record from there; then the description, and of a parameter before it the
/// type, the shape and the elements.
struct C3dRecordShape {
    std::uint64_t start = 0;
    std::uint64_t nameLength = 0;
    int group = 0; ///< negative for the record of a group
    std::uint64_t distance = 0;
    int type = 0; ///< of a parameter
    std::uint64_t dimensions = 0;
    std::uint64_t size = 0; ///< of the elements
    std::uint64_t end = 0;  ///< behind the description

    bool isGroup() const noexcept { return group < 0; }
    std::uint64_t name() const noexcept { return start + 2; }
    /// Where the distance is.
    std::uint64_t pointer() const noexcept { return name() + nameLength; }
    /// Of the next record; 0 where this is said to be the last one.
    std::uint64_t stated() const noexcept { return distance == 0 ? 0 : pointer() + distance; }
    /// What follows the distance.
    std::uint64_t content() const noexcept { return pointer() + 2; }
    /// Of a parameter.
    std::uint64_t elements() const noexcept { return content() + 2 + dimensions; }
    /// Whether the next record starts where this one ends, or there is none.
    bool isWhole() const noexcept { return distance == 0 || stated() == end; }
};

/// The records of a file, by the places where they start.
class C3dRecordShapes {
public:
    C3dRecordShapes(std::string_view bytes, C3dProcessor processor)
        : bytes_(bytes), processor_(processor) {}

    std::uint8_t byte(std::uint64_t at, const C3dPatch& patch = {}) const {
        return at == patch.offset ? patch.value : byteAt(&bytes_[at]);
    }
    int signedByte(std::uint64_t at, const C3dPatch& patch = {}) const {
        return static_cast<std::int8_t>(byte(at, patch));
    }

    /// The record that starts there; none if there is no name, no group, no known type, or if the
    /// bytes end before it does.
    std::optional<C3dRecordShape> at(std::uint64_t start, const C3dPatch& patch = {}) const;

    /// Whether there is a record with a name that can be read and its end where it says.
    bool isWhole(std::uint64_t start) const;
    /// Whether the records end there as they should: with a zero, or with the bytes.
    bool isEnd(std::uint64_t at) const;
    /// Whether the name is one that can be read.
    bool isNamed(const C3dRecordShape& record) const;

    /// The one byte of its group's number, its type, its shape or its name's length without which
    /// the record that starts there would be whole, and lead to the next one; none if there is
    /// none. The number of the group is that of the record behind a group, and can only be guessed
    /// of a parameter.
    std::optional<C3dPatch> findPatch(std::uint64_t start, int guessedGroup) const;

private:
    /// The number of the group whose parameter comes behind the record that starts there; 0 if none
    /// does.
    int groupBehind(std::uint64_t start) const;
    int likeness(const C3dRecordShape& record) const;
    /// How likely a patch makes the record that starts there what it was; 0 if it does not.
    int meritOf(std::uint64_t start, const C3dPatch& patch) const;

    std::string_view bytes_;
    C3dProcessor processor_;
};

} // namespace tarn::kit
