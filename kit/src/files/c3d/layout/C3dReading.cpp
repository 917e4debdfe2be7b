// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "files/c3d/layout/C3dReading.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <tuple>
#include <utility>

namespace tarn::kit {

namespace {

namespace header = c3d_header;

class Chooser {
public:
    Chooser(const C3dCandidates& candidates, const C3dStatements& said, const C3dRoom& room,
            double rate)
        : from_(candidates), said_(said), room_(room), rate_(rate) {}

    C3dReading choose() {
        Way best{0, 0, 0, 0, 0};
        auto most = std::make_tuple(Fit::No, -1, -1);
        visitWays([&](const Way& way) {
            const auto merit = std::make_tuple(fitOf(way, from_.frames.values[way.frames]),
                                               votesFor(way), listsFor(way));
            if (merit > most) {
                best = way;
                most = merit;
            }
        });
        chosen_.frames = from_.frames.values[best.frames];
        chosen_.fills = std::get<Fit>(most) != Fit::No || chooseLongTake(best) ||
                        chooseOtherForm(best) || chooseAllHeld(best);
        chosen_.points = static_cast<std::uint64_t>(from_.points.values[best.points]);
        chosen_.channels = static_cast<std::uint64_t>(from_.analog[best.analog].channels);
        chosen_.samplesPerFrame = static_cast<std::uint64_t>(from_.analog[best.analog].samples);
        chosen_.dataStart =
            static_cast<std::uint64_t>(from_.starts.values[best.start] - 1) * c3dBlock;
        chosen_.real = from_.reals.values[best.real] != 0;
        return chosen_;
    }

private:
    /// One of the candidates for each thing.
    struct Way {
        std::size_t points, analog, frames, start, real;
    };

    /// How well so many frames fill what there is.
    enum class Fit : std::uint8_t {
        No,
        NearlyFull, ///< but for a block, which some programs add
        Full,       ///< up to the block that is begun
    };

    double bytesPerFrame(const Way& way) const {
        const C3dAnalogShape& analog = from_.analog[way.analog];
        const double words = 4 * from_.points.values[way.points] + analog.channels * analog.samples;
        return words * (from_.reals.values[way.real] != 0 ? 4 : 2);
    }

    double roomFor(const Way& way) const {
        const double start = (from_.starts.values[way.start] - 1) * static_cast<double>(c3dBlock);
        return static_cast<double>(room_.limitFrom(static_cast<std::uint64_t>(start))) - start;
    }

    Fit fitOf(const Way& way, double frames) const {
        constexpr auto block = static_cast<double>(c3dBlock);
        const double rest = roomFor(way) - frames * bytesPerFrame(way);
        if (rest < 0 || rest >= 2 * block) {
            return Fit::No;
        }
        return rest < block ? Fit::Full : Fit::NearlyFull;
    }

    /// How many statements agree with a way.
    int votesFor(const Way& way) const {
        return from_.points.votesFor(from_.points.values[way.points]) +
               from_.frames.votesFor(from_.frames.values[way.frames]) +
               from_.starts.votesFor(from_.starts.values[way.start]) +
               votesFor(from_.analog[way.analog]);
    }

    int votesFor(const C3dAnalogShape& shape) const {
        const auto used = said_.stated("ANALOG", "USED");
        const auto rate = said_.stated("ANALOG", "RATE");
        const auto equals = [](double a, double b) { return a == b ? 1 : 0; };
        int votes =
            equals(said_.header().word(header::analogPerFrame), shape.channels * shape.samples);
        votes += used ? equals(used->value, shape.channels) : 0;
        if (shape.channels > 0) {
            votes += equals(said_.header().word(header::samplesPerFrame), shape.samples);
            votes += rate ? equals(std::rint(rate->value / rate_), shape.samples) : 0;
        }
        return votes;
    }

    /// How many lists have an entry for each marker or channel. There may be more names than what
    /// they name, so that says less than a number that is stated.
    int listsFor(const Way& way) const {
        const auto counts = [](std::size_t size, double count) {
            return size > 0 && static_cast<double>(size) == count ? 1 : 0;
        };
        const double channels = from_.analog[way.analog].channels;
        return counts(from_.labels, from_.points.values[way.points]) +
               counts(from_.analogLabels, channels) + counts(from_.analogScales, channels);
    }

