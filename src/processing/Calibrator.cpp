// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Calibrator.h>

#include "processing/CalibratorData.h"

#include <utility>

namespace tarn {

Calibrator::Calibrator() : d_(std::make_unique<PrivateData>()) {}

Calibrator::~Calibrator() = default;

std::string Calibrator::id() const { return d_->id; }

std::string Calibrator::calibratorType() const { return d_->calibratorType; }

void Calibrator::setId(const std::string& id) { d_->id = id; }

void Calibrator::setCalibratorType(const std::string& type) { d_->calibratorType = type; }

bool Calibrator::isAvailable() { return doCheckAvaialbe(); }

void Calibrator::prepare(int first, int second) { d_->onPrepare.emit(first, second); }

bool Calibrator::start() { return doCalibrate(); }

void Calibrator::finish() { doFinishCalibrate(); }

void Calibrator::cancel() { doCancelCalibrate(); }

void Calibrator::globalStart() { doGlobalStart(); }

void Calibrator::globalFinish() { doGlobalFinish(); }

void Calibrator::globalCancel() { doGlobalCancel(); }

bool Calibrator::isCalibrating() const { return d_->calibrating; }

float Calibrator::currentCalibrateProgress() const { return d_->progress; }

void Calibrator::flushFrame(std::shared_ptr<Timeline> timeline) {
    PrivateData::flushFrame(*this, timeline);
}

std::shared_ptr<Tracks> Calibrator::calibrationData() { return doGetCalibrationData(); }

void Calibrator::setCalibrationData(std::shared_ptr<Tracks> data) {
    doSetCalibrationData(std::move(data));
}

void Calibrator::truncCalibrationData() { doTruncCalibrationData(); }

std::any Calibrator::queryFactor(int id) { return d_->factors.query(id); }

void Calibrator::setFactor(int id, const std::any& value) { d_->factors.set(id, value); }

bool Calibrator::isFactorQueriable(int id) const { return d_->factors.isQueriable(id); }

bool Calibrator::isFactorSettable(int id) const { return d_->factors.isSettable(id); }

void Calibrator::addFactor(int id, std::function<std::any()> getter,
                           std::function<void(const std::any&)> setter) {
    d_->factors.add(id, std::move(getter), std::move(setter));
}

bool Calibrator::doCheckAvaialbe() { return false; }

bool Calibrator::doCalibrate() { return false; }

void Calibrator::doCancelCalibrate() {}

void Calibrator::doFinishCalibrate() {}

void Calibrator::doFlushFrame(std::shared_ptr<Timeline> /*timeline*/) {}

void Calibrator::doRawFlushFrame(std::shared_ptr<Timeline> /*timeline*/) {}

std::shared_ptr<Tracks> Calibrator::doGetCalibrationData() { return nullptr; }

void Calibrator::doSetCalibrationData(std::shared_ptr<Tracks> /*data*/) {}

void Calibrator::doTruncCalibrationData() {}

void Calibrator::doGlobalStart() {}

void Calibrator::doGlobalCancel() {}

void Calibrator::doGlobalFinish() {}

tsignal::Signal<>& Calibrator::onBegin() { return d_->onBegin; }

tsignal::Signal<>& Calibrator::onEnd() { return d_->onEnd; }

tsignal::Signal<float>& Calibrator::onProgress() { return d_->onProgress; }

tsignal::Signal<int, int>& Calibrator::onPrepare() { return d_->onPrepare; }

tsignal::Signal<int>& Calibrator::onFactorChanged() { return d_->factors.onChanged(); }

} // namespace tarn
