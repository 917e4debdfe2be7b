// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/CommInterface.h>
#include <tarn_kit/Export.h>

#include <any>
#include <memory>
#include <stdexcept>
#include <string>

namespace tarn::kit {

/// The result code of a command that a device, or any other communication interface, does not know.
inline constexpr int commandUnknown = 1;
/// That of a command that failed, as the devices of the kit have it; the error code says why.
inline constexpr int commandFailed = 2;

/// Why a device did not do what it was told. `what()` has the device's own words, or names the
/// command where the device has none.
class TARN_KIT_EXPORT CommandError : public std::runtime_error {
public:
    CommandError(const std::string& text, int resultCode, int errorCode);
    CommandError(const CommandError&) = default;
    CommandError(CommandError&&) = default;
    CommandError& operator=(const CommandError&) = default;
    CommandError& operator=(CommandError&&) = default;
    ~CommandError() override;

    /// Of the reply; `commandUnknown` for a command that the device does not know.
    int resultCode() const noexcept { return resultCode_; }
    /// Of the reply: what it means is the device's matter.
    int errorCode() const noexcept { return errorCode_; }

private:
    int resultCode_;
    int errorCode_;
};

/// Gives a device, or any other communication interface, a command, waits for its answer without
/// limit, and returns it. Throws `CommandError` if the answer is no success.
///
/// Threads: those from which the device takes requests.
TARN_KIT_EXPORT std::shared_ptr<Reply> command(CommInterface& device, const std::string& id,
                                               const std::any& data = {});

} // namespace tarn::kit
