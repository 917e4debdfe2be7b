// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/c3d/C3dSection.h"

#include "files/c3d/C3dJudge.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace tarn::kit {

namespace {

constexpr std::uint64_t sectionHeader = 4;
constexpr std::size_t maxName = 127;
constexpr std::size_t maxDescription = 255;
constexpr std::size_t maxDistance = 0xFFFF;

bool isKnown(int type) { return type == -1 || type == 1 || type == 2 || type == 4; }

std::size_t widthOf(C3dType type) {
    return type == C3dType::Text ? 1 : static_cast<std::size_t>(type);
}

/// Elements to and from the order of bytes that parameters are kept in.
std::string converted(std::string data, C3dType type, C3dProcessor from, C3dProcessor to) {
    if (from == to) {
        return data;
    }
    if (type == C3dType::Integer) {
        for (std::size_t i = 0; i + 2 <= data.size(); i += 2) {
            putWord(&data[i], wordAt(&data[i], from), to);
        }
    } else if (type == C3dType::Real) {
        for (std::size_t i = 0; i + 4 <= data.size(); i += 4) {
            putReal(&data[i], realAt(&data[i], from), to);
        }
    }
    return data;
}

/// Walks the records of a section.
class SectionReader {
public:
    SectionReader(std::string_view bytes, C3dSection& section)
        : bytes_(bytes), section_(section), processor_(section.processor) {
        groupIndexes_.fill(-1);
    }

    void read() {
        std::uint64_t at = section_.start + sectionHeader;
        section_.end = at;
        while (at != 0) {
            at = hasName(at) ? readRecord(at) : 0;
        }
        for (const C3dGroup& group : section_.parameters.groups()) {
            if (group.offset == 0) {
                const std::uint64_t where =
                    group.parameters.empty() ? section_.start : group.parameters.front().offset;
                find("group " + std::to_string(group.id), where, "parameters without their group",
                     "", "they are kept under no name");
            }
        }
    }

    /// Whether there is a length, a number of a group and a name.
    bool hasName(std::uint64_t at) {
        if (at + 4 > bytes_.size()) {
            section_.ranOut = true;
            return false;
        }
        const std::size_t length = nameLength(at);
        if (length == 0 || length > maxName || groupNumber(at) == 0) {
            return false;
        }
        if (at + 4 + length > bytes_.size()) {
            section_.ranOut = true;
            return false;
        }
        const std::string_view name = bytes_.substr(at + 2, length);
        return std::all_of(name.begin(), name.end(), [](char c) {
            const std::uint8_t code = byteAt(&c);
            return code >= 0x20 && code != 0x7F;
        });
    }

    /// Whether there is a name, and what comes behind it is not just any text.
    bool looksLikeRecord(std::uint64_t at) {
        if (!hasName(at)) {
            return false;
        }
        const std::uint64_t content = at + 4 + nameLength(at);
        return groupNumber(at) < 0 || (content < bytes_.size() && isKnown(signedByte(content)));
    }

private:
    int signedByte(std::uint64_t at) const { return static_cast<std::int8_t>(byteAt(&bytes_[at])); }
    std::size_t nameLength(std::uint64_t at) const {
        return static_cast<std::size_t>(std::abs(signedByte(at)));
    }
    int groupNumber(std::uint64_t at) const { return signedByte(at + 1); }

    void find(std::string place, std::uint64_t offset, std::string found, std::string believed,
              std::string reason) {
        section_.findings.push_back({std::move(place), offset, std::move(found),
                                     std::move(believed), std::move(reason), true});
    }

    /// The group of a number, which may come after its parameters.
    C3dGroup& groupOf(int id) {
        int& index = groupIndexes_[static_cast<std::size_t>(id)];
        auto& groups = section_.parameters.groups();
        if (index < 0) {
            index = static_cast<int>(groups.size());
            groups.emplace_back().id = id;
        }
        return groups[static_cast<std::size_t>(index)];
    }

