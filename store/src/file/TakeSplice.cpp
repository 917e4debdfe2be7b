// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include <tarn_store/file/TakeSplice.h>

#include "file/Splice.h"
#include "file/SpliceSource.h"

#include <tarn_kit/files/Text.h>

#include <algorithm>
#include <cassert>
#include <cmath>
#include <limits>
#include <optional>
#include <string>

namespace tarn::store {

namespace {

namespace fs = std::filesystem;

/// When frame index 0 of a file was captured, and by which clock.
struct Anchor {
    std::string clock;
    double instant = 0; ///< in nanoseconds: exact enough to find a frame by
};

std::optional<Anchor> anchorOf(SpliceSource& source, double rate) {
    const std::int64_t base = source.base();
    for (const Note& note : readNotes(source.database)) {
        const auto instant = kit::numberIn<std::int64_t>(note.label);
        if (note.kind == clockKind && note.frame && instant && !note.context.empty()) {
            const double since =
                (static_cast<double>(*note.frame) - static_cast<double>(base)) * 1e9 / rate;
            return Anchor{note.context, static_cast<double>(*instant) - since};
        }
    }
    return std::nullopt;
}

/// At which frame index each of the files begins on their one timeline; nothing if they have none.
std::vector<std::int64_t> beginsOf(const std::vector<fs::path>& files) {
    std::vector<Anchor> anchors;
    int fps = 0;
    for (const fs::path& file : files) {
        SpliceSource source(file);
        const int rate = source.fps();
        const auto anchor = rate > 0 ? anchorOf(source, source.exactRate()) : std::nullopt;
        if (!anchor || (!anchors.empty() && anchor->clock != anchors.front().clock)) {
            return {};
        }
        if (!anchors.empty() && rate != fps) {
            throw StoreError(file, StoreProblem::Unsupported,
                             "has " + std::to_string(rate) + " frames per second, not " +
                                 std::to_string(fps) + " as the first file");
        }
        fps = rate;
        anchors.push_back(*anchor);
    }
    double earliest = std::numeric_limits<double>::infinity();
    for (const Anchor& anchor : anchors) {
        earliest = std::min(earliest, anchor.instant);
    }
    std::vector<std::int64_t> begins;
    for (std::size_t i = 0; i < anchors.size(); ++i) {
        const double frames = (anchors[i].instant - earliest) * fps / 1e9;
        if (frames > std::numeric_limits<int>::max() / 2.0) {
            throw StoreError(files[i], StoreProblem::Unsupported,
                             "was captured too long after the others");
        }
        begins.push_back(std::llround(frames));
    }
    return begins;
}

void joinBeside(const std::vector<fs::path>& files, const std::vector<std::int64_t>& begins,
                const fs::path& out) {
    Splice splice(out);
    {
        SpliceSource first(files.front());
        splice.makeStage(first.tree.stretch(first.rootTake(), 0, 0).name, first.fps());
    }
    for (std::size_t i = 0; i < files.size(); ++i) {
        SpliceSource source(files[i]);
        splice.addBeside(source, begins[i]);
    }
    splice.commit();
}

} // namespace

Note clockNote(const std::string& clock, std::chrono::nanoseconds instant, std::int64_t frame) {
    Note note;
    note.kind = clockKind;
    note.frame = frame;
    note.label = std::to_string(instant.count());
    note.context = clock;
    return note;
}

void cutTakeFile(const fs::path& file, int first, int last, const fs::path& out) {
    SpliceSource source(file);
    const std::int64_t length = source.length();
    if (first < 0 || first > last || last >= length) {
        throw StoreError(file, StoreProblem::Unsupported,
                         "has the frames 0 to " + std::to_string(length - 1) + ", not " +
                             std::to_string(first) + " to " + std::to_string(last));
    }
    Splice splice(out);
    splice.append(source, first, last);
    splice.commit();
}

void joinTakeFiles(const std::vector<fs::path>& files, const fs::path& out) {
    assert(!files.empty());
    if (const auto begins = files.size() > 1 ? beginsOf(files) : std::vector<std::int64_t>();
        !begins.empty()) {
        joinBeside(files, begins, out);
        return;
    }
    Splice splice(out);
    for (const fs::path& file : files) {
        SpliceSource source(file);
        const std::int64_t length = source.length();
        splice.append(source, 0, length - 1);
        if (splice.length() > std::numeric_limits<int>::max()) {
            throw StoreError(out, StoreProblem::Unsupported, "would be too long");
        }
    }
    splice.commit();
}

void noteInTakeFile(const fs::path& file, const std::string& text) {
    Database database(file, Database::Mode::Edit);
    checkSchema(database);
    Transaction transaction(database);
    Note note;
    note.text = text;
    addNote(database, note);
    transaction.commit();
}

} // namespace tarn::store
