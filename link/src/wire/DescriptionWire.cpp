// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "wire/DescriptionWire.h"

#include "wire/Refusal.h"

#include <cmath>
#include <cstring>
#include <type_traits>
#include <utility>

namespace tarn::link {

namespace {

constexpr std::size_t longestName = 1'000;
constexpr std::size_t longestDocument = std::size_t(1) << 20;
constexpr std::size_t mostLabels = 100'000;
constexpr std::size_t mostChannels = 100;

// --- Writing ---------------------------------------------------------------------------------

/// Room for `count` elements, all zero, which goes with the sample.
template <class Sequence>
auto* reserve(Sequence& sequence, std::size_t count) {
    using Element = std::remove_pointer_t<decltype(sequence._buffer)>;
    sequence._maximum = sequence._length = static_cast<std::uint32_t>(count);
    sequence._release = true;
    if (count > 0) {
        void* const memory = dds_alloc(count * sizeof(Element));
        std::memset(memory, 0, count * sizeof(Element));
        sequence._buffer = static_cast<Element*>(memory);
    }
    return sequence._buffer;
}

char* copyOf(const std::string& text) { return dds_string_dup(text.c_str()); }

void put(const kit::Space& space, tarn_wire_Space& to) {
    to.unit = copyOf(space.unit.symbol);
    to.unit_name = copyOf(space.unit.name);
    to.metres = space.unit.metres;
    to.unit_origin = static_cast<std::uint8_t>(space.unitOrigin);
    to.up = static_cast<std::uint8_t>(space.up);
    to.up_origin = static_cast<std::uint8_t>(space.upOrigin);
}

void put(const kit::Rig& rig, tarn_wire_Rig& to) {
    put(rig.space(), to.space);
    to.standing = static_cast<std::uint8_t>(rig.standing());
    tarn_wire_RigNode* next = reserve(to.nodes, rig.nodes().size());
    for (const kit::RigNode& node : rig.nodes()) {
        next->name = copyOf(node.name);
        next->parent = node.parent;
        next->is_end = node.isEndSite();
        next->offset[0] = node.offset.x;
        next->offset[1] = node.offset.y;
        next->offset[2] = node.offset.z;
        std::uint8_t* channel = reserve(next->channels, node.channels.size());
        for (const kit::Channel moved : node.channels) {
            *channel++ = static_cast<std::uint8_t>(moved);
        }
        ++next;
    }
}

void put(const StreamTrack& track, tarn_wire_Track& to) {
    const kit::TrackDescription& description = track.description;
    to.subject = copyOf(description.subject);
    to.data_type = track.dataType;
    to.rate_numerator = description.rate ? description.rate->numerator() : 0;
    to.rate_denominator = description.rate ? description.rate->denominator() : 1;
    if (description.space) {
        put(*description.space, *reserve(to.space, 1));
    }
    if (description.rig) {
        put(*description.rig, *reserve(to.rig, 1));
    }
    tarn_wire_Label* next = reserve(to.labels, description.labels.size());
    for (const kit::Label& label : description.labels) {
        next->subject = copyOf(label.subject);
        next->name = copyOf(label.name);
        next->description = copyOf(label.description);
        next->unit = copyOf(label.unit);
        ++next;
    }
    to.document = copyOf(description.document);
}

// --- Reading ---------------------------------------------------------------------------------

std::string textIn(const char* text, std::size_t longest = longestName) {
    const std::size_t size = text == nullptr ? longest + 1 : std::strlen(text);
    if (size > longest) {
        throw Refusal("a description has a text that is too long");
    }
    return {text, size};
}

/// An enumerator that is written as a byte.
template <class Enum>
Enum enumIn(std::uint8_t value, Enum last) {
    if (value > static_cast<std::uint8_t>(last)) {
        throw Refusal("a description has an unknown value");
    }
    return static_cast<Enum>(value);
}

/// No more of them than there may be, in a sequence that has them.
template <class Sequence>
std::size_t countIn(const Sequence& sequence, std::size_t most) {
    if (sequence._length > most || (sequence._length > 0 && sequence._buffer == nullptr)) {
        throw Refusal("a description lists more than there can be");
    }
    return sequence._length;
}

kit::Space spaceIn(const tarn_wire_Space& from) {
    if (!std::isfinite(from.metres) || from.metres < 0) {
        throw Refusal("a description has a unit of no length");
    }
    kit::Space space;
    space.unit = {textIn(from.unit), textIn(from.unit_name), from.metres};
    space.unitOrigin = enumIn(from.unit_origin, kit::Origin::Given);
    space.up = enumIn(from.up, kit::UpAxis::Z);
    space.upOrigin = enumIn(from.up_origin, kit::Origin::Given);
    return space;
}

void addNode(kit::Rig& rig, const tarn_wire_RigNode& node) {
    const auto known = static_cast<std::int64_t>(rig.nodes().size());
    const bool isPlaced =
        node.parent >= (node.is_end ? 0 : -1) && node.parent < known &&
        (node.parent < 0 || !rig.nodes()[static_cast<std::size_t>(node.parent)].isEndSite());
    const Vector3f offset{node.offset[0], node.offset[1], node.offset[2]};
    if (!isPlaced || !std::isfinite(offset.x + offset.y + offset.z)) {
        throw Refusal("a description has a rig with a joint in no place");
    }
    if (node.is_end) {
        rig.addEndSite(node.parent, offset);
        return;
    }
    std::vector<kit::Channel> channels(countIn(node.channels, mostChannels));
    for (std::size_t i = 0; i < channels.size(); ++i) {
        channels[i] = enumIn(node.channels._buffer[i], kit::Channel::Zrotation);
    }
    rig.addJoint(textIn(node.name), node.parent, offset, std::move(channels));
}

std::shared_ptr<const kit::Rig> rigIn(const tarn_wire_Rig& from) {
    auto rig = std::make_shared<kit::Rig>();
    rig->setSpace(spaceIn(from.space));
    rig->setStanding(enumIn(from.standing, kit::UpAxis::Z));
    const std::size_t count = countIn(from.nodes, kit::bvhMaxNodes);
    for (std::size_t i = 0; i < count; ++i) {
        addNode(*rig, from.nodes._buffer[i]);
    }
    return rig;
}

StreamTrack trackIn(const tarn_wire_Track& from) {
    StreamTrack track;
    track.dataType = from.data_type;
    kit::TrackDescription& to = track.description;
    to.subject = textIn(from.subject);
    if (from.rate_numerator != 0) {
        try {
            to.rate = kit::Rate(from.rate_numerator, from.rate_denominator);
        } catch (const std::invalid_argument&) {
            throw Refusal("a description has a rate that cannot be");
        }
    }
    if (countIn(from.space, 1) == 1) {
        to.space = spaceIn(*from.space._buffer);
    }
    if (countIn(from.rig, 1) == 1) {
        to.rig = rigIn(*from.rig._buffer);
    }
    const std::size_t labels = countIn(from.labels, mostLabels);
    to.labels.reserve(labels);
    for (std::size_t i = 0; i < labels; ++i) {
        const tarn_wire_Label& label = from.labels._buffer[i];
        to.labels.push_back({textIn(label.subject), textIn(label.name), textIn(label.description),
                             textIn(label.unit)});
    }
    to.document = textIn(from.document, longestDocument);
    return track;
}

} // namespace

EndSettings descriptionEnd(const std::string& stream) {
    Bounds bounds;
    bounds.perSecond = 5;
    bounds.burst = 20;
    bounds.keys = 4; // each may be of some megabytes
    return {&tarn_wire_Description_desc, descriptionTopic, Delivery::Kept, stream, 1, bounds};
}

DescriptionSample sampleOf(std::uint64_t stream, const std::vector<StreamTrack>& tracks) {
    void* const memory = dds_alloc(sizeof(tarn_wire_Description));
    std::memset(memory, 0, sizeof(tarn_wire_Description));
    DescriptionSample sample(static_cast<tarn_wire_Description*>(memory));
    sample->stream = stream;
    tarn_wire_Track* next = reserve(sample->tracks, tracks.size());
    for (const StreamTrack& track : tracks) {
        put(track, *next++);
    }
    return sample;
}

std::vector<StreamTrack> tracksIn(const tarn_wire_Description& sample) {
    const std::size_t count = countIn(sample.tracks, maxTracks);
    std::vector<StreamTrack> tracks;
    tracks.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        tracks.push_back(trackIn(sample.tracks._buffer[i]));
    }
    return tracks;
}

} // namespace tarn::link
