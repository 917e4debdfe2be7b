// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/c3d/C3dDescription.h"

#include "files/c3d/C3dHeader.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <set>
#include <utility>

namespace tarn::kit {

namespace {

namespace header = c3d_header;

/// The name of something that the file does not name.
std::string nameOr(const std::string& name, std::size_t number) {
    return name.empty() ? "*" + std::to_string(number) : name;
}

/// An element of a list that may be shorter.
std::string textAt(const std::vector<std::string>& texts, std::size_t index) {
    return index < texts.size() ? texts[index] : std::string();
}

double numberAt(const std::vector<double>& numbers, std::size_t index, double otherwise) {
    return index < numbers.size() && std::isfinite(numbers[index]) ? numbers[index] : otherwise;
}

/// Units as they are spelled in files, up to the four characters that some of them are cut off at.
struct Unit {
    const char* start;
    const char* symbol;
    double metres;
};
constexpr std::array<Unit, 10> units{{
    {"mm", "mm", 0.001},
    {"mill", "mm", 0.001},
    {"cm", "cm", 0.01},
    {"cent", "cm", 0.01},
    {"met", "m", 1},
    {"m", "m", 1},
    {"in", "in", 0.0254},
    {"ft", "ft", 0.3048},
    {"feet", "ft", 0.3048},
    {"foot", "ft", 0.3048},
}};

/// Whether `text` is the unit, or, for those of more than two letters, starts with it.
bool isSpelled(const std::string& text, const std::string& start) {
    const bool inches = start == "in" && text.compare(0, 4, "inch") == 0;
    return text == start || inches ||
           (start.size() > 2 && text.compare(0, start.size(), start) == 0);
}

const Unit* findUnit(const std::string& text) {
    std::string small;
    for (const char c : text) {
        if (c != ' ' && c != '.' && c != '[' && c != ']' && c != '(' && c != ')') {
            small += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
        }
    }
    const auto* const found = std::find_if(units.begin(), units.end(), [&small](const Unit& unit) {
        return isSpelled(small, unit.start);
    });
    return found == units.end() ? nullptr : found;
}

/// Where a parameter is, or where its group is that lacks it.
std::uint64_t offsetOf(const C3dParameters& parameters, const char* group, const char* name) {
    if (const C3dParameter* const found = parameters.find(group, name)) {
        return found->offset;
    }
    const C3dGroup* const found = parameters.find(group);
    return found == nullptr ? 0 : found->offset;
}

/// Says where labels are missing, too many or not different.
void reportLabels(const C3dParameters& parameters, const char* group, std::size_t count,
                  C3dJudge& judge) {
    const std::vector<std::string> labels = parameters.texts(group, "LABELS");
    const std::string place = std::string(group) + ":LABELS";
    const std::uint64_t offset = offsetOf(parameters, group, "LABELS");
    if (labels.size() < count) {
        judge.contradict({place, offset, std::to_string(labels.size()) + " labels",
                          std::to_string(count), "the others are called after their numbers"});
    } else if (labels.size() > count) {
        judge.note({place, offset, std::to_string(labels.size()) + " labels", std::to_string(count),
                    "the others belong to nothing"});
    }
    std::set<std::string> known;
    std::string repeated;
    for (std::size_t i = 0; i < std::min(count, labels.size()); ++i) {
        if (!labels[i].empty() && !known.insert(labels[i]).second && repeated.size() < 200) {
            repeated += (repeated.empty() ? "" : ", ") + labels[i];
        }
    }
    if (!repeated.empty()) {
        judge.remark({place, offset, "labels that repeat: " + repeated, "",
                      "they are told apart by their order only"});
    }
}

/// The events of a header, whose labels have so many characters.
std::vector<C3dEvent> readHeaderEvents(std::string_view bytes, C3dProcessor processor, int count,
                                       std::size_t width) {
    std::vector<C3dEvent> events;
    const auto at = [bytes](int word) { return &bytes[header::offsetOf(word)]; };
    for (int i = 0; i < count; ++i) {
        C3dEvent event;
        event.time = static_cast<double>(realAt(at(header::eventTimes + 2 * i), processor));
        if (!std::isfinite(event.time)) {
            continue;
        }
        C3dParameter label;
        label.type = C3dType::Text;
        label.dimensions = {static_cast<std::uint8_t>(width)};
        label.data = bytes.substr(
            header::offsetOf(header::eventLabels) + static_cast<std::size_t>(i) * width, width);
        event.label = label.text();
        event.inHeader = true;
        event.shown = at(header::eventFlags)[i] == 0;
        events.push_back(std::move(event));
    }
    return events;
}

bool isPrintable(char c) { return c > ' ' && c < 127; }

/// Whether events make sense that no key announces.
bool makeSense(const std::vector<C3dEvent>& events) {
    constexpr double longest = 1e6; // seconds
    return std::all_of(events.begin(), events.end(), [](const C3dEvent& event) {
        const bool isNamed =
            !event.label.empty() && std::all_of(event.label.begin(), event.label.end(),
                                                [](char c) { return c == ' ' || isPrintable(c); });
        return isNamed && event.time >= 0 && event.time < longest;
    });
}

/// Those of a header without the key that came with labels of four characters: before, there were
/// two for each, and some programs leave the key out.
std::vector<C3dEvent> headerEventsWithoutKey(std::string_view bytes, C3dProcessor processor,
                                             int stated, C3dJudge& judge) {
    constexpr std::size_t shortLabel = 2;
    constexpr std::size_t longLabel = 4;
    std::vector<C3dEvent> events;
    if (stated > 0 && stated <= header::maxEvents) {
        const auto count = static_cast<std::size_t>(stated);
        const std::string_view labels =
            bytes.substr(header::offsetOf(header::eventLabels), count * longLabel);
        const std::string_view rest = labels.substr(count * shortLabel);
        const bool isLong = std::any_of(rest.begin(), rest.end(), isPrintable);
        events = readHeaderEvents(bytes, processor, stated, isLong ? longLabel : shortLabel);
        if (events.size() != count || !makeSense(events)) {
            events.clear();
        }
    }
    if (stated != 0) {
        judge.remark({"header word 151", header::offsetOf(header::eventCount),
                      std::to_string(stated) + " events without their key in word 150",
                      std::to_string(events.size()),
                      events.empty() ? "their times and labels make no sense"
                                     : "their times and labels make sense"});
    }
    return events;
}

/// The events of the header.
std::vector<C3dEvent> headerEvents(std::string_view bytes, C3dProcessor processor,
                                   C3dJudge& judge) {
    const auto at = [bytes](int word) { return &bytes[header::offsetOf(word)]; };
    const int stated = wordAt(at(header::eventCount), processor);
    if (wordAt(at(header::eventKey), processor) != header::key) {
        return headerEventsWithoutKey(bytes, processor, stated, judge);
    }
    const int count = std::min(stated, header::maxEvents);
    if (stated > count) {
        judge.contradict({"header word 151", header::offsetOf(header::eventCount),
                          std::to_string(stated) + " events", std::to_string(count),
                          "the header holds no more"});
    }
    constexpr std::size_t label = 4;
    return readHeaderEvents(bytes, processor, count, label);
}

/// Says where the number of events is not that of their times.
void reportEvents(const C3dParameters& parameters, std::size_t count, std::size_t times,
                  C3dJudge& judge) {
    const C3dParameter* const used = parameters.find("EVENT", "USED");
    if (used == nullptr || used->size() == 0) {
        return;
    }
    if (used->number() != static_cast<double>(count)) {
        judge.contradict({"EVENT:USED", used->offset, numberText(used->number()),
                          std::to_string(count), "there are as many times"});
    } else if (times > count) {
        judge.contradict({"EVENT:TIMES", offsetOf(parameters, "EVENT", "TIMES"),
                          std::to_string(times) + " times", std::to_string(count),
                          "EVENT:USED says so"});
    }
}

void reportScales(const C3dParameters& parameters, std::size_t channels, C3dJudge& judge) {
    if (channels == 0) {
        return;
    }
    const std::size_t scales = parameters.numbers("ANALOG", "SCALE").size();
    if (scales < channels) {
        judge.contradict({"ANALOG:SCALE", offsetOf(parameters, "ANALOG", "SCALE"),
                          std::to_string(scales) + " scales", std::to_string(channels),
                          "the others are 1"});
    }
    const std::size_t offsets = parameters.numbers("ANALOG", "OFFSET").size();
    if (offsets > 0 && offsets < channels) {
        judge.contradict({"ANALOG:OFFSET", offsetOf(parameters, "ANALOG", "OFFSET"),
                          std::to_string(offsets) + " offsets", std::to_string(channels),
                          "the others are 0"});
    }
    const std::vector<double> general = parameters.numbers("ANALOG", "GEN_SCALE");
    if (!general.empty() && (general[0] == 0 || !std::isfinite(general[0]))) {
        judge.remark({"ANALOG:GEN_SCALE", offsetOf(parameters, "ANALOG", "GEN_SCALE"),
                      numberText(general[0]), "", "all samples are scaled with that"});
    }
}

/// A file without frames may state any number: it has as many as it names.
std::size_t countOf(std::uint64_t stated, std::uint64_t frames, const C3dParameters& parameters,
                    const char* group) {
    const auto count = static_cast<std::size_t>(stated);
    return frames > 0 ? count : std::min(count, parameters.texts(group, "LABELS").size());
}

} // namespace

C3dMarker markerOf(const std::string& label, std::size_t number) {
    C3dMarker marker;
    const std::size_t colon = label.find(':');
    if (colon == std::string::npos || colon == 0 || colon + 1 == label.size()) {
        marker.name = nameOr(label, number);
    } else {
        marker.subject = label.substr(0, colon);
        marker.name = label.substr(colon + 1);
    }
    return marker;
}

std::vector<C3dMarker> markersOf(const C3dParameters& parameters, std::size_t count) {
    const std::vector<std::string> labels = parameters.texts("POINT", "LABELS");
    const std::vector<std::string> descriptions = parameters.texts("POINT", "DESCRIPTIONS");
    std::vector<C3dMarker> markers;
    markers.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        markers.push_back(markerOf(textAt(labels, i), i + 1));
        markers.back().description = textAt(descriptions, i);
    }
    return markers;
}

