// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/c3d/C3dSync.h"

#include "files/c3d/C3dDescription.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

namespace tarn::kit {

namespace {

constexpr std::size_t maxRow = 255;
constexpr std::uint64_t maxWord = 65535;

template <class T, class Equal>
bool allSame(const std::vector<T>& a, const std::vector<T>& b, Equal equal) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), equal);
}

bool isSameScale(const C3dChannel& a, const C3dChannel& b) {
    return a.scale == b.scale && a.offset == b.offset;
}

/// The elements from `first` on that fit into one parameter.
template <class T>
std::vector<T> part(const std::vector<T>& all, std::size_t first) {
    const std::size_t last = std::min(all.size(), first + maxRow);
    return {all.begin() + static_cast<std::ptrdiff_t>(first),
            all.begin() + static_cast<std::ptrdiff_t>(last)};
}

/// A list of what `get` gives of each of some things.
template <class T, class Get>
auto listOf(const std::vector<T>& things, Get get) {
    std::vector<std::decay_t<decltype(get(things.front()))>> list;
    list.reserve(things.size());
    for (const T& thing : things) {
        list.push_back(get(thing));
    }
    return list;
}

int lowWord(std::int64_t number) { return static_cast<int>(number & 0xFFFF); }
int highWord(std::int64_t number) { return static_cast<int>(number >> 16 & 0xFFFF); }

/// Brings parameters into line.
class Syncer {
public:
    Syncer(const C3dTake& take, const C3dLayout& to, const std::vector<C3dChannel>& channels,
           const C3dChanges& changes)
        : take_(take), to_(to), channels_(channels), changes_(changes),
          parameters_(take.parameters) {}

    C3dParameters sync() {
        syncPoints();
        syncFrames();
        syncMarkers();
        syncAnalog();
        syncChannels();
        syncBodies();
        syncEvents();
        if (take_.source == nullptr && parameters_.find("FORCE_PLATFORM") == nullptr) {
            parameters_.set("FORCE_PLATFORM", C3dParameter::integer("USED", 0));
        }
        return std::move(parameters_);
    }

private:
    bool has(const char* group, const char* name) const {
        return parameters_.find(group, name) != nullptr;
    }

    /// Sets a number in the type that the parameter already has, if that holds it.
    void setNumber(const char* group, const char* name, std::uint64_t value) {
        const C3dParameter* const old = parameters_.find(group, name);
        const bool real = old != nullptr && old->type == C3dType::Real;
        if (real) {
            parameters_.set(group, C3dParameter::real(name, static_cast<float>(value)));
        } else {
            parameters_.set(
                group, C3dParameter::integer(name, static_cast<int>(std::min(value, maxWord))));
        }
    }

    /// Sets a list, of which what one parameter does not hold goes on in the next one.
    template <class T, class Make>
    void setList(const char* group, const std::string& name, const std::vector<T>& list,
                 Make make) {
        for (std::size_t number = 2; has(group, (name + std::to_string(number)).c_str());
             ++number) {
            parameters_.remove(group, name + std::to_string(number));
        }
        std::size_t number = 1;
        for (std::size_t first = 0; first == 0 || first < list.size(); first += maxRow) {
            const std::string suffix = number == 1 ? "" : std::to_string(number);
            parameters_.set(group, make(name + suffix, part(list, first)));
            ++number;
        }
    }

    void setTexts(const char* group, const char* name, const std::vector<std::string>& texts) {
        setList(group, name, texts, [](std::string part, const std::vector<std::string>& some) {
            return C3dParameter::texts(std::move(part), some);
        });
    }

    /// Descriptions that say nothing are only set where some are to be replaced.
    void setDescriptions(const char* group, const std::vector<std::string>& texts) {
        const bool some = std::any_of(texts.begin(), texts.end(),
                                      [](const std::string& text) { return !text.empty(); });
        if (some || has(group, "DESCRIPTIONS") || take_.source == nullptr) {
            setTexts(group, "DESCRIPTIONS", texts);
        }
    }

    void syncPoints() {
        if (changes_.points) {
            setNumber("POINT", "USED", to_.points);
        }
        if (changes_.scale || changes_.encoding) {
            const auto scale = static_cast<float>(to_.real ? -to_.scale : to_.scale);
            parameters_.set("POINT", C3dParameter::real("SCALE", scale));
        }
        if (changes_.rate) {
            parameters_.set("POINT", C3dParameter::real("RATE", static_cast<float>(to_.rate)));
        }
        if (changes_.shape() && !has("POINT", "DATA_START")) {
            parameters_.set("POINT", C3dParameter::integer("DATA_START", 0));
        }
        const C3dParameter* const units = parameters_.find("POINT", "UNITS");
        if (unitOf(units == nullptr ? std::string() : units->text()) != take_.unit ||
            (units == nullptr && take_.source == nullptr)) {
            parameters_.set("POINT", C3dParameter::text("UNITS", take_.unit));
        }
    }

