// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/c3d/C3dMending.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tarn::kit {

namespace {

/// More parameters than this do not lose their group by damage to a byte.
constexpr std::size_t mostLost = 64;

/// What readers look for. Names of other things are not a letter away from any of these.
struct KnownGroup {
    const char* name;
    std::vector<const char*> parameters;
};

const std::vector<KnownGroup>& knownGroups() {
    static const std::vector<KnownGroup> groups = {
        {"POINT",
         {"USED", "FRAMES", "DATA_START", "SCALE", "RATE", "LABELS", "DESCRIPTIONS", "UNITS"}},
        {"ANALOG",
         {"USED", "LABELS", "DESCRIPTIONS", "GEN_SCALE", "SCALE", "OFFSET", "UNITS", "RATE",
          "FORMAT"}},
        {"TRIAL", {"ACTUAL_START_FIELD", "ACTUAL_END_FIELD"}},
        {"EVENT", {"USED", "CONTEXTS", "LABELS", "TIMES", "SUBJECTS"}},
        {"ROTATION", {"USED", "DATA_START", "RATE", "RATIO", "LABELS"}},
    };
    return groups;
}

/// Whether a group is one of those, and has such a parameter.
bool isKnown(std::string_view group, std::string_view parameter) {
    const auto& all = knownGroups();
    return std::any_of(all.begin(), all.end(), [&](const KnownGroup& known) {
        const auto& names = known.parameters;
        return group == known.name &&
               std::find(names.begin(), names.end(), parameter) != names.end();
    });
}

bool isOneLetterOff(std::string_view a, std::string_view b) {
    int different = 0;
    for (std::size_t i = 0; a.size() == b.size() && i < a.size(); ++i) {
        different += a[i] == b[i] ? 0 : 1;
    }
    return a.size() == b.size() && different == 1;
}

class Mender {
public:
    explicit Mender(C3dSection& section)
        : section_(section), groups_(section.parameters.groups()) {}

    void mend() {
        nameGroups();
        moveLost();
        moveMisfiled();
        for (const C3dGroup& group : groups_) {
            if (group.offset == 0) {
                find("group " + std::to_string(group.id), firstOf(group),
                     "parameters without their group", "", "they are kept under no name");
            }
        }
        for (const KnownGroup& known : knownGroups()) {
            recogniseGroup(known);
            recogniseParameters(known);
        }
    }

private:
    void find(std::string place, std::uint64_t offset, std::string found, std::string believed,
              std::string reason) {
        section_.findings.push_back({std::move(place), offset, std::move(found),
                                     std::move(believed), std::move(reason), true});
    }

    std::uint64_t firstOf(const C3dGroup& group) const {
        return group.parameters.empty() ? section_.start : group.parameters.front().offset;
    }

    /// The record that starts there; the end of them without one.
    std::vector<C3dRecord>::const_iterator recordAt(std::uint64_t offset) const {
        const auto& records = section_.records;
        const auto found = std::lower_bound(
            records.begin(), records.end(), offset,
            [](const C3dRecord& record, std::uint64_t at) { return record.start < at; });
        return found != records.end() && found->start == offset ? found : records.end();
    }

    // Groups that are described under another number than their parameters have.

    void nameGroups() {
        for (C3dGroup& group : groups_) {
            if (group.offset != 0 || group.parameters.empty()) {
                continue;
            }
            const auto first = recordAt(firstOf(group));
            if (first == section_.records.begin() || first == section_.records.end()) {
                continue;
            }
            const std::uint64_t before = (first - 1)->start;
            if (takeSpare(group, before) || takeOver(group, before)) {
                find("group " + std::to_string(group.id), before, "another number", group.name,
                     "its parameters follow it");
            }
        }
        removeEmpty();
    }

    /// Groups that have lost everything to others.
    void removeEmpty() {
        groups_.erase(std::remove_if(groups_.begin(), groups_.end(),
                                     [](const C3dGroup& group) {
                                         return group.offset == 0 && group.parameters.empty();
                                     }),
                      groups_.end());
    }

