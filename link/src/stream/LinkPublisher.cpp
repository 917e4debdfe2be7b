// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_link/stream/LinkPublisher.h>

#include "stream/LinkAccess.h"
#include "stream/SampleGroup.h"
#include "wire/DescriptionWire.h"
#include "wire/FrameWire.h"
#include "wire/Hearing.h"
#include "wire/Offers.h"
#include "wire/Refusal.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace tarn::link {

namespace {

std::string hostName() {
    std::array<char, 256> name{};
    return gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "";
}

/// Of what can be sent at all, with what belongs to it.
constexpr std::size_t maxPayloadBytes = std::size_t(1) << 20;

} // namespace

struct LinkPublisher::PrivateData {
    struct Track {
        StreamTrack what;
        SampleGroup* group = nullptr;
        std::uint64_t next = 0; ///< number of its next frame
    };
    /// All that there is between `start` and the end.
    struct Ends {
        explicit Ends(dds_entity_t participant, const std::string& name)
            : description(participant, descriptionEnd(name)), frames(participant, frameEnd(name)),
              newest(participant, newestEnd(name)), hearing(participant, name),
              offer(participant, offerEnd()) {}
        Writer description;
        Writer frames;
        Writer newest;
        HearingCount hearing;
        Writer offer;
    };

    PrivateData(std::shared_ptr<Link> itsLink, std::string itsName, PublisherOptions itsOptions)
        : link(std::move(itsLink)), name(std::move(itsName)), options(std::move(itsOptions)) {}

    void add(std::size_t track, const std::shared_ptr<Frame>& frame);
    /// The frame as bytes, or why that cannot be. The mutex is held.
    std::optional<FrameItem> encode(std::size_t track, const Frame& frame);
    void send(SampleGroup& group);
    void offer(bool ended) const;
    void lose(std::size_t frames, const std::string& why);

    const std::shared_ptr<Link> link;
    const std::string name;
    const PublisherOptions options;
    const std::uint64_t stream = drawnNumber();

    mutable std::mutex mutex; // guards what follows
    std::vector<Track> tracks;
    std::deque<SampleGroup> groups;
    std::map<std::optional<std::string>, SampleGroup*> groupOf; ///< by rate
    std::unique_ptr<Ends> ends;                                 ///< null before the start
    bool ended = false;
    std::uint64_t samples = 0;
    std::uint64_t sent = 0;
    std::uint64_t lost = 0;
    std::string problem;
};

void LinkPublisher::PrivateData::lose(std::size_t frames, const std::string& why) {
    lost += frames;
    problem = why;
}

std::optional<FrameItem> LinkPublisher::PrivateData::encode(std::size_t track, const Frame& frame) {
    FrameItem item;
    item.track = track;
    item.number = tracks[track].next++; // also of one that cannot be sent: it is missed over there
    item.time = frame.time();
    try {
        item.codec = options.codecs->encode(frame.data(), item.bytes);
    } catch (const std::exception& error) {
        lose(1, error.what());
        return std::nullopt;
    }
    if (item.bytes.size() > maxPayloadBytes) {
        lose(1, "a frame of " + std::to_string(item.bytes.size()) + " bytes, where " +
                    std::to_string(maxPayloadBytes) + " are possible");
        return std::nullopt;
    }
    return item;
}

void LinkPublisher::PrivateData::add(std::size_t track, const std::shared_ptr<Frame>& frame) {
    const std::int64_t captured = options.clock->now().time_since_epoch().count();
    const std::lock_guard<std::mutex> lock(mutex);
    if (frame == nullptr || ends == nullptr || ended) {
        return;
    }
    std::optional<FrameItem> item = encode(track, *frame);
    if (!item) {
        return;
    }
    SampleGroup& group = *tracks[track].group;
    if (group.isOther(*item)) {
        send(group);
    }
    group.add(std::move(*item), captured);
    if (group.isComplete()) {
        send(group);
    }
}

void LinkPublisher::PrivateData::send(SampleGroup& group) {
    std::optional<FrameSample> sample = group.take();
    if (!sample) {
        return;
    }
    sample->stream = stream;
    sample->number = samples++;
    const dds_return_t code = write(ends->frames, *sample);
    if (code < 0) {
        lose(sample->items.size(), std::string("not sent: ") + dds_strretcode(code));
    } else {
        sent += sample->items.size();
    }
    if (ends->newest.isRead()) {
        writeParts(ends->newest, *sample);
    }
}

void LinkPublisher::PrivateData::offer(bool hasEnded) const {
    std::string streamName = name;
    std::string host = hostName();
    std::string program = options.program;
    std::vector<std::uint64_t> counts;
    counts.reserve(tracks.size());
    for (const Track& track : tracks) {
        counts.push_back(track.next);
    }
    tarn_wire_Offer sample{};
    sample.stream = stream;
    sample.name = streamName.data();
    sample.version = writtenVersion;
    sample.host = host.data();
    sample.process = static_cast<std::uint32_t>(getpid());
    sample.program = program.data();
    sample.ended = hasEnded;
    sample.clock = link->clock();
    if (hasEnded) {
        sample.sent._maximum = sample.sent._length = static_cast<std::uint32_t>(counts.size());
        sample.sent._buffer = counts.data();
    }
    if (const dds_return_t code = ends->offer.write(&sample); code < 0) {
        throw LinkError("'" + name + "' cannot be offered: " + dds_strretcode(code));
    }
}