    /// Returns where the next record starts; 0 after the last one.
    std::uint64_t readRecord(std::uint64_t at) {
        const std::size_t length = nameLength(at);
        const std::uint64_t pointer = at + 2 + length;
        const std::uint64_t distance = wordAt(&bytes_[pointer], processor_);
        const std::uint64_t stated = distance == 0 ? 0 : pointer + distance;
        std::string name(bytes_.substr(at + 2, length));
        std::uint64_t end = 0; // of what the record holds
        if (groupNumber(at) < 0) {
            end = readGroup(at, std::move(name), pointer + 2);
        } else {
            end = readParameter(at, std::move(name), pointer + 2, stated);
        }
        const std::uint64_t next = nextRecord(at, pointer, stated, end);
        // Bytes between two records belong to the first of them, and stay with it.
        const std::uint64_t recordEnd = next == 0 ? end : next;
        section_.records.push_back({at, recordEnd});
        section_.end = recordEnd;
        return next;
    }

    /// Takes a description, as far as it is there, and returns its end.
    std::uint64_t readDescription(std::uint64_t at, std::uint64_t limit, std::string& description) {
        if (at >= limit) {
            return limit;
        }
        const std::uint64_t length = std::min<std::uint64_t>(byteAt(&bytes_[at]), limit - at - 1);
        description = bytes_.substr(at + 1, length);
        return at + 1 + length;
    }

    std::uint64_t readGroup(std::uint64_t at, std::string name, std::uint64_t content) {
        const int id = -groupNumber(at);
        if (id > 127) {
            return content; // -128 has no counterpart among the parameters
        }
        C3dGroup& known = groupOf(id);
        if (known.offset != 0) {
            find(name, at, "a second group of number " + std::to_string(id), known.name,
                 "the first group of a number counts");
            return skipDescription(content);
        }
        known.name = std::move(name);
        known.offset = at;
        known.locked = signedByte(at) < 0;
        return readDescription(content, bytes_.size(), known.description);
    }

    std::uint64_t skipDescription(std::uint64_t at) {
        std::string unused;
        return readDescription(at, bytes_.size(), unused);
    }

    std::uint64_t readParameter(std::uint64_t at, std::string name, std::uint64_t content,
                                std::uint64_t stated) {
        if (content + 2 > bytes_.size()) {
            section_.ranOut = true;
            return bytes_.size();
        }
        const int type = signedByte(content);
        const std::uint64_t shape = content + 2;
        const std::uint64_t dimensions = byteAt(&bytes_[content + 1]);
        C3dGroup& group = groupOf(groupNumber(at));
        const std::string place = group.name + ":" + name;
        if (!isKnown(type) || shape + dimensions > bytes_.size()) {
            find(place, content, "type " + std::to_string(type), "",
                 "expected the type -1, 1, 2 or 4 and a shape; the parameter is left out");
            return content + 2;
        }
        C3dParameter parameter;
        parameter.name = std::move(name);
        parameter.type = static_cast<C3dType>(type);
        parameter.locked = signedByte(at) < 0;
        parameter.offset = at;
        for (std::uint64_t i = 0; i < dimensions; ++i) {
            parameter.dimensions.push_back(byteAt(&bytes_[shape + i]));
        }
        const std::uint64_t end = readElements(parameter, place, shape + dimensions, stated);
        group.parameters.push_back(std::move(parameter));
        return end;
    }

    /// Takes as many of the elements as are there, and the description.
    std::uint64_t readElements(C3dParameter& parameter, const std::string& place, std::uint64_t at,
                               std::uint64_t stated) {
        const std::uint64_t wanted = parameter.count() * widthOf(parameter.type);
        // What reaches beyond a next record that is one gets no more than the room before it.
        const bool bounded = stated >= at && stated < at + wanted && looksLikeRecord(stated);
        const std::uint64_t limit = bounded ? stated : bytes_.size();
        const std::uint64_t size = std::min<std::uint64_t>(wanted, limit - at);
        if (size < wanted) {
            section_.ranOut = section_.ranOut || !bounded;
            find(place, at, std::to_string(wanted) + " bytes of elements", std::to_string(size),
                 bounded ? "the next parameter starts there" : "the file ends there");
        }
        parameter.data = converted(std::string(bytes_.substr(at, size)), parameter.type, processor_,
                                   C3dProcessor::Intel);
        const bool inside = stated > at + size && stated <= bytes_.size();
        return readDescription(at + size, inside ? stated : limit, parameter.description);
    }

