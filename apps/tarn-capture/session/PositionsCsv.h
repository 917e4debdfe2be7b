// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <fmt/format.h>
#include <tarn/Rotation.h>
#include <tarn_kit/body/LengthUnit.h>
#include <tarn_kit/body/Rig.h>

#include <string>
#include <string_view>

namespace tarn::capture {

// A table of where every node of a rig is, frame by frame: frame, time, then x, y and z of each
// node. Numbers are written with the fewest digits that read back to the same value.

std::string csvHeader(const kit::Rig& rig, const kit::LengthUnit& unit);

/// One line of the table, to which the nodes are added in order.
class CsvRow {
public:
    CsvRow(int frame, double seconds);
    void add(const Vector3f& position);
    /// Leaves the cells of a node empty: where it is is not known.
    void addUnknown();
    /// Ends the line and returns it; once.
    std::string_view finished();

private:
    fmt::memory_buffer text_;
};

} // namespace tarn::capture
