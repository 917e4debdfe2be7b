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
    addConvert(line);
    addStream(line);
    addRun(line);
    addPublish(line);
    addWatch(line);
    addRecordStreams(line);
    addLead(line);
    addTake(line);
    addActor(line);
    addMarkers(line);
    addCalibrate(line);
    addSolve(line);
    addView(line);
    addCompletion(line);
    addManual(line);
}

} // namespace tarn::capture
