// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/MarkerSet.h>

#include "body/ShippedMarkerSets.h"
#include "files/NameList.h"

#include <tarn_kit/body/HumanBody.h>
#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <optional>
#include <utility>

namespace tarn::kit {

namespace {

/// What of a marker's name tells it from others, however it is written.
std::string plainName(std::string_view name) {
    std::string plain = lowered(name);
    plain.erase(std::remove_if(plain.begin(), plain.end(),
                               [](char c) { return c == ' ' || c == '_' || c == '-' || c == '.'; }),
                plain.end());
    return plain;
}

/// A way from the segment: its name in documents, the axis and the sign.
struct Side {
    const char* name;
    std::size_t axis;
    double sign;
};

constexpr std::array<Side, 6> sides = {{{"Left", 0, 1},
                                        {"Right", 0, -1},
                                        {"Up", 1, 1},
                                        {"Down", 1, -1},
                                        {"Front", 2, 1},
                                        {"Back", 2, -1}}};

std::string textOf(double number) {
    std::array<char, 32> text = {};
    const auto result = std::to_chars(text.data(), text.data() + text.size(), number);
    return {text.data(), result.ptr};
}

/// Reads one marker; `place` names it in errors.
class MarkerReader {
public:
    MarkerReader(const Settings& settings, std::string place)
        : settings_(settings), place_(std::move(place)) {}

    MarkerPlace read(const std::string& name) const {
        MarkerPlace marker;
        marker.name = name;
        marker.segment = settings_.value("Segment", "");
        static const HumanBody body;
        if (marker.segment.empty()) {
            fail("has no Segment");
        }
        if (body.jointOf(marker.segment) < 0) {
            fail("Segment '" + printable(marker.segment) + "' is no segment of a body");
        }
        marker.along = number("Along", 0, -1, 2);
        for (const Side& side : sides) {
            marker.offset[side.axis] += side.sign * number(side.name, 0, -1, 1);
        }
        marker.weight = number("Weight", 1, 0, 1000);
        marker.description = settings_.value("Description", "");
        return marker;
    }

private:
    [[noreturn]] void fail(const std::string& reason) const {
        throw MarkerSetError(place_ + ": " + reason);
    }
    double number(const char* key, double usual, double least, double most) const {
        const std::string text = settings_.value(key, "");
        if (text.empty()) {
            return usual;
        }
        const std::optional<double> value = numberIn<double>(text);
        if (!value || !(*value >= least && *value <= most)) {
            fail(std::string(key) + " '" + printable(text) + "': expected a number from " +
                 textOf(least) + " to " + textOf(most));
        }
        return *value;
    }

    const Settings& settings_;
    std::string place_;
};

} // namespace

MarkerSetError::~MarkerSetError() = default;

int MarkerSet::markerOf(const std::string& markerName) const {
    const auto marker = std::find_if(markers.begin(), markers.end(),
                                     [&](const MarkerPlace& m) { return m.name == markerName; });
    return marker == markers.end() ? -1 : static_cast<int>(marker - markers.begin());
}

std::vector<std::string> MarkerSet::shippedNames() {
    std::vector<std::string> names;
    for (const ShippedMarkerSet& set : shippedMarkerSets()) {
        names.emplace_back(set.name);
    }
    return names;
}

MarkerSet MarkerSet::load(const std::string& nameOrPath) {
    Settings settings;
    for (const ShippedMarkerSet& set : shippedMarkerSets()) {
        if (nameOrPath == set.name) {
            settings.loadSettingsFromString(set.document);
            return of(settings, nameOrPath);
        }
    }
    if (!settings.loadSettingsFromFile(nameOrPath)) {
        throw MarkerSetError(printable(nameOrPath) +
                             ": is not a marker set document that can be read, nor the name of a "
                             "shipped set (" +
                             nameList(shippedNames()) + ")");
    }
    return of(settings, nameOrPath);
}

MarkerSet MarkerSet::of(const Settings& settings, const std::string& source) {
    const std::string file = printable(source);
    const auto root = settings.subSettings("MarkerSet");
    if (root == nullptr) {
        throw MarkerSetError(file + ": has no element MarkerSet");
    }
    MarkerSet set;
    set.name = root->value("Name", "");
    set.description = root->value("Description", "");
    const auto markers = root->subSettings("Markers");
    if (markers == nullptr) {
        throw MarkerSetError(file + ": MarkerSet has no element Markers");
    }
    for (const auto& [name, text] : markers->values()) {
        const auto marker = markers->subSettings(name);
        if (name == "<xmlcomment>" || name == "<xmlattr>" || marker == nullptr) {
            continue;
        }
        set.markers.push_back(MarkerReader(*marker, file + ": " + printable(name)).read(name));
    }
    if (set.markers.empty()) {
        throw MarkerSetError(file + ": holds no markers");
    }
    return set;
}

std::shared_ptr<Settings> MarkerSet::toSettings() const {
    auto settings = std::make_shared<Settings>();
    settings->setValue("MarkerSet.Name", name);
    settings->setValue("MarkerSet.Description", description);
    for (const MarkerPlace& marker : markers) {
        const std::string path = "MarkerSet.Markers." + marker.name + ".";
        settings->setValue(path + "Segment", marker.segment);
        settings->setValue(path + "Along", textOf(marker.along));
        for (const Side& side : sides) {
            if (side.sign * marker.offset[side.axis] > 0) {
                settings->setValue(path + side.name, textOf(std::abs(marker.offset[side.axis])));
            }
        }
        settings->setValue(path + "Weight", textOf(marker.weight));
        if (!marker.description.empty()) {
            settings->setValue(path + "Description", marker.description);
        }
    }
    return settings;
}

int markerNamed(std::string_view name, const std::vector<std::string>& names) {
    const auto exact = std::find(names.begin(), names.end(), name);
    if (exact != names.end()) {
        return static_cast<int>(exact - names.begin());
    }
    const std::string plain = plainName(name);
    int found = -1;
    for (std::size_t i = 0; i < names.size() && !plain.empty(); ++i) {
        if (plainName(names[i]) == plain) {
            if (found >= 0) {
                return -1;
            }
            found = static_cast<int>(i);
        }
    }
    return found;
}

} // namespace tarn::kit