std::vector<C3dChannel> channelsOf(const C3dParameters& parameters, std::size_t count,
                                   bool isUnsigned) {
    const std::vector<std::string> labels = parameters.texts("ANALOG", "LABELS");
    const std::vector<std::string> descriptions = parameters.texts("ANALOG", "DESCRIPTIONS");
    const std::vector<std::string> unitTexts = parameters.texts("ANALOG", "UNITS");
    const std::vector<double> scales = parameters.numbers("ANALOG", "SCALE");
    const std::vector<double> offsets = parameters.numbers("ANALOG", "OFFSET");
    const double general = numberAt(parameters.numbers("ANALOG", "GEN_SCALE"), 0, 1);
    const C3dParameter* const offset = parameters.find("ANALOG", "OFFSET");
    const bool isWhole = offset != nullptr && offset->type == C3dType::Integer;
    std::vector<C3dChannel> channels(count);
    for (std::size_t i = 0; i < count; ++i) {
        C3dChannel& channel = channels[i];
        channel.name = nameOr(textAt(labels, i), i + 1);
        channel.description = textAt(descriptions, i);
        channel.unit = textAt(unitTexts, i);
        channel.scale = numberAt(scales, i, 1) * general;
        channel.offset = numberAt(offsets, i, 0);
        // Whatever the samples are, 16 bits without a sign have been meant.
        if (isUnsigned && isWhole && channel.offset < 0) {
            channel.offset += 65536;
        }
    }
    return channels;
}