LinkPublisher::LinkPublisher(std::shared_ptr<Link> link, std::string name,
                             PublisherOptions options) {
    assert(link != nullptr);
    if (!isStreamName(name)) {
        throw LinkError("'" + name +
                        "' is no name for a stream: 1 to 100 printable characters of ASCII, "
                        "without *?[]");
    }
    d_ = std::make_shared<PrivateData>(std::move(link), std::move(name), std::move(options));
}

LinkPublisher::~LinkPublisher() {
    try {
        end(std::chrono::milliseconds(0));
    } catch (const std::exception&) { // NOLINT(bugprone-empty-catch)
        // Then it is offered no more, which says as much.
    }
    const std::lock_guard<std::mutex> lock(d_->mutex);
    d_->ends.reset(); // ties may keep the rest
    d_->ended = true;
}

int LinkPublisher::addTrack(int dataType, const kit::TrackDescription& description) {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    assert(d_->ends == nullptr && !d_->ended);
    const std::size_t track = d_->tracks.size();
    if (track >= maxTracks) {
        throw LinkError("a stream has " + std::to_string(maxTracks) + " tracks at most");
    }
    // Of tracks whose rates nobody knows, nobody knows whether they belong together.
    SampleGroup* alone = nullptr;
    SampleGroup*& group = description.rate ? d_->groupOf[description.rate->text()] : alone;
    if (group == nullptr) {
        group = &d_->groups.emplace_back();
    }
    group->addTrack(track);
    d_->tracks.push_back({{dataType, description}, group, 0});
    addIFramePort(static_cast<int>(track),
                  [d = d_, track](const std::shared_ptr<Frame>& frame) { d->add(track, frame); });
    return static_cast<int>(track);
}

void LinkPublisher::start() {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    assert(d_->ends == nullptr && !d_->ended);
    auto ends = std::make_unique<PrivateData::Ends>(LinkAccess::participant(*d_->link), d_->name);
    std::vector<StreamTrack> tracks;
    tracks.reserve(d_->tracks.size());
    for (const PrivateData::Track& track : d_->tracks) {
        tracks.push_back(track.what);
    }
    const DescriptionSample sample = sampleOf(d_->stream, tracks);
    if (const dds_return_t code = ends->description.write(sample.get()); code < 0) {
        throw LinkError("'" + d_->name + "' cannot be described: " + dds_strretcode(code));
    }
    d_->ends = std::move(ends);
    d_->offer(false);
}

int LinkPublisher::receivers() const {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    if (d_->ends == nullptr) {
        return 0;
    }
    // Both sides have to know of each other, or what is sent does not come.
    return std::min(d_->ends->frames.readers(), d_->ends->hearing.of(d_->ends->frames.get()));
}

bool LinkPublisher::awaitReceivers(int count, std::chrono::milliseconds patience,
                                   const StopRequested& stopRequested) const {
    const auto latest = std::chrono::steady_clock::now() + patience;
    while (receivers() < count) {
        if ((stopRequested && stopRequested()) || std::chrono::steady_clock::now() >= latest) {
            return false;
        }
        constexpr auto beat = std::chrono::milliseconds(2); // far below what a person waits for
        std::this_thread::sleep_for(beat);
    }
    return true;
}

bool LinkPublisher::end(std::chrono::milliseconds patience) {
    PrivateData::Ends* ends = nullptr;
    {
        const std::lock_guard<std::mutex> lock(d_->mutex);
        if (d_->ends == nullptr || d_->ended) {
            return true;
        }
        d_->ended = true;
        for (SampleGroup& group : d_->groups) {
            d_->send(group);
        }
        d_->offer(true);
        ends = d_->ends.get(); // stays until this is destroyed
    }
    const auto latest = std::chrono::steady_clock::now() + patience;
    bool isThere = true;
    for (const Writer* writer : {&ends->frames, &ends->offer}) {
        const auto left = std::max(std::chrono::steady_clock::duration::zero(),
                                   latest - std::chrono::steady_clock::now());
        const auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(left);
        isThere =
            dds_wait_for_acks(writer->get(), nanoseconds.count()) == DDS_RETCODE_OK && isThere;
    }
    return isThere;
}

std::uint64_t LinkPublisher::sentFrames() const {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    return d_->sent;
}

std::uint64_t LinkPublisher::lostFrames() const {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    return d_->lost;
}

std::string LinkPublisher::lastProblem() const {
    const std::lock_guard<std::mutex> lock(d_->mutex);
    return d_->problem;
}

} // namespace tarn::link
