// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "processing/repair/SwapFinder.h"

#include "processing/repair/MarkerMotion.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <numeric>
#include <optional>
#include <set>
#include <utility>

namespace tarn::kit {

namespace {

/// By label, the label that is meant; labels that are meant as they are do not have to be in it.
using Labels = std::map<int, int>;

int meant(const Labels& labels, int label) {
    const auto found = labels.find(label);
    return found == labels.end() ? label : found->second;
}

/// A frame from which on labels are exchanged: what is labelled `first` goes on where `second` was.
struct Break {
    int frame;
    Labels labels;
    double closeness; ///< 1 where all are exactly where others were expected, 0 where no nearer
};

/// Frames between breaks, with the label that is meant by each, if those of the first piece are.
struct Piece {
    int first;
    int end;
    Labels meant;
};

/// The labels of an exchange that lead round in rings; what leads nowhere is dropped.
Labels ringsOf(const Labels& labels) {
    Labels rings;
    for (const auto& entry : labels) {
        Labels ring;
        int at = entry.first;
        while (labels.count(at) > 0 && ring.count(at) == 0) {
            ring[at] = labels.at(at);
            at = labels.at(at);
        }
        if (at == entry.first) {
            rings.insert(ring.begin(), ring.end());
        }
    }
    return rings;
}

class Finder {
public:
    Finder(MarkerTable& table, const MarkerRepairOptions& options)
        : table_(table), options_(options), motion_(table, options) {}

    std::vector<MarkerChange> repair();

private:
    std::optional<Break> breakAt(int frame) const;
    std::vector<std::vector<Break>> groups() const;
    void repairGroup(const std::vector<Break>& breaks);
    std::vector<Piece> piecesOf(const std::vector<Break>& breaks) const;
    double misfitOf(const Piece& piece, const Labels& labels,
                    const std::vector<int>& markers) const;
    void report(const Piece& piece, const Labels& labels, const std::vector<Break>& breaks,
                const std::vector<int>& markers);
    double closenessAround(const Piece& piece, const std::vector<Break>& breaks) const;
    void exchange(const MarkerChange& change);

