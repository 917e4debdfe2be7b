// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "processing/FactorTable.h"

#include <tarn/Calibrator.h>

#include <atomic>
#include <memory>
#include <string>

namespace tarn {

/// The record of a calibrator. `Character` hands every frame to all of its calibrators through it,
/// without a copy of the pointer on the way.
struct Calibrator::PrivateData {
    /// Connected before anyone else can be, so that slots of the host find flag and progress
    /// current.
    PrivateData() {
        onBegin.connect(this, [this] { calibrating = true; });
        onEnd.connect(this, [this] { calibrating = false; });
        onProgress.connect(this, [this](float value) { progress = value; });
    }

    static void flushFrame(Calibrator& calibrator, const std::shared_ptr<Timeline>& timeline) {
        calibrator.doRawFlushFrame(timeline);
        if (calibrator.isCalibrating()) { // by now: the raw frame may have begun or ended it
            calibrator.doFlushFrame(timeline);
        }
    }

    std::string calibratorType;
    std::string id;
    FactorTable factors;
    tsignal::Signal<> onBegin;
    tsignal::Signal<> onEnd;
    tsignal::Signal<float> onProgress;
    tsignal::Signal<int, int> onPrepare;
    // Polled by hosts while a device's thread reports. In the single total order, so that who
    // connects and then looks is told of a change or sees it.
    std::atomic<bool> calibrating = false;
    std::atomic<float> progress = 0.0F;
};

} // namespace tarn
