// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn_kit/files/Bvh.h>
#include <tarn_kit/files/C3d.h>
#include <tarn_store/file/TakeDescription.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tarn::capture {

/// Where a take comes from, as the command line names it: a file, "-" for standard input, or a
/// pipe; of a take file with several bodies, or with markers beside them, also "FILE.tarn#NAME".
/// The one place where the program finds out what a name means.
class TakeFile {
public:
    /// `markers` is how C3D files are read.
    explicit TakeFile(std::string name, const kit::C3dOptions& markers = {});

    const std::string& name() const { return name_; }
    /// The take file that it is, and whose take of it; empty names for what is none.
    std::pair<std::string, std::string> stored() const;

    /// Whether it holds markers (C3D) and not a body (BVH), by its content.
    bool holdsMarkers();

    /// Reads the take, each time anew; what can be read only once is kept. Throws
    /// `kit::ReadError`, which names the file, if it cannot be read, and `std::runtime_error` if it
    /// holds markers.
    kit::BvhTake read();
    /// The same of a take of markers; `std::runtime_error` if it holds a body.
    kit::C3dTake readMarkers();
    /// What is known of it without its samples; of a file only the head is read for that.
    kit::C3dInfo readMarkersInfo();

private:
    /// All of what can be read only once.
    const std::string& text();
    const std::string& beginning();
    /// Throws `std::runtime_error` for what is known to be no take.
    void checkKind();
    std::string nameInErrors() const;
    bool isKept() const; ///< whether it can be read only once

    std::string name_;
    kit::C3dOptions markers_;
    std::string text_; ///< of what can be read only once
    bool isRead_ = false;
    std::optional<std::string> beginning_;
};

/// Reads a take that is needed once.
kit::BvhTake readTake(const std::string& name);

/// When a take file was recorded, and by which program, as far as that is known.
std::string recordedText(const store::TakeFileFacts& facts);

/// Throws `UsageError` if standard input is named more than once: it can be read only once.
void checkInputs(const std::vector<std::string>& names);

/// A name that says which take it is, without directory and extension, fit to be printed and to be
/// part of a file's name.
std::string takeNameOf(const std::string& file);
/// Names with a number added where another has it already.
std::vector<std::string> uniqueNames(const std::vector<std::string>& names);
/// The same with the number in front of the extension: "walk-2.c3d".
std::vector<std::string> uniqueFileNames(const std::vector<std::string>& names);
/// For each take its name, unique.
std::vector<std::string> uniqueTakeNames(const std::vector<std::string>& files);

} // namespace tarn::capture