    void syncFrames() {
        if (!changes_.frames) {
            return;
        }
        setNumber("POINT", "FRAMES", to_.frames);
        const bool isLong = to_.frames > maxWord;
        if (isLong || has("POINT", "LONG_FRAMES")) {
            parameters_.set("POINT",
                            C3dParameter::real("LONG_FRAMES", static_cast<float>(to_.frames)));
        }
        const std::int64_t first = to_.firstFrame;
        const std::int64_t last = first + static_cast<std::int64_t>(to_.frames) - 1;
        if (has("TRIAL", "ACTUAL_START_FIELD") || has("TRIAL", "ACTUAL_END_FIELD") ||
            last > static_cast<std::int64_t>(maxWord)) {
            parameters_.set("TRIAL", C3dParameter::integers("ACTUAL_START_FIELD",
                                                            {lowWord(first), highWord(first)}));
            parameters_.set("TRIAL", C3dParameter::integers("ACTUAL_END_FIELD",
                                                            {lowWord(last), highWord(last)}));
        }
    }

    void syncMarkers() {
        const auto same = [](const C3dMarker& a, const C3dMarker& b) {
            return a.label() == b.label() && a.description == b.description;
        };
        if (take_.source != nullptr &&
            allSame(markersOf(parameters_, take_.markers.size()), take_.markers, same)) {
            return;
        }
        setTexts("POINT", "LABELS",
                 listOf(take_.markers, [](const C3dMarker& one) { return one.label(); }));
        setDescriptions(
            "POINT", listOf(take_.markers, [](const C3dMarker& one) { return one.description; }));
    }

    void syncAnalog() {
        if (changes_.analogShape) {
            setNumber("ANALOG", "USED", to_.channels);
        }
        const bool shaped = changes_.analogShape || changes_.rate;
        if (shaped && (to_.channels > 0 || !has("ANALOG", "RATE"))) {
            const double samples = std::max<double>(1, static_cast<double>(to_.samplesPerFrame));
            parameters_.set("ANALOG",
                            C3dParameter::real("RATE", static_cast<float>(to_.rate * samples)));
        }
    }

    void syncChannels() {
        const auto same = [](const C3dChannel& a, const C3dChannel& b) {
            return isSameScale(a, b) && a.name == b.name && a.unit == b.unit &&
                   a.description == b.description;
        };
        if (take_.source != nullptr &&
            allSame(channelsOf(parameters_, channels_.size(), to_.unsignedAnalog), channels_,
                    same)) {
            return;
        }
        const auto text = [this](std::string C3dChannel::*member) {
            return listOf(channels_, [member](const C3dChannel& one) { return one.*member; });
        };
        setTexts("ANALOG", "LABELS", text(&C3dChannel::name));
        setTexts("ANALOG", "UNITS", text(&C3dChannel::unit));
        setDescriptions("ANALOG", text(&C3dChannel::description));
        parameters_.set("ANALOG", C3dParameter::real("GEN_SCALE", 1));
        setList(
            "ANALOG", "SCALE",
            listOf(channels_, [](const C3dChannel& one) { return static_cast<float>(one.scale); }),
            C3dParameter::reals);
        setOffsets();
        const C3dParameter* const format = parameters_.find("ANALOG", "FORMAT");
        if (format != nullptr && !to_.real && !to_.unsignedAnalog) {
            parameters_.set("ANALOG", C3dParameter::text("FORMAT", "SIGNED"));
        }
    }

    /// Whole numbers as such, since that is what most readers expect.
    void setOffsets() {
        const double most = to_.unsignedAnalog ? 65535 : 32767;
        const bool whole =
            std::all_of(channels_.begin(), channels_.end(), [most](const C3dChannel& one) {
                return one.offset == std::rint(one.offset) && std::abs(one.offset) <= most;
            });
        if (whole) {
            setList("ANALOG", "OFFSET",
                    listOf(channels_,
                           [](const C3dChannel& one) { return static_cast<int>(one.offset); }),
                    C3dParameter::integers);
        } else {
            setList("ANALOG", "OFFSET",
                    listOf(channels_,
                           [](const C3dChannel& one) { return static_cast<float>(one.offset); }),
                    C3dParameter::reals);
        }
    }

