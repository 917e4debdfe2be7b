// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "solving/MarkerTrial.h"

#include "markers/MarkerFrames.h"
#include "session/TakeFile.h"

#include <fmt/format.h>
#include <tarn_kit/body/MarkerSet.h>
#include <tarn_kit/body/Markers.h>
#include <tarn_kit/files/Text.h>
#include <tarn_kit/session/TakeOf.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>
#include <stdexcept>
#include <utility>

namespace tarn::capture {

namespace {

/// The performer with most of the markers.
std::string likeliest(const std::vector<kit::C3dMarker>& all,
                      const std::vector<std::string>& wanted) {
    std::map<std::string, int> counts;
    for (const kit::C3dMarker& marker : all) {
        counts[marker.subject] += kit::markerNamed(marker.name, wanted) >= 0 ? 1 : 0;
    }
    const auto best =
        std::max_element(counts.begin(), counts.end(),
                         [](const auto& a, const auto& b) { return a.second < b.second; });
    return best == counts.end() ? std::string() : best->first;
}

std::string subjectsOf(const std::vector<kit::C3dMarker>& all) {
    std::string list;
    std::vector<std::string> seen;
    for (const kit::C3dMarker& marker : all) {
        if (std::find(seen.begin(), seen.end(), marker.subject) == seen.end()) {
            seen.push_back(marker.subject);
            list += (list.empty() ? "'" : ", '") + kit::printable(marker.subject) + "'";
        }
    }
    return list;
}

} // namespace

MarkerTrial::MarkerTrial(const std::string& file, const std::optional<std::string>& subject,
                         const std::vector<std::string>& markers, std::string name,
                         const MarkerReading& reading)
    : file_(file), take_(withSpace(TakeFile(file, reading.options).readMarkers(), reading.space)),
      name_(std::move(name)) {
    choose(subject ? *subject : likeliest(take_.markers, markers));
}

MarkerTrial::MarkerTrial(kit::C3dTake take, std::string file, std::string subject, std::string name)
    : file_(std::move(file)), take_(std::move(take)), name_(std::move(name)) {
    choose(std::move(subject));
}

void MarkerTrial::choose(std::string subject) {
    subject_ = std::move(subject);
    const std::string name = kit::printable(file_);
    if (take_.frameCount == 0 || take_.markers.empty()) {
        throw std::runtime_error(fmt::format("{}: holds no frames of markers", name));
    }
    bool found = false;
    for (const kit::C3dMarker& marker : take_.markers) {
        const bool isOurs = marker.subject == subject_;
        found = found || isOurs;
        names_.push_back(isOurs ? marker.name : std::string());
    }
    if (!found) {
        throw std::runtime_error(fmt::format("{}: has no performer '{}', but {}", name,
                                             kit::printable(subject_), subjectsOf(take_.markers)));
    }
}

kit::Rate MarkerTrial::exactRate() const { return exactRateOf(take_); }

double MarkerTrial::metresPerUnit() const {
    return take_.metresPerUnit > 0 ? take_.metresPerUnit : 0.001;
}

FrameRange MarkerTrial::chosen(const std::optional<FrameChoice>& choice) const {
    return chosenFrames(choice, frameCount(), take_.firstFrame);
}

MarkerTrial MarkerTrial::trialOf(FrameRange range) const {
    MarkerTrial part = *this;
    const auto rate = static_cast<unsigned>(take_.tracks->fps());
    std::vector<std::shared_ptr<Frame>> frames;
    frames.reserve(static_cast<std::size_t>(countOf(range)));
    for (int i = range.first; i <= range.last; ++i) {
        const auto frame = take_.tracks->getFrame(i, kit::markerDataType);
        const Time time(static_cast<unsigned>(i - range.first), rate);
        frames.push_back(
            std::make_shared<Frame>(time, kit::markerDataType, frame->dataAs<kit::MarkerFrame>()));
    }
    part.take_.tracks = kit::takeOf(kit::markerDataType, std::move(frames), take_.tracks->fps());
    part.take_.frameCount = countOf(range);
    part.take_.firstFrame = numberOf(range.first);
    part.take_.source = nullptr;
    return part;
}

std::vector<std::shared_ptr<Frame>> MarkerTrial::frames(FrameRange range) const {
    std::vector<std::shared_ptr<Frame>> frames;
    for (int i = range.first; i <= range.last; ++i) {
        frames.push_back(take_.tracks->getFrame(i, kit::markerDataType));
    }
    return frames;
}

std::shared_ptr<Tracks> MarkerTrial::part(FrameRange range) const {
    const int rate = std::max(1, static_cast<int>(std::lround(take_.rate)));
    return kit::takeOf(kit::markerDataType, frames(range), rate);
}

} // namespace tarn::capture
