// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "linked/LiveDevice.h"

#include <utility>

namespace tarn::capture {

namespace {

constexpr int closing = 1; // the only error that there is

} // namespace

LiveDevice::LiveDevice(const std::string& id, int port, std::shared_ptr<LiveFrames> frames,
                       Convert convert)
    : Device("live take", id), frames_(std::move(frames)), convert_(std::move(convert)),
      output_(addOFramePort(port)),
      thread_({[this](const Request& request, Reply& reply) { return handle(request, reply); },
               [this] { wait_.untilWoken(); }, [this] { wait_.wake(); }, [this] { sendNext(); },
               closing}) {
    setState(Ready);
    changes_ = frames_->onChanged().connect([this] { wait_.wake(); });
    thread_.start();
}

LiveDevice::~LiveDevice() {
    changes_.disconnect(); // waits for one that is on its way
    thread_.close();
}

void LiveDevice::doRequest(std::shared_ptr<Request> request, std::shared_ptr<Reply> reply) {
    thread_.request(std::move(request), std::move(reply));
}

bool LiveDevice::handle(const Request& request, Reply& reply) {
    if (request.id() == "start") {
        next_ = 0;
        before_ = nullptr;
        setState(Busy);
        wait_.wake();
    } else if (request.id() == "stop") {
        setState(Ready);
    } else {
        return false;
    }
    reply.setResultCode(0);
    return true;
}

/// One frame at a time, so that commands are heard in between.
void LiveDevice::sendNext() {
    if (!isBusy()) {
        return;
    }
    if (const FramePtr frame = frames_->at(next_)) {
        ++next_;
        wait_.wake(); // more may be there
        if (const FramePtr made = convert_ ? convert_(frame, before_) : frame) {
            before_ = made;
            output_.emit(made);
        }
    } else if (frames_->isOverAt(next_)) {
        setState(Ready);
    }
}

} // namespace tarn::capture
