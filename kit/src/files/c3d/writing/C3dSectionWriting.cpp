// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/c3d/writing/C3dSectionWriting.h"

#include "files/c3d/C3dSection.h"
#include "files/c3d/writing/C3dRecordWriting.h"
#include "files/c3d/writing/C3dSamples.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace tarn::kit {

namespace {

class SectionWriter {
public:
    SectionWriter(const C3dParameters& parameters, C3dProcessor processor, const C3dSource* source)
        : parameters_(parameters), processor_(processor), source_(source) {}

    std::string bytes() const {
        std::vector<Placed> records;
        for (const C3dGroup& group : parameters_.groups()) {
            addRecords(group, records);
        }
        if (source_ != nullptr) {
            std::stable_sort(records.begin(), records.end(),
                             [](const Placed& a, const Placed& b) { return a.offset < b.offset; });
        }
        std::string all = {1, c3dKey, 0, static_cast<char>(processor_)};
        for (Placed& one : records) {
            setDistance(one.record, processor_);
            all += one.record;
        }
        all.append(2, '\0');
        const std::uint64_t blocks = (all.size() + c3dBlock - 1) / c3dBlock;
        if (blocks > 255) {
            refuseC3d("its parameters take " + std::to_string(blocks) + " blocks, more than 255");
        }
        all[2] = static_cast<char>(blocks);
        return all;
    }

private:
    struct Placed {
        std::uint64_t offset; ///< in the source; behind all of them for what is new
        std::string record;
    };

    /// The bytes of a record of the source if it says the same there.
    std::string keptRecord(std::uint64_t offset, bool same) const {
        if (source_ == nullptr || !same || offset == 0) {
            return {};
        }
        const std::vector<C3dRecord>& records = source_->section().records;
        const auto found = std::lower_bound(
            records.begin(), records.end(), offset,
            [](const C3dRecord& record, std::uint64_t at) { return record.start < at; });
        if (found == records.end() || found->start != offset || found->isMended) {
            return {};
        }
        return std::string(source_->bytes().substr(found->start, found->end - found->start));
    }

    const C3dGroup* sourceGroup(const C3dGroup& group) const {
        if (source_ == nullptr) {
            return nullptr;
        }
        for (const C3dGroup& other : source_->info().parameters.groups()) {
            if (other.id == group.id) {
                return &other;
            }
        }
        return nullptr;
    }

    void addRecords(const C3dGroup& group, std::vector<Placed>& records) const {
        constexpr std::uint64_t atTheEnd = std::numeric_limits<std::uint64_t>::max();
        const C3dGroup* const was = sourceGroup(group);
        if (!group.name.empty()) { // one without a name has no record
            const bool same = was != nullptr && was->name == group.name &&
                              was->description == group.description && was->locked == group.locked;
            std::string record = keptRecord(group.offset, same);
            if (record.empty()) {
                record = recordOf(group, processor_);
            }
            records.push_back({group.offset == 0 ? atTheEnd : group.offset, std::move(record)});
        }
        for (const C3dParameter& parameter : group.parameters) {
            bool same = false;
            if (was != nullptr) {
                for (const C3dParameter& old : was->parameters) {
                    same = same || (old.offset == parameter.offset && old == parameter);
                }
            }
            std::string record = keptRecord(parameter.offset, same);
            if (record.empty()) {
                record = recordOf(group, parameter, processor_);
            }
            records.push_back(
                {parameter.offset == 0 ? atTheEnd : parameter.offset, std::move(record)});
        }
    }

    const C3dParameters& parameters_;
    C3dProcessor processor_;
    const C3dSource* source_;
};

} // namespace

void numberGroups(C3dParameters& parameters) {
    std::vector<bool> taken(128);
    for (const C3dGroup& group : parameters.groups()) {
        if (group.id < 0 || group.id > 127 ||
            (group.id > 0 && taken[static_cast<std::size_t>(group.id)])) {
            refuseC3d("the group " + group.name + " has a number that is not its own");
        }
        taken[static_cast<std::size_t>(group.id)] = group.id > 0;
    }
    for (C3dGroup& group : parameters.groups()) {
        if (group.id == 0) {
            const auto free = std::find(taken.begin() + 1, taken.end(), false);
            if (free == taken.end()) {
                refuseC3d("it has more than 127 groups of parameters");
            }
            *free = true;
            group.id = static_cast<int>(free - taken.begin());
        }
    }
}

std::string sectionBytes(const C3dParameters& parameters, C3dProcessor processor,
                         const C3dSource* source) {
    return SectionWriter(parameters, processor, source).bytes();
}

} // namespace tarn::kit
