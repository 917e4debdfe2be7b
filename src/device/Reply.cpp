// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn/Reply.h>

namespace tarn {

Reply::Reply(const std::string& id) : id_(id) {}

Reply::~Reply() = default;

const std::string& Reply::id() const { return id_; }

int Reply::resultCode() const { return resultCode_; }

void Reply::setResultCode(int code) { resultCode_ = code; }

int Reply::errorCode() const { return errorCode_; }

std::string Reply::errorString() const { return errorString_; }

void Reply::setError(int code, const std::string& text) {
    errorCode_ = code;
    errorString_ = text;
}

const std::any& Reply::data() const { return data_; }

void Reply::setData(const std::any& data) { data_ = data; }

void Reply::finished() {
    if (telling_.exchange(true)) {
        return;
    }
    try {
        finishedSignal_.emitAndDisconnectAll([this] { telling_ = false; }, resultCode_);
        // From here on the reply may be gone with a listener that held it.
    } catch (...) {
        telling_ = false;
        throw;
    }
}

tsignal::Signal<int>& Reply::onFinished() { return finishedSignal_; }

} // namespace tarn
