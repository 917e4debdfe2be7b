// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_draw/Export.h>
#include <tarn_draw/canvas/Picture.h>
#include <tarn_draw/sheet/Subject.h>

#include <string>
#include <vector>

namespace tarn::draw {

/// One page about a session: who is in it, all bodies at evenly spaced instants as they stand in
/// their common space, the paths of their roots, and below that a line for each of `notes`. Frames
/// without anybody are passed over; takes without frames are shown in their rest pose.
///
/// A single performer is drawn in the colours of left and right, with the instants numbered on the
/// path; several get a colour and a number each.
///
/// The page keeps all that it shows. Throws `std::runtime_error` for what `whyNotDrawn` names.
TARN_DRAW_EXPORT Picture poseSheet(const std::vector<Subject>& subjects,
                                   const std::vector<std::string>& notes = {});

} // namespace tarn::draw
