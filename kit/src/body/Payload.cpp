// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_kit/body/Payload.h>

#include <string>

#if defined(__GNUC__)
#include <cxxabi.h>

#include <cstdlib>
#endif

namespace tarn::kit {

namespace {

/// As the source has it, where the compiler tells.
std::string nameOf(const std::type_info& type) {
#if defined(__GNUC__)
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> name(
        abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), std::free);
    if (name != nullptr) {
        return name.get();
    }
#endif
    return type.name();
}

std::string describe(const Frame* frame, const std::type_info& asked) {
    if (frame == nullptr) {
        return "there is no frame to take " + nameOf(asked) + " from";
    }
    const std::string holds =
        frame->data().has_value() ? nameOf(frame->data().type()) : std::string("nothing");
    return "frame " + std::to_string(frame->time().frameIndex()) + " at " +
           std::to_string(frame->time().fps()) + " frames per second, of data type " +
           std::to_string(frame->dataType()) + ", holds " + holds + ", not " + nameOf(asked);
}

} // namespace

PayloadError::PayloadError(const Frame* frame, const std::type_info& asked)
    : std::runtime_error(describe(frame, asked)) {}

PayloadError::~PayloadError() = default;

} // namespace tarn::kit
