// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "session/TakeSession.h"

#include <tarn_draw/canvas/Picture.h>
#include <tarn_draw/sheet/Subject.h>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace tarn::capture {

/// A picture of what all performers did, to be written as .png and .svg under its name; where they
/// are many, on several pages, each in files of its own.
struct SessionPicture {
    std::string name;
    std::function<std::size_t(std::size_t performers)> pageCount;
    std::function<std::vector<draw::Picture>(const std::vector<draw::Subject>& subjects)> pagesOf;
};

/// "poses" and "motion".
std::vector<SessionPicture> sessionPictures();

/// The files that a session leaves in a directory: per performer NAME.csv, NAME.bvh,
/// NAME.actor.xml and what else it has to leave, and for all of them the pictures, and session.xml,
/// which lists the others. Each is complete or not there. What is said of a frame stands at its
/// index, whatever was lost before it.
///
/// The files that a session there was before lists as its own go before these are written: a
/// session.xml never stands beside files of another session. Whatever ends the program meanwhile,
/// session.xml lists all that may be left, and says that it is not complete. Where not even that
/// can be written, everything stays as it was.
class SessionFiles {
public:
    /// Makes the directory, and sees whether each of the files can be made in it. Throws
    /// `UsageError` if one of `inputs` would be overwritten, and `std::runtime_error` if there can
    /// be no such directory or file, the performers cannot be drawn, or a session that is there
    /// does not say which files are its own.
    SessionFiles(TakeSession& session, std::filesystem::path directory,
                 const std::vector<std::string>& inputs,
                 std::vector<SessionPicture> pictures = sessionPictures());

    /// Writes everything that can be written and returns what could not, a sentence per file.
    /// `complete` says whether the session came to its end, `paced` whether the devices kept the
    /// rate of their takes.
    std::vector<std::string> write(bool complete, bool paced);

    /// The names of the files that have been written.
    const std::vector<std::string>& written() const { return written_; }
    /// How many seconds the pictures took.
    double drawing() const { return drawing_; }

private:
    std::vector<std::string> names() const;
    /// What is drawn: what each performer has recorded so far.
    std::vector<draw::Subject> subjects() const;
    /// Does what writes a file, and notes whether that worked.
    void attempt(const std::string& name, const std::function<void()>& write);

    void writeActor(TakePerformer& performer);
    void writeCsv(TakePerformer& performer, Tracks& recording);
    void writeBvh(TakePerformer& performer);
    void writePictures();
    void writePicture(const SessionPicture& picture);
    bool beginSession(bool paced);
    void writeSession(bool complete, bool paced, const std::vector<std::string>& files);
    void save(Settings& settings, const std::string& name);
    void writeText(const std::string& name, const std::string& text);

    std::filesystem::path path(const std::string& name) const { return directory_ / name; }

    TakeSession& session_;
    std::filesystem::path directory_;
    std::vector<SessionPicture> pictures_;
    std::vector<std::string> older_; ///< files of the session that is there
    std::vector<std::string> written_;
    std::vector<std::string> problems_;
    double drawing_ = 0;
};

} // namespace tarn::capture
