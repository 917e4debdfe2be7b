// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

namespace tarn::capture {

void addCommands(CommandLine& line) {
    // In the order in which the help lists them.
    addInfo(line);
    addPlay(line);
    addExport(line);
    addClean(line);
    addStream(line);
    addRun(line);
    addActor(line);
    addCompletion(line);
    addManual(line);
    addMarkers(line);
    addCalibrate(line);
    addSolve(line);
}

} // namespace tarn::capture
