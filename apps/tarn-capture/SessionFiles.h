#pragma once

#include "Session.h"

#include <filesystem>
#include <string>
#include <vector>

namespace tarn::capture {

/// The files that a session leaves in a directory: per performer NAME.csv, NAME.bvh and
/// NAME.actor.xml, and for all of them poses and motion as .png and .svg, and session.xml, which
/// lists the others. Each is complete or not there.
class SessionFiles {
public:
    /// Makes the directory. Throws `UsageError` if a take would be overwritten, and
    /// `std::runtime_error` if there can be no such directory.
    SessionFiles(Session& session, std::filesystem::path directory);

    /// Writes everything; `complete` says whether the session came to its end. Throws
    /// `std::runtime_error` at the first file that cannot be written; `written()` tells what was.
    void write(bool complete);

    /// The names of the files that have been written.
    const std::vector<std::string>& written() const { return written_; }

private:
    void writeActor(Performer& performer);
    void writeCsv(Performer& performer, Tracks& recording);
    void writeBvh(Performer& performer, Tracks& recording);
    void writePictures();
    void writeSession(bool complete);
    void save(Settings& settings, const std::string& name);
    void writeText(const std::string& name, const std::string& text);

    std::filesystem::path path(const std::string& name) const { return directory_ / name; }

    Session& session_;
    std::filesystem::path directory_;
    std::vector<std::string> written_;
};

} // namespace tarn::capture
