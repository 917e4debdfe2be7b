// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "apps/support/Takes.h"
#include "support/Samples.h"

namespace tarn::tests {

namespace {

std::string joint(const std::string& kind, const std::string& name, double x, double y,
                  const std::string& channels) {
    return kind + " " + name + "\n{\nOFFSET " + std::to_string(x) + " " + std::to_string(y) +
           " 0\nCHANNELS " + channels + "\n";
}

} // namespace

std::string TakeText::text() const {
    const std::string turns = "3 Zrotation Xrotation Yrotation";
    std::string text = "HIERARCHY\n";
    text += joint("ROOT", root, 0, height / 2,
                  "6 Xposition Yposition Zposition Zrotation Yrotation "
                  "Xrotation");
    text += joint("JOINT", "Head", 0, height * 3 / 8, turns);
    text += "End Site\n{\nOFFSET 0 " + std::to_string(height / 8) + " 0\n}\n}\n";
    text += joint("JOINT", "LeftLeg", height / 10, -height / 2, turns) + "}\n";
    text += joint("JOINT", "rLeg", -height / 10, -height / 2, turns) + "}\n}\n";
    text += "MOTION\nFrames: " + std::to_string(rootPositions.size()) +
            "\nFrame Time: " + frameTime + "\n";
    for (const std::string& position : rootPositions) {
        text += position + " 0 0 0  0 0 0  0 0 0  0 0 0\n";
    }
    return text;
}

std::string chainTake(int joints) {
    std::string text = "HIERARCHY\n";
    std::string values;
    for (int i = 0; i < joints; ++i) {
        text += joint(i == 0 ? "ROOT" : "JOINT", "j" + std::to_string(i), 0, 0.01, "1 Xrotation");
        values += "0.05 ";
    }
    for (int i = 0; i < joints; ++i) {
        text += "}\n";
    }
    return text + "MOTION\nFrames: 1\nFrame Time: 0.04\n" + values + "\n";
}

std::string sampleTake(const std::string& name) {
    return testing::samplePath(name + ".bvh").string();
}

} // namespace tarn::tests