std::vector<C3dRigidBody> bodiesOf(const C3dParameters& parameters, std::size_t count) {
    const std::vector<std::string> labels = parameters.texts("ROTATION", "LABELS");
    const std::vector<std::string> descriptions = parameters.texts("ROTATION", "DESCRIPTIONS");
    std::vector<C3dRigidBody> bodies(count);
    for (std::size_t i = 0; i < count; ++i) {
        bodies[i] = {nameOr(textAt(labels, i), i + 1), textAt(descriptions, i)};
    }
    return bodies;
}

namespace {

/// How many numbers state the time of an event: minutes and seconds, or in a plain list seconds
/// alone. Where writers drop a last dimension of 1, a plain list of two numbers is a single event.
std::size_t numbersPerEvent(const C3dParameters& parameters, const C3dParameter& times,
                            std::size_t labels) {
    if (times.dimensions.size() > 1) {
        return times.dimensions[0] == 2 ? 2 : 1;
    }
    const C3dParameter* const used = parameters.find("EVENT", "USED");
    const bool isSaid = used != nullptr && used->size() > 0;
    const bool isSingle = isSaid ? used->number() == 1 : labels == 1;
    return times.size() == 2 && isSingle ? 2 : 1;
}

/// In seconds, whether there is an event for each of them or not.
std::vector<double> timesOfEvents(const C3dParameters& parameters) {
    std::vector<double> times;
    const C3dParameter* const first = parameters.find("EVENT", "TIMES");
    if (first == nullptr || first->type == C3dType::Text) {
        return times;
    }
    const std::vector<double> numbers = parameters.numbers("EVENT", "TIMES");
    const std::size_t width =
        numbersPerEvent(parameters, *first, parameters.texts("EVENT", "LABELS").size());
    for (std::size_t i = 0; i + width <= numbers.size(); i += width) {
        times.push_back((width == 2 ? numbers[i] * 60 : 0) + numbers[i + width - 1]);
    }
    return times;
}

} // namespace