    void syncBodies() {
        if (take_.bodies.empty() && !has("ROTATION", "USED")) {
            return;
        }
        if (changes_.bodies) {
            setNumber("ROTATION", "USED", to_.bodies);
            parameters_.set("ROTATION",
                            C3dParameter::integer("RATIO", static_cast<int>(to_.bodiesPerFrame)));
            parameters_.set(
                "ROTATION",
                C3dParameter::real("RATE", static_cast<float>(to_.rate * static_cast<double>(
                                                                             to_.bodiesPerFrame))));
        }
        if (changes_.shape() && !has("ROTATION", "DATA_START")) {
            parameters_.set("ROTATION", C3dParameter::integer("DATA_START", 0));
        }
        const auto same = [](const C3dRigidBody& a, const C3dRigidBody& b) {
            return a.name == b.name && a.description == b.description;
        };
        if (!allSame(bodiesOf(parameters_, take_.bodies.size()), take_.bodies, same)) {
            setTexts("ROTATION", "LABELS",
                     listOf(take_.bodies, [](const C3dRigidBody& one) { return one.name; }));
            setDescriptions("ROTATION", listOf(take_.bodies, [](const C3dRigidBody& one) {
                                return one.description;
                            }));
        }
    }

    void syncEvents() {
        const std::vector<C3dEvent> events = eventsIn(take_, false);
        if (allSame(eventsOf(parameters_), events,
                    [](const C3dEvent& a, const C3dEvent& b) { return isSame(a, b); })) {
            return;
        }
        setNumber("EVENT", "USED", events.size());
        const auto text = [&events](std::string C3dEvent::*member) {
            return listOf(events, [member](const C3dEvent& one) { return one.*member; });
        };
        setTexts("EVENT", "CONTEXTS", text(&C3dEvent::context));
        setTexts("EVENT", "LABELS", text(&C3dEvent::label));
        setTexts("EVENT", "SUBJECTS", text(&C3dEvent::subject));
        if (has("EVENT", "DESCRIPTIONS")) {
            setTexts("EVENT", "DESCRIPTIONS", std::vector<std::string>(events.size()));
        }
        setList("EVENT", "TIMES", events, timesOf);
        for (const char* const name : {"ICON_IDS", "GENERIC_FLAGS"}) {
            if (has("EVENT", name)) {
                setList("EVENT", name, std::vector<int>(events.size()), C3dParameter::integers);
            }
        }
    }

    /// Minutes and seconds.
    static C3dParameter timesOf(std::string name, const std::vector<C3dEvent>& events) {
        C3dParameter parameter;
        for (const C3dEvent& event : events) {
            const double minutes = std::trunc(event.time / 60);
            const C3dParameter numbers = C3dParameter::reals(
                "", {static_cast<float>(minutes), static_cast<float>(event.time - 60 * minutes)});
            parameter.data += numbers.data;
        }
        parameter.name = std::move(name);
        parameter.type = C3dType::Real;
        parameter.dimensions = {2, static_cast<std::uint8_t>(events.size())};
        return parameter;
    }

    const C3dTake& take_;
    const C3dLayout& to_;
    const std::vector<C3dChannel>& channels_;
    const C3dChanges& changes_;
    C3dParameters parameters_;
};

} // namespace

C3dChanges::C3dChanges(const C3dTake& take, const C3dLayout& to,
                       const std::vector<C3dChannel>& stored) {
    if (take.source == nullptr) {
        return;
    }
    const C3dInfo& was = take.source->info();
    const C3dLayout& from = take.source->data().layout();
    encoding = from.processor != to.processor || from.real != to.real;
    points = was.markers.size() != to.points;
    frames =
        static_cast<std::uint64_t>(was.frameCount) != to.frames || was.firstFrame != to.firstFrame;
    scale = from.scale != to.scale;
    rate = was.rate != to.rate;
    analogShape = was.channels.size() != to.channels ||
                  static_cast<std::uint64_t>(was.samplesPerFrame) != to.samplesPerFrame;
    channels =
        from.unsignedAnalog != to.unsignedAnalog || !allSame(was.channels, stored, isSameScale);
    bodies =
        was.bodies.size() != to.bodies ||
        (to.bodies > 0 && (from.bodyFrames != to.bodyFrames ||
                           static_cast<std::uint64_t>(was.bodiesPerFrame) != to.bodiesPerFrame));
    headerEvents = !allSame(eventsIn(was, true), eventsIn(take, true),
                            [](const C3dEvent& a, const C3dEvent& b) { return isSame(a, b); });
    parameters = was.parameters != take.parameters;
}

bool isSame(const C3dEvent& a, const C3dEvent& b) noexcept {
    return a.label == b.label && a.context == b.context && a.subject == b.subject &&
           (a.time == b.time || (std::isnan(a.time) && std::isnan(b.time))) &&
           a.inHeader == b.inHeader && a.shown == b.shown;
}

std::vector<C3dEvent> eventsIn(const C3dInfo& info, bool header) {
    std::vector<C3dEvent> events;
    std::copy_if(info.events.begin(), info.events.end(), std::back_inserter(events),
                 [header](const C3dEvent& event) { return event.inHeader == header; });
    return events;
}

C3dParameters syncedParameters(const C3dTake& take, const C3dLayout& to,
                               const std::vector<C3dChannel>& channels, const C3dChanges& changes) {
    return Syncer(take, to, channels, changes).sync();
}

} // namespace tarn::kit
