// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/c3d/writing/C3dRecordWriting.h"

#include "files/c3d/C3dSection.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>

namespace tarn::kit {

namespace {

constexpr std::size_t mostOfDescription = 255;
constexpr std::size_t mostDimensions = 255;
constexpr std::size_t longestDistance = 0xFFFF;

/// What a record starts with, up to the distance to the next one, which is left 0.
std::string startOf(const std::string& name, bool locked, int id) {
    if (name.empty() || name.size() > c3dMostOfName) {
        throw std::invalid_argument("a C3D file cannot hold the name '" + name +
                                    "': it needs 1 to 127 bytes");
    }
    const int length = static_cast<int>(name.size());
    std::string record;
    record += static_cast<char>(locked ? -length : length);
    record += static_cast<char>(id);
    record += name;
    record.append(2, '\0');
    return record;
}

void addDescription(std::string& record, const std::string& description) {
    if (description.size() > mostOfDescription) {
        throw std::invalid_argument("a C3D file cannot hold a description of " +
                                    std::to_string(description.size()) + " bytes");
    }
    record += static_cast<char>(description.size());
    record += description;
}

} // namespace

std::string recordOf(const C3dGroup& group, C3dProcessor processor) {
    std::string record = startOf(group.name, group.locked, -group.id);
    addDescription(record, group.description);
    setDistance(record, processor);
    return record;
}

std::string recordOf(const C3dGroup& group, const C3dParameter& parameter, C3dProcessor processor) {
    std::string record = startOf(parameter.name, parameter.locked, group.id);
    if (parameter.dimensions.size() > mostDimensions ||
        parameter.data.size() != parameter.count() * widthOf(parameter.type)) {
        throw std::invalid_argument(group.name + ":" + parameter.name +
                                    " holds not as many elements as its shape says");
    }
    record += static_cast<char>(parameter.type);
    record += static_cast<char>(parameter.dimensions.size());
    record.append(parameter.dimensions.begin(), parameter.dimensions.end());
    record += converted(parameter.data, parameter.type, C3dProcessor::Intel, processor);
    addDescription(record, parameter.description);
    setDistance(record, processor);
    return record;
}

void setDistance(std::string& record, C3dProcessor processor) {
    const auto length = static_cast<std::size_t>(std::abs(static_cast<std::int8_t>(record[0])));
    const std::size_t pointer = 2 + length;
    const std::size_t distance = record.size() - pointer;
    if (distance > longestDistance) {
        throw std::invalid_argument("a C3D file cannot hold the parameter " +
                                    record.substr(2, length) + ": it takes " +
                                    std::to_string(distance) + " bytes, more than 65535");
    }
    putWord(&record[pointer], static_cast<std::uint16_t>(distance), processor);
}

} // namespace tarn::kit