    MarkerTable& table_;
    const MarkerRepairOptions& options_;
    MarkerMotion motion_;
    std::vector<MarkerChange> changes_;
};

std::optional<Break> Finder::breakAt(int frame) const {
    std::vector<int> jumpers;
    for (int marker = 0; marker < table_.markerCount(); ++marker) {
        if (const auto off = motion_.jump(marker, frame); off && *off > motion_.gate(marker)) {
            jumpers.push_back(marker);
        }
    }
    if (jumpers.size() < 2) {
        return std::nullopt;
    }
    std::map<int, MarkerMotion::Expectation> expected;
    for (const int marker : jumpers) {
        expected.emplace(marker, motion_.expect(marker, frame));
    }
    Labels labels;
    std::map<int, double> closeness;
    for (const int marker : jumpers) {
        const Vector3d at = table_.at(frame, marker);
        const int other = *std::min_element(jumpers.begin(), jumpers.end(), [&](int a, int b) {
            return expected.at(a).miss(at) < expected.at(b).miss(at);
        });
        const double miss = expected.at(other).miss(at);
        const double ownMiss = expected.at(marker).miss(at);
        constexpr double muchNearer = 0.4;
        if (other != marker && miss < motion_.gate(other) && miss < muchNearer * ownMiss) {
            labels[marker] = other;
            closeness[marker] = 1 - miss / ownMiss;
        }
    }
    labels = ringsOf(labels);
    if (labels.empty()) {
        return std::nullopt;
    }
    Break result{frame, labels, 1};
    for (const auto& entry : labels) {
        result.closeness = std::min(result.closeness, closeness.at(entry.first));
    }
    return result;
}

/// All breaks, those together that have to do with the same markers.
std::vector<std::vector<Break>> Finder::groups() const {
    std::vector<Break> breaks;
    std::vector<int> group(static_cast<std::size_t>(table_.markerCount()));
    std::iota(group.begin(), group.end(), 0);
    for (int frame = 1; frame < table_.frameCount(); ++frame) {
        if (const auto found = breakAt(frame)) {
            for (const auto& [label, other] : found->labels) {
                const int from = group[static_cast<std::size_t>(label)];
                const int to = group[static_cast<std::size_t>(other)];
                std::replace(group.begin(), group.end(), from, to);
            }
            breaks.push_back(*found);
        }
    }
    // One break may be about several groups: each gets its part.
    std::map<int, std::vector<Break>> sorted;
    for (const Break& entry : breaks) {
        std::map<int, Labels> parts;
        for (const auto& labels : entry.labels) {
            parts[group[static_cast<std::size_t>(labels.first)]].insert(labels);
        }
        for (const auto& [number, labels] : parts) {
            sorted[number].push_back({entry.frame, labels, entry.closeness});
        }
    }
    std::vector<std::vector<Break>> result;
    result.reserve(sorted.size());
    for (auto& entry : sorted) {
        result.push_back(std::move(entry.second));
    }
    return result;
}

std::vector<Piece> Finder::piecesOf(const std::vector<Break>& breaks) const {
    std::vector<Piece> pieces = {{0, breaks.front().frame, {}}};
    for (std::size_t i = 0; i < breaks.size(); ++i) {
        const int end = i + 1 < breaks.size() ? breaks[i + 1].frame : table_.frameCount();
        Piece piece{breaks[i].frame, end, pieces.back().meant};
        for (const auto& [label, other] : breaks[i].labels) {
            piece.meant[label] = meant(pieces.back().meant, other);
        }
        pieces.push_back(std::move(piece));
    }
    return pieces;
}

/// How badly the markers fit their neighbours in a piece if the labels mean this.
double Finder::misfitOf(const Piece& piece, const Labels& labels,
                        const std::vector<int>& markers) const {
    constexpr int samples = 30;
    constexpr double worst = 20; // one bad neighbour is not to decide
    const int step = (piece.end - piece.first) / samples + 1;
    double sum = 0;
    int count = 0;
    for (int frame = piece.first; frame < piece.end; frame += step) {
        for (const int marker : markers) {
            if (table_.has(frame, marker)) {
                const auto misfit =
                    motion_.misfit(meant(labels, marker), table_.at(frame, marker), frame, markers);
                sum += misfit ? std::min(*misfit, worst) : 0;
                count += misfit ? 1 : 0;
            }
        }
    }
    return count == 0 ? 0 : sum / count;
}

double Finder::closenessAround(const Piece& piece, const std::vector<Break>& breaks) const {
    double least = 1;
    for (const Break& entry : breaks) {
        if (entry.frame == piece.first || entry.frame == piece.end) {
            least = std::min(least, entry.closeness);
        }
    }
    // Of a piece without an end nobody knows whether it is the one that is wrong.
    return piece.first == 0 || piece.end == table_.frameCount() ? 0 : least;
}

void Finder::report(const Piece& piece, const Labels& labels, const std::vector<Break>& breaks,
                    const std::vector<int>& markers) {
    const double before = misfitOf(piece, {}, markers);
    const double after = misfitOf(piece, labels, markers);
    const double better = before > after ? 1 - after / before : 0;
    const double confidence = 1 - (1 - closenessAround(piece, breaks)) * (1 - better);
    Labels rest = labels;
    while (!rest.empty()) {
        MarkerChange change;
        change.fault = MarkerFault::Swap;
        change.first = piece.first;
        change.last = piece.end - 1;
        change.confidence = confidence;
        change.corrected = confidence >= options_.leastConfidence;
        for (auto at = rest.begin(); at != rest.end();) {
            const auto [label, next] = *at;
            rest.erase(at);
            if (label != next) {
                change.markers.push_back(label);
            }
            at = rest.find(next);
        }
        if (change.markers.size() > 1) {
            if (change.corrected) {
                exchange(change);
            }
            changes_.push_back(std::move(change));
        }
    }
}

void Finder::exchange(const MarkerChange& change) {
    for (int frame = change.first; frame <= change.last; ++frame) {
        exchangeLabels(change.markers, [this, frame](int marker) -> Marker& {
            return table_.entry(frame, marker);
        });
    }
}

void Finder::repairGroup(const std::vector<Break>& breaks) {
    std::vector<int> markers;
    for (const Break& entry : breaks) {
        for (const auto& labels : entry.labels) {
            if (std::find(markers.begin(), markers.end(), labels.first) == markers.end()) {
                markers.push_back(labels.first);
            }
        }
    }
    const std::vector<Piece> pieces = piecesOf(breaks);
    // What each piece's labels mean if those of the piece `right` mean what they say.
    const auto labelsOf = [&](const Piece& piece, const Piece& right) {
        Labels back;
        for (const int marker : markers) {
            back[meant(right.meant, marker)] = marker;
        }
        Labels labels;
        for (const int marker : markers) {
            labels[marker] = meant(back, meant(piece.meant, marker));
        }
        return labels;
    };
    const auto costOf = [&](const Piece& right) {
        constexpr double ofAChange = 0.3; // where neighbours cannot tell, right is what lasts
        double cost = 0;
        for (const Piece& piece : pieces) {
            const Labels labels = labelsOf(piece, right);
            const auto changed = std::count_if(labels.begin(), labels.end(), [](const auto& entry) {
                return entry.first != entry.second;
            });
            const auto count = static_cast<double>(markers.size());
            cost += (piece.end - piece.first) * (count * misfitOf(piece, labels, markers) +
                                                 ofAChange * static_cast<double>(changed));
        }
        return cost;
    };
    const Piece* right = &pieces.front();
    double least = costOf(*right);
    std::set<Labels> tried = {labelsOf(*right, pieces.front())};
    for (const Piece& piece : pieces) { // few ways to exchange labels, however often that happens
        if (!tried.insert(labelsOf(piece, pieces.front())).second) {
            continue;
        }
        if (const double cost = costOf(piece); cost < least) {
            least = cost;
            right = &piece;
        }
    }
    for (const Piece& piece : pieces) {
        report(piece, labelsOf(piece, *right), breaks, markers);
    }
}

std::vector<MarkerChange> Finder::repair() {
    for (const std::vector<Break>& group : groups()) {
        repairGroup(group);
    }
    std::sort(changes_.begin(), changes_.end(),
              [](const MarkerChange& a, const MarkerChange& b) { return a.first < b.first; });
    return std::move(changes_);
}

} // namespace

std::vector<MarkerChange> repairSwaps(MarkerTable& table, const MarkerRepairOptions& options) {
    return Finder(table, options).repair();
}

} // namespace tarn::kit
