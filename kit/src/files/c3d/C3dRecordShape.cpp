// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/c3d/C3dRecordShape.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace tarn::kit {

namespace {} // namespace

std::optional<C3dRecordShape> C3dRecordShapes::at(std::uint64_t start,
                                                  const C3dPatch& patch) const {
    if (start + 4 > bytes_.size()) {
        return std::nullopt;
    }
    C3dRecordShape record;
    record.start = start;
    record.nameLength = static_cast<std::uint64_t>(std::abs(signedByte(start, patch)));
    record.group = signedByte(start + 1, patch);
    const bool isRecord = record.nameLength > 0 && record.nameLength < 128 && record.group != 0;
    if (!isRecord || record.content() + 1 > bytes_.size()) {
        return std::nullopt;
    }
    const std::uint32_t first = byte(record.pointer(), patch);
    const std::uint32_t second = byte(record.pointer() + 1, patch);
    record.distance =
        processor_ == C3dProcessor::Mips ? first << 8U | second : second << 8U | first;
    std::uint64_t description = record.content();
    if (!record.isGroup()) {
        if (record.content() + 2 > bytes_.size()) {
            return std::nullopt;
        }
        record.type = signedByte(record.content(), patch);
        record.dimensions = byte(record.content() + 1, patch);
        record.size = widthOf(static_cast<C3dType>(record.type));
        description += 2 + record.dimensions;
        if (record.size == 0 || description > bytes_.size()) {
            return std::nullopt;
        }
        for (std::uint64_t i = 0; i < record.dimensions && record.size < bytes_.size(); ++i) {
            record.size *= byte(record.content() + 2 + i, patch);
        }
        description += record.size;
    }
    if (description >= bytes_.size()) {
        return std::nullopt;
    }
    record.end = description + 1 + byte(description, patch);
    return record.end > bytes_.size() ? std::nullopt : std::optional(record);
}

bool C3dRecordShapes::isNamed(const C3dRecordShape& record) const {
    std::string_view name = bytes_.substr(record.name(), record.nameLength);
    while (name.size() > 1 && name.back() == '\0') {
        name.remove_suffix(1);
    }
    return std::all_of(name.begin(), name.end(), [](char c) {
        const std::uint8_t code = byteAt(&c);
        return code >= 0x20 && code != 0x7F;
    });
}

bool C3dRecordShapes::isWhole(std::uint64_t start) const {
    const auto record = at(start);
    return record && record->isWhole() && isNamed(*record);
}

bool C3dRecordShapes::isEnd(std::uint64_t at) const {
    return at == bytes_.size() || (at < bytes_.size() && bytes_[at] == '\0');
}

/// How much elements look like what the type says: those of damaged records can be taken for
/// several things of the same size.
int C3dRecordShapes::likeness(const C3dRecordShape& record) const {
    const std::string_view elements =
        record.isGroup() ? std::string_view() : bytes_.substr(record.elements(), record.size);
    const bool isText =
        std::all_of(elements.begin(), elements.end(), [](char c) { return c >= 0x20 && c < 0x7F; });
    if (record.type == -1) {
        return isText ? 4 : 1;
    }
    bool isReal = record.type == 4;
    for (std::uint64_t i = 0; isReal && i + 4 <= elements.size(); i += 4) {
        const float size = std::abs(realAt(&elements[i], processor_));
        isReal = size == 0 || (size > 1e-7F && size < 1e9F);
    }
    return isReal ? 3 : record.type == 2 ? 2 : 1;
}

int C3dRecordShapes::meritOf(std::uint64_t start, const C3dPatch& patch) const {
    const auto record = at(start, patch);
    if (!record || record->distance == 0 || !record->isWhole() || !isNamed(*record)) {
        return 0;
    }
    // Behind a zero, which ends the parameters, more has to speak for a record.
    const bool isLinked = isWhole(record->end) || (isEnd(record->end) && !isEnd(start));
    return isLinked ? likeness(*record) : 0;
}

int C3dRecordShapes::groupBehind(std::uint64_t start) const {
    C3dRecordShape record;
    record.start = start;
    record.nameLength = static_cast<std::uint64_t>(std::abs(signedByte(start)));
    if (record.content() > bytes_.size()) {
        return 0;
    }
    record.distance = wordAt(&bytes_[record.pointer()], processor_);
    const auto next = record.distance == 0 ? std::nullopt : at(record.stated());
    return next && !next->isGroup() && next->isWhole() ? next->group : 0;
}

std::optional<C3dPatch> C3dRecordShapes::findPatch(std::uint64_t start, int guessedGroup) const {
    if (start + 4 > bytes_.size()) {
        return std::nullopt;
    }
    std::optional<C3dPatch> best;
    int most = 0;
    const auto consider = [&](std::uint64_t offset, int value) {
        const C3dPatch patch{offset, static_cast<std::uint8_t>(value)};
        const int merit = patch.value == byte(offset) ? 0 : meritOf(start, patch);
        if (merit > most) {
            best = patch;
            most = merit;
        }
    };
    const auto considerAll = [&](std::uint64_t offset) {
        for (int value = 0; offset < bytes_.size() && value < 256; ++value) {
            consider(offset, value);
        }
    };
    const auto length = static_cast<std::uint64_t>(std::abs(signedByte(start)));
    const std::uint64_t type = start + 2 + length + 2;
    if (signedByte(start + 1) <= 0) {
        consider(start + 1, guessedGroup);
    }
    if (signedByte(start + 1) >= 0) {
        consider(start + 1, -groupBehind(start));
    }
    if (signedByte(start + 1) > 0 && length > 0 && type + 2 <= bytes_.size()) {
        for (const int known : {-1, 4, 2, 1}) {
            consider(type, known);
        }
        for (std::uint64_t at = 0; at < std::min<std::uint64_t>(byte(type + 1), 7); ++at) {
            considerAll(type + 2 + at);
        }
        considerAll(type + 1);
    }
    considerAll(start);
    return best;
}

} // namespace tarn::kit
