// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/MarkerTakes.h"

#include "support/Samples.h"

#include <tarn_kit/session/TakeOf.h>

#include <cstddef>
#include <fstream>
#include <memory>
#include <utility>

namespace tarn::tests {

void writeMarkerTake(const std::filesystem::path& file, const std::vector<TakePart>& parts,
                     int frames) {
    kit::C3dTake take;
    take.rate = 120;
    take.unit = "mm";
    take.metresPerUnit = 0.001;
    take.firstFrame = 11;
    std::vector<std::vector<kit::Marker>> rows(static_cast<std::size_t>(frames));
    for (const TakePart& part : parts) {
        const kit::C3dTake sample = kit::readC3d(testing::samplePath(part.sample));
        for (std::size_t column = 0; column < sample.markers.size(); ++column) {
            kit::C3dMarker marker = sample.markers[column];
            marker.subject = part.subject;
            marker.name = part.rename ? part.rename(marker.name) : marker.name;
            if (marker.name.empty()) {
                continue;
            }
            take.markers.push_back(marker);
            for (int i = 0; i < frames; ++i) {
                const auto frame = sample.tracks->getFrame(part.first + i, kit::markerDataType);
                rows[static_cast<std::size_t>(i)].push_back(
                    frame->dataAs<kit::MarkerFrame>()[column]);
            }
        }
    }
    std::vector<std::shared_ptr<Frame>> all;
    all.reserve(rows.size());
    for (std::vector<kit::Marker>& row : rows) {
        all.push_back(std::make_shared<Frame>(Time(static_cast<unsigned>(all.size()), 120),
                                              kit::markerDataType,
                                              kit::MarkerFrame(std::move(row))));
    }
    take.frameCount = frames;
    take.tracks = kit::takeOf(kit::markerDataType, std::move(all), 120);
    std::ofstream stream(file, std::ios::binary);
    kit::writeC3d(take, stream);
}

} // namespace tarn::tests
