// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_draw/sheet/Subject.h>

#include <string>
#include <vector>

namespace tarn::draw {

/// Throws `std::runtime_error` with what keeps these subjects from being drawn, if anything does.
void requireDrawable(const std::vector<Subject>& subjects);

/// How many frames the longest take has.
int frameCountOf(const std::vector<Subject>& subjects);
/// Frames per second, greater than 0; those of the first take that knows.
double rateOf(const std::vector<Subject>& subjects);
/// How high the tallest rig is, finite.
double bodyHeightOf(const std::vector<Subject>& subjects);
/// That of the first one.
kit::LengthUnit unitOf(const std::vector<Subject>& subjects);
/// That of the first one.
kit::UpAxis upAxisOf(const std::vector<Subject>& subjects);

/// The subjects' names in one line, for the head of a page.
std::string namesText(const std::vector<Subject>& subjects);
/// How many performers, or what one performer is like; how many frames at which rate, and how long
/// that lasts.
std::string factsText(const std::vector<Subject>& subjects);

} // namespace tarn::draw
