// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Track.h>

#include "data/TrackData.h"

#include <cassert>
#include <utility>

namespace tarn {

Track::Track(int dataType) : d_(std::make_unique<PrivateData>(dataType)) {}

Track::~Track() = default;

int Track::dataType() const { return d_->dataType; }

int Track::frameCount() const { return static_cast<int>(d_->frames.size()); }

void Track::setFrameCount(int count) {
    assert(count >= 0);
    d_->frames.resize(static_cast<std::size_t>(count));
}

std::shared_ptr<Frame> Track::getFrame(int index) { return d_->slot(index); }

void Track::setFrame(int index, std::shared_ptr<Frame> frame) {
    d_->slot(index) = std::move(frame);
}

void Track::setSequence(std::shared_ptr<Sequence> sequence) {
    assert(sequence != nullptr);
    setFrameCount(sequence->frameCount());
    setSequence(std::move(sequence), 0);
}

void Track::setSequence(std::shared_ptr<Sequence> sequence, int offset) {
    assert(sequence != nullptr && offset >= 0);
    for (int i = offset; i < frameCount(); ++i) {
        d_->slot(i) = sequence->getFrame(i - offset);
    }
}

} // namespace tarn
