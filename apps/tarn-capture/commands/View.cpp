// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/Commands.h"

#include "session/TakeFile.h"
#include "support/Errors.h"
#include "support/Flags.h"
#include "support/Output.h"
#include "support/OutputPath.h"
#include "takes/MarkerSource.h"
#include "takes/MeasuredMarkers.h"
#include "takes/StoredSource.h"
#include "takes/TakeSource.h"

#include <fmt/format.h>
#include <tarn_kit/files/Text.h>
#include <tarn_view/page/Page.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace tarn::capture {

namespace {

struct ViewOptions {
    std::vector<std::string> takes;
    std::string out;
    std::string title;
    SpaceChoice space;
};

void add(view::PageContent& content, MarkerSource source) {
    content.markers.push_back(std::move(source.cloud));
    content.events.insert(content.events.end(), source.events.begin(), source.events.end());
}

void addStored(view::PageContent& content, const std::string& file, const std::string& subject,
               const SpaceChoice& space) {
    StoredSource stored(file, subject);
    for (MarkerSource& source : stored.markers(space)) {
        add(content, std::move(source));
    }
    const auto notes = stored.notes();
    content.events.insert(content.events.end(), notes.begin(), notes.end());
}

/// Names of takes, sessions and trials, one after the other.
std::string titleOf(const view::PageContent& content) {
    std::vector<std::string> names;
    for (const kit::PerformerTake& performer : content.performers) {
        names.push_back(performer.name);
    }
    for (const view::MarkerCloud& cloud : content.markers) {
        names.push_back(cloud.name);
    }
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return fmt::format("{}", fmt::join(names, ", "));
}

view::PageContent contentOf(const ViewOptions& options) {
    view::PageContent content;
    std::vector<std::string> bodies;
    for (const std::string& name : options.takes) {
        if (documentOf(name)) {
            bodies.push_back(name);
            continue;
        }
        TakeFile source(name);
        const auto [file, subject] = source.stored();
        if (!file.empty()) {
            addStored(content, file, subject, options.space);
        } else if (source.holdsMarkers()) {
            add(content, markersOf(name, options.space));
        }
        if (!source.holdsMarkers()) {
            bodies.push_back(name);
        }
    }
    content.performers = performersOf(bodies, options.space);
    for (const std::string& name : bodies) {
        const auto document = documentOf(name);
        if (document) {
            for (MarkerSource& source : measuredMarkersOf(*document, content.notes)) {
                add(content, std::move(source));
            }
        }
    }
    for (const kit::PerformerTake& performer : content.performers) {
        if (!performer.rig->space().unit.known()) {
            content.notes.push_back(
                fmt::format("The unit of {} is not known: it is shown as tall as an adult, {} m",
                            kit::printable(performer.name), kit::adultHeight));
        }
    }
    content.title = options.title.empty() ? titleOf(content) : options.title;
    return content;
}

int makePage(const ViewOptions& options) {
    checkInputs(options.takes);
    refuseToOverwrite(options.takes, {options.out}, "--out");
    const view::PageContent content = contentOf(options);
    Output file(options.out);
    view::PageReport report;
    try {
        report = view::writePage(content, file.stream());
    } catch (const std::invalid_argument& error) {
        throw std::runtime_error(fmt::format("{}: {}", options.out, error.what()));
    }
    file.commit();
    return exitSuccess;
}

} // namespace

void addView(CommandLine& line) {
    auto [command, options] = line.add(
        "view", "Write takes as one page that plays them in a browser, with nothing else needed",
        makePage);
    addTakes(
        command, options.takes,
        "BVH, C3D and take files, sessions and solved trials (by their directory, session.xml or "
        "solve.xml); - is standard input");
    addOut(command, options.out, "PAGE.html", "The page to write, - for standard output");
    command
        .add_option("--title", options.title, "What the page is called; if not given, as takes are")
        ->type_name("TEXT");
    addSpace(command, options.space);
}

} // namespace tarn::capture
