// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/session/Resample.h>

#include "session/Interpolations.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <stdexcept>
#include <utility>

namespace tarn::kit {

namespace {

/// A frame with when it is.
struct Sample {
    Instant moment;
    std::shared_ptr<Frame> frame;
};

/// What there is of one track, in order of time.
struct Samples {
    int dataType;
    std::vector<Sample> list;
};

/// Exact for takes of any length that fits: products of rates stay small.
Instant sum(const Instant& a, const Instant& b) {
    if (a.numerator == 0) {
        return b;
    }
    return {a.numerator * b.denominator + b.numerator * a.denominator,
            a.denominator * b.denominator};
}

double secondsBetween(const Instant& a, const Instant& b) {
    return sum(b, {-a.numerator, a.denominator}).seconds();
}

Instant momentOf(const Frame& frame, int offset, const ResampleSource& source) {
    const Time& time = frame.time();
    const bool isOwn = time.fps() == static_cast<unsigned>(source.rate.fps());
    const Rate rate = isOwn ? source.rate : Rate(time.fps());
    return sum(source.start,
               sum(source.rate.at(offset), rate.at(static_cast<std::int64_t>(time.frameIndex()))));
}

Samples samplesOf(Track& track, int offset, const ResampleSource& source) {
    Samples samples{track.dataType(), {}};
    for (int slot = 0; slot < track.frameCount(); ++slot) {
        const std::shared_ptr<Frame> frame = track.getFrame(slot);
        if (frame != nullptr && frame->time().fps() != 0) {
            samples.list.push_back({momentOf(*frame, offset, source), frame});
        }
    }
    auto& list = samples.list;
    std::stable_sort(list.begin(), list.end(),
                     [](const Sample& a, const Sample& b) { return a.moment < b.moment; });
    // Of equal moments the last one stays.
    const auto last = std::unique(list.rbegin(), list.rend(), [](const Sample& a, const Sample& b) {
        return a.moment == b.moment;
    });
    list.erase(list.begin(), last.base());
    return samples;
}

/// Track by track, source by source.
using AllSamples = std::vector<std::vector<Samples>>;

AllSamples samplesOf(const std::vector<ResampleSource>& sources) {
    AllSamples all;
    for (const ResampleSource& source : sources) {
        if (source.take == nullptr) {
            throw std::invalid_argument("a source has no take");
        }
        std::vector<Samples>& tracks = all.emplace_back();
        for (int i = 0; i < source.take->trackCount(); ++i) {
            const std::shared_ptr<Track> track = source.take->getTrack(i);
            tracks.push_back(samplesOf(*track, source.take->trackOffset(track), source));
        }
    }
    return all;
}

/// Calls `visit` with the samples of each track that has any.
template <class Visit>
void forEachTrack(const AllSamples& all, Visit visit) {
    for (const std::vector<Samples>& tracks : all) {
        for (const Samples& samples : tracks) {
            if (!samples.list.empty()) {
                visit(samples.list);
            }
        }
    }
}

/// The first and the last moment of all; nothing if there is no frame.
std::optional<std::pair<Instant, Instant>> spanOf(const AllSamples& all) {
    std::optional<std::pair<Instant, Instant>> span;
    forEachTrack(all, [&](const std::vector<Sample>& list) {
        const Instant& first = list.front().moment;
        const Instant& last = list.back().moment;
        span = span ? std::pair(std::min(span->first, first), std::max(span->second, last))
                    : std::pair(first, last);
    });
    return span;
}

std::vector<Instant> unionOf(const AllSamples& all) {
    std::vector<Instant> moments;
    forEachTrack(all, [&](const std::vector<Sample>& list) {
        std::vector<Instant> merged;
        merged.reserve(moments.size() + list.size());
        auto next = moments.begin();
        for (const Sample& sample : list) {
            while (next != moments.end() && *next < sample.moment) {
                merged.push_back(*next++);
            }
            next += next != moments.end() && *next == sample.moment ? 1 : 0;
            merged.push_back(sample.moment);
        }
        merged.insert(merged.end(), next, moments.end());
        moments = std::move(merged);
    });
    return moments;
}

/// The frames of a rate, counted from `origin`, from the first moment of all to the last.
std::vector<Instant> evenly(const Rate& rate, const Instant& origin, const AllSamples& all) {
    const auto span = spanOf(all);
    if (!span) {
        return {};
    }
    const Instant back = {-origin.numerator, origin.denominator};
    const Instant begin = sum(span->first, back);
    std::int64_t first = rate.frameAt(begin);
    first += rate.at(first) < begin ? 1 : 0;
    const std::int64_t last = rate.frameAt(sum(span->second, back));
    if (last - first >= std::numeric_limits<int>::max()) {
        throw std::invalid_argument("the axis has more moments than a take can have frames");
    }
    std::vector<Instant> moments;
    moments.reserve(static_cast<std::size_t>(last - first + 1));
    for (std::int64_t frame = first; frame <= last; ++frame) {
        moments.push_back(sum(origin, rate.at(frame)));
    }
    return moments;
}

const ResampleSource& fastestOf(const std::vector<ResampleSource>& sources) {
    return *std::max_element(sources.begin(), sources.end(),
                             [](const ResampleSource& a, const ResampleSource& b) {
                                 return b.rate.at(1) < a.rate.at(1);
                             });
}

/// The rate of moments that are evenly spaced; nothing for others, or for fewer than two.
std::optional<Rate> rateOf(const std::vector<Instant>& moments,
                           const std::vector<ResampleSource>& sources) {
    if (moments.size() < 2) {
        return std::nullopt;
    }
    for (const ResampleSource& source : sources) {
        bool isEven = true;
        for (std::size_t i = 1; i < moments.size() && isEven; ++i) {
            isEven = moments[i] == sum(moments[i - 1], source.rate.at(1));
        }
        if (isEven) {
            return source.rate;
        }
    }
    return std::nullopt;
}

/// Lays one track out on the axis.
class Layout {
public:
    Layout(const std::vector<Instant>& moments, unsigned fps, const ResampleOptions& options)
        : moments_(moments), fps_(fps), options_(options), own_(interpolationsOfTheKit()) {}

