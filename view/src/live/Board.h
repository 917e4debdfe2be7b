// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "page/Content.h"

#include <tarn_view/live/LiveServer.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace tarn::view {

/// What is to be seen now: positions of all that a live page shows. Any thread may write and read.
class Board {
public:
    using Instant = std::chrono::steady_clock::time_point;

    /// The newest of everything. Positions in metres, Y up, x, y, z one after the other: of all
    /// performers' nodes, then of all markers; no number where there is nothing to be seen.
    struct Shown {
        std::vector<float> positions;
        std::int64_t frame = 0;    ///< its number
        std::uint64_t count = 0;   ///< of frames that were shown; performers' share one
        std::uint64_t changes = 0; ///< whatever changed
        Instant since;
    };

    /// Throws as `LiveServer`.
    explicit Board(const LiveContent& content);

    /// What a page has to know before frames come.
    Json facts() const { return facts_; }

    void show(std::size_t performer, std::int64_t frame, const kit::BodyPose& body);
    void show(std::size_t markers, std::int64_t frame, const kit::MarkerFrame& frameOfMarkers);
    Shown newest() const;

private:
    /// One performer, or one set of markers.
    struct Subject {
        std::size_t first = 0; ///< of its positions
        std::size_t size = 0;  ///< how many places it has
        double metres = 1;
        kit::UpAxis up = kit::UpAxis::Y;
        std::uint64_t count = 0; ///< of its frames
    };

    void add(std::size_t size, double metres, kit::UpAxis up, std::vector<Subject>& subjects);
    template <class Place>
    void put(Subject& subject, std::int64_t frame, std::size_t size, const Place& place);

    Json facts_;
    mutable std::mutex mutex_; ///< of all below
    std::vector<Subject> performers_;
    std::vector<Subject> markers_;
    Shown shown_;
};

} // namespace tarn::view
