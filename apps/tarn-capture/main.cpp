// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"
#include "support/CommandLine.h"

int main(int argc, char** argv) {
    using namespace tarn::capture;
    CommandLine line(
        "tarn-capture",
        "Runs motion-capture sessions; shows, plays, exports and streams takes (BVH files).",
        "tarn-capture " TARN_CAPTURE_VERSION);
    addCommands(line);
    return line.run(argc, argv);
}
