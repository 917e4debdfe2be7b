// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "sheet/PoseSummary.h"

#include "sheet/Sampling.h"
#include "sheet/SubjectFacts.h"

#include <fmt/format.h>
#include <tarn_kit/body/ForwardKinematics.h>

#include <cstddef>
#include <utility>

namespace tarn::draw {

namespace {

/// A summary to which instants are added.
struct Bodies {
    std::vector<std::vector<Vector3f>> rootPaths;
    std::vector<double> lowest; ///< of each body

    explicit Bodies(std::size_t subjects) : rootPaths(subjects) {}

    void add(std::size_t subject, const std::vector<Vector3f>& body) {
        if (!body.empty()) {
            rootPaths[subject].push_back(body.front());
            lowest.push_back(lowestPoint(body));
        }
    }
};

PoseInstant instantAt(const std::vector<Subject>& subjects, int frame) {
    PoseInstant instant{frame, static_cast<double>(frame) / rateOf(subjects), {}};
    for (const Subject& subject : subjects) {
        instant.bodies.push_back(positionsAt(subject, frame));
    }
    return instant;
}

PoseInstant restInstant(const std::vector<Subject>& subjects) {
    PoseInstant instant{-1, 0, {}};
    for (const Subject& subject : subjects) {
        const kit::Pose rest{std::vector<float>(subject.rig->valueCount(), 0.0F)};
        instant.bodies.push_back(kit::worldPositions(*subject.rig, rest));
    }
    return instant;
}

PoseSummary restSummary(const std::vector<Subject>& subjects) {
    PoseInstant instant = restInstant(subjects);
    Bodies bodies(subjects.size());
    for (std::size_t i = 0; i < subjects.size(); ++i) {
        bodies.add(i, instant.bodies[i]);
    }
    if (bodies.lowest.empty()) {
        return {{}, std::move(bodies.rootPaths), 0};
    }
    return {{std::move(instant)}, std::move(bodies.rootPaths), median(std::move(bodies.lowest))};
}

} // namespace

std::string captionOf(const PoseInstant& instant) {
    return instant.frame < 0 ? "rest pose: the take has no frames"
                             : fmt::format("frame {}, {:.3f} s", instant.frame, instant.seconds);
}

PoseSummary summarize(const std::vector<Subject>& subjects, int instantCount) {
    const int frameCount = frameCountOf(subjects);
    if (frameCount == 0) {
        return restSummary(subjects);
    }
    Bodies bodies(subjects.size());
    std::vector<int> frames; // in which somebody is there
    for (int frame = 0; frame < frameCount; ++frame) {
        const std::size_t seen = bodies.lowest.size();
        for (std::size_t i = 0; i < subjects.size(); ++i) {
            bodies.add(i, positionsAt(subjects[i], frame));
        }
        if (bodies.lowest.size() > seen) {
            frames.push_back(frame);
        }
    }
    PoseSummary summary{{}, std::move(bodies.rootPaths), 0};
    if (frames.empty()) {
        return summary;
    }
    summary.ground = median(std::move(bodies.lowest));
    for (const std::size_t i :
         evenlySpaced(frames.size(), static_cast<std::size_t>(instantCount))) {
        summary.instants.push_back(instantAt(subjects, frames[i]));
    }
    return summary;
}

} // namespace tarn::draw
