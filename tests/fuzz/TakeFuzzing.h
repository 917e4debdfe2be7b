// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

// What is done with a take file that came from anywhere: whatever it holds, it is read or refused.

#include <tarn_store/file/StoredTakes.h>
#include <tarn_store/file/TakeCheck.h>
#include <tarn_store/file/TakeReader.h>
#include <tarn_store/file/TakeSplice.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <unistd.h>

namespace tarn::testing {

/// A directory in memory where there is such a thing, for as long as the program runs.
class FuzzDirectory {
public:
    FuzzDirectory() {
        const std::filesystem::path memory = "/dev/shm";
        path_ = std::filesystem::exists(memory) ? memory : std::filesystem::temp_directory_path();
        path_ /= "tarn-fuzz-" + std::to_string(::getpid());
        std::filesystem::create_directories(path_);
    }
    FuzzDirectory(const FuzzDirectory&) = delete;
    FuzzDirectory& operator=(const FuzzDirectory&) = delete;
    ~FuzzDirectory() { std::filesystem::remove_all(path_); }
    std::filesystem::path operator/(const char* name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

inline void demand(bool condition, const std::string& what) {
    if (!condition) {
        std::fprintf(stderr, "%s\n", what.c_str());
        std::abort();
    }
}

/// Whether it was not refused.
inline bool isAccepted(const std::function<void()>& function) {
    try {
        function();
        return true;
    } catch (const store::StoreError& error) {
        demand(!error.reason().empty(), "refused without a reason");
        return false;
    }
}

/// Everything that programs read of a file.
inline void readAll(const std::filesystem::path& file) {
    store::TakeReader reader(file);
    reader.facts();
    reader.losses();
    reader.notes();
    for (const store::StoredTrack& track : reader.tracks()) {
        reader.frame(track.id, track.firstSlot);
        reader.frame(track.id, track.lastSlot);
        reader.frames(track.id, track.firstSlot, track.lastSlot);
    }
    const int length = reader.length();
    if (length > 0) {
        reader.load(length / 2, std::min(length - 1, length / 2 + 10));
    }
    reader.load();
    reader.loadScene();
}

/// What is only in some files: bodies, markers.
inline void readTakes(const std::filesystem::path& file) {
    isAccepted([&] {
        store::TakeReader reader(file);
        for (const std::string& body : store::bodiesIn(reader)) {
            isAccepted([&] { store::bodyTakeOf(reader, body); });
        }
        for (const std::string& name : store::markersIn(reader)) {
            isAccepted([&] { store::markerTakeOf(reader, name); });
        }
    });
}

/// Demands that what is made of a file is whole; if not always, at least where the file is.
inline void makeFile(const FuzzDirectory& directory, bool isWhole,
                     const std::function<void(const std::filesystem::path& out)>& make) {
    const auto out = directory / "out.tarn";
    std::filesystem::remove(out);
    if (isAccepted([&] { make(out); })) {
        isAccepted([&] {
            const store::TakeVerdict verdict = store::checkTakeFile(out);
            demand(verdict.isWhole || !isWhole, "what was made of it is " + verdict.line);
        });
        readTakes(out);
    }
}

/// A file that proves to be whole is read, what is recovered is whole, and so are cuts of what is.
inline void useTakeFile(const FuzzDirectory& directory, const std::filesystem::path& file) {
    const bool isRead = isAccepted([&] { readAll(file); });
    readTakes(file);
    bool isWhole = false;
    isAccepted([&] {
        const store::TakeVerdict verdict = store::checkTakeFile(file);
        isWhole = verdict.isWhole;
        demand(isRead || !isWhole, "cannot be read, but is " + verdict.line);
    });
    makeFile(directory, true, [&](const auto& out) { store::recoverTakeFile(file, out); });
    makeFile(directory, isWhole, [&](const auto& out) { store::cutTakeFile(file, 0, 0, out); });
    makeFile(directory, isWhole, [&](const auto& out) { store::joinTakeFiles({file, file}, out); });
}

} // namespace tarn::testing
