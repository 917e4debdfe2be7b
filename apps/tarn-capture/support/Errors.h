// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tarn::capture {

/// How the program ends, unless it was asked to stop by a signal. Scripts rely on these numbers.
enum ExitCode : int {
    exitSuccess = 0,
    exitFailure = 1, ///< the input is at fault, or the output cannot be written
    exitUsage = 2,   ///< the command line is at fault
};

/// The command line asks for something that cannot be; `what()` says what and is one line.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Which entry of a settings document of this text is meant, and where it stands:
/// "ada.xml:7:3: Sensors.Left"; `index` is as `kit::placeOf` counts.
std::string placeText(const std::string& file, const std::string& text, const std::string& key,
                      std::size_t index = 0);

/// Prints the reason of a failure on standard error, as one line whatever `reason` holds.
void reportError(std::string_view reason);

} // namespace tarn::capture