    std::shared_ptr<Track> lay(const Samples& samples) const {
        auto track = std::make_shared<Track>(samples.dataType);
        track->setFrameCount(static_cast<int>(moments_.size()));
        const auto& list = samples.list;
        auto after = list.begin(); // the first that is later than the moment
        for (std::size_t i = 0; i < moments_.size(); ++i) {
            while (after != list.end() && after->moment <= moments_[i]) {
                ++after;
            }
            const Sample* const before = after == list.begin() ? nullptr : &*std::prev(after);
            const Sample* const next = after == list.end() ? nullptr : &*after;
            if (std::optional<Frame> frame = shownAt(moments_[i], before, next)) {
                frame->setTime(Time(static_cast<unsigned>(i), fps_));
                track->setFrame(static_cast<int>(i), std::make_shared<Frame>(*std::move(frame)));
            }
        }
        return track;
    }

private:
    std::optional<Frame> shownAt(const Instant& moment, const Sample* before,
                                 const Sample* after) const {
        if (before != nullptr && before->moment == moment) {
            return *before->frame;
        }
        if (isInGap(before, after)) {
            return std::nullopt;
        }
        switch (options_.filling) {
        case Filling::Hold:
            return copyOf(before);
        case Filling::Nearest:
            return copyOf(nearest(moment, before, after));
        default:
            return between(moment, before, after);
        }
    }

    static std::optional<Frame> copyOf(const Sample* sample) {
        return sample == nullptr ? std::nullopt : std::optional(*sample->frame);
    }

    bool isInGap(const Sample* before, const Sample* after) const {
        return options_.longestGap && before != nullptr && after != nullptr &&
               secondsBetween(before->moment, after->moment) > *options_.longestGap;
    }

    static const Sample* nearest(const Instant& moment, const Sample* before, const Sample* after) {
        if (before == nullptr || after == nullptr) {
            return before == nullptr ? after : before;
        }
        const double sinceBefore = secondsBetween(before->moment, moment);
        return sinceBefore <= secondsBetween(moment, after->moment) ? before : after;
    }

    std::optional<Frame> between(const Instant& moment, const Sample* before,
                                 const Sample* after) const {
        if (before == nullptr || after == nullptr) {
            return std::nullopt;
        }
        const int dataType = before->frame->dataType();
        const Interpolation* const interpolation = interpolationOf(dataType);
        if (interpolation == nullptr) {
            return *before->frame;
        }
        const double fraction =
            secondsBetween(before->moment, moment) / secondsBetween(before->moment, after->moment);
        return Frame(Time(), dataType, (*interpolation)(*before->frame, *after->frame, fraction));
    }

    const Interpolation* interpolationOf(int dataType) const {
        for (const auto* const map : {&options_.interpolations, &own_}) {
            const auto found = map->find(dataType);
            if (found != map->end()) {
                return &found->second;
            }
        }
        return nullptr;
    }

    const std::vector<Instant>& moments_;
    unsigned fps_;
    const ResampleOptions& options_;
    const std::map<int, Interpolation>& own_;
};

std::shared_ptr<Tracks> emptyTake(int fps, int length) {
    auto take = std::make_shared<Tracks>();
    take->setFps(fps);
    take->setTimeLength(length);
    take->setFrameCount(length);
    take->setWorkRange(0, length > 0 ? length - 1 : 0);
    return take;
}

} // namespace

ResampledTake resample(const std::vector<ResampleSource>& sources, const ResampleOptions& options) {
    const AllSamples all = samplesOf(sources);
    ResampledTake result;
    if (const Rate* const rate = std::get_if<Rate>(&options.axis)) {
        const auto span = spanOf(all);
        result.moments = evenly(*rate, span ? span->first : Instant(), all);
        result.rate = *rate;
    } else if (std::holds_alternative<UnionOfTimes>(options.axis)) {
        result.moments = unionOf(all);
        result.rate = rateOf(result.moments, sources);
    } else if (!sources.empty()) {
        const ResampleSource& fastest = fastestOf(sources);
        result.moments = evenly(fastest.rate, fastest.start, all);
        result.rate = fastest.rate;
    }
    const int fps = result.rate       ? result.rate->fps()
                    : sources.empty() ? 1
                                      : fastestOf(sources).rate.fps();
    const int length = static_cast<int>(result.moments.size());
    result.tracks = emptyTake(fps, length);
    const Layout layout(result.moments, static_cast<unsigned>(fps), options);
    for (std::size_t i = 0; i < sources.size(); ++i) {
        const std::shared_ptr<Tracks> take = emptyTake(fps, length);
        take->setTracksName(sources[i].take->tracksName());
        for (const Samples& samples : all[i]) {
            take->addTrack(layout.lay(samples), 0);
        }
        result.tracks->addSubTracks(take, 0);
    }
    return result;
}

} // namespace tarn::kit
