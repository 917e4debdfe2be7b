// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "support/Errors.h"
#include "support/FrameRange.h"

#include <fmt/format.h>

#include <cstddef>
#include <exception>
#include <string>
#include <vector>

namespace tarn::capture {

/// Does something with each of several takes, by their index, and returns the exit code. One that
/// fails, or does not have the frames that were asked for, is reported and does not keep the others
/// from being done; of several takes, a `UsageError` gets the name of the one that it is about.
template <class Function>
int forEachTake(const std::vector<std::string>& takes, const Function& function) {
    int exitCode = exitSuccess;
    for (std::size_t i = 0; i < takes.size(); ++i) {
        try {
            function(i);
        } catch (const UsageError& error) {
            if (takes.size() == 1) {
                throw;
            }
            const std::string reason = fmt::format("{}: {}", takes[i], error.what());
            if (dynamic_cast<const FramesError*>(&error) == nullptr) {
                throw UsageError(reason);
            }
            reportError(reason);
            exitCode = exitFailure;
        } catch (const std::exception& error) {
            reportError(error.what());
            exitCode = exitFailure;
        }
    }
    return exitCode;
}

} // namespace tarn::capture