    static void describe(C3dGroup& group, C3dGroup from) {
        group.name = std::move(from.name);
        group.description = std::move(from.description);
        group.locked = from.locked;
        group.offset = from.offset;
    }

    /// Gives a group the description at `offset`, or one of its number, if no other group has it.
    bool takeSpare(C3dGroup& group, std::uint64_t offset) {
        auto& spares = section_.spareGroups;
        const auto found = std::find_if(spares.begin(), spares.end(), [&](const C3dGroup& spare) {
            return offset == 0 ? spare.id == group.id : spare.offset == offset;
        });
        if (found == spares.end()) {
            return false;
        }
        describe(group, std::move(*found));
        spares.erase(found);
        return true;
    }

    /// The same if the group that has it has no parameters, or another description is left for it.
    bool takeOver(C3dGroup& group, std::uint64_t offset) {
        for (C3dGroup& other : groups_) {
            if (other.offset != offset || &other == &group) {
                continue;
            }
            C3dGroup described;
            describe(described, other);
            if (!takeSpare(other, 0)) {
                if (!other.parameters.empty()) {
                    return false;
                }
                describe(other, C3dGroup());
            }
            describe(group, std::move(described));
            return true;
        }
        return false;
    }

    // Parameters of a number that no group has, among those of one group.

    void moveLost() {
        const bool isAnyLost = std::any_of(groups_.begin(), groups_.end(),
                                           [](const C3dGroup& group) { return group.offset == 0; });
        const std::vector<Place> places = isAnyLost ? placesOfRecords() : std::vector<Place>();
        for (C3dGroup& group : groups_) {
            auto& lost = group.parameters;
            if (group.offset != 0 || lost.size() > mostLost) {
                continue;
            }
            for (std::size_t k = lost.size(); k-- > 0;) {
                C3dGroup* const home = homeOf(lost[k], places);
                if (home != nullptr && home->find(lost[k].name) == nullptr) {
                    find(home->name + ":" + lost[k].name, lost[k].offset + 1,
                         "a group of number " + std::to_string(group.id), home->name,
                         "there is no such group, and it lies among the parameters of this one");
                    insert(*home, std::move(lost[k]));
                    lost.erase(lost.begin() + static_cast<std::ptrdiff_t>(k));
                }
            }
        }
        removeEmpty();
    }

    static void insert(C3dGroup& group, C3dParameter parameter) {
        const auto behind = std::find_if(
            group.parameters.begin(), group.parameters.end(),
            [&](const C3dParameter& other) { return other.offset > parameter.offset; });
        group.parameters.insert(behind, std::move(parameter));
    }

    struct Place {
        std::uint64_t offset;
        C3dGroup* group; ///< that the record there describes or belongs to
    };

    // Parameters that one group lacks, lie among its others, and have the number of another group.

    void moveMisfiled() {
        for (const KnownGroup& known : knownGroups()) {
            for (const char* const name : known.parameters) {
                const bool isMissing = section_.parameters.find(known.name) != nullptr &&
                                       section_.parameters.find(known.name, name) == nullptr;
                for (std::size_t i = 0; isMissing && i < groups_.size(); ++i) {
                    moveMisfiled(groups_[i], known.name, name);
                }
            }
        }
    }

    void moveMisfiled(C3dGroup& from, const char* groupName, const char* name) {
        const bool isCandidate = from.offset != 0 && !isKnown(from.name, name);
        const C3dParameter* const found = isCandidate ? from.find(name) : nullptr;
        C3dGroup* const home = found == nullptr ? nullptr : homeAmong(*found, placesOfRecords());
        if (home != nullptr && home != &from && home->name == groupName) {
            find(home->name + ":" + name, found->offset + 1, "a parameter of " + from.name,
                 home->name, "it lies among the parameters of this one");
            const auto at = from.parameters.begin() + (found - from.parameters.data());
            insert(*home, std::move(*at));
            from.parameters.erase(at);
        }
    }

