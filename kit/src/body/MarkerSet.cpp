// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/MarkerSet.h>

#include "body/ShippedMarkerSets.h"
#include "files/NameList.h"

#include <tarn_kit/body/HumanBody.h>
#include <tarn_kit/files/SettingsFile.h>
#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <optional>
#include <system_error>
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

/// What a marker of a document may have, beside sides.
constexpr std::array<const char*, 4> otherKeys = {"Segment", "Along", "Weight", "Description"};

/// Reads a set and says where in the document it is wrong.
class SetReader {
public:
    /// `text` is the document, empty where that is not at hand.
    SetReader(const Settings& settings, std::string source, std::string_view text)
        : settings_(settings), source_(std::move(source)), text_(text) {}

    MarkerSet read() const {
        const auto root = settings_.subSettings("MarkerSet");
        if (root == nullptr) {
            fail("", 0, "has no element MarkerSet");
        }
        checkKeys(*root, "MarkerSet", "MarkerSet", {"Name", "Description", "Markers"});
        MarkerSet set;
        set.name = root->value("Name", "");
        set.description = root->value("Description", "");
        const auto markers = root->subSettings("Markers");
        if (markers == nullptr) {
            fail("MarkerSet", 0, "MarkerSet has no element Markers");
        }
        for (const std::string& name : namesIn(*markers)) {
            set.markers.push_back(readMarker(*markers, name));
        }
        if (set.markers.empty()) {
            fail(markersPath, 0, "holds no markers");
        }
        return set;
    }

private:
    static constexpr const char* markersPath = "MarkerSet.Markers";

    static std::vector<std::string> namesIn(const Settings& group) {
        std::vector<std::string> names;
        for (const auto& [name, text] : group.values()) {
            if (name != "<xmlcomment>" && name != "<xmlattr>") {
                names.push_back(name);
            }
        }
        return names;
    }

    [[noreturn]] void fail(const std::string& path, std::size_t index,
                           const std::string& reason) const {
        const auto place = path.empty() ? std::nullopt : placeOf(text_, path, index);
        throw place ? MarkerSetError(ReadError(source_, place->line, place->column, reason).what())
                    : MarkerSetError(printable(source_) + ": " + reason);
    }

    /// What nobody reads is a slip of who wrote it.
    void checkKeys(const Settings& group, const std::string& name, const std::string& path,
                   const std::vector<std::string>& known) const {
        for (const std::string& key : namesIn(group)) {
            std::string keyPath = path;
            keyPath.append(".").append(key);
            if (std::find(known.begin(), known.end(), key) == known.end()) {
                fail(keyPath, 0,
                     printable(name) + ": there is no '" + printable(key) + "' in " +
                         nameList(known));
            }
            if (group.valueList(key).size() > 1) {
                fail(keyPath, 1, printable(name) + ": " + key + " stands there more than once");
            }
        }
    }

    MarkerPlace readMarker(const Settings& markers, const std::string& name) const {
        const std::string path = markersPath + ("." + name);
        if (name.find('.') != std::string::npos) {
            fail(markersPath, 0,
                 printable(name) + ": names of markers hold no '.' here; without it, the marker "
                                   "is found all the same");
        }
        if (markers.valueList(name).size() > 1) {
            fail(path, 1, printable(name) + ": stands there more than once");
        }
        const auto settings = markers.subSettings(name);
        std::vector<std::string> known(otherKeys.begin(), otherKeys.end());
        for (const Side& side : sides) {
            known.emplace_back(side.name);
        }
        checkKeys(*settings, name, path, known);
        MarkerPlace marker;
        marker.name = name;
        marker.segment = settings->value("Segment", "");
        static const HumanBody body;
        if (marker.segment.empty()) {
            fail(path, 0, printable(name) + ": has no Segment");
        }
        if (body.jointOf(marker.segment) < 0) {
            fail(path + ".Segment", 0,
                 printable(name) + ": Segment '" + printable(marker.segment) +
                     "' is no segment of a body; those are " + nameList(segmentsOf(body)));
        }
        marker.along = number(*settings, name, "Along", 0, -1, 2);
        for (std::size_t i = 0; i < sides.size(); ++i) {
            const double offset = number(*settings, name, sides[i].name, 0, -1, 1);
            marker.offset[sides[i].axis] += sides[i].sign * offset;
            if (sides[i].sign < 0 && settings->subSettings(sides[i].name) != nullptr &&
                settings->subSettings(sides[i - 1].name) != nullptr) {
                fail(path + "." + sides[i].name, 0,
                     printable(name) + ": " + sides[i].name + " stands beside " +
                         sides[i - 1].name);
            }
        }
        marker.weight = number(*settings, name, "Weight", 1, 0, 1000);
        marker.description = settings->value("Description", "");
        return marker;
    }

    static std::vector<std::string> segmentsOf(const HumanBody& body) {
        std::vector<std::string> names;
        for (const HumanJoint& joint : body.joints()) {
            names.push_back(joint.name);
        }
        return names;
    }

    double number(const Settings& marker, const std::string& name, const char* key, double usual,
                  double least, double most) const {
        const std::string text = marker.value(key, "");
        if (text.empty()) {
            return usual;
        }
        const std::optional<double> value = numberIn<double>(text);
        if (!value || !(*value >= least && *value <= most)) {
            fail(std::string(markersPath) + "." + name + "." + key, 0,
                 printable(name) + ": " + key + " '" + printable(text) +
                     "': expected a number from " + textOf(least) + " to " + textOf(most));
        }
        return *value;
    }

    const Settings& settings_;
    std::string source_;
    std::string_view text_;
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
    std::error_code error;
    if (!std::filesystem::exists(nameOrPath, error)) {
        throw MarkerSetError(printable(nameOrPath) +
                             ": is neither a file that is there nor the name of a shipped set (" +
                             nameList(shippedNames()) + ")");
    }
    try {
        const std::string text = loadSettings(settings, nameOrPath);
        return SetReader(settings, nameOrPath, text).read();
    } catch (const ReadError& unread) {
        throw MarkerSetError(unread.what());
    }
}

MarkerSet MarkerSet::of(const Settings& settings, const std::string& source) {
    return SetReader(settings, source, "").read();
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
