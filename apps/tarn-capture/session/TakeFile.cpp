// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "session/TakeFile.h"

#include "documents/OtherFile.h"
#include "support/Errors.h"
#include "support/StandardStreams.h"

#include <fmt/format.h>
#include <tarn_kit/files/TakeFormat.h>
#include <tarn_kit/files/Text.h>
#include <tarn_store/file/StoredTakes.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace tarn::capture {

namespace {

namespace fs = std::filesystem;

const char* const standardInput = "stdin"; // in errors, and as the name of the take

bool isOneOf(const std::vector<std::string>& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

/// Names of which `numbered` makes others where another has them already.
template <class Numbered>
std::vector<std::string> madeUnique(const std::vector<std::string>& names,
                                    const Numbered& numbered) {
    std::vector<std::string> unique;
    std::set<std::string> taken;
    for (const std::string& wanted : names) {
        std::string name = wanted;
        for (int i = 2; !taken.insert(name).second; ++i) {
            name = numbered(wanted, i);
        }
        unique.push_back(name);
    }
    return unique;
}

} // namespace

TakeFile::TakeFile(std::string name, const kit::C3dOptions& markers)
    : name_(std::move(name)), markers_(markers) {}

bool TakeFile::isKept() const {
    std::error_code error;
    return isStandardStream(name_) || fs::is_fifo(name_, error);
}

const std::string& TakeFile::text() {
    if (!std::exchange(isRead_, true)) {
        if (isStandardStream(name_)) {
            text_ = readStandardInput();
        } else {
            std::ifstream pipe(name_, std::ios::binary);
            text_ = readToEnd(pipe);
        }
    }
    return text_;
}

std::string TakeFile::nameInErrors() const {
    return isStandardStream(name_) ? standardInput : name_;
}

std::pair<std::string, std::string> TakeFile::stored() const {
    if (isKept()) {
        return {};
    }
    if (store::isTakeFile(name_)) {
        return {name_, ""};
    }
    const auto mark = name_.rfind('#');
    if (mark != std::string::npos && store::isTakeFile(name_.substr(0, mark))) {
        return {name_.substr(0, mark), name_.substr(mark + 1)};
    }
    return {};
}

bool TakeFile::holdsMarkers() {
    if (const auto [file, subject] = stored(); !file.empty()) {
        store::TakeReader reader(file);
        return subject.empty() ? store::holdsMarkersOnly(reader)
                               : !isOneOf(store::bodiesIn(reader), subject) &&
                                     isOneOf(store::markersIn(reader), subject);
    }
    checkKind();
    const auto format = isKept() ? kit::takeFormatIn(text()) : kit::takeFormatOf(name_);
    return format == kit::TakeFormat::C3d;
}

kit::BvhTake TakeFile::read() {
    if (holdsMarkers()) {
        throw std::runtime_error(
            fmt::format("{}: holds markers, where a body is needed; 'solve' makes one of them",
                        nameInErrors()));
    }
    if (const auto [file, subject] = stored(); !file.empty()) {
        store::TakeReader reader(file);
        return store::bodyTakeOf(reader, subject);
    }
    if (!isKept()) {
        return kit::readBvh(name_);
    }
    std::istringstream stream(text());
    return kit::readBvh(stream, nameInErrors());
}

/// Enough to see the root element of a document.
const std::string& TakeFile::beginning() {
    if (!beginning_) {
        constexpr std::size_t enough = 1024;
        std::string bytes(enough, '\0');
        if (isKept()) {
            bytes = text().substr(0, enough);
        } else {
            std::ifstream file(name_, std::ios::binary);
            file.read(bytes.data(), static_cast<std::streamsize>(enough));
            bytes.resize(static_cast<std::size_t>(file.gcount()));
        }
        beginning_ = std::move(bytes);
    }
    return *beginning_;
}

void TakeFile::checkKind() {
    std::error_code error;
    const std::string other = !isKept() && fs::is_directory(name_, error)
                                  ? otherDirectoryText(name_)
                                  : otherFileText(beginning());
    if (!other.empty()) {
        throw std::runtime_error(fmt::format("{}: is {}", nameInErrors(), other));
    }
}

kit::C3dTake TakeFile::readMarkers() {
    if (const auto [file, subject] = stored(); !file.empty()) {
        store::TakeReader reader(file);
        return store::markerTakeOf(reader, subject);
    }
    checkKind();
    if (beginning().find("HIERARCHY") != std::string::npos) {
        throw std::runtime_error(
            fmt::format("{}: holds a body, where markers are needed", nameInErrors()));
    }
    if (!isKept()) {
        return kit::readC3d(name_, markers_);
    }
    std::istringstream stream(text());
    return kit::readC3d(stream, markers_, nameInErrors());
}

kit::C3dInfo TakeFile::readMarkersInfo() {
    if (!stored().first.empty()) {
        return readMarkers();
    }
    return isKept() ? kit::C3dInfo(readMarkers()) : kit::readC3dInfo(name_, markers_);
}

kit::BvhTake readTake(const std::string& name) { return TakeFile(name).read(); }

std::string recordedText(const store::TakeFileFacts& facts) {
    if (facts.startedUtc.empty()) {
        return "not known";
    }
    return kit::printable(facts.startedUtc) +
           (facts.program.empty() ? "" : " by " + kit::printable(facts.program));
}

void checkInputs(const std::vector<std::string>& names) {
    if (std::count_if(names.begin(), names.end(), isStandardStream) > 1) {
        throw UsageError("-: standard input can be read only once");
    }
}

std::string takeNameOf(const std::string& file) {
    return isStandardStream(file) ? standardInput : kit::printable(fs::path(file).stem().string());
}

std::vector<std::string> uniqueNames(const std::vector<std::string>& names) {
    return madeUnique(names,
                      [](const std::string& name, int i) { return fmt::format("{}-{}", name, i); });
}

std::vector<std::string> uniqueFileNames(const std::vector<std::string>& names) {
    return madeUnique(names, [](const std::string& name, int i) {
        const fs::path path(name);
        return fmt::format("{}-{}{}", path.stem().string(), i, path.extension().string());
    });
}

std::vector<std::string> uniqueTakeNames(const std::vector<std::string>& files) {
    std::vector<std::string> names;
    names.reserve(files.size());
    for (const std::string& file : files) {
        names.push_back(takeNameOf(file));
    }
    return uniqueNames(names);
}

} // namespace tarn::capture
