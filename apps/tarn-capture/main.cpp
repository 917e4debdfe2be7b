// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"
#include "support/CommandLine.h"

#include <fmt/format.h>
#include <tarn/Version.h>
#include <tarn_kit/Version.h>

int main(int argc, char** argv) {
    using namespace tarn::capture;
    CommandLine line("tarn-capture",
                     "Runs motion-capture sessions; shows, plays, exports and streams takes (BVH "
                     "and C3D files).",
                     fmt::format("tarn-capture {} (tarn_sdk {}, tarn_kit {})", TARN_VERSION,
                                 tarn::version(), tarn::kit::version()));
    addCommands(line);
    return line.run(argc, argv);
}