    /// Of the groups that have a record, in the order of the file.
    std::vector<Place> placesOfRecords() {
        std::vector<Place> places;
        for (C3dGroup& group : groups_) {
            if (group.offset == 0) {
                continue;
            }
            places.push_back({group.offset, &group});
            for (const C3dParameter& parameter : group.parameters) {
                places.push_back({parameter.offset, &group});
            }
        }
        std::sort(places.begin(), places.end(),
                  [](const Place& a, const Place& b) { return a.offset < b.offset; });
        return places;
    }

    /// The groups of the records before and behind a parameter, and whether the latter describes
    /// its group.
    struct Neighbours {
        C3dGroup* before = nullptr;
        C3dGroup* after = nullptr;
        bool isNewGroup = false;
    };
    Neighbours neighboursOf(const C3dParameter& parameter, const std::vector<Place>& places) const {
        const auto at = recordAt(parameter.offset);
        const auto end = section_.records.end();
        if (at == section_.records.begin() || at == end || at + 1 == end) {
            return {};
        }
        const auto groupAt = [&places](std::uint64_t offset) -> C3dGroup* {
            const auto found = std::lower_bound(
                places.begin(), places.end(), offset,
                [](const Place& place, std::uint64_t start) { return place.offset < start; });
            return found != places.end() && found->offset == offset ? found->group : nullptr;
        };
        C3dGroup* const after = groupAt((at + 1)->start);
        const bool isNewGroup = after != nullptr && after->offset == (at + 1)->start;
        return {groupAt((at - 1)->start), after, isNewGroup};
    }

    /// The group between whose records a parameter lies; null if there is none.
    C3dGroup* homeAmong(const C3dParameter& parameter, const std::vector<Place>& places) const {
        const Neighbours neighbours = neighboursOf(parameter, places);
        return neighbours.before == neighbours.after ? neighbours.before : nullptr;
    }

    /// The same, or the one behind whose records it lies, and before another group.
    C3dGroup* homeOf(const C3dParameter& parameter, const std::vector<Place>& places) const {
        const Neighbours neighbours = neighboursOf(parameter, places);
        return neighbours.isNewGroup ? neighbours.before : homeAmong(parameter, places);
    }

    // Names.

    void recogniseGroup(const KnownGroup& known) {
        if (section_.parameters.find(known.name) != nullptr) {
            return;
        }
        const auto isIt = [&known](const C3dGroup& group) {
            return isOneLetterOff(group.name, known.name) &&
                   group.find(known.parameters.front()) != nullptr;
        };
        const auto found = std::find_if(groups_.begin(), groups_.end(), isIt);
        if (found != groups_.end()) {
            find(found->name, found->offset, found->name, known.name,
                 "one letter is different, and there is no such group otherwise");
            found->name = known.name;
        }
    }

    void recogniseParameters(const KnownGroup& known) {
        for (C3dGroup& group : groups_) {
            if (group.name != known.name) {
                continue;
            }
            for (const char* const name : known.parameters) {
                recogniseParameter(group, name);
            }
        }
    }

    void recogniseParameter(C3dGroup& group, const char* name) {
        if (section_.parameters.find(group.name, name) != nullptr) {
            return;
        }
        const auto found = std::find_if(
            group.parameters.begin(), group.parameters.end(),
            [name](const C3dParameter& one) { return isOneLetterOff(one.name, name); });
        if (found != group.parameters.end()) {
            find(group.name + ":" + found->name, found->offset, found->name, name,
                 "one letter is different, and there is no such parameter otherwise");
            found->name = name;
        }
    }

    C3dSection& section_;
    std::vector<C3dGroup>& groups_;
};

} // namespace

void mendParameters(C3dSection& section) { Mender(section).mend(); }

} // namespace tarn::kit
