// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_draw/Export.h>
#include <tarn_draw/canvas/Picture.h>
#include <tarn_draw/sheet/Subject.h>

#include <cstddef>
#include <vector>

namespace tarn::draw {

/// A page of a motion plot has at most so many subjects.
inline constexpr std::size_t subjectsPerPlot = 8;

/// How many pages the plot of so many subjects has, at least 1.
TARN_DRAW_EXPORT std::size_t motionPlotCount(std::size_t subjects);

/// How high some joints of each performer are, and how fast, over time: one page after the other,
/// all with the same axes. They keep all that they show. Throws `std::runtime_error` for what
/// `whyNotDrawn` names.
TARN_DRAW_EXPORT std::vector<Picture> motionPlots(const std::vector<Subject>& subjects);

} // namespace tarn::draw
