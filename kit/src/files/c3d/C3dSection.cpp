// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/c3d/C3dSection.h"

#include "files/c3d/C3dMending.h"
#include "files/c3d/C3dRecordShape.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>
#include <utility>

namespace tarn::kit {

namespace {

constexpr std::uint64_t sectionHeader = 4;

bool isKnown(int type) { return widthOf(static_cast<C3dType>(type)) != 0; }

/// How many records are looked at byte by byte: in broken files that would go on and on.
constexpr int maxDoubted = 256;

/// Walks the records of a section.
class SectionReader {
public:
    SectionReader(std::string_view bytes, C3dSection& section)
        : bytes_(bytes), section_(section), processor_(section.processor),
          shapes_(bytes, section.processor) {
        groupIndexes_.fill(-1);
    }

    void read() {
        std::uint64_t at = section_.start + sectionHeader;
        section_.end = at;
        while (at != 0) {
            at = readAt(at);
        }
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
    // Bytes that say how long things are, and may be taken for others than they are.

    int signedByte(std::uint64_t at) const { return shapes_.signedByte(at, patch_); }
    std::size_t nameLength(std::uint64_t at) const {
        return static_cast<std::size_t>(std::abs(signedByte(at)));
    }
    int groupNumber(std::uint64_t at) const { return signedByte(at + 1); }

    /// Whether there is a length, a number of a group and a name.
    bool hasName(std::uint64_t at) {
        if (at + 4 > bytes_.size()) {
            section_.ranOut = true;
            return false;
        }
        const std::size_t length = nameLength(at);
        if (length == 0 || length > c3dMostOfName || groupNumber(at) == 0) {
            return false;
        }
        if (at + 4 + length > bytes_.size()) {
            section_.ranOut = true;
            return false;
        }
        C3dRecordShape record;
        record.start = at;
        record.nameLength = length;
        return shapes_.isNamed(record);
    }

    void find(std::string place, std::uint64_t offset, std::string found, std::string believed,
              std::string reason, bool isContradiction = true) {
        section_.findings.push_back({std::move(place), offset, std::move(found),
                                     std::move(believed), std::move(reason), isContradiction});
    }

    static std::string placeOf(std::uint64_t at) {
        return "the parameter record at byte " + std::to_string(at);
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

    const C3dGroup* knownGroup(int id) const {
        const int index = id < 0 || id > 127 ? -1 : groupIndexes_[static_cast<std::size_t>(id)];
        return index < 0 ? nullptr : &section_.parameters.groups()[static_cast<std::size_t>(index)];
    }

    // One record after the other.

    /// Reads what is there, and returns where the next record starts; 0 after the last one.
    std::uint64_t readAt(std::uint64_t at) {
        const auto record = shapes_.at(at);
        const bool isWhole = record && record->isWhole();
        if (isWhole && shapes_.isNamed(*record)) {
            return readRecord(at);
        }
        if (isWhole && record->distance != 0) {
            find(placeOf(at), at + 2, "a name that cannot be read", "",
                 "the record is whole otherwise");
            return readRecord(at);
        }
        if (const auto patch = patchAt(at, record)) {
            find(placeOf(at), patch->offset,
                 "byte " + std::to_string(byteAt(&bytes_[patch->offset])),
                 std::to_string(patch->value),
                 "with that the record ends where the next one starts");
            patch_ = *patch;
            const std::uint64_t next = readRecord(at);
            patch_ = {};
            return next;
        }
        if (hasName(at)) {
            return readRecord(at);
        }
        if (section_.ranOut || shapes_.isEnd(at)) {
            return 0;
        }
        const std::uint64_t next = resume(at);
        if (next != 0 && !section_.records.empty()) {
            section_.records.back().end = next;
        }
        return next;
    }

    /// The byte that explains why the record there is not whole. There is none where only the
    /// distance is wrong.
    std::optional<C3dPatch> patchAt(std::uint64_t at, const std::optional<C3dRecordShape>& record) {
        const bool isClear = record && (isAllThere(*record) || looksLikeRecord(record->end));
        if ((isClear && !isParameter(*record)) || ++doubted_ > maxDoubted) {
            return std::nullopt;
        }
        return shapes_.findPatch(at, lastGroup_);
    }

    /// Whether what says it is a group would be a whole parameter of the last group.
    bool isParameter(const C3dRecordShape& record) const {
        const auto other =
            shapes_.at(record.start, {record.start + 1, static_cast<std::uint8_t>(lastGroup_)});
        return record.isGroup() && other && other->distance != 0 && other->isWhole();
    }

    /// Whether a record lacks nothing but its description, or is followed by nothing but zeros.
    bool isAllThere(const C3dRecordShape& record) {
        const std::uint64_t stated = record.stated();
        if (!looksLikeRecord(stated) && !shapes_.isEnd(stated)) {
            return false;
        }
        if (!record.isGroup() && record.elements() + record.size == stated) {
            return true;
        }
        const std::string_view gap = stated > record.end
                                         ? bytes_.substr(record.end, stated - record.end)
                                         : std::string_view();
        return !gap.empty() && gap.find_first_not_of('\0') == std::string_view::npos;
    }

    /// Returns where the next record starts; 0 after the last one.
    std::uint64_t readRecord(std::uint64_t at) {
        const std::size_t length = nameLength(at);
        const std::uint64_t pointer = at + 2 + length;
        const std::uint64_t distance = wordAt(&bytes_[pointer], processor_);
        const std::uint64_t stated = distance == 0 ? 0 : pointer + distance;
        std::string name(bytes_.substr(at + 2, length));
        lastGroup_ = std::abs(groupNumber(at));
        std::uint64_t end = 0; // of what the record holds
        if (groupNumber(at) < 0) {
            end = readGroup(at, std::move(name), pointer + 2);
        } else {
            end = readParameter(at, std::move(name), pointer + 2, stated);
        }
        const bool isMended = patch_.offset >= at && patch_.offset < end;
        const std::uint64_t next = nextRecord(at, pointer, stated, end);
        // Bytes between two records belong to the first of them, and stay with it.
        const std::uint64_t recordEnd = next == 0 ? end : next;
        section_.records.push_back({at, recordEnd, isMended});
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
        C3dGroup group;
        group.id = -groupNumber(at);
        group.name = std::move(name);
        group.offset = at;
        group.locked = signedByte(at) < 0;
        const std::uint64_t end = readDescription(content, bytes_.size(), group.description);
        const C3dGroup* const known = knownGroup(group.id);
        if (group.id > 127 || (known != nullptr && known->offset != 0)) {
            // -128 has no counterpart among the parameters
            find(group.name, at,
                 known == nullptr ? "a group of number 128"
                                  : "a second group of number " + std::to_string(group.id),
                 known == nullptr ? std::string() : known->name,
                 known == nullptr ? "numbers go from 1 to 127"
                                  : "the first group of a number counts");
            section_.spareGroups.push_back(std::move(group));
            return end;
        }
        C3dGroup& place = groupOf(group.id);
        group.parameters = std::move(place.parameters);
        place = std::move(group);
        return end;
    }

    std::uint64_t readParameter(std::uint64_t at, std::string name, std::uint64_t content,
                                std::uint64_t stated) {
        if (content + 2 > bytes_.size()) {
            section_.ranOut = true;
            return bytes_.size();
        }
        const int type = signedByte(content);
        const std::uint64_t shape = content + 2;
        const std::uint64_t dimensions = shapes_.byte(content + 1, patch_);
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
            parameter.dimensions.push_back(shapes_.byte(shape + i, patch_));
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

    // Where the next record is.

    bool hasPoints() const { return section_.parameters.find("POINT", "USED") != nullptr; }

    /// Whether the record is whole and says something that is not known yet.
    bool isNews(std::uint64_t at) const {
        const auto record = shapes_.isWhole(at) ? shapes_.at(at) : std::nullopt;
        if (!record) {
            return false;
        }
        const C3dGroup* const group = knownGroup(std::abs(record->group));
        if (record->isGroup()) {
            return group == nullptr || group->offset == 0;
        }
        return group == nullptr ||
               group->find(bytes_.substr(record->name(), record->nameLength)) == nullptr;
    }

    /// Whether records go on there that are not what an older, longer section left behind.
    bool isNewChain(std::uint64_t at) {
        return ++doubted_ <= maxDoubted && isNews(at) && isNews(shapes_.at(at)->end);
    }

    /// Of two places that a record gives for the next one, the stated distance and its own end, the
    /// one where there is a record.
    std::uint64_t nextRecord(std::uint64_t at, std::uint64_t pointer, std::uint64_t stated,
                             std::uint64_t end) {
        if (stated == 0) {
            const bool goesOn =
                ++doubted_ <= maxDoubted && (hasPoints() ? isNewChain(end) : looksLikeRecord(end));
            if (goesOn) {
                find(placeOf(at), pointer, "that it is the last one", "that more follow",
                     "records that are whole follow it");
            }
            return goesOn ? end : 0;
        }
        if (stated == end) {
            return stated;
        }
        const std::string distance = "a next record at byte " + std::to_string(stated);
        const bool skipsSome = stated > end && isNewChain(end);
        if (!skipsSome && looksLikeRecord(stated) && stated > pointer) {
            if (!isPadded(end, stated)) {
                find(placeOf(at), pointer, distance, "",
                     "by its own account it ends at byte " + std::to_string(end), false);
            }
            return stated;
        }
        if (skipsSome || looksLikeRecord(end)) {
            find(placeOf(at), pointer, distance, "byte " + std::to_string(end),
                 "there is no record there, but one where this one ends");
            return end;
        }
        return shapes_.isEnd(stated) && isPadded(end, stated) ? 0 : resume(at + 1);
    }

    bool isPadded(std::uint64_t end, std::uint64_t next) const {
        return next > end && next <= bytes_.size() &&
               bytes_.substr(end, next - end).find_first_not_of('\0') == std::string_view::npos;
    }

    /// The first record from there on that is whole and belongs to the others; 0 without one.
    std::uint64_t resume(std::uint64_t at) {
        const int stated = section_.statedBlocks;
        const auto blocks = static_cast<std::uint64_t>(stated == 0 ? 255 : stated);
        const std::uint64_t limit =
            std::min<std::uint64_t>(bytes_.size(), section_.start + blocks * c3dBlock);
        for (std::uint64_t next = at; next < limit; ++next) {
            if (belongs(next)) {
                find(placeOf(at), at, "no record that can be read", "byte " + std::to_string(next),
                     "the next one that is whole is there");
                return next;
            }
        }
        find(placeOf(at), at, "no record", "that there are no more", "none follows that is whole",
             false);
        return 0;
    }

    bool belongs(std::uint64_t at) const {
        const auto record = shapes_.isWhole(at) ? shapes_.at(at) : std::nullopt;
        if (!record) {
            return false;
        }
        const bool isLinked = record->isGroup() || knownGroup(record->group) != nullptr;
        const bool isLast = shapes_.isEnd(record->end);
        return shapes_.isWhole(record->end) || (isLinked && (isLast || record->distance != 0));
    }

    std::string_view bytes_;
    C3dSection& section_;
    C3dProcessor processor_;
    C3dRecordShapes shapes_;
    C3dPatch patch_;
    int lastGroup_ = 1;
    int doubted_ = 0;
    std::array<int, 128> groupIndexes_{};
};

} // namespace

bool looksLikeSection(std::string_view bytes, std::uint64_t start) {
    if (start + sectionHeader > bytes.size()) {
        return false;
    }
    const bool hasHeader = bytes[start + 1] == c3dKey && namesProcessor(byteAt(&bytes[start + 3]));
    C3dSection section;
    return hasHeader || SectionReader(bytes, section).looksLikeRecord(start + sectionHeader);
}

C3dSection readSection(std::string_view bytes, std::uint64_t start, C3dProcessor processor) {
    C3dSection section;
    section.processor = processor;
    section.start = start;
    section.statedBlocks = byteAt(&bytes[start + 2]);
    SectionReader(bytes, section).read();
    mendParameters(section);
    return section;
}

} // namespace tarn::kit
