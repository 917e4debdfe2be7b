// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// How well swaps and spikes are found: labels of real takes are exchanged for a while, and markers
// thrown off their way; what is found is compared with what was done. The first row of a take is
// the take as it is: all that is found in it is false, or was wrong with it before.
//
// usage: tarn_marker_repair [--seeds N] FILE.c3d...
#include <tarn_kit/body/Rotations.h>
#include <tarn_kit/files/C3d.h>
#include <tarn_kit/processing/cleaning/MarkerRepair.h>
#include <tarn_kit/session/TakeOf.h>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

namespace kit = tarn::kit;
using Table = std::vector<std::vector<kit::Marker>>; ///< markers by frame

struct Sample {
    std::string name;
    int rate = 0;
    Table table;
};

Sample readSample(const std::string& file) {
    const kit::C3dTake take = kit::readC3d(std::filesystem::path(file));
    Sample sample{take.tracks->tracksName(), take.tracks->fps(), {}};
    for (int i = 0; i < take.frameCount; ++i) {
        const auto frame = take.tracks->getFrame(i, kit::markerDataType);
        sample.table.push_back(frame->dataAs<kit::MarkerFrame>().toVector());
    }
    return sample;
}

std::shared_ptr<tarn::Tracks> takeOf(const Table& table, int rate) {
    std::vector<std::shared_ptr<tarn::Frame>> frames;
    for (const auto& markers : table) {
        const tarn::Time time(static_cast<unsigned>(frames.size()), static_cast<unsigned>(rate));
        frames.push_back(
            std::make_shared<tarn::Frame>(time, kit::markerDataType, kit::MarkerFrame(markers)));
    }
    return kit::takeOf(kit::markerDataType, std::move(frames), rate);
}

/// Something that was done to a take.
struct Harm {
    int first;
    int last;
    std::vector<int> markers; ///< one for a spike, several for a swap
};

struct Score {
    int done = 0;
    int found = 0;  ///< of these, with the very frames and markers
    int nearly = 0; ///< of these, with frames that overlap
    int wrong = 0;  ///< changes that nothing was done for
    int frames = 0; ///< markers, each in each frame, that are not where they were before the harm
    void print(const std::string& name, const std::string& what) const {
        const int right = found + nearly;
        fmt::print("| {} | {} | {} | {} | {} | {} | {:.1f} % | {:.1f} % | {} |\n", name, what, done,
                   found, nearly, wrong, done == 0 ? 100.0 : 100.0 * right / done,
                   right + wrong == 0 ? 100.0 : 100.0 * right / (right + wrong), frames);
        std::fflush(stdout);
    }
};

bool sameMarkers(std::vector<int> a, std::vector<int> b) {
    std::sort(a.begin(), a.end());
    std::sort(b.begin(), b.end());
    return a == b;
}

bool isIn(const Harm& harm, const std::vector<kit::MarkerChange>& changes, bool exactly) {
    return std::any_of(changes.begin(), changes.end(), [&](const kit::MarkerChange& change) {
        const bool fits = exactly ? change.first == harm.first && change.last == harm.last
                                  : change.first <= harm.last && harm.first <= change.last;
        return change.corrected && fits && sameMarkers(change.markers, harm.markers);
    });
}

void add(Score& score, const Sample& sample, const Table& harmed, const std::vector<Harm>& harms) {
    const kit::MarkerRepair repair = kit::repairMarkers(takeOf(harmed, sample.rate));
    for (const Harm& harm : harms) {
        ++score.done;
        if (isIn(harm, repair.changes, true)) {
            ++score.found;
        } else if (isIn(harm, repair.changes, false)) {
            ++score.nearly;
        }
    }
    for (const kit::MarkerChange& change : repair.changes) {
        const bool isRight = std::any_of(harms.begin(), harms.end(), [&](const Harm& harm) {
            return isIn(harm, {change}, false);
        });
        score.wrong += change.corrected && !isRight ? 1 : 0;
    }
    for (std::size_t i = 0; i < sample.table.size(); ++i) {
        const auto frame = repair.take->getFrame(static_cast<int>(i), kit::markerDataType);
        for (std::size_t k = 0; k < sample.table[i].size(); ++k) {
            const kit::Marker& was = sample.table[i][k];
            const kit::Marker& is = frame->dataAs<kit::MarkerFrame>()[k];
            if (was.hasPosition() && is.hasPosition() &&
                kit::lengthOf(kit::toDouble(was.position) - kit::toDouble(is.position)) > 0) {
                ++score.frames;
            }
        }
    }
}

class Harmer {
public:
    Harmer(const Sample& sample, unsigned seed) : sample_(sample), random_(seed) {}

