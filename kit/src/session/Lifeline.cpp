// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/Lifeline.h"

#include <any>
#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>

namespace tarn::kit {

namespace {

std::string newKey() {
    static std::atomic<std::uint64_t> count = 0;
    return "tarn_kit.lifeline." + std::to_string(++count);
}

} // namespace

struct Lifeline::End {
    Lifeline* lifeline; ///< null when nobody wants to know any more
    std::function<void(Object&)> call;

    End(Lifeline* owner, std::function<void(Object&)> onEnd)
        : lifeline(owner), call(std::move(onEnd)) {}
    End(const End&) = delete;
    End& operator=(const End&) = delete;
    ~End() {
        if (lifeline != nullptr) {
            Object& object = *std::exchange(lifeline->object_, nullptr);
            call(object);
        }
    }
};

Lifeline::Lifeline(Object& object, std::function<void(Object&)> onEnd)
    : object_(&object), key_(newKey()) {
    auto end = std::make_shared<End>(this, std::move(onEnd));
    end_ = end.get();
    object.mountUserObject(key_, std::any(std::move(end)));
}

Lifeline::~Lifeline() {
    if (object_ != nullptr) {
        end_->lifeline = nullptr;
        object_->takeUserObject(key_);
    }
}

} // namespace tarn::kit
