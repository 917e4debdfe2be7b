// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/files/C3d.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace tarn::tests {

/// Some markers of a take under a subject of one's own.
struct TakePart {
    std::string sample;  ///< a sample take of markers, by the name of its file
    std::string subject; ///< whose markers they are to be
    int first = 0;       ///< the index of the first frame
    /// Which markers, and what they are to be called; all under their own names if not given. An
    /// empty name leaves one out.
    std::function<std::string(const std::string& name)> rename = {};
};

/// Writes a take of so many frames in which all these are seen at once, each where it was.
void writeMarkerTake(const std::filesystem::path& file, const std::vector<TakePart>& parts,
                     int frames);

} // namespace tarn::tests
