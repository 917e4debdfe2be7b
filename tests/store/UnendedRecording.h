// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "support/TemporaryDirectory.h"

#include <tarn_kit/body/Rig.h>
#include <tarn_store/recording/TakeRecorder.h>

#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace tarn::testing {

/// Copies a recording of so many frames, at 120 a second, that nobody has ended: what others see of
/// one that goes on, or was broken off. `endings` are those of the files of it that are copied.
inline void copyUnended(const std::string& file, unsigned count,
                        const std::vector<std::string>& endings = {"", "-wal"}) {
    const TemporaryDirectory directory;
    const std::string live = directory / "live.tarn";
    tsignal::Signal<std::shared_ptr<Frame>> port;
    store::TakeRecorder recorder(live);
    store::TrackDescription description;
    description.rate = kit::Rate(120);
    recorder.tieToIFramePort(recorder.addTrack(kit::poseDataType, description), port);
    recorder.start();
    for (unsigned i = 0; i < count; ++i) {
        port.emit(std::make_shared<Frame>(Time(i, 120), kit::poseDataType, kit::Pose{{1, 2, 3}}));
    }
    while (recorder.safeFrames() < count) {
        std::this_thread::yield();
    }
    for (const std::string& ending : endings) {
        std::filesystem::copy_file(live + ending, file + ending);
    }
}

} // namespace tarn::testing
