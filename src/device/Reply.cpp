#include <tarn/Reply.h>

namespace tarn {

// Listeners are told and dropped as one step, so both have to happen under the lock of the signal,
// which only its slots run under. Hence the reply keeps a slot of its own in front of all others:
// called by the emission that `finished()` starts, it tells the others with an emission inside that
// one, drops them, and takes its place again.

Reply::Reply(const std::string& id) : id_(id) {
    awaitFinished();
}

Reply::~Reply() = default;

const std::string& Reply::id() const {
    return id_;
}

int Reply::resultCode() const {
    return resultCode_;
}

void Reply::setResultCode(int code) {
    resultCode_ = code;
}

int Reply::errorCode() const {
    return errorCode_;
}

std::string Reply::errorString() const {
    return errorString_;
}

void Reply::setError(int code, const std::string& text) {
    errorCode_ = code;
    errorString_ = text;
}

const std::any& Reply::data() const {
    return data_;
}

void Reply::setData(const std::any& data) {
    data_ = data;
}

void Reply::finished() {
    if (telling_.exchange(true)) {
        return;
    }
    // Where somebody has emptied the signal, the slot in front is gone: this emission itself
    // reaches the listeners, and a slot behind them drops them. It takes its place once more when
    // it is reached, for what was connected behind it meanwhile.
    finishedSignal_.connect(&telling_, [this](int /*code*/) {
        finishedSignal_.connect(&telling_, [this](int /*code*/) { dropListeners(); });
    });
    finishedSignal_.emit(resultCode_);
    // From here on the reply may be gone with a listener that held it.
}

tsignal::Signal<int>& Reply::onFinished() {
    return finishedSignal_;
}

void Reply::awaitFinished() {
    finishedSignal_.connect(&telling_, [this](int code) { tellListeners(code); });
}

void Reply::tellListeners(int code) {
    if (!telling_) {
        return; // somebody else emits the signal
    }
    finishedSignal_.disconnect(&telling_); // what is left are the listeners
    finishedSignal_.emit(code);
    dropListeners();
}

void Reply::dropListeners() {
    finishedSignal_.disconnectAll();
    awaitFinished();
    telling_ = false;
}

} // namespace tarn
