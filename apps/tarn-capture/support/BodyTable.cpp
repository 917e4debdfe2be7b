// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "support/BodyTable.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>

namespace tarn::capture {

std::string bodyTable(const kit::Rig& rig, const kit::BodyMatch& match, const std::string& margin) {
    constexpr std::size_t column = 24;
    std::string text;
    for (const kit::JointMatch& joint : match.joints()) {
        const auto& node = rig.nodes()[static_cast<std::size_t>(joint.node)];
        const std::string name = kit::shortened(kit::printable(node.name), column);
        const std::string found =
            joint.segment ? boneIDToBoneName(*joint.segment)
                          : fmt::format("{}: {}", joint.isAmbiguous() ? "ambiguous" : "none",
                                        kit::printable(joint.reason));
        text += fmt::format("{}{:<{}}  {}\n", margin, name, column, found);
    }
    return text;
}

std::string bodySummary(const kit::BodyMatch& match) {
    std::string text = fmt::format("{} of {} {} of the body", match.matchedCount(),
                                   kit::counted(match.joints().size(), "joint"),
                                   match.matchedCount() == 1 ? "is a segment" : "are segments");
    if (const std::size_t count = match.ambiguousCount(); count > 0) {
        text += fmt::format(", {} {} ambiguous", count, count == 1 ? "is" : "are");
    }
    return text;
}

} // namespace tarn::capture
