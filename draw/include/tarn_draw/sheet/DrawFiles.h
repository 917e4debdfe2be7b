// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_draw/Export.h>
#include <tarn_draw/sheet/Subject.h>

#include <cstddef>
#include <string>
#include <vector>

namespace tarn::draw {

// Draw a session into files, in the format that their name ends in: ".png" or ".svg". Each file is
// written as a whole or not at all. Both throw `std::runtime_error` for what `whyNotDrawn` names
// and as `savePicture` does.

/// The poses of a session (see `poseSheet`).
TARN_DRAW_EXPORT void drawPoses(const std::vector<Subject>& subjects, const std::string& file,
                                const std::vector<std::string>& notes = {});

/// The motion of a session (see `motionPlots`). Returns the names of the files, one per page.
TARN_DRAW_EXPORT std::vector<std::string> drawMotion(const std::vector<Subject>& subjects,
                                                     const std::string& file);

/// The name of the file of a page, counted from 0, of a drawing that is named after its first page:
/// "out/motion.png", "out/motion-2.png".
TARN_DRAW_EXPORT std::string pageFile(const std::string& file, std::size_t page);

} // namespace tarn::draw