    template <class Visit>
    void visitWays(Visit visit) const {
        for (std::size_t points = 0; points < from_.points.values.size(); ++points) {
            for (std::size_t analog = 0; analog < from_.analog.size(); ++analog) {
                for (std::size_t start = 0; start < from_.starts.values.size(); ++start) {
                    for (std::size_t real = 0; real < from_.reals.values.size(); ++real) {
                        for (std::size_t frames = 0; frames < from_.frames.values.size();
                             ++frames) {
                            visit(Way{points, analog, frames, start, real});
                        }
                    }
                }
            }
        }
    }

    double heldBy(const Way& way) const {
        const double size = bytesPerFrame(way);
        return size > 0 ? std::max(0.0, std::floor(roomFor(way) / size)) : 0;
    }

    /// Counts of frames in 16 bits have been cut off at 65,535 or 32,767, or have started again
    /// from 0, in takes that are longer. Such a take is believed if it fills the file, or, where
    /// that breaks off, but for a part of a frame.
    bool chooseLongTake(Way& best) {
        bool found = false;
        visitWays([&](const Way& way) {
            const double stated = from_.frames.values[way.frames];
            const double held = heldBy(way);
            const bool isCutOff = isSaturated(said_.header(), stated) && held > stated;
            if (found || stated > 65535 || (held < 65536 && !isCutOff)) {
                return;
            }
            const double whole = held - std::fmod(held - stated, 65536);
            for (const double count : {whole, isCutOff ? held : whole}) {
                const double rest = roomFor(way) - count * bytesPerFrame(way);
                const double most = std::max<double>(c3dBlock, bytesPerFrame(way));
                if (!found && count > stated && rest >= 0 && rest < most) {
                    best = way;
                    chosen_.frames = count;
                    found = true;
                }
            }
        });
        return found;
    }

    /// The sign of the scale tells reals from integers, and some programs get it wrong throughout.
    /// The other form is believed if it fills a file of which a part of that size would be a
    /// chance.
    bool chooseOtherForm(Way& best) {
        constexpr auto enough = static_cast<double>(8 * c3dBlock);
        if (from_.reals.values.size() > 1) {
            return false; // both have been tried
        }
        from_.reals.addValue(1 - from_.reals.values.front());
        auto most = std::make_pair(-1, -1);
        visitWays([&](const Way& way) {
            const double frames = from_.frames.values[way.frames];
            const auto merit = std::make_pair(votesFor(way), listsFor(way));
            if (way.real == 1 && frames * bytesPerFrame(way) >= enough &&
                fitOf(way, frames) == Fit::Full && merit > most) {
                best = way;
                chosen_.frames = frames;
                most = merit;
            }
        });
        if (most.first < 0) {
            from_.reals.values.pop_back();
        }
        return most.first >= 0;
    }

    /// No frames, or no number of them, in a file that holds more than padding: those are believed.
    bool chooseAllHeld(const Way& best) {
        const double held = heldBy(best);
        if (chosen_.frames != 0 || held == 0 || roomFor(best) < 2 * static_cast<double>(c3dBlock)) {
            return false;
        }
        chosen_.frames = held;
        chosen_.counted = true;
        return true;
    }

    C3dCandidates from_;
    const C3dStatements& said_;
    const C3dRoom& room_;
    double rate_;
    C3dReading chosen_;
};

} // namespace

C3dRoom::C3dRoom(const C3dStatements& said, std::uint64_t bodies)
    : fileSize_(said.fileSize()), bodies_(bodies), section_(said.section().start) {}

std::uint64_t C3dRoom::limitFrom(std::uint64_t start) const {
    std::uint64_t limit = fileSize_;
    for (const std::uint64_t other : {bodies_, section_}) {
        limit = other > start ? std::min(limit, other) : limit;
    }
    return limit;
}

bool isSaturated(const C3dHeader& header, double count) {
    const int last = header.word(c3d_header::lastFrame);
    return count == 65535 || count == 32767 ||
           (last == 32767 && count == last - header.word(c3d_header::firstFrame) + 1);
}

C3dReading chooseReading(const C3dCandidates& candidates, const C3dStatements& said,
                         const C3dRoom& room, double rate) {
    return Chooser(candidates, said, room, rate).choose();
}

} // namespace tarn::kit
