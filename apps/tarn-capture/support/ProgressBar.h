// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstdio>

namespace tarn::capture {

/// One line on a terminal that shows how far a job is; nothing at all where `stream` goes to a file
/// or a pipe. The line is redrawn when its text changes and removed in the end, so that what
/// follows starts on a clean line.
class ProgressBar {
public:
    /// `total` steps are to come. The stream must outlive the bar.
    ProgressBar(std::FILE* stream, long long total);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /// One more step is done.
    void advance();

private:
    void draw();

    std::FILE* stream_;
    long long total_;
    long long done_ = 0;
    int width_ = 0;    ///< columns of the terminal; 0 if there is none
    int percent_ = -1; ///< what the line shows
};

} // namespace tarn::capture