    int number(int first, int last) {
        return std::uniform_int_distribution<int>(first, last)(random_);
    }
    bool isSeen(int marker, int first, int last) const {
        for (int i = std::max(0, first - 5); i <= last + 5; ++i) {
            if (!sample_.table[static_cast<std::size_t>(i)][static_cast<std::size_t>(marker)]
                     .hasPosition()) {
                return false;
            }
        }
        return true;
    }
    /// Exchanges the labels of `count` markers, of near ones or of any, for up to `longest` frames.
    Harm swap(Table& table, int count, bool near, int longest) {
        const auto frames = static_cast<int>(table.size());
        Harm harm;
        do {
            harm.markers.clear();
            const int length = number(5, longest);
            harm.first = number(20, frames - length - 20);
            harm.last = harm.first + length - 1;
            const int one = number(0, static_cast<int>(table.front().size()) - 1);
            harm.markers = {one};
            while (static_cast<int>(harm.markers.size()) < count) {
                addOther(harm, near);
            }
        } while (!std::all_of(harm.markers.begin(), harm.markers.end(),
                              [&](int marker) { return isSeen(marker, harm.first, harm.last); }));
        for (int i = harm.first; i <= harm.last; ++i) {
            auto& row = table[static_cast<std::size_t>(i)];
            for (std::size_t k = 1; k < harm.markers.size(); ++k) {
                std::swap(row[static_cast<std::size_t>(harm.markers[0])],
                          row[static_cast<std::size_t>(harm.markers[k])]);
            }
        }
        return harm;
    }
    /// Throws a marker off its way by at least `least`, for one to five frames.
    Harm spike(Table& table, double least) {
        Harm harm;
        do {
            const int length = number(1, 5);
            harm.first = number(20, static_cast<int>(table.size()) - 40);
            harm.last = harm.first + length - 1;
            harm.markers = {number(0, static_cast<int>(table.front().size()) - 1)};
        } while (!isSeen(harm.markers[0], harm.first, harm.last));
        std::normal_distribution<double> normal;
        for (int i = harm.first; i <= harm.last; ++i) {
            kit::Vector3d off{normal(random_), normal(random_), normal(random_)};
            const double size = least * (1 + std::abs(normal(random_)));
            off = (size / kit::lengthOf(off)) * off;
            kit::Marker& marker =
                table[static_cast<std::size_t>(i)][static_cast<std::size_t>(harm.markers[0])];
            marker.position = kit::toSingle(kit::toDouble(marker.position) + off);
        }
        return harm;
    }

private:
    void addOther(Harm& harm, bool near) {
        const auto& row = sample_.table[static_cast<std::size_t>(harm.first)];
        const auto count = static_cast<int>(row.size());
        int other = number(0, count - 1);
        if (near) { // the nearest of some, so that it is not always the same
            const kit::Vector3d at =
                kit::toDouble(row[static_cast<std::size_t>(harm.markers[0])].position);
            double nearest = 1e30;
            for (int i = 0; i < count; ++i) {
                const double distance =
                    kit::lengthOf(kit::toDouble(row[static_cast<std::size_t>(i)].position) - at);
                const bool isNew =
                    std::find(harm.markers.begin(), harm.markers.end(), i) == harm.markers.end();
                if (isNew && number(0, 2) > 0 && distance < nearest) {
                    nearest = distance;
                    other = i;
                }
            }
        }
        if (std::find(harm.markers.begin(), harm.markers.end(), other) == harm.markers.end()) {
            harm.markers.push_back(other);
        }
    }

    const Sample& sample_;
    std::mt19937 random_;
};

void printRows(const Sample& sample, int seeds) {
    Score untouched;
    add(untouched, sample, sample.table, {});
    untouched.print(sample.name, "nothing");
    const auto rows = [&](const std::string& what, auto harm) {
        Score score;
        for (int seed = 0; seed < seeds; ++seed) {
            Harmer harmer(sample, static_cast<unsigned>(seed));
            Table table = sample.table;
            const std::vector<Harm> harms = harm(harmer, table);
            add(score, sample, table, harms);
        }
        score.print(sample.name, what);
    };
    rows("a swap of near markers", [](Harmer& harmer, Table& table) {
        return std::vector<Harm>{harmer.swap(table, 2, true, 200)};
    });
    rows("a swap of any markers", [](Harmer& harmer, Table& table) {
        return std::vector<Harm>{harmer.swap(table, 2, false, 200)};
    });
    rows("a ring of three near markers", [](Harmer& harmer, Table& table) {
        return std::vector<Harm>{harmer.swap(table, 3, true, 200)};
    });
    for (const double least : {25.0, 50.0, 100.0}) {
        rows(fmt::format("five spikes of {} or more", least), [&](Harmer& harmer, Table& table) {
            std::vector<Harm> harms(5);
            for (Harm& harm : harms) {
                harm = harmer.spike(table, least);
            }
            return harms;
        });
    }
}

int run(const std::vector<std::string>& arguments) {
    int seeds = 50;
    std::vector<std::string> files;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (arguments[i] == "--seeds" && i + 1 < arguments.size()) {
            seeds = std::stoi(arguments[++i]);
        } else {
            files.push_back(arguments[i]);
        }
    }
    if (files.empty() || seeds < 1) {
        fmt::print(stderr, "usage: tarn_marker_repair [--seeds N] FILE.c3d...\n");
        return 2;
    }
    fmt::print("| take | done to it | faults | found | found, other frames | false | recall | "
               "precision | samples still wrong |\n|---|---|--:|--:|--:|--:|--:|--:|--:|\n");
    for (const std::string& file : files) {
        printRows(readSample(file), seeds);
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return run({argv + 1, argv + argc});
    } catch (const std::exception& error) {
        fmt::print(stderr, "tarn_marker_repair: {}\n", error.what());
        return 1;
    }
}
