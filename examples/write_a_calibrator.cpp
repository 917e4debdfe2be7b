// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// A calibrator: hears every frame of its character's take, and uses those of a calibration run.
#include <tarn/Calibrator.h>
#include <tarn/Character.h>

#include <iostream>
#include <memory>

/// Finds the value of a sensor that stands still: the mean of what it says while it calibrates.
class RestCalibrator : public tarn::Calibrator {
public:
    static constexpr int dataType = 100; // float
    static constexpr int wanted = 4;     // frames

    float rest() const { return used_ > 0 ? sum_ / static_cast<float>(used_) : 0; }

protected:
    void doGlobalStart() override {
        used_ = 0;
        sum_ = 0;
        onBegin().emit(); // from here on `doFlushFrame` is called
    }
    void doGlobalFinish() override { onEnd().emit(); }
    void doGlobalCancel() override { onEnd().emit(); }
    void doFlushFrame(std::shared_ptr<tarn::Timeline> timeline) override {
        if (const auto frame = timeline->frame(dataType)) {
            sum_ += frame->dataAs<float>();
            ++used_;
            onProgress().emit(static_cast<float>(used_) / wanted);
        }
    }

private:
    int used_ = 0;
    float sum_ = 0;
};

int main() {
    constexpr int kind = RestCalibrator::dataType;
    auto take = std::make_shared<tarn::Tracks>();
    take->setTimeLength(RestCalibrator::wanted);
    for (int i = 0; i < RestCalibrator::wanted; ++i) {
        const std::any value = static_cast<float>(2 + i);
        take->setFrame(i, kind, std::make_shared<tarn::Frame>(tarn::Time(), kind, value));
    }
    tarn::Solver solver("none", "");
    RestCalibrator calibrator;
    calibrator.onProgress().connect([](float part) { std::cout << 100 * part << " %\n"; });
    tarn::Character character("1", "Ada");
    character.setSolver(&solver); // a calibration run needs one
    character.addCalibrator(&calibrator, true);
    character.setTracks(take);

    character.beginCalibrate();
    for (int i = 0; i < take->timeLength(); ++i) {
        take->setCurrentTime(i); // the character hands the frame to its calibrators
    }
    character.endCalibrate();
    std::cout << "rest " << calibrator.rest() << "\n";
    character.setTracks(nullptr);
}
