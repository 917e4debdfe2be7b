// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "drawing/GroupMotion.h"

#include "drawing/Sampling.h"

#include <cstddef>
#include <utility>

namespace tarn::capture {

namespace {

GroupInstant instantAt(const std::vector<Performance>& performances, int rate, int frame) {
    GroupInstant instant{frame, static_cast<double>(frame) / rate, {}};
    for (const Performance& performance : performances) {
        instant.bodies.push_back(positionsAt(performance, frame));
    }
    return instant;
}

} // namespace

GroupMotion summarize(const std::vector<Performance>& performances, int rate, int instantCount) {
    GroupMotion motion;
    motion.rootPaths.resize(performances.size());
    std::vector<int> frames; // in which somebody is there
    std::vector<double> lowest;
    for (int frame = 0; frame < frameCountOf(performances); ++frame) {
        const std::size_t seen = lowest.size();
        for (std::size_t i = 0; i < performances.size(); ++i) {
            const std::vector<Vector3f> body = positionsAt(performances[i], frame);
            if (!body.empty()) {
                motion.rootPaths[i].push_back(body.front());
                lowest.push_back(lowestPoint(body));
            }
        }
        if (lowest.size() > seen) {
            frames.push_back(frame);
        }
    }
    if (frames.empty()) {
        return motion;
    }
    motion.ground = median(std::move(lowest));
    for (const std::size_t i :
         evenlySpaced(frames.size(), static_cast<std::size_t>(instantCount))) {
        motion.instants.push_back(instantAt(performances, rate, frames[i]));
    }
    return motion;
}

} // namespace tarn::capture