std::vector<C3dEvent> eventsOf(const C3dParameters& parameters) {
    const std::vector<double> times = timesOfEvents(parameters);
    const std::vector<std::string> labels = parameters.texts("EVENT", "LABELS");
    const std::vector<std::string> contexts = parameters.texts("EVENT", "CONTEXTS");
    const std::vector<std::string> subjects = parameters.texts("EVENT", "SUBJECTS");
    std::size_t count = times.size();
    const C3dParameter* const used = parameters.find("EVENT", "USED");
    if (used != nullptr && used->size() > 0 && used->number() >= 0) {
        count = std::min(count, static_cast<std::size_t>(std::min(used->number(), 1e6)));
    }
    std::vector<C3dEvent> events(count);
    for (std::size_t i = 0; i < count; ++i) {
        events[i].label = textAt(labels, i);
        events[i].context = textAt(contexts, i);
        events[i].subject = textAt(subjects, i);
        events[i].time = times[i];
    }
    return events;
}

std::string unitOf(const std::string& text) {
    const Unit* const unit = findUnit(text);
    return unit == nullptr ? text : unit->symbol;
}

double metresOf(const std::string& unit) {
    const Unit* const found = findUnit(unit);
    return found == nullptr ? 0 : found->metres;
}

C3dInfo describe(std::string_view bytes, const C3dSection& section, const C3dLayout& layout,
                 C3dJudge& judge) {
    const C3dParameters& parameters = section.parameters;
    C3dInfo info;
    info.frameCount = static_cast<int>(layout.frames);
    info.firstFrame = layout.firstFrame;
    info.rate = layout.rate;
    info.encoding = encodingOf(layout.processor, layout.real);
    info.scale = layout.scale;
    const std::size_t markers = countOf(layout.points, layout.frames, parameters, "POINT");
    const std::size_t channels = countOf(layout.channels, layout.frames, parameters, "ANALOG");
    const std::size_t bodies = countOf(layout.bodies, layout.bodyFrames, parameters, "ROTATION");
    info.markers = markersOf(parameters, markers);
    info.channels = channelsOf(parameters, channels, layout.unsignedAnalog);
    info.bodies = bodiesOf(parameters, bodies);
    info.samplesPerFrame = channels == 0 ? 0 : static_cast<int>(layout.samplesPerFrame);
    info.bodiesPerFrame = bodies == 0 ? 0 : static_cast<int>(layout.bodiesPerFrame);
    reportLabels(parameters, "POINT", markers, judge);
    reportLabels(parameters, "ANALOG", channels, judge);
    reportLabels(parameters, "ROTATION", bodies, judge);
    reportScales(parameters, channels, judge);
    info.events = headerEvents(bytes, layout.processor, judge);
    std::vector<C3dEvent> events = eventsOf(parameters);
    reportEvents(parameters, events.size(), timesOfEvents(parameters).size(), judge);
    std::move(events.begin(), events.end(), std::back_inserter(info.events));
    const C3dParameter* const stated = parameters.find("POINT", "UNITS");
    info.unit = unitOf(stated == nullptr ? std::string() : stated->text());
    info.metresPerUnit = metresOf(info.unit);
    if (stated != nullptr && info.unit != stated->text()) {
        judge.note({"POINT:UNITS", stated->offset, stated->text(), info.unit, "it is spelled so"});
    }
    info.parameters = parameters;
    return info;
}

} // namespace tarn::kit
