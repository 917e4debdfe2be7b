// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/Export.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tarn::kit {

/// What the elements of a parameter are.
enum class C3dType : std::int8_t {
    Text = -1,   ///< characters, one byte each
    Byte = 1,    ///< whole numbers from -128 to 127
    Integer = 2, ///< whole numbers from -32768 to 32767
    Real = 4,    ///< numbers in single precision
};

/// A parameter of a C3D file: an array of any shape with a name.
class TARN_KIT_EXPORT C3dParameter {
public:
    /// A text, or several, padded with blanks to one length: a character array of the shape
    /// {length, count}. One text is of the shape {length}.
    static C3dParameter texts(std::string name, const std::vector<std::string>& texts);
    static C3dParameter text(std::string name, const std::string& text);
    /// Whole numbers in 16 bits: those from 32768 to 65535 are kept as the negative number of the
    /// same bits, as the format does. One number is of the shape {}.
    static C3dParameter integers(std::string name, const std::vector<int>& values);
    static C3dParameter integer(std::string name, int value);
    static C3dParameter reals(std::string name, const std::vector<float>& values);
    static C3dParameter real(std::string name, float value);

    /// How many elements the shape has: 1 for the shape {}, 0 if a dimension is 0.
    std::size_t count() const noexcept;
    /// How many of its elements are there: fewer than `count()` where a file breaks off.
    std::size_t size() const noexcept;
    /// The elements as numbers; of a text, the codes of its characters.
    std::vector<double> numbers() const;
    /// One number. Precondition: `index` < `size()`.
    double number(std::size_t index = 0) const;
    /// The texts of a character array, each up to its first NUL and without blanks at its end. Of
    /// other arrays nothing.
    std::vector<std::string> texts() const;
    /// The first text; empty without one.
    std::string text() const;

    /// Whether all but the offset is the same.
    bool operator==(const C3dParameter& other) const noexcept;
    bool operator!=(const C3dParameter& other) const noexcept { return !(*this == other); }

    std::string name;
    std::string description;
    C3dType type = C3dType::Integer;
    bool locked = false;
    /// The first dimension varies fastest. At most 255 each, and 255 of them.
    std::vector<std::uint8_t> dimensions;
    /// The elements, one after the other, little-endian and in IEEE format whatever the file's.
    std::string data;
    /// Where its record starts in the file it was read from; 0 for one that was made.
    std::uint64_t offset = 0;
};

/// Parameters under a common name.
class TARN_KIT_EXPORT C3dGroup {
public:
    /// The first parameter of a name, in capitals or not; null if there is none.
    const C3dParameter* find(std::string_view parameter) const noexcept;

    bool operator==(const C3dGroup& other) const noexcept;
    bool operator!=(const C3dGroup& other) const noexcept { return !(*this == other); }

    std::string name; ///< empty where a file has parameters of a group that it does not describe
    std::string description;
    int id = 0; ///< from 1 to 127; 0 for one that was made, and is numbered when written
    bool locked = false;
    std::vector<C3dParameter> parameters;
    std::uint64_t offset = 0; ///< as that of a parameter; 0 also for one without a record
};

/// All parameters of a C3D file, in the order of the file. Names are found in capitals or not;
/// where a name comes more than once, the first one counts.
class TARN_KIT_EXPORT C3dParameters {
public:
    C3dParameters();
    C3dParameters(const C3dParameters& other);
    C3dParameters(C3dParameters&& other) noexcept;
    C3dParameters& operator=(const C3dParameters& other);
    C3dParameters& operator=(C3dParameters&& other) noexcept;
    ~C3dParameters();

    const std::vector<C3dGroup>& groups() const noexcept;
    /// To change, add and remove what the functions below do not.
    std::vector<C3dGroup>& groups() noexcept;

    /// The group of a name; null if there is none.
    const C3dGroup* find(std::string_view group) const noexcept;
    /// The parameter of a name in any group of the given name; null if there is none.
    const C3dParameter* find(std::string_view group, std::string_view parameter) const noexcept;
    /// The texts of a parameter and of those that continue it, named LABELS, LABELS2, LABELS3...
    std::vector<std::string> texts(std::string_view group, std::string_view parameter) const;
    /// The numbers of a parameter and of those that continue it.
    std::vector<double> numbers(std::string_view group, std::string_view parameter) const;

    /// Replaces the parameter of this name in a group, and keeps its description, its lock and its
    /// offset; adds it if there is none, and the group too.
    void set(std::string_view group, C3dParameter parameter);
    /// Removes all parameters of a name from a group.
    void remove(std::string_view group, std::string_view parameter);

    bool operator==(const C3dParameters& other) const noexcept { return groups_ == other.groups_; }
    bool operator!=(const C3dParameters& other) const noexcept { return !(*this == other); }

private:
    std::vector<C3dGroup> groups_;
};

} // namespace tarn::kit
