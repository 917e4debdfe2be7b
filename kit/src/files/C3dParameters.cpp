// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/files/C3dParameters.h>

#include "files/TextScanner.h"
#include "files/c3d/C3dNumbers.h"

#include <algorithm>
#include <cassert>
#include <iterator>
#include <limits>
#include <stdexcept>
#include <utility>

namespace tarn::kit {

namespace {

constexpr std::size_t maxDimension = 255;

/// As many parts as 65,535 labels need, and then some.
constexpr int maxParts = 300;

/// A shape with so many elements in a row; none for a single one.
std::vector<std::uint8_t> rowOf(const std::string& name, std::size_t count) {
    if (count > maxDimension) {
        throw std::invalid_argument(name + " has " + std::to_string(count) +
                                    " elements, more than 255");
    }
    return {static_cast<std::uint8_t>(count)};
}

std::size_t bytesOf(C3dType type) noexcept {
    return type == C3dType::Text ? 1 : static_cast<std::size_t>(type);
}

C3dParameter made(std::string name, C3dType type, std::vector<std::uint8_t> dimensions) {
    C3dParameter parameter;
    parameter.name = std::move(name);
    parameter.type = type;
    parameter.dimensions = std::move(dimensions);
    parameter.data.resize(parameter.count() * bytesOf(type));
    return parameter;
}

/// Up to the first NUL, without the blanks at the end.
std::string_view trimmed(std::string_view text) {
    text = text.substr(0, text.find('\0'));
    const std::size_t last = text.find_last_not_of(" \t\r\n");
    return text.substr(0, last == std::string_view::npos ? 0 : last + 1);
}

/// Calls `visit` with a parameter and those that continue it.
template <class Visit>
void visitContinued(const C3dParameters& parameters, std::string_view group, std::string_view name,
                    Visit visit) {
    const C3dParameter* parameter = parameters.find(group, name);
    for (int next = 2; parameter != nullptr && next <= maxParts; ++next) {
        visit(*parameter);
        parameter = parameters.find(group, std::string(name) + std::to_string(next));
    }
}

/// Some programs fill names up with NULs or blanks.
bool isNamed(std::string_view name, std::string_view wanted) {
    return sameWord(name, wanted) || sameWord(trimmed(name), wanted);
}

template <class Groups>
auto groupNamed(Groups& groups, std::string_view name) {
    return std::find_if(groups.begin(), groups.end(),
                        [name](const C3dGroup& group) { return isNamed(group.name, name); });
}

} // namespace

C3dParameter C3dParameter::texts(std::string name, const std::vector<std::string>& texts) {
    std::size_t length = 0;
    for (const std::string& text : texts) {
        length = std::max(length, text.size());
    }
    std::vector<std::uint8_t> dimensions = rowOf(name, length);
    dimensions.push_back(rowOf(name, texts.size()).front());
    C3dParameter parameter = made(std::move(name), C3dType::Text, std::move(dimensions));
    parameter.data.clear();
    for (const std::string& text : texts) {
        parameter.data += text;
        parameter.data.append(length - text.size(), ' ');
    }
    return parameter;
}

C3dParameter C3dParameter::text(std::string name, const std::string& text) {
    std::vector<std::uint8_t> dimensions = rowOf(name, text.size());
    C3dParameter parameter = made(std::move(name), C3dType::Text, std::move(dimensions));
    parameter.data = text;
    return parameter;
}

C3dParameter C3dParameter::integers(std::string name, const std::vector<int>& values) {
    std::vector<std::uint8_t> dimensions = rowOf(name, values.size());
    C3dParameter parameter = made(std::move(name), C3dType::Integer, std::move(dimensions));
    for (std::size_t i = 0; i < values.size(); ++i) {
        assert(values[i] >= std::numeric_limits<std::int16_t>::min() &&
               values[i] <= std::numeric_limits<std::uint16_t>::max());
        putWord(&parameter.data[i * 2], static_cast<std::uint16_t>(values[i]), C3dProcessor::Intel);
    }
    return parameter;
}

C3dParameter C3dParameter::integer(std::string name, int value) {
    C3dParameter parameter = integers(std::move(name), {value});
    parameter.dimensions.clear();
    return parameter;
}

C3dParameter C3dParameter::reals(std::string name, const std::vector<float>& values) {
    std::vector<std::uint8_t> dimensions = rowOf(name, values.size());
    C3dParameter parameter = made(std::move(name), C3dType::Real, std::move(dimensions));
    for (std::size_t i = 0; i < values.size(); ++i) {
        putReal(&parameter.data[i * 4], values[i], C3dProcessor::Intel);
    }
    return parameter;
}

C3dParameter C3dParameter::real(std::string name, float value) {
    C3dParameter parameter = reals(std::move(name), {value});
    parameter.dimensions.clear();
    return parameter;
}

std::size_t C3dParameter::count() const noexcept {
    constexpr std::size_t most = std::numeric_limits<std::uint32_t>::max();
    std::size_t count = 1;
    for (const std::uint8_t dimension : dimensions) {
        count = dimension == 0 ? 0 : std::min(count * dimension, most);
    }
    return std::find(dimensions.begin(), dimensions.end(), 0) == dimensions.end() ? count : 0;
}

std::size_t C3dParameter::size() const noexcept {
    return std::min(count(), data.size() / bytesOf(type));
}

double C3dParameter::number(std::size_t index) const {
    assert(index < size());
    const char* const at = data.data() + index * bytesOf(type);
    switch (type) {
    case C3dType::Real:
        return static_cast<double>(realAt(at, C3dProcessor::Intel));
    case C3dType::Integer:
        return integerAt(at, C3dProcessor::Intel);
    case C3dType::Byte:
        return static_cast<std::int8_t>(byteAt(at));
    default:
        return byteAt(at);
    }
}

std::vector<double> C3dParameter::numbers() const {
    std::vector<double> values(size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] = number(i);
    }
    return values;
}