    bool hasPoints() const { return section_.parameters.find("POINT", "USED") != nullptr; }

    /// Whether the records end there as they should: with a zero, or with the bytes.
    bool isEnd(std::uint64_t at) const {
        return at == bytes_.size() || (at < bytes_.size() && bytes_[at] == '\0');
    }

    /// Of two places that a record gives for the next one, the stated distance and its own end, the
    /// one where there is a record.
    std::uint64_t nextRecord(std::uint64_t at, std::uint64_t pointer, std::uint64_t stated,
                             std::uint64_t end) {
        const std::string place = "the parameter record at byte " + std::to_string(at);
        if (stated == 0) {
            if (hasPoints() || !looksLikeRecord(end)) {
                return 0;
            }
            find(place, pointer, "that it is the last one", "that more follow",
                 "POINT:USED is still missing");
            return end;
        }
        if (stated == end) {
            return stated;
        }
        if (looksLikeRecord(stated) && stated > pointer) {
            return stated;
        }
        const std::string distance = "a next record at byte " + std::to_string(stated);
        if (looksLikeRecord(end)) {
            find(place, pointer, distance, "byte " + std::to_string(end),
                 "there is no record there, but one where this one ends");
            return end;
        }
        if (!isEnd(stated)) {
            find(place, pointer, distance, "that it is the last one", "there is no record there");
        }
        return 0;
    }

    std::string_view bytes_;
    C3dSection& section_;
    C3dProcessor processor_;
    std::array<int, 128> groupIndexes_{};
};

/// What a record starts with, up to the distance to the next one, which is left 0.
std::string startOf(const std::string& name, bool locked, int id) {
    if (name.empty() || name.size() > maxName) {
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
    if (description.size() > maxDescription) {
        throw std::invalid_argument("a C3D file cannot hold a description of " +
                                    std::to_string(description.size()) + " bytes");
    }
    record += static_cast<char>(description.size());
    record += description;
}

} // namespace

bool looksLikeSection(std::string_view bytes, std::uint64_t start) {
    if (start + sectionHeader > bytes.size()) {
        return false;
    }
    C3dSection section;
    return SectionReader(bytes, section).looksLikeRecord(start + sectionHeader);
}

C3dSection readSection(std::string_view bytes, std::uint64_t start, C3dProcessor processor) {
    C3dSection section;
    section.processor = processor;
    section.start = start;
    section.statedBlocks = byteAt(&bytes[start + 2]);
    SectionReader(bytes, section).read();
    return section;
}

std::string recordOf(const C3dGroup& group, C3dProcessor processor, bool last) {
    std::string record = startOf(group.name, group.locked, -group.id);
    addDescription(record, group.description);
    setDistance(record, processor, last);
    return record;
}

std::string recordOf(const C3dGroup& group, const C3dParameter& parameter, C3dProcessor processor,
                     bool last) {
    std::string record = startOf(parameter.name, parameter.locked, group.id);
    if (parameter.dimensions.size() > maxDescription ||
        parameter.data.size() != parameter.count() * widthOf(parameter.type)) {
        throw std::invalid_argument(group.name + ":" + parameter.name +
                                    " holds not as many elements as its shape says");
    }
    record += static_cast<char>(parameter.type);
    record += static_cast<char>(parameter.dimensions.size());
    record.append(parameter.dimensions.begin(), parameter.dimensions.end());
    record += converted(parameter.data, parameter.type, C3dProcessor::Intel, processor);
    addDescription(record, parameter.description);
    setDistance(record, processor, last);
    return record;
}

void setDistance(std::string& record, C3dProcessor processor, bool last) {
    const auto length = static_cast<std::size_t>(std::abs(static_cast<std::int8_t>(record[0])));
    const std::size_t pointer = 2 + length;
    const std::size_t distance = record.size() - pointer;
    if (distance > maxDistance) {
        throw std::invalid_argument("a C3D file cannot hold the parameter " +
                                    record.substr(2, length) + ": it takes " +
                                    std::to_string(distance) + " bytes, more than 65535");
    }
    putWord(&record[pointer], last ? 0 : static_cast<std::uint16_t>(distance), processor);
}

} // namespace tarn::kit
