// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "support/TemporaryDirectory.h"

#include <sys/types.h>

#include <csignal>
#include <string>
#include <vector>

namespace tarn::tests {

using TempDirectory = tarn::testing::TemporaryDirectory;
using tarn::testing::readFile;
using tarn::testing::writeFile;

/// How a program ended, and what it printed.
struct Outcome {
    int exitCode; ///< 128 and the number of the signal if one ended it
    std::string out;
    std::string err;
};

using Arguments = std::vector<std::string>;

/// Runs a program, found in PATH if its name has no slash, with nothing on its standard input.
Outcome runProgram(const std::string& program, const Arguments& arguments);
/// Where tarn-capture is.
std::string captureProgram();
/// Runs tarn-capture.
Outcome capture(const Arguments& arguments);
/// Runs tarn-capture with a terminal of so many columns as its standard error.
Outcome captureOnTerminal(const Arguments& arguments, int columns);

/// tarn-capture while it runs. It is killed with this, if it still does.
class RunningCapture {
public:
    explicit RunningCapture(const Arguments& arguments);
    ~RunningCapture();
    RunningCapture(const RunningCapture&) = delete;
    RunningCapture& operator=(const RunningCapture&) = delete;

    /// Waits until it has printed a text; false if it ends without.
    bool awaitOutput(const std::string& text);
    void signal(int number) const;
    /// Waits for its end. Once.
    Outcome wait();

private:
    bool read();

    const TempDirectory directory_;
    int output_ = -1;
    pid_t child_ = 0; ///< 0 once it has been waited for
    std::string out_;
};

/// Runs tarn-capture until it has printed `text`, and sends it a signal then; as Ctrl-C does,
/// unless another is given.
Outcome captureInterrupted(const Arguments& arguments, const std::string& text,
                           int signal = SIGINT);

} // namespace tarn::tests
