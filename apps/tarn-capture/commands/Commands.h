// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "support/CommandLine.h"

namespace tarn::capture {

// The commands of the program. Each is a file of its name: what it takes, what it does with that,
// and what its help says; flags that others have as well come from support/Flags.h. Commands return
// the exit code and throw `UsageError` for what the command line asks for and cannot be, before any
// file is opened where the files have no say in it.

/// All of them: a new command is declared below and gets its line in Commands.cpp.
void addCommands(CommandLine& line);

void addActor(CommandLine& line);
void addCalibrate(CommandLine& line);
void addClean(CommandLine& line);
void addCompletion(CommandLine& line);
void addConvert(CommandLine& line);
void addExport(CommandLine& line);
void addInfo(CommandLine& line);
void addManual(CommandLine& line);
void addMarkers(CommandLine& line);
void addPlay(CommandLine& line);
void addPublish(CommandLine& line);
void addRecordStreams(CommandLine& line);
void addLead(CommandLine& line);
void addRun(CommandLine& line);
void addSolve(CommandLine& line);
void addStream(CommandLine& line);
void addTake(CommandLine& line);
void addView(CommandLine& line);
void addWatch(CommandLine& line);

} // namespace tarn::capture