std::vector<std::string> C3dParameter::texts() const {
    std::vector<std::string> texts;
    const std::size_t length = dimensions.empty() ? 1 : dimensions.front();
    if (type != C3dType::Text || length == 0) {
        return texts;
    }
    const std::string_view all(data.data(), size());
    for (std::size_t at = 0; at < all.size(); at += length) {
        texts.emplace_back(trimmed(all.substr(at, length)));
    }
    return texts;
}

std::string C3dParameter::text() const {
    const std::vector<std::string> all = texts();
    return all.empty() ? std::string() : all.front();
}

bool C3dParameter::operator==(const C3dParameter& other) const noexcept {
    return name == other.name && description == other.description && type == other.type &&
           locked == other.locked && dimensions == other.dimensions && data == other.data;
}

const C3dParameter* C3dGroup::find(std::string_view parameter) const noexcept {
    const auto found =
        std::find_if(parameters.begin(), parameters.end(),
                     [parameter](const C3dParameter& one) { return isNamed(one.name, parameter); });
    return found == parameters.end() ? nullptr : &*found;
}

bool C3dGroup::operator==(const C3dGroup& other) const noexcept {
    return name == other.name && description == other.description && id == other.id &&
           locked == other.locked && parameters == other.parameters;
}

C3dParameters::C3dParameters() = default;
C3dParameters::C3dParameters(const C3dParameters& other) = default;
C3dParameters::C3dParameters(C3dParameters&& other) noexcept = default;
C3dParameters& C3dParameters::operator=(const C3dParameters& other) = default;
C3dParameters& C3dParameters::operator=(C3dParameters&& other) noexcept = default;
C3dParameters::~C3dParameters() = default;

const std::vector<C3dGroup>& C3dParameters::groups() const noexcept { return groups_; }

std::vector<C3dGroup>& C3dParameters::groups() noexcept { return groups_; }

const C3dGroup* C3dParameters::find(std::string_view group) const noexcept {
    const auto found = groupNamed(groups_, group);
    return found == groups_.end() ? nullptr : &*found;
}

const C3dParameter* C3dParameters::find(std::string_view group,
                                        std::string_view parameter) const noexcept {
    for (const C3dGroup& one : groups_) {
        if (isNamed(one.name, group)) {
            if (const C3dParameter* const found = one.find(parameter)) {
                return found;
            }
        }
    }
    return nullptr;
}

std::vector<std::string> C3dParameters::texts(std::string_view group,
                                              std::string_view parameter) const {
    std::vector<std::string> all;
    visitContinued(*this, group, parameter, [&all](const C3dParameter& part) {
        std::vector<std::string> texts = part.texts();
        std::move(texts.begin(), texts.end(), std::back_inserter(all));
    });
    return all;
}

std::vector<double> C3dParameters::numbers(std::string_view group,
                                           std::string_view parameter) const {
    std::vector<double> all;
    visitContinued(*this, group, parameter, [&all](const C3dParameter& part) {
        const std::vector<double> numbers = part.numbers();
        all.insert(all.end(), numbers.begin(), numbers.end());
    });
    return all;
}

void C3dParameters::set(std::string_view group, C3dParameter parameter) {
    for (C3dGroup& one : groups_) {
        for (C3dParameter& old : one.parameters) {
            if (isNamed(one.name, group) && isNamed(old.name, parameter.name)) {
                old.type = parameter.type;
                old.dimensions = std::move(parameter.dimensions);
                old.data = std::move(parameter.data);
                return;
            }
        }
    }
    auto found = groupNamed(groups_, group);
    if (found == groups_.end()) {
        groups_.emplace_back().name = group;
        found = groups_.end() - 1;
    }
    found->parameters.push_back(std::move(parameter));
}

void C3dParameters::remove(std::string_view group, std::string_view parameter) {
    for (C3dGroup& one : groups_) {
        if (isNamed(one.name, group)) {
            auto& all = one.parameters;
            all.erase(std::remove_if(all.begin(), all.end(),
                                     [parameter](const C3dParameter& old) {
                                         return isNamed(old.name, parameter);
                                     }),
                      all.end());
        }
    }
}

} // namespace tarn::kit
